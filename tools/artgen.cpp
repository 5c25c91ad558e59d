// artgen: the toy's art generator.
// Makes gfx/font8x8.png from the hand-drawn font in assets/font8x8.txt, draws the maker's logo
// and the four game icons from code, and lays everything out on a contact sheet for the README.
// It also draws the application's icon for desktop menus from the font's cell icons, at the
// sizes of the icon theme (ICONS_DIR/icon-48.png, icon-128.png, icon-256.png), and for the browser
// page's manifest (icon-192.png, icon-512.png).
// The output depends on nothing but the font file and this code: no clock, no system fonts, and
// noise from fixed seeds, so every run writes the same bytes.
// Usage: artgen ASSETS_DIR GFX_DIR CONTACT_SHEET.png ICONS_DIR
// Depends on: png (writing the images), fonttext (reading the font's text art).
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

#include "fonttext.h"
#include "png.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int GLYPH_SIDE = FONT_TEXT_SIDE;   // every glyph box is 8 x 8 pixels
constexpr int FONT_FIRST = FONT_TEXT_FIRST;  // the first character code of the font
constexpr int SHEET_COLUMNS = 16;        // glyph boxes per row of the font sheet
constexpr int SHEET_PITCH = GLYPH_SIDE + 1;  // a box and the marker line after it
constexpr int LOGO_W = 240;              // the maker's banner
constexpr int LOGO_H = 64;
constexpr int ICON_SIDE = 72;            // a game icon
constexpr int SUPERSAMPLE = 4;           // shapes are sampled 4 x 4 times per pixel

// The glyph finder's marker: every pixel outside a glyph box, and the sheet's top-left pixel
constexpr std::array<uint8_t, 4> MARKER = FONT_TEXT_MARKER;

// Where the cell icons, the grid icons and the interface sprites start in the font
constexpr int CODE_LIVE_ICONS = 128;
constexpr int CODE_GRID_ICONS = 144;
constexpr int CODE_BACKING = 160;
constexpr int CODE_CORNER = 163;
constexpr int CODE_EDGE_ACROSS = 164;    // along the top and bottom edges
constexpr int CODE_EDGE_DOWN = 165;      // along the left and right edges
constexpr int ICON_COUNT = 16;

// The toy's cell colours (its colour table), used to preview the cell icons
using RGB3 = std::array<float, 3>;
constexpr std::array<RGB3, 8> CELL_COLOURS = {{
    {1.0f, 0.2f, 0.2f}, {0.2f, 1.0f, 0.6f}, {0.2f, 0.6f, 1.0f}, {0.6f, 1.0f, 0.2f},
    {0.8f, 0.2f, 1.0f}, {1.0f, 0.7f, 0.2f}, {1.0f, 1.0f, 1.0f}, {0.5f, 0.5f, 0.5f},
}};
constexpr float GRID_BACKDROP = 0.3f;   // the grid's backdrop is the backdrop colour at 30 %
constexpr RGB3 SKY_BLUE = {0.3f, 0.75f, 1.0f};  // one of the about screen's banner colours

// Contact sheet layout, in sheet pixels
constexpr int SHEET_MARGIN = 16;
constexpr int SHEET_ZOOM = 4;           // the font is shown 4 times its size
constexpr int CELL_W = 40;              // one glyph and its code
constexpr int CELL_H = 48;
constexpr int SAMPLE_COLS = 8;          // a patch of grid showing one icon pair
constexpr int SAMPLE_ROWS = 5;
constexpr int SAMPLE_ZOOM = 2;          // cells are drawn twice their size, as in the toy's window
constexpr int SAMPLES_ACROSS = 4;
constexpr std::array<const char *, SAMPLE_ROWS> SAMPLE_CELLS = {"..#.....", "...#....", ".###.#..", ".....#..",
                                                                 ".....#.."};  // a glider and a blinker

// The application's icon: a glider on a patch of grid, in the look of the README's screenshot
// (mint dots glowing on a dark blue backdrop)
// The icon theme's sizes, then the browser page's for a phone's home screen (its manifest's)
constexpr std::array<int, 5> APP_ICON_SIDES = {48, 128, 256, 192, 512};
constexpr int APP_ICON_CELLS = 5;        // cells across and down
constexpr std::array<const char *, APP_ICON_CELLS> APP_ICON_GLIDER = {".....", "..#..", "...#.", ".###.", "....."};
constexpr int APP_ICON_LIVE = CODE_LIVE_ICONS + 1;  // the dot icons, as in the screenshot
constexpr int APP_ICON_GRID = CODE_GRID_ICONS + 1;
constexpr int APP_ICON_CELL_COLOUR = 1;  // mint
constexpr int APP_ICON_BACKDROP = 2;     // blue

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A colour with straight (not premultiplied) alpha, every component 0..1
struct COLOUR {
    float r, g, b, a;
};

// An image being drawn
struct CANVAS {
    int w = 0, h = 0;
    std::vector<COLOUR> px;  // w * h, rows from the top
};

using GLYPH = FONT_TEXT_GLYPH;
using FONT = FONT_TEXT;

// A point in canvas coordinates
struct POINT {
    double x, y;
};

//----------------------------------------------------------------------------------
// Private helpers: colours and canvases
//----------------------------------------------------------------------------------
// An opaque colour from bytes
static COLOUR rgb(int r, int g, int b)
{
    return {r / 255.0f, g / 255.0f, b / 255.0f, 1.0f};
}

// An opaque grey, 0 black to 1 white
static COLOUR grey(float level)
{
    return {level, level, level, 1.0f};
}

// The same colour with another opacity
static COLOUR with_alpha(COLOUR c, float a)
{
    return {c.r, c.g, c.b, a};
}

// Linear mix of two colours, t = 0 gives a
static COLOUR mix(COLOUR a, COLOUR b, double t)
{
    float u = static_cast<float>(std::clamp(t, 0.0, 1.0));
    return {a.r + (b.r - a.r) * u, a.g + (b.g - a.g) * u, a.b + (b.b - a.b) * u, a.a + (b.a - a.a) * u};
}

// A canvas of w x h pixels, all `fill`
static CANVAS canvas_new(int w, int h, COLOUR fill)
{
    CANVAS c;
    c.w = w;
    c.h = h;
    c.px.assign(static_cast<size_t>(w) * h, fill);
    return c;
}

