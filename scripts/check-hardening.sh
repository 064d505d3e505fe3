#!/usr/bin/env bash
# Checks that programs and libraries for Linux are hardened as cmake/Hardening.cmake asks for.
# Usage: scripts/check-hardening.sh FILE ...
source "$(dirname "$0")/usage.sh" || exit
[[ $# -gt 0 && $1 != -* ]] || wrong_usage

# Usage: expect WHAT PATTERN: in what is known of the file.
expect() {
  grep -qE "$2" <<<"$known" || { echo "check-hardening.sh: $file has no $1" >&2; exit 1; }
}

for file in "$@"; do
  known=$(readelf --wide --program-headers --dynamic --dyn-syms "$file"
    objdump --disassemble "$file" | awk '/endbr64/ { ++count } END { print "endbr64", count }')
  expect 'stack protector' ' __stack_chk_fail@'
  expect 'checked C functions' ' __[a-z]+_chk@'
  expect 'read-only relocations' ' GNU_RELRO '
  expect 'symbols bound at the start' 'FLAGS.* BIND_NOW'
  expect 'stack without code' ' GNU_STACK .* RW '
  # The C runtime alone has a few.
  [ "$(uname -m)" != x86_64 ] || expect 'control-flow enforcement' 'endbr64 [0-9]{2}'
  echo "$file is hardened"
done
