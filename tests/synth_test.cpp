// Tests of the synthesiser's engine and units: the render loop and its conversion, the order of
// stage evaluation, stage management and relocation, index refusals, the beat callback, and
// each unit's constructor, setters and per-sample rule, with the exact numbers the engine's
// arithmetic gives at 22050 Hz.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "capture.h"
#include "synth.h"

namespace {

constexpr int RATE = 22050;

// A fresh synthesiser of `stages` stages at 22050 Hz, full volume (its log line swallowed)
SYN *fresh(unsigned stages = 16)
{
    static SYN syn;
    capture_stdout([&] { syn_init(&syn, RATE, 1.0f, stages); });
    return &syn;
}

// Render `count` samples as signed values
std::vector<int16_t> render(SYN *syn, unsigned count)
{
    std::vector<SAMPLETYPE> raw(count);
    syn_update(syn, raw.data(), count);
    return std::vector<int16_t>(raw.begin(), raw.end());
}

// One sample as a signed value
int16_t render1(SYN *syn)
{
    return render(syn, 1)[0];
}

// A constant stage, mixed or not
void constant(SYN *syn, unsigned i, float n, bool mixed)
{
    syn_math_val(syn, i, n);
    syn_mix(syn, i, mixed ? 1 : 0);
}

// The index of the first sample at or after `from` in which stage i's envelope step differs from
// `step`, rendering sample by sample; -1 after `limit` samples
int samples_in_step(SYN *syn, unsigned i, char step, int limit = 100000)
{
    for (int n = 0; n < limit; n++) {
        if (syn->stage[i].adsr.step != step)
            return n;
        render1(syn);
    }
    return -1;
}

//----------------------------------------------------------------------------------
// Engine
//----------------------------------------------------------------------------------
TEST(Synth, InitZeroesTheRecordClampsVolumeAndStagesAndLogsTheRate)
{
    static SYN syn;
    syn.stage[3].type = SYN_SINE;
    syn.randnum = 99;
    std::string out = capture_stdout([] { syn_init(&syn, 44100, 1.5f, 300); });
    EXPECT_EQ(log_messages(out), std::vector<std::string>{"syn_init sample rate 44100"});
    EXPECT_EQ(syn.sample_rate, 44100u);
    EXPECT_EQ(syn.oversample, 1u);
    EXPECT_EQ(syn.q_alpha, 1.0f);
    EXPECT_EQ(syn.vol, 1.0f);
    EXPECT_EQ(syn.stages, 256u);
    EXPECT_EQ(syn.adjusted_rate, 44100.0f);
    EXPECT_EQ(syn.randnum, 0);
    EXPECT_EQ(syn.stage[3].type, 0);
    capture_stdout([] { syn_init(&syn, 22050, -0.5f, 12); });
    EXPECT_EQ(syn.vol, 0.0f);
    EXPECT_EQ(syn.stages, 12u);
    syn_vol(&syn, 0.25f);
    EXPECT_EQ(syn.vol, 0.25f);
    syn_vol(&syn, 7.0f);
    EXPECT_EQ(syn.vol, 1.0f);
}

TEST(Synth, APatchWithNoMixedStageRendersSilenceWhileItsStagesRun)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 1000.0f);
    syn_reset(syn, 0);
    constant(syn, 1, 0.75f, false);
    std::vector<int16_t> out = render(syn, 500);
    for (int16_t s : out)
        ASSERT_EQ(s, 0);
    EXPECT_NE(syn->stage[0].osc.phase, 0.0f) << "the sine ran";
    EXPECT_EQ(syn->stage[1].out, 0.75f);
}

TEST(Synth, MixSumsConvertToFloorOf32767TimesXWithASymmetricClip)
{
    SYN *syn = fresh(1);
    const struct {
        float sum;
        int16_t sample;
    } cases[] = {
        {1.0f, 32767}, {-1.0f, -32767}, {1.5f, 32767}, {-3.0f, -32767}, {0.5f, 16383},
        {-0.5f, -16384}, {0.0f, 0}, {1e-6f, 0}, {-1e-6f, -1},
    };
    for (const auto &c : cases) {
        constant(syn, 0, c.sum, true);
        EXPECT_EQ(render1(syn), c.sample) << "sum " << c.sum;
    }
}

TEST(Synth, TheSumIsScaledByTheMasterVolumeBeforeTheClip)
{
    SYN *syn = fresh(2);
    constant(syn, 0, 1.0f, true);
    constant(syn, 1, 0.5f, true);
    EXPECT_EQ(render1(syn), 32767) << "1.5 clips";
    syn_vol(syn, 0.5f);
    EXPECT_EQ(render1(syn), 24575) << "0.75";
}

TEST(Synth, NotANumberInTheMixIsWrittenAsSilence)
{
    SYN *syn = fresh(1);
    constant(syn, 0, std::nanf(""), true);
    EXPECT_EQ(render1(syn), 0);
}

TEST(Synth, NoStagesRenderZeros)
{
    SYN *syn = fresh(0);
    constant(syn, 0, 0.5f, true);
    std::vector<int16_t> out = render(syn, 64);
    for (int16_t s : out)
        ASSERT_EQ(s, 0);
}

TEST(Synth, ALaterStageIsReadWithOneSampleDelayAndAnEarlierOneAtOnce)
{
    SYN *syn = fresh(4);
    constant(syn, 3, 0.0f, false);
    syn_math_add(syn, 0, 1, 3);  // reads stage 1: later, so last sample's value
    constant(syn, 1, 0.0f, false);
    syn_math_add(syn, 2, 1, 3);  // reads stage 1: earlier, so this sample's value
    const float values[] = {0.25f, 0.5f, -0.125f, 1.0f};
    float previous = 0.0f;
    for (float v : values) {
        syn->stage[1].math.n = v;
        render1(syn);
        EXPECT_EQ(syn->stage[0].out, previous);
        EXPECT_EQ(syn->stage[2].out, v);
        previous = v;
    }
}

TEST(Synth, AStageReadingItselfSeesItsOwnPreviousOut)
{
    SYN *syn = fresh(2);
    syn_math_add(syn, 0, 0, 1);
    constant(syn, 1, 0.125f, false);
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 4);
    EXPECT_EQ(syn->stage[0].out, 0.375f);
    EXPECT_EQ(out, (std::vector<int16_t>{0, 4095, 8191, 12287}))
        << "stage 1 is read in the next sample, so the accumulator starts one step late";
}

TEST(Synth, ADisabledStageKeepsItsOutAndItsReadersSeeTheFrozenValue)
{
    SYN *syn = fresh(3);
    syn_osc_sine(syn, 0, 500.0f);
    syn_reset(syn, 0);
    constant(syn, 2, 1.0f, false);
    syn_math_mul(syn, 1, 0, 2);
    syn_mix(syn, 1, 1);
    render(syn, 17);
    syn_enable(syn, 0, 0);
    const float frozen = syn->stage[0].out;
    const float phase = syn->stage[0].osc.phase;
    EXPECT_NE(frozen, 0.0f);
    std::vector<int16_t> out = render(syn, 100);
    EXPECT_EQ(syn->stage[0].out, frozen);
    EXPECT_EQ(syn->stage[0].osc.phase, phase);
    EXPECT_EQ(syn->stage[1].out, frozen);
    for (int16_t s : out)
        ASSERT_EQ(s, out[0]);
    EXPECT_EQ(syn->stage[0].type, -SYN_SINE);
    syn_enable(syn, 0, 1);
    render1(syn);
    EXPECT_NE(syn->stage[0].out, frozen) << "enabled again, it runs on from where it stood";
}

