// fake_sounds: a test double of the game's sound effects (see fake_sounds.h).
#include "fake_sounds.h"

#include <cstdlib>
#include <cstdio>

// Room for every call one test makes; the records must not move while callers hold them.
constexpr size_t FAKE_SOUNDS_MAX = 100000;

std::vector<FAKE_SOUND> fake_sounds;

void fake_sounds_reset()
{
    fake_sounds.clear();
    fake_sounds.reserve(FAKE_SOUNDS_MAX);
}

static SYNTH_EFFECT_STATE *record(const char *name, float pitch, int length)
{
    if (fake_sounds.capacity() < FAKE_SOUNDS_MAX)
        fake_sounds.reserve(FAKE_SOUNDS_MAX);
    if (fake_sounds.size() == FAKE_SOUNDS_MAX) {
        std::fprintf(stderr, "fake_sounds: more than %zu calls in one test\n", FAKE_SOUNDS_MAX);
        std::abort();
    }
    FAKE_SOUND call{name, pitch, length, SYNTH_EFFECT_STATE{}};
    call.effect.scale = 1.0f;
    call.effect.pitch = pitch;
    call.effect.d = static_cast<float>(length);
    fake_sounds.push_back(call);
    return &fake_sounds.back().effect;
}

SYNTH_EFFECT_STATE *sound_pip(float pitch, int length)
{
    return record("sound_pip", pitch, length);
}

SYNTH_EFFECT_STATE *sound_ringmod(float pitch, int length)
{
    return record("sound_ringmod", pitch, length);
}
