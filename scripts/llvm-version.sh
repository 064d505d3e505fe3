#!/usr/bin/env bash
# Prints the version of clang and its tools that the scripts use: the newest that is installed, or
# else the newest that can be. Older than 16, clang cannot build for macOS with Debian's libc++.
# Usage: scripts/llvm-version.sh
set -euo pipefail
source "$(dirname "$0")/usage.sh"
expect_no_arguments "$@"

oldest=16

newest() {
  sed -n 's/^clang-\([0-9]*\)$/\1/p' | awk -v oldest="$oldest" '$1 >= oldest' | sort -n | tail -n 1
}

# dpkg-query fails where it has not heard of any such package.
installed() {
  { dpkg-query -W -f '${db:Status-Status} ${Package}\n' 'clang-*' 2>/dev/null || true; } |
    sed -n 's/^installed //p'
}

version=$(installed | newest)
[ -n "$version" ] || version=$(apt-cache pkgnames clang- | newest)
[ -n "$version" ] || {
  echo "llvm-version.sh: no package offers clang $oldest or later; run apt-get update first." >&2
  exit 1
}
echo "$version"
