// The toy's art as the toy loads it: the committed font sheet and icon images go through the
// real decoder (SDL_image, which needs a video mode, so each test opens a small window in a
// private virtual X display) and the real atlas, and the test looks at what came out: glyph
// sizes, the cell and grid icons, the interface sprites, the icon sheets, and whether the whole
// start-up atlas fits its page; and the application's icons for desktop menus and the browser
// page's manifest, dist/icon-*.png.
// A last test runs the art generator and compares its output with the committed files.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "atlas.h"
#include "lum.h"
#include "process.h"
#include "sprite.h"
#include "test_display.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *FONT_PATH = "gfx/font8x8.png";
constexpr int FIRST_CODE = 32;          // the shell loads the font from character 32
constexpr int GLYPH_SIDE = 8;
constexpr int PAGE_SIDE = 512;          // the shell's atlas page
constexpr int SHEET_BORDER = 1;         // the shell's frame mode for the icon sheets
constexpr int WINDOW_W = 320;           // a video mode is all the decoder needs
constexpr int WINDOW_H = 240;
constexpr int CODE_LIVE_ICONS = 128;    // 16 live-cell icons
constexpr int CODE_GRID_ICONS = 144;    // 16 grid (dead-cell) icons
constexpr int ICON_COUNT = 16;
constexpr int CODE_INTERFACE = 160;     // backing, block, tile, corner, horizontal and vertical edge
constexpr int CODE_HEART = 177;         // the thank-you text's frame, the last code the toy uses
constexpr int TEXT_GLYPHS = 96;         // codes 32..127; the interface sprites follow them
constexpr double GRID_PEAK_LIMIT = 0.55;  // no grid pixel is brighter than this (white = 1)

// The icon sheets in the order the shell loads them, with their tile sizes
struct SHEET_FILE {
    const char *path;
    int w, h;
};
constexpr std::array<SHEET_FILE, 5> SHEETS = {{
    {"gfx/kobaltine.png", 240, 64},   {"gfx/hollowtide.png", 72, 72},  {"gfx/orbitcrane.png", 72, 72},
    {"gfx/noiseorchard.png", 72, 72}, {"gfx/umberdeep.png", 72, 72},
}};

// The application's icon for desktop menus, at the icon theme's sizes
struct APP_ICON_FILE {
    const char *path;
    int side;
};
constexpr std::array<APP_ICON_FILE, 5> APP_ICONS = {{
    {"dist/icon-48.png", 48}, {"dist/icon-128.png", 128}, {"dist/icon-256.png", 256},
    {"dist/icon-192.png", 192}, {"dist/icon-512.png", 512},
}};

// Every file the art generator writes, relative to the project root
constexpr std::array<const char *, 12> GENERATED = {
    "gfx/font8x8.png",     "gfx/kobaltine.png", "gfx/hollowtide.png", "gfx/orbitcrane.png",
    "gfx/noiseorchard.png", "gfx/umberdeep.png", "docs/art.png",        "dist/icon-48.png",
    "dist/icon-128.png",    "dist/icon-256.png",    "dist/icon-192.png", "dist/icon-512.png",
};

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Decoded pixels released when they go out of scope
struct RGBA_DELETE {
    void operator()(RGBA_DATA *rgba) const { rgba_free(rgba); }
};
using RGBA_PTR = std::unique_ptr<RGBA_DATA, RGBA_DELETE>;

// The 64 pixels of a glyph as packed RGBA words
using GLYPH_PIXELS = std::array<uint32_t, GLYPH_SIDE * GLYPH_SIDE>;

// A glyph's pixels, read from the atlas page it was copied to
static GLYPH_PIXELS glyph_pixels(const SPRITE &s)
{
    GLYPH_PIXELS out{};
    const IMAGE *page = s.atlas;
    for (int y = 0; y < GLYPH_SIDE; y++) {
        for (int x = 0; x < GLYPH_SIDE; x++) {
            const uint8_t *p = page->rgba + (static_cast<size_t>(s.atlasy + y) * page->texture_w + s.atlasx + x) * 4;
            out[y * GLYPH_SIDE + x] = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
        }
    }
    return out;
}

// The light a pixel gives when tinted and blended: its grey level times its opacity, 0..1
static double pixel_light(uint32_t px)
{
    double grey = ((px >> 24 & 0xff) + (px >> 16 & 0xff) + (px >> 8 & 0xff)) / (3.0 * 255.0);
    return grey * (px & 0xff) / 255.0;
}

