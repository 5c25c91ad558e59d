// Cost of the undo history: recording one step (the moment before a change captured, compared
// with the moment after, kept in the ring), undoing and redoing one, and writing the whole file
// of 1024 undo steps. The memory of a step and of the whole history are reported as counters.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "game.h"
#include "history.h"
#include "life.h"

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// A random grid under Conway's rule, with the history bound to the record's rule and border
static void start()
{
    std::srand(1);
    life_init();
    history_bind(game.bparams.data(), game.sparams.data(), &game.border_mode, &config_changed);
    history_clear();
}

static void memory_counters(benchmark::State &state)
{
    state.counters["step_bytes"] = static_cast<double>(sizeof(HISTORY_STEP));
    state.counters["history_bytes"] = static_cast<double>(2 * HISTORY_DEPTH * sizeof(HISTORY_STEP));
}

//----------------------------------------------------------------------------------
// Benchmarks
//----------------------------------------------------------------------------------
// One STEP as an undo step: begin, one generation, end (the generation's own cost included, and
// measured alone below for the difference)
static void BM_RecordAStep(benchmark::State &state)
{
    start();
    for (auto _ : state) {
        history_begin(HISTORY_ONE_STEP);
        life_step_cells();
        history_end();
    }
    memory_counters(state);
}
BENCHMARK(BM_RecordAStep);

static void BM_GenerationAlone(benchmark::State &state)
{
    start();
    for (auto _ : state)
        life_step_cells();
}
BENCHMARK(BM_GenerationAlone);

// A change recorded at once (a grid about to be replaced)
static void BM_RecordAReplacement(benchmark::State &state)
{
    start();
    for (auto _ : state)
        history_record(HISTORY_PATTERN);
    memory_counters(state);
}
BENCHMARK(BM_RecordAReplacement);

// An undo and its redo, with a full ring behind them
static void BM_UndoAndRedo(benchmark::State &state)
{
    start();
    for (int i = 0; i < HISTORY_DEPTH; i++)
        history_record(HISTORY_PATTERN);
    // Each logs one line: standard output goes nowhere while they run
    std::fflush(stdout);
    const int saved = dup(1);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    for (auto _ : state) {
        history_undo();
        history_redo();
    }
    std::fflush(stdout);
    dup2(saved, 1);
    close(null);
    close(saved);
}
BENCHMARK(BM_UndoAndRedo);

BENCHMARK_MAIN();