TEST(Synth, EmptyAndUnknownStagesAreSkipped)
{
    SYN *syn = fresh(3);
    syn->stage[0].type = 'Z';
    syn->stage[0].mix = 1;
    syn->stage[0].out = 0.5f;
    syn->stage[1].mix = 1;
    syn->stage[1].out = 0.25f;
    constant(syn, 2, 0.125f, true);
    EXPECT_EQ(render1(syn), 4095);
}

TEST(Synth, CopyAddsTheDestinationBaseToConnectedInputsOnly)
{
    SYN *syn = fresh();
    static SYN other;
    capture_stdout([] { syn_init(&other, RATE, 1.0f, 256); });
    syn_osc_sine(syn, 0, 440.0f);
    syn_osc_triangle(syn, 1, 220.0f);
    syn_osc_in_freq(syn, 1, 2);
    syn_osc_in_amp(syn, 1, 0);
    syn_math_val(syn, 2, 0.01f);
    EXPECT_EQ(syn_copy(syn, 0, &other, 40, 3), 0);
    EXPECT_EQ(other.stage[41].osc_in.freq, 42);
    EXPECT_EQ(other.stage[41].osc_in.amp, 40);
    EXPECT_EQ(other.stage[41].osc_in.off, -1);
    EXPECT_EQ(other.stage[41].osc_in.sync, -1);
    EXPECT_EQ(other.stage[41].osc_in.duty, -1);
    EXPECT_EQ(other.stage[41].type, SYN_TRIANGLE);
    EXPECT_EQ(other.stage[41].osc.freq, 220.0f);
    EXPECT_EQ(other.stage[42].math.n, 0.01f);
    EXPECT_EQ(syn->stage[1].osc_in.freq, 2) << "the source is unchanged";
}

TEST(Synth, CopyRefusesBlocksPastTheTableAndNullRecords)
{
    SYN *syn = fresh();
    EXPECT_EQ(syn_copy(syn, 250, syn, 0, 7), -1);
    EXPECT_EQ(syn_copy(syn, 0, syn, 250, 7), -2);
    EXPECT_EQ(syn_copy(nullptr, 0, syn, 0, 1), -3);
    EXPECT_EQ(syn_copy(syn, 0, nullptr, 0, 1), -3);
    EXPECT_EQ(syn_copy(syn, 0xFFFFFFFFu, syn, 0, 2), -1) << "no wrap-around in the bound";
    EXPECT_EQ(syn_copy(syn, 0, syn, 0, 0), 0);
    EXPECT_EQ(syn_copy(syn, 250, syn, 0, 6), 0) << "up to the last stage";
}

TEST(Synth, CopyWithinOneRecordMayOverlap)
{
    SYN *syn = fresh();
    for (unsigned i = 0; i < 4; i++)
        syn_math_val(syn, i, static_cast<float>(i));
    EXPECT_EQ(syn_copy(syn, 0, syn, 2, 4), 0);
    for (unsigned i = 0; i < 4; i++)
        EXPECT_EQ(syn->stage[2 + i].math.n, static_cast<float>(i));
}

TEST(Synth, BeatCallbackRunsAfterSampleOneAndThenEvery11025SamplesAtTwoBeatsASecond)
{
    SYN *syn = fresh(1);
    static std::vector<int> calls;
    static int sample = 0;
    calls.clear();
    sample = 0;
    std::string out = capture_stdout([&] {
        EXPECT_EQ(syn_set_beat_callback(syn, [](SYN *) { calls.push_back(sample); }, 2.0f), 1);
    });
    EXPECT_EQ(out, "tempo_samples_per_beat 11025 (2.000000 bps)\n") << "no log prefix";
    EXPECT_EQ(syn->tempo_samples_per_beat, 11025u);
    for (sample = 1; sample <= 33076; sample++)
        render1(syn);
    EXPECT_EQ(calls, (std::vector<int>{1, 11026, 22051, 33076}));
    EXPECT_EQ(syn_set_beat_callback(syn, nullptr, 2.0f), 1);
    EXPECT_EQ(syn->tempo_callback, nullptr);
    EXPECT_EQ(syn->tempo_samples_per_beat, 0u);
    EXPECT_EQ(syn->tempo_counter, 0);
    syn_set_beat_callback(syn, [](SYN *) {}, 1.0f);
    EXPECT_EQ(syn_set_beat_callback(syn, [](SYN *) {}, 0.0f), 1);
    EXPECT_EQ(syn->tempo_callback, nullptr) << "a rate of 0 removes the callback";
}

TEST(Synth, ABeatCallbackMayReconfigureStagesFromTheNextSample)
{
    SYN *syn = fresh(1);
    constant(syn, 0, 0.0f, true);
    capture_stdout([&] {
        syn_set_beat_callback(syn, [](SYN *s) { s->stage[0].math.n = 0.5f; }, 22050.0f / 3.0f);
    });
    EXPECT_EQ(render(syn, 3), (std::vector<int16_t>{0, 16383, 16383}));
}

TEST(Synth, FindLastUsedIsMinusOneOnAFreshRecordAndSkipsDisabledStages)
{
    SYN *syn = fresh();
    EXPECT_EQ(syn_find_last_used(syn), -1);
    syn_math_val(syn, 7, 1.0f);
    syn_math_val(syn, 200, 1.0f);
    EXPECT_EQ(syn_find_last_used(syn), 200);
    syn_enable(syn, 200, 0);
    EXPECT_EQ(syn_find_last_used(syn), 7);
    syn_math_val(syn, 256, 1.0f);
    EXPECT_EQ(syn_find_last_used(syn), 7) << "the search starts at 255";
}

