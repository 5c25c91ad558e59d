// atlas: the sprite atlas (see atlas.h).
// One packer at a time hands out places on the page being built. Each piece is copied into the
// page, optionally with a one-pixel frame, and becomes the next sprite of the table. Sheets are
// cut into tiles trimmed to their visible pixels; font images are scanned for glyph boxes drawn
// on a marker colour. The page is uploaded upside down (the card's rows run from the bottom),
// as RGBA bytes, 16-bit texels or alpha only.
// Depends on: atlas_tables (the records and tables it fills), texture-atlas (packing),
// wrapper_image (decoding), sprite (the next free sprite, drawing), draw (texture binding), log
// (log lines, assertions), frame (a new page draws the next frame in full), OpenGL.
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Types
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Tables and decoded images
// [SECTION] Building a page
// [SECTION] Sheets and fonts
// [SECTION] Uploading and drawing
#include "atlas.h"

#include <GL/gl.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "draw.h"
#include "frame.h"
#include "log.h"
#include "sprite.h"
#include "texture-atlas.h"
#include "wrapper_image.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr int RGBA_BYTES = 4;                  // bytes of one page pixel: red, green, blue, alpha
constexpr int ATLAS_DEFAULT_PAGE = 512;        // page side when a size of 0 is asked for
constexpr int ATLAS_PAGE_MAX_SIDE = 32768;     // sprite positions on a page are signed 16-bit
constexpr int64_t ATLAS_PAGE_MAX_BYTES = int64_t{1} << 30;  // the page statistics print bytes as an int
constexpr int ATLAS_FONT_BORDER = ATLAS_BORDER_CLEAR;       // glyphs get a transparent frame
constexpr uint8_t MAGENTA[RGBA_BYTES] = {255, 0, 255, 255}; // unused page area, plain to see
constexpr const char *NO_NAME = "[no name]";
constexpr TEXTURE_ATLAS_REGION NO_ROOM = {-1, -1, 0, 0};

//----------------------------------------------------------------------------------
// [SECTION] Types
//----------------------------------------------------------------------------------
// A box inside a sheet's tile, in tile pixels
struct TILE_BOX {
    int x, y, w, h;
};

// Releases decoded pixels when they go out of scope
struct RGBA_FREE {
    void operator()(RGBA_DATA *rgba) const { rgba_free(rgba); }
};
using RGBA_PTR = std::unique_ptr<RGBA_DATA, RGBA_FREE>;

// How a page copy is sent to the card
struct UPLOAD_TEXELS {
    GLint internal_format;
    GLenum format;
    GLenum type;
};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
static texture_atlas_t *packer = nullptr;  // places on the page being built; null when none is

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// Pixel (x, y) of a page
static uint8_t *page_pixel(const IMAGE *image, int x, int y)
{
    return image->rgba + (static_cast<size_t>(y) * static_cast<size_t>(image->texture_w) + static_cast<size_t>(x)) *
                             RGBA_BYTES;
}

// The smallest power of two at least n (1 for n <= 1); n is at most ATLAS_PAGE_MAX_SIDE
static int power_of_two(int n)
{
    int p = 1;
    while (p < n)
        p <<= 1;
    return p;
}

// Delete the packer of the page being built, if there is one
static void drop_packer()
{
    if (packer)
        texture_atlas_delete(packer);
    packer = nullptr;
}

// Delete an image's texture, keeping the binding cache truthful (a deleted texture's name may be
// handed out again)
static void delete_texture(IMAGE *image)
{
    if (image->opengl_texture == last_texture)
        last_texture = 0;
    glDeleteTextures(1, &image->opengl_texture);
    image->opengl_texture = 0;
}

// Whether a piece may be added: a page to copy to, usable pixels and sizes, and a free sprite
// (the table is never wrapped around onto sprite 0)
static bool can_take_piece(const IMAGE *image, const uint8_t *pixels, int w, int h, int stride)
{
    return image && image->rgba && pixels && w > 0 && h > 0 && stride >= w && spritecount >= 0 &&
           spritecount < SPRITE_MAX;
}

