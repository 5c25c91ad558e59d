// The hand-over between the main thread, which creates sound effects in its logic ticks and
// writes their parameters, and the audio thread, which runs the effects and renders them, built
// with ThreadSanitizer: any access of the two threads to the same memory without an order
// between them is reported, and a report fails the test.
// The audio thread here is a real thread calling the framework's mix of a block, lum_mix_block,
// the very function the platforms' audio callbacks call, with the audio device's lock taken
// around it as the platform's device takes it around its callback. The main thread runs the real
// main loop (lum_run) over the platform's test double.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "fake_wrapper.h"
#include "lum.h"
#include "lum_mix.h"
#include "sounds.h"
#include "state.h"
#include "synth.h"
#include "synth_effects.h"
#include "wrapper.h"

extern "C" const char *__tsan_default_options()
{
    return "halt_on_error=1:abort_on_error=1";
}

namespace {

using CLOCK = std::chrono::steady_clock;

constexpr int RATE = 22050;
constexpr int BLOCK = 512;               // frames per audio block, as the toy opens the stream
constexpr int PASSES = 6000;             // main loop passes, one fake millisecond each
std::atomic<bool> audio_running{true};
std::atomic<long> blocks{0};
std::atomic<long> loud_blocks{0};
std::atomic<long> block_period_us{6000};  // how long the audio thread waits between blocks
int created = 0;
int lagging = 0;  // ticks that began before the audio thread had taken the last one

// The framework and its synthesiser as the toy starts them, with a stream "open" at 22050 Hz, and
// the audio thread's counts from zero
void start_framework()
{
    audio_running = true;
    blocks = 0;
    loud_blocks = 0;
    fake_platform_reset();
    lum_init();
    syn_init(&synraw, RATE, 1.0f, SYN_MAX_STAGES);
    synth_effects_init(8, 8);
    lum_settings.stream_init_result = 1;
    ASSERT_EQ(lum_enable_synth(1), 1);
}

// The audio device: one block after another into silence through the framework's mix, with the
// device's lock around each, until told to stop
void audio_thread()
{
    std::array<int16_t, 2 * BLOCK> block{};
    while (audio_running) {
        block.fill(0);
        wrapper_lock_audio();
        lum_mix_block(block.data(), BLOCK);
        wrapper_unlock_audio();
        if (std::any_of(block.begin(), block.end(), [](int16_t s) { return s != 0; }))
            loud_blocks++;
        blocks++;
        std::this_thread::sleep_for(std::chrono::microseconds(block_period_us.load()));
    }
}

// The platform's clock as the test double keeps it, set under the audio lock: the audio thread
// reads the clock too (the real platform's clock needs no lock)
void set_clock(uint64_t ms)
{
    wrapper_lock_audio();
    fake_platform.ms = ms;
    wrapper_unlock_audio();
}

//----------------------------------------------------------------------------------
// Ticks against blocks, on a fast fake clock
//----------------------------------------------------------------------------------
// The screen: one sound every tick, alternating pips and ring-modulated blips, with parameters
// written after creation as the game does, and some time taken in between (a busy screen), so
// that an audio block falling between the two would be seen
void sounding_update()
{
    created++;
    if (lum_settings.synth_effects_state)
        lagging++;
    if (created & 1) {
        SYNTH_EFFECT_STATE *e = sound_pip(0.25f + 0.01f * static_cast<float>(created % 50), 10);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        e->delay = created % 3;
    } else {
        SYNTH_EFFECT_STATE *e = sound_ringmod(1.0f, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        e->d = 20.0f + static_cast<float>(created % 7);
        e->i = 60 * (1 + created % 3);
    }
}

STATE sounding = {nullptr, sounding_update, nullptr, nullptr};

TEST(SynthThreads, EffectsCreatedInLogicTicksReachTheAudioThreadWithoutARace)
{
    start_framework();
    state_set(&sounding);
    std::thread audio(audio_thread);
    for (int pass = 0; pass < PASSES; pass++) {
        set_clock(fake_platform.ms + 1);
        lum_run(1);
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    audio_running = false;
    audio.join();
    EXPECT_GE(created, 350) << "six seconds at 60 ticks a second";
    EXPECT_GT(blocks.load(), 100);
    EXPECT_GT(lagging, 10) << "blocks came late enough to fall inside a tick's update";
    EXPECT_GT(loud_blocks.load(), 10) << "the effects were heard";
}

//----------------------------------------------------------------------------------
// Ten seconds in real time
//----------------------------------------------------------------------------------
// An effect that checks, at its first run, that its record is whole: the creator writes `freq`,
// then after a pause `freq2`, then `value` = freq + freq2. A run that saw the record half
// written counts as torn. It sounds a short pip and releases its slot.
std::atomic<int> torn{0};
std::atomic<int> whole{0};

int checking_effect(SYNTH_EFFECT_STATE *e)
{
    if (e->state == 0) {
        if (e->value != e->freq + e->freq2 || e->freq == 0.0f)
            torn++;
        else
            whole++;
        e->state = 1;
    }
    syn_osc_sine(&synraw, e->base, e->freq);
    syn_adsr(&synraw, e->base + 1, 1.0f, 5.0f, 0.0f, 10.0f);
    syn_adsr_in(&synraw, e->base + 1, static_cast<int>(e->base));
    syn_mix(&synraw, e->base + 1, 1);
    syn_reset(&synraw, e->base + 1);
    return SYNTH_EFFECT_RELEASE;
}

int stress_ticks = 0;

// Every tick: a checked effect written in three steps with pauses, and one of the game's sounds
void stress_update()
{
    stress_ticks++;
    SYNTH_EFFECT_STATE *e = synth_effect(checking_effect);
    e->freq = 200.0f + static_cast<float>(stress_ticks % 400);
    std::this_thread::sleep_for(std::chrono::microseconds(300));
    e->freq2 = static_cast<float>(stress_ticks % 7);
    std::this_thread::sleep_for(std::chrono::microseconds(300));
    e->value = e->freq + e->freq2;
    if (stress_ticks % 2)
        sound_pip(0.5f, 10)->delay = stress_ticks % 3;
    else
        sound_noise(400.0f, 15)->d = 15.0f;
}

STATE stress = {nullptr, stress_update, nullptr, nullptr};

TEST(SynthThreads, TenSecondsOfEffectsEveryTickAt60HzAgainstARealAudioThreadStayWhole)
{
    constexpr auto LENGTH = std::chrono::seconds(10);
    start_framework();
    state_set(&stress);
    block_period_us = 1000000LL * BLOCK / RATE;  // a block's real length: 23.2 ms
    std::thread audio(audio_thread);
    const CLOCK::time_point start = CLOCK::now();
    for (CLOCK::time_point now = start; now - start < LENGTH; now = CLOCK::now()) {
        set_clock(static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now - start).count()));
        lum_run(1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    audio_running = false;
    audio.join();
    EXPECT_GE(stress_ticks, 450) << "about 600 ticks in ten seconds";
    EXPECT_GE(blocks.load(), 200) << "about 430 blocks in ten seconds";
    EXPECT_EQ(torn.load(), 0) << "no effect saw its record half written";
    EXPECT_GE(whole.load(), stress_ticks / 2) << "most ticks' effects ran (the rest were stolen first)";
    EXPECT_GT(loud_blocks.load(), blocks.load() / 2) << "the effects were heard";
}

//----------------------------------------------------------------------------------
// A slow screen
//----------------------------------------------------------------------------------
// A screen whose update takes 50 ms, and the blocks the audio thread finished while it ran
constexpr auto SLOW_UPDATE = std::chrono::milliseconds(50);
int slow_updates = 0;
int updates_with_blocks = 0;

void slow_update()
{
    slow_updates++;
    SYNTH_EFFECT_STATE *e = sound_pip(1.0f, 10);
    const long before = blocks;
    std::this_thread::sleep_for(SLOW_UPDATE);
    e->delay = 0;
    if (blocks > before)
        updates_with_blocks++;
}

STATE slow = {nullptr, slow_update, nullptr, nullptr};

TEST(SynthThreads, ASlowScreenUpdateDoesNotDelayTheAudioCallback)
{
    start_framework();
    state_set(&slow);
    block_period_us = 1000000LL * BLOCK / RATE;
    std::thread audio(audio_thread);
    const CLOCK::time_point start = CLOCK::now();
    while (slow_updates < 30) {
        set_clock(static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(CLOCK::now() - start).count()));
        lum_run(1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    audio_running = false;
    audio.join();
    // A block takes 23 ms: a callback that is never held up finishes about two in every update
    EXPECT_GE(updates_with_blocks, slow_updates * 8 / 10)
        << updates_with_blocks << " of " << slow_updates << " updates of 50 ms saw a block finish";
    EXPECT_GT(loud_blocks.load(), 0) << "the pips were heard";
}

}  // namespace
