#!/usr/bin/env bash
# One launch under valgrind: no memory lost, no invalid access. Usage: scripts/leak-check.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh build test leaks
cmake --preset release >/dev/null
cmake --build --preset release --target ThinClientLauncher fault_host fault_application

build=$PWD/build/release
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
python3 tests/faults/homes.py cleaning "$scratch" "$build/tests/faults/fault_application"

cd "$scratch/work"
HOME=$scratch valgrind --quiet --error-exitcode=1 --leak-check=full \
  --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
  "$build/tests/faults/fault_host" "$build/ThinClientLauncher/libThinClientLauncher.dylib" \
  undisturbed
echo "valgrind: one launch, no memory lost, no invalid access"
