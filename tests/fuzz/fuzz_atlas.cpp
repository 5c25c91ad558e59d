// fuzz_atlas: the sprite atlas's sheet and font cutting under libFuzzer.
// Each input is a small header and then pixel bytes: decoded RGBA pixels of any size up to
// 1024 x 1024 (the pixel bytes repeated to fill it) go straight to atlas_add_sprite_sheet or atlas_add_glyphs on a fresh page, so the
// atlas's own trimming, glyph finding, packing and framing are fuzzed, not an image decoder.
// Nothing is uploaded. Checked after each cut:
// - the result agrees with the sprites added: a sheet gives -1 only for a tile side of 0 and
//   otherwise the tiles wanted and not taken; a font gives one glyph per glyph corner (a
//   non-marker pixel whose left, upper and upper-left neighbours are marker-coloured), or -1
//   with fewer;
// - every sprite, and its frame, lies inside the page; a transparent frame is transparent;
// - a sheet tile's box lies inside the tile and holds all its visible pixels, and the page holds
//   exactly the box's pixels;
// - a glyph's size is its box's, and its top row and left column hold no marker-coloured pixel.
// Depends on: atlas (the cutting, the sprite table), log (assertions); the platform's test double
// stands in for the image decoder, which is never called.
#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "atlas.h"
#include "log.h"
#include "sprite.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// The header, little-endian: a flags byte, then 16-bit fields
constexpr size_t AT_FLAGS = 0;        // bit 0: a font (else a sheet); bits 1-3: border; bit 4: zero fill
constexpr size_t AT_IMAGE_W = 1;      // sizes, each read through `scaled`
constexpr size_t AT_IMAGE_H = 3;
constexpr size_t AT_PAGE_W = 5;
constexpr size_t AT_PAGE_H = 7;
constexpr size_t AT_SPRITE_W = 9;
constexpr size_t AT_SPRITE_H = 11;
constexpr size_t AT_TOTAL = 13;       // signed: the tiles wanted
constexpr size_t HEADER_BYTES = 15;   // the pixel bytes follow
constexpr uint8_t FLAG_FONT = 1;
constexpr int BORDER_SHIFT = 1;
constexpr uint8_t BORDER_MASK = 7;    // borders 0..7: 4..7 are other non-zero values
constexpr uint8_t FLAG_ZERO_FILL = 16;
constexpr int RGBA = 4;               // bytes of one pixel

