#!/usr/bin/env bash
# Runs every command block of the documents and compares the output that they show, and makes the
# reference of the published headers, in build/reference, without a warning.
# Usage: scripts/check-docs.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build test gnustep docs
use_llvm
mkdir -p build/reference
doxygen docs/Doxyfile
cmake --preset release >/dev/null
cmake --build --preset release
build/release/tests/lab/programs/sandbox \
  scripts/run_docs.py --build build/release --project README.md CONTRIBUTING.md docs/*.md
