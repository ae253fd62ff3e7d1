#!/usr/bin/env bash
# Installs what is needed, builds, writes a small demo study into demo/ and
# shows it: the image window, with the cross-hair put on the responding blob
# and the listed region around it stepped to, and beside it the graph window
# with the region's mean time course and the linear model's fit to it, with
# the model's maps computed in memory. Without
# an X display the viewer runs under a virtual server (Xvfb), and both
# windows are saved side by side as demo/screenshot.png.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

bash scripts/setup.sh
bash scripts/build.sh build
/usr/bin/python3 examples/make_demo.py demo

program=build/zorview
# Help ("h", "H", the "?" item, zorview -H) reads the files under documentation/.
export ZOR_HOME=$root
# The run comes from the model's control file, which also names its events.
args=(-v -g demo/study.ctl -N -a demo/activation.bfloat -o demo/regions.list)

# A figure without any X server: the image window's picture as a PNG.
build/zorrender -v demo/run1.nii -a demo/activation.bfloat -o demo/regions.list --zoom 3 \
  --out demo/figure.png >/dev/null
echo "wrote demo/figure.png (zorrender, no X server needed)"
echo "running: $program ${args[*]}"
echo "the other model studies: $program -G demo/pet/pet.ctl -N   and   $program -f demo/dti/dti.ctl -N"

work=$(mktemp -d)
xvfb=""
viewer=""
cleanup() {
  [ -n "$viewer" ] && kill "$viewer" 2>/dev/null || true
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

own_display=1
if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  own_display=0
else
  # No display: a virtual one. Reading the display number blocks until the
  # server is ready.
  Xvfb -displayfd 3 -screen 0 2400x1200x24 -nolisten tcp -noreset 3>"$work/display" \
    >"$work/xvfb.log" 2>&1 &
  xvfb=$!
  for _ in $(seq 1 100); do [ -s "$work/display" ] && break; sleep 0.05; done
  export DISPLAY=:$(cat "$work/display")
fi

"$program" "${args[@]}" &
viewer=$!

# Wait a few seconds for the image window; the program may also simply finish.
window=""
for _ in $(seq 1 50); do
  window=$(xdotool search --limit 1 --name '^zorview' 2>/dev/null || true)
  [ -n "$window" ] && break
  kill -0 "$viewer" 2>/dev/null || break
  sleep 0.1
done

if [ -z "$window" ]; then
  status=0
  wait "$viewer" || status=$?
  viewer=""
  echo "zorview ended with status $status without opening a window"
  exit 1
fi

# Where a voxel of the mosaic is in the image window: the layout of the demo
# study (32x32 voxels, 8 slices in 4 columns) at the window's zoom, rows
# counted from the bottom of each panel.
sleep 0.5
zoom=$(xdotool getwindowname "$window" | sed -n 's/.*zoom = \([0-9]*\).*/\1/p')
zoom=${zoom:-1}
voxel_x=20 voxel_y=12 slice=4
column=$((slice % 4)) row=$((slice / 4))
px=$((zoom * (33 * column + 1 + voxel_x) + zoom / 2))
py=$((30 + zoom * (33 * row + 1 + 31 - voxel_y) + zoom / 2))
# The cross-hair onto the blob; then the listed region, by a click on the
# region's name in the menu row under the top one ("overlay: none" until
# then, its name from x 60 to 110); then the graph window ("g"), moved
# beside the image window.
xdotool mousemove --window "$window" "$px" "$py" click 1
xdotool mousemove --window "$window" 80 22 click 1
xdotool mousemove --window "$window" 1 1 key g
graph=""
for _ in $(seq 1 50); do
  graph=$(xdotool search --limit 1 --name '^time points' 2>/dev/null || true)
  [ -n "$graph" ] && break
  sleep 0.1
done
if [ -n "$graph" ]; then
  # Clear of the image window and of both windows' wide borders.
  info=$(xwininfo -id "$window")
  width=$(sed -n 's/^ *Width: *//p' <<<"$info")
  border=$(sed -n 's/^ *Border width: *//p' <<<"$info")
  xdotool windowmove "$graph" $((width + 2 * border + 20)) 0 || true
fi

# The model's maps of the whole volume, computed in memory ("P"), replace
# the map read from disk.
xdotool mousemove --window "$window" 1 1 key P
sleep 0.5

if [ "$own_display" -eq 0 ]; then
  echo "the image and graph windows are open; quit with q then y in the image window"
  echo "drag with button 2 or 3 over the curve to draw a stimulus, P for new maps, control-G to save the model"
  wait "$viewer" || true
  viewer=""
  exit 0
fi

sleep 1  # let both pictures arrive
xwd -id "$window" -nobdrs -silent -out "$work/image.xwd"
if [ -n "$graph" ]; then
  xwd -id "$graph" -nobdrs -silent -out "$work/graph.xwd"
  convert "xwd:$work/image.xwd" -size 10x1 xc:black "xwd:$work/graph.xwd" -background black \
    +append demo/screenshot.png
  echo "screenshot of the image and graph windows saved to demo/screenshot.png"
else
  convert "xwd:$work/image.xwd" demo/screenshot.png
  echo "screenshot of the image window saved to demo/screenshot.png (no graph window)"
fi
