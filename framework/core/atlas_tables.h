// atlas_tables: the sprite atlas's records and tables, shared by the atlas, which fills them,
// and the sprite batches, which draw from them: the 16 atlases (a texture page and its two
// batches each) and the one table of 4096 sprites (pieces of the pages). Kept apart from both
// modules so that neither includes the other for them.
// Depends on: nothing.
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int ATLAS_MAX = 16;      // atlases; an index selects atlas index & 15
constexpr int SPRITE_MAX = 4096;   // sprites; an index selects sprite index & 4095
constexpr int ATLAS_BATCHES = 2;   // per atlas: 0 alpha-blended, 1 additive

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// One texture page
struct IMAGE {
    const char *name;         // for log lines; null after atlas_create_texture
    int32_t texture_w;        // page size in pixels, powers of two
    int32_t texture_h;
    uint32_t opengl_texture;  // graphics texture name, 0 when none
    int32_t markerx;          // kept in the record; not used by the atlas
    int32_t markery;
    int32_t markerh;
    uint8_t *rgba;            // texture_w * texture_h pixels R, G, B, A, rows from the top; owned, kept after upload
};

// One vertex of a batched sprite; a sprite takes four consecutive vertices
struct BATCH_ITEM {
    float x, y, z;            // screen position
    int16_t u, v;             // texture position in pixels
    uint8_t r, g, b, a;       // colour 0..255
    float pad[3];             // unused: keeps a vertex 32 bytes long
};
static_assert(sizeof(BATCH_ITEM) == 32, "the vertex arrays are drawn with a 32-byte stride");

// A batch of quads waiting to be drawn with one call
struct ATLAS_BATCH {
    BATCH_ITEM *entry;        // 4 * size vertices; null until the first plot
    int32_t count;            // sprites plotted since the last draw
    int32_t size;             // sprites the storage holds
    int32_t max;              // growth limit
};

// An atlas: its page, followed by its two batches. The page comes first, so a pointer to the
// IMAGE of an atlas is also a pointer to the whole ATLAS (atlas_from_image).
struct ATLAS {
    IMAGE image;
    ATLAS_BATCH batch[ATLAS_BATCHES];
};

// A packed piece of a page. All fields but the last are signed 16-bit.
struct SPRITE {
    int16_t atlasx, atlasy;   // top-left pixel of the piece within the page
    int16_t w, h;             // size of the piece (after trimming)
    int16_t boxx, boxy;       // where the trimmed piece starts inside its tile (sheets only)
    int16_t boxw, boxh;       // size of the untrimmed tile (sheets) or of the glyph box (fonts)
    int16_t xoff, yoff;       // offset of the piece's centre from the tile's centre (sheets only)
    IMAGE *atlas;             // the page holding the pixels
};

// A bitmap font: consecutive glyph sprites, one per character code from `first` on
struct SPRITEFONT {
    unsigned glyphbase;       // sprite index of the first glyph
    unsigned first;           // character code of the first glyph
    unsigned count;           // number of glyphs
    SPRITE *glyphs;           // the first glyph's sprite
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
inline std::array<ATLAS, ATLAS_MAX> atlas_;     // the atlases
inline std::array<SPRITE, SPRITE_MAX> sprites_;  // the sprites
inline int spritecount = 0;                      // sprites in use; sprites are never removed

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The atlas whose page this is: the page is the atlas's first member
inline ATLAS *atlas_from_image(IMAGE *image)
{
    return reinterpret_cast<ATLAS *>(image);
}
