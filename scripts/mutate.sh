#!/usr/bin/env bash
# Breaks the product on purpose, one line at a time, and tells how many of these mutants the tests
# notice. Not part of CI. About a quarter of a minute per mutant; the last line is the score.
# Usage: scripts/mutate.sh [SEED [MUTANTS [FILE ...]]]    (seed 1, 100 mutants of all sources)
#
# Instead of a FILE, machine-code inverts so many branches of the library for macOS, for each
# architecture: scripts/mutate.sh 1 40 machine-code.
#
# Works on a copy of the sources in build/mutants. The tests of a mutant see the machine's
# files read-only, since it may delete what it should not.
source "$(dirname "$0")/usage.sh" || exit

seed=${1:-1} mutants=${2:-100}
[[ $seed =~ ^[0-9]+$ && $mutants =~ ^[1-9][0-9]*$ ]] || wrong_usage
if [ "${3:-}" = machine-code ]; then
  scripts/check-macos.sh
  scripts/run-machine-code.sh build/macos-cross "${@:1:2}"
  exit
fi
files=("${@:3}")
[ "${#files[@]}" -gt 0 ] ||
  mapfile -d '' files < <(project_files 'ThinClientLauncher/*.'{cpp,mm,h} 'tools/*.'{cpp,h})
files=("${files[@]#./}")

scripts/install-packages.sh build test gnustep mutants python
use_llvm
work=$PWD/build/mutants
rm -rf "$work/source"
mkdir -p "$work/source"
scripts/fetch-python.sh scripts/mutants-requirements.txt "$work/universalmutator"
copy_project "$work/source"
cmake -S "$work/source" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null

PYTHONPATH=$work/universalmutator python3 scripts/mutate.py \
  "$work/source" "$work/build" "$seed" "$mutants" "${files[@]}"
