#!/usr/bin/env bash
# Breaks the engine in one place after another and says which of these faults its tests notice.
#
#   scripts/mutate.sh [--folder NAME]... [--again]
#
# NAME is a folder of the engine (core, link, image, fuse, ops, update), all by default; --again
# tries the mutants of the last run that were not noticed. Run by hand: the first run builds the
# engine and its tests anew, in build/mutation. tools/mutation/mutate.py says how it works,
# tools/mutation/equivalent.txt which mutants are the same program.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"

"$script_dir/install-packages.sh" build mutation
use_ccache
# The system's own Python: it has the package.
exec /usr/bin/python3 "$repo_root/tools/mutation/mutate.py" "$repo_root" \
  "$repo_root/build/mutation" "$@"
