// Tests of the sprite atlas and image decoding: pages, pieces and their frames, sheets cut into
// trimmed tiles, glyphs found on a marker colour, fonts, uploads read back from the card, and
// shut-down. Pieces built from pixels in memory need no display; decoding (which converts to
// the display's format) and uploads run the real SDL layer in a private virtual X display, one
// process per test as CTest runs them. Image files are written by the tests into a temporary
// directory.
#include <gtest/gtest.h>

#include <GL/gl.h>
#include <zlib.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <regex>
#include <string>
#include <vector>

#include "atlas.h"
#include "capture.h"
#include "draw.h"
#include "lum.h"
#include "png.h"
#include "process.h"
#include "sprite.h"
#include "test_display.h"
#include "texture-atlas.h"
#include "turtle.h"
#include "wrapper.h"
#include "wrapper_image.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int WINDOW_W = 128;  // the window of the tests that need a video mode
constexpr int WINDOW_H = 128;

//----------------------------------------------------------------------------------
// Pixels
//----------------------------------------------------------------------------------
// One pixel as four numbers, so that failures print readably
using PX = std::array<int, 4>;

const PX ZERO = {0, 0, 0, 0};
const PX MAGENTA = {255, 0, 255, 255};

// An image in memory, rows from the top
struct PIXELS {
    int w = 0, h = 0;
    std::vector<uint8_t> bytes;

    PIXELS(int width, int height, PX fill = ZERO)
        : w(width), h(height), bytes(static_cast<size_t>(width * height) * 4)
    {
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++)
                set(x, y, fill);
    }
    void set(int x, int y, PX p)
    {
        for (int i = 0; i < 4; i++)
            bytes[static_cast<size_t>((y * w + x) * 4 + i)] = static_cast<uint8_t>(p[static_cast<size_t>(i)]);
    }
    void fill_rect(int x, int y, int rw, int rh, PX p)
    {
        for (int j = 0; j < rh; j++)
            for (int i = 0; i < rw; i++)
                set(x + i, y + j, p);
    }
    // A view for the atlas (valid while this object lives)
    RGBA_DATA data() { return RGBA_DATA{w, h, bytes.data()}; }
};

// A pixel of a buffer of 4-byte pixels, w a row
PX pixel_of(const uint8_t *bytes, int w, int x, int y)
{
    const uint8_t *p = bytes + (static_cast<size_t>(y) * w + x) * 4;
    return {p[0], p[1], p[2], p[3]};
}

// A pixel of a page
PX page_at(const IMAGE *image, int x, int y)
{
    return pixel_of(image->rgba, image->texture_w, x, y);
}

// A pixel of a sprite's piece on its page
PX piece_at(const SPRITE *sprite, int x, int y)
{
    return page_at(sprite->atlas, sprite->atlasx + x, sprite->atlasy + y);
}

//----------------------------------------------------------------------------------
// Log capture
//----------------------------------------------------------------------------------
// The log messages `body` writes
std::vector<std::string> logged(const std::function<void()> &body)
{
    return log_messages(capture_stdout(body));
}

using LINES = std::vector<std::string>;

//----------------------------------------------------------------------------------
// PNG files
//----------------------------------------------------------------------------------
// Append a 32-bit number, most significant byte first
void put_u32(std::vector<uint8_t> &out, uint32_t v)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<uint8_t>(v >> shift));
}

// Append one chunk: length, type, data, CRC over type and data
void put_chunk(std::vector<uint8_t> &out, const char *type, const std::vector<uint8_t> &data)
{
    put_u32(out, static_cast<uint32_t>(data.size()));
    size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    put_u32(out, static_cast<uint32_t>(crc32(0, &out[start], static_cast<uInt>(out.size() - start))));
}

// Write an 8-bit PNG of the given colour type (2 RGB, 3 paletted) with optional PLTE and tRNS
// chunks; `samples` holds `channels` bytes a pixel, rows from the top. The project's writer
// makes plain RGB and RGBA files only, and colour keys need the tRNS chunk.
bool write_keyed_png(const std::string &path, int w, int h, int colour_type, int channels,
                     const std::vector<uint8_t> &samples, const std::vector<uint8_t> &plte,
                     const std::vector<uint8_t> &trns)
{
    std::vector<uint8_t> out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    put_u32(header, static_cast<uint32_t>(w));
    put_u32(header, static_cast<uint32_t>(h));
    header.insert(header.end(), {8, static_cast<uint8_t>(colour_type), 0, 0, 0});
    put_chunk(out, "IHDR", header);
    if (!plte.empty())
        put_chunk(out, "PLTE", plte);
    if (!trns.empty())
        put_chunk(out, "tRNS", trns);
    std::vector<uint8_t> raw;
    for (int y = 0; y < h; y++) {
        raw.push_back(0);
        auto row = samples.begin() + static_cast<long>(y) * w * channels;
        raw.insert(raw.end(), row, row + static_cast<long>(w) * channels);
    }
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    std::vector<uint8_t> packed(size);
    if (compress(packed.data(), &size, raw.data(), static_cast<uLong>(raw.size())) != Z_OK)
        return false;
    packed.resize(size);
    put_chunk(out, "IDAT", packed);
    put_chunk(out, "IEND", {});
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    bool ok = std::fwrite(out.data(), 1, out.size(), f) == out.size();
    return std::fclose(f) == 0 && ok;
}

// Write bytes to a file as they are
bool write_bytes(const std::string &path, const std::vector<uint8_t> &bytes)
{
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    bool ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

// Read a whole file
std::vector<uint8_t> read_bytes(const std::string &path)
{
    std::vector<uint8_t> bytes;
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (!f)
        return bytes;
    int c;
    while ((c = std::fgetc(f)) != EOF)
        bytes.push_back(static_cast<uint8_t>(c));
    std::fclose(f);
    return bytes;
}

//----------------------------------------------------------------------------------
// Test images
//----------------------------------------------------------------------------------
// A sheet 240 wide of two rows of 72-pixel tiles, blank but for two opaque pixels: (10, 5),
// which tile 3 (at x = 216) also sees at (34, 4) through its overrun into the next row, and
// (5, 143) on the last row, which tile 7 sees at (29, 70)
PIXELS wide_sheet()
{
    PIXELS sheet(240, 144);
    sheet.set(10, 5, {200, 100, 50, 255});
    sheet.set(5, 143, {10, 20, 30, 255});
    return sheet;
}

// The marker colour of the font images
const PX MARKER = {0, 255, 0, 255};

// The pixel (x, y) of a glyph box in a font image: never the marker colour, partly transparent
PX glyph_colour(int x, int y)
{
    return {x * 10, y * 10, 200, (x + y) % 3 ? 255 : 0};
}

// A font image on the marker colour with four glyph boxes; in reading order of their top-left
// corners they are A (1, 1) 3 x 4, B (5, 1) 2 x 2, D (9, 3) 4 x 5 and C (1, 6) 5 x 3
PIXELS font_image()
{
    PIXELS font(20, 12, MARKER);
    const int boxes[4][4] = {{1, 1, 3, 4}, {5, 1, 2, 2}, {9, 3, 4, 5}, {1, 6, 5, 3}};
    for (const auto &b : boxes)
        for (int y = b[1]; y < b[1] + b[3]; y++)
            for (int x = b[0]; x < b[0] + b[2]; x++)
                font.set(x, y, glyph_colour(x, y));
    return font;
}

// The pixel (c, r) of the 3 x 2 piece of the frame tests
PX piece_colour(int c, int r)
{
    return {10 + c, 20 + r, 30, 255};
}

// The 5 x 4 pixels around and in a 3 x 2 piece placed at (1, 1)
std::vector<std::vector<PX>> frame_area(const IMAGE *image)
{
    std::vector<std::vector<PX>> rows;
    for (int y = 0; y < 4; y++) {
        rows.emplace_back();
        for (int x = 0; x < 5; x++)
            rows.back().push_back(page_at(image, x, y));
    }
    return rows;
}

//----------------------------------------------------------------------------------
// Fixtures
//----------------------------------------------------------------------------------
// The atlas started with an empty sprite table, and a temporary directory for image files
class Atlas : public ::testing::Test {
protected:
    std::string dir;

    void SetUp() override
    {
        dir = process_temp_dir("lumtest-atlas");
        ASSERT_FALSE(dir.empty());
        sprites_.fill(SPRITE{});
        spritecount = 0;
        EXPECT_EQ(logged([] { EXPECT_EQ(atlas_init(), 0); }), LINES{"atlas: init"});
    }

    void TearDown() override
    {
        capture_stdout(atlas_exit);
        process_remove_dir(dir);
    }

    std::string path(const char *name) const { return dir + "/" + name; }

    // Write an RGBA image as a PNG file and return its path
    std::string write_png(const char *name, PIXELS &pixels) const
    {
        std::string p = path(name);
        EXPECT_EQ(png_write(p.c_str(), pixels.w, pixels.h, 4, pixels.bytes.data()), 1);
        return p;
    }

    // Open a page on atlas `index` quietly
    IMAGE *page(int index, int w, int h)
    {
        IMAGE *image = atlas_get(index);
        capture_stdout([&] { EXPECT_NE(atlas_create_texture(image, w, h), nullptr); });
        return image;
    }

    // Cut a sheet from memory quietly; returns the result
    int cut(IMAGE *image, SPRITESHEET &sheet, int border = ATLAS_BORDER_CLEAR)
    {
        int result = 0;
        capture_stdout([&] { result = atlas_add_sprite_sheet(image, &sheet, border); });
        return result;
    }
};

// The atlas on the real SDL layer with a small OpenGL window in a private X display
class AtlasGl : public Atlas {
protected:
    TEST_DISPLAY display;

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(test_display_start(display, error)) << error;
        capture_stdout([] {
            EXPECT_EQ(lum_init(), 1);
            EXPECT_EQ(wrapper_set_graphics(WINDOW_W, WINDOW_H, 0, 0), 1);
        });
        Atlas::SetUp();
    }

    void TearDown() override
    {
        Atlas::TearDown();
        test_display_pin_libraries();
        capture_stdout(lum_exit);
        test_display_stop(display);
    }

    // Upload quietly; returns the result
    int upload(IMAGE *image, int linear, int format)
    {
        int result = 0;
        capture_stdout([&] { result = atlas_upload(image, linear, format); });
        return result;
    }
};

