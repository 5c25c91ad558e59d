// End-to-end play tests: the real `lumlife` in a private virtual X display with a temporary HOME,
// played as a person plays it, with xdotool. Every click position and every expected pixel is
// worked out here from the screen layout, the colour table and the art's source
// (assets/font8x8.txt), independently of the toy's code; the saved "settings.cfg" is read back
// byte by byte and its grid checked against a Life stepper of the test's own.
//
// NOTE: nothing here waits a fixed time for the toy. Each action waits for what the window or the
// log shows: a stroke on the grid for the cells it changes, a click for the log's answers to keys
// pressed after the press and after the release (see LumlifePlay::press), and then for its
// effect: a log line, the window, or the saved file.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "xcapture.h"
#include "xvfb.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double LOG_SECONDS = 30.0;   // a loaded machine starts and answers slowly
constexpr double EXIT_SECONDS = 30.0;
constexpr double SEE_SECONDS = 30.0;   // until the window shows what a test waits for
constexpr int POLL_MS = 2;             // between two reads of the window while waiting
constexpr int RUN_MS = 5;              // how long a paused toy runs between two looks
constexpr int KEEP_HOLDING_MS = 600;   // a control held at the end of its range is held this much longer
constexpr int KEEP_HOLDING_FRAMES = 12;  // ... and over at least this many frames

// The grid as the engine keeps it, and one cell's sprite side in layout units
constexpr int COLS = 48;
constexpr int ROWS = 30;
constexpr int S = 8;
constexpr int GENERATIONS = 2000;      // generations predicted for a prepared grid

// The screen: the start-up window, and the layout scale growing by one every 480 pixels of the
// longer side
constexpr int START_W = 960;
constexpr int START_H = 640;
constexpr int LAYOUT_STEP = 480;

// The settings file: the user's record, raw; 32-bit little-endian fields
constexpr size_t REC_SIZE = 4172;
constexpr size_t REC_BPARAMS = 0;      // 10 bytes: birth on n when byte n is non-zero
constexpr size_t REC_SPARAMS = 10;     // 10 bytes: survival on n
constexpr size_t REC_BORDER = 20;      // 0 wrap, 1 dead, 2 live
constexpr size_t REC_FREQ = 24;
constexpr size_t REC_RUNNING = 28;
constexpr size_t REC_SHOW_STEPS = 32;
constexpr size_t REC_FG = 36;
constexpr size_t REC_BG = 40;
constexpr size_t REC_ICON_CELL = 44;
constexpr size_t REC_ICON_GRID = 48;
constexpr size_t REC_GLOW = 52;
constexpr size_t REC_CELLS = 72;       // 64 x 64 bytes, column-major: cell (x, y) at 72 + 64 x + y
constexpr int REC_GRID_SIDE = 64;
constexpr size_t REC_STEPS = 4168;

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

// Every log line starts "[lum <seconds with two decimals>s (<tick>)] "; the rule report has none.
static const char LOG_PREFIX[] = R"(\[lum -?[0-9]+\.[0-9]{2}s \([0-9]+\)\] )";

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

using GRID = std::array<std::array<uint8_t, ROWS>, COLS>;  // [x][y]: 1 alive, 0 dead
using TEXEL = std::array<int, 4>;                          // red, green, blue, alpha
using GLYPH_ART = std::array<std::array<TEXEL, 8>, 8>;     // [row][column]
using FONT_ART = std::map<int, GLYPH_ART>;                 // by character code

// The settings record, byte by byte as the file holds it
struct RECORD {
    std::vector<unsigned char> bytes = std::vector<unsigned char>(REC_SIZE, 0);

    void put32(size_t offset, int64_t value)
    {
        for (int i = 0; i < 4; i++)
            bytes[offset + i] = static_cast<unsigned char>(static_cast<uint64_t>(value) >> (8 * i));
    }
    int64_t get32(size_t offset) const
    {
        uint32_t v = 0;
        for (int i = 0; i < 4; i++)
            v |= static_cast<uint32_t>(bytes[offset + i]) << (8 * i);
        return offset == REC_STEPS ? static_cast<int64_t>(v) : static_cast<int64_t>(static_cast<int32_t>(v));
    }
    GRID grid() const
    {
        GRID g{};
        for (int x = 0; x < COLS; x++)
            for (int y = 0; y < ROWS; y++)
                g[x][y] = bytes[REC_CELLS + x * REC_GRID_SIDE + y] != 0;
        return g;
    }
    void set_grid(const GRID &g)
    {
        for (int x = 0; x < COLS; x++)
            for (int y = 0; y < ROWS; y++)
                bytes[REC_CELLS + x * REC_GRID_SIDE + y] = g[x][y];
    }
};

// The display settings that decide how a cell looks
struct LOOK {
    int fg, bg, icon_cell, icon_grid, glow;
};

// The screen's geometry at one display size
struct VIEW {
    int w, h;              // display pixels
    int scale;             // pixels per layout unit
    int play_w, play_h;    // the display in layout units
    bool landscape;
    int cols, rows;        // the grid as the screen shows it (turned a quarter in portrait)
};

// A button's centre and the half extents that take touches, in display pixels
struct SPOT {
    double x, y, rx, ry;
};

// A box of the screen, as fractions of its width and height
struct BOX {
    double left, top, right, bottom;
};

enum CONTROL {
    PANEL,                                   // ".." switches between the main and the display panel
    RUN, STEP, SPEED_PLUS, SPEED_VALUE, SPEED_MINUS, BORDER, RAND, CLEAR,
    STEP_DISPLAY, GLOW, FG_MINUS, FG_TILE, FG_PLUS, BG_MINUS, BG_TILE, BG_PLUS,
    CELL_MINUS, CELL_TILE, CELL_PLUS, GRID_MINUS, GRID_TILE, GRID_PLUS,
};

//----------------------------------------------------------------------------------
// Helpers: text, the record, the Life rule
//----------------------------------------------------------------------------------
// A fresh record as the toy's defaults have it: B3/S23, wrap border, 60 per second, not running,
// counter shown, colours and icons 0, an empty grid and counter 0
static RECORD fresh_record()
{
    RECORD r;
    r.bytes[REC_BPARAMS + 3] = 1;
    r.bytes[REC_SPARAMS + 2] = 1;
    r.bytes[REC_SPARAMS + 3] = 1;
    r.put32(REC_FREQ, 60);
    r.put32(REC_SHOW_STEPS, 1);
    return r;
}

// The record field that holds byte `offset`
static std::string field_at(size_t offset)
{
    static const struct {
        size_t offset;
        const char *name;
    } fields[] = {{REC_BPARAMS, "bparams"}, {REC_SPARAMS, "sparams"}, {REC_BORDER, "border_mode"}, {REC_FREQ, "freq"},
                  {REC_RUNNING, "running"}, {REC_SHOW_STEPS, "show_steps"}, {REC_FG, "fg"}, {REC_BG, "bg"},
                  {REC_ICON_CELL, "icon_cell"}, {REC_ICON_GRID, "icon_grid"}, {REC_GLOW, "icon_glow"},
                  {REC_GLOW + 4, "pad"}, {REC_CELLS, "cells"}, {REC_STEPS, "step_count"}};
    std::string name = "?";
    for (const auto &f : fields)
        if (offset >= f.offset)
            name = f.name;
    if (name == "cells") {
        size_t i = offset - REC_CELLS;
        return "cell (" + std::to_string(i / REC_GRID_SIDE) + ", " + std::to_string(i % REC_GRID_SIDE) + ")";
    }
    return name;
}

