#!/usr/bin/env bash
# Runs every fuzz target of the "fuzz" preset for SECONDS seconds (60 by default), each from the
# seeds and the kept findings, at the lowest priority, with a limit of 2 s per input so that a
# slow input counts as a finding. With --parallel the targets run at the same time; with
# --keep-going a target goes on after a finding (libFuzzer's fork mode) and gathers them all.
# Inputs that fail land in build/fuzz/findings/<target>/; keep each under
# fuzz/regressions/<target>/ once it is fixed. Exits 1 when a target found something.
set -uo pipefail
cd "$(dirname "$0")/.."

parallel=0
keepGoing=()
seconds=60
for argument in "$@"; do
  case "$argument" in
    --parallel) parallel=1 ;;
    --keep-going) keepGoing=(-fork=1 -ignore_timeouts=1 -ignore_crashes=1 -ignore_ooms=1) ;;
    *) seconds="$argument" ;;
  esac
done

build=build/fuzz
targets=(open_storage property_stream stand_in)
"$build/fuzz/fuzz_make_seeds" "$build/seeds" > /dev/null || exit 1

run() {
  local target=$1
  local started
  started=$(date +%s)
  mkdir -p "$build/corpus/$target" "$build/findings/$target"
  nice -n 19 "$build/fuzz/fuzz_$target" -timeout=2 -max_total_time="$seconds" -max_len=65536 -print_final_stats=1 \
    "${keepGoing[@]}" -artifact_prefix="$build/findings/$target/" \
    "$build/corpus/$target" "$build/seeds/$target" "fuzz/regressions/$target" > "$build/findings/$target.log" 2>&1
  local status=$?
  echo $(( $(date +%s) - started )) > "$build/findings/$target.seconds"
  return $status
}

status=0
if [ "$parallel" = 1 ]; then
  pids=()
  for target in "${targets[@]}"; do run "$target" & pids+=($!); done
  for pid in "${pids[@]}"; do wait "$pid" || status=1; done
else
  for target in "${targets[@]}"; do run "$target" || status=1; done
fi

for target in "${targets[@]}"; do
  log="$build/findings/$target.log"
  # The executions: libFuzzer's final count, or in fork mode the last progress line's.
  runs=$(sed -n 's/^stat::number_of_executed_units: //p' "$log" | tail -n 1)
  [ -n "$runs" ] || runs=$(sed -n 's/^#\([0-9]*\): .*/\1/p' "$log" | tail -n 1)
  found=$(find "$build/findings/$target" -type f | wc -l)
  [ "$found" = 0 ] || status=1
  echo "fuzz_$target: ${runs:-?} inputs in $(cat "$build/findings/$target.seconds") s, $found failing input(s)"
  find "$build/findings/$target" -type f -printf '  %p\n'
done
exit "$status"
