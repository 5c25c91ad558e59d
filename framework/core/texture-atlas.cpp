// texture-atlas: a skyline rectangle packer over one pixel buffer (see texture-atlas.h).
// The skyline is a row of nodes, left to right, each a segment of columns with the first free
// row under it (rows grow downward). A request goes where its bottom edge comes out nearest the
// top, the new segment is laid over the nodes it covers, and neighbours of equal row are joined.
// Depends on: vector (the nodes), log (assertions, out-of-memory exit), OpenGL (texture names).
#include "texture-atlas.h"

#include <GL/gl.h>

#include <cstdlib>
#include <cstring>

#include "log.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// The node vector stores nodes as raw 12-byte items
static_assert(sizeof(TEXTURE_ATLAS_NODE) == 12, "a skyline node is three 32-bit integers");
static_assert(sizeof(TEXTURE_ATLAS_REGION) == 16, "a region is four 32-bit integers");

constexpr int32_t BORDER = 1;                 // empty pixels kept on every side of the page
constexpr int64_t NO_BEST = 2147483647;       // start of the best bottom and width: the largest int32
constexpr TEXTURE_ATLAS_REGION NO_ROOM = {-1, -1, 0, 0};

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// A copy of node `index`
static TEXTURE_ATLAS_NODE node_at(const texture_atlas_t *self, size_t index)
{
    return *static_cast<const TEXTURE_ATLAS_NODE *>(vector_get(self->nodes, index));
}

// The node that spans the whole page below its top border
static TEXTURE_ATLAS_NODE first_node(const texture_atlas_t *self)
{
    return {BORDER, BORDER, static_cast<int32_t>(self->width) - 2 * BORDER};
}

// Whether start + length > limit, taken as whole numbers: a signed node field plus any size_t,
// compared without wrapping either way
static bool passes(int64_t start, size_t length, int64_t limit)
{
    int64_t room = limit - start;
    return room < 0 || length > static_cast<uint64_t>(room);
}

// The row just below a block of `height` rows starting at row y
static int64_t bottom_of(int64_t y, size_t height)
{
    return y + static_cast<int64_t>(height);
}

