#!/usr/bin/env bash
# Configures and builds the fuzzing build: scripts/fuzz_build.sh DIR [TARGET...]
# (all fuzz targets when none is named).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:?usage: scripts/fuzz_build.sh DIR [TARGET...]}
shift
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZOR_FUZZ=ON \
  -DZOR_BUILD_TESTS=OFF "${launcher[@]}" >/dev/null
if [ $# -eq 0 ]; then
  targets=()
  for src in "$root"/tests/fuzz/fuzz_*.cpp; do targets+=("$(basename "$src" .cpp)"); done
  set -- "${targets[@]}"
fi
cmake --build "$build" -j"$(nproc)" --target "$@"
