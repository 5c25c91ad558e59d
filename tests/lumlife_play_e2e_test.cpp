// End-to-end play tests: the real `lumlife` in a private virtual X display with a temporary HOME,
// played as a person plays it, with xdotool (see toy). Every click position and every expected
// pixel is worked out here and in toy_layout from the screen layout, the colour table and the
// art's source (assets/font8x8.txt), independently of the toy's code; the saved "settings.cfg" is
// read back byte by byte and its grid checked against a Life stepper of the test's own.
//
// NOTE: nothing here waits a fixed time for the toy. Each action waits for what the log, the
// window or the saved file shows: a stroke on the grid for the cells it changes, a click for its
// answer in the log where the toy logs what it did (a rule rebuilt, a panel switched), else for the
// log's answers to keys pressed after the release (see ToyTest::click), and then for its effect.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "fonttext.h"
#include "process.h"
#include "settings_record.h"
#include "toy.h"
#include "toy_layout.h"
#include "xcapture.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int KEEP_HOLDING_MS = 600;   // a control held at the end of its range is held this much longer
constexpr int KEEP_HOLDING_FRAMES = 12;  // ... and over at least this many frames
constexpr int GENERATIONS = 2000;      // generations predicted for a prepared grid
constexpr int S = FONT_TEXT_SIDE;      // a glyph's side: a cell's sprite is one glyph

// Glyph codes of the icons: live cells from 128, grid (dead cells) from 144
constexpr int GLYPH_LIVE = 128;
constexpr int GLYPH_GRID = 144;
constexpr int GLYPH_SOLID = 161;       // the solid square that colour tiles are drawn with

// Pixel comparisons
constexpr int TOLERANCE = 3;           // a colour computed from the art and the colour table
constexpr int LIVE_TOLERANCE = 24;     // telling a live cell from a dead one by one pixel
constexpr int DARK = 12;               // the black background reads at most this in each channel
constexpr int INK = 150;               // a label's light pixels read at least this in each channel
constexpr int HIGHLIGHT = 84;          // a highlighted backing reads above this, a plain one below
constexpr int COUNTER_GREY = 127;      // the step counter's grey (0.5)
constexpr int COUNTER_MIN_PIXELS = 40; // a drawn counter has at least this many grey pixels

// The colour table by the fg and bg values: red, green, blue
static const double USE_CLR[9][3] = {
    {1.0, 0.2, 0.2}, {0.2, 1.0, 0.6}, {0.2, 0.6, 1.0}, {0.6, 1.0, 0.2}, {0.8, 0.2, 1.0},
    {1.0, 0.7, 0.2}, {1.0, 1.0, 1.0}, {0.5, 0.5, 0.5}, {0.0, 0.0, 0.0},
};
constexpr double BACKDROP_DIM = 0.3;   // the grid's backdrop is this share of the bg colour

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct RGB8 {
    int r, g, b;
};

using TEXEL = std::array<int, 4>;      // red, green, blue, alpha

// The display settings that decide how a cell looks
struct LOOK {
    int fg, bg, icon_cell, icon_grid, glow;
};

//----------------------------------------------------------------------------------
// Helpers: text, the record, the Life rule
//----------------------------------------------------------------------------------
// How a look reads in a test's output
static void PrintTo(const LOOK &k, std::ostream *os)
{
    *os << "fg " << k.fg << ", bg " << k.bg << ", cell icon " << k.icon_cell << ", grid icon " << k.icon_grid
        << ", glow " << k.glow;
}

// The look a record asks for, and a record asking for a look
static LOOK look_of(const SETTINGS_RECORD &r)
{
    return {static_cast<int>(record_get32(r, RECORD_FG)), static_cast<int>(record_get32(r, RECORD_BG)),
            static_cast<int>(record_get32(r, RECORD_ICON_CELL)), static_cast<int>(record_get32(r, RECORD_ICON_GRID)),
            static_cast<int>(record_get32(r, RECORD_GLOW))};
}

static void set_look(SETTINGS_RECORD &r, const LOOK &k)
{
    record_put32(r, RECORD_FG, k.fg);
    record_put32(r, RECORD_BG, k.bg);
    record_put32(r, RECORD_ICON_CELL, k.icon_cell);
    record_put32(r, RECORD_ICON_GRID, k.icon_grid);
    record_put32(r, RECORD_GLOW, k.glow);
}


// The grid and its next `count` generations
static std::vector<RECORD_GRID> generations(const RECORD_GRID &start, const SETTINGS_RECORD &r, int count)
{
    std::vector<RECORD_GRID> gens = {start};
    for (int i = 0; i < count; i++)
        gens.push_back(record_life_next(gens.back(), r));
    return gens;
}

// The first generation from `from` on that equals `g`; -1 if none
static int generation_of(const std::vector<RECORD_GRID> &gens, const RECORD_GRID &g, int from = 0)
{
    for (size_t i = static_cast<size_t>(std::max(from, 0)); i < gens.size(); i++)
        if (gens[i] == g)
            return static_cast<int>(i);
    return -1;
}

// Live cells in a grid
static int alive(const RECORD_GRID &g)
{
    int n = 0;
    for (const auto &column : g)
        for (uint8_t c : column)
            n += c;
    return n;
}

// Two gliders heading down and right, apart: on the wrapped grid they never meet, and the
// picture repeats only after 960 generations, so each generation shows which one it is
static RECORD_GRID pattern()
{
    const int glider[][2] = {{11, 5}, {12, 6}, {10, 7}, {11, 7}, {12, 7}};
    RECORD_GRID g{};
    for (const auto &c : glider) {
        g[c[0]][c[1]] = 1;
        g[c[0] + 20][c[1] + 13] = 1;
    }
    return g;
}

// About a third of the cells alive, scattered the same way on every run, and none of the
// symmetries of the grid: what is drawn where shows at once
static RECORD_GRID scattered()
{
    RECORD_GRID g{};
    uint32_t seed = 12345;
    for (int x = 0; x < RECORD_COLS; x++) {
        for (int y = 0; y < RECORD_ROWS; y++) {
            seed = seed * 1103515245u + 12345u;
            g[x][y] = (seed >> 16) % 100 < 35;
        }
    }
    return g;
}

