// poly: untextured convex polygons with a colour per vertex.
// Points are taken from the turtle (its position is the vertex, its colour the vertex colour),
// so shapes are built by moving and recolouring the turtle between points. Each polygon is
// closed into a triangle fan in the frame lists, and the whole frame's polygons are drawn with
// one call between poly_draw_start and poly_draw_end.
// Depends on: turtle, frame (drawing goes through the frame's record), OpenGL 1.x.
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int POLY_MAX_POINTS = 64;       // points in one polygon; further points are ignored
constexpr int POLY_MAX_VERTICES = 10000;  // vertices in a frame
constexpr int POLY_MAX_COLOURS = 15000;   // vertex colours the colour list has room for
constexpr int POLY_MAX_ELEMENTS = 15000;  // triangle indices in a frame (5000 triangles)

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct GL_XYZ {
    float x, y, z;
};
static_assert(sizeof(GL_XYZ) == 12, "the vertex list is drawn as packed triples of floats");

struct GL_COLOUR {
    uint8_t r, g, b, a;
};
static_assert(sizeof(GL_COLOUR) == 4, "the colour list is drawn as packed bytes");

// The polygon under construction
struct POLY_LIST {
    unsigned count;                                   // points so far
    std::array<GL_COLOUR, POLY_MAX_POINTS> colour;    // their colours
    std::array<GL_XYZ, POLY_MAX_POINTS> point;        // their positions
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern POLY_LIST polylist;
// The frame lists: every closed polygon of the frame as vertices, colours and fan triangles
extern std::array<GL_XYZ, POLY_MAX_VERTICES> vertex_list;
extern std::array<GL_COLOUR, POLY_MAX_COLOURS> colour_list;
extern std::array<uint16_t, POLY_MAX_ELEMENTS> index_list;
extern unsigned vertex_count;   // vertices used
extern unsigned vertex_index;   // floats used in vertex_list, 3 a vertex
extern unsigned colour_index;   // bytes used in colour_list, 4 a vertex
extern unsigned element_count;  // indices used

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void poly_draw_start();  // empty the frame lists and the polygon under construction
void poly_point();       // add the turtle's position and colour as a point
// Close the polygon into the frame lists as a triangle fan. With two points or fewer nothing
// happens and the points stay, beginning the next polygon. A polygon that does not fit into
// what is left of the frame lists is dropped.
void poly_plot();
void poly_draw_end();    // draw the frame lists, if any triangle was produced
// A trapezoid standing on the turtle: base 2w wide, top 2s wide at height h (a triangle for s <= 0)
void poly_bar(float w, float h, float s);
// The same trapezoid centred vertically on the turtle
void poly_center_bar(float w, float h, float s);
// A disc as a fan: the centre in (r, g, b, a), the rim in the turtle's colour. With the 64-point
// limit at most 62 segments close; fewer than 1 segment draws nothing.
void poly_circle_ex(float radius, int segments, float r, float g, float b, float a);
void poly_circle(float radius, int segments);  // a disc all in the turtle's colour
