// Tests of the skyline rectangle packer: the first node, the choice of place and its tie-breaks,
// cutting and removing the nodes a new region covers, joining nodes of equal height, the area
// used, the answer when nothing fits, copying pixels into the page, clearing, the precondition
// assertions, and the invariants over many random requests.
// OpenGL's glDeleteTextures is replaced in this executable by a recorder (defined below), so
// that the packer's deletion can be checked without a graphics context.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <random>
#include <tuple>
#include <vector>

#include "death.h"
#include "texture-atlas.h"

//----------------------------------------------------------------------------------
// Test double of OpenGL's texture deletion
//----------------------------------------------------------------------------------
static int gl_delete_calls;          // glDeleteTextures calls since the test began
static GLuint gl_deleted_name = 99;  // the first name of the last call

// NOTE: a definition in the executable takes the place of libGL's for the packer's call.
void glDeleteTextures(GLsizei n, const GLuint *textures)
{
    ++gl_delete_calls;
    if (n > 0)
        gl_deleted_name = textures[0];
}

//----------------------------------------------------------------------------------
// Comparison and printing of nodes and regions for the expectations
//----------------------------------------------------------------------------------
bool operator==(const TEXTURE_ATLAS_NODE &a, const TEXTURE_ATLAS_NODE &b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool operator==(const TEXTURE_ATLAS_REGION &a, const TEXTURE_ATLAS_REGION &b)
{
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

void PrintTo(const TEXTURE_ATLAS_NODE &n, std::ostream *os)
{
    *os << "(" << n.x << ", " << n.y << ", " << n.z << ")";
}

void PrintTo(const TEXTURE_ATLAS_REGION &r, std::ostream *os)
{
    *os << "(" << r.x << ", " << r.y << ", " << r.width << ", " << r.height << ")";
}

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
using Skyline = std::vector<TEXTURE_ATLAS_NODE>;

constexpr TEXTURE_ATLAS_REGION NO_ROOM = {-1, -1, 0, 0};

// A packer deleted when the test ends
struct PackerDeleter {
    void operator()(texture_atlas_t *a) const { texture_atlas_delete(a); }
};
using OwnedPacker = std::unique_ptr<texture_atlas_t, PackerDeleter>;

// A new packer of one byte per pixel unless told
OwnedPacker make_packer(size_t width, size_t height, size_t depth = 1)
{
    return OwnedPacker(texture_atlas_new(width, height, depth));
}

// The packer's nodes, left to right
Skyline skyline(const texture_atlas_t *a)
{
    Skyline nodes;
    for (size_t i = 0; i < vector_size(a->nodes); ++i)
        nodes.push_back(*static_cast<const TEXTURE_ATLAS_NODE *>(vector_get(a->nodes, i)));
    return nodes;
}

// Replace the packer's nodes with a given skyline (which must cover the page's inside)
void set_skyline(texture_atlas_t *a, std::initializer_list<TEXTURE_ATLAS_NODE> nodes)
{
    vector_clear(a->nodes);
    for (const TEXTURE_ATLAS_NODE &n : nodes)
        vector_push_back(a->nodes, &n);
}

// Ask the packer for a place
TEXTURE_ATLAS_REGION request(texture_atlas_t *a, size_t width, size_t height)
{
    return texture_atlas_get_region(a, width, height);
}

// Whether every byte of the page is zero
bool page_is_zero(const texture_atlas_t *a)
{
    const unsigned char *begin = a->data;
    const unsigned char *end = begin + a->width * a->height * a->depth;
    return std::all_of(begin, end, [](unsigned char b) { return b == 0; });
}

// The skyline's invariants: nodes of positive width cover columns 1 .. width-2 without gaps, in
// increasing x; no two neighbours share a row; every free row lies inside the page
::testing::AssertionResult skyline_is_sound(const texture_atlas_t *a)
{
    Skyline nodes = skyline(a);
    if (nodes.empty())
        return ::testing::AssertionFailure() << "no nodes";
    int32_t next_x = 1;
    for (size_t i = 0; i < nodes.size(); ++i) {
        const TEXTURE_ATLAS_NODE &n = nodes[i];
        if (n.x != next_x)
            return ::testing::AssertionFailure() << "node " << i << " starts at " << n.x << ", not " << next_x;
        if (n.z <= 0)
            return ::testing::AssertionFailure() << "node " << i << " has width " << n.z;
        if (n.y < 1 || n.y > static_cast<int32_t>(a->height) - 1)
            return ::testing::AssertionFailure() << "node " << i << " has row " << n.y;
        if (i > 0 && nodes[i - 1].y == n.y)
            return ::testing::AssertionFailure() << "nodes " << i - 1 << " and " << i << " share row " << n.y;
        next_x = n.x + n.z;
    }
    if (next_x != static_cast<int32_t>(a->width) - 1)
        return ::testing::AssertionFailure() << "the nodes end at column " << next_x;
    return ::testing::AssertionSuccess();
}

// The largest row at which a skyline is free over all of columns x .. x+width-1
int32_t skyline_top(const Skyline &nodes, int32_t x, int32_t width)
{
    int32_t top = 0;
    for (const TEXTURE_ATLAS_NODE &n : nodes) {
        if (n.x < x + width && x < n.x + n.z)
            top = std::max(top, n.y);
    }
    return top;
}

// The place the bottom-left rule picks, found as the smallest (bottom edge, width of the
// supporting node, x) over the nodes where the block fits; NO_ROOM when it fits nowhere
TEXTURE_ATLAS_REGION best_place(texture_atlas_t *a, size_t width, size_t height)
{
    std::vector<std::tuple<int64_t, int32_t, int32_t, int32_t>> candidates;  // bottom, z, x, y
    Skyline nodes = skyline(a);
    for (size_t i = 0; i < nodes.size(); ++i) {
        int y = texture_atlas_fit(a, i, width, height);
        if (y >= 0)
            candidates.emplace_back(y + static_cast<int64_t>(height), nodes[i].z, nodes[i].x, y);
    }
    if (candidates.empty())
        return NO_ROOM;
    auto best = *std::min_element(candidates.begin(), candidates.end());
    return {std::get<2>(best), std::get<3>(best), static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

class Packer : public ::testing::Test {
protected:
    void SetUp() override
    {
        gl_delete_calls = 0;
        gl_deleted_name = 99;
    }
};

using PackerDeathTest = ThreadsafeDeathTest;

}  // namespace

// --- A new packer ---

TEST_F(Packer, NewPageHasOneNodeAcrossItsInsideAndZeroedPixels)
{
    OwnedPacker a = make_packer(64, 32, 4);

    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 62}}));
    EXPECT_EQ(a->nodes->item_size, 12u);
    EXPECT_EQ(a->width, 64u);
    EXPECT_EQ(a->height, 32u);
    EXPECT_EQ(a->depth, 4u);
    EXPECT_EQ(a->used, 0u);
    EXPECT_EQ(a->id, 0u);
    ASSERT_NE(a->data, nullptr);
    EXPECT_TRUE(page_is_zero(a.get()));
}

