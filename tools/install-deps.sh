#!/usr/bin/env bash
# Installs whatever Debian packages the build, the toy and the tests need and are missing.
# Called by `make run` and `make test`; safe to call again (it does nothing when all are present).
set -euo pipefail

packages=(
  # build
  g++ cmake make pkg-config
  # the toy: SDL 1.2 API (sdl12-compat), SDL_image, SDL_mixer, OpenGL and Mesa's software renderer
  libsdl1.2-compat-dev libsdl-image1.2-dev libsdl-mixer1.2-dev libgl-dev libgl1-mesa-dri
  # tests, benchmarks and the headless runner: GoogleTest, Google Benchmark, a virtual X display,
  # input injection and Xlib for reading pixels back
  libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth xdotool libx11-dev zlib1g-dev
  # the Life engine's portability tests: an ARM cross compiler, and qemu to run what it builds
  g++-aarch64-linux-gnu qemu-user
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