TEST(Synth, IndicesAboveTwoHundredFiftySixAreRefusedAndTwoHundredFiftySixPasses)
{
    SYN *syn = fresh();
    EXPECT_EQ(syn_stage(syn, 257), nullptr);
    EXPECT_EQ(syn_stage(syn, 256), &syn->stage[256]);
    EXPECT_EQ(syn_stage(syn, static_cast<unsigned>(-1)), nullptr) << "a negative index from a caller";
    EXPECT_EQ(syn_reset(syn, 257), -1);
    EXPECT_EQ(syn_enable(syn, 257, 1), -1);
    EXPECT_EQ(syn_mix(syn, 257, 1), -1);
    EXPECT_EQ(syn_osc_sine(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_osc_noise(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_osc_pulse(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_osc_triangle(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_filt_lowpass(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_filt_highpass(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_adsr(syn, 257, 1, 1, 1, 1), -1);
    EXPECT_EQ(syn_ramp(syn, 257, 0, 1, 1), -1);
    EXPECT_EQ(syn_ramp_freq(syn, 257, 0, 1, 1), -1);
    EXPECT_EQ(syn_math_val(syn, 257, 1), -1);
    EXPECT_EQ(syn_math_mul(syn, 257, 0, 0), -1);
    EXPECT_EQ(syn_math_mul(syn, 0, 257, 0), -2);
    EXPECT_EQ(syn_math_mul(syn, 0, 0, 257), -3);
    EXPECT_EQ(syn_math_add(syn, 0, 257, 0), -2);
    EXPECT_EQ(syn_math_add(syn, 0, 0, 257), -3);
    EXPECT_EQ(syn_osc_freq(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_osc_amp(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_osc_off(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_osc_duty(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_filt_cutoff(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_filt_q(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_adsr_attack(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_adsr_decay(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_adsr_sustain(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_adsr_release(syn, 257, 1.0f), -1);
    EXPECT_EQ(syn_adsr_hold(syn, 257, 1), -1);
    EXPECT_EQ(syn_adsr_get_step(syn, 257), 255);
    EXPECT_EQ(syn_adsr_get_sustain(syn, 257), -1.0f);
    int (*const connections[])(SYN *, unsigned, int) = {
        syn_osc_in_amp, syn_osc_in_off, syn_osc_in_sync, syn_osc_in_freq, syn_osc_in_duty,
        syn_filt_in, syn_filt_in_cutoff, syn_filt_in_q, syn_adsr_in,
    };
    for (auto connection : connections) {
        EXPECT_EQ(connection(syn, 257, 0), -1);
        EXPECT_EQ(connection(syn, 0, 257), -2);
        EXPECT_EQ(connection(syn, 256, 256), 0);
    }
    EXPECT_EQ(syn_reset(syn, 256), 0);
    EXPECT_EQ(syn_math_val(syn, 256, 1.0f), 0);
    syn_enable_range(syn, 250, 0xFFFFFFFFu, 0);
    EXPECT_EQ(syn->stage[256].type, -SYN_CONST) << "the range stops at 256";
}

TEST(Synth, InputSlotsWriteTheirOwnPlaceInTheUnion)
{
    SYN *syn = fresh();
    syn_osc_in_amp(syn, 0, 10);
    syn_osc_in_off(syn, 0, 11);
    syn_osc_in_sync(syn, 0, 12);
    syn_osc_in_freq(syn, 0, 13);
    syn_osc_in_duty(syn, 0, 14);
    EXPECT_EQ(syn->stage[0].in.signal[0], 10);
    EXPECT_EQ(syn->stage[0].in.signal[4], 14);
    syn_filt_in(syn, 1, 20);
    syn_filt_in_cutoff(syn, 1, 21);
    syn_filt_in_q(syn, 1, 22);
    EXPECT_EQ(syn->stage[1].filt_in.signal, 20);
    EXPECT_EQ(syn->stage[1].filt_in.cutoff, 21);
    EXPECT_EQ(syn->stage[1].filt_in.q, 22);
    syn_adsr_in(syn, 2, -1);
    EXPECT_EQ(syn->stage[2].adsr_in.signal, -1);
}

TEST(Synth, EnableRangeCoversBothEndsAndNothingWhenFirstIsAboveLast)
{
    SYN *syn = fresh();
    for (unsigned i = 0; i < 10; i++)
        syn_math_val(syn, i, 1.0f);
    syn_enable_range(syn, 2, 5, 0);
    for (unsigned i = 0; i < 10; i++)
        EXPECT_EQ(syn->stage[i].type, (i >= 2 && i <= 5) ? -SYN_CONST : SYN_CONST) << i;
    syn_enable_range(syn, 5, 2, 1);
    EXPECT_EQ(syn->stage[3].type, -SYN_CONST);
    syn_enable_range(syn, 3, 3, 1);
    EXPECT_EQ(syn->stage[3].type, SYN_CONST);
    syn_enable(syn, 3, 1);
    EXPECT_EQ(syn->stage[3].type, SYN_CONST) << "enabling is idempotent";
}

TEST(Synth, CheckActiveLooksForAnEnabledUnfinishedMixedStage)
{
    SYN *syn = fresh();
    constant(syn, 4, 1.0f, false);
    EXPECT_EQ(syn_check_active(syn, 0, 8), 0) << "not mixed";
    syn_mix(syn, 4, 1);
    EXPECT_EQ(syn_check_active(syn, 0, 8), -1);
    EXPECT_EQ(syn_check_active(syn, 0, 4), 0) << "outside the block";
    EXPECT_EQ(syn_check_active(syn, 0, 0), 0);
    EXPECT_EQ(syn_check_active(syn, 250, 7), 0) << "past the table";
    syn->stage[4].end = 1;
    EXPECT_EQ(syn_check_active(syn, 0, 8), 0);
    syn->stage[4].end = 0;
    syn_enable(syn, 4, 0);
    EXPECT_EQ(syn_check_active(syn, 0, 8), 0);
}

TEST(Synth, DisableInactiveSwitchesOffOnlyABlockThatNoLongerSounds)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 100.0f);
    syn_adsr(syn, 1, 1, 1, 0, 0);
    syn_mix(syn, 1, 1);
    EXPECT_EQ(syn_disable_inactive(syn, 0, 4), 0) << "the mixed envelope is enabled";
    EXPECT_EQ(syn->stage[0].type, SYN_SINE);
    syn_enable(syn, 1, 0);
    EXPECT_EQ(syn_disable_inactive(syn, 0, 4), 0) << "disabled but not ended still counts";
    syn->stage[1].end = 1;
    EXPECT_EQ(syn_disable_inactive(syn, 0, 4), -2) << "the sine was enabled";
    EXPECT_EQ(syn->stage[0].type, -SYN_SINE);
    EXPECT_EQ(syn_disable_inactive(syn, 0, 4), -1) << "nothing was enabled any more";
    EXPECT_EQ(syn_disable_inactive(syn, 0, 0), -1);
    EXPECT_EQ(syn_disable_inactive(syn, 255, 2), 0);
}

TEST(Synth, FreqvalIsCyclesPerSample)
{
    SYN *syn = fresh();
    EXPECT_DOUBLE_EQ(syn_freqval(syn, 2205.0f), 0.1);
    EXPECT_DOUBLE_EQ(syn_freqval(syn, 0.0f), 0.0);
}

// A patch that feeds forward (every input from a lower stage) with one of every unit, a noise
// unit and an envelope that ends in the middle of a block
void feed_forward_patch(SYN *syn)
{
    syn_ramp_freq(syn, 0, 100.0f, 3000.0f, 30.0f);
    syn_osc_triangle(syn, 1, 200.0f);
    syn_osc_in_freq(syn, 1, 0);
    syn_osc_pulse(syn, 2, 330.0f);
    syn_osc_in_duty(syn, 2, 1);
    syn_osc_in_sync(syn, 2, 1);
    syn_osc_sine(syn, 3, 440.0f);
    syn_osc_in_amp(syn, 3, 2);
    syn_osc_noise(syn, 4, 5000.0f);
    syn_osc_in_off(syn, 4, 3);
    syn_math_mul(syn, 5, 3, 4);
    syn_math_add(syn, 6, 5, 1);
    syn_filt_lowpass(syn, 7, 1500.0f);
    syn_filt_in(syn, 7, 6);
    syn_filt_in_q(syn, 7, 2);
    syn_filt_highpass(syn, 8, 200.0f);
    syn_filt_in(syn, 8, 7);
    syn_filt_in_cutoff(syn, 8, 0);
    syn_math_val(syn, 9, 0.25f);
    syn_adsr(syn, 10, 1.0f, 3.0f, 0.3f, 5.0f);
    syn_adsr_in(syn, 10, 8);
    syn_mix(syn, 10, 1);
    syn_reset(syn, 10);
    syn_mix(syn, 9, 1);
    syn_enable(syn, 9, 0);  // a disabled stage in the middle: skipped, its out frozen
    syn_mix(syn, 1, 1);
}

TEST(Synth, AFeedForwardPatchRendersTheSameStageByStageAsSampleBySample)
{
    static SYN plain, timed;
    capture_stdout([] {
        syn_init(&plain, RATE, 0.5f, 11);
        syn_init(&timed, RATE, 0.5f, 11);
    });
    feed_forward_patch(&plain);
    feed_forward_patch(&timed);
    // a beat callback, which never comes in this test, keeps the second one sample by sample
    capture_stdout([] { syn_set_beat_callback(&timed, [](SYN *) {}, 1e-6f); });
    std::vector<int16_t> a, b;
    for (unsigned block : {1u, 63u, 64u, 65u, 200u, 512u, 1000u, 3u}) {
        std::vector<int16_t> x = render(&plain, block), y = render(&timed, block);
        a.insert(a.end(), x.begin(), x.end());
        b.insert(b.end(), y.begin(), y.end());
    }
    EXPECT_EQ(a, b);
    EXPECT_EQ(plain.stage[10].type, -SYN_ADSR) << "the envelope ended on the way";
    EXPECT_EQ(plain.randnum, timed.randnum);
    for (unsigned s = 0; s < 11; s++) {
        EXPECT_EQ(plain.stage[s].out, timed.stage[s].out) << s;
        EXPECT_EQ(plain.stage[s].type, timed.stage[s].type) << s;
        EXPECT_EQ(plain.stage[s].reset, timed.stage[s].reset) << s;
        EXPECT_EQ(plain.stage[s].osc.phase, timed.stage[s].osc.phase) << s;
    }
    int loud = 0;
    for (int16_t v : a)
        loud += v != 0;
    EXPECT_GT(loud, 1000);
}

//----------------------------------------------------------------------------------
// Restart
//----------------------------------------------------------------------------------
TEST(Synth, ResetRestartsEachUnitAndEnablesItWithHoldCleared)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, 1, 1, 0.5f, 1);
    syn->stage[0].adsr.level = 0.7f;
    syn->stage[0].hold = 1;
    syn->stage[0].end = 1;
    syn_enable(syn, 0, 0);
    EXPECT_EQ(syn_reset(syn, 0), 0);
    EXPECT_EQ(syn->stage[0].type, SYN_ADSR);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_ATTACK);
    EXPECT_EQ(syn->stage[0].adsr.level, 0.0f);
    EXPECT_EQ(syn->stage[0].hold, 0);
    EXPECT_EQ(syn->stage[0].end, 0);
    EXPECT_EQ(syn->stage[0].reset, 1);

    syn->randnum = 12345;
    syn_osc_noise(syn, 1, 2205.0f);
    syn->stage[1].osc.phase = 0.5f;
    syn_reset(syn, 1);
    EXPECT_EQ(syn->stage[1].osc.phase, 0.0f);
    EXPECT_FLOAT_EQ(syn->stage[1].out, 12345.0f / 32767.0f - 1.0f);
    EXPECT_EQ(syn->stage[1].osc.randval, syn->stage[1].out);
    EXPECT_FLOAT_EQ(syn->stage[1].osc.phasestep, 0.8f);
    EXPECT_EQ(syn->randnum, 12345) << "the generator is not stepped";

    syn_osc_pulse(syn, 2, 2205.0f);
    syn->stage[2].osc.phase = 0.3f;
    syn_reset(syn, 2);
    EXPECT_EQ(syn->stage[2].osc.phase, 0.0f);
    EXPECT_EQ(syn->stage[2].out, 1.0f);

    syn_ramp(syn, 3, 0.25f, 0.75f, 10.0f);
    syn->stage[3].out = 0.6f;
    syn_reset(syn, 3);
    EXPECT_EQ(syn->stage[3].out, 0.25f);

    syn_osc_sine(syn, 4, 2205.0f);
    syn->stage[4].osc.phase = 0.3f;
    syn->stage[4].out = 0.3f;
    syn_reset(syn, 4);
    EXPECT_EQ(syn->stage[4].osc.phase, 0.0f);
    EXPECT_EQ(syn->stage[4].out, 0.0f);

    syn_osc_triangle(syn, 5, 2205.0f);
    syn_osc_duty(syn, 5, 0.2f);
    syn_reset(syn, 5);
    EXPECT_FLOAT_EQ(syn->stage[5].osc.phase, 0.9f);
    EXPECT_EQ(syn->stage[5].out, 0.0f);

    syn_math_val(syn, 6, 0.5f);
    syn->stage[6].out = 0.25f;
    syn_enable(syn, 6, 0);
    syn_reset(syn, 6);
    EXPECT_EQ(syn->stage[6].type, SYN_CONST);
    EXPECT_EQ(syn->stage[6].out, 0.25f) << "no state to restart";
}

//----------------------------------------------------------------------------------
// Units
//----------------------------------------------------------------------------------
TEST(SynthUnits, ASineAtFrequencyZeroStoresATinyFrequencyAndBarelyMoves)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 0.0f);
    EXPECT_GT(syn->stage[0].osc.freq, 0.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].osc.freq, 22050.0f * FLT_MIN);
    syn_osc_sine(syn, 1, -5.0f);
    EXPECT_FLOAT_EQ(syn->stage[1].osc.freq, 22050.0f * FLT_MIN);
    syn_reset(syn, 0);
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 22050);
    for (int16_t s : out)
        ASSERT_EQ(s, 0);
    EXPECT_LT(syn->stage[0].osc.phase, 1e-30f);
}

TEST(SynthUnits, TheSineConstructorSetsItsFieldsAndLeavesTheDuty)
{
    SYN *syn = fresh();
    syn->stage[0].osc.duty = 0.3f;
    syn->stage[0].mix = 1;
    syn->stage[0].reset = 1;
    syn_osc_sine(syn, 0, 441.0f);
    const SYNFUNC &f = syn->stage[0];
    EXPECT_EQ(f.type, SYN_SINE);
    EXPECT_EQ(f.mix, 0);
    EXPECT_EQ(f.reset, 0);
    EXPECT_EQ(f.osc.amp, 1.0f);
    EXPECT_EQ(f.osc.off, 0.0f);
    EXPECT_EQ(f.osc.period, 1.0f);
    EXPECT_EQ(f.osc.phase, 0.0f);
    EXPECT_FLOAT_EQ(f.osc.phasestep, 0.02f);
    EXPECT_EQ(f.osc.duty, 0.3f);
    for (int32_t slot : f.in.signal)
        EXPECT_EQ(slot, -1);
}

TEST(SynthUnits, ASineAt441HertzRepeatsEvery50Samples)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 441.0f);
    syn_reset(syn, 0);
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 5000);
    EXPECT_EQ(out[0], static_cast<int16_t>(std::floor(32767.0 * std::sin(2.0 * M_PI * 0.02))));
    EXPECT_EQ(out[11], 32702) << "phase 0.24, just before the crest";
    EXPECT_NEAR(out[12], out[11], 1) << "phase 0.26, just after it";
    for (size_t k = 0; k + 50 < out.size(); k++) {
        ASSERT_LE(std::abs(out[k] - out[k + 50]), 1) << k;
        ASSERT_LE(std::abs(out[k] + out[k + 25] + 1), 2) << "half a period later the sign flips: " << k;
    }
}

TEST(SynthUnits, ASineIsTheDoublePrecisionSineOfItsPhaseInTurns)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 1.0f);
    syn_mix(syn, 0, 1);
    for (int n = 0; n <= 4000; n++) {
        float phase = static_cast<float>(n) / 4000.0f;
        syn->stage[0].osc.phase = phase - syn->stage[0].osc.phasestep;
        render1(syn);
        double expected = std::sin(2.0 * M_PI * static_cast<double>(syn->stage[0].osc.phase));
        ASSERT_NEAR(syn->stage[0].out, static_cast<float>(expected), 1e-7f) << phase;
    }
    syn->stage[0].osc.duty = 5.0f;  // a sync restart at 1 - 2.5 turns: outside the folded range
    syn_osc_pulse(syn, 1, 100.0f);
    syn->stage[1].osc.phase = 0.999f;
    syn->stage[1].osc.phasestep = 0.0f;
    syn->stage[0].osc.phase = 0.1f;
    syn_osc_in_sync(syn, 0, 1);
    syn->stage[1].reset = 1;
    syn_enable(syn, 1, 0);
    render1(syn);
    EXPECT_EQ(syn->stage[0].osc.phase, -1.5f);
    EXPECT_NEAR(syn->stage[0].out, 0.0f, 1e-6f);
}

TEST(SynthUnits, NoiseFromSeedZeroFollowsTheLinearCongruence)
{
    SYN *syn = fresh();
    syn_osc_noise(syn, 0, 22050.0f / 8.0f);  // a phase step of one cycle: a new value every sample
    syn_mix(syn, 0, 1);
    EXPECT_FLOAT_EQ(syn->stage[0].osc.phasestep, 1.0f);
    std::vector<int16_t> out = render(syn, 1000);
    uint32_t r = 0;
    for (size_t k = 0; k < out.size(); k++) {
        r = r * 1103515245u + 12345u;
        double v = (r & 0xFFFFu) / 32767.0 - 1.0;
        ASSERT_EQ(out[k], static_cast<int16_t>(v > 1.0 ? 32767 : std::floor(32767.0 * static_cast<float>(v)))) << k;
    }
    EXPECT_EQ(out[0], 12345 - 32767) << "the first value from seed 0";
    EXPECT_EQ(syn->randnum, static_cast<int32_t>(r));
}

TEST(SynthUnits, NoiseHoldsItsValueBetweenWrapsAndTakesSixteenTimesItsFrequencyInput)
{
    SYN *syn = fresh();
    syn_osc_noise(syn, 0, 22050.0f / 32.0f);  // a phase step of 1/4: a new value every 4 samples
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 16);
    EXPECT_EQ(out[0], 0) << "the held value before the first wrap (never reset: 0)";
    for (int k = 1; k < 16; k++) {
        if (k % 4 == 3)
            EXPECT_NE(out[k], out[k - 1]) << "a wrap: a new value at " << k;
        else
            EXPECT_EQ(out[k], out[k - 1]) << k;
    }
    syn_math_val(syn, 1, 0.0625f);  // 1/16 cycle per sample as input: one wrap every sample
    syn_osc_in_freq(syn, 0, 1);
    render(syn, 2);
    int32_t before = syn->randnum;
    render(syn, 5);
    EXPECT_NE(syn->randnum, before);
    uint32_t r = static_cast<uint32_t>(before);
    for (int k = 0; k < 5; k++)
        r = r * 1103515245u + 12345u;
    EXPECT_EQ(syn->randnum, static_cast<int32_t>(r)) << "five wraps in five samples";
}

