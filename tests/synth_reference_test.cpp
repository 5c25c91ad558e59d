// Tests of the synthesiser against an independent model of its unit rules: every patch is built
// twice, through the engine's operations and through the reference model (support/
// synth_reference), both are rendered for thousands of samples and the two renders must agree
// sample by sample within 2 LSB. The engine renders in blocks of varying size so that block
// boundaries fall at many different points of each unit's cycle.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/synth_reference.h"
#include "synth.h"

namespace {

constexpr int RATE = 22050;        // output rate of every patch
constexpr int TOLERANCE = 2;       // largest difference allowed between the two renders, in LSB
constexpr std::array<int, 10> BLOCKS = {1, 2, 37, 256, 1000, 5, 4096, 511, 64, 3000};  // engine block sizes, cycled

// One patch held by both implementations
struct TWIN {
    SYN *syn;                      // the engine's record
    REF_SYN ref;                   // the reference's record
    int rendered;                  // samples rendered so far
    std::vector<int16_t> samples;  // every sample rendered so far (the two agreed on them)
};

// A fresh twin: both records initialised with the same rate, volume and stage count
TWIN &twin_init(float vol, unsigned stages)
{
    static SYN syn;
    static TWIN twin;
    syn_init(&syn, RATE, vol, stages);
    twin.syn = &syn;
    ref_init(twin.ref, RATE, vol, static_cast<int>(stages));
    twin.rendered = 0;
    twin.samples.clear();
    return twin;
}

// A frequency in Hz as the engine feeds it through a `freq` input (cycles per sample)
float freqval(TWIN &t, float hz)
{
    return static_cast<float>(syn_freqval(t.syn, hz));
}

// --- the same operation on both records ---

void twin_sine(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_osc_sine(t.syn, i, freq), 0);
    ref_sine(t.ref, i, freq);
}

void twin_noise(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_osc_noise(t.syn, i, freq), 0);
    ref_noise(t.ref, i, freq);
}

void twin_pulse(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_osc_pulse(t.syn, i, freq), 0);
    ref_pulse(t.ref, i, freq);
}

void twin_triangle(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_osc_triangle(t.syn, i, freq), 0);
    ref_triangle(t.ref, i, freq);
}

void twin_lowpass(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_filt_lowpass(t.syn, i, freq), 0);
    ref_lowpass(t.ref, i, freq);
}

void twin_highpass(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_filt_highpass(t.syn, i, freq), 0);
    ref_highpass(t.ref, i, freq);
}

void twin_adsr(TWIN &t, int i, float a, float d, float s, float r)
{
    EXPECT_EQ(syn_adsr(t.syn, i, a, d, s, r), 0);
    ref_adsr(t.ref, i, a, d, s, r);
}

void twin_ramp(TWIN &t, int i, float start, float end, float ms)
{
    EXPECT_EQ(syn_ramp(t.syn, i, start, end, ms), 0);
    ref_ramp(t.ref, i, start, end, ms);
}

void twin_const(TWIN &t, int i, float n)
{
    EXPECT_EQ(syn_math_val(t.syn, i, n), 0);
    ref_const(t.ref, i, n);
}

void twin_mul(TWIN &t, int i, int a, int b)
{
    EXPECT_EQ(syn_math_mul(t.syn, i, a, b), 0);
    ref_mul(t.ref, i, a, b);
}

void twin_add(TWIN &t, int i, int a, int b)
{
    EXPECT_EQ(syn_math_add(t.syn, i, a, b), 0);
    ref_add(t.ref, i, a, b);
}

void twin_amp(TWIN &t, int i, float amp)
{
    EXPECT_EQ(syn_osc_amp(t.syn, i, amp), 0);
    ref_amp(t.ref, i, amp);
}

void twin_off(TWIN &t, int i, float off)
{
    EXPECT_EQ(syn_osc_off(t.syn, i, off), 0);
    ref_off(t.ref, i, off);
}

void twin_duty(TWIN &t, int i, float duty)
{
    EXPECT_EQ(syn_osc_duty(t.syn, i, duty), 0);
    ref_duty(t.ref, i, duty);
}

void twin_q(TWIN &t, int i, float q)
{
    EXPECT_EQ(syn_filt_q(t.syn, i, q), 0);
    ref_q(t.ref, i, q);
}

