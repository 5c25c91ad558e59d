// Tests of frame skipping over the platform's test double: a frame is recorded, its fingerprint
// compared with the frame on screen, and a frame equal to it is dropped without a buffer flip,
// while any change in what it would draw (a sprite's colour or place, the clear colour, a
// polygon, the atlas overlay, the display's size) draws it. A new video mode, an expose of the
// window, a new texture page and the debug keys F1, F5 and F12 draw the next frame whatever it
// holds. The main loop's frames go the same way, and in the debug slow motion the log counts the
// frames drawn and dropped once a second. No graphics context exists here: a flip of the test
// double is a frame drawn.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <regex>
#include <string>

#include "atlas.h"
#include "capture.h"
#include "core_state.h"
#include "draw.h"
#include "fake_wrapper.h"
#include "frame.h"
#include "input.h"
#include "lum.h"
#include "poly.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"

namespace {

constexpr int PAGE_W = 256;
constexpr int PAGE_H = 128;
constexpr int GRID = 40;  // sprites in the test's grid

// What the test's frame holds; each test changes one thing between frames
struct SCENE {
    float clear[3] = {0.0f, 0.0f, 0.0f};
    double colour[4] = {1.0, 1.0, 1.0, 1.0};
    double x = 100.0;           // the first sprite's place
    int glow = 0;               // the sprites' batch
    bool polygon = false;
    double polygon_x = 300.0;   // the triangle's tip
    bool overlay = false;       // the whole page on top, as the atlas overlay draws it
    bool clears = true;         // a frame that paints over what the buffer held has no clear
};

SCENE scene;
SPRITE *piece = nullptr;

// One frame of the scene, drawn the way a screen's render draws: clear, plot, polygons, batches
void draw_scene()
{
    if (scene.clears)
        draw_clear(scene.clear[0], scene.clear[1], scene.clear[2]);
    TURTLE saved = turtle;
    turtle_set_rgba(scene.colour[0], scene.colour[1], scene.colour[2], scene.colour[3]);
    for (int i = 0; i < GRID; i++) {
        turtle_set_pos_unscaled(scene.x + 12.0 * (i % 8), 40.0 + 12.0 * (i / 8));
        sprite_batch_plot(piece, 0, scene.glow);
    }
    if (scene.polygon) {
        poly_draw_start();
        turtle_set_pos_unscaled(scene.polygon_x, 200.0);
        poly_point();
        turtle_set_pos_unscaled(scene.polygon_x + 40.0, 260.0);
        poly_point();
        turtle_set_pos_unscaled(scene.polygon_x - 40.0, 260.0);
        poly_point();
        poly_plot();
        poly_draw_end();
    }
    if (scene.overlay) {
        turtle_set_pos_unscaled(480.0, 320.0);
        turtle_set_rgba(1.0, 1.0, 1.0, 1.0);
        SPRITE whole = atlas_full_sprite(atlas_get(0));
        sprite_batch_plot(&whole, 0, 0);
    }
    turtle = saved;
    sprite_batch_draw(atlas_get(0));
}

class Frame : public ::testing::Test {
protected:
    void SetUp() override
    {
        clear_drawing_state();
        frame_exit();
        scene = SCENE{};
        make_page();
        turtle_reset();
        turtle_set_scale(1.0);
        testing::internal::CaptureStdout();  // the batches' first plots log
        frame();                             // the first frame is always drawn
        testing::internal::GetCapturedStdout();
    }

    // Atlas 0's page with one 10 x 10 piece at (16, 32), sprite 1
    static void make_page()
    {
        atlas_[0].image.texture_w = PAGE_W;
        atlas_[0].image.texture_h = PAGE_H;
        atlas_[0].image.opengl_texture = 7;
        piece = &sprites_[1];
        *piece = SPRITE{};
        piece->atlasx = 16;
        piece->atlasy = 32;
        piece->w = 10;
        piece->h = 10;
        piece->atlas = &atlas_[0].image;
        spritecount = 2;
    }

