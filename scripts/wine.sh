#!/usr/bin/env bash
# Runs a Windows program under Wine with a prefix of its own, so that nothing of the user's is
# touched: ${FENWRIGHT_WINEPREFIX:-build/windows/wine}.
#
#   scripts/wine.sh PROGRAM.exe [ARGUMENT...]
#
# It is also what CTest runs the tests of the windows preset with.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"  # Wine, too, takes file names for what the locale says

export WINEPREFIX=${FENWRIGHT_WINEPREFIX:-$repo_root/build/windows/wine}
export WINEARCH=win64
export WINEDEBUG=${WINEDEBUG--all}
# Neither menus on the user's desktop nor questions about parts that are not needed.
export WINEDLLOVERRIDES='winemenubuilder.exe=;mscoree=;mshtml='
mkdir -p "$(dirname "$WINEPREFIX")"
exec wine "$@"
