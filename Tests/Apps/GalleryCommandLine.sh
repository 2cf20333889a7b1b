#!/usr/bin/env bash
# pavo-gallery's command line: the answers that need no window, and the errors.
#   GalleryCommandLine.sh PAVO_GALLERY
set -uo pipefail
gallery=$1
failed=0
# expect STATUS PATTERN (in standard output and error) COMMAND...
expect() {
  local status=$1 pattern=$2
  shift 2
  local out rc
  out=$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$@" 2>&1)
  rc=$?
  if [[ $rc -ne $status ]] || ! grep -qE -- "$pattern" <<<"$out"; then
    echo "FAIL: $* gave $rc (wanted $status and /$pattern/):"; echo "$out"; failed=1
  else
    echo "ok: $*"
  fi
}
expect 0 '--list-pages' "$gallery" --help
expect 0 '^pavo-gallery \(Pavo 274\.0\)$' "$gallery" --version
expect 0 '^Bevel views$' "$gallery" --list-pages
[[ $("$gallery" --list-pages | wc -l) -ge 6 ]] || { echo "FAIL: fewer than six pages listed"; failed=1; }
expect 2 "no page named 'Nowhere'; the pages are: Cells and matrices, .*Bevel views" "$gallery" --page Nowhere
expect 2 'needs a page name' "$gallery" --page
expect 2 "unknown argument 'Bevel views'" "$gallery" "Bevel views"
# A known page, but no display: a message and status 2 instead of Qt's abort.
expect 2 'no display' "$gallery" --page "bevel views"
expect 2 'DISPLAY=:7331 does not answer' env DISPLAY=:7331 "$gallery"
exit $failed
