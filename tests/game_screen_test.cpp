// Tests of the game screen: where every control of both panels lies in landscape and portrait,
// each control driven through the toolkit's touch handling at its centre, holding to repeat, the
// speed accumulator seen through generation counts, fill and clear, the rule toggles and the
// border reaching the engine, strokes on the grid in both orientations, and what a frame plots:
// the cells, their icons, batch and colour, and the step counter.
// A synthetic 8 x 8 font stands in for the art. It lives in atlas 1, which the frame does not
// draw, so everything the screen plots stays in that atlas's batches to be read back; each glyph
// has its own place on the page, so a quad's texture position tells which glyph it shows.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
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
#include "screens.h"
#include "sine.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double NEAR = 1e-3;       // pixels; positions come from float box arithmetic
constexpr int PAGE = 512;           // the synthetic font's page
constexpr int FONT_ATLAS = 1;       // the atlas holding the synthetic font
constexpr int FONT_BASE = 200;      // sprite index of its first glyph
constexpr int FONT_FIRST = 32;      // character code of its first glyph
constexpr int FONT_COUNT = 160;     // codes 32..191
constexpr int GLYPHS_PER_ROW = PAGE / 8;
constexpr int UI_FIRST = 96;        // `sprites` is the glyph of code 128
constexpr double S = 8.0;           // the cell size: the icons are 8 x 8
constexpr int HOLD = 30;            // ticks of holding before a button repeats

// The nine colours of the palette: red, green, blue, written out here independently of the code
constexpr float COLOURS[9][3] = {
    {1.0f, 0.2f, 0.2f}, {0.2f, 1.0f, 0.6f}, {0.2f, 0.6f, 1.0f}, {0.6f, 1.0f, 0.2f}, {0.8f, 0.2f, 1.0f},
    {1.0f, 0.7f, 0.2f}, {1.0f, 1.0f, 1.0f}, {0.5f, 0.5f, 0.5f}, {0.0f, 0.0f, 0.0f},
};

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A box of the screen as fractions, and the place of a button in pixels
struct Box {
    double left, top, right, bottom;
};

struct Place {
    double x, y, w, h;
};

// What a test expects of one button
struct Expected {
    const char *name;        // label; null for none
    BTN_HANDLER handler;     // null: the shell's default
    const void *data;        // the value it edits
    int id;
    Place place;
    double rx;               // its hit half-width
};

// A quad read back from a batch
struct Quad {
    int glyph;               // index into the synthetic font
    double x, y;             // centre
    double w, h;             // size
    uint8_t r, g, b, a;
};

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// The cell (column, row) of an across x down layout over a box of a W x H screen, as the
// toolkit places it: centre and full size
Place cell_of(const Box &box, int across, int down, double column, double row, double W, double H)
{
    double cw = (box.right - box.left) * W / across;
    double ch = H * (box.bottom - box.top) / down;
    return {W * box.left + cw * (column + 0.5), H * box.top + ch * (row + 0.5), cw, ch};
}

// The same place moved into a side margin: centred at x, as wide as the margin
Place in_margin(Place p, double x, double margin)
{
    return {x, p.y, margin, p.h};
}

// The boxes and margin of a layout, from the formulas of the game screen
struct Geometry {
    double W, H, scale, pw, ph;
    bool land;
    Box grid, corners, rest, side;
    double margin, margin_x;
};

Geometry geometry(int w, int h)
{
    Geometry g{};
    g.W = w;
    g.H = h;
    g.land = w > h;
    int n = g.land ? w / 480 : h / 480;
    g.scale = n < 1 ? 1.0 : n;
    g.pw = std::floor(w / g.scale);
    g.ph = std::floor(h / g.scale);
    double rows = g.land ? 30 : 48;
    double cols = g.land ? 48 : 30;
    double grid_right = cols * S / (2 * g.pw) + 0.5;
    g.grid = {1 - grid_right, (S / 2) / g.ph, grid_right, S * (rows + 0.5) / g.ph};
    double side_right = (g.pw - S / 2) / g.pw;
    g.corners = {1 - side_right, 1 - (g.ph - S / 2) / g.ph, side_right, S * (g.land ? 31 : 49) / g.ph};
    g.rest = {1 - side_right, g.corners.bottom, side_right, (g.ph - S / 2) / g.ph};
    g.side = {1 - side_right, g.grid.top, side_right, g.grid.bottom};
    g.margin = (g.pw - (g.land ? 50 : 32) * S) * g.scale * 0.5;
    g.margin_x = g.margin / 2 + 4 * g.scale;
    return g;
}

// Every button of the main panel, where the formulas put it
std::vector<Expected> main_panel(const Geometry &g)
{
    std::vector<Expected> e;
    double shrink = g.scale;  // an ordinary button's hit area gives up one scaled pixel a side
    auto add = [&](const char *name, BTN_HANDLER handler, const void *data, int id, Place p) {
        e.push_back({name, handler, data, id, p, p.w / 2 - shrink});
    };
    auto at = [&](const Box &box, int across, int down, double c, double r) {
        return cell_of(box, across, down, c, r, g.W, g.H);
    };
    Place grid = at(g.grid, 1, 1, 0, 0);
    e.push_back({"EDIT", btn_edit_cells, nullptr, 0, grid, grid.w / 2});
    add("?", nullptr, nullptr, 0, in_margin(at(g.corners, 12, 5, 0, 0), g.margin_x, g.margin));
    add("..", btn_toggle, &layout_mode, 0, in_margin(at(g.corners, 12, 5, 11, 0), g.W - g.margin_x, g.margin));
    int rule_across = 12;
    int rule_down = g.land ? 2 : 3;
    add("B", nullptr, nullptr, 0, at(g.rest, rule_across, rule_down, 0, 0));
    for (int n = 0; n < 9; n++)
        add("X", btn_param, game.bparams.data(), n, at(g.rest, rule_across, rule_down, 1 + n, 0));
    add("S", nullptr, nullptr, 0, at(g.rest, rule_across, rule_down, 0, 1));
    for (int n = 0; n < 9; n++)
        add("X", btn_param, game.sparams.data(), n, at(g.rest, rule_across, rule_down, 1 + n, 1));
    if (!g.land) {
        add("", btn_border_mode, &game.border_mode, 0, at(g.rest, 4, 3, 1, 2));
        add("-", btn_add, &game.freq, 0, at(g.rest, 12, 3, 0, 2));
        add(nullptr, btn_value_text, &game.freq, 0, at(g.rest, 12, 3, 1, 2));
        add("+", btn_add, &game.freq, 0, at(g.rest, 12, 3, 2, 2));
        add("RND", btn_reset, nullptr, 0, at(g.rest, 6, 3, 3, 2));
        add("CLR", btn_clear, nullptr, 0, at(g.rest, 6, 3, 4, 2));
        add("RUN", btn_toggle, &game.running, 0, at(g.rest, 6, 2, 5, 0));
        add("STEP", btn_toggle, &take_step, 0, at(g.rest, 6, 2, 5, 1));
        return e;
    }
    add("RUN", btn_toggle, &game.running, 0, at(g.rest, 6, 2, 5, 0));
    add("STEP", btn_toggle, &take_step, 0, at(g.rest, 6, 2, 5, 1));
    double left = g.margin_x;
    double right = g.W - g.margin_x;
    add("+", btn_add, &game.freq, 0, in_margin(at(g.side, 12, 5, 0, 1.5), left, g.margin));
    add(nullptr, btn_value_text, &game.freq, 0, in_margin(at(g.side, 12, 5, 0, 2.5), left, g.margin));
    add("-", btn_add, &game.freq, 0, in_margin(at(g.side, 12, 5, 0, 3.5), left, g.margin));
    add("", btn_border_mode, &game.border_mode, 0, in_margin(at(g.side, 12, 5, 11, 1.5), right, g.margin));
    add("RAND", btn_reset, nullptr, 0, in_margin(at(g.side, 12, 5, 11, 2.5), right, g.margin));
    add("CLR", btn_clear, nullptr, 0, in_margin(at(g.side, 12, 5, 11, 3.5), right, g.margin));
    return e;
}

