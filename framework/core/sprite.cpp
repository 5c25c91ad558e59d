// sprite: sprites as textured quads, drawn at once or batched (see sprite.h).
#include "sprite.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "atlas_tables.h"
#include "draw.h"
#include "frame.h"
#include "log.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int VERTICES_PER_SPRITE = 4;
constexpr int BYTES_PER_SPRITE = VERTICES_PER_SPRITE * static_cast<int>(sizeof(BATCH_ITEM));  // 128

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// Texture coordinates of a sprite's edges, in pixels of its page (the page is stored upside down
// on the card, so the top edge has the larger v)
struct SPRITE_UV {
    int16_t left, right;
    int16_t top, bottom;
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
std::array<uint16_t, SPRITE_ELEMENTS> element_list;
int element_init = 0;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// The edges of a sprite on its page; flipping swaps left and right (a horizontal mirror)
static SPRITE_UV sprite_uv(const SPRITE *sprite, int flip)
{
    int page_h = sprite->atlas->texture_h;
    SPRITE_UV uv;
    uv.left = static_cast<int16_t>(sprite->atlasx);
    uv.right = static_cast<int16_t>(sprite->atlasx + sprite->w);
    uv.top = static_cast<int16_t>(page_h - sprite->atlasy);
    uv.bottom = static_cast<int16_t>(page_h - sprite->atlasy - sprite->h);
    if (flip)
        std::swap(uv.left, uv.right);
    return uv;
}

// Where a corner (lx, ly) of a sprite centred on the turtle lands on screen
static void sprite_corner(double lx, double ly, float &x, float &y)
{
    x = static_cast<float>(turtle.x + lx * turtle.xsin - ly * turtle.ysin);
    y = static_cast<float>(turtle.y - lx * turtle.xcos + ly * turtle.ycos);
}

// Move the turtle by the sprite's offset from its tile's centre; a flipped sprite mirrors the x
// offset only
static void sprite_offset_move(const SPRITE *sprite, int flip)
{
    double xoff = flip ? -sprite->xoff : sprite->xoff;
    turtle_trans(xoff, -sprite->yoff);
}

// The index of an atlas in the atlas table for log lines; -1 when it is not one of them
static int atlas_index(const ATLAS *atlas)
{
    for (int i = 0; i < ATLAS_MAX; i++)
        if (&atlas_[static_cast<size_t>(i)] == atlas)
            return i;
    return -1;
}

// Make room in a batch for one more sprite: the first plot allocates 64 sprites, and a full
// batch grows by 64 at a time until 5000 sprites have been plotted
static void batch_make_room(const ATLAS *atlas, int index, ATLAS_BATCH &batch)
{
    if (!batch.entry) {
        batch.size = SPRITE_BATCH_START;
        batch.max = SPRITE_BATCH_MAX;
        int bytes = batch.size * BYTES_PER_SPRITE;
        lum_logf("ATLAS %d BATCH %d initialized to %d entries (%d bytes)\n", atlas_index(atlas), index, batch.size,
                 bytes);
        batch.entry = static_cast<BATCH_ITEM *>(std::calloc(static_cast<size_t>(bytes), 1));
        if (!batch.entry)
            lum_out_of_memory(__LINE__);
        return;
    }
    while (batch.count < batch.max && batch.count >= batch.size) {
        batch.size += SPRITE_BATCH_START;
        int bytes = batch.size * BYTES_PER_SPRITE;
        lum_logf("ATLAS %d BATCH %d grown to %d entries (%d bytes)\n", atlas_index(atlas), index, batch.size, bytes);
        void *grown = std::realloc(batch.entry, static_cast<size_t>(bytes));
        if (!grown)
            lum_out_of_memory(__LINE__);
        batch.entry = static_cast<BATCH_ITEM *>(grown);
    }
}

// Write one vertex of a batched sprite
static void batch_vertex(BATCH_ITEM &v, double lx, double ly, int16_t u, int16_t tv, const std::array<uint8_t, 4> &colour)
{
    sprite_corner(lx, ly, v.x, v.y);
    v.z = static_cast<float>(turtle.z);
    v.u = u;
    v.v = tv;
    v.r = colour[0];
    v.g = colour[1];
    v.b = colour[2];
    v.a = colour[3];
}

// Draw `count` batched sprites. The index list covers 5000 quads, so a batch holding more (it
// can hold up to 5056) is drawn in two calls: nothing plotted is lost.
static void draw_quads(const BATCH_ITEM *vertices, int count)
{
    for (int first = 0; first < count; first += SPRITE_DRAW_QUADS) {
        int quads = std::min(count - first, SPRITE_DRAW_QUADS);
        const BATCH_ITEM *v = vertices + first * VERTICES_PER_SPRITE;
        glVertexPointer(3, GL_FLOAT, sizeof(BATCH_ITEM), &v->x);
        glTexCoordPointer(2, GL_SHORT, sizeof(BATCH_ITEM), &v->u);
        glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(BATCH_ITEM), &v->r);
        glDrawElements(GL_TRIANGLES, quads * 6, GL_UNSIGNED_SHORT, element_list.data());
    }
}

