// synth_run: the synthesiser driven tick by tick for tests (see synth_run.h).
#include "synth_run.h"

#include "capture.h"
#include "lum.h"
#include "synth.h"
#include "synth_effects.h"

void synth_run_start(int voices, int stages)
{
    constexpr uint32_t TICKS_APART = 100000;  // well beyond any one test's ticks
    capture_stdout([&] {
        syn_init(&synraw, SYNTH_RUN_RATE, 1.0f, SYN_MAX_STAGES);
        synth_effects_init(voices, stages);
    });
    lum_settings.enable_synth = 1;
    lum_ticks = (lum_ticks / TICKS_APART + 1) * TICKS_APART;
}

void synth_run_effects()
{
    lum_ticks++;
    synth_effects_update();
}

void synth_run_tick(std::vector<int16_t> *out)
{
    synth_run_effects();
    syn_update(&synraw, synthbuf.data(), SYNTH_RUN_TICK_SAMPLES);
    if (out)
        out->insert(out->end(), synthbuf.begin(), synthbuf.begin() + SYNTH_RUN_TICK_SAMPLES);
}

// A slot sounds while its stages do or while its effect still runs
static bool anything_left()
{
    if (synth_effects_active() > 0)
        return true;
    for (const SYNTH_EFFECT_STATE &e : synth_effects)
        if (e.func)
            return true;
    return false;
}

std::vector<int16_t> synth_run_until_silent(int limit)
{
    std::vector<int16_t> out;
    for (int n = 0; n < limit && anything_left(); n++)
        synth_run_tick(&out);
    return out;
}
