#!/usr/bin/env bash
# Runs every fuzz target, or the named ones, for the given time (60 s, or an hour:
# scripts/fuzz.sh 3600), two at a time.
# Inputs that reach new code stay in build/fuzz/corpus; one that breaks a promise ends the run.
# Usage: scripts/fuzz.sh [SECONDS [TARGET ...]]
source "$(dirname "$0")/usage.sh" || exit

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || wrong_usage
for target in "${@:2}"; do
  [ -d "tests/fuzz/corpus/$target" ] || wrong_usage
done
targets=("${@:2}")
[ "${#targets[@]}" -gt 0 ] || mapfile -t targets < <(ls tests/fuzz/corpus)

scripts/install-packages.sh build fuzz
use_llvm
cmake --preset fuzz >/dev/null
cmake --build build/fuzz --target "${targets[@]/#/fuzz_}"

results=$PWD/build/fuzz/results
rm -rf "$results"
mkdir -p "$results"
# Thousands of homes are laid out and removed, so they are kept in memory.
TMPDIR=$(mktemp -d /dev/shm/launcher-fuzz.XXXXXX)
export TMPDIR seconds results
trap 'rm -rf "$TMPDIR"' EXIT

# The targets hold themselves to the promised processor time, and -malloc_limit_mb is the promised
# memory. The other limits, which a busy machine and the sanitizers' own memory must not reach, end
# what would never end.
fuzz() {
  local target=$1 seeds=$PWD/tests/fuzz/corpus/$1 found=build/fuzz/corpus/$1
  mkdir -p "$found"
  local run=(build/fuzz/tests/fuzz/fuzz_"$target" -max_total_time="$seconds" -timeout=300
    -malloc_limit_mb=32 -rss_limit_mb=1024 -artifact_prefix="$results/$target-" -print_final_stats=1 "$found" "$seeds")
  if "${run[@]}" >"$results/$target.log" 2>&1; then
    awk -v target="$target" '/stat::number_of_executed_units/ { print target ": " $2 " inputs, no finding" }' \
      "$results/$target.log"
  else
    echo "$target: FAILED; see $results/$target.log, and repeat with" \
      "build/fuzz/tests/fuzz/fuzz_$target" "$results/$target-"* >&2
    return 1
  fi
}
export -f fuzz
printf '%s\n' "${targets[@]}" | xargs -P 2 -I '{}' bash -euo pipefail -c 'fuzz {}'
