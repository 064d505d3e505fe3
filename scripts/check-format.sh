#!/usr/bin/env bash
# Checks the format of every C, C++ and Objective-C++ source; with --fix, corrects it.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(--dry-run --Werror)
[ "${1:-}" = --fix ] && mode=(-i)
git ls-files -z '*.h' '*.c' '*.cpp' '*.mm' | xargs -0 clang-format-16 "${mode[@]}"
