// Speed of the framework's inner-loop helpers: random numbers, sine lookups, turtle moves and the
// per-tick input delivery.
#include <benchmark/benchmark.h>

#include "input.h"
#include "rnd.h"
#include "sine.h"
#include "turtle.h"

static void BM_Mrand(benchmark::State &state)
{
    mrand_seed = 1;
    for (auto _ : state)
        benchmark::DoNotOptimize(mrand());
}
BENCHMARK(BM_Mrand);

static void BM_SineDeg(benchmark::State &state)
{
    init_sine_table();
    double a = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(sine_deg(a));
        a += 0.7;
    }
}
BENCHMARK(BM_SineDeg);

static void BM_TurtleTurnAndTrans(benchmark::State &state)
{
    init_sine_table();
    turtle_reset();
    turtle_set_scale(1.0);
    for (auto _ : state) {
        turtle_turn(1.5);
        turtle_trans(2.0, 3.0);
        benchmark::DoNotOptimize(turtle.x);
    }
}
BENCHMARK(BM_TurtleTurnAndTrans);

// One tick's worth of pointer traffic: a press, 14 moves and a release, delivered and cleared
static void BM_InputTickOf16Events(benchmark::State &state)
{
    input_init();
    for (auto _ : state) {
        for (int i = 0; i < 16; i++) {
            int type = i == 0 ? INPUT_PRESSED : (i == 15 ? INPUT_RELEASED : INPUT_MOVED);
            INPUT_EVENT e{type, K_MOUSE, 0, static_cast<float>(i), 10.0f, 0};
            input_add_event(&e);
        }
        benchmark::DoNotOptimize(input_update_events());
        input_clear_events();
    }
    state.SetItemsProcessed(state.iterations() * 16);
}
BENCHMARK(BM_InputTickOf16Events);

BENCHMARK_MAIN();