// The rule string the toy builds from its toggles and border: "b", the birth digits, "s", the
// survival digits, and w, d or l
static std::string rule_string(const std::array<bool, 9> &birth, const std::array<bool, 9> &survive, char border)
{
    std::string text = "b";
    for (int n = 0; n < 9; n++)
        if (birth[n])
            text += static_cast<char>('0' + n);
    text += "s";
    for (int n = 0; n < 9; n++)
        if (survive[n])
            text += static_cast<char>('0' + n);
    return text + border;
}

// The engine's report of that rule
static std::string rule_report(const std::array<bool, 9> &birth, const std::array<bool, 9> &survive, const char *border)
{
    std::string text = "RULES: B";
    for (int n = 0; n < 9; n++)
        if (birth[n])
            text += static_cast<char>('0' + n);
    text += "/S";
    for (int n = 0; n < 9; n++)
        if (survive[n])
            text += static_cast<char>('0' + n);
    return text + ", " + border + " border";
}

//----------------------------------------------------------------------------------
// Helpers: the art
//----------------------------------------------------------------------------------
// Pixel (gx, gy) of glyph `code` of the font's source
static TEXEL texel(const FONT_TEXT &font, int code, int gx, int gy)
{
    const auto &p = font.glyphs[static_cast<size_t>(code - FONT_TEXT_FIRST)].px[gy * S + gx];
    return {p[0], p[1], p[2], p[3]};
}

// A texel as the atlas holds it: uploaded with 5 bits for each colour channel and 1 bit of alpha
static TEXEL atlas_texel(const TEXEL &t)
{
    auto five = [](int v) { return static_cast<int>(std::lround((v >> 3) * 255.0 / 31.0)); };
    return {five(t[0]), five(t[1]), five(t[2]), t[3] >= 128 ? 255 : 0};
}

// A colour component as the drawing code turns it into a byte: truncated
static int colour_byte(double c)
{
    return static_cast<int>(c * 255.0);
}

// Colour `index` of the table, or a share of it, as bytes
static RGB8 table_colour(int index, double share = 1.0)
{
    return {colour_byte(share * USE_CLR[index][0]), colour_byte(share * USE_CLR[index][1]),
            colour_byte(share * USE_CLR[index][2])};
}

// What the window shows where `texel` is drawn tinted with `tint` over `under`: blended by the
// texel's alpha in the plain batch, added in the glow batch
static RGB8 drawn(const TEXEL &texel, RGB8 tint, RGB8 under, bool glow)
{
    RGB8 src = {tint.r * texel[0] / 255, tint.g * texel[1] / 255, tint.b * texel[2] / 255};
    if (glow)
        return {std::min(255, under.r + src.r), std::min(255, under.g + src.g), std::min(255, under.b + src.b)};
    double a = texel[3] / 255.0;
    auto mix = [a](int s, int u) { return static_cast<int>(std::lround(s * a + u * (1.0 - a))); };
    return {mix(src.r, under.r), mix(src.g, under.g), mix(src.b, under.b)};
}

// The grid's backdrop in a look
static RGB8 backdrop(const LOOK &k)
{
    return table_colour(k.bg, BACKDROP_DIM);
}

// The colour of glyph pixel (gx, gy) of a live or dead cell in a look
static RGB8 cell_colour(const FONT_TEXT &font, const LOOK &k, bool live, int gx, int gy)
{
    int icon = live ? GLYPH_LIVE + k.icon_cell : GLYPH_GRID + k.icon_grid;
    return drawn(atlas_texel(texel(font, icon, gx, gy)), table_colour(k.fg), backdrop(k), k.glow != 0);
}

//----------------------------------------------------------------------------------
// Helpers: reading the window
//----------------------------------------------------------------------------------
// One pixel of a frame; positions outside it read the nearest edge
static RGB8 pixel(const XCAPTURE_IMAGE &im, int x, int y)
{
    x = std::clamp(x, 0, im.w - 1);
    y = std::clamp(y, 0, im.h - 1);
    const uint8_t *p = &im.rgb[(static_cast<size_t>(y) * im.w + x) * 3];
    return {p[0], p[1], p[2]};
}

// Two colours within `tolerance` in each channel
static bool near(RGB8 a, RGB8 b, int tolerance)
{
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance;
}

// The black background
static bool dark(RGB8 p)
{
    return std::max({p.r, p.g, p.b}) <= DARK;
}

// A colour in words
static std::string text_of(RGB8 p)
{
    return "(" + std::to_string(p.r) + ", " + std::to_string(p.g) + ", " + std::to_string(p.b) + ")";
}

// A pressed button is drawn shrunk: the pulse scales its backing to 80 %, so the bands just inside
// its top and bottom edges show the black background
static bool looks_pressed(const XCAPTURE_IMAGE &im, const LAYOUT_SPOT &s)
{
    int x = static_cast<int>(s.x);
    return dark(pixel(im, x, static_cast<int>(s.y - 0.92 * s.ry))) &&
           dark(pixel(im, x, static_cast<int>(s.y + 0.92 * s.ry)));
}

// A button's backing is drawn in its highlight colour: looked at beside the label
static bool looks_highlighted(const XCAPTURE_IMAGE &im, const LAYOUT_SPOT &s)
{
    RGB8 p = pixel(im, static_cast<int>(s.x - 0.6 * s.rx), static_cast<int>(s.y));
    return (p.r + p.g + p.b) / 3 > HIGHLIGHT;
}

// The engine's grid as the window shows it: a cell is live when glyph pixel (gx, gy) of its icon,
// one that the live icon covers and the dead one looks different at, has the live colour
static RECORD_GRID shown_grid(const XCAPTURE_IMAGE &im, const LAYOUT_VIEW &v, const FONT_TEXT &font, const LOOK &k)
{
    int best_gx = 3, best_gy = 3, best = -1;
    for (int gy = 0; gy < S; gy++) {
        for (int gx = 0; gx < S; gx++) {
            RGB8 a = cell_colour(font, k, true, gx, gy), d = cell_colour(font, k, false, gx, gy);
            int difference = std::abs(a.r - d.r) + std::abs(a.g - d.g) + std::abs(a.b - d.b);
            if (texel(font, GLYPH_LIVE + k.icon_cell, gx, gy)[3] == 255 && difference > best) {
                best = difference;
                best_gx = gx;
                best_gy = gy;
            }
        }
    }
    RGB8 live = cell_colour(font, k, true, best_gx, best_gy);
    RECORD_GRID g{};
    for (int c = 0; c < v.cols; c++) {
        for (int r = 0; r < v.rows; r++) {
            int px, py, ex, ey;
            layout_glyph_pixel(v, c, r, best_gx, best_gy, px, py);
            layout_engine_cell(v, c, r, ex, ey);
            g[ex][ey] = near(pixel(im, px, py), live, LIVE_TOLERANCE);
        }
    }
    return g;
}

