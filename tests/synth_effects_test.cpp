// Tests of the effect slots: sizes, claiming with the rotating cursor, release tails and their
// priorities, the forced retry and the spare record, running effects once per logic tick, the
// once-a-second sweep, the bound of a stopped effect, the growl, and how the runtime connects
// them: start-up, the synthesiser switch, the boot screen's growls and the audio lock.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "capture.h"
#include "fake_wrapper.h"
#include "lum.h"
#include "state.h"
#include "synth.h"
#include "synth_effects.h"
#include "synth_run.h"

namespace {

// An effect that runs for ever, counting its calls
int forever(SYNTH_EFFECT_STATE *e)
{
    e->counter++;
    return SYNTH_EFFECT_CONT;
}

// An effect that leaves a mixed constant sounding in its slot and releases the slot
int tail(SYNTH_EFFECT_STATE *e)
{
    syn_math_val(&synraw, e->base, 0.1f);
    syn_mix(&synraw, e->base, 1);
    return SYNTH_EFFECT_RELEASE;
}

// An effect that builds sounding stages and stops at once
int stopper(SYNTH_EFFECT_STATE *e)
{
    for (unsigned i = e->base; i < e->base + 8; i++)
        syn_math_val(&synraw, i, 0.1f);
    return SYNTH_EFFECT_STOP;
}

// The slot number of a record, or -1 for the spare one
int slot_of(const SYNTH_EFFECT_STATE *e)
{
    for (size_t n = 0; n < synth_effects.size(); n++)
        if (&synth_effects[n] == e)
            return static_cast<int>(n);
    return -1;
}

// Start an effect, returning the log lines it wrote
std::vector<std::string> start_logged(SYNTH_EFFECT func, int priority, SYNTH_EFFECT_STATE **e)
{
    return log_messages(capture_stdout([&] { *e = synth_effect_ex(func, priority); }));
}

//----------------------------------------------------------------------------------
// Sizes
//----------------------------------------------------------------------------------
TEST(SynthEffects, FortySlotsOfTenBecomeTwentyFiveAndZerosGiveFourOfEight)
{
    std::string out = capture_stdout([] { synth_effects_init(40, 10); });
    EXPECT_EQ(log_messages(out), (std::vector<std::string>{"EFFECT MAX   25", "EFFECT SLOTS 10"}));
    EXPECT_EQ(synth_effects_tail_slot(), 250);
    out = capture_stdout([] { synth_effects_init(0, 0); });
    EXPECT_EQ(log_messages(out), (std::vector<std::string>{"EFFECT MAX   4", "EFFECT SLOTS 8"}));
    EXPECT_EQ(synth_effects_tail_slot(), 32);
}

TEST(SynthEffects, NegativeSizesKeepTheCurrentOnesAndTheProductStaysWithin256)
{
    capture_stdout([] { synth_effects_init(8, 8); });
    EXPECT_EQ(synth_effects_tail_slot(), 64);
    capture_stdout([] { synth_effects_init(-1, -1); });
    EXPECT_EQ(synth_effects_tail_slot(), 64);
    capture_stdout([] { synth_effects_init(100, -1); });
    EXPECT_EQ(synth_effects_tail_slot(), 256) << "at most 32 slots";
    std::string out = capture_stdout([] { synth_effects_init(-1, 16); });
    EXPECT_EQ(log_messages(out), (std::vector<std::string>{"EFFECT MAX   16", "EFFECT SLOTS 16"}));
    capture_stdout([] { synth_effects_init(3, 1000); });
    EXPECT_EQ(synth_effects_tail_slot(), 256) << "one slot of all 256 stages";
}

TEST(SynthEffects, InitClearsEveryRecord)
{
    synth_run_start(4, 8);
    synth_effect(forever);
    capture_stdout([] { synth_effects_init(-1, -1); });
    for (const SYNTH_EFFECT_STATE &e : synth_effects)
        EXPECT_EQ(e.func, nullptr);
}

//----------------------------------------------------------------------------------
// Claiming
//----------------------------------------------------------------------------------
TEST(SynthEffects, SlotsAreTakenInTurnAfterTheCursorWithAFreshRecordAndTheirStagesOff)
{
    synth_run_start(4, 8);
    for (unsigned i = 0; i < 32; i++)
        syn_math_val(&synraw, i, 0.0f);
    SYNTH_EFFECT_STATE *first = synth_effect(forever);
    int n = slot_of(first);
    ASSERT_GE(n, 0);
    for (int k = 1; k < 4; k++) {
        SYNTH_EFFECT_STATE *e = synth_effect(forever);
        EXPECT_EQ(slot_of(e), (n + k) % 4);
    }
    EXPECT_EQ(first->func, forever);
    EXPECT_EQ(first->base, static_cast<uint32_t>(n * 8));
    EXPECT_EQ(first->state, 0);
    EXPECT_EQ(first->scale, 1.0f);
    EXPECT_EQ(first->pitch, 1.0f);
    EXPECT_EQ(first->priority, 0) << "the caller sets it";
    EXPECT_EQ(first->start_time, 0u);
    for (unsigned i = 0; i < 32; i++)
        EXPECT_EQ(synraw.stage[i].type, -SYN_CONST) << "every claimed slot's stages are switched off";
}

TEST(SynthEffects, WithEverySlotRunningANewEffectGetsTheSpareRecordAndALogLine)
{
    synth_run_start(4, 8);
    for (int k = 0; k < 4; k++)
        ASSERT_GE(slot_of(synth_effect(forever)), 0);
    SYNTH_EFFECT_STATE *e = nullptr;
    std::vector<std::string> lines = start_logged(forever, 5, &e);
    EXPECT_EQ(lines, std::vector<std::string>{"NO EFFECTS FREE! (-1) 4 / 4"});
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(slot_of(e), -1);
    EXPECT_EQ(e->scale, 1.0f);
    EXPECT_EQ(e->pitch, 1.0f);
    e->freq = 440.0f;  // callers may write into it
    synth_run_tick();
    EXPECT_EQ(e->counter, 0u) << "the spare record never runs";
    EXPECT_EQ(get_effect_ex(forever, 1, 100), -1);
}

// Four tails of priority 0, freed at ticks t, t + 1, t + 2 and t + 3 in slots a, a+1, a+2, a+3
int four_tails()
{
    synth_run_start(4, 8);
    int first = -1;
    for (int k = 0; k < 4; k++) {
        SYNTH_EFFECT_STATE *e = synth_effect(tail);
        if (k == 0)
            first = slot_of(e);
        synth_run_tick();
        EXPECT_EQ(e->func, nullptr);
    }
    EXPECT_EQ(synth_effects_active(), 4);
    return first;
}

TEST(SynthEffects, AHigherPriorityTakesTheOldestLowerTailWithoutTheForcedLine)
{
    int oldest = four_tails();
    SYNTH_EFFECT_STATE *e = nullptr;
    EXPECT_TRUE(start_logged(forever, 1, &e).empty());
    EXPECT_EQ(slot_of(e), oldest);
    EXPECT_EQ(synraw.stage[e->base].type, -SYN_CONST) << "the tail is silenced";
}

TEST(SynthEffects, AnEqualPriorityTakesTheOldestTailOnlyInTheForcedRetry)
{
    int oldest = four_tails();
    EXPECT_EQ(get_effect_ex(forever, 0, 0), -1) << "not without force";
    SYNTH_EFFECT_STATE *e = nullptr;
    std::vector<std::string> lines = start_logged(forever, 0, &e);
    EXPECT_EQ(slot_of(e), oldest);
    EXPECT_EQ(lines, std::vector<std::string>{"@FORCED EFFECT #" + std::to_string(oldest)});
}

TEST(SynthEffects, ALowerPriorityNeverTakesAHigherTail)
{
    synth_run_start(4, 8);
    for (int k = 0; k < 4; k++) {
        SYNTH_EFFECT_STATE *e = synth_effect(tail);
        e->priority = 2;
        synth_run_tick();
    }
    SYNTH_EFFECT_STATE *e = nullptr;
    EXPECT_EQ(start_logged(forever, 1, &e), std::vector<std::string>{"NO EFFECTS FREE! (-1) 0 / 4"});
    EXPECT_EQ(slot_of(e), -1);
    EXPECT_GE(slot_of(synth_effect_ex(forever, 3)), 0);
}

TEST(SynthEffects, ASilentFreeSlotIsPreferredToATail)
{
    synth_run_start(4, 8);
    SYNTH_EFFECT_STATE *t = synth_effect(tail);
    synth_run_tick();
    int tail_slot = slot_of(t);
    for (int k = 0; k < 3; k++)
        EXPECT_NE(slot_of(synth_effect_ex(forever, 9)), tail_slot);
    EXPECT_EQ(slot_of(synth_effect_ex(forever, 9)), tail_slot) << "only once nothing silent is left";
}

TEST(SynthEffects, ClaimingRefusesANullFunctionAndAnySlotWhileTheSynthesiserIsOff)
{
    synth_run_start(4, 8);
    EXPECT_EQ(get_effect_ex(nullptr, 0, 0), -2);
    lum_settings.enable_synth = 0;
    EXPECT_EQ(get_effect_ex(forever, 0, 0), -1);
    std::string out;
    SYNTH_EFFECT_STATE *e = nullptr;
    out = capture_stdout([&] { e = synth_effect(forever); });
    EXPECT_EQ(out, "") << "switched off is not a shortage";
    EXPECT_EQ(slot_of(e), -1);
    EXPECT_EQ(e->scale, 1.0f);
    for (const SYNTH_EFFECT_STATE &s : synth_effects)
        EXPECT_EQ(s.func, nullptr);
}

TEST(SynthEffects, CreationTakesTheAudioLock)
{
    synth_run_start(4, 8);
    int before = fake_platform.audio_locks;
    synth_effect(forever);
    EXPECT_GT(fake_platform.audio_locks, before);
}

//----------------------------------------------------------------------------------
// Running
//----------------------------------------------------------------------------------
TEST(SynthEffects, TwoLogicTicksBetweenAudioBlocksAdvanceEachEffectOnce)
{
    synth_run_start(4, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(forever);
    lum_ticks += 2;
    synth_effects_update();
    EXPECT_EQ(e->counter, 1u);
    synth_effects_update();
    EXPECT_EQ(e->counter, 1u) << "no new tick";
    lum_ticks++;
    synth_effects_update();
    EXPECT_EQ(e->counter, 2u);
}

TEST(SynthEffects, AnEffectRecordsItsFirstTickAndItsSlotIsFreedOnRelease)
{
    synth_run_start(4, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(tail);
    synth_run_tick();
    const uint32_t now = lum_ticks;
    EXPECT_EQ(e->start_time, now);
    EXPECT_EQ(e->stop_time, now);
    EXPECT_EQ(e->func, nullptr);
    EXPECT_EQ(synraw.stage[e->base].type, SYN_CONST) << "released stages ring on";
    EXPECT_EQ(synth_effects_active(), 1);
}

TEST(SynthEffects, AStoppedEffectSilencesItsSlotAndTheFirstStageOfTheNext)
{
    synth_run_start(4, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(stopper);
    const unsigned next = e->base + 8;
    syn_math_val(&synraw, next, 0.0f);
    syn_math_val(&synraw, next + 1, 0.0f);
    synth_run_tick();
    EXPECT_EQ(e->func, nullptr);
    for (unsigned i = e->base; i <= next; i++)
        EXPECT_EQ(synraw.stage[i].type, -SYN_CONST) << i;
    EXPECT_EQ(synraw.stage[next + 1].type, SYN_CONST);
}

TEST(SynthEffects, TheLastSlotsStopBoundLandsOnTheSpareStage)
{
    synth_run_start(32, 8);
    SYNTH_EFFECT_STATE *last = nullptr;
    for (int k = 0; k < 32; k++) {
        SYNTH_EFFECT_STATE *s = synth_effect(forever);
        if (slot_of(s) == 31)
            last = s;
    }
    ASSERT_NE(last, nullptr);
    last->func = stopper;
    syn_math_val(&synraw, 256, 0.0f);
    synth_run_tick();
    EXPECT_EQ(synraw.stage[255].type, -SYN_CONST);
    EXPECT_EQ(synraw.stage[256].type, -SYN_CONST) << "one stage past the last slot: the spare stage";
}

TEST(SynthEffects, TheEngineEvaluatesOnlyUpToTheLastEnabledStage)
{
    synth_run_start(8, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(tail);
    synth_run_tick();
    EXPECT_EQ(synraw.stages, e->base + 1);
    syn_math_val(&synraw, 100, 0.0f);
    synth_run_tick();
    EXPECT_EQ(synraw.stages, 101u);
}

TEST(SynthEffects, NothingRunsWhileTheSynthesiserIsOff)
{
    synth_run_start(4, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(forever);
    lum_settings.enable_synth = 0;
    synth_run_tick();
    EXPECT_EQ(e->counter, 0u);
    lum_settings.enable_synth = 1;
    synth_run_tick();
    EXPECT_EQ(e->counter, 1u);
}

// A tail whose envelope has ended, with an oscillator that still runs unmixed
int ended_tail(SYNTH_EFFECT_STATE *e)
{
    syn_osc_sine(&synraw, e->base, 100.0f);
    syn_adsr(&synraw, e->base + 1, 0, 0, 0, 0);
    syn_mix(&synraw, e->base + 1, 1);
    return SYNTH_EFFECT_RELEASE;
}

TEST(SynthEffects, OnceASecondAFinishedTailIsSwitchedOff)
{
    synth_run_start(4, 8);
    fake_platform.ms = 500000;  // long after any earlier sweep in this process
    SYNTH_EFFECT_STATE *e = synth_effect(ended_tail);
    synth_run_tick();  // this run is a sweep, before the envelope has run
    EXPECT_EQ(synraw.stage[e->base].type, SYN_SINE);
    EXPECT_EQ(synraw.stage[e->base + 1].type, -SYN_ADSR) << "it ended in its first sample";
    fake_platform.ms += 999;
    synth_run_tick();
    EXPECT_EQ(synraw.stage[e->base].type, SYN_SINE) << "less than a second since the last sweep";
    fake_platform.ms += 1;
    synth_run_tick();
    EXPECT_EQ(synraw.stage[e->base].type, -SYN_SINE);
}

TEST(SynthEffects, ActiveCountsSlotsWhoseStagesStillSound)
{
    synth_run_start(4, 8);
    EXPECT_EQ(synth_effects_active(), 0);
    synth_effect(tail);
    synth_effect(forever);
    EXPECT_EQ(synth_effects_active(), 0) << "nothing built yet";
    synth_run_tick();
    EXPECT_EQ(synth_effects_active(), 1) << "a tail counts, a running effect without sound does not";
}

//----------------------------------------------------------------------------------
// The growl
//----------------------------------------------------------------------------------
TEST(SynthEffects, TheGrowlBuildsItsPatchAndReleasesAtOnce)
{
    synth_run_start(8, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(growl_effect);
    e->freq = 32.704f;
    e->filt = 65.408f;
    e->q = 0.9f;
    e->ramp_start = 2000.0f;
    e->ramp_end = 200.0f;
    e->d = 3000.0f;
    const unsigned b = e->base;
    synth_run_tick();
    EXPECT_EQ(e->func, nullptr) << "released in its first call";
    const SYNFUNC *s = &synraw.stage[b];
    EXPECT_EQ(s[0].type, SYN_RAMP);
    EXPECT_FLOAT_EQ(s[0].ramp.start, 2000.0f / 22050.0f);
    EXPECT_FLOAT_EQ(s[0].ramp.end, 200.0f / 22050.0f);
    EXPECT_FLOAT_EQ(s[0].ramp.step, (200.0f - 2000.0f) / 22050.0f / 66150.0f);
    EXPECT_EQ(s[1].type, SYN_TRIANGLE);
    EXPECT_EQ(s[1].osc.freq, 32.704f);
    EXPECT_EQ(s[1].osc.duty, 0.25f);
    EXPECT_EQ(s[1].osc_in.amp, static_cast<int>(b));
    EXPECT_EQ(s[2].type, SYN_TRIANGLE);
    EXPECT_FLOAT_EQ(s[2].osc.freq, 22050.0f * 1.1754944e-38f);
    EXPECT_EQ(s[2].osc.duty, 0.5f);
    EXPECT_EQ(s[2].osc.amp, 1.0f);
    EXPECT_EQ(s[2].osc_in.freq, static_cast<int>(b + 1));
    EXPECT_EQ(s[3].type, SYN_LOWPASS);
    EXPECT_FLOAT_EQ(s[3].filt.alpha, static_cast<float>(1.0 / (22050.0 / (2 * M_PI * 65.408) + 1.0)));
    EXPECT_EQ(s[3].filt.q, 0.9f);
    EXPECT_EQ(s[3].filt_in.signal, static_cast<int>(b + 2));
    EXPECT_EQ(s[4].type, SYN_ADSR);
    EXPECT_EQ(s[4].mix, 1);
    EXPECT_EQ(s[4].adsr_in.signal, static_cast<int>(b + 3));
    EXPECT_FLOAT_EQ(s[4].adsr.attack, 1.0f / 44.1f);
    EXPECT_FLOAT_EQ(s[4].adsr.decay, 0.1f / 4410.0f);
    EXPECT_EQ(s[4].adsr.sustain, 0.9f);
    EXPECT_FLOAT_EQ(s[4].adsr.release, 0.9f / 66150.0f);
    for (int k = 0; k < 4; k++)
        EXPECT_EQ(s[k].mix, 0) << k;
}

TEST(SynthEffects, TheGrowlFillsInItsDefaultsForZeroParameters)
{
    synth_run_start(8, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(growl_effect);
    synth_run_tick();
    EXPECT_EQ(e->freq, 32.704f);
    EXPECT_EQ(e->d, 3000.0f);
    EXPECT_EQ(e->ramp_start, 1800.0f);
    EXPECT_EQ(e->ramp_end, 200.0f);
    EXPECT_FLOAT_EQ(synraw.stage[e->base].ramp.start, 1800.0f / 22050.0f);
}

TEST(SynthEffects, TheGrowlSoundsForItsAttackDecayAndThreeSecondReleaseThenEnds)
{
    synth_run_start(8, 8);
    SYNTH_EFFECT_STATE *e = synth_effect(growl_effect);
    e->freq = 32.704f;
    e->filt = 65.408f;
    e->q = 0.9f;
    e->ramp_start = 2000.0f;
    e->ramp_end = 200.0f;
    e->d = 3000.0f;
    std::vector<int16_t> out = synth_run_until_silent();
    // 45 + 4410 + 1 samples up to the release, then 66150 of release; the envelope's level is
    // a float summed sample by sample, so its end may come a little off the exact count
    const double length = 45 + 4410 + 1 + 66150;
    size_t last = 0;
    int peak = 0;
    for (size_t k = 0; k < out.size(); k++) {
        if (out[k] != 0)
            last = k;
        peak = std::max(peak, std::abs(static_cast<int>(out[k])));
    }
    EXPECT_NEAR(static_cast<double>(last), length, length * 0.005);
    EXPECT_LT(out.size(), last + 2 * SYNTH_RUN_TICK_SAMPLES) << "silence is noticed within a tick";
    EXPECT_GT(peak, 3000) << "it is heard";
}

//----------------------------------------------------------------------------------
// Connected in the runtime
//----------------------------------------------------------------------------------
TEST(SynthRuntime, StartUpSetsUpFourSlotsOfEightAfterThePlatform)
{
    fake_platform_reset();
    std::string out = capture_stdout([] { lum_init(); });
    std::vector<std::string> lines = log_messages(out);
    auto at = [&](const std::string &line) {
        return std::find(lines.begin(), lines.end(), line) - lines.begin();
    };
    EXPECT_LT(at("lum init"), at("EFFECT MAX   4"));
    EXPECT_LT(at("EFFECT MAX   4"), at("EFFECT SLOTS 8"));
    EXPECT_LT(at("EFFECT SLOTS 8"), static_cast<long>(lines.size()));
    EXPECT_EQ(synth_effects_tail_slot(), 32);
    EXPECT_EQ(lum_settings.enable_synth, 0);
}

TEST(SynthRuntime, EnableSynthFailsWithTheStreamResultWhenThereIsNoAudio)
{
    fake_platform_reset();
    capture_stdout([] { lum_init(); });
    lum_settings.stream_init_result = -1;
    EXPECT_EQ(lum_enable_synth(1), -1);
    EXPECT_EQ(lum_settings.enable_synth, 0);
    lum_settings.stream_init_result = 0;
    EXPECT_EQ(lum_enable_synth(1), 0);
    EXPECT_EQ(lum_settings.enable_synth, 0);
}

TEST(SynthRuntime, EnableSynthResetsTheSlotsOnAChangeOnly)
{
    fake_platform_reset();
    capture_stdout([] { lum_init(); });
    lum_settings.stream_init_result = 1;
    std::string out = capture_stdout([] { EXPECT_EQ(lum_enable_synth(1), 1); });
    EXPECT_EQ(log_messages(out), (std::vector<std::string>{"EFFECT MAX   4", "EFFECT SLOTS 8"}));
    EXPECT_EQ(lum_settings.enable_synth, 1);
    SYNTH_EFFECT_STATE *e = synth_effect(forever);
    ASSERT_GE(slot_of(e), 0);
    out = capture_stdout([] { EXPECT_EQ(lum_enable_synth(1), 1); });
    EXPECT_EQ(out, "") << "already on: the slots are kept";
    EXPECT_EQ(e->func, forever);
    capture_stdout([] { EXPECT_EQ(lum_enable_synth(0), 1); });
    EXPECT_EQ(e->func, nullptr);
    EXPECT_EQ(lum_settings.enable_synth, 0);
}

// Run the loop one pass at a time up to `ms` on the fake clock
void run_until(uint64_t ms)
{
    while (fake_platform.ms < ms) {
        fake_platform.ms++;
        lum_run(1);
    }
}

// The growls created so far, in slot order
std::vector<const SYNTH_EFFECT_STATE *> growls()
{
    std::vector<const SYNTH_EFFECT_STATE *> found;
    for (const SYNTH_EFFECT_STATE &e : synth_effects)
        if (e.func == growl_effect)
            found.push_back(&e);
    return found;
}

TEST(SynthRuntime, TheBootScreenGrowlsAtHalfASecondAndAtThreeSeconds)
{
    fake_platform_reset();
    capture_stdout([] {
        lum_init();
        lum_settings.stream_init_result = 1;
        lum_enable_synth(1);
        run_until(499);
    });
    EXPECT_TRUE(growls().empty());
    capture_stdout([] { run_until(520); });
    ASSERT_EQ(growls().size(), 1u);
    const SYNTH_EFFECT_STATE *first = growls()[0];
    EXPECT_EQ(first->freq, 32.704f);
    EXPECT_EQ(first->filt, 65.408f);
    EXPECT_EQ(first->q, 0.9f);
    EXPECT_EQ(first->ramp_start, 2000.0f);
    EXPECT_EQ(first->ramp_end, 200.0f);
    EXPECT_EQ(first->d, 3000.0f);
    capture_stdout([] { run_until(2990); });
    EXPECT_EQ(growls().size(), 1u);
    capture_stdout([] { run_until(3020); });
    ASSERT_EQ(growls().size(), 2u);
    const SYNTH_EFFECT_STATE *second = growls()[0] == first ? growls()[1] : growls()[0];
    EXPECT_EQ(second->freq, 30.868f);
    EXPECT_EQ(second->filt, 61.736f);
    capture_stdout([] { run_until(6000); });
    EXPECT_EQ(growls().size(), 2u) << "two growls in all";
}

// The audio thread's view of a tick: the slot the screen's update claims pending until the tick
// ends, the audio lock free for the audio thread all the while, and the hand-over at the end
TEST(SynthRuntime, EveryLogicTickRunsWithoutTheAudioLockAndHandsItsSlotsOverAtItsEnd)
{
    fake_platform_reset();
    static int updates = 0;
    static int pending_in_updates = 0;
    static int lock_free_in_updates = 0;
    static SYNTH_EFFECT_STATE *last = nullptr;
    static STATE screen = {nullptr, [] {
        updates++;
        last = synth_effect(forever);
        pending_in_updates += synth_effects_pending(static_cast<int>(last - synth_effects.data()));
        bool free_for_audio = false;
        std::thread audio([&] {
            free_for_audio = fake_audio_lock.try_lock();
            if (free_for_audio)
                fake_audio_lock.unlock();
        });
        audio.join();
        lock_free_in_updates += free_for_audio ? 1 : 0;
    }, nullptr, nullptr};
    capture_stdout([] {
        lum_init();
        lum_settings.stream_init_result = 1;
        lum_enable_synth(1);
        synth_effects_init(8, 8);
        state_set(&screen);
        lum_settings.synth_effects_state = 0;
        run_until(100);
    });
    EXPECT_GE(updates, 5);
    EXPECT_EQ(pending_in_updates, updates) << "every update's new slot was pending in its tick";
    EXPECT_EQ(lock_free_in_updates, updates) << "and the update ran without the audio lock";
    EXPECT_EQ(synth_effects_pending(static_cast<int>(last - synth_effects.data())), 0)
        << "handed over after the last tick";
    EXPECT_EQ(lum_settings.synth_effects_state, updates) << "each tick marked";
}

}  // namespace
