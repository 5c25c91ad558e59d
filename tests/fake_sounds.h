// fake_sounds: a test double of the game's sound effects. Every call is recorded with its
// arguments and answered with a fresh record of its own, so that a test can read what the caller
// wrote into it afterwards.
#pragma once

#include <string>
#include <vector>

#include "sounds.h"

struct FAKE_SOUND {
    std::string name;          // "sound_pip" or "sound_ringmod"
    float pitch;
    int length;
    SYNTH_EFFECT_STATE effect; // the returned record, as the caller left it
};

// The calls so far, in order. The records stay in place until the next fake_sounds_reset (the
// list reserves room for every call a test makes), so callers' later writes show here.
extern std::vector<FAKE_SOUND> fake_sounds;

void fake_sounds_reset();  // forget every call