// Make every pixel either opaque or empty. The toy uploads its atlas with one bit of alpha, so
// this is how the art will look there; edges stay crisp instead of growing dark fringes.
static void binary_alpha(CANVAS &c)
{
    for (COLOUR &p : c.px) {
        if (p.a >= 0.5f)
            p.a = 1.0f;
        else
            p = {0, 0, 0, 0};
    }
}

// Composite `src`, with its opacity scaled by `cover`, over one pixel
static void blend(CANVAS &c, int x, int y, COLOUR src, float cover)
{
    if (x < 0 || y < 0 || x >= c.w || y >= c.h)
        return;
    COLOUR &d = c.px[static_cast<size_t>(y) * c.w + x];
    float sa = std::clamp(src.a * cover, 0.0f, 1.0f);
    float da = d.a * (1.0f - sa);
    float a = sa + da;
    if (a <= 0.0f) {
        d = {0, 0, 0, 0};
        return;
    }
    d = {(src.r * sa + d.r * da) / a, (src.g * sa + d.g * da) / a, (src.b * sa + d.b * da) / a, a};
}

// Add light to one pixel (the additive blending of the toy's glow batch), opacity unchanged
static void add_light(CANVAS &c, int x, int y, COLOUR src)
{
    if (x < 0 || y < 0 || x >= c.w || y >= c.h)
        return;
    COLOUR &d = c.px[static_cast<size_t>(y) * c.w + x];
    d.r = std::min(1.0f, d.r + src.r);
    d.g = std::min(1.0f, d.g + src.g);
    d.b = std::min(1.0f, d.b + src.b);
}

// Round a 0..1 component to a byte
static uint8_t to_byte(float v)
{
    return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255.0f));
}

// The canvas as bytes, 4 (RGBA) or 3 (RGB) per pixel; a pixel whose alpha rounds to 0 becomes
// all zero, so that the atlas's trimming sees it as empty
static std::vector<uint8_t> canvas_bytes(const CANVAS &c, int channels)
{
    std::vector<uint8_t> out;
    out.reserve(c.px.size() * channels);
    for (const COLOUR &p : c.px) {
        uint8_t a = to_byte(p.a);
        bool empty = channels == 4 && a == 0;
        out.push_back(empty ? 0 : to_byte(p.r));
        out.push_back(empty ? 0 : to_byte(p.g));
        out.push_back(empty ? 0 : to_byte(p.b));
        if (channels == 4)
            out.push_back(a);
    }
    return out;
}

