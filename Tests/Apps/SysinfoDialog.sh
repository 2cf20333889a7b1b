#!/usr/bin/env bash
# pavo-sysinfo under a real X server: its assertion must come up as a dialog, which is
# answered with the Return key (the default button, "Resume"); without a display the
# same assertion is answered on standard error.
#   SysinfoDialog.sh PAVO_SYSINFO PRESS_KEY_IN_WINDOW WORK_DIR
set -uo pipefail
sysinfo=$1 press=$2 work=$3
command -v xvfb-run >/dev/null || { echo "xvfb-run not found: skipped"; exit 77; }
mkdir -p "$work"
fail() { echo "FAIL: $*"; for f in "$work"/*.txt; do echo "--- $f"; cat "$f"; done; exit 1; }

# Without a display: no dialog, the answer is written to standard error.
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$sysinfo" >"$work/plain-out.txt" 2>"$work/plain-err.txt" \
  || fail "pavo-sysinfo without a display failed"
grep -q -- '-> Resume (no display)' "$work/plain-err.txt" || fail "no answer on standard error"
grep -q '^Processors: *[1-9]' "$work/plain-out.txt" || fail "no processor count"
grep -q '^Memory: ' "$work/plain-out.txt" || fail "no memory line"

# With a display: the dialog. A time limit well below the dialog's own 60-second time-out
# shows that the key press, not the time-out, ended it.
export sysinfo press work
timeout 45 xvfb-run -a -s "-screen 0 1024x768x24" bash -c '
  env -u QT_QPA_PLATFORM "$sysinfo" >"$work/x-out.txt" 2>"$work/x-err.txt" &
  pid=$!
  "$press" "Assertion failed" Return 20 >"$work/press.txt" 2>&1 || { kill $pid; exit 3; }
  wait $pid' || fail "no dialog came up, or it did not take the key (status $?)"
grep -q '^Display platform: *xcb' "$work/x-out.txt" || fail "not on the X server"
grep -q '^Assertion flagged: *1' "$work/x-out.txt" || fail "the assertion did not return"
if grep -q '(no display)' "$work/x-err.txt"; then fail "answered on standard error despite the display"; fi
echo "ok: dialog shown and answered under X; standard-error answer without a display"
