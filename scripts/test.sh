#!/usr/bin/env bash
# Installs what is missing, builds and runs every test; on a Mac, those that run there.
# Usage: scripts/test.sh [PRESET]
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(uname)" = Darwin ]; then
  preset=${1:-macos}
  purposes=(build test)
else
  preset=${1:-release}
  purposes=(build test gnustep)
  [ "$preset" != libcxx ] || purposes+=(clang)
fi

scripts/install-packages.sh "${purposes[@]}"
[ "$(uname)" = Darwin ] || PATH=/usr/lib/llvm-$(scripts/llvm-version.sh)/bin:$PATH
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(getconf _NPROCESSORS_ONLN)"