// The grid's label may be drawn under the cells, at the centre of the grid's button: pixels
// within this rectangle show the label wherever the icons leave them uncovered
static bool under_label(const LAYOUT_VIEW &v, int x, int y)
{
    LAYOUT_BOX g = layout_grid_box(v);
    double cx = v.w * (g.left + g.right) / 2.0, cy = v.h * (g.top + g.bottom) / 2.0;
    return std::abs(x - cx) <= 40.0 * v.scale && std::abs(y - cy) <= 12.0 * v.scale;
}

// Every pixel of every cell against the art: where the grid is live, the cell icon in the fg
// colour; where it is dead, the grid icon; both over the backdrop. Returns the mismatches found
// (at most a few, described).
static std::vector<std::string> cell_mismatches(const XCAPTURE_IMAGE &im, const LAYOUT_VIEW &v, const FONT_TEXT &font,
                                                const LOOK &k, const RECORD_GRID &g)
{
    std::vector<std::string> bad;
    RGB8 colours[2][S][S];
    for (int live = 0; live < 2; live++)
        for (int gy = 0; gy < S; gy++)
            for (int gx = 0; gx < S; gx++)
                colours[live][gy][gx] = cell_colour(font, k, live != 0, gx, gy);
    for (int c = 0; c < v.cols; c++) {
        for (int r = 0; r < v.rows; r++) {
            int ex, ey;
            layout_engine_cell(v, c, r, ex, ey);
            bool live = g[ex][ey] != 0;
            int icon = live ? GLYPH_LIVE + k.icon_cell : GLYPH_GRID + k.icon_grid;
            for (int gy = 0; gy < S; gy++) {
                for (int gx = 0; gx < S; gx++) {
                    RGB8 want = colours[live][gy][gx];
                    int x0, y0;
                    layout_glyph_pixel(v, c, r, gx, gy, x0, y0);
                    for (int y = y0; y < y0 + v.scale; y++) {
                        for (int x = x0; x < x0 + v.scale; x++) {
                            // An opaque icon pixel covers the label; a glowing one is added to it
                            if (under_label(v, x, y) && (k.glow || texel(font, icon, gx, gy)[3] < 255))
                                continue;
                            RGB8 got = pixel(im, x, y);
                            if (!near(got, want, TOLERANCE) && bad.size() < 8)
                                bad.push_back("screen cell (" + std::to_string(c) + ", " + std::to_string(r) + ") " +
                                              (live ? "live" : "dead") + " at pixel (" + std::to_string(x) + ", " +
                                              std::to_string(y) + "): " + text_of(got) + ", expected " + text_of(want));
                        }
                    }
                }
            }
        }
    }
    return bad;
}

// Which pixels of each glyph are a label's light ink: opaque and light in every channel
using INK_MASK = std::array<std::array<bool, 8>, 8>;

static std::map<int, INK_MASK> ink_masks(const FONT_TEXT &font)
{
    std::map<int, INK_MASK> masks;
    for (int code = FONT_TEXT_FIRST; code < FONT_TEXT_FIRST + static_cast<int>(font.glyphs.size()); code++)
        for (int row = 0; row < S; row++)
            for (int col = 0; col < S; col++) {
                TEXEL t = texel(font, code, col, row);
                masks[code][row][col] = t[3] == 255 && std::min({t[0], t[1], t[2]}) >= INK;
            }
    return masks;
}

// Which of `candidates` a button's label reads as: drawn in the font at `scale` and centred on
// the button, the text whose ink explains the light pixels of the band across the button best,
// at the best shift of up to 3 pixels either way
static std::string read_label(const XCAPTURE_IMAGE &im, const FONT_TEXT &font, const LAYOUT_SPOT &s, int scale,
                              const std::vector<std::string> &candidates)
{
    static constexpr int SHIFT = 3;
    std::map<int, INK_MASK> masks = ink_masks(font);
    int x0 = static_cast<int>(s.x - s.rx), x1 = static_cast<int>(s.x + s.rx);
    int y0 = static_cast<int>(s.y) - 4 * scale - SHIFT, y1 = static_cast<int>(s.y) + 4 * scale + SHIFT;
    std::vector<std::vector<bool>> seen(static_cast<size_t>(y1 - y0), std::vector<bool>(static_cast<size_t>(x1 - x0 + 1)));
    for (int y = y0; y < y1; y++)
        for (int x = x0; x <= x1; x++) {
            RGB8 p = pixel(im, x, y);
            seen[static_cast<size_t>(y - y0)][static_cast<size_t>(x - x0)] = std::min({p.r, p.g, p.b}) >= INK;
        }
    std::string best;
    int least = INT_MAX;
    for (const std::string &text : candidates) {
        std::vector<const INK_MASK *> glyphs;
        for (char c : text)
            glyphs.push_back(masks.count(static_cast<unsigned char>(c)) ? &masks[static_cast<unsigned char>(c)] : nullptr);
        double width = 8.0 * scale * static_cast<double>(text.size());
        for (int dy = -SHIFT; dy <= SHIFT; dy++) {
            for (int dx = -SHIFT; dx <= SHIFT; dx++) {
                double left = s.x - width / 2.0 + dx;
                int top = static_cast<int>(s.y) - 4 * scale + dy;
                int bad = 0;
                for (int y = y0; y < y1; y++) {
                    int row = (y - top) / scale;
                    bool in_rows = y >= top && row < 8;
                    for (int x = x0; x <= x1; x++) {
                        double u = (x + 0.5 - left) / scale;
                        bool ink = false;
                        if (in_rows && u >= 0 && u < 8.0 * static_cast<double>(text.size())) {
                            const INK_MASK *m = glyphs[static_cast<size_t>(u) / 8];
                            ink = m && (*m)[row][static_cast<int>(u) % 8];
                        }
                        bad += seen[static_cast<size_t>(y - y0)][static_cast<size_t>(x - x0)] != ink;
                    }
                }
                if (bad < least) {
                    least = bad;
                    best = text;
                }
            }
        }
    }
    return best;
}