void twin_cutoff(TWIN &t, int i, float freq)
{
    EXPECT_EQ(syn_filt_cutoff(t.syn, i, freq), 0);
    ref_cutoff(t.ref, i, freq);
}

void twin_hold(TWIN &t, int i, int enable)
{
    EXPECT_EQ(syn_adsr_hold(t.syn, i, enable), 0);
    ref_hold(t.ref, i, enable);
}

void twin_in_amp(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_osc_in_amp(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_AMP, in);
}

void twin_in_off(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_osc_in_off(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_OFF, in);
}

void twin_in_sync(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_osc_in_sync(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_SYNC, in);
}

void twin_in_freq(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_osc_in_freq(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_FREQ, in);
}

void twin_in_duty(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_osc_in_duty(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_DUTY, in);
}

void twin_filt_in(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_filt_in(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_SIGNAL, in);
}

void twin_filt_in_cutoff(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_filt_in_cutoff(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_CUTOFF, in);
}

void twin_filt_in_q(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_filt_in_q(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_Q, in);
}

void twin_adsr_in(TWIN &t, int i, int in)
{
    EXPECT_EQ(syn_adsr_in(t.syn, i, in), 0);
    ref_connect(t.ref, i, REF_SIGNAL, in);
}

void twin_reset(TWIN &t, int i)
{
    EXPECT_EQ(syn_reset(t.syn, i), 0);
    ref_reset(t.ref, i);
}

void twin_enable(TWIN &t, int i, int enable)
{
    EXPECT_EQ(syn_enable(t.syn, i, enable), 0);
    ref_enable(t.ref, i, enable);
}

void twin_mix(TWIN &t, int i)
{
    EXPECT_EQ(syn_mix(t.syn, i, 1), 0);
    ref_mix(t.ref, i, 1);
}

// Reset every stage from `first` to `last` inclusive
void twin_reset_range(TWIN &t, int first, int last)
{
    for (int i = first; i <= last; i++)
        twin_reset(t, i);
}

// --- rendering and comparing ---

// Render `count` more samples through both, the engine in blocks of varying size, and compare
::testing::AssertionResult renders_match(TWIN &t, int count)
{
    std::vector<SAMPLETYPE> engine(static_cast<size_t>(count));
    std::vector<int16_t> reference(static_cast<size_t>(count));
    int done = 0;
    for (size_t b = 0; done < count; b++) {
        int n = std::min(BLOCKS[b % BLOCKS.size()], count - done);
        syn_update(t.syn, engine.data() + done, static_cast<unsigned>(n));
        done += n;
    }
    ref_render(t.ref, reference.data(), count);

    int first = -1;
    int differing = 0;
    for (int k = 0; k < count; k++) {
        int e = static_cast<int16_t>(engine[static_cast<size_t>(k)]);
        int r = reference[static_cast<size_t>(k)];
        if (std::abs(e - r) > TOLERANCE) {
            differing++;
            if (first < 0)
                first = k;
        }
    }
    int start = t.rendered;
    t.rendered += count;
    for (SAMPLETYPE s : engine)
        t.samples.push_back(static_cast<int16_t>(s));
    if (first < 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
        << "sample " << start + first << ": engine " << static_cast<int16_t>(engine[static_cast<size_t>(first)])
        << ", reference " << reference[static_cast<size_t>(first)] << " (" << differing << " of " << count
        << " samples from " << start << " differ by more than " << TOLERANCE << ")";
}

// How many different sample values a render holds: a guard against patches that render silence
// or a constant, which would make a comparison say little
size_t distinct_values(const std::vector<int16_t> &samples)
{
    return std::set<int16_t>(samples.begin(), samples.end()).size();
}

}  // namespace

// --- units alone ---

TEST(SynthReference, ConstantStagesMatchTheReference)
{
    TWIN &t = twin_init(1.0f, 3);
    twin_const(t, 0, 0.25f);
    twin_const(t, 1, 0.25f);
    twin_const(t, 2, -0.9f);  // not mixed: no effect on the output
    twin_mix(t, 0);
    twin_mix(t, 1);
    ASSERT_TRUE(renders_match(t, 5000));
    // A mix of 0.5 is floor(32767 * 0.5)
    EXPECT_EQ(t.samples.front(), 16383);
    EXPECT_EQ(distinct_values(t.samples), 1u);

    TWIN &u = twin_init(1.0f, 1);
    twin_const(u, 0, -0.5f);
    twin_mix(u, 0);
    ASSERT_TRUE(renders_match(u, 5000));
    EXPECT_EQ(u.samples.back(), -16384);
}

