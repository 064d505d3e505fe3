#!/usr/bin/env bash
# Measures what a launch costs, beside a baseline in C and a shell script, and writes the figures into
# docs/performance.md and docs/performance.png. Exit status 1 when a promise does not hold.
# Takes about five minutes. Other work on the machine changes the times more than the ratios.
# Usage: scripts/bench.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build bench
build=build/bench
cmake --preset release -B "$build" -DLAUNCHER_BUILD_TESTS=OFF -DLAUNCHER_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build"

results=$build/results
mkdir -p "$results"

format=(--benchmark_out_format=json --benchmark_enable_random_interleaving=true)
"$build"/bench/process_benchmarks "${format[@]}" --benchmark_out="$results/processes.json"
"$build"/bench/operation_benchmarks "${format[@]}" --benchmark_out="$results/operations.json" \
  --benchmark_repetitions=5

strip -o "$results/stripped" "$build/ThinClientLauncher/libThinClientLauncher.dylib"
exec bench/report.py "$results" docs