TEST_F(Packer, DepthsOneThreeAndFourAreAccepted)
{
    for (size_t depth : {1u, 3u, 4u}) {
        OwnedPacker a = make_packer(16, 16, depth);
        EXPECT_EQ(a->depth, depth);
        EXPECT_TRUE(page_is_zero(a.get()));
    }
}

// --- Where a request goes ---

TEST_F(Packer, TheWholeInsideFitsAtOneOne)
{
    OwnedPacker a = make_packer(64, 64);

    EXPECT_EQ(request(a.get(), 62, 62), (TEXTURE_ATLAS_REGION{1, 1, 62, 62}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 63, 62}}));
    EXPECT_EQ(a->used, 62u * 62u);
}

TEST_F(Packer, ARequestReachingTheBorderDoesNotFitAndChangesNothing)
{
    OwnedPacker a = make_packer(64, 64);

    EXPECT_EQ(request(a.get(), 63, 1), NO_ROOM);
    EXPECT_EQ(request(a.get(), 1, 63), NO_ROOM);
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 62}}));
    EXPECT_EQ(a->used, 0u);
}

TEST_F(Packer, AnEnormousRequestDoesNotFit)
{
    OwnedPacker a = make_packer(64, 64);

    EXPECT_EQ(request(a.get(), SIZE_MAX, 1), NO_ROOM);
    EXPECT_EQ(request(a.get(), 1, SIZE_MAX), NO_ROOM);
    EXPECT_EQ(request(a.get(), size_t{1} << 32, 1), NO_ROOM);
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 62}}));
}

