#!/usr/bin/env bash
# One launch under valgrind: no memory lost, no invalid access. Usage: scripts/leak-check.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build test gnustep leaks
use_llvm
cmake --preset release >/dev/null
cmake --build --preset release --target fault_programs

build=$PWD/build/release
# shellcheck disable=SC2016 # expanded by the inner shell
"$build"/tests/lab/programs/sandbox bash -euo pipefail -c '
  "$1"/tests/faults/lay_out_home cleaning "$TMPDIR/home" "$1"/tests/faults/fault_application
  cd "$TMPDIR/home/work"
  HOME=$TMPDIR/home valgrind --quiet --error-exitcode=1 --leak-check=full \
    --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
    "$1"/tests/lab/programs/launcher_host \
    "$1"/ThinClientLauncher/libThinClientLauncher.dylib launchermode 45.12.0.1000 | tee answers
  [ "$(paste -sd " " answers)" = "returned 0 started" ]
' bash "$build"
echo "valgrind: one launch, no memory lost, no invalid access"
