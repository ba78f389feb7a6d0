#!/usr/bin/env bash
# Tests scripts/pre-commit in a small repository: it looks at what is staged, and at nothing else.
#
#   pre_commit_test.sh ROOT
set -euo pipefail

readonly root=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_NOSYSTEM=1
unset GIT_DIR GIT_INDEX_FILE GIT_WORK_TREE

mkdir "$scratch/repository"
cd "$scratch/repository"
mkdir -p src/core src/image scripts
cp "$root/.clang-format" .
cp "$root"/scripts/{pre-commit,check-layers.sh,lib.sh} scripts/
cp "$root/src/CMakeLists.txt" src/
cp "$root/src/core/CMakeLists.txt" src/core/
cp "$root/src/image/CMakeLists.txt" src/image/
printf '#include <string>\n\nint First();\n' >src/core/first.h
printf '#include "core/first.h"\n\nint Second() { return First(); }\n' >src/image/second.cpp
git init -q .
git add .
git -c user.name=Test -c user.email=test@localhost -c commit.gpgsign=false commit -q -m 'Begin'

failures=0
# expect RESULT WHAT [TEXT]: how the check ends for what is staged now, and what it says.
expect() {
  local wanted=$1 what=$2 text=${3-} result=passes
  scripts/pre-commit >"$scratch/said" 2>&1 || result=refuses
  if [[ $result != "$wanted" || $(<"$scratch/said") != *"$text"* ]]; then
    failures=$((failures + 1))
    echo "FAILED: it $result, it should be that it $wanted: $what"
    cat "$scratch/said"
  fi
}

expect passes 'nothing is staged'

printf 'int Second( ){return 2;}\n' >src/image/second.cpp
expect passes 'the badly formatted source is not staged'
git add src/image/second.cpp
expect refuses 'a badly formatted source is staged' src/image/second.cpp
printf 'int Second() { return 2; }\n' >src/image/second.cpp
expect refuses 'it was mended in the working folder alone' src/image/second.cpp
git add src/image/second.cpp
expect passes 'the mended source is staged'

printf '#include "image/second.h"\n\nint First();\n' >src/core/first.h
expect passes 'the include that breaks the layers is not staged'
git add src/core/first.h
expect refuses 'an include that breaks the layers is staged' 'core may not use image'
printf '#include <string>\n\nint First();\n' >src/core/first.h
git add src/core/first.h
expect passes 'the include is gone again'
printf '#include "platform/system/folders.h"\n' >src/image/second.cpp
git add src/image/second.cpp
expect refuses 'an include of an adapter that is not linked is staged' \
  'image may not use that adapter'
printf 'int Second() { return 2; }\n' >src/image/second.cpp
git add src/image/second.cpp

git rm -q --cached src/image/second.cpp
expect passes 'a source is removed'

[[ -z $(git status --porcelain -- scripts .clang-format) ]] || {
  failures=$((failures + 1))
  echo "FAILED: it changed files"
}
((failures == 0)) || exit 1
echo "pre-commit: everything passed"
