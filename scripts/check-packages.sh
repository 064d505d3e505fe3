#!/usr/bin/env bash
# Makes the Debian packages, in build/packages, lets lintian check them and checks that what they bring is
# hardened. Also makes them in another folder, under another umask, and compares them byte by byte.
# Usage: scripts/check-packages.sh
source "$(dirname "$0")/usage.sh" || exit

lock build/packages
scripts/install-packages.sh build packages
packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages/copy"
SOURCE_DATE_EPOCH=$(date --date=yesterday +%s)
export SOURCE_DATE_EPOCH

# Usage: make_packages FOLDER: without a cache.
make_packages() {
  export CCACHE_DISABLE=1
  cmake --preset release -B build/demo -DLAUNCHER_BUILD_TESTS=OFF -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
  cmake --build build/demo >/dev/null
  (cd "$1" && cpack --config "$OLDPWD/build/demo/CPackConfig.cmake" >/dev/null)
}

(umask 000 && make_packages "$packages")
copy_project "$packages/copy"
(umask 077 && cd "$packages/copy" && make_packages .)
for package in "$packages"/*.deb; do
  cmp "$package" "$packages/copy/${package##*/}"
  dpkg-deb --extract "$package" "$packages/files"
done
echo "Two builds, in different folders and under different umasks, make the same packages."

lintian --allow-root --fail-on error "$packages"/*.deb
scripts/check-hardening.sh "$packages"/files/usr/{lib/*/libThinClientLauncher.dylib,bin/launcher-inspect}
ls "$packages"/*.deb