// The light of a whole glyph
static double total_light(const GLYPH_PIXELS &g)
{
    double sum = 0.0;
    for (uint32_t px : g)
        sum += pixel_light(px);
    return sum;
}

// The light of a glyph's brightest pixel
static double peak_light(const GLYPH_PIXELS &g)
{
    double peak = 0.0;
    for (uint32_t px : g)
        peak = std::max(peak, pixel_light(px));
    return peak;
}

// A whole file's bytes; empty when it cannot be read
static std::string file_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Where the art generator was built: the ARTGEN_PATH environment variable, else the path the
// build gave this test, else empty
static std::string artgen_path()
{
    if (const char *env = std::getenv("ARTGEN_PATH"))
        return env;
#ifdef ARTGEN_PATH
    return ARTGEN_PATH;
#else
    return "";
#endif
}

//----------------------------------------------------------------------------------
// Fixture: a private X display, a temporary HOME, the framework started and a small window, so
// that images can be decoded; atlas 0 opened as the shell opens it, with the font loaded
//----------------------------------------------------------------------------------
class Art : public ::testing::Test {
protected:
    TEST_DISPLAY display;
    IMAGE *page = nullptr;
    SPRITEFONT font{};

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(test_display_start(display, error)) << error;
        ASSERT_EQ(lum_init(), 1);
        ASSERT_EQ(lum_graphics(WINDOW_W, WINDOW_H, 0, 0), 1);
        atlas_init();
        page = atlas_get(0);
        ASSERT_NE(atlas_create_texture(page, PAGE_SIDE, PAGE_SIDE), nullptr);
        ASSERT_EQ(atlas_load_font(page, &font, FIRST_CODE, FONT_PATH), 0) << "run the tests from the project root";
    }

    // NOTE: nothing in the framework releases a page's pixels (they live until the program
    // ends), so the test frees the page it opened itself.
    void TearDown() override
    {
        if (page) {
            std::free(page->rgba);
            page->rgba = nullptr;
        }
        test_display_pin_libraries();
        lum_exit();
        test_display_stop(display);
    }

    // The sprite of a character code
    const SPRITE &glyph(int code) const { return font.glyphs[code - FIRST_CODE]; }

    GLYPH_PIXELS pixels(int code) const { return glyph_pixels(glyph(code)); }
};

//----------------------------------------------------------------------------------
// The font sheet
//----------------------------------------------------------------------------------
TEST_F(Art, FontHoldsEveryCodeFromSpaceToTheHeart)
{
    EXPECT_EQ(font.first, static_cast<unsigned>(FIRST_CODE));
    EXPECT_GE(font.count, static_cast<unsigned>(CODE_HEART - FIRST_CODE + 1));
    EXPECT_LE(font.count, 256u - FIRST_CODE) << "character codes are bytes";
}

TEST_F(Art, EveryGlyphIsEightByEight)
{
    for (unsigned i = 0; i < font.count; i++) {
        SCOPED_TRACE("code " + std::to_string(FIRST_CODE + i));
        const SPRITE &s = font.glyphs[i];
        EXPECT_EQ(s.w, GLYPH_SIDE);
        EXPECT_EQ(s.h, GLYPH_SIDE);
        EXPECT_EQ(s.boxw, GLYPH_SIDE);
        EXPECT_EQ(s.boxh, GLYPH_SIDE);
    }
}

TEST_F(Art, TextGlyphsArePureWhiteInkOnTransparency)
{
    // The toy tints text with the drawing colour, so ink must be white to come out exactly in it
    for (int code = FIRST_CODE; code < FIRST_CODE + TEXT_GLYPHS; code++) {
        SCOPED_TRACE("code " + std::to_string(code));
        for (uint32_t px : pixels(code))
            EXPECT_TRUE(px == 0xffffffffu || px == 0u) << std::hex << px;
    }
}

TEST_F(Art, SpaceIsEmptyAndEveryOtherPrintableCharacterHasInk)
{
    EXPECT_EQ(total_light(pixels(' ')), 0.0);
    for (int code = '!'; code <= '~'; code++)
        EXPECT_GT(total_light(pixels(code)), 0.0) << "code " << code << " '" << static_cast<char>(code) << "'";
}