// Ask the packer for a place for a w x h piece plus its spare line; NO_ROOM when nothing is
// being built, when the packer is larger than this image's page, or when nothing fits
static TEXTURE_ATLAS_REGION find_room(const IMAGE *image, int w, int h, int pad)
{
    if (!packer || packer->width > static_cast<size_t>(image->texture_w) ||
        packer->height > static_cast<size_t>(image->texture_h))
        return NO_ROOM;
    return texture_atlas_get_region(packer, static_cast<size_t>(w + pad), static_cast<size_t>(h + pad));
}

// Write the one-pixel frame around the piece at (x, y): both side columns first, then the rows
// above and below, w + 2 pixels wide so that they include the corners
static void write_frame(const IMAGE *image, int x, int y, int w, int h, int border)
{
    for (int r = 0; r < h; r++) {
        uint8_t *left = page_pixel(image, x - 1, y + r);
        uint8_t *right = page_pixel(image, x + w, y + r);
        if (border == ATLAS_BORDER_EXTEND) {
            std::memcpy(left, page_pixel(image, x, y + r), RGBA_BYTES);
            std::memcpy(right, page_pixel(image, x + w - 1, y + r), RGBA_BYTES);
        } else if (border == ATLAS_BORDER_WRAP) {
            std::memcpy(left, page_pixel(image, x + w - 1, y + r), RGBA_BYTES);
            std::memcpy(right, page_pixel(image, x, y + r), RGBA_BYTES);
        } else {
            std::memset(left, 0, RGBA_BYTES);
            std::memset(right, 0, RGBA_BYTES);
        }
    }
    size_t row_bytes = static_cast<size_t>(w + 2) * RGBA_BYTES;
    uint8_t *above = page_pixel(image, x - 1, y - 1);
    uint8_t *below = page_pixel(image, x - 1, y + h);
    if (border == ATLAS_BORDER_EXTEND) {
        std::memcpy(above, page_pixel(image, x - 1, y), row_bytes);
        std::memcpy(below, page_pixel(image, x - 1, y + h - 1), row_bytes);
    } else if (border == ATLAS_BORDER_WRAP) {
        std::memcpy(above, page_pixel(image, x - 1, y + h - 1), row_bytes);
        std::memcpy(below, page_pixel(image, x - 1, y), row_bytes);
    } else {
        std::memset(above, 0, row_bytes);
        std::memset(below, 0, row_bytes);
    }
}

// Copy a piece into the page at a region the packer handed out, frame it, and make it the next
// sprite. Fields the piece does not set keep what the sprite table holds.
static SPRITE *place_piece(IMAGE *image, TEXTURE_ATLAS_REGION region, const uint8_t *pixels, int w, int h,
                           int stride, int border)
{
    size_t row_bytes = static_cast<size_t>(w) * RGBA_BYTES;
    for (int r = 0; r < h; r++)
        std::memcpy(page_pixel(image, region.x, region.y + r),
                    pixels + static_cast<size_t>(r) * static_cast<size_t>(stride) * RGBA_BYTES, row_bytes);
    if (border)
        write_frame(image, region.x, region.y, w, h, border);
    SPRITE *sprite = sprite_last();
    sprite->atlasx = static_cast<int16_t>(region.x);
    sprite->atlasy = static_cast<int16_t>(region.y);
    sprite->w = static_cast<int16_t>(w);
    sprite->h = static_cast<int16_t>(h);
    sprite->atlas = image;
    spritecount++;
    return sprite;
}

// Add a piece if there is room for it; null when it cannot be added (unusable piece, full page,
// full sprite table). The loaders use this, so that a bad image file never aborts the program.
static SPRITE *try_add_piece(IMAGE *image, const uint8_t *pixels, int w, int h, int stride, int border)
{
    if (!can_take_piece(image, pixels, w, h, stride))
        return nullptr;
    TEXTURE_ATLAS_REGION region = find_room(image, w, h, border ? 1 : 0);
    if (region.x < 0 || region.y < 0)
        return nullptr;
    return place_piece(image, region, pixels, w, h, stride, border);
}

