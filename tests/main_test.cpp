// Tests of the application shell: the hex dump's exact layout, the layout and the debug keys,
// the per-tick pointer dispatch, the title screen, text with a shadow, the button look and
// frame, the atlas overlay and the text utilities. (The settings file the shell loads and saves
// is tested in game_settings_file_test.cpp.)
// Drawing is read back from the atlas batches (no graphics context exists here); the sound
// effects are the recording test double.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "atlas.h"
#include "buttons.h"
#include "capture.h"
#include "core_state.h"
#include "fake_sounds.h"
#include "fake_wrapper.h"
#include "game.h"
#include "glyphs.h"
#include "input.h"
#include "life.h"
#include "lum.h"
#include "main.h"
#include "process.h"
#include "rnd.h"
#include "sine.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"

namespace {

// Start-up loads the settings file from the per-user folder: the whole test program has a
// temporary HOME, so that no test reads or makes the user's own files
class TempHome : public ::testing::Environment {
public:
    void SetUp() override
    {
        home_ = process_temp_dir("lumlife-shell-test");
        ASSERT_FALSE(home_.empty());
        setenv("HOME", home_.c_str(), 1);
        lum_set_app_name("lumlife");
    }
    void TearDown() override { process_remove_dir(home_); }

private:
    std::string home_;
};
const auto *const temp_home = ::testing::AddGlobalTestEnvironment(new TempHome);

TEST(Dump, TwentyBytesGiveTwoRowsTheSecondPaddedWithTwelveBlankTriples)
{
    const char *bytes = "ABCDEFGHIJKLMNOPQRST";
    testing::internal::CaptureStdout();
    dump("label", bytes, 20);
    std::string out = testing::internal::GetCapturedStdout();
    std::string expected = "label (20 bytes):\n"
                           "  0000  41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
                           "  0010  51 52 53 54" +
                           std::string(36, ' ') + "  QRST\n";
    EXPECT_EQ(out, expected);
}

TEST(Dump, AWholeRowNeedsNoPadding)
{
    uint8_t bytes[16];
    for (int i = 0; i < 16; i++)
        bytes[i] = static_cast<uint8_t>(i * 17);
    testing::internal::CaptureStdout();
    dump(nullptr, bytes, 16);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "  0000  00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff  ..\"3DUfw........\n");
}

TEST(Dump, OnlyBytesFrom32To126ShowAsText)
{
    const uint8_t bytes[] = {31, 32, 126, 127, 0x80, 'a'};
    testing::internal::CaptureStdout();
    dump(nullptr, bytes, 6);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "  0000  1f 20 7e 7f 80 61" + std::string(30, ' ') + "  . ~..a\n");
}

TEST(Dump, NothingToDumpPrintsAnEmptyTextColumn)
{
    const char byte = 'x';
    testing::internal::CaptureStdout();
    dump("none", &byte, 0);
    dump(nullptr, &byte, -5);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "none (0 bytes):\n  \n  \n");
}

//----------------------------------------------------------------------------------
// The shell's globals as the program starts, read before any test changes them
//----------------------------------------------------------------------------------
const int initial_scale_base = global_scale_base;
const float initial_scale = global_scale;
const int initial_landscape = landscape;
const int initial_play_w = play_w;
const int initial_play_h = play_h;
const int initial_debug_atlas = debug_atlas;
const RGBA initial_shadow = shadow;

TEST(ShellGlobals, StartWithScaleOneLandscapeNoLayoutNoOverlayAndABlackShadow)
{
    EXPECT_EQ(initial_scale_base, 1);
    EXPECT_EQ(initial_scale, 1.0f);
    EXPECT_EQ(initial_landscape, 1);
    EXPECT_EQ(initial_play_w, 0);
    EXPECT_EQ(initial_play_h, 0);
    EXPECT_EQ(initial_debug_atlas, 0);
    EXPECT_EQ(initial_shadow.r, 0.0f);
    EXPECT_EQ(initial_shadow.g, 0.0f);
    EXPECT_EQ(initial_shadow.b, 0.0f);
    EXPECT_EQ(initial_shadow.a, 1.0f);
}

TEST(ShellHooks, LoadUrlDoesNothingAndReturnsZeroAndInfoDoesNothing)
{
    std::string out = capture_stdout([] {
        EXPECT_EQ(app_load_url("https://example.org/"), 0);
        EXPECT_EQ(app_load_url(nullptr), 0);
        app_state_info("info");
        app_state_info(nullptr);
    });
    EXPECT_EQ(out, "");
}

//----------------------------------------------------------------------------------
// Fixture: the framework over the platform's test double, a font and interface sprites laid
// out on atlas 0 as start-up lays them out (160 glyph sprites of 8 x 8 from code 32, the
// interface sprites from the 97th on), a neutral current screen and a fresh layout
//----------------------------------------------------------------------------------
constexpr int PAGE = 512;           // atlas 0's page, as start-up creates it
constexpr int FONT_GLYPHS = 160;    // codes 32..191
constexpr int CELL = 8;             // every glyph and interface sprite is 8 x 8
constexpr float NEAR = 1e-3f;

// A screen that counts its enter and leave calls
int recorded_enters = 0;
int recorded_leaves = 0;
STATE recording_state = {[] { recorded_enters++; }, nullptr, nullptr, [] { recorded_leaves++; }};
STATE idle_state = {nullptr, nullptr, nullptr, nullptr};

// What a recording button handler received, in order
std::vector<int> handler_actions;
int recording_handler(BTN *, int action)
{
    handler_actions.push_back(action);
    return 1;
}

// A quad of a batch: its centre, its size and the left texture coordinate that names its sprite
struct QUAD {
    float x, y, w, h;
    int u;
    uint8_t r, g, b, a;
};

class Shell : public ::testing::Test {
protected:
    void SetUp() override
    {
        capture_stdout([] {
            lum_init();
            fake_platform_reset();
            input_init();
            lum_set_logic_rate(60);
            buttons_start();
        });
        init_sine_table();
        clear_atlases();
        atlas_[0].image.texture_w = PAGE;
        atlas_[0].image.texture_h = PAGE;
        for (SPRITE &sprite : sprites_)
            sprite = SPRITE{};
        // Sprite i sits at column i of its row of 64, so its left texture coordinate names it
        for (int i = 0; i < FONT_GLYPHS; i++) {
            SPRITE &sprite = sprites_[i];
            sprite.atlasx = static_cast<int16_t>((i % 64) * CELL);
            sprite.atlasy = static_cast<int16_t>((i / 64) * CELL);
            sprite.w = sprite.h = sprite.boxw = sprite.boxh = CELL;
            sprite.atlas = &atlas_[0].image;
        }
        spritecount = FONT_GLYPHS;
        glyphs = sprite_get(0);
        glyphs_make_font(&font8x8, 0, 32, FONT_GLYPHS);
        sprites = glyphs + 96;
        fake_sounds_reset();
        handler_actions.clear();
        recorded_enters = recorded_leaves = 0;
        global_scale_base = 1;
        debug_atlas = 0;
        shadow = RGBA{0.0f, 0.0f, 0.0f, 1.0f};
        state_set(&idle_state);
        turtle_reset();
        turtle_set_scale(1.0);
        lay_out(960, 640);
    }