// Every button of the display panel, where the formulas put it
std::vector<Expected> display_panel(const Geometry &g)
{
    std::vector<Expected> e = main_panel(g);
    e.resize(3);  // the grid and the two corner buttons stay
    auto add = [&](const char *name, BTN_HANDLER handler, const void *data, int id, int across, double c, double r) {
        Place p = cell_of(g.rest, across, 2, c, r, g.W, g.H);
        e.push_back({name, handler, data, id, p, p.w / 2 - g.scale});
    };
    add("Step Display", btn_toggle, &game.show_steps, 0, 4, 0, 0);
    add("Glow", btn_toggle, &game.icon_glow, 0, 4, 0, 1);
    add("-", btn_add, &game.fg, 0, 8, 2, 0);
    add("FG", btn_colour, &game.fg, 0, 8, 3, 0);
    add("+", btn_add, &game.fg, 0, 8, 4, 0);
    add("-", btn_add, &game.bg, 0, 8, 2, 1);
    add("BG", btn_colour, &game.bg, 0, 8, 3, 1);
    add("+", btn_add, &game.bg, 0, 8, 4, 1);
    add("-", btn_add, &game.icon_cell, 0, 8, 5, 0);
    add("CELL", btn_life_icon, &game.icon_cell, 0, 8, 6, 0);
    add("+", btn_add, &game.icon_cell, 0, 8, 7, 0);
    add("-", btn_add, &game.icon_grid, 0, 8, 5, 1);
    add("GRID", btn_life_icon, &game.icon_grid, 16, 8, 6, 1);
    add("+", btn_add, &game.icon_grid, 0, 8, 7, 1);
    return e;
}

bool same_name(const char *a, const char *b)
{
    if (!a || !b)
        return a == b;
    return std::strcmp(a, b) == 0;
}

// The nth button with this label and value (null label: the one without)
BTN *find(const char *name, const void *data = nullptr, int nth = 0)
{
    for (int i = 0; i < btn_count; i++) {
        BTN *b = &btns[i];
        if (same_name(b->name, name) && (!data || b->data == data) && nth-- == 0)
            return b;
    }
    return nullptr;
}

// A rule digit: toggle n of the birth or survival list
BTN *digit(std::array<uint8_t, GAME_RULE_BYTES> &params, int n)
{
    for (int i = 0; i < btn_count; i++)
        if (btns[i].update == btn_param && btns[i].data == params.data() && btns[i].id == n)
            return &btns[i];
    return nullptr;
}

// Read batch `batch` of the font's atlas back as quads
std::vector<Quad> quads(int batch)
{
    const ATLAS_BATCH &bt = atlas_[FONT_ATLAS].batch[batch];
    std::vector<Quad> out;
    for (int q = 0; q < bt.count; q++) {
        const BATCH_ITEM *v = bt.entry + 4 * q;
        Quad quad{};
        int column = v[0].u / 8;
        int row = (PAGE - v[0].v) / 8;
        quad.glyph = row * GLYPHS_PER_ROW + column;
        quad.x = (v[0].x + v[3].x) / 2;
        quad.y = (v[0].y + v[3].y) / 2;
        quad.w = v[3].x - v[0].x;
        quad.h = v[3].y - v[0].y;
        quad.r = v[0].r;
        quad.g = v[0].g;
        quad.b = v[0].b;
        quad.a = v[0].a;
        out.push_back(quad);
    }
    return out;
}

// The glyph index of a character code in the synthetic font
int glyph_of(int code)
{
    return code - FONT_FIRST;
}

// A colour component as the batches store it: x 255, truncated
uint8_t byte_of(float component)
{
    return static_cast<uint8_t>(static_cast<double>(component) * 255.0);
}

// The messages of captured output: log prefixes removed; lines printed without one (the
// engine's rule report) kept as they are
std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> out;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        if (line.rfind("[lum ", 0) == 0 && line.find("] ") != std::string::npos)
            line = line.substr(line.find("] ") + 2);
        out.push_back(line);
        start = end + 1;
    }
    return out;
}

int count_lines(const std::vector<std::string> &lines, const std::string &prefix)
{
    int n = 0;
    for (const std::string &line : lines)
        if (line.rfind(prefix, 0) == 0)
            n++;
    return n;
}

int live_cells()
{
    int n = 0;
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            n += life_cell(x, y) != 0;
    return n;
}

int pips(float pitch)
{
    int n = 0;
    for (const FAKE_SOUND &s : fake_sounds)
        if (s.name == "sound_pip" && s.pitch == pitch && s.length == 10)
            n++;
    return n;
}