TEST(SynthUnits, OscFreqRefusesZeroOrLessAndChangesNothing)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 441.0f);
    const SYNFUNC before = syn->stage[0];
    EXPECT_EQ(syn_osc_freq(syn, 0, 0.0f), -1);
    EXPECT_EQ(syn_osc_freq(syn, 0, -10.0f), -1);
    EXPECT_EQ(syn->stage[0].osc.freq, before.osc.freq);
    EXPECT_EQ(syn->stage[0].osc.phasestep, before.osc.phasestep);
    EXPECT_EQ(syn_osc_freq(syn, 0, 2205.0f), 0);
    EXPECT_FLOAT_EQ(syn->stage[0].osc.phasestep, 0.1f);
    syn_osc_noise(syn, 1, 1.0f);
    syn_osc_freq(syn, 1, 2205.0f);
    EXPECT_FLOAT_EQ(syn->stage[1].osc.phasestep, 0.8f) << "noise runs eight times faster";
    syn->stage[1].type = 'n';
    syn_osc_freq(syn, 1, 2205.0f);
    EXPECT_FLOAT_EQ(syn->stage[1].osc.phasestep, 0.8f);
    syn_osc_pulse(syn, 2, 1.0f);
    syn->oversample = 4;
    syn_osc_freq(syn, 2, 2205.0f);
    EXPECT_FLOAT_EQ(syn->stage[2].osc.phasestep, 0.1f) << "not divided by the oversampling";
}

