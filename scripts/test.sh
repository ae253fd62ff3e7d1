#!/usr/bin/env bash
# Installs what is needed, builds, and runs the whole test suite: once in the
# normal build, then again under AddressSanitizer and
# UndefinedBehaviorSanitizer (the viewer under Xvfb included), and last the
# fuzzing corpora of every reader replayed.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

bash scripts/setup.sh
bash scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
(cd build && ctest --output-on-failure -j"$(nproc)")

bash scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DZOR_SANITIZE=ON
(cd build-asan && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --output-on-failure -j"$(nproc)")

# Every reader's fuzz corpus replayed, and a short fresh run of each.
bash scripts/fuzz_replay.sh
