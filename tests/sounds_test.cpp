// Tests of the game's sound effects: the patch each call builds in its slot (units, settings and
// wiring, with the optional stages shifting the rest), the delays and state machines of the
// stepping effects, and that every sound is heard and then ends.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "lum.h"
#include "sounds.h"
#include "synth.h"
#include "synth_effects.h"
#include "synth_run.h"

namespace {

constexpr float TINY = 1.1754944e-38f;

// The stage at `offset` from a record's base
const SYNFUNC &stage(const SYNTH_EFFECT_STATE *e, unsigned offset)
{
    return synraw.stage[e->base + offset];
}

int in(const SYNTH_EFFECT_STATE *e, unsigned offset)
{
    return static_cast<int>(e->base + offset);
}

// The offsets of the mixed stages of a slot
std::vector<unsigned> mixed(const SYNTH_EFFECT_STATE *e)
{
    std::vector<unsigned> found;
    for (unsigned k = 0; k < 8; k++)
        if (stage(e, k).mix)
            found.push_back(k);
    return found;
}

// The loudest sample
int peak(const std::vector<int16_t> &out)
{
    int p = 0;
    for (int16_t s : out)
        p = std::max(p, std::abs(static_cast<int>(s)));
    return p;
}

float alpha_lowpass(double freq)
{
    return static_cast<float>(1.0 / (22050.0 / (2 * M_PI * freq) + 1.0));
}

float alpha_highpass(double freq)
{
    return static_cast<float>(1.0 / (2 * M_PI * freq / 22050.0 + 1.0));
}

class Sounds : public ::testing::Test {
protected:
    void SetUp() override { synth_run_start(8, 8); }
};

//----------------------------------------------------------------------------------
// Pip
//----------------------------------------------------------------------------------
TEST_F(Sounds, APipIsATriangleThroughALowPassWithATwoMillisecondAttackAndItsLengthOfDecay)
{
    SYNTH_EFFECT_STATE *e = sound_pip(1.0f, 10);
    EXPECT_EQ(e->func, pip_effect);
    EXPECT_EQ(e->freq, 1046.528f);
    EXPECT_EQ(e->d, 10.0f);
    EXPECT_EQ(e->a, 2.0f);
    EXPECT_EQ(e->duty, 0.5f);
    EXPECT_EQ(e->filt, 10000.0f);
    EXPECT_EQ(e->scale, 0.9f);
    EXPECT_EQ(e->priority, 0);
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_effects();
    EXPECT_EQ(e->func, nullptr) << "built and released";
    EXPECT_EQ(stage(&copy, 0).type, SYN_TRIANGLE);
    EXPECT_EQ(stage(&copy, 0).osc.freq, 1046.528f);
    EXPECT_EQ(stage(&copy, 0).osc.amp, 0.9f);
    EXPECT_EQ(stage(&copy, 0).osc.duty, 0.5f);
    EXPECT_EQ(stage(&copy, 1).type, SYN_LOWPASS);
    EXPECT_FLOAT_EQ(stage(&copy, 1).filt.alpha, alpha_lowpass(10000.0));
    EXPECT_EQ(stage(&copy, 1).filt_in.signal, in(&copy, 0));
    EXPECT_EQ(stage(&copy, 1).filt.q, 0.0f);
    EXPECT_EQ(stage(&copy, 2).type, SYN_ADSR);
    EXPECT_EQ(stage(&copy, 2).adsr_in.signal, in(&copy, 1));
    EXPECT_FLOAT_EQ(stage(&copy, 2).adsr.attack, 1.0f / 44.1f);
    EXPECT_FLOAT_EQ(stage(&copy, 2).adsr.decay, 1.0f / 220.5f);
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{2});
}