TEST_F(Art, PrintableCharactersAreAllDifferent)
{
    for (int a = '!'; a <= '~'; a++)
        for (int b = a + 1; b <= '~'; b++)
            EXPECT_NE(pixels(a), pixels(b)) << "'" << static_cast<char>(a) << "' and '" << static_cast<char>(b) << "'";
}

TEST_F(Art, InterfaceSpritesFollowTheNinetySixTextGlyphs)
{
    // The shell's interface sprites start 96 glyphs after the first: backing, block, tile,
    // corner, horizontal and vertical edge are sprites 32..37 counted from there
    ASSERT_GE(font.count, static_cast<unsigned>(CODE_INTERFACE + 6 - FIRST_CODE));
    const SPRITE *interface = font.glyphs + TEXT_GLYPHS;
    for (int i = 0; i < 6; i++) {
        SCOPED_TRACE("interface sprite " + std::to_string(32 + i));
        EXPECT_EQ(interface[32 + i].w, GLYPH_SIDE);
        EXPECT_EQ(interface[32 + i].h, GLYPH_SIDE);
        int opaque = 0;
        for (uint32_t px : glyph_pixels(interface[32 + i]))
            opaque += (px & 0xff) == 0xff ? 1 : 0;
        EXPECT_GT(opaque, 0) << "an empty interface sprite draws nothing";
    }
}

TEST_F(Art, BackingBlockAndTileAreFullyOpaque)
{
    // Stretched over a whole button: a transparent pixel would become a hole the size of a
    // button's eighth. The block (the grid editor's backing and the colour swatch) is pure white.
    for (int code : {CODE_INTERFACE, CODE_INTERFACE + 1, CODE_INTERFACE + 2}) {
        SCOPED_TRACE("code " + std::to_string(code));
        for (uint32_t px : pixels(code))
            EXPECT_EQ(px & 0xff, 0xffu);
    }
    for (uint32_t px : pixels(CODE_INTERFACE + 1))
        EXPECT_EQ(px, 0xffffffffu);
}

TEST_F(Art, FramePiecesAreSymmetricBecauseOnePieceServesEverySide)
{
    // The same corner piece is drawn at all four corners and the same edge piece at both
    // opposite edges, unmirrored, so each must look the same mirrored
    GLYPH_PIXELS corner = pixels(CODE_INTERFACE + 3), across = pixels(CODE_INTERFACE + 4),
                 down = pixels(CODE_INTERFACE + 5);
    for (int y = 0; y < GLYPH_SIDE; y++) {
        for (int x = 0; x < GLYPH_SIDE; x++) {
            SCOPED_TRACE("pixel " + std::to_string(x) + "," + std::to_string(y));
            int here = y * GLYPH_SIDE + x;
            int mirrored_x = y * GLYPH_SIDE + (GLYPH_SIDE - 1 - x);
            int mirrored_y = (GLYPH_SIDE - 1 - y) * GLYPH_SIDE + x;
            EXPECT_EQ(corner[here], corner[mirrored_x]);
            EXPECT_EQ(corner[here], corner[mirrored_y]);
            EXPECT_EQ(across[here], across[mirrored_y]);
            EXPECT_EQ(across[here], across[y * GLYPH_SIDE]) << "the horizontal edge is stretched sideways";
            EXPECT_EQ(down[here], down[mirrored_x]);
            EXPECT_EQ(down[here], down[x]) << "the vertical edge is stretched lengthways";
        }
    }
}

//----------------------------------------------------------------------------------
// Cell and grid icons
//----------------------------------------------------------------------------------
TEST_F(Art, LiveCellIconsArePairwiseDifferent)
{
    for (int a = 0; a < ICON_COUNT; a++)
        for (int b = a + 1; b < ICON_COUNT; b++)
            EXPECT_NE(pixels(CODE_LIVE_ICONS + a), pixels(CODE_LIVE_ICONS + b)) << "live icons " << a << " and " << b;
}

TEST_F(Art, GridIconsArePairwiseDifferent)
{
    for (int a = 0; a < ICON_COUNT; a++)
        for (int b = a + 1; b < ICON_COUNT; b++)
            EXPECT_NE(pixels(CODE_GRID_ICONS + a), pixels(CODE_GRID_ICONS + b)) << "grid icons " << a << " and " << b;
}

TEST_F(Art, EveryLiveIconDiffersFromEveryGridIcon)
{
    for (int live = 0; live < ICON_COUNT; live++)
        for (int grid = 0; grid < ICON_COUNT; grid++)
            EXPECT_NE(pixels(CODE_LIVE_ICONS + live), pixels(CODE_GRID_ICONS + grid))
                << "live icon " << live << " and grid icon " << grid;
}

