#!/usr/bin/env bash
# The fuzz targets (tests/fuzz): their clang build, and runs of one target over its seed corpus.
#   tools/fuzz.sh build DIR                 configure and build the targets in DIR with clang++
#   tools/fuzz.sh bounded DIR TARGET RUNS   RUNS inputs from a fixed seed (`make test`): the same
#                                           run every time; what it finds goes to a scratch corpus
#   tools/fuzz.sh timed DIR TARGET SECONDS  fuzz for SECONDS (`make fuzz`); the inputs it finds
#                                           are kept in DIR/corpus/TARGET for the next run
# A crash, a leak, a failed check or an input that hangs fails the run and leaves the input in
# DIR/artifacts/. The targets' log lines (standard output) are discarded; reports go to standard
# error. Replay a saved input with: DIR/fuzz_TARGET FILE
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
command="$1"
dir="$2"

if [ "$command" = build ]; then
  cmake -S "$root" -B "$dir" -DLUM_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    --log-level=WARNING
  cmake --build "$dir" -j "$(nproc 2>/dev/null || echo 2)"
  exit 0
fi

target="$3"
amount="$4"
seeds="$root/tests/fuzz/corpus/$target"

# The longest input each target is given: a settings file and a little more, a rule string, a
# WAV header and some data, an image header and up to 64 x 64 pixels of pattern, a pattern file
# of a few thousand cells with its comments
case "$target" in
  settings) max_len=8192 ;;
  rule) max_len=256 ;;
  wave) max_len=4096 ;;
  atlas) max_len=16400 ;;
  pattern) max_len=16384 ;;
  *) echo "fuzz.sh: no target '$target'" >&2; exit 2 ;;
esac

# The targets write their files (a settings save flushes to the disk) into memory where the
# system has such a directory, so a run measures the code and not the disk
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then
  export TMPDIR=/dev/shm
fi

case "$command" in
  bounded)
    corpus="$dir/ctest-corpus/$target"
    rm -rf "$corpus"
    limits=(-runs="$amount" -seed=1)
    ;;
  timed)
    corpus="$dir/corpus/$target"
    limits=(-max_total_time="$amount")
    ;;
  *) echo "fuzz.sh: unknown command '$command'" >&2; exit 2 ;;
esac
mkdir -p "$corpus" "$dir/artifacts"

exec "$dir/fuzz_$target" "${limits[@]}" -max_len="$max_len" -timeout=10 -close_fd_mask=1 -print_final_stats=1 \
  -artifact_prefix="$dir/artifacts/$target-" "$corpus" "$seeds"
