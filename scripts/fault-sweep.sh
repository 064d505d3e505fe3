#!/usr/bin/env bash
# Disturbs launches from outside and checks what every launch promises: fails each file-related
# system call once with each of five errors, over four layouts; kills hosts at random moments; runs
# two hosts at once; fills the disk. Prints one line per layout and ends with status 1 at the first
# broken promise.
# Usage: scripts/fault-sweep.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh build test
cmake --preset release >/dev/null
cmake --build --preset release --target ThinClientLauncher fault_host fault_application

build=$PWD/build/release
programs=("$build"/tests/faults/fault_host "$build"/ThinClientLauncher/libThinClientLauncher.dylib
  "$build"/tests/faults/fault_application)
scratch=$(mktemp -d /dev/shm/launcher-faults.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch"/{sweep,kill,pairs,disk}

python3 tests/faults/sweep.py "${programs[@]}" "$scratch/sweep"
python3 tests/faults/disruptions.py kill "${programs[@]}" "$scratch/kill"
python3 tests/faults/disruptions.py pairs "${programs[@]}" "$scratch/pairs"

# A small file system in a mount namespace of its own.
# shellcheck disable=SC2016 # expanded by the inner shell
unshare --user --map-root-user --mount bash -euc '
  mount -t tmpfs -o size=16m launcher-faults "$4"
  python3 tests/faults/disruptions.py full-disk "$1" "$2" "$3" "$4"
' bash "${programs[@]}" "$scratch/disk"
