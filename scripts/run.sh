#!/usr/bin/env bash
# Builds Fenwright and starts it with an example, on the simulated board: no hardware is needed.
#
# With a display the window opens; without one the command-line program does the same job. Further
# arguments go to the program.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"

readonly device=AT90S8515
readonly example=$repo_root/examples/counter-eeprom/counter-eeprom.hex
readonly build_dir=$repo_root/build/release

"$script_dir/install-packages.sh" build run

say "Building the release preset in build/release"
use_ccache
build_preset release apps/all

if [[ -n ${DISPLAY-}${WAYLAND_DISPLAY-} ]]; then
  say "Opening the window with a simulated board and ${example#"$repo_root/"}"
  exec "$build_dir/apps/fenwright/fenwright" --simulate --device "$device" "$example" "$@"
fi

say "No display: programming a simulated $device with ${example#"$repo_root/"} instead"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
status=0
"$build_dir/apps/fenwright-cli/fenwright-cli" --simulate --device "$device" --folder "$folder" \
  program "$example" "$@" || status=$?
echo "fenwright-cli ended with exit code $status"
echo "The programs are in ${build_dir#"$repo_root/"}/apps; docs/command-line.md says what fenwright-cli can do."
exit "$status"
