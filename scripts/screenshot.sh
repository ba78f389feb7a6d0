#!/usr/bin/env bash
# Takes a picture of the main window after it has programmed an example into the simulated board.
#
#   scripts/screenshot.sh OUT.png [--scale N]
#
# It uses a display of its own (Xvfb with openbox) and settings of its own, so nothing of the user's
# session is touched. Build the release preset first, as scripts/run.sh does.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"

readonly program=$repo_root/build/release/apps/fenwright/fenwright
readonly cli=$repo_root/build/release/apps/fenwright-cli/fenwright-cli
readonly device=AT90S8515
readonly example=$repo_root/examples/counter-eeprom/counter-eeprom.hex

scale=1
output=
while (($# > 0)); do
  case "$1" in
    --scale)
      (($# >= 2)) || die "--scale needs a number"
      scale=$2
      shift
      ;;
    -*) die "usage: screenshot.sh OUT.png [--scale N]" ;;
    *) output=$1 ;;
  esac
  shift
done
[[ -n $output ]] || die "usage: screenshot.sh OUT.png [--scale N]"
[[ $scale =~ ^[1-4]$ ]] || die "--scale takes 1 to 4"
[[ -x $program && -x $cli ]] || die "$program is not built: scripts/run.sh builds it"
mkdir -p "$(dirname "$output")"

"$script_dir/install-packages.sh" run test

home=$(mktemp -d)
own_processes=()
clean_up() {
  local process
  for process in "${own_processes[@]}"; do
    kill "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  rm -rf "$home"
}
trap clean_up EXIT

export HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_CACHE_HOME=$home/cache
export XDG_RUNTIME_DIR=$home/run
mkdir -p "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
unset WAYLAND_DISPLAY

# The window starts with the device that the settings name by its place in the list.
line=$("$cli" devices | grep -n "  $device\$" | cut -d: -f1) || die "no device $device"
mkdir -p "$XDG_CONFIG_HOME"
printf '[Settings]\ndevice=%d\nIndex_Com_Flag=1\n' "$((line - 1))" >"$XDG_CONFIG_HOME/FenwrightV6-simulated.ini"

# Xvfb picks a free display number and writes it down.
Xvfb -displayfd 3 -screen 0 "$((1280 * scale))x$((960 * scale))x24" -nolisten tcp \
  3>"$home/display" 2>"$home/xvfb.log" &
own_processes+=($!)
for _ in {1..100}; do
  if [[ -s $home/display ]]; then break; fi
  sleep 0.1
done
[[ -s $home/display ]] || die "Xvfb did not start"
DISPLAY=:$(<"$home/display")
export DISPLAY

openbox >"$home/openbox.log" 2>&1 &
own_processes+=($!)

for _ in {1..100}; do
  if xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; then break; fi
  sleep 0.1
done

QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR=$scale "$program" --simulate --folder "$home" "$example" \
  2>"$home/program.log" &
program_id=$!
own_processes=("$program_id" "${own_processes[@]}")

# The caption names the program; other windows of it are dialogs. A search can meet a window that
# is just going away, and fails then.
window=
for _ in {1..100}; do
  window=$(xdotool search --onlyvisible --name '^New Fenwright' 2>/dev/null | head -n 1) || true
  if [[ -n $window ]]; then break; fi
  kill -0 "$program_id" 2>/dev/null || break
  sleep 0.2
done
if [[ -z $window ]]; then
  cat "$home/program.log" "$home/xvfb.log" "$home/openbox.log" >&2
  die "the main window did not appear"
fi
xdotool windowactivate --sync "$window"

# F5 programs the chip. The end is seen in the trace: nothing more is written to it.
xdotool key --window "$window" F5
trace=$home/_debug_avr.txt
finished=0
for _ in {1..60}; do
  sleep 1
  if grep -q '>>>>> START' "$trace" 2>/dev/null &&
    [[ -z $(find "$trace" -newermt '-2 seconds') ]]; then
    finished=1
    break
  fi
done
((finished)) || die "programming did not end"

# The result stays in the status bar; its dialog is closed, and the first two items of the window
# menu bring the memories before the verify report.
if [[ $(xdotool getactivewindow) != "$window" ]]; then
  xdotool key Return
  sleep 1
fi
xdotool windowactivate --sync "$window"
xdotool mousemove 0 0
xdotool key alt+w
sleep 0.5
xdotool key Return
sleep 0.5
xdotool key alt+w
sleep 0.5
xdotool key Down Return
sleep 1

kill -0 "$program_id" 2>/dev/null || die "the program ended before the picture was taken"
import -window root "$home/screen.png"
convert "$home/screen.png" -trim +repage "$output"
echo "wrote $output ($(identify -format '%wx%h' "$output"))"
