#!/usr/bin/env bash
# Configures and builds into the folder given (default: build), with any
# further arguments passed to cmake's configure step.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-build}
shift || true
cmake -S "$root" -B "$root/$dir" "$@" >/dev/null
cmake --build "$root/$dir" -j"$(nproc)"