TEST(SynthUnits, DutyIsClampedToZeroOneWithInfiniteSlopesAtTheEnds)
{
    SYN *syn = fresh();
    syn_osc_triangle(syn, 0, 100.0f);
    syn_osc_duty(syn, 0, 2.0f);
    EXPECT_EQ(syn->stage[0].osc.duty, 1.0f);
    EXPECT_EQ(syn->stage[0].osc.steprise, 2.0f);
    EXPECT_TRUE(std::isinf(syn->stage[0].osc.stepfall) && syn->stage[0].osc.stepfall > 0);
    syn_osc_duty(syn, 0, -1.0f);
    EXPECT_EQ(syn->stage[0].osc.duty, 0.0f);
    EXPECT_TRUE(std::isinf(syn->stage[0].osc.steprise) && syn->stage[0].osc.steprise > 0);
    EXPECT_EQ(syn->stage[0].osc.stepfall, 2.0f);
    syn_osc_duty(syn, 0, 0.25f);
    EXPECT_EQ(syn->stage[0].osc.steprise, 8.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].osc.stepfall, 8.0f / 3.0f);
}

TEST(SynthUnits, ATriangleWithTheDefaultDutyStartsAtPhaseThreeQuartersNearZeroAndRises)
{
    SYN *syn = fresh();
    syn_osc_triangle(syn, 0, 220.5f);
    EXPECT_EQ(syn->stage[0].osc.phase, 0.75f);
    EXPECT_EQ(syn->stage[0].osc.duty, 0.5f);
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 20);
    EXPECT_LT(std::abs(out[0]), 1400) << "0.76 of the cycle: 4% of the way up";
    for (int k = 1; k < 20; k++)
        EXPECT_GT(out[k], out[k - 1]) << k;
    EXPECT_NEAR(out[0], 32767 * 0.04, 2);
}

TEST(SynthUnits, ATriangleFallsToMinusOneAtItsDutyAndRisesBackToOne)
{
    SYN *syn = fresh();
    syn_osc_triangle(syn, 0, 220.5f);  // 100 samples a cycle
    syn_osc_duty(syn, 0, 0.25f);
    syn->stage[0].osc.phase = 0.0f;
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 100);
    EXPECT_NEAR(out[24], -32767, 2) << "phase 0.25";
    for (int k = 0; k < 99; k++) {
        double phase = 0.01 * (k + 1);
        double wave = phase < 0.25 ? 1.0 - 8.0 * phase : 1.0 - (1.0 - phase) * 8.0 / 3.0;
        ASSERT_NEAR(out[k], 32767.0 * wave, 3.0) << "phase " << phase;
    }
}

TEST(SynthUnits, APulseIsPlusAmpBelowItsDutyAndMinusAmpAbove)
{
    SYN *syn = fresh();
    syn_osc_pulse(syn, 0, 220.5f);  // 100 samples a cycle
    syn_osc_duty(syn, 0, 0.3f);
    syn_osc_amp(syn, 0, 0.5f);
    syn_osc_off(syn, 0, 0.25f);
    syn_reset(syn, 0);
    syn_mix(syn, 0, 1);
    std::vector<int16_t> out = render(syn, 200);
    int high = 0;
    for (int16_t s : out) {
        ASSERT_TRUE(s == 24575 || s == -8192) << s;
        high += s == 24575;
    }
    EXPECT_NEAR(high, 60, 2);
}