// Every label the speed tile could show, and a few it should never show
static std::vector<std::string> speed_labels()
{
    std::vector<std::string> out;
    for (int hz = -2; hz <= 62; hz++)
        out.push_back(std::to_string(hz) + "Hz");
    return out;
}

// Pixels of the step counter's grey near the top of the grid, where the counter is drawn
static int counter_pixels(const XCAPTURE_IMAGE &im, const LAYOUT_VIEW &v)
{
    LAYOUT_BOX g = layout_grid_box(v);
    int cx = v.w / 2, top = static_cast<int>(v.h * g.top);
    int n = 0;
    for (int y = top; y < top + 16 * v.scale; y++)
        for (int x = cx - 100 * v.scale; x <= cx + 100 * v.scale; x++)
            n += near(pixel(im, x, y), {COUNTER_GREY, COUNTER_GREY, COUNTER_GREY}, TOLERANCE);
    return n;
}

//----------------------------------------------------------------------------------
// Fixture: the toy on a private display, with a HOME of the test's own
//----------------------------------------------------------------------------------
class LumlifePlay : public ToyTest {
protected:
    FONT_TEXT font;           // the art's source

    LumlifePlay() : ToyTest(LUMLIFE_PATH) {}

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(font_text_read("assets/font8x8.txt", font, error))
            << error << "\nthe font's source is read from the working directory, the project's root";
        ToyTest::SetUp();
    }

    // The game screen is drawn: a button's backing where RUN is (the display panel has a tile
    // there), and the backdrop at the first cell's bottom-right glyph pixel, which no icon covers
    bool game_drawn(const XCAPTURE_IMAGE &im, const LOOK &k) const
    {
        LAYOUT_SPOT s = layout_control(view, LAYOUT_RUN);
        RGB8 b = pixel(im, static_cast<int>(s.x - 0.6 * s.rx), static_cast<int>(s.y));
        bool button = !dark(b) && std::abs(b.r - b.g) <= 4 && std::abs(b.g - b.b) <= 4;
        int px, py;
        layout_glyph_pixel(view, 0, 0, S - 1, S - 1, px, py);
        return button && near(pixel(im, px, py), backdrop(k), TOLERANCE);
    }

    // Start the toy on the settings file in the test's HOME and wait for its game screen in look `k`
    ::testing::AssertionResult start_game(const LOOK &k)
    {
        if (auto r = start(); !r)
            return r;
        return see([&](const XCAPTURE_IMAGE &im) { return game_drawn(im, k); }, "the game screen");
    }

    // The start of most tests: `rec` prepared as the settings file, the toy started on it and its
    // game screen shown in the look the record asks for
    ::testing::AssertionResult start_with(const SETTINGS_RECORD &rec)
    {
        if (!record_write(settings_path(), rec))
            return ::testing::AssertionFailure() << "cannot write " << settings_path();
        return start_game(look_of(rec));
    }

    // Wait until the window shows the engine grid `g` in look `k`
    ::testing::AssertionResult see_grid(const RECORD_GRID &g, const LOOK &k, const std::string &what)
    {
        return see([&](const XCAPTURE_IMAGE &im) { return shown_grid(im, view, font, k) == g; }, what);
    }

    // Hold a button down until the window shows `wanted`, then release it. The button is drawn
    // shrunk while held at 60 ticks a second: that shows the press landed on it.
    ::testing::AssertionResult hold(const LAYOUT_SPOT &s, const std::function<bool(const XCAPTURE_IMAGE &)> &wanted,
                                    const std::string &what)
    {
        ::testing::AssertionResult r = press(s);
        resume();
        if (r)
            r = see([&](const XCAPTURE_IMAGE &im) { return looks_pressed(im, s); }, "the held button drawn pressed");
        if (r)
            r = see([&](const XCAPTURE_IMAGE &im) { return looks_pressed(im, s) && wanted(im); }, what);
        pause();
        ::testing::AssertionResult released = release();
        return r ? released : r;
    }

    // A predicate that holds once `reached` has been true for KEEP_HOLDING_MS and over
    // KEEP_HOLDING_FRAMES frames in a row: a control held at the end of its range stays there
    std::function<bool(const XCAPTURE_IMAGE &)> stays(std::function<bool(const XCAPTURE_IMAGE &)> reached)
    {
        auto since = std::make_shared<std::chrono::steady_clock::time_point>();
        auto frames = std::make_shared<int>(0);
        return [=](const XCAPTURE_IMAGE &im) {
            if (!reached(im)) {
                *frames = 0;
                return false;
            }
            if ((*frames)++ == 0)
                *since = std::chrono::steady_clock::now();
            return *frames >= KEEP_HOLDING_FRAMES &&
                   std::chrono::steady_clock::now() - *since >= std::chrono::milliseconds(KEEP_HOLDING_MS);
        };
    }

    // Press F1 and wait for the layout of the next window size and the window at that size
    ::testing::AssertionResult next_window_size(int w, int h)
    {
        if (auto r = point_at(1, 1, {"key", "F1"}); !r)
            return r;
        view = layout_view(w, h);
        return laid_out();
    }
};