// Sizes spread over four scales, so that small images, which run fast, are common and images
// up to 1024 x 1024 still come up: the top two bits of a field choose the largest size. Pages
// stay small: a fresh page is filled pixel by pixel, which would dominate each run, and a piece
// that does not fit ends the cut just as well on a small page as on a large one.
constexpr int SCALES = 4;
constexpr std::array<int, SCALES> IMAGE_SCALE_MAX = {16, 64, 256, 1024};
constexpr std::array<int, SCALES> PAGE_SCALE_MAX = {16, 64, 128, 256};
constexpr int SCALE_SHIFT = 14;
constexpr uint16_t SCALE_VALUE = (1 << SCALE_SHIFT) - 1;

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// What one input asks for
struct CUT {
    bool font;              // glyphs, else a sprite sheet
    int border;             // the border argument
    int page_w, page_h;     // the page's size for atlas_create_texture
    int spritew, spriteh;   // the sheet's tile size
    int total;              // tiles wanted
    RGBA_DATA rgba;         // the pixels
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
IMAGE page;                   // the page every input is cut into, opened afresh each time
std::vector<uint8_t> pixels;  // the input's decoded image

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// A 16-bit header field; 0 past the end of a short input
uint16_t field(const uint8_t *data, size_t size, size_t at)
{
    uint16_t lo = at < size ? data[at] : 0;
    uint16_t hi = at + 1 < size ? data[at + 1] : 0;
    return static_cast<uint16_t>(lo | hi << 8);
}

// A size from a header field: 0 up to the largest size of the scale its top bits choose
int scaled(uint16_t v, const std::array<int, SCALES> &scale_max)
{
    return (v & SCALE_VALUE) % (scale_max[v >> SCALE_SHIFT] + 1);
}

// Read the header and build the image: the pixel bytes repeated until the image is full, or
// followed by transparent black (zero fill); all transparent black without pixel bytes
CUT read_cut(const uint8_t *data, size_t size)
{
    CUT cut = {};
    uint8_t flags = size > AT_FLAGS ? data[AT_FLAGS] : 0;
    cut.font = (flags & FLAG_FONT) != 0;
    cut.border = flags >> BORDER_SHIFT & BORDER_MASK;
    cut.rgba.w = scaled(field(data, size, AT_IMAGE_W), IMAGE_SCALE_MAX);
    cut.rgba.h = scaled(field(data, size, AT_IMAGE_H), IMAGE_SCALE_MAX);
    cut.page_w = scaled(field(data, size, AT_PAGE_W), PAGE_SCALE_MAX);
    cut.page_h = scaled(field(data, size, AT_PAGE_H), PAGE_SCALE_MAX);
    cut.spritew = scaled(field(data, size, AT_SPRITE_W), IMAGE_SCALE_MAX);
    cut.spriteh = scaled(field(data, size, AT_SPRITE_H), IMAGE_SCALE_MAX);
    cut.total = static_cast<int16_t>(field(data, size, AT_TOTAL));

    const uint8_t *bytes = data + std::min(size, HEADER_BYTES);
    size_t count = size - std::min(size, HEADER_BYTES);
    // An image without pixels still gets a pixel's room, so that every image has a pixel pointer,
    // as a decoder's would, whatever the inputs before it left in the buffer
    const size_t image_bytes = static_cast<size_t>(cut.rgba.w) * static_cast<size_t>(cut.rgba.h) * RGBA;
    pixels.assign(std::max(image_bytes, size_t{RGBA}), 0);
    size_t filled = (flags & FLAG_ZERO_FILL) != 0 ? std::min(count, image_bytes) : (count ? image_bytes : 0);
    for (size_t at = 0; at < filled; at += count)
        std::memcpy(&pixels[at], bytes, std::min(count, filled - at));
    cut.rgba.bytes = pixels.data();
    return cut;
}

// Pixel (x, y) of a sheet addressed as w * y + x, as the atlas addresses sheets (a column past
// the right edge reads into the next row); null past the end of the pixels
const uint8_t *sheet_at(const RGBA_DATA &rgba, int64_t x, int64_t y)
{
    int64_t index = y * rgba.w + x;
    if (index < 0 || index >= static_cast<int64_t>(rgba.w) * rgba.h)
        return nullptr;
    return rgba.bytes + index * RGBA;
}

const uint8_t *page_at(int x, int y)
{
    return page.rgba + (static_cast<size_t>(y) * static_cast<size_t>(page.texture_w) + static_cast<size_t>(x)) * RGBA;
}

bool is_blank(const uint8_t *p)
{
    return !p || (p[0] | p[1] | p[2] | p[3]) == 0;
}

// A sprite and its frame inside the page; a transparent frame all zero
void check_placed(const SPRITE &s, int border)
{
    const int frame = border ? 1 : 0;
    LUM_ASSERT(s.atlas == &page);
    LUM_ASSERT(s.w >= 1 && s.h >= 1);
    LUM_ASSERT(s.atlasx - frame >= 0 && s.atlasx + s.w + frame <= page.texture_w);
    LUM_ASSERT(s.atlasy - frame >= 0 && s.atlasy + s.h + frame <= page.texture_h);
    if (border == ATLAS_BORDER_NONE || border == ATLAS_BORDER_EXTEND || border == ATLAS_BORDER_WRAP)
        return;
    for (int x = s.atlasx - 1; x <= s.atlasx + s.w; x++)
        LUM_ASSERT(is_blank(page_at(x, s.atlasy - 1)) && is_blank(page_at(x, s.atlasy + s.h)));
    for (int y = s.atlasy; y < s.atlasy + s.h; y++)
        LUM_ASSERT(is_blank(page_at(s.atlasx - 1, y)) && is_blank(page_at(s.atlasx + s.w, y)));
}

// The sheet's tiles against the sprites taken and the result
void check_sheet(const CUT &cut, int result)
{
    if (cut.spritew == 0 || cut.spriteh == 0) {
        LUM_ASSERT(result == -1 && spritecount == 0);
        return;
    }
    const int taken = spritecount;
    LUM_ASSERT(result == (cut.total > taken ? cut.total - taken : 0));
    LUM_ASSERT(cut.total <= 0 || taken <= cut.total);
    const int columns = (cut.rgba.w + cut.spritew - 1) / cut.spritew;
    for (int k = 0; k < taken; k++) {
        const SPRITE &s = sprites_[k];
        check_placed(s, cut.border);
        LUM_ASSERT(s.boxw == cut.spritew && s.boxh == cut.spriteh);
        LUM_ASSERT(s.boxx >= 0 && s.boxx + s.w <= cut.spritew);
        LUM_ASSERT(s.boxy >= 0 && s.boxy + s.h <= cut.spriteh);
        const int64_t tx = static_cast<int64_t>(k % columns) * cut.spritew;
        const int64_t ty = static_cast<int64_t>(k / columns) * cut.spriteh;
        for (int j = 0; j < cut.spriteh; j++) {
            for (int i = 0; i < cut.spritew; i++) {
                bool inside = i >= s.boxx && i < s.boxx + s.w && j >= s.boxy && j < s.boxy + s.h;
                const uint8_t *p = sheet_at(cut.rgba, tx + i, ty + j);
                if (!inside) {
                    LUM_ASSERT(is_blank(p));
                    continue;
                }
                const uint8_t *q = page_at(s.atlasx + i - s.boxx, s.atlasy + j - s.boxy);
                static constexpr uint8_t BLANK[RGBA] = {};
                LUM_ASSERT(std::memcmp(q, p ? p : BLANK, RGBA) == 0);
            }
        }
    }
}

// The font's glyphs against its glyph corners and the result
void check_font(const CUT &cut, int result)
{
    const RGBA_DATA &rgba = cut.rgba;
    if (rgba.w < 2 || rgba.h < 2) {
        LUM_ASSERT(result == 0 && spritecount == 0);
        return;
    }
    const uint8_t *marker = rgba.bytes;
    auto is_marker = [&](int x, int y) { return std::memcmp(sheet_at(rgba, x, y), marker, RGBA) == 0; };
    // After a glyph that could not be added, counting goes only as far as showing that there
    // were more corners than glyphs
    const int enough = result >= 0 ? INT_MAX : spritecount + 1;
    int corners = 0;
    for (int y = 1; y < rgba.h && corners < enough; y++)
        for (int x = 1; x < rgba.w && corners < enough; x++)
            corners += !is_marker(x, y) && is_marker(x - 1, y) && is_marker(x, y - 1) && is_marker(x - 1, y - 1);
    if (result >= 0)
        LUM_ASSERT(result == corners && spritecount == corners);
    else
        LUM_ASSERT(result == -1 && spritecount < corners);
    for (int k = 0; k < spritecount; k++) {
        const SPRITE &s = sprites_[k];
        check_placed(s, cut.border);
        LUM_ASSERT(s.boxw == s.w && s.boxh == s.h);
        for (int i = 0; i < s.w; i++)
            LUM_ASSERT(std::memcmp(page_at(s.atlasx + i, s.atlasy), marker, RGBA) != 0);
        for (int j = 0; j < s.h; j++)
            LUM_ASSERT(std::memcmp(page_at(s.atlasx, s.atlasy + j), marker, RGBA) != 0);
    }
}

}  // namespace

//----------------------------------------------------------------------------------
// Fuzzer entry point
//----------------------------------------------------------------------------------
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    CUT cut = read_cut(data, size);
    LUM_ASSERT(atlas_create_texture(&page, cut.page_w, cut.page_h) != nullptr);
    spritecount = 0;
    if (cut.font) {
        check_font(cut, atlas_add_glyphs(&page, &cut.rgba, cut.border));
    } else {
        SPRITESHEET sheet = {.total = cut.total, .uploaded = 0, .spritew = cut.spritew, .spriteh = cut.spriteh,
                             .rgba = &cut.rgba};
        check_sheet(cut, atlas_add_sprite_sheet(&page, &sheet, cut.border));
    }
    return 0;
}