// Read a texture back as `format` bytes of `channels` a texel
std::vector<uint8_t> read_texture(GLuint texture, int w, int h, GLenum format, int channels)
{
    std::vector<uint8_t> texels(static_cast<size_t>(w * h * channels));
    glBindTexture(GL_TEXTURE_2D, texture);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, format, GL_UNSIGNED_BYTE, texels.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    last_texture = 0;
    return texels;
}

// A parameter of a texture
GLint texture_parameter(GLuint texture, GLenum name)
{
    GLint value = 0;
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
    glBindTexture(GL_TEXTURE_2D, 0);
    last_texture = 0;
    return value;
}

// A 4 x 4 page whose pixels are all different: red and green give the position, blue and
// alpha are chosen to test the 16-bit texel formats
IMAGE *patterned_page(IMAGE *image)
{
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) {
            uint8_t *p = image->rgba + (y * 4 + x) * 4;
            p[0] = static_cast<uint8_t>(0x10 + x * 0x40 + y);
            p[1] = static_cast<uint8_t>(0x08 + y * 0x40 + x * 3);
            p[2] = static_cast<uint8_t>(0xC7 - x * 0x21 - y * 7);
            p[3] = static_cast<uint8_t>(x == y ? 0x7F : 0x80 + x * 0x11 + y);
        }
    return image;
}

// Whether `value` is the 8-bit reading of an n-bit quantity `q` (exact rounding of q / max,
// allowing the one-step difference of conversions that replicate bits instead)
::testing::AssertionResult is_expanded(int value, int q, int bits)
{
    int max = (1 << bits) - 1;
    int exact = (q * 255 + max / 2) / max;
    if (std::abs(value - exact) <= 1)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << value << " is not the " << bits << "-bit value " << q << " (" << exact
                                         << ")";
}

}  // namespace

//==================================================================================
// Tables
//==================================================================================
TEST_F(Atlas, InitZeroesTheAtlasesButNotTheSprites)
{
    atlas_get(3)->texture_w = 64;
    atlas_get_full(3)->batch[1].count = 5;
    sprites_[7].w = 9;
    spritecount = 8;
    EXPECT_EQ(logged([] { EXPECT_EQ(atlas_init(), 0); }), LINES{"atlas: init"});
    EXPECT_EQ(atlas_get(3)->texture_w, 0);
    EXPECT_EQ(atlas_get_full(3)->batch[1].count, 0);
    EXPECT_EQ(sprites_[7].w, 9);
    EXPECT_EQ(spritecount, 8);
}

TEST_F(Atlas, AtlasIndexIsMaskedWithFifteen)
{
    EXPECT_EQ(atlas_get(16), atlas_get(0));
    EXPECT_EQ(atlas_get(17), atlas_get(1));
    EXPECT_EQ(atlas_get(-1), atlas_get(15));
    EXPECT_EQ(atlas_get(5), &atlas_[5].image);
    EXPECT_EQ(atlas_get_full(21), &atlas_[5]);
    EXPECT_EQ(atlas_from_image(atlas_get(9)), &atlas_[9]);
}

TEST_F(Atlas, SpriteIndexIsMaskedWith4095)
{
    EXPECT_EQ(sprite_get(4096), sprite_get(0));
    EXPECT_EQ(sprite_get(4097), &sprites_[1]);
    EXPECT_EQ(sprite_get(-1), &sprites_[4095]);
}

TEST_F(Atlas, RgbaFreeIgnoresNull)
{
    rgba_free(nullptr);
}

//==================================================================================
// Opening a page
//==================================================================================
TEST_F(Atlas, PageIsRoundedUpToPowersOfTwoAndFilledWithMagenta)
{
    IMAGE *image = atlas_get(0);
    uint8_t *pixels = nullptr;
    EXPECT_EQ(logged([&] { pixels = atlas_create_texture(image, 300, 200); }),
              LINES{"Created 512x256 texture for atlas named '[no name]'"});
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels, image->rgba);
    EXPECT_EQ(image->texture_w, 512);
    EXPECT_EQ(image->texture_h, 256);
    for (int y = 0; y < 256; y++)
        for (int x = 0; x < 512; x++)
            ASSERT_EQ(page_at(image, x, y), MAGENTA) << "at " << x << ", " << y;
    ASSERT_NE(atlas_packer(), nullptr);
    EXPECT_EQ(atlas_packer()->width, 300u);
    EXPECT_EQ(atlas_packer()->height, 200u);
    EXPECT_EQ(atlas_packer()->depth, 4u);
}

TEST_F(Atlas, OpeningAPageZeroesTheRecordNameIncluded)
{
    IMAGE *image = atlas_get(2);
    image->name = "icons";
    image->markerx = 4;
    image->markery = 5;
    image->markerh = 6;
    EXPECT_EQ(logged([&] { atlas_create_texture(image, 16, 16); }),
              LINES{"Created 16x16 texture for atlas named '[no name]'"});
    EXPECT_EQ(image->name, nullptr);
    EXPECT_EQ(image->markerx, 0);
    EXPECT_EQ(image->markery, 0);
    EXPECT_EQ(image->markerh, 0);
    EXPECT_EQ(image->opengl_texture, 0u);
}

TEST_F(Atlas, SizeZeroGivesA512PageButAPackerOfZero)
{
    IMAGE *image = atlas_get(0);
    EXPECT_EQ(logged([&] { atlas_create_texture(image, 0, 0); }),
              LINES{"Created 512x512 texture for atlas named '[no name]'"});
    EXPECT_EQ(image->texture_w, 512);
    EXPECT_EQ(image->texture_h, 512);
    ASSERT_NE(atlas_packer(), nullptr);
    EXPECT_EQ(atlas_packer()->width, 0u);
    EXPECT_EQ(atlas_packer()->height, 0u);

    // Such a page takes no pieces: a loader says so and goes on
    PIXELS pixels(8, 8, {1, 2, 3, 255});
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {1, 0, 8, 8, &data};
    EXPECT_EQ(cut(image, sheet), 1);
    EXPECT_EQ(spritecount, 0);
}

TEST_F(Atlas, OneZeroSideAlsoGivesThe512Page)
{
    IMAGE *image = page(0, 0, 300);
    EXPECT_EQ(image->texture_w, 512);
    EXPECT_EQ(image->texture_h, 512);
    EXPECT_EQ(atlas_packer()->width, 0u);
    EXPECT_EQ(atlas_packer()->height, 300u);
}

TEST_F(Atlas, NegativeSizeGivesThe512PageAndAPackerOfZero)
{
    IMAGE *image = page(0, -5, -7);
    EXPECT_EQ(image->texture_w, 512);
    EXPECT_EQ(image->texture_h, 512);
    EXPECT_EQ(atlas_packer()->width, 0u);
    EXPECT_EQ(atlas_packer()->height, 0u);
}

TEST_F(Atlas, SideOfOneIsAPageOfOne)
{
    IMAGE *image = page(0, 1, 3);
    EXPECT_EQ(image->texture_w, 1);
    EXPECT_EQ(image->texture_h, 4);
}

TEST_F(Atlas, PageTooLargeIsRefusedWithNothingBeingBuilt)
{
    IMAGE *image = page(0, 16, 16);
    EXPECT_EQ(logged([&] { EXPECT_EQ(atlas_create_texture(image, 65536, 4), nullptr); }),
              LINES{"Atlas page 65536x4 is too large"});
    EXPECT_EQ(image->rgba, nullptr);
    EXPECT_EQ(image->texture_w, 0);
    EXPECT_EQ(atlas_packer(), nullptr);
    // 32768 x 32768 pixels would be 4 GiB
    EXPECT_EQ(logged([&] { EXPECT_EQ(atlas_create_texture(image, 32768, 32768), nullptr); }),
              LINES{"Atlas page 32768x32768 is too large"});
    EXPECT_EQ(atlas_packer(), nullptr);
    EXPECT_EQ(logged([] { EXPECT_EQ(atlas_create_texture(nullptr, 16, 16), nullptr); }), LINES{});
}