// The saved file is exactly the expected record; the difference is listed field by field
static ::testing::AssertionResult same_record(const RECORD &got, const RECORD &want)
{
    if (got.bytes.size() != want.bytes.size())
        return ::testing::AssertionFailure() << "the file has " << got.bytes.size() << " bytes, not " << want.bytes.size();
    std::string differences;
    int count = 0;
    for (size_t i = 0; i < got.bytes.size(); i++) {
        if (got.bytes[i] != want.bytes[i] && count++ < 12)
            differences += "\n  byte " + std::to_string(i) + " (" + field_at(i) + "): " + std::to_string(got.bytes[i]) +
                           ", expected " + std::to_string(want.bytes[i]);
    }
    if (count == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << count << " bytes differ:" << differences;
}

// How a look reads in a test's output
static void PrintTo(const LOOK &k, std::ostream *os)
{
    *os << "fg " << k.fg << ", bg " << k.bg << ", cell icon " << k.icon_cell << ", grid icon " << k.icon_grid
        << ", glow " << k.glow;
}

// The look a record asks for, and a record asking for a look
static LOOK look_of(const RECORD &r)
{
    return {static_cast<int>(r.get32(REC_FG)), static_cast<int>(r.get32(REC_BG)),
            static_cast<int>(r.get32(REC_ICON_CELL)), static_cast<int>(r.get32(REC_ICON_GRID)),
            static_cast<int>(r.get32(REC_GLOW))};
}

static void set_look(RECORD &r, const LOOK &k)
{
    r.put32(REC_FG, k.fg);
    r.put32(REC_BG, k.bg);
    r.put32(REC_ICON_CELL, k.icon_cell);
    r.put32(REC_ICON_GRID, k.icon_grid);
    r.put32(REC_GLOW, k.glow);
}

// One generation under the record's rule and border (the record's numbering: 0 wrap, 1 dead,
// 2 live). A neighbour outside the grid counts once, as dead or live, unless the grid wraps.
static GRID life_next(const GRID &g, const RECORD &r)
{
    int64_t border = r.get32(REC_BORDER);
    GRID next{};
    for (int x = 0; x < COLS; x++) {
        for (int y = 0; y < ROWS; y++) {
            int around = 0;
            for (int dx = -1; dx <= 1; dx++) {
                for (int dy = -1; dy <= 1; dy++) {
                    if (dx == 0 && dy == 0)
                        continue;
                    int nx = x + dx, ny = y + dy;
                    bool inside = nx >= 0 && nx < COLS && ny >= 0 && ny < ROWS;
                    if (inside)
                        around += g[nx][ny];
                    else if (border == 0)
                        around += g[(nx + COLS) % COLS][(ny + ROWS) % ROWS];
                    else
                        around += border == 2 ? 1 : 0;
                }
            }
            size_t list = g[x][y] ? REC_SPARAMS : REC_BPARAMS;
            next[x][y] = r.bytes[list + around] != 0;
        }
    }
    return next;
}

// The grid and its next `count` generations
static std::vector<GRID> generations(const GRID &start, const RECORD &r, int count)
{
    std::vector<GRID> gens = {start};
    for (int i = 0; i < count; i++)
        gens.push_back(life_next(gens.back(), r));
    return gens;
}

// The first generation from `from` on that equals `g`; -1 if none
static int generation_of(const std::vector<GRID> &gens, const GRID &g, int from = 0)
{
    for (size_t i = static_cast<size_t>(std::max(from, 0)); i < gens.size(); i++)
        if (gens[i] == g)
            return static_cast<int>(i);
    return -1;
}

// Live cells in a grid
static int alive(const GRID &g)
{
    int n = 0;
    for (const auto &column : g)
        for (uint8_t c : column)
            n += c;
    return n;
}

// Two gliders heading down and right, apart: on the wrapped grid they never meet, and the
// picture repeats only after 960 generations, so each generation shows which one it is
static GRID pattern()
{
    const int glider[][2] = {{11, 5}, {12, 6}, {10, 7}, {11, 7}, {12, 7}};
    GRID g{};
    for (const auto &c : glider) {
        g[c[0]][c[1]] = 1;
        g[c[0] + 20][c[1] + 13] = 1;
    }
    return g;
}

// About a third of the cells alive, scattered the same way on every run, and none of the
// symmetries of the grid: what is drawn where shows at once
static GRID scattered()
{
    GRID g{};
    uint32_t seed = 12345;
    for (int x = 0; x < COLS; x++) {
        for (int y = 0; y < ROWS; y++) {
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
// The glyphs of the font's source: "shade C R G B A" names a pixel character, "glyph N name" is
// followed by 8 rows of 8 such characters
static FONT_ART read_font_art(const std::string &path)
{
    std::ifstream in(path);
    std::map<char, TEXEL> shades;
    FONT_ART font;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word == "shade") {
            char c = 0;
            TEXEL t{};
            words >> c >> t[0] >> t[1] >> t[2] >> t[3];
            shades[c] = t;
        } else if (word == "glyph") {
            int code = -1;
            words >> code;
            GLYPH_ART glyph{};
            for (int row = 0; row < 8 && std::getline(in, line); row++)
                for (int col = 0; col < 8 && col < static_cast<int>(line.size()); col++)
                    glyph[row][col] = shades[line[col]];
            font[code] = glyph;
        }
    }
    return font;
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
static RGB8 cell_colour(const FONT_ART &font, const LOOK &k, bool live, int gx, int gy)
{
    const GLYPH_ART &glyph = font.at(live ? GLYPH_LIVE + k.icon_cell : GLYPH_GRID + k.icon_grid);
    return drawn(atlas_texel(glyph[gy][gx]), table_colour(k.fg), backdrop(k), k.glow != 0);
}

//----------------------------------------------------------------------------------
// Helpers: the screen's geometry
//----------------------------------------------------------------------------------
// The layout at a display size: the scale follows the longer side, landscape when wider than high
static VIEW view_of(int w, int h)
{
    VIEW v{};
    v.w = w;
    v.h = h;
    v.landscape = w > h;
    v.scale = std::max((v.landscape ? w : h) / LAYOUT_STEP, 1);
    v.play_w = w / v.scale;
    v.play_h = h / v.scale;
    v.cols = v.landscape ? COLS : ROWS;
    v.rows = v.landscape ? ROWS : COLS;
    return v;
}

// The log line of a new layout
static std::string layout_line(const VIEW &v)
{
    char text[128];
    std::snprintf(text, sizeof text, "NEW LAYOUT %dx%d global_scale %f (%dx%d)", v.w, v.h, static_cast<double>(v.scale),
                  v.play_w, v.play_h);
    return text;
}

// The pixel on which screen cell (c, r) is centred: the turtle starts at the display centre and
// moves up by trunc((play_h - K' S) / 2) layout units (K' = 32 in landscape, 50 in portrait);
// each cell then sits at whole layout units from there, scaled.
static void cell_centre(const VIEW &v, int c, int r, int &x, int &y)
{
    int room = v.landscape ? 32 : 50;
    int c0 = v.landscape ? 24 : 15;
    int r0 = v.landscape ? 15 : 24;
    double ux = v.w / 2.0 / v.scale;
    double uy = v.h / 2.0 / v.scale - std::trunc((v.play_h - room * S) * 0.5);
    x = static_cast<int>(std::lround((ux + std::trunc((c - c0) * S + S / 2.0)) * v.scale));
    y = static_cast<int>(std::lround((uy + std::trunc((r - r0) * S)) * v.scale));
}

// The engine cell that screen cell (c, r) shows: the grid is turned a quarter in portrait
static void engine_cell(const VIEW &v, int c, int r, int &x, int &y)
{
    x = v.landscape ? c : r;
    y = v.landscape ? r : ROWS - 1 - c;
}

// The top-left pixel of glyph pixel (gx, gy) of screen cell (c, r): the 8 x 8 sprite is centred
// on the cell and each glyph pixel covers scale x scale display pixels
static void glyph_pixel(const VIEW &v, int c, int r, int gx, int gy, int &x, int &y)
{
    int cx, cy;
    cell_centre(v, c, r, cx, cy);
    x = cx - S / 2 * v.scale + gx * v.scale;
    y = cy - S / 2 * v.scale + gy * v.scale;
}

// The grid's button (EDIT): it covers the grid exactly
static BOX grid_box(const VIEW &v)
{
    double right = v.cols * S / (2.0 * v.play_w) + 0.5;
    return {1.0 - right, (S / 2.0) / v.play_h, right, S * (v.rows + 0.5) / v.play_h};
}

// The box of the two top corners' buttons, and the box of the panel below the grid
static BOX corner_box(const VIEW &v)
{
    double right = (v.play_w - S / 2.0) / v.play_w;
    return {1.0 - right, 1.0 - (v.play_h - S / 2.0) / v.play_h, right, S * (v.landscape ? 31.0 : 49.0) / v.play_h};
}

static BOX panel_box(const VIEW &v)
{
    BOX b = corner_box(v);
    b.top = b.bottom;
    b.bottom = (v.play_h - S / 2.0) / v.play_h;
    return b;
}

// The engine cell a touch at pixel (x, y) edits: the touch's column and row on the grid's button,
// which go to the engine unturned in both orientations
static void touched_cell(const VIEW &v, double x, double y, int &cx, int &cy)
{
    BOX g = grid_box(v);
    cx = static_cast<int>(std::trunc((x - v.w * g.left) / S / v.scale));
    cy = static_cast<int>(std::trunc((y - v.h * g.top) / S / v.scale));
}

// Cell (col, row) of a layout of across x down cells over a box; the touch area is the cell less
// one layout unit on each side
static SPOT spot(const VIEW &v, const BOX &b, int across, int down, double col, double row)
{
    double cw = (b.right - b.left) * v.w / across;
    double ch = v.h * (b.bottom - b.top) / down;
    return {v.w * b.left + cw * (col + 0.5), v.h * b.top + ch * (row + 0.5), cw / 2.0 - v.scale, ch / 2.0 - v.scale};
}

// A button moved into the left or right margin beside the grid, as wide as the margin
static SPOT in_margin(const VIEW &v, SPOT s, bool right)
{
    double margin = (v.play_w - (v.landscape ? 50 : 32) * S) * v.scale * 0.5;
    s.x = margin / 2.0 + 4.0 * v.scale;
    if (right)
        s.x = v.w - s.x;
    s.rx = margin / 2.0 - v.scale;
    return s;
}

// A rule digit: birth on the first row, survival on the second
static SPOT rule_digit(const VIEW &v, bool birth, int n)
{
    return spot(v, panel_box(v), 12, v.landscape ? 2 : 3, n + 1, birth ? 0 : 1);
}

// Where a control is, on the main or the display panel
static SPOT control(const VIEW &v, CONTROL c)
{
    BOX panel = panel_box(v);
    BOX grid = grid_box(v);
    switch (c) {
    case PANEL:
        return in_margin(v, spot(v, corner_box(v), 12, 5, 11, 0), true);
    case RUN:
        return spot(v, panel, 6, 2, 5, 0);
    case STEP:
        return spot(v, panel, 6, 2, 5, 1);
    case SPEED_PLUS:
        return v.landscape ? in_margin(v, spot(v, grid, 12, 5, 0, 1.5), false) : spot(v, panel, 12, 3, 2, 2);
    case SPEED_VALUE:
        return v.landscape ? in_margin(v, spot(v, grid, 12, 5, 0, 2.5), false) : spot(v, panel, 12, 3, 1, 2);
    case SPEED_MINUS:
        return v.landscape ? in_margin(v, spot(v, grid, 12, 5, 0, 3.5), false) : spot(v, panel, 12, 3, 0, 2);
    case BORDER:
        return v.landscape ? in_margin(v, spot(v, grid, 12, 5, 11, 1.5), true) : spot(v, panel, 4, 3, 1, 2);
    case RAND:
        return v.landscape ? in_margin(v, spot(v, grid, 12, 5, 11, 2.5), true) : spot(v, panel, 6, 3, 3, 2);
    case CLEAR:
        return v.landscape ? in_margin(v, spot(v, grid, 12, 5, 11, 3.5), true) : spot(v, panel, 6, 3, 4, 2);
    case STEP_DISPLAY:
        return spot(v, panel, 4, 2, 0, 0);
    case GLOW:
        return spot(v, panel, 4, 2, 0, 1);
    case FG_MINUS:
    case FG_TILE:
    case FG_PLUS:
        return spot(v, panel, 8, 2, 2 + (c - FG_MINUS), 0);
    case BG_MINUS:
    case BG_TILE:
    case BG_PLUS:
        return spot(v, panel, 8, 2, 2 + (c - BG_MINUS), 1);
    case CELL_MINUS:
    case CELL_TILE:
    case CELL_PLUS:
        return spot(v, panel, 8, 2, 5 + (c - CELL_MINUS), 0);
    case GRID_MINUS:
    case GRID_TILE:
    case GRID_PLUS:
        return spot(v, panel, 8, 2, 5 + (c - GRID_MINUS), 1);
    }
    return {};
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
static bool looks_pressed(const XCAPTURE_IMAGE &im, const SPOT &s)
{
    int x = static_cast<int>(s.x);
    return dark(pixel(im, x, static_cast<int>(s.y - 0.92 * s.ry))) &&
           dark(pixel(im, x, static_cast<int>(s.y + 0.92 * s.ry)));
}

// A button's backing is drawn in its highlight colour: looked at beside the label
static bool looks_highlighted(const XCAPTURE_IMAGE &im, const SPOT &s)
{
    RGB8 p = pixel(im, static_cast<int>(s.x - 0.6 * s.rx), static_cast<int>(s.y));
    return (p.r + p.g + p.b) / 3 > HIGHLIGHT;
}

// The engine's grid as the window shows it: a cell is live when glyph pixel (gx, gy) of its icon,
// one that the live icon covers and the dead one looks different at, has the live colour
static GRID shown_grid(const XCAPTURE_IMAGE &im, const VIEW &v, const FONT_ART &font, const LOOK &k)
{
    int best_gx = 3, best_gy = 3, best = -1;
    for (int gy = 0; gy < S; gy++) {
        for (int gx = 0; gx < S; gx++) {
            RGB8 a = cell_colour(font, k, true, gx, gy), d = cell_colour(font, k, false, gx, gy);
            int difference = std::abs(a.r - d.r) + std::abs(a.g - d.g) + std::abs(a.b - d.b);
            if (font.at(GLYPH_LIVE + k.icon_cell)[gy][gx][3] == 255 && difference > best) {
                best = difference;
                best_gx = gx;
                best_gy = gy;
            }
        }
    }
    RGB8 live = cell_colour(font, k, true, best_gx, best_gy);
    GRID g{};
    for (int c = 0; c < v.cols; c++) {
        for (int r = 0; r < v.rows; r++) {
            int px, py, ex, ey;
            glyph_pixel(v, c, r, best_gx, best_gy, px, py);
            engine_cell(v, c, r, ex, ey);
            g[ex][ey] = near(pixel(im, px, py), live, LIVE_TOLERANCE);
        }
    }
    return g;
}

// The grid's label may be drawn under the cells, at the centre of the grid's button: pixels
// within this rectangle show the label wherever the icons leave them uncovered
static bool under_label(const VIEW &v, int x, int y)
{
    BOX g = grid_box(v);
    double cx = v.w * (g.left + g.right) / 2.0, cy = v.h * (g.top + g.bottom) / 2.0;
    return std::abs(x - cx) <= 40.0 * v.scale && std::abs(y - cy) <= 12.0 * v.scale;
}

// Every pixel of every cell against the art: where the grid is live, the cell icon in the fg
// colour; where it is dead, the grid icon; both over the backdrop. Returns the mismatches found
// (at most a few, described).
static std::vector<std::string> cell_mismatches(const XCAPTURE_IMAGE &im, const VIEW &v, const FONT_ART &font,
                                                const LOOK &k, const GRID &g)
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
            engine_cell(v, c, r, ex, ey);
            bool live = g[ex][ey] != 0;
            const GLYPH_ART &glyph = font.at(live ? GLYPH_LIVE + k.icon_cell : GLYPH_GRID + k.icon_grid);
            for (int gy = 0; gy < S; gy++) {
                for (int gx = 0; gx < S; gx++) {
                    RGB8 want = colours[live][gy][gx];
                    int x0, y0;
                    glyph_pixel(v, c, r, gx, gy, x0, y0);
                    for (int y = y0; y < y0 + v.scale; y++) {
                        for (int x = x0; x < x0 + v.scale; x++) {
                            // An opaque icon pixel covers the label; a glowing one is added to it
                            if (under_label(v, x, y) && (k.glow || glyph[gy][gx][3] < 255))
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

static std::map<int, INK_MASK> ink_masks(const FONT_ART &font)
{
    std::map<int, INK_MASK> masks;
    for (const auto &[code, glyph] : font)
        for (int row = 0; row < 8; row++)
            for (int col = 0; col < 8; col++)
                masks[code][row][col] = glyph[row][col][3] == 255 && std::min({glyph[row][col][0], glyph[row][col][1], glyph[row][col][2]}) >= INK;
    return masks;
}

// Which of `candidates` a button's label reads as: drawn in the font at `scale` and centred on
// the button, the text whose ink explains the light pixels of the band across the button best,
// at the best shift of up to 3 pixels either way
static std::string read_label(const XCAPTURE_IMAGE &im, const FONT_ART &font, const SPOT &s, int scale,
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
static int counter_pixels(const XCAPTURE_IMAGE &im, const VIEW &v)
{
    BOX g = grid_box(v);
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
class LumlifePlay : public ::testing::Test {
protected:
    XVFB xvfb;
    Display *x = nullptr;     // the test's own connection to the display
    std::string home;         // the toy's HOME; "settings.cfg" lives under it
    PROCESS toy;
    Window window = None;
    VIEW view = view_of(START_W, START_H);
    FONT_ART font;
    size_t next_line = 0;     // the toy's log lines before this one have been used up
    size_t rate_line = 0;     // the log's answers to F9 before this line have been used up
    XCAPTURE_IMAGE frame;     // the last frame read
    bool paused = false;      // the toy is stopped between the test's looks (see let_run)

    void SetUp() override
    {
        font = read_font_art("assets/font8x8.txt");
        ASSERT_TRUE(font.count(GLYPH_LIVE + 15) && font.count(GLYPH_GRID + 15) && font.count('Z'))
            << "the font's source is read from the working directory, the project's root";
        std::string error;
        ASSERT_TRUE(xvfb_start(xvfb, error)) << error;
        x = XOpenDisplay(xvfb.display.c_str());
        ASSERT_NE(x, nullptr) << "cannot open " << xvfb.display;
        home = process_temp_dir("lumplay-home");
        ASSERT_FALSE(home.empty());
    }

    void TearDown() override
    {
        process_stop(toy);
        if (x)
            XCloseDisplay(x);
        xvfb_stop(xvfb);
        process_remove_dir(home);
    }

    std::string settings_path() const { return home + "/.kobaltine/lumlife/settings.cfg"; }

    void prepare(const RECORD &r)
    {
        ASSERT_EQ(std::system(("mkdir -p '" + home + "/.kobaltine/lumlife'").c_str()), 0);
        std::ofstream out(settings_path(), std::ios::binary);
        out.write(reinterpret_cast<const char *>(r.bytes.data()), static_cast<std::streamsize>(r.bytes.size()));
        ASSERT_TRUE(out.good());
    }

    RECORD saved() const
    {
        std::ifstream in(settings_path(), std::ios::binary);
        RECORD r;
        r.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        return r;
    }

    // Wait for a log line from line `from` on matching `pattern` entirely, with or without the log
    // prefix; `from` moves on past it
    ::testing::AssertionResult wait_line(const std::string &pattern, size_t &from, double seconds = LOG_SECONDS)
    {
        std::regex line("^(" + std::string(LOG_PREFIX) + ")?" + pattern + "$");
        int at = -1;
        if (paused) {
            auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
            while ((at = process_wait_line(toy, line, 0.0, from)) < 0 && process_drain(toy) &&
                   std::chrono::steady_clock::now() < deadline)
                let_run();
        } else {
            at = process_wait_line(toy, line, seconds, from);
        }
        if (at < 0)
            return ::testing::AssertionFailure() << "no log line matching '" << pattern << "' from line " << from << "\n"
                                                 << process_transcript(toy);
        from = static_cast<size_t>(at) + 1;
        return ::testing::AssertionSuccess();
    }

    // Wait for a log line from `next_line` on (see wait_line); the lines up to it are used up
    ::testing::AssertionResult logged(const std::string &pattern, double seconds = LOG_SECONDS)
    {
        return wait_line(pattern, next_line, seconds);
    }

    // Stop the toy between the test's looks, or let it run freely again
    void pause()
    {
        paused = process_pause(toy);
    }
    void resume()
    {
        if (paused)
            process_resume(toy);
        paused = false;
    }

    // Give the toy a moment before the next look. A paused toy runs for RUN_MS and is stopped
    // again: after a stop it catches up by at most four ticks, so however slowly the test itself
    // gets to run on a loaded machine, the toy runs only a few ticks between two of its looks.
    void let_run()
    {
        if (!paused) {
            std::this_thread::sleep_for(std::chrono::milliseconds(POLL_MS));
            return;
        }
        process_resume(toy);
        std::this_thread::sleep_for(std::chrono::milliseconds(RUN_MS));
        paused = process_pause(toy);
    }

    // A log line matching `pattern` anywhere since the start, such as one of start-up's
    bool logged_since_start(const std::string &pattern)
    {
        return process_wait_line(toy, std::regex("^(" + std::string(LOG_PREFIX) + ")?" + pattern + "$"), 0.0) >= 0;
    }

    ::testing::AssertionResult xdo(const std::vector<std::string> &args)
    {
        int status = process_xdotool(xvfb.display, args);
        if (status == 0)
            return ::testing::AssertionSuccess();
        std::string text;
        for (const std::string &a : args)
            text += " " + a;
        return ::testing::AssertionFailure() << "xdotool" << text << " gave " << status;
    }

    // The toy's window once it is mapped at the current view's size
    ::testing::AssertionResult find_window()
    {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(SEE_SECONDS);
        for (;;) {
            Window w = xcapture_find_toplevel(x);
            XWindowAttributes a;
            if (w != None && XGetWindowAttributes(x, w, &a) && a.width == view.w && a.height == view.h) {
                window = w;
                return ::testing::AssertionSuccess();
            }
            if (std::chrono::steady_clock::now() >= deadline)
                return ::testing::AssertionFailure() << "no " << view.w << " x " << view.h << " window";
            std::this_thread::sleep_for(std::chrono::milliseconds(POLL_MS));
        }
    }

    // Read frames until one satisfies `wanted`; it stays in `frame`
    ::testing::AssertionResult see(const std::function<bool(const XCAPTURE_IMAGE &)> &wanted, const std::string &what,
                                   double seconds = SEE_SECONDS)
    {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        for (;;) {
            if (!xcapture_window(x, window, frame) || frame.w != view.w || frame.h != view.h)
                return ::testing::AssertionFailure() << "cannot read the " << view.w << " x " << view.h << " window";
            if (wanted(frame))
                return ::testing::AssertionSuccess();
            if (!process_drain(toy))
                return ::testing::AssertionFailure() << "the toy ended while waiting for " << what << "\n"
                                                     << process_transcript(toy);
            if (std::chrono::steady_clock::now() >= deadline)
                return ::testing::AssertionFailure() << what << ": not seen within " << seconds << " s";
            let_run();
        }
    }

    // The game screen is drawn: a button's backing where RUN is (the display panel has a tile
    // there), and the backdrop at the first cell's bottom-right glyph pixel, which no icon covers
    bool game_drawn(const XCAPTURE_IMAGE &im, const LOOK &k) const
    {
        SPOT s = control(view, RUN);
        RGB8 b = pixel(im, static_cast<int>(s.x - 0.6 * s.rx), static_cast<int>(s.y));
        bool button = !dark(b) && std::abs(b.r - b.g) <= 4 && std::abs(b.g - b.b) <= 4;
        int px, py;
        glyph_pixel(view, 0, 0, S - 1, S - 1, px, py);
        return button && near(pixel(im, px, py), backdrop(k), TOLERANCE);
    }

    // Start the toy with the test's HOME and wait for its game screen
    ::testing::AssertionResult start(const LOOK &k)
    {
        std::string error;
        if (!process_start(toy, {LUMLIFE_PATH}, xvfb.display, error, {"HOME=" + home}))
            return ::testing::AssertionFailure() << error;
        next_line = rate_line = 0;
        view = view_of(START_W, START_H);
        if (auto r = logged(literal(layout_line(view))); !r)
            return r;
        if (auto r = logged("RESET [0-9]+ buttons COUNTER [0-9]+"); !r)
            return r;
        if (auto r = find_window(); !r)
            return r;
        return see([&](const XCAPTURE_IMAGE &im) { return game_drawn(im, k); }, "the game screen");
    }

    // Wait until the window shows the engine grid `g` in look `k`
    ::testing::AssertionResult see_grid(const GRID &g, const LOOK &k, const std::string &what)
    {
        return see([&](const XCAPTURE_IMAGE &im) { return shown_grid(im, view, font, k) == g; }, what);
    }

    // Send input with xdotool, followed by F9 twice, and wait until the toy has taken all of it:
    // F9 switches the logic rate to 4 and a second F9 back to 60, and the tick that takes each
    // key says so in the log. The first answer comes from a tick that has taken the input, the
    // second from a later one. The answers are looked for apart from the other log lines, which
    // stay for the caller (a click's effect is logged between them).
    ::testing::AssertionResult send_and_tick(std::vector<std::string> input)
    {
        input.insert(input.end(), {"key", "F9"});
        if (auto r = xdo(input); !r)
            return r;
        if (auto r = wait_line(literal("RATE 4"), rate_line); !r)
            return r;
        if (auto r = xdo({"key", "F9"}); !r)
            return r;
        return wait_line(literal("RATE 60"), rate_line);
    }

    // Wait until ticks after every input sent so far have run (see send_and_tick)
    ::testing::AssertionResult ticked()
    {
        return send_and_tick({});
    }

    // Press a button and hold it as a person does. The toolkit takes a click only when the press
    // (BTN_DOWN), a hold (BTN_HOLD) and the release (BTN_UP) come in three different ticks, and a
    // button held for 30 ticks repeats. Nothing on screen tells the ticks of a held button
    // apart, so they are counted off in the log (see send_and_tick): the first answer to F9
    // comes from a tick that has taken the press, the second from a later one, which saw the
    // button held. Meanwhile the toy is paused between looks and runs at 4 ticks a second for a
    // while (see let_run), so that a click holds for a few ticks only, however slow the machine.
    ::testing::AssertionResult press(const SPOT &s)
    {
        pause();
        return send_and_tick({"mousemove", "--window", std::to_string(window), std::to_string(static_cast<int>(s.x)),
                              std::to_string(static_cast<int>(s.y)), "mousedown", "1"});
    }

    // Release the button and wait until a tick has taken the release; the toy runs freely
    // afterwards
    ::testing::AssertionResult release()
    {
        ::testing::AssertionResult r = send_and_tick({"mouseup", "1"});
        resume();
        return r;
    }

    // A person's click: press, hold briefly, release. The click's effect is for the caller to
    // wait for.
    ::testing::AssertionResult click(const SPOT &s)
    {
        ::testing::AssertionResult r = press(s);
        ::testing::AssertionResult released = release();
        return r ? released : r;
    }

    // Hold a button down until the window shows `wanted`, then release it. The button is drawn
    // shrunk while held at 60 ticks a second: that shows the press landed on it.
    ::testing::AssertionResult hold(const SPOT &s, const std::function<bool(const XCAPTURE_IMAGE &)> &wanted,
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
        if (auto r = xdo({"mousemove", "--window", std::to_string(window), "1", "1", "key", "F1"}); !r)
            return r;
        view = view_of(w, h);
        if (auto r = logged(literal(layout_line(view))); !r)
            return r;
        if (auto r = logged("RESET [0-9]+ buttons COUNTER [0-9]+"); !r)
            return r;
        return find_window();
    }

    // Hold Escape until the toy says it quits, then wait for it to end with status 0
    ::testing::AssertionResult quit_with_escape()
    {
        if (auto r = xdo({"mousemove", "--window", std::to_string(window), "1", "1"}); !r)
            return r;
        if (auto r = xdo({"keydown", "Escape"}); !r)
            return r;
        ::testing::AssertionResult quitting = logged(literal("Quitting..."));
        xdo({"keyup", "Escape"});
        if (!quitting)
            return quitting;
        return ended();
    }

    // The toy ends with status 0 after saving
    ::testing::AssertionResult ended()
    {
        if (auto r = logged(literal("wrote 4172 bytes")); !r)
            return r;
        if (!process_wait_exit(toy, EXIT_SECONDS))
            return ::testing::AssertionFailure() << "the toy did not end\n" << process_transcript(toy);
        if (!WIFEXITED(toy.status) || WEXITSTATUS(toy.status) != 0)
            return ::testing::AssertionFailure() << describe_status(toy.status);
        process_stop(toy);
        return ::testing::AssertionSuccess();
    }
};

//----------------------------------------------------------------------------------
// Painting
//----------------------------------------------------------------------------------
// A stroke decides by its first cell: from a dead cell it paints every cell it crosses, from a
// live one it erases and never paints. A restart shows the same grid and saves the same file.
TEST_F(LumlifePlay, AStrokeFromADeadCellPaintsAndOneFromALiveCellErases)
{
    RECORD rec = fresh_record();
    rec.put32(REC_SHOW_STEPS, 0);
    rec.put32(REC_STEPS, 5);
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    GRID g{};
    ASSERT_TRUE(see_grid(g, k, "the empty grid"));

    // Touch the centre of a screen cell, pressing or moving there; the grid changes one tick
    // after the press, at the first hold, and at every move while held
    auto touch = [&](int c, int r, bool press) {
        int px, py, ex, ey;
        cell_centre(view, c, r, px, py);
        touched_cell(view, px, py, ex, ey);
        EXPECT_EQ(ex, c);
        EXPECT_EQ(ey, r);
        std::vector<std::string> args = {"mousemove", "--window", std::to_string(window), std::to_string(px),
                                         std::to_string(py)};
        if (press)
            args.insert(args.end(), {"mousedown", "1"});
        return xdo(args);
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
    RECORD expected = rec;
    expected.set_grid(g);
    EXPECT_TRUE(same_record(saved(), expected));

    // A restart shows the saved grid and writes the file back unchanged
    ASSERT_TRUE(start(k));
    EXPECT_TRUE(logged_since_start(literal("read 4172 bytes"))) << process_transcript(toy);
    ASSERT_TRUE(see_grid(g, k, "the saved grid after a restart"));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(same_record(saved(), expected));
}

//----------------------------------------------------------------------------------
// Generations
//----------------------------------------------------------------------------------
// STEP takes one generation per click; held, it steps on every tick from the 30th on
TEST_F(LumlifePlay, StepTakesOneGenerationPerClickAndStepsOnWhileHeld)
{
    RECORD rec = fresh_record();
    rec.set_grid(pattern());
    rec.put32(REC_SHOW_STEPS, 0);
    rec.put32(REC_STEPS, 100);
    LOOK k = look_of(rec);
    std::vector<GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(see_grid(gens[0], k, "the prepared grid"));

    // Two clicks, two generations: the file says so exactly
    SPOT step = control(view, STEP);
    ASSERT_TRUE(click(step));
    ASSERT_TRUE(see_grid(gens[1], k, "generation 1"));
    ASSERT_TRUE(click(step));
    ASSERT_TRUE(see_grid(gens[2], k, "generation 2"));
    ASSERT_TRUE(quit_with_escape());
    RECORD expected = rec;
    expected.set_grid(gens[2]);
    expected.put32(REC_STEPS, 102);
    EXPECT_TRUE(same_record(saved(), expected));

    // Held, it steps on
    constexpr int HELD_GENERATIONS = 8;
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(hold(
        step,
        [&](const XCAPTURE_IMAGE &im) {
            return generation_of(gens, shown_grid(im, view, font, k)) >= 2 + HELD_GENERATIONS;
        },
        std::to_string(HELD_GENERATIONS) + " more generations while STEP is held"));
    ASSERT_TRUE(quit_with_escape());
    RECORD after = saved();
    ASSERT_EQ(after.bytes.size(), REC_SIZE);
    int64_t taken = after.get32(REC_STEPS) - 100;
    EXPECT_GE(taken, 2 + HELD_GENERATIONS);
    ASSERT_GE(taken, 0);
    ASSERT_LT(taken, static_cast<int64_t>(gens.size()));
    expected.set_grid(gens[static_cast<size_t>(taken)]);
    expected.put32(REC_STEPS, 100 + taken);
    EXPECT_TRUE(same_record(after, expected)) << "generation " << taken;
}

// RUN runs the automaton at its speed; a second click stops it where it is
TEST_F(LumlifePlay, RunStartsTheAutomatonAndASecondClickStopsIt)
{
    RECORD rec = fresh_record();
    rec.set_grid(pattern());
    rec.put32(REC_SHOW_STEPS, 0);
    rec.put32(REC_FREQ, 10);
    LOOK k = look_of(rec);
    std::vector<GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(see_grid(gens[0], k, "the prepared grid"));

    SPOT run = control(view, RUN);
    ASSERT_TRUE(click(run));
    ASSERT_TRUE(see(
        [&](const XCAPTURE_IMAGE &im) {
            return looks_highlighted(im, run) && generation_of(gens, shown_grid(im, view, font, k)) >= 3;
        },
        "RUN lit and generation 3"));
    // RUN goes dark in the tick that stops the automaton: that frame shows its last generation
    ASSERT_TRUE(click(run));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return !looks_highlighted(im, run); }, "RUN dark"));
    GRID stopped = shown_grid(frame, view, font, k);
    int at = generation_of(gens, stopped);
    EXPECT_GE(at, 3);
    ASSERT_TRUE(quit_with_escape());

    // Saved where the window showed it stopped: no generation after the stop
    RECORD expected = rec;
    expected.set_grid(stopped);
    expected.put32(REC_STEPS, at);
    EXPECT_TRUE(same_record(saved(), expected));
}

// A toy that quits while running saves the grid and its counter, and a restart runs on from there
TEST_F(LumlifePlay, ARunningToyIsSavedRunningAndRunsOnAfterARestart)
{
    RECORD rec = fresh_record();
    rec.set_grid(pattern());
    rec.put32(REC_SHOW_STEPS, 0);
    rec.put32(REC_FREQ, 10);
    LOOK k = look_of(rec);
    std::vector<GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(click(control(view, RUN)));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return generation_of(gens, shown_grid(im, view, font, k)) >= 2; },
                    "generation 2 while running"));
    ASSERT_TRUE(quit_with_escape());

    RECORD first = saved();
    ASSERT_EQ(first.bytes.size(), REC_SIZE);
    int64_t n1 = first.get32(REC_STEPS);
    ASSERT_GE(n1, 2);
    ASSERT_LT(n1, GENERATIONS / 2);
    RECORD expected = rec;
    expected.put32(REC_RUNNING, 1);
    expected.set_grid(gens[static_cast<size_t>(n1)]);
    expected.put32(REC_STEPS, n1);
    EXPECT_TRUE(same_record(first, expected)) << "saved running at generation " << n1;

    ASSERT_TRUE(start(k));
    EXPECT_TRUE(logged_since_start(literal("read 4172 bytes"))) << process_transcript(toy);
    ASSERT_TRUE(see(
        [&](const XCAPTURE_IMAGE &im) { return generation_of(gens, shown_grid(im, view, font, k), static_cast<int>(n1)) >= n1 + 2; },
        "the restored grid running on"));
    ASSERT_TRUE(quit_with_escape());

    RECORD second = saved();
    ASSERT_EQ(second.bytes.size(), REC_SIZE);
    int64_t n2 = second.get32(REC_STEPS);
    ASSERT_GE(n2, n1 + 2);
    ASSERT_LT(n2, GENERATIONS);
    expected.set_grid(gens[static_cast<size_t>(n2)]);
    expected.put32(REC_STEPS, n2);
    EXPECT_TRUE(same_record(second, expected)) << "the counter goes on from the saved one, " << n1;
}

// Closing the window (what a window manager sends) ends the toy like Escape: the grid is saved
TEST_F(LumlifePlay, ClosingTheWindowWhileRunningSavesTheGridLikeEscape)
{
    RECORD rec = fresh_record();
    rec.set_grid(pattern());
    rec.put32(REC_SHOW_STEPS, 0);
    rec.put32(REC_FREQ, 10);
    rec.put32(REC_RUNNING, 1);
    LOOK k = look_of(rec);
    std::vector<GRID> gens = generations(pattern(), rec, GENERATIONS);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return generation_of(gens, shown_grid(im, view, font, k)) >= 2; },
                    "generation 2 while running"));

    XEvent close{};
    close.xclient.type = ClientMessage;
    close.xclient.window = window;
    close.xclient.message_type = XInternAtom(x, "WM_PROTOCOLS", False);
    close.xclient.format = 32;
    close.xclient.data.l[0] = static_cast<long>(XInternAtom(x, "WM_DELETE_WINDOW", False));
    close.xclient.data.l[1] = CurrentTime;
    ASSERT_NE(XSendEvent(x, window, False, NoEventMask, &close), 0);
    XFlush(x);
    ASSERT_TRUE(logged(literal("SDL_QUIT")));
    ASSERT_TRUE(logged(literal("Quitting...")));
    ASSERT_TRUE(ended());

    RECORD after = saved();
    ASSERT_EQ(after.bytes.size(), REC_SIZE);
    int64_t n = after.get32(REC_STEPS);
    ASSERT_GE(n, 2);
    ASSERT_LT(n, GENERATIONS);
    RECORD expected = rec;
    expected.set_grid(gens[static_cast<size_t>(n)]);
    expected.put32(REC_STEPS, n);
    EXPECT_TRUE(same_record(after, expected)) << "saved still running at generation " << n;
}

//----------------------------------------------------------------------------------
// The rule, the border, the speed, fill and clear
//----------------------------------------------------------------------------------
// Every rule digit flips its count; each click rebuilds the rule, which the engine reports
TEST_F(LumlifePlay, EachRuleDigitFlipsItsCountAndTheRuleIsRebuilt)
{
    RECORD rec = fresh_record();
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    std::array<bool, 9> birth{}, survive{};
    birth[3] = survive[2] = survive[3] = true;
    for (int row = 0; row < 2; row++) {
        for (int n = 0; n < 9; n++) {
            SCOPED_TRACE((row == 0 ? "B" : "S") + std::to_string(n));
            ASSERT_TRUE(click(rule_digit(view, row == 0, n)));
            (row == 0 ? birth : survive)[n] = !(row == 0 ? birth : survive)[n];
            ASSERT_TRUE(logged(literal("CONFIG SET: " + rule_string(birth, survive, 'w'))));
            ASSERT_TRUE(logged(literal(rule_report(birth, survive, "wrap"))));
        }
    }
    // Every digit is lit exactly when its count is in the rule
    auto lit_as_the_rule = [&](const XCAPTURE_IMAGE &im) {
        for (int n = 0; n < 9; n++)
            if (looks_highlighted(im, rule_digit(view, true, n)) != birth[n] ||
                looks_highlighted(im, rule_digit(view, false, n)) != survive[n])
                return false;
        return true;
    };
    EXPECT_TRUE(see(lit_as_the_rule, "the digits lit as the rule"));
    ASSERT_TRUE(quit_with_escape());
    RECORD expected = rec;
    for (int n = 0; n < 9; n++) {
        expected.bytes[REC_BPARAMS + n] = birth[n];
        expected.bytes[REC_SPARAMS + n] = survive[n];
    }
    EXPECT_TRUE(same_record(saved(), expected));
}

// The border button cycles Wrap, Dead, Live and back to Wrap, each change rebuilding the rule
TEST_F(LumlifePlay, TheBorderCyclesWrapDeadLiveAndWrapAgain)
{
    RECORD rec = fresh_record();
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    SPOT border = control(view, BORDER);
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
        ASSERT_TRUE(click(border));
        ASSERT_TRUE(logged(literal("CONFIG SET: " + rule_string(birth, survive, c.letter))));
        ASSERT_TRUE(logged(literal(rule_report(birth, survive, c.report))));
        EXPECT_TRUE(see(reads(c.label), c.label));
    }
    ASSERT_TRUE(quit_with_escape());
    RECORD expected = rec;
    expected.put32(REC_BORDER, 1);
    EXPECT_TRUE(same_record(saved(), expected));
}

// The speed keeps within 1..60 generations a second: "-" held down to 1 and "+" held up to 60
// repeat every tick, and stay there
TEST_F(LumlifePlay, TheSpeedStopsAtOneAndAtSixty)
{
    RECORD rec = fresh_record();
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    SPOT plus = control(view, SPEED_PLUS), minus = control(view, SPEED_MINUS), value = control(view, SPEED_VALUE);
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
    RECORD expected = rec;
    expected.put32(REC_FREQ, 59);
    EXPECT_TRUE(same_record(saved(), expected));
}

// CLR empties the grid and RAND fills about half of it, each with the counter back at 0
TEST_F(LumlifePlay, ClrEmptiesTheGridAndRandFillsAboutHalfOfIt)
{
    RECORD rec = fresh_record();
    rec.set_grid(pattern());
    rec.put32(REC_SHOW_STEPS, 0);
    rec.put32(REC_STEPS, 321);
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(see_grid(pattern(), k, "the prepared grid"));
    ASSERT_TRUE(click(control(view, CLEAR)));
    ASSERT_TRUE(see_grid(GRID{}, k, "the empty grid"));
    ASSERT_TRUE(click(control(view, RAND)));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return alive(shown_grid(im, view, font, k)) > 0; }, "a filled grid"));
    GRID filled = shown_grid(frame, view, font, k);
    EXPECT_GT(alive(filled), COLS * ROWS * 35 / 100) << "about half alive";
    EXPECT_LT(alive(filled), COLS * ROWS * 65 / 100) << "about half alive";
    ASSERT_TRUE(quit_with_escape());
    RECORD expected = rec;
    expected.set_grid(filled);
    expected.put32(REC_STEPS, 0);
    EXPECT_TRUE(same_record(saved(), expected));
}