// Pixel (x, y) of a sheet addressed as w * y + x, so that a column past the right edge reads
// into the next row; null past the end of the pixels
static const uint8_t *sheet_pixel(const RGBA_DATA *rgba, int64_t x, int64_t y)
{
    int64_t index = y * rgba->w + x;
    if (index < 0 || index >= static_cast<int64_t>(rgba->w) * rgba->h)
        return nullptr;
    return rgba->bytes + index * RGBA_BYTES;
}

// Whether a pixel is transparent black (all four bytes zero); missing pixels count as such
static bool is_blank(const uint8_t *pixel)
{
    return !pixel || (pixel[0] | pixel[1] | pixel[2] | pixel[3]) == 0;
}

// Widen an odd side of a box by one when the tile's side is even, and move the box back by one
// if that makes it overrun the tile
static void even_up(int &start, int &length, int tile)
{
    if (length % 2 == 1 && tile % 2 == 0) {
        length++;
        if (start + length > tile)
            start--;
    }
}

// The box of a tile's visible pixels (1 x 1 at the corner for an empty tile), evened up
static TILE_BOX trim_tile(const RGBA_DATA *rgba, int64_t tx, int64_t ty, int spritew, int spriteh)
{
    int x0 = spritew, y0 = spriteh, x1 = -1, y1 = -1;
    for (int j = 0; j < spriteh; j++) {
        for (int i = 0; i < spritew; i++) {
            if (is_blank(sheet_pixel(rgba, tx + i, ty + j)))
                continue;
            x0 = std::min(x0, i);
            x1 = std::max(x1, i);
            y0 = std::min(y0, j);
            y1 = std::max(y1, j);
        }
    }
    TILE_BOX box = x1 < 0 ? TILE_BOX{0, 0, 1, 1} : TILE_BOX{x0, y0, x1 - x0 + 1, y1 - y0 + 1};
    even_up(box.x, box.w, spritew);
    even_up(box.y, box.h, spriteh);
    return box;
}

// Copy a box of a sheet into a buffer of its own, w pixels a row; pixels past the end of the
// sheet come out transparent black
static void gather_box(const RGBA_DATA *rgba, int64_t x, int64_t y, int w, int h, std::vector<uint8_t> &piece)
{
    piece.assign(static_cast<size_t>(w) * static_cast<size_t>(h) * RGBA_BYTES, 0);
    uint8_t *out = piece.data();
    for (int j = 0; j < h; j++) {
        for (int i = 0; i < w; i++, out += RGBA_BYTES) {
            const uint8_t *pixel = sheet_pixel(rgba, x + i, y + j);
            if (pixel)
                std::memcpy(out, pixel, RGBA_BYTES);
        }
    }
}

// Half the signed distance from a tile's centre to its box's centre, truncated toward zero
static int16_t centre_offset(int start, int length, int tile)
{
    return static_cast<int16_t>((2.0 * start + length - tile) / 2.0);
}

// Log the fill of the page a sheet went into
static void log_page_statistics(const IMAGE *image)
{
    int64_t pixels = static_cast<int64_t>(image->texture_w) * image->texture_h;
    int64_t used = packer ? static_cast<int64_t>(packer->used) : 0;
    lum_logf("    atlas size: %d (%dx%d)\n", static_cast<int>(pixels * RGBA_BYTES), image->texture_w,
             image->texture_h);
    lum_logf("    atlas used: %d\n", static_cast<int>(used));
    lum_logf("    atlas left: %d\n", static_cast<int>((pixels - used) * RGBA_BYTES));
    lum_logf("    %.2f%% used\n", static_cast<double>(used) / static_cast<double>(pixels) * 100.0);
}

// Whether two pixels have the same four bytes
static bool same_pixel(const uint8_t *a, const uint8_t *b)
{
    return std::memcmp(a, b, RGBA_BYTES) == 0;
}