    void TearDown() override
    {
        clear_atlases();
        state_set(&idle_state);
        capture_stdout([] { input_init(); });
    }

    // Lay out for a display of w x h, whatever the last layout was: through a 0 x 0 display,
    // which differs from every size used here. Returns the log of the second layout.
    static std::vector<std::string> lay_out(int w, int h)
    {
        fake_platform.display_w = 0;
        fake_platform.display_h = 0;
        capture_stdout([] { main_update(); });
        fake_platform.display_w = w;
        fake_platform.display_h = h;
        int result = 0;
        std::vector<std::string> log = log_messages(capture_stdout([&result] { result = main_update(); }));
        EXPECT_EQ(result, 1) << w << "x" << h;
        return log;
    }

    // One tick of the shell's dispatch with the given key events
    static int tick_with_buttons(int num_touches)
    {
        int result = 0;
        capture_stdout([&] { result = main_update_with_buttons(num_touches); });
        return result;
    }

    static int plotted(int atlas = 0, int batch = 0)
    {
        return atlas_[atlas].batch[batch].count;
    }

    // Quad n of a batch, read from its first and last corner (axis-aligned quads only)
    static QUAD quad(int n, int atlas = 0, int batch = 0)
    {
        const BATCH_ITEM *v = atlas_[atlas].batch[batch].entry + 4 * n;
        return QUAD{(v[0].x + v[3].x) * 0.5f, (v[0].y + v[3].y) * 0.5f, v[3].x - v[0].x, v[3].y - v[0].y,
                    v[0].u, v[0].r, v[0].g, v[0].b, v[0].a};
    }

    // The left texture coordinate of interface sprite id (numbered from `sprites`)
    static int ui_u(int id)
    {
        return ((96 + id) % 64) * CELL;
    }

    static void expect_quad(int n, int u, float x, float y, float w, float h, const std::string &what)
    {
        QUAD q = quad(n);
        EXPECT_EQ(q.u, u) << what;
        EXPECT_NEAR(q.x, x, NEAR) << what;
        EXPECT_NEAR(q.y, y, NEAR) << what;
        EXPECT_NEAR(q.w, w, NEAR) << what;
        EXPECT_NEAR(q.h, h, NEAR) << what;
    }

    // A button covering the whole display with the recording handler, touchable from any touch
    static BTN *whole_screen_button()
    {
        BTN *b = nullptr;
        capture_stdout([&b] {
            main_buttons_start();
            buttons_set_click_defaults(0, 0, 0);
            button_set_box(0.0f, 0.0f, 1.0f, 1.0f);
            button_set_layout(1, 1);
            b = button_ex(0.0f, 0.0f, 1, "X", recording_handler);
        });
        handler_actions.clear();
        return b;
    }
};

//----------------------------------------------------------------------------------
// Start-up
//----------------------------------------------------------------------------------
// Over the platform's test double no image decodes, and without a graphics context the upload
// makes no texture; the order of the steps and where start-up leaves the toy are checked here
TEST_F(Shell, StartUpNamesTheWindowLoadsConfiguresAndEndsOnTheTitleScreen)
{
    capture_stdout([] { lum_set_logic_rate(4); });
    std::string out = capture_stdout([] { app_state_init(); });
    capture_stdout([] { atlas_exit(); });  // the page made by start-up
    EXPECT_EQ(fake_platform.title, "Lum Life");
    EXPECT_EQ(lum_logic_rate(), 60);
    EXPECT_EQ(state_current(), &main_state);
    EXPECT_EQ(counter, 30);
    EXPECT_EQ(turtle.scalex, 0.0) << "the turtle was reset";
    EXPECT_EQ(turtle.a, 1.0);
    const std::string steps[] = {": lum_set_logic_rate\n", "] RATE 60\n", ": game_reset\n",
                                 "] Created 512x512 texture", ": load_settings\n", ": game_update_config\n",
                                 "] CONFIG SET: b3s23w\n"};
    size_t at = 0;
    for (const std::string &step : steps) {
        at = out.find(step, at);
        ASSERT_NE(at, std::string::npos) << "'" << step << "' missing or out of order\n" << out;
    }
}

//----------------------------------------------------------------------------------
// Layout
//----------------------------------------------------------------------------------
TEST_F(Shell, The960By640StartWindowIsScaleTwoWithALayoutOf480By320)
{
    std::vector<std::string> log = lay_out(960, 640);
    EXPECT_EQ(log, (std::vector<std::string>{"NEW LAYOUT 960x640 global_scale 2.000000 (480x320)"}));
    EXPECT_EQ(landscape, 1);
    EXPECT_EQ(global_scale, 2.0f);
    EXPECT_EQ(play_w, 480);
    EXPECT_EQ(play_h, 320);
}

TEST_F(Shell, A1024By768WindowIsLandscapeScaleTwoWithALayoutOf512By384)
{
    std::vector<std::string> log = lay_out(1024, 768);
    EXPECT_EQ(log, (std::vector<std::string>{"NEW LAYOUT 1024x768 global_scale 2.000000 (512x384)"}));
    EXPECT_EQ(landscape, 1);
    EXPECT_EQ(global_scale, 2.0f);
    EXPECT_EQ(play_w, 512);
    EXPECT_EQ(play_h, 384);
}

TEST_F(Shell, A320By480WindowIsPortraitScaleOneWithALayoutOf320By480)
{
    std::vector<std::string> log = lay_out(320, 480);
    EXPECT_EQ(log, (std::vector<std::string>{"NEW LAYOUT 320x480 global_scale 1.000000 (320x480)"}));
    EXPECT_EQ(landscape, 0);
    EXPECT_EQ(global_scale, 1.0f);
    EXPECT_EQ(play_w, 320);
    EXPECT_EQ(play_h, 480);
}

TEST_F(Shell, A400By300WindowFitsNoWhole480PixelStepAndStaysAtScaleOne)
{
    std::vector<std::string> log = lay_out(400, 300);
    EXPECT_EQ(log, (std::vector<std::string>{"NEW LAYOUT 400x300 global_scale 1.000000 (400x300)"}));
    EXPECT_EQ(landscape, 1);
    EXPECT_EQ(global_scale, 1.0f);
    EXPECT_EQ(play_w, 400);
    EXPECT_EQ(play_h, 300);
}

