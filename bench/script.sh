#!/bin/sh
# A launch as an administrator might write it: read every version with plistutil, sort, start the
# newest.
newest=$(
  for list in "$PWD"/OrlixVDIPlugin.app/Contents/Info.plist \
    "$HOME/Library/Application Support/VantuOrlixVDILauncher"/*/OrlixVDIPlugin.app/Contents/Info.plist
  do
    [ -f "$list" ] || continue
    version=$(plistutil -i "$list" |
      sed -n '/<key>CFBundleShortVersionString</{n;s/.*<string>\(.*\)<.*/\1/p;}')
    printf '%s\t%s\n' "$version" "${list%/Info.plist}"
  done | sort -V | tail -n 1 | cut -f 2
)
setsid "$newest/MacOS/OrlixVDIPlugin" loadmode </dev/null >/dev/null 2>&1 &
