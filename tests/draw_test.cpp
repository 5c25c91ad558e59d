// Drawing for real: sprites, batches, glyph text, polygons and the boot screen's figure are drawn
// with OpenGL (Mesa) into a 320 x 240 window on a private virtual X display, and the pixels are
// read back where the turtle says they land. Each test opens its own window; run each test in its
// own process (as CTest does).
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "SDL.h"
#include "atlas.h"
#include "draw.h"
#include "glyphs.h"
#include "lum.h"
#include "poly.h"
#include "sine.h"
#include "sprite.h"
#include "test_display.h"
#include "turtle.h"
#include "wrapper.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int WINDOW_W = 320;
constexpr int WINDOW_H = 240;
constexpr int PAGE = 64;     // the test atlas page
constexpr int PIECE = 8;     // side of the square test pieces
constexpr int TOLERANCE = 2; // colour steps a blended pixel may be off by

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct PIXEL {
    int r, g, b;
};

constexpr PIXEL BLACK = {0, 0, 0};
constexpr PIXEL RED = {255, 0, 0};
constexpr PIXEL GREEN = {0, 255, 0};
constexpr PIXEL BLUE = {0, 0, 255};
constexpr PIXEL WHITE = {255, 255, 255};
constexpr PIXEL YELLOW = {255, 255, 0};

bool operator==(const PIXEL &a, const PIXEL &b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b;
}

std::ostream &operator<<(std::ostream &out, const PIXEL &c)
{
    return out << "(" << c.r << ", " << c.g << ", " << c.b << ")";
}

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// The colour of one pixel of the frame being drawn, in screen coordinates (origin at the top
// left; OpenGL counts rows from the bottom)
PIXEL pixel(int x, int y)
{
    uint8_t p[4] = {0, 0, 0, 0};
    glReadPixels(x, WINDOW_H - 1 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
    return {p[0], p[1], p[2]};
}

bool close_to(const PIXEL &a, const PIXEL &b, int tolerance = TOLERANCE)
{
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance;
}

// One letter per pixel of a row from x0 to x1 (exclusive): R, G, B, W, K (black), ? (other)
std::string row_letters(int y, int x0, int x1)
{
    std::string s;
    for (int x = x0; x < x1; x++) {
        PIXEL c = pixel(x, y);
        s += c == RED ? 'R' : c == GREEN ? 'G' : c == BLUE ? 'B' : c == WHITE ? 'W' : c == BLACK ? 'K' : '?';
    }
    return s;
}

// Runs of letters: black up to `from`, then each (letter, count) in turn, black up to `width`
std::string expected_row(int from, std::vector<std::pair<char, int>> runs, int width)
{
    std::string s(static_cast<size_t>(from), 'K');
    for (auto &[letter, count] : runs)
        s += std::string(static_cast<size_t>(count), letter);
    s += std::string(static_cast<size_t>(width) - s.size(), 'K');
    return s;
}

// A solid square piece of one colour
std::vector<uint8_t> solid(int w, int h, PIXEL c)
{
    std::vector<uint8_t> p;
    for (int i = 0; i < w * h; i++)
        p.insert(p.end(), {static_cast<uint8_t>(c.r), static_cast<uint8_t>(c.g), static_cast<uint8_t>(c.b), 255});
    return p;
}

// A square piece in four quarters: red top left, blue top right, green bottom left, white
// bottom right
std::vector<uint8_t> quarters()
{
    std::vector<uint8_t> p;
    for (int y = 0; y < PIECE; y++)
        for (int x = 0; x < PIECE; x++) {
            bool left = x < PIECE / 2, top = y < PIECE / 2;
            PIXEL c = top ? (left ? RED : BLUE) : (left ? GREEN : WHITE);
            p.insert(p.end(), {static_cast<uint8_t>(c.r), static_cast<uint8_t>(c.g), static_cast<uint8_t>(c.b), 255});
        }
    return p;
}

bool enabled(GLenum cap)
{
    return glIsEnabled(cap) == GL_TRUE;
}

//----------------------------------------------------------------------------------
// Fixture: a private X display, a 320 x 240 window and a small atlas uploaded to it
//----------------------------------------------------------------------------------
class Render : public ::testing::Test {
protected:
    TEST_DISPLAY display;
    IMAGE *page = nullptr;
    SPRITE *red = nullptr;     // 8 x 8 pieces
    SPRITE *green = nullptr;
    SPRITE *split = nullptr;   // quarters: red, blue over green, white
    SPRITE *white9 = nullptr;  // 9 x 4, white
    SPRITE *dot = nullptr;     // 1 x 1, white
    SPRITEFONT font{};         // 'A' red, 'B' blue, 8 x 8 each

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(test_display_start(display, error)) << error;
        ASSERT_EQ(lum_init(), 1);
        ASSERT_EQ(wrapper_set_graphics(WINDOW_W, WINDOW_H, 0, 0), 1);
        ASSERT_EQ(wrapper_display_w(), WINDOW_W);
        ASSERT_EQ(wrapper_display_h(), WINDOW_H);
        build_atlas();
        turtle_reset();
        turtle_set_scale(1.0);
        draw_clear(0.0f, 0.0f, 0.0f);
    }

    void TearDown() override
    {
        test_display_pin_libraries();
        lum_exit();
        test_display_stop(display);
    }

    void build_atlas()
    {
        page = atlas_get(0);
        ASSERT_NE(atlas_create_texture(page, PAGE, PAGE), nullptr);
        std::vector<uint8_t> r = solid(PIECE, PIECE, RED), g = solid(PIECE, PIECE, GREEN);
        std::vector<uint8_t> b = solid(PIECE, PIECE, BLUE), w9 = solid(9, 4, WHITE), w1 = solid(1, 1, WHITE);
        std::vector<uint8_t> s = quarters();
        red = atlas_add_rgba_image(page, r.data(), PIECE, PIECE, PIECE, 0);
        green = atlas_add_rgba_image(page, g.data(), PIECE, PIECE, PIECE, 0);
        split = atlas_add_rgba_image(page, s.data(), PIECE, PIECE, PIECE, 0);
        white9 = atlas_add_rgba_image(page, w9.data(), 9, 4, 9, 0);
        dot = atlas_add_rgba_image(page, w1.data(), 1, 1, 1, 0);
        SPRITE *a = atlas_add_rgba_image(page, r.data(), PIECE, PIECE, PIECE, 0);
        SPRITE *bee = atlas_add_rgba_image(page, b.data(), PIECE, PIECE, PIECE, 0);
        ASSERT_EQ(sprite_get_id(bee), sprite_get_id(a) + 1);
        glyphs_make_font(&font, static_cast<unsigned>(sprite_get_id(a)), 'A', 2);
        ASSERT_EQ(atlas_upload(page, 0, 0), 1);
    }

    // Put the turtle at a pixel position
    void at(double x, double y)
    {
        turtle_set_pos_unscaled(x, y);
    }
};

}  // namespace

