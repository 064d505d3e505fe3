# shellcheck shell=bash
# Sourced by the other scripts: answers --help with the comment at the script's beginning.

show_help() { awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$0"; }

wrong_usage() {
  show_help >&2
  exit 2
}

expect_no_arguments() { [ $# -eq 0 ] || wrong_usage; }

[ "${1:-}" != --help ] || { show_help; exit; }
