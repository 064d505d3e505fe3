#!/usr/bin/env bash
# Runs clang-tidy over the sources for Linux of the library, the kits and the tools, with the flags of
# the clang build.
# Usage: scripts/check-tidy.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build libcxx tidy
use_llvm
# Every source by itself; precompiled headers would have to be built first.
cmake --no-warn-unused-cli --preset libcxx -B build/tidy -DLAUNCHER_BUILD_TESTS=OFF \
  -DCMAKE_UNITY_BUILD=OFF -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
project_files 'ThinClientLauncher/*.cpp' 'kits/*.cpp' 'tools/*.cpp' | grep -zv /macos/ |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/tidy 2> >(grep -v 'warnings generated' >&2)
