// Tests of the button toolkit over the platform's test double: the table and its log line, the
// grid layout over a box, text fitting, the module defaults, handler events, the pulse, the touch
// scan (hit test, scan order, click acceptance, target screens, rebuilt tables) and drawing. No
// graphics context exists here, so drawing is checked by what lands in atlas 0's batches: the
// quads' positions, sizes, texture columns and colour bytes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "atlas.h"
#include "buttons.h"
#include "capture.h"
#include "core_state.h"
#include "death.h"
#include "fake_wrapper.h"
#include "glyphs.h"
#include "lum.h"
#include "sine.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"

namespace {

using Lines = std::vector<std::string>;

constexpr float NEAR = 1e-3f;       // positions pass through float and table sines
constexpr int PAGE_W = 1024;        // the test page
constexpr int PAGE_H = 64;
constexpr int FONT_BASE = 100;      // sprite index of the test font's first glyph (code 32)
constexpr unsigned FONT_FIRST = 32;
constexpr unsigned FONT_COUNT = 96; // codes 32..127
constexpr int GLYPH = 8;            // every glyph is 8 x 8 ...
constexpr int WIDE_W = 12;          // ... but 'W', which is 12 wide
constexpr int TALL_H = 10;          // ... and 'T', which is 10 high
constexpr int SHEET_BASE = 400;     // sprite index of the backing sheet's sprite 0
constexpr int BACKING = 2;          // a 16 x 8 backing of the sheet, at page column 900
constexpr int BACKING_U = 900;
constexpr int BACKING_W = 16;
constexpr int BACKING_H = 8;
constexpr int A_U = ('A' - 32) * GLYPH;  // page column of the glyph 'A'
constexpr int B_U = ('B' - 32) * GLYPH;

// A quad of a batch as the sprite module wrote it: centre, size, left texture column, colour
struct QUAD {
    float cx, cy, w, h;
    int u;
    int r, g, b, a;
};

// What the handlers saw
struct EVENT {
    int btnnum;
    int action;
};
std::vector<EVENT> events;
int up_result = 1;        // what `record` returns for BTN_UP
int draw_result = 0;      // what `record` returns for the two drawing events
TURTLE shape_turtle;      // the turtle when BTN_DRAW_SHAPE arrived
TURTLE text_turtle;       // the turtle when BTN_DRAW_TEXT arrived

// A handler that records every event
int record(BTN *b, int action)
{
    events.push_back({b->btnnum, action});
    if (action == BTN_UP)
        return up_result;
    if (action == BTN_DRAW_SHAPE) {
        shape_turtle = turtle;
        return draw_result;
    }
    if (action == BTN_DRAW_TEXT) {
        text_turtle = turtle;
        return draw_result;
    }
    return 0;
}

// A handler that rebuilds the table on a click: three fresh buttons over the whole screen
int rebuild(BTN *b, int action)
{
    events.push_back({b->btnnum, action});
    if (action != BTN_UP)
        return 0;
    buttons_start();
    for (int i = 0; i < 3; i++)
        button_ex(0.0f, 0.0f, 7, "NEW", record);
    return 1;
}

// A handler that cuts the table down to nothing on a click and reports "nothing done"
int cut(BTN *b, int action)
{
    events.push_back({b->btnnum, action});
    if (action == BTN_UP)
        buttons_reset_to(0);
    return 0;
}

// A handler that paints its backing red and wanders the turtle off, then lets the toolkit draw
int paint_red(BTN *, int action)
{
    if (action == BTN_DRAW_SHAPE) {
        turtle_set_rgba(1.0, 0.0, 0.0, 1.0);
        turtle_set_angle(45.0);
        turtle_set_pos_unscaled(-5.0, -5.0);
    }
    return 0;
}

// Screens with counting enter and leave
int target_enters = 0;
int target_leaves = 0;
int home_leaves = 0;
void target_enter() { target_enters++; }
void target_leave() { target_leaves++; }
void home_leave() { home_leaves++; }
STATE target_screen = {target_enter, nullptr, nullptr, target_leave};
STATE home_screen = {nullptr, nullptr, nullptr, home_leave};

class Buttons : public ::testing::Test {
protected:
    SPRITEFONT font{};

    void SetUp() override
    {
        clear_drawing_state();
        atlas_[0].image.texture_w = PAGE_W;
        atlas_[0].image.texture_h = PAGE_H;
        for (unsigned code = FONT_FIRST; code < FONT_FIRST + FONT_COUNT; code++) {
            int w = code == 'W' ? WIDE_W : GLYPH;
            int h = code == 'T' ? TALL_H : GLYPH;
            make_sprite(FONT_BASE + static_cast<int>(code - FONT_FIRST), static_cast<int>(code - FONT_FIRST) * GLYPH,
                        w, h);
        }
        glyphs_make_font(&font, FONT_BASE, FONT_FIRST, FONT_COUNT);
        make_sprite(SHEET_BASE + BACKING, BACKING_U, BACKING_W, BACKING_H);
        turtle_reset();
        turtle_set_scale(1.0);
        quiet([] { lum_set_logic_rate(60); });
        state_set(&home_screen);
        events.clear();
        up_result = 1;
        draw_result = 0;
        target_enters = target_leaves = home_leaves = 0;

        // The module's own defaults, put back by hand: they outlive every test in one process
        buttons_set_click_defaults(0, 0, 0);
        buttons_set_default_squeeze(0.8f, 1.0f);
        buttons_set_default_shrink(1.0f);
        buttons_set_pulse(0.4f, 1.0f);
        buttons_set_default_backing(0);
        buttons_set_fg_additive(0);
        buttons_set_bg_additive(0);
        buttons_set_font(&font);
        buttons_set_font_scale(1.0f);
        buttons_set_sprites(nullptr);
        buttons_set_fade(1.0f);
        buttons_default_colours();
        button_set_box(0.0f, 0.0f, 1.0f, 1.0f);
        button_set_layout(1, 1);
        quiet(buttons_start);
    }

    void TearDown() override
    {
        clear_atlases();
    }

    static void quiet(const std::function<void()> &body)
    {
        capture_stdout(body);
    }

    static void make_sprite(int index, int x, int w, int h)
    {
        SPRITE &s = sprites_[index];
        s.atlasx = static_cast<int16_t>(x);
        s.w = static_cast<int16_t>(w);
        s.h = static_cast<int16_t>(h);
        s.boxw = s.w;
        s.boxh = s.h;
        s.atlas = &atlas_[0].image;
    }

    // A button of width w and height h (no shrink) centred at (x, y), handled by `record`
    static BTN *box_button(float x, float y, float w, float h, const char *name = "AB", int id = 0)
    {
        BTN *b = button_ex(0.0f, 0.0f, id, name, record);
        button_set_w_ex(b, w, 0.0f);
        button_set_h_ex(b, h, 0.0f);
        b->x = x;
        b->y = y;
        return b;
    }

    static void draw()
    {
        quiet(buttons_draw);
    }

    static int quads(int batch = 0)
    {
        return atlas_[0].batch[batch].count;
    }

    static QUAD quad(int n, int batch = 0)
    {
        const BATCH_ITEM *v = atlas_[0].batch[batch].entry + 4 * n;
        return {(v[0].x + v[3].x) * 0.5f, (v[0].y + v[3].y) * 0.5f, v[3].x - v[0].x, v[3].y - v[0].y, v[0].u,
                v[0].r, v[0].g, v[0].b, v[0].a};
    }

    // The actions `record` saw for one button, in order
    static std::vector<int> actions_of(int btnnum)
    {
        std::vector<int> a;
        for (const EVENT &e : events)
            if (e.btnnum == btnnum)
                a.push_back(e.action);
        return a;
    }

