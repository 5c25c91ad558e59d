// Tests of glyph text: the font record, laying strings out along the turtle in the three
// alignments, characters outside the font, the 255-character cut, measuring, and the turtle
// being left as it was. Glyph positions are read back from the atlas batch the text was
// plotted into (no graphics context exists here).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "atlas.h"
#include "core_state.h"
#include "fake_wrapper.h"
#include "glyphs.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

namespace {

constexpr float NEAR = 1e-4f;
constexpr int BASE = 10;        // sprite index of the test font's first glyph
constexpr unsigned FIRST = 'A'; // the test font covers 'A', 'B', 'C'
constexpr int PAGE = 256;

class Glyphs : public ::testing::Test {
protected:
    SPRITEFONT font{};

    void SetUp() override
    {
        clear_drawing_state();
        atlas_[0].image.texture_w = PAGE;
        atlas_[0].image.texture_h = PAGE;
        // 'A' 8 wide, 'B' 8 wide, 'C' 4 wide; each at its own column of the page
        make_glyph(BASE, 0, 8, 8);
        make_glyph(BASE + 1, 16, 8, 10);
        make_glyph(BASE + 2, 32, 4, 6);
        glyphs_make_font(&font, BASE, FIRST, 3);
        turtle_reset();
        turtle_set_scale(1.0);
        turtle_set_pos_unscaled(100.0, 50.0);
    }

    void TearDown() override
    {
        clear_atlases();
    }

    void make_glyph(int index, int x, int w, int h)
    {
        SPRITE &s = sprites_[index & 4095];
        s = SPRITE{};
        s.atlasx = static_cast<int16_t>(x);
        s.w = static_cast<int16_t>(w);
        s.h = static_cast<int16_t>(h);
        s.boxw = s.w;
        s.boxh = s.h;
        s.atlas = &atlas_[0].image;
    }

    // Plot quietly (the first plot into a batch logs its storage)
    int plot(const char *text, int length, int align, int batch = 0)
    {
        testing::internal::CaptureStdout();
        int n = glyphs_batch_plot_ex(&font, text, length, align, batch);
        testing::internal::GetCapturedStdout();
        return n;
    }

    int plotted(int batch = 0)
    {
        return atlas_[0].batch[batch].count;
    }

    // Centre of glyph n of a batch, from its first and last corner
    float centre_x(int n, int batch = 0)
    {
        const BATCH_ITEM *v = atlas_[0].batch[batch].entry + 4 * n;
        return (v[0].x + v[3].x) * 0.5f;
    }

    float centre_y(int n, int batch = 0)
    {
        const BATCH_ITEM *v = atlas_[0].batch[batch].entry + 4 * n;
        return (v[0].y + v[3].y) * 0.5f;
    }

    // The left texture coordinate of glyph n: which glyph was drawn
    int texture_left(int n)
    {
        return atlas_[0].batch[0].entry[4 * n].u;
    }
};

}  // namespace

// --- The font record ---

TEST_F(Glyphs, MakeFontFillsTheRecordAndReturnsIt)
{
    SPRITEFONT f{};
    EXPECT_EQ(glyphs_make_font(&f, 300, 32, 96), &f);
    EXPECT_EQ(f.glyphbase, 300u);
    EXPECT_EQ(f.first, 32u);
    EXPECT_EQ(f.count, 96u);
    EXPECT_EQ(f.glyphs, &sprites_[300]);
}

// --- Alignment ---

TEST_F(Glyphs, LeftAlignedTextStartsAtTheTurtle)
{
    EXPECT_EQ(plot("AB", 2, GLYPHS_ALIGN_LEFT), 2);
    ASSERT_EQ(plotted(), 2);
    EXPECT_NEAR(centre_x(0), 104.0f, NEAR);
    EXPECT_NEAR(centre_x(1), 112.0f, NEAR);
    EXPECT_NEAR(centre_y(0), 50.0f, NEAR);
}

TEST_F(Glyphs, RightAlignedTextEndsAtTheTurtle)
{
    EXPECT_EQ(plot("AB", 2, GLYPHS_ALIGN_RIGHT), 2);
    ASSERT_EQ(plotted(), 2);
    EXPECT_NEAR(centre_x(0), 88.0f, NEAR);
    EXPECT_NEAR(centre_x(1), 96.0f, NEAR);
}

TEST_F(Glyphs, CentredTextIsCentredOnTheTurtle)
{
    EXPECT_EQ(plot("AB", 2, GLYPHS_ALIGN_CENTER), 2);
    ASSERT_EQ(plotted(), 2);
    EXPECT_NEAR(centre_x(0), 96.0f, NEAR);
    EXPECT_NEAR(centre_x(1), 104.0f, NEAR);
}

TEST_F(Glyphs, EachGlyphAdvancesByItsOwnWidth)
{
    // 'C' is 4 wide, 'A' 8: centres at 2, then 4 + 4, then 12 + 2
    plot("CAC", 3, GLYPHS_ALIGN_LEFT);
    ASSERT_EQ(plotted(), 3);
    EXPECT_NEAR(centre_x(0), 102.0f, NEAR);
    EXPECT_NEAR(centre_x(1), 108.0f, NEAR);
    EXPECT_NEAR(centre_x(2), 114.0f, NEAR);
}