TEST_F(Art, LiveIconsOutshineEveryGridIcon)
{
    // Whatever pair is chosen, a live cell must stand out from the dead ones around it: each
    // live icon reaches full white and gives more light than the brightest grid icon, and no
    // grid pixel is brighter than GRID_PEAK_LIMIT
    double brightest_grid = 0.0;
    for (int i = 0; i < ICON_COUNT; i++) {
        GLYPH_PIXELS g = pixels(CODE_GRID_ICONS + i);
        EXPECT_LE(peak_light(g), GRID_PEAK_LIMIT) << "grid icon " << i;
        brightest_grid = std::max(brightest_grid, total_light(g));
    }
    for (int i = 0; i < ICON_COUNT; i++) {
        GLYPH_PIXELS g = pixels(CODE_LIVE_ICONS + i);
        EXPECT_EQ(peak_light(g), 1.0) << "live icon " << i;
        EXPECT_GT(total_light(g), brightest_grid) << "live icon " << i;
    }
}

//----------------------------------------------------------------------------------
// Icon sheets and the start-up atlas
//----------------------------------------------------------------------------------
TEST_F(Art, IconImagesDecodeAtTheirTileSizes)
{
    for (const SHEET_FILE &sheet : SHEETS) {
        SCOPED_TRACE(sheet.path);
        RGBA_PTR rgba(rgba_load(sheet.path));
        ASSERT_NE(rgba, nullptr);
        EXPECT_EQ(rgba->w, sheet.w);
        EXPECT_EQ(rgba->h, sheet.h);
    }
}

TEST_F(Art, EveryPixelIsOpaqueOrEmptyBecauseThePageKeepsOneBitOfAlpha)
{
    // The shell uploads its page with 5-5-5-1 texels: a half-transparent pixel would come out
    // either solid or gone
    std::vector<const char *> files = {FONT_PATH};
    for (const SHEET_FILE &sheet : SHEETS)
        files.push_back(sheet.path);
    for (const char *path : files) {
        SCOPED_TRACE(path);
        RGBA_PTR rgba(rgba_load(path));
        ASSERT_NE(rgba, nullptr);
        int partial = 0;
        for (int i = 0; i < rgba->w * rgba->h; i++) {
            uint8_t alpha = rgba->bytes[i * 4 + 3];
            partial += alpha != 0 && alpha != 255 ? 1 : 0;
        }
        EXPECT_EQ(partial, 0);
    }
}

// The application's icon: a rounded square (its corners empty, its middle opaque) showing a
// glider of the toy's live-cell dots in mint, (0.2, 1.0, 0.6), added as light to the dark blue
// backdrop, 0.3 times (0.2, 0.6, 1.0): (0.26, 1.0, 0.9) where a dot is
TEST_F(Art, AppIconsDecodeAtTheThemeSizesAsRoundedSquaresWithAGliderOfDots)
{
    constexpr std::array<int, 3> LIT_DOT = {66, 255, 230};
    constexpr int DOT_PIXELS = 37;    // the dot glyph's pixels
    constexpr int GLIDER_CELLS = 5;
    for (const APP_ICON_FILE &icon : APP_ICONS) {
        SCOPED_TRACE(icon.path);
        RGBA_PTR rgba(rgba_load(icon.path));
        ASSERT_NE(rgba, nullptr);
        ASSERT_EQ(rgba->w, icon.side);
        ASSERT_EQ(rgba->h, icon.side);
        auto at = [&](int x, int y) { return &rgba->bytes[(static_cast<size_t>(y) * icon.side + x) * 4]; };
        const int last = icon.side - 1, middle = icon.side / 2;
        for (const uint8_t *corner : {at(0, 0), at(last, 0), at(0, last), at(last, last)})
            EXPECT_EQ(corner[3], 0);
        EXPECT_EQ(at(middle, middle)[3], 255);
        int lit = 0;
        for (int i = 0; i < icon.side * icon.side; i++) {
            const uint8_t *p = &rgba->bytes[i * 4];
            lit += p[0] == LIT_DOT[0] && p[1] == LIT_DOT[1] && p[2] == LIT_DOT[2] && p[3] == 255 ? 1 : 0;
        }
        // Whole dots drawn at a whole multiple of the font's size, the same in both directions
        const int zoom = static_cast<int>(std::lround(std::sqrt(lit / static_cast<double>(GLIDER_CELLS * DOT_PIXELS))));
        EXPECT_GE(zoom, 1);
        EXPECT_EQ(lit, GLIDER_CELLS * DOT_PIXELS * zoom * zoom);
    }
}

