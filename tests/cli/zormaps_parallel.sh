#!/usr/bin/env bash
# One batch per subject with GNU parallel, as the README shows it: three
# generated subjects, each in its own folder with its control file; every
# subject gets its maps, the same bytes as a batch run alone, and nothing
# else is left behind.
set -eu
build=${ZOR_BINARY_DIR:?}
zormaps="$build/zormaps"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

/usr/bin/python3 - "$work" <<'EOF'
import os, sys
import nibabel as nib
import numpy as np
work = sys.argv[1]
for s in range(3):
    folder = os.path.join(work, "sub%d" % (s + 1))
    os.makedirs(folder)
    rng = np.random.default_rng(100 + s)
    t = np.arange(30) * 2.0
    data = 200.0 + rng.normal(0, 3, (8, 7, 5, 30)) + 10.0 * ((t % 20) < 10) * (rng.random((8, 7, 5, 1)) < 0.3)
    nib.save(nib.Nifti1Image(data.astype(np.float32), np.diag([3.0, 3.0, 4.0, 1.0])), os.path.join(folder, "run1.nii"))
    with open(os.path.join(folder, "run1.glm"), "w") as f:
        f.write("2\n\n1\n0 10\n20 30\n40 50\n")
    with open(os.path.join(folder, "study.ctl"), "w") as f:
        f.write("time-model glm\nconditions 1\nruns:\nrun1.nii run1.glm\n")
EOF

cd "$work"
parallel --will-cite --halt now,fail=1 'cd {} && '"$zormaps"' study.ctl > zormaps.log' ::: sub1 sub2 sub3

expected="P-1.nii S-1.nii T-1.nii average.nii"
for s in sub1 sub2 sub3; do
  got=$(cd "$s" && ls *.nii | grep -v '^run1' | sort | tr '\n' ' ' | sed 's/ $//')
  [ "$got" = "$expected" ] || { echo "FAIL $s maps: $got"; exit 1; }
  [ "$(ls -A "$s" | wc -l)" -eq 8 ] || { echo "FAIL $s holds other files:"; ls -A "$s"; exit 1; }
  grep -q '^wrote P-1.nii$' "$s/zormaps.log" || { echo "FAIL $s log"; cat "$s/zormaps.log"; exit 1; }
  # Not a terminal: no progress line.
  if grep -q 'fitting the linear model' "$s/zormaps.log"; then echo "FAIL $s progress line in a log"; exit 1; fi
  mkdir "alone_$s"
  cp "$s/run1.nii" "$s/run1.glm" "$s/study.ctl" "alone_$s/"
  (cd "alone_$s" && "$zormaps" study.ctl --threads 1 >/dev/null)
  for m in $expected; do
    cmp -s "$s/$m" "alone_$s/$m" || { echo "FAIL $s/$m differs from a batch run alone"; exit 1; }
  done
done
if cmp -s sub1/P-1.nii sub2/P-1.nii; then echo "FAIL two subjects gave the same map"; exit 1; fi
# The subjects' S maps (effect and error, with their degrees of freedom)
# are the group model's files as they stand.
printf 'time-model rem\nconditions 1\nevent 1\nsub1/S-1.nii\nsub2/S-1.nii\nsub3/S-1.nii\n' >group.ctl
"$zormaps" group.ctl >group.log || { cat group.log; echo "FAIL group batch"; exit 1; }
# 30 time points less 4 coefficients: 26 per subject.
grep -q '^Degrees of freedom: fixed = 78, random = 2, smoothed = 78$' group.log || {
  cat group.log; echo "FAIL group degrees of freedom"; exit 1; }
for m in sigma2.nii P-1.nii T-1.nii S-1.nii; do
  [ -s "$m" ] || { echo "FAIL group map $m"; exit 1; }
done
echo "three subjects mapped in parallel, then as a group"
