// Tests of the runtime and main loop, driven through the platform's test double: the clock is a
// fake millisecond counter that each loop pass advances by the 1 ms yield, and hooks act between
// passes. The runtime keeps process-wide state (the quit flag, the loop's own counters), so each
// test expects a fresh process, as CTest gives it.
#include <gtest/gtest.h>

#include <cstdint>
#include <regex>
#include <string>
#include <vector>

#include "draw.h"
#include "fake_wrapper.h"
#include "input.h"
#include "lum.h"
#include "state.h"

namespace {

// What the test screen saw: the clock at every update and at every frame
struct LOOP_TRACE {
    std::vector<uint64_t> update_ms;
    std::vector<uint64_t> render_ms;
    std::vector<uint32_t> update_ticks;
};
LOOP_TRACE trace;

void screen_update()
{
    trace.update_ms.push_back(fake_platform.ms);
    trace.update_ticks.push_back(lum_ticks);
}

void screen_render()
{
    trace.render_ms.push_back(fake_platform.ms);
}

STATE test_screen = {nullptr, screen_update, screen_render, nullptr};

// The yield hook of a test: what to do at a given time, and the time of the last pass
struct LOOP_SCRIPT {
    uint64_t last_pass;
    void (*at)(uint64_t ms);
};
LOOP_SCRIPT script;

void scripted_yield()
{
    if (script.at)
        script.at(fake_platform.ms);
    if (fake_platform.ms > script.last_pass)
        lum_quit();
}

int count_in(const std::vector<uint64_t> &v, uint64_t from, uint64_t to)
{
    int n = 0;
    for (uint64_t x : v)
        n += x >= from && x <= to;
    return n;
}

class Loop : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(lum_is_quit(), 0) << "the runtime's state is per process: run each test on its own (ctest does)";
        fake_platform_reset();
        trace = LOOP_TRACE{};
        script = LOOP_SCRIPT{};
        fake_platform.on_yield = scripted_yield;
    }

    // Start the framework at the current fake time with the test screen current
    void start()
    {
        lum_init();
        state_set(&test_screen);
    }
};

}  // namespace

TEST_F(Loop, StartUpLogsItsFirstLineWithTheExactPrefix)
{
    testing::internal::CaptureStdout();
    start();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.rfind("[lum 0.00s (0)] lum init\n", 0), 0u) << out;
    EXPECT_NE(out.find("[lum 0.00s (0)] INPUT INIT\n"), std::string::npos) << out;
    EXPECT_TRUE(std::regex_search(out, std::regex(R"(\[lum 0\.00s \(0\)\] line [0-9]+: lum_set_logic_rate\n)"))) << out;
    EXPECT_NE(out.find("[lum 0.00s (0)] RATE 60\n"), std::string::npos) << out;
    EXPECT_EQ(fake_platform.inits, 1);
}

TEST_F(Loop, LogPrefixCarriesSecondsSinceStartUpAndTheTickNumber)
{
    fake_platform.ms = 500;
    start();  // the rate is set at 500 ms: tick number 30 at 60 per second
    fake_platform.ms = 1750;
    testing::internal::CaptureStdout();
    lum_log("hello");
    lum_logf("%d-%s\n", 7, "x");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[lum 1.25s (30)] hello\n[lum 1.25s (30)] 7-x\n");
}

