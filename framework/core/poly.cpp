// poly: untextured convex polygons with a colour per vertex (see poly.h).
#include "poly.h"

#include <GL/gl.h>

#include "frame.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned FLOATS_PER_VERTEX = 3;
constexpr unsigned BYTES_PER_COLOUR = 4;

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
POLY_LIST polylist;
std::array<GL_XYZ, POLY_MAX_VERTICES> vertex_list;
std::array<GL_COLOUR, POLY_MAX_COLOURS> colour_list;
std::array<uint16_t, POLY_MAX_ELEMENTS> index_list;
unsigned vertex_count = 0;
unsigned vertex_index = 0;
unsigned colour_index = 0;
unsigned element_count = 0;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Whether a fan of n points still fits into the frame lists
static bool poly_fits(unsigned n)
{
    return vertex_count + n <= POLY_MAX_VERTICES && colour_index / BYTES_PER_COLOUR + n <= POLY_MAX_COLOURS &&
           element_count + 3 * (n - 2) <= POLY_MAX_ELEMENTS;
}

// Add a point at (lx, ly) in the frame of the turtle as it was saved, +y being up
static void poly_point_at(const TURTLE &origin, double lx, double ly)
{
    turtle = origin;
    turtle_trans(lx, ly);
    poly_point();
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Begin a frame: empty the frame lists and drop any pending points
void poly_draw_start()
{
    vertex_count = 0;
    vertex_index = 0;
    colour_index = 0;
    element_count = 0;
    polylist.count = 0;
}

// Add the turtle's position and colour as the next point of the polygon; at most 64
void poly_point()
{
    if (polylist.count >= POLY_MAX_POINTS)
        return;
    unsigned i = polylist.count++;
    polylist.point[i] = {static_cast<float>(turtle.x), static_cast<float>(turtle.y), static_cast<float>(turtle.z)};
    std::array<uint8_t, 4> c = turtle_rgba_bytes();
    polylist.colour[i] = {c[0], c[1], c[2], c[3]};
}

// Close the polygon as the fan (base, base + k, base + k + 1).
// NOTE: with two points or fewer the points are kept on purpose: they begin the next polygon.
// A polygon that would overflow the frame lists is dropped, and its points with it.
void poly_plot()
{
    unsigned n = polylist.count;
    if (n <= 2)
        return;
    polylist.count = 0;
    if (!poly_fits(n))
        return;
    unsigned base = vertex_count;
    for (unsigned k = 0; k < n; k++) {
        vertex_list[base + k] = polylist.point[k];
        colour_list[base + k] = polylist.colour[k];
    }
    vertex_count += n;
    vertex_index += n * FLOATS_PER_VERTEX;
    colour_index += n * BYTES_PER_COLOUR;
    for (unsigned k = 1; k + 1 < n; k++) {
        index_list[element_count++] = static_cast<uint16_t>(base);
        index_list[element_count++] = static_cast<uint16_t>(base + k);
        index_list[element_count++] = static_cast<uint16_t>(base + k + 1);
    }
}

// The frame's polygons: packed vertices, one colour each, and the fans' triangles
static void submit_polygons(const FRAME_COMMAND &c)
{
    glDisable(GL_TEXTURE_2D);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glColorPointer(4, GL_UNSIGNED_BYTE, 0, c.array[1]);
    glVertexPointer(3, GL_FLOAT, 0, c.array[0]);
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(c.count[2]), GL_UNSIGNED_SHORT, c.array[2]);
}

// Draw every polygon of the frame with one call. Texturing is left off; the sprite paths switch
// it on again themselves.
void poly_draw_end()
{
    if (element_count == 0)
        return;
    FRAME_COMMAND c{};
    c.submit = submit_polygons;
    c.array = {vertex_list.data(), colour_list.data(), index_list.data()};
    c.count = {static_cast<int>(vertex_count), static_cast<int>(vertex_count), static_cast<int>(element_count)};
    c.stride = {static_cast<int>(sizeof(GL_XYZ)), static_cast<int>(sizeof(GL_COLOUR)), static_cast<int>(sizeof(uint16_t))};
    c.drawn = c.stride;
    frame_draw(c);
}

// A trapezoid standing on the turtle: (-w, 0), (-s, h), (s, h) when s > 0, (w, 0)
void poly_bar(float w, float h, float s)
{
    TURTLE saved = turtle;
    poly_point_at(saved, -w, 0.0);
    poly_point_at(saved, -s, h);
    if (s > 0.0f)
        poly_point_at(saved, s, h);
    poly_point_at(saved, w, 0.0);
    poly_plot();
    turtle = saved;
}

// The same trapezoid moved down by half its height, so that it is centred on the turtle
void poly_center_bar(float w, float h, float s)
{
    TURTLE saved = turtle;
    double half = h * 0.5;
    poly_point_at(saved, -w, -half);
    poly_point_at(saved, -s, half);
    if (s > 0.0f)
        poly_point_at(saved, s, half);
    poly_point_at(saved, w, -half);
    poly_plot();
    turtle = saved;
}

// The centre, then segments + 1 rim points, the last one exactly on the first so that the fan
// closes without a gap. Each rim point is reached from the centre with a fresh heading.
void poly_circle_ex(float radius, int segments, float r, float g, float b, float a)
{
    if (segments < 1)
        return;
    TURTLE saved = turtle;
    float step = 360.0f / static_cast<float>(segments);
    turtle_set_rgba(r, g, b, a);
    poly_point();
    turtle.r = saved.r;
    turtle.g = saved.g;
    turtle.b = saved.b;
    turtle.a = saved.a;
    double first_x = 0.0;
    double first_y = 0.0;
    float turned = 0.0f;
    for (int i = 0; i <= segments; i++) {
        if (i < segments) {
            turtle_move(radius);
        } else {
            turtle.x = first_x;
            turtle.y = first_y;
        }
        poly_point();
        if (i == 0) {
            first_x = turtle.x;
            first_y = turtle.y;
        }
        turtle.x = saved.x;
        turtle.y = saved.y;
        turned += step;
        turtle_set_angle(saved.angle + turned);
    }
    poly_plot();
    turtle = saved;
}

// A disc all in the turtle's colour
void poly_circle(float radius, int segments)
{
    poly_circle_ex(radius, segments, static_cast<float>(turtle.r), static_cast<float>(turtle.g),
                   static_cast<float>(turtle.b), static_cast<float>(turtle.a));
}
