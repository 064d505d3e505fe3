#!/usr/bin/env bash
# Tries a stranger's first steps in bare Debian systems, made with debootstrap in build/distributions:
#   - a plain build with the fewest packages that it needs, and its installation
#   - in the newest, the Debian packages and docs/embedding.md: hosts, a plug-in and a launch
#   - with --scripts, scripts/demo.sh and scripts/test.sh, which takes half an hour
# Needs root and the network, for Debian packages only. Nothing is installed on this machine but
# debootstrap and bubblewrap.
# SYSTEM: the name of a Debian release; without one, the current stable and the one before it. The
# last named counts as the newest.
# Usage: scripts/check-distributions.sh [--scripts] [SYSTEM ...]
set -euo pipefail
source "$(dirname "$0")/usage.sh"
cd "$(dirname "$0")/.."

with_scripts=no
if [ "${1-}" = --scripts ]; then
  with_scripts=yes
  shift
fi
systems=("$@")
[ $# -gt 0 ] || systems=(bookworm trixie)
for system in "${systems[@]}"; do
  [[ $system =~ ^[a-z]+$ ]] || wrong_usage
done
newest=${systems[-1]}
roots=$PWD/build/distributions

# Usage: make_system NAME: a bare system and a copy of the sources in it.
make_system() {
  local root=$roots/$1
  if [ ! -e "$root/made" ]; then
    rm -rf "$root"
    echo "Making a bare $1"
    debootstrap --variant=minbase "$1" "$root" >"$root.log" 2>&1 ||
      { tail -n 20 "$root.log" >&2; return 1; }
    touch "$root/made"
  fi
}

# Usage: run_in NAME COMMANDS: runs them in $roots/run, a copy of the bare system, in a copy of the
# sources.
run_in() {
  local copy=$roots/run
  rm -rf "$copy"
  cp -a "$roots/$1" "$copy"
  mkdir -p "$copy/project"
  git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$copy/project"
  cp -L /etc/resolv.conf "$copy/etc/resolv.conf"
  cp "$roots"/*.deb "$copy/project/" 2>/dev/null || true
  bwrap --bind "$copy" / --dev /dev --proc /proc --perms 1777 --tmpfs /tmp --tmpfs /run \
    --cap-add ALL --chdir /project --clearenv --setenv HOME /root --setenv LC_ALL C.UTF-8 \
    --setenv PATH /usr/sbin:/usr/bin:/sbin:/bin --setenv DEBIAN_FRONTEND noninteractive \
    bash -euo pipefail -c "$2"
}

plain_build='
apt-get update -qq
apt-get install --yes -qq --no-install-recommends g++ cmake make pkg-config libglib2.0-dev >/dev/null 2>&1
cmake -S . -B build | grep "Left out"
cmake --build build >/dev/null
cmake --install build --prefix /usr/local >/dev/null
ls /usr/local/lib
'

make_packages='
scripts/install-packages.sh build packages >/dev/null 2>&1
cmake --preset demo -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
cmake --build --preset demo >/dev/null
(cd build/demo && cpack >/dev/null 2>&1)
'

use_packages='
apt-get update -qq
{
apt-get install --yes ./libthinclientlauncher1_*.deb ./libthinclientlauncher-dev_*.deb ./launcher-inspect_*.deb
apt-get install --yes g++ cmake make pkg-config python3
} >/dev/null 2>&1
dpkg-query --show libthinclientlauncher1 libthinclientlauncher-dev launcher-inspect
scripts/run_docs.py docs/embedding.md
'

both_commands='
scripts/demo.sh | tail -n 1
scripts/test.sh | grep -E "tests passed|[(]Failed[)]"
'

scripts/install-packages.sh roots
mkdir -p "$roots"
rm -f "$roots"/*.deb
for system in "${systems[@]}"; do
  make_system "$system"
  echo "$system: a plain build and its installation"
  run_in "$system" "$plain_build"
  [ "$with_scripts" = no ] || run_in "$system" "$both_commands"
done
echo "$newest: the Debian packages, docs/embedding.md"
run_in "$newest" "$make_packages"
cp "$roots"/run/project/build/demo/*.deb "$roots"
run_in "$newest" "$use_packages"