TEST_F(Loop, SecondInitReturnsAtOnce)
{
    start();
    testing::internal::CaptureStdout();
    EXPECT_EQ(lum_init(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(fake_platform.inits, 1);
}

TEST_F(Loop, StartUpMakesTheBootScreenCurrentWithoutEnteringIt)
{
    lum_init();
    EXPECT_EQ(state_current(), &lum_state);
    EXPECT_EQ(state_last(), nullptr);
    EXPECT_EQ(lum_state.enter, nullptr);
    EXPECT_EQ(lum_state.leave, nullptr);
    EXPECT_NE(lum_state.update, nullptr);
    EXPECT_NE(lum_state.render, nullptr);
}

TEST_F(Loop, FirstPassLogsTheRateChangeAndRendersNothingBeforeTheFirstTick)
{
    start();
    script.last_pass = 0;  // stop after the first pass
    testing::internal::CaptureStdout();
    EXPECT_EQ(lum_run(0), 0);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("changed logic rate 0 -> 60\n"), std::string::npos) << out;
    EXPECT_TRUE(trace.update_ms.empty());
    EXPECT_EQ(fake_platform.flips, 0);
    EXPECT_EQ(fake_platform.polls, 0) << "events are polled only inside a tick";
}

TEST_F(Loop, TicksRunAtTheLogicRateWithOneFramePerPassThatTicked)
{
    start();
    script.last_pass = 1000;
    lum_run(0);
    // 60 ticks per second: the tick boundaries fall at 17, 34, 50, 67, ... 1000 ms.
    ASSERT_EQ(trace.update_ms.size(), 60u);
    EXPECT_EQ(trace.update_ms[0], 17u);
    EXPECT_EQ(trace.update_ms[1], 34u);
    EXPECT_EQ(trace.update_ms[2], 50u);
    EXPECT_EQ(trace.update_ms[59], 1000u);
    EXPECT_EQ(trace.render_ms, trace.update_ms) << "one frame after every pass with a tick, after the tick";
    EXPECT_EQ(fake_platform.flips, 60);
    EXPECT_EQ(fake_platform.polls, 60);
    EXPECT_EQ(trace.update_ticks.back(), 60u);
}

TEST_F(Loop, OneSecondStallGivesFourUpdatesAndOneFrameThenWaitsForRealTime)
{
    start();
    script.last_pass = 1300;
    script.at = [](uint64_t ms) {
        if (ms == 100)
            fake_platform.ms = 1100;  // the machine stalls for a second before this pass
    };
    lum_run(0);
    // Ticks 1..5 ran before the stall (up to 84 ms); the pass at 1100 ms runs exactly four.
    EXPECT_EQ(count_in(trace.update_ms, 0, 99), 5);
    EXPECT_EQ(count_in(trace.update_ms, 1100, 1100), 4);
    EXPECT_EQ(count_in(trace.render_ms, 1100, 1100), 1);
    // The counter was moved to now (tick 66) before the four ran, so logic is at tick 70 and the
    // next tick waits until real time reaches tick 71, at 1184 ms.
    EXPECT_EQ(count_in(trace.update_ms, 1101, 1183), 0);
    EXPECT_EQ(count_in(trace.render_ms, 1101, 1183), 0);
    EXPECT_EQ(count_in(trace.update_ms, 1184, 1184), 1);
}

TEST_F(Loop, ChangingTheRateResetsTheTickNumberAndRestartsTheSchedule)
{
    start();
    script.last_pass = 600;
    script.at = [](uint64_t ms) {
        if (ms == 500)
            lum_set_logic_rate(30);
    };
    testing::internal::CaptureStdout();
    lum_run(0);
    std::string out = testing::internal::GetCapturedStdout();
    // At 500 ms the tick number at 30 per second is 15.
    EXPECT_NE(out.find("RATE 30\n"), std::string::npos) << out;
    EXPECT_NE(out.find("[lum 0.50s (15)] changed logic rate 60 -> 30\n"), std::string::npos) << out;
    EXPECT_EQ(lum_logic_rate(), 30);
    // The schedule restarts at tick 15: the next ticks fall at 534 and 567 ms (ticks 16, 17).
    std::vector<uint64_t> after;
    std::vector<uint32_t> numbers;
    for (size_t i = 0; i < trace.update_ms.size(); i++)
        if (trace.update_ms[i] >= 500) {
            after.push_back(trace.update_ms[i]);
            numbers.push_back(trace.update_ticks[i]);
        }
    ASSERT_GE(after.size(), 2u);
    EXPECT_EQ(after[0], 534u);
    EXPECT_EQ(after[1], 567u);
    EXPECT_EQ(numbers[0], 16u);
    EXPECT_EQ(numbers[1], 17u);
}

TEST_F(Loop, RefusedRateStaysStoredAndKeepsTheTickNumber)
{
    start();
    uint32_t before = lum_ticks;
    fake_platform.set_logic_rate_result = -1;
    fake_platform.ms = 5000;
    EXPECT_EQ(lum_set_logic_rate(4), -1);
    EXPECT_EQ(lum_logic_rate(), 4);
    EXPECT_EQ(lum_ticks, before);
}

TEST_F(Loop, FramesPerSecondCountsTheLastWholeSecond)
{
    start();
    script.last_pass = 2001;
    lum_run(0);
    EXPECT_EQ(lum_fps(), 60);
}

TEST_F(Loop, DisabledRenderingKeepsTicksAndFramesPerSecondFallsToZero)
{
    start();
    script.last_pass = 4001;
    script.at = [](uint64_t ms) {
        if (ms == 2500)
            lum_disable_render(1);
        if (ms == 3001) {
            EXPECT_GT(lum_fps(), 0) << "frames of the second in which rendering stopped";
        }
    };
    testing::internal::CaptureStdout();
    lum_run(0);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("lum_disable_render 0 _> 1\n"), std::string::npos) << out;
    EXPECT_EQ(count_in(trace.update_ms, 2500, 4000), 91) << "ticks 150 to 240 still run at the full rate";
    EXPECT_EQ(count_in(trace.render_ms, 2500, 4001), 0);
    EXPECT_EQ(lum_fps(), 0);
}

