#!/usr/bin/env bash
# Checks the format of every C, C++ and Objective-C++ source; with --fix, corrects it.
# Usage: scripts/check-format.sh [--fix]
set -euo pipefail
source "$(dirname "$0")/usage.sh"
cd "$(dirname "$0")/.."

case "$*" in
  '') mode=(--dry-run --Werror) ;;
  --fix) mode=(-i) ;;
  *) wrong_usage ;;
esac

scripts/install-packages.sh python
scripts/fetch-python.sh scripts/clang-format-requirements.txt build/clang-format
git ls-files -z '*.h' '*.c' '*.cpp' '*.mm' |
  xargs -0 build/clang-format/clang_format/data/bin/clang-format "${mode[@]}"