TEST_F(Art, EachIconSheetYieldsExactlyOneSprite)
{
    for (const SHEET_FILE &sheet : SHEETS) {
        SCOPED_TRACE(sheet.path);
        int before = sprite_count();
        SPRITESHEET record{};
        EXPECT_EQ(atlas_load_spritesheet(page, &record, sheet.w, sheet.h, 0, SHEET_BORDER, sheet.path), 0);
        EXPECT_EQ(record.total, 1);
        ASSERT_EQ(sprite_count(), before + 1);
        const SPRITE *s = sprite_get(before);
        EXPECT_EQ(s->boxw, sheet.w);
        EXPECT_EQ(s->boxh, sheet.h);
        EXPECT_GT(s->w, 1) << "the tile is not empty";
    }
}

TEST_F(Art, GameIconsFillTheirWholeTile)
{
    // The about screen sizes each icon's button and glow trail from the icon: an icon that the
    // atlas trimmed would sit off centre in them
    for (const SHEET_FILE &sheet : SHEETS) {
        if (sheet.w != sheet.h)
            continue;
        SCOPED_TRACE(sheet.path);
        int before = sprite_count();
        ASSERT_EQ(atlas_load_spritesheet(page, nullptr, sheet.w, sheet.h, 0, SHEET_BORDER, sheet.path), 0);
        const SPRITE *s = sprite_get(before);
        EXPECT_EQ(s->w, sheet.w);
        EXPECT_EQ(s->h, sheet.h);
        EXPECT_EQ(s->xoff, 0);
        EXPECT_EQ(s->yoff, 0);
    }
}

TEST_F(Art, StartUpAtlasFitsOneFiveHundredTwelvePage)
{
    // The fixture loaded the font as the shell does; the five sheets follow in the shell's order
    int sprites_before = sprite_count();
    for (const SHEET_FILE &sheet : SHEETS)
        ASSERT_EQ(atlas_load_spritesheet(page, nullptr, sheet.w, sheet.h, 0, SHEET_BORDER, sheet.path), 0) << sheet.path;
    ASSERT_EQ(sprite_count(), sprites_before + static_cast<int>(SHEETS.size())) << "a sheet did not fit the page";
    ASSERT_EQ(page->texture_w, PAGE_SIDE);
    ASSERT_EQ(page->texture_h, PAGE_SIDE);
    for (int i = static_cast<int>(font.glyphbase); i < sprite_count(); i++) {
        const SPRITE *s = sprite_get(i);
        EXPECT_EQ(s->atlas, page);
        EXPECT_GE(s->atlasx, 0);
        EXPECT_GE(s->atlasy, 0);
        EXPECT_LE(s->atlasx + s->w, PAGE_SIDE) << "sprite " << i;
        EXPECT_LE(s->atlasy + s->h, PAGE_SIDE) << "sprite " << i;
    }
    EXPECT_EQ(atlas_upload(page, 0, 3), 1);
}

//----------------------------------------------------------------------------------
// The generator
//----------------------------------------------------------------------------------
TEST(ArtGenerator, RegeneratingReproducesTheCommittedFilesByteForByte)
{
    std::string artgen = artgen_path();
    if (artgen.empty())
        GTEST_SKIP() << "set ARTGEN_PATH to the built artgen to compare its output with the committed art";
    std::string out = process_temp_dir("lumtest-art");
    ASSERT_FALSE(out.empty());
    std::string error;
    pid_t pid = process_spawn({artgen, "assets", out, out + "/art.png", out}, {}, -1, -1, -1, SIGKILL, error);
    ASSERT_GT(pid, 0) << error;
    int status = 0;
    ASSERT_TRUE(process_reap(pid, 60.0, status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "artgen failed";
    for (const char *path : GENERATED) {
        std::string name = std::string(path).substr(std::string(path).find('/') + 1);
        std::string committed = file_bytes(path), made = file_bytes(out + "/" + name);
        EXPECT_FALSE(committed.empty()) << path;
        EXPECT_TRUE(committed == made) << path << " differs from what artgen makes now: run `make art`";
    }
    process_remove_dir(out);
}