TEST_F(Atlas, ReopeningAPageReplacesThePacker)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels(4, 4, {1, 1, 1, 255});
    atlas_add_rgba_image(image, pixels.bytes.data(), 4, 4, 4, 0);
    EXPECT_EQ(atlas_packer()->used, 16u);
    page(0, 32, 32);
    EXPECT_EQ(image->texture_w, 32);
    EXPECT_EQ(atlas_packer()->width, 32u);
    EXPECT_EQ(atlas_packer()->used, 0u);
    EXPECT_EQ(page_at(image, 1, 1), MAGENTA);
}

//==================================================================================
// Adding pieces and their frames
//==================================================================================
TEST_F(Atlas, PieceIsCopiedToTheRegionAndBecomesTheNextSprite)
{
    IMAGE *image = page(0, 16, 16);
    PIXELS pixels(3, 2);
    for (int r = 0; r < 2; r++)
        for (int c = 0; c < 3; c++)
            pixels.set(c, r, piece_colour(c, r));
    sprites_[0].boxw = 77;  // left as the table holds it
    spritecount = 0;
    SPRITE *sprite = atlas_add_rgba_image(image, pixels.bytes.data(), 3, 2, 3, ATLAS_BORDER_NONE);
    ASSERT_EQ(sprite, &sprites_[0]);
    EXPECT_EQ(spritecount, 1);
    EXPECT_EQ(sprite->atlasx, 1);
    EXPECT_EQ(sprite->atlasy, 1);
    EXPECT_EQ(sprite->w, 3);
    EXPECT_EQ(sprite->h, 2);
    EXPECT_EQ(sprite->atlas, image);
    EXPECT_EQ(sprite->boxw, 77);
    EXPECT_EQ(atlas_packer()->used, 6u);
    for (int r = 0; r < 2; r++)
        for (int c = 0; c < 3; c++)
            EXPECT_EQ(piece_at(sprite, c, r), piece_colour(c, r));
}

TEST_F(Atlas, StrideSkipsThePixelsBetweenRows)
{
    IMAGE *image = page(0, 16, 16);
    PIXELS source(5, 3, {9, 9, 9, 9});
    source.set(0, 0, {1, 0, 0, 255});
    source.set(1, 0, {2, 0, 0, 255});
    source.set(0, 1, {3, 0, 0, 255});
    source.set(1, 1, {4, 0, 0, 255});
    SPRITE *sprite = atlas_add_rgba_image(image, source.bytes.data(), 2, 2, 5, ATLAS_BORDER_NONE);
    ASSERT_NE(sprite, nullptr);
    EXPECT_EQ(piece_at(sprite, 0, 0), (PX{1, 0, 0, 255}));
    EXPECT_EQ(piece_at(sprite, 1, 0), (PX{2, 0, 0, 255}));
    EXPECT_EQ(piece_at(sprite, 0, 1), (PX{3, 0, 0, 255}));
    EXPECT_EQ(piece_at(sprite, 1, 1), (PX{4, 0, 0, 255}));
}

TEST_F(Atlas, NoBorderLeavesTheSurroundingsAlone)
{
    IMAGE *image = page(0, 16, 16);
    PIXELS pixels(3, 2, {5, 5, 5, 255});
    atlas_add_rgba_image(image, pixels.bytes.data(), 3, 2, 3, ATLAS_BORDER_NONE);
    PX P = {5, 5, 5, 255}, M = MAGENTA;
    EXPECT_EQ(frame_area(image), (std::vector<std::vector<PX>>{
                                     {M, M, M, M, M},
                                     {M, P, P, P, M},
                                     {M, P, P, P, M},
                                     {M, M, M, M, M},
                                 }));
    // and takes no spare line
    EXPECT_EQ(atlas_packer()->used, 6u);
}

// Add the 3 x 2 piece of the frame tests at (1, 1) with a border mode
SPRITE *add_frame_piece(IMAGE *image, int border)
{
    PIXELS pixels(3, 2);
    for (int r = 0; r < 2; r++)
        for (int c = 0; c < 3; c++)
            pixels.set(c, r, piece_colour(c, r));
    return atlas_add_rgba_image(image, pixels.bytes.data(), 3, 2, 3, border);
}

TEST_F(Atlas, BorderOneIsATransparentFrame)
{
    IMAGE *image = page(0, 16, 16);
    SPRITE *sprite = add_frame_piece(image, ATLAS_BORDER_CLEAR);
    ASSERT_NE(sprite, nullptr);
    EXPECT_EQ(sprite->w, 3);
    EXPECT_EQ(sprite->h, 2);
    PX a = piece_colour(0, 0), b = piece_colour(1, 0), c = piece_colour(2, 0);
    PX d = piece_colour(0, 1), e = piece_colour(1, 1), f = piece_colour(2, 1), Z = ZERO;
    EXPECT_EQ(frame_area(image), (std::vector<std::vector<PX>>{
                                     {Z, Z, Z, Z, Z},
                                     {Z, a, b, c, Z},
                                     {Z, d, e, f, Z},
                                     {Z, Z, Z, Z, Z},
                                 }));
    EXPECT_EQ(page_at(image, 5, 1), MAGENTA);
    EXPECT_EQ(page_at(image, 1, 4), MAGENTA);
    // the spare column and row are counted as used
    EXPECT_EQ(atlas_packer()->used, 12u);
}

TEST_F(Atlas, BorderTwoExtendsTheEdgesCornersIncluded)
{
    IMAGE *image = page(0, 16, 16);
    ASSERT_NE(add_frame_piece(image, ATLAS_BORDER_EXTEND), nullptr);
    PX a = piece_colour(0, 0), b = piece_colour(1, 0), c = piece_colour(2, 0);
    PX d = piece_colour(0, 1), e = piece_colour(1, 1), f = piece_colour(2, 1);
    EXPECT_EQ(frame_area(image), (std::vector<std::vector<PX>>{
                                     {a, a, b, c, c},
                                     {a, a, b, c, c},
                                     {d, d, e, f, f},
                                     {d, d, e, f, f},
                                 }));
}

TEST_F(Atlas, BorderThreeWrapsTheEdges)
{
    IMAGE *image = page(0, 16, 16);
    ASSERT_NE(add_frame_piece(image, ATLAS_BORDER_WRAP), nullptr);
    PX a = piece_colour(0, 0), b = piece_colour(1, 0), c = piece_colour(2, 0);
    PX d = piece_colour(0, 1), e = piece_colour(1, 1), f = piece_colour(2, 1);
    EXPECT_EQ(frame_area(image), (std::vector<std::vector<PX>>{
                                     {f, d, e, f, d},
                                     {c, a, b, c, a},
                                     {f, d, e, f, d},
                                     {c, a, b, c, a},
                                 }));
}

TEST_F(Atlas, OtherBorderValuesGiveATransparentFrame)
{
    IMAGE *image = page(0, 16, 16);
    ASSERT_NE(add_frame_piece(image, 7), nullptr);
    EXPECT_EQ(page_at(image, 0, 1), ZERO);
    EXPECT_EQ(page_at(image, 4, 2), ZERO);
    EXPECT_EQ(page_at(image, 2, 0), ZERO);
    EXPECT_EQ(page_at(image, 2, 3), ZERO);
    EXPECT_EQ(atlas_packer()->used, 12u);
}

TEST_F(Atlas, NeighboursShareAFrameLineAndTheLaterPieceWins)
{
    IMAGE *image = page(0, 16, 16);
    PIXELS first(2, 2, {100, 0, 0, 255});
    PIXELS second(2, 2, {0, 200, 0, 255});
    second.set(0, 0, {0, 201, 0, 255});
    SPRITE *a = atlas_add_rgba_image(image, first.bytes.data(), 2, 2, 2, ATLAS_BORDER_EXTEND);
    SPRITE *b = atlas_add_rgba_image(image, second.bytes.data(), 2, 2, 2, ATLAS_BORDER_EXTEND);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(a->atlasx, 1);
    EXPECT_EQ(a->atlasy, 1);
    EXPECT_EQ(b->atlasx, 4);
    EXPECT_EQ(b->atlasy, 1);
    // Column 3 was the first piece's right frame; it now extends the second piece's left edge
    EXPECT_EQ(page_at(image, 3, 1), (PX{0, 201, 0, 255}));
    EXPECT_EQ(page_at(image, 3, 2), (PX{0, 200, 0, 255}));
    EXPECT_EQ(page_at(image, 3, 0), (PX{0, 201, 0, 255}));
    EXPECT_EQ(page_at(image, 0, 0), (PX{100, 0, 0, 255}));
    EXPECT_EQ(page_at(image, 2, 3), (PX{100, 0, 0, 255}));
}