// Lay the newly inserted node `index` over the nodes that follow it: each node it covers in part
// is cut back to start where it ends, and each one it covers entirely is removed
static void remove_shadow(texture_atlas_t *self, size_t index)
{
    TEXTURE_ATLAS_NODE placed = node_at(self, index);
    int32_t end = placed.x + placed.z;
    while (index + 1 < vector_size(self->nodes)) {
        TEXTURE_ATLAS_NODE next = node_at(self, index + 1);
        if (next.x >= end)
            return;
        int32_t shrink = end - next.x;
        next.x += shrink;
        next.z -= shrink;
        if (next.z > 0) {
            vector_set(self->nodes, index + 1, &next);
            return;
        }
        vector_erase(self->nodes, index + 1);
    }
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Create a packer over a zero-filled width x height page of depth bytes per pixel
texture_atlas_t *texture_atlas_new(size_t width, size_t height, size_t depth)
{
    LUM_ASSERT((depth == 1) || (depth == 3) || (depth == 4));
    texture_atlas_t *self = static_cast<texture_atlas_t *>(std::malloc(sizeof(texture_atlas_t)));
    if (!self)
        lum_out_of_memory(__LINE__);
    self->nodes = vector_new(sizeof(TEXTURE_ATLAS_NODE));
    self->width = width;
    self->height = height;
    self->depth = depth;
    self->used = 0;
    self->id = 0;
    TEXTURE_ATLAS_NODE node = first_node(self);
    vector_push_back(self->nodes, &node);
    size_t bytes = 0;
    if (__builtin_mul_overflow(width, height, &bytes) || __builtin_mul_overflow(bytes, depth, &bytes))
        lum_out_of_memory(__LINE__);
    self->data = static_cast<unsigned char *>(std::calloc(bytes, 1));
    if (!self->data)
        lum_out_of_memory(__LINE__);
    return self;
}

// Free the nodes, the pixels and the record.
// NOTE: the test is inverted on purpose: a real texture name (non-zero) is left alone, because
// the sprite atlas deletes its textures itself; only the name 0, which is no texture, is passed
// to OpenGL (where deleting it does nothing, with or without a current context).
void texture_atlas_delete(texture_atlas_t *self)
{
    LUM_ASSERT(self);
    vector_delete(self->nodes);
    if (self->data)
        std::free(self->data);
    if (!self->id)
        glDeleteTextures(1, &self->id);
    std::free(self);
}

// Find a place for a width x height block, record it in the skyline and return it;
// (-1, -1, 0, 0) with nothing changed when it fits nowhere
TEXTURE_ATLAS_REGION texture_atlas_get_region(texture_atlas_t *self, size_t width, size_t height)
{
    LUM_ASSERT(self);
    int64_t best_height = NO_BEST;
    int64_t best_width = NO_BEST;
    int64_t best_index = -1;
    TEXTURE_ATLAS_REGION region = {0, 0, static_cast<int32_t>(width), static_cast<int32_t>(height)};

    // Lowest bottom edge first, then the narrowest supporting node; the strict comparisons keep
    // the leftmost candidate on a full tie.
    for (size_t i = 0; i < vector_size(self->nodes); ++i) {
        int y = texture_atlas_fit(self, i, width, height);
        if (y < 0)
            continue;
        TEXTURE_ATLAS_NODE node = node_at(self, i);
        int64_t bottom = bottom_of(y, height);
        if (bottom < best_height || (bottom == best_height && node.z < best_width)) {
            best_height = bottom;
            best_width = node.z;
            best_index = static_cast<int64_t>(i);
            region.x = node.x;
            region.y = y;
        }
    }
    if (best_index < 0)
        return NO_ROOM;

    TEXTURE_ATLAS_NODE placed = {region.x, static_cast<int32_t>(bottom_of(region.y, height)), region.width};
    size_t index = static_cast<size_t>(best_index);
    vector_insert(self->nodes, index, &placed);
    remove_shadow(self, index);
    texture_atlas_merge(self);
    self->used += width * height;
    return region;
}

// Copy a width x height block of pixels, rows `stride` bytes apart in the source, into the page
// at (x, y); the block must lie inside the border
void texture_atlas_set_region(texture_atlas_t *self, size_t x, size_t y, size_t width, size_t height,
                              const unsigned char *data, size_t stride)
{
    LUM_ASSERT(self);
    LUM_ASSERT(x > 0);
    LUM_ASSERT(y > 0);
    LUM_ASSERT(x < (self->width-1));
    LUM_ASSERT((x + width) <= (self->width-1));
    LUM_ASSERT(y < (self->height-1));
    LUM_ASSERT((y + height) <= (self->height-1));
    size_t row_bytes = width * self->depth;
    for (size_t i = 0; i < height; ++i)
        std::memcpy(self->data + ((y + i) * self->width + x) * self->depth, data + i * stride, row_bytes);
}

// Forget every region: one empty skyline node again, no area used, all pixels zero
void texture_atlas_clear(texture_atlas_t *self)
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->data);
    vector_clear(self->nodes);
    self->used = 0;
    TEXTURE_ATLAS_NODE node = first_node(self);
    vector_push_back(self->nodes, &node);
    std::memset(self->data, 0, self->width * self->height * self->depth);
}

// The row at which a width x height block starting at node `index` would rest (the highest
// free row under the nodes it spans), or -1 when it would cross the right or bottom border.
// NOTE: the walk has no bound of its own: a width that passes the right-border test ends within
// the columns the nodes cover.
int texture_atlas_fit(texture_atlas_t *self, size_t index, size_t width, size_t height)
{
    LUM_ASSERT(self);
    TEXTURE_ATLAS_NODE node = node_at(self, index);
    if (passes(node.x, width, static_cast<int64_t>(self->width) - BORDER))
        return -1;
    int32_t y = node.y;
    int64_t remaining = static_cast<int64_t>(width);
    if (remaining < 1)
        return y;
    for (size_t i = index;; ++i) {
        node = node_at(self, i);
        if (node.y > y)
            y = node.y;
        if (passes(y, height, static_cast<int64_t>(self->height) - BORDER))
            return -1;
        remaining -= node.z;
        if (remaining < 1)
            return y;
    }
}

// Join neighbouring nodes that share a free row
void texture_atlas_merge(texture_atlas_t *self)
{
    LUM_ASSERT(self);
    size_t i = 0;
    while (i + 1 < vector_size(self->nodes)) {
        TEXTURE_ATLAS_NODE node = node_at(self, i);
        TEXTURE_ATLAS_NODE next = node_at(self, i + 1);
        if (node.y == next.y) {
            node.z += next.z;
            vector_set(self->nodes, i, &node);
            vector_erase(self->nodes, i + 1);
        } else {
            ++i;
        }
    }
}
