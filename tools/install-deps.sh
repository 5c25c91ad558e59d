#!/usr/bin/env bash
# Installs whatever Debian packages are needed and missing, for one of three uses:
#   run      build the toy and start it, in a virtual X display when there is no display
#            (`make run`, `make install`)
#   package  the same, and build the Debian package (`make package`)
#   web      build the toy for the browser and serve it (`make web`, `make serve`)
#   check    build and run the unit tests (`make check`)
#   test     everything: the tests, the benchmarks and the checkers of the installed files
#            (`make test`, the default)
# Safe to call again: it does nothing when all are present.
# Usage: tools/install-deps.sh [run|package|web|check|test]
set -euo pipefail

run=(
  # build
  g++ cmake make ninja-build pkg-config
  # the toy: SDL 1.2 API (sdl12-compat), SDL_image, SDL_mixer, OpenGL and Mesa's software renderer
  libsdl1.2-compat-dev libsdl-image1.2-dev libsdl-mixer1.2-dev libgl-dev libgl1-mesa-dri
  # the headless runner and the project's tools: a virtual X display, input injection, and Xlib
  # and zlib for reading pixels back and writing PNGs
  xvfb xauth xdotool libx11-dev zlib1g-dev
)
package=(
  # CPack's DEB generator finds the shared libraries' packages with dpkg-shlibdeps
  dpkg-dev
)
web=(
  # Emscripten (its own SDL 1.2 API, OpenGL emulation and system libraries, all offline)
  emscripten
)
test=(
  # GoogleTest and Google Benchmark
  libgtest-dev libgmock-dev libbenchmark-dev
  # the Life engine's portability tests: an ARM cross compiler, and qemu to run what it builds
  g++-aarch64-linux-gnu qemu-user
  # the fresh-clone test of `make run`, and the checkers of what `make install` and the package
  # hold: the menu entry, the AppStream metainfo, the manual page, the package as a whole
  git desktop-file-utils appstream man-db lintian
  # the fuzz targets: clang with its libFuzzer and sanitizer runtimes
  clang libclang-rt-dev
  # the browser tests: headless Chromium driven over the DevTools protocol
  chromium python3-websocket
  # pattern files: an independent Life program (bgolly) to check generations against, and the
  # checkers of the MIME type definitions (xmllint, update-mime-database)
  golly libxml2-utils shared-mime-info
)

case "${1:-test}" in
  run) packages=("${run[@]}") ;;
  package) packages=("${run[@]}" "${package[@]}") ;;
  web) packages=("${web[@]}") ;;
  check) packages=("${run[@]}" libgtest-dev libgmock-dev python3) ;;
  test) packages=("${run[@]}" "${package[@]}" "${web[@]}" "${test[@]}") ;;
  *)
    echo "usage: $0 [run|package|web|check|test]" >&2
    exit 2
    ;;
esac

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
