# The Debian package, made by CPack from what `cmake --install` puts in place (scripts/package.sh
# drives it). Its dependencies are worked out from the libraries the binary links.

option(OSTREL_DEB "Configure for the Debian package (its doc files and control fields)" OFF)
set(OSTREL_DEB_MAINTAINER "" CACHE STRING "Maintainer field of the package: Name <address>")
set(OSTREL_DEB_VERSION "${PROJECT_VERSION}" CACHE STRING "Version of the package (a test build marks its own)")

if(NOT OSTREL_DEB)
  return()
endif()
if(NOT OSTREL_DEB_MAINTAINER MATCHES "^[^<>]+ <[^<>@ ]+@[^<>@ ]+>$")
  message(FATAL_ERROR "OSTREL_DEB_MAINTAINER must read 'Name <address>' (is '${OSTREL_DEB_MAINTAINER}')")
endif()

# Debian wants the licence and a changelog beside every package's documentation.
set(deb_doc ${CMAKE_INSTALL_DATADIR}/doc/ostrel)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright DESTINATION ${deb_doc})
if(OSTREL_DEB_VERSION STREQUAL PROJECT_VERSION)
  set(OSTREL_DEB_CHANGE "Release ${PROJECT_VERSION}.")
else()
  set(OSTREL_DEB_CHANGE "Test build ${OSTREL_DEB_VERSION}, not a release.")
endif()
execute_process(COMMAND date -R -u -d "${OSTREL_RELEASE_DATE} 12:00" OUTPUT_VARIABLE OSTREL_DEB_DATE
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/debian/changelog.gz
                   COMMAND ${GZIP} -9nc ${PROJECT_BINARY_DIR}/debian/changelog > ${PROJECT_BINARY_DIR}/debian/changelog.gz
                   DEPENDS ${PROJECT_BINARY_DIR}/debian/changelog)
add_custom_target(ostrel_deb_changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/debian/changelog.gz)
install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz DESTINATION ${deb_doc})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ostrel)
set(CPACK_PACKAGE_VERSION ${OSTREL_DEB_VERSION})
set(CPACK_PACKAGE_VENDOR "The Ostrel developers")
set(CPACK_PACKAGE_CONTACT "${OSTREL_DEB_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${OSTREL_DEB_MAINTAINER}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, so the library scan cannot see them: TLS for the services' pages, and the
# SVG loader for the bundled pictures.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "glib-networking, librsvg2-common")
# Stripped as Debian's own tools do it, without the compiler's notes (CPack's stripping keeps them).
install(CODE "execute_process(COMMAND \"${CMAKE_STRIP}\" --remove-section=.comment
                                      --remove-section=.note \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/ostrel\"
                              COMMAND_ERROR_IS_FATAL ANY)")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(summary "tray app showing how much of your AI coding allowances is left")
if(NOT OSTREL_DEB_VERSION STREQUAL PROJECT_VERSION)
  set(summary "${summary} (test build)")
endif()
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${summary}")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Ostrel sits in the system tray and shows, at a glance, how much of your
Claude, Cursor and Codex usage allowance is left and when it resets. You
log in to each service once, inside Ostrel; from then on it reads the
service's own usage numbers, shows them in the tray and in a drop-down
panel, and tells you when an allowance runs low, is almost gone, resets,
or when a login expires.
.
It needs a desktop with a system tray (StatusNotifierItem); starting it
again opens its panel where there is none.")
include(CPack)
