// Cost of the pattern watch (watch_update) as the overlay uses it:
// - one generation of look-ahead on a grid that never repeats within the limit (a churning soup
//   under Seeds, B2/S): stepping, hashing, indexing; and the bare packed step for comparison;
// - the whole search for a glider on the torus (period 960, the worst period near 1,000 that a
//   five-cell pattern gives): the time to the answer and the ticks it takes at the tick budget;
// - a tick while the user paints: the grid changes every tick, so every tick starts again;
// - a minute of the toy running at 60 generations a second from a random soup, with the watch
//   called every tick: the cost per tick and its share of one core ("core_percent": CPU time per
//   second of running, in percent of one core), beside the engine alone.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "life.h"
#include "watch.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned SEED = 1;          // the standard generator's seed for the random fills
constexpr int SOUP_PERCENT = 35;      // the share of live cells in a soup
constexpr int SEEDS_PERCENT = 20;     // the share for the Seeds soup, which churns for good
constexpr int TICKS_PER_SECOND = 60;  // the toy's logic rate, one generation a tick at full speed
constexpr int TICKS_RUN = 60 * TICKS_PER_SECOND;  // a minute of running

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Set a rule and a border directly (a parsed rule string would print its report into the output)
static void set_rule(std::initializer_list<int32_t> birth, std::initializer_list<int32_t> survive, int border)
{
    rules_birth.fill(-1);
    rules_survive.fill(-1);
    int i = 0;
    for (int32_t n : birth)
        rules_birth[i++] = n;
    i = 0;
    for (int32_t n : survive)
        rules_survive[i++] = n;
    border_mode = border;
}

static void glider_grid()
{
    life_reset_random(0);
    life_set_cell(11, 5, 1);
    life_set_cell(12, 6, 1);
    life_set_cell(10, 7, 1);
    life_set_cell(11, 7, 1);
    life_set_cell(12, 7, 1);
}

//----------------------------------------------------------------------------------
// Benchmarks
//----------------------------------------------------------------------------------
// Generations of look-ahead per second on a grid that does not repeat within the limit; each
// iteration is the whole search up to the limit, its start included
static void BM_WatchLookAhead(benchmark::State &state)
{
    life_init();
    set_rule({2}, {}, LIFE_BORDER_WRAP);
    std::srand(SEED);
    life_reset_random(SEEDS_PERCENT);
    int64_t generations = 0;
    for (auto _ : state) {
        watch_reset();
        while (watch_result().kind == WATCH_SEARCHING)
            generations += watch_update(static_cast<int>(WATCH_MAX_GENERATIONS));
    }
    if (watch_result().kind != WATCH_UNKNOWN)
        state.SkipWithError("the soup repeated within the limit");
    state.SetItemsProcessed(generations);
}
BENCHMARK(BM_WatchLookAhead)->Unit(benchmark::kMillisecond);

// The bare packed generation the watch steps with
static void BM_WatchNextColumns(benchmark::State &state)
{
    life_init();
    set_rule({3}, {2, 3}, LIFE_BORDER_WRAP);
    std::srand(SEED);
    life_reset_random(SOUP_PERCENT);
    LIFE_COLUMNS a;
    LIFE_COLUMNS b;
    life_read_columns(a);
    for (auto _ : state) {
        life_next_columns(a, b, rules_birth, rules_survive, border_mode);
        life_next_columns(b, a, rules_birth, rules_survive, border_mode);
    }
    benchmark::DoNotOptimize(a);
    state.SetItemsProcessed(2 * static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_WatchNextColumns);

// The whole search for the glider's period of 960, called once a tick at the tick budget
static void BM_WatchFindsPeriod960(benchmark::State &state)
{
    life_init();
    set_rule({3}, {2, 3}, LIFE_BORDER_WRAP);
    glider_grid();
    int ticks = 0;
    for (auto _ : state) {
        watch_reset();
        ticks = 0;
        while (watch_result().kind == WATCH_SEARCHING) {
            watch_update(WATCH_TICK_BUDGET);
            ticks++;
        }
    }
    if (watch_result().period != 960)
        state.SkipWithError("the glider's period was not found");
    state.counters["ticks"] = ticks;
}
BENCHMARK(BM_WatchFindsPeriod960)->Unit(benchmark::kMicrosecond);

// A tick while painting: one cell changed, so the watch starts again and looks a tick's budget ahead
static void BM_WatchTickWhilePainting(benchmark::State &state)
{
    life_init();
    set_rule({2}, {}, LIFE_BORDER_WRAP);
    std::srand(SEED);
    life_reset_random(SEEDS_PERCENT);
    watch_reset();
    int toggle = 0;
    for (auto _ : state) {
        toggle ^= 1;
        life_set_cell(20, 15, toggle);
        watch_update(WATCH_TICK_BUDGET);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_WatchTickWhilePainting)->Unit(benchmark::kMicrosecond);

// A minute of the toy running from a soup under Life with the wrap border: each tick one
// generation of the engine and one call of the watch; the engine's own step is measured apart
// without the watch
static void BM_WatchRunningToy(benchmark::State &state, bool with_watch)
{
    life_init();
    set_rule({3}, {2, 3}, LIFE_BORDER_WRAP);
    for (auto _ : state) {
        std::srand(SEED);
        life_reset_random(SOUP_PERCENT);
        watch_reset();
        for (int tick = 0; tick < TICKS_RUN; tick++) {
            if (with_watch)
                watch_update(WATCH_TICK_BUDGET);
            life_step_cells();
        }
    }
    // The rate's inverse: measured seconds per hundredth of the seconds run
    double running_seconds = static_cast<double>(state.iterations()) * TICKS_RUN / TICKS_PER_SECOND;
    state.counters["core_percent"] = benchmark::Counter(running_seconds / 100, benchmark::Counter::kIsRate |
                                                                                benchmark::Counter::kInvert);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * TICKS_RUN);
}
BENCHMARK_CAPTURE(BM_WatchRunningToy, engine_and_watch, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_WatchRunningToy, engine_alone, false)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
