// synth_effects: sound effects as small programs in slots of the synthesiser's stage array.
// An effect function builds and steers a patch in its slot once per logic tick and tells the
// slot manager whether to go on, release the slot while its stages ring out, or stop them.
// Slots divide the synthesiser's stage array into equal parts; a new effect takes a free slot,
// or steals the oldest release tail of lower priority when none is free. The effects run on the
// audio thread; they are created on the main thread, with the audio device locked around the
// creation alone (see synth_effect_ex). A slot claimed in a logic tick stays pending while the
// tick writes its parameters; the main loop hands the tick's slots over at its end, and the audio
// side runs only slots handed over, so it sees whole records and never waits for a tick.
// Depends on: synth (the stages), log (log lines, the tick count and clock), lum_settings (the
// audio switches), wrapper_system (the audio lock).
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// An effect function's results
constexpr int SYNTH_EFFECT_STOP = -1;    // give up the slot and silence its stages at once
constexpr int SYNTH_EFFECT_CONT = 0;     // call again at the next tick
constexpr int SYNTH_EFFECT_RELEASE = 1;  // give up the slot; its stages ring out by themselves

constexpr int SYNTH_EFFECTS_MAX = 32;     // slot records: the most slots there can be

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

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern std::array<SYNTH_EFFECT_STATE, SYNTH_EFFECTS_MAX> synth_effects;  // the slots

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Set the number of slots and their stages and clear every slot: 0 takes the default (4 slots,
// 8 stages), a negative value keeps the current one; at most 32 slots and 256 stages in all
void synth_effects_init(int voices, int slots);
// Start an effect; returns its slot's record, or a spare record (which never runs) when no slot
// can be had. The caller fills in its parameters in the same logic tick.
SYNTH_EFFECT_STATE *synth_effect_ex(SYNTH_EFFECT func, int priority);
SYNTH_EFFECT_STATE *synth_effect(SYNTH_EFFECT func);
// Choose and claim a slot: its number, -1 when none (or the synthesiser is off), -2 without func
int get_effect_ex(SYNTH_EFFECT func, int force, int priority);
// Run every effect once per logic tick, at the current tick (a caller on the logic's own thread,
// or with the logic stopped: the tools and the tests)
void synth_effects_update();

// The hand-over between the logic and the audio thread
void synth_effects_hand_over();     // end of a tick: publish its slots, mark it (synth_effects_state + 1)
int synth_effects_pending(int slot); // 1 from the slot's claim to the next hand-over
// The audio callback's run: synth_effects_update at the tick last handed over, leaving the
// slots still pending alone
void synth_effects_audio_update();
int synth_effects_active();    // slots whose stages still sound
int synth_effects_tail_slot(); // the first stage above all slots, free for other patches

// The framework's own effect: the start-up growl
int growl_effect(SYNTH_EFFECT_STATE *effect);
