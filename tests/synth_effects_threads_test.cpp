// The hand-over between the main thread, which creates sound effects in its logic ticks and
// writes their parameters, and the audio thread, which runs the effects and renders them, built
// with ThreadSanitizer: any access of the two threads to the same memory without an order
// between them is reported, and a report fails the test.
// The audio thread here stands in for the platform's audio callback: it takes the audio lock
// around every block, as the platform does, runs the effects once when a tick was handed over,
// and renders the block.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "fake_wrapper.h"
#include "lum.h"
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

constexpr int RATE = 22050;
constexpr unsigned BLOCK = 512;          // frames per audio block, as the toy opens the stream
constexpr int PASSES = 6000;             // main loop passes, one fake millisecond each
std::atomic<bool> audio_running{true};
std::atomic<long> blocks{0};
std::atomic<long> loud_blocks{0};
int created = 0;
int lagging = 0;  // ticks that began before the audio thread had taken the last one

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

// The audio callback's share of the work, block after block until told to stop
void audio_thread()
{
    while (audio_running) {
        wrapper_lock_audio();
        if (lum_settings.enable_synth) {
            if (lum_settings.synth_effects_state) {
                synth_effects_update();
                lum_settings.synth_effects_state = 0;
            }
            syn_update(&synraw, synthbuf.data(), BLOCK);
            for (unsigned k = 0; k < BLOCK; k++) {
                if (synthbuf[k] != 0) {
                    loud_blocks++;
                    break;
                }
            }
        }
        wrapper_unlock_audio();
        blocks++;
        std::this_thread::sleep_for(std::chrono::milliseconds(6));  // blocks come less often than ticks
    }
}

TEST(SynthThreads, EffectsCreatedInLogicTicksReachTheAudioThreadWithoutARace)
{
    fake_platform_reset();
    lum_init();
    syn_init(&synraw, RATE, 1.0f, SYN_MAX_STAGES);
    synth_effects_init(8, 8);
    lum_settings.stream_init_result = 1;
    ASSERT_EQ(lum_enable_synth(1), 1);
    state_set(&sounding);
    std::thread audio(audio_thread);
    for (int pass = 0; pass < PASSES; pass++) {
        wrapper_lock_audio();  // the clock is read by the audio thread too
        fake_platform.ms++;
        wrapper_unlock_audio();
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

}  // namespace
