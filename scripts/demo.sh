#!/usr/bin/env bash
# Installs what is needed, builds, writes a small demo study into demo/ and
# shows it. Without an X display the viewer runs under a virtual server
# (Xvfb), and the first window it opens is saved as demo/screenshot.png.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

bash scripts/setup.sh
bash scripts/build.sh build
/usr/bin/python3 examples/make_demo.py demo

program=build/zorview
args=(-v demo/run1.bshort -a demo/activation.bfloat)
echo "running: $program ${args[*]}"

if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$program" "${args[@]}"
fi

# No display: a virtual one. Reading the display number blocks until the
# server is ready.
work=$(mktemp -d)
Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp -noreset 3>"$work/display" \
  >"$work/xvfb.log" 2>&1 &
xvfb=$!
viewer=""
cleanup() {
  [ -n "$viewer" ] && kill "$viewer" 2>/dev/null || true
  kill "$xvfb" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
for _ in $(seq 1 100); do [ -s "$work/display" ] && break; sleep 0.05; done
export DISPLAY=:$(cat "$work/display")

"$program" "${args[@]}" &
viewer=$!

# Wait a few seconds for a window; the program may also simply finish.
window=""
for _ in $(seq 1 50); do
  window=$(xdotool search --limit 1 --name '^zorview' 2>/dev/null || true)
  [ -n "$window" ] && break
  kill -0 "$viewer" 2>/dev/null || break
  sleep 0.1
done

if [ -n "$window" ]; then
  sleep 1  # let the first picture arrive
  xwd -id "$window" -nobdrs -silent -out "$work/window.xwd"
  convert "xwd:$work/window.xwd" demo/screenshot.png
  echo "screenshot of the image window saved to demo/screenshot.png"
  kill "$viewer" 2>/dev/null || true
  wait "$viewer" 2>/dev/null || true
  viewer=""
else
  status=0
  wait "$viewer" || status=$?
  viewer=""
  echo "zorview ended with status $status without opening a window;"
  echo "once it opens its image window, this script saves it as demo/screenshot.png"
fi
