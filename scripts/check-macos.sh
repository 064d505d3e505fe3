#!/usr/bin/env bash
# Builds the library for macOS on Linux, for both architectures, checks the file and runs the machine
# code for x86_64.
# Usage: scripts/check-macos.sh
source "$(dirname "$0")/usage.sh" || exit

sysroot=build/macos-sysroot
wheels=build/macos-wheels
lief=$PWD/build/macos-lief
library=build/macos-cross/ThinClientLauncher/libThinClientLauncher.dylib
unit_tests=build/macos-cross/tests/unit/unit_tests
exports=ThinClientLauncher/macos/exports.txt

scripts/install-packages.sh build macos python test gnustep libcxx leaks
use_llvm
scripts/fetch-python.sh scripts/lief-requirements.txt "$lief"
rm -rf "$wheels"
python3 -m pip --quiet --disable-pip-version-check download --no-deps --only-binary=:all: \
  --platform manylinux_2_12_x86_64 --require-hashes --dest "$wheels" \
  --requirement scripts/macos-sysroot/requirements.txt || {
  echo "check-macos.sh: could not fetch ziglang from the Python package index (see above)." >&2
  echo "check-macos.sh: NOTHING WAS CHECKED. Restore the connection and run this again." >&2
  exit 1
}
llvm=$(dirname "$(dirname "$(command -v llvm-nm)")")
python3 scripts/macos-sysroot/lay_out.py "$wheels"/ziglang-*.whl "$llvm" "$sysroot"

# Either would lead the compiler to this machine's own headers and libraries.
unset CPATH LIBRARY_PATH
# clang leaves temporary folders behind when it compiles for two architectures at once.
export TMPDIR=$PWD/build/macos-tmp
rm -rf "$TMPDIR" && mkdir "$TMPDIR"
cmake --preset macos-cross >/dev/null
cmake --build --preset macos-cross
llvm-lipo "$unit_tests" -info
llvm-lipo "$unit_tests" -verify_arch arm64 x86_64

export PYTHONPATH=$lief
python3 scripts/check_macho.py "$library" "$exports" "$PWD"
python3 tests/macos/check_macho_test.py "$library" "$exports"

# The tests of the rules and of the bridge, over the machine code.
machine=build/libcxx/tests/macos/machine
cmake --preset libcxx -DMAC_LIBRARY="$PWD/$library" >/dev/null
cmake --build --preset libcxx --target machine_tests machine_comparison
# GNUstep reports every property list that is damaged on purpose.
reports=$TMPDIR/reports
show_reports() {
  tail -n 20 "$reports" >&2
  exit 1
}
# A message to a released object, then a zombie, ends the program.
NSZombieEnabled=YES CRASH_ON_ZOMBIE=YES \
  "$machine"/machine_tests --gtest_brief=1 2>"$reports" || show_reports
"$machine"/machine_comparison --gtest_brief=1 2>"$reports" || show_reports
# Finds uses of released memory. Values that were never set also occur in GoogleTest and GNUstep.
valgrind --quiet --error-exitcode=1 --undef-value-errors=no \
  --suppressions=tests/macos/machine/valgrind-suppressions.txt \
  "$machine"/machine_tests --gtest_brief=1 --gtest_filter='Start.*:Objects.*:WholeLaunch.*'
