#!/usr/bin/env bash
# Disturbs launches from outside and checks what every launch promises: fails each file-related
# system call once with each of five errors, and together with all later ones of its kind, over five
# layouts; kills hosts at random moments; runs two hosts at once; fills the disk; runs one host under
# valgrind. Prints one line per layout and ends with status 1 at the first broken promise. Everything
# runs in sandboxes, whose temporary folders hold the homes.
# Usage: scripts/fault-sweep.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build test gnustep faults
use_llvm
cmake --preset release >/dev/null
cmake --build build/release --target fault_programs

build=$PWD/build/release
lab=$build/tests/lab/programs
programs=("$lab"/launcher_host "$build"/ThinClientLauncher/libThinClientLauncher.dylib
  "$build"/tests/faults/lay_out_home)

"$lab"/sandbox python3 tests/faults/sweep_test.py "${programs[@]}"
"$lab"/sandbox python3 tests/faults/disruptions_test.py kill "${programs[@]}"
"$lab"/sandbox python3 tests/faults/disruptions_test.py pairs "${programs[@]}"

# The temporary folder is a small file system, in a further mount namespace.
# shellcheck disable=SC2016 # expanded by the inner shell
"$lab"/sandbox unshare --user --map-root-user --mount bash -euc '
  mount -t tmpfs -o size=16m launcher-faults "$TMPDIR"
  python3 tests/faults/disruptions_test.py full-disk "$@"
' bash "${programs[@]}"

# shellcheck disable=SC2016 # the same
"$lab"/sandbox bash -euo pipefail -c '
  "$3" cleaning "$TMPDIR/home"
  cd "$TMPDIR/home/work"
  export HOME=$TMPDIR/home
  valgrind --quiet --error-exitcode=1 --leak-check=full --show-leak-kinds=definite,indirect \
    --errors-for-leak-kinds=definite,indirect "$1" "$2" launchermode 45.12.0.1000 | tee answers
  [ "$(paste -sd " " answers)" = "returned 0 started" ]
' bash "${programs[@]}"
echo "valgrind: one launch, no memory lost, no invalid access"