//----------------------------------------------------------------------------------
// Frame state
//----------------------------------------------------------------------------------
TEST_F(Render, ResetClearsTheFrameToRed)
{
    draw_reset();
    EXPECT_EQ(pixel(0, 0), RED);
    EXPECT_EQ(pixel(160, 120), RED);
    EXPECT_EQ(pixel(319, 239), RED);
}

TEST_F(Render, BindingTheTextureBoundLastTouchesNeitherTheMatrixNorTheBinding)
{
    last_texture = 0;
    glBindTexture(GL_TEXTURE_2D, 0);
    draw_bind_texture(page);
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(static_cast<unsigned>(bound), page->opengl_texture);
    EXPECT_EQ(last_texture, page->opengl_texture);
    GLfloat m[16];
    glGetFloatv(GL_TEXTURE_MATRIX, m);
    EXPECT_FLOAT_EQ(m[0], 1.0f / PAGE);
    EXPECT_FLOAT_EQ(m[5], 1.0f / PAGE);
    EXPECT_FLOAT_EQ(m[10], 1.0f);
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);

    // Undo both behind the cache's back: a second bind of the same page must not redo them.
    glBindTexture(GL_TEXTURE_2D, 0);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    draw_bind_texture(page);
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(bound, 0);
    glGetFloatv(GL_TEXTURE_MATRIX, m);
    EXPECT_FLOAT_EQ(m[0], 1.0f);

    draw_bind_texture(nullptr);
    EXPECT_EQ(last_texture, page->opengl_texture);
}

