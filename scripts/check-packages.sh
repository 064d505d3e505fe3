#!/usr/bin/env bash
# Makes the Debian packages, in build/packages, lets lintian check them and checks that what they bring is
# hardened. Also builds the library in two folders and compares the files byte by byte.
# Usage: scripts/check-packages.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build packages
packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages/copy"

# Usage: build [TARGET ...]: without a cache.
build() {
  export CCACHE_DISABLE=1
  cmake --preset release -B build/demo -DLAUNCHER_BUILD_TESTS=OFF -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
  cmake --build build/demo "$@" >/dev/null
}

build
copy_project "$packages/copy"
(cd "$packages/copy" && build --target ThinClientLauncher ThinClientLauncherHost ThinClientLauncherPlugin)
for file in ThinClientLauncher/libThinClientLauncher.dylib kits/libThinClientLauncher{Host.so,Plugin.a}; do
  cmp "build/demo/$file" "$packages/copy/build/demo/$file"
done
echo "Two builds in different folders are the same."

(cd "$packages" && cpack --config ../demo/CPackConfig.cmake >/dev/null)
lintian --allow-root --fail-on error "$packages"/*.deb
for package in "$packages"/*.deb; do
  dpkg-deb --extract "$package" "$packages/files"
done
scripts/check-hardening.sh "$packages"/files/usr/{lib/*/libThinClientLauncher.dylib,bin/launcher-inspect}
ls "$packages"/*.deb
