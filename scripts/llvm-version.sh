#!/usr/bin/env bash
# Prints the version of clang and its tools that the scripts use: the first of the known ones that
# the system offers or has complete.
# Usage: scripts/llvm-version.sh
source "$(dirname "$0")/usage.sh" || exit

# The versions with which the whole of .ci/run has passed, the best first. A new one enters by a commit,
# after such a run.
known=(19 22)

# What apt would install of the named packages, or has.
records() { apt-cache show --no-all-versions "$@" 2>/dev/null || true; }

# Some releases offer a newer libc++ for compilation, but an older one to run with.
is_complete() {
  local packages runtime
  packages=$(records "clang-$1" "libc++-$1-dev" "libc++abi-$1-dev")
  [ "$(grep -c '^Package: ' <<<"$packages")" -eq 3 ] || return 1
  runtime=$(sed -n '/^Package: libc++-/,/^$/s/^Depends: \(.*, \)*\(libc++1[^ ,]*\).*/\2/p' <<<"$packages")
  records "$runtime" | grep -q "^Version: \([0-9]*:\)\?$1\."
}

for version in "${known[@]}"; do
  if is_complete "$version"; then
    echo "$version"
    exit
  fi
done
echo "llvm-version.sh: needs clang-N, libc++-N-dev and libc++abi-N-dev where N is one of ${known[*]}:" \
  "run apt-get update, or use a system that offers them, such as Debian 12 or 13." >&2
exit 1
