#!/usr/bin/env bash
# The batch program's command line: help, refused arguments with their
# message and status 1, and the progress line on a terminal (through
# script's pseudo-terminal) but not in a pipe.
set -eu
build=${ZOR_BINARY_DIR:?}
zormaps="$build/zormaps"
root=${ZOR_SOURCE_DIR:-$(cd "$(dirname "$0")/../.." && pwd)}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() { echo "FAIL $*"; exit 1; }

"$zormaps" --help >"$work/help" || fail "--help status $?"
for word in "Usage: zormaps CONTROL_FILE" "--mask FILE" "--threads N" "sigma2.nii" "chi2_dof.nii" "BP-C.nii" \
            "average.nii" "restricted maximum likelihood" ".nii.gz"; do
  grep -qF -- "$word" "$work/help" || fail "help lacks '$word'"
done

expect_refusal() {
  local message=$1; shift
  local status=0
  "$zormaps" "$@" >"$work/out" 2>&1 || status=$?
  [ "$status" -eq 1 ] || fail "'$*' gave status $status"
  grep -qxF -- "$message" "$work/out" || { cat "$work/out"; fail "'$*' lacks '$message'"; }
}
expect_refusal "Error: no control file given"
expect_refusal "Error: unknown option --fast" study.ctl --fast
expect_refusal "Error: --threads needs a number from 1 to 1024" study.ctl --threads 0
expect_refusal "Error: --threads needs a number from 1 to 1024" study.ctl --threads 2x
expect_refusal "Error: --mask needs a file name" study.ctl --mask
expect_refusal "Error: more than one control file: b.ctl" a.ctl b.ctl
expect_refusal "Error: cannot open file $work/none.ctl containing the time model" "$work/none.ctl"

# The demo study, on a terminal and in a pipe.
/usr/bin/python3 "$root/examples/make_demo.py" "$work/demo" >/dev/null
cd "$work"
script -qec "$zormaps demo/study.ctl" /dev/null >"$work/terminal" || fail "terminal run status $?"
grep -q $'\rfitting the linear model: 100 %' "$work/terminal" || { cat -A "$work/terminal"; fail "no progress line"; }
"$zormaps" demo/study.ctl | cat >"$work/pipe"
if grep -q 'fitting the linear model' "$work/pipe"; then fail "progress line in a pipe"; fi
grep -qx 'wrote P-1.nii' "$work/pipe" || fail "no map written"
if grep -q $'\r' "$work/pipe"; then fail "a carriage return in a pipe (loader progress)"; fi
grep -qx 'voxels (32,32,8,20), res (3,3,5,2)' "$work/pipe" || fail "the loader's line is missing"
"$zormaps" demo/study.ctl --progress >"$work/forced"
grep -q $'\rfitting the linear model: 100 %' "$work/forced" || fail "--progress shows no line"
# A run that ends inside the load (a data offset no file can have) still
# shows what the load printed, and ends with status 1.
/usr/bin/python3 - "$work/demo/run1.nii" "$work/far.nii" <<'PY'
import struct, sys
data = bytearray(open(sys.argv[1], "rb").read())
data[108:112] = struct.pack("<f", 1e20)
open(sys.argv[2], "wb").write(data)
PY
printf 'time-model glm\nconditions 1\nruns:\nfar.nii demo/run1.glm\n' >"$work/far.ctl"
status=0
"$zormaps" far.ctl >"$work/far.out" 2>"$work/far.err" || status=$?
[ "$status" -eq 1 ] || fail "offset beyond any file: status $status"
grep -qx 'voxels (32,32,8,20), res (3,3,5,2)' "$work/far.out" || { cat "$work/far.out"; fail "held output lost"; }
grep -q 'is not a file position' "$work/far.err" || { cat "$work/far.err"; fail "no offset message"; }
echo "command line as documented"