// The scale follows the longer side in 480-pixel steps; a square counts as portrait
TEST_F(Shell, TheScaleFollowsTheLongerSideInStepsOf480)
{
    struct CASE {
        int w, h, landscape;
        float scale;
        int play_w, play_h;
    };
    const CASE cases[] = {
        {1136, 640, 1, 2.0f, 568, 320},   // 1136 / 480 = 2.37
        {320, 568, 0, 1.0f, 320, 568},    // 568 / 480 = 1.18
        {480, 320, 1, 1.0f, 480, 320},
        {1920, 1080, 1, 4.0f, 480, 270},  // 1920 / 480 = 4
        {959, 2000, 0, 4.0f, 239, 500},   // 2000 / 480 = 4.17; 959 / 4 = 239.75
        {479, 100, 1, 1.0f, 479, 100},
        {700, 700, 0, 1.0f, 700, 700},    // 700 / 480 = 1.46
        {1440, 1440, 0, 3.0f, 480, 480},
    };
    for (const CASE &c : cases) {
        lay_out(c.w, c.h);
        EXPECT_EQ(landscape, c.landscape) << c.w << "x" << c.h;
        EXPECT_EQ(global_scale, c.scale) << c.w << "x" << c.h;
        EXPECT_EQ(play_w, c.play_w) << c.w << "x" << c.h;
        EXPECT_EQ(play_h, c.play_h) << c.w << "x" << c.h;
    }
}

TEST_F(Shell, TheScaleBaseMultipliesTheSteps)
{
    global_scale_base = 3;
    std::vector<std::string> log = lay_out(960, 640);
    EXPECT_EQ(log, (std::vector<std::string>{"NEW LAYOUT 960x640 global_scale 6.000000 (160x106)"}));
    EXPECT_EQ(global_scale, 6.0f);
    EXPECT_EQ(play_w, 160);
    EXPECT_EQ(play_h, 106);  // 640 / 6 = 106.67
    // Below one step the base multiplies 0, and the scale is still at least 1
    lay_out(400, 300);
    EXPECT_EQ(global_scale, 1.0f);
}

