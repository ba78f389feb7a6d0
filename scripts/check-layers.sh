#!/usr/bin/env bash
# Checks the layer rule: what the files of each folder of src/, apps/ and tools/ may include.
#
#   scripts/check-layers.sh [ROOT]    ROOT: the tree to check, the repository by default
#
# - A folder includes, of the project, what its library links: the LINK list in its CMakeLists.txt.
# - The engine's folders, the interfaces and the simulated board include nothing else but the C++
#   standard library; the job files have nlohmann-json besides.
# - An adapter (a subfolder of src/platform) may use the system and libraries.
# - An adapter is included only where its library is linked: "adapters", or that of its subfolder.
# - Qt is known in src/ui, apps/ and tools/ alone.
# - Includes name the folder: "folder/file.h", from src/ on.
set -euo pipefail

script_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=${1:-$(dirname "$script_dir")}

# linked_by TARGET: the project's targets that a target links by its CMake rule, directly or not.
linked_by() {
  local linked
  for linked in $(cat src/CMakeLists.txt src/*/CMakeLists.txt | tr '\n' ' ' |
    sed -nE "s/.*(fenwright_add_library|target_link_libraries)\\( *fenwright_$1 ([^)]*[[:space:]])?(LINK|INTERFACE) ([^)]*)\\).*/\4/p" |
    grep -oE 'fenwright_[a-z]+'); do
    echo "${linked#fenwright_}"
    linked_by "${linked#fenwright_}"
  done
}

# The project folders that a folder may include besides itself: those that its library links.
declare -A allowed_folders=()
read_layers() {
  local folder
  for folder in src/*/CMakeLists.txt adapters; do
    folder=${folder%/CMakeLists.txt}
    folder=${folder#src/}
    allowed_folders[$folder]=$(linked_by "$folder" | sort -u | tr '\n' ' ')
  done
}

failures=0
report() {
  printf '%s:%s: %s\n' "$1" "$2" "$3" >&2
  failures=$((failures + 1))
}

# layer_of FILE (relative to root): the row of the table that holds for it, "apps" for the programs.
layer_of() {
  case "$1" in
    apps/* | tools/*) echo apps ;;
    src/platform/*/*) echo adapters ;;
    src/*/*)
      local folder=${1#src/}
      echo "${folder%%/*}"
      ;;
  esac
}

is_pure() {
  case "$1" in
    adapters | ui | apps | job) return 1 ;;
    *) return 0 ;;
  esac
}

# The C++ standard library's headers alone have neither dot, slash nor capital.
is_standard_header() { [[ $1 =~ ^[a-z0-9_]+$ ]]; }

is_qt_header() { [[ $1 =~ ^(Q[A-Z]|Qt) ]]; }

check_angle_include() {
  local file=$1 line=$2 layer=$3 header=$4
  if is_pure "$layer" && ! is_standard_header "$header"; then
    report "$file" "$line" "<$header>: $layer uses the C++ standard library alone"
  fi
  if [[ $layer == adapters || $layer == job ]] && is_qt_header "$header"; then
    report "$file" "$line" "<$header>: Qt is for src/ui, apps/ and tools/"
  fi
}

check_quoted_include() {
  local file=$1 line=$2 layer=$3 header=$4
  if [[ $layer == apps ]]; then
    return
  fi
  local folder=${header%%/*}
  if [[ $header != */* || $header == *..* ]]; then
    # Qt's generated files are the one kind of include without a folder.
    if [[ $layer != ui || ! $header =~ ^(ui_.*\.h|.*\.moc)$ ]]; then
      report "$file" "$line" "\"$header\": name the folder, from src/ on"
    fi
    return
  fi
  local own=$layer allowed=" ${allowed_folders[$layer]} "
  if [[ $layer == adapters ]]; then
    own=platform
  elif [[ $layer == platform && $header == platform/*/* ]]; then
    report "$file" "$line" "\"$header\": an interface knows no adapter"
    return
  elif [[ $header == platform/*/* ]]; then
    local adapter=${header#platform/}
    adapter=${adapter%%/*}
    if [[ $allowed != *' adapters '* && $allowed != *" $adapter "* ]]; then
      report "$file" "$line" "\"$header\": $layer may not use that adapter"
    fi
    return
  fi
  if [[ $folder != "$own" && $allowed != *" $folder "* ]]; then
    report "$file" "$line" "\"$header\": $layer may not use $folder"
  fi
}

# Prints "file<TAB>line<TAB>< or "<TAB>header" for every include of the checked folders.
list_includes() {
  local folders=() folder
  for folder in src apps tools; do
    if [[ -d $folder ]]; then folders+=("$folder"); fi
  done
  grep -rnE '^[[:space:]]*#[[:space:]]*include' --include='*.h' --include='*.cpp' \
    --include='*.h.in' "${folders[@]}" |
    sed -nE 's/^([^:]+):([0-9]+):[^<"]*([<"])([^>"]+)[>"].*$/\1\t\2\t\3\t\4/p'
}

cd "$root"
read_layers
checked=0
while IFS=$'\t' read -r file line kind header; do
  layer=$(layer_of "$file")
  if [[ -z $layer ]]; then
    report "$file" "$line" "a source file belongs into a folder of src/"
    continue
  fi
  if [[ $layer != apps && -z ${allowed_folders[$layer]+known} ]]; then
    report "$file" "$line" "folder \"$layer\" has no CMakeLists.txt"
    continue
  fi
  if [[ $kind == '<' ]]; then
    check_angle_include "$file" "$line" "$layer" "$header"
  else
    check_quoted_include "$file" "$line" "$layer" "$header"
  fi
  checked=$((checked + 1))
done < <(list_includes)

if ((checked == 0)); then
  echo "layers: no include found under $root" >&2
  exit 1
fi
if ((failures > 0)); then
  echo "layers: $failures of $checked includes break the rule" >&2
  exit 1
fi
echo "layers: $checked includes, all follow the rule"
