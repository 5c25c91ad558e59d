// atlas: the sprite atlas.
// Turns image files into sprites: sprite sheets are cut into trimmed tiles and font images into
// glyph tiles, every piece is packed into one RGBA page per atlas, and the page is uploaded as
// one texture. Building an atlas is always: atlas_create_texture, any number of loads and adds,
// atlas_upload (which discards the packer). Only one packer exists at a time, so atlases are
// built one after another.
// Depends on: atlas_tables (the records and tables it fills), texture-atlas (packing),
// wrapper_image (decoding), sprite (the next free sprite; drawing the page), draw (binding), log
// (log lines), frame (a new page's pixels draw the next frame), OpenGL.
#pragma once

#include <array>
#include <cstdint>

#include "atlas_tables.h"

struct texture_atlas_t;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------

// The frame written around a piece (the `border` argument of the add and load functions)
constexpr int ATLAS_BORDER_NONE = 0;    // no frame, no spare line
constexpr int ATLAS_BORDER_CLEAR = 1;   // transparent black (also any other non-zero value)
constexpr int ATLAS_BORDER_EXTEND = 2;  // the piece's edge pixels repeated
constexpr int ATLAS_BORDER_WRAP = 3;    // the opposite edge's pixels, as for a tiling texture

// Texel formats of atlas_upload
constexpr int ATLAS_FORMAT_RGBA = 0;    // four bytes (also any value not listed here)
constexpr int ATLAS_FORMAT_ALPHA = 1;   // one byte, taken from red, as alpha only
constexpr int ATLAS_FORMAT_4444 = 2;    // 16 bits: 4 each of red, green, blue, alpha
constexpr int ATLAS_FORMAT_5551 = 3;    // 16 bits: 5 each of red, green, blue, 1 of alpha

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------

// Decoded pixels
struct RGBA_DATA {
    int32_t w, h;
    uint8_t *bytes;           // w * h pixels R, G, B, A, rows from the top
};

// A sprite sheet being cut into tiles
struct SPRITESHEET {
    int32_t total;            // tiles wanted, 0 = as many as the sheet holds; on return the count taken
    int32_t uploaded;         // not used by the atlas
    int32_t spritew, spriteh; // tile size in pixels
    RGBA_DATA *rgba;          // the decoded sheet
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
int atlas_init();                      // logs "atlas: init", zeroes the atlases (not the sprites); 0
void atlas_exit();                     // deletes the textures, frees the batches, pages and packer
IMAGE *atlas_get(int index);           // the page of atlas index & 15
ATLAS *atlas_get_full(int index);      // the whole atlas index & 15

RGBA_DATA *rgba_load(const char *path);  // decoded file, or null
void rgba_free(RGBA_DATA *rgba);         // null is ignored

// A blank magenta page and a new packer; null (and nothing being built) when too large
uint8_t *atlas_create_texture(IMAGE *image, int w, int h);
// The new sprite; null for an unusable piece or a full sprite table; a full page aborts
SPRITE *atlas_add_rgba_image(IMAGE *image, const uint8_t *pixels, int w, int h, int stride, int border);
int atlas_add_sprite_sheet(IMAGE *image, SPRITESHEET *sheet, int border);  // 0, tiles left over, -1 unusable
int atlas_add_glyphs(IMAGE *image, const RGBA_DATA *rgba, int border);     // glyphs added, or -1
int atlas_load_spritesheet(IMAGE *image, SPRITESHEET *sheet, int spritew, int spriteh, int total,
                           int border, const char *path);                  // as above, -2 undecodable
int atlas_load_font(IMAGE *image, SPRITEFONT *font, int first, const char *path);  // 0 or -1 .. -5
int atlas_upload(IMAGE *image, int linear, int format);  // 1, or -1 null, -2 no pixels, -3 upload failed
int atlas_update_texture(IMAGE *image);                  // re-send the page as it is; 1, or -1
int atlas_draw_full(IMAGE *image);                       // the whole page as one sprite; 1, or -1
SPRITE atlas_full_sprite(IMAGE *image);  // that sprite, to plot into a batch (sizes up to 32767)
texture_atlas_t *atlas_packer();       // the packer of the page being built; null once uploaded
