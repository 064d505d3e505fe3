#!/usr/bin/env bash
# Runs the machine code of a build for macOS. The library's: the tests of the rules and of the bridge, and
# random homes in comparison with the library for Linux. The command's: its own tests, and its reports in
# comparison with Linux's. An emulator runs what this machine's processor does not.
# With SEED and MUTANTS, it also inverts so many branches of the library, and tells how many the tests
# notice.
# Usage: scripts/run-machine-code.sh BUILD [SEED MUTANTS]
source "$(dirname "$0")/usage.sh" || exit
[[ ($# -eq 1 || $# -eq 3) && $1 != -* ]] || wrong_usage
build=$(realpath "$1") mutation=("${@:2}")
library=$build/ThinClientLauncher/libThinClientLauncher.dylib
options=(-DMAC_LIBRARY="$library" -DMAC_COMMAND="$build/tools/inspect/launcher-inspect")
native=$PWD/build/libcxx
use_llvm
unset CPATH LIBRARY_PATH # they name libraries of this machine's own architecture
export PYTHONPATH=$PWD/build/macos-lief

# GNUstep reports every property list that is damaged on purpose.
reports=build/macos-reports
export TMPDIR=${TMPDIR:-/tmp}
# Usage: run [BWRAP_OPTION ...] TESTS [OPTION ...]: in a process namespace, since a forked child can hang
# in the emulator.
run() {
  bwrap --ro-bind / / --bind "$TMPDIR" "$TMPDIR" --dev-bind /dev /dev --proc /proc --unshare-pid \
    --cap-add ALL --die-with-parent "$@" --gtest_brief=1 2>$reports ||
    { tail -n 20 $reports >&2; exit 1; }
}

# Usage: run_library ARCHITECTURE
run_library() {
  echo "The library's machine code for $1:"
  # A message to a released object, then a zombie, ends the program.
  NSZombieEnabled=YES CRASH_ON_ZOMBIE=YES run "${emulator[@]}" "$machine/machine_tests"
  run "${emulator[@]}" "$machine/machine_comparison"
  [ "${#mutation[@]}" -eq 0 ] || python3 tests/macos/machine/mutate_branches.py "$1" "$library" \
    "$machine" "${mutation[@]}" "${emulator[@]}"
}

# Usage: run_command ARCHITECTURE TESTS HOMES: the tests run the machine code in the place of the command.
run_command() {
  local program=$machine/machine_command
  if [ "${#emulator[@]}" -gt 0 ]; then
    printf '#!/bin/sh\nexec %s "$@"\n' "${emulator[*]@Q} ${program@Q}" >"$machine/emulated_command"
    program=$machine/emulated_command
    chmod +x "$program"
  fi
  echo "The command's machine code for $1:"
  run --ro-bind "$program" "$native/tools/inspect/launcher-inspect" \
    "$native/tests/inspect/inspect_tests" --gtest_filter="$2"
  MACHINE_COMMAND=$program HOMES=$3 run "$native/tests/inspect/inspect_comparison"
}

targets=(machine_tests machine_comparison machine_command)
emulator=()
cmake --preset libcxx "${options[@]}" >/dev/null
cmake --build build/libcxx --target inspect_tests inspect_comparison
if [ "$(uname -m)" = x86_64 ]; then
  machine=$native/tests/macos/machine
  cmake --build build/libcxx --target "${targets[@]}"
  run_library x86_64
  # Finds uses of released memory. Values that were never set also occur in GoogleTest and GNUstep.
  emulator=(valgrind --quiet --error-exitcode=1 --undef-value-errors=no --vgdb=no
    --suppressions=tests/macos/machine/valgrind-suppressions.txt)
  run "${emulator[@]}" "$machine/machine_tests" --gtest_filter='Start.*:Objects.*:WholeLaunch.*'
  emulator=()
  # Left out: launches by the library for Linux, which accepts names that no Mac has, and a count of
  # system calls, of which GNUstep makes more.
  run_command x86_64 '-*RandomHomes*:Cost.AsksLittleMoreThanLaunch' 60
fi

toolchain=$PWD/tests/macos/machine/apple-arm64.cmake
machine=$PWD/build/arm64/tests/macos/machine
emulator=(env GCONV_PATH="$PWD/build/arm64-root/lib/aarch64-linux-gnu/gconv")
[ "$(uname -m)" = aarch64 ] || emulator+=(qemu-aarch64)
scripts/fetch-arm64.sh build/arm64-root
cmake -S tests/macos/machine/libcxx -B build/arm64-libcxx -G Ninja --toolchain "$toolchain" \
  -DCMAKE_BUILD_TYPE=Release -DSOURCES="$PWD/build/macos-ziglang/ziglang/lib" >/dev/null
cmake --build build/arm64-libcxx
cmake --preset release -B build/arm64 --toolchain "$toolchain" "${options[@]}" \
  -DLAUNCHER_BUILD_TOOLS=OFF -DLAUNCHER_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build/arm64 --target "${targets[@]}"
run_library arm64
run_command arm64 'Command.*:AfterALaunch.*:OnTerminal.*' 8
