#!/usr/bin/env bash
# Runs the command blocks of the documents that belong in the project's folder, as the tests run the
# others, and makes the reference of the published headers, in build/reference, without a warning.
# Usage: scripts/check-docs.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build test gnustep docs
use_llvm
mkdir -p build/reference
doxygen docs/Doxyfile
cmake --preset release >/dev/null
cmake --build build/release --target sandbox
build/release/tests/lab/programs/sandbox --writable "$PWD" scripts/run_docs.py \
  --only "run in the project's folder" --folder "$PWD" README.md CONTRIBUTING.md