// Convert a bottom-up page copy in place into the texels of an upload format
static UPLOAD_TEXELS pack_texels(std::vector<uint8_t> &texels, int format)
{
    size_t count = texels.size() / RGBA_BYTES;
    if (format == ATLAS_FORMAT_4444 || format == ATLAS_FORMAT_5551) {
        for (size_t i = 0; i < count; i++) {
            const uint8_t *p = &texels[i * RGBA_BYTES];
            uint16_t r = p[0], g = p[1], b = p[2], a = p[3];
            uint16_t texel = format == ATLAS_FORMAT_4444
                                 ? static_cast<uint16_t>((r >> 4) << 12 | (g >> 4) << 8 | (b >> 4) << 4 | a >> 4)
                                 : static_cast<uint16_t>((r >> 3) << 11 | (g >> 3) << 6 | (b >> 3) << 1 | a >> 7);
            std::memcpy(&texels[i * sizeof texel], &texel, sizeof texel);
        }
        GLenum type = format == ATLAS_FORMAT_4444 ? GL_UNSIGNED_SHORT_4_4_4_4 : GL_UNSIGNED_SHORT_5_5_5_1;
        return {GL_RGBA, GL_RGBA, type};
    }
    if (format == ATLAS_FORMAT_ALPHA) {
        for (size_t i = 0; i < count; i++)
            texels[i] = texels[i * RGBA_BYTES];
        return {GL_ALPHA, GL_ALPHA, GL_UNSIGNED_BYTE};
    }
    return {GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE};
}

//----------------------------------------------------------------------------------
// [SECTION] Tables and decoded images
//----------------------------------------------------------------------------------
// Start the atlas module: every atlas empty; the sprites are left as they are
int atlas_init()
{
    lum_log("atlas: init");
    atlas_.fill(ATLAS{});
    return 0;
}

// Delete every atlas texture and free the batches.
// NOTE: the pages' pixels and the packer are freed as well and the atlases emptied, so a second
// start-up and shut-down begin from nothing and find nothing left over.
void atlas_exit()
{
    int deleted = 0;
    for (int i = 0; i < ATLAS_MAX; i++) {
        ATLAS &atlas = atlas_[i];
        if (atlas.image.opengl_texture) {
            delete_texture(&atlas.image);
            deleted++;
        }
        for (int b = 0; b < ATLAS_BATCHES; b++) {
            if (!atlas.batch[b].entry)
                continue;
            lum_logf("ATLAS %d freeing batch %d\n", i, b);
            std::free(atlas.batch[b].entry);
        }
        std::free(atlas.image.rgba);
        atlas = ATLAS{};
    }
    drop_packer();
    lum_logf("atlas: deleted %d textures\n", deleted);
}

// The page of atlas index & 15
IMAGE *atlas_get(int index)
{
    return &atlas_get_full(index)->image;
}

// The whole atlas index & 15
ATLAS *atlas_get_full(int index)
{
    return &atlas_[static_cast<unsigned>(index) & (ATLAS_MAX - 1)];
}

// The packer of the page being built, for statistics and tests
texture_atlas_t *atlas_packer()
{
    return packer;
}

// Decode an image file; null when it cannot be decoded
RGBA_DATA *rgba_load(const char *path)
{
    int w = 0, h = 0;
    uint8_t *bytes = wrapper_load_rgba(path, &w, &h);
    if (!bytes)
        return nullptr;
    RGBA_DATA *rgba = static_cast<RGBA_DATA *>(std::malloc(sizeof(RGBA_DATA)));
    if (!rgba)
        lum_out_of_memory(__LINE__);
    *rgba = RGBA_DATA{w, h, bytes};
    return rgba;
}

// Free decoded pixels and their record; null is ignored
void rgba_free(RGBA_DATA *rgba)
{
    if (!rgba)
        return;
    std::free(rgba->bytes);
    std::free(rgba);
}