TEST_F(Packer, AFirstRegionSplitsTheSkylineInTwo)
{
    OwnedPacker a = make_packer(64, 64);

    EXPECT_EQ(request(a.get(), 10, 10), (TEXTURE_ATLAS_REGION{1, 1, 10, 10}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 11, 10}, {11, 1, 52}}));
}

TEST_F(Packer, LowerBottomEdgeWinsOverTheLeftmostPlace)
{
    OwnedPacker a = make_packer(64, 64);
    request(a.get(), 10, 10);

    EXPECT_EQ(request(a.get(), 10, 5), (TEXTURE_ATLAS_REGION{11, 1, 10, 5}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 11, 10}, {11, 6, 10}, {21, 1, 42}}));
}

TEST_F(Packer, LowerBottomEdgeWinsOverANarrowerNode)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 2, 8}, {9, 1, 30}, {39, 9, 24}});

    EXPECT_EQ(request(a.get(), 8, 4), (TEXTURE_ATLAS_REGION{9, 1, 8, 4}));
}

TEST_F(Packer, NarrowerNodeWinsATieOnBottomEdge)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 1, 20}, {21, 5, 10}, {31, 1, 8}, {39, 9, 24}});

    EXPECT_EQ(request(a.get(), 8, 4), (TEXTURE_ATLAS_REGION{31, 1, 8, 4}));
    // The new segment covers the node it stood on and joins its neighbour of the same row.
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 20}, {21, 5, 18}, {39, 9, 24}}));
}

TEST_F(Packer, NarrowerNodeOnTheLeftWinsATieOnBottomEdge)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 1, 8}, {9, 5, 10}, {19, 1, 20}, {39, 9, 24}});

    EXPECT_EQ(request(a.get(), 8, 4), (TEXTURE_ATLAS_REGION{1, 1, 8, 4}));
}

TEST_F(Packer, LeftmostWinsWhenBottomEdgeAndNodeWidthTie)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 5, 10}, {11, 1, 8}, {19, 5, 10}, {29, 1, 8}, {37, 9, 26}});

    EXPECT_EQ(request(a.get(), 8, 4), (TEXTURE_ATLAS_REGION{11, 1, 8, 4}));
}

TEST_F(Packer, ARequestSpanningNodesRestsOnTheHighestOfThem)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 3, 4}, {5, 7, 4}, {9, 2, 54}});

    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 10, 4), 7);
    EXPECT_EQ(texture_atlas_fit(a.get(), 1, 10, 4), 7);
    EXPECT_EQ(texture_atlas_fit(a.get(), 2, 10, 4), 2);
    EXPECT_EQ(request(a.get(), 60, 4), (TEXTURE_ATLAS_REGION{1, 7, 60, 4}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 11, 60}, {61, 2, 2}}));
}

TEST_F(Packer, AFullWidthRequestLandsAtTheLargestRowAndLeavesOneNode)
{
    OwnedPacker a = make_packer(64, 64);
    EXPECT_EQ(request(a.get(), 10, 10), (TEXTURE_ATLAS_REGION{1, 1, 10, 10}));
    EXPECT_EQ(request(a.get(), 5, 20), (TEXTURE_ATLAS_REGION{11, 1, 5, 20}));
    EXPECT_EQ(request(a.get(), 7, 3), (TEXTURE_ATLAS_REGION{16, 1, 7, 3}));
    ASSERT_EQ(skyline(a.get()), (Skyline{{1, 11, 10}, {11, 21, 5}, {16, 4, 7}, {23, 1, 40}}));

    EXPECT_EQ(request(a.get(), 62, 4), (TEXTURE_ATLAS_REGION{1, 21, 62, 4}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 25, 62}}));
}

