#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs a build into a throwaway root and checks what a desktop looks for there: the binary, the
# desktop entry and metainfo (validated together), the icon at every size, the manual page.
# Usage: installed_tree.sh BUILD_DIR APPSTREAMCLI
set -euo pipefail
build=$1
appstreamcli=$2
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
DESTDIR="$root" cmake --install "$build" --prefix /usr >/dev/null

share=$root/usr/share
id=app.ostrel.Ostrel
problems=0
problem() {
  echo "$*"
  problems=1
}
[[ -x $root/usr/bin/ostrel ]] || problem "missing: bin/ostrel"
for f in applications/$id.desktop metainfo/$id.metainfo.xml icons/hicolor/scalable/apps/$id.svg \
         icons/hicolor/scalable/apps/$id-symbolic.svg man/man1/ostrel.1.gz; do
  [[ -s $share/$f ]] || problem "missing: $f"
done
for size in 16 22 24 32 48 64 128 256; do
  png=$share/icons/hicolor/${size}x${size}/apps/$id.png
  if [[ ! -s $png ]]; then
    problem "missing: the ${size}x$size icon"
    continue
  fi
  # A PNG's width and height are the big-endian words at bytes 16 and 20.
  read -r width height < <(od -An -tu1 -j16 -N8 "$png" |
    awk '{ print $1*16777216 + $2*65536 + $3*256 + $4, $5*16777216 + $6*65536 + $7*256 + $8 }')
  [[ "$width x $height" == "$size x $size" ]] || problem "the ${size}x$size icon is $width x $height"
done
gzip -t "$share/man/man1/ostrel.1.gz" || problem "the manual page is not a valid gzip file"

"$appstreamcli" validate-tree --no-net "$root" || problem "appstreamcli validate-tree failed"
exit $problems