    // A colour byte as the sprite module makes it: x 255, truncated
    static int byte(double c)
    {
        return static_cast<int>(c * 255.0);
    }
};

using ButtonsDeathTest = ThreadsafeDeathTest;

// Checks, in a fresh process, the module's state before anybody set anything; exits 0 when all
// hold, else prints what failed and exits 1
void check_start_up_defaults()
{
    int failures = 0;
    auto check = [&failures](bool ok, const char *what) {
        if (!ok) {
            std::fprintf(stderr, "wrong at start-up: %s\n", what);
            failures++;
        }
    };
    auto same = [](const RGBA &c, float r, float g, float b, float a) {
        return c.r == r && c.g == g && c.b == b && c.a == a;
    };
    fake_platform_reset();
    turtle_reset();
    turtle_set_scale(1.0);
    check(btn_count == 0 && btn_reset_counter == 0, "count and counter");
    check(buttons_fade() == 1.0f, "fade");
    BTN_BOX *box = button_box();
    check(box->left == 0.0f && box->top == 0.0f && box->right == 1.0f && box->bottom == 1.0f, "box");
    check(button_layout_w() == 1 && button_layout_h() == 1, "layout");
    BTN *b = button(0.0f, 0.0f, 5, "A");
    check(b != nullptr, "created");
    if (!b)
        std::exit(1);
    check(b->x == 480.0f && b->y == 320.0f && b->w == 960.0f && b->h == 640.0f, "whole-screen cell");
    check(b->rx == 479.0f && b->ry == 319.0f, "shrink 1");
    check(same(b->fg, 1, 1, 1, 1) && same(b->bg, 0.5f, 0.5f, 0.5f, 1) && same(b->hi_fg, 0, 0, 0, 1) &&
              same(b->hi_bg, 1, 1, 1, 1) && same(b->dis_fg, 0, 0, 0, 1) && same(b->dis_bg, 0.3f, 0.3f, 0.3f, 1),
          "colours");
    check(b->pulse_amount == 0.4f && b->pulse_speed == 1.0f, "pulse");
    check(!b->noclick && !b->noclickthru && !b->noemptyclick, "click flags");
    check(b->update == nullptr && b->font == nullptr, "no handler, no font");
    check(b->font_scalex == 1.0f && b->font_scaley == 1.0f, "text scale");
    check(b->squeezex == 1.0f && b->squeezey == 1.0f, "nothing to fit without a font");
    check(b->textmode == BTN_TEXT_CENTER && b->spriteid == 0 && b->fg_additive == 0 && b->bg_additive == 0,
          "text mode, backing, batches");
    // The default squeeze 0.8 and clamp 1, seen through an 8-pixel glyph
    SPRITEFONT font{};
    sprites_[FONT_BASE + ('A' - FONT_FIRST)] = SPRITE{0, 0, GLYPH, GLYPH, 0, 0, GLYPH, GLYPH, 0, 0, &atlas_[0].image};
    glyphs_make_font(&font, FONT_BASE, FONT_FIRST, FONT_COUNT);
    b->font = &font;
    button_set_w(b, 8.0f);
    check(std::fabs(b->squeezex - 0.8f) < 1e-6f, "default squeeze 0.8");
    button_set_w(b, 80.0f);
    check(b->squeezex == 1.0f, "default clamp 1");
    std::exit(failures == 0 ? 0 : 1);
}

}  // namespace

// --- The module at start-up ---

TEST_F(ButtonsDeathTest, ModuleStartsWithTheDocumentedDefaults)
{
    EXPECT_EXIT(check_start_up_defaults(), ::testing::ExitedWithCode(0), "");
}

// --- The table ---

TEST_F(Buttons, StartLogsTheOldCountAndTheNewCounterAndEmptiesTheTable)
{
    button(0.0f, 0.0f, 1, "A");
    button(0.0f, 0.0f, 2, "B");
    button(0.0f, 0.0f, 3, "C");
    int counter = btn_reset_counter;
    Lines lines = log_messages(capture_stdout(buttons_start));
    EXPECT_EQ(lines, Lines{"RESET 3 buttons COUNTER " + std::to_string(counter + 1)});
    EXPECT_EQ(btn_reset_counter, counter + 1);
    EXPECT_EQ(buttons_count(), 0);
    EXPECT_EQ(btns[0].name, nullptr);
    EXPECT_EQ(btns[2].id, 0);
}

TEST_F(Buttons, StartForgetsTheDefaultActionButKeepsTheOtherDefaults)
{
    buttons_set_action(record);
    buttons_set_pulse(0.5f, 3.0f);
    buttons_set_click_defaults(0, 1, 1);
    buttons_set_default_backing(BACKING);
    buttons_bg(0.25f, 0.25f, 0.25f, 1.0f);
    buttons_set_fade(0.5f);
    quiet(buttons_start);
    BTN *b = button(0.0f, 0.0f, 0, "A");
    EXPECT_EQ(b->update, nullptr);
    EXPECT_EQ(b->pulse_amount, 0.5f);
    EXPECT_EQ(b->pulse_speed, 3.0f);
    EXPECT_EQ(b->noclick, 0);
    EXPECT_EQ(b->noclickthru, 1);
    EXPECT_EQ(b->noemptyclick, 1);
    EXPECT_EQ(b->spriteid, BACKING);
    EXPECT_EQ(b->bg.r, 0.25f);
    EXPECT_EQ(b->font, &font);
    EXPECT_EQ(buttons_fade(), 0.5f);
}

TEST_F(Buttons, DefaultColoursPutBackTheStartUpColours)
{
    buttons_fg(0.1f, 0.1f, 0.1f, 0.1f);
    buttons_bg(0.1f, 0.1f, 0.1f, 0.1f);
    buttons_hi_fg(0.1f, 0.1f, 0.1f, 0.1f);
    buttons_hi_bg(0.1f, 0.1f, 0.1f, 0.1f);
    buttons_dis_fg(0.1f, 0.1f, 0.1f, 0.1f);
    buttons_dis_bg(0.1f, 0.1f, 0.1f, 0.1f);
    buttons_default_colours();
    BTN *b = button(0.0f, 0.0f, 0, "A");
    auto expect = [](const RGBA &c, float r, float g, float bl, float a) {
        EXPECT_EQ(c.r, r);
        EXPECT_EQ(c.g, g);
        EXPECT_EQ(c.b, bl);
        EXPECT_EQ(c.a, a);
    };
    expect(b->fg, 1.0f, 1.0f, 1.0f, 1.0f);
    expect(b->bg, 0.5f, 0.5f, 0.5f, 1.0f);
    expect(b->hi_fg, 0.0f, 0.0f, 0.0f, 1.0f);
    expect(b->hi_bg, 1.0f, 1.0f, 1.0f, 1.0f);
    expect(b->dis_fg, 0.0f, 0.0f, 0.0f, 1.0f);
    expect(b->dis_bg, 0.3f, 0.3f, 0.3f, 1.0f);
}

TEST_F(Buttons, ColourSettersReachTheButtonsCreatedNext)
{
    buttons_fg(0.1f, 0.2f, 0.3f, 0.4f);
    buttons_hi_bg(0.5f, 0.6f, 0.7f, 0.8f);
    buttons_dis_fg(0.9f, 0.8f, 0.7f, 0.6f);
    BTN *b = button(0.0f, 0.0f, 0, "A");
    EXPECT_EQ(b->fg.g, 0.2f);
    EXPECT_EQ(b->fg.a, 0.4f);
    EXPECT_EQ(b->hi_bg.r, 0.5f);
    EXPECT_EQ(b->dis_fg.b, 0.7f);
}

TEST_F(Buttons, TableHolds300ButtonsAndThe301stIsRefused)
{
    for (int i = 0; i < BTN_MAX; i++) {
        BTN *b = button(0.0f, 0.0f, i, "A");
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b, &btns[i]);
        EXPECT_EQ(b->btnnum, i);
    }
    EXPECT_EQ(button(0.0f, 0.0f, 300, "A"), nullptr);
    EXPECT_EQ(button_grid(300, "A"), nullptr);
    EXPECT_EQ(button_label(0.0f, 0.0f, "A"), nullptr);
    EXPECT_EQ(buttons_count(), BTN_MAX);
    EXPECT_EQ(button_count(), BTN_MAX);
}

TEST_F(Buttons, ResetToCutsTheCountDownButNeverUp)
{
    for (int i = 0; i < 10; i++)
        button(0.0f, 0.0f, i, "A");
    buttons_reset_to(5);
    EXPECT_EQ(buttons_count(), 5);
    buttons_reset_to(8);
    EXPECT_EQ(buttons_count(), 5);
    buttons_reset_to(-1);
    EXPECT_EQ(buttons_count(), 5);
    EXPECT_EQ(button(0.0f, 0.0f, 99, "A")->btnnum, 5);
}

TEST_F(Buttons, GetReturnsOnlyButtonsInTheTable)
{
    button(0.0f, 0.0f, 1, "A");
    button(0.0f, 0.0f, 2, "B");
    EXPECT_EQ(button_get(0), &btns[0]);
    EXPECT_EQ(button_get(1), &btns[1]);
    EXPECT_EQ(button_get(2), nullptr);
    EXPECT_EQ(button_get(-1), nullptr);
    EXPECT_EQ(button_get(BTN_MAX), nullptr);
}

// --- Layout ---

TEST_F(Buttons, WholeScreenBoxWithOneCellCentresTheButton)
{
    BTN *b = button(0.0f, 0.0f, 0, "A");
    EXPECT_EQ(b->x, 480.0f);
    EXPECT_EQ(b->y, 320.0f);
    EXPECT_EQ(b->w, 960.0f);
    EXPECT_EQ(b->h, 640.0f);
    EXPECT_EQ(b->rx, 479.0f);  // less the default shrink of 1 at turtle scale 1
    EXPECT_EQ(b->ry, 319.0f);
}