//----------------------------------------------------------------------------------
// Batches
//----------------------------------------------------------------------------------
TEST_F(Render, AlphaBatchBlendsAndTheAdditiveBatchAdds)
{
    at(40, 40);
    sprite_batch_plot(red, 0, 0);
    sprite_batch_plot(green, 0, 1);
    at(80, 40);
    sprite_batch_plot(red, 0, 0);
    turtle_set_rgba(1.0, 1.0, 1.0, 0.5);
    sprite_batch_plot(green, 0, 0);
    turtle_set_rgba(1.0, 1.0, 1.0, 1.0);
    at(120, 40);
    sprite_batch_plot(green, 0, 1);
    sprite_batch_draw(page);

    EXPECT_EQ(pixel(40, 40), YELLOW) << "green added onto red";
    EXPECT_TRUE(close_to(pixel(80, 40), {128, 127, 0})) << pixel(80, 40) << ": half green over red";
    EXPECT_EQ(pixel(120, 40), GREEN);
    EXPECT_EQ(pixel(60, 40), BLACK);
    GLint src = 0, dst = 0;
    glGetIntegerv(GL_BLEND_SRC, &src);
    glGetIntegerv(GL_BLEND_DST, &dst);
    EXPECT_EQ(src, GL_SRC_ALPHA) << "alpha blending is back after the additive batch";
    EXPECT_EQ(dst, GL_ONE_MINUS_SRC_ALPHA);
}

TEST_F(Render, TurtleColourTintsTheBatchedSprite)
{
    // A 1 x 1 sprite centred on a pixel's centre covers exactly that pixel
    turtle_set_rgb(0.0, 0.0, 1.0);
    at(40.5, 40.5);
    sprite_batch_plot(dot, 0, 0);
    turtle_set_rgb(1.0, 0.0, 1.0);
    at(41.5, 40.5);
    sprite_batch_plot(dot, 0, 0);
    sprite_batch_draw(page);
    EXPECT_EQ(pixel(40, 40), BLUE);
    EXPECT_EQ(pixel(41, 40), (PIXEL{255, 0, 255}));
    EXPECT_EQ(pixel(39, 40), BLACK);
    EXPECT_EQ(pixel(42, 40), BLACK);
    EXPECT_EQ(pixel(40, 39), BLACK);
    EXPECT_EQ(pixel(40, 41), BLACK);
}

TEST_F(Render, BatchDrawEmptiesBothBatches)
{
    at(40, 40);
    sprite_batch_plot(red, 0, 0);
    sprite_batch_plot(green, 0, 1);
    sprite_batch_draw(page);
    EXPECT_EQ(atlas_get_full(0)->batch[0].count, 0);
    EXPECT_EQ(atlas_get_full(0)->batch[1].count, 0);
    draw_clear(0.0f, 0.0f, 0.0f);
    sprite_batch_draw(page);
    EXPECT_EQ(pixel(40, 40), BLACK);
}

TEST_F(Render, FlippedSpriteShowsItsMirrorImage)
{
    at(40, 100);
    sprite_batch_plot(split, 0, 0);
    at(80, 100);
    sprite_batch_plot(split, 1, 0);
    sprite_batch_draw(page);
    // Each covers 8 columns from its centre - 4 and 8 rows from 96: the top rows first
    EXPECT_EQ(row_letters(97, 34, 46), expected_row(2, {{'R', 4}, {'B', 4}}, 12));
    EXPECT_EQ(row_letters(102, 34, 46), expected_row(2, {{'G', 4}, {'W', 4}}, 12));
    EXPECT_EQ(row_letters(97, 74, 86), expected_row(2, {{'B', 4}, {'R', 4}}, 12));
    EXPECT_EQ(row_letters(102, 74, 86), expected_row(2, {{'W', 4}, {'G', 4}}, 12));
}

TEST_F(Render, RotatedSpriteTurnsItsPicture)
{
    turtle_set_angle(90.0);
    at(120, 100);
    sprite_batch_plot(split, 0, 0);
    sprite_batch_draw(page);
    // A quarter turn clockwise: the left column (red over green) becomes the top row, read from
    // the right (green, red); the right column (blue over white) the bottom row (white, blue)
    EXPECT_EQ(row_letters(97, 114, 126), expected_row(2, {{'G', 4}, {'R', 4}}, 12));
    EXPECT_EQ(row_letters(102, 114, 126), expected_row(2, {{'W', 4}, {'B', 4}}, 12));
    EXPECT_EQ(pixel(120, 95), BLACK);
    EXPECT_EQ(pixel(120, 104), BLACK);
}