    void TearDown() override
    {
        frame_exit();
        clear_atlases();
    }

    // One frame as the main loop renders it; whether it was drawn (flipped)
    bool frame(const std::function<void()> &render = draw_scene)
    {
        int before = fake_platform.flips;
        frame_begin();
        render();
        draw_flip();
        return fake_platform.flips > before;
    }

    // The frame is the same as before, then `change` makes it differ: drawn once, then dropped again
    void expect_change_draws(const std::function<void()> &change)
    {
        EXPECT_FALSE(frame()) << "the same frame again";
        change();
        EXPECT_TRUE(frame()) << "the changed frame";
        EXPECT_FALSE(frame()) << "the changed frame again";
    }
};

}  // namespace

TEST_F(Frame, RepeatedIdenticalFrameIsDroppedWithoutAFlip)
{
    FRAME_COUNTS before = frame_counts();
    EXPECT_FALSE(frame());
    EXPECT_FALSE(frame());
    FRAME_COUNTS after = frame_counts();
    EXPECT_EQ(after.drawn, before.drawn);
    EXPECT_EQ(after.skipped, before.skipped + 2);
}

TEST_F(Frame, ADroppedFrameStillEmptiesTheBatches)
{
    EXPECT_FALSE(frame());
    EXPECT_EQ(atlas_[0].batch[0].count, 0);
    EXPECT_EQ(atlas_[0].batch[1].count, 0);
}

TEST_F(Frame, ASpritesColourDraws)
{
    expect_change_draws([] { scene.colour[1] = 0.5; });
}

TEST_F(Frame, AColourChangeOfOneStepDraws)
{
    expect_change_draws([] { scene.colour[3] = 254.0 / 255.0; });
}

TEST_F(Frame, ASpritesPlaceDraws)
{
    expect_change_draws([] { scene.x += 1.0; });
}

TEST_F(Frame, ASubPixelMoveDraws)
{
    expect_change_draws([] { scene.x += 0.25; });
}

TEST_F(Frame, TheOtherBatchDraws)
{
    expect_change_draws([] { scene.glow = 1; });
}

TEST_F(Frame, AnotherSpriteDraws)
{
    expect_change_draws([] { piece->atlasx = 24; });
}

TEST_F(Frame, TheClearColourDraws)
{
    expect_change_draws([] { scene.clear[2] = 0.25f; });
}

TEST_F(Frame, APolygonDraws)
{
    expect_change_draws([] { scene.polygon = true; });
    expect_change_draws([] { scene.polygon_x += 2.0; });
    expect_change_draws([] { scene.polygon = false; });
}

TEST_F(Frame, TheAtlasOverlayDraws)
{
    expect_change_draws([] { scene.overlay = true; });
    expect_change_draws([] { scene.overlay = false; });
}

TEST_F(Frame, AnotherTextureOnThePageDraws)
{
    expect_change_draws([] { atlas_[0].image.opengl_texture = 8; });
}

TEST_F(Frame, AnotherDisplaySizeDraws)
{
    expect_change_draws([] { fake_platform.display_w = 640; });
}

TEST_F(Frame, ANewVideoModeDrawsTheNextFrame)
{
    expect_change_draws([] {
        testing::internal::CaptureStdout();
        draw_reset();
        testing::internal::GetCapturedStdout();
    });
}

TEST_F(Frame, AnExposedWindowDrawsTheNextFrame)
{
    expect_change_draws([] { fake_platform.exposed = 1; });
}

TEST_F(Frame, ANewTexturePageDrawsTheNextFrame)
{
    // An upload replaces the page's pixels, which the fingerprint does not read
    std::vector<uint8_t> pixels(static_cast<size_t>(PAGE_W) * PAGE_H * 4);
    expect_change_draws([&] {
        atlas_[1].image.texture_w = PAGE_W;
        atlas_[1].image.texture_h = PAGE_H;
        atlas_[1].image.rgba = pixels.data();
        testing::internal::CaptureStdout();
        atlas_upload(&atlas_[1].image, 0, 0);
        testing::internal::GetCapturedStdout();
        atlas_[1].image.rgba = nullptr;
    });
}

