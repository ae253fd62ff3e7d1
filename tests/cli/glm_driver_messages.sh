#!/usr/bin/env bash
# The model driver never ends in silence: an empty control file, one without
# run lines, an empty table and a short response-function file each name
# the line that is missing.
set -u
driver="$ZOR_BINARY_DIR/tests/glm_fit_driver"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failures=0

# expect NAME STATUS STDOUT -- ARGS...
expect() {
  local name=$1 status=$2 out=$3
  shift 4
  "$driver" "$@" >"$work/out" 2>"$work/err"
  local got=$?
  if [ "$got" != "$status" ]; then
    echo "FAIL $name: exit status $got, expected $status"; failures=$((failures + 1))
  fi
  if [ "$(cat "$work/out"; echo x)" != "$(printf '%s' "$out"; echo x)" ]; then
    echo "FAIL $name: standard output differs"; diff <(printf '%s' "$out") "$work/out" | head -20
    failures=$((failures + 1))
  fi
}

: >empty.ctl
expect empty-control 1 $'Error reading the bshort file name for run 1.\n' -- empty.ctl
printf 'baseline-terms 1\nruns:\n' >norun.ctl
expect no-run-lines 1 $'Error reading the bshort file name for run 1.\n' -- norun.ctl

printf 'x 2\ny 1\nz 1\nt 4\nstorage-type float\n' >run.hdr
head -c 32 /dev/zero >run.bfloat
printf '2\n\n1\n0 2\n' >run.glm
: >empty.dat
printf 'runs:\nrun.bfloat run.glm empty.dat\n' >table.ctl
expect empty-table 1 $'Error reading line 1 of TABLE file empty.dat\n' -- table.ctl
printf '20 1 2\n3 4\n' >short.irf
printf 'IRF short.irf\nruns:\nrun.bfloat run.glm\n' >irf.ctl
expect short-response 1 $'Error reading the 3rd line of the IRF file short.irf.\n' -- irf.ctl
: >empty.irf
printf 'IRF empty.irf\nruns:\nrun.bfloat run.glm\n' >irf0.ctl
expect empty-response 1 $'Error reading the 1st line of the IRF file empty.irf.\n' -- irf0.ctl

[ "$failures" = 0 ] || exit 1
echo "all driver messages as expected"