TEST(SynthReference, ProductOfTwoStagesMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_sine(t, 0, 440.0f);
    twin_triangle(t, 1, 3.0f);
    twin_mul(t, 2, 0, 1);
    twin_mul(t, 3, 0, -1);  // an unconnected operand makes the product 0
    twin_mix(t, 2);
    twin_mix(t, 3);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, SumOfTwoStagesMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_sine(t, 0, 300.0f);
    twin_amp(t, 0, 0.4f);
    twin_pulse(t, 1, 110.0f);
    twin_amp(t, 1, 0.3f);
    twin_add(t, 2, 0, 1);
    twin_add(t, 3, -1, 0);  // an unconnected operand makes the sum 0
    twin_mix(t, 2);
    twin_mix(t, 3);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, EnvelopeHeldInSustainThenReleasedMidWayMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 3);
    twin_sine(t, 0, 440.0f);
    twin_adsr(t, 1, 20.0f, 30.0f, 0.6f, 50.0f);  // shapes the sine
    twin_adsr_in(t, 1, 0);
    twin_adsr(t, 2, 5.0f, 10.0f, 0.3f, 40.0f);   // its own level, never held
    twin_mix(t, 1);
    twin_mix(t, 2);
    twin_reset_range(t, 0, 2);
    twin_hold(t, 1, 1);
    // Attack, decay and a long held sustain, while the second envelope runs to its end
    ASSERT_TRUE(renders_match(t, 5003));
    EXPECT_EQ(syn_stage(t.syn, 2)->type, -SYN_ADSR);
    EXPECT_EQ(syn_stage(t.syn, 1)->type, SYN_ADSR);
    twin_hold(t, 1, 0);
    // The release, then silence once the envelope has disabled itself
    ASSERT_TRUE(renders_match(t, 4000));
    EXPECT_EQ(syn_stage(t.syn, 1)->type, -SYN_ADSR);
    EXPECT_EQ(syn_stage(t.syn, 1)->end, 1);
    EXPECT_EQ(t.samples.back(), 0);
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, EnvelopesWithoutSustainWithZeroTimesOrNotResetMatchTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_adsr(t, 0, 15.0f, 25.0f, 0.0f, 30.0f);  // no sustain: ends after its decay
    twin_adsr(t, 1, 0.0f, 0.0f, 0.5f, 0.0f);     // every step one sample long
    twin_adsr(t, 2, 10.0f, 10.0f, 0.5f, 10.0f);  // never reset: ends on its first evaluation
    twin_sine(t, 3, 1000.0f);
    twin_adsr_in(t, 0, 3);                       // the sine of the previous sample
    for (int i = 0; i < 3; i++)
        twin_mix(t, i);
    twin_reset(t, 0);
    twin_reset(t, 1);
    twin_reset(t, 3);
    ASSERT_TRUE(renders_match(t, 6000));
    EXPECT_EQ(syn_stage(t.syn, 0)->type, -SYN_ADSR);
    EXPECT_EQ(syn_stage(t.syn, 2)->end, 1);
    EXPECT_GT(distinct_values(t.samples), 500u);
}

TEST(SynthReference, HighPassMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_pulse(t, 0, 200.0f);
    twin_amp(t, 0, 0.4f);
    twin_highpass(t, 1, 300.0f);
    twin_filt_in(t, 1, 0);
    twin_sine(t, 2, 150.0f);
    twin_amp(t, 2, 0.4f);
    twin_highpass(t, 3, 10.0f);
    twin_cutoff(t, 3, 1500.0f);
    twin_filt_in(t, 3, 2);
    twin_mix(t, 1);
    twin_mix(t, 3);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 500u);
}