TEST_F(Render, ScaledSpriteCoversItsScaledSize)
{
    turtle_set_scale(3.0);
    at(200, 100);
    sprite_batch_plot(red, 0, 0);
    sprite_batch_draw(page);
    // 24 pixels from 188 to 211 each way
    EXPECT_EQ(row_letters(100, 186, 214), expected_row(2, {{'R', 24}}, 28));
    EXPECT_EQ(pixel(200, 88), RED);
    EXPECT_EQ(pixel(200, 111), RED);
    EXPECT_EQ(pixel(200, 87), BLACK);
    EXPECT_EQ(pixel(200, 112), BLACK);
}

TEST_F(Render, BatchOfMoreThan5000SpritesIsDrawnWhole)
{
    constexpr int COLUMNS = 100;
    auto place = [](int k) { return std::pair<int, int>{10 + 3 * (k % COLUMNS), 10 + 3 * (k / COLUMNS)}; };
    for (int k = 0; k < 5100; k++) {
        auto [x, y] = place(k);
        at(x + 0.5, y + 0.5);
        sprite_batch_plot(dot, 0, 0);
    }
    ASSERT_EQ(atlas_get_full(0)->batch[0].count, 5056);
    sprite_batch_draw(page);
    for (int k : {0, 4999, 5000, 5055}) {
        auto [x, y] = place(k);
        EXPECT_EQ(pixel(x, y), WHITE) << "sprite " << k;
    }
    auto [x, y] = place(5056);
    EXPECT_EQ(pixel(x, y), BLACK) << "the first sprite past the storage was dropped";
}

//----------------------------------------------------------------------------------
// Drawing at once
//----------------------------------------------------------------------------------
TEST_F(Render, OddWidthSpriteIsOnePixelNarrowerWhenDrawnAtOnce)
{
    at(100.25, 150);
    sprite_batch_plot(white9, 0, 0);
    sprite_batch_draw(page);
    at(100.25, 170);
    sprite_draw(white9, 0);
    // Batched: 95.75 .. 104.75, nine pixel centres. At once: 96.25 .. 104.25, eight.
    EXPECT_EQ(row_letters(150, 90, 110), expected_row(6, {{'W', 9}}, 20));
    EXPECT_EQ(row_letters(170, 90, 110), expected_row(6, {{'W', 8}}, 20));
}

TEST_F(Render, SpriteDrawTintsWithTheTurtleAndKeepsTheOffsetMove)
{
    red->xoff = 5;
    turtle_set_rgb(1.0, 1.0, 0.0);
    at(40, 200);
    sprite_draw(dot, 0);
    sprite_draw(red, 0);
    EXPECT_DOUBLE_EQ(turtle.x, 45.0) << "the offset move lasts";
    sprite_draw(red, 1);
    EXPECT_DOUBLE_EQ(turtle.x, 40.0) << "a flipped sprite moves the other way";
    red->xoff = 0;
    // The first red lands on 41 .. 48, the flipped one back on 36 .. 43
    EXPECT_EQ(row_letters(196, 30, 52), expected_row(6, {{'R', 13}}, 22));
    EXPECT_EQ(pixel(40, 200), RED);
}

TEST_F(Render, BatchAfterSpriteDrawUsesItsOwnColours)
{
    turtle_set_rgb(0.0, 0.0, 1.0);
    at(40, 40);
    sprite_draw(white9, 0);
    EXPECT_EQ(pixel(40, 40), BLUE);
    turtle_set_rgb(1.0, 0.0, 0.0);
    at(80, 40);
    sprite_batch_plot(white9, 0, 0);
    sprite_batch_draw(page);
    EXPECT_EQ(pixel(80, 40), RED);
}

