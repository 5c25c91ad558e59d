// Cost of the audio callback (mixaudio) for one block of 512 stereo frames at 22050 Hz with 8
// sounding effects: the effect slots advanced once (a logic tick is handed over every block) and
// the synthesiser rendered and added to both channels. Reported as time per block and as the
// share of the block's real-time length (23.2 ms) it takes.
// NOTE: the callback is called directly; no audio device is opened.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>

#include "lum.h"
#include "sounds.h"
#include "synth.h"
#include "synth_effects.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int RATE = 22050;
constexpr int FRAMES = 512;              // a block as the toy opens the stream
constexpr int EFFECTS = 8;               // every slot sounding
constexpr double BLOCK_SECONDS = static_cast<double>(FRAMES) / RATE;

//----------------------------------------------------------------------------------
// Benchmarks
//----------------------------------------------------------------------------------
// Eight held warbles, one in every slot: each runs its effect function every tick and sounds a
// triangle through a slow swing into its envelope
static void BM_MixaudioEightEffects(benchmark::State &state)
{
    lum_settings.enable_synth = 1;
    syn_init(&synraw, RATE, 1.0f, SYN_MAX_STAGES);
    synth_effects_init(EFFECTS, 8);
    for (int n = 0; n < EFFECTS; n++)
        sound_warble(nullptr)->delay = 1 << 30;
    std::array<int16_t, 2 * FRAMES> block{};
    for (auto _ : state) {
        block.fill(0);
        lum_ticks++;
        synth_effects_hand_over();
        mixaudio(-2, block.data(), static_cast<int>(sizeof block), nullptr);
        benchmark::DoNotOptimize(block.data());
    }
    state.counters["active"] = synth_effects_active();
    state.counters["share_of_block"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * BLOCK_SECONDS,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_MixaudioEightEffects);

BENCHMARK_MAIN();
