#!/usr/bin/env bash
# Makes the Debian packages, in build/packages, lets lintian check them and checks that what they bring is
# hardened. Also builds the library in two folders and compares the files byte by byte.
# Usage: scripts/check-packages.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh build packages
packages=$PWD/build/packages
rm -rf "$packages"
mkdir -p "$packages"/{one,another}

# Usage: build_in FOLDER [TARGET ...]: builds a copy of the sources there, without a cache.
build_in() {
  copy_project "$1"
  (
    cd "$1"
    export CCACHE_DISABLE=1
    cmake --preset demo -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
    cmake --build --preset demo --target "${@:2}" >/dev/null
  )
}

shipped=(ThinClientLauncher ThinClientLauncherHost ThinClientLauncherPlugin)
build_in "$packages/one" all
build_in "$packages/another" "${shipped[@]}"
for file in ThinClientLauncher/libThinClientLauncher.dylib kits/libThinClientLauncherHost.so \
  kits/libThinClientLauncherPlugin.a; do
  cmp "$packages"/{one,another}"/build/demo/$file"
done
echo "Two builds in different folders are the same."

(cd "$packages" && cpack --config one/build/demo/CPackConfig.cmake >/dev/null)
lintian --allow-root --fail-on error "$packages"/*.deb
for package in "$packages"/*.deb; do
  dpkg-deb --extract "$package" "$packages/files"
done
scripts/check-hardening.sh "$packages"/files/usr/{lib/*/libThinClientLauncher.dylib,bin/launcher-inspect}
ls "$packages"/*.deb