TEST_F(Sounds, APipPatchBuiltFromTheUnitsSoundsForItsAttackAndDecayAndEnds)
{
    // The same patch as sound_pip(1.0, 10), built directly
    syn_osc_triangle(&synraw, 0, 1046.528f);
    syn_osc_amp(&synraw, 0, 0.9f);
    syn_filt_lowpass(&synraw, 1, 10000.0f);
    syn_filt_in(&synraw, 1, 0);
    syn_adsr(&synraw, 2, 2.0f, 10.0f, 0.0f, 0.0f);
    syn_adsr_in(&synraw, 2, 1);
    syn_mix(&synraw, 2, 1);
    syn_reset(&synraw, 2);
    synraw.stages = 3;
    int attack = 0, decay = 0, rest = 0;
    std::vector<int16_t> out(400);
    for (int16_t &s : out) {
        char step = synraw.stage[2].adsr.step;
        syn_update(&synraw, synthbuf.data(), 1);
        s = static_cast<int16_t>(synthbuf[0]);
        if (step == SYN_ADSR_ATTACK)
            attack++;
        else if (step == SYN_ADSR_DECAY)
            decay++;
        else if (synraw.stage[2].type == SYN_ADSR || step == SYN_ADSR_RELEASE)
            rest++;
    }
    EXPECT_EQ(attack, 45) << "2 ms at 22050 Hz";
    EXPECT_EQ(decay, 221) << "10 ms";
    EXPECT_EQ(rest, 2) << "one sample of sustain, one of release to 0";
    EXPECT_GT(peak(std::vector<int16_t>(out.begin(), out.begin() + 266)), 20000);
    for (size_t k = 266; k < out.size(); k++)
        ASSERT_EQ(out[k], 0) << k;
}

TEST_F(Sounds, APipFromTheCallSoundsTheSameAsThePatchBuiltFromTheUnits)
{
    SYNTH_EFFECT_STATE *e = sound_pip(1.0f, 10);
    const unsigned b = e->base;
    lum_ticks++;
    synth_effects_update();
    std::vector<SAMPLETYPE> heard(400);
    syn_update(&synraw, heard.data(), 400);
    // The same stages again, built by hand at the same place
    syn_osc_triangle(&synraw, b, 1046.528f);
    syn_osc_amp(&synraw, b, 0.9f);
    syn_osc_duty(&synraw, b, 0.5f);
    synraw.stage[b + 1].out = 0.0f;
    synraw.stage[b + 1].filt.oldout = 0.0f;
    syn_filt_lowpass(&synraw, b + 1, 10000.0f);
    syn_filt_in(&synraw, b + 1, static_cast<int>(b));
    syn_adsr(&synraw, b + 2, 2.0f, 10.0f, 0.0f, 0.0f);
    syn_adsr_in(&synraw, b + 2, static_cast<int>(b + 1));
    syn_mix(&synraw, b + 2, 1);
    syn_reset(&synraw, b + 2);
    std::vector<SAMPLETYPE> built(400);
    syn_update(&synraw, built.data(), 400);
    EXPECT_EQ(heard, built);
}

TEST_F(Sounds, ADelayPostponesAPipByThatManyTicksWhileItsSlotIsHeld)
{
    SYNTH_EFFECT_STATE *e = sound_pip(1.0f, 10);
    e->delay = 5;
    for (int t = 0; t < 5; t++) {
        synth_run_tick();
        EXPECT_EQ(e->func, pip_effect) << "still waiting at tick " << t;
        EXPECT_EQ(synth_effects_active(), 0);
    }
    synth_run_effects();
    EXPECT_EQ(e->func, nullptr);
    EXPECT_EQ(synth_effects_active(), 1);
}

