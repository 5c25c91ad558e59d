// Tests of the sprite table and the sprite batches: storage growth and its log lines, corner
// placement through the turtle, texture coordinates, mirroring, colour bytes, and the shared
// index list. No graphics context exists here, so only the CPU side is tested: what is written
// into the batches. Drawing for real is covered by draw_test.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "atlas.h"
#include "capture.h"
#include "core_state.h"
#include "draw.h"
#include "fake_wrapper.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

namespace {

using Lines = std::vector<std::string>;

constexpr float NEAR = 1e-4f;  // corners come from table sines, which are floats
constexpr int PAGE_W = 256;    // the test page
constexpr int PAGE_H = 128;

class Sprite : public ::testing::Test {
protected:
    SPRITE *piece = nullptr;  // a 10 x 6 piece at (16, 32) of atlas 0's page

    void SetUp() override
    {
        fake_platform_reset();
        init_sine_table();
        clear_atlases();
        spritecount = 0;
        atlas_[0].image.texture_w = PAGE_W;
        atlas_[0].image.texture_h = PAGE_H;
        piece = make_sprite(1, 0, 16, 32, 10, 6);
        turtle_reset();
        turtle_set_scale(1.0);
        turtle_set_pos_unscaled(100.0, 50.0);
    }

    void TearDown() override
    {
        clear_atlases();
    }

    // Fill sprite `index` by hand as a piece of atlas `atlas`
    SPRITE *make_sprite(int index, int atlas, int x, int y, int w, int h)
    {
        SPRITE *s = &sprites_[index];
        *s = SPRITE{};
        s->atlasx = static_cast<int16_t>(x);
        s->atlasy = static_cast<int16_t>(y);
        s->w = static_cast<int16_t>(w);
        s->h = static_cast<int16_t>(h);
        s->atlas = &atlas_[atlas].image;
        return s;
    }

    // The four vertices of sprite `n` in a batch of atlas 0
    const BATCH_ITEM *quad(int batch, int n)
    {
        return atlas_[0].batch[batch].entry + 4 * n;
    }

    // Plot quietly (the first plot of a batch logs)
    void plot(const SPRITE *s, int flip, int batch)
    {
        testing::internal::CaptureStdout();
        sprite_batch_plot(s, flip, batch);
        testing::internal::GetCapturedStdout();
    }
};

void expect_position(const BATCH_ITEM &v, float x, float y)
{
    EXPECT_NEAR(v.x, x, NEAR);
    EXPECT_NEAR(v.y, y, NEAR);
}

}  // namespace

// --- The sprite table ---

TEST_F(Sprite, GetMasksTheIndexWith4095)
{
    EXPECT_EQ(sprite_get(0), &sprites_[0]);
    EXPECT_EQ(sprite_get(4095), &sprites_[4095]);
    EXPECT_EQ(sprite_get(4096), sprite_get(0));
    EXPECT_EQ(sprite_get(4096 + 17), &sprites_[17]);
    EXPECT_EQ(sprite_get(-1), &sprites_[4095]);
}

TEST_F(Sprite, GetIdIsTheIndexInTheTable)
{
    EXPECT_EQ(sprite_get_id(&sprites_[0]), 0);
    EXPECT_EQ(sprite_get_id(&sprites_[1234]), 1234);
    EXPECT_EQ(sprite_get_id(sprite_get(4095 + 4096)), 4095);
}

TEST_F(Sprite, LastIsTheFirstUnusedSprite)
{
    spritecount = 7;
    EXPECT_EQ(sprite_count(), 7);
    EXPECT_EQ(sprite_last(), &sprites_[7]);
    spritecount = 0;
    EXPECT_EQ(sprite_last(), &sprites_[0]);
}

TEST_F(Sprite, LastWrapsToTheFirstSpriteWhenTheTableIsFull)
{
    spritecount = SPRITE_MAX;
    EXPECT_EQ(sprite_count(), 4096);
    EXPECT_EQ(sprite_last(), &sprites_[0]);
}

// --- Batch storage ---

TEST_F(Sprite, FirstPlotAllocates64ZeroedEntriesAndLogsIt)
{
    testing::internal::CaptureStdout();
    sprite_batch_plot(piece, 0, 0);
    Lines log = log_messages(testing::internal::GetCapturedStdout());
    EXPECT_EQ(log, Lines{"ATLAS 0 BATCH 0 initialized to 64 entries (8192 bytes)"});
    const ATLAS_BATCH &b = atlas_[0].batch[0];
    ASSERT_NE(b.entry, nullptr);
    EXPECT_EQ(b.size, 64);
    EXPECT_EQ(b.max, 5000);
    EXPECT_EQ(b.count, 1);
    // Everything past the first sprite's 128 bytes is still zero.
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(b.entry);
    for (int i = 128; i < 8192; i++)
        ASSERT_EQ(bytes[i], 0) << "byte " << i;
    EXPECT_EQ(atlas_[0].batch[1].entry, nullptr) << "the other batch has no storage yet";
}