TEST_F(Packer, ARegionWiderThanItsNodeErasesCoveredNodesAndCutsThePartlyCoveredOne)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 1, 10}, {11, 5, 2}, {13, 3, 3}, {16, 5, 47}});

    // Every node gives the bottom edge 7; the node of width 2 at x 11 is the narrowest.
    EXPECT_EQ(request(a.get(), 15, 2), (TEXTURE_ATLAS_REGION{11, 5, 15, 2}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 10}, {11, 7, 15}, {26, 5, 37}}));
}

TEST_F(Packer, ARegionEndingExactlyAtANodeLeavesThatNodeWhole)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 1, 10}, {11, 5, 52}});

    EXPECT_EQ(request(a.get(), 10, 2), (TEXTURE_ATLAS_REGION{1, 1, 10, 2}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 3, 10}, {11, 5, 52}}));
}

TEST_F(Packer, NeighboursReachingTheSameRowAreJoined)
{
    OwnedPacker a = make_packer(64, 64);
    request(a.get(), 10, 10);

    EXPECT_EQ(request(a.get(), 52, 10), (TEXTURE_ATLAS_REGION{11, 1, 52, 10}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 11, 62}}));
}

TEST_F(Packer, AnEmptyRequestFitsAtTheFirstNodeWithoutMovingTheSkyline)
{
    OwnedPacker a = make_packer(64, 64);
    request(a.get(), 10, 10);

    EXPECT_EQ(request(a.get(), 0, 0), (TEXTURE_ATLAS_REGION{11, 1, 0, 0}));
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 11, 10}, {11, 1, 52}}));
    EXPECT_EQ(a->used, 100u);
}

TEST_F(Packer, NoRoomLeavesSkylineAndUsedAsTheyWere)
{
    OwnedPacker a = make_packer(32, 32);
    request(a.get(), 30, 20);
    request(a.get(), 12, 9);
    Skyline before = skyline(a.get());

    EXPECT_EQ(request(a.get(), 19, 2), NO_ROOM);
    EXPECT_EQ(request(a.get(), 1, 11), NO_ROOM);
    EXPECT_EQ(skyline(a.get()), before);
    EXPECT_EQ(a->used, 30u * 20u + 12u * 9u);
    EXPECT_EQ(request(a.get(), 18, 9), (TEXTURE_ATLAS_REGION{13, 21, 18, 9}));
}

TEST_F(Packer, UsedCountsOnlyTheRequestedAreas)
{
    OwnedPacker a = make_packer(64, 64);
    request(a.get(), 10, 10);
    request(a.get(), 3, 30);  // leaves unusable space under the skyline beside it
    request(a.get(), 20, 2);
    request(a.get(), 70, 2);  // does not fit

    EXPECT_EQ(a->used, 100u + 90u + 40u);
}

// --- The fit test and the merge step ---

TEST_F(Packer, FitRefusesToCrossTheRightOrBottomBorder)
{
    OwnedPacker a = make_packer(64, 48);
    set_skyline(a.get(), {{1, 1, 30}, {31, 40, 32}});

    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 62, 1), 40);
    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 62, 7), 40);
    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 62, 8), -1);
    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 63, 1), -1);
    EXPECT_EQ(texture_atlas_fit(a.get(), 1, 32, 7), 40);
    EXPECT_EQ(texture_atlas_fit(a.get(), 1, 33, 1), -1);
    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 30, 46), 1);
    EXPECT_EQ(texture_atlas_fit(a.get(), 0, 30, 47), -1);
}