TEST_F(Buttons, CellsDivideTheBoxAndCentresFollowColumnAndRow)
{
    button_set_box(0.25f, 0.1f, 0.75f, 0.9f);
    button_set_layout(4, 2);
    BTN *b = button(1.0f, 1.0f, 0, "A");
    // cell 0.5 x 960 / 4 = 120 wide, 640 x 0.8 / 2 = 256 high
    EXPECT_NEAR(b->w, 120.0f, NEAR);
    EXPECT_NEAR(b->h, 256.0f, NEAR);
    EXPECT_NEAR(b->x, 240.0f + 120.0f * 1.5f, NEAR);
    EXPECT_NEAR(b->y, 64.0f + 256.0f * 1.5f, NEAR);
    BTN *first = button(0.0f, 0.0f, 0, "A");
    EXPECT_NEAR(first->x, 300.0f, NEAR);
    EXPECT_NEAR(first->y, 64.0f + 128.0f, NEAR);
}

TEST_F(Buttons, FractionalCellLiesBetweenTwoCells)
{
    button_set_layout(12, 5);
    BTN *b = button(1.5f, 2.5f, 0, "A");
    // cells of 80 x 128: column 1.5 is centred on the line between columns 1 and 2
    EXPECT_NEAR(b->x, 160.0f, NEAR);
    EXPECT_NEAR(b->y, 384.0f, NEAR);
}

TEST_F(Buttons, LayoutFollowsTheDisplaySize)
{
    fake_platform.display_w = 320;
    fake_platform.display_h = 480;
    button_set_box(0.0f, 0.5f, 1.0f, 1.0f);
    button_set_layout(4, 3);
    BTN *b = button(3.0f, 2.0f, 0, "A");
    EXPECT_NEAR(b->w, 80.0f, NEAR);
    EXPECT_NEAR(b->h, 80.0f, NEAR);
    EXPECT_NEAR(b->x, 280.0f, NEAR);
    EXPECT_NEAR(b->y, 240.0f + 200.0f, NEAR);
}

TEST_F(Buttons, BoxEdgesCanBeSetOneByOneOrThroughTheBoxItself)
{
    button_set_layout(2, 2);
    EXPECT_EQ(button_layout_w(), 2);
    EXPECT_EQ(button_layout_h(), 2);
    button_box_left(0.5f);
    button_box_right(0.75f);
    button_box_top(0.25f);
    button_box_bottom(0.75f);
    BTN_BOX *box = button_box();
    EXPECT_EQ(box->left, 0.5f);
    EXPECT_EQ(box->top, 0.25f);
    EXPECT_EQ(box->right, 0.75f);
    EXPECT_EQ(box->bottom, 0.75f);
    box->right = 1.0f;
    BTN *b = button(0.0f, 0.0f, 0, "A");
    EXPECT_NEAR(b->w, 240.0f, NEAR);
    EXPECT_NEAR(b->h, 160.0f, NEAR);
    EXPECT_NEAR(b->x, 600.0f, NEAR);
    EXPECT_NEAR(b->y, 240.0f, NEAR);
}

TEST_F(Buttons, GridFillsTheLayoutRowByRow)
{
    button_set_layout(3, 2);
    for (int i = 0; i < 5; i++)
        button_grid(i, "A");
    BTN *last = button_grid_ex(5, "A", record);
    // cells of 320 x 320: the fifth is column 1 of row 1, the sixth column 2 of row 1
    EXPECT_NEAR(btns[4].x, 480.0f, NEAR);
    EXPECT_NEAR(btns[4].y, 480.0f, NEAR);
    EXPECT_NEAR(btns[2].x, 800.0f, NEAR);
    EXPECT_NEAR(btns[2].y, 160.0f, NEAR);
    EXPECT_NEAR(last->x, 800.0f, NEAR);
    EXPECT_NEAR(last->y, 480.0f, NEAR);
    EXPECT_EQ(last->update, record);
}

TEST_F(Buttons, ALayoutOfNoCellsIsTakenAsOneCell)
{
    button_set_layout(0, -3);
    BTN *b = button(0.0f, 0.0f, 0, "A");
    EXPECT_EQ(b->w, 960.0f);
    EXPECT_EQ(b->h, 640.0f);
    EXPECT_NE(button_grid(0, "A"), nullptr);
}

TEST_F(Buttons, ShrinkTakesTurtleScaledPixelsOffTheHalfExtents)
{
    BTN *b = button(0.0f, 0.0f, 0, "A");
    turtle_set_scalex(2.0);
    turtle_set_scaley(3.0);
    button_set_w_ex(b, 100.0f, 4.0f);
    button_set_h_ex(b, 50.0f, 2.0f);
    EXPECT_EQ(b->w, 100.0f);
    EXPECT_EQ(b->rx, 50.0f - 8.0f);
    EXPECT_EQ(b->h, 50.0f);
    EXPECT_EQ(b->ry, 25.0f - 6.0f);
    buttons_set_default_shrink(0.5f);
    button_set_w(b, 60.0f);
    button_set_h(b, 30.0f);
    EXPECT_EQ(b->rx, 30.0f - 1.0f);
    EXPECT_EQ(b->ry, 15.0f - 1.5f);
}

TEST_F(Buttons, CreationTakesTheModuleDefaults)
{
    buttons_set_default_backing(BACKING);
    buttons_set_fg_additive(1);
    buttons_set_bg_additive(1);
    buttons_set_pulse(0.25f, 2.0f);
    buttons_set_click_defaults(1, 1, 1);
    turtle_set_scale(2.0);
    buttons_set_font_scale(1.5f);
    BTN *b = button(0.0f, 0.0f, 42, "HELLO");
    EXPECT_EQ(b->id, 42);
    EXPECT_STREQ(b->name, "HELLO");
    EXPECT_EQ(b->spriteid, BACKING);
    EXPECT_EQ(b->fg_additive, 1);
    EXPECT_EQ(b->bg_additive, 1);
    EXPECT_EQ(b->pulse_amount, 0.25f);
    EXPECT_EQ(b->pulse_speed, 2.0f);
    EXPECT_EQ(b->noclick, 1);
    EXPECT_EQ(b->noclickthru, 1);
    EXPECT_EQ(b->noemptyclick, 1);
    EXPECT_EQ(b->font_scalex, 3.0f);
    EXPECT_EQ(b->font_scaley, 3.0f);
    EXPECT_EQ(b->textmode, BTN_TEXT_CENTER);
    EXPECT_EQ(b->pulse, 0.0f);
    EXPECT_EQ(b->state, nullptr);
}

TEST_F(Buttons, LabelHasNoBackingTakesNoTouchesAndFitsItsText)
{
    buttons_set_default_backing(BACKING);
    buttons_set_action(record);
    BTN *b = button_label(0.0f, 0.0f, "WW");
    EXPECT_EQ(b->spriteid, 0);
    EXPECT_EQ(b->noclick, 1);
    EXPECT_LT(b->id, 0);
    EXPECT_EQ(b->squeezex, 1.0f);  // limit 1000, clamp 1
    button_set_w_ex(b, 12.0f, 0.0f);  // refitting with the defaults: 12 / 24 x 0.8
    EXPECT_NEAR(b->squeezex, 0.4f, 1e-6f);
    button_set_squeeze(b, 1000.0f, 1.0f);
    EXPECT_EQ(b->squeezex, 1.0f);
    events.clear();
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(b->pulse, 0.0f);
}

// --- Text fitting ---

TEST_F(Buttons, SqueezeIsWidthOverTextWidthTimesFractionAtMostClamp)
{
    BTN *b = button(0.0f, 0.0f, 0, "WW");  // 24 pixels of text at text scale 1
    button_set_w_ex(b, 12.0f, 0.0f);
    button_set_squeeze_x(b, 0.5f, 1.0f);
    EXPECT_NEAR(b->squeezex, 12.0f / 24.0f * 0.5f, 1e-6f);
    button_set_squeeze_x(b, 3.0f, 1.0f);
    EXPECT_EQ(b->squeezex, 1.0f);
    button_set_squeeze_x(b, 3.0f, 2.0f);
    EXPECT_NEAR(b->squeezex, 1.5f, 1e-6f);
}

TEST_F(Buttons, SqueezeCountsTheTextScaleAgainstTheTurtlesScale)
{
    turtle_set_scale(2.0);
    buttons_set_font_scale(1.5f);  // text scale 3
    BTN *b = button(0.0f, 0.0f, 0, "AW");  // 20 glyph pixels: t = 20 x 3 / 2 = 30
    button_set_w_ex(b, 15.0f, 0.0f);
    button_set_squeeze_x(b, 1.0f, 10.0f);
    EXPECT_NEAR(b->squeezex, 0.5f, 1e-6f);
}