TEST_F(Shell, AnUnchangedDisplayIsNotLaidOutAgain)
{
    lay_out(1024, 768);
    int result = -1;
    std::string out = capture_stdout([&result] { result = main_update(); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(play_w, 512);
    // A change of either side is a new layout
    fake_platform.display_h = 767;
    out = capture_stdout([&result] { result = main_update(); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(log_messages(out), (std::vector<std::string>{"NEW LAYOUT 1024x767 global_scale 2.000000 (512x383)"}));
}

//----------------------------------------------------------------------------------
// Debug keys
//----------------------------------------------------------------------------------
TEST_F(Shell, F12ReleasedTogglesTheAtlasOverlay)
{
    keyevent[K_F12] = INPUT_RELEASED;
    capture_stdout([] { main_update(); });
    EXPECT_EQ(debug_atlas, 1);
    capture_stdout([] { main_update(); });
    EXPECT_EQ(debug_atlas, 0);
    // A press and release in one tick has the released bit too
    keyevent[K_F12] = INPUT_PRESSED | INPUT_RELEASED;
    capture_stdout([] { main_update(); });
    EXPECT_EQ(debug_atlas, 1);
    // A press or a hold alone changes nothing
    keyevent[K_F12] = INPUT_PRESSED;
    capture_stdout([] { main_update(); });
    keyevent[K_F12] = 0;
    capture_stdout([] { main_update(); });
    EXPECT_EQ(debug_atlas, 1);
    // Any other value toggles back to 0, not to another number
    debug_atlas = 5;
    keyevent[K_F12] = INPUT_RELEASED;
    capture_stdout([] { main_update(); });
    EXPECT_EQ(debug_atlas, 0);
}

TEST_F(Shell, F5ReentersTheCurrentScreenAndSkipsTheLayoutThatTick)
{
    state_set(&recording_state);
    fake_platform.display_w = 1024;
    fake_platform.display_h = 768;
    keyevent[K_F5] = INPUT_RELEASED;
    int result = -1;
    std::string out = capture_stdout([&result] { result = main_update(); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out, "") << "no layout that tick";
    EXPECT_EQ(recorded_leaves, 1);
    EXPECT_EQ(recorded_enters, 1);
    EXPECT_EQ(state_current(), &recording_state);
    EXPECT_EQ(play_w, 480) << "still the 960 x 640 layout";
    // The next tick without F5 lays out
    keyevent[K_F5] = 0;
    out = capture_stdout([&result] { result = main_update(); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(log_messages(out), (std::vector<std::string>{"NEW LAYOUT 1024x768 global_scale 2.000000 (512x384)"}));
    EXPECT_EQ(recorded_enters, 1);
}

TEST_F(Shell, F5PressedWithoutReleaseDoesNothing)
{
    state_set(&recording_state);
    keyevent[K_F5] = INPUT_PRESSED;
    capture_stdout([] { main_update(); });
    EXPECT_EQ(recorded_enters, 0);
    EXPECT_EQ(recorded_leaves, 0);
}

TEST_F(Shell, F9TogglesBetweenSixtyAndFourTicksAndAnyOtherRateGoesBackToSixty)
{
    keyevent[K_F9] = INPUT_RELEASED;
    tick_with_buttons(0);
    EXPECT_EQ(lum_logic_rate(), 4);
    tick_with_buttons(0);
    EXPECT_EQ(lum_logic_rate(), 60);
    capture_stdout([] { lum_set_logic_rate(30); });
    tick_with_buttons(0);
    EXPECT_EQ(lum_logic_rate(), 60);
    capture_stdout([] { lum_set_logic_rate(4); });
    keyevent[K_F9] = INPUT_PRESSED;
    tick_with_buttons(0);
    EXPECT_EQ(lum_logic_rate(), 4) << "only the release toggles";
    keyevent[K_F9] = INPUT_PRESSED | INPUT_RELEASED;
    tick_with_buttons(0);
    EXPECT_EQ(lum_logic_rate(), 60);
}

// NOTE: the screen-mode counter lives for the whole process; this is the only test that moves
// it, and it moves it a whole cycle, so it starts at the first mode whatever the test order.
TEST_F(Shell, F1StepsThroughSixWindowSizesAndTheSixthPressReturnsTo960By640)
{
    const int sizes[6][2] = {{320, 480}, {480, 320}, {320, 568}, {1136, 640}, {1024, 768}, {960, 640}};
    for (const auto &size : sizes) {
        // A press, or a press and release in one tick, is not exactly a release
        keyevent[K_F1] = INPUT_PRESSED;
        tick_with_buttons(0);
        keyevent[K_F1] = INPUT_PRESSED | INPUT_RELEASED;
        tick_with_buttons(0);
        EXPECT_EQ(fake_platform.display_w, 960) << "not yet";
        EXPECT_EQ(fake_platform.display_h, 640) << "not yet";
        keyevent[K_F1] = INPUT_RELEASED;
        tick_with_buttons(0);
        EXPECT_EQ(fake_platform.display_w, size[0]);
        EXPECT_EQ(fake_platform.display_h, size[1]);
        // The same tick's layout has followed the new window
        EXPECT_EQ(play_w, static_cast<int>(size[0] / global_scale));
        keyevent[K_F1] = 0;
        fake_platform.display_w = 960;
        fake_platform.display_h = 640;
    }
}

//----------------------------------------------------------------------------------
// Per-tick dispatch
//----------------------------------------------------------------------------------
TEST_F(Shell, DispatchSetsTheTurtleScaleToTheGlobalScale)
{
    turtle_set_scale(7.0);
    tick_with_buttons(0);
    EXPECT_EQ(turtle.scalex, 2.0);
    EXPECT_EQ(turtle.scaley, 2.0);
}

TEST_F(Shell, AReleasedPointerClicksUpAPressedOneDownAndAHeldOneHolds)
{
    BTN *b = whole_screen_button();
    ASSERT_NE(b, nullptr);
    struct CASE {
        int state, down;
        std::vector<int> actions;
    };
    const CASE cases[] = {
        {INPUT_RELEASED, 0, {BTN_UP, BTN_UPDATE}},
        {INPUT_PRESSED, 1, {BTN_DOWN, BTN_UPDATE}},
        {INPUT_PRESSED | INPUT_RELEASED, 0, {BTN_UP, BTN_UPDATE}},  // release wins
        {INPUT_PRESSED | INPUT_MOVED, 1, {BTN_DOWN, BTN_UPDATE}},
        {INPUT_MOVED, 1, {BTN_HOLD, BTN_UPDATE}},
        {0, 1, {BTN_HOLD, BTN_UPDATE}},
        {INPUT_MOVED, 0, {BTN_UPDATE}},  // a hover is nothing
        {0, 0, {BTN_UPDATE}},
    };
    for (const CASE &c : cases) {
        mouse_state[0] = MOUSE_STATE{123, 45, c.state, c.down};
        handler_actions.clear();
        tick_with_buttons(1);
        EXPECT_EQ(handler_actions, c.actions) << "state " << c.state << " down " << c.down;
        if (c.actions.size() > 1) {
            EXPECT_EQ(b->touchx, 123.0f);
            EXPECT_EQ(b->touchy, 45.0f);
        }
    }
}

TEST_F(Shell, NoTouchesExamineNoPointerSlot)
{
    whole_screen_button();
    mouse_state[0] = MOUSE_STATE{10, 10, INPUT_PRESSED, 1};
    for (int touches : {0, -1, INT_MIN}) {
        handler_actions.clear();
        tick_with_buttons(touches);
        EXPECT_EQ(handler_actions, std::vector<int>{BTN_UPDATE}) << touches;
    }
}

TEST_F(Shell, EverySlotBelowTheTouchCountIsExaminedInOrderAndNoMore)
{
    BTN *b = whole_screen_button();
    mouse_state[0] = MOUSE_STATE{10, 20, INPUT_PRESSED, 1};
    mouse_state[1] = MOUSE_STATE{30, 40, INPUT_RELEASED, 0};
    mouse_state[2] = MOUSE_STATE{50, 60, 0, 1};
    tick_with_buttons(2);
    EXPECT_EQ(handler_actions, (std::vector<int>{BTN_DOWN, BTN_UP, BTN_UPDATE}));
    EXPECT_EQ(b->touchx, 30.0f) << "slot 1 came last";
    handler_actions.clear();
    tick_with_buttons(3);
    EXPECT_EQ(handler_actions, (std::vector<int>{BTN_DOWN, BTN_UP, BTN_HOLD, BTN_UPDATE}));
    // A count beyond the pointer slots stops at the last slot
    for (MOUSE_STATE &m : mouse_state)
        m = MOUSE_STATE{70, 80, 0, 1};
    handler_actions.clear();
    tick_with_buttons(1000);
    EXPECT_EQ(handler_actions.size(), static_cast<size_t>(INPUT_POINTER_COUNT + 1));
}

TEST_F(Shell, ATouchOutsideEveryButtonReachesNoHandler)
{
    BTN *b = whole_screen_button();
    b->rx = 10.0f;
    b->ry = 10.0f;
    mouse_state[0] = MOUSE_STATE{static_cast<int>(b->x) + 11, static_cast<int>(b->y), INPUT_PRESSED, 1};
    tick_with_buttons(1);
    EXPECT_EQ(handler_actions, std::vector<int>{BTN_UPDATE});
}

TEST_F(Shell, DispatchReturnsWhetherANewLayoutWasComputed)
{
    EXPECT_EQ(tick_with_buttons(0), 0);
    fake_platform.display_w = 320;
    fake_platform.display_h = 480;
    EXPECT_EQ(tick_with_buttons(0), 1);
    EXPECT_EQ(play_h, 480);
    EXPECT_EQ(tick_with_buttons(0), 0);
}

//----------------------------------------------------------------------------------
// Title screen
//----------------------------------------------------------------------------------
TEST_F(Shell, TheTitleCountsDownThirtyTicksWith15RisingPipsAndThenShowsTheGame)
{
    capture_stdout([] { state_switch(&main_state); });
    EXPECT_EQ(counter, 30);
    EXPECT_EQ(main_state.leave, nullptr);
    size_t pips = 0;
    for (int tick = 1; tick <= 30; tick++) {
        ASSERT_EQ(state_current(), &main_state) << "tick " << tick;
        // The spread factor this tick will draw: frnd(1, 2) = 1 + mrand() * 1 / 65535
        uint32_t seed = mrand_seed;
        float m = 1.0f + static_cast<float>(mrand_ex(&seed)) / 65535.0f;
        capture_stdout([] { state_update(); });
        int c = 30 - tick;
        if (tick < 30) {
            ASSERT_EQ(counter, c);
        }
        if (c % 2 == 1) {
            ASSERT_EQ(fake_sounds.size(), pips + 1) << "a pip at count " << c;
            const FAKE_SOUND &pip = fake_sounds[pips];
            EXPECT_EQ(pip.name, "sound_pip");
            EXPECT_EQ(pip.pitch, 1.0f);
            EXPECT_EQ(pip.length, 75);
            // 21.827 Hz rising to three times itself, times 3, spread by 1..2
            double base = (21.827 + 2.0 * (1.0 - c / 30.0) * 21.827) * 3.0;
            EXPECT_NEAR(pip.effect.freq, m * base, base * 1e-5) << "count " << c;
            EXPECT_GE(pip.effect.freq, base * (1.0 - 1e-6));
            EXPECT_LE(pip.effect.freq, 2.0 * base * (1.0 + 1e-6));
            EXPECT_EQ(pip.effect.duty, 0.9f);
            EXPECT_EQ(pip.effect.d, 25.0f);
            EXPECT_EQ(pip.effect.s, 0.25f);
            EXPECT_EQ(pip.effect.r, 125.0f);
            pips++;
        } else if (tick < 30) {
            ASSERT_EQ(fake_sounds.size(), pips) << "no pip at count " << c;
        }
    }
    EXPECT_EQ(pips, 15u);
    EXPECT_EQ(state_current(), &game_state) << "the game screen after exactly 30 ticks";
    // The bounds of the first and the last pip: from 3 x 21.827 x (1 + 2/30) up to twice
    // 3 x 21.827 x (1 + 2 x 29/30)
    EXPECT_GE(fake_sounds[0].effect.freq, 65.481 * (1.0 + 2.0 / 30.0) - 1e-3);
    EXPECT_LE(fake_sounds[14].effect.freq, 2.0 * 65.481 * (1.0 + 58.0 / 30.0) + 1e-3);
}

TEST_F(Shell, TheTitleIsStillShownAfter29Ticks)
{
    capture_stdout([] { state_switch(&main_state); });
    for (int tick = 1; tick <= 29; tick++)
        capture_stdout([] { state_update(); });
    EXPECT_EQ(state_current(), &main_state);
    EXPECT_EQ(counter, 1);
}

TEST_F(Shell, TheTitlePassesPointersAndKeysOn)
{
    BTN *b = whole_screen_button();
    capture_stdout([] { state_switch(&main_state); });
    mouse_state[0] = MOUSE_STATE{100, 100, INPUT_PRESSED, 1};
    capture_stdout([] { state_update(); });
    EXPECT_EQ(handler_actions, (std::vector<int>{BTN_DOWN, BTN_UPDATE}));
    EXPECT_EQ(b->touchx, 100.0f);
    // F5 restarts the countdown
    mouse_state[0] = MOUSE_STATE{};
    capture_stdout([] { state_update(); });
    EXPECT_EQ(counter, 28);
    keyevent[K_F5] = INPUT_RELEASED;
    capture_stdout([] { state_update(); });
    EXPECT_EQ(counter, 30);
}

//----------------------------------------------------------------------------------
// Text with a shadow
//----------------------------------------------------------------------------------
TEST_F(Shell, PlotTextDrawsTheShadowFirstOneUnitAcrossAndOneDownThenTheText)
{
    turtle_set_scale(2.0);
    turtle_set_pos_unscaled(100.0, 50.0);
    turtle_set_rgba(0.5, 0.6, 0.7, 0.8);
    plot_text_set_shadow(0.1f, 0.2f, 0.3f, 0.5f);
    EXPECT_EQ(shadow.g, 0.2f);
    std::vector<unsigned char> before = turtle_bytes();
    capture_stdout([] { plot_text("AB", 0); });
    EXPECT_EQ(turtle_bytes(), before) << "the turtle is left as it was";
    ASSERT_EQ(plotted(), 4);
    // Left aligned: glyph centres at 100 + 8 and 100 + 24 at scale 2; the shadow 2 pixels
    // right and 2 down
    for (int i = 0; i < 2; i++) {
        QUAD s = quad(i);
        QUAD t = quad(2 + i);
        EXPECT_EQ(s.u, t.u);
        EXPECT_EQ(t.u, ui_u('A' + i - 32 - 96));
        EXPECT_NEAR(t.x, 108.0f + 16.0f * i, NEAR);
        EXPECT_NEAR(t.y, 50.0f, NEAR);
        EXPECT_NEAR(s.x, t.x + 2.0f, NEAR);
        EXPECT_NEAR(s.y, t.y + 2.0f, NEAR);
        EXPECT_NEAR(t.w, 16.0f, NEAR);
        EXPECT_NEAR(s.w, 16.0f, NEAR);
        // Shadow colour with alpha 0.5 x 0.8; text in the turtle's colour (x 255, truncated)
        EXPECT_EQ(s.r, 25);
        EXPECT_EQ(s.g, 51);
        EXPECT_EQ(s.b, 76);
        EXPECT_EQ(s.a, 102);
        EXPECT_EQ(t.r, 127);
        EXPECT_EQ(t.g, 153);
        EXPECT_EQ(t.b, 178);
        EXPECT_EQ(t.a, 204);
    }
}

// The shadow's offset is in the turtle's own frame: turned a quarter right, "across" points down
// the screen and "down" points left
TEST_F(Shell, TheShadowTurnsWithTheTurtle)
{
    turtle_set_scale(3.0);
    turtle_set_pos_unscaled(200.0, 100.0);
    turtle_set_angle(90.0);
    capture_stdout([] { plot_text("A", 1); });
    ASSERT_EQ(plotted(), 2);
    const BATCH_ITEM *v = atlas_[0].batch[0].entry;
    // Compare the first corner of the shadow with that of the text
    EXPECT_NEAR(v[0].x - v[4].x, -3.0f, NEAR);
    EXPECT_NEAR(v[0].y - v[4].y, 3.0f, NEAR);
}

TEST_F(Shell, PlotTextWithoutShadowDrawsOnlyTheText)
{
    turtle_set_pos_unscaled(10.0, 10.0);
    capture_stdout([] { plot_text_noshadow("ABC", 2); });
    ASSERT_EQ(plotted(), 3);
    // Right aligned: the text ends at the turtle
    EXPECT_NEAR(quad(2).x, 10.0f - 4.0f, NEAR);
    EXPECT_EQ(quad(0).a, 255);
}

TEST_F(Shell, PlotTextExUsesTheGivenFont)
{
    // A font whose 'A' is the interface sprite 33
    SPRITEFONT other{};
    glyphs_make_font(&other, 96 + 33, 'A', 1);
    capture_stdout([&other] { plot_text_ex("A", 1, 1, &other); });
    ASSERT_EQ(plotted(), 2);
    EXPECT_EQ(quad(0).u, ui_u(33));
    EXPECT_EQ(quad(1).u, ui_u(33));
    capture_stdout([&other] { plot_text_ex("A", 1, 0, &other); });
    EXPECT_EQ(plotted(), 3);
    // Nothing to draw: no text, no font
    capture_stdout([] {
        plot_text(nullptr, 1);
        plot_text_ex("A", 1, 1, nullptr);
    });
    EXPECT_EQ(plotted(), 3);
}

//----------------------------------------------------------------------------------
// The shell's button look
//----------------------------------------------------------------------------------
TEST_F(Shell, ButtonsStartedByTheShellTakeItsLook)
{
    turtle_set_scale(5.0);
    BTN *b = nullptr;
    std::vector<std::string> log = log_messages(capture_stdout([&b] {
        main_buttons_start();
        b = button(0.0f, 0.0f, 7, "OK");
    }));
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0].rfind("RESET ", 0), 0u) << log[0];
    EXPECT_EQ(turtle.scalex, 2.0) << "the turtle at the global scale";
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(buttons_count(), 1);
    EXPECT_EQ(b->update, main_btn_default);
    EXPECT_EQ(b->font, &font8x8);
    EXPECT_EQ(b->spriteid, MAIN_SPRITE_BACKING);
    EXPECT_EQ(b->pulse_amount, 0.5f);
    EXPECT_EQ(b->pulse_speed, 3.0f);
    EXPECT_EQ(b->noclick, 0);
    EXPECT_EQ(b->noclickthru, 1);
    EXPECT_EQ(b->noemptyclick, 1);
    EXPECT_EQ(b->font_scalex, 2.0f);
    const RGBA expect_bg{0.25f, 0.25f, 0.25f, 1.0f}, expect_fg{0.75f, 0.75f, 0.75f, 1.0f};
    const RGBA expect_hi_bg{0.75f, 0.75f, 0.75f, 1.0f}, expect_hi_fg{1.0f, 1.0f, 1.0f, 1.0f};
    auto same = [](const RGBA &a, const RGBA &b) { return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a; };
    EXPECT_TRUE(same(b->bg, expect_bg));
    EXPECT_TRUE(same(b->fg, expect_fg));
    EXPECT_TRUE(same(b->hi_bg, expect_hi_bg));
    EXPECT_TRUE(same(b->hi_fg, expect_hi_fg));
    // The label fits: squeezed with limit 1000 and clamp 1, so never enlarged
    EXPECT_EQ(b->squeezex, 1.0f);
}

TEST_F(Shell, TheDefaultButtonActionClicksLowOnAPressAndHighOnARelease)
{
    BTN b{};
    b.name = "";
    struct CASE {
        int action, result;
        float pitch;  // 0: no sound
    };
    const CASE cases[] = {
        {BTN_INIT, 1, 0.0f},   {BTN_DOWN, 1, 0.25f},     {BTN_HOLD, 0, 0.0f}, {BTN_UP, 1, 0.5f},
        {BTN_UPDATE, 0, 0.0f}, {7, 0, 0.0f},             {BTN_CUSTOM, 0, 0.0f}, {-1, 0, 0.0f},
        {INT_MAX, 0, 0.0f},
    };
    for (const CASE &c : cases) {
        fake_sounds_reset();
        int result = -99;
        capture_stdout([&] { result = main_btn_default(&b, c.action); });
        EXPECT_EQ(result, c.result) << c.action;
        if (c.pitch == 0.0f) {
            EXPECT_TRUE(fake_sounds.empty()) << c.action;
        } else {
            ASSERT_EQ(fake_sounds.size(), 1u) << c.action;
            EXPECT_EQ(fake_sounds[0].name, "sound_pip");
            EXPECT_EQ(fake_sounds[0].pitch, c.pitch);
            EXPECT_EQ(fake_sounds[0].length, 10);
        }
    }
    EXPECT_EQ(plotted(), 0) << "none of these draws";
}

TEST_F(Shell, TheDefaultButtonActionDrawsTheFrameAndTheShadowedCentredLabel)
{
    BTN b{};
    b.rx = 40.0f;
    b.ry = 20.0f;
    b.spriteid = MAIN_SPRITE_TILE;
    b.name = "AB";
    turtle_set_pos_unscaled(200.0, 100.0);
    int result = 0;
    capture_stdout([&] { result = main_btn_default(&b, BTN_DRAW_SHAPE); });
    EXPECT_EQ(result, 1);
    ASSERT_EQ(plotted(), 9);
    EXPECT_EQ(quad(0).u, ui_u(MAIN_SPRITE_TILE)) << "the button's own backing";
    EXPECT_EQ(quad(1).u, ui_u(MAIN_SPRITE_FRAME + 1));
    EXPECT_EQ(quad(3).u, ui_u(MAIN_SPRITE_FRAME + 2));
    EXPECT_EQ(quad(5).u, ui_u(MAIN_SPRITE_FRAME));
    EXPECT_TRUE(fake_sounds.empty());
    turtle_set_scale(2.0);
    capture_stdout([&] { result = main_btn_default(&b, BTN_DRAW_TEXT); });
    EXPECT_EQ(result, 1);
    ASSERT_EQ(plotted(), 13);
    // Centred on the turtle: "AB" at scale 2 spans 32 pixels
    EXPECT_NEAR(quad(11).x, 200.0f - 8.0f, NEAR);
    EXPECT_NEAR(quad(12).x, 200.0f + 8.0f, NEAR);
    EXPECT_NEAR(quad(9).x, 200.0f - 8.0f + 2.0f, NEAR) << "the shadow first";
    EXPECT_EQ(quad(9).a, 255);
    EXPECT_EQ(quad(9).r, 0);
    EXPECT_TRUE(fake_sounds.empty());
}

// With the turtle at the button's centre and scaled by the toolkit to its size: the backing, the
// top and bottom edges, the left and right edges, then the four corners, one layout unit inside
// the edge, the pieces shrunk by the pulse
TEST_F(Shell, TheFramePlotsTheBackingTwoEdgesTwoEdgesAndFourCorners)
{
    BTN b{};
    b.rx = 40.0f;  // at scale 2: hx = 40 / 2 - 1 = 19, hy = 20 / 2 - 1 = 9 units
    b.ry = 20.0f;
    b.pulse = 0.5f;
    b.pulse_amount = 0.4f;  // p = 0.2, s = 0.8 x 2 = 1.6
    turtle_set_pos_unscaled(200.0, 100.0);
    turtle.scalex = 10.0;   // the backing's stretch, 80 x 40 pixels
    turtle.scaley = 5.0;
    turtle_set_rgba(0.5, 0.5, 0.5, 1.0);
    std::vector<unsigned char> before = turtle_bytes();
    capture_stdout([&b] { main_btn_frame_draw_ex(&b, 34, 35); });
    EXPECT_EQ(turtle_bytes(), before);
    ASSERT_EQ(plotted(), 9);
    const float s = 1.6f, dx = 19.0f * s, dy = 9.0f * s;
    expect_quad(0, ui_u(34), 200.0f, 100.0f, 80.0f, 40.0f, "backing");
    expect_quad(1, ui_u(36), 200.0f, 100.0f - dy, 80.0f, 8.0f * s, "top edge");
    expect_quad(2, ui_u(36), 200.0f, 100.0f + dy, 80.0f, 8.0f * s, "bottom edge");
    expect_quad(3, ui_u(37), 200.0f - dx, 100.0f, 8.0f * s, 40.0f, "left edge");
    expect_quad(4, ui_u(37), 200.0f + dx, 100.0f, 8.0f * s, 40.0f, "right edge");
    expect_quad(5, ui_u(35), 200.0f - dx, 100.0f - dy, 8.0f * s, 8.0f * s, "top left corner");
    expect_quad(6, ui_u(35), 200.0f + dx, 100.0f - dy, 8.0f * s, 8.0f * s, "top right corner");
    expect_quad(7, ui_u(35), 200.0f + dx, 100.0f + dy, 8.0f * s, 8.0f * s, "bottom right corner");
    expect_quad(8, ui_u(35), 200.0f - dx, 100.0f + dy, 8.0f * s, 8.0f * s, "bottom left corner");
    for (int i = 0; i < 9; i++)
        EXPECT_EQ(quad(i).r, 127) << "in the turtle's colour";
}

TEST_F(Shell, WithoutAPulseTheFramePiecesAreAtTheGlobalScale)
{
    BTN b{};
    b.rx = 30.0f;
    b.ry = 30.0f;
    lay_out(1440, 960);  // scale 3: hx = hy = 9 units, 27 pixels
    turtle_set_pos_unscaled(50.0, 60.0);
    turtle.scalex = turtle.scaley = 7.5;
    capture_stdout([&b] { main_btn_frame_draw_ex(&b, MAIN_SPRITE_BACKING, MAIN_SPRITE_FRAME); });
    ASSERT_EQ(plotted(), 9);
    expect_quad(0, ui_u(32), 50.0f, 60.0f, 60.0f, 60.0f, "backing");
    expect_quad(1, ui_u(36), 50.0f, 60.0f - 27.0f, 60.0f, 24.0f, "top edge");
    expect_quad(3, ui_u(37), 50.0f - 27.0f, 60.0f, 24.0f, 60.0f, "left edge");
    expect_quad(7, ui_u(35), 50.0f + 27.0f, 60.0f + 27.0f, 24.0f, 24.0f, "bottom right corner");
}

TEST_F(Shell, AFrameWithoutAButtonDrawsNothing)
{
    capture_stdout([] {
        main_btn_frame_draw_ex(nullptr, 32, 35);
        EXPECT_EQ(main_btn_default(nullptr, BTN_DRAW_SHAPE), 0);
        EXPECT_EQ(main_btn_default(nullptr, BTN_DRAW_TEXT), 0);
    });
    EXPECT_EQ(plotted(), 0);
}

//----------------------------------------------------------------------------------
// Atlas overlay
//----------------------------------------------------------------------------------
TEST_F(Shell, TheOverlayDrawsNothingWhenOff)
{
    debug_atlas = 0;
    capture_stdout([] { main_debug_atlas_render(); });
    EXPECT_EQ(plotted(), 0);
    EXPECT_EQ(atlas_[0].batch[0].entry, nullptr);
}

// The whole page as one sprite at the display centre, in opaque white and axis-aligned whatever
// the turtle, as large as fits: in whole multiples when it fits at least once
TEST_F(Shell, TheOverlayDrawsTheWholePageAtTheCentreAsLargeAsFits)
{
    struct CASE {
        int w, h;
        float size;
    };
    const CASE cases[] = {
        {960, 640, 512.0f},    // min(1.875, 1.25) = 1.25 -> 1
        {1920, 1080, 1024.0f}, // min(3.75, 2.11) -> 2
        {320, 480, 320.0f},    // min(0.625, 0.9375) = 0.625, kept as it is
        {1136, 640, 512.0f},
    };
    for (const CASE &c : cases) {
        clear_atlases();
        atlas_[0].image.texture_w = PAGE;
        atlas_[0].image.texture_h = PAGE;
        fake_platform.display_w = c.w;
        fake_platform.display_h = c.h;
        turtle_set_angle(30.0);
        turtle_set_pos_unscaled(5.0, 5.0);
        turtle_set_rgba(0.1, 0.2, 0.3, 0.4);
        std::vector<unsigned char> before = turtle_bytes();
        debug_atlas = 1;
        capture_stdout([] { main_debug_atlas_render(); });
        EXPECT_EQ(turtle_bytes(), before);
        ASSERT_EQ(plotted(), 1) << c.w << "x" << c.h;
        expect_quad(0, 0, c.w / 2.0f, c.h / 2.0f, c.size, c.size, std::to_string(c.w) + "x" + std::to_string(c.h));
        const BATCH_ITEM *v = atlas_[0].batch[0].entry;
        EXPECT_EQ(v[3].u, PAGE) << "the whole page across";
        EXPECT_EQ(v[0].v, PAGE);
        EXPECT_EQ(v[3].v, 0);
        EXPECT_EQ(v[0].r, 255);
        EXPECT_EQ(v[0].a, 255);
        EXPECT_NEAR(v[1].x, v[0].x, NEAR) << "not rotated";
    }
}

TEST_F(Shell, TheOverlayShowsAtlasNumberOneLessThanItsValue)
{
    atlas_[2].image.texture_w = 256;
    atlas_[2].image.texture_h = 128;
    debug_atlas = 3;
    capture_stdout([] { main_debug_atlas_render(); });
    EXPECT_EQ(plotted(0), 0);
    ASSERT_EQ(plotted(2), 1);
    // min(960 / 256, 640 / 128) = 3.75 -> 3
    QUAD q = quad(0, 2);
    EXPECT_NEAR(q.w, 768.0f, NEAR);
    EXPECT_NEAR(q.h, 384.0f, NEAR);
    // An atlas without a page, or a number past the atlases, draws nothing
    debug_atlas = 4;
    capture_stdout([] { main_debug_atlas_render(); });
    debug_atlas = ATLAS_MAX + 1;
    capture_stdout([] { main_debug_atlas_render(); });
    debug_atlas = -1;
    capture_stdout([] { main_debug_atlas_render(); });
    EXPECT_EQ(plotted(0), 0);
    EXPECT_EQ(plotted(2), 1);
    EXPECT_EQ(plotted(3), 0);
}

//----------------------------------------------------------------------------------
// Text utilities
//----------------------------------------------------------------------------------
TEST(Uppercase, ConvertsEveryLetterAndKeepsEverythingElse)
{
    EXPECT_STREQ(uppercase("Lum life, 48 x 30!"), "LUM LIFE, 48 X 30!");
    EXPECT_STREQ(uppercase(""), "");
    EXPECT_STREQ(uppercase("\xe9z"), "\xe9Z") << "bytes past ASCII are kept";
}

TEST(Uppercase, ReturnsOneBufferThatTheNextCallOverwrites)
{
    char *first = uppercase("abc");
    char *second = uppercase("de");
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "DE");
}

TEST(Uppercase, ALongTextIsCutTo79CharactersAndANullOneIsEmpty)
{
    std::string long_text(200, 'q');
    EXPECT_EQ(std::string(uppercase(long_text.c_str())), std::string(79, 'Q'));
    EXPECT_EQ(std::string(uppercase(std::string(79, 'a').c_str())), std::string(79, 'A'));
    EXPECT_STREQ(uppercase(nullptr), "");
}

TEST(Timestat, ZeroIsNoMinutesNoSecondsNoHundredths)
{
    EXPECT_STREQ(timestat(0), "0:00.00");
}

TEST(Timestat, OneHourShowsTheRunningMinuteTotal)
{
    EXPECT_STREQ(timestat(216000), "1:60:00.00");
    // 3700 s read as 1 hour, 61 minutes in total, 40 seconds
    EXPECT_STREQ(timestat(3700 * 60), "1:61:40.00");
}

TEST(Timestat, MinutesSecondsAndHundredths)
{
    EXPECT_STREQ(timestat(1), "0:00.01");      // 1/60 s = 1.67 hundredths
    EXPECT_STREQ(timestat(30), "0:00.50");
    EXPECT_STREQ(timestat(45), "0:00.75");
    EXPECT_STREQ(timestat(59), "0:00.98");     // 98.3 hundredths
    EXPECT_STREQ(timestat(60), "0:01.00");
    EXPECT_STREQ(timestat(3599), "0:59.98");
    EXPECT_STREQ(timestat(3600), "1:00.00");
    EXPECT_STREQ(timestat(61 * 60 + 6), "1:01.10");
    EXPECT_STREQ(timestat(59 * 3600 + 59 * 60 + 30), "59:59.50");
    EXPECT_STREQ(timestat(215999), "59:59.98");
}

TEST(Timestat, DaysCarryTheRunningHourAndMinuteTotals)
{
    EXPECT_STREQ(timestat(24 * 216000), "1d 24:1440:00.00");
    EXPECT_STREQ(timestat(24 * 216000 - 60), "23:1439:59.00") << "one second short of a day";
    // 2 days, 1 hour, 1 minute, 1.5 seconds = 176461.5 s
    EXPECT_STREQ(timestat(10587690), "2d 49:2941:01.50");
}

TEST(Timestat, ReturnsOneBufferThatTheNextCallOverwrites)
{
    char *first = timestat(60);
    char *second = timestat(120);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "0:02.00");
    // The largest count still fits the buffer
    EXPECT_STREQ(timestat(INT_MAX), timestat(INT_MAX));
}

// All lines of a text wrapped at maxw, until no more lines are reported
std::vector<std::string> wrap_all(const char *text, unsigned maxw)
{
    std::vector<std::string> lines;
    const char *in = text;
    while (in && lines.size() < 1000)
        lines.push_back(wrap_text(&in, maxw));
    return lines;
}

TEST(WrapText, AbCdEfAtFiveGivesAbThenCdEfThenNoMoreLines)
{
    const char *in = "ab cd ef";
    EXPECT_STREQ(wrap_text(&in, 5), "ab");
    ASSERT_NE(in, nullptr);
    EXPECT_STREQ(in, " cd ef") << "the next call starts at the dropped blank";
    EXPECT_STREQ(wrap_text(&in, 5), "cd ef");
    EXPECT_EQ(in, nullptr);
    EXPECT_STREQ(wrap_text(&in, 5), "");
    EXPECT_EQ(in, nullptr);
}

// Only the first maxw characters are looked at: a word that ends exactly at the limit before a
// blank still goes to the next line
TEST(WrapText, AWordEndingExactlyAtTheLimitMovesToTheNextLine)
{
    EXPECT_EQ(wrap_all("ab cd ef gh", 5), (std::vector<std::string>{"ab", "cd", "ef gh"}));
    EXPECT_EQ(wrap_all("one two three", 7), (std::vector<std::string>{"one", "two", "three"}));
}

TEST(WrapText, ABlankAtTheLimitEndsTheLineBeforeIt)
{
    EXPECT_EQ(wrap_all("abcd efgh", 5), (std::vector<std::string>{"abcd", "efgh"}));
}

TEST(WrapText, AWordLongerThanTheLimitIsBrokenHard)
{
    EXPECT_EQ(wrap_all("abcdefgh ij", 3), (std::vector<std::string>{"abc", "def", "gh", "ij"}));
    EXPECT_EQ(wrap_all("abcdefghij", 4), (std::vector<std::string>{"abcd", "efgh", "ij"}));
}

TEST(WrapText, LeadingWhiteSpaceIsSkippedAndTabsAndNewlinesAreBlanks)
{
    EXPECT_EQ(wrap_all("   hello", 10), (std::vector<std::string>{"hello"}));
    EXPECT_EQ(wrap_all("ab\ncd\tef", 4), (std::vector<std::string>{"ab", "cd", "ef"}));
    EXPECT_EQ(wrap_all("  \t ", 3), (std::vector<std::string>{""}));
    EXPECT_EQ(wrap_all("", 3), (std::vector<std::string>{""}));
}

TEST(WrapText, NullInputGivesTheEmptyLine)
{
    EXPECT_STREQ(wrap_text(nullptr, 10), "");
    const char *in = nullptr;
    EXPECT_STREQ(wrap_text(&in, 10), "");
    EXPECT_EQ(in, nullptr);
}

TEST(WrapText, ALimitAbove255IsTreatedAs255)
{
    std::string text(300, 'x');
    std::vector<std::string> lines = wrap_all(text.c_str(), 1000);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string(255, 'x'));
    EXPECT_EQ(lines[1], std::string(45, 'x'));
    std::string fits(255, 'y');
    EXPECT_EQ(wrap_all(fits.c_str(), UINT_MAX), (std::vector<std::string>{fits}));
}

TEST(WrapText, ALimitOfZeroIsTreatedAsOneSoEveryCallMovesOn)
{
    EXPECT_EQ(wrap_all("ab c", 0), (std::vector<std::string>{"a", "b", "c"}));
}

TEST(WrapText, ReturnsOneBufferThatTheNextCallOverwrites)
{
    const char *a = "first";
    const char *b = "second";
    char *one = wrap_text(&a, 10);
    char *two = wrap_text(&b, 10);
    EXPECT_EQ(one, two);
    EXPECT_STREQ(one, "second");
}

}  // namespace