//----------------------------------------------------------------------------------
// Painting
//----------------------------------------------------------------------------------
// A stroke decides by its first cell: from a dead cell it paints every cell it crosses, from a
// live one it erases and never paints. A restart shows the same grid and saves the same file.
TEST_F(LumlifePlay, AStrokeFromADeadCellPaintsAndOneFromALiveCellErases)
{
    SETTINGS_RECORD rec = record_prepared({{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 5}});
    LOOK k = look_of(rec);
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g{};
    ASSERT_TRUE(see_grid(g, k, "the empty grid"));

    // Touch the centre of a screen cell, pressing or moving there; the grid changes one tick
    // after the press, at the first hold, and at every move while held
    auto touch = [&](int c, int r, bool press) {
        int px, py, ex, ey;
        layout_cell_centre(view, c, r, px, py);
        layout_touched_cell(view, px, py, ex, ey);
        EXPECT_EQ(ex, c);
        EXPECT_EQ(ey, r);
        return point_at(px, py, press ? std::vector<std::string>{"mousedown", "1"} : std::vector<std::string>{});
    };
    const int paint[][2] = {{5, 5}, {6, 5}, {7, 5}, {8, 5}, {9, 5}, {10, 5}, {11, 5}, {12, 5}, {12, 6}, {12, 7}};
    for (const auto &c : paint) {
        ASSERT_TRUE(touch(c[0], c[1], &c == &paint[0]));
        g[c[0]][c[1]] = 1;
        ASSERT_TRUE(see_grid(g, k, "painted up to (" + std::to_string(c[0]) + ", " + std::to_string(c[1]) + ")"));
    }
    ASSERT_TRUE(xdo({"mouseup", "1"}));
    ASSERT_TRUE(ticked()) << "the release taken before the next stroke's press";

    // From a live cell: erase along the way; the dead cell (11, 6) on the way stays dead
    const int erase[][2] = {{9, 5}, {10, 5}, {11, 5}, {11, 6}, {12, 6}};
    for (const auto &c : erase) {
        ASSERT_TRUE(touch(c[0], c[1], &c == &erase[0]));
        g[c[0]][c[1]] = 0;
        ASSERT_TRUE(see_grid(g, k, "erased up to (" + std::to_string(c[0]) + ", " + std::to_string(c[1]) + ")"));
    }
    ASSERT_TRUE(xdo({"mouseup", "1"}));
    ASSERT_TRUE(quit_with_escape());

    // Only the grid changed: editing is no generation
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, g);
    EXPECT_TRUE(record_same(saved(), expected));

    // A restart shows the saved grid and writes the file back unchanged
    ASSERT_TRUE(start_game(k));
    EXPECT_TRUE(logged_since_start(literal("read 4172 bytes"))) << process_transcript(toy);
    ASSERT_TRUE(see_grid(g, k, "the saved grid after a restart"));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), expected));
}

//----------------------------------------------------------------------------------
// Generations
//----------------------------------------------------------------------------------
// STEP takes one generation per click; held, it steps on every tick from the 30th on
TEST_F(LumlifePlay, StepTakesOneGenerationPerClickAndStepsOnWhileHeld)
{
    SETTINGS_RECORD rec = record_prepared(pattern(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 100}});
    LOOK k = look_of(rec);
    std::vector<RECORD_GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(see_grid(gens[0], k, "the prepared grid"));

    // Two clicks, two generations: the file says so exactly
    LAYOUT_SPOT step = layout_control(view, LAYOUT_STEP);
    ASSERT_TRUE(click(step));
    ASSERT_TRUE(see_grid(gens[1], k, "generation 1"));
    ASSERT_TRUE(click(step));
    ASSERT_TRUE(see_grid(gens[2], k, "generation 2"));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, gens[2]);
    record_put32(expected, RECORD_STEPS, 102);
    EXPECT_TRUE(record_same(saved(), expected));

    // Held, it steps on
    constexpr int HELD_GENERATIONS = 8;
    ASSERT_TRUE(start_game(k));
    ASSERT_TRUE(hold(
        step,
        [&](const XCAPTURE_IMAGE &im) {
            return generation_of(gens, shown_grid(im, view, font, k)) >= 2 + HELD_GENERATIONS;
        },
        std::to_string(HELD_GENERATIONS) + " more generations while STEP is held"));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD after = saved();
    ASSERT_EQ(after.bytes.size(), RECORD_SIZE);
    int64_t taken = record_get32(after, RECORD_STEPS) - 100;
    EXPECT_GE(taken, 2 + HELD_GENERATIONS);
    ASSERT_GE(taken, 0);
    ASSERT_LT(taken, static_cast<int64_t>(gens.size()));
    record_set_grid(expected, gens[static_cast<size_t>(taken)]);
    record_put32(expected, RECORD_STEPS, 100 + taken);
    EXPECT_TRUE(record_same(after, expected)) << "generation " << taken;
}

// RUN runs the automaton at its speed; a second click stops it where it is
TEST_F(LumlifePlay, RunStartsTheAutomatonAndASecondClickStopsIt)
{
    SETTINGS_RECORD rec = record_prepared(pattern(), {{RECORD_SHOW_STEPS, 0}, {RECORD_FREQ, 10}});
    LOOK k = look_of(rec);
    std::vector<RECORD_GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(see_grid(gens[0], k, "the prepared grid"));

    LAYOUT_SPOT run = layout_control(view, LAYOUT_RUN);
    ASSERT_TRUE(click(run));
    ASSERT_TRUE(see(
        [&](const XCAPTURE_IMAGE &im) {
            return looks_highlighted(im, run) && generation_of(gens, shown_grid(im, view, font, k)) >= 3;
        },
        "RUN lit and generation 3"));
    // RUN goes dark in the tick that stops the automaton: that frame shows its last generation
    ASSERT_TRUE(click(run));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return !looks_highlighted(im, run); }, "RUN dark"));
    RECORD_GRID stopped = shown_grid(frame, view, font, k);
    int at = generation_of(gens, stopped);
    EXPECT_GE(at, 3);
    ASSERT_TRUE(quit_with_escape());

    // Saved where the window showed it stopped: no generation after the stop
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, stopped);
    record_put32(expected, RECORD_STEPS, at);
    EXPECT_TRUE(record_same(saved(), expected));
}

// A toy that quits while running saves the grid and its counter, and a restart runs on from there
TEST_F(LumlifePlay, ARunningToyIsSavedRunningAndRunsOnAfterARestart)
{
    SETTINGS_RECORD rec = record_prepared(pattern(), {{RECORD_SHOW_STEPS, 0}, {RECORD_FREQ, 10}});
    LOOK k = look_of(rec);
    std::vector<RECORD_GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_RUN)));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return generation_of(gens, shown_grid(im, view, font, k)) >= 2; },
                    "generation 2 while running"));
    ASSERT_TRUE(quit_with_escape());

    SETTINGS_RECORD first = saved();
    ASSERT_EQ(first.bytes.size(), RECORD_SIZE);
    int64_t n1 = record_get32(first, RECORD_STEPS);
    ASSERT_GE(n1, 2);
    ASSERT_LT(n1, GENERATIONS / 2);
    SETTINGS_RECORD expected = rec;
    record_put32(expected, RECORD_RUNNING, 1);
    record_set_grid(expected, gens[static_cast<size_t>(n1)]);
    record_put32(expected, RECORD_STEPS, n1);
    EXPECT_TRUE(record_same(first, expected)) << "saved running at generation " << n1;

    ASSERT_TRUE(start_game(k));
    EXPECT_TRUE(logged_since_start(literal("read 4172 bytes"))) << process_transcript(toy);
    ASSERT_TRUE(see(
        [&](const XCAPTURE_IMAGE &im) { return generation_of(gens, shown_grid(im, view, font, k), static_cast<int>(n1)) >= n1 + 2; },
        "the restored grid running on"));
    ASSERT_TRUE(quit_with_escape());

    SETTINGS_RECORD second = saved();
    ASSERT_EQ(second.bytes.size(), RECORD_SIZE);
    int64_t n2 = record_get32(second, RECORD_STEPS);
    ASSERT_GE(n2, n1 + 2);
    ASSERT_LT(n2, GENERATIONS);
    record_set_grid(expected, gens[static_cast<size_t>(n2)]);
    record_put32(expected, RECORD_STEPS, n2);
    EXPECT_TRUE(record_same(second, expected)) << "the counter goes on from the saved one, " << n1;
}

