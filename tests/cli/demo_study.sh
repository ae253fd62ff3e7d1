#!/usr/bin/env bash
# The demo study: the generator writes a NIfTI-1 run and a native map whose
# sizes match their headers, and the program loads both.
set -eu
program=$(realpath "$1")
root=${ZOR_SOURCE_DIR:-$(cd "$(dirname "$0")/../.." && pwd)}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

/usr/bin/python3 "$root/examples/make_demo.py" "$work/demo" >/dev/null

size() { stat -c %s "$1"; }
[ "$(size "$work/demo/run1.nii")" -eq $((352 + 32 * 32 * 8 * 20 * 2)) ] || {
  echo "FAIL run size $(size "$work/demo/run1.nii")"; exit 1; }
[ "$(size "$work/demo/activation.bfloat")" -eq $((32 * 32 * 8 * 4)) ] || {
  echo "FAIL map size"; exit 1; }

# The region list names the region file, whose lines are voxel indices.
grep -q "^blob $work/demo/blob.ovl orange$" "$work/demo/regions.list" || {
  echo "FAIL region list"; cat "$work/demo/regions.list"; exit 1; }
[ "$(grep -cE '^[0-9]+ [0-9]+ [0-9]+$' "$work/demo/blob.ovl")" -gt 10 ] || {
  echo "FAIL region file"; exit 1; }
# Nothing but voxel lines: the region reader takes no comment or blank line.
[ "$(grep -cvE '^[0-9]+ [0-9]+ [0-9]+$' "$work/demo/blob.ovl")" -eq 0 ] || {
  echo "FAIL region file has other lines"; exit 1; }

run=$work/demo/run1.nii
map=$work/demo/activation.bfloat
# Without a display the program loads everything, then ends where it would
# open its windows.
status=0
env -u DISPLAY "$program" -v "$run" -a "$map" >"$work/out" || status=$?
[ "$status" -eq 1 ] || { echo "FAIL exit status $status, expected 1"; exit 1; }
{
  printf 'magnitude data, floating point\nvoxels (32,32,8,1), res (3,3,5,2)\n'
  printf 'voxels (32,32,8,1), res (3,3,5,2)\n\r%s: 100 %%\n' "$map"
  printf 'The NIFTI header for file %s uses Method 3: affine transformation of voxel indices\n' "$run"
  printf 'magnitude data, short ints, voxels (32,32,8,20), res (3,3,5,2)\n'
  for p in 0 10 20 30 40 50 60 70 80 90; do printf '\r%s: %d %%' "$run" "$p"; done
  printf '\r%s: 100 %%\n' "$run"
  printf 'Error trying to open the display.\n'
  printf "If you are using ssh to connect from another system, try 'ssh -X'\n"
} >"$work/expected"
if ! cmp -s "$work/out" "$work/expected"; then
  echo "FAIL load output:"; diff <(tr '\r' '\n' <"$work/expected") <(tr '\r' '\n' <"$work/out") | head -20
  exit 1
fi
# The model: a control file naming the run and its event file, whose one
# event is the block design of the blob (10 s on from 10 s and 30 s).
printf 'time-model glm\nconditions 1\nruns:\n%s %s\n' "$run" "$work/demo/run1.glm" |
  cmp -s - "$work/demo/study.ctl" || { echo "FAIL control file"; cat "$work/demo/study.ctl"; exit 1; }
[ "$(grep -v '^#' "$work/demo/run1.glm" | sed 's/ *#.*//' | tr -s '\n' ' ')" = "2 1 10 20 30 40 " ] || {
  echo "FAIL event file"; cat "$work/demo/run1.glm"; exit 1; }
# As the demo starts it, with the region list: the list and its region are
# read without a word, so the output is the one without the list.
status=0
env -u DISPLAY "$program" -v -g "$work/demo/study.ctl" -N -a "$map" -o "$work/demo/regions.list" \
  >"$work/out_list" || status=$?
[ "$status" -eq 1 ] || { echo "FAIL list exit status $status, expected 1"; cat "$work/out_list"; exit 1; }
status=0
env -u DISPLAY "$program" -v -g "$work/demo/study.ctl" -N -a "$map" >"$work/out_plain" || status=$?
cmp -s "$work/out_list" "$work/out_plain" || {
  echo "FAIL region list read:"; diff <(tr '\r' '\n' <"$work/out_plain") <(tr '\r' '\n' <"$work/out_list") | head; exit 1; }
# Started with the model, the program opens the run the control file names
# and nothing is refused on the way.
status=0
env -u DISPLAY "$program" -g "$work/demo/study.ctl" -N -a "$map" >"$work/out" || status=$?
[ "$status" -eq 1 ] || { echo "FAIL model exit status $status, expected 1"; exit 1; }
tr '\r' '\n' <"$work/out" | grep -q "^$run: 100 %$" || { echo "FAIL model run not loaded"; cat "$work/out"; exit 1; }
if grep -q "Error" <(grep -v "Error trying to open the display" "$work/out"); then
  echo "FAIL model start-up:"; cat "$work/out"; exit 1
fi
# The PET and diffusion studies open through their model options and load
# their runs with nothing refused.
for model in "-G $work/demo/pet/pet.ctl:$work/demo/pet/run2.bfloat" "-f $work/demo/dti/dti.ctl:$work/demo/dti/small_64D.nii"; do
  options=${model%%:*} last=${model#*:}
  status=0
  # shellcheck disable=SC2086
  env -u DISPLAY "$program" $options -N >"$work/out" || status=$?
  [ "$status" -eq 1 ] || { echo "FAIL $options exit status $status, expected 1"; cat "$work/out"; exit 1; }
  tr '\r' '\n' <"$work/out" | grep -q "^$last: 100 %$" || { echo "FAIL $options not loaded"; cat "$work/out"; exit 1; }
  if grep -q "Error" <(grep -v "Error trying to open the display" "$work/out"); then
    echo "FAIL $options start-up:"; cat "$work/out"; exit 1
  fi
done
echo "demo study checks passed"
