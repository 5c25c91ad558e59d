// synth_run: the synthesiser and its effect slots driven the way the toy drives them, for tests
// without an audio device: a logic tick advances the tick count, the audio side runs the effects
// once and mixes that tick's share of samples (22050 / 60 a tick) through the framework's mix.
// Depends on: synth, synth_effects, lum (the switches and the tick count), lum_mix (the block's
// mix), capture (set-up lines).
#pragma once

#include <cstdint>
#include <vector>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int SYNTH_RUN_RATE = 22050;          // the toy's stream rate
constexpr int SYNTH_RUN_TICK_SAMPLES = 368;    // samples rendered per logic tick (22050 / 60, rounded up)

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// A fresh synthesiser at 22050 Hz with `voices` slots of `stages` stages, switched on, at a tick
// count above every one used before in this process (so the once-per-tick guard lets it run)
void synth_run_start(int voices, int stages);

// One logic tick: the tick count advances, the effects run once, the tick's samples are
// rendered and appended to `out` when given
void synth_run_tick(std::vector<int16_t> *out = nullptr);

// One logic tick's effect run without rendering: the patches the effects built, not yet sounded
void synth_run_effects();

// Ticks until no slot sounds or runs any more (at most `limit`); the samples rendered
std::vector<int16_t> synth_run_until_silent(int limit = 600);