// What a drawing command names of its page: the texture, and the page's size that texture
// positions are divided by
static std::array<uint32_t, 3> command_page(const IMAGE *image)
{
    return {image->opengl_texture, static_cast<uint32_t>(image->texture_w), static_cast<uint32_t>(image->texture_h)};
}

// A batch's vertices as an array of a drawing command: each vertex is 32 bytes, of which the
// position, texture position and colour (20 bytes) are drawn
static void command_batch(FRAME_COMMAND &c, int slot, const ATLAS_BATCH &batch)
{
    c.array[slot] = batch.entry;
    c.count[slot] = batch.count * VERTICES_PER_SPRITE;
    c.stride[slot] = static_cast<int>(sizeof(BATCH_ITEM));
    c.drawn[slot] = static_cast<int>(offsetof(BATCH_ITEM, pad));
}

// The two batches of a page: the first alpha-blended, then the second added onto the frame.
// NOTE: sprite_draw switches the colour array off (it tints with one colour), so it is switched
// on again here.
static void submit_batches(const FRAME_COMMAND &c)
{
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glEnable(GL_TEXTURE_2D);
    draw_bind_texture(c.image);
    draw_quads(static_cast<const BATCH_ITEM *>(c.array[0]), c.count[0] / VERTICES_PER_SPRITE);
    if (c.count[1] > 0) {
        glBlendFunc(GL_ONE, GL_ONE);
        draw_quads(static_cast<const BATCH_ITEM *>(c.array[1]), c.count[1] / VERTICES_PER_SPRITE);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
}

// One sprite as a triangle strip in one colour: four 2-D points, then their texture positions
static void submit_sprite(const FRAME_COMMAND &c)
{
    glColor4f(c.colour[0], c.colour[1], c.colour[2], c.colour[3]);
    draw_bind_texture(c.image);
    glDisableClientState(GL_COLOR_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glEnable(GL_TEXTURE_2D);
    glVertexPointer(2, GL_FLOAT, 0, c.array[0]);
    glTexCoordPointer(2, GL_SHORT, 0, c.array[1]);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, VERTICES_PER_SPRITE);
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// The sprite at index & 4095: any integer selects one
SPRITE *sprite_get(int index)
{
    return &sprites_[static_cast<unsigned>(index) & (SPRITE_MAX - 1)];
}

// The first unused sprite.
// NOTE: with all 4096 sprites in use this wraps to sprite 0, like any other index.
SPRITE *sprite_last()
{
    return sprite_get(spritecount);
}

// The index of a sprite of the table
int sprite_get_id(const SPRITE *sprite)
{
    return static_cast<int>(sprite - sprites_.data());
}

// Sprites in use
int sprite_count()
{
    return spritecount;
}

// Draw one sprite now as a triangle strip, tinted with the turtle's colour.
// NOTE: the offset move is not undone, and the half sizes are halved as integers, so an
// odd-sized sprite comes out one pixel smaller than through a batch.
void sprite_draw(const SPRITE *sprite, int flip)
{
    if (!sprite->atlas)
        return;
    sprite_offset_move(sprite, flip);
    double hw = (sprite->w / 2) * turtle.scalex;
    double hh = (sprite->h / 2) * turtle.scaley;
    SPRITE_UV uv = sprite_uv(sprite, flip);
    GLfloat points[8];
    sprite_corner(-hw, -hh, points[0], points[1]);
    sprite_corner(-hw, hh, points[2], points[3]);
    sprite_corner(hw, -hh, points[4], points[5]);
    sprite_corner(hw, hh, points[6], points[7]);
    const GLshort texcoords[8] = {uv.left, uv.top, uv.left, uv.bottom, uv.right, uv.top, uv.right, uv.bottom};
    FRAME_COMMAND c{};
    c.submit = submit_sprite;
    c.image = sprite->atlas;
    c.page = command_page(sprite->atlas);
    c.colour = {static_cast<float>(turtle.r), static_cast<float>(turtle.g), static_cast<float>(turtle.b),
                static_cast<float>(turtle.a)};
    c.array = {points, texcoords, nullptr};
    c.count = {VERTICES_PER_SPRITE, VERTICES_PER_SPRITE, 0};
    c.stride = {static_cast<int>(2 * sizeof(GLfloat)), static_cast<int>(2 * sizeof(GLshort)), 0};
    c.drawn = c.stride;
    frame_draw(c);
}

// Append one sprite to a batch of its atlas as four vertices: left edge first, top before
// bottom. The turtle is moved by the sprite's offset for the placement and then put back.
void sprite_batch_plot(const SPRITE *sprite, int flip, int batch)
{
    if (!sprite->atlas)
        return;
    int index = batch & 1;
    ATLAS *atlas = atlas_from_image(sprite->atlas);
    ATLAS_BATCH &b = atlas->batch[index];
    TURTLE saved = turtle;
    batch_make_room(atlas, index, b);
    sprite_offset_move(sprite, flip);
    if (b.count < b.size) {
        double hw = sprite->w * 0.5 * turtle.scalex;
        double hh = sprite->h * 0.5 * turtle.scaley;
        SPRITE_UV uv = sprite_uv(sprite, flip);
        const std::array<uint8_t, 4> colour = turtle_rgba_bytes();
        BATCH_ITEM *v = b.entry + b.count * VERTICES_PER_SPRITE;
        batch_vertex(v[0], -hw, -hh, uv.left, uv.top, colour);
        batch_vertex(v[1], -hw, hh, uv.left, uv.bottom, colour);
        batch_vertex(v[2], hw, -hh, uv.right, uv.top, colour);
        batch_vertex(v[3], hw, hh, uv.right, uv.bottom, colour);
        b.count++;
    }
    turtle = saved;
}

// Draw both batches of an atlas, batch 0 alpha-blended, then batch 1 added onto the frame, and
// empty them
void sprite_batch_draw(IMAGE *image)
{
    if (!element_init) {
        for (int q = 0; q < SPRITE_DRAW_QUADS; q++) {
            uint16_t base = static_cast<uint16_t>(q * VERTICES_PER_SPRITE);
            uint16_t *e = &element_list[q * 6];
            e[0] = base;
            e[1] = static_cast<uint16_t>(base + 1);
            e[2] = static_cast<uint16_t>(base + 2);
            e[3] = static_cast<uint16_t>(base + 3);
            e[4] = static_cast<uint16_t>(base + 2);
            e[5] = static_cast<uint16_t>(base + 1);
        }
        element_init = 1;
    }
    if (!image)
        return;
    ATLAS *atlas = atlas_from_image(image);
    if (atlas->batch[0].count == 0 && atlas->batch[1].count == 0)
        return;
    FRAME_COMMAND c{};
    c.submit = submit_batches;
    c.image = image;
    c.page = command_page(image);
    command_batch(c, 0, atlas->batch[0]);
    command_batch(c, 1, atlas->batch[1]);
    frame_draw(c);
    atlas->batch[0].count = 0;
    atlas->batch[1].count = 0;
}
