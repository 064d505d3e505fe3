# shellcheck shell=bash
# Sourced by the other scripts, which it takes to the project's folder. Answers --help with the comment
# at the script's beginning, and rejects arguments where its usage shows none.
# Exit status of every script: 0 done, 1 failed, 2 wrong usage.
set -Eeuo pipefail
trap 'exit 1' ERR
CDPATH='' cd "${BASH_SOURCE[0]%/*}/.."

show_help() { awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "scripts/${0##*/}"; }

wrong_usage() {
  show_help >&2
  exit 2
}

# Puts the tools of the pinned LLVM before the system's own.
use_llvm() {
  local version
  version=$(scripts/llvm-version.sh)
  PATH=/usr/lib/llvm-$version/bin:$PATH
}

# Usage: project_files PATTERN ...: the project's files that match one, each followed by a null byte. A
# source archive has no repository to ask.
project_files() {
  local pattern matches=()
  for pattern in "$@"; do matches+=(-o -path "./$pattern"); done
  find . '(' -path './build*' -o -path ./.git ')' -prune -o -type f '(' "${matches[@]:1}" ')' -print0
}

# Usage: copy_project FOLDER
copy_project() { project_files '*' | xargs -0 cp --parents -t "$1"; }

# Usage: lock FOLDER: no other run of a script may use the folder until this one ends.
lock() {
  mkdir -p "$1"
  exec 9>"$1.lock"
  flock --nonblock 9 || { echo "Another run uses $1; wait until it has ended" >&2; exit 1; }
}

[ "${1:-}" != --help ] || { show_help; exit; }
[[ $# -eq 0 || $(show_help) != *"Usage: scripts/${0##*/}" ]] || wrong_usage