int ringmods()
{
    int n = 0;
    for (const FAKE_SOUND &s : fake_sounds)
        n += s.name == "sound_ringmod";
    return n;
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class Screen : public ::testing::Test {
protected:
    void SetUp() override
    {
        clear_drawing_state();
        atlas_[FONT_ATLAS].image.texture_w = PAGE;
        atlas_[FONT_ATLAS].image.texture_h = PAGE;
        for (int i = 0; i < FONT_COUNT; i++) {
            SPRITE &s = sprites_[FONT_BASE + i];
            s.atlasx = static_cast<int16_t>((i % GLYPHS_PER_ROW) * 8);
            s.atlasy = static_cast<int16_t>((i / GLYPHS_PER_ROW) * 8);
            s.w = 8;
            s.h = 8;
            s.boxw = 8;
            s.boxh = 8;
            s.atlas = &atlas_[FONT_ATLAS].image;
        }
        glyphs_make_font(&font8x8, FONT_BASE, FONT_FIRST, FONT_COUNT);
        glyphs = &sprites_[FONT_BASE];
        sprites = glyphs + UI_FIRST;
        keys.fill(0);
        keyevent.fill(0);
        mouse_state.fill(MOUSE_STATE{});
        fake_sounds_reset();
        quiet([] {
            lum_set_logic_rate(60);
            game_reset();
            game_update_config();
        });
        reset_life = 0;
        take_step = 0;
        layout_mode = 0;
        debug_atlas = 0;
        turtle_reset();
        set_display(960, 640);
    }

    void TearDown() override
    {
        clear_atlases();
    }

    static std::string quiet(const std::function<void()> &body)
    {
        return capture_stdout(body);
    }

    // A display of w x h: the shell computes its layout, and the screen lays itself out
    void set_display(int w, int h)
    {
        fake_platform.display_w = w;
        fake_platform.display_h = h;
        quiet([] { main_update(); });
        g = geometry(w, h);
        ASSERT_EQ(global_scale, g.scale);
        ASSERT_EQ(play_w, g.pw);
        ASSERT_EQ(play_h, g.ph);
        ASSERT_EQ(landscape, g.land ? 1 : 0);
        turtle_set_scale(global_scale);
        layout_log = quiet(layout_buttons);
    }

    // One tick of the screen, with no pointer activity
    std::string tick()
    {
        return quiet(game_update);
    }

    // One tick with pointer 0 at (x, y) in the given state
    std::string tick_pointer(float x, float y, int state, int down)
    {
        mouse_state[0] = MOUSE_STATE{static_cast<int>(x), static_cast<int>(y), state, down};
        std::string out = quiet(game_update);
        mouse_state[0].state = 0;
        return out;
    }

    // A click through the toolkit at a button's centre: down, held one tick, released
    static void click(const BTN *b, int touch = 0)
    {
        ASSERT_NE(b, nullptr);
        float x = b->x;
        float y = b->y;
        quiet([&] {
            button_do_click_ex(x, y, touch, BTN_DOWN);
            button_do_click_ex(x, y, touch, BTN_HOLD);
            button_do_click_ex(x, y, touch, BTN_UP);
        });
    }

    // The pixel centre of screen cell (column, row) of the grid as drawn
    Place screen_cell(int column, int row) const
    {
        Place grid = cell_of(g.grid, 1, 1, 0, 0, g.W, g.H);
        double side = S * g.scale;
        return {grid.x - grid.w / 2 + side * (column + 0.5), grid.y - grid.h / 2 + side * (row + 0.5), side, side};
    }

    void expect_layout(const std::vector<Expected> &expected)
    {
        ASSERT_EQ(btn_count, static_cast<int>(expected.size()));
        for (size_t i = 0; i < expected.size(); i++) {
            const Expected &e = expected[i];
            const BTN &b = btns[i];
            SCOPED_TRACE("button " + std::to_string(i) + " '" + (e.name ? e.name : "(none)") + "'");
            EXPECT_TRUE(same_name(b.name, e.name)) << (b.name ? b.name : "(none)");
            EXPECT_EQ(b.update, e.handler ? e.handler : main_btn_default);
            EXPECT_EQ(b.data, e.data);
            EXPECT_EQ(b.id, e.id);
            EXPECT_NEAR(b.x, e.place.x, NEAR);
            EXPECT_NEAR(b.y, e.place.y, NEAR);
            EXPECT_NEAR(b.w, e.place.w, NEAR);
            EXPECT_NEAR(b.h, e.place.h, NEAR);
            EXPECT_NEAR(b.rx, e.rx, NEAR);
        }
    }

    Geometry g{};
    std::string layout_log;
};

//----------------------------------------------------------------------------------
// The screen record and the colours
//----------------------------------------------------------------------------------
TEST_F(Screen, StateEntersByLayingOutUpdatesAndRendersAndHasNoLeave)
{
    EXPECT_EQ(game_state.enter, layout_buttons);
    EXPECT_EQ(game_state.update, game_update);
    EXPECT_EQ(game_state.render, game_render);
    EXPECT_EQ(game_state.leave, nullptr);
}

TEST_F(Screen, ColourTableHoldsTheNineColours)
{
    for (int i = 0; i < GAME_COLOURS; i++)
        for (int c = 0; c < 3; c++)
            EXPECT_EQ(use_clr[i][c], COLOURS[i][c]) << i << " " << c;
}

//----------------------------------------------------------------------------------
// Layout
//----------------------------------------------------------------------------------
TEST_F(Screen, LandscapeGridButtonCoversTheGridExactly)
{
    // 960 x 640 at scale 2: the 48 x 30 cells of 16 pixels from (96, 8) to (864, 488)
    ASSERT_NE(editor_btn, nullptr);
    EXPECT_STREQ(editor_btn->name, "EDIT");
    EXPECT_FLOAT_EQ(editor_btn->x, 480.0f);
    EXPECT_FLOAT_EQ(editor_btn->y, 248.0f);
    EXPECT_FLOAT_EQ(editor_btn->rx, 384.0f);
    EXPECT_FLOAT_EQ(editor_btn->ry, 240.0f);
    EXPECT_EQ(editor_btn->spriteid, MAIN_SPRITE_SOLID);
    EXPECT_EQ(editor_btn->pulse_amount, 0.0f);
}

TEST_F(Screen, PortraitGridButtonCoversTheTurnedGridExactly)
{
    // 320 x 480 at scale 1: 30 columns by 48 rows of 8 pixels from (40, 4) to (280, 388)
    set_display(320, 480);
    ASSERT_NE(editor_btn, nullptr);
    EXPECT_FLOAT_EQ(editor_btn->x, 160.0f);
    EXPECT_FLOAT_EQ(editor_btn->y, 196.0f);
    EXPECT_FLOAT_EQ(editor_btn->rx, 120.0f);
    EXPECT_FLOAT_EQ(editor_btn->ry, 192.0f);
}

TEST_F(Screen, CornerButtonsSitCentredInTheMargins)
{
    // Landscape 960 x 640: margin (480 - 400) x 2 / 2 = 80 pixels, centred 48 from each edge
    BTN *about = find("?");
    BTN *more = find("..");
    ASSERT_NE(about, nullptr);
    ASSERT_NE(more, nullptr);
    EXPECT_FLOAT_EQ(about->x, 48.0f);
    EXPECT_FLOAT_EQ(about->w, 80.0f);
    EXPECT_FLOAT_EQ(more->x, 912.0f);
    EXPECT_FLOAT_EQ(more->w, 80.0f);
    EXPECT_EQ(about->state, &settings_state);
    EXPECT_EQ(more->state, &game_state);
    // Portrait 320 x 480: margin (320 - 256) / 2 = 32 pixels, centred 20 from each edge
    set_display(320, 480);
    EXPECT_FLOAT_EQ(find("?")->x, 20.0f);
    EXPECT_FLOAT_EQ(find("?")->w, 32.0f);
    EXPECT_FLOAT_EQ(find("..")->x, 300.0f);
}

TEST_F(Screen, LandscapeMainPanelPutsEveryLabelWhereTheFormulasSay)
{
    expect_layout(main_panel(g));
}

TEST_F(Screen, LandscapeMainPanelAtOtherSizes)
{
    set_display(1136, 640);
    expect_layout(main_panel(g));
    set_display(1024, 768);
    expect_layout(main_panel(g));
}

TEST_F(Screen, PortraitMainPanelPutsEveryLabelWhereTheFormulasSay)
{
    set_display(320, 480);
    expect_layout(main_panel(g));
    set_display(640, 960);
    expect_layout(main_panel(g));
    set_display(320, 568);
    expect_layout(main_panel(g));
}

TEST_F(Screen, DisplayPanelInBothOrientations)
{
    layout_mode = 1;
    set_display(960, 640);
    expect_layout(display_panel(g));
    set_display(320, 480);
    expect_layout(display_panel(g));
}

TEST_F(Screen, LandscapeLogsTheHeightOfTheRuleButtonsOnce)
{
    // The rule rows share the box below the corners: (316 - 248) / 320 of 640 pixels, two rows
    BTN *birth = find("B");
    ASSERT_NE(birth, nullptr);
    EXPECT_NEAR(birth->h, g.H * (g.rest.bottom - g.rest.top) / 2, NEAR);
    EXPECT_NEAR(birth->h, 68.0, NEAR);
    char expected[64];
    std::snprintf(expected, sizeof expected, "BUTTON HEIGHT %f", static_cast<double>(birth->h));
    std::vector<std::string> lines = lines_of(layout_log);
    EXPECT_EQ(count_lines(lines, expected), 1) << layout_log;
    EXPECT_EQ(count_lines(lines, "BUTTON HEIGHT"), 1);
}

TEST_F(Screen, PortraitAndTheDisplayPanelLogNoButtonHeight)
{
    set_display(320, 480);
    EXPECT_EQ(count_lines(lines_of(layout_log), "BUTTON HEIGHT"), 0) << layout_log;
    layout_mode = 1;
    set_display(960, 640);
    EXPECT_EQ(count_lines(lines_of(layout_log), "BUTTON HEIGHT"), 0) << layout_log;
}

TEST_F(Screen, TilesShowValuesAndTakeNoClicks)
{
    auto expect_tile = [](const BTN *b) {
        ASSERT_NE(b, nullptr);
        SCOPED_TRACE(b->name ? b->name : "(value)");
        EXPECT_EQ(b->spriteid, MAIN_SPRITE_TILE);
        EXPECT_EQ(b->noclick, 1);
        EXPECT_EQ(b->bg.r, 0.25f);
        EXPECT_EQ(b->bg.g, 0.25f);
        EXPECT_EQ(b->bg.b, 0.25f);
        EXPECT_EQ(b->fg.r, 1.0f);
        EXPECT_EQ(b->fg.g, 1.0f);
        EXPECT_EQ(b->fg.b, 1.0f);
        EXPECT_EQ(b->squeezex, 1.0f);
        EXPECT_EQ(b->squeezey, 1.0f);
    };
    expect_tile(find("B"));
    expect_tile(find("S"));
    expect_tile(find(nullptr, &game.freq));
    EXPECT_EQ(find(nullptr, &game.freq)->tooltip, std::string("Hz"));
    set_display(320, 480);
    expect_tile(find(nullptr, &game.freq));
    EXPECT_EQ(find(nullptr, &game.freq)->tooltip, std::string(""));
    layout_mode = 1;
    set_display(960, 640);
    for (const char *name : {"FG", "BG", "CELL", "GRID"})
        expect_tile(find(name));
    // Ordinary buttons keep the shell's look
    EXPECT_EQ(find("Glow")->spriteid, MAIN_SPRITE_BACKING);
    EXPECT_EQ(find("Glow")->noclick, 0);
}

TEST_F(Screen, HighlightsComeFromTheSavedValues)
{
    game.running = 1;
    game.bparams = {};
    game.bparams[1] = 1;
    game.bparams[8] = 1;
    set_display(960, 640);
    EXPECT_EQ(find("RUN")->highlight, 1);
    EXPECT_EQ(find("STEP")->highlight, 0);
    EXPECT_EQ(find("..")->highlight, 0);
    for (int n = 0; n < 9; n++) {
        EXPECT_EQ(digit(game.bparams, n)->highlight, (n == 1 || n == 8) ? 1 : 0) << n;
        EXPECT_EQ(digit(game.sparams, n)->highlight, (n == 2 || n == 3) ? 1 : 0) << n;
    }
    layout_mode = 1;
    game.icon_glow = 1;
    game.show_steps = 0;
    set_display(960, 640);
    EXPECT_EQ(find("..")->highlight, 1);
    EXPECT_EQ(find("Glow")->highlight, 1);
    EXPECT_EQ(find("Step Display")->highlight, 0);
}

TEST_F(Screen, AddButtonsCarryStepAndRange)
{
    BTN *plus = find("+", &game.freq);
    BTN *minus = find("-", &game.freq);
    EXPECT_EQ(plus->info, 1);
    EXPECT_EQ(minus->info, -1);
    EXPECT_EQ(plus->hintword[0], 1);
    EXPECT_EQ(plus->hintword[1], 60);
    layout_mode = 1;
    set_display(960, 640);
    EXPECT_EQ(find("+", &game.fg)->hintword[1], 7);
    EXPECT_EQ(find("+", &game.bg)->hintword[1], 8);
    EXPECT_EQ(find("-", &game.icon_cell)->hintword[0], 0);
    EXPECT_EQ(find("-", &game.icon_grid)->hintword[1], 15);
}

//----------------------------------------------------------------------------------
// Controls, clicked at their centres
//----------------------------------------------------------------------------------
TEST_F(Screen, RuleDigitOffIsSilentOnPipsAndEitherWayTheRuleIsRebuilt)
{
    BTN *three = digit(game.bparams, 3);
    click(three);
    EXPECT_EQ(game.bparams[3], 0);
    EXPECT_EQ(three->highlight, 0);
    EXPECT_EQ(pips(1.0f), 0);
    EXPECT_EQ(config_changed, 1);
    std::vector<std::string> lines = lines_of(tick());
    EXPECT_EQ(count_lines(lines, "CONFIG SET: bs23w"), 1);
    EXPECT_EQ(count_lines(lines, "RULES: B/S23, wrap border"), 1);

    click(three);
    EXPECT_EQ(game.bparams[3], 1);
    EXPECT_EQ(three->highlight, 1);
    EXPECT_EQ(pips(1.0f), 1);
    lines = lines_of(tick());
    EXPECT_EQ(count_lines(lines, "CONFIG SET: b3s23w"), 1);
    EXPECT_EQ(count_lines(lines, "RULES: B3/S23, wrap border"), 1);

    click(digit(game.sparams, 8));
    lines = lines_of(tick());
    EXPECT_EQ(count_lines(lines, "CONFIG SET: b3s238w"), 1);
    // Nothing changed: no new rule
    EXPECT_EQ(count_lines(lines_of(tick()), "CONFIG SET"), 0);
}

TEST_F(Screen, BorderCyclesWrapDeadLiveWrap)
{
    for (int landscape_run = 0; landscape_run < 2; landscape_run++) {
        if (landscape_run)
            set_display(320, 480);
        BTN *border = find("", &game.border_mode);
        const char *expected[] = {"CONFIG SET: b3s23d", "CONFIG SET: b3s23l", "CONFIG SET: b3s23w"};
        const char *rules[] = {"RULES: B3/S23, dead border", "RULES: B3/S23, live border", "RULES: B3/S23, wrap border"};
        for (int i = 0; i < 3; i++) {
            click(border);
            EXPECT_EQ(game.border_mode, (i + 1) % 3);
            std::vector<std::string> lines = lines_of(tick());
            EXPECT_EQ(count_lines(lines, expected[i]), 1);
            EXPECT_EQ(count_lines(lines, rules[i]), 1);
        }
    }
}

TEST_F(Screen, SpeedStopsAtItsEnds)
{
    for (int portrait = 0; portrait < 2; portrait++) {
        if (portrait)
            set_display(320, 480);
        game.freq = 60;
        click(find("+", &game.freq));
        EXPECT_EQ(game.freq, 60);
        click(find("-", &game.freq));
        EXPECT_EQ(game.freq, 59);
        game.freq = 1;
        click(find("-", &game.freq));
        EXPECT_EQ(game.freq, 1);
        click(find("+", &game.freq));
        EXPECT_EQ(game.freq, 2);
    }
}

TEST_F(Screen, DisplayPanelControlsStepTheirValuesWithinTheirRanges)
{
    layout_mode = 1;
    set_display(960, 640);
    game.fg = 7;
    click(find("+", &game.fg));
    EXPECT_EQ(game.fg, 7);
    game.bg = 7;
    click(find("+", &game.bg));
    EXPECT_EQ(game.bg, 8);
    click(find("+", &game.bg));
    EXPECT_EQ(game.bg, 8);
    click(find("-", &game.icon_cell));
    EXPECT_EQ(game.icon_cell, 0);
    game.icon_grid = 14;
    click(find("+", &game.icon_grid));
    click(find("+", &game.icon_grid));
    EXPECT_EQ(game.icon_grid, 15);
    click(find("Glow"));
    EXPECT_EQ(game.icon_glow, 1);
    click(find("Step Display"));
    EXPECT_EQ(game.show_steps, 0);
    // The tiles take no clicks
    int before = static_cast<int>(fake_sounds.size());
    click(find("FG"));
    EXPECT_EQ(static_cast<int>(fake_sounds.size()), before);
}

TEST_F(Screen, AddWrapsToTheOtherEndWhenItsIdIsNotZero)
{
    int32_t value = 3;
    auto make = [&](int id, int step) {
        BTN *b = nullptr;
        quiet([&] {
            b = button_ex(0, 0, id, "w", btn_add);
            b->data = &value;
            b->info = step;
            b->hintword[0] = 1;
            b->hintword[1] = 3;
        });
        return b;
    };
    quiet(main_buttons_start);
    BTN *up = make(1, 1);
    ASSERT_EQ(btn_add(up, BTN_UP), 1);
    EXPECT_EQ(value, 1);
    btn_add(up, BTN_UP);
    EXPECT_EQ(value, 2);
    BTN *down = make(2, -1);
    value = 1;
    btn_add(down, BTN_UP);
    EXPECT_EQ(value, 3);
    // Id 0 stops at the end instead
    BTN *clamped = make(0, 2);
    value = 2;
    btn_add(clamped, BTN_UP);
    EXPECT_EQ(value, 3);
    BTN *clamped_down = make(0, -5);
    btn_add(clamped_down, BTN_UP);
    EXPECT_EQ(value, 1);
    // A big step past both ends still lands on an end
    BTN *wrapping = make(1, 7);
    btn_add(wrapping, BTN_UP);
    EXPECT_EQ(value, 1);
}

TEST_F(Screen, AddRepeatsFromTheThirtiethTickOfHolding)
{
    BTN *minus = find("-", &game.freq);
    float x = minus->x;
    float y = minus->y;
    quiet([&] { button_do_click(x, y, BTN_DOWN); });
    for (int i = 1; i < HOLD; i++) {
        quiet([&] { button_do_click(x, y, BTN_HOLD); });
        ASSERT_EQ(game.freq, 60) << "hold " << i;
    }
    quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(game.freq, 59);
    quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(game.freq, 58);
    // The release adds its own step; a new press counts from the start again
    quiet([&] { button_do_click(x, y, BTN_UP); });
    EXPECT_EQ(game.freq, 57);
    quiet([&] { button_do_click(x, y, BTN_DOWN); });
    for (int i = 1; i < HOLD; i++)
        quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(game.freq, 57);
    quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(game.freq, 56);
}

TEST_F(Screen, HoldingWithTheMouseThroughTheTicksRepeats)
{
    BTN *plus = find("+", &game.freq);
    game.freq = 10;
    tick_pointer(plus->x, plus->y, INPUT_PRESSED, 1);
    for (int i = 1; i < HOLD; i++)
        tick_pointer(plus->x, plus->y, 0, 1);
    EXPECT_EQ(game.freq, 10);
    tick_pointer(plus->x, plus->y, 0, 1);
    EXPECT_EQ(game.freq, 11);
    for (int i = 0; i < 5; i++)
        tick_pointer(plus->x, plus->y, 0, 1);
    EXPECT_EQ(game.freq, 16);
    tick_pointer(plus->x, plus->y, INPUT_RELEASED, 0);
    EXPECT_EQ(game.freq, 17);
}

TEST_F(Screen, AnotherTouchStartsTheHoldCountAgain)
{
    BTN *minus = find("-", &game.freq);
    minus->noemptyclick = 0;  // let the other touch reach the handler
    float x = minus->x;
    float y = minus->y;
    quiet([&] {
        button_do_click_ex(x, y, 0, BTN_DOWN);
        for (int i = 0; i < 20; i++)
            button_do_click_ex(x, y, 0, BTN_HOLD);
        button_do_click_ex(x, y, 1, BTN_HOLD);
        for (int i = 1; i < HOLD; i++)
            button_do_click_ex(x, y, 0, BTN_HOLD);
    });
    EXPECT_EQ(game.freq, 60);
    quiet([&] { button_do_click_ex(x, y, 0, BTN_HOLD); });
    EXPECT_EQ(game.freq, 59);
}

TEST_F(Screen, ToggleRepeatsSilentlyFromTheThirtiethTick)
{
    BTN *step = find("STEP");
    float x = step->x;
    float y = step->y;
    quiet([&] { button_do_click(x, y, BTN_DOWN); });
    for (int i = 1; i < HOLD; i++)
        quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(take_step, 0);
    quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(take_step, 1);
    EXPECT_EQ(step->highlight, 1);
    quiet([&] { button_do_click(x, y, BTN_HOLD); });
    EXPECT_EQ(take_step, 0);
    EXPECT_EQ(pips(1.0f), 0);
}

TEST_F(Screen, HoldingStepStepsEveryTickFromTheThirtieth)
{
    BTN *step = find("STEP");
    uint32_t start = life_step_count();
    tick_pointer(step->x, step->y, INPUT_PRESSED, 1);
    for (int i = 1; i < HOLD; i++)
        tick_pointer(step->x, step->y, 0, 1);
    EXPECT_EQ(life_step_count(), start);
    for (int i = 0; i < 10; i++)
        tick_pointer(step->x, step->y, 0, 1);
    EXPECT_EQ(life_step_count(), start + 10);
}

TEST_F(Screen, RunTogglesWithAPipWhenSet)
{
    click(find("RUN"));
    EXPECT_EQ(game.running, 1);
    EXPECT_EQ(pips(1.0f), 1);
    EXPECT_EQ(find("RUN")->highlight, 1);
    click(find("RUN"));
    EXPECT_EQ(game.running, 0);
    EXPECT_EQ(pips(1.0f), 1);
    // The press clicks low and the release of a toggle pips instead of clicking high
    EXPECT_EQ(pips(0.25f), 2);
    EXPECT_EQ(pips(0.5f), 0);
}

TEST_F(Screen, TheAboutButtonClicksAndOpensTheAboutScreen)
{
    click(find("?"));
    EXPECT_EQ(state_current(), &settings_state);
    EXPECT_EQ(pips(0.25f), 1);
    EXPECT_EQ(pips(0.5f), 1);
}

TEST_F(Screen, TheMoreButtonSwitchesPanelsThroughTheScreen)
{
    BTN *more = find("..");
    std::vector<std::string> lines = lines_of(tick_pointer(more->x, more->y, INPUT_PRESSED, 1));
    tick_pointer(more->x, more->y, 0, 1);
    lines = lines_of(tick_pointer(more->x, more->y, INPUT_RELEASED, 0));
    EXPECT_EQ(layout_mode, 1);
    EXPECT_EQ(state_current(), &game_state);
    EXPECT_EQ(count_lines(lines, "'..' -> state switch"), 1);
    ASSERT_NE(find("Step Display"), nullptr);
    EXPECT_EQ(find("RUN"), nullptr);
    EXPECT_EQ(find("..")->highlight, 1);
    more = find("..");
    tick_pointer(more->x, more->y, INPUT_PRESSED, 1);
    tick_pointer(more->x, more->y, 0, 1);
    tick_pointer(more->x, more->y, INPUT_RELEASED, 0);
    EXPECT_EQ(layout_mode, 0);
    EXPECT_NE(find("RUN"), nullptr);
}

TEST_F(Screen, ANewDisplaySizeLaysTheScreenOutAgain)
{
    fake_platform.display_w = 320;
    fake_platform.display_h = 480;
    std::vector<std::string> lines = lines_of(tick());
    EXPECT_EQ(count_lines(lines, "NEW LAYOUT 320x480"), 1);
    g = geometry(320, 480);
    expect_layout(main_panel(g));
}

//----------------------------------------------------------------------------------
// Generations
//----------------------------------------------------------------------------------
// Generations taken in each of n ticks
std::vector<int> generations_per_tick(int n)
{
    std::vector<int> out;
    for (int i = 0; i < n; i++) {
        uint32_t before = life_step_count();
        capture_stdout(game_update);
        out.push_back(static_cast<int>(life_step_count() - before));
    }
    return out;
}

TEST_F(Screen, Speed60TakesOneGenerationEveryTick)
{
    game.running = 1;
    game.freq = 60;
    for (int n : generations_per_tick(120))
        EXPECT_EQ(n, 1);
}

TEST_F(Screen, Speed1TakesOneGenerationEverySixtyTicks)
{
    game.running = 1;
    game.freq = 1;
    std::vector<int> steps = generations_per_tick(240);
    std::vector<int> at;
    for (int i = 0; i < static_cast<int>(steps.size()); i++) {
        EXPECT_LE(steps[i], 1);
        if (steps[i])
            at.push_back(i);
    }
    ASSERT_EQ(at.size(), 4u);
    for (size_t i = 1; i < at.size(); i++)
        EXPECT_EQ(at[i] - at[i - 1], 60);
}

TEST_F(Screen, Speed45TakesThreeGenerationsInEveryFourTicks)
{
    game.running = 1;
    game.freq = 45;
    std::vector<int> steps = generations_per_tick(100);
    for (int n : steps)
        EXPECT_LE(n, 1);
    for (size_t i = 0; i + 4 <= steps.size(); i++)
        EXPECT_EQ(steps[i] + steps[i + 1] + steps[i + 2] + steps[i + 3], 3) << i;
}

TEST_F(Screen, TheRemainderSurvivesStoppingAndStarting)
{
    game.running = 1;
    game.freq = 45;
    int total = 0;
    for (int round = 0; round < 4; round++) {
        game.running = 1;
        std::vector<int> steps = generations_per_tick(1);
        total += steps[0];
        game.running = 0;
        generations_per_tick(5);  // stopped: nothing, and nothing owed is lost
    }
    EXPECT_EQ(total, 3);
}

TEST_F(Screen, StepTakesOneGenerationWhenStopped)
{
    uint32_t start = life_step_count();
    click(find("STEP"));
    EXPECT_EQ(pips(1.0f), 1);
    tick();
    EXPECT_EQ(life_step_count(), start + 1);
    EXPECT_EQ(take_step, 0);
    tick();
    EXPECT_EQ(life_step_count(), start + 1);
}

TEST_F(Screen, StepWhileRunningDoesNothing)
{
    game.running = 1;
    game.freq = 1;
    // Run until a generation falls due, so that the next is 60 ticks away
    for (int i = 0; i < 60 && generations_per_tick(1)[0] == 0; i++) {
    }
    uint32_t start = life_step_count();
    BTN *step = find("STEP");
    for (int i = 0; i < 19; i++) {
        tick_pointer(step->x, step->y, INPUT_PRESSED, 1);
        tick_pointer(step->x, step->y, 0, 1);
        tick_pointer(step->x, step->y, INPUT_RELEASED, 0);
    }
    EXPECT_EQ(pips(1.0f), 19);
    EXPECT_EQ(life_step_count(), start);
    EXPECT_EQ(take_step, 0);
    generations_per_tick(2);
    EXPECT_EQ(life_step_count(), start);
    generations_per_tick(1);
    EXPECT_EQ(life_step_count(), start + 1);
}

TEST_F(Screen, ClearEmptiesTheGridAndResetsTheCounter)
{
    quiet([] { life_reset_random(100); });
    quiet([] {
        for (int i = 0; i < 3; i++)
            life_step_cells();
    });
    ASSERT_EQ(life_step_count(), 3u);
    for (int portrait = 0; portrait < 2; portrait++) {
        if (portrait)
            set_display(320, 480);
        life_set_cell(5, 5, 1);
        life_set_step_count(7);
        click(find("CLR"));
        EXPECT_EQ(reset_life, -1);
        tick();
        EXPECT_EQ(reset_life, 0);
        EXPECT_EQ(live_cells(), 0);
        EXPECT_EQ(life_step_count(), 0u);
    }
}

TEST_F(Screen, RandomFillRefillsAtFiftyPercent)
{
    for (int portrait = 0; portrait < 2; portrait++) {
        if (portrait)
            set_display(320, 480);
        quiet([] { life_reset_random(0); });
        life_set_step_count(9);
        // The fill the engine draws from this seed: rows outer, columns inner, (rand >> 8) mod 100 < 50
        std::srand(1234 + portrait);
        std::array<std::array<int, LIFE_W>, LIFE_H> expected{};
        int expected_live = 0;
        for (int y = 0; y < LIFE_H; y++)
            for (int x = 0; x < LIFE_W; x++) {
                expected[y][x] = ((std::rand() >> 8) % 100) < 50;
                expected_live += expected[y][x];
            }
        EXPECT_GT(expected_live, 600);
        EXPECT_LT(expected_live, 840);
        click(find(portrait ? "RND" : "RAND"));
        EXPECT_EQ(reset_life, 1);
        std::srand(1234 + portrait);
        tick();
        EXPECT_EQ(life_step_count(), 0u);
        for (int y = 0; y < LIFE_H; y++)
            for (int x = 0; x < LIFE_W; x++)
                ASSERT_EQ(life_cell(x, y) != 0, expected[y][x] != 0) << x << "," << y;
    }
}

//----------------------------------------------------------------------------------
// Strokes on the grid
//----------------------------------------------------------------------------------
class Strokes : public Screen {
protected:
    void SetUp() override
    {
        Screen::SetUp();
        quiet([] { life_reset_random(0); });
    }

    // Press at screen cell (column, row), then hold over each of the cells given, one per tick
    void stroke(std::vector<std::pair<int, int>> cells)
    {
        quiet([&] {
            Place p = screen_cell(cells[0].first, cells[0].second);
            button_do_click(static_cast<float>(p.x), static_cast<float>(p.y), BTN_DOWN);
            for (auto [c, r] : cells) {
                Place q = screen_cell(c, r);
                button_do_click(static_cast<float>(q.x), static_cast<float>(q.y), BTN_HOLD);
            }
        });
    }
};

TEST_F(Strokes, APressAloneChangesNothing)
{
    Place p = screen_cell(3, 4);
    quiet([&] { button_do_click(static_cast<float>(p.x), static_cast<float>(p.y), BTN_DOWN); });
    EXPECT_EQ(live_cells(), 0);
    EXPECT_EQ(ringmods(), 0);
}

TEST_F(Strokes, LandscapeTouchesPaintTheCellDrawnUnderThem)
{
    stroke({{0, 0}, {47, 0}, {0, 29}, {47, 29}, {13, 21}});
    EXPECT_EQ(live_cells(), 5);
    EXPECT_NE(life_cell(0, 0), 0);
    EXPECT_NE(life_cell(47, 0), 0);
    EXPECT_NE(life_cell(0, 29), 0);
    EXPECT_NE(life_cell(47, 29), 0);
    EXPECT_NE(life_cell(13, 21), 0);
    EXPECT_EQ(ringmods(), 5);
}

TEST_F(Strokes, CellEdgesFallToTheCellRightAndBelow)
{
    // The grid starts at (96, 8); cells are 16 pixels. 111 is still column 0, 112 is column 1.
    quiet([] {
        button_do_click(111.0f, 23.0f, BTN_DOWN);
        button_do_click(111.0f, 23.0f, BTN_HOLD);
        button_do_click(112.0f, 24.0f, BTN_HOLD);
        button_do_click(96.0f, 8.0f, BTN_HOLD);
    });
    EXPECT_EQ(live_cells(), 2);
    EXPECT_NE(life_cell(0, 0), 0);
    EXPECT_NE(life_cell(1, 1), 0);
}

TEST_F(Strokes, PortraitTouchesEditTheTransposedCellAndRowsBelow30AreRefused)
{
    set_display(320, 480);
    // Screen column 4, row 9 edits engine cell (4, 9); the drawing shows engine cell (9, 25) there
    stroke({{4, 9}, {29, 29}, {2, 30}, {7, 47}});
    EXPECT_EQ(live_cells(), 2);
    EXPECT_NE(life_cell(4, 9), 0);
    EXPECT_NE(life_cell(29, 29), 0);
    EXPECT_EQ(ringmods(), 2);
}

TEST_F(Strokes, PortraitAtScaleTwoMapsThroughTheScale)
{
    set_display(640, 960);
    stroke({{0, 0}, {29, 12}});
    EXPECT_EQ(live_cells(), 2);
    EXPECT_NE(life_cell(0, 0), 0);
    EXPECT_NE(life_cell(29, 12), 0);
}

TEST_F(Strokes, AStrokeStartingOnALiveCellErasesAlongItsPathAndNeverPaints)
{
    life_set_cell(3, 3, 1);
    life_set_cell(5, 3, 1);
    life_set_cell(6, 3, 2);
    stroke({{3, 3}, {4, 3}, {5, 3}, {6, 3}, {7, 3}, {3, 3}});
    EXPECT_EQ(live_cells(), 0);
    EXPECT_EQ(ringmods(), 3);
    for (const FAKE_SOUND &s : fake_sounds) {
        if (s.name == "sound_ringmod") {
            EXPECT_LE(s.effect.i, 120);
        }
    }
}

TEST_F(Strokes, AStrokeStartingOnADeadCellPaintsOnlyAndSkipsLiveCells)
{
    life_set_cell(4, 3, 1);
    stroke({{3, 3}, {4, 3}, {5, 3}, {5, 3}});
    EXPECT_EQ(live_cells(), 3);
    EXPECT_EQ(ringmods(), 2);
}

TEST_F(Strokes, OnlyThePressingTouchPaints)
{
    editor_btn->noemptyclick = 0;  // let the other touch reach the handler
    Place p = screen_cell(3, 3);
    Place q = screen_cell(9, 9);
    quiet([&] {
        button_do_click_ex(static_cast<float>(p.x), static_cast<float>(p.y), 0, BTN_DOWN);
        button_do_click_ex(static_cast<float>(q.x), static_cast<float>(q.y), 1, BTN_HOLD);
    });
    EXPECT_EQ(live_cells(), 0);
    quiet([&] { button_do_click_ex(static_cast<float>(q.x), static_cast<float>(q.y), 0, BTN_HOLD); });
    EXPECT_NE(life_cell(9, 9), 0);
}

TEST_F(Strokes, ThePaintSoundIsARingmodWithRandomFactors)
{
    stroke({{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 1}});
    stroke({{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 1}});
    ASSERT_EQ(ringmods(), 16);
    for (size_t i = 0; i < fake_sounds.size(); i++) {
        const FAKE_SOUND &s = fake_sounds[i];
        if (s.name != "sound_ringmod")
            continue;
        bool painting = i < fake_sounds.size() / 2;
        EXPECT_GE(s.pitch, 0.5f);
        EXPECT_LE(s.pitch, 2.0f);
        // The second factor stretches the decay and the ring frequency together
        double spread = s.effect.d / s.length;
        EXPECT_GE(spread, 0.5 - 1e-6);
        EXPECT_LE(spread, 2.0 + 1e-6);
        double ring = 60.0 * spread * (painting ? 3 : 1);
        EXPECT_NEAR(s.effect.i, ring, painting ? 3.0 : 1.0) << i;
    }
}

TEST_F(Strokes, TheGridsBackdropIsAShadeOfTheBackgroundColour)
{
    game.bg = 2;
    turtle_set_rgba(1, 1, 1, 0.5);
    EXPECT_EQ(btn_edit_cells(editor_btn, BTN_DRAW_SHAPE), 0);
    EXPECT_NEAR(turtle.r, 0.3 * COLOURS[2][0], 1e-6);
    EXPECT_NEAR(turtle.g, 0.3 * COLOURS[2][1], 1e-6);
    EXPECT_NEAR(turtle.b, 0.3 * COLOURS[2][2], 1e-6);
    EXPECT_NEAR(turtle.a, 0.5, 1e-6);
}

//----------------------------------------------------------------------------------
// Drawing
//----------------------------------------------------------------------------------
class Drawing : public Screen {
protected:
    // A grid with a pattern no symmetry hides
    static void prepare_grid()
    {
        for (int y = 0; y < LIFE_H; y++)
            for (int x = 0; x < LIFE_W; x++)
                life_set_cell(x, y, (x * 7 + y * 3 + x * y) % 5 == 0);
    }

    std::vector<Quad> render(int batch)
    {
        clear_atlases();
        atlas_[FONT_ATLAS].image.texture_w = PAGE;
        atlas_[FONT_ATLAS].image.texture_h = PAGE;
        quiet(game_render);
        return quads(batch);
    }

    // The quads showing cell icons: glyphs of codes 128..159
    static std::vector<Quad> cells_of(const std::vector<Quad> &all)
    {
        std::vector<Quad> out;
        for (const Quad &q : all)
            if (q.glyph >= UI_FIRST && q.glyph < UI_FIRST + 32)
                out.push_back(q);
        return out;
    }

    void expect_cells(const std::vector<Quad> &cells, int live_icon, int grid_icon, int fg)
    {
        bool land = g.land;
        int rows = land ? 30 : 48;
        int cols = land ? 48 : 30;
        ASSERT_EQ(static_cast<int>(cells.size()), rows * cols);
        int i = 0;
        for (int r = 0; r < rows; r++)
            for (int c = 0; c < cols; c++, i++) {
                const Quad &q = cells[i];
                Place p = screen_cell(c, r);
                int alive = land ? life_cell(c, r) : life_cell(r, 29 - c);
                SCOPED_TRACE("cell " + std::to_string(c) + "," + std::to_string(r));
                EXPECT_EQ(q.glyph, UI_FIRST + (alive ? live_icon : 16 + grid_icon));
                EXPECT_NEAR(q.x, p.x, NEAR);
                EXPECT_NEAR(q.y, p.y, NEAR);
                EXPECT_NEAR(q.w, p.w, NEAR);
                EXPECT_NEAR(q.h, p.h, NEAR);
                EXPECT_EQ(q.r, byte_of(COLOURS[fg][0]));
                EXPECT_EQ(q.g, byte_of(COLOURS[fg][1]));
                EXPECT_EQ(q.b, byte_of(COLOURS[fg][2]));
                EXPECT_EQ(q.a, 255);
                if (HasFailure())
                    return;
            }
    }
};

TEST_F(Drawing, LandscapePlotsEveryCellWithItsIconAtItsPlace)
{
    prepare_grid();
    game.icon_cell = 3;
    game.icon_grid = 5;
    game.fg = 2;
    expect_cells(cells_of(render(0)), 3, 5, 2);
    EXPECT_TRUE(cells_of(quads(1)).empty());
}

TEST_F(Drawing, PortraitPlotsTheGridTurnedAQuarterTurn)
{
    prepare_grid();
    game.icon_cell = 15;
    game.icon_grid = 0;
    game.fg = 7;
    set_display(320, 480);
    expect_cells(cells_of(render(0)), 15, 0, 7);
    set_display(640, 960);
    expect_cells(cells_of(render(0)), 15, 0, 7);
    set_display(320, 568);
    expect_cells(cells_of(render(0)), 15, 0, 7);
}

TEST_F(Drawing, OtherLandscapeSizesKeepTheCellsOnTheGridButton)
{
    prepare_grid();
    set_display(1136, 640);
    expect_cells(cells_of(render(0)), 0, 0, 0);
    set_display(1024, 768);
    expect_cells(cells_of(render(0)), 0, 0, 0);
}

TEST_F(Drawing, GlowPutsTheCellsIntoTheAdditiveBatch)
{
    prepare_grid();
    game.icon_glow = 1;
    game.icon_cell = 9;
    game.icon_grid = 12;
    game.fg = 4;
    std::vector<Quad> normal = render(0);
    EXPECT_TRUE(cells_of(normal).empty());
    expect_cells(cells_of(quads(1)), 9, 12, 4);
}

TEST_F(Drawing, AllLiveAndAllDeadGridsUseOneIconEach)
{
    quiet([] { life_reset_random(100); });
    game.icon_cell = 1;
    game.icon_grid = 2;
    std::vector<Quad> cells = cells_of(render(0));
    ASSERT_EQ(cells.size(), 1440u);
    for (const Quad &q : cells)
        ASSERT_EQ(q.glyph, UI_FIRST + 1);
    quiet([] { life_reset_random(0); });
    cells = cells_of(render(0));
    ASSERT_EQ(cells.size(), 1440u);
    for (const Quad &q : cells)
        ASSERT_EQ(q.glyph, UI_FIRST + 16 + 2);
}

// The step counter's glyphs: grey quads
std::vector<Quad> counter_of(const std::vector<Quad> &all)
{
    std::vector<Quad> out;
    for (const Quad &q : all)
        if (q.r == 127 && q.g == 127 && q.b == 127)
            out.push_back(q);
    return out;
}

TEST_F(Drawing, TheStepCounterIsDrawnLargeAndGreyAboveTheGridsCentre)
{
    life_set_step_count(1234);
    std::vector<Quad> digits = counter_of(render(0));
    ASSERT_EQ(digits.size(), 4u);
    // Twice the global scale: 8 x 8 glyphs 32 pixels wide, centred on the grid button's x
    double size = 8 * 2 * g.scale;
    double y = editor_btn->y - 0.9 * editor_btn->ry;
    const char *text = "1234";
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(digits[i].glyph, glyph_of(text[i]));
        EXPECT_NEAR(digits[i].x, editor_btn->x - 2 * size + size / 2 + i * size, NEAR);
        EXPECT_NEAR(digits[i].y, y, NEAR);
        EXPECT_NEAR(digits[i].w, size, NEAR);
    }
    game.show_steps = 0;
    EXPECT_TRUE(counter_of(render(0)).empty());
}

