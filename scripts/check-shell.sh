#!/usr/bin/env bash
# Runs shellcheck over every shell script.
# Usage: scripts/check-shell.sh
source "$(dirname "$0")/usage.sh" || exit

scripts/install-packages.sh shell
project_files '*.sh' .ci/run | xargs -0 shellcheck --external-sources --source-path=SCRIPTDIR