//----------------------------------------------------------------------------------
// [SECTION] Building a page
//----------------------------------------------------------------------------------
// Open a page: a new packer of w x h exactly as given, and a blank magenta page rounded up to
// powers of two (512 x 512 when w or h is 0 or less). A previous page of the image is released.
// Null, with nothing being built, when the page would be too large.
// NOTE: the packer gets the size as passed even when the page falls back to 512 x 512, so a page
// opened with 0 accepts no pieces.
uint8_t *atlas_create_texture(IMAGE *image, int w, int h)
{
    if (!image)
        return nullptr;
    int page_w = w > 0 && h > 0 ? w : ATLAS_DEFAULT_PAGE;
    int page_h = w > 0 && h > 0 ? h : ATLAS_DEFAULT_PAGE;
    drop_packer();
    if (image->opengl_texture)
        delete_texture(image);
    std::free(image->rgba);
    *image = IMAGE{};
    if (page_w > ATLAS_PAGE_MAX_SIDE || page_h > ATLAS_PAGE_MAX_SIDE ||
        static_cast<int64_t>(power_of_two(page_w)) * power_of_two(page_h) * RGBA_BYTES > ATLAS_PAGE_MAX_BYTES) {
        lum_logf("Atlas page %dx%d is too large\n", page_w, page_h);
        return nullptr;
    }
    packer = texture_atlas_new(static_cast<size_t>(std::max(w, 0)), static_cast<size_t>(std::max(h, 0)), RGBA_BYTES);
    image->texture_w = power_of_two(page_w);
    image->texture_h = power_of_two(page_h);
    size_t pixels = static_cast<size_t>(image->texture_w) * static_cast<size_t>(image->texture_h);
    image->rgba = static_cast<uint8_t *>(std::malloc(pixels * RGBA_BYTES));
    if (!image->rgba)
        lum_out_of_memory(__LINE__);
    for (size_t i = 0; i < pixels; i++)
        std::memcpy(image->rgba + i * RGBA_BYTES, MAGENTA, RGBA_BYTES);
    // The record was just zeroed, so the page has no name here.
    lum_logf("Created %dx%d texture for atlas named '%s'\n", image->texture_w, image->texture_h, NO_NAME);
    return image->rgba;
}

// Add one piece of w x h pixels (rows `stride` pixels apart) with an optional frame. Null for an
// unusable piece or a full sprite table; a full page is a programming error and aborts.
SPRITE *atlas_add_rgba_image(IMAGE *image, const uint8_t *pixels, int w, int h, int stride, int border)
{
    if (!can_take_piece(image, pixels, w, h, stride))
        return nullptr;
    TEXTURE_ATLAS_REGION region = find_room(image, w, h, border ? 1 : 0);
    LUM_ASSERT(region.x >= 0);
    LUM_ASSERT(region.y >= 0);
    return place_piece(image, region, pixels, w, h, stride, border);
}

//----------------------------------------------------------------------------------
// [SECTION] Sheets and fonts
//----------------------------------------------------------------------------------
// Cut a sheet into tiles, left to right and top to bottom, trim each to its visible pixels and
// add it. Returns 0, the number of wanted tiles left over, or -1 for an unusable sheet or image
// (no page, no pixels, tile sides outside 1 .. 32767).
int atlas_add_sprite_sheet(IMAGE *image, SPRITESHEET *sheet, int border)
{
    if (!image || !image->rgba || !sheet || !sheet->rgba || !sheet->rgba->bytes || sheet->rgba->w < 0 ||
        sheet->rgba->h < 0 || sheet->spritew < 1 || sheet->spritew > INT16_MAX || sheet->spriteh < 1 ||
        sheet->spriteh > INT16_MAX)
        return -1;
    const RGBA_DATA *rgba = sheet->rgba;
    int spritew = sheet->spritew;
    int spriteh = sheet->spriteh;
    int wanted = sheet->total;
    int taken = 0;
    int64_t cx = 0, cy = 0;
    std::vector<uint8_t> piece;
    while (!(wanted != 0 && taken == wanted)) {
        int64_t tx = cx * spritew;
        int64_t ty = cy * spriteh;
        if (!sheet_pixel(rgba, tx, ty)) {
            sheet->total = taken;
            break;
        }
        TILE_BOX box = trim_tile(rgba, tx, ty, spritew, spriteh);
        gather_box(rgba, tx + box.x, ty + box.y, box.w, box.h, piece);
        SPRITE *sprite = try_add_piece(image, piece.data(), box.w, box.h, box.w, border);
        if (!sprite)
            break;
        sprite->boxx = static_cast<int16_t>(box.x);
        sprite->boxy = static_cast<int16_t>(box.y);
        sprite->boxw = static_cast<int16_t>(spritew);
        sprite->boxh = static_cast<int16_t>(spriteh);
        sprite->xoff = centre_offset(box.x, box.w, spritew);
        sprite->yoff = centre_offset(box.y, box.h, spriteh);
        taken++;
        if (++cx * spritew >= rgba->w) {
            cx = 0;
            cy++;
        }
    }
    int result = 0;
    if (wanted > taken) {
        result = wanted - taken;
        lum_logf("Ran out of atlas space, %d sprites remaining\n", result);
    } else {
        lum_logf("%d sprites added\n", taken);
    }
    log_page_statistics(image);
    return result;
}