TEST_F(Buttons, VerticalSqueezeUsesTheTallestGlyph)
{
    BTN *b = button(0.0f, 0.0f, 0, "ATA");  // 10 high
    button_set_h_ex(b, 5.0f, 0.0f);
    button_set_squeeze_y(b, 1.0f, 1.0f);
    EXPECT_NEAR(b->squeezey, 0.5f, 1e-6f);
    button_set_h_ex(b, 4.0f, 0.0f);
    button_set_squeeze(b, 1.0f, 1.0f);
    EXPECT_NEAR(b->squeezey, 0.4f, 1e-6f);
}

TEST_F(Buttons, NothingToFitGivesSqueezeOne)
{
    BTN *empty = button(0.0f, 0.0f, 0, "");
    BTN *none = button(0.0f, 0.0f, 0, nullptr);
    BTN *spaces_below_font = button(0.0f, 0.0f, 0, "\x01\x02");
    for (BTN *b : {empty, none, spaces_below_font}) {
        button_set_w_ex(b, 1.0f, 0.0f);
        button_set_squeeze(b, 0.5f, 1.0f);
        EXPECT_EQ(b->squeezex, 1.0f);
        EXPECT_EQ(b->squeezey, 1.0f);
    }
    buttons_set_font(nullptr);
    BTN *fontless = button(0.0f, 0.0f, 0, "WWW");
    button_set_squeeze(fontless, 0.001f, 1.0f);
    EXPECT_EQ(fontless->squeezex, 1.0f);
}

TEST_F(Buttons, TurtleScaleZeroDividesNothingAndGivesSqueezeOne)
{
    turtle_set_scale(0.0);
    BTN *b = button(0.0f, 0.0f, 0, "WWW");
    button_set_squeeze(b, 0.5f, 1.0f);
    EXPECT_EQ(b->squeezex, 1.0f);
    EXPECT_EQ(b->squeezey, 1.0f);
}

TEST_F(Buttons, SetTextFitsTheNewText)
{
    BTN *b = box_button(480.0f, 320.0f, 24.0f, 40.0f, "A");
    EXPECT_EQ(b->squeezex, 1.0f);  // 24 / 8 x 0.8, clamped
    button_set_text(b, "WWW");     // 36 pixels: 24 / 36 x 0.8
    EXPECT_STREQ(b->name, "WWW");
    EXPECT_NEAR(b->squeezex, 24.0f / 36.0f * 0.8f, 1e-6f);
    buttons_set_default_squeeze(1000.0f, 1.0f);
    button_set_text(b, "WWW");
    EXPECT_EQ(b->squeezex, 1.0f);
}

TEST_F(Buttons, FittingMeasuresOnlyTheCharactersDrawn)
{
    BTN *b = box_button(480.0f, 320.0f, 12.0f, 40.0f, "WWWW");
    b->namelen = 1;
    button_set_squeeze_x(b, 1.0f, 5.0f);
    EXPECT_NEAR(b->squeezex, 1.0f, 1e-6f);
    b->namelen = 100;  // past the terminator: the whole text
    button_set_squeeze_x(b, 1.0f, 5.0f);
    EXPECT_NEAR(b->squeezex, 0.25f, 1e-6f);
}

// --- Handlers and the tick ---

TEST_F(Buttons, HandlerGetsInitAtCreationThenUpdateEveryTick)
{
    BTN *a = button_ex(0.0f, 0.0f, 0, "A", record);
    buttons_set_action(record);
    BTN *b = button(0.0f, 0.0f, 0, "B");
    EXPECT_EQ(b->update, record);
    EXPECT_EQ(actions_of(a->btnnum), std::vector<int>{BTN_INIT});
    buttons_update();
    buttons_update();
    EXPECT_EQ(actions_of(a->btnnum), (std::vector<int>{BTN_INIT, BTN_UPDATE, BTN_UPDATE}));
    EXPECT_EQ(actions_of(b->btnnum), (std::vector<int>{BTN_INIT, BTN_UPDATE, BTN_UPDATE}));
    ASSERT_EQ(events.size(), 6u);
    EXPECT_EQ(events[2].btnnum, 0);  // a tick goes through the table in creation order
    EXPECT_EQ(events[3].btnnum, 1);
}

// What a button held when its BTN_INIT arrived, and the count of buttons then
static BTN init_seen;
static int init_count = -1;

static int init_sees_the_button(BTN *b, int action)
{
    if (action == BTN_INIT) {
        init_seen = *b;
        init_count = btn_count;
        events.push_back({b->btnnum, action});
    }
    return 0;
}

TEST_F(Buttons, InitComesOnceTheButtonIsFilledInBeforeItIsCounted)
{
    button_ex(0.0f, 0.0f, 11, "X", init_sees_the_button);
    EXPECT_EQ(events.size(), 1u);
    EXPECT_EQ(init_seen.id, 11);
    EXPECT_STREQ(init_seen.name, "X");
    EXPECT_EQ(init_seen.textmode, BTN_TEXT_CENTER);
    EXPECT_EQ(init_seen.x, 480.0f);
    EXPECT_EQ(init_count, 0);  // counted only once created
    EXPECT_EQ(buttons_count(), 1);
    button_init(&btns[0]);
    EXPECT_EQ(events.size(), 2u);
}

TEST_F(Buttons, TickClearsLastActionAndTouchCount)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    button_do_click(480.0f, 320.0f, BTN_HOLD);
    EXPECT_EQ(b->touchcount, 2);
    EXPECT_EQ(b->last_action, BTN_HOLD);
    buttons_update();
    EXPECT_EQ(b->touchcount, 0);
    EXPECT_EQ(b->last_action, 0);
}

TEST_F(Buttons, PulseShrinksByFourFifthsPerTickAndSnapsToZeroOnThe21stTick)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    ASSERT_EQ(b->pulse, 1.0f);
    buttons_update();
    EXPECT_NEAR(b->pulse, 0.8f, 1e-6f);
    for (int tick = 2; tick <= 20; tick++)
        buttons_update();
    EXPECT_NEAR(b->pulse, std::pow(0.8, 20), 1e-5);  // 0.0115, still above 0.01
    EXPECT_GT(b->pulse, 0.0f);
    buttons_update();
    EXPECT_EQ(b->pulse, 0.0f);
}

TEST_F(Buttons, PulseDecaysFasterWithSpeedAndSlowlyWhenFlashing)
{
    BTN *fast = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *flash = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    fast->pulse_speed = 3.0f;
    fast->pulse = 1.0f;
    flash->flash = 1;
    flash->pulse = 1.0f;
    buttons_update();
    EXPECT_NEAR(fast->pulse, 1.0f - 12.0f * 3.0f / 60.0f, 1e-6f);
    EXPECT_NEAR(flash->pulse, 1.0f - 1.0f / 60.0f, 1e-6f);
}

TEST_F(Buttons, PulseDecayFollowsTheLogicRate)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    b->pulse = 1.0f;
    quiet([] { lum_set_logic_rate(30); });
    buttons_update();
    EXPECT_NEAR(b->pulse, 1.0f - 12.0f / 30.0f, 1e-6f);
    quiet([] { lum_set_logic_rate(4); });  // 1 - 3 is below 0.01: snaps to 0
    buttons_update();
    EXPECT_EQ(b->pulse, 0.0f);
}

TEST_F(Buttons, NoLogicRateDecaysNothing)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    b->pulse = 1.0f;
    quiet([] { lum_set_logic_rate(0); });
    buttons_update();
    EXPECT_EQ(b->pulse, 1.0f);
}

// --- Touches: hit test and scan ---

TEST_F(Buttons, HitTestIncludesTheEdges)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);  // x 430..530, y 300..340
    const float inside[][2] = {{430.0f, 300.0f}, {530.0f, 340.0f}, {430.0f, 340.0f}, {530.0f, 300.0f}};
    for (const auto &p : inside) {
        button_do_click(p[0], p[1], BTN_HOLD);
        EXPECT_EQ(b->touchx, p[0]);
        EXPECT_EQ(b->touchy, p[1]);
    }
    EXPECT_EQ(b->touchcount, 4);
    const float outside[][2] = {{429.9f, 320.0f}, {530.1f, 320.0f}, {480.0f, 299.9f}, {480.0f, 340.1f}};
    for (const auto &p : outside)
        button_do_click(p[0], p[1], BTN_HOLD);
    EXPECT_EQ(b->touchcount, 4);
}

TEST_F(Buttons, ScrollMovesTheHitArea)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    b->scrollx = 200.0f;
    b->scrolly = -100.0f;
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    EXPECT_EQ(b->touchcount, 0);
    button_do_click(680.0f, 220.0f, BTN_DOWN);
    EXPECT_EQ(b->touchcount, 1);
}

