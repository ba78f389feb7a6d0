#!/usr/bin/env bash
# Cross-builds the static Qt for Windows that the programs are linked with, from Debian's source
# package of the version that the host's own Qt tools have. Prints the folder it is installed in.
#
#   scripts/build-windows-qt.sh                         the Qt of the programs
#   scripts/build-windows-qt.sh --fetch SOURCE          only its source, into the new folder SOURCE
#   scripts/build-windows-qt.sh --source SOURCE FOLDER  a Qt of that source, into the new folder FOLDER
#
# It takes long, so the result is kept outside the repository, in ${FENWRIGHT_CACHE:-~/.cache/fenwright},
# under a name that changes with the recipe; a folder of that name is complete and is used as it is.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/lib.sh
source "$script_dir/lib.sh"

usage() { die "usage: build-windows-qt.sh [--fetch SOURCE | --source SOURCE FOLDER]"; }
own_source=
own_folder=
case "${1-}:$#" in
  :0) ;;
  --fetch:2) own_folder=$(realpath -m -- "$2") ;;
  --source:3)
    own_source=$(realpath -e -- "$2")
    own_folder=$(realpath -m -- "$3")
    ;;
  *) usage ;;
esac
[[ -z $own_folder || ! -e $own_folder ]] || die "$own_folder is there already"

readonly toolchain=$repo_root/cmake/windows-toolchain.cmake
readonly cache=${FENWRIGHT_CACHE:-${HOME:-$repo_root/build}/.cache/fenwright}

# Widgets, Gui and Core, with what Qt brings itself (zlib, PNG, PCRE, HarfBuzz ...), and without what
# no window of the program has. The header for tablets is missing from Debian's package. The windows
# have little to draw: -O1 is enough, instead of the -O3 that Qt takes for most. GCC collects its
# garbage later. Direct2D stays: the font database that the platform plugin names comes with it.
options=(
  -DCMAKE_BUILD_TYPE=Release
  -DBUILD_SHARED_LIBS=OFF
  -DQT_BUILD_EXAMPLES=OFF
  -DQT_BUILD_TESTS=OFF
  "-DCMAKE_C_FLAGS_INIT=--param ggc-min-expand=300 --param ggc-min-heapsize=200000"
  "-DCMAKE_CXX_FLAGS_INIT=--param ggc-min-expand=300 --param ggc-min-heapsize=200000"
  -DQT_USE_DEFAULT_CMAKE_OPTIMIZATION_FLAGS=ON
  "-DCMAKE_C_FLAGS_RELEASE=-O1 -DNDEBUG"
  "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG"
  -DFEATURE_opengl=OFF
  -DFEATURE_dynamicgl=OFF
  -DFEATURE_vulkan=OFF
  -DFEATURE_sql=OFF
  -DFEATURE_network=OFF
  -DFEATURE_dbus=OFF
  -DFEATURE_xml=OFF
  -DFEATURE_concurrent=OFF
  -DFEATURE_icu=OFF
  -DFEATURE_printsupport=OFF
  -DFEATURE_tabletevent=OFF
  -DFEATURE_system_zlib=OFF
  -DFEATURE_pkg_config=OFF
)
unused_features=(
  calendarwidget colordialog columnview concatenatetablesproxymodel datawidgetmapper datetimeedit
  dial dockwidget errormessage fontcombobox fontdialog gif graphicseffect graphicsview
  hijricalendar ico identityproxymodel islamiccivilcalendar jalalicalendar jpeg keysequenceedit
  lcdnumber movie pdf progressdialog scroller splashscreen syntaxhighlighter tablewidget testlib
  textmarkdownwriter textodfwriter toolbox transposeproxymodel undocommand
  undoview wizard
)
for feature in "${unused_features[@]}"; do
  options+=("-DFEATURE_$feature=OFF")
done

version=$(dpkg-query -W -f='${source:Version}' qt6-base-dev 2>/dev/null) ||
  die "the host's own Qt (qt6-base-dev) is not installed: scripts/install-packages.sh build"
compiler=$(x86_64-w64-mingw32-g++-posix --version | head -n 1) ||
  die "the cross compiler is not installed: scripts/install-packages.sh windows"
recipe=$({
  printf '%s\n' "$version" "$compiler" "${options[@]}"
  cat "$toolchain"
} | sha256sum | cut -c1-12)
readonly folder=${own_folder:-$cache/qt-windows-${version%%+*}-$recipe}

if [[ -d $folder ]]; then
  echo "$folder"
  exit 0
fi

mkdir -p "$cache" "$(dirname "$folder")"
exec 9>"$folder.lock"
flock 9
# Another build may have finished it meanwhile.
if [[ -d $folder ]]; then
  echo "$folder"
  exit 0
fi