//----------------------------------------------------------------------------------
// The display panel
//----------------------------------------------------------------------------------
// ".." opens the display panel: the cell and background colours, the icons, the glow and the
// step counter change what the grid looks like at once, and ".." goes back
TEST_F(LumlifePlay, TheDisplayPanelSetsColoursIconsGlowAndTheStepCounter)
{
    RECORD rec = fresh_record();
    rec.set_grid(pattern());
    rec.put32(REC_STEPS, 12345);
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_GE(counter_pixels(frame, view), COUNTER_MIN_PIXELS) << "the step counter is shown";

    ASSERT_TRUE(click(control(view, PANEL)));
    ASSERT_TRUE(logged(literal("'..' -> state switch")));
    ASSERT_TRUE(logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    SPOT fg_tile = control(view, FG_TILE), bg_tile = control(view, BG_TILE);
    // A colour tile is four solid squares in its colour: its centre shows the colour
    auto tile_shows = [&](const SPOT &tile, int index) {
        RGB8 want = drawn(atlas_texel(font.at(GLYPH_SOLID)[S / 2][S / 2]), table_colour(index), {0, 0, 0}, false);
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
    ASSERT_TRUE(click(control(view, STEP_DISPLAY)));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return counter_pixels(im, view) == 0; }, "the counter gone"));
    ASSERT_TRUE(see(grid_looks(k), "the cells as at the start"));

    // Cell colour: up and down by clicks, then held up to its end, 7 (black is for the background
    // only), and held down to 0, staying at each end
    const int fg_clicks[][2] = {{FG_PLUS, 1}, {FG_PLUS, 2}, {FG_MINUS, 1}, {FG_MINUS, 0}};
    for (const auto &c : fg_clicks) {
        SCOPED_TRACE("fg " + std::to_string(c[1]));
        ASSERT_TRUE(click(control(view, static_cast<CONTROL>(c[0]))));
        k.fg = c[1];
        auto cells = grid_looks(k);
        auto tile = tile_shows(fg_tile, c[1]);
        ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return tile(im) && cells(im); },
                        "the FG tile and the cells in colour " + std::to_string(c[1])));
    }
    ASSERT_TRUE(hold(control(view, FG_PLUS), stays(tile_shows(fg_tile, 7)), "FG held up to colour 7"));
    k.fg = 7;
    ASSERT_TRUE(see(grid_looks(k), "the cells in colour 7"));
    ASSERT_TRUE(hold(control(view, FG_MINUS), stays(tile_shows(fg_tile, 0)), "FG held down to colour 0"));
    k.fg = 0;
    ASSERT_TRUE(see(grid_looks(k), "the cells in colour 0"));

    // Background colour
    ASSERT_TRUE(click(control(view, BG_PLUS)));
    k.bg = 1;
    auto backdrop_looks = grid_looks(k);
    auto bg_shows = tile_shows(bg_tile, 1);
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return bg_shows(im) && backdrop_looks(im); },
                    "the BG tile and the backdrop in colour 1"));

    // Icons: the live cells' three up, the grid's two up
    for (int i = 1; i <= 3; i++) {
        ASSERT_TRUE(click(control(view, CELL_PLUS)));
        k.icon_cell = i;
        ASSERT_TRUE(see(grid_looks(k), "cell icon " + std::to_string(i)));
    }
    for (int i = 1; i <= 2; i++) {
        ASSERT_TRUE(click(control(view, GRID_PLUS)));
        k.icon_grid = i;
        ASSERT_TRUE(see(grid_looks(k), "grid icon " + std::to_string(i)));
    }

    // The glow: the cells are added onto the backdrop
    ASSERT_TRUE(click(control(view, GLOW)));
    k.glow = 1;
    ASSERT_TRUE(see(grid_looks(k), "the glowing cells"));

    // Back to the main panel, which in landscape reports its button height
    ASSERT_TRUE(click(control(view, PANEL)));
    ASSERT_TRUE(logged(literal("'..' -> state switch")));
    ASSERT_TRUE(logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    ASSERT_TRUE(logged("BUTTON HEIGHT [0-9]+\\.[0-9]+"));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return game_drawn(im, k); }, "the main panel"));
    ASSERT_TRUE(quit_with_escape());

    RECORD expected = rec;
    set_look(expected, {0, 1, 3, 2, 1});
    expected.put32(REC_SHOW_STEPS, 0);
    EXPECT_TRUE(same_record(saved(), expected));
}