TEST_F(Buttons, HitRecordsTheTouchAndTheAction)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_do_click_ex(470.0f, 310.0f, 2, BTN_DOWN);
    EXPECT_EQ(b->touchx, 470.0f);
    EXPECT_EQ(b->touchy, 310.0f);
    EXPECT_EQ(b->touchcount, 1);
    EXPECT_EQ(b->last_action, BTN_DOWN);
    EXPECT_EQ(b->touch_down_id, 3);  // touch number + 1
    button_do_click_ex(470.0f, 310.0f, 2, BTN_HOLD);
    EXPECT_EQ(b->touch_hold_id, 3);
    EXPECT_EQ(b->touchcount, 2);
    button_do_click(470.0f, 310.0f, BTN_HOLD);  // touch 0
    EXPECT_EQ(b->touch_hold_id, 1);
}

TEST_F(Buttons, AMissClearsTheTouchIds)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    button_do_click(480.0f, 320.0f, BTN_HOLD);
    ASSERT_EQ(b->touch_down_id, 1);
    button_do_click(10.0f, 10.0f, BTN_HOLD);
    EXPECT_EQ(b->touch_down_id, 0);
    EXPECT_EQ(b->touch_hold_id, 0);
    EXPECT_EQ(b->touch_up_id, 0);
}

TEST_F(Buttons, ScanLooksAtButtonsFromTheLastCreatedAndCountsThem)
{
    box_button(100.0f, 100.0f, 50.0f, 50.0f);
    box_button(300.0f, 100.0f, 50.0f, 50.0f);
    box_button(500.0f, 100.0f, 50.0f, 50.0f);
    EXPECT_EQ(button_do_click(900.0f, 600.0f, BTN_DOWN), 3);
    btns[2].noclickthru = 1;
    EXPECT_EQ(button_do_click(500.0f, 100.0f, BTN_DOWN), 1);
    btns[0].noclickthru = 1;
    EXPECT_EQ(button_do_click(100.0f, 100.0f, BTN_DOWN), 3);
    EXPECT_EQ(button_do_click(900.0f, 600.0f, BTN_DOWN), 3);
    quiet(buttons_start);
    EXPECT_EQ(button_do_click(100.0f, 100.0f, BTN_DOWN), 0);
}

TEST_F(Buttons, OverlappingButtonsGetTheTouchLaterFirstThenEarlier)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    events.clear();
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_DOWN), 2);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].btnnum, upper->btnnum);
    EXPECT_EQ(events[1].btnnum, lower->btnnum);
    EXPECT_EQ(lower->pulse, 1.0f);
    EXPECT_EQ(upper->pulse, 1.0f);
}

TEST_F(Buttons, NoClickThruKeepsTheTouchFromTheButtonsBelow)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    upper->noclickthru = 1;
    events.clear();
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_DOWN), 1);
    EXPECT_EQ(actions_of(upper->btnnum), std::vector<int>{BTN_DOWN});
    EXPECT_TRUE(actions_of(lower->btnnum).empty());
    EXPECT_EQ(lower->touchcount, 0);
    EXPECT_EQ(lower->pulse, 0.0f);
    // A touch that misses the upper button still reaches one below it
    button_set_w_ex(lower, 300.0f, 0.0f);
    EXPECT_EQ(button_do_click(600.0f, 320.0f, BTN_DOWN), 2);
    EXPECT_EQ(lower->touchcount, 1);
}

TEST_F(Buttons, NegativeIdNeverReceivesTouchesButIsDrawn)
{
    buttons_set_sprites(sprite_get(SHEET_BASE));
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *ghost = box_button(480.0f, 320.0f, 100.0f, 40.0f, "AB", -1);
    ghost->noclickthru = 1;
    ghost->spriteid = BACKING;
    events.clear();
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_DOWN), 2);
    button_do_click(480.0f, 320.0f, BTN_HOLD);
    button_do_click(480.0f, 320.0f, BTN_UP);
    EXPECT_TRUE(actions_of(ghost->btnnum).empty());
    EXPECT_EQ(ghost->touchcount, 0);
    EXPECT_EQ(ghost->last_action, 0);
    EXPECT_EQ(ghost->pulse, 0.0f);
    EXPECT_EQ(ghost->touch_down_id, 0);
    EXPECT_EQ(actions_of(lower->btnnum), (std::vector<int>{BTN_DOWN, BTN_HOLD, BTN_UP}));
    draw();
    ASSERT_EQ(quads(0), 2 + 1 + 2);  // the lower label, then the ghost's backing and label
    EXPECT_EQ(quad(2).u, BACKING_U);
    EXPECT_EQ(quad(3).u, A_U);
}

// --- Touches: down, hold and release ---

TEST_F(Buttons, PressHoldReleaseIsAClick)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    b->noemptyclick = 1;
    events.clear();
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    button_do_click(481.0f, 320.0f, BTN_HOLD);
    b->pulse = 0.0f;
    button_do_click(482.0f, 320.0f, BTN_UP);
    EXPECT_EQ(actions_of(b->btnnum), (std::vector<int>{BTN_DOWN, BTN_HOLD, BTN_UP}));
    EXPECT_EQ(b->pulse, 1.0f);
    EXPECT_EQ(b->touch_down_id, 0);  // cleared after the click
    EXPECT_EQ(b->touch_hold_id, 0);
    EXPECT_EQ(b->touch_up_id, 0);
    EXPECT_EQ(b->last_action, BTN_UP);
}

TEST_F(Buttons, ReleaseWithoutPressIsAClickOnlyWithoutNoEmptyClick)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    events.clear();
    button_do_click(480.0f, 320.0f, BTN_UP);
    EXPECT_EQ(actions_of(b->btnnum), std::vector<int>{BTN_UP});
    EXPECT_EQ(b->pulse, 1.0f);
    b->pulse = 0.0f;
    b->noemptyclick = 1;
    events.clear();
    button_do_click(480.0f, 320.0f, BTN_UP);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(b->pulse, 0.0f);
    EXPECT_EQ(b->touchcount, 2);  // still a touch on it
}

TEST_F(Buttons, PressWithoutHoldIsNoClickWithNoEmptyClick)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    b->noemptyclick = 1;
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    events.clear();
    button_do_click(480.0f, 320.0f, BTN_UP);
    EXPECT_TRUE(events.empty());
}

TEST_F(Buttons, ReleaseOverAnotherButtonWithNoEmptyClickIsIgnored)
{
    BTN *a = box_button(200.0f, 320.0f, 100.0f, 40.0f);
    BTN *b = box_button(600.0f, 320.0f, 100.0f, 40.0f);
    a->noemptyclick = 1;
    b->noemptyclick = 1;
    events.clear();
    button_do_click(200.0f, 320.0f, BTN_DOWN);
    button_do_click(400.0f, 320.0f, BTN_HOLD);
    button_do_click(600.0f, 320.0f, BTN_HOLD);
    b->pulse = 0.0f;
    button_do_click(600.0f, 320.0f, BTN_UP);
    EXPECT_EQ(actions_of(a->btnnum), std::vector<int>{BTN_DOWN});
    EXPECT_TRUE(actions_of(b->btnnum).empty());  // neither the hold nor the release reached it
    EXPECT_EQ(b->touch_hold_id, 1);               // though the hold was recorded
    EXPECT_EQ(b->pulse, 0.0f);
    EXPECT_EQ(b->touchcount, 2);
}

TEST_F(Buttons, HoldByAnotherTouchReachesTheHandlerOnlyWithoutNoEmptyClick)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_do_click_ex(480.0f, 320.0f, 0, BTN_DOWN);
    events.clear();
    button_do_click_ex(480.0f, 320.0f, 1, BTN_HOLD);
    EXPECT_EQ(actions_of(b->btnnum), std::vector<int>{BTN_HOLD});
    b->noemptyclick = 1;
    button_do_click_ex(480.0f, 320.0f, 0, BTN_DOWN);
    events.clear();
    button_do_click_ex(480.0f, 320.0f, 1, BTN_HOLD);
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(b->touch_hold_id, 2);
    button_do_click_ex(480.0f, 320.0f, 0, BTN_HOLD);
    EXPECT_EQ(actions_of(b->btnnum), std::vector<int>{BTN_HOLD});
}

TEST_F(Buttons, OtherActionsGoThroughLikeAHold)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    events.clear();
    button_do_click(480.0f, 320.0f, BTN_CUSTOM);
    EXPECT_EQ(actions_of(b->btnnum), std::vector<int>{BTN_CUSTOM});
    EXPECT_EQ(b->touch_hold_id, 1);
    EXPECT_EQ(b->pulse, 1.0f);
}

TEST_F(Buttons, DisabledAndNoClickButtonsNeitherPulseNorClick)
{
    BTN *disabled = box_button(200.0f, 320.0f, 100.0f, 40.0f);
    BTN *noclick = box_button(600.0f, 320.0f, 100.0f, 40.0f);
    disabled->disabled = 1;
    noclick->noclick = 1;
    events.clear();
    for (float x : {200.0f, 600.0f}) {
        button_do_click(x, 320.0f, BTN_DOWN);
        button_do_click(x, 320.0f, BTN_HOLD);
        button_do_click(x, 320.0f, BTN_UP);
    }
    EXPECT_TRUE(events.empty());
    for (BTN *b : {disabled, noclick}) {
        EXPECT_EQ(b->pulse, 0.0f);
        EXPECT_EQ(b->touchcount, 3);
        EXPECT_EQ(b->last_action, BTN_UP);
        EXPECT_EQ(b->touch_down_id, 0);
    }
}

