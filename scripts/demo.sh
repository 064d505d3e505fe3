#!/usr/bin/env bash
# Installs what is missing, builds, and shows one launch in a temporary home folder.
# Usage: scripts/demo.sh [--keep]    (--keep leaves the demo's folder in place)
#
# It starts nothing if the launcher would choose a copy outside that folder, such as an installed
# one. As every launch, it leaves the line "launch app succeed" in the system log. On a Mac, where
# the system starts the application, the copies' property lists name the demo's home.
source "$(dirname "$0")/usage.sh" || exit
[[ $* =~ ^(--keep)?$ ]] || wrong_usage

build=$PWD/build/demo
client_version=45.12.0.1000
chosen=45.12.0.900
bold='' plain=''
[ ! -t 1 ] || [ -n "${NO_COLOR:-}" ] || bold=$'\e[1m' plain=$'\e[0m'

heading() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }

refuse() {
  echo "demo.sh: Nothing was started: $1" >&2
  exit 1
}

# --- Before the launch ---

build_quietly() {
  local output
  output=$({
    cmake --preset release -B "$build" -DLAUNCHER_BUILD_TESTS=OFF && cmake --build "$build"
  } 2>&1) || { printf '%s\n' "$output" >&2; exit 1; }
}

make_folders() {
  folder=$(mktemp -d) || refuse "set TMPDIR to a folder that can be written."
  folder=$(cd "$folder" && pwd -P)
  home=$folder/alice
  launcher="$home/Library/Application Support/VantuOrlixVDILauncher"
  logs=$home/Library/Logs/VantuOrlixVDI
  environment="<key>LSEnvironment</key><dict><key>CFFIXED_USER_HOME</key><string>$home</string></dict>"
  mkdir -p "$launcher" "$home/work"
}

# With GNU's date, or BSD's. Usage: days_ago DAYS FORMAT
days_ago() { date -d "$1 days ago" "+$2" 2>/dev/null || date -v "-$1d" "+$2"; }

# Usage: add_copy VERSION LAUNCHES DAYS_SINCE_LAST_LAUNCH STARTED_SAFELY
add_copy() {
  local list copy=$launcher/$1
  mkdir "$copy"
  cp -R "$build/examples/OrlixVDIPlugin.app" "$copy"
  list=$(sed "s/$chosen/$1/" examples/plugin/Info.plist)
  printf '%s\n' "${list/<dict>/<dict>$environment}" >"$copy/OrlixVDIPlugin.app/Contents/Info.plist"
  [ "$4" = no ] || : >"$copy/started.dat"
  [ "$2" -gt 0 ] || return 0
  printf %s "$2" >"$copy/launchCount.dat"
  printf %s "$(days_ago "$3" %s)" >"$copy/launch.dat"
  touch -t "$(days_ago "$3" %Y%m%d%H%M)" "$copy/launch.dat"
}

# What the launcher's own rules foresee; starts and changes nothing.
inspect() {
  "$build/tools/inspect/launcher-inspect" --home "$home" --working-directory "$home/work" \
    --client-version "$client_version" "$@"
}

require_own_choice() {
  local choice
  choice=$({ inspect --json || true; } |
    sed -n '/^ *"chosen": {/,/}/s/^ *"directory": "\(.*\)",*$/\1/p')
  [ "$choice" = "$launcher/$chosen" ] ||
    refuse "the launcher would choose ${choice:-no copy} instead of the demo's $launcher/$chosen."
}

# --- The launch ---

# Fails unless the application came up within half a minute.
launch() {
  (
    cd "$home/work"
    HOME=$home CFFIXED_USER_HOME=$home USER=alice "$build/examples/example_following_host" \
      "$build/ThinClientLauncher/libThinClientLauncher.dylib" "$client_version" | sed 's/^/  /'
  )
}

# --- What a person sees ---

# Leaves the launcher folder's path, in which the log masks the user's name, out of each line.
show_log() {
  local text masked="$folder/*****/${launcher#"$home"/}/"
  [ -e "$1" ] || return 0
  text=$(cat "$1")
  printf '%s\n' "~${1#"$home"}" "${text//"$masked"/}" | sed 's/^/  /'
}

show_records() {
  local file
  for file in corrupt.dat "$chosen"/{launchCount.dat,launch.dat}; do
    printf '  %-30s%s\n' "$file" "$(cat "$launcher/$file")"
  done
  [ ! -e "$launcher/$chosen/started.dat" ] ||
    printf '  %-30s%s\n' "$chosen/started.dat" '(written by the application)'
}

show_removed() {
  local copy
  for copy in "${copies[@]}"; do
    [ -d "$copy" ] || echo "  ${copy##*/}"
  done
}

scripts/install-packages.sh build
echo "Building in build/demo"
build_quietly
make_folders
if [ "$*" = --keep ]; then
  trap 'printf "\nThe folder of the demo is kept: %s\n" "$folder"' EXIT
else
  trap 'rm -rf "$folder"' EXIT
fi
add_copy 45.9.0.88 12 60 yes
add_copy 45.11.0.400 5 30 yes
add_copy 45.11.0.700 0 0 no
add_copy "$chosen" 1 7 no
add_copy 45.12.0.950 3 1 no
add_copy 45.13.0.10 4 2 yes
copies=("$launcher"/*)
require_own_choice

heading "Before the launch: what launcher-inspect foresees"
inspect
heading "A host of version $client_version asks for a launch"
outcome="$chosen was started and entered load mode."
launch || outcome=
show_log "$logs/vdi-launch-launchmode-log.txt"
heading "The started application enters load mode"
[ -z "$outcome" ] || show_log "$logs/vdi-launch-loadmode-log.txt"
heading "Records"
show_records
heading "Removed by the clean-up"
show_removed
heading "After the launch: what launcher-inspect finds"
inspect
heading "${outcome:-The application did not enter load mode.}"
[ -n "$outcome" ]