TEST_F(Frame, DebugKeysDrawTheNextFrame)
{
    for (int key : {K_F1, K_F5, K_F12}) {
        expect_change_draws([key] {
            keyevent[key] = INPUT_RELEASED;
            frame_note_keys();
            keyevent[key] = 0;
        });
    }
    keyevent[K_F2] = INPUT_RELEASED;
    frame_note_keys();
    keyevent[K_F2] = 0;
    EXPECT_FALSE(frame()) << "a key without a meaning draws nothing";
}

TEST_F(Frame, ForcedFrameDrawsOnce)
{
    expect_change_draws([] { frame_force(); });
}

TEST_F(Frame, AFrameWithoutAClearIsAlwaysDrawn)
{
    // It paints over whatever the buffer held, which its commands do not tell
    scene.clears = false;
    EXPECT_TRUE(frame());
    EXPECT_TRUE(frame());
    scene.clears = true;
    EXPECT_TRUE(frame());
    EXPECT_FALSE(frame());
}

TEST_F(Frame, AnEmptyFrameIsAlwaysDrawn)
{
    EXPECT_TRUE(frame([] {}));
    EXPECT_TRUE(frame([] {}));
}

TEST_F(Frame, OutsideAFrameDrawingIsImmediateAndFlipsAlways)
{
    EXPECT_FALSE(frame_recording());
    int before = fake_platform.flips;
    draw_scene();
    draw_flip();
    draw_scene();
    draw_flip();
    EXPECT_EQ(fake_platform.flips, before + 2);
    EXPECT_EQ(atlas_[0].batch[0].count, 0);
}

TEST_F(Frame, TheRecordIsACopy)
{
    // The batch is emptied and plotted again within one frame: both draws are in the frame
    bool second = false;
    auto twice = [&second] {
        draw_scene();
        if (second) {
            turtle_set_pos_unscaled(500.0, 500.0);
            sprite_batch_plot(piece, 0, 0);
            sprite_batch_draw(atlas_get(0));
        }
    };
    EXPECT_FALSE(frame(twice));
    second = true;
    EXPECT_TRUE(frame(twice));
    EXPECT_FALSE(frame(twice));
}

TEST_F(Frame, SingleSpritesDrawnAtOnceAreInTheFingerprint)
{
    double x = 50.0;
    auto render = [&x] {
        draw_scene();
        TURTLE saved = turtle;
        turtle_set_pos_unscaled(x, 50.0);
        sprite_draw(piece, 0);
        turtle = saved;
    };
    EXPECT_TRUE(frame(render));
    EXPECT_FALSE(frame(render));
    x = 51.0;
    EXPECT_TRUE(frame(render));
}

TEST(FrameFingerprint, EqualForEqualCommandsAndDifferentForAnyDrawnByte)
{
    std::vector<BATCH_ITEM> a(64, BATCH_ITEM{1.0f, 2.0f, 0.0f, 3, 4, 255, 255, 255, 255, {0.0f, 0.0f, 0.0f}});
    std::vector<BATCH_ITEM> b = a;
    for (auto &v : b)
        v.pad[1] = 9.0f;  // padding is not drawn
    auto print = [](const std::vector<BATCH_ITEM> &v) {
        FRAME_COMMAND c{};
        c.submit = nullptr;
        c.array[0] = v.data();
        c.count[0] = static_cast<int>(v.size());
        c.stride[0] = static_cast<int>(sizeof(BATCH_ITEM));
        c.drawn[0] = static_cast<int>(offsetof(BATCH_ITEM, pad));
        return frame_fingerprint(&c, 1);
    };
    const uint64_t base = print(a);
    EXPECT_EQ(print(b), base);
    for (size_t i : {size_t{0}, size_t{31}, size_t{63}}) {
        for (int byte = 0; byte < 20; byte++) {
            for (int bit : {0, 7}) {
                std::vector<BATCH_ITEM> c = a;
                reinterpret_cast<unsigned char *>(&c[i])[byte] ^= static_cast<unsigned char>(1 << bit);
                EXPECT_NE(print(c), base) << "vertex " << i << " byte " << byte << " bit " << bit;
            }
        }
    }
    std::vector<BATCH_ITEM> shorter(a.begin(), a.end() - 4);
    EXPECT_NE(print(shorter), base);
}