// Write a canvas as PNG; false with a message on failure
static bool canvas_write(const CANVAS &c, const std::string &path, int channels)
{
    std::vector<uint8_t> bytes = canvas_bytes(c, channels);
    if (png_write(path.c_str(), c.w, c.h, channels, bytes.data()) != 1) {
        std::fprintf(stderr, "artgen: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

//----------------------------------------------------------------------------------
// Private helpers: shapes
//----------------------------------------------------------------------------------
// Paint every pixel of the canvas that the shape covers: `inside(x, y)` says whether a point
// is in the shape, `paint(x, y)` gives the colour at a pixel's centre; edges are smoothed by
// sampling each pixel 4 x 4 times
template <typename Inside, typename Paint>
static void fill_shape(CANVAS &c, Inside inside, Paint paint)
{
    for (int y = 0; y < c.h; y++) {
        for (int x = 0; x < c.w; x++) {
            int hits = 0;
            for (int sy = 0; sy < SUPERSAMPLE; sy++)
                for (int sx = 0; sx < SUPERSAMPLE; sx++)
                    hits += inside(x + (sx + 0.5) / SUPERSAMPLE, y + (sy + 0.5) / SUPERSAMPLE) ? 1 : 0;
            if (hits)
                blend(c, x, y, paint(x + 0.5, y + 0.5), static_cast<float>(hits) / (SUPERSAMPLE * SUPERSAMPLE));
        }
    }
}

// The same with one colour
template <typename Inside>
static void fill_flat(CANVAS &c, Inside inside, COLOUR colour)
{
    fill_shape(c, inside, [colour](double, double) { return colour; });
}

// Inside a circle of radius r around (cx, cy)
static bool in_circle(double x, double y, double cx, double cy, double r)
{
    return (x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r;
}

// Inside an ellipse with radii rx, ry, turned by `angle` radians
static bool in_ellipse(double x, double y, double cx, double cy, double rx, double ry, double angle)
{
    double dx = x - cx, dy = y - cy;
    double u = dx * std::cos(angle) + dy * std::sin(angle);
    double v = -dx * std::sin(angle) + dy * std::cos(angle);
    return (u * u) / (rx * rx) + (v * v) / (ry * ry) < 1.0;
}

// Inside a rectangle from (x0, y0) to (x1, y1) with corners rounded to radius r
static bool in_round_rect(double x, double y, double x0, double y0, double x1, double y1, double r)
{
    if (x < x0 || x >= x1 || y < y0 || y >= y1)
        return false;
    double cx = std::clamp(x, x0 + r, x1 - r);
    double cy = std::clamp(y, y0 + r, y1 - r);
    return in_circle(x, y, cx, cy, r + 1e-9);
}

// Inside a polygon, by the even-odd rule
static bool in_polygon(const std::vector<POINT> &p, double x, double y)
{
    bool in = false;
    for (size_t i = 0, j = p.size() - 1; i < p.size(); j = i++) {
        if ((p[i].y > y) != (p[j].y > y) && x < (p[j].x - p[i].x) * (y - p[i].y) / (p[j].y - p[i].y) + p[i].x)
            in = !in;
    }
    return in;
}

// Distance from a point to the segment a-b
static double segment_distance(double x, double y, POINT a, POINT b)
{
    double dx = b.x - a.x, dy = b.y - a.y;
    double len2 = dx * dx + dy * dy;
    double t = len2 > 0.0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / len2, 0.0, 1.0) : 0.0;
    double px = a.x + t * dx - x, py = a.y + t * dy - y;
    return std::sqrt(px * px + py * py);
}

// A line from a to b, `width` pixels wide with round ends
static void draw_line(CANVAS &c, POINT a, POINT b, double width, COLOUR colour)
{
    fill_flat(c, [&](double x, double y) { return segment_distance(x, y, a, b) < width * 0.5; }, colour);
}

//----------------------------------------------------------------------------------
// Private helpers: noise
//----------------------------------------------------------------------------------
// A well-mixed 32-bit hash of a lattice point and a seed
static uint32_t hash_point(int x, int y, uint32_t seed)
{
    uint32_t h = seed * 0x9E3779B1u ^ static_cast<uint32_t>(x) * 0x85EBCA77u ^ static_cast<uint32_t>(y) * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    h ^= h >> 15;
    return h;
}

// The hash as a number in 0..1
static double hash_unit(int x, int y, uint32_t seed)
{
    return (hash_point(x, y, seed) >> 8) / 16777216.0;
}

// Smooth value noise in 0..1, one lattice cell per unit
static double value_noise(double x, double y, uint32_t seed)
{
    int ix = static_cast<int>(std::floor(x)), iy = static_cast<int>(std::floor(y));
    double fx = x - ix, fy = y - iy;
    double sx = fx * fx * (3.0 - 2.0 * fx), sy = fy * fy * (3.0 - 2.0 * fy);
    double top = hash_unit(ix, iy, seed) + (hash_unit(ix + 1, iy, seed) - hash_unit(ix, iy, seed)) * sx;
    double bottom = hash_unit(ix, iy + 1, seed) + (hash_unit(ix + 1, iy + 1, seed) - hash_unit(ix, iy + 1, seed)) * sx;
    return top + (bottom - top) * sy;
}

// Value noise over several octaves, each twice as fine and half as strong; 0..1
static double fractal_noise(double x, double y, uint32_t seed, int octaves)
{
    double sum = 0.0, weight = 1.0, total = 0.0;
    for (int i = 0; i < octaves; i++) {
        sum += value_noise(x, y, seed + i) * weight;
        total += weight;
        x *= 2.0;
        y *= 2.0;
        weight *= 0.5;
    }
    return sum / total;
}

//----------------------------------------------------------------------------------
// Private helpers: the font
//----------------------------------------------------------------------------------
// The glyph of a character code; codes outside the font give the first glyph (a blank)
static const GLYPH &font_glyph(const FONT &font, int code)
{
    int index = code - FONT_FIRST;
    if (index < 0 || index >= static_cast<int>(font.glyphs.size()))
        index = 0;
    return font.glyphs[index];
}

// The font sheet for the glyph finder: marker colour everywhere but inside the 8 x 8 boxes,
// 16 boxes to a row in reading order, a marker line above and left of every box
static CANVAS font_sheet(const FONT &font)
{
    int count = static_cast<int>(font.glyphs.size());
    int rows = (count + SHEET_COLUMNS - 1) / SHEET_COLUMNS;
    COLOUR marker = {MARKER[0] / 255.0f, MARKER[1] / 255.0f, MARKER[2] / 255.0f, MARKER[3] / 255.0f};
    CANVAS c = canvas_new(1 + SHEET_COLUMNS * SHEET_PITCH, 1 + rows * SHEET_PITCH, marker);
    for (int i = 0; i < count; i++) {
        int x0 = 1 + (i % SHEET_COLUMNS) * SHEET_PITCH, y0 = 1 + (i / SHEET_COLUMNS) * SHEET_PITCH;
        for (int p = 0; p < GLYPH_SIDE * GLYPH_SIDE; p++) {
            const std::array<uint8_t, 4> &v = font.glyphs[i].px[p];
            c.px[static_cast<size_t>(y0 + p / GLYPH_SIDE) * c.w + x0 + p % GLYPH_SIDE] = {
                v[0] / 255.0f, v[1] / 255.0f, v[2] / 255.0f, v[3] / 255.0f};
        }
    }
    return c;
}

// Draw one glyph with its top-left corner at (x, y), each pixel as a sx x sy block, tinted by
// `tint` the way the toy tints sprites (colour times tint, alpha times tint alpha)
static void draw_glyph(CANVAS &c, const FONT &font, int code, int x, int y, int sx, int sy, COLOUR tint)
{
    const GLYPH &glyph = font_glyph(font, code);
    for (int p = 0; p < GLYPH_SIDE * GLYPH_SIDE; p++) {
        const std::array<uint8_t, 4> &v = glyph.px[p];
        if (v[3] == 0)
            continue;
        COLOUR colour = {v[0] / 255.0f * tint.r, v[1] / 255.0f * tint.g, v[2] / 255.0f * tint.b, v[3] / 255.0f * tint.a};
        for (int by = 0; by < sy; by++)
            for (int bx = 0; bx < sx; bx++)
                blend(c, x + (p % GLYPH_SIDE) * sx + bx, y + (p / GLYPH_SIDE) * sy + by, colour, 1.0f);
    }
}

// Draw a line of text, 8 pixels (times the scale) per character
static void draw_text(CANVAS &c, const FONT &font, const std::string &text, int x, int y, int scale, COLOUR tint)
{
    for (size_t i = 0; i < text.size(); i++)
        draw_glyph(c, font, static_cast<unsigned char>(text[i]), x + static_cast<int>(i) * GLYPH_SIDE * scale, y,
                   scale, scale, tint);
}

// Stretch one glyph over a w x h rectangle whose top-left corner is (x, y), nearest pixel,
// as the toy stretches a button's backing
static void draw_glyph_stretched(CANVAS &c, const FONT &font, int code, int x, int y, int w, int h, COLOUR tint)
{
    const GLYPH &glyph = font_glyph(font, code);
    for (int py = 0; py < h; py++) {
        for (int px = 0; px < w; px++) {
            const std::array<uint8_t, 4> &v = glyph.px[(py * GLYPH_SIDE / h) * GLYPH_SIDE + px * GLYPH_SIDE / w];
            if (v[3])
                blend(c, x + px, y + py,
                      {v[0] / 255.0f * tint.r, v[1] / 255.0f * tint.g, v[2] / 255.0f * tint.b, v[3] / 255.0f * tint.a},
                      1.0f);
        }
    }
}

//----------------------------------------------------------------------------------
// Private helpers: the logo and the game icons
//----------------------------------------------------------------------------------
// The maker's banner: a cut gem beside the name, light greys on transparency, because the toy
// tints it with a sky colour and adds it once more for a glow. Shading is done with greys, not
// with opacity, which the toy keeps to one bit.
static CANVAS draw_logo(const FONT &font)
{
    CANVAS c = canvas_new(LOGO_W, LOGO_H, {0, 0, 0, 0});
    COLOUR white = rgb(255, 255, 255);
    // The gem: a table and crown above the girdle, the pavilion below, each facet its own shade
    constexpr double GX = 34.0, TOP = 8.0, GIRDLE = 24.0, TIP = 58.0;
    const POINT t0 = {GX - 10, TOP}, t1 = {GX + 10, TOP};
    const POINT g0 = {GX - 26, GIRDLE}, g1 = {GX - 9, GIRDLE}, g2 = {GX + 9, GIRDLE}, g3 = {GX + 26, GIRDLE};
    const POINT tip = {GX, TIP};
    const std::vector<std::vector<POINT>> facets = {
        {t0, t1, g2, g1}, {t0, g1, g0}, {t1, g3, g2}, {g0, g1, tip}, {g1, g2, tip}, {g2, g3, tip},
    };
    constexpr std::array<float, 6> shade = {1.0f, 0.7f, 0.45f, 0.55f, 0.85f, 0.35f};
    for (size_t i = 0; i < facets.size(); i++)
        fill_flat(c, [&](double x, double y) { return in_polygon(facets[i], x, y); }, grey(shade[i]));
    // Facet edges as thin bright lines
    const std::array<std::array<POINT, 2>, 10> edges = {{{t0, t1}, {g0, g3}, {t0, g1}, {t1, g2}, {g0, tip}, {g1, tip},
                                                          {g2, tip}, {g3, tip}, {t0, g0}, {t1, g3}}};
    for (const auto &e : edges)
        draw_line(c, e[0], e[1], 1.0, grey(0.9f));
    // Two sparkles beside the gem
    for (const POINT s : {POINT{62, 12}, POINT{8, 46}}) {
        draw_line(c, {s.x - 5, s.y}, {s.x + 5, s.y}, 1.0, white);
        draw_line(c, {s.x, s.y - 5}, {s.x, s.y + 5}, 1.0, white);
    }
    // The name, in the toy's own font at three times its size, set tighter than the font's
    // 8-pixel advance: the letters' bodies are 6 columns wide with their gap
    const std::string name = "kobaltine";
    constexpr int NAME_X = 72, NAME_Y = 14, NAME_SCALE = 3, NAME_PITCH = 6 * NAME_SCALE;
    for (size_t i = 0; i < name.size(); i++)
        draw_glyph(c, font, name[i], NAME_X + static_cast<int>(i) * NAME_PITCH, NAME_Y, NAME_SCALE, NAME_SCALE, white);
    // A rule under the name that thins out toward both ends, by ordered dithering: a pixel is
    // set where the fade exceeds its place in a repeating threshold pattern
    constexpr std::array<double, 4> DITHER = {0.125, 0.625, 0.375, 0.875};
    for (int x = NAME_X; x < LOGO_W - 4; x++) {
        double t = static_cast<double>(x - NAME_X) / (LOGO_W - 4 - NAME_X);
        double fade = std::sin(t * std::numbers::pi);
        if (fade > DITHER[x % 4])
            blend(c, x, 44, white, 1.0f);
        if (fade * 0.5 > DITHER[(x + 2) % 4])
            blend(c, x, 45, white, 1.0f);
    }
    binary_alpha(c);
    return c;
}

// Clip a square icon to a rounded square with corners of `radius`, and give it a rim `rim`
// pixels wide, light at the top and dark at the bottom
static void round_icon(CANVAS &c, double radius, double rim_width)
{
    const double side = c.w;
    CANVAS rim = canvas_new(c.w, c.h, {0, 0, 0, 0});
    fill_shape(
        rim,
        [&](double x, double y) {
            return in_round_rect(x, y, 0, 0, side, side, radius) &&
                   !in_round_rect(x, y, rim_width, rim_width, side - rim_width, side - rim_width, radius - rim_width);
        },
        [&](double, double y) { return mix(rgb(255, 255, 255), rgb(0, 0, 0), y / side); });
    for (int y = 0; y < c.h; y++) {
        for (int x = 0; x < c.w; x++) {
            COLOUR r = rim.px[static_cast<size_t>(y) * c.w + x];
            blend(c, x, y, r, 0.45f);
        }
    }
    CANVAS mask = canvas_new(c.w, c.h, {0, 0, 0, 0});
    fill_flat(mask, [&](double x, double y) { return in_round_rect(x, y, 0, 0, side, side, radius); }, rgb(255, 255, 255));
    for (size_t i = 0; i < c.px.size(); i++)
        c.px[i].a *= mask.px[i].a;
}

// Round off a game icon and make its corners' pixels opaque or empty
static void finish_icon(CANVAS &c)
{
    round_icon(c, 14.0, 1.5);
    binary_alpha(c);
}

// A few stars: single pixels of varying brightness at hashed places
static void draw_stars(CANVAS &c, uint32_t seed, int count, double max_y)
{
    for (int i = 0; i < count; i++) {
        int x = static_cast<int>(hash_unit(i, 0, seed) * c.w);
        int y = static_cast<int>(hash_unit(i, 1, seed) * max_y);
        float bright = static_cast<float>(0.35 + 0.65 * hash_unit(i, 2, seed));
        blend(c, x, y, rgb(255, 255, 235), bright);
    }
}

// Hollow Tide: a wave curling over its own hollow under a night sky
static CANVAS draw_hollowtide()
{
    CANVAS c = canvas_new(ICON_SIDE, ICON_SIDE, rgb(0, 0, 0));
    fill_shape(c, [](double, double) { return true; },
               [](double, double y) { return mix(rgb(8, 14, 48), rgb(40, 92, 140), y / 48.0); });
    draw_stars(c, 11, 14, 30.0);
    fill_flat(c, [](double x, double y) { return in_circle(x, y, 56, 14, 6.5) && !in_circle(x, y, 59, 12, 5.5); },
              rgb(250, 240, 200));
    // The sea, darkening with depth
    fill_shape(c, [](double, double y) { return y > 54.0; },
               [](double, double y) { return mix(rgb(20, 90, 130), rgb(6, 30, 60), (y - 54.0) / 18.0); });
    // The wave: a big disc with an offset hollow cut out, open toward the lower right
    auto body = [](double x, double y) {
        return in_circle(x, y, 32, 40, 26) && !in_circle(x, y, 39, 45, 15) && y < 58.0;
    };
    fill_shape(c, body, [](double x, double y) {
        double lit = std::clamp((64.0 - y) / 50.0 + (x - 20.0) / 120.0, 0.0, 1.0);
        return mix(rgb(8, 60, 100), rgb(70, 200, 210), lit);
    });
    // The dark inside of the tube, and the thin curtain of the lip falling in front of its mouth
    fill_shape(c, [](double x, double y) { return in_circle(x, y, 39, 45, 15) && y < 58.0 && x < 46.0; },
               [](double x, double) { return mix(rgb(4, 22, 46), rgb(12, 56, 90), (x - 24.0) / 22.0); });
    fill_shape(c,
               [](double x, double y) {
                   return in_circle(x, y, 39, 45, 15) && in_circle(x, y, 32, 40, 26) && y < 58.0 && x >= 46.0;
               },
               [](double, double y) { return with_alpha(mix(rgb(60, 190, 205), rgb(20, 110, 150), (y - 30.0) / 28.0), 0.75f); });
    // Foam along the crest and down the falling lip
    fill_flat(c,
              [](double x, double y) {
                  return in_circle(x, y, 32, 40, 26) && !in_circle(x, y, 31.5, 41.5, 23.5) && (y < 34.0 || x > 44.0) &&
                         y < 56.0;
              },
              rgb(235, 250, 255));
    // Spray where the lip meets the sea
    for (int i = 0; i < 10; i++) {
        double x = 44 + 20 * hash_unit(i, 0, 29), y = 52 + 6 * hash_unit(i, 1, 29);
        fill_flat(c, [&](double px, double py) { return in_circle(px, py, x, y, 1.2); }, rgb(230, 248, 255));
    }
    fill_flat(c, [](double, double y) { return y > 56.0 && y < 57.2; }, with_alpha(rgb(200, 240, 255), 0.6f));
    finish_icon(c);
    return c;
}

// Orbitcrane!: a little crane on a station riding a ring around a planet
static CANVAS draw_orbitcrane()
{
    CANVAS c = canvas_new(ICON_SIDE, ICON_SIDE, rgb(0, 0, 0));
    fill_shape(c, [](double, double) { return true; }, [](double x, double y) {
        double d = std::sqrt((x - 24) * (x - 24) + (y - 50) * (y - 50)) / 70.0;
        return mix(rgb(40, 24, 72), rgb(6, 6, 20), d);
    });
    draw_stars(c, 7, 26, 72.0);
    constexpr double PX = 26, PY = 48, PR = 17, TILT = -0.35;
    auto ring = [&](double x, double y) {
        return in_ellipse(x, y, PX, PY, 36, 11, TILT) && !in_ellipse(x, y, PX, PY, 33.5, 9.2, TILT);
    };
    COLOUR ring_colour = rgb(150, 220, 255);
    // The far half of the ring, behind the planet
    fill_flat(c, [&](double x, double y) { return ring(x, y) && (y - PY) < (x - PX) * std::tan(TILT); },
              with_alpha(ring_colour, 0.55f));
    // The planet, lit from the upper right, with bands
    fill_shape(c, [&](double x, double y) { return in_circle(x, y, PX, PY, PR); }, [&](double x, double y) {
        double lit = std::clamp(1.0 - std::sqrt((x - PX - 7) * (x - PX - 7) + (y - PY + 8) * (y - PY + 8)) / 30.0, 0.0, 1.0);
        double band = 0.5 + 0.5 * std::sin((y - PY + 0.4 * (x - PX)) * 0.55);
        COLOUR base = mix(rgb(150, 70, 30), rgb(230, 150, 70), band);
        return mix(rgb(30, 14, 20), base, 0.25 + 0.75 * lit);
    });
    // The near half of the ring, in front of the planet
    fill_flat(c, [&](double x, double y) { return ring(x, y) && (y - PY) >= (x - PX) * std::tan(TILT); }, ring_colour);
    // The station where the ring passes the upper right, and the crane on it
    constexpr double SX = 54, SY = 34;
    COLOUR steel = rgb(200, 205, 215), yellow = rgb(255, 204, 40);
    fill_flat(c, [&](double x, double y) { return in_round_rect(x, y, SX - 8, SY - 3, SX + 8, SY + 3, 1.5); }, steel);
    fill_flat(c, [&](double x, double y) { return x > SX - 16 && x < SX - 8 && y > SY - 2 && y < SY + 2; },
              rgb(70, 110, 200));
    fill_flat(c, [&](double x, double y) { return x > SX + 8 && x < SX + 16 && y > SY - 2 && y < SY + 2; },
              rgb(70, 110, 200));
    // Mast with lattice, jib to the left, counter-jib with a weight, cable and hook
    constexpr double MX = SX + 3, TOPY = 8;
    draw_line(c, {MX - 2, SY - 3}, {MX - 2, TOPY}, 1.2, yellow);
    draw_line(c, {MX + 2, SY - 3}, {MX + 2, TOPY}, 1.2, yellow);
    for (double y = SY - 3; y > TOPY + 2; y -= 5)
        draw_line(c, {MX - 2, y}, {MX + 2, y - 5}, 0.9, yellow);
    draw_line(c, {MX - 24, TOPY + 2}, {MX + 8, TOPY + 2}, 1.6, yellow);
    draw_line(c, {MX, TOPY - 4}, {MX - 22, TOPY + 2}, 0.8, yellow);
    draw_line(c, {MX, TOPY - 4}, {MX + 8, TOPY + 2}, 0.8, yellow);
    draw_line(c, {MX - 2, TOPY - 4}, {MX + 2, TOPY - 4}, 1.2, yellow);
    fill_flat(c, [&](double x, double y) { return x > MX + 5 && x < MX + 10 && y > TOPY + 2 && y < TOPY + 7; },
              rgb(120, 120, 130));
    constexpr double HOOKX = MX - 21;
    draw_line(c, {HOOKX, TOPY + 2}, {HOOKX, TOPY + 13}, 0.7, rgb(220, 220, 220));
    fill_flat(c, [&](double x, double y) { return x > HOOKX - 3.5 && x < HOOKX + 3.5 && y > TOPY + 13 && y < TOPY + 19; },
              rgb(90, 200, 255));
    finish_icon(c);
    return c;
}

// Noise Orchard: three trees whose crowns are grown from noise, with fruit, on a meadow
static CANVAS draw_noiseorchard()
{
    CANVAS c = canvas_new(ICON_SIDE, ICON_SIDE, rgb(0, 0, 0));
    fill_shape(c, [](double, double) { return true; },
               [](double, double y) { return mix(rgb(120, 190, 240), rgb(250, 236, 180), y / 52.0); });
    // Meadow: rolling, with noisy grass
    auto ground = [](double x) { return 52.0 + 3.0 * std::sin(x * 0.09 + 1.0); };
    fill_shape(c, [&](double x, double y) { return y > ground(x); }, [](double x, double y) {
        double n = fractal_noise(x * 0.35, y * 0.35, 101, 3);
        return mix(rgb(40, 120, 40), rgb(110, 180, 60), n);
    });
    struct TREE {
        double x, y, r;
        uint32_t seed;
    };
    const TREE trees[] = {{16, 34, 12, 201}, {56, 32, 12, 301}, {36, 26, 15, 401}};
    for (const TREE &t : trees) {
        double base = ground(t.x) + 2;
        fill_flat(c, [&](double x, double y) { return x > t.x - 2 && x < t.x + 2 && y > t.y && y < base; },
                  rgb(100, 62, 30));
        // The crown: a disc whose edge is pushed in and out by noise
        auto crown = [&](double x, double y) {
            double d = std::sqrt((x - t.x) * (x - t.x) + (y - t.y) * (y - t.y)) / t.r;
            return d < 0.75 + 0.45 * fractal_noise(x * 0.3, y * 0.3, t.seed, 3);
        };
        fill_shape(c, crown, [&](double x, double y) {
            double n = fractal_noise(x * 0.5, y * 0.5, t.seed + 7, 3);
            double lit = std::clamp((t.y - y) / (2 * t.r) + 0.5, 0.0, 1.0);
            return mix(rgb(20, 80, 30), rgb(120, 200, 70), 0.6 * n + 0.4 * lit);
        });
        for (int i = 0; i < 6; i++) {
            double fx = t.x + (hash_unit(i, 0, t.seed) - 0.5) * 1.4 * t.r;
            double fy = t.y + (hash_unit(i, 1, t.seed) - 0.4) * 1.2 * t.r;
            if (crown(fx, fy))
                fill_flat(c, [&](double x, double y) { return in_circle(x, y, fx, fy, 1.7); }, rgb(230, 40, 40));
        }
    }
    finish_icon(c);
    return c;
}

// Umberdeep: a timbered shaft dropping into brown strata
static CANVAS draw_umberdeep()
{
    CANVAS c = canvas_new(ICON_SIDE, ICON_SIDE, rgb(0, 0, 0));
    // Strata: bands of umber bent by noise
    fill_shape(c, [](double, double) { return true; }, [](double x, double y) {
        double bent = y + 6.0 * fractal_noise(x * 0.06, y * 0.02, 501, 2);
        double band = 0.5 + 0.5 * std::sin(bent * 0.45);
        double grain = fractal_noise(x * 0.4, y * 0.4, 503, 3);
        COLOUR earth = mix(rgb(70, 44, 24), rgb(140, 96, 56), 0.55 * band + 0.45 * grain);
        return mix(earth, rgb(30, 18, 12), y / 110.0);
    });
    fill_shape(c, [](double, double y) { return y < 8.0; },
               [](double x, double y) { return mix(rgb(70, 130, 50), rgb(40, 90, 30), fractal_noise(x * 0.5, y, 601, 2)); });
    // The shaft: frames of shrinking size toward a vanishing point, darker with depth
    constexpr double VX = 36, VY = 46;
    constexpr int FRAMES = 9;
    for (int i = 0; i < FRAMES; i++) {
        double t = static_cast<double>(i) / FRAMES;
        double half = 22.0 * std::pow(0.72, i);
        double cx = 36 + (VX - 36) * (1 - std::pow(0.72, i)), cy = 30 + (VY - 30) * (1 - std::pow(0.72, i));
        COLOUR wall = mix(rgb(60, 36, 20), rgb(4, 2, 2), t * 1.3);
        fill_flat(c, [&](double x, double y) { return std::fabs(x - cx) < half && std::fabs(y - cy) < half; }, wall);
        COLOUR timber = mix(rgb(190, 130, 70), rgb(30, 18, 10), t * 1.2);
        double w = std::max(0.6, 2.6 * std::pow(0.72, i));
        fill_flat(c,
                  [&](double x, double y) {
                      bool in = std::fabs(x - cx) < half && std::fabs(y - cy) < half;
                      bool inner = std::fabs(x - cx) < half - w && std::fabs(y - cy) < half - w;
                      return in && !inner;
                  },
                  timber);
    }
    // A lamp glowing at the bottom
    fill_shape(c, [](double x, double y) { return in_circle(x, y, VX, VY, 6); }, [](double x, double y) {
        double d = std::sqrt((x - VX) * (x - VX) + (y - VY) * (y - VY)) / 6.0;
        return with_alpha(rgb(255, 190, 90), static_cast<float>(0.8 * (1.0 - d)));
    });
    fill_flat(c, [](double x, double y) { return in_circle(x, y, VX, VY, 1.3); }, rgb(255, 240, 200));
    // A ladder down the near wall
    COLOUR rung = rgb(170, 120, 70);
    draw_line(c, {24, 52}, {32, 40}, 1.2, rung);
    draw_line(c, {30, 52}, {35, 40}, 1.2, rung);
    for (int i = 1; i < 5; i++) {
        double t = i / 5.0;
        draw_line(c, {24 + 8 * t, 52 - 12 * t}, {30 + 5 * t, 52 - 12 * t}, 0.9, rung);
    }
    finish_icon(c);
    return c;
}

//----------------------------------------------------------------------------------
// Private helpers: the application's icon
//----------------------------------------------------------------------------------
// The application's icon, `side` pixels square: a glider on a patch of the grid, drawn with the
// toy's own cell icons at a whole multiple of the font's size, as the toy draws cells with its
// glow on (the icon's light added over the backdrop), on a rounded square with the game icons'
// rim. Its edges keep their soft alpha: desktops blend icons, unlike the toy's atlas.
static CANVAS draw_app_icon(const FONT &font, int side)
{
    const RGB3 &cell = CELL_COLOURS[APP_ICON_CELL_COLOUR], &back = CELL_COLOURS[APP_ICON_BACKDROP];
    const COLOUR backdrop = {back[0] * GRID_BACKDROP, back[1] * GRID_BACKDROP, back[2] * GRID_BACKDROP, 1.0f};
    CANVAS c = canvas_new(side, side, backdrop);
    // The largest zoom that leaves at least one glyph pixel's width of border around the cells
    const int zoom = side / (APP_ICON_CELLS * GLYPH_SIDE + 2);
    const int pitch = GLYPH_SIDE * zoom, origin = (side - APP_ICON_CELLS * pitch) / 2;
    for (int r = 0; r < APP_ICON_CELLS; r++) {
        for (int col = 0; col < APP_ICON_CELLS; col++) {
            const GLYPH &glyph = font_glyph(font, APP_ICON_GLIDER[r][col] == '#' ? APP_ICON_LIVE : APP_ICON_GRID);
            for (int p = 0; p < GLYPH_SIDE * GLYPH_SIDE; p++) {
                const std::array<uint8_t, 4> &v = glyph.px[p];
                if (v[3] == 0)
                    continue;
                COLOUR light = {v[0] / 255.0f * cell[0], v[1] / 255.0f * cell[1], v[2] / 255.0f * cell[2], 1.0f};
                for (int by = 0; by < zoom; by++)
                    for (int bx = 0; bx < zoom; bx++)
                        add_light(c, origin + col * pitch + (p % GLYPH_SIDE) * zoom + bx,
                                  origin + r * pitch + (p / GLYPH_SIDE) * zoom + by, light);
            }
        }
    }
    // The game icons' corners and rim, scaled from their 72 pixels
    round_icon(c, 14.0 * side / ICON_SIDE, std::max(1.0, 1.5 * side / ICON_SIDE));
    return c;
}

//----------------------------------------------------------------------------------
// Private helpers: the contact sheet
//----------------------------------------------------------------------------------
// Paste an image scaled up by a whole factor, composited over the canvas
static void paste(CANVAS &c, const CANVAS &image, int x, int y, int zoom, COLOUR tint)
{
    for (int py = 0; py < image.h * zoom; py++) {
        for (int px = 0; px < image.w * zoom; px++) {
            COLOUR v = image.px[static_cast<size_t>(py / zoom) * image.w + px / zoom];
            blend(c, x + px, y + py, {v.r * tint.r, v.g * tint.g, v.b * tint.b, v.a * tint.a}, 1.0f);
        }
    }
}

// Paste an image scaled up, adding its light (times `tint`) instead of compositing
static void paste_additive(CANVAS &c, const CANVAS &image, int x, int y, int zoom, COLOUR tint)
{
    for (int py = 0; py < image.h * zoom; py++) {
        for (int px = 0; px < image.w * zoom; px++) {
            COLOUR v = image.px[static_cast<size_t>(py / zoom) * image.w + px / zoom];
            add_light(c, x + px, y + py, {v.r * tint.r, v.g * tint.g, v.b * tint.b, 1.0f});
        }
    }
}

// Fill a rectangle with one colour
static void fill_rect(CANVAS &c, int x, int y, int w, int h, COLOUR colour)
{
    for (int py = y; py < y + h; py++)
        for (int px = x; px < x + w; px++)
            blend(c, px, py, colour, 1.0f);
}

// A button as the toy draws it at scale `zoom`: the backing stretched over it, the rim pieces
// along its edges and the corner piece at each corner, all tinted by one grey
static void draw_button(CANVAS &c, const FONT &font, int x, int y, int w, int h, int zoom, float grey,
                        const std::string &label, float label_grey)
{
    COLOUR tint = {grey, grey, grey, 1.0f};
    int piece = GLYPH_SIDE * zoom;
    draw_glyph_stretched(c, font, CODE_BACKING, x, y, w, h, tint);
    // Each piece is centred one layout unit inside the edge
    int in = zoom;
    draw_glyph_stretched(c, font, CODE_EDGE_ACROSS, x, y + in - piece / 2, w, piece, tint);
    draw_glyph_stretched(c, font, CODE_EDGE_ACROSS, x, y + h - in - piece / 2, w, piece, tint);
    draw_glyph_stretched(c, font, CODE_EDGE_DOWN, x + in - piece / 2, y, piece, h, tint);
    draw_glyph_stretched(c, font, CODE_EDGE_DOWN, x + w - in - piece / 2, y, piece, h, tint);
    for (int cy : {y + in, y + h - in})
        for (int cx : {x + in, x + w - in})
            draw_glyph(c, font, CODE_CORNER, cx - piece / 2, cy - piece / 2, zoom, zoom, tint);
    int text_w = static_cast<int>(label.size()) * piece;
    draw_text(c, font, label, x + (w - text_w) / 2, y + (h - piece) / 2, zoom, {label_grey, label_grey, label_grey, 1});
}

// A patch of grid with a glider and a blinker, in one colour and icon pair, drawn as the toy
// draws its grid (live and dead icons tinted by the cell colour over a dimmed backdrop)
static void draw_cell_sample(CANVAS &c, const FONT &font, int x, int y, int icon, const RGB3 &colour)
{
    fill_rect(c, x, y, SAMPLE_COLS * GLYPH_SIDE * SAMPLE_ZOOM, SAMPLE_ROWS * GLYPH_SIDE * SAMPLE_ZOOM,
              {colour[0] * GRID_BACKDROP, colour[1] * GRID_BACKDROP, colour[2] * GRID_BACKDROP, 1.0f});
    COLOUR tint = {colour[0], colour[1], colour[2], 1.0f};
    for (int r = 0; r < SAMPLE_ROWS; r++)
        for (int col = 0; col < SAMPLE_COLS; col++)
            draw_glyph(c, font, (SAMPLE_CELLS[r][col] == '#' ? CODE_LIVE_ICONS : CODE_GRID_ICONS) + icon,
                       x + col * GLYPH_SIDE * SAMPLE_ZOOM, y + r * GLYPH_SIDE * SAMPLE_ZOOM, SAMPLE_ZOOM, SAMPLE_ZOOM,
                       tint);
}

// The contact sheet: the font four times its size with each code under its glyph, the cell
// icons at work in the toy's colours, two buttons, the banner as the about screen shows it, and
// the game icons twice their size
static CANVAS draw_contact_sheet(const FONT &font, const CANVAS &logo, const std::vector<CANVAS> &icons)
{
    const COLOUR paper = rgb(26, 28, 36), box = rgb(50, 54, 68), label = rgb(150, 156, 172), title = rgb(235, 235, 240);
    int count = static_cast<int>(font.glyphs.size());
    int rows = (count + SHEET_COLUMNS - 1) / SHEET_COLUMNS;
    int font_top = SHEET_MARGIN + 32;
    int samples_top = font_top + rows * CELL_H + 40;
    int sample_w = SAMPLE_COLS * GLYPH_SIDE * SAMPLE_ZOOM, sample_h = SAMPLE_ROWS * GLYPH_SIDE * SAMPLE_ZOOM;
    int sample_pitch = sample_w + 16;
    int buttons_top = samples_top + ICON_COUNT / SAMPLES_ACROSS * (sample_h + 16) + 32;
    int icons_top = buttons_top + 48 + 56;
    int width = 2 * SHEET_MARGIN + SHEET_COLUMNS * CELL_W;
    int height = icons_top + 2 * LOGO_H + 16 + 2 * ICON_SIDE + SHEET_MARGIN;
    CANVAS c = canvas_new(width, height, paper);

    draw_text(c, font, "gfx/font8x8.png", SHEET_MARGIN, SHEET_MARGIN, 2, title);
    for (int i = 0; i < count; i++) {
        int x = SHEET_MARGIN + (i % SHEET_COLUMNS) * CELL_W, y = font_top + (i / SHEET_COLUMNS) * CELL_H;
        int glyph_side = GLYPH_SIDE * SHEET_ZOOM;
        fill_rect(c, x, y, glyph_side, glyph_side, box);
        draw_glyph(c, font, FONT_FIRST + i, x, y, SHEET_ZOOM, SHEET_ZOOM, rgb(255, 255, 255));
        std::string code = std::to_string(FONT_FIRST + i);
        draw_text(c, font, code, x + (glyph_side - static_cast<int>(code.size()) * GLYPH_SIDE) / 2, y + glyph_side + 3, 1,
                  label);
    }

    draw_text(c, font, "cells 128-143, grid 144-159", SHEET_MARGIN, samples_top - 24, 2, title);
    for (int i = 0; i < ICON_COUNT; i++)
        draw_cell_sample(c, font, SHEET_MARGIN + (i % SAMPLES_ACROSS) * sample_pitch,
                         samples_top + (i / SAMPLES_ACROSS) * (sample_h + 16), i, CELL_COLOURS[i % 8]);

    draw_text(c, font, "buttons", SHEET_MARGIN, buttons_top - 24, 2, title);
    fill_rect(c, SHEET_MARGIN - 8, buttons_top - 8, 464, 64, rgb(0, 0, 0));
    draw_button(c, font, SHEET_MARGIN, buttons_top, 160, 48, 2, 0.25f, "RUN", 0.75f);
    draw_button(c, font, SHEET_MARGIN + 176, buttons_top, 160, 48, 2, 0.75f, "STEP", 1.0f);
    draw_button(c, font, SHEET_MARGIN + 352, buttons_top, 96, 48, 2, 0.25f, "60Hz", 1.0f);

    draw_text(c, font, "kobaltine.png and the game icons", SHEET_MARGIN, icons_top - 24, 2, title);
    COLOUR sky = {SKY_BLUE[0], SKY_BLUE[1], SKY_BLUE[2], 1.0f};
    fill_rect(c, SHEET_MARGIN, icons_top, 2 * LOGO_W, 2 * LOGO_H, {sky.r * 0.5f, sky.g * 0.5f, sky.b * 0.5f, 1.0f});
    paste(c, logo, SHEET_MARGIN, icons_top, 2, sky);
    paste_additive(c, logo, SHEET_MARGIN, icons_top, 2, {sky.r * 0.25f, sky.g * 0.25f, sky.b * 0.25f, 1.0f});
    int icon_y = icons_top + 2 * LOGO_H + 16;
    for (size_t i = 0; i < icons.size(); i++)
        paste(c, icons[i], SHEET_MARGIN + static_cast<int>(i) * (2 * ICON_SIDE + 12), icon_y, 2, rgb(255, 255, 255));
    return c;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Read the font source, write the font sheet, the banner, the game icons, the contact sheet and
// the application's icons
int main(int argc, char **argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: artgen ASSETS_DIR GFX_DIR CONTACT_SHEET.png ICONS_DIR\n");
        return 2;
    }
    const std::string assets = argv[1], gfx = argv[2], sheet = argv[3], app_icons = argv[4];
    FONT font;
    std::string error;
    if (!font_text_read(assets + "/font8x8.txt", font, error)) {
        std::fprintf(stderr, "artgen: %s\n", error.c_str());
        return 1;
    }
    CANVAS logo = draw_logo(font);
    std::vector<CANVAS> icons = {draw_hollowtide(), draw_orbitcrane(), draw_noiseorchard(), draw_umberdeep()};
    const std::array<const char *, 4> icon_names = {"hollowtide", "orbitcrane", "noiseorchard", "umberdeep"};
    bool ok = canvas_write(font_sheet(font), gfx + "/font8x8.png", 4) && canvas_write(logo, gfx + "/kobaltine.png", 4);
    for (size_t i = 0; ok && i < icons.size(); i++)
        ok = canvas_write(icons[i], gfx + "/" + icon_names[i] + ".png", 4);
    ok = ok && canvas_write(draw_contact_sheet(font, logo, icons), sheet, 3);
    for (size_t i = 0; ok && i < APP_ICON_SIDES.size(); i++)
        ok = canvas_write(draw_app_icon(font, APP_ICON_SIDES[i]),
                          app_icons + "/icon-" + std::to_string(APP_ICON_SIDES[i]) + ".png", 4);
    return ok ? 0 : 1;
}
