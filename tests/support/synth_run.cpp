// synth_run: the synthesiser driven tick by tick for tests (see synth_run.h).
#include "synth_run.h"

#include <array>

#include "capture.h"
#include "lum.h"
#include "lum_mix.h"
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

// The tick's samples through the framework's mix of a block, into silence; the effects ran just
// before, so the mix is given no tick to hand over. The left channel is the sound.
void synth_run_tick(std::vector<int16_t> *out)
{
    synth_run_effects();
    std::array<int16_t, 2 * SYNTH_RUN_TICK_SAMPLES> block{};
    lum_mix_block(block.data(), SYNTH_RUN_TICK_SAMPLES);
    if (out)
        for (int n = 0; n < SYNTH_RUN_TICK_SAMPLES; n++)
            out->push_back(block[2 * static_cast<size_t>(n)]);
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
