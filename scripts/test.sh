#!/usr/bin/env bash
# Installs what is missing, builds and runs every test; on a Mac, those that run there.
# Usage: scripts/test.sh [PRESET]
# Presets: release (the default), debug, libcxx, sanitize, sanitize-threads; on a Mac, macos.
source "$(dirname "$0")/usage.sh" || exit

if [ "$(uname)" = Darwin ]; then
  preset=${1:-macos}
  purposes=(build test)
else
  preset=${1:-release}
  purposes=(build test gnustep)
  [ "$preset" != libcxx ] || purposes+=(libcxx)
fi

presets=' release debug libcxx sanitize sanitize-threads macos '
[[ $# -le 1 && $presets == *" $preset "* ]] || wrong_usage

scripts/install-packages.sh "${purposes[@]}"
[ "$(uname)" = Darwin ] || use_llvm
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
# Many tests wait for processes: two for each core keep it busy.
ctest --preset "$preset" --parallel "$((2 * $(getconf _NPROCESSORS_ONLN)))"
