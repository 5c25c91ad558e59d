// Speed of one Life generation (life_step_cells) under each border mode, with Conway's rule
// B3/S23 and with HighLife B36/S23, on a random grid filled at 50 %. Reported as generations per
// second (items per second).
// NOTE: the step's cost does not depend on the cells (no branch looks at them), so the grid is
// filled once and left to settle as it would on screen; the empty-grid case shows the same speed.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "life.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned SEED = 1;            // the standard generator's seed for the random fill
constexpr int FILL_PERCENT = 50;        // the share of live cells at the start

enum BENCH_RULE { RULE_B3_S23, RULE_B36_S23 };

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Set a rule and a border directly (a parsed rule string would print its report into the output)
static void set_rule(BENCH_RULE rule, int border)
{
    rules_birth.fill(-1);
    rules_survive.fill(-1);
    rules_birth[0] = 3;
    if (rule == RULE_B36_S23)
        rules_birth[1] = 6;
    rules_survive[0] = 2;
    rules_survive[1] = 3;
    border_mode = border;
}

// Generations per second of the given rule and border, starting from a grid filled at percent
static void BM_LifeStep(benchmark::State &state, int border, BENCH_RULE rule, int percent)
{
    life_init();
    set_rule(rule, border);
    std::srand(SEED);
    life_reset_random(percent);
    for (auto _ : state)
        life_step_cells();
    benchmark::DoNotOptimize(life_cell(0, 0));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

BENCHMARK_CAPTURE(BM_LifeStep, wrap_B3_S23, LIFE_BORDER_WRAP, RULE_B3_S23, FILL_PERCENT);
BENCHMARK_CAPTURE(BM_LifeStep, dead_B3_S23, LIFE_BORDER_DEAD, RULE_B3_S23, FILL_PERCENT);
BENCHMARK_CAPTURE(BM_LifeStep, live_B3_S23, LIFE_BORDER_LIVE, RULE_B3_S23, FILL_PERCENT);
BENCHMARK_CAPTURE(BM_LifeStep, wrap_B36_S23, LIFE_BORDER_WRAP, RULE_B36_S23, FILL_PERCENT);
BENCHMARK_CAPTURE(BM_LifeStep, dead_B36_S23, LIFE_BORDER_DEAD, RULE_B36_S23, FILL_PERCENT);
BENCHMARK_CAPTURE(BM_LifeStep, live_B36_S23, LIFE_BORDER_LIVE, RULE_B36_S23, FILL_PERCENT);
BENCHMARK_CAPTURE(BM_LifeStep, wrap_B3_S23_empty_grid, LIFE_BORDER_WRAP, RULE_B3_S23, 0);

BENCHMARK_MAIN();