// Find the glyph boxes of a font image and add each glyph, in reading order of their top-left
// corners. The marker colour is the top-left pixel's; a glyph starts at a pixel that is not the
// marker colour while its left, upper and upper-left neighbours are. Returns the count, 0 for an
// image under 2 rows or 2 columns, -1 when a glyph could not be added or there is no image.
// NOTE: a glyph's height counts at most (image width - y) rows: the bound uses the width, and
// fonts are laid out so that it never matters. The image's own height bounds it as well.
int atlas_add_glyphs(IMAGE *image, const RGBA_DATA *rgba, int border)
{
    if (!image || !rgba || !rgba->bytes)
        return -1;
    int w = rgba->w;
    int h = rgba->h;
    if (w < 2 || h < 2)
        return 0;
    auto pixel = [rgba, w](int x, int y) { return rgba->bytes + (static_cast<size_t>(y) * w + x) * RGBA_BYTES; };
    const uint8_t *marker = pixel(0, 0);
    auto is_marker = [&](int x, int y) { return same_pixel(pixel(x, y), marker); };
    int count = 0;
    for (int y = 1; y < h; y++) {
        for (int x = 1; x < w; x++) {
            if (is_marker(x, y) || !is_marker(x - 1, y) || !is_marker(x, y - 1) || !is_marker(x - 1, y - 1))
                continue;
            int glyph_w = 0;
            while (x + glyph_w < w && !is_marker(x + glyph_w, y))
                glyph_w++;
            int glyph_h = 0;
            while (glyph_h < w - y && y + glyph_h < h && !is_marker(x, y + glyph_h))
                glyph_h++;
            SPRITE *sprite = try_add_piece(image, pixel(x, y), glyph_w, glyph_h, w, border);
            if (!sprite)
                return -1;
            sprite->boxw = static_cast<int16_t>(glyph_w);
            sprite->boxh = static_cast<int16_t>(glyph_h);
            count++;
        }
    }
    return count;
}

// Decode a sprite sheet file and cut it into the page; -2 when the file cannot be decoded.
// The decoded pixels are released before returning.
int atlas_load_spritesheet(IMAGE *image, SPRITESHEET *sheet, int spritew, int spriteh, int total, int border,
                           const char *path)
{
    SPRITESHEET temporary = {};
    if (!sheet)
        sheet = &temporary;
    sheet->total = total;
    sheet->spritew = spritew;
    sheet->spriteh = spriteh;
    RGBA_PTR rgba(rgba_load(path));
    sheet->rgba = rgba.get();
    if (!rgba)
        return -2;
    int result = atlas_add_sprite_sheet(image, sheet, border);
    sheet->rgba = nullptr;
    return result;
}

// Decode a font image and add its glyphs as consecutive sprites, the first for character code
// `first`. Returns 0, -1 without an image, -2 when the image has no page or was uploaded,
// -3 without a font, -4 when the file cannot be decoded, -5 when a glyph could not be added
// (the sprite count is then put back; the page keeps what was copied).
int atlas_load_font(IMAGE *image, SPRITEFONT *font, int first, const char *path)
{
    if (font)
        *font = SPRITEFONT{};
    if (!image)
        return -1;
    if (!image->rgba || image->opengl_texture)
        return -2;
    if (!font)
        return -3;
    RGBA_PTR rgba(rgba_load(path));
    if (!rgba)
        return -4;
    int entry = sprite_count();
    SPRITE *glyphs = sprite_last();
    int count = atlas_add_glyphs(image, rgba.get(), ATLAS_FONT_BORDER);
    if (count < 0) {
        spritecount = entry;
        return -5;
    }
    font->first = static_cast<unsigned>(first);
    font->glyphbase = static_cast<unsigned>(entry);
    font->glyphs = glyphs;
    font->count = static_cast<unsigned>(count);
    return 0;
}

