#!/usr/bin/env bash
# Checks the format of every C, C++ and Objective-C++ source; with --fix, corrects it.
# Usage: scripts/check-format.sh [--fix]
source "$(dirname "$0")/usage.sh" || exit

case "$*" in
  '') mode=(--dry-run --Werror) ;;
  --fix) mode=(-i) ;;
  *) wrong_usage ;;
esac

scripts/install-packages.sh python
scripts/fetch-python.sh scripts/clang-format-requirements.txt build/clang-format
project_files '*.h' '*.c' '*.cpp' '*.mm' |
  xargs -0 build/clang-format/clang_format/data/bin/clang-format "${mode[@]}"