TEST(SynthUnits, OversamplingAveragesTheSubSteps)
{
    SYN *syn = fresh();
    syn->oversample = 2;
    syn_osc_pulse(syn, 0, 5512.5f);  // four samples a cycle, eight sub-steps
    syn_reset(syn, 0);
    syn_mix(syn, 0, 1);
    EXPECT_FLOAT_EQ(syn->stage[0].osc.phasestep, 0.125f);
    std::vector<int16_t> out = render(syn, 8);
    EXPECT_EQ(out, (std::vector<int16_t>{32767, 0, -32767, 0, 32767, 0, -32767, 0}))
        << "the edges fall between the two sub-steps of every other sample";
    syn_osc_pulse(syn, 0, 7350.0f);  // three samples a cycle, six sub-steps
    syn_mix(syn, 0, 1);
    syn_reset(syn, 0);
    out = render(syn, 6);
    EXPECT_EQ(out, (std::vector<int16_t>{32767, -32767, 0, 32767, -32767, 0}));
    syn->oversample = 0;
    EXPECT_EQ(render1(syn), 0) << "no sub-steps: silence";
}

TEST(SynthUnits, HardSyncRestartsAnOscillatorWhenItsSourceWraps)
{
    SYN *syn = fresh();
    syn_osc_pulse(syn, 0, 220.5f);  // the master: wraps every 100 samples
    syn_reset(syn, 0);
    syn_osc_triangle(syn, 1, 150.0f);
    syn_osc_in_sync(syn, 1, 0);
    for (int k = 0; k < 400; k++) {
        render1(syn);
        if (syn->stage[0].reset && k > 0) {
            EXPECT_EQ(syn->stage[1].osc.phase, 0.75f) << k;
            EXPECT_EQ(syn->stage[1].reset, 1) << k;
        }
    }
    syn_osc_sine(syn, 2, 100.0f);
    syn->stage[2].osc.duty = 0.5f;
    syn_osc_in_sync(syn, 2, 0);
    syn_reset(syn, 2);
    bool synced = false;
    for (int k = 0; k < 200; k++) {
        render1(syn);
        if (syn->stage[0].reset && syn->stage[2].osc.phase == 0.75f)
            synced = true;
    }
    EXPECT_TRUE(synced) << "a sine restarts at 1 - duty / 2 too";
}

TEST(SynthUnits, AnExactPhaseOfZeroCountsAsAWrap)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 100.0f);
    syn->stage[0].osc.phasestep = 0.0f;
    syn->stage[0].osc.phase = 0.0f;
    render1(syn);
    EXPECT_EQ(syn->stage[0].reset, 1);
    syn->stage[0].osc.phasestep = -0.25f;
    syn->stage[0].osc.phase = 0.1f;
    render1(syn);
    EXPECT_FLOAT_EQ(syn->stage[0].osc.phase, 0.85f) << "a negative phase wraps up into 0..1";
}

TEST(SynthUnits, ARampEndingAtZeroOrLessRampsTowardsTheSmallestNormalFloat)
{
    SYN *syn = fresh();
    syn_ramp(syn, 0, 1.0f, 0.0f, 10.0f);
    EXPECT_EQ(syn->stage[0].ramp.end, FLT_MIN);
    EXPECT_EQ(syn->stage[0].ramp.end, 1.1754944e-38f);
    syn_ramp(syn, 1, 1.0f, -3.0f, 10.0f);
    EXPECT_EQ(syn->stage[1].ramp.end, FLT_MIN);
    render(syn, 2000);
    EXPECT_EQ(syn->stage[0].out, FLT_MIN);
    EXPECT_EQ(syn->stage[0].end, 1);
}

TEST(SynthUnits, ARampOfZeroMillisecondsReachesItsEndInTheFirstSample)
{
    SYN *syn = fresh();
    syn_ramp(syn, 0, 0.1f, 0.3f, 0.0f);
    syn_ramp(syn, 1, 0.9f, 0.2f, 0.0f);
    syn_ramp(syn, 2, 0.4f, 0.4f, 0.0f);
    render1(syn);
    EXPECT_EQ(syn->stage[0].out, 0.3f);
    EXPECT_EQ(syn->stage[0].end, 1);
    EXPECT_EQ(syn->stage[1].out, 0.2f);
    EXPECT_EQ(syn->stage[1].end, 1);
    EXPECT_EQ(syn->stage[2].out, 0.4f) << "a flat ramp stays where it is";
}

TEST(SynthUnits, ARampMovesLinearlyAndTakesItsLengthInSamples)
{
    SYN *syn = fresh();
    syn_ramp(syn, 0, 0.0f, 1.0f, 10.0f);  // 220.5 samples
    EXPECT_EQ(syn->stage[0].out, 0.0f) << "it starts at once, without a reset";
    EXPECT_FLOAT_EQ(syn->stage[0].ramp.step, 1.0f / 220.5f);
    int n = 0;
    while (!syn->stage[0].end && n < 1000) {
        render1(syn);
        n++;
        if (n == 100) {
            EXPECT_NEAR(syn->stage[0].out, 100.0f / 220.5f, 1e-5f);
        }
    }
    EXPECT_EQ(n, 221);
    EXPECT_EQ(syn->stage[0].out, 1.0f);
    render(syn, 10);
    EXPECT_EQ(syn->stage[0].out, 1.0f) << "it stays at its end";
    EXPECT_EQ(syn->stage[0].end, 1);
    syn_ramp(syn, 1, 1.0f, 0.5f, 100.0f);  // falling over 2205 samples
    n = 0;
    while (!syn->stage[1].end && n < 5000) {
        render1(syn);
        n++;
    }
    EXPECT_NEAR(n, 2206, 1);
    EXPECT_EQ(syn->stage[1].out, 0.5f);
}

TEST(SynthUnits, ARampOfFrequenciesIsInCyclesPerSampleClampedToOne)
{
    SYN *syn = fresh();
    syn_ramp_freq(syn, 0, 2205.0f, 44100.0f, 10.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].ramp.start, 0.1f);
    EXPECT_EQ(syn->stage[0].ramp.end, 1.0f);
    syn_ramp_freq(syn, 1, 2205.0f, 0.0f, 10.0f);
    EXPECT_EQ(syn->stage[1].ramp.end, FLT_MIN);
}

TEST(SynthUnits, AnEnvelopeWithoutSustainRisesFallsSpendsOneSampleInSustainThenEnds)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, 2.0f, 10.0f, 0.0f, 0.0f);
    syn_mix(syn, 0, 1);
    syn_reset(syn, 0);
    EXPECT_EQ(samples_in_step(syn, 0, SYN_ADSR_ATTACK), 45) << "2 ms: 44.1 samples";
    EXPECT_EQ(syn->stage[0].adsr.level, 1.0f);
    EXPECT_EQ(samples_in_step(syn, 0, SYN_ADSR_DECAY), 221) << "10 ms: 220.5 samples";
    EXPECT_EQ(syn->stage[0].adsr.level, 0.0f);
    EXPECT_EQ(samples_in_step(syn, 0, SYN_ADSR_SUSTAIN), 1);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_RELEASE);
    EXPECT_EQ(syn->stage[0].adsr.level, 0.0f);
    EXPECT_EQ(syn->stage[0].type, SYN_ADSR);
    render1(syn);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_FINISHED);
    EXPECT_EQ(syn->stage[0].type, -SYN_ADSR) << "it disabled itself";
    EXPECT_EQ(syn->stage[0].end, 1);
    EXPECT_EQ(syn->stage[0].out, 0.0f);
}

