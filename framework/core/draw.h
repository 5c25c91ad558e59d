// draw: the basic frame state of the OpenGL renderer.
// The orthographic projection with y growing downward, clearing, the texture binding cache and
// the buffer flip.
// Depends on: wrapper (display size, buffer swap), atlas_tables (the IMAGE record), log (log lines),
// frame (a clear goes through the frame's record; the flip ends the frame), OpenGL 1.x.
#pragma once

struct IMAGE;

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern unsigned last_texture;  // the texture name bound last; 0 at start

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void draw_clear(float r, float g, float b);            // clear colour (alpha 0) and depth
void draw_clear_ex(float r, float g, float b, float a);
void draw_reset();                                     // set up the frame state for the current mode
void draw_flip();  // present the frame; a recorded frame equal to the one on screen is dropped instead
// Bind the image's texture unless it is the one bound last; texture coordinates are then in
// pixels of that page (the texture matrix divides by its size)
void draw_bind_texture(const IMAGE *image);
