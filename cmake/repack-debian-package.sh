#!/bin/sh
# Adds to a package that CPack made what Debian expects, and packs it again: its modes do not depend on
# the umask, nor its times on the files'.
# Usage: repack-debian-package.sh PACKAGE SECONDS: the absolute path; the time, since 1970
set -e
source=$(CDPATH='' cd "$(dirname "$0")/.." && pwd)
name=$(dpkg-deb --field "$1" Package)
version=$(dpkg-deb --field "$1" Version)
doc=usr/share/doc/$name
dpkg-deb --raw-extract "$1" "$1.tree"
cd "$1.tree"

sed -i '/^Package: lib/a Multi-Arch: same' DEBIAN/control
rm -f DEBIAN/postinst DEBIAN/postrm # ldconfig has a trigger
mkdir -p usr/share/doc
if [ -e usr/lib/debug ]; then
  ln -s "${name%-dbgsym}" "$doc"
else
  [ ! -e usr/share/doc/ThinClientLauncher ] || mv usr/share/doc/ThinClientLauncher "$doc"
  install -D "$source/COPYRIGHT" "$doc/copyright"
  printf 'thinclientlauncher (%s) unstable; urgency=medium\n\n  * %s\n\n -- %s  %s\n' "$version" \
    'CHANGELOG.md in the development package lists the changes.' "$(dpkg-deb --field "$1" Maintainer)" \
    "$(LC_ALL=C date --utc --rfc-email --date="@$2")" >"$doc/changelog"
  find . '(' -path '*/man1/*' -o -name changelog ')' -type f -exec gzip -9 -n {} +
fi
# The system searches its own folder anyway.
find . -name '*.pc' -exec sed -i "s: -Wl,-rpath,[^ ]*::; s:doc/ThinClientLauncher:doc/$name:" {} +
find . -name '*.a' -exec strip --strip-debug {} +
if [ "$name" = libthinclientlauncher1 ]; then
  echo "activate-noawait ldconfig" >DEBIAN/triggers
  echo "libThinClientLauncherHost ${version%%.*} $name (>= $version)" >DEBIAN/shlibs
  install -D "$source/debian/$name.lintian-overrides" "usr/share/lintian/overrides/$name"
  install -D /dev/null debian/control # dpkg-gensymbols needs the file since Debian 13
  dpkg-gensymbols -P. "-p$name" "-v$version" "-I$source/debian/$name.symbols" '-eusr/lib/*/lib*'
  rm -r debian
fi
find usr -type f | LC_ALL=C sort | xargs md5sum >DEBIAN/md5sums

find usr -type f ! -path 'usr/bin/*' -exec chmod a-x {} +
chmod -R u=rwX,go=rX .
find . -exec touch --no-dereference --date="@$2" {} +
dpkg-deb --root-owner-group --build . "$1" >/dev/null
rm -r "$1.tree"
