#!/usr/bin/env bash
# Runs ./scripts/test.sh several times in a row on a busy machine: two endless loops keep
# two processor cores busy. Fails if one of the runs fails. No test is retried.
#
#   ./scripts/soak-tests.sh [RUNS]   10 runs by default; the output is in build/soak
set -euo pipefail
cd "$(dirname "$0")/.."

runs=${1:-10}
case $runs in
  '' | *[!0-9]*)
    echo "soak-tests: usage: scripts/soak-tests.sh [RUNS]" >&2
    exit 2
    ;;
esac

busy=()
for _ in 1 2; do
  (while :; do :; done) &
  busy+=($!)
done
trap 'kill "${busy[@]}"' EXIT

rm -rf build/soak
mkdir -p build/soak
failed=0
for ((run = 1; run <= runs; ++run)); do
  begin=$SECONDS
  if scripts/test.sh >"build/soak/$run.log" 2>&1; then
    result=passed
  else
    result="FAILED (build/soak/$run.log)"
    failed=$((failed + 1))
  fi
  echo "run $run of $runs: $result after $((SECONDS - begin)) s"
done
echo "$failed of $runs runs failed"
[ "$failed" -eq 0 ]