TEST_F(Loop, DisableRenderLogsOnlyChanges)
{
    start();
    testing::internal::CaptureStdout();
    lum_disable_render(0);
    lum_disable_render(1);
    lum_disable_render(1);
    lum_disable_render(0);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("_> 1\n"), out.rfind("_> 1\n")) << out;
    EXPECT_NE(out.find("lum_disable_render 1 _> 0\n"), std::string::npos) << out;
    EXPECT_EQ(out.find("lum_disable_render 0 _> 0"), std::string::npos) << out;
}

TEST_F(Loop, EachTickPollsDeliversUpdatesAndClearsInputInOrder)
{
    start();
    script.last_pass = 17;
    fake_platform.on_poll = [] {
        INPUT_EVENT e{INPUT_PRESSED, K_F5, 0, 0.0f, 0.0f, 0};
        input_add_event(&e);
    };
    test_screen.update = [] {
        // The event polled in this tick has been delivered before the screen's update.
        EXPECT_EQ(keyevent[K_F5], INPUT_PRESSED);
        EXPECT_EQ(keys[K_F5], 1);
        screen_update();
    };
    lum_run(0);
    test_screen.update = screen_update;
    EXPECT_EQ(trace.update_ms.size(), 1u);
    EXPECT_EQ(keyevent[K_F5], 0) << "cleared at the end of the tick";
    EXPECT_EQ(keys[K_F5], 1) << "held keys stay";
}

TEST_F(Loop, EveryTickAdvancesTheAudioHandOverMarkerWrappingAt256)
{
    start();
    lum_settings.synth_effects_state = 250;
    script.last_pass = 200;  // 12 ticks
    lum_run(0);
    EXPECT_EQ(trace.update_ms.size(), 12u);
    EXPECT_EQ(lum_settings.synth_effects_state, 6);
}

TEST_F(Loop, QuitEndsTheLoopAfterTheCurrentPassAndShutsDown)
{
    start();
    script.last_pass = 50;
    testing::internal::CaptureStdout();
    EXPECT_EQ(lum_run(0), 0);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(fake_platform.ms, 51u) << "the pass at 50 ms ran, then its yield, then the loop ended";
    EXPECT_EQ(fake_platform.exits, 1);
    size_t quitting = out.find("Quitting...\n");
    ASSERT_NE(quitting, std::string::npos) << out;
    EXPECT_NE(out.find("Bye! :)\n", quitting), std::string::npos) << out;
    testing::internal::CaptureStdout();
    lum_exit();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "a second shut-down does nothing";
    EXPECT_EQ(fake_platform.exits, 1);
}

TEST_F(Loop, IdleModeRendersBeforeTheTicksAndRunsOnePass)
{
    start();
    fake_platform.ms = 17;
    EXPECT_EQ(lum_run(1), 1);  // the first pass: rate change, one frame, then the due tick
    ASSERT_EQ(trace.render_ms.size(), 1u);
    ASSERT_EQ(trace.update_ms.size(), 1u);
    EXPECT_EQ(lum_run(1), 1);  // no tick due: idle mode still renders
    EXPECT_EQ(trace.render_ms.size(), 2u);
    EXPECT_EQ(trace.update_ms.size(), 1u);
    EXPECT_EQ(fake_platform.yields, 0) << "a host that calls once per frame does its own waiting";
}

