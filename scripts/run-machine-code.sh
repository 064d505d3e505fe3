#!/usr/bin/env bash
# Runs the machine code of the library for macOS: the tests of the rules and of the bridge, and random
# homes in comparison with the library for Linux. An emulator runs what this machine's processor does not.
# With SEED and MUTANTS, it also inverts so many branches, and tells how many the tests notice.
# Usage: scripts/run-machine-code.sh LIBRARY [SEED MUTANTS]
source "$(dirname "$0")/usage.sh" || exit
[[ ($# -eq 1 || $# -eq 3) && $1 != -* ]] || wrong_usage
library=$(realpath "$1") mutation=("${@:2}")
use_llvm
unset CPATH LIBRARY_PATH # they name libraries of this machine's own architecture
export PYTHONPATH=$PWD/build/macos-lief

# GNUstep reports every property list that is damaged on purpose.
reports=build/macos-reports
export TMPDIR=${TMPDIR:-/tmp}
# Usage: run PROGRAM [OPTION ...]: in a process namespace, since a forked child can hang in the emulator.
run() {
  bwrap --ro-bind / / --bind "$TMPDIR" "$TMPDIR" --dev-bind /dev /dev --proc /proc --unshare-pid \
    --cap-add ALL --die-with-parent "${emulator[@]}" "$machine/$1" --gtest_brief=1 "${@:2}" 2>$reports ||
    { tail -n 20 $reports >&2; exit 1; }
}

# Usage: build_and_run ARCHITECTURE FOLDER
build_and_run() {
  local machine=$PWD/$2/tests/macos/machine
  cmake --build "$2" --target machine_tests machine_comparison
  echo "The machine code for $1:"
  # A message to a released object, then a zombie, ends the program.
  NSZombieEnabled=YES CRASH_ON_ZOMBIE=YES run machine_tests
  run machine_comparison
  [ "${#mutation[@]}" -eq 0 ] || python3 tests/macos/machine/mutate_branches.py "$1" "$library" \
    "$machine" "${mutation[@]}" "${emulator[@]}"
}

emulator=()
if [ "$(uname -m)" = x86_64 ]; then
  cmake --preset libcxx -DMAC_LIBRARY="$library" >/dev/null
  build_and_run x86_64 build/libcxx
  # Finds uses of released memory. Values that were never set also occur in GoogleTest and GNUstep.
  emulator=(valgrind --quiet --error-exitcode=1 --undef-value-errors=no --vgdb=no
    --suppressions=tests/macos/machine/valgrind-suppressions.txt)
  machine=$PWD/build/libcxx/tests/macos/machine \
    run machine_tests --gtest_filter='Start.*:Objects.*:WholeLaunch.*'
  emulator=()
fi

[ "$(uname -m)" = aarch64 ] || emulator=(qemu-aarch64)
toolchain=$PWD/tests/macos/machine/apple-arm64.cmake
scripts/fetch-arm64.sh build/arm64-root
cmake -S tests/macos/machine/libcxx -B build/arm64-libcxx -G Ninja --toolchain "$toolchain" \
  -DCMAKE_BUILD_TYPE=Release -DSOURCES="$PWD/build/macos-ziglang/ziglang/lib" >/dev/null
cmake --build build/arm64-libcxx
cmake --preset release -B build/arm64 --toolchain "$toolchain" -DMAC_LIBRARY="$library" \
  -DLAUNCHER_BUILD_TOOLS=OFF -DLAUNCHER_BUILD_EXAMPLES=OFF >/dev/null
export GCONV_PATH=$PWD/build/arm64-root/lib/aarch64-linux-gnu/gconv
build_and_run arm64 build/arm64