# Beside the result, so that the closing rename is one step. A build that was interrupted goes on
# where it stopped.
readonly work=$folder.work
mkdir -p "$work"

# debian_entries: the entries of the machine's source lists for Debian's own packages, as FILE:NUMBER.
debian_entries() {
  # shellcheck disable=SC2016  # apt fills in the name
  apt-get indextargets --format '$(SOURCESENTRY)' 'Created-By: Packages' 'Origin: Debian' | sort -u
}

# write_source_lists FOLDER: the same entries for source packages, with all that they say about
# keys. The number is that of the line in a .list, of the stanza in a .sources.
write_source_lists() {
  local entries entry
  entries=$(debian_entries)
  if [[ -z $entries ]]; then
    # Nobody has fetched the lists, or somebody has removed them.
    need_root "run: apt-get update"
    apt_get update
    entries=$(debian_entries)
  fi
  [[ -n $entries ]] || die "the machine's apt gets no packages from Debian"
  while IFS= read -r entry; do
    case "$entry" in
      *.sources:*)
        awk -v wanted="${entry##*:}" '
          /^#/ { next }
          /^[ \t]*$/ { inside = 0; next }
          !inside { inside = 1; ++stanza }
          stanza == wanted { print tolower($0) ~ /^types:/ ? "Types: deb-src" : $0 }
          END { print "" }
        ' "${entry%:*}" >>"$1/debian.sources"
        ;;
      *)
        sed -n "${entry##*:}s/^[[:blank:]]*deb\([[:blank:]]\)/deb-src\1/p" "${entry%:*}" \
          >>"$1/debian.list"
        ;;
    esac
  done <<<"$entries"
}

# fetch_source: unpacks the source package into $work/source. The places are those that the machine
# gets its own Debian packages from; lists and configuration are private.
fetch_source() {
  rm -rf "$work/apt" "$work/download" "$work/source.new"
  mkdir -p "$work/apt/sources" "$work/apt/lists/partial" "$work/apt/cache/archives/partial" \
    "$work/download"
  write_source_lists "$work/apt/sources"
  local private_apt=(apt-get -qq
    -o "Dir::Etc::sourcelist=-" -o "Dir::Etc::sourceparts=$work/apt/sources"
    -o "Dir::State::lists=$work/apt/lists" -o "Dir::Cache=$work/apt/cache")
  if ((EUID == 0)); then
    # The unprivileged downloader could not write here.
    private_apt+=(-o "APT::Sandbox::User=root")
  fi
  "${private_apt[@]}" update
  (cd "$work/download" && "${private_apt[@]}" source --download-only "qt6-base=$version")
  dpkg-source --no-check --extract "$work/download/"*.dsc "$work/source.new"
  mv "$work/source.new" "$work/source"
}

host_cmake_dir() {
  local file
  file=$(dpkg -L qt6-base-dev | grep '/cmake/Qt6/Qt6Config.cmake$')
  dirname "$(dirname "$file")"
}

if [[ ${1-} == --fetch ]]; then
  fetch_source >&2
  mv -T "$work/source" "$folder"
  rm -rf "$work" "$folder.lock"
  echo "$folder"
  exit 0
fi

# The project's own objects are what the compiler cache is for.
unset CMAKE_CXX_COMPILER_LAUNCHER CMAKE_C_COMPILER_LAUNCHER

build() {
  if [[ -z $own_source && ! -d $work/source ]]; then
    say "Fetching the source of Qt $version"
    fetch_source
  fi
  say "Cross-building Qt $version for Windows"
  if ! grep -qsFx "CMAKE_HOME_DIRECTORY:INTERNAL=${own_source:-$work/source}" \
    "$work/build/CMakeCache.txt"; then
    rm -rf "$work/build"
  fi
  cmake -G Ninja -S "${own_source:-$work/source}" -B "$work/build" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_INSTALL_PREFIX="$folder" \
    -DQT_HOST_PATH=/usr -DQT_HOST_PATH_CMAKE_DIR="$(host_cmake_dir)" \
    "${options[@]}"
  cmake --build "$work/build" --parallel "${FENWRIGHT_JOBS:-$(nproc)}"
  rm -rf "$work/stage"
  DESTDIR=$work/stage cmake --install "$work/build"
}

log=$cache/qt-windows-build.log
tell_failure() {
  tail -n 60 "$log" >&2
  echo "build-windows-qt.sh: Qt was not built; the whole log is $log" >&2
}
# Not by asking for the result of build(): a function that is asked goes on after a failure.
trap 'if (($? != 0)); then tell_failure; fi' EXIT
echo "Cross-building Qt $version for Windows; this takes 12 to 20 minutes on 2 cores" >&2
build >"$log" 2>&1

mv -T "$work/stage$folder" "$folder"
rm -rf "$work" "$folder.lock"
echo "$folder"
