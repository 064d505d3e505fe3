#!/usr/bin/env bash
# Fetches what a requirements file pins, by version and hash, from the Python package index into a
# folder, unless that folder has it already.
# Usage: scripts/fetch-python.sh REQUIREMENTS FOLDER [OPTION_OF_PIP ...]
source "$(dirname "$0")/usage.sh" || exit
[[ $# -ge 2 && $1 != -* ]] || wrong_usage
requirements=$1 folder=$2

cmp --silent "$requirements" "$folder/requirements.txt" && exit 0
rm -rf "$folder"
python3 -m pip --quiet --disable-pip-version-check install --root-user-action=ignore --no-deps \
  --only-binary=:all: --require-hashes --target "$folder" --requirement "$requirements" "${@:3}" || {
  echo "fetch-python.sh: could not fetch $requirements from the Python package index (see above)." >&2
  echo "NOTHING WAS CHECKED. Restore the connection and run this again." >&2
  exit 1
}
cp "$requirements" "$folder/requirements.txt"
