#!/usr/bin/env bash
# Breaks the product on purpose, one line at a time, and tells how many of these mutants the tests
# notice. Not part of CI. About a quarter of a minute per mutant; the last line is the score.
# Usage: scripts/mutate.sh [SEED [MUTANTS [FILE ...]]]    (seed 1, 100 mutants of all sources)
#
# Works on a copy of the committed sources in build/mutants. The tests of a mutant see the machine's
# files read-only, since it may delete what it should not.
set -euo pipefail
source "$(dirname "$0")/usage.sh"
cd "$(dirname "$0")/.."

seed=${1:-1} mutants=${2:-100}
[[ $seed =~ ^[0-9]+$ && $mutants =~ ^[1-9][0-9]*$ ]] || wrong_usage
files=("${@:3}")
[ "${#files[@]}" -gt 0 ] ||
  mapfile -t files < <(git ls-files 'ThinClientLauncher/*.'{cpp,mm,h} 'tools/*.'{cpp,h})

scripts/install-packages.sh build test gnustep mutants python
PATH=/usr/lib/llvm-$(scripts/llvm-version.sh)/bin:$PATH
work=$PWD/build/mutants
rm -rf "$work/source"
mkdir -p "$work/source"
scripts/fetch-python.sh scripts/mutants-requirements.txt "$work/universalmutator"
git archive HEAD | tar -x -C "$work/source"
cmake -S "$work/source" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null

PYTHONPATH=$work/universalmutator python3 scripts/mutate.py \
  "$work/source" "$work/build" "$seed" "$mutants" "${files[@]}"