TEST_F(Glyphs, LayoutIsScaledAndTurnedWithTheTurtle)
{
    turtle_set_scale(2.0);
    turtle_set_angle(90.0);
    plot("AB", 2, GLYPHS_ALIGN_LEFT);
    ASSERT_EQ(plotted(), 2);
    // Turned a quarter clockwise, the x axis runs down the screen.
    EXPECT_NEAR(centre_x(0), 100.0f, NEAR);
    EXPECT_NEAR(centre_y(0), 58.0f, NEAR);
    EXPECT_NEAR(centre_x(1), 100.0f, NEAR);
    EXPECT_NEAR(centre_y(1), 74.0f, NEAR);
}

TEST_F(Glyphs, TextGoesIntoTheChosenBatch)
{
    plot("AB", 2, GLYPHS_ALIGN_LEFT, 1);
    EXPECT_EQ(plotted(0), 0);
    EXPECT_EQ(plotted(1), 2);
}

// --- Characters outside the font ---

TEST_F(Glyphs, CharacterAboveTheRangeDrawsTheLastGlyph)
{
    // 'Z' lies past the three glyphs; its raw index reads sprite BASE + 25 for the measure.
    make_glyph(BASE + 25, 200, 8, 8);
    plot("AZ", 2, GLYPHS_ALIGN_LEFT);
    ASSERT_EQ(plotted(), 2);
    EXPECT_EQ(texture_left(0), 0);
    EXPECT_EQ(texture_left(1), 32) << "the last glyph, 'C'";
    // 'C' is 4 wide: centred 2 past the end of 'A'
    EXPECT_NEAR(centre_x(1), 110.0f, NEAR);
}

TEST_F(Glyphs, CharacterBelowFirstIsDrawnAsTheLastGlyphAndCountedInTheTotal)
{
    // ' ' (32) is below 'A' (65): drawn as 'C', measured as whatever lies at BASE - 33
    make_glyph(BASE - 33, 100, 20, 8);
    plot("A ", 2, GLYPHS_ALIGN_RIGHT);
    ASSERT_EQ(plotted(), 2);
    EXPECT_EQ(texture_left(1), 32);
    // total = 8 + 20, start = 4 - 28: 'A' centred at 76, 'C' 2 past its right edge
    EXPECT_NEAR(centre_x(0), 76.0f, NEAR);
    EXPECT_NEAR(centre_x(1), 82.0f, NEAR);
    // The width measure leaves it out.
    EXPECT_FLOAT_EQ(glyphs_w(&font, "A "), 8.0f);
}

TEST_F(Glyphs, MeasureFarOutsideTheFontStaysInsideTheSpriteTable)
{
    // A font at the end of the table: 'z' lies 57 past its first glyph, which wraps to sprite 55.
    SPRITEFONT end{};
    make_glyph(4094, 0, 8, 8);
    make_glyph(4095, 16, 8, 8);
    make_glyph(55, 48, 12, 8);
    glyphs_make_font(&end, 4094, FIRST, 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(glyphs_batch_plot_ex(&end, "Az", 2, GLYPHS_ALIGN_RIGHT, 0), 2);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(plotted(), 2);
    // total = 8 + 12, start = 4 - 20
    EXPECT_NEAR(centre_x(0), 84.0f, NEAR);
    EXPECT_FLOAT_EQ(glyphs_w(&end, "Az"), 20.0f);
}

TEST_F(Glyphs, CharactersAreReadAsUnsignedBytes)
{
    // A font of 224 glyphs from ' ': character 200 is glyph 168, not a negative index.
    SPRITEFONT wide{};
    for (int i = 0; i < 224; i++)
        make_glyph(1000 + i, 0, 2, 2);
    make_glyph(1000 + 168, 77, 6, 6);
    glyphs_make_font(&wide, 1000, ' ', 224);
    const char text[] = {static_cast<char>(200), 0};
    testing::internal::CaptureStdout();
    glyphs_batch_plot(&wide, text, GLYPHS_ALIGN_LEFT, 0);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(plotted(), 1);
    EXPECT_EQ(texture_left(0), 77);
    EXPECT_FLOAT_EQ(glyphs_w(&wide, text), 6.0f);
}

// --- Lengths ---

TEST_F(Glyphs, WholeStringIsCutTo255Characters)
{
    std::string text(300, 'A');
    testing::internal::CaptureStdout();
    EXPECT_EQ(glyphs_batch_plot(&font, text.c_str(), GLYPHS_ALIGN_LEFT, 0), 255);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(plotted(), 255);
    EXPECT_NEAR(centre_x(254), 100.0f + 254 * 8 + 4, NEAR);
}

TEST_F(Glyphs, WholeStringShorterThan255IsPlottedWhole)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(glyphs_batch_plot(&font, "ABCAB", GLYPHS_ALIGN_LEFT, 0), 5);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(plotted(), 5);
}