TEST(SynthUnits, AnEnvelopeRendersItsLevelAlongItsSteps)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, 1.0f, 1.0f, 0.5f, 1.0f);  // 22.05 samples each
    syn_mix(syn, 0, 1);
    syn_reset(syn, 0);
    std::vector<int16_t> out = render(syn, 80);
    EXPECT_EQ(out[0], static_cast<int16_t>(std::floor(32767.0 * (1.0f / 22.05f))));
    EXPECT_EQ(out[22], 32767) << "the top of the attack, 23 samples in";
    EXPECT_GT(out[44], 16383);
    EXPECT_EQ(out[45], 16383) << "the decay to half took 23 samples";
    EXPECT_EQ(out[46], 16383) << "one sample of sustain";
    EXPECT_GT(out[68], 0);
    EXPECT_EQ(out[69], 0) << "the release from half took 23 samples";
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_FINISHED);
    EXPECT_EQ(out[79], 0);
}

TEST(SynthUnits, AHeldEnvelopeStaysInSustainUntilReleased)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, 1.0f, 1.0f, 0.5f, 10.0f);
    syn_mix(syn, 0, 1);
    syn_reset(syn, 0);
    syn_adsr_hold(syn, 0, 1);
    render(syn, 1000);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_SUSTAIN);
    EXPECT_EQ(syn->stage[0].adsr.level, 0.5f);
    EXPECT_EQ(syn_adsr_get_step(syn, 0), 's');
    syn_adsr_hold(syn, 0, 0);
    render1(syn);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_RELEASE);
    EXPECT_EQ(samples_in_step(syn, 0, SYN_ADSR_RELEASE), 221) << "10 ms from the sustain level";
    EXPECT_EQ(syn->stage[0].type, -SYN_ADSR);
}

TEST(SynthUnits, AnEnvelopeNotResetEndsOnItsFirstEvaluationWithOutZero)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, 1.0f, 1.0f, 0.5f, 1.0f);
    syn_mix(syn, 0, 1);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_FINISHED);
    EXPECT_EQ(syn_check_active(syn, 0, 1), -1) << "enabled, mixed and not yet ended";
    EXPECT_EQ(render1(syn), 0);
    EXPECT_EQ(syn->stage[0].type, -SYN_ADSR);
    EXPECT_EQ(syn->stage[0].end, 1);
    EXPECT_EQ(syn->stage[0].out, 0.0f);
}

TEST(SynthUnits, AnEnvelopeScalesItsSignal)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 0.5f);
    syn_adsr(syn, 1, 0.0f, 0.0f, 1.0f, 0.0f);
    syn_adsr_in(syn, 1, 0);
    syn_mix(syn, 1, 1);
    syn_reset(syn, 1);
    syn_adsr_hold(syn, 1, 1);
    EXPECT_EQ(syn->stage[1].adsr.attack, 1.0f) << "no attack time: one sample";
    EXPECT_EQ(render(syn, 3), (std::vector<int16_t>{16383, 16383, 16383}));
}

TEST(SynthUnits, EnvelopeConstructionClampsItsArgumentsAndComputesIncrements)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, -5.0f, 100.0f, 1.5f, -1.0f);
    const SYNADSR &e = syn->stage[0].adsr;
    EXPECT_EQ(e.attack, 1.0f);
    EXPECT_EQ(e.sustain, 1.0f);
    EXPECT_EQ(e.decay, 0.0f) << "nothing to fall to";
    EXPECT_EQ(e.release, 1.0f);
    syn_adsr(syn, 1, 10.0f, 10.0f, 0.25f, 20.0f);
    const SYNADSR &g = syn->stage[1].adsr;
    EXPECT_FLOAT_EQ(g.attack, 1.0f / 220.5f);
    EXPECT_FLOAT_EQ(g.decay, 0.75f / 220.5f);
    EXPECT_FLOAT_EQ(g.release, 0.25f / 441.0f);
    EXPECT_EQ(syn->stage[1].hold, 0);
    EXPECT_EQ(syn->stage[1].mix, 0);
}

TEST(SynthUnits, TheSingleStepEnvelopeSettersDivideWithoutATest)
{
    SYN *syn = fresh();
    syn_adsr(syn, 0, 1.0f, 1.0f, 0.5f, 1.0f);
    syn_adsr_sustain(syn, 0, 2.0f);
    EXPECT_EQ(syn->stage[0].adsr.sustain, 1.0f);
    syn_adsr_sustain(syn, 0, 0.4f);
    syn_adsr_attack(syn, 0, 0.0f);
    EXPECT_TRUE(std::isinf(syn->stage[0].adsr.attack));
    syn_adsr_attack(syn, 0, -3.0f);
    EXPECT_TRUE(std::isinf(syn->stage[0].adsr.attack));
    syn_adsr_decay(syn, 0, 10.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].adsr.decay, 0.6f / 220.5f);
    syn_adsr_release(syn, 0, 10.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].adsr.release, 0.4f / 220.5f);
    syn_mix(syn, 0, 1);
    syn_reset(syn, 0);
    render1(syn);
    EXPECT_EQ(syn->stage[0].adsr.step, SYN_ADSR_DECAY) << "an infinite attack ends in one sample";
}

TEST(SynthUnits, GetStepReadsZeroForOtherUnitsAndForSustainOrReleaseWithoutSustain)
{
    SYN *syn = fresh();
    syn_osc_sine(syn, 0, 100.0f);
    EXPECT_EQ(syn_adsr_get_step(syn, 0), 0);
    EXPECT_EQ(syn_adsr_get_sustain(syn, 0), 0.0f);
    syn_adsr(syn, 1, 1.0f, 1.0f, 0.0f, 1.0f);
    syn_reset(syn, 1);
    EXPECT_EQ(syn_adsr_get_step(syn, 1), 'a');
    syn->stage[1].adsr.step = SYN_ADSR_SUSTAIN;
    EXPECT_EQ(syn_adsr_get_step(syn, 1), 0);
    syn->stage[1].adsr.step = SYN_ADSR_RELEASE;
    EXPECT_EQ(syn_adsr_get_step(syn, 1), 0);
    syn_adsr_sustain(syn, 1, 0.5f);
    EXPECT_EQ(syn_adsr_get_step(syn, 1), 'r');
    EXPECT_EQ(syn_adsr_get_sustain(syn, 1), 0.5f);
    syn_enable(syn, 1, 0);
    EXPECT_EQ(syn_adsr_get_step(syn, 1), 0) << "a disabled envelope";
    EXPECT_EQ(syn_adsr_get_sustain(syn, 1), 0.0f);
}

TEST(SynthUnits, FilterConstructorsComputeAlphaFromTheCutoff)
{
    SYN *syn = fresh();
    syn_filt_lowpass(syn, 0, 1000.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].filt.alpha, static_cast<float>(1.0 / (22050.0 / (2 * M_PI * 1000.0) + 1.0)));
    EXPECT_EQ(syn->stage[0].filt.q, 0.0f);
    EXPECT_EQ(syn->stage[0].type, SYN_LOWPASS);
    syn_filt_lowpass(syn, 1, 0.25f);
    EXPECT_FLOAT_EQ(syn->stage[1].filt.alpha, static_cast<float>(1.0 / (22050.0 / (2 * M_PI) + 1.0)))
        << "below 1 Hz counts as 1 Hz";
    syn_filt_highpass(syn, 2, 1000.0f);
    EXPECT_FLOAT_EQ(syn->stage[2].filt.alpha, static_cast<float>(1.0 / (2 * M_PI * 1000.0 / 22050.0 + 1.0)));
    EXPECT_EQ(syn->stage[2].type, SYN_HIGHPASS);
}

