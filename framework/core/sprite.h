// sprite: sprites as textured quads, drawn at once or collected into the atlas batches.
// Every sprite is placed, scaled, rotated and tinted by the turtle. Batch 0 of an atlas is drawn
// with alpha blending, batch 1 additively; each is drawn with one call by sprite_batch_draw.
// The atlas fills the sprite table (atlas_tables) and the batches are its atlases'; this module
// plots into them and draws them.
// Depends on: atlas_tables (the sprite table, the batches), turtle, draw (texture binding), log
// (log lines), frame (drawing goes through the frame's record), OpenGL.
#pragma once

#include <array>
#include <cstdint>

#include "atlas_tables.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int SPRITE_BATCH_START = 64;      // sprites in a batch's first storage, and each growth step
constexpr int SPRITE_BATCH_MAX = 5000;      // a batch stops growing once this many sprites are plotted
constexpr int SPRITE_DRAW_QUADS = 5000;     // quads the shared index list describes: one draw call's worth
constexpr int SPRITE_ELEMENTS = SPRITE_DRAW_QUADS * 6;  // two triangles a quad

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
// The index list shared by every batch draw: quad q is the triangles (4q, 4q+1, 4q+2) and
// (4q+3, 4q+2, 4q+1). Filled by the first sprite_batch_draw, which sets element_init.
extern std::array<uint16_t, SPRITE_ELEMENTS> element_list;
extern int element_init;

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
SPRITE *sprite_get(int index);              // sprite index & 4095
SPRITE *sprite_last();                      // the first unused sprite
int sprite_get_id(const SPRITE *sprite);    // the sprite's index in the table
int sprite_count();
// A sprite slot that was never filled belongs to no page; drawing or plotting it does nothing.
// Draw now, at the turtle. The turtle is moved by the sprite's offset and stays there.
void sprite_draw(const SPRITE *sprite, int flip);
// Append to batch (batch & 1) of the sprite's atlas; the turtle is left as it was. Once a batch
// holds all the sprites its storage has room for, further sprites are dropped until it is drawn.
void sprite_batch_plot(const SPRITE *sprite, int flip, int batch);
// Draw and empty both batches of the atlas whose page this is; nothing for a null image
void sprite_batch_draw(IMAGE *image);
