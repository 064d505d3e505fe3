#!/usr/bin/env bash
# Runs shellcheck over every shell script.
# Usage: scripts/check-shell.sh
set -euo pipefail
source "$(dirname "$0")/usage.sh"
expect_no_arguments "$@"
cd "$(dirname "$0")/.."

scripts/install-packages.sh shell
git ls-files -z '*.sh' .ci/run | xargs -0 shellcheck --external-sources --source-path=SCRIPTDIR
