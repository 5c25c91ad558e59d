// draw: the basic frame state of the OpenGL renderer (see draw.h).
#include "draw.h"

#include <GL/gl.h>

#include "atlas_tables.h"
#include "frame.h"
#include "log.h"
#include "wrapper.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double DRAW_NEAR = -100.0;  // depth range of the orthographic projection
constexpr double DRAW_FAR = 100.0;

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
unsigned last_texture = 0;

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void draw_clear(float r, float g, float b)
{
    draw_clear_ex(r, g, b, 0.0f);
}

static void submit_clear(const FRAME_COMMAND &c)
{
    glClearColor(c.colour[0], c.colour[1], c.colour[2], c.colour[3]);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

// A clear paints every pixel, so a frame that has one does not depend on what the buffer held
void draw_clear_ex(float r, float g, float b, float a)
{
    FRAME_COMMAND c{};
    c.submit = submit_clear;
    c.colour = {r, g, b, a};
    c.covers = true;
    frame_draw(c);
}

// Set up the frame state for a new video mode: screen pixels with the origin at the top left,
// client vertex arrays and alpha blending on. The red clear marks a frame nobody has drawn.
void draw_reset()
{
    int w = wrapper_display_w();
    int h = wrapper_display_h();
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, w, h, 0.0, DRAW_NEAR, DRAW_FAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    draw_clear(1.0f, 0.0f, 0.0f);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glViewport(0, 0, w, h);
    frame_force();
    lum_logf("draw: reset (%d x %d)\n", w, h);
}

// End the frame and swap the buffers; a recorded frame equal to the one on screen is dropped
// and the buffers stay as they are
void draw_flip()
{
    if (frame_end())
        wrapper_flip_screen();
}

// Bind a page's texture. The texture matrix divides by the page size, so texture coordinates
// are given in pixels of the page. Binding the texture that is already bound does nothing: the
// matrix was set for it when it was bound.
void draw_bind_texture(const IMAGE *image)
{
    if (!image || image->opengl_texture == last_texture)
        return;
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glScalef(1.0f / static_cast<float>(image->texture_w), 1.0f / static_cast<float>(image->texture_h), 1.0f);
    glMatrixMode(GL_MODELVIEW);
    glBindTexture(GL_TEXTURE_2D, image->opengl_texture);
    last_texture = image->opengl_texture;
}
