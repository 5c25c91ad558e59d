// sounds: the game's sound effects. Each call creates an effect, fills in its parameters and
// returns its record, so that the caller may change further parameters in the same tick.
// Depends on: synth_effects.
#pragma once

#include "synth_effects.h"

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
SYNTH_EFFECT_STATE *sound_pip(float pitch, int length);      // a tone blip of `length` ms
SYNTH_EFFECT_STATE *sound_ringmod(float pitch, int length);  // a ring-modulated blip of `length` ms
