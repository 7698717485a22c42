#!/usr/bin/env bash
# Runs a test program under Wine: it must return 0 and come to its summary, for one that Wine lets die in the
# middle may return 0, too. The time limit is shorter than CTest's, so that nothing of it is left behind.
set -euo pipefail

export KEL_WINE_SECONDS=${KEL_WINE_SECONDS:-240}
output=$(mktemp)  # no pipe: Wine's services would hold it open for seconds
trap 'rm -f "$output"' EXIT
status=0
"$(dirname "${BASH_SOURCE[0]}")/run.sh" "$@" >"$output" 2>&1 || status=$?
cat "$output"
((status == 0)) || echo "exit status $status"
((status == 0)) && grep -q '^\[  PASSED  \] ' "$output"
