#!/usr/bin/env bash
# The demo study: the generator writes a native run and map whose sizes
# match their headers, and the program describes both.
set -eu
program=$(realpath "$1")
root=${ZOR_SOURCE_DIR:-$(cd "$(dirname "$0")/../.." && pwd)}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

/usr/bin/python3 "$root/examples/make_demo.py" "$work/demo" >/dev/null

size() { stat -c %s "$1"; }
[ "$(size "$work/demo/run1.bshort")" -eq $((32 * 32 * 8 * 20 * 2)) ] || {
  echo "FAIL run size $(size "$work/demo/run1.bshort")"; exit 1; }
[ "$(size "$work/demo/activation.bfloat")" -eq $((32 * 32 * 8 * 4)) ] || {
  echo "FAIL map size"; exit 1; }

out=$("$program" -v "$work/demo/run1.bshort" -a "$work/demo/activation.bfloat")
expected='magnitude data, floating point
voxels (32,32,8,1), res (3,3,5,2)
magnitude data, short ints, voxels (32,32,8,20), res (3,3,5,2)'
if [ "$out" != "$expected" ]; then
  echo "FAIL summary:"; echo "$out"; exit 1
fi
echo "demo study checks passed"
