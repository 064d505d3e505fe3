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

# Usage: make_packages FOLDER: without a cache, which would change the debug information.
make_packages() {
  export CCACHE_DISABLE=1
  cmake --preset release -B build/debian -DLAUNCHER_BUILD_TESTS=OFF -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_CXX_FLAGS="-g -ffile-prefix-map=$PWD=." >/dev/null
  cmake --build build/debian >/dev/null
  (cd "$1" && cpack --config "$OLDPWD/build/debian/CPackConfig.cmake" >/dev/null)
}

(umask 000 && make_packages "$packages")
copy_project "$packages/copy"
(umask 077 && cd "$packages/copy" && make_packages .)
for package in "$packages"/*.{deb,ddeb}; do
  cmp "$package" "$packages/copy/${package##*/}"
  dpkg-deb --extract "$package" "$packages/files"
done
echo "Two builds, in different folders and under different umasks, make the same packages."

lintian --allow-root --fail-on error,warning "$packages"/*.{deb,ddeb}
scripts/check-hardening.sh "$packages"/files/usr/{lib/*/libThinClientLauncher.dylib,bin/launcher-inspect}

# What is linked with one of the libraries needs this version of their package or a later one.
dpkg-deb --control "$packages"/libthinclientlauncher1_*.deb "$packages/files/DEBIAN"
install -D /dev/null "$packages/debian/control"
for host in CatchingHost.cpp:.dylib Host.c:Host.so.1; do
  c++ -Ikits -IThinClientLauncher "examples/host/${host%:*}" -o "$packages/host" \
    "$packages"/files/usr/lib/*/libThinClientLauncher"${host#*:}"
  (cd "$packages" && dpkg-shlibdeps -Sfiles -O host) | grep 'libthinclientlauncher1 (>= '
done
ls "$packages"/*.{deb,ddeb}