TEST(SynthReference, ResonantLowPassMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_pulse(t, 0, 150.0f);
    twin_amp(t, 0, 0.3f);
    twin_lowpass(t, 1, 800.0f);
    twin_q(t, 1, 0.9f);
    twin_filt_in(t, 1, 0);
    twin_triangle(t, 2, 97.0f);
    twin_amp(t, 2, 0.3f);
    twin_lowpass(t, 3, 0.5f);  // below 1 Hz: computed as 1 Hz, then given its real cutoff
    twin_cutoff(t, 3, 2000.0f);
    twin_q(t, 3, 0.5f);
    twin_filt_in(t, 3, 2);
    twin_mix(t, 1);
    twin_mix(t, 3);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, NoiseMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 3);
    twin_noise(t, 0, 1000.0f);
    twin_amp(t, 0, 0.5f);
    twin_noise(t, 1, 5000.0f);
    twin_amp(t, 1, 0.3f);
    twin_off(t, 1, 0.1f);
    twin_noise(t, 2, 50.0f);  // not mixed, but it steps the shared generator
    twin_mix(t, 0);
    twin_mix(t, 1);
    twin_reset_range(t, 0, 2);
    ASSERT_TRUE(renders_match(t, 15000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, PulseMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_pulse(t, 0, 440.0f);
    twin_duty(t, 0, 0.3f);
    twin_amp(t, 0, 0.5f);
    twin_off(t, 0, 0.1f);
    twin_pulse(t, 1, 97.0f);
    twin_amp(t, 1, 0.3f);
    twin_pulse(t, 2, 1234.0f);
    twin_duty(t, 2, 2.0f);  // clamped to 1: always high
    twin_amp(t, 2, 0.05f);
    twin_pulse(t, 3, 0.0f);  // a tiny frequency: barely moves
    twin_amp(t, 3, 0.02f);
    for (int i = 0; i < 4; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GE(distinct_values(t.samples), 4u);
}

TEST(SynthReference, TriangleMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_triangle(t, 0, 220.0f);
    twin_amp(t, 0, 0.3f);
    twin_triangle(t, 1, 330.0f);
    twin_duty(t, 1, 0.2f);
    twin_amp(t, 1, 0.3f);
    twin_off(t, 1, -0.1f);
    twin_triangle(t, 2, 55.0f);
    twin_duty(t, 2, 0.0f);  // a rising saw
    twin_amp(t, 2, 0.15f);
    twin_triangle(t, 3, 75.0f);
    twin_duty(t, 3, 1.0f);  // a falling saw
    twin_amp(t, 3, 0.15f);
    for (int i = 0; i < 4; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, RampMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_ramp(t, 0, -0.5f, 0.4f, 200.0f);
    twin_ramp(t, 1, 0.5f, 0.1f, 100.0f);
    twin_ramp(t, 2, 0.0f, 0.2f, 0.0f);    // reaches its end in the first sample
    twin_ramp(t, 3, 0.3f, -0.5f, 150.0f); // an end at or below 0 becomes the smallest normal float
    for (int i = 0; i < 4; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 8000));
    for (int i = 0; i < 4; i++)
        EXPECT_EQ(syn_stage(t.syn, i)->end, 1) << "ramp " << i;
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, SineMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 3);
    twin_sine(t, 0, 440.0f);
    twin_amp(t, 0, 0.5f);
    twin_sine(t, 1, 1234.5f);
    twin_amp(t, 1, 0.3f);
    twin_off(t, 1, -0.1f);
    twin_sine(t, 2, 0.0f);  // a tiny frequency: stays at its offset
    twin_off(t, 2, 0.05f);
    for (int i = 0; i < 3; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 2);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

// --- units wired together ---

TEST(SynthReference, FrequencyInputsOfEveryOscillatorMatchTheReference)
{
    TWIN &t = twin_init(1.0f, 7);
    // A 5 Hz vibrato between 340 and 540 Hz, in cycles per sample
    twin_sine(t, 0, 5.0f);
    twin_amp(t, 0, freqval(t, 100.0f));
    twin_off(t, 0, freqval(t, 440.0f));
    twin_sine(t, 1, 1000.0f);
    twin_in_freq(t, 1, 0);
    twin_amp(t, 1, 0.2f);
    twin_pulse(t, 2, 1000.0f);
    twin_in_freq(t, 2, 0);
    twin_amp(t, 2, 0.15f);
    twin_triangle(t, 3, 1000.0f);
    twin_in_freq(t, 3, 0);
    twin_amp(t, 3, 0.2f);
    twin_noise(t, 4, 1000.0f);
    twin_in_freq(t, 4, 0);
    twin_amp(t, 4, 0.1f);
    // A sweep from 100 Hz to 2000 Hz driving a sine
    twin_ramp(t, 5, freqval(t, 100.0f), freqval(t, 2000.0f), 400.0f);
    twin_sine(t, 6, 1000.0f);
    twin_in_freq(t, 6, 5);
    twin_amp(t, 6, 0.2f);
    for (int i = 1; i <= 6; i++)
        if (i != 5)
            twin_mix(t, i);
    twin_reset_range(t, 0, 6);
    ASSERT_TRUE(renders_match(t, 15000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, AmplitudeAndOffsetInputsMatchTheReference)
{
    TWIN &t = twin_init(0.6f, 6);
    twin_sine(t, 0, 3.0f);  // a 0..1 tremolo
    twin_amp(t, 0, 0.5f);
    twin_off(t, 0, 0.5f);
    twin_sine(t, 1, 440.0f);
    twin_in_amp(t, 1, 0);
    twin_in_off(t, 1, 2);  // a later stage: its previous sample
    twin_triangle(t, 2, 2.0f);
    twin_amp(t, 2, 0.2f);
    twin_pulse(t, 3, 220.0f);
    twin_in_amp(t, 3, 2);
    twin_in_off(t, 3, 0);
    twin_noise(t, 4, 2000.0f);
    twin_in_amp(t, 4, 2);
    twin_triangle(t, 5, 330.0f);
    twin_in_amp(t, 5, 0);
    twin_in_off(t, 5, 2);
    for (int i : {1, 3, 4, 5})
        twin_mix(t, i);
    twin_reset_range(t, 0, 5);
    ASSERT_TRUE(renders_match(t, 15000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, DutyInputsOfPulseAndTriangleMatchTheReference)
{
    TWIN &t = twin_init(1.0f, 7);
    twin_triangle(t, 0, 1.5f);  // a slow duty sweep, 0.05..0.95
    twin_amp(t, 0, 0.45f);
    twin_off(t, 0, 0.5f);
    twin_pulse(t, 1, 330.0f);
    twin_in_duty(t, 1, 0);
    twin_amp(t, 1, 0.25f);
    twin_triangle(t, 2, 220.0f);
    twin_in_duty(t, 2, 0);
    twin_amp(t, 2, 0.25f);
    twin_ramp(t, 3, 0.9f, 0.1f, 300.0f);
    twin_pulse(t, 4, 150.0f);
    twin_in_duty(t, 4, 3);
    twin_amp(t, 4, 0.15f);
    twin_sine(t, 5, 2.0f);  // swings negative: the duty is its absolute value
    twin_amp(t, 5, 0.8f);
    twin_triangle(t, 6, 180.0f);
    twin_in_duty(t, 6, 5);
    twin_amp(t, 6, 0.15f);
    for (int i : {1, 2, 4, 6})
        twin_mix(t, i);
    twin_reset_range(t, 0, 6);
    ASSERT_TRUE(renders_match(t, 15000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, HardSyncToEarlierAndLaterOscillatorsMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 7);
    twin_pulse(t, 0, 110.0f);  // master
    twin_triangle(t, 1, 370.0f);
    twin_in_sync(t, 1, 0);
    twin_amp(t, 1, 0.25f);
    twin_sine(t, 2, 523.0f);
    twin_in_sync(t, 2, 0);
    twin_amp(t, 2, 0.25f);
    twin_pulse(t, 3, 700.0f);
    twin_in_sync(t, 3, 5);  // a later master: its flag from the previous sample
    twin_duty(t, 3, 0.3f);
    twin_amp(t, 3, 0.2f);
    twin_triangle(t, 4, 440.0f);
    twin_in_sync(t, 4, 6);  // synced to a sine
    twin_duty(t, 4, 0.7f);
    twin_amp(t, 4, 0.2f);
    twin_sine(t, 5, 90.0f);  // master
    twin_sine(t, 6, 130.0f);  // master
    for (int i = 1; i <= 4; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 6);
    ASSERT_TRUE(renders_match(t, 15000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, ResonantLowPassWithCutoffAndQInputsMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_pulse(t, 0, 120.0f);
    twin_amp(t, 0, 0.5f);
    twin_triangle(t, 1, 0.7f);  // coefficient 0.05..0.35
    twin_amp(t, 1, 0.15f);
    twin_off(t, 1, 0.2f);
    twin_sine(t, 2, 0.3f);  // resonance up to 0.9, read as its absolute value
    twin_amp(t, 2, 0.9f);
    twin_lowpass(t, 3, 500.0f);
    twin_filt_in(t, 3, 0);
    twin_filt_in_cutoff(t, 3, 1);
    twin_filt_in_q(t, 3, 2);
    twin_mix(t, 3);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 20000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, HighPassWithACutoffInputMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 4);
    twin_triangle(t, 0, 180.0f);
    twin_amp(t, 0, 0.6f);
    twin_ramp(t, 1, -0.99f, 0.5f, 500.0f);  // read as its absolute value
    twin_highpass(t, 2, 100.0f);
    twin_filt_in(t, 2, 0);
    twin_filt_in_cutoff(t, 2, 1);
    twin_highpass(t, 3, 100.0f);
    twin_filt_in(t, 3, 0);
    twin_filt_in_cutoff(t, 3, 3);  // its own previous output as coefficient
    twin_mix(t, 2);
    twin_mix(t, 3);
    twin_reset_range(t, 0, 3);
    ASSERT_TRUE(renders_match(t, 15000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, FeedbackThroughLaterStagesAndThroughItselfMatchesTheReference)
{
    TWIN &t = twin_init(1.0f, 11);
    // A sine whose amplitude comes from a later triangle, scaled by a later constant (0 in the
    // first sample, before that constant is first evaluated)
    twin_sine(t, 0, 200.0f);
    twin_in_amp(t, 0, 2);
    twin_mul(t, 1, 0, 7);
    twin_triangle(t, 2, 4.0f);
    twin_amp(t, 2, 0.5f);
    // A low-pass fed by a later pulse
    twin_lowpass(t, 3, 1500.0f);
    twin_q(t, 3, 0.3f);
    twin_filt_in(t, 3, 4);
    twin_pulse(t, 4, 300.0f);
    twin_amp(t, 4, 0.2f);
    // A sine modulating its own frequency (its output is in cycles per sample), scaled to be heard
    twin_sine(t, 5, 100.0f);
    twin_in_freq(t, 5, 5);
    twin_amp(t, 5, freqval(t, 300.0f));
    twin_off(t, 5, freqval(t, 600.0f));
    twin_mul(t, 6, 5, 9);
    twin_const(t, 7, 1.2f);
    // A sum feeding itself: a slow rise, mixed half-way, that ends in clipping
    twin_add(t, 8, 8, 10);
    twin_const(t, 9, 10.0f);
    twin_const(t, 10, 0.0001f);
    twin_mix(t, 1);
    twin_mix(t, 3);
    twin_mix(t, 6);
    twin_reset_range(t, 0, 10);
    ASSERT_TRUE(renders_match(t, 8000));
    twin_mix(t, 8);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_EQ(t.samples.back(), 32767);
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, MixSumBeyondFullScaleClipsLikeTheReference)
{
    TWIN &t = twin_init(1.0f, 3);
    twin_sine(t, 0, 200.0f);
    twin_amp(t, 0, 0.9f);
    twin_sine(t, 1, 310.0f);
    twin_amp(t, 1, 0.9f);
    twin_ramp(t, 2, -3.0f, 3.0f, 400.0f);  // sweeps the mix beyond both limits
    for (int i = 0; i < 3; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 2);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_EQ(*std::max_element(t.samples.begin(), t.samples.end()), 32767);
    EXPECT_EQ(*std::min_element(t.samples.begin(), t.samples.end()), -32767);
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, MasterVolumeBelowOneMatchesTheReference)
{
    TWIN &t = twin_init(0.37f, 3);
    twin_sine(t, 0, 261.6f);
    twin_amp(t, 0, 0.8f);
    twin_pulse(t, 1, 329.6f);
    twin_amp(t, 1, 0.5f);
    twin_triangle(t, 2, 392.0f);
    twin_amp(t, 2, 0.7f);
    for (int i = 0; i < 3; i++)
        twin_mix(t, i);
    twin_reset_range(t, 0, 2);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_LT(*std::max_element(t.samples.begin(), t.samples.end()), 32767);
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, StageDisabledMidRunStaysFrozenLikeTheReference)
{
    TWIN &t = twin_init(1.0f, 3);
    twin_sine(t, 0, 3.0f);  // tremolo for the pulse
    twin_amp(t, 0, 0.5f);
    twin_pulse(t, 1, 220.0f);
    twin_in_amp(t, 1, 0);
    twin_sine(t, 2, 330.0f);
    twin_amp(t, 2, 0.3f);
    twin_mix(t, 1);
    twin_mix(t, 2);
    twin_reset_range(t, 0, 2);
    ASSERT_TRUE(renders_match(t, 3001));
    // The tremolo stops where it is: the pulse keeps reading its frozen value
    twin_enable(t, 0, 0);
    float frozen = syn_stage(t.syn, 0)->out;
    ASSERT_TRUE(renders_match(t, 4000));
    EXPECT_EQ(syn_stage(t.syn, 0)->out, frozen);
    // A mixed stage that is disabled drops out of the mix
    twin_enable(t, 2, 0);
    ASSERT_TRUE(renders_match(t, 2000));
    // Enabled again, both carry on from where they stopped
    twin_enable(t, 0, 1);
    twin_enable(t, 2, 1);
    ASSERT_TRUE(renders_match(t, 4000));
    EXPECT_GT(distinct_values(t.samples), 1000u);
}

TEST(SynthReference, OversampledPulseAndTriangleMatchTheReference)
{
    TWIN &t = twin_init(1.0f, 5);
    // Both records take four sub-steps per sample before any unit is built
    t.syn->oversample = 4;
    t.ref.oversample = 4;
    twin_pulse(t, 0, 1000.0f);
    twin_amp(t, 0, 0.3f);
    twin_triangle(t, 1, 0.9f);  // duty sweep
    twin_amp(t, 1, 0.4f);
    twin_off(t, 1, 0.5f);
    twin_triangle(t, 2, 700.0f);
    twin_in_duty(t, 2, 1);
    twin_amp(t, 2, 0.3f);
    twin_sine(t, 3, 4.0f);  // frequency input, in cycles per sample
    twin_amp(t, 3, freqval(t, 200.0f));
    twin_off(t, 3, freqval(t, 900.0f));
    twin_pulse(t, 4, 1.0f);
    twin_in_freq(t, 4, 3);
    twin_in_sync(t, 4, 0);
    twin_amp(t, 4, 0.2f);
    for (int i : {0, 2, 4})
        twin_mix(t, i);
    twin_reset_range(t, 0, 4);
    ASSERT_TRUE(renders_match(t, 12000));
    EXPECT_GT(distinct_values(t.samples), 100u);
}

// --- random patches ---

namespace {

constexpr int RANDOM_PATCHES = 200;       // patches generated
constexpr int RANDOM_SAMPLES = 2000;      // samples compared per patch
constexpr unsigned RANDOM_SEED = 20240611u;  // fixed, so every run checks the same patches

// Draws for the random patches
struct DRAW {
    std::mt19937 rng;  // the generator

    // A float in lo..hi
    float real(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(rng); }
    // An int in lo..hi inclusive
    int whole(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }
    // True with probability p
    bool chance(double p) { return std::bernoulli_distribution(p)(rng); }
    // A source stage (any of the patch, earlier, itself or later) with probability p, else -1
    int source(int stages, double p) { return chance(p) ? whole(0, stages - 1) : -1; }
};

// Build one random stage on both records; describe it in `text`
void random_stage(TWIN &t, DRAW &draw, int i, int stages, std::ostringstream &text)
{
    static const char UNITS[] = "#*+AHLNPRST";
    char unit = UNITS[draw.whole(0, 10)];
    text << "  " << i << " '" << unit << "'";
    switch (unit) {
    case '#': {
        float n = draw.real(-1.0f, 1.0f);
        twin_const(t, i, n);
        text << " n " << n;
        break;
    }
    case '*':
    case '+': {
        int a = draw.source(stages, 0.85);
        int b = draw.source(stages, 0.85);
        if (unit == '*')
            twin_mul(t, i, a, b);
        else
            twin_add(t, i, a, b);
        text << " a " << a << " b " << b;
        break;
    }
    case 'A': {
        float a = draw.real(0.0f, 40.0f), d = draw.real(0.0f, 40.0f);
        float s = draw.real(-0.2f, 1.0f), r = draw.real(0.0f, 40.0f);
        twin_adsr(t, i, a, d, s, r);
        int in = draw.source(stages, 0.6);
        twin_adsr_in(t, i, in);
        text << " a " << a << " d " << d << " s " << s << " r " << r << " in " << in;
        break;
    }
    case 'H':
    case 'L': {
        float freq = draw.real(0.0f, 8000.0f);
        if (unit == 'H')
            twin_highpass(t, i, freq);
        else
            twin_lowpass(t, i, freq);
        float q = draw.real(0.0f, 0.95f);
        twin_q(t, i, q);
        int in = draw.source(stages, 0.9), cutoff = draw.source(stages, 0.3), qin = draw.source(stages, 0.3);
        twin_filt_in(t, i, in);
        twin_filt_in_cutoff(t, i, cutoff);
        twin_filt_in_q(t, i, qin);
        text << " freq " << freq << " q " << q << " in " << in << " cutoff " << cutoff << " q-in " << qin;
        break;
    }
    case 'R': {
        float start = draw.real(-1.0f, 1.0f), end = draw.real(-1.0f, 1.0f), ms = draw.real(0.0f, 100.0f);
        twin_ramp(t, i, start, end, ms);
        text << " start " << start << " end " << end << " ms " << ms;
        break;
    }
    default: {
        // The oscillators: N, P, S, T
        float freq = draw.chance(0.05) ? 0.0f : draw.real(1.0f, 3000.0f);
        if (unit == 'N')
            twin_noise(t, i, freq);
        else if (unit == 'P')
            twin_pulse(t, i, freq);
        else if (unit == 'S')
            twin_sine(t, i, freq);
        else
            twin_triangle(t, i, freq);
        float amp = draw.real(-1.0f, 1.0f), off = draw.real(-0.5f, 0.5f);
        twin_amp(t, i, amp);
        twin_off(t, i, off);
        text << " freq " << freq << " amp " << amp << " off " << off;
        if (draw.chance(0.5)) {
            float duty = draw.real(-0.1f, 1.1f);
            twin_duty(t, i, duty);
            text << " duty " << duty;
        }
        int amp_in = draw.source(stages, 0.25), off_in = draw.source(stages, 0.25);
        int sync_in = draw.source(stages, 0.25), freq_in = draw.source(stages, 0.25);
        int duty_in = draw.source(stages, 0.25);
        twin_in_amp(t, i, amp_in);
        twin_in_off(t, i, off_in);
        twin_in_sync(t, i, sync_in);
        twin_in_freq(t, i, freq_in);
        twin_in_duty(t, i, duty_in);
        text << " in amp " << amp_in << " off " << off_in << " sync " << sync_in << " freq " << freq_in
             << " duty " << duty_in;
        break;
    }
    }
}

}  // namespace

TEST(SynthReference, RandomSmallPatchesMatchTheReference)
{
    DRAW draw{std::mt19937(RANDOM_SEED)};
    int sounding = 0;
    for (int patch = 0; patch < RANDOM_PATCHES; patch++) {
        int stages = draw.whole(3, 10);
        TWIN &t = twin_init(draw.real(0.3f, 1.0f), static_cast<unsigned>(stages));
        std::ostringstream text;
        text << "patch " << patch << ", " << stages << " stages:\n";
        for (int i = 0; i < stages; i++) {
            random_stage(t, draw, i, stages, text);
            if (draw.chance(0.5)) {
                twin_mix(t, i);
                text << " mixed";
            }
            text << "\n";
        }
        twin_mix(t, draw.whole(0, stages - 1));
        for (int i = 0; i < stages; i++) {
            if (draw.chance(0.9)) {
                twin_reset(t, i);
                if (draw.chance(0.3))
                    twin_hold(t, i, 1);
            }
        }
        ASSERT_TRUE(renders_match(t, RANDOM_SAMPLES)) << text.str();
        if (distinct_values(t.samples) > 10)
            sounding++;
    }
    // Most patches make a changing sound, so the comparisons are not of silence
    EXPECT_GT(sounding, RANDOM_PATCHES / 2);
}