TEST_F(Drawing, TheStepCounterFollowsTheGridInPortrait)
{
    set_display(320, 480);
    life_set_step_count(7);
    std::vector<Quad> digits = counter_of(render(0));
    ASSERT_EQ(digits.size(), 1u);
    EXPECT_EQ(digits[0].glyph, glyph_of('7'));
    EXPECT_NEAR(digits[0].x, 160.0, NEAR);
    EXPECT_NEAR(digits[0].y, 196.0 - 0.9 * 192.0, NEAR);
    EXPECT_NEAR(digits[0].w, 16.0, NEAR);
}

TEST_F(Drawing, TheButtonsAreDrawnFirstAndTheFrameEndsWithTheBatchesDrawn)
{
    std::vector<Quad> all = render(0);
    ASSERT_FALSE(all.empty());
    // The first quads are the grid button's backing, tinted by the background colour
    EXPECT_EQ(all[0].glyph, UI_FIRST + MAIN_SPRITE_SOLID);
    EXPECT_EQ(all[0].r, byte_of(0.3f * COLOURS[0][0]));
    // Atlas 0 was drawn and emptied; the font's atlas 1 is not drawn by the frame
    EXPECT_EQ(atlas_[0].batch[0].count, 0);
}

//----------------------------------------------------------------------------------
// What the handlers draw
//----------------------------------------------------------------------------------
class Labels : public Drawing {
protected:
    // The quads a handler plots for its text, with the turtle at (200, 100), scale 2
    std::vector<Quad> text_of(BTN *b)
    {
        clear_atlases();
        atlas_[FONT_ATLAS].image.texture_w = PAGE;
        atlas_[FONT_ATLAS].image.texture_h = PAGE;
        turtle_set_angle(0);
        turtle_set_scale(2.0);
        turtle_set_pos_unscaled(200.0, 100.0);
        turtle_set_rgb(1, 1, 1);
        int drawn = 0;
        quiet([&] { drawn = b->update(b, BTN_DRAW_TEXT); });
        EXPECT_EQ(drawn, 1);
        // Without the shadows: the quads in the turtle's colour
        std::vector<Quad> out;
        for (const Quad &q : quads(0))
            if (!(q.r == 0 && q.g == 0 && q.b == 0))
                out.push_back(q);
        return out;
    }