// The main loop records every frame: a screen that draws the same picture is drawn once
namespace {

int loop_changes_at = -1;  // the tick from which the loop's screen draws its sprites elsewhere
int loop_ticks = 0;

void loop_update()
{
    loop_ticks++;
}

void loop_render()
{
    scene.x = loop_changes_at >= 0 && loop_ticks >= loop_changes_at ? 200.0 + loop_ticks : 100.0;
    draw_scene();
}

STATE loop_screen = {nullptr, loop_update, loop_render, nullptr};

uint64_t loop_end_ms = 0;

void loop_yield()
{
    if (fake_platform.ms > loop_end_ms)
        lum_quit();
}

}  // namespace

class FrameLoop : public Frame {
protected:
    void run_until(uint64_t ms)
    {
        loop_end_ms = ms;
        fake_platform.on_yield = loop_yield;
        start();
        lum_run(0);
    }

    // The runtime started, the page made again and the loop's screen current; its first frame is
    // drawn
    static void start()
    {
        clear_atlases();  // start-up empties the atlas table without freeing the batches
        lum_init();
        make_page();
        frame_force();
        state_set(&loop_screen);
    }
};

TEST_F(FrameLoop, StillScreenIsDrawnOnceAndMovingScreenEveryTick)
{
    ASSERT_EQ(lum_is_quit(), 0) << "the runtime's state is per process: run each test on its own (ctest does)";
    loop_changes_at = 30;
    testing::internal::CaptureStdout();
    int flips = fake_platform.flips;
    FRAME_COUNTS before = frame_counts();
    run_until(1000);
    testing::internal::GetCapturedStdout();
    FRAME_COUNTS after = frame_counts();
    // 60 frames: ticks 1 to 29 draw the same picture, from tick 30 on each is new
    EXPECT_EQ(after.drawn - before.drawn + after.skipped - before.skipped, 60);
    EXPECT_EQ(after.drawn - before.drawn, 1 + 31);
    EXPECT_EQ(after.skipped - before.skipped, 28);
    EXPECT_EQ(fake_platform.flips - flips, 32);
    EXPECT_EQ(lum_fps(), 60) << "every frame the screen rendered counts, drawn or not";
}

TEST_F(FrameLoop, SlowMotionLogsTheCountsOnceASecond)
{
    ASSERT_EQ(lum_is_quit(), 0) << "the runtime's state is per process: run each test on its own (ctest does)";
    loop_changes_at = -1;
    testing::internal::CaptureStdout();
    start();
    lum_set_logic_rate(4);
    loop_end_ms = 3500;
    fake_platform.on_yield = loop_yield;
    lum_run(0);
    std::string out = testing::internal::GetCapturedStdout();
    // Four frames a second, the first drawn and the others equal to it
    EXPECT_TRUE(std::regex_search(out, std::regex(R"(\] frames: 0 drawn, 4 skipped\n)"))) << out;
    const std::regex counts(R"(\] frames: \d+ drawn, \d+ skipped\n)");
    const auto lines = std::distance(std::sregex_iterator(out.begin(), out.end(), counts), std::sregex_iterator());
    EXPECT_EQ(lines, 3) << out;
}

TEST_F(FrameLoop, NoCountsInTheLogAtTheNormalRate)
{
    ASSERT_EQ(lum_is_quit(), 0) << "the runtime's state is per process: run each test on its own (ctest does)";
    testing::internal::CaptureStdout();
    run_until(2500);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("frames:"), std::string::npos) << out;
}