//----------------------------------------------------------------------------------
// What the screen shows
//----------------------------------------------------------------------------------
// Every live cell of a prepared grid is drawn at its cell with the cell icon in the cell colour,
// every dead cell with the grid icon, over the backdrop, pixel for pixel as the art gives them
class LumlifeLook : public LumlifePlay, public ::testing::WithParamInterface<LOOK> {};

TEST_P(LumlifeLook, EveryCellIsDrawnAsTheArtAndTheColoursSay)
{
    RECORD rec = fresh_record();
    rec.set_grid(scattered());
    rec.put32(REC_SHOW_STEPS, 0);
    set_look(rec, GetParam());
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(GetParam()));
    std::vector<std::string> bad;
    EXPECT_TRUE(see(
        [&](const XCAPTURE_IMAGE &im) {
            bad = cell_mismatches(im, view, font, GetParam(), scattered());
            return bad.empty();
        },
        "every cell as the art says"))
        << ::testing::PrintToString(bad);
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(same_record(saved(), rec)) << "looking changes nothing";
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
    RECORD rec = fresh_record();
    rec.set_grid(scattered());
    rec.put32(REC_SHOW_STEPS, 0);
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
    ASSERT_TRUE(next_window_size(320, 480));
    ASSERT_FALSE(view.landscape);
    GRID g = scattered();
    ASSERT_TRUE(see_grid(g, k, "the grid turned to portrait"));
    EXPECT_TRUE(cell_mismatches(frame, view, font, k, g).empty());

    // A rule digit and the border button below the grid
    std::array<bool, 9> birth{}, survive{};
    birth[3] = survive[2] = survive[3] = true;
    ASSERT_TRUE(click(rule_digit(view, true, 6)));
    birth[6] = true;
    ASSERT_TRUE(logged(literal("CONFIG SET: " + rule_string(birth, survive, 'w'))));
    ASSERT_TRUE(click(control(view, BORDER)));
    ASSERT_TRUE(logged(literal("CONFIG SET: " + rule_string(birth, survive, 'd'))));
    ASSERT_TRUE(logged(literal(rule_report(birth, survive, "dead"))));

    // Touch screen cell (2, 3): the engine's cell (2, 3) changes, which portrait shows at screen
    // cell (26, 2)
    int c = 2, r = 3, px, py, ex, ey;
    cell_centre(view, c, r, px, py);
    touched_cell(view, px, py, ex, ey);
    ASSERT_EQ(ex, c);
    ASSERT_EQ(ey, r);
    g[ex][ey] = !g[ex][ey];
    ASSERT_TRUE(xdo({"mousemove", "--window", std::to_string(window), std::to_string(px), std::to_string(py),
                     "mousedown", "1"}));
    ASSERT_TRUE(see_grid(g, k, "the transposed cell edited"));
    ASSERT_TRUE(xdo({"mouseup", "1"}));
    ASSERT_TRUE(quit_with_escape());

    RECORD expected = rec;
    expected.set_grid(g);
    expected.bytes[REC_BPARAMS + 6] = 1;
    expected.put32(REC_BORDER, 1);
    EXPECT_TRUE(same_record(saved(), expected));
}

// F1 goes through every window size and back to the first; each is laid out at its scale and
// orientation and shows the grid where the layout puts it
TEST_F(LumlifePlay, F1GoesThroughEveryWindowSizeAndBack)
{
    RECORD rec = fresh_record();
    rec.set_grid(scattered());
    rec.put32(REC_SHOW_STEPS, 0);
    LOOK k = look_of(rec);
    ASSERT_NO_FATAL_FAILURE(prepare(rec));
    ASSERT_TRUE(start(k));
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
    EXPECT_TRUE(same_record(saved(), rec)) << "the window's size is not a setting";
}