TEST_F(Packer, FitOfAnEmptyWidthAnswersTheNodesRowAtOnce)
{
    OwnedPacker a = make_packer(64, 48);
    set_skyline(a.get(), {{1, 1, 30}, {31, 40, 32}});

    EXPECT_EQ(texture_atlas_fit(a.get(), 1, 0, 1000), 40);
}

TEST_F(Packer, MergeJoinsEveryRunOfEqualRows)
{
    OwnedPacker a = make_packer(64, 64);
    set_skyline(a.get(), {{1, 5, 10}, {11, 5, 10}, {21, 5, 10}, {31, 2, 12}, {43, 7, 10}, {53, 7, 10}});

    texture_atlas_merge(a.get());

    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 5, 30}, {31, 2, 12}, {43, 7, 20}}));
}

TEST_F(Packer, MergeLeavesASingleNodeOrAnEmptySkylineAlone)
{
    OwnedPacker a = make_packer(64, 64);
    texture_atlas_merge(a.get());
    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 62}}));

    vector_clear(a->nodes);
    texture_atlas_merge(a.get());
    EXPECT_EQ(vector_size(a->nodes), 0u);
}

// --- Copying pixels in ---

TEST_F(Packer, SetRegionCopiesRowsByStrideAndDepth)
{
    OwnedPacker a = make_packer(8, 6, 3);
    constexpr size_t STRIDE = 10;  // two columns of 3 bytes, then 4 bytes that must not be copied
    std::vector<unsigned char> source(3 * STRIDE, 0xEE);
    for (size_t row = 0; row < 3; ++row) {
        for (size_t b = 0; b < 6; ++b)
            source[row * STRIDE + b] = static_cast<unsigned char>(1 + row * 6 + b);
    }

    texture_atlas_set_region(a.get(), 5, 2, 2, 3, source.data(), STRIDE);

    for (size_t y = 0; y < 6; ++y) {
        for (size_t x = 0; x < 8; ++x) {
            for (size_t c = 0; c < 3; ++c) {
                unsigned char expected = 0;
                if (x >= 5 && x < 7 && y >= 2 && y < 5)
                    expected = static_cast<unsigned char>(1 + (y - 2) * 6 + (x - 5) * 3 + c);
                EXPECT_EQ(a->data[(y * 8 + x) * 3 + c], expected) << "x " << x << " y " << y << " byte " << c;
            }
        }
    }
}

TEST_F(Packer, SetRegionMayReachTheLastInsideRowAndColumn)
{
    OwnedPacker a = make_packer(8, 8, 1);
    std::vector<unsigned char> source(36, 7);

    texture_atlas_set_region(a.get(), 1, 1, 6, 6, source.data(), 6);

    size_t sevens = static_cast<size_t>(std::count(a->data, a->data + 64, 7));
    EXPECT_EQ(sevens, 36u);
    EXPECT_EQ(a->data[0], 0);
    EXPECT_EQ(a->data[7], 0);
    EXPECT_EQ(a->data[63], 0);
}

TEST_F(Packer, SetRegionOfHeightZeroCopiesNothing)
{
    OwnedPacker a = make_packer(16, 16, 4);
    std::vector<unsigned char> source(64, 0xFF);

    texture_atlas_set_region(a.get(), 1, 1, 14, 0, source.data(), 16);

    EXPECT_TRUE(page_is_zero(a.get()));
}

// --- Clearing and deleting ---

TEST_F(Packer, ClearForgetsEveryRegionAndZeroesThePixels)
{
    OwnedPacker a = make_packer(32, 32, 4);
    request(a.get(), 10, 10);
    request(a.get(), 5, 12);
    std::vector<unsigned char> source(10 * 10 * 4, 0x55);
    texture_atlas_set_region(a.get(), 1, 1, 10, 10, source.data(), 40);

    texture_atlas_clear(a.get());

    EXPECT_EQ(skyline(a.get()), (Skyline{{1, 1, 30}}));
    EXPECT_EQ(a->used, 0u);
    EXPECT_TRUE(page_is_zero(a.get()));
    EXPECT_EQ(request(a.get(), 30, 30), (TEXTURE_ATLAS_REGION{1, 1, 30, 30}));
}

