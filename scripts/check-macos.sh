#!/usr/bin/env bash
# Builds the library, the command and the kits for macOS on Linux, for both architectures, checks the
# files and runs the machine code.
# Usage: scripts/check-macos.sh
source "$(dirname "$0")/usage.sh" || exit

sysroot=build/macos-sysroot
ziglang=$PWD/build/macos-ziglang
lief=$PWD/build/macos-lief
library=build/macos-cross/ThinClientLauncher/libThinClientLauncher.dylib
command=build/macos-cross/tools/inspect/launcher-inspect
unit_tests=build/macos-cross/tests/unit/unit_tests
exports=ThinClientLauncher/macos/exports.txt

scripts/install-packages.sh build macos python test gnustep libcxx faults
use_llvm
scripts/fetch-python.sh scripts/lief-requirements.txt "$lief"
scripts/fetch-python.sh scripts/macos-sysroot/requirements.txt "$ziglang" --platform manylinux_2_12_x86_64
llvm=$(dirname "$(dirname "$(command -v llvm-nm)")")
python3 scripts/macos-sysroot/lay_out.py "$ziglang" "$llvm" "$sysroot"

# Either would lead the compiler to this machine's own headers and libraries.
unset CPATH LIBRARY_PATH
# clang leaves temporary folders behind when it compiles for two architectures at once.
export TMPDIR=$PWD/build/macos-tmp
rm -rf "$TMPDIR" && mkdir "$TMPDIR"
cmake --preset release -B build/macos-cross --toolchain "$PWD/cmake/macos-cross.cmake" >/dev/null
cmake --build build/macos-cross
llvm-lipo "$unit_tests" -info
llvm-lipo "$unit_tests" -verify_arch arm64 x86_64

export PYTHONPATH=$lief
python3 scripts/check_macho.py "$library" "$exports" "$PWD"
python3 scripts/check_macho.py --program "$command" "$PWD"
python3 tests/macos/check_macho_test.py "$library" "$exports" "$command"
scripts/check-mac-archive.sh

scripts/run-machine-code.sh build/macos-cross
