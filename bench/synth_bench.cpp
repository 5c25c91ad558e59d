// Speed of the synthesiser's render loop (syn_update): a full load of 8 effect slots of 8 stages
// (oscillators of every kind, filters and held envelopes, all sounding), and a single pip as the
// game plays it. Reported as samples per second and as a multiple of real time at 22050 Hz.
// The full load has one noise unit, as the game's sounds do; a second load has a noise unit in
// every slot, whose shared generator makes the engine evaluate it sample by sample.
#include <benchmark/benchmark.h>

#include "synth.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int RATE = 22050;            // the toy's stream rate
constexpr unsigned BLOCK = 512;        // samples per audio block, as the toy opens the stream
constexpr unsigned SLOTS = 8;          // effect slots ...
constexpr unsigned SLOT_STAGES = 8;    // ... of 8 stages: the toy's full load

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
static SYN syn;

// One slot of the full load at `b`: a swept triangle, a pulse with a duty input, a sine and a
// noise unit (or a fast triangle) summed through a resonant low-pass and a high-pass into a held
// envelope
static void full_slot(unsigned b, float pitch, bool noise)
{
    const int in = static_cast<int>(b);
    syn_ramp_freq(&syn, b, 200.0f * pitch, 2000.0f * pitch, 1000.0f);
    syn_osc_triangle(&syn, b + 1, 300.0f * pitch);
    syn_osc_in_freq(&syn, b + 1, in);
    syn_osc_pulse(&syn, b + 2, 150.0f * pitch);
    syn_osc_in_duty(&syn, b + 2, in + 1);
    syn_osc_in_amp(&syn, b + 2, in + 1);
    syn_osc_sine(&syn, b + 3, 440.0f * pitch);
    syn_osc_in_amp(&syn, b + 3, in + 2);
    if (noise)
        syn_osc_noise(&syn, b + 4, 3000.0f);
    else
        syn_osc_triangle(&syn, b + 4, 3000.0f);
    syn_osc_in_off(&syn, b + 4, in + 3);
    syn_filt_lowpass(&syn, b + 5, 2000.0f);
    syn_filt_in(&syn, b + 5, in + 4);
    syn_filt_q(&syn, b + 5, 0.5f);
    syn_filt_highpass(&syn, b + 6, 100.0f);
    syn_filt_in(&syn, b + 6, in + 5);
    syn_adsr(&syn, b + 7, 2.0f, 50.0f, 0.5f, 100.0f);
    syn_adsr_in(&syn, b + 7, in + 6);
    syn_mix(&syn, b + 7, 1);
    syn_reset(&syn, b + 7);
    syn_adsr_hold(&syn, b + 7, 1);
}

// The game's pip: a triangle through a low-pass into an envelope, held so that it keeps sounding
static void pip(unsigned b)
{
    syn_osc_triangle(&syn, b, 1046.528f);
    syn_osc_amp(&syn, b, 0.9f);
    syn_filt_lowpass(&syn, b + 1, 10000.0f);
    syn_filt_in(&syn, b + 1, static_cast<int>(b));
    syn_adsr(&syn, b + 2, 2.0f, 10.0f, 0.5f, 0.0f);
    syn_adsr_in(&syn, b + 2, static_cast<int>(b + 1));
    syn_mix(&syn, b + 2, 1);
    syn_reset(&syn, b + 2);
    syn_adsr_hold(&syn, b + 2, 1);
}

// Render blocks of 512 samples; report samples per second and the multiple of real time
static void render_blocks(benchmark::State &state)
{
    static SAMPLETYPE buf[BLOCK];
    for (auto _ : state) {
        syn_update(&syn, buf, BLOCK);
        benchmark::DoNotOptimize(buf);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * BLOCK);
    state.counters["x_realtime"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * BLOCK / RATE, benchmark::Counter::kIsRate);
}

//----------------------------------------------------------------------------------
// Benchmarks
//----------------------------------------------------------------------------------
// The full load; `noises` slots have a noise unit
static void BM_SynthFullLoad(benchmark::State &state, unsigned noises)
{
    syn_init(&syn, RATE, 1.0f, SLOTS * SLOT_STAGES);
    for (unsigned s = 0; s < SLOTS; s++)
        full_slot(s * SLOT_STAGES, 1.0f + 0.125f * static_cast<float>(s), s < noises);
    syn_vol(&syn, 0.125f);
    render_blocks(state);
}
BENCHMARK_CAPTURE(BM_SynthFullLoad, one_noise, 1);
BENCHMARK_CAPTURE(BM_SynthFullLoad, noise_in_every_slot, SLOTS);

static void BM_SynthOnePip(benchmark::State &state)
{
    syn_init(&syn, RATE, 1.0f, 3);
    pip(0);
    render_blocks(state);
}
BENCHMARK(BM_SynthOnePip);

BENCHMARK_MAIN();
