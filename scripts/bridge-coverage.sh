#!/usr/bin/env bash
# Lists the lines of the macOS bridge that no test executes; fails if there are any.
# Usage: scripts/bridge-coverage.sh
source "$(dirname "$0")/usage.sh" || exit

build=$PWD/build/bridge-coverage
tests=$build/tests/macos/macos_bridge_tests
profile=$build/bridge.profdata

scripts/install-packages.sh build test gnustep coverage
use_llvm
cmake --preset bridge-coverage >/dev/null
cmake --build --preset bridge-coverage --target macos_bridge_tests
rm -f "$build"/*.profraw
LLVM_PROFILE_FILE=$build/%p.profraw "$tests" --gtest_brief=1
llvm-profdata merge -o "$profile" "$build"/*.profraw

# The listing reads "  12|  0|text". Lines without code have no count.
lines=$(llvm-cov show "$tests" -instr-profile "$profile" ThinClientLauncher/macos/LauncherHelper.mm)
missed=$(grep -E '^ *[0-9]+\| +0\|' <<<"$lines" || true)
echo "$(grep -cE '^ *[0-9]+\| +[1-9]' <<<"$lines") lines with code are executed."
[ -z "$missed" ] || { printf 'Never executed:\n%s\n' "$missed"; exit 1; }