// Closing the window (what a window manager sends) ends the toy like Escape: the grid is saved
TEST_F(LumlifePlay, ClosingTheWindowWhileRunningSavesTheGridLikeEscape)
{
    SETTINGS_RECORD rec = record_prepared(pattern(), {{RECORD_SHOW_STEPS, 0}, {RECORD_FREQ, 10}, {RECORD_RUNNING, 1}});
    LOOK k = look_of(rec);
    std::vector<RECORD_GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return generation_of(gens, shown_grid(im, view, font, k)) >= 2; },
                    "generation 2 while running"));

    ASSERT_TRUE(request_close(window));
    ASSERT_TRUE(logged(literal("SDL_QUIT")));
    ASSERT_TRUE(logged(literal("Quitting...")));
    ASSERT_TRUE(ended());

    SETTINGS_RECORD after = saved();
    ASSERT_EQ(after.bytes.size(), RECORD_SIZE);
    int64_t n = record_get32(after, RECORD_STEPS);
    ASSERT_GE(n, 2);
    ASSERT_LT(n, GENERATIONS);
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, gens[static_cast<size_t>(n)]);
    record_put32(expected, RECORD_STEPS, n);
    EXPECT_TRUE(record_same(after, expected)) << "saved still running at generation " << n;
}

//----------------------------------------------------------------------------------
// The rule, the border, the speed, fill and clear
//----------------------------------------------------------------------------------
// Every rule digit flips its count; each click rebuilds the rule, which the engine reports
TEST_F(LumlifePlay, EachRuleDigitFlipsItsCountAndTheRuleIsRebuilt)
{
    SETTINGS_RECORD rec = record_prepared();
    ASSERT_TRUE(start_with(rec));
    std::array<bool, 9> birth{}, survive{};
    birth[3] = survive[2] = survive[3] = true;
    for (int row = 0; row < 2; row++) {
        for (int n = 0; n < 9; n++) {
            SCOPED_TRACE((row == 0 ? "B" : "S") + std::to_string(n));
            (row == 0 ? birth : survive)[n] = !(row == 0 ? birth : survive)[n];
            ASSERT_TRUE(click(layout_rule_digit(view, row == 0, n),
                              literal("CONFIG SET: " + rule_string(birth, survive, 'w'))));
            ASSERT_TRUE(logged(literal(rule_report(birth, survive, "wrap"))));
        }
    }
    // Every digit is lit exactly when its count is in the rule
    auto lit_as_the_rule = [&](const XCAPTURE_IMAGE &im) {
        for (int n = 0; n < 9; n++)
            if (looks_highlighted(im, layout_rule_digit(view, true, n)) != birth[n] ||
                looks_highlighted(im, layout_rule_digit(view, false, n)) != survive[n])
                return false;
        return true;
    };
    EXPECT_TRUE(see(lit_as_the_rule, "the digits lit as the rule"));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    for (int n = 0; n < 9; n++) {
        expected.bytes[RECORD_BPARAMS + n] = birth[n];
        expected.bytes[RECORD_SPARAMS + n] = survive[n];
    }
    EXPECT_TRUE(record_same(saved(), expected));
}

// The border button cycles Wrap, Dead, Live and back to Wrap, each change rebuilding the rule
TEST_F(LumlifePlay, TheBorderCyclesWrapDeadLiveAndWrapAgain)
{
    SETTINGS_RECORD rec = record_prepared();
    ASSERT_TRUE(start_with(rec));
    LAYOUT_SPOT border = layout_control(view, LAYOUT_BORDER);
    const std::vector<std::string> names = {"Wrap", "Dead", "Live"};
    auto reads = [&](const std::string &text) {
        return [&, text](const XCAPTURE_IMAGE &im) { return read_label(im, font, border, view.scale, names) == text; };
    };
    EXPECT_TRUE(see(reads("Wrap"), "Wrap"));
    struct {
        char letter;
        const char *report, *label;
    } const cycle[] = {{'d', "dead", "Dead"}, {'l', "live", "Live"}, {'w', "wrap", "Wrap"}, {'d', "dead", "Dead"}};
    std::array<bool, 9> birth{}, survive{};
    birth[3] = survive[2] = survive[3] = true;
    for (const auto &c : cycle) {
        SCOPED_TRACE(c.label);
        ASSERT_TRUE(click(border, literal("CONFIG SET: " + rule_string(birth, survive, c.letter))));
        ASSERT_TRUE(logged(literal(rule_report(birth, survive, c.report))));
        EXPECT_TRUE(see(reads(c.label), c.label));
    }
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    record_put32(expected, RECORD_BORDER, 1);
    EXPECT_TRUE(record_same(saved(), expected));
}