TEST_F(Loop, IdleModeAfterQuitShutsDownAndReturnsZero)
{
    start();
    lum_quit();
    EXPECT_EQ(lum_run(1), 0);
    EXPECT_EQ(fake_platform.exits, 1);
    EXPECT_TRUE(trace.render_ms.empty());
}

TEST_F(Loop, RunStartsTheFrameworkAndOpensTheDefaultModeWhenNeeded)
{
    fake_platform.display_w = 1;
    EXPECT_EQ(lum_run(1), 1);
    EXPECT_EQ(fake_platform.inits, 1);
    EXPECT_EQ(fake_platform.display_w, 0) << "lum_graphics(0, 0, 0, 0): the platform's default mode";
    EXPECT_EQ(fake_platform.display_h, 0);
}

TEST_F(Loop, PauseIsOnlyAFlagAndTicksGoOn)
{
    start();
    lum_pause(1);
    EXPECT_EQ(lum_is_paused(), 1);
    script.last_pass = 100;
    lum_run(0);
    EXPECT_EQ(trace.update_ms.size(), 6u);
}

TEST(Lum, GraphicsPassesOnOnlyAZeroResultAsFailure)
{
    fake_platform_reset();
    fake_platform.set_graphics_result = 0;
    EXPECT_EQ(lum_graphics(10, 10, 0, 0), -1);
    fake_platform.set_graphics_result = -1;
    EXPECT_EQ(lum_graphics(10, 10, 0, 0), 1);
    fake_platform.set_graphics_result = 1;
    EXPECT_EQ(lum_graphics(320, 480, 0, 0), 1);
    EXPECT_EQ(lum_w(), 320.0);
    EXPECT_EQ(lum_h(), 480.0);
}

TEST(Lum, AppNameIsUnnamedUntilSetAndKeepsThePointer)
{
    EXPECT_STREQ(lum_app_name(), "unnamed");
    static const char name[] = "lumlife";
    lum_set_app_name(name);
    EXPECT_EQ(lum_app_name(), name);
    lum_set_app_name(nullptr);
    EXPECT_STREQ(lum_app_name(), "unnamed");
}

TEST(Lum, LerpBlendsBetweenTheEnds)
{
    EXPECT_DOUBLE_EQ(lum_lerp(0.0f, 2.0f, 6.0f), 2.0);
    EXPECT_DOUBLE_EQ(lum_lerp(1.0f, 2.0f, 6.0f), 6.0);
    EXPECT_DOUBLE_EQ(lum_lerp(0.25f, 2.0f, 6.0f), 3.0);
}

TEST(Lum, EnableWaveFailsWithTheStreamResultWhenThereIsNoAudio)
{
    fake_platform_reset();
    lum_init();
    lum_settings.stream_init_result = -1;
    EXPECT_EQ(lum_enable_wave(1), -1);
    EXPECT_EQ(lum_settings.enable_wav, 0);
    lum_settings.stream_init_result = 0;
    EXPECT_EQ(lum_enable_wave(1), 0);
    EXPECT_EQ(lum_settings.enable_wav, 0);
    lum_settings.stream_init_result = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(lum_enable_wave(1), 1);
    EXPECT_EQ(lum_enable_wave(0), 1);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("ENABLE WAV? 0\n"), std::string::npos) << out;
    EXPECT_NE(out.find("ENABLE WAV? 1\n"), std::string::npos) << out;
    EXPECT_EQ(lum_settings.enable_wav, 0);
}

TEST(Lum, StartUpClearsTheAudioSwitchesAndKeepsTheGlitchHookSettable)
{
    fake_platform_reset();
    lum_settings.enable_synth = 1;
    lum_settings.render_first = 1;
    lum_init();
    EXPECT_EQ(lum_settings.enable_synth, 0);
    EXPECT_EQ(lum_settings.render_first, 0);
    EXPECT_EQ(lum_settings.callback_glitch, nullptr);
    auto hook = [](int16_t *, int, int) {};
    lum_set_glitch_callback(hook);
    EXPECT_EQ(lum_settings.callback_glitch, +hook);
}

// A new video mode's frame state comes from the drawing module, which the platform reaches only
// through the hook the runtime installs at start-up
TEST(Lum, StartUpGivesThePlatformTheDrawingsResetForNewModes)
{
    fake_platform_reset();
    lum_init();
    EXPECT_EQ(fake_platform.mode_hook, &draw_reset);
}