TEST_F(Atlas, UnusablePiecesAreRefused)
{
    IMAGE *image = page(0, 16, 16);
    PIXELS pixels(2, 2, {1, 1, 1, 1});
    const uint8_t *p = pixels.bytes.data();
    EXPECT_EQ(atlas_add_rgba_image(nullptr, p, 2, 2, 2, 0), nullptr);
    EXPECT_EQ(atlas_add_rgba_image(image, nullptr, 2, 2, 2, 0), nullptr);
    EXPECT_EQ(atlas_add_rgba_image(image, p, 0, 2, 2, 0), nullptr);
    EXPECT_EQ(atlas_add_rgba_image(image, p, 2, -1, 2, 0), nullptr);
    EXPECT_EQ(atlas_add_rgba_image(image, p, 2, 2, 1, 0), nullptr);
    EXPECT_EQ(atlas_add_rgba_image(atlas_get(1), p, 2, 2, 2, 0), nullptr) << "a page without pixels";
    EXPECT_EQ(spritecount, 0);
    EXPECT_EQ(atlas_packer()->used, 0u);
}

TEST_F(Atlas, FullSpriteTableRefusesInsteadOfOverwritingSpriteZero)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels(2, 2, {1, 1, 1, 255});
    sprites_[0].w = 42;
    spritecount = SPRITE_MAX - 1;
    SPRITE *last = atlas_add_rgba_image(image, pixels.bytes.data(), 2, 2, 2, 0);
    EXPECT_EQ(last, &sprites_[SPRITE_MAX - 1]);
    EXPECT_EQ(spritecount, SPRITE_MAX);
    EXPECT_EQ(atlas_add_rgba_image(image, pixels.bytes.data(), 2, 2, 2, 0), nullptr);
    EXPECT_EQ(spritecount, SPRITE_MAX);
    EXPECT_EQ(sprites_[0].w, 42);
    EXPECT_EQ(atlas_packer()->used, 4u) << "no room taken for a refused piece";
}

using AtlasDeathTest = Atlas;

TEST_F(AtlasDeathTest, PieceOnAFullPageIsAnAssertionFailure)
{
    IMAGE *image = page(0, 8, 8);
    PIXELS pixels(7, 7, {1, 1, 1, 255});
    EXPECT_DEATH(atlas_add_rgba_image(image, pixels.bytes.data(), 7, 7, 7, 0), "Assertion `region.x >= 0' failed.");
}

TEST_F(AtlasDeathTest, PieceAfterTheUploadIsAnAssertionFailure)
{
    IMAGE *image = page(0, 16, 16);
    capture_stdout([&] { atlas_upload(image, 0, 0); });
    ASSERT_EQ(atlas_packer(), nullptr);
    PIXELS pixels(2, 2, {1, 1, 1, 255});
    EXPECT_DEATH(atlas_add_rgba_image(image, pixels.bytes.data(), 2, 2, 2, 0), "Assertion `region.x >= 0' failed.");
}

//==================================================================================
// Sheets
//==================================================================================
TEST_F(Atlas, TilesOf72OnA240SheetStartAtFourColumnsAndOverrunIntoTheNextRow)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = wide_sheet();
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {0, 0, 72, 72, &data};
    LINES log = logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, ATLAS_BORDER_CLEAR), 0); });
    EXPECT_EQ(log, (LINES{"8 sprites added", "    atlas size: 16384 (64x64)", "    atlas used: 72",
                          "    atlas left: 16096", "    1.76% used"}));
    EXPECT_EQ(sheet.total, 8);
    ASSERT_EQ(spritecount, 8);

    // Tile 0 holds (10, 5); tile 3, at x = 216, sees it again at (34, 4) in the next row
    EXPECT_EQ(sprites_[0].boxx, 10);
    EXPECT_EQ(sprites_[0].boxy, 5);
    EXPECT_EQ(sprites_[3].boxx, 34);
    EXPECT_EQ(sprites_[3].boxy, 4);
    EXPECT_EQ(piece_at(&sprites_[3], 0, 0), (PX{200, 100, 50, 255}));
    // Tile 4 holds (5, 143) on its last row: the evened-up box moves one up
    EXPECT_EQ(sprites_[4].boxx, 5);
    EXPECT_EQ(sprites_[4].boxy, 70);
    EXPECT_EQ(piece_at(&sprites_[4], 0, 1), (PX{10, 20, 30, 255}));
    // Tile 7 overruns the end of the sheet's pixels: what lies past them is blank
    EXPECT_EQ(sprites_[7].boxx, 29);
    EXPECT_EQ(sprites_[7].boxy, 70);
    for (int i : {1, 2, 5, 6}) {
        EXPECT_EQ(sprites_[i].boxx, 0) << "tile " << i;
        EXPECT_EQ(sprites_[i].boxy, 0) << "tile " << i;
    }
    for (int i = 0; i < 8; i++) {
        EXPECT_EQ(sprites_[i].w, 2) << "tile " << i;
        EXPECT_EQ(sprites_[i].h, 2) << "tile " << i;
        EXPECT_EQ(sprites_[i].boxw, 72) << "tile " << i;
        EXPECT_EQ(sprites_[i].boxh, 72) << "tile " << i;
        EXPECT_EQ(sprites_[i].atlas, image);
    }
}

TEST_F(Atlas, TrimmingEvensUpOddBoxesInEvenTiles)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels(24, 8);
    pixels.fill_rect(5, 5, 3, 3, {1, 2, 3, 255});    // tile 0: 3 x 3 against the far corner
    pixels.fill_rect(9, 2, 3, 2, {4, 5, 6, 255});    // tile 1: 3 x 2 at (1, 2)
    pixels.set(11, 3, {9, 0, 0, 0});                 // colour without alpha is still visible
    SPRITESHEET sheet = {0, 0, 8, 8, nullptr};
    RGBA_DATA data = pixels.data();
    sheet.rgba = &data;
    EXPECT_EQ(cut(image, sheet), 0);
    ASSERT_EQ(spritecount, 3);

    const SPRITE &t0 = sprites_[0];
    EXPECT_EQ((std::array<int, 6>{t0.boxx, t0.boxy, t0.w, t0.h, t0.xoff, t0.yoff}),
              (std::array<int, 6>{4, 4, 4, 4, 2, 2}));
    EXPECT_EQ(piece_at(&t0, 0, 0), ZERO);
    EXPECT_EQ(piece_at(&t0, 1, 1), (PX{1, 2, 3, 255}));

    const SPRITE &t1 = sprites_[1];
    EXPECT_EQ((std::array<int, 6>{t1.boxx, t1.boxy, t1.w, t1.h, t1.xoff, t1.yoff}),
              (std::array<int, 6>{1, 2, 4, 2, -1, -1}));
    EXPECT_EQ(piece_at(&t1, 0, 0), (PX{4, 5, 6, 255}));
    EXPECT_EQ(piece_at(&t1, 2, 1), (PX{9, 0, 0, 0}));
    EXPECT_EQ(piece_at(&t1, 3, 0), ZERO);

    // An empty even tile: 2 x 2 at its top-left
    const SPRITE &t2 = sprites_[2];
    EXPECT_EQ((std::array<int, 8>{t2.boxx, t2.boxy, t2.w, t2.h, t2.boxw, t2.boxh, t2.xoff, t2.yoff}),
              (std::array<int, 8>{0, 0, 2, 2, 8, 8, -3, -3}));
}

TEST_F(Atlas, OddTilesKeepTheBoxAndTruncateHalfOffsetsTowardZero)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels(21, 7);
    pixels.fill_rect(4, 1, 2, 3, {1, 1, 1, 255});    // tile 0: 2 x 3 at (4, 1)
    pixels.fill_rect(8, 1, 2, 2, {2, 2, 2, 255});    // tile 1: 2 x 2 at (1, 1)
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {0, 0, 7, 7, &data};
    EXPECT_EQ(cut(image, sheet), 0);
    ASSERT_EQ(spritecount, 3);

    const SPRITE &t0 = sprites_[0];
    EXPECT_EQ((std::array<int, 6>{t0.boxx, t0.boxy, t0.w, t0.h, t0.xoff, t0.yoff}),
              (std::array<int, 6>{4, 1, 2, 3, 1, -1}));  // x offset 1.5 -> 1
    const SPRITE &t1 = sprites_[1];
    EXPECT_EQ((std::array<int, 6>{t1.boxx, t1.boxy, t1.w, t1.h, t1.xoff, t1.yoff}),
              (std::array<int, 6>{1, 1, 2, 2, -1, -1}));  // -1.5 -> -1, not -2
    // An empty odd tile: 1 x 1 at its top-left
    const SPRITE &t2 = sprites_[2];
    EXPECT_EQ((std::array<int, 6>{t2.boxx, t2.boxy, t2.w, t2.h, t2.xoff, t2.yoff}),
              (std::array<int, 6>{0, 0, 1, 1, -3, -3}));
}

