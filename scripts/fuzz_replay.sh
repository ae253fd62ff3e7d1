#!/usr/bin/env bash
# The fuzzing step of CI: every target replays its whole seed corpus, then
# fuzzes afresh for ZOR_FUZZ_SECONDS (default 5) seconds, two targets at a
# time. Any sanitizer report, crash, hang over 5 s, allocation over 1 GB or
# broken check fails the step; the failing input is kept in
# build-fuzz/findings/TARGET.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${ZOR_FUZZ_BUILD:-$root/build-fuzz}
seconds=${ZOR_FUZZ_SECONDS:-5}
start=$(date +%s)

bash "$root/scripts/fuzz_build.sh" "$build"

run_target() {
  local root=$1 build=$2 seconds=$3 target=$4
  local seeds=$root/tests/fuzz/corpus/$target findings=$build/findings/$target
  local work
  work=$(mktemp -d)
  mkdir -p "$findings" "$seeds"
  local dict=()
  [ -f "$root/tests/fuzz/dict/$target.dict" ] && dict=(-dict="$root/tests/fuzz/dict/$target.dict")
  local flags=(-timeout=5 -rss_limit_mb=2048 -malloc_limit_mb=1024 -artifact_prefix="$findings/")
  local log=$findings/ci.log status=0
  (cd "$findings" &&
    "$build/tests/fuzz/fuzz_$target" "${flags[@]}" -runs=0 "$seeds" >"$log" 2>&1 &&
    "$build/tests/fuzz/fuzz_$target" "${flags[@]}" "${dict[@]}" -max_total_time="$seconds" \
      -print_final_stats=1 "$work" "$seeds" >>"$log" 2>&1) || status=$?
  rm -rf "$work"
  if [ $status -ne 0 ]; then
    echo "fuzz $target: FAILED (see $log)"
    tail -40 "$log"
    return 1
  fi
  local runs edges
  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | tail -1 | grep -o '[0-9]*$' || true)
  edges=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | grep -o '[0-9]*$' || true)
  echo "fuzz $target: corpus replayed, $seconds s fresh, ${runs:-?} runs, ${edges:-?} edges"
}
export -f run_target

targets=()
for src in "$root"/tests/fuzz/fuzz_*.cpp; do targets+=("$(basename "$src" .cpp | sed 's/^fuzz_//')"); done
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1
printf '%s\n' "${targets[@]}" |
  xargs -P 2 -I{} bash -c 'run_target "$@"' _ "$root" "$build" "$seconds" {}
echo "fuzz: ${#targets[@]} targets in $(($(date +%s) - start)) s"
