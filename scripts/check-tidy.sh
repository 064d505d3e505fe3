#!/usr/bin/env bash
# Runs clang-tidy over the sources of the library, the kits and the tools, with the flags of the
# clang build.
# Usage: scripts/check-tidy.sh
set -euo pipefail
source "$(dirname "$0")/usage.sh"
expect_no_arguments "$@"
cd "$(dirname "$0")/.."

scripts/install-packages.sh build clang test gnustep
PATH=/usr/lib/llvm-$(scripts/llvm-version.sh)/bin:$PATH
# Every source by itself; precompiled headers would have to be built first.
cmake --preset libcxx -B build/tidy -DCMAKE_UNITY_BUILD=OFF -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
git ls-files -z 'ThinClientLauncher/*.cpp' 'kits/*.cpp' 'tools/*.cpp' |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/tidy 2> >(grep -v 'warnings generated' >&2)
