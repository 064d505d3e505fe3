#!/usr/bin/env bash
# Builds the library for macOS on Linux, for both architectures, and checks the result.
set -euo pipefail
cd "$(dirname "$0")/.."

sysroot=build/macos-sysroot
wheels=build/macos-wheels
library=build/macos-cross/ThinClientLauncher/libThinClientLauncher.dylib
exports=ThinClientLauncher/macos/exports.txt

# The wheel's version and hash are pinned.
fetch_darwin_headers() {
  rm -rf "$wheels"
  python3 -m pip download --quiet --disable-pip-version-check --no-deps --only-binary=:all: \
    --platform manylinux_2_12_x86_64 --require-hashes \
    --requirement scripts/macos-sysroot/requirements.txt --dest "$wheels" || {
    echo "check-macos.sh: the Python package index did not give ziglang (see above)." >&2
    echo "check-macos.sh: NOTHING WAS CHECKED. Mend the connection and run this again." >&2
    exit 1
  }
}

scripts/install-packages.sh build macos
fetch_darwin_headers
python3 scripts/macos-sysroot/lay_out.py "$wheels"/ziglang-*.whl /usr/lib/llvm-16 "$sysroot"

# Either would lead the compiler to this machine's own headers and libraries.
unset CPATH LIBRARY_PATH
cmake --preset macos-cross >/dev/null
cmake --build --preset macos-cross

python3 scripts/check_macho.py "$library" "$exports" "$PWD"
python3 tests/macos/check_macho_test.py "$library" "$exports"