TEST_F(Atlas, SidesAreEvenedUpEachByItsOwnTileSide)
{
    IMAGE *image = page(0, 32, 32);
    PIXELS pixels(8, 7);
    pixels.fill_rect(5, 2, 3, 2, {1, 1, 1, 255});
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {0, 0, 8, 7, &data};
    EXPECT_EQ(cut(image, sheet), 0);
    ASSERT_EQ(spritecount, 1);
    const SPRITE &t = sprites_[0];
    EXPECT_EQ((std::array<int, 8>{t.boxx, t.boxy, t.w, t.h, t.boxw, t.boxh, t.xoff, t.yoff}),
              (std::array<int, 8>{4, 2, 4, 2, 8, 7, 2, 0}));  // y offset -0.5 -> 0
}

TEST_F(Atlas, WantedTotalStopsTheCutting)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = wide_sheet();
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {3, 0, 72, 72, &data};
    LINES log = logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, ATLAS_BORDER_CLEAR), 0); });
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "3 sprites added");
    EXPECT_EQ(sheet.total, 3);
    EXPECT_EQ(spritecount, 3);
}

TEST_F(Atlas, WantingMoreTilesThanTheSheetHoldsReportsTheRest)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = wide_sheet();
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {10, 0, 72, 72, &data};
    LINES log = logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, ATLAS_BORDER_CLEAR), 2); });
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "Ran out of atlas space, 2 sprites remaining");
    EXPECT_EQ(sheet.total, 8);
    EXPECT_EQ(spritecount, 8);
}

TEST_F(Atlas, FullPageStopsTheSheetWithoutAborting)
{
    IMAGE *image = page(0, 32, 32);
    PIXELS pixels(64, 16, {7, 7, 7, 255});
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {4, 0, 16, 16, &data};
    LINES log = logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, ATLAS_BORDER_CLEAR), 3); });
    EXPECT_EQ(log, (LINES{"Ran out of atlas space, 3 sprites remaining", "    atlas size: 4096 (32x32)",
                          "    atlas used: 289", "    atlas left: 2940", "    28.22% used"}));
    EXPECT_EQ(spritecount, 1);
    EXPECT_EQ(sheet.total, 4);
}

TEST_F(Atlas, FullPageWithNoTotalWantedReportsWhatWasAdded)
{
    IMAGE *image = page(0, 32, 32);
    PIXELS pixels(64, 16, {7, 7, 7, 255});
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {0, 0, 16, 16, &data};
    LINES log = logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, ATLAS_BORDER_CLEAR), 0); });
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "1 sprites added");
    EXPECT_EQ(spritecount, 1);
    EXPECT_EQ(sheet.total, 0) << "the sheet's end was not reached";
}

TEST_F(Atlas, FullSpriteTableStopsTheSheet)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = wide_sheet();
    RGBA_DATA data = pixels.data();
    SPRITESHEET sheet = {4, 0, 72, 72, &data};
    sprites_[0].w = 42;
    spritecount = SPRITE_MAX - 1;
    EXPECT_EQ(cut(image, sheet), 3);
    EXPECT_EQ(spritecount, SPRITE_MAX);
    EXPECT_EQ(sprites_[0].w, 42);
}

TEST_F(Atlas, UnusableSheetsAreRefused)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels(16, 16, {1, 1, 1, 255});
    RGBA_DATA data = pixels.data();
    RGBA_DATA no_bytes = {16, 16, nullptr};
    RGBA_DATA negative = {-16, 16, pixels.bytes.data()};
    SPRITESHEET sheets[] = {
        {0, 0, 0, 8, &data},     {0, 0, 8, 0, &data},         {0, 0, -8, 8, &data}, {0, 0, 8, -1, &data},
        {0, 0, 40000, 8, &data}, {0, 0, 8, 8, nullptr},       {0, 0, 8, 8, &no_bytes},
        {0, 0, 8, 8, &negative},
    };
    for (SPRITESHEET &sheet : sheets)
        EXPECT_EQ(logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, 1), -1); }), LINES{});
    SPRITESHEET good = {0, 0, 8, 8, &data};
    EXPECT_EQ(atlas_add_sprite_sheet(image, nullptr, 1), -1);
    EXPECT_EQ(atlas_add_sprite_sheet(nullptr, &good, 1), -1);
    EXPECT_EQ(atlas_add_sprite_sheet(atlas_get(1), &good, 1), -1) << "a page without pixels";
    EXPECT_EQ(spritecount, 0);
}

TEST_F(Atlas, EmptySheetAddsNothing)
{
    IMAGE *image = page(0, 64, 64);
    uint8_t none[4] = {};
    RGBA_DATA data = {0, 0, none};
    SPRITESHEET sheet = {0, 0, 8, 8, &data};
    LINES log = logged([&] { EXPECT_EQ(atlas_add_sprite_sheet(image, &sheet, 1), 0); });
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "0 sprites added");
    EXPECT_EQ(spritecount, 0);
}

//==================================================================================
// Glyphs
//==================================================================================
TEST_F(Atlas, GlyphsAreFoundInReadingOrderOfTheirCorners)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS font = font_image();
    RGBA_DATA data = font.data();
    EXPECT_EQ(logged([&] { EXPECT_EQ(atlas_add_glyphs(image, &data, ATLAS_BORDER_CLEAR), 4); }), LINES{});
    ASSERT_EQ(spritecount, 4);
    const int expected[4][4] = {{1, 1, 3, 4}, {5, 1, 2, 2}, {9, 3, 4, 5}, {1, 6, 5, 3}};
    for (int g = 0; g < 4; g++) {
        const SPRITE &s = sprites_[static_cast<size_t>(g)];
        const int *e = expected[g];
        EXPECT_EQ(s.w, e[2]) << "glyph " << g;
        EXPECT_EQ(s.h, e[3]) << "glyph " << g;
        EXPECT_EQ(s.boxw, e[2]) << "glyph " << g;
        EXPECT_EQ(s.boxh, e[3]) << "glyph " << g;
        EXPECT_EQ(s.xoff, 0);
        EXPECT_EQ(s.yoff, 0);
        EXPECT_EQ(s.atlas, image);
        for (int y = 0; y < e[3]; y++)
            for (int x = 0; x < e[2]; x++)
                EXPECT_EQ(piece_at(&s, x, y), glyph_colour(e[0] + x, e[1] + y)) << "glyph " << g;
        EXPECT_EQ(piece_at(&s, -1, 0), ZERO) << "the frame of glyph " << g;
    }
}

TEST_F(Atlas, GlyphHeightIsBoundByTheImageWidth)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS font(6, 12, MARKER);
    font.fill_rect(1, 2, 3, 8, {1, 2, 3, 255});
    RGBA_DATA data = font.data();
    EXPECT_EQ(atlas_add_glyphs(image, &data, 0), 1);
    EXPECT_EQ(sprites_[0].w, 3);
    EXPECT_EQ(sprites_[0].h, 4);  // 6 - 2 rows, not 8
    EXPECT_EQ(sprites_[0].boxh, 4);
}

TEST_F(Atlas, GlyphBelowTheWidthBoundCannotBeAdded)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS font(4, 10, MARKER);
    font.fill_rect(1, 5, 2, 2, {1, 2, 3, 255});
    RGBA_DATA data = font.data();
    EXPECT_EQ(atlas_add_glyphs(image, &data, 0), -1);
    EXPECT_EQ(spritecount, 0);
}

TEST_F(Atlas, GlyphRunsToTheImageEdge)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS font(5, 5, MARKER);
    font.fill_rect(2, 3, 3, 2, {1, 2, 3, 255});
    RGBA_DATA data = font.data();
    EXPECT_EQ(atlas_add_glyphs(image, &data, 0), 1);
    EXPECT_EQ(sprites_[0].w, 3);
    EXPECT_EQ(sprites_[0].h, 2);
}

TEST_F(Atlas, ImagesWithoutGlyphsGiveZero)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS one(1, 1, {1, 2, 3, 255});
    PIXELS row(8, 1, MARKER);
    PIXELS column(1, 8, MARKER);
    PIXELS all_marker(8, 8, MARKER);
    PIXELS top_row(8, 8, MARKER);  // non-marker pixels on row 0 start nothing
    top_row.fill_rect(2, 0, 3, 1, {1, 1, 1, 255});
    for (PIXELS *p : {&one, &row, &column, &all_marker, &top_row}) {
        RGBA_DATA data = p->data();
        EXPECT_EQ(atlas_add_glyphs(image, &data, 1), 0) << p->w << " x " << p->h;
    }
    EXPECT_EQ(spritecount, 0);
    EXPECT_EQ(atlas_add_glyphs(image, nullptr, 1), -1);
    PIXELS font = font_image();
    RGBA_DATA data = font.data();
    EXPECT_EQ(atlas_add_glyphs(nullptr, &data, 1), -1);
}

TEST_F(Atlas, GlyphThatDoesNotFitIsMinusOne)
{
    IMAGE *image = page(0, 8, 8);
    PIXELS font(12, 4, MARKER);
    font.fill_rect(1, 1, 2, 2, {1, 1, 1, 255});
    font.fill_rect(4, 1, 7, 2, {2, 2, 2, 255});
    RGBA_DATA data = font.data();
    EXPECT_EQ(atlas_add_glyphs(image, &data, 1), -1);
    EXPECT_EQ(spritecount, 1) << "the first glyph was added before the second failed";
}

