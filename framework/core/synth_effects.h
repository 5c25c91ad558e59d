// synth_effects: sound effects as small programs in slots of the synthesiser's stage array.
// An effect function builds and steers a patch in its slot once per logic tick and tells the
// slot manager whether to go on, release the slot while its stages ring out, or stop them.
// Depends on: nothing yet.
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// An effect function's results
constexpr int SYNTH_EFFECT_STOP = -1;    // give up the slot and silence its stages at once
constexpr int SYNTH_EFFECT_CONT = 0;     // call again at the next tick
constexpr int SYNTH_EFFECT_RELEASE = 1;  // give up the slot; its stages ring out by themselves

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct SYNTH_EFFECT_STATE;
using SYNTH_EFFECT = int (*)(SYNTH_EFFECT_STATE *effect);

// One effect slot: the running effect and its parameters. At creation `scale` and `pitch` are
// 1 and every other parameter 0; callers set the parameters in the tick that creates it.
struct SYNTH_EFFECT_STATE {
    SYNTH_EFFECT func;        // the effect function; null when the slot is free
    uint32_t base;            // first stage index of the slot
    uint32_t start_time;      // logic tick of the first call of func (0 until then)
    uint32_t stop_time;       // logic tick at which the slot was freed
    uint32_t counter;         // free for the effect's use
    signed char priority;     // priority of the effect
    int32_t state;            // the effect's own step counter
    int32_t i, j, k;          // free for the effect's use
    int32_t delay;            // free for the effect's use (ticks before a patch is built, say)
    float scale;              // overall amplitude
    float pitch;              // multiplies the frequencies where an effect says so
    float freq, freq2, filt, filt_high, q, duty, duty2, ramp_start, ramp_end, a, d, s, r, value;
    void *info;               // free for the effect's use
};
