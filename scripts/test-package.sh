#!/usr/bin/env bash
# Tries the Debian package as its user would, in a bare Debian 12: installs it, starts the window,
# programs a simulated chip, removes it, and compares what is there with what was there before.
#
#   scripts/test-package.sh [--commands]
#
#   --commands   also the two commands of the README, from a clone in a bare system of its own, with
#                the times they take
#
# Run scripts/package.sh first. It needs root, for debootstrap and chroot. The bare system is kept
# for the next run in ${FENWRIGHT_CACHE:-~/.cache/fenwright}; each run works in a copy of it.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"
cd "$repo_root"

readonly cache=${FENWRIGHT_CACHE:-${HOME:-$repo_root/build}/.cache/fenwright}
readonly release=bookworm
readonly user=somebody

with_commands=0
case "${1-}" in
  --commands) with_commands=1 ;;
  '') ;;
  *) die "usage: test-package.sh [--commands]" ;;
esac

((EUID == 0)) || die "it needs root: sudo scripts/test-package.sh"
shopt -s nullglob
packages=(build/packages/fenwright_*.deb)
shopt -u nullglob
((${#packages[@]} == 1)) || die "nothing to try: scripts/package.sh makes the package"
readonly package=${packages[0]}
version=$(dpkg-deb -f "$package" Version)
readonly version=${version%-*}

"$script_dir/install-packages.sh" package-test

scratch=$(mktemp -d "${TMPDIR:-/tmp}/fenwright-package.XXXXXX")
clean_up() {
  local folder mounted=0
  for folder in "$scratch"/*/{proc,dev/pts,dev/shm}; do
    if mountpoint -q "$folder"; then umount "$folder" || mounted=1; fi
  done
  # Never through a mount that did not go.
  if ((mounted == 0)); then rm -rf --one-file-system "$scratch"; fi
}
trap clean_up EXIT

readonly base=$cache/debian-$release.tar
if [[ ! -f $base ]]; then
  say "Making a bare Debian ($release)"
  # shellcheck disable=SC2016  # apt fills in the name
  mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 'Origin: Debian' | head -n 1)
  mkdir -p "$cache"
  debootstrap --variant=minbase "$release" "$scratch/base" "${mirror:-http://deb.debian.org/debian}" \
    >"$cache/debootstrap.log" 2>&1 || {
    tail -n 20 "$cache/debootstrap.log" >&2
    die "debootstrap failed"
  }
  tar -C "$scratch/base" -cf "$base.new" .
  mv "$base.new" "$base"
  rm -rf "$scratch/base"
fi

# bare_system NAME: a copy of the bare system, with what a running one has of devices and processes.
bare_system() {
  local root=$scratch/$1
  mkdir -p "$root"
  tar -C "$root" -xf "$base"
  mount -t proc proc "$root/proc"
  mkdir -p "$root/dev/pts" "$root/dev/shm"
  mount -t devpts -o newinstance,ptmxmode=0666,mode=0620,gid=5 devpts "$root/dev/pts"
  mount -t tmpfs tmpfs "$root/dev/shm"
  ln -sf pts/ptmx "$root/dev/ptmx"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  # How this machine gets its packages, a proxy for example, and where from: security updates too.
  # Nothing else of its settings, which may name programs that a bare system has not.
  apt-config dump Acquire | grep -vi 'auto-detect' >"$root/etc/apt/apt.conf.d/90machine"
  # shellcheck disable=SC2016  # apt fills in the names
  apt-get indextargets --format 'deb $(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' \
    'Origin: Debian' | sort -u >"$root/etc/apt/sources.list"
  chroot "$root" useradd --create-home "$user"
}

# inside ROOT COMMAND...: as root of the bare system; as_user the same as an ordinary user.
inside() {
  local root=$1
  shift
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}
as_user() {
  local root=$1
  shift
  inside "$root" setpriv --reuid "$user" --regid "$user" --init-groups --reset-env \
    env LC_ALL=C.UTF-8 "$@"
}

failures=0
# check WHAT COMMAND...
check() {
  local what=$1 start=$SECONDS
  shift
  if "$@" >"$scratch/log" 2>&1; then
    printf 'passed %4d s  %s\n' $((SECONDS - start)) "$what"
  else
    failures=$((failures + 1))
    printf 'FAILED %4d s  %s\n' $((SECONDS - start)) "$what"
    sed 's/^/    /' "$scratch/log" | tail -n 40
  fi
}

# files_of ROOT: every file and folder, but for the system's own caches, logs and notes, and the
# homes.
files_of() {
  (cd "$1" && find . -xdev \( -path ./proc -o -path ./dev -o -path ./tmp -o -path ./home \
    -o -path ./root -o -path ./var/cache -o -path ./var/log -o -path ./var/lib/apt \
    -o -path ./var/lib/dpkg \) -prune -o -printf '%y %p\n') | LC_ALL=C sort
}

readonly installed=$scratch/installed
bare_system installed
readonly chip=AT90S8515
readonly examples=/usr/share/doc/fenwright/examples
readonly hex=$examples/counter-eeprom/counter-eeprom.hex

say "The Debian package ${package#build/packages/} in a bare Debian"
check "the lists of packages" inside "$installed" apt-get -qq update
# What a desktop has anyway, so that its caches are there before; a display for the window.
check "a display and the caches of a desktop" inside "$installed" \
  apt-get -qq install -y --no-install-recommends xvfb xauth x11-utils desktop-file-utils \
  shared-mime-info hicolor-icon-theme man-db bash-completion

cp "$package" "$installed/root/"
# Its dependencies are packages of Debian; marked as wanted they stay when it goes.
depends_of() { dpkg-deb -f "$package" Depends | sed 's/([^)]*)//g; s/|[^,]*//g; s/,/ /g'; }
# shellcheck disable=SC2046  # a list of names
check "what it depends on" inside "$installed" apt-get -qq install -y --no-install-recommends $(depends_of)
files_of "$installed" >"$scratch/before"

check "installing it" inside "$installed" \
  apt-get -qq install -y --no-install-recommends "/root/${package##*/}"

# Some put their name before it.
tells_version() { [[ $(as_user "$installed" "$1" --version) =~ (^|\ )"$version"$ ]]; }
check "fenwright tells version $version" tells_version fenwright
check "fenwright-cli tells version $version" tells_version fenwright-cli

programs_a_chip() {
  as_user "$installed" fenwright-cli --simulate --device "$chip" program "$hex"
}
check "fenwright-cli programs the simulated board" programs_a_chip

uses_the_board() {
  # shellcheck disable=SC2016  # for the shell inside
  as_user "$installed" sh -c '
    folder=$(mktemp -d)
    fenwright-board --device "$1" --baud 0 --link "$folder/board" >/dev/null &
    board=$!
    for _ in 1 2 3 4 5 6 7 8 9 10; do [ -e "$folder/board" ] && break; sleep 0.3; done
    status=0
    fenwright-cli --port "$folder/board" --device "$1" program "$2" || status=1
    fenwright-cli --port "$folder/board" --device "$1" verify "$2" || status=1
    kill "$board"
    rm -rf "$folder"
    exit "$status"' sh "$chip" "$hex"
}
check "the board on a pseudo terminal, programmed and verified" uses_the_board

# The window stands until it is told to end, and ends in order: 128 and the number of SIGTERM.
opens_the_window() {
  # shellcheck disable=SC2016
  as_user "$installed" xvfb-run -a sh -c '
    fenwright --simulate "$1" &
    window=$!
    seen=1
    for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
      sleep 0.5
      if xwininfo -root -tree | grep -q "New Fenwright Version"; then seen=0; break; fi
    done
    kill -TERM "$window"
    wait "$window"
    ended=$?
    echo "seen: $seen, exit code: $ended"
    [ "$seen" = 0 ] && [ "$ended" = 143 ]' sh "$hex"
}
check "the window opens with a file, and ends when it is told to" opens_the_window

knows_hex_files() {
  # shellcheck disable=SC2016
  inside "$installed" sh -c '
    grep -q "^application/x-intel-hex=fenwright.desktop" /usr/share/applications/mimeinfo.cache &&
      grep -q ":application/x-intel-hex:\*.hex" /usr/share/mime/globs2'
}
check "the desktop opens .hex files with it" knows_hex_files

has_documents() {
  # The bare system's settings may leave documents out; the package itself must have them.
  local file
  for file in /usr/share/fenwright/readme_tarnwick6.pdf \
    /usr/share/doc/fenwright/{copyright,guide_english.pdf,LICENSE,THIRD-PARTY.md} \
    /usr/share/doc/fenwright/licenses/LGPL-3.0.txt /usr/share/icons/hicolor/48x48/apps/fenwright.png \
    /usr/share/metainfo/fenwright.metainfo.xml /usr/share/man/man1/fenwright{,-board,-cli}.1.gz \
    /usr/share/bash-completion/completions/fenwright-cli \
    /usr/share/zsh/vendor-completions/_fenwright-cli; do
    [[ -s $installed$file ]] || { echo "missing: $file" && return 1; }
  done
}
check "manual, man pages, completion, licences and icons are there" has_documents

check "removing it" inside "$installed" apt-get -qq purge -y fenwright
leaves_nothing() {
  files_of "$installed" >"$scratch/after"
  diff "$scratch/before" "$scratch/after"
}
check "nothing of it is left" leaves_nothing
is_gone() { ! inside "$installed" dpkg-query -W fenwright; }
check "the system has forgotten it" is_gone

if ((with_commands)); then
  say "The README's commands, from a clone in a bare Debian"
  readonly clone=$scratch/clone
  bare_system clone
  mkdir "$clone/fenwright"
  git archive HEAD | tar -C "$clone/fenwright" -xf -
  check "scripts/run.sh" inside "$clone" /fenwright/scripts/run.sh
  check "scripts/test.sh" inside "$clone" /fenwright/scripts/test.sh
  # Where its time went, and what needed a second try.
  grep -E '^(passed|FAILED|did not pass)' "$scratch/log" | sed 's/^/    /' || true
fi

echo
if ((failures > 0)); then
  echo "scripts/test-package.sh: FAILED: $failures"
  exit 1
fi
echo "scripts/test-package.sh: everything passed"
