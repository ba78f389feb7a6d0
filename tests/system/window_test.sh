#!/usr/bin/env bash
# Runs a test of the window on a display, a session bus and an accessibility bus of its own.
#
#   window_test.sh TEST.py FENWRIGHT FENWRIGHT_BOARD SCREENSHOT.png
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_RUNTIME_DIR=$home/run
export XDG_CACHE_HOME=$home/cache QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_QPA_PLATFORM=xcb
mkdir -p "$XDG_CONFIG_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
unset WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS

# -displayfd: the server takes a number that is free, however many start at this moment. -noreset:
# without it the display starts anew, and what is just connecting fails, whenever its last program
# leaves.
Xvfb -displayfd 3 -screen 0 1024x768x24 -noreset -nolisten tcp 3>"$home/display" 2>"$home/server" &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait; rm -rf "$home"' EXIT
for ((i = 0; i < 200; ++i)); do
  if [[ -s $home/display ]]; then break; fi
  sleep 0.1
done
if [[ ! -s $home/display ]]; then
  cat "$home/server" >&2
  exit 1
fi
DISPLAY=:$(<"$home/display")
export DISPLAY

# shellcheck disable=SC2016  # expanded by the inner shell
dbus-run-session -- bash -c '
  openbox >/dev/null 2>&1 &
  window_manager=$!
  for ((i = 0; i < 100; ++i)); do
    if xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q "window id"; then break; fi
    sleep 0.1
  done
  /usr/libexec/at-spi-bus-launcher --launch-immediately >/dev/null 2>&1 &
  bus=$!
  status=0
  # The system'"'"'s own Python has the accessibility bindings.
  /usr/bin/python3 "$@" || status=$?
  kill "$window_manager" "$bus" 2>/dev/null
  exit "$status"
' window_test "$here/$1" "${@:2}"