TEST_F(Buttons, DisabledButtonWithNoClickThruStillEndsTheScan)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    upper->disabled = 1;
    upper->noclickthru = 1;
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_UP), 1);
    EXPECT_EQ(lower->touchcount, 0);
}

TEST_F(Buttons, ButtonWithoutHandlerPulsesAndClicks)
{
    BTN *b = button(0.0f, 0.0f, 0, "A");
    EXPECT_EQ(b->update, nullptr);
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    EXPECT_EQ(b->pulse, 1.0f);
    b->pulse = 0.0f;
    button_do_click(480.0f, 320.0f, BTN_UP);
    EXPECT_EQ(b->pulse, 1.0f);
}

TEST_F(Buttons, ClickResultZeroClearsTheIdsWithoutPulseAndGoesOn)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    upper->state = &target_screen;
    up_result = 0;
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    button_do_click(480.0f, 320.0f, BTN_HOLD);
    upper->pulse = lower->pulse = 0.0f;
    events.clear();
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_UP), 2);
    EXPECT_EQ(actions_of(upper->btnnum), std::vector<int>{BTN_UP});
    EXPECT_EQ(actions_of(lower->btnnum), std::vector<int>{BTN_UP});
    EXPECT_EQ(upper->pulse, 0.0f);
    EXPECT_EQ(upper->touch_down_id, 0);
    EXPECT_EQ(upper->touch_hold_id, 0);
    EXPECT_EQ(upper->touch_up_id, 0);
    EXPECT_EQ(target_enters, 0);
    EXPECT_EQ(state_current(), &home_screen);
}

TEST_F(Buttons, NegativeClickResultEndsTheScanWithoutPulse)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    up_result = -1;
    events.clear();
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_UP), 1);
    EXPECT_EQ(upper->pulse, 0.0f);
    EXPECT_EQ(upper->touch_up_id, 1);  // recorded, and left as it was
    EXPECT_TRUE(actions_of(lower->btnnum).empty());
}

TEST_F(Buttons, PositiveClickResultPulsesAndGoesOn)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    up_result = 7;
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_UP), 2);
    EXPECT_EQ(upper->pulse, 1.0f);
    EXPECT_EQ(lower->pulse, 1.0f);
}

TEST_F(Buttons, ClickOnAButtonWithATargetSwitchesScreenAndEndsTheScan)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = box_button(480.0f, 320.0f, 100.0f, 40.0f, "ABOUT");
    upper->state = &target_screen;
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    button_do_click(480.0f, 320.0f, BTN_HOLD);
    upper->pulse = 0.0f;
    events.clear();
    int looked = 0;
    Lines lines = log_messages(capture_stdout([&] { looked = button_do_click(480.0f, 320.0f, BTN_UP); }));
    EXPECT_EQ(lines, Lines{"'ABOUT' -> state switch"});
    EXPECT_EQ(looked, 1);
    EXPECT_EQ(home_leaves, 1);
    EXPECT_EQ(target_enters, 1);
    EXPECT_EQ(target_leaves, 0);
    EXPECT_EQ(state_current(), &target_screen);
    EXPECT_EQ(actions_of(upper->btnnum), std::vector<int>{BTN_UP});
    EXPECT_TRUE(actions_of(lower->btnnum).empty());
    EXPECT_EQ(upper->touch_down_id, 0);
    EXPECT_EQ(upper->touch_up_id, 0);
    EXPECT_EQ(upper->pulse, 0.0f);
}

TEST_F(Buttons, ButtonWithoutHandlerSwitchesToItsTarget)
{
    BTN *b = button(0.0f, 0.0f, 0, "GO");
    b->state = &target_screen;
    b->noemptyclick = 1;
    button_do_click(480.0f, 320.0f, BTN_DOWN);
    button_do_click(480.0f, 320.0f, BTN_HOLD);
    Lines lines = log_messages(capture_stdout([] { button_do_click(480.0f, 320.0f, BTN_UP); }));
    EXPECT_EQ(lines, Lines{"'GO' -> state switch"});
    EXPECT_EQ(target_enters, 1);
}

TEST_F(Buttons, DisabledButtonNeverSwitchesToItsTarget)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    b->state = &target_screen;
    b->disabled = 1;
    std::string out = capture_stdout([] { button_do_click(480.0f, 320.0f, BTN_UP); });
    EXPECT_EQ(out, "");
    EXPECT_EQ(target_enters, 0);
}

TEST_F(Buttons, HandlerThatRebuildsTheTableEndsTheScan)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *upper = button_ex(0.0f, 0.0f, 0, "RE", rebuild);
    upper->state = &target_screen;
    ASSERT_EQ(lower->btnnum, 0);
    ASSERT_EQ(upper->btnnum, 1);
    int counter = btn_reset_counter;
    events.clear();
    int looked = 0;
    Lines lines = log_messages(capture_stdout([&] { looked = button_do_click(480.0f, 320.0f, BTN_UP); }));
    EXPECT_EQ(looked, 1);
    EXPECT_EQ(lines, Lines{"RESET 2 buttons COUNTER " + std::to_string(counter + 1)});  // and no switch
    EXPECT_EQ(target_enters, 0);
    EXPECT_EQ(buttons_count(), 3);
    // The click, then the fresh buttons' creation; none of them, nor the old lower button, was
    // offered the touch
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0].btnnum, 1);
    EXPECT_EQ(events[0].action, BTN_UP);
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(events[1 + i].btnnum, i);
        EXPECT_EQ(events[1 + i].action, BTN_INIT);
        EXPECT_EQ(btns[i].touchcount, 0);
        EXPECT_EQ(btns[i].pulse, 0.0f);
    }
}

TEST_F(Buttons, HandlerThatEmptiesTheTableLeavesTheScanNothingToLookAt)
{
    BTN *lower = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_ex(0.0f, 0.0f, 0, "CUT", cut);
    events.clear();
    EXPECT_EQ(button_do_click(480.0f, 320.0f, BTN_UP), 1);
    EXPECT_EQ(buttons_count(), 0);
    EXPECT_EQ(lower->touchcount, 0);
}

TEST_F(Buttons, AnyTouchNumberIsSafe)
{
    BTN *b = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    button_do_click_ex(480.0f, 320.0f, 2147483647, BTN_DOWN);
    button_do_click_ex(480.0f, 320.0f, -2147483647 - 1, BTN_HOLD);
    button_do_click_ex(NAN, INFINITY, 3, BTN_UP);
    EXPECT_EQ(b->touchcount, 2);
}

// --- Drawing ---

class ButtonsDrawing : public Buttons {
protected:
    void SetUp() override
    {
        Buttons::SetUp();
        buttons_set_sprites(sprite_get(SHEET_BASE));
        buttons_set_default_backing(BACKING);
    }

    // The button most drawing tests use: 100 x 40 at the screen centre, labelled "AB"
    static BTN *centre_button(const char *name = "AB")
    {
        return box_button(480.0f, 320.0f, 100.0f, 40.0f, name);
    }
};

TEST_F(ButtonsDrawing, BackingIsStretchedOverTheHalfExtentsThenTheLabelIsCentred)
{
    centre_button();
    draw();
    ASSERT_EQ(quads(0), 3);
    EXPECT_EQ(quads(1), 0);
    QUAD backing = quad(0);
    EXPECT_NEAR(backing.cx, 480.0f, NEAR);
    EXPECT_NEAR(backing.cy, 320.0f, NEAR);
    EXPECT_NEAR(backing.w, 100.0f, NEAR);
    EXPECT_NEAR(backing.h, 40.0f, NEAR);
    EXPECT_EQ(backing.u, BACKING_U);
    EXPECT_EQ(backing.r, byte(0.5));
    EXPECT_EQ(backing.g, byte(0.5));
    EXPECT_EQ(backing.b, byte(0.5));
    EXPECT_EQ(backing.a, 255);
    QUAD a = quad(1);
    QUAD b = quad(2);
    EXPECT_EQ(a.u, A_U);
    EXPECT_EQ(b.u, B_U);
    EXPECT_NEAR(a.cx, 476.0f, NEAR);
    EXPECT_NEAR(b.cx, 484.0f, NEAR);
    EXPECT_NEAR(a.cy, 320.0f, NEAR);
    EXPECT_NEAR(a.w, 8.0f, NEAR);
    EXPECT_NEAR(a.h, 8.0f, NEAR);
    EXPECT_EQ(a.r, 255);
    EXPECT_EQ(a.g, 255);
    EXPECT_EQ(a.b, 255);
    EXPECT_EQ(a.a, 255);
}

