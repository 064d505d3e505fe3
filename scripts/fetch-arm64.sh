#!/usr/bin/env bash
# Unpacks the libraries for arm64 that the tests of the macOS side link, in this system's release, into
# a folder, unless that folder has them already. What this machine has installed stays as it is.
# Usage: scripts/fetch-arm64.sh FOLDER
source "$(dirname "$0")/usage.sh" || exit
[[ $# -eq 1 && $1 != -* ]] || wrong_usage
root=$1

gcc=$(gcc -dumpversion)
wanted=("libobjc-${gcc%%.*}-dev" libblocksruntime-dev libexpat1-dev libglib2.0-dev libgnustep-base-dev
  libplist-dev)
# What those depend on, but no test runs or links: apt takes it for installed.
left_out=(ca-certificates debconf dpkg dpkg-dev gcc girepository-tools gnustep-base-runtime gnustep-make
  gnutls-bin gobjc gobjc++ libasan8 libc-dev-bin libgio-2.0-dev-bin libglib2.0-bin libglib2.0-data
  libglib2.0-dev-bin libhwasan0 liblsan0 libnsl-dev libtirpc-dev libtsan2 libubsan1 native-architecture
  openssl perl pkg-config pkgconf python3 rpcsvc-proto tar)

key=$(cat "scripts/${0##*/}" /etc/os-release; echo "${wanted[@]}")
[ "$(cat "$root/key" 2>/dev/null)" != "$key" ] || exit 0
rm -rf "$root"
mkdir -p "$root"/{usr/lib,apt/lists/partial,apt/archives/partial}
ln -s usr/lib "$root/lib"
apt=$PWD/$root/apt

# Usage: apt PROGRAM OPTION ...: with a state of its own, and the sources of this machine.
apt() {
  "$1" -qq -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o APT::Sandbox::User=root \
    -o Debug::NoLocking=1 -o Dir::State="$apt" -o Dir::State::status="$apt/status" \
    -o Dir::Cache="$apt" "${@:2}"
}
fail() {
  echo "fetch-arm64.sh: this machine's sources of packages give none for arm64 (see above)." >&2
  echo "NO CODE FOR ARM64 WAS RUN. Restore the connection, or use Debian, and run this again." >&2
  exit 1
}
touch "$apt/status"
apt apt-get update || fail
{ apt apt-cache show --no-all-versions "${left_out[@]}" 2>/dev/null || true; } |
  sed -n 's/^Package: .*/&\nStatus: hold ok installed/p; /^\(Version\|Architecture\|Provides\):/p; /^$/p' \
    >"$apt/held"
mv "$apt/held" "$apt/status"
apt apt-get install --yes --no-install-recommends --download-only "${wanted[@]}" || fail
for package in "$apt"/archives/*.deb; do
  dpkg-deb --fsys-tarfile "$package" | tar --extract --keep-directory-symlink --directory "$root"
done
rm -r "$apt"
echo "$key" >"$root/key"