//==================================================================================
// Fonts (the failures that need no decoding)
//==================================================================================
TEST_F(Atlas, FontFailuresComeInTheirOrderAndZeroTheFontFirst)
{
    IMAGE *with_page = page(0, 64, 64);
    IMAGE *without_page = atlas_get(1);
    std::string missing = path("missing.png");
    SPRITEFONT garbage = {7, 8, 9, &sprites_[5]};
    SPRITEFONT font = garbage;

    EXPECT_EQ(atlas_load_font(nullptr, &font, 32, missing.c_str()), -1);
    EXPECT_EQ(font.glyphbase, 0u);
    EXPECT_EQ(font.first, 0u);
    EXPECT_EQ(font.count, 0u);
    EXPECT_EQ(font.glyphs, nullptr);
    EXPECT_EQ(atlas_load_font(nullptr, nullptr, 32, missing.c_str()), -1);

    font = garbage;
    EXPECT_EQ(atlas_load_font(without_page, &font, 32, missing.c_str()), -2);
    EXPECT_EQ(font.glyphs, nullptr);
    EXPECT_EQ(atlas_load_font(without_page, nullptr, 32, missing.c_str()), -2);

    EXPECT_EQ(atlas_load_font(with_page, nullptr, 32, missing.c_str()), -3);

    font = garbage;
    LINES log = logged([&] { EXPECT_EQ(atlas_load_font(with_page, &font, 32, missing.c_str()), -4); });
    EXPECT_EQ(log, LINES{"image '" + missing + "' load failed"});
    EXPECT_EQ(font.count, 0u);
    EXPECT_EQ(font.glyphs, nullptr);
    EXPECT_EQ(spritecount, 0);
}

//==================================================================================
// Decoding without a video mode
//==================================================================================
TEST_F(Atlas, DecodingNeedsAVideoMode)
{
    PIXELS pixels(2, 2, {1, 2, 3, 255});
    std::string file = write_png("plain.png", pixels);
    LINES log = logged([&] { EXPECT_EQ(rgba_load(file.c_str()), nullptr); });
    EXPECT_EQ(log, LINES{"image '" + file + "' SDL surface error"});
}

TEST_F(Atlas, MissingFileOrPathFailsToLoad)
{
    std::string missing = path("missing.png");
    int w = 5, h = 6;
    LINES log = logged([&] { EXPECT_EQ(wrapper_load_rgba(missing.c_str(), &w, &h), nullptr); });
    EXPECT_EQ(log, LINES{"image '" + missing + "' load failed"});
    EXPECT_EQ(w, 0);
    EXPECT_EQ(h, 0);
    log = logged([&] { EXPECT_EQ(rgba_load(nullptr), nullptr); });
    EXPECT_EQ(log, LINES{"image '(null)' load failed"});
}

//==================================================================================
// Upload failures that need no card
//==================================================================================
TEST_F(Atlas, UploadOfNothingIsRefused)
{
    EXPECT_EQ(logged([] { EXPECT_EQ(atlas_upload(nullptr, 0, 0), -1); }), LINES{"NULL atlas"});
    EXPECT_EQ(logged([] { EXPECT_EQ(atlas_upload(atlas_get(4), 0, 0), -2); }), LINES{"No rgba data"});
    EXPECT_EQ(atlas_update_texture(nullptr), -1);
    EXPECT_EQ(atlas_update_texture(atlas_get(4)), -1);
    EXPECT_EQ(atlas_draw_full(nullptr), -1);
}

TEST_F(Atlas, TheFullSpriteCoversThePageFromItsCorner)
{
    IMAGE *image = page(0, 256, 128);
    SPRITE whole = atlas_full_sprite(image);
    EXPECT_EQ(whole.w, 256);
    EXPECT_EQ(whole.h, 128);
    EXPECT_EQ(whole.atlas, image);
    EXPECT_EQ(whole.atlasx + whole.atlasy + whole.boxx + whole.boxy + whole.boxw + whole.boxh + whole.xoff + whole.yoff, 0);
}

TEST_F(Atlas, UploadWithoutAGraphicsContextFails)
{
    IMAGE *image = page(0, 16, 16);
    std::string text = capture_stdout([&] { EXPECT_EQ(atlas_upload(image, 0, 0), -3); });
    EXPECT_TRUE(std::regex_search(
        text, std::regex(R"(\] Error uploading texture\. glError: 0x0000\[lum [^\]]*\] atlas upload failed\n$)")))
        << text;
    EXPECT_EQ(atlas_packer(), nullptr);
    EXPECT_NE(image->rgba, nullptr) << "the page's pixels are kept";
}

//==================================================================================
// Shut-down
//==================================================================================
TEST_F(Atlas, ExitFreesBatchesAndPagesAndASecondCycleIsClean)
{
    page(0, 16, 16);
    atlas_get_full(2)->batch[1].entry = static_cast<BATCH_ITEM *>(std::calloc(4, sizeof(BATCH_ITEM)));
    atlas_get_full(5)->batch[0].entry = static_cast<BATCH_ITEM *>(std::calloc(4, sizeof(BATCH_ITEM)));
    atlas_get_full(5)->batch[1].entry = static_cast<BATCH_ITEM *>(std::calloc(4, sizeof(BATCH_ITEM)));
    EXPECT_EQ(logged(atlas_exit), (LINES{"ATLAS 2 freeing batch 1", "ATLAS 5 freeing batch 0",
                                         "ATLAS 5 freeing batch 1", "atlas: deleted 0 textures"}));
    EXPECT_EQ(atlas_get(0)->rgba, nullptr);
    EXPECT_EQ(atlas_get_full(5)->batch[0].entry, nullptr);
    EXPECT_EQ(atlas_packer(), nullptr);
    EXPECT_EQ(logged(atlas_exit), LINES{"atlas: deleted 0 textures"});

    EXPECT_EQ(logged([] { atlas_init(); }), LINES{"atlas: init"});
    page(0, 16, 16);
    EXPECT_EQ(logged(atlas_exit), LINES{"atlas: deleted 0 textures"});
}

//==================================================================================
// Decoding
//==================================================================================
TEST_F(AtlasGl, DecodesRgbaRowsFromTheTop)
{
    PIXELS pixels(3, 2);
    pixels.set(0, 0, {255, 0, 0, 255});
    pixels.set(1, 0, {0, 255, 0, 128});
    pixels.set(2, 0, {0, 0, 255, 0});
    pixels.set(0, 1, {1, 2, 3, 4});
    pixels.set(1, 1, {250, 251, 252, 253});
    pixels.set(2, 1, {0, 0, 0, 255});
    std::string file = write_png("rgba.png", pixels);
    RGBA_DATA *rgba = nullptr;
    EXPECT_EQ(logged([&] { rgba = rgba_load(file.c_str()); }), LINES{"image '" + file + "' 3x2 (24 bytes)"});
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(rgba->w, 3);
    EXPECT_EQ(rgba->h, 2);
    for (int y = 0; y < 2; y++)
        for (int x = 0; x < 3; x++)
            EXPECT_EQ(pixel_of(rgba->bytes, 3, x, y), pixel_of(pixels.bytes.data(), 3, x, y)) << x << ", " << y;
    rgba_free(rgba);
}

TEST_F(AtlasGl, PalettedColourKeyBecomesTransparentBlack)
{
    // Index 0 is the one fully transparent palette entry, which the loader turns into a key
    std::string file = path("keyed8.png");
    ASSERT_TRUE(write_keyed_png(file, 3, 2, 3, 1, {0, 1, 2, 2, 1, 0}, {10, 20, 30, 200, 0, 0, 0, 90, 180}, {0}));
    int w = 0, h = 0;
    uint8_t *bytes = nullptr;
    EXPECT_EQ(logged([&] { bytes = wrapper_load_rgba(file.c_str(), &w, &h); }),
              LINES{"image '" + file + "' 3x2 (24 bytes)"});
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(w, 3);
    EXPECT_EQ(h, 2);
    EXPECT_EQ(pixel_of(bytes, 3, 0, 0), ZERO);
    EXPECT_EQ(pixel_of(bytes, 3, 1, 0), (PX{200, 0, 0, 255}));
    EXPECT_EQ(pixel_of(bytes, 3, 2, 0), (PX{0, 90, 180, 255}));
    EXPECT_EQ(pixel_of(bytes, 3, 0, 1), (PX{0, 90, 180, 255}));
    EXPECT_EQ(pixel_of(bytes, 3, 1, 1), (PX{200, 0, 0, 255}));
    EXPECT_EQ(pixel_of(bytes, 3, 2, 1), ZERO);
    std::free(bytes);
}