TEST_F(Sounds, APipWithASweepAPulseAndAHighPassShiftsItsStages)
{
    SYNTH_EFFECT_STATE *e = sound_pip(2.0f, 50);
    e->freq2 = 500.0f;
    e->j = 1;
    e->filt_high = 300.0f;
    e->duty = 0.25f;
    e->q = 0.5f;
    e->r = 20.0f;
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(stage(&copy, 0).type, SYN_PULSE);
    EXPECT_EQ(stage(&copy, 0).osc.freq, 2093.056f);
    EXPECT_EQ(stage(&copy, 0).osc.duty, 0.25f);
    EXPECT_EQ(stage(&copy, 0).osc_in.freq, in(&copy, 1));
    EXPECT_EQ(stage(&copy, 1).type, SYN_RAMP);
    EXPECT_FLOAT_EQ(stage(&copy, 1).ramp.start, 2093.056f / 22050.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 1).ramp.end, 1000.0f / 22050.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 1).ramp.step, (1000.0f - 2093.056f) / 22050.0f / (72.0f * 22.05f));
    EXPECT_EQ(stage(&copy, 2).type, SYN_LOWPASS);
    EXPECT_EQ(stage(&copy, 2).filt.q, 0.5f);
    EXPECT_EQ(stage(&copy, 3).type, SYN_HIGHPASS);
    EXPECT_FLOAT_EQ(stage(&copy, 3).filt.alpha, alpha_highpass(300.0));
    EXPECT_EQ(stage(&copy, 3).filt_in.signal, in(&copy, 2));
    EXPECT_EQ(stage(&copy, 4).type, SYN_ADSR);
    EXPECT_EQ(stage(&copy, 4).adsr_in.signal, in(&copy, 3));
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{4});
}

//----------------------------------------------------------------------------------
// Ring modulation
//----------------------------------------------------------------------------------
TEST_F(Sounds, ARingmodIsATriangleRingModulatedBySixtyHertzThroughALowPass)
{
    SYNTH_EFFECT_STATE *e = sound_ringmod(1.0f, 20);
    EXPECT_EQ(e->func, ringmod_effect);
    EXPECT_EQ(e->i, 60);
    EXPECT_EQ(e->duty, 0.5f);
    EXPECT_EQ(e->duty2, 0.5f);
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(stage(&copy, 0).type, SYN_RAMP) << "the frequency sweep, flat at 1500 Hz";
    EXPECT_FLOAT_EQ(stage(&copy, 0).ramp.start, 1500.0f / 22050.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 0).ramp.end, 1500.0f / 22050.0f);
    EXPECT_EQ(stage(&copy, 1).type, SYN_TRIANGLE);
    EXPECT_EQ(stage(&copy, 1).osc.freq, 1500.0f);
    EXPECT_EQ(stage(&copy, 1).osc_in.freq, in(&copy, 0));
    EXPECT_EQ(stage(&copy, 1).osc.amp, 1.0f);
    EXPECT_EQ(stage(&copy, 1).osc.duty, 0.5f);
    EXPECT_EQ(stage(&copy, 2).type, SYN_TRIANGLE);
    EXPECT_EQ(stage(&copy, 2).osc.freq, 60.0f);
    EXPECT_EQ(stage(&copy, 2).osc_in.amp, in(&copy, 1));
    EXPECT_EQ(stage(&copy, 3).type, SYN_LOWPASS);
    EXPECT_EQ(stage(&copy, 3).filt_in.signal, in(&copy, 2));
    EXPECT_EQ(stage(&copy, 4).type, SYN_ADSR);
    EXPECT_FLOAT_EQ(stage(&copy, 4).adsr.attack, 1.0f / 44.1f);
    EXPECT_FLOAT_EQ(stage(&copy, 4).adsr.decay, 1.0f / 441.0f);
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{4});
    EXPECT_EQ(e->a, 2.0f);
    EXPECT_EQ(e->freq2, 1500.0f);
    EXPECT_EQ(e->ramp_start, 0.5f) << "set though not used";
    EXPECT_EQ(e->ramp_end, 0.5f);
}

