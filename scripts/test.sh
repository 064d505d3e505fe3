#!/usr/bin/env bash
# Installs what is missing, builds and runs every test. Usage: scripts/test.sh [PRESET]
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:-release}
purposes=(build test)
[ "$preset" = libcxx ] && purposes+=(clang)

scripts/install-packages.sh "${purposes[@]}"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(nproc)"
