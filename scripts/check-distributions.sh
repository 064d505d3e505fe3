#!/usr/bin/env bash
# Tries a stranger's first steps on clones of the last commit in bare Debian systems, which debootstrap
# makes in build/distributions:
#   - a plain build with the fewest packages that it needs, and its installation
#   - in trixie, which has Swift: the Swift package, and a launch of its plug-in by its host
#   - in the last system, the Debian packages and docs/embedding.md: hosts, a plug-in and a launch
#   - with --scripts, scripts/demo.sh and scripts/test.sh instead; with --ci, .ci/run instead: for root
#     and for "newcomer", an ordinary user with sudo, each in a home that is closed to others
# Needs root and the network, for packages only. Nothing is installed on this machine but debootstrap.
# SYSTEM: the name of a Debian release, without one bookworm, trixie and testing. "root@" or
# "newcomer@" before it leaves the other user out.
# Usage: scripts/check-distributions.sh [--scripts | --ci] [SYSTEM ...]
source "$(dirname "$0")/usage.sh" || exit

case "${1-}" in
  --scripts) commands=(scripts/demo.sh scripts/test.sh); shift ;;
  --ci) commands=(.ci/run); shift ;;
  *) commands=() ;;
esac
systems=("$@")
[ $# -gt 0 ] || systems=(bookworm trixie testing)
for system in "${systems[@]}"; do
  [[ $system =~ ^((root|newcomer)@)?[a-z]+$ ]] || wrong_usage
done
roots=$PWD/build/distributions
copy=$roots/copy.$$ # of a system
log=$copy.log

logged() { "$@" >"$log" 2>&1 || { tail -n 60 "$log" >&2; exit 1; }; }

# Usage: make_system NAME: a bare system with the two users. It trusts the certificates that were added
# to this machine.
make_system() {
  local root=$roots/$1
  [ ! -e "$root/made" ] || return 0
  rm -rf "$root"
  echo "Making a bare $1"
  logged debootstrap --variant=minbase "$1" "$root"
  chroot "$root" useradd --create-home --key HOME_MODE=0700 --shell /bin/bash newcomer
  install -D -m 0440 /dev/stdin "$root/etc/sudoers.d/newcomer" <<<'newcomer ALL=(ALL) NOPASSWD: ALL'
  # The lists of testing expire within days, also those of a mirror that lags behind.
  echo 'Acquire::Check-Valid-Until "false";' >"$root/etc/apt/apt.conf.d/lagging-mirror"
  cp -a /usr/local/share/ca-certificates "$root/usr/local/share/"
  touch "$root/made"
}

# Becomes USER in the system ROOT. Its name spaces are made by hand: in bubblewrap's, sudo has no
# effect; in a plain chroot, the tests get none of their own.
# shellcheck disable=SC2016 # expanded by the inner shell
enter='
  mount --bind "$1" "$1" && cd "$1"
  mount -t proc proc proc
  mount -t tmpfs -o mode=1777 tmp tmp
  mount -t tmpfs -o mode=755 run run
  mount -t tmpfs -o mode=755 dev dev
  for device in null zero full random urandom tty; do
    touch "dev/$device" && mount --bind "/dev/$device" "dev/$device"
  done
  mkdir dev/pts dev/shm
  mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts
  mount -t tmpfs -o mode=1777 shm dev/shm
  ln -s pts/ptmx dev/ptmx && ln -s /proc/self/fd dev/fd
  pivot_root . mnt && umount --lazy /mnt
  su --login "$2" --command "set -euo pipefail; $3" </dev/null
  exit # this shell, process 1, collects the orphans of the tests; su would not'

# Usage: run_as USER COMMANDS: in $copy.
run_as() { unshare --mount --pid --fork --kill-child bash -euc "$enter" bash "$copy" "$@"; }

# Usage: prepare SYSTEM USER PACKAGE ...: makes $copy a copy of the bare system with these
# packages, and with a clone in the user's home.
prepare() {
  local project=$copy/root/project
  [ "$2" = root ] || project=$copy/home/$2/project
  rm -rf "$copy"
  cp -a "$roots/$1" "$copy"
  cp -L /etc/resolv.conf "$copy/etc/resolv.conf"
  echo "127.0.0.1 localhost $(uname -n)" >"$copy/etc/hosts" # sudo asks for this machine's name
  logged run_as root "apt-get update
    DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends ${*:3}"
  git clone --quiet --no-local . "$project"
  chown -R --reference="$project/.." "$project"
}

plain_build='cd project
cmake -S . -B build | grep "Left out"
cmake --build build >/dev/null
cmake --install build --prefix /usr/local >/dev/null
ls /usr/local/lib'

# shellcheck disable=SC2016 # expanded by the shell in the system
use_swift='cd project
swift build --package-path examples/swift --scratch-path build/swift
built=build/swift/debug launcher=/usr/local/lib/libThinClientLauncher.dylib
copy="$HOME/Library/Application Support/VantuOrlixVDILauncher/45.12.0.900"
contents="$copy/OrlixVDIPlugin.app/Contents"
mkdir -p "$contents/MacOS" "$contents/Frameworks"
cp examples/plugin/Info.plist "$contents"
cp $built/OrlixVDIPlugin "$contents/MacOS"
cp $launcher "$contents/Frameworks"
cp $built/libnexal_vdi_main.so "$contents/Frameworks/libnexal_vdi_main.dylib"
$built/example_swift_host $launcher 45.12.0.1000
timeout 60 sh -c "until [ -e \"\$0/started.dat\" ]; do sleep 0.1; done" "$copy"
cat ~/Library/Logs/VantuOrlixVDI/*'

make_packages='cd project
scripts/install-packages.sh build packages
cmake --preset release -B build/demo -DLAUNCHER_BUILD_TESTS=OFF -DCMAKE_INSTALL_PREFIX=/usr
cmake --build build/demo
cd build/demo
cpack'

install_packages='cd /packages
apt-get install --yes ./libthinclientlauncher1_*.deb ./libthinclientlauncher-dev_*.deb ./launcher-inspect_*.deb
apt-get install --yes g++ cmake make pkg-config python3
'

use_packages='cd project
dpkg-query --show libthinclientlauncher1 libthinclientlauncher-dev launcher-inspect
scripts/run_docs.py docs/embedding.md'

# Usage: try_first_steps SYSTEM
try_first_steps() {
  echo "$1: a plain build and its installation"
  prepare "$1" root g++ cmake make pkg-config libglib2.0-dev libexpat1-dev
  run_as root "$plain_build"
}

# In the system of the first steps.
try_swift() {
  echo "trixie: the Swift package, and a launch"
  logged run_as root 'apt-get install --yes --no-install-recommends swiftlang'
  run_as root "$use_swift"
}

# Usage: try_packages SYSTEM
try_packages() {
  echo "$1: the Debian packages, docs/embedding.md"
  prepare "$1" root
  logged run_as root "$make_packages"
  mv "$copy/root/project/build/demo" "$copy.packages"
  prepare "$1" root
  mv "$copy.packages" "$copy/packages"
  logged run_as root "$install_packages"
  run_as root "$use_packages"
}

# Usage: try_scripts SYSTEM USER
try_scripts() {
  local command
  prepare "$1" "$2" git sudo
  for command in "${commands[@]}"; do
    SECONDS=0
    logged run_as "$2" "cd project; $command"
    echo "$2@$1: $command: $((SECONDS / 60))m$((SECONDS % 60))s"
    grep -E 'was started and entered|tests passed|no finding|PASSED|^Two builds' "$log"
  done
}

lock "$roots"
scripts/install-packages.sh roots
for system in "${systems[@]}"; do
  name=${system#*@}
  make_system "$name"
  if [ "${#commands[@]}" -eq 0 ]; then
    try_first_steps "$name"
    [ "$name" != trixie ] || try_swift
    continue
  fi
  for user in root newcomer; do
    [[ $system = *@* && $system != "$user@"* ]] || try_scripts "$name" "$user"
  done
done
[ "${#commands[@]}" -gt 0 ] || try_packages "$name"
rm -rf "$copy" "$log"