TEST_F(Sounds, ARingmodWithADutySweepAPulseAndASecondModulatorShiftsItsStages)
{
    SYNTH_EFFECT_STATE *e = sound_ringmod(0.5f, 30);
    e->ramp_end = 0.1f;
    e->k = 1;
    e->j = 7;
    e->freq2 = 3000.0f;
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(stage(&copy, 0).type, SYN_RAMP) << "the duty sweep, in plain values";
    EXPECT_EQ(stage(&copy, 0).ramp.start, 0.0f);
    EXPECT_EQ(stage(&copy, 0).ramp.end, 0.1f);
    EXPECT_EQ(stage(&copy, 1).type, SYN_RAMP);
    EXPECT_FLOAT_EQ(stage(&copy, 1).ramp.start, 750.0f / 22050.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 1).ramp.end, 1500.0f / 22050.0f);
    EXPECT_EQ(stage(&copy, 2).osc_in.duty, in(&copy, 0));
    EXPECT_EQ(stage(&copy, 2).osc_in.freq, in(&copy, 1));
    EXPECT_EQ(stage(&copy, 3).type, SYN_PULSE);
    EXPECT_EQ(stage(&copy, 3).osc_in.amp, in(&copy, 2));
    EXPECT_EQ(stage(&copy, 4).type, SYN_TRIANGLE);
    EXPECT_EQ(stage(&copy, 4).osc.freq, 7.0f);
    EXPECT_EQ(stage(&copy, 4).osc_in.amp, in(&copy, 3));
    EXPECT_EQ(stage(&copy, 5).type, SYN_LOWPASS);
    EXPECT_EQ(stage(&copy, 6).type, SYN_ADSR);
    EXPECT_EQ(stage(&copy, 6).adsr_in.signal, in(&copy, 5));
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{6});
}

TEST_F(Sounds, ARingmodWithADutySweepWaitsOutItsDelay)
{
    SYNTH_EFFECT_STATE *e = sound_ringmod(1.0f, 20);
    e->ramp_start = 0.2f;
    e->delay = 2;
    synth_run_tick();
    synth_run_tick();
    EXPECT_EQ(e->func, ringmod_effect);
    synth_run_tick();
    EXPECT_EQ(e->func, nullptr);
}

//----------------------------------------------------------------------------------
// Noise, thump, FM, warble
//----------------------------------------------------------------------------------
TEST_F(Sounds, NoiseLeavesStageZeroAloneAndLowPassesItsNoise)
{
    SYNTH_EFFECT_STATE *e = sound_noise(4000.0f, 100);
    const unsigned b = e->base;
    syn_math_val(&synraw, b, 0.25f);
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(stage(&copy, 0).type, SYN_CONST) << "untouched without a sweep";
    EXPECT_EQ(stage(&copy, 1).type, SYN_NOISE);
    EXPECT_EQ(stage(&copy, 1).osc.freq, 4000.0f);
    EXPECT_EQ(stage(&copy, 1).osc_in.freq, -1);
    EXPECT_EQ(stage(&copy, 2).type, SYN_LOWPASS);
    EXPECT_FLOAT_EQ(stage(&copy, 2).filt.alpha, alpha_lowpass(10000.0));
    EXPECT_EQ(stage(&copy, 2).filt_in.signal, in(&copy, 1));
    EXPECT_EQ(stage(&copy, 3).type, SYN_ADSR);
    EXPECT_FLOAT_EQ(stage(&copy, 3).adsr.decay, 1.0f / 2205.0f);
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{3});
}