TEST_F(AtlasGl, RgbColourKeyBecomesTransparentBlack)
{
    // An RGB file with a tRNS colour decodes to a 24-bit surface with that colour as its key
    std::string file = path("keyed24.png");
    ASSERT_TRUE(write_keyed_png(file, 2, 2, 2, 3, {10, 20, 30, 40, 50, 60, 70, 80, 90, 10, 20, 30}, {},
                                {0, 10, 0, 20, 0, 30}));
    int w = 0, h = 0;
    uint8_t *bytes = nullptr;
    capture_stdout([&] { bytes = wrapper_load_rgba(file.c_str(), &w, &h); });
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(pixel_of(bytes, 2, 0, 0), ZERO);
    EXPECT_EQ(pixel_of(bytes, 2, 1, 0), (PX{40, 50, 60, 255}));
    EXPECT_EQ(pixel_of(bytes, 2, 0, 1), (PX{70, 80, 90, 255}));
    EXPECT_EQ(pixel_of(bytes, 2, 1, 1), ZERO);
    std::free(bytes);
}

TEST_F(AtlasGl, PaletteWithoutKeyDecodesEveryEntry)
{
    std::string file = path("palette.png");
    ASSERT_TRUE(write_keyed_png(file, 2, 1, 3, 1, {0, 1}, {10, 20, 30, 200, 0, 0}, {}));
    RGBA_DATA *rgba = nullptr;
    capture_stdout([&] { rgba = rgba_load(file.c_str()); });
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(pixel_of(rgba->bytes, 2, 0, 0), (PX{10, 20, 30, 255}));
    EXPECT_EQ(pixel_of(rgba->bytes, 2, 1, 0), (PX{200, 0, 0, 255}));
    rgba_free(rgba);
}

TEST_F(AtlasGl, TruncatedOrCorruptFilesFailToLoad)
{
    PIXELS pixels(16, 16, {1, 2, 3, 255});
    for (int i = 0; i < 16; i++)
        pixels.set(i, i, {200, 150, 100, 50});
    std::string whole = write_png("whole.png", pixels);
    std::vector<uint8_t> bytes = read_bytes(whole);
    ASSERT_GT(bytes.size(), 60u);

    std::string truncated = path("truncated.png");
    ASSERT_TRUE(write_bytes(truncated, std::vector<uint8_t>(bytes.begin(), bytes.begin() + 60)));
    std::string corrupt = path("corrupt.png");
    std::vector<uint8_t> scrambled = bytes;
    for (size_t i = 40; i < scrambled.size(); i++)
        scrambled[i] = static_cast<uint8_t>(scrambled[i] * 7 + 13);
    ASSERT_TRUE(write_bytes(corrupt, scrambled));
    std::string garbage = path("garbage.png");
    ASSERT_TRUE(write_bytes(garbage, {'n', 'o', 't', ' ', 'a', 'n', ' ', 'i', 'm', 'a', 'g', 'e'}));
    std::string empty = path("empty.png");
    ASSERT_TRUE(write_bytes(empty, {}));

    for (const std::string &file : {truncated, corrupt, garbage, empty}) {
        LINES log = logged([&] { EXPECT_EQ(rgba_load(file.c_str()), nullptr) << file; });
        EXPECT_EQ(log, LINES{"image '" + file + "' load failed"});
    }
}

//==================================================================================
// Loading sheets and fonts from files
//==================================================================================
TEST_F(AtlasGl, LoadedSheetIsCutAndItsPixelsReleased)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = wide_sheet();
    std::string file = write_png("sheet.png", pixels);
    SPRITESHEET sheet = {};
    sheet.uploaded = 5;
    LINES log = logged([&] { EXPECT_EQ(atlas_load_spritesheet(image, &sheet, 72, 72, 0, 1, file.c_str()), 0); });
    EXPECT_EQ(log, (LINES{"image '" + file + "' 240x144 (138240 bytes)", "8 sprites added",
                          "    atlas size: 16384 (64x64)", "    atlas used: 72", "    atlas left: 16096",
                          "    1.76% used"}));
    EXPECT_EQ(sheet.rgba, nullptr);
    EXPECT_EQ(sheet.total, 8);
    EXPECT_EQ(sheet.spritew, 72);
    EXPECT_EQ(sheet.spriteh, 72);
    EXPECT_EQ(sheet.uploaded, 5);
    ASSERT_EQ(spritecount, 8);
    EXPECT_EQ(sprites_[3].boxx, 34);
    EXPECT_EQ(sprites_[3].boxy, 4);
    EXPECT_EQ(piece_at(&sprites_[3], 0, 0), (PX{200, 100, 50, 255}));
}

TEST_F(AtlasGl, LoadingASheetWithoutARecordUsesATemporaryOne)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = wide_sheet();
    std::string file = write_png("sheet.png", pixels);
    int result = 0;
    capture_stdout([&] { result = atlas_load_spritesheet(image, nullptr, 72, 72, 10, 1, file.c_str()); });
    EXPECT_EQ(result, 2);
    EXPECT_EQ(spritecount, 8);
}

TEST_F(AtlasGl, UndecodableSheetIsMinusTwo)
{
    IMAGE *image = page(0, 64, 64);
    std::string missing = path("missing.png");
    SPRITESHEET sheet = {};
    LINES log = logged([&] { EXPECT_EQ(atlas_load_spritesheet(image, &sheet, 8, 8, 0, 1, missing.c_str()), -2); });
    EXPECT_EQ(log, LINES{"image '" + missing + "' load failed"});
    EXPECT_EQ(sheet.rgba, nullptr);
    EXPECT_EQ(spritecount, 0);
}

TEST_F(AtlasGl, LoadedFontFillsTheFontRecord)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = font_image();
    std::string file = write_png("font.png", pixels);
    spritecount = 10;
    SPRITEFONT font = {};
    LINES log = logged([&] { EXPECT_EQ(atlas_load_font(image, &font, 32, file.c_str()), 0); });
    EXPECT_EQ(log, LINES{"image '" + file + "' 20x12 (960 bytes)"});
    EXPECT_EQ(font.first, 32u);
    EXPECT_EQ(font.glyphbase, 10u);
    EXPECT_EQ(font.glyphs, &sprites_[10]);
    EXPECT_EQ(font.count, 4u);
    EXPECT_EQ(spritecount, 14);
    EXPECT_EQ(sprites_[12].boxw, 4);
    EXPECT_EQ(sprites_[12].boxh, 5);
    EXPECT_EQ(piece_at(&sprites_[12], 0, 0), glyph_colour(9, 3));
    // The glyphs get a transparent frame
    EXPECT_EQ(piece_at(&sprites_[12], -1, 0), ZERO);
    EXPECT_EQ(piece_at(&sprites_[12], 4, 4), ZERO);
}

TEST_F(AtlasGl, FontThatDoesNotFitIsRolledBack)
{
    IMAGE *image = page(0, 16, 16);
    // The first two glyphs (6 x 5 with their spare lines) fit the 14 x 14 inside of the page
    // side by side; the third (7 x 10) fits nowhere
    PIXELS pixels(20, 12, MARKER);
    pixels.fill_rect(1, 1, 5, 4, {1, 1, 1, 255});
    pixels.fill_rect(7, 1, 5, 4, {2, 2, 2, 255});
    pixels.fill_rect(13, 1, 6, 9, {3, 3, 3, 255});
    std::string file = write_png("big.png", pixels);
    spritecount = 3;
    SPRITEFONT font = {7, 8, 9, &sprites_[1]};
    int result = 0;
    capture_stdout([&] { result = atlas_load_font(image, &font, 32, file.c_str()); });
    EXPECT_EQ(result, -5);
    EXPECT_EQ(spritecount, 3);
    EXPECT_EQ(font.glyphbase, 0u);
    EXPECT_EQ(font.first, 0u);
    EXPECT_EQ(font.count, 0u);
    EXPECT_EQ(font.glyphs, nullptr);
    // The glyphs that did fit were written to the sprite table before the roll-back
    EXPECT_EQ(sprites_[3].w, 5);
    EXPECT_EQ(sprites_[4].w, 5);
}

