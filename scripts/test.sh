#!/usr/bin/env bash
# Installs what is missing, builds and runs every test; on a Mac, those that run there.
# Usage: scripts/test.sh [PRESET]
# Presets: release (the default), libcxx, sanitize, sanitize-threads; on a Mac, macos.
source "$(dirname "$0")/usage.sh" || exit

preset=${1:-$([ "$(uname)" = Darwin ] && echo macos || echo release)}
purposes=(build test gnustep)
[ "$preset" != libcxx ] || purposes+=(libcxx)

presets=' release libcxx sanitize sanitize-threads macos '
[[ $# -le 1 && $presets == *" $preset "* ]] || wrong_usage

scripts/install-packages.sh "${purposes[@]}"
[ "$(uname)" = Darwin ] || use_llvm
cmake --preset "$preset" >/dev/null
cmake --build "build/$preset"
# Many tests wait for processes: two for each core keep it busy.
ctest --test-dir "build/$preset" --output-on-failure --no-tests=error \
  --parallel "$((2 * $(getconf _NPROCESSORS_ONLN)))"