TEST_F(Packer, DeleteLeavesANonZeroTextureNameAlive)
{
    texture_atlas_t *a = texture_atlas_new(16, 16, 4);
    a->id = 7;

    texture_atlas_delete(a);

    EXPECT_EQ(gl_delete_calls, 0);
}

TEST_F(Packer, DeleteHandsTheNameZeroToOpenGL)
{
    texture_atlas_t *a = texture_atlas_new(16, 16, 4);

    texture_atlas_delete(a);

    EXPECT_EQ(gl_delete_calls, 1);
    EXPECT_EQ(gl_deleted_name, 0u);
}

TEST_F(Packer, DeleteAcceptsAPageWithoutPixels)
{
    texture_atlas_t *a = texture_atlas_new(16, 16, 4);
    std::free(a->data);
    a->data = nullptr;

    texture_atlas_delete(a);

    EXPECT_EQ(gl_delete_calls, 1);
}

// --- Many random requests ---

// Every placement is the best candidate, rests on the skyline, stays inside the border and
// overlaps no earlier one; refusals change nothing; the skyline stays sound throughout.
TEST_F(Packer, RandomRequestsKeepEveryInvariant)
{
    struct Page {
        size_t w, h;
        int max_side;
        unsigned seed;
    };
    for (const Page &page : {Page{64, 64, 12, 1u}, Page{128, 96, 30, 2u}, Page{256, 256, 40, 3u},
                             Page{256, 128, 9, 4u}, Page{33, 200, 31, 5u}}) {
        SCOPED_TRACE(::testing::Message() << "page " << page.w << " x " << page.h << ", seed " << page.seed);
        OwnedPacker a = make_packer(page.w, page.h);
        std::mt19937 random(page.seed);
        std::uniform_int_distribution<int> side(1, page.max_side);
        std::vector<unsigned char> taken(page.w * page.h, 0);
        size_t area = 0;
        int refusals = 0;

        for (int step = 0; refusals < 40 && step < 5000; ++step) {
            SCOPED_TRACE(::testing::Message() << "step " << step);
            size_t w = static_cast<size_t>(side(random));
            size_t h = static_cast<size_t>(side(random));
            Skyline before = skyline(a.get());
            TEXTURE_ATLAS_REGION expected = best_place(a.get(), w, h);

            TEXTURE_ATLAS_REGION r = request(a.get(), w, h);

            ASSERT_EQ(r, expected);
            if (r == NO_ROOM) {
                ++refusals;
                ASSERT_EQ(skyline(a.get()), before);
                ASSERT_EQ(a->used, area);
                continue;
            }
            area += w * h;
            ASSERT_EQ(a->used, area);
            ASSERT_GE(r.x, 1);
            ASSERT_GE(r.y, 1);
            ASSERT_LE(r.x + r.width, static_cast<int32_t>(page.w) - 1);
            ASSERT_LE(r.y + r.height, static_cast<int32_t>(page.h) - 1);
            ASSERT_EQ(r.y, skyline_top(before, r.x, r.width));
            for (int32_t y = r.y; y < r.y + r.height; ++y) {
                for (int32_t x = r.x; x < r.x + r.width; ++x) {
                    unsigned char &cell = taken[static_cast<size_t>(y) * page.w + static_cast<size_t>(x)];
                    ASSERT_EQ(cell, 0) << "pixel " << x << ", " << y << " handed out twice";
                    cell = 1;
                }
            }
            ASSERT_TRUE(skyline_is_sound(a.get()));
            for (const TEXTURE_ATLAS_NODE &n : skyline(a.get())) {
                if (n.x < r.x + r.width && r.x < n.x + n.z) {
                    ASSERT_EQ(n.y, r.y + r.height) << "the skyline over the new region";
                }
            }
        }
        EXPECT_EQ(refusals, 40);
    }
}

