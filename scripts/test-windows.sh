#!/usr/bin/env bash
# Tests the Windows programs under Wine: the engine's and the adapters' unit tests, the serial line
# and the command line on the simulated board behind COM3, the window, and the installer.
#
#   scripts/test-windows.sh
#
# Run scripts/build-windows.sh first. Wine gets a prefix of its own in build/windows/wine, the
# window a display of its own; pictures of it are left in build/windows/pictures.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly build_dir=$repo_root/build/windows
readonly dev_dir=$repo_root/build/dev
readonly pictures=$build_dir/pictures
readonly wine=$script_dir/wine.sh
export FENWRIGHT_WINEPREFIX=$build_dir/wine

unpacked=$(echo "$build_dir"/dist/fenwright-*-windows)
archive=$unpacked.zip
setup=$(echo "$build_dir"/dist/fenwright-*-setup.exe)
[[ -x $unpacked/fenwright.exe && -f $archive && -f $setup ]] ||
  die "nothing to test: scripts/build-windows.sh builds it"
for program in fenwright fenwright-cli; do
  [[ $unpacked/$program.exe -nt $build_dir/apps/$program/$program.exe ]] ||
    die "build/windows/dist has an older $program.exe than was built: scripts/build-windows.sh packs it"
done

"$script_dir/install-packages.sh" build test windows-test

scratch=$(mktemp -d)
far_end=
end_wine() { WINEPREFIX=$FENWRIGHT_WINEPREFIX timeout 60 wineserver -k 2>/dev/null || true; }
clean_up() {
  if [[ -n $far_end ]]; then kill "$far_end" 2>/dev/null || true; fi
  end_wine
  rm -rf "$scratch"
}
trap clean_up EXIT

# with_limit SECONDS COMMAND...: kills what hangs.
with_limit() { timeout --kill-after=10 "$@"; }

make_prefix() {
  end_wine
  # Where its last server kept its socket.
  local server=
  server=$(cat "$FENWRIGHT_WINEPREFIX/wineserver" 2>/dev/null) || true
  if [[ $server =~ ^wine-[[:alnum:]]+$ ]]; then rm -rf "/tmp/$server"; fi
  rm -rf "$FENWRIGHT_WINEPREFIX"
  env -u DISPLAY timeout --kill-after=10 300 "$wine" wineboot --init >"$scratch/wineboot" 2>&1 ||
    { cat "$scratch/wineboot" && return 1; }
  # One server for all: left to itself it ends some seconds after the last program, and a program
  # that starts in that moment loses its connection.
  WINEPREFIX=$FENWRIGHT_WINEPREFIX timeout 120 wineserver -w
  # When a far end hangs up, it lists all that it holds; that is not for the reader.
  WINEPREFIX=$FENWRIGHT_WINEPREFIX wineserver -p >"$scratch/server" 2>&1
  # Wine's services come with the first program and last as long as the server: with its output,
  # which nobody may wait for.
  env -u DISPLAY timeout --kill-after=10 120 "$wine" cmd /c exit >"$scratch/services" 2>&1
}

run_unit_tests() {
  with_limit 900 ctest --preset windows --no-tests=error -j "$(nproc)" 2>&1 |
    tee "$scratch/ctest" | tail -n 25
}

# The far end of the line is a program of this system; it takes commands through a folder.
run_serial_tests() {
  local status=0
  mkdir -p "$scratch/far-end"
  "$dev_dir/tests/platform/serial_far_end" "$FENWRIGHT_WINEPREFIX/dosdevices/com3" \
    "$scratch/far-end" &
  far_end=$!
  FENWRIGHT_FAR_END="Z:$scratch/far-end" FENWRIGHT_FAR_END_PORT=COM3 with_limit 300 \
    "$wine" "$build_dir/tests/platform/windows_serial_test.exe" >"$scratch/serial" 2>&1 ||
    status=$?
  kill "$far_end" 2>/dev/null || true
  wait "$far_end" 2>/dev/null || true
  far_end=
  rm -f "$FENWRIGHT_WINEPREFIX/dosdevices/com3"
  # Of a server that this run has started, too.
  if ((status != 0)); then grep -vE '^ *(0x)?[0-9a-f]+:' "$scratch/serial"; fi
  tail -n 3 "$scratch/serial"
  return "$status"
}

run_command_line_tests() {
  FENWRIGHT_WINE=$wine FENWRIGHT_WINDOWS_CLI=$unpacked/fenwright-cli.exe \
    with_limit 900 "$dev_dir/tests/system/windows_cli_test"
}

run_window_tests() {
  # The server may have been started without a display.
  end_wine
  mkdir -p "$pictures"
  # shellcheck disable=SC2016  # expanded by the inner shell
  XDG_CACHE_HOME=$scratch/cache with_limit 900 xvfb-run -a -s "-screen 0 1280x960x24 -noreset" bash -c '
    openbox >/dev/null 2>&1 &
    window_manager=$!
    status=0
    python3 "$@" || status=$?
    kill "$window_manager" 2>/dev/null
    exit "$status"
  ' window_test tests/system/windows_window_test.py "$wine" "$FENWRIGHT_WINEPREFIX" "$unpacked" \
    "$archive" "$setup" "$dev_dir/apps/fenwright-board/fenwright-board" "$pictures"
}

summary=()
failed=0
stage() {
  local name=$1 start=$SECONDS result=passed
  shift
  say "$name"
  "$@" || result=FAILED
  summary+=("$(printf '%-9s %4d s  %s' "$result" $((SECONDS - start)) "$name")")
  if [[ $result == FAILED ]]; then failed=1; fi
}

use_ccache
build_preset dev serial_far_end windows_cli_test apps/all
stage "Wine" make_prefix
if ((!failed)); then
  stage "unit tests" run_unit_tests
  stage "serial line" run_serial_tests
  stage "command line" run_command_line_tests
  stage "window and installer" run_window_tests
fi

say "Summary ($SECONDS s)"
printf '%s\n' "${summary[@]}"
if ((failed)); then
  echo "scripts/test-windows.sh: FAILED"
  exit 1
fi
echo "scripts/test-windows.sh: everything passed"
