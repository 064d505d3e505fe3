#!/usr/bin/env bash
# Installs what is missing, builds, and shows one launch in a temporary home folder.
# Usage: scripts/demo.sh [--keep]    (--keep leaves the demo's folder in place)
#
# It starts nothing if the launcher would choose a copy outside that folder, such as an installed
# one. As every launch, it leaves the line "launch app succeed" in the system log. On a Mac, where
# the system gives the application the real user's home folder, the log of load mode there gets two
# lines. Redirecting either would need rights that a demo does not ask for.
source "$(dirname "$0")/usage.sh" || exit

build=build/demo
client_version=45.12.0.1000
chosen_version=45.12.0.900

if [ -t 1 ] && [ -z "${NO_COLOR:-}" ]; then
  bold=$'\e[1m' dim=$'\e[2m' good=$'\e[32m' bad=$'\e[31m' plain=$'\e[0m'
else
  bold='' dim='' good='' bad='' plain=''
fi

heading() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }

# --- Before the launch ---

read_arguments() {
  keep=no
  [ "${1:-}" = --keep ] && { keep=yes; shift; }
  [ $# -eq 0 ] && return
  wrong_usage
}

build_everything() {
  local output
  scripts/install-packages.sh build
  echo "Building in $build"
  output=$({ cmake --preset demo && cmake --build --preset demo; } 2>&1) ||
    { printf '%s\n' "$output" >&2; exit 1; }
}

make_folders() {
  versions=()
  folder=$(mktemp -d) || {
    echo "demo.sh: Nothing was started: set TMPDIR to a folder that can be written." >&2
    exit 1
  }
  folder=$(cd "$folder" && pwd -P)
  trap clean_up EXIT
  home=$folder/alice
  launcher="$home/Library/Application Support/VantuOrlixVDILauncher"
  logs=$home/Library/Logs/VantuOrlixVDI
  load_mode_logs=$logs
  [ "$(uname)" = Darwin ] && load_mode_logs=$HOME/Library/Logs/VantuOrlixVDI
  mkdir -p "$launcher" "$home/work"
}

# shellcheck disable=SC2317,SC2329 # the trap calls it
clean_up() {
  if [ "$keep" = yes ]; then
    printf '\nThe folder of the demo is kept: %s\n' "$folder"
  else
    rm -rf "$folder"
  fi
}

# Usage: add_copy VERSION LAUNCHES DAYS_SINCE_LAST_LAUNCH STARTED_SAFELY
add_copy() {
  local copy=$launcher/$1
  versions+=("$1")
  mkdir "$copy"
  cp -R "$build/examples/OrlixVDIPlugin.app" "$copy/"
  write_property_list "$1" >"$copy/OrlixVDIPlugin.app/Contents/Info.plist"
  [ "$2" -eq 0 ] || write_records "$copy" "$2" "$(($(date +%s) - $3 * 86400))"
  [ "$4" = no ] || : >"$copy/started.dat"
}

write_property_list() {
  cat <<LIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>CFBundleExecutable</key>
  <string>OrlixVDIPlugin</string>
  <key>CFBundleIdentifier</key>
  <string>example.OrlixVDIPlugin</string>
  <key>CFBundlePackageType</key>
  <string>APPL</string>
  <key>CFBundleShortVersionString</key>
  <string>$1</string>
</dict>
</plist>
LIST
}

# Usage: write_records COPY LAUNCHES SECONDS
write_records() {
  printf %s "$2" >"$1/launchCount.dat"
  printf %s "$3" >"$1/launch.dat"
  touch -t "$(format_time "$3" %Y%m%d%H%M)" "$1/launch.dat"
}

# GNU's date first, then BSD's.
format_time() { date -d "@$1" "+$2" 2>/dev/null || date -r "$1" "+$2"; }

add_copies() {
  add_copy 45.9.0.88 12 60 yes
  add_copy 45.11.0.400 5 30 yes
  add_copy 45.11.0.700 0 0 no
  add_copy "$chosen_version" 1 7 no
  add_copy 45.12.0.950 3 1 no
  add_copy 45.13.0.10 4 2 yes
}

# --- What launcher-inspect tells, by the launcher's own rules, without starting or changing anything

inspect() {
  "$build/tools/inspect/launcher-inspect" --home "$home" --working-directory "$home/work" \
    --client-version "$client_version" "$@"
}

require_own_choice() {
  local own=$launcher/$chosen_version choice
  choice=$({ inspect --json || true; } |
    sed -n '/^ *"chosen": {/,/}/s/^ *"directory": "\(.*\)",*$/\1/p')
  [ "$choice" = "$own" ] && return
  echo "demo.sh: Nothing was started: the launcher would choose ${choice:-no copy} instead of the" \
    "demo's $own." >&2
  exit 1
}

# --- The launch ---

launch() {
  (
    cd "$home/work"
    HOME=$home CFFIXED_USER_HOME=$home USER=alice "$OLDPWD/$build/examples/example_host" \
      "$OLDPWD/$build/ThinClientLauncher/libThinClientLauncher.dylib" "$client_version"
  )
}

entered_load_mode() {
  grep -qs 'load mode, load main dll' "$load_mode_logs/vdi-launch-loadmode-log.txt" &&
    [ -e "$launcher/$chosen_version/started.dat" ]
}

# The application runs on its own: it may need a moment longer than the launch.
wait_for_load_mode() {
  local try
  for ((try = 0; try < 300; ++try)); do
    entered_load_mode && return 0
    sleep 0.1
  done
  return 1
}

# --- What a person sees ---

# Leaves the launcher folder's path, in which the log masks the user's name, out of each line.
show_log() {
  local line masked="$folder/*****/${launcher#"$home"/}/"
  [ -e "$1" ] || return 0
  printf '  %s%s%s\n' "$dim" "~${1#"$home"}" "$plain"
  while IFS= read -r line; do
    printf '  %s\n' "${line//"$masked"/}"
  done <"$1"
}

show_records() {
  local file
  for file in corrupt.dat "$chosen_version"/{launchCount.dat,launch.dat}; do
    printf '  %-30s%s\n' "$file" "$(cat "$launcher/$file")"
  done
  [ ! -e "$launcher/$chosen_version/started.dat" ] ||
    printf '  %-30s%s\n' "$chosen_version/started.dat" '(written by the application)'
}

show_removed() {
  local version
  for version in "${versions[@]}"; do
    [ -d "$launcher/$version" ] || printf '  %s\n' "$version"
  done
}

show_verdict() {
  if [ "$1" -eq 0 ]; then
    printf '\n%s%s was started and entered load mode.%s\n' "$good" "$chosen_version" "$plain"
  else
    printf '\n%sThe application did not enter load mode.%s\n' "$bad" "$plain"
  fi
}

read_arguments "$@"
build_everything
make_folders
add_copies
require_own_choice

heading "Before the launch: what launcher-inspect foresees"
inspect

heading "A host of version $client_version asks for a launch"
status=0
launch || status=1
wait_for_load_mode || status=1
show_log "$logs/vdi-launch-launchmode-log.txt"

heading "The started application enters load mode"
[ "$status" -ne 0 ] || show_log "$load_mode_logs/vdi-launch-loadmode-log.txt"

heading "Records"
show_records

heading "Removed by the clean-up"
show_removed

heading "After the launch: what launcher-inspect finds"
inspect
show_verdict "$status"
exit "$status"
