# shellcheck shell=bash
# What the scripts of this folder share. Sourced, never run.

# shellcheck disable=SC2034  # used by the scripts that source this file
repo_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

# A bare container sets no locale; file names and compiler messages are UTF-8 here.
if [[ -z ${LC_ALL-} && -z ${LC_CTYPE-} && -z ${LANG-} ]]; then
  export LC_ALL=C.UTF-8
fi

# The scripts change folders; a relative one is meant from where they are called.
if [[ -n ${FENWRIGHT_CACHE-} ]]; then
  FENWRIGHT_CACHE=$(realpath -m -- "$FENWRIGHT_CACHE")
  export FENWRIGHT_CACHE
fi

say() { printf '\n==> %s\n' "$*"; }

die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# need_root WHAT: ends the script when apt_get could not become root; WHAT is left to the reader.
need_root() {
  ((EUID == 0)) || command -v sudo >/dev/null || die "not root and no sudo; as root, $1"
}

# apt_get ARGUMENT...: the machine's own apt-get, as root and without questions.
apt_get() {
  local as_root=()
  if ((EUID != 0)); then
    as_root=(sudo)
  fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "$@"
}

# CMake takes the compiler launcher from the environment when a build folder is made.
use_ccache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
  # A clone in another folder finds the same objects.
  export CCACHE_BASEDIR=$repo_root
  export CCACHE_NOHASHDIR=1
  # The compiler's own list of what it has read, instead of a run of the preprocessor for each source.
  export CCACHE_DEPEND=1
  # The tests' precompiled prelude; it uses neither the time nor what a target defines.
  export CCACHE_SLOPPINESS=pch_defines,time_macros
  if [[ -z ${HOME-} ]]; then
    export CCACHE_DIR=${CCACHE_DIR:-$repo_root/build/ccache}
  fi
}

# tree_commit: the commit of the tree, with "-changed" where files differ from it; nothing outside of a
# clone.
tree_commit() {
  git -C "$repo_root" describe --always --abbrev=40 --exclude '*' --dirty=-changed 2>/dev/null || true
}

# configure_preset NAME [OPTION...]: quiet unless it fails.
configure_preset() {
  local log
  log=$(mktemp)
  if ! (cd "$repo_root" && cmake --preset "$@") >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

# build_preset NAME [TARGET...]
build_preset() {
  local preset=$1
  shift
  configure_preset "$preset" || return 1
  (cd "$repo_root" && cmake --build --preset "$preset" ${1:+--target "$@"})
}
