// sounds: the game's sound effects. Six effect functions each build a small patch in their effect
// slot from the parameters of its record and end in an envelope, the patch's only mixed stage.
// Each public call creates an effect (priority 0), fills in its parameters and returns its
// record, so that the caller may change further parameters in the same tick; when no slot is
// free that is the slots' spare record, and nothing sounds.
// Depends on: synth_effects (slots), synth (the units the patches are built from).
#pragma once

#include "synth_effects.h"

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The effect functions, for callers that set every parameter themselves
int noise_fx(SYNTH_EFFECT_STATE *e);        // a noise burst
int thump_fx(SYNTH_EFFECT_STATE *e);        // a thump with optional bounces
int pip_effect(SYNTH_EFFECT_STATE *e);      // a tone blip
int fm_effect(SYNTH_EFFECT_STATE *e);       // frequency modulation
int ringmod_effect(SYNTH_EFFECT_STATE *e);  // a ring-modulated sweep
int warble_effect(SYNTH_EFFECT_STATE *e);   // a held warble steered by a callback

SYNTH_EFFECT_STATE *sound_noise(float freq, int decay);               // low-passed noise, `decay` ms
SYNTH_EFFECT_STATE *sound_thump(float freq);                          // a low thump
SYNTH_EFFECT_STATE *sound_pip(float pitch, int length);               // a tone blip of `length` ms
SYNTH_EFFECT_STATE *sound_fm(float freq1, float freq2, float depth);  // an FM tone
SYNTH_EFFECT_STATE *sound_ringmod(float pitch, int length);           // a ring-modulated blip of `length` ms
// A warble whose callback sets its frequency in Hz (`i`) and may change `scale` every tick
SYNTH_EFFECT_STATE *sound_warble(void (*callback)(SYNTH_EFFECT_STATE *e));