TEST_F(Sounds, NoiseWithASweepAModulatorAndAHighPass)
{
    const struct {
        int k;
        signed char type;
        float amp, off;
    } shapes[] = {{1, SYN_PULSE, 0.45f, 0.45f}, {2, SYN_PULSE, 0.9f, 0.0f}, {0, SYN_TRIANGLE, 0.9f, 0.0f}};
    for (const auto &shape : shapes) {
        SYNTH_EFFECT_STATE *e = sound_noise(1000.0f, 50);
        e->freq2 = 3000.0f;
        e->pitch = 2.0f;
        e->scale = 0.9f;
        e->j = 12;
        e->k = shape.k;
        e->i = 1;
        e->duty = 0.3f;
        SYNTH_EFFECT_STATE copy = *e;
        synth_run_tick();
        EXPECT_EQ(stage(&copy, 0).type, SYN_RAMP);
        EXPECT_FLOAT_EQ(stage(&copy, 0).ramp.start, 2000.0f / 22050.0f);
        EXPECT_FLOAT_EQ(stage(&copy, 0).ramp.end, 6000.0f / 22050.0f);
        EXPECT_EQ(stage(&copy, 1).osc_in.freq, in(&copy, 0));
        EXPECT_EQ(stage(&copy, 1).osc_in.amp, in(&copy, 2));
        EXPECT_EQ(stage(&copy, 2).type, shape.type) << shape.k;
        EXPECT_EQ(stage(&copy, 2).osc.freq, 12.0f);
        EXPECT_EQ(stage(&copy, 2).osc.amp, shape.amp);
        EXPECT_EQ(stage(&copy, 2).osc.off, shape.off);
        EXPECT_EQ(stage(&copy, 2).osc.duty, 0.3f);
        EXPECT_EQ(stage(&copy, 3).type, SYN_HIGHPASS);
        EXPECT_EQ(stage(&copy, 3).filt_in.signal, in(&copy, 1));
        EXPECT_EQ(stage(&copy, 4).type, SYN_ADSR);
        EXPECT_EQ(mixed(&copy), std::vector<unsigned>{4});
    }
}

TEST_F(Sounds, AThumpPlaysQuarterFrequencyNoiseForThreeTicksThenJumpsAndReleases)
{
    SYNTH_EFFECT_STATE *e = sound_thump(400.0f);
    EXPECT_EQ(e->scale, 0.9f);
    EXPECT_EQ(e->d, 250.0f);
    EXPECT_EQ(e->filt, 1000.0f);
    const unsigned b = e->base;
    for (int t = 1; t <= 3; t++) {
        synth_run_tick();
        EXPECT_EQ(synraw.stage[b].osc.freq, 100.0f) << t;
        EXPECT_EQ(e->func, thump_fx);
    }
    EXPECT_EQ(e->j, 2);
    EXPECT_EQ(e->delay, 4);
    synth_run_tick();
    EXPECT_EQ(synraw.stage[b].osc.freq, 800.0f);
    EXPECT_EQ(e->func, nullptr);
    EXPECT_EQ(synraw.stage[b].type, SYN_NOISE);
    EXPECT_EQ(synraw.stage[b].osc.amp, 0.9f);
    EXPECT_EQ(synraw.stage[b + 1].type, SYN_LOWPASS);
    EXPECT_EQ(synraw.stage[b + 2].type, SYN_ADSR);
    EXPECT_EQ(synraw.stage[b + 2].mix, 1);
}

// The ticks at which a thump with `k` set by its caller bounces and releases
std::vector<int> thump_bounces(int k, SYNTH_EFFECT_STATE *&e, int *released)
{
    e = sound_thump(400.0f);
    e->k = k;
    std::vector<int> bounces;
    *released = -1;
    float scale = e->scale;
    for (int t = 1; t <= 100 && *released < 0; t++) {
        synth_run_effects();
        if (!e->func)
            *released = t;
        else if (e->scale != scale) {
            EXPECT_FLOAT_EQ(e->scale, scale * 0.3f);
            EXPECT_EQ(synraw.stage[e->base].osc.amp, e->scale);
            EXPECT_FLOAT_EQ(synraw.stage[e->base + 2].adsr.attack, 1.0f / (15.0f * 22.05f));
            EXPECT_EQ(synraw.stage[e->base + 2].adsr.step, SYN_ADSR_ATTACK) << "restarted";
            scale = e->scale;
            bounces.push_back(t);
        }
    }
    return bounces;
}