TEST_F(AtlasGl, FontWithoutGlyphsIsAnEmptyFont)
{
    IMAGE *image = page(0, 16, 16);
    PIXELS one(1, 1, {1, 2, 3, 255});
    std::string file = write_png("one.png", one);
    SPRITEFONT font = {};
    int result = -99;
    capture_stdout([&] { result = atlas_load_font(image, &font, 65, file.c_str()); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(font.count, 0u);
    EXPECT_EQ(font.first, 65u);
    EXPECT_EQ(spritecount, 0);
}

TEST_F(AtlasGl, FontOnAnUploadedImageIsMinusTwoAndAddsNothing)
{
    IMAGE *image = page(0, 64, 64);
    PIXELS pixels = font_image();
    std::string file = write_png("font.png", pixels);
    ASSERT_EQ(upload(image, 0, 0), 1);
    SPRITEFONT font = {7, 8, 9, &sprites_[1]};
    LINES log = logged([&] { EXPECT_EQ(atlas_load_font(image, &font, 32, file.c_str()), -2); });
    EXPECT_EQ(log, LINES{}) << "the file is not even read";
    EXPECT_EQ(font.glyphs, nullptr);
    EXPECT_EQ(spritecount, 0);
}

//==================================================================================
// Uploading
//==================================================================================
TEST_F(AtlasGl, UploadFlipsTheRowsAndKeepsThePage)
{
    IMAGE *image = patterned_page(page(0, 4, 4));
    std::vector<uint8_t> before(image->rgba, image->rgba + 64);
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void *>(image));
    LINES log = logged([&] { EXPECT_EQ(atlas_upload(image, 0, ATLAS_FORMAT_RGBA), 1); });
    ASSERT_NE(image->opengl_texture, 0u);
    EXPECT_EQ(log, (LINES{std::string("Uploading IMAGE ") + address,
                          "upload atlas texid " + std::to_string(image->opengl_texture) + " 4 x 4"}));
    EXPECT_EQ(atlas_packer(), nullptr);
    EXPECT_EQ(std::vector<uint8_t>(image->rgba, image->rgba + 64), before);
    EXPECT_TRUE(glIsTexture(image->opengl_texture));
    std::vector<uint8_t> texels = read_texture(image->opengl_texture, 4, 4, GL_RGBA, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++)
            EXPECT_EQ(pixel_of(texels.data(), 4, x, y), page_at(image, x, 3 - y)) << x << ", " << y;
    EXPECT_EQ(texture_parameter(image->opengl_texture, GL_TEXTURE_MAG_FILTER), GL_NEAREST);
    EXPECT_EQ(texture_parameter(image->opengl_texture, GL_TEXTURE_MIN_FILTER), GL_NEAREST);
}

TEST_F(AtlasGl, UploadWithLinearFiltering)
{
    IMAGE *image = page(0, 4, 4);
    ASSERT_EQ(upload(image, 1, ATLAS_FORMAT_RGBA), 1);
    EXPECT_EQ(texture_parameter(image->opengl_texture, GL_TEXTURE_MAG_FILTER), GL_LINEAR);
    EXPECT_EQ(texture_parameter(image->opengl_texture, GL_TEXTURE_MIN_FILTER), GL_LINEAR);
}

TEST_F(AtlasGl, UploadAsAlphaTakesTheRedByte)
{
    IMAGE *image = patterned_page(page(0, 4, 4));
    ASSERT_EQ(upload(image, 0, ATLAS_FORMAT_ALPHA), 1);
    GLint internal = 0;
    glBindTexture(GL_TEXTURE_2D, image->opengl_texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &internal);
    EXPECT_EQ(internal, GL_ALPHA);
    std::vector<uint8_t> alpha = read_texture(image->opengl_texture, 4, 4, GL_ALPHA, 1);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++)
            EXPECT_EQ(alpha[static_cast<size_t>(y * 4 + x)], page_at(image, x, 3 - y)[0]) << x << ", " << y;
}

TEST_F(AtlasGl, UploadAs4444KeepsTheTopFourBitsOfEachByte)
{
    IMAGE *image = patterned_page(page(0, 4, 4));
    ASSERT_EQ(upload(image, 0, ATLAS_FORMAT_4444), 1);
    std::vector<uint8_t> texels = read_texture(image->opengl_texture, 4, 4, GL_RGBA, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) {
            PX source = page_at(image, x, 3 - y);
            PX read = pixel_of(texels.data(), 4, x, y);
            for (size_t c = 0; c < 4; c++)
                EXPECT_TRUE(is_expanded(read[c], source[c] >> 4, 4)) << x << ", " << y << " component " << c;
        }
}

TEST_F(AtlasGl, UploadAs5551KeepsFiveBitsOfColourAndOneOfAlpha)
{
    IMAGE *image = patterned_page(page(0, 4, 4));
    ASSERT_EQ(upload(image, 0, ATLAS_FORMAT_5551), 1);
    std::vector<uint8_t> texels = read_texture(image->opengl_texture, 4, 4, GL_RGBA, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) {
            PX source = page_at(image, x, 3 - y);
            PX read = pixel_of(texels.data(), 4, x, y);
            for (size_t c = 0; c < 3; c++)
                EXPECT_TRUE(is_expanded(read[c], source[c] >> 3, 5)) << x << ", " << y << " component " << c;
            EXPECT_EQ(read[3], source[3] >= 128 ? 255 : 0) << x << ", " << y;
        }
}

TEST_F(AtlasGl, UploadingAgainReplacesTheTexture)
{
    IMAGE *image = patterned_page(page(0, 4, 4));
    ASSERT_EQ(upload(image, 0, ATLAS_FORMAT_RGBA), 1);
    GLuint old = image->opengl_texture;
    image->rgba[0] = 0xAB;
    LINES log = logged([&] { EXPECT_EQ(atlas_upload(image, 0, ATLAS_FORMAT_RGBA), 1); });
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], "Deleting texture " + std::to_string(old));
    std::vector<uint8_t> texels = read_texture(image->opengl_texture, 4, 4, GL_RGBA, 4);
    EXPECT_EQ(texels[12 * 4], 0xAB) << "page row 0 is texture row 3";
}

TEST_F(AtlasGl, PageBeyondTheCardsLimitFailsInTheUpload)
{
    GLint max_size = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max_size);
    if (max_size >= 32768)
        GTEST_SKIP() << "this card takes textures of " << max_size;
    IMAGE *image = page(0, 32768, 8);
    ASSERT_NE(image->rgba, nullptr);
    std::string text = capture_stdout([&] { EXPECT_EQ(atlas_upload(image, 0, ATLAS_FORMAT_RGBA), -3); });
    EXPECT_TRUE(std::regex_search(
        text, std::regex(R"(\] Error uploading texture\. glError: 0x0501\[lum [^\]]*\] atlas upload failed\n$)")))
        << text;
    EXPECT_NE(image->opengl_texture, 0u) << "the new texture name stays";
    EXPECT_NE(image->rgba, nullptr);
    EXPECT_EQ(atlas_draw_full(image), -1) << "its width does not fit a sprite";
}

TEST_F(AtlasGl, UpdateSendsThePageWithoutFlipping)
{
    IMAGE *image = patterned_page(page(0, 4, 4));
    ASSERT_EQ(upload(image, 0, ATLAS_FORMAT_ALPHA), 1);
    EXPECT_EQ(atlas_update_texture(image), 1);
    EXPECT_EQ(last_texture, image->opengl_texture) << "bound through the binding cache";
    std::vector<uint8_t> texels = read_texture(image->opengl_texture, 4, 4, GL_RGBA, 4);
    EXPECT_EQ(texels, std::vector<uint8_t>(image->rgba, image->rgba + 64));
}

TEST_F(AtlasGl, DrawFullShowsThePageUprightAtTheTurtle)
{
    IMAGE *image = page(0, 16, 16);
    const PX quadrants[4] = {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 0, 255}};
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) {
            const PX &q = quadrants[(y / 8) * 2 + x / 8];
            for (size_t c = 0; c < 4; c++)
                image->rgba[(y * 16 + x) * 4 + static_cast<int>(c)] = static_cast<uint8_t>(q[c]);
        }
    ASSERT_EQ(upload(image, 0, ATLAS_FORMAT_RGBA), 1);
    turtle_reset();
    turtle_set_scale(1.0);
    turtle_set_pos_unscaled(64.0, 64.0);
    draw_clear(0.0f, 0.0f, 0.0f);
    EXPECT_EQ(atlas_draw_full(image), 1);
    glFinish();
    // The page covers screen pixels 56 .. 71 both ways; OpenGL counts rows from the bottom
    auto screen = [](int x, int y) {
        uint8_t p[4] = {};
        glReadPixels(x, WINDOW_H - 1 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
        return PX{p[0], p[1], p[2], 255};
    };
    EXPECT_EQ(screen(58, 58), quadrants[0]);
    EXPECT_EQ(screen(69, 58), quadrants[1]);
    EXPECT_EQ(screen(58, 69), quadrants[2]);
    EXPECT_EQ(screen(69, 69), quadrants[3]);
    EXPECT_EQ(screen(50, 50), (PX{0, 0, 0, 255}));
}

//==================================================================================
// Shut-down with textures
//==================================================================================
TEST_F(AtlasGl, ExitDeletesEveryTexture)
{
    IMAGE *first = page(0, 8, 8);
    ASSERT_EQ(upload(first, 0, 0), 1);
    IMAGE *second = page(7, 8, 8);
    ASSERT_EQ(upload(second, 0, 0), 1);
    GLuint a = first->opengl_texture, b = second->opengl_texture;
    ASSERT_TRUE(glIsTexture(a));
    ASSERT_TRUE(glIsTexture(b));
    EXPECT_EQ(logged(atlas_exit), LINES{"atlas: deleted 2 textures"});
    EXPECT_FALSE(glIsTexture(a));
    EXPECT_FALSE(glIsTexture(b));
    EXPECT_EQ(first->opengl_texture, 0u);

    // A second cycle starts from nothing
    EXPECT_EQ(logged([] { atlas_init(); }), LINES{"atlas: init"});
    IMAGE *again = page(0, 8, 8);
    ASSERT_EQ(upload(again, 0, 0), 1);
    EXPECT_EQ(logged(atlas_exit), LINES{"atlas: deleted 1 textures"});
}
