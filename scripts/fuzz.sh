#!/usr/bin/env bash
# A long fuzzing run of one reader: scripts/fuzz.sh TARGET SECONDS
# (TARGET as in tests/fuzz/fuzz_TARGET.cpp, e.g. nifti_single).
# Builds the fuzzing build in build-fuzz (clang, libFuzzer, ASan, UBSan),
# grows a working corpus in build-fuzz/corpus/TARGET from the seeds in
# tests/fuzz/corpus/TARGET, and leaves any failing input in
# build-fuzz/findings/TARGET (copy it into the seed corpus once fixed).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
target=${1:?usage: scripts/fuzz.sh TARGET SECONDS}
seconds=${2:?usage: scripts/fuzz.sh TARGET SECONDS}
build=${ZOR_FUZZ_BUILD:-$root/build-fuzz}

bash "$root/scripts/fuzz_build.sh" "$build" "fuzz_$target"

seeds=$root/tests/fuzz/corpus/$target
work=$build/corpus/$target
findings=$build/findings/$target
mkdir -p "$work" "$findings"
dict=()
[ -f "$root/tests/fuzz/dict/$target.dict" ] && dict=(-dict="$root/tests/fuzz/dict/$target.dict")

cd "$findings"
ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  "$build/tests/fuzz/fuzz_$target" "${dict[@]}" -max_total_time="$seconds" \
  -timeout=5 -rss_limit_mb=2048 -malloc_limit_mb=1024 -print_final_stats=1 \
  -artifact_prefix="$findings/" "$work" "$seeds"