TEST_F(Sounds, AThumpWithKOfOneReleasesAtTickFifteenWithoutABounce)
{
    SYNTH_EFFECT_STATE *e;
    int released;
    EXPECT_TRUE(thump_bounces(1, e, &released).empty());
    EXPECT_EQ(released, 15);
}

TEST_F(Sounds, AThumpWithKOfThreeBouncesTwiceFourteenTicksApartThenReleases)
{
    SYNTH_EFFECT_STATE *e;
    int released;
    EXPECT_EQ(thump_bounces(3, e, &released), (std::vector<int>{15, 29}));
    EXPECT_EQ(released, 43);
}

TEST_F(Sounds, AThumpWithAPulseRateModulatesItsNoise)
{
    SYNTH_EFFECT_STATE *e = sound_thump(400.0f);
    e->i = 8;
    e->k = 5;
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(e->k, 0) << "a pulse rate rules out bounces";
    EXPECT_EQ(stage(&copy, 0).osc_in.amp, in(&copy, 3));
    EXPECT_EQ(stage(&copy, 3).type, SYN_PULSE);
    EXPECT_EQ(stage(&copy, 3).osc.freq, 8.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 3).osc.amp, 0.36f);
    EXPECT_FLOAT_EQ(stage(&copy, 3).osc.off, 0.54f);
    for (int t = 2; t <= 4; t++)
        synth_run_tick();
    EXPECT_EQ(e->func, nullptr);
}

TEST_F(Sounds, FmDrivesACarrierFromAModulatorInCyclesPerSample)
{
    SYNTH_EFFECT_STATE *e = sound_fm(5.0f, 440.0f, 100.0f);
    EXPECT_EQ(e->a, 10.0f);
    EXPECT_EQ(e->d, 500.0f);
    EXPECT_EQ(e->value, 100.0f);
    e->pitch = 2.0f;
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(stage(&copy, 0).type, SYN_TRIANGLE);
    EXPECT_EQ(stage(&copy, 0).osc.freq, 5.0f) << "the modulator is not scaled by the pitch";
    EXPECT_EQ(stage(&copy, 0).osc.duty, 0.0f) << "a rising sawtooth";
    EXPECT_FLOAT_EQ(stage(&copy, 0).osc.off, 880.0f / 22050.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 0).osc.amp, 200.0f / 22050.0f);
    EXPECT_EQ(stage(&copy, 1).type, SYN_TRIANGLE);
    EXPECT_EQ(stage(&copy, 1).osc.freq, 1.0f);
    EXPECT_EQ(stage(&copy, 1).osc_in.freq, in(&copy, 0));
    EXPECT_EQ(stage(&copy, 1).osc.amp, 0.9f);
    EXPECT_EQ(stage(&copy, 2).type, SYN_ADSR) << "no filters without cutoffs";
    EXPECT_EQ(stage(&copy, 2).adsr_in.signal, in(&copy, 1));
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{2});
}

TEST_F(Sounds, FmWithASweepAndBothFilters)
{
    SYNTH_EFFECT_STATE *e = sound_fm(5.0f, 440.0f, 100.0f);
    e->ramp_end = 50.0f;
    e->filt_high = 100.0f;
    e->filt = 5000.0f;
    SYNTH_EFFECT_STATE copy = *e;
    synth_run_tick();
    EXPECT_EQ(stage(&copy, 0).type, SYN_RAMP);
    EXPECT_EQ(stage(&copy, 0).ramp.start, 0.0f);
    EXPECT_FLOAT_EQ(stage(&copy, 0).ramp.end, 50.0f / 22050.0f);
    EXPECT_EQ(stage(&copy, 1).osc_in.freq, in(&copy, 0));
    EXPECT_EQ(stage(&copy, 2).osc_in.freq, in(&copy, 1));
    EXPECT_EQ(stage(&copy, 3).type, SYN_HIGHPASS);
    EXPECT_EQ(stage(&copy, 3).filt_in.signal, in(&copy, 2));
    EXPECT_EQ(stage(&copy, 4).type, SYN_LOWPASS);
    EXPECT_EQ(stage(&copy, 4).filt_in.signal, in(&copy, 3));
    EXPECT_EQ(stage(&copy, 5).type, SYN_ADSR);
    EXPECT_EQ(mixed(&copy), std::vector<unsigned>{5});
}