//----------------------------------------------------------------------------------
// [SECTION] Uploading and drawing
//----------------------------------------------------------------------------------
// Send the page to the card as a new texture, bottom row first, and end the building of the page
// (the packer goes). The page's pixels are kept.
// NOTE: the new texture is bound only for the upload; texture 0 is bound afterwards and the
// binding cache cleared, so the next draw binds its page and loads its texture matrix.
int atlas_upload(IMAGE *image, int linear, int format)
{
    if (!image) {
        lum_log("NULL atlas");
        return -1;
    }
    if (!image->rgba) {
        lum_log("No rgba data");
        return -2;
    }
    drop_packer();
    lum_logf("Uploading IMAGE %p\n", static_cast<void *>(image));
    if (image->opengl_texture) {
        lum_logf("Deleting texture %d\n", static_cast<int>(image->opengl_texture));
        delete_texture(image);
    }
    frame_force();  // a frame's fingerprint names its pages, not their pixels

    size_t row_bytes = static_cast<size_t>(image->texture_w) * RGBA_BYTES;
    std::vector<uint8_t> texels(row_bytes * static_cast<size_t>(image->texture_h));
    for (int y = 0; y < image->texture_h; y++)
        std::memcpy(&texels[static_cast<size_t>(image->texture_h - 1 - y) * row_bytes], page_pixel(image, 0, y),
                    row_bytes);

    // Errors left over from earlier calls are not this upload's
    while (glGetError() != GL_NO_ERROR) {
    }
    GLuint texture = 0;
    glGenTextures(1, &texture);
    image->opengl_texture = texture;
    glBindTexture(GL_TEXTURE_2D, texture);
    GLint filter = linear ? GL_LINEAR : GL_NEAREST;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);

    UPLOAD_TEXELS upload = pack_texels(texels, format);
    GLint alignment = 4;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, upload.internal_format, image->texture_w, image->texture_h, 0, upload.format,
                 upload.type, texels.data());
    GLenum error = glGetError();
    glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
    glBindTexture(GL_TEXTURE_2D, 0);
    last_texture = 0;

    // Without a current context no texture name is handed out, and nothing reports an error.
    if (error != GL_NO_ERROR || texture == 0) {
        lum_logf("Error uploading texture. glError: 0x%04X", error);
        lum_log("atlas upload failed");
        return -3;
    }
    lum_logf("upload atlas texid %d %d x %d\n", static_cast<int>(texture), image->texture_w, image->texture_h);
    return 1;
}

// Send the page to its texture again as RGBA bytes in buffer row order (no flip)
int atlas_update_texture(IMAGE *image)
{
    if (!image || !image->rgba)
        return -1;
    draw_bind_texture(image);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, image->texture_w, image->texture_h, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 image->rgba);
    return 1;
}

// Draw the whole page as one sprite at the turtle; -1 for no image, or a page whose sides do
// not fit a sprite's 16-bit size
// A temporary sprite covering the whole page: at (0, 0), the page's size, everything else 0
SPRITE atlas_full_sprite(IMAGE *image)
{
    SPRITE page = {};
    page.w = static_cast<int16_t>(image->texture_w);
    page.h = static_cast<int16_t>(image->texture_h);
    page.atlas = image;
    return page;
}

int atlas_draw_full(IMAGE *image)
{
    if (!image || image->texture_w > INT16_MAX || image->texture_h > INT16_MAX)
        return -1;
    SPRITE page = atlas_full_sprite(image);
    sprite_draw(&page, 0);
    return 1;
}