//----------------------------------------------------------------------------------
// Glyph text
//----------------------------------------------------------------------------------
TEST_F(Render, GlyphTextLandsWhereItsAlignmentPutsIt)
{
    at(100, 40);
    EXPECT_EQ(glyphs_batch_plot(&font, "AB", GLYPHS_ALIGN_LEFT, 0), 2);
    at(100, 60);
    EXPECT_EQ(glyphs_batch_plot(&font, "AB", GLYPHS_ALIGN_RIGHT, 0), 2);
    at(100, 80);
    EXPECT_EQ(glyphs_batch_plot(&font, "AB", GLYPHS_ALIGN_CENTER, 0), 2);
    sprite_batch_draw(page);
    EXPECT_EQ(row_letters(40, 80, 120), expected_row(20, {{'R', 8}, {'B', 8}}, 40)) << "left: from 100";
    EXPECT_EQ(row_letters(60, 80, 120), expected_row(4, {{'R', 8}, {'B', 8}}, 40)) << "right: up to 100";
    EXPECT_EQ(row_letters(80, 80, 120), expected_row(12, {{'R', 8}, {'B', 8}}, 40)) << "centred on 100";
}

TEST_F(Render, CharacterOutsideTheFontShowsTheLastGlyph)
{
    at(100, 40);
    glyphs_batch_plot(&font, "AZ", GLYPHS_ALIGN_LEFT, 0);
    sprite_batch_draw(page);
    EXPECT_EQ(row_letters(40, 80, 120), expected_row(20, {{'R', 8}, {'B', 8}}, 40));
}

TEST_F(Render, PrintCharDrawsOneGlyphCentredOnTheTurtle)
{
    at(100, 40);
    EXPECT_EQ(glyphs_print_char(&font, 'B'), 1);
    EXPECT_EQ(row_letters(40, 90, 110), expected_row(6, {{'B', 8}}, 20));
}

//----------------------------------------------------------------------------------
// Polygons
//----------------------------------------------------------------------------------
TEST_F(Render, PolygonsAreDrawnInTheirVertexColours)
{
    poly_draw_start();
    turtle_set_rgb(0.0, 0.0, 1.0);
    at(60, 200);
    poly_bar(20.0f, 30.0f, 20.0f);
    turtle_set_rgb(0.0, 1.0, 0.0);
    at(160, 120);
    poly_circle(20.0f, 32);
    turtle_set_rgb(0.0, 0.0, 1.0);
    at(250, 120);
    poly_circle_ex(20.0f, 32, 1.0f, 0.0f, 0.0f, 1.0f);
    poly_draw_end();

    // The bar: 40 .. 80 across, 170 .. 200 down
    EXPECT_EQ(pixel(41, 171), BLUE);
    EXPECT_EQ(pixel(78, 198), BLUE);
    EXPECT_EQ(pixel(60, 168), BLACK);
    EXPECT_EQ(pixel(82, 185), BLACK);
    EXPECT_EQ(pixel(60, 201), BLACK);
    // The green disc
    EXPECT_EQ(pixel(160, 120), GREEN);
    EXPECT_EQ(pixel(160, 102), GREEN);
    EXPECT_EQ(pixel(177, 120), GREEN);
    EXPECT_EQ(pixel(160, 97), BLACK);
    EXPECT_EQ(pixel(184, 120), BLACK);
    // The fan: red in the middle fading to the blue rim
    PIXEL middle = pixel(250, 120), rim = pixel(250, 102);
    EXPECT_GT(middle.r, 230) << middle;
    EXPECT_LT(middle.b, 25) << middle;
    EXPECT_GT(rim.b, 200) << rim;
    EXPECT_LT(rim.r, 55) << rim;
    EXPECT_EQ(pixel(250, 97), BLACK);
    // Texturing is left off
    EXPECT_FALSE(enabled(GL_TEXTURE_2D));
}

TEST_F(Render, PolygonsAfterSpritesAndSpritesAfterPolygons)
{
    at(40, 40);
    sprite_batch_plot(red, 0, 0);
    sprite_batch_draw(page);
    poly_draw_start();
    turtle_set_rgb(0.0, 1.0, 0.0);
    at(80, 40);
    poly_circle(6.0f, 16);
    poly_draw_end();
    turtle_set_rgb(1.0, 1.0, 1.0);
    at(120, 40);
    sprite_batch_plot(split, 0, 0);
    sprite_batch_draw(page);
    EXPECT_EQ(pixel(40, 40), RED);
    EXPECT_EQ(pixel(80, 40), GREEN);
    EXPECT_EQ(pixel(117, 37), RED);
    EXPECT_EQ(pixel(122, 42), WHITE);
}

