// texture-atlas: a skyline rectangle packer over one pixel buffer.
// The sprite atlas asks it for a free place for each image, copies the pixels in, and uploads
// the page. A one-pixel empty border is kept on every side of the page. The placement is
// bottom-left: lowest resulting bottom edge, then narrowest supporting segment, then leftmost.
// Preconditions are assertions that abort.
// Depends on: vector, log (assertions, the out-of-memory exit), OpenGL (texture names only).
#pragma once

#include <cstddef>
#include <cstdint>

#include "vector.h"

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A skyline segment: columns x .. x+z-1 are free from row y on (rows above y are taken)
struct TEXTURE_ATLAS_NODE {
    int32_t x, y, z;
};

// A rectangle handed out by the packer; (-1, -1, 0, 0) when nothing fits
struct TEXTURE_ATLAS_REGION {
    int32_t x, y, width, height;
};

struct texture_atlas_t {
    vector_t *nodes;      // the skyline (TEXTURE_ATLAS_NODE), ordered by x, covering columns 1 .. width-2
    size_t width;         // page width in pixels
    size_t height;        // page height in pixels
    size_t depth;         // bytes per pixel: 1, 3 or 4
    size_t used;          // sum of the areas handed out since creation or the last clear
    unsigned int id;      // graphics texture name; 0 at creation, never set here
    unsigned char *data;  // width * height * depth bytes, rows top to bottom
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
texture_atlas_t *texture_atlas_new(size_t width, size_t height, size_t depth);
void texture_atlas_delete(texture_atlas_t *self);
TEXTURE_ATLAS_REGION texture_atlas_get_region(texture_atlas_t *self, size_t width, size_t height);
void texture_atlas_set_region(texture_atlas_t *self, size_t x, size_t y, size_t width, size_t height,
                              const unsigned char *data, size_t stride);
void texture_atlas_clear(texture_atlas_t *self);
int texture_atlas_fit(texture_atlas_t *self, size_t index, size_t width, size_t height);  // y, or -1
void texture_atlas_merge(texture_atlas_t *self);  // join neighbouring nodes of equal y
