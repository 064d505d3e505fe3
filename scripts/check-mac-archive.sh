#!/usr/bin/env bash
# Packs what check-macos.sh has built and unpacks it into an empty folder, by the commands that
# docs/embedding.md gives for a Mac; builds hosts and plug-ins with it by the others; and checks every
# file that results.
# Usage: scripts/check-mac-archive.sh
source "$(dirname "$0")/usage.sh" || exit
use_llvm
folder=$PWD/build/macos-archive
sysroot=$PWD/build/macos-sysroot

rm -rf "$folder"
mkdir "$folder"
cpack --config build/macos-cross/CPackConfig.cmake -B "$folder" >/dev/null
rm -rf "$folder/_CPack_Packages"
tar --list --file "$folder"/*.tar.gz | grep -v -e '/$' -e /doc/

# Makes clang and CMake those of a Mac.
export CCC_OVERRIDE_OPTIONS="# ^--target=arm64-apple-macos11.0 +-arch +arm64 +-arch +x86_64 \
+-isysroot +$sysroot +-B$sysroot/bin +-isystem +$sysroot/usr/include/libc++-config +-fuse-ld=lld"
export CMAKE_TOOLCHAIN_FILE=$PWD/cmake/macos-cross.cmake
scripts/run_docs.py --only "run on a Mac" --folder "$folder" docs/embedding.md
PYTHONPATH=build/macos-lief python3 tests/macos/check_mac_files.py "$folder"
