#!/usr/bin/env bash
# Builds Ostrel's Debian package (optimised, with Debian's hardening flags) in build-package/ and
# checks it with lintian.
#
#   OSTREL_UPI_PAYEE_ADDRESS=name@bank OSTREL_UPI_PAYEE_NAME="Your Name" \
#   OSTREL_SCREENSHOT_URL=https://… scripts/package.sh       a release package
#   scripts/package.sh --snapshot                           a test package for local checks
#
# A release needs the support payee (see README) and the web folder where the screenshots made by
# scripts/screenshots.sh are published. A snapshot uses the placeholder payee, lists no
# screenshots, and is marked as a test build in its version, file name and description.
# The Maintainer field comes from DEBFULLNAME and DEBEMAIL (as for Debian's own tools), else from
# git's user.name and user.email.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
  echo "package.sh: $*" >&2
  exit 1
}

snapshot=0
case "${1:-}" in
  --snapshot) snapshot=1 ;;
  "") ;;
  *) echo "Usage: scripts/package.sh [--snapshot]" >&2; exit 2 ;;
esac

# The placeholders are the CMake defaults; read them from there so they stay in one place.
placeholder() {
  sed -n "s/^set($1 \"\\([^\"]*\\)\".*/\\1/p" src/ui/support/CMakeLists.txt
}
placeholder_address=$(placeholder OSTREL_UPI_PAYEE_ADDRESS)
placeholder_name=$(placeholder OSTREL_UPI_PAYEE_NAME)
[[ -n "$placeholder_address" && -n "$placeholder_name" ]] ||
  fail "cannot find the placeholder payee in src/ui/support/CMakeLists.txt"

version=$(sed -n 's/^project(ostrel VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[[ -n "$version" ]] || fail "cannot find the version in CMakeLists.txt"

if ((snapshot)); then
  payee_address=$placeholder_address
  payee_name=$placeholder_name
  screenshot_url=
  deb_version="$version~snapshot$(date -u +%Y%m%d%H%M)"
else
  payee_address=${OSTREL_UPI_PAYEE_ADDRESS:-}
  payee_name=${OSTREL_UPI_PAYEE_NAME:-}
  screenshot_url=${OSTREL_SCREENSHOT_URL:-}
  if [[ -z "$payee_address" || "$payee_address" == "$placeholder_address" ||
        -z "$payee_name" || "$payee_name" == "$placeholder_name" ]]; then
    fail "a release package needs the real support payee: set OSTREL_UPI_PAYEE_ADDRESS (local@handle)
and OSTREL_UPI_PAYEE_NAME. The placeholders pay no one. For a local test package use --snapshot."
  fi
  [[ "$payee_address" =~ ^[^@[:space:]]+@[^@[:space:]]+$ ]] ||
    fail "OSTREL_UPI_PAYEE_ADDRESS must read local@handle (is '$payee_address')"
  [[ "$screenshot_url" =~ ^https://[^[:space:]]+[^/]$ ]] ||
    fail "a release package needs OSTREL_SCREENSHOT_URL: the https:// folder (no trailing /) where
panel-light.png and panel-dark.png from scripts/screenshots.sh are published."
  deb_version=$version
fi

maintainer_name=${DEBFULLNAME:-$(git config user.name || true)}
maintainer_email=${DEBEMAIL:-$(git config user.email || true)}
[[ -n "$maintainer_name" && -n "$maintainer_email" ]] ||
  fail "set DEBFULLNAME and DEBEMAIL (or git's user.name and user.email) for the Maintainer field"

scripts/deps.sh --package

# Debian's flags: optimised and hardened (PIE, RELRO, fortified, stack protector). Passed on every
# run, so a build folder configured before follows them. Warnings are errors in the test build;
# here they are only shown, because GCC 12 optimising reports false ones inside the standard
# library (-Wrestrict in std::string's operator+).
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cppflags=$(dpkg-buildflags --get CPPFLAGS)
build="build-package"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CXXFLAGS) $cppflags" \
  -DCMAKE_C_FLAGS="$(dpkg-buildflags --get CFLAGS) $cppflags" \
  -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)" \
  -DOSTREL_BUILD_TESTS=OFF -DOSTREL_WERROR=OFF -DOSTREL_DEB=ON \
  -DOSTREL_DEB_VERSION="$deb_version" -DOSTREL_DEB_MAINTAINER="$maintainer_name <$maintainer_email>" \
  -DOSTREL_UPI_PAYEE_ADDRESS="$payee_address" -DOSTREL_UPI_PAYEE_NAME="$payee_name" \
  -DOSTREL_SCREENSHOT_URL="$screenshot_url" >/dev/null
cmake --build "$build"
rm -f "$build"/ostrel_*.deb
(cd "$build" && cpack -G DEB >/dev/null)

deb=$(ls "$build"/ostrel_*.deb)
echo "Built $deb"
((snapshot)) && echo "This is a test build with the placeholder payee: do not publish it."
echo "lintian:"
lintian --info --display-info "$deb" || fail "lintian found errors in $deb"
