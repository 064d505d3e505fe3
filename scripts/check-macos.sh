#!/usr/bin/env bash
# Builds the library for macOS on Linux, for both architectures, checks the file and runs the machine
# code for x86_64.
# Usage: scripts/check-macos.sh
set -euo pipefail
source "$(dirname "$0")/usage.sh"
expect_no_arguments "$@"
cd "$(dirname "$0")/.."

sysroot=build/macos-sysroot
wheels=build/macos-wheels
lief=build/macos-lief
library=build/macos-cross/ThinClientLauncher/libThinClientLauncher.dylib
exports=ThinClientLauncher/macos/exports.txt

# Usage: fetch PACKAGE PIP_ARGUMENT ... The requirements files pin versions and hashes.
fetch() {
  local package=$1
  shift
  python3 -m pip --quiet --disable-pip-version-check "$@" --no-deps --only-binary=:all: \
    --require-hashes || {
    echo "check-macos.sh: could not fetch $package from the Python package index (see above)." >&2
    echo "check-macos.sh: NOTHING WAS CHECKED. Restore the connection and run this again." >&2
    exit 1
  }
}

scripts/install-packages.sh build macos python test gnustep clang leaks
PATH=/usr/lib/llvm-$(scripts/llvm-version.sh)/bin:$PATH
rm -rf "$wheels" "$lief"
fetch ziglang download --platform manylinux_2_12_x86_64 --dest "$wheels" \
  --requirement scripts/macos-sysroot/requirements.txt
fetch lief install --root-user-action=ignore --target "$lief" \
  --requirement scripts/lief-requirements.txt
python3 scripts/macos-sysroot/lay_out.py "$wheels"/ziglang-*.whl "$(dirname "$(dirname "$(command -v llvm-nm)")")" "$sysroot"

# Either would lead the compiler to this machine's own headers and libraries.
unset CPATH LIBRARY_PATH
# clang leaves temporary folders behind when it compiles for two architectures at once.
export TMPDIR=$PWD/build/macos-tmp
rm -rf "$TMPDIR" && mkdir "$TMPDIR"
cmake --preset macos-cross >/dev/null
cmake --build --preset macos-cross

export PYTHONPATH=$lief
python3 scripts/check_macho.py "$library" "$exports" "$PWD"
python3 tests/macos/check_macho_test.py "$library" "$exports"

# The tests of the rules and of the bridge, over the machine code. The two that are left out concern
# Linux alone: its system log, and an application that they start.
machine=build/libcxx/tests/macos/machine
cmake --preset libcxx -DMAC_LIBRARY="$PWD/$library" >/dev/null
cmake --build --preset libcxx --target machine_tests machine_comparison
linux_alone=EntryPoint.PausesBetweenStartAndRecords:EntryPoint.LogsNothingWithoutLibrary
# A message to a released object, then a zombie, ends the program.
NSZombieEnabled=YES CRASH_ON_ZOMBIE=YES \
  "$machine"/machine_tests --gtest_brief=1 --gtest_filter="-$linux_alone"
# GNUstep reports every property list that is damaged on purpose.
"$machine"/machine_comparison --gtest_brief=1 2>"$TMPDIR/reports" ||
  { tail -n 20 "$TMPDIR/reports" >&2; exit 1; }
# Finds uses of released memory. Values that were never set also occur in GoogleTest and GNUstep.
valgrind --quiet --error-exitcode=1 --undef-value-errors=no \
  --suppressions=tests/macos/machine/valgrind-suppressions.txt \
  "$machine"/machine_tests --gtest_brief=1 --gtest_filter='Start.*:Objects.*:WholeLaunch.*'
