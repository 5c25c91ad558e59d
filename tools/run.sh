#!/usr/bin/env bash
# Starts Lum Life from the project's root (its data files are read from the working directory).
# With a display, it simply runs the toy. Without one (a server, a container, CI) it says so, runs
# the toy for a few seconds inside a private virtual X display, saves a screenshot to a path it
# prints, and stops the toy with Escape.
# Usage: tools/run.sh BUILD_DIR [--screenshot OUT.png]   (--screenshot: always the virtual display)
set -euo pipefail

build=$(cd "$1" && pwd)
shift
shot=""
if [ "${1:-}" = "--screenshot" ]; then
  shot=$(realpath -m "${2:?--screenshot needs a file name}")
fi
cd "$(dirname "$0")/.."

if [ -z "$shot" ] && [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
  exec "$build/lumlife"
fi

work=$(mktemp -d /tmp/lumlife-run-XXXXXX)
if [ -z "$shot" ]; then
  echo "No display found: running Lum Life for a few seconds in a virtual X display."
  shot="$work/screenshot.png"
fi
mkdir -p "$(dirname "$shot")"

xvfb_pid=""
toy_pid=""
cleanup() {
  [ -n "$toy_pid" ] && kill "$toy_pid" 2>/dev/null || true
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
}
trap cleanup EXIT

# wait_for SECONDS COMMAND...: poll until the command succeeds, or fail after the given time
wait_for() {
  local limit=$(($1 * 10))
  shift
  for ((i = 0; i < limit; i++)); do
    if "$@"; then return 0; fi
    sleep 0.1
  done
  return 1
}

# Xvfb chooses a free display number itself and writes it to the file when it is ready; it must
# not reset when the toy, its last client, goes away before the Escape key is released.
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
if ! wait_for 20 test -s "$work/display"; then
  echo "run: the virtual X display did not start (see $work/xvfb.log)" >&2
  exit 1
fi
export DISPLAY=":$(head -n1 "$work/display")"

"$build/lumlife" > >(tee "$work/lumlife.log") &
toy_pid=$!
if ! wait_for 30 grep -sqF "changed logic rate" "$work/lumlife.log"; then
  echo "run: the toy did not start its main loop (log: $work/lumlife.log)" >&2
  exit 1
fi
sleep 3  # let it run for a few seconds, as a person would watch it

"$build/tools/lumshot" "$shot"

# The toy quits while Escape is held after an event poll: hold it until it says so.
xdotool mousemove 10 10 keydown Escape
wait_for 20 grep -sqF "Quitting..." "$work/lumlife.log" || true
xdotool keyup Escape
status=0
wait "$toy_pid" || status=$?
toy_pid=""
echo "Screenshot saved: $shot"
exit "$status"