// The speed keeps within 1..60 generations a second: "-" held down to 1 and "+" held up to 60
// repeat every tick, and stay there
TEST_F(LumlifePlay, TheSpeedStopsAtOneAndAtSixty)
{
    SETTINGS_RECORD rec = record_prepared();
    ASSERT_TRUE(start_with(rec));
    LAYOUT_SPOT plus = layout_control(view, LAYOUT_SPEED_PLUS), minus = layout_control(view, LAYOUT_SPEED_MINUS),
                value = layout_control(view, LAYOUT_SPEED_VALUE);
    const std::vector<std::string> labels = speed_labels();
    auto reads = [&](const std::string &text) {
        return [&, text](const XCAPTURE_IMAGE &im) { return read_label(im, font, value, view.scale, labels) == text; };
    };
    ASSERT_TRUE(see(reads("60Hz"), "60Hz"));
    ASSERT_TRUE(hold(minus, stays(reads("1Hz")), "1Hz while \"-\" is held"));
    ASSERT_TRUE(click(plus));
    ASSERT_TRUE(see(reads("2Hz"), "2Hz after one click on \"+\""));
    ASSERT_TRUE(hold(plus, stays(reads("60Hz")), "60Hz while \"+\" is held"));
    ASSERT_TRUE(click(minus));
    ASSERT_TRUE(see(reads("59Hz"), "59Hz after one click on \"-\""));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    record_put32(expected, RECORD_FREQ, 59);
    EXPECT_TRUE(record_same(saved(), expected));
}

// CLR empties the grid and RAND fills about half of it, each with the counter back at 0
TEST_F(LumlifePlay, ClrEmptiesTheGridAndRandFillsAboutHalfOfIt)
{
    SETTINGS_RECORD rec = record_prepared(pattern(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 321}});
    LOOK k = look_of(rec);
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(see_grid(pattern(), k, "the prepared grid"));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_CLEAR)));
    ASSERT_TRUE(see_grid(RECORD_GRID{}, k, "the empty grid"));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_RAND)));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return alive(shown_grid(im, view, font, k)) > 0; }, "a filled grid"));
    RECORD_GRID filled = shown_grid(frame, view, font, k);
    EXPECT_GT(alive(filled), RECORD_COLS * RECORD_ROWS * 35 / 100) << "about half alive";
    EXPECT_LT(alive(filled), RECORD_COLS * RECORD_ROWS * 65 / 100) << "about half alive";
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, filled);
    record_put32(expected, RECORD_STEPS, 0);
    EXPECT_TRUE(record_same(saved(), expected));
}

//----------------------------------------------------------------------------------
// The display panel
//----------------------------------------------------------------------------------
// ".." opens the display panel: the cell and background colours, the icons, the glow and the
// step counter change what the grid looks like at once, and ".." goes back
TEST_F(LumlifePlay, TheDisplayPanelSetsColoursIconsGlowAndTheStepCounter)
{
    SETTINGS_RECORD rec = record_prepared(pattern(), {{RECORD_STEPS, 12345}});
    LOOK k = look_of(rec);
    ASSERT_TRUE(start_with(rec));
    ASSERT_GE(counter_pixels(frame, view), COUNTER_MIN_PIXELS) << "the step counter is shown";

    ASSERT_TRUE(click(layout_control(view, LAYOUT_PANEL), literal("'..' -> state switch")));
    ASSERT_TRUE(logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    LAYOUT_SPOT fg_tile = layout_control(view, LAYOUT_FG_TILE), bg_tile = layout_control(view, LAYOUT_BG_TILE);
    // A colour tile is four solid squares in its colour: its centre shows the colour
    auto tile_shows = [&](const LAYOUT_SPOT &tile, int index) {
        RGB8 want = drawn(atlas_texel(texel(font, GLYPH_SOLID, S / 2, S / 2)), table_colour(index), {0, 0, 0}, false);
        return [&, want](const XCAPTURE_IMAGE &im) {
            return near(pixel(im, static_cast<int>(tile.x), static_cast<int>(tile.y)), want, TOLERANCE);
        };
    };
    // A look is shown once a live and a dead cell of the prepared grid look as the art says
    auto grid_looks = [&](const LOOK &look) {
        return [&, look](const XCAPTURE_IMAGE &im) { return cell_mismatches(im, view, font, look, pattern()).empty(); };
    };
    ASSERT_TRUE(see(tile_shows(fg_tile, 0), "the FG tile in colour 0"));
    EXPECT_TRUE(tile_shows(bg_tile, 0)(frame)) << "the BG tile in colour 0";

    // The step counter off (it is drawn over the top rows of cells)
    ASSERT_GE(counter_pixels(frame, view), COUNTER_MIN_PIXELS) << "the step counter is still shown";
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP_DISPLAY)));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return counter_pixels(im, view) == 0; }, "the counter gone"));
    ASSERT_TRUE(see(grid_looks(k), "the cells as at the start"));

    // Cell colour: up and down by clicks, then held up to its end, 7 (black is for the background
    // only), and held down to 0, staying at each end
    const int fg_clicks[][2] = {{LAYOUT_FG_PLUS, 1}, {LAYOUT_FG_PLUS, 2}, {LAYOUT_FG_MINUS, 1}, {LAYOUT_FG_MINUS, 0}};
    for (const auto &c : fg_clicks) {
        SCOPED_TRACE("fg " + std::to_string(c[1]));
        ASSERT_TRUE(click(layout_control(view, static_cast<LAYOUT_CONTROL>(c[0]))));
        k.fg = c[1];
        auto cells = grid_looks(k);
        auto tile = tile_shows(fg_tile, c[1]);
        ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return tile(im) && cells(im); },
                        "the FG tile and the cells in colour " + std::to_string(c[1])));
    }
    ASSERT_TRUE(hold(layout_control(view, LAYOUT_FG_PLUS), stays(tile_shows(fg_tile, 7)), "FG held up to colour 7"));
    k.fg = 7;
    ASSERT_TRUE(see(grid_looks(k), "the cells in colour 7"));
    ASSERT_TRUE(hold(layout_control(view, LAYOUT_FG_MINUS), stays(tile_shows(fg_tile, 0)), "FG held down to colour 0"));
    k.fg = 0;
    ASSERT_TRUE(see(grid_looks(k), "the cells in colour 0"));

    // Background colour
    ASSERT_TRUE(click(layout_control(view, LAYOUT_BG_PLUS)));
    k.bg = 1;
    auto backdrop_looks = grid_looks(k);
    auto bg_shows = tile_shows(bg_tile, 1);
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return bg_shows(im) && backdrop_looks(im); },
                    "the BG tile and the backdrop in colour 1"));

    // Icons: the live cells' three up, the grid's two up
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(click(layout_control(view, LAYOUT_CELL_PLUS)));
        k.icon_cell = i;
        ASSERT_TRUE(see(grid_looks(k), "cell icon " + std::to_string(i)));
    }
    for (int i = 1; i <= 2; i++) {
        ASSERT_TRUE(click(layout_control(view, LAYOUT_GRID_PLUS)));
        k.icon_grid = i;
        ASSERT_TRUE(see(grid_looks(k), "grid icon " + std::to_string(i)));
    }

    // The glow: the cells are added onto the backdrop
    ASSERT_TRUE(click(layout_control(view, LAYOUT_GLOW)));
    k.glow = 1;
    ASSERT_TRUE(see(grid_looks(k), "the glowing cells"));

    // Back to the main panel, which in landscape reports its button height
    ASSERT_TRUE(click(layout_control(view, LAYOUT_PANEL), literal("'..' -> state switch")));
    ASSERT_TRUE(logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    ASSERT_TRUE(logged("BUTTON HEIGHT [0-9]+\\.[0-9]+"));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return game_drawn(im, k); }, "the main panel"));
    ASSERT_TRUE(quit_with_escape());

    SETTINGS_RECORD expected = rec;
    set_look(expected, {0, 1, 3, 2, 1});
    record_put32(expected, RECORD_SHOW_STEPS, 0);
    EXPECT_TRUE(record_same(saved(), expected));
}