TEST_F(Glyphs, ExplicitLengthPlotsThatManyCharacters)
{
    EXPECT_EQ(plot("ABCABC", 4, GLYPHS_ALIGN_LEFT), 4);
    EXPECT_EQ(plotted(), 4);
}

TEST_F(Glyphs, NullFontPlotsNothing)
{
    EXPECT_EQ(glyphs_batch_plot_ex(nullptr, "AB", 2, GLYPHS_ALIGN_LEFT, 0), 0);
    EXPECT_EQ(glyphs_batch_plot(nullptr, "AB", GLYPHS_ALIGN_LEFT, 0), 0);
    EXPECT_EQ(atlas_[0].batch[0].entry, nullptr);
}

TEST_F(Glyphs, EmptyFontPlotsNothingAndLeavesTheTurtle)
{
    SPRITEFONT empty{};
    glyphs_make_font(&empty, BASE, FIRST, 0);
    turtle_set_angle(30.0);
    std::vector<unsigned char> before = turtle_bytes();
    EXPECT_EQ(glyphs_batch_plot_ex(&empty, "AB", 2, GLYPHS_ALIGN_RIGHT, 0), 0);
    EXPECT_EQ(turtle_bytes(), before);
    EXPECT_EQ(atlas_[0].batch[0].entry, nullptr);
}

TEST_F(Glyphs, NullTextOrNoCharactersPlotNothing)
{
    EXPECT_EQ(plot(nullptr, 3, GLYPHS_ALIGN_LEFT), 0);
    EXPECT_EQ(plot("AB", 0, GLYPHS_ALIGN_LEFT), 0);
    EXPECT_EQ(plot("AB", -4, GLYPHS_ALIGN_LEFT), 0);
    EXPECT_EQ(glyphs_batch_plot(&font, nullptr, GLYPHS_ALIGN_LEFT, 0), 0);
    EXPECT_EQ(glyphs_batch_plot(&font, "", GLYPHS_ALIGN_LEFT, 0), 0);
    EXPECT_EQ(atlas_[0].batch[0].entry, nullptr);
}

TEST_F(Glyphs, TurtleIsUnchangedAfterAPlot)
{
    turtle_set_scale(1.5);
    turtle_set_angle(37.0);
    turtle_set_rgba(0.2, 0.4, 0.6, 0.8);
    for (int align = 0; align < 3; align++) {
        SCOPED_TRACE(align);
        std::vector<unsigned char> before = turtle_bytes();
        plot("ABCZ ", 5, align);
        EXPECT_EQ(turtle_bytes(), before);
    }
    EXPECT_EQ(plotted(), 15);
}

// --- Single characters ---

TEST_F(Glyphs, PrintCharWithANullFontDoesNothing)
{
    EXPECT_EQ(glyphs_print_char(nullptr, 'A'), 0);
}

TEST_F(Glyphs, PrintCharWithAnEmptyFontFails)
{
    SPRITEFONT empty{};
    glyphs_make_font(&empty, BASE, FIRST, 0);
    EXPECT_EQ(glyphs_print_char(&empty, 'A'), -1);
}

// --- Measuring ---

TEST_F(Glyphs, WidthSumsTheGlyphsAtTheTurtlesScale)
{
    EXPECT_FLOAT_EQ(glyphs_w(&font, "ABC"), 20.0f);
    turtle_set_scalex(2.5);
    turtle_set_scaley(7.0);
    EXPECT_FLOAT_EQ(glyphs_w(&font, "ABC"), 50.0f);
}

TEST_F(Glyphs, HeightIsTheTallestGlyphAtTheTurtlesScale)
{
    EXPECT_FLOAT_EQ(glyphs_h(&font, "ABC"), 10.0f);
    EXPECT_FLOAT_EQ(glyphs_h(&font, "CA"), 8.0f);
    turtle_set_scalex(7.0);
    turtle_set_scaley(0.5);
    EXPECT_FLOAT_EQ(glyphs_h(&font, "ABC"), 5.0f);
}

TEST_F(Glyphs, MeasuresIgnoreCharactersBelowFirst)
{
    make_glyph(BASE - 33, 100, 20, 30);  // what ' ' would read
    EXPECT_FLOAT_EQ(glyphs_w(&font, " A "), 8.0f);
    EXPECT_FLOAT_EQ(glyphs_h(&font, " A "), 8.0f);
    EXPECT_FLOAT_EQ(glyphs_w(&font, "  "), 0.0f);
}

TEST_F(Glyphs, MeasuresOfNothingAreZero)
{
    EXPECT_FLOAT_EQ(glyphs_w(nullptr, "AB"), 0.0f);
    EXPECT_FLOAT_EQ(glyphs_h(nullptr, "AB"), 0.0f);
    EXPECT_FLOAT_EQ(glyphs_w(&font, nullptr), 0.0f);
    EXPECT_FLOAT_EQ(glyphs_h(&font, nullptr), 0.0f);
    EXPECT_FLOAT_EQ(glyphs_w(&font, ""), 0.0f);
    EXPECT_FLOAT_EQ(glyphs_h(&font, ""), 0.0f);
}