TEST(SynthUnits, CutoffUsesTheLowPassFormulaOnlyForAnEnabledLowPass)
{
    SYN *syn = fresh();
    const float low = static_cast<float>(1.0 / (22050.0 / (2 * M_PI * 500.0) + 1.0));
    const float high = static_cast<float>(1.0 / (2 * M_PI * 500.0 / 22050.0 + 1.0));
    syn_filt_lowpass(syn, 0, 100.0f);
    syn_filt_cutoff(syn, 0, -500.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].filt.alpha, low) << "the absolute value";
    syn_enable(syn, 0, 0);
    syn_filt_cutoff(syn, 0, 500.0f);
    EXPECT_FLOAT_EQ(syn->stage[0].filt.alpha, high) << "a disabled low-pass takes the high-pass formula";
    syn_filt_highpass(syn, 1, 100.0f);
    syn_filt_cutoff(syn, 1, 500.0f);
    EXPECT_FLOAT_EQ(syn->stage[1].filt.alpha, high);
    syn_filt_q(syn, 1, 0.7f);
    EXPECT_EQ(syn->stage[1].filt.q, 0.7f);
}

TEST(SynthUnits, ALowPassSmoothsAStepAndAHighPassPassesOnlyTheChange)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 1.0f);
    syn_filt_lowpass(syn, 1, 1000.0f);
    syn_filt_in(syn, 1, 0);
    syn_filt_highpass(syn, 2, 1000.0f);
    syn_filt_in(syn, 2, 0);
    const float a = syn->stage[1].filt.alpha;
    const float h = syn->stage[2].filt.alpha;
    render1(syn);
    EXPECT_FLOAT_EQ(syn->stage[1].out, a);
    EXPECT_FLOAT_EQ(syn->stage[2].out, h);
    render1(syn);
    EXPECT_FLOAT_EQ(syn->stage[1].out, a + a * (1 - a));
    EXPECT_FLOAT_EQ(syn->stage[2].out, h * h);
    render(syn, 2000);
    EXPECT_NEAR(syn->stage[1].out, 1.0f, 1e-5f);
    EXPECT_NEAR(syn->stage[2].out, 0.0f, 1e-5f);
}

TEST(SynthUnits, TheLowPassResonanceAddsTheLastChangeTimesQ)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 1.0f);
    syn_filt_lowpass(syn, 1, 1000.0f);
    syn_filt_in(syn, 1, 0);
    syn_filt_q(syn, 1, 0.9f);
    const float a = syn->stage[1].filt.alpha;
    render(syn, 2);
    const float y1 = a;
    EXPECT_FLOAT_EQ(syn->stage[1].out, a * (1 - y1) + y1 + y1 * 0.9f);
    float peak = 0.0f;
    for (int k = 0; k < 200; k++) {
        render1(syn);
        peak = std::max(peak, syn->stage[1].out);
    }
    EXPECT_GT(peak, 1.2f) << "it rings above the step";
    syn->q_alpha = 0.0f;
    syn_filt_q(syn, 1, 0.9f);
    syn->stage[1].out = 0.0f;
    syn->stage[1].filt.oldout = 0.0f;
    peak = 0.0f;
    for (int k = 0; k < 200; k++) {
        render1(syn);
        peak = std::max(peak, syn->stage[1].out);
    }
    EXPECT_LE(peak, 1.0f) << "the global factor switches the resonance off";
}

TEST(SynthUnits, FiltersTakeCutoffAndQFromTheirInputsAsAbsoluteValues)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 1.0f);
    syn_math_val(syn, 1, -0.25f);
    syn_math_val(syn, 2, -0.5f);
    syn_filt_lowpass(syn, 3, 1000.0f);
    syn_filt_in(syn, 3, 0);
    syn_filt_in_cutoff(syn, 3, 1);
    syn_filt_in_q(syn, 3, 2);
    syn_filt_highpass(syn, 4, 1000.0f);
    syn_filt_in(syn, 4, 0);
    syn_filt_in_cutoff(syn, 4, 1);
    render1(syn);
    EXPECT_EQ(syn->stage[3].filt.alpha, 0.25f);
    EXPECT_EQ(syn->stage[3].filt.q, 0.5f);
    EXPECT_EQ(syn->stage[4].filt.alpha, 0.25f);
    EXPECT_EQ(syn->stage[3].out, 0.25f);
}

TEST(SynthUnits, AFilterWithoutASignalFiltersSilence)
{
    SYN *syn = fresh();
    syn_filt_lowpass(syn, 0, 1000.0f);
    syn_filt_highpass(syn, 1, 1000.0f);
    syn->stage[1].filt_in.signal = -7;
    syn_mix(syn, 0, 1);
    syn_mix(syn, 1, 1);
    EXPECT_EQ(render(syn, 10), std::vector<int16_t>(10, 0));
}

TEST(SynthUnits, AnInputIndexBeyondTheTableReadsAsUnconnected)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 0.5f);
    syn_osc_sine(syn, 1, 441.0f);
    syn_reset(syn, 1);
    syn->stage[1].osc_in.amp = 100000;
    syn_math_add(syn, 2, 0, 0);
    syn->stage[2].math_in.b = 300;
    render1(syn);
    EXPECT_FLOAT_EQ(syn->stage[1].out, static_cast<float>(std::sin(2 * M_PI * 0.02)));
    EXPECT_EQ(syn->stage[2].out, 0.0f);
}

TEST(SynthUnits, ProductAndSumNeedBothInputsConnected)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 0.5f);
    syn_math_val(syn, 1, -0.25f);
    syn_math_mul(syn, 2, 0, 1);
    syn_math_add(syn, 3, 0, 1);
    syn_math_mul(syn, 4, 0, -1);
    syn_math_add(syn, 5, -1, 1);
    render1(syn);
    EXPECT_EQ(syn->stage[2].out, -0.125f);
    EXPECT_EQ(syn->stage[3].out, 0.25f);
    EXPECT_EQ(syn->stage[4].out, 0.0f);
    EXPECT_EQ(syn->stage[5].out, 0.0f);
    syn->stage[0].mix = 1;
    syn->stage[0].reset = 1;
    syn_math_val(syn, 0, 0.75f);
    EXPECT_EQ(syn->stage[0].mix, 1) << "a constant keeps its mix and reset flags";
    EXPECT_EQ(syn->stage[0].reset, 1);
}

TEST(SynthUnits, OscillatorsTakeAmplitudeOffsetFrequencyAndDutyFromTheirInputs)
{
    SYN *syn = fresh();
    syn_math_val(syn, 0, 0.5f);    // amplitude
    syn_math_val(syn, 1, 0.25f);   // offset
    syn_math_val(syn, 2, 0.25f);   // frequency: four samples a cycle
    syn_math_val(syn, 3, -0.75f);  // duty, read as 0.75
    syn_osc_pulse(syn, 4, 1.0f);
    syn_osc_in_amp(syn, 4, 0);
    syn_osc_in_off(syn, 4, 1);
    syn_osc_in_freq(syn, 4, 2);
    syn_osc_in_duty(syn, 4, 3);
    syn_reset(syn, 4);
    syn_mix(syn, 4, 1);
    render1(syn);  // the frequency input acts from the next sample
    EXPECT_EQ(syn->stage[4].osc.duty, 0.75f);
    EXPECT_EQ(syn->stage[4].osc.phasestep, 0.25f);
    std::vector<int16_t> out = render(syn, 8);
    int high = 0;
    for (int16_t s : out) {
        ASSERT_TRUE(s == 24575 || s == -8192) << s;
        high += s == 24575;
    }
    EXPECT_EQ(high, 6) << "three quarters of each cycle high";
}

}  // namespace
