#!/usr/bin/env bash
# Runs the fuzz targets one after the other and prints a table of results. A target stops at
# its first finding and saves the input for it in build/clang/tests/fuzz. In the table, edges and
# features are the coverage that libFuzzer counts, and corpus is the number of inputs it keeps.
#
#   ./scripts/fuzz.sh                       1 minute each
#   ./scripts/fuzz.sh 600                   10 minutes each
#   ./scripts/fuzz.sh 600 policy cookie     only these two targets
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift $(($# > 0 ? 1 : 0))
targets=("$@")
if [ $# = 0 ]; then
  for source in tests/fuzz/*_fuzz.cc; do
    source=${source##*/}
    targets+=("${source%_fuzz.cc}")
  done
fi

cmake --preset clang >/dev/null
# ${targets[@]/#/fuzz_} puts fuzz_ before each name.
cmake --build --preset clang --target "${targets[@]/#/fuzz_}" -- --quiet

built=build/clang/tests/fuzz
echo '| target | executions | per second | edges | features | corpus | found |'
echo '|---|--:|--:|--:|--:|--:|---|'
status=0
for target in "${targets[@]}"; do
  # The folder for the inputs that libFuzzer adds to the corpus.
  new_inputs=$built/$target
  log=$new_inputs.log
  outcome=nothing
  "$built/fuzz_$target" -max_total_time="$seconds" -timeout=10 -max_len=4096 \
    -print_final_stats=1 -dict="tests/fuzz/$target.dict" -artifact_prefix="$new_inputs-" \
    "$new_inputs" "tests/fuzz/corpus/$target" >"$log" 2>&1 || outcome="see $log"
  [ "$outcome" = nothing ] || status=1
  # libFuzzer prints the coverage and the corpus (COUNT/SIZE) in its progress lines, and the
  # executions at the end.
  awk -v target="$target" -v outcome="$outcome" '
    / cov: / {
      for (field = 1; field < NF; ++field) {
        if ($field == "cov:") edges = $(field + 1)
        if ($field == "ft:") features = $(field + 1)
        if ($field == "corp:") corpus = $(field + 1)
      }
    }
    /^stat::number_of_executed_units/ { executions = $2 }
    /^stat::average_exec_per_sec/ { rate = $2 }
    END {
      sub("/.*", "", corpus)
      printf "| %s | %d | %d | %d | %d | %d | %s |\n",
             target, executions, rate, edges, features, corpus, outcome
    }' "$log"
done
exit "$status"
