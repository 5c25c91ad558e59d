// draw: the basic frame state of the OpenGL renderer.
// The orthographic projection with y growing downward, clearing, and the buffer flip.
// Depends on: wrapper (display size, buffer swap), lum (log lines), OpenGL 1.x.
#pragma once

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void draw_clear(float r, float g, float b);            // clear colour (alpha 0) and depth
void draw_clear_ex(float r, float g, float b, float a);
void draw_reset();                                     // set up the frame state for the current mode
void draw_flip();                                      // present the frame