//----------------------------------------------------------------------------------
// What the screen shows
//----------------------------------------------------------------------------------
// Every live cell of a prepared grid is drawn at its cell with the cell icon in the cell colour,
// every dead cell with the grid icon, over the backdrop, pixel for pixel as the art gives them
class LumlifeLook : public LumlifePlay, public ::testing::WithParamInterface<LOOK> {};

TEST_P(LumlifeLook, EveryCellIsDrawnAsTheArtAndTheColoursSay)
{
    SETTINGS_RECORD rec = record_prepared(scattered(), {{RECORD_SHOW_STEPS, 0}});
    set_look(rec, GetParam());
    ASSERT_TRUE(start_with(rec));
    std::vector<std::string> bad;
    EXPECT_TRUE(see(
        [&](const XCAPTURE_IMAGE &im) {
            bad = cell_mismatches(im, view, font, GetParam(), scattered());
            return bad.empty();
        },
        "every cell as the art says"))
        << ::testing::PrintToString(bad);
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec)) << "looking changes nothing";
}

INSTANTIATE_TEST_SUITE_P(Looks, LumlifeLook,
                         ::testing::Values(LOOK{0, 0, 0, 0, 0}, LOOK{5, 2, 7, 4, 0}, LOOK{3, 8, 14, 11, 0},
                                           LOOK{1, 6, 12, 9, 1}, LOOK{7, 4, 15, 15, 1}),
                         [](const ::testing::TestParamInfo<LOOK> &info) {
                             const LOOK &k = info.param;
                             return "Fg" + std::to_string(k.fg) + "Bg" + std::to_string(k.bg) + "Cell" +
                                    std::to_string(k.icon_cell) + "Grid" + std::to_string(k.icon_grid) +
                                    (k.glow ? "Glow" : "");
                         });

//----------------------------------------------------------------------------------
// Window sizes and the portrait layout
//----------------------------------------------------------------------------------
// F1 turns the window to portrait: the grid is drawn turned a quarter, the buttons below it work,
// and a touch edits the transposed cell (the touch's column and row go to the engine unturned)
TEST_F(LumlifePlay, InPortraitTheGridIsTurnedAndTheButtonsAndPaintingWork)
{
    SETTINGS_RECORD rec = record_prepared(scattered(), {{RECORD_SHOW_STEPS, 0}});
    LOOK k = look_of(rec);
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(next_window_size(320, 480));
    ASSERT_FALSE(view.landscape);
    RECORD_GRID g = scattered();
    ASSERT_TRUE(see_grid(g, k, "the grid turned to portrait"));
    EXPECT_TRUE(cell_mismatches(frame, view, font, k, g).empty());

    // A rule digit and the border button below the grid
    std::array<bool, 9> birth{}, survive{};
    birth[3] = survive[2] = survive[3] = true;
    birth[6] = true;
    ASSERT_TRUE(click(layout_rule_digit(view, true, 6), literal("CONFIG SET: " + rule_string(birth, survive, 'w'))));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_BORDER), literal("CONFIG SET: " + rule_string(birth, survive, 'd'))));
    ASSERT_TRUE(logged(literal(rule_report(birth, survive, "dead"))));

    // Touch screen cell (2, 3): the engine's cell (2, 3) changes, which portrait shows at screen
    // cell (26, 2)
    int c = 2, r = 3, px, py, ex, ey;
    layout_cell_centre(view, c, r, px, py);
    layout_touched_cell(view, px, py, ex, ey);
    ASSERT_EQ(ex, c);
    ASSERT_EQ(ey, r);
    g[ex][ey] = !g[ex][ey];
    ASSERT_TRUE(point_at(px, py, {"mousedown", "1"}));
    ASSERT_TRUE(see_grid(g, k, "the transposed cell edited"));
    ASSERT_TRUE(xdo({"mouseup", "1"}));
    ASSERT_TRUE(quit_with_escape());

    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, g);
    expected.bytes[RECORD_BPARAMS + 6] = 1;
    record_put32(expected, RECORD_BORDER, 1);
    EXPECT_TRUE(record_same(saved(), expected));
}

// F1 goes through every window size and back to the first; each is laid out at its scale and
// orientation and shows the grid where the layout puts it
TEST_F(LumlifePlay, F1GoesThroughEveryWindowSizeAndBack)
{
    SETTINGS_RECORD rec = record_prepared(scattered(), {{RECORD_SHOW_STEPS, 0}});
    LOOK k = look_of(rec);
    ASSERT_TRUE(start_with(rec));
    const int sizes[][2] = {{320, 480}, {480, 320}, {320, 568}, {1136, 640}, {1024, 768}, {960, 640}};
    for (const auto &size : sizes) {
        SCOPED_TRACE(std::to_string(size[0]) + "x" + std::to_string(size[1]));
        ASSERT_TRUE(next_window_size(size[0], size[1]));
        std::vector<std::string> bad;
        EXPECT_TRUE(see(
            [&](const XCAPTURE_IMAGE &im) {
                bad = cell_mismatches(im, view, font, k, scattered());
                return bad.empty() && game_drawn(im, k);
            },
            "the grid and the panel"))
            << ::testing::PrintToString(bad);
    }
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec)) << "the window's size is not a setting";
}