TEST_F(Sprite, LogLinesNameTheAtlasAndTheBatch)
{
    SPRITE *other = make_sprite(2, 13, 0, 0, 4, 4);
    atlas_[13].image.texture_w = atlas_[13].image.texture_h = 64;
    testing::internal::CaptureStdout();
    sprite_batch_plot(other, 0, 1);
    Lines log = log_messages(testing::internal::GetCapturedStdout());
    EXPECT_EQ(log, Lines{"ATLAS 13 BATCH 1 initialized to 64 entries (8192 bytes)"});
    EXPECT_EQ(atlas_[13].batch[1].count, 1);
}

TEST_F(Sprite, AnAtlasOutsideTheTableIsLoggedAsMinusOne)
{
    static ATLAS loose;  // an atlas record that is not one of the sixteen
    loose = ATLAS{};
    loose.image.texture_w = loose.image.texture_h = 64;
    SPRITE *s = make_sprite(3, 0, 0, 0, 4, 4);
    s->atlas = &loose.image;
    testing::internal::CaptureStdout();
    sprite_batch_plot(s, 0, 0);
    Lines log = log_messages(testing::internal::GetCapturedStdout());
    EXPECT_EQ(log, Lines{"ATLAS -1 BATCH 0 initialized to 64 entries (8192 bytes)"});
    EXPECT_EQ(loose.batch[0].count, 1);
    std::free(loose.batch[0].entry);
}

TEST_F(Sprite, FullBatchGrowsBy64AtATime)
{
    for (int i = 0; i < 64; i++)
        plot(piece, 0, 0);
    EXPECT_EQ(atlas_[0].batch[0].size, 64);
    testing::internal::CaptureStdout();
    sprite_batch_plot(piece, 0, 0);
    for (int i = 65; i < 129; i++)
        sprite_batch_plot(piece, 0, 0);
    Lines log = log_messages(testing::internal::GetCapturedStdout());
    EXPECT_EQ(log, (Lines{"ATLAS 0 BATCH 0 grown to 128 entries (16384 bytes)",
                          "ATLAS 0 BATCH 0 grown to 192 entries (24576 bytes)"}));
    EXPECT_EQ(atlas_[0].batch[0].size, 192);
    EXPECT_EQ(atlas_[0].batch[0].count, 129);
}

TEST_F(Sprite, GrowthStopsAt5000PlottedButPlottingGoesOnUpTo5056)
{
    testing::internal::CaptureStdout();
    for (int i = 0; i < 6000; i++)
        sprite_batch_plot(piece, 0, 0);
    Lines log = log_messages(testing::internal::GetCapturedStdout());
    const ATLAS_BATCH &b = atlas_[0].batch[0];
    EXPECT_EQ(b.size, 5056);
    EXPECT_EQ(b.count, 5056) << "sprites past the storage are dropped";
    ASSERT_EQ(log.size(), 1u + (5056 - 64) / 64);
    EXPECT_EQ(log.front(), "ATLAS 0 BATCH 0 initialized to 64 entries (8192 bytes)");
    EXPECT_EQ(log[1], "ATLAS 0 BATCH 0 grown to 128 entries (16384 bytes)");
    EXPECT_EQ(log.back(), "ATLAS 0 BATCH 0 grown to 5056 entries (647168 bytes)");
    // The last sprite held is a whole quad.
    expect_position(quad(0, 5055)[3], 105.0f, 53.0f);
}

