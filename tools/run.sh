#!/usr/bin/env bash
# Starts Lum Life from the project's root (its data files are read from the working directory).
# With a display, it simply runs the toy. Without one (a server, a container, CI) it says so, runs
# the toy for a few seconds inside a private virtual X display, saves a screenshot in the build
# folder (BUILD_DIR/lumlife-screenshot.png), prints where, and stops the toy with Escape.
# With --screenshot it makes the README's pictures in a private virtual X display: the toy starts
# with a prepared grid and look, in a temporary HOME (never the user's), and is shot on its game
# screen in landscape (OUT.png), then after F1 in portrait (OUT-portrait.png).
# Its working files (the display's number, the logs, the temporary HOME, a runtime folder for the
# sound libraries when the session has none) live in a folder under TMPDIR (else /tmp) that is
# removed when it ends, whatever the outcome.
# Usage: tools/run.sh BUILD_DIR [--screenshot OUT.png]
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

work=$(mktemp -d "${TMPDIR:-/tmp}/lumlife-run-XXXXXX")
prepared=""
if [ -z "$shot" ]; then
  echo "No display found: running Lum Life for a few seconds in a virtual X display."
  shot="$build/lumlife-screenshot.png"
else
  prepared=yes
fi
mkdir -p "$(dirname "$shot")"

xvfb_pid=""
toy_pid=""
# The toy and the display are stopped and waited for (Xvfb removes its lock file and socket in
# /tmp as it ends), then the working folder goes
cleanup() {
  if [ -n "$toy_pid" ]; then
    kill "$toy_pid" 2>/dev/null || true
    wait "$toy_pid" 2>/dev/null || true
  fi
  if [ -n "$xvfb_pid" ]; then
    kill "$xvfb_pid" 2>/dev/null || true
    wait "$xvfb_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
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

# logged TEXT: the toy's log has a line containing TEXT
logged() {
  grep -sqF "$1" "$work/lumlife.log"
}

# The toy's "settings.cfg" is the raw little-endian image of its 4172-byte user record: the birth
# and survival toggles (10 bytes each), then 32-bit border (0 wrap), speed, running, step display,
# cell colour, background colour, cell icon, grid icon, glow, 16 reserved bytes, the grid as 64
# columns of 64 bytes (cell x, y at 72 + 64 x + y; 48 x 30 used), and the step counter.
# write_settings FILE: the screenshot's record: B3/S23 on a wrap border at 12 generations a second,
# not running, mint dots glowing on a dark blue backdrop, and this grid ('#' a live cell): two
# gliders, a lightweight spaceship, a pulsar, a blinker, a toad, a beacon and a block.
write_settings() {
  local -a bytes
  local i x y row hex=""
  for ((i = 0; i < 4172; i++)); do bytes[i]=0; done
  put32() {
    for ((i = 0; i < 4; i++)); do bytes[$1 + i]=$((($2 >> (8 * i)) & 255)); done
  }
  bytes[3]=1                  # birth on 3
  bytes[12]=1 bytes[13]=1     # survival on 2 and 3
  put32 20 0                  # wrap border
  put32 24 12                 # 12 generations a second
  put32 32 1                  # the step counter shown
  put32 36 1                  # cells in mint
  put32 40 2                  # a blue backdrop
  put32 44 1                  # the dot icon for live cells
  put32 48 1                  # the dot icon for the grid
  put32 52 1                  # glow
  put32 4168 1024             # the step counter
  y=0
  while IFS= read -r row; do
    for ((x = 0; x < ${#row}; x++)); do
      if [ "${row:x:1}" = "#" ]; then bytes[72 + 64 * x + y]=1; fi
    done
    y=$((y + 1))
  done <<'GRID'
................................................
................................................
...#.............................###...###......
....#...........................................
..###..........................#....#.#....#....
........##.....................#....#.#....#....
........##.....................#....#.#....#....
.................................###...###......
................................................
..............###................###...###......
...............................#....#.#....#....
...............................#....#.#....#....
...............................#....#.#....#....
................................................
.................................###...###......
.............###................................
............###.................................
................................................
................................................
................................................
.....................##.........................
....#..#.............##.........................
...#...................##................###....
...#...#...............##..................#....
...####...................................#.....
................................................
................................................
................................................
................................................
................................................
GRID
  for ((i = 0; i < 4172; i++)); do
    printf -v x '\\x%02x' "${bytes[i]}"
    hex+=$x
  done
  printf '%b' "$hex" >"$1"
}

# shoot FILE: save the window once it shows the same picture twice in a row, 0.2 s apart (the
# title screen changes on every frame; the prepared game screen stands still)
shoot() {
  local previous="$work/previous.png" current="$work/current.png"
  "$build/tools/lumshot" "$previous"
  for ((i = 0; i < 100; i++)); do
    sleep 0.2
    "$build/tools/lumshot" "$current"
    if cmp -s "$previous" "$current"; then
      mv "$current" "$1"
      return 0
    fi
    mv "$current" "$previous"
  done
  echo "run: the window did not settle for a screenshot" >&2
  return 1
}

# Xvfb chooses a free display number itself and writes it to the file when it is ready; it must
# not reset when the toy, its last client, goes away before the Escape key is released.
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
if ! wait_for 20 test -s "$work/display"; then
  echo "run: the virtual X display did not start:" >&2
  cat "$work/xvfb.log" >&2
  exit 1
fi
export DISPLAY=":$(head -n1 "$work/display")"

# Without a runtime folder the sound libraries make one of their own in the temporary folder and
# leave it there: the toy gets one inside the working folder, which goes with it
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
  export XDG_RUNTIME_DIR="$work/runtime"
  mkdir -m 700 "$XDG_RUNTIME_DIR"
fi

if [ -n "$prepared" ]; then
  export HOME="$work/home"
  mkdir -p "$HOME/.kobaltine/lumlife"
  write_settings "$HOME/.kobaltine/lumlife/settings.cfg"
fi

"$build/lumlife" > >(tee "$work/lumlife.log") &
toy_pid=$!
if ! wait_for 30 logged "changed logic rate"; then
  echo "run: the toy did not start its main loop (its log is above)" >&2
  exit 1
fi

if [ -n "$prepared" ]; then
  # The game screen lays out its buttons once the title is over
  if ! wait_for 30 logged "buttons COUNTER"; then
    echo "run: the toy did not reach its game screen (its log is above)" >&2
    exit 1
  fi
  shoot "$shot"
  echo "Screenshot saved: $shot"
  # Keys go to the window under the pointer: there is no window manager
  xdotool mousemove 1 1 key F1
  if ! wait_for 30 logged "NEW LAYOUT 320x480 global_scale 1.000000 (320x480)"; then
    echo "run: the toy did not turn to portrait (its log is above)" >&2
    exit 1
  fi
  portrait="${shot%.png}-portrait.png"
  shoot "$portrait"
  echo "Screenshot saved: $portrait"
else
  sleep 3  # let it run for a few seconds, as a person would watch it
  "$build/tools/lumshot" "$shot"
fi

# The toy quits while Escape is held after an event poll: hold it until it says so.
xdotool mousemove 1 1 keydown Escape
wait_for 20 logged "Quitting..." || true
xdotool keyup Escape
status=0
wait "$toy_pid" || status=$?
toy_pid=""
if [ -z "$prepared" ]; then
  echo "Screenshot saved: $shot"
fi
exit "$status"
