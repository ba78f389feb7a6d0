#!/usr/bin/env bash
# Builds every example from its source with avr-gcc, and the HEX files in tests/image/tool_chains,
# which are of all the kinds that tool chains make.
#
#   examples/rebuild.sh           rewrites the files beside the sources
#   examples/rebuild.sh --check   changes nothing and fails when a committed file is out of date
set -euo pipefail

examples_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
tool_chains_dir=$examples_dir/../tests/image/tool_chains

usage() { echo "usage: $(basename "$0") [--check]" >&2; }

# Intel HEX with 16 bytes per record whatever the sections were: the sections go into one plain
# image first. avr-objcopy writes upper-case digits and CR LF, and no record types but 00 and 01
# for an image without a start address.
image_to_hex() {
  local image=$1 hex=$2
  avr-objcopy -I binary -O ihex "$image" "$hex"
}

build_c() {
  local source=$1 mcu=$2 elf=$3
  avr-gcc -std=c99 -Os -Wall -Wextra -Werror -mmcu="$mcu" -o "$elf" "$source"
}

# The chips without RAM have no C run-time: the source brings its own vectors.
build_assembler() {
  local source=$1 mcu=$2 elf=$3
  avr-gcc -Wall -Werror -mmcu="$mcu" -nostartfiles -nostdlib -o "$elf" "$source"
}

# build_example NAME MCU: leaves NAME.hex, and NAME.eep when the program has EEPROM data, in $work.
build_example() {
  local name=$1 mcu=$2
  local elf=$work/$name.elf
  if [[ -f $examples_dir/$name/$name.c ]]; then
    build_c "$examples_dir/$name/$name.c" "$mcu" "$elf"
  else
    build_assembler "$examples_dir/$name/$name.S" "$mcu" "$elf"
  fi
  avr-objcopy -O binary -R .eeprom -R .fuse -R .lock -R .signature "$elf" "$work/$name.code"
  image_to_hex "$work/$name.code" "$work/$name.hex"
  if avr-objdump -h "$elf" | grep -q ' \.eeprom '; then
    avr-objcopy -O binary -j .eeprom --set-section-flags=.eeprom=alloc,load \
      --change-section-lma .eeprom=0 "$elf" "$work/$name.data"
    image_to_hex "$work/$name.data" "$work/$name.eep"
  fi
}

# Every file that the build gave must be there with the same bytes, and no other must be there.
check_example() {
  local name=$1 extension failed=0
  for extension in hex eep; do
    local built=$work/$name.$extension committed=$examples_dir/$name/$name.$extension
    if [[ ! -f $built && ! -f $committed ]]; then
      continue
    fi
    if ! cmp "$built" "$committed"; then
      echo "out of date: $name/$name.$extension" >&2
      failed=1
    fi
  done
  return "$failed"
}

install_example() {
  local name=$1 extension
  for extension in hex eep; do
    if [[ -f $work/$name.$extension ]]; then
      cp "$work/$name.$extension" "$examples_dir/$name/$name.$extension"
      echo "built $name/$name.$extension"
    fi
  done
}

# build_tool_chain_files: leaves in $work/tool_chains what the two memories of a program hold
# (code.bin, data.bin) and the files that others make of them.
build_tool_chain_files() {
  local out=$work/tool_chains elf=$work/settings.elf
  mkdir "$out"
  build_c "$tool_chains_dir/settings.c" at90s8515 "$elf"
  avr-objcopy -O binary -R .eeprom "$elf" "$out/code.bin"
  avr-objcopy -O binary -j .eeprom --change-section-lma .eeprom=0 "$elf" "$out/data.bin"

  # Records as the linker's sections come, CR LF. What most people type first has the EEPROM behind
  # an extended linear address.
  avr-objcopy -O ihex "$elf" "$out/all-sections.hex"
  avr-objcopy -O ihex -R .eeprom "$elf" "$out/code.hex"
  avr-objcopy -O ihex -R .eeprom --set-start 0x10 "$elf" "$out/start-segment.hex"
  avr-objcopy -O ihex -j .eeprom --set-section-flags=.eeprom=alloc,load \
    --change-section-lma .eeprom=0 "$elf" "$out/data.eep"

  # 32 bytes a record, LF.
  local code=("$out/code.bin" -binary)
  srec_cat "${code[@]}" -o "$out/lf.hex" -intel -address-length=2
  srec_cat "${code[@]}" -o "$out/segment.hex" -intel -address-length=3
  srec_cat "${code[@]}" -o "$out/linear.hex" -intel -address-length=4
  srec_cat "${code[@]}" -o "$out/start-linear.hex" -intel -execution-start-address=0
  srec_cat "${code[@]}" -offset 0x10000 -o "$out/far-segment.hex" -intel -address-length=3
  srec_cat "${code[@]}" -offset 0x10000 -o "$out/far-linear.hex" -intel -address-length=4
  srec_cat "${code[@]}" -offset 0x7000 -o "$out/boot-loader.hex" -intel -address-length=2
  srec_cat "${code[@]}" -crop 0 227 -o "$out/odd.hex" -intel -address-length=2 \
    -output-block-size=7
  srec_cat "$out/data.bin" -binary -o "$out/lf.eep" -intel -address-length=2
}

check_tool_chain_files() {
  if diff -rq --exclude=settings.c "$work/tool_chains" "$tool_chains_dir"; then return 0; fi
  echo "out of date: tests/image/tool_chains" >&2
  return 1
}

check=0
case "${1-}" in
  '') ;;
  --check) check=1 ;;
  *)
    usage
    exit 2
    ;;
esac

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

status=0
while read -r name mcu; do
  build_example "$name" "$mcu"
  if ((check)); then
    check_example "$name" || status=1
  else
    install_example "$name"
  fi
done <<'END'
blink          at90s8515
counter-eeprom at90s8515
toggle-tiny12  attiny12
END

build_tool_chain_files
if ((check)); then
  check_tool_chain_files || status=1
else
  install -m 644 "$work"/tool_chains/* "$tool_chains_dir"
  echo "built tests/image/tool_chains"
fi

if ((check && status == 0)); then
  echo "examples: every HEX and EEP file is what its source gives"
fi
exit "$status"
