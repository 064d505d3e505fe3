#!/usr/bin/env bash
# Installs what is missing for the named purposes, with apt-get or Homebrew, and says what that is.
# Usage: scripts/install-packages.sh PURPOSE ...
source "$(dirname "$0")/usage.sh" || exit

table=scripts/packages.txt

fail() {
  echo "install-packages.sh: $1" >&2
  exit 1
}

# Asks nothing, changes no configuration file of the user, waits for another run, and tells what apt
# says if it fails.
apt() {
  local output as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
    command -v sudo >/dev/null || fail "needs root or sudo."
  fi
  output=$("${as_root[@]}" flock /var/lib/apt env DEBIAN_FRONTEND=noninteractive apt-get -q \
    -o DPkg::Lock::Timeout=600 -o Dpkg::Options::=--force-confdef -o Dpkg::Options::=--force-confold \
    "$@" </dev/null 2>&1) || fail "apt-get $1 failed:"$'\n'"$(tail -n 40 <<<"$output")"
}

if [ "$(uname)" = Darwin ]; then
  column=3 installer=brew systems='macOS with Homebrew'
  is_installed() { brew list --versions "$1" >/dev/null; }
  install() { brew install --quiet "$@"; }
else
  column=2 installer=apt-get systems='Debian 12, Ubuntu 24.04 or later'
  is_installed() { dpkg-query -W -f '${Status}' "$1" 2>/dev/null | grep -q '^install ok installed$'; }
  install() {
    apt update
    apt install --yes --no-install-recommends --no-remove "$@"
  }
fi

wrong_purpose() {
  echo "install-packages.sh: the purposes are: $(awk '!/^#/ { print $1 }' $table | uniq | xargs)" >&2
  exit 2
}

[ $# -gt 0 ] || wrong_purpose
wanted=
for purpose in "$@"; do
  names=$(awk -v purpose="$purpose" "!/^#/ && \$1 == purpose { print \$$column }" $table)
  [ -n "$names" ] || wrong_purpose
  wanted+=$names$'\n'
done
command -v "$installer" >/dev/null || fail "needs $installer ($systems)."
if [[ $wanted == *-LLVM* ]]; then
  # A fresh system has no list of packages yet.
  scripts/llvm-version.sh >/dev/null 2>&1 || apt update
  version=$(scripts/llvm-version.sh)
  wanted=${wanted//LLVM/$version}
fi
wanted=$(sort -u <<<"$wanted")
missing=()
for package in $wanted; do
  [ "$package" = - ] || is_installed "$package" || missing+=("$package")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
install "${missing[@]}"