// --- Precondition assertions ---

TEST_F(PackerDeathTest, NewRefusesADepthOfTwo)
{
    EXPECT_DEATH(texture_atlas_new(16, 16, 2),
                 "texture_atlas_new: Assertion `\\(depth == 1\\) \\|\\| \\(depth == 3\\) \\|\\| \\(depth == 4\\)' failed");
    EXPECT_DEATH(texture_atlas_new(16, 16, 0), "Assertion `\\(depth == 1\\) \\|\\| ");
}

TEST_F(PackerDeathTest, NewExitsWhenThePageCannotBeAllocated)
{
    // The sanitizer's allocator answers an impossible size with null, as the C library does.
    ScopedEnv asan("ASAN_OPTIONS", "allocator_may_return_null=1:detect_leaks=0");

    EXPECT_EXIT(texture_atlas_new(size_t{1} << 21, size_t{1} << 21, 4), ::testing::ExitedWithCode(1),
                "line [0-9]+: No more memory for allocating data");
    // 2^62 x 4 bytes would wrap around to a page of no bytes at all.
    EXPECT_EXIT(texture_atlas_new(size_t{1} << 62, 4, 1), ::testing::ExitedWithCode(1),
                "line [0-9]+: No more memory for allocating data");
}

TEST_F(PackerDeathTest, DeleteClearFitMergeAndGetRegionRefuseAMissingPacker)
{
    EXPECT_DEATH(texture_atlas_delete(nullptr), "texture_atlas_delete: Assertion `self' failed");
    EXPECT_DEATH(texture_atlas_clear(nullptr), "texture_atlas_clear: Assertion `self' failed");
    EXPECT_DEATH(texture_atlas_fit(nullptr, 0, 1, 1), "texture_atlas_fit: Assertion `self' failed");
    EXPECT_DEATH(texture_atlas_merge(nullptr), "texture_atlas_merge: Assertion `self' failed");
    EXPECT_DEATH(texture_atlas_get_region(nullptr, 1, 1), "texture_atlas_get_region: Assertion `self' failed");
}

TEST_F(PackerDeathTest, ClearRefusesAPageWithoutPixels)
{
    OwnedPacker a = make_packer(16, 16);
    unsigned char *data = a->data;
    a->data = nullptr;

    EXPECT_DEATH(texture_atlas_clear(a.get()), "texture_atlas_clear: Assertion `self->data' failed");

    a->data = data;
}

// The seven checks of set_region, each met in turn by a call that passes the ones before it
TEST_F(PackerDeathTest, SetRegionChecksItsArgumentsInOrder)
{
    OwnedPacker a = make_packer(16, 12);
    unsigned char pixels[256] = {};

    EXPECT_DEATH(texture_atlas_set_region(nullptr, 0, 0, 1, 1, pixels, 1), "Assertion `self' failed");
    EXPECT_DEATH(texture_atlas_set_region(a.get(), 0, 0, 99, 99, pixels, 1), "Assertion `x > 0' failed");
    EXPECT_DEATH(texture_atlas_set_region(a.get(), 15, 0, 99, 99, pixels, 1), "Assertion `y > 0' failed");
    EXPECT_DEATH(texture_atlas_set_region(a.get(), 15, 11, 99, 99, pixels, 1),
                 "Assertion `x < \\(self->width-1\\)' failed");
    EXPECT_DEATH(texture_atlas_set_region(a.get(), 14, 11, 2, 99, pixels, 1),
                 "Assertion `\\(x \\+ width\\) <= \\(self->width-1\\)' failed");
    EXPECT_DEATH(texture_atlas_set_region(a.get(), 14, 11, 1, 99, pixels, 1),
                 "Assertion `y < \\(self->height-1\\)' failed");
    EXPECT_DEATH(texture_atlas_set_region(a.get(), 14, 10, 1, 2, pixels, 1),
                 "Assertion `\\(y \\+ height\\) <= \\(self->height-1\\)' failed");
}
