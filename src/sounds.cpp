// sounds: the game's sound effects (see sounds.h).
#include "sounds.h"

// Not yet connected: the synthesiser and its effect slots arrive later. Until then every call
// fills in and returns one spare record, which makes no sound; callers may still write their
// parameters into it, as they may into the slots' spare record when no slot is free.
static SYNTH_EFFECT_STATE spare;

// A fresh record as an effect starts: scale and pitch 1, everything else 0
static SYNTH_EFFECT_STATE *spare_effect()
{
    spare = SYNTH_EFFECT_STATE{};
    spare.scale = 1.0f;
    spare.pitch = 1.0f;
    return &spare;
}

SYNTH_EFFECT_STATE *sound_pip(float pitch, int length)
{
    SYNTH_EFFECT_STATE *e = spare_effect();
    e->d = static_cast<float>(length);
    e->freq = 1046.528f;
    e->pitch = pitch;
    e->a = 2.0f;
    e->duty = 0.5f;
    e->filt = 10000.0f;
    e->scale = 0.9f;
    return e;
}

SYNTH_EFFECT_STATE *sound_ringmod(float pitch, int length)
{
    SYNTH_EFFECT_STATE *e = spare_effect();
    e->pitch = pitch;
    e->d = static_cast<float>(length);
    e->duty = 0.5f;
    e->duty2 = 0.5f;
    e->i = 60;
    e->freq = 1500.0f;
    e->filt = 10000.0f;
    return e;
}