TEST_F(ButtonsDrawing, BackingStretchesByTheHalfExtentsNotTheFullSize)
{
    BTN *b = centre_button();
    button_set_w_ex(b, 100.0f, 5.0f);  // rx 45
    button_set_h_ex(b, 40.0f, 2.0f);   // ry 18
    draw();
    EXPECT_NEAR(quad(0).w, 90.0f, NEAR);
    EXPECT_NEAR(quad(0).h, 36.0f, NEAR);
}

TEST_F(ButtonsDrawing, WithoutASheetTheBackingComesFromTheFontsSprites)
{
    buttons_set_sprites(nullptr);
    centre_button();
    draw();
    ASSERT_EQ(quads(0), 3);
    EXPECT_EQ(quad(0).u, BACKING * GLYPH);  // glyph number 2 of the font: code 34
    EXPECT_NEAR(quad(0).w, 100.0f, NEAR);   // an 8 x 8 sprite stretched to 100 x 40
    EXPECT_NEAR(quad(0).h, 40.0f, NEAR);
}

TEST_F(ButtonsDrawing, WithoutSheetOrFontNothingIsDrawn)
{
    centre_button();
    buttons_set_sprites(nullptr);
    buttons_set_font(nullptr);
    events.clear();
    draw();
    EXPECT_EQ(quads(0), 0);
    EXPECT_TRUE(events.empty());
}

TEST_F(ButtonsDrawing, NoBackingSpriteMeansNoBackingAndNoShapeEvent)
{
    BTN *b = centre_button();
    b->spriteid = 0;
    BTN *c = centre_button();
    c->spriteid = -3;
    events.clear();
    draw();
    EXPECT_EQ(quads(0), 4);
    EXPECT_EQ(quad(0).u, A_U);
    EXPECT_EQ(actions_of(b->btnnum), std::vector<int>{BTN_DRAW_TEXT});
    EXPECT_EQ(actions_of(c->btnnum), std::vector<int>{BTN_DRAW_TEXT});
}

TEST_F(ButtonsDrawing, ButtonsAreDrawnInCreationOrder)
{
    box_button(100.0f, 100.0f, 100.0f, 40.0f, "A");
    box_button(300.0f, 100.0f, 100.0f, 40.0f, "B");
    draw();
    ASSERT_EQ(quads(0), 4);
    EXPECT_NEAR(quad(0).cx, 100.0f, NEAR);
    EXPECT_EQ(quad(1).u, A_U);
    EXPECT_NEAR(quad(2).cx, 300.0f, NEAR);
    EXPECT_EQ(quad(3).u, B_U);
}

TEST_F(ButtonsDrawing, AdditiveFlagsChooseTheBatches)
{
    BTN *b = centre_button();
    b->bg_additive = 1;
    draw();
    EXPECT_EQ(quads(0), 2);
    ASSERT_EQ(quads(1), 1);
    EXPECT_EQ(quad(0, 1).u, BACKING_U);
    clear_atlases();
    atlas_[0].image.texture_w = PAGE_W;
    atlas_[0].image.texture_h = PAGE_H;
    b->bg_additive = 0;
    b->fg_additive = 1;
    draw();
    EXPECT_EQ(quads(0), 1);
    EXPECT_EQ(quads(1), 2);
}

TEST_F(ButtonsDrawing, HighlightedAndDisabledButtonsTakeTheirColours)
{
    buttons_fg(0.2f, 0.2f, 0.2f, 1.0f);
    buttons_bg(0.4f, 0.4f, 0.4f, 1.0f);
    buttons_hi_fg(0.6f, 0.0f, 0.0f, 1.0f);
    buttons_hi_bg(0.0f, 0.6f, 0.0f, 1.0f);
    buttons_dis_fg(0.0f, 0.0f, 0.8f, 1.0f);
    buttons_dis_bg(0.8f, 0.8f, 0.0f, 1.0f);
    centre_button("A");
    BTN *hi = centre_button("A");
    hi->highlight = 1;
    BTN *dis = centre_button("A");
    dis->disabled = 1;
    dis->highlight = 1;
    draw();
    ASSERT_EQ(quads(0), 6);
    EXPECT_EQ(quad(0).r, byte(0.4f));
    EXPECT_EQ(quad(1).r, byte(0.2f));
    EXPECT_EQ(quad(2).g, byte(0.6f));
    EXPECT_EQ(quad(2).r, 0);
    EXPECT_EQ(quad(3).r, byte(0.6f));
    EXPECT_EQ(quad(3).g, 0);
    EXPECT_EQ(quad(4).r, byte(0.8f));
    EXPECT_EQ(quad(4).b, 0);
    EXPECT_EQ(quad(5).b, byte(0.8f));
    EXPECT_EQ(quad(5).r, 0);
}

TEST_F(ButtonsDrawing, FadeMultipliesEveryAlpha)
{
    buttons_bg(0.5f, 0.5f, 0.5f, 0.8f);
    centre_button("A");
    buttons_set_fade(0.5f);
    draw();
    ASSERT_EQ(quads(0), 2);
    EXPECT_EQ(quad(0).a, byte(0.8f * 0.5f));
    EXPECT_EQ(quad(1).a, byte(0.5f));
    EXPECT_EQ(quad(1).r, 255);  // colour untouched
}

TEST_F(ButtonsDrawing, PulseShrinksBackingAndLabel)
{
    BTN *b = centre_button();
    b->pulse = 1.0f;  // k = 1 - 1 x 0.4
    draw();
    ASSERT_EQ(quads(0), 3);
    EXPECT_NEAR(quad(0).w, 60.0f, NEAR);
    EXPECT_NEAR(quad(0).h, 24.0f, NEAR);
    EXPECT_NEAR(quad(1).w, 4.8f, NEAR);
    EXPECT_NEAR(quad(1).h, 4.8f, NEAR);
    EXPECT_NEAR(quad(1).cx, 480.0f - 2.4f, NEAR);
    EXPECT_NEAR(quad(2).cx, 480.0f + 2.4f, NEAR);
    EXPECT_EQ(quad(1).r, 255);  // no rainbow without flashing
}

TEST_F(ButtonsDrawing, LabelScaleIsTextScaleTimesSqueeze)
{
    turtle_set_scale(2.0);
    buttons_set_font_scale(1.5f);  // text scale 3
    BTN *b = centre_button("A");
    b->squeezex = 0.5f;
    b->squeezey = 0.25f;
    draw();
    ASSERT_EQ(quads(0), 2);
    EXPECT_NEAR(quad(1).w, 8.0f * 3.0f * 0.5f, NEAR);
    EXPECT_NEAR(quad(1).h, 8.0f * 3.0f * 0.25f, NEAR);
}

TEST_F(ButtonsDrawing, LabelAlignmentFollowsTheTextMode)
{
    BTN *left = centre_button("A");
    left->textmode = BTN_TEXT_LEFT;
    BTN *right = centre_button("AB");
    right->textmode = BTN_TEXT_RIGHT;
    draw();
    ASSERT_EQ(quads(0), 5);
    EXPECT_NEAR(quad(1).cx, 430.0f + 4.0f, NEAR);  // starts at the left edge
    EXPECT_NEAR(quad(4).cx, 530.0f - 4.0f, NEAR);  // ends at the right edge
}

TEST_F(ButtonsDrawing, PulseMovesAlignedLabelsInwardUnlessFlashing)
{
    BTN *pulsing = centre_button("A");
    pulsing->textmode = BTN_TEXT_LEFT;
    pulsing->pulse = 1.0f;
    BTN *flashing = centre_button("A");
    flashing->textmode = BTN_TEXT_LEFT;
    flashing->pulse = 1.0f;
    flashing->flash = 1;
    draw();
    ASSERT_EQ(quads(0), 4);
    EXPECT_NEAR(quad(1).cx, 480.0f - 0.6f * 50.0f + 2.4f, NEAR);
    EXPECT_NEAR(quad(3).cx, 430.0f + 4.0f, NEAR);
}

TEST_F(ButtonsDrawing, FlashingButtonDoesNotShrink)
{
    BTN *b = centre_button("A");
    b->flash = 1;
    b->pulse = 1.0f;
    draw();
    ASSERT_EQ(quads(0), 2);
    EXPECT_NEAR(quad(0).w, 100.0f, NEAR);
    EXPECT_NEAR(quad(0).h, 40.0f, NEAR);
    EXPECT_NEAR(quad(1).w, 8.0f, NEAR);
}

