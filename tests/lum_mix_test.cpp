// Tests of the framework's mix of an audio block over the platform's test double, with no audio
// device: the synthesiser added to both channels with saturation, the effects run once per
// handed-over tick and never while a tick holds them, the glitch hook first at the stream's rate,
// the sample voices before the synthesiser, a block longer than the render buffer, and the start
// at a stream's rate under the audio lock.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "capture.h"
#include "fake_wrapper.h"
#include "lum.h"
#include "lum_mix.h"
#include "synth.h"
#include "synth_effects.h"

namespace {

// A synthesiser whose one stage is a mixed constant giving `sample` in every sample
void constant_synth(int sample)
{
    capture_stdout([] { syn_init(&synraw, 22050, 1.0f, 1); });
    syn_math_val(&synraw, 0, (static_cast<float>(sample) + 0.5f) / 32767.0f);
    syn_mix(&synraw, 0, 1);
}

// An effect that counts its runs
int counting(SYNTH_EFFECT_STATE *e)
{
    e->counter++;
    return SYNTH_EFFECT_CONT;
}

class LumMix : public ::testing::Test {
protected:
    void SetUp() override
    {
        fake_platform_reset();
        lum_settings.enable_synth = 1;
        lum_settings.enable_wav = 0;
        lum_settings.callback_glitch = nullptr;
        lum_settings.synth_effects_state = 0;
    }
};

TEST_F(LumMix, TheSynthesiserIsAddedToBothChannelsOfEveryFrameWithSaturation)
{
    constant_synth(10000);
    int16_t block[6] = {30000, -30000, 0, 100, -32768, 32767};
    lum_mix_block(block, 3);
    EXPECT_EQ(block[0], 32767);
    EXPECT_EQ(block[1], -20000);
    EXPECT_EQ(block[2], 10000);
    EXPECT_EQ(block[3], 10100);
    EXPECT_EQ(block[4], -22768);
    EXPECT_EQ(block[5], 32767);
    constant_synth(-10000);
    int16_t low[2] = {-30000, 0};
    lum_mix_block(low, 1);
    EXPECT_EQ(low[0], -32768);
    EXPECT_EQ(low[1], -10000);
}

TEST_F(LumMix, ABlockLongerThanTheRenderBufferIsMixedWhole)
{
    constant_synth(7);
    const int frames = static_cast<int>(SYN_BUFFER_SAMPLES) + 100;
    std::vector<int16_t> block(2 * static_cast<size_t>(frames), 1);
    lum_mix_block(block.data(), frames);
    for (size_t n = 0; n < block.size(); n++)
        ASSERT_EQ(block[n], 8) << n;
}

// Two logic ticks as the main loop runs them, an effect created in the second, and blocks in
// between and after
TEST_F(LumMix, EffectsRunOncePerHandedOverTickAndASlotOnlyOnceItsTickHandedItOver)
{
    capture_stdout([] {
        syn_init(&synraw, 22050, 1.0f, SYN_MAX_STAGES);
        synth_effects_init(4, 8);
    });
    int16_t block[4] = {};
    lum_ticks += 1000;
    SYNTH_EFFECT_STATE *old = synth_effect(counting);
    synth_effects_hand_over();              // the end of tick 1000
    lum_ticks++;                            // tick 1001 begins
    SYNTH_EFFECT_STATE *e = synth_effect(counting);
    EXPECT_EQ(synth_effects_pending(static_cast<int>(e - synth_effects.data())), 1);
    lum_mix_block(block, 2);                // a block inside tick 1001
    EXPECT_EQ(old->counter, 1u) << "the effect handed over runs for its tick";
    EXPECT_EQ(e->counter, 0u) << "the slot this tick is still writing is left alone";
    EXPECT_EQ(lum_settings.synth_effects_state, 0);
    e->freq = 440.0f;
    synth_effects_hand_over();              // the end of tick 1001
    EXPECT_EQ(synth_effects_pending(static_cast<int>(e - synth_effects.data())), 0);
    EXPECT_EQ(lum_settings.synth_effects_state, 1);
    lum_mix_block(block, 2);
    EXPECT_EQ(old->counter, 2u);
    EXPECT_EQ(e->counter, 1u);
    lum_mix_block(block, 2);
    EXPECT_EQ(e->counter, 1u) << "no tick handed over since";
    lum_ticks += 2;
    synth_effects_hand_over();
    synth_effects_hand_over();
    lum_mix_block(block, 2);
    EXPECT_EQ(e->counter, 2u) << "two ticks between blocks advance it once";
}

int16_t glitch_first = 0;
int glitch_frames = 0;
int glitch_rate = 0;

TEST_F(LumMix, TheGlitchHookSeesTheBlockFirstWithTheStreamsRate)
{
    capture_stdout([] { lum_mix_start(44100); });
    EXPECT_EQ(lum_mix_rate(), 44100u);
    constant_synth(100);
    lum_settings.callback_glitch = [](int16_t *samples, int frames, int rate) {
        glitch_first = samples[0];
        glitch_frames = frames;
        glitch_rate = rate;
        samples[0] = 1;
    };
    int16_t block[4] = {5, 5, 5, 5};
    lum_mix_block(block, 2);
    EXPECT_EQ(glitch_first, 5);
    EXPECT_EQ(glitch_frames, 2);
    EXPECT_EQ(glitch_rate, 44100);
    EXPECT_EQ(block[0], 101) << "the hook's change, then the synthesiser";
    EXPECT_EQ(block[1], 105);
}

TEST_F(LumMix, WithTheSynthesiserOffTheBlockIsLeftAndTheHandOverWaits)
{
    constant_synth(100);
    lum_settings.enable_synth = 0;
    lum_settings.synth_effects_state = 2;
    int16_t block[2] = {3, 4};
    lum_mix_block(block, 1);
    EXPECT_EQ(block[0], 3);
    EXPECT_EQ(block[1], 4);
    EXPECT_EQ(lum_settings.synth_effects_state, 2);
}

TEST_F(LumMix, StartingAtARateTakesTheAudioLockAndStartsTheSynthesiserThere)
{
    const int before = fake_platform.audio_locks;
    capture_stdout([] { lum_mix_start(22050); });
    EXPECT_GT(fake_platform.audio_locks, before);
    EXPECT_EQ(synraw.sample_rate, 22050u);
    EXPECT_EQ(lum_mix_rate(), 22050u);
}

}  // namespace
