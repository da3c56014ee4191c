#!/usr/bin/env bash
# Installs the Debian/Ubuntu packages that are missing for building Ostrel, and with --test for
# testing it, with --package for making its Debian package, with --fuzz for the clang and libFuzzer
# that scripts/fuzz.sh builds with; with --desktops, the tray hosts scripts/desktops.sh runs the app
# under (GNOME Shell with the AppIndicator extension, sway with waybar, Plasma, Xfce); with --tidy,
# only the clang-tidy that scripts/tidy.sh runs. Uses
# sudo when not run as root. Safe to run again: installed packages are skipped.
set -euo pipefail

build_pkgs=(g++ cmake ninja-build pkg-config ccache
            libgtkmm-4.0-dev libwebkitgtk-6.0-dev libsoup-3.0-dev nlohmann-json3-dev
            libqrcodegencpp-dev libicu-dev libsqlite3-dev libgtest-dev libx11-dev
            glib-networking librsvg2-common librsvg2-bin adwaita-icon-theme fonts-dejavu-core dbus-bin)
test_pkgs=(xvfb xauth dbus-daemon zbar-tools imagemagick locales python3 appstream desktop-file-utils
           xfce4-panel xfwm4 xfconf dunst x11-utils
           clang-format)
package_pkgs=(dpkg-dev file lintian)
fuzz_pkgs=(clang-14 libclang-rt-14-dev)
desktop_pkgs=(xvfb xauth dbus-daemon imagemagick python3 x11-utils xdotool
              gnome-shell gnome-shell-extension-appindicator
              sway waybar grim fonts-font-awesome
              plasma-desktop plasma-workspace kded5
              xfce4-panel xfwm4 xfconf python3-gi gir1.2-gtk-4.0)

pkgs=("${build_pkgs[@]}")
case "${1:-}" in
  --test) pkgs+=("${test_pkgs[@]}") ;;
  --package) pkgs+=("${package_pkgs[@]}") ;;
  --fuzz) pkgs+=("${fuzz_pkgs[@]}") ;;
  --desktops) pkgs+=("${test_pkgs[@]}" "${desktop_pkgs[@]}") ;;
  --tidy) pkgs=(clang-tidy-19) ;;
esac

missing=()
for p in "${pkgs[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo_cmd=()
if [[ $(id -u) -ne 0 ]]; then sudo_cmd=(sudo); fi
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