TEST_F(Render, PolyDrawEndWithNothingPlottedChangesNoState)
{
    glEnable(GL_TEXTURE_2D);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    poly_draw_start();
    at(100, 100);
    poly_point();
    poly_point();
    poly_plot();
    poly_draw_end();
    EXPECT_TRUE(enabled(GL_TEXTURE_2D));
    EXPECT_TRUE(enabled(GL_TEXTURE_COORD_ARRAY));
    EXPECT_FALSE(enabled(GL_COLOR_ARRAY));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));

    // Once a triangle is there, the same call does draw and change them.
    turtle_trans(10.0, 10.0);
    poly_point();
    poly_plot();
    poly_draw_end();
    EXPECT_FALSE(enabled(GL_TEXTURE_2D));
    EXPECT_FALSE(enabled(GL_TEXTURE_COORD_ARRAY));
    EXPECT_TRUE(enabled(GL_COLOR_ARRAY));
}

//----------------------------------------------------------------------------------
// The boot screen
//----------------------------------------------------------------------------------
// The boot screen's figure: three blades around the display centre, each a triangle from the
// centre to a base h = 240 / 4 = 60 (times the breathing scale) ahead, 45 degrees to each side,
// the first blade heading 60 degrees a second. Figure and background pulse in antiphase.
TEST_F(Render, BootScreenDrawsThreeBladesAroundTheCentre)
{
    // The turtle as start-up leaves it: the home copy, whose scale is 0
    turtle_home();
    // Wait for a moment when the figure and the background differ well (the pulse is far from
    // its middle), so that each can be told from the other
    while (std::fabs(sine_deg(180.0 * lum_seconds())) < 0.5)
        SDL_Delay(1);
    std::vector<unsigned char> before(reinterpret_cast<unsigned char *>(&turtle),
                                      reinterpret_cast<unsigned char *>(&turtle) + sizeof turtle);
    double t0 = lum_seconds();
    lum_state.render();
    double t1 = lum_seconds();
    std::vector<unsigned char> after(reinterpret_cast<unsigned char *>(&turtle),
                                     reinterpret_cast<unsigned char *>(&turtle) + sizeof turtle);
    EXPECT_EQ(after, before) << "the turtle is restored";
    ASSERT_LT(t1 - t0, 0.2) << "one frame took too long to tell the figure's colour";

    auto beat = [](double t) { return 0.5 + 0.5 * sine_deg(180.0 * t); };
    double b0 = beat(t0), b1 = beat(t1);
    double lo = std::min(b0, b1) * 255.0 - TOLERANCE, hi = std::max(b0, b1) * 255.0 + TOLERANCE;
    double scale = 1.0 + 0.25 * sine_deg(15.0 * t0);
    double reach = 0.5 * 60.0 * scale;  // halfway from the centre to a blade's base
    double heading = 60.0 * 0.5 * (t0 + t1);
    auto look = [&](double degrees) {
        double a = degrees * M_PI / 180.0;
        return pixel(static_cast<int>(160.0 + reach * std::sin(a)), static_cast<int>(120.0 - reach * std::cos(a)));
    };
    for (int blade = 0; blade < 3; blade++) {
        SCOPED_TRACE(blade);
        PIXEL in = look(heading + 120.0 * blade);
        EXPECT_EQ(in.r, 0);
        EXPECT_EQ(in.b, 0);
        EXPECT_GE(in.g, lo) << "figure green at " << b0 << " .. " << b1;
        EXPECT_LE(in.g, hi);
        // Halfway to the next blade lies the background
        PIXEL gap = look(heading + 120.0 * blade + 60.0);
        EXPECT_EQ(gap.r, 0);
        EXPECT_EQ(gap.b, 0);
        EXPECT_GE(gap.g, 255.0 - hi) << "background green";
        EXPECT_LE(gap.g, 255.0 - lo);
    }
    // Far from the centre there is background only
    PIXEL corner = pixel(5, 5);
    EXPECT_GE(corner.g, 255.0 - hi);
    EXPECT_LE(corner.g, 255.0 - lo);
}