TEST_F(Sounds, AWarbleWithoutCallbackUsesPseudoRandomFrequenciesAndReleasesAfterThirtyTicks)
{
    SYNTH_EFFECT_STATE *e = sound_warble(nullptr);
    EXPECT_EQ(e->s, 0.99f);
    EXPECT_EQ(e->r, 25.0f);
    const unsigned b = e->base;
    synth_run_tick();
    EXPECT_EQ(synraw.stage[b].osc.freq, 1.0f) << "frequency 0 is refused in the first tick";
    EXPECT_EQ(synraw.stage[b + 2].hold, 1);
    EXPECT_EQ(e->delay, 30);
    for (int t = 1; t < 30; t++) {
        EXPECT_EQ(e->func, warble_effect) << t;
        synth_run_tick();
        const float expected = static_cast<float>((static_cast<uint32_t>(t) * 123456789u) & 4095u);
        if (expected > 0.0f) {
            EXPECT_EQ(synraw.stage[b].osc.freq, expected) << t;
        }
    }
    EXPECT_EQ(e->func, nullptr) << "released at the thirtieth tick";
    EXPECT_EQ(synraw.stage[b + 2].hold, 0);
    EXPECT_EQ(synraw.stage[b + 1].osc.freq, 0.016666668f);
    EXPECT_EQ(synraw.stage[b + 1].osc_in.amp, static_cast<int>(b));
}

TEST_F(Sounds, AWarbleCallbackSetsItsFrequencyAndLoudnessEveryTick)
{
    static int calls = 0;
    calls = 0;
    SYNTH_EFFECT_STATE *e = sound_warble([](SYNTH_EFFECT_STATE *w) {
        calls++;
        w->i = 100 * calls;
        w->scale = 0.5f;
    });
    e->delay = 3;
    const unsigned b = e->base;
    synth_run_tick();
    EXPECT_EQ(synraw.stage[b].osc.freq, 100.0f);
    EXPECT_EQ(synraw.stage[b].osc.amp, 0.25f);
    EXPECT_EQ(synraw.stage[b + 1].osc.off, 0.25f);
    synth_run_tick();
    synth_run_tick();
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(synraw.stage[b].osc.freq, 300.0f);
    EXPECT_EQ(e->func, nullptr);
}

TEST_F(Sounds, EverySoundIsHeardAndThenEnds)
{
    const struct {
        const char *name;
        SYNTH_EFFECT_STATE *(*start)();
    } sounds[] = {
        {"noise", [] { return sound_noise(3000.0f, 100); }},
        {"thump", [] { return sound_thump(200.0f); }},
        {"pip", [] { return sound_pip(1.0f, 10); }},
        {"fm", [] { return sound_fm(8.0f, 300.0f, 150.0f); }},
        {"ringmod", [] { return sound_ringmod(1.0f, 20); }},
        {"warble", [] { return sound_warble(nullptr); }},
    };
    for (const auto &s : sounds) {
        synth_run_start(8, 8);
        s.start();
        std::vector<int16_t> out = synth_run_until_silent();
        EXPECT_GT(peak(out), 3000) << s.name;
        EXPECT_LT(out.size(), 300u * SYNTH_RUN_TICK_SAMPLES) << s.name << " ends";
        EXPECT_EQ(synth_effects_active(), 0) << s.name;
        EXPECT_EQ(out.back(), 0) << s.name;
    }
}

}  // namespace
