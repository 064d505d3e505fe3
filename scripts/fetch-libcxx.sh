#!/usr/bin/env bash
# Fetches libc++ 11, which is macOS 11's, into build/macos-libcxx, unless it is there: Debian 11 and
# Ubuntu 22.04 are the last to offer it. It is only unpacked, for the names that it exports.
# Usage: scripts/fetch-libcxx.sh
source "$(dirname "$0")/usage.sh" || exit

folder=$PWD/build/macos-libcxx
[ ! -e "$folder/made" ] || exit 0
fail() {
  echo "fetch-libcxx.sh: the machine's mirror gives no libc++ 11 (see above). NOTHING WAS CHECKED." >&2
  exit 1
}

rm -rf "$folder"
mkdir -p "$folder"/{state/lists,cache/archives}/partial

# The machine's own mirror has the older release too.
mirror=$(apt-get download --print-uris base-files | sed -n "s|^'\([^']*\)/pool/.*|\1|p") || fail
release='bullseye main'
[ "$(. /etc/os-release && echo "$ID")" = debian ] || release='jammy universe'
echo "deb [arch=amd64] $mirror $release" >"$folder/sources.list"

# The machine's own lists and packages stay as they are.
cat >"$folder/apt.conf" <<END
APT { Architecture "amd64"; Architectures "amd64"; Sandbox::User ""; }
Dir { State "$folder/state"; State::status "/dev/null"; Cache "$folder/cache"; }
Dir::Etc { sourcelist "$folder/sources.list"; sourceparts "/dev/null"; }
END
cd "$folder"
export APT_CONFIG=apt.conf
{ apt-get -qq update && apt-get -qq download libc++1-11 libc++abi1-11; } || fail
for package in ./*.deb; do
  dpkg-deb --extract "$package" .
done
rm -rf state cache
touch made