    static std::string glyph_text(const std::vector<Quad> &qs)
    {
        std::string s;
        for (const Quad &q : qs)
            s += static_cast<char>(q.glyph + FONT_FIRST);
        return s;
    }
};

TEST_F(Labels, RuleDigitsShowTheirNeighbourCount)
{
    EXPECT_EQ(glyph_text(text_of(digit(game.bparams, 0))), "0");
    EXPECT_EQ(glyph_text(text_of(digit(game.sparams, 8))), "8");
}

TEST_F(Labels, SpeedShowsHzInLandscapeOnly)
{
    game.freq = 45;
    EXPECT_EQ(glyph_text(text_of(find(nullptr, &game.freq))), "45Hz");
    set_display(320, 480);
    EXPECT_EQ(glyph_text(text_of(find(nullptr, &game.freq))), "45");
}

TEST_F(Labels, BorderShowsItsMode)
{
    BTN *border = find("", &game.border_mode);
    const char *names[] = {"Wrap", "Dead", "Live"};
    for (int mode = 0; mode < 3; mode++) {
        game.border_mode = mode;
        EXPECT_EQ(glyph_text(text_of(border)), names[mode]);
    }
}

TEST_F(Labels, ColourTilesShowFourWideSquaresInTheirColour)
{
    layout_mode = 1;
    set_display(960, 640);
    game.fg = 3;
    game.bg = 8;
    std::vector<Quad> fg = text_of(find("FG"));
    ASSERT_EQ(fg.size(), 4u);
    for (const Quad &q : fg) {
        EXPECT_EQ(q.glyph, glyph_of(161));
        EXPECT_EQ(q.r, byte_of(COLOURS[3][0]));
        EXPECT_EQ(q.g, byte_of(COLOURS[3][1]));
        EXPECT_EQ(q.b, byte_of(COLOURS[3][2]));
        EXPECT_NEAR(q.w, 32.0, NEAR);
        EXPECT_NEAR(q.h, 16.0, NEAR);
    }
    EXPECT_NEAR(fg[1].x - fg[0].x, 32.0, NEAR);
    // Black draws like the shadow, so all eight quads are black
    clear_atlases();
    atlas_[FONT_ATLAS].image.texture_w = PAGE;
    atlas_[FONT_ATLAS].image.texture_h = PAGE;
    BTN *bg = find("BG");
    quiet([&] { bg->update(bg, BTN_DRAW_TEXT); });
    int squares = 0;
    for (const Quad &q : quads(0))
        squares += q.glyph == glyph_of(161) && q.r == 0 && q.g == 0 && q.b == 0;
    EXPECT_EQ(squares, 8);
}

TEST_F(Labels, IconTilesShowTwoRowsOfTheirIcon)
{
    layout_mode = 1;
    set_display(960, 640);
    game.icon_cell = 4;
    game.icon_grid = 11;
    std::vector<Quad> cell = text_of(find("CELL"));
    ASSERT_EQ(cell.size(), 4u);
    for (const Quad &q : cell)
        EXPECT_EQ(q.glyph, glyph_of(128 + 4));
    // 4 units up, then 8 back: rows at y 100 - 8 and 100 + 8 at scale 2
    EXPECT_NEAR(cell[0].y, 92.0, NEAR);
    EXPECT_NEAR(cell[1].y, 92.0, NEAR);
    EXPECT_NEAR(cell[2].y, 108.0, NEAR);
    EXPECT_NEAR(cell[3].y, 108.0, NEAR);
    EXPECT_NEAR(cell[0].x, 192.0, NEAR);
    EXPECT_NEAR(cell[1].x, 208.0, NEAR);
    std::vector<Quad> grid = text_of(find("GRID"));
    ASSERT_EQ(grid.size(), 4u);
    for (const Quad &q : grid)
        EXPECT_EQ(q.glyph, glyph_of(144 + 11));
}

}  // namespace
