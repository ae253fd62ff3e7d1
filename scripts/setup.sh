#!/usr/bin/env bash
# Installs every Debian package that the build, the demo and the tests need.
# Safe to run again: packages already present are left as they are.
set -euo pipefail

packages=(
  build-essential g++ cmake pkg-config
  libx11-dev libfftw3-dev libnifti2-dev libpng-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xdotool x11-apps x11-utils xfonts-base imagemagick
  python3 python3-numpy python3-scipy python3-nibabel python3-dipy python3-statsmodels python3-pil
  libopenblas0-pthread
  clang libclang-rt-14-dev
  parallel
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