TEST_F(Sprite, DroppedSpriteLeavesTheBatchAndTheTurtleAsTheyWere)
{
    piece->xoff = 3;
    piece->yoff = -2;
    for (int i = 0; i < 5056; i++)
        plot(piece, 0, 0);
    std::vector<unsigned char> bytes(reinterpret_cast<unsigned char *>(atlas_[0].batch[0].entry),
                                     reinterpret_cast<unsigned char *>(atlas_[0].batch[0].entry) + 5056 * 128);
    std::vector<unsigned char> before = turtle_bytes();
    testing::internal::CaptureStdout();
    sprite_batch_plot(piece, 1, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "no growth past the limit";
    EXPECT_EQ(atlas_[0].batch[0].count, 5056);
    EXPECT_EQ(turtle_bytes(), before);
    EXPECT_EQ(0, std::memcmp(bytes.data(), atlas_[0].batch[0].entry, bytes.size()));
}

TEST_F(Sprite, BatchArgumentSelectsByItsLowestBit)
{
    plot(piece, 0, 2);
    plot(piece, 0, 3);
    plot(piece, 0, 3);
    plot(piece, 0, -1);
    EXPECT_EQ(atlas_[0].batch[0].count, 1);
    EXPECT_EQ(atlas_[0].batch[1].count, 3);
}

TEST_F(Sprite, SpriteOfNoPageIsNeitherPlottedNorDrawn)
{
    SPRITE *unused = &sprites_[4000];
    *unused = SPRITE{};
    unused->w = unused->h = 8;
    unused->xoff = 5;
    std::vector<unsigned char> before = turtle_bytes();
    sprite_batch_plot(unused, 0, 0);
    sprite_draw(unused, 0);
    EXPECT_EQ(turtle_bytes(), before);
    for (const ATLAS &atlas : atlas_)
        EXPECT_EQ(atlas.batch[0].entry, nullptr);
}

// --- Placement ---

TEST_F(Sprite, CornersGoLeftEdgeFirstTopBeforeBottom)
{
    turtle.z = 7.0;
    plot(piece, 0, 0);
    const BATCH_ITEM *v = quad(0, 0);
    expect_position(v[0], 95.0f, 47.0f);
    expect_position(v[1], 95.0f, 53.0f);
    expect_position(v[2], 105.0f, 47.0f);
    expect_position(v[3], 105.0f, 53.0f);
    for (int i = 0; i < 4; i++)
        EXPECT_EQ(v[i].z, 7.0f);
}

TEST_F(Sprite, ScaleMultipliesTheHalfSizes)
{
    turtle_set_scalex(2.0);
    turtle_set_scaley(3.0);
    plot(piece, 0, 0);
    const BATCH_ITEM *v = quad(0, 0);
    expect_position(v[0], 90.0f, 41.0f);
    expect_position(v[3], 110.0f, 59.0f);
}

TEST_F(Sprite, OddWidthKeepsItsHalfPixelInABatch)
{
    piece->w = 9;
    plot(piece, 0, 0);
    const BATCH_ITEM *v = quad(0, 0);
    expect_position(v[0], 95.5f, 47.0f);
    expect_position(v[3], 104.5f, 53.0f);
}

TEST_F(Sprite, QuarterTurnPutsTheTopEdgeOnTheRight)
{
    turtle_set_angle(90.0);
    plot(piece, 0, 0);
    const BATCH_ITEM *v = quad(0, 0);
    // Turned a quarter clockwise on screen, the top-left corner (-5, -3) goes to (+3, -5).
    expect_position(v[0], 103.0f, 45.0f);
    expect_position(v[1], 97.0f, 45.0f);
    expect_position(v[2], 103.0f, 55.0f);
    expect_position(v[3], 97.0f, 55.0f);
}

TEST_F(Sprite, CornersFollowTheTurtlesRotationTerms)
{
    turtle_set_angle(30.0);
    turtle_set_scale(2.0);
    plot(piece, 0, 0);
    const BATCH_ITEM *v = quad(0, 0);
    const double hw = 10.0, hh = 6.0;
    const double lx[4] = {-hw, -hw, hw, hw};
    const double ly[4] = {-hh, hh, -hh, hh};
    // Worked out from a rotation of 30 degrees clockwise on screen (y down)
    const double c = std::cos(30.0 * M_PI / 180.0), s = std::sin(30.0 * M_PI / 180.0);
    for (int i = 0; i < 4; i++) {
        SCOPED_TRACE(i);
        EXPECT_NEAR(v[i].x, 100.0 + lx[i] * c - ly[i] * s, 1e-2);
        EXPECT_NEAR(v[i].y, 50.0 + lx[i] * s + ly[i] * c, 1e-2);
    }
}

TEST_F(Sprite, OffsetMovesTheQuadButNotTheTurtle)
{
    piece->xoff = 3;
    piece->yoff = 2;
    turtle_set_scale(2.0);
    std::vector<unsigned char> before = turtle_bytes();
    plot(piece, 0, 0);
    EXPECT_EQ(turtle_bytes(), before);
    // The offset is scaled; a positive yoff is down the screen.
    const BATCH_ITEM *v = quad(0, 0);
    expect_position(v[0], 106.0f - 10.0f, 54.0f - 6.0f);
    expect_position(v[3], 106.0f + 10.0f, 54.0f + 6.0f);
}

TEST_F(Sprite, FlippedSpriteMirrorsItsXOffsetButNotItsYOffset)
{
    piece->xoff = 3;
    piece->yoff = 2;
    plot(piece, 1, 0);
    const BATCH_ITEM *v = quad(0, 0);
    expect_position(v[0], 97.0f - 5.0f, 52.0f - 3.0f);
    expect_position(v[3], 97.0f + 5.0f, 52.0f + 3.0f);
}

// --- Texture coordinates and colour ---

TEST_F(Sprite, TextureCoordinatesArePagePixelsCountedFromTheBottom)
{
    plot(piece, 0, 0);
    const BATCH_ITEM *v = quad(0, 0);
    // Left 16, right 26; top 128 - 32 = 96, bottom 96 - 6 = 90
    EXPECT_EQ(v[0].u, 16);
    EXPECT_EQ(v[0].v, 96);
    EXPECT_EQ(v[1].u, 16);
    EXPECT_EQ(v[1].v, 90);
    EXPECT_EQ(v[2].u, 26);
    EXPECT_EQ(v[2].v, 96);
    EXPECT_EQ(v[3].u, 26);
    EXPECT_EQ(v[3].v, 90);
}

TEST_F(Sprite, FlippedSpriteSwapsLeftAndRightTexture)
{
    plot(piece, 1, 0);
    const BATCH_ITEM *v = quad(0, 0);
    EXPECT_EQ(v[0].u, 26);
    EXPECT_EQ(v[1].u, 26);
    EXPECT_EQ(v[2].u, 16);
    EXPECT_EQ(v[3].u, 16);
    EXPECT_EQ(v[0].v, 96);
    EXPECT_EQ(v[1].v, 90);
}

TEST_F(Sprite, ColourBytesAreTruncated)
{
    turtle_set_rgba(1.0, 0.999, 0.5, 0.0);
    plot(piece, 0, 0);
    for (int i = 0; i < 4; i++) {
        SCOPED_TRACE(i);
        const BATCH_ITEM &v = quad(0, 0)[i];
        EXPECT_EQ(v.r, 255);
        EXPECT_EQ(v.g, 254);
        EXPECT_EQ(v.b, 127);
        EXPECT_EQ(v.a, 0);
    }
}

TEST_F(Sprite, EachSpriteTakesTheNextFourVertices)
{
    plot(piece, 0, 0);
    turtle_set_pos_unscaled(20.0, 30.0);
    turtle_set_rgb(0.0, 1.0, 0.0);
    plot(piece, 0, 0);
    expect_position(quad(0, 0)[0], 95.0f, 47.0f);
    expect_position(quad(0, 1)[0], 15.0f, 27.0f);
    EXPECT_EQ(quad(0, 0)[0].r, 255);
    EXPECT_EQ(quad(0, 1)[0].r, 0);
    EXPECT_EQ(quad(0, 1)[0].g, 255);
}

// --- Drawing without graphics ---

TEST_F(Sprite, FirstBatchDrawFillsTheIndexListEvenForANullImage)
{
    element_list.fill(0xFFFF);
    element_init = 0;
    sprite_batch_draw(nullptr);
    EXPECT_EQ(element_init, 1);
    const uint16_t first[6] = {0, 1, 2, 3, 2, 1};
    for (int i = 0; i < 6; i++)
        EXPECT_EQ(element_list[i], first[i]);
    const uint16_t second[6] = {4, 5, 6, 7, 6, 5};
    for (int i = 0; i < 6; i++)
        EXPECT_EQ(element_list[6 + i], second[i]);
    const uint16_t last[6] = {19996, 19997, 19998, 19999, 19998, 19997};
    for (int i = 0; i < 6; i++)
        EXPECT_EQ(element_list[29994 + i], last[i]);
}

TEST_F(Sprite, IndexListIsFilledOnlyOnce)
{
    sprite_batch_draw(nullptr);
    element_list[0] = 999;
    sprite_batch_draw(nullptr);
    EXPECT_EQ(element_list[0], 999);
    element_list[0] = 0;
}

TEST_F(Sprite, DrawingAnAtlasWithEmptyBatchesBindsNothing)
{
    atlas_[0].image.opengl_texture = 77;
    last_texture = 0;
    plot(piece, 0, 0);
    atlas_[0].batch[0].count = 0;
    sprite_batch_draw(&atlas_[0].image);
    EXPECT_EQ(last_texture, 0u);
    EXPECT_EQ(atlas_[0].batch[0].size, 64) << "the storage is kept";
}