TEST_F(ButtonsDrawing, FlashingButtonBlendsItsTextTowardTheRainbowWhilePulsing)
{
    buttons_fg(1.0f, 0.0f, 0.5f, 0.8f);
    BTN *b = centre_button("A");
    b->flash = 1;
    b->pulse = 0.5f;
    fake_platform.ms = 250;  // d = 0.25 s x 1460 = 365 degrees
    draw();
    ASSERT_EQ(quads(0), 2);
    // Table entries trunc(deg x 8192 / 360) & 8191 for 365, 485 and 605 degrees
    auto table_sine = [](int index) { return std::sin(index * 2.0 * M_PI / 8192.0); };
    double red = 0.5 * 1.0 + 0.5 * (0.5 + 0.5 * table_sine(113));
    double green = 0.5 * 0.0 + 0.5 * (0.5 + 0.5 * table_sine(2844));
    double blue = 0.5 * 0.5 + 0.5 * (0.5 + 0.5 * table_sine(5575));
    QUAD text = quad(1);
    EXPECT_NEAR(text.r, byte(red), 1);
    EXPECT_NEAR(text.g, byte(green), 1);
    EXPECT_NEAR(text.b, byte(blue), 1);
    EXPECT_EQ(text.a, byte(0.8f));
    // The three differ: the phases are a third of a turn apart
    EXPECT_NE(text.r, text.g);
    EXPECT_NE(text.g, text.b);
}

TEST_F(ButtonsDrawing, RainbowTurnsWithTime)
{
    buttons_fg(0.0f, 0.0f, 0.0f, 1.0f);
    BTN *b = centre_button("A");
    b->flash = 1;
    b->pulse = 1.0f;
    fake_platform.ms = 0;  // d = 0: red 0.5 + 0.5 sin 0, green sin 120, blue sin 240
    draw();
    ASSERT_EQ(quads(0), 2);
    EXPECT_NEAR(quad(1).r, byte(0.5), 1);
    EXPECT_NEAR(quad(1).g, byte(0.5 + 0.5 * std::sin(2730 * 2.0 * M_PI / 8192.0)), 1);
    EXPECT_NEAR(quad(1).b, byte(0.5 + 0.5 * std::sin(5461 * 2.0 * M_PI / 8192.0)), 1);
}

TEST_F(ButtonsDrawing, FlashingButtonAtRestKeepsItsColour)
{
    buttons_fg(0.2f, 0.4f, 0.6f, 1.0f);
    BTN *b = centre_button("A");
    b->flash = 1;
    fake_platform.ms = 250;
    draw();
    EXPECT_EQ(quad(1).r, byte(0.2f));
    EXPECT_EQ(quad(1).g, byte(0.4f));
    EXPECT_EQ(quad(1).b, byte(0.6f));
}

TEST_F(ButtonsDrawing, FlashingButtonThatCannotShrinkShowsNoRainbow)
{
    buttons_fg(0.2f, 0.4f, 0.6f, 1.0f);
    BTN *b = centre_button("A");
    b->flash = 1;
    b->pulse = 1.0f;
    b->pulse_amount = 0.0f;  // k = 1: not pulsing as far as the colour goes
    fake_platform.ms = 250;
    draw();
    EXPECT_EQ(quad(1).r, byte(0.2f));
    EXPECT_EQ(quad(1).g, byte(0.4f));
    EXPECT_EQ(quad(1).b, byte(0.6f));
}

TEST_F(ButtonsDrawing, NameLengthLimitsTheCharactersDrawn)
{
    BTN *b = centre_button("ABCD");
    b->namelen = 2;
    BTN *c = centre_button("AB");
    c->namelen = 50;  // past the terminator: only what is there
    BTN *nameless = centre_button(nullptr);
    events.clear();
    draw();
    EXPECT_EQ(quads(0), 3 + 1 + 2 + 1);
    EXPECT_EQ(actions_of(nameless->btnnum), (std::vector<int>{BTN_DRAW_SHAPE, BTN_DRAW_TEXT}));
}

TEST_F(ButtonsDrawing, LabelUsesTheButtonsOwnFont)
{
    SPRITEFONT shifted{};
    glyphs_make_font(&shifted, FONT_BASE + 1, FONT_FIRST, FONT_COUNT - 1);  // 'A' shows as 'B'
    BTN *b = centre_button("A");
    b->font = &shifted;
    draw();
    EXPECT_EQ(quad(1).u, B_U);
}

TEST_F(ButtonsDrawing, HandlerSeesTheTurtlePlacedForBackingAndText)
{
    BTN *b = centre_button("A");
    b->pulse = 0.5f;  // k = 0.8
    b->squeezex = 0.5f;
    b->textmode = BTN_TEXT_RIGHT;
    draw();
    EXPECT_NEAR(shape_turtle.x, 480.0, NEAR);
    EXPECT_NEAR(shape_turtle.y, 320.0, NEAR);
    EXPECT_NEAR(shape_turtle.scalex, 100.0 / BACKING_W * 0.8, NEAR);
    EXPECT_NEAR(shape_turtle.scaley, 40.0 / BACKING_H * 0.8, NEAR);
    EXPECT_NEAR(shape_turtle.r, 0.5, 1e-6);
    EXPECT_EQ(shape_turtle.angle, 0.0);
    EXPECT_NEAR(text_turtle.x, 480.0 + 0.8 * 50.0, NEAR);
    EXPECT_NEAR(text_turtle.y, 320.0, NEAR);
    EXPECT_NEAR(text_turtle.scalex, 0.8 * 0.5, NEAR);
    EXPECT_NEAR(text_turtle.scaley, 0.8, NEAR);
    EXPECT_EQ(text_turtle.r, 1.0);
    EXPECT_EQ(text_turtle.angle, 0.0);
}

TEST_F(ButtonsDrawing, HandlerThatDrawsItselfReplacesBackingAndText)
{
    centre_button();
    draw_result = 1;
    events.clear();
    draw();
    EXPECT_EQ(quads(0), 0);
    EXPECT_EQ(actions_of(0), (std::vector<int>{BTN_DRAW_SHAPE, BTN_DRAW_TEXT}));
}

TEST_F(ButtonsDrawing, ShapeHandlerMayRecolourTheBackingAndTheLabelIsPlacedAnyway)
{
    BTN *b = button_ex(0.0f, 0.0f, 0, "AB", paint_red);
    button_set_w_ex(b, 100.0f, 0.0f);
    button_set_h_ex(b, 40.0f, 0.0f);
    draw();
    ASSERT_EQ(quads(0), 3);
    EXPECT_EQ(quad(0).r, 255);
    EXPECT_EQ(quad(0).g, 0);
    EXPECT_NEAR(quad(1).cx, 476.0f, NEAR);
    EXPECT_NEAR(quad(1).cy, 320.0f, NEAR);
    EXPECT_NEAR(quad(1).w, 8.0f, NEAR);
    EXPECT_EQ(quad(1).g, 255);
}

TEST_F(ButtonsDrawing, DrawingIgnoresTheTurtlesHeadingAndRestoresTheTurtle)
{
    box_button(480.0f, 320.0f, 100.0f, 40.0f);
    BTN *b = button_ex(0.0f, 0.0f, 0, "AB", paint_red);
    b->pulse = 0.3f;
    b->flash = 1;
    turtle_set_angle(90.0);
    turtle_set_scale(3.0);
    turtle_set_pos_unscaled(12.0, 34.0);
    turtle_set_rgba(0.1, 0.2, 0.3, 0.4);
    std::vector<unsigned char> before = turtle_bytes();
    draw();
    EXPECT_EQ(turtle_bytes(), before);
    EXPECT_NEAR(quad(0).w, 100.0f, NEAR);  // drawn upright
    EXPECT_NEAR(quad(0).h, 40.0f, NEAR);
}

TEST_F(ButtonsDrawing, ButtonsWhollyOffScreenAreSkipped)
{
    const float off[][2] = {{-51.0f, 320.0f}, {1011.0f, 320.0f}, {480.0f, -21.0f}, {480.0f, 661.0f}};
    for (const auto &p : off)
        box_button(p[0], p[1], 100.0f, 40.0f);
    BTN *scrolled = box_button(480.0f, 320.0f, 100.0f, 40.0f);
    scrolled->scrollx = -600.0f;
    events.clear();
    draw();
    EXPECT_EQ(quads(0), 0);
    EXPECT_TRUE(events.empty());
}

TEST_F(ButtonsDrawing, ButtonsPartlyOnScreenAreDrawn)
{
    const float partly[][2] = {{-49.0f, 320.0f}, {1009.0f, 320.0f}, {480.0f, -19.0f}, {480.0f, 659.0f}};
    for (const auto &p : partly)
        box_button(p[0], p[1], 100.0f, 40.0f);
    draw();
    EXPECT_EQ(quads(0), 4 * 3);
}

TEST_F(ButtonsDrawing, CullingFollowsTheDisplaySize)
{
    box_button(700.0f, 320.0f, 100.0f, 40.0f);
    fake_platform.display_w = 600;
    draw();
    EXPECT_EQ(quads(0), 0);
}
