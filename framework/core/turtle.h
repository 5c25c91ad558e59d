// turtle: the one global drawing cursor.
// Position, scale, heading and colour for everything drawn: sprites, glyphs, polygons and
// particles are placed, scaled, rotated and tinted by it. Drawing code saves the whole turtle,
// changes it, draws and restores it.
// Depends on: sine (rotation terms).
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
using TURTLE_FLOAT = double;

struct TURTLE {
    TURTLE_FLOAT x, y, z;                // position in screen pixels (y grows downward); z goes to vertices
    TURTLE_FLOAT scalex, scaley;         // scale of sprite sizes and of moves
    TURTLE_FLOAT angle;                  // heading in degrees, clockwise, 0 = up; never normalised
    TURTLE_FLOAT xcos, xsin, ycos, ysin; // rotation terms, set together by turtle_turn
    TURTLE_FLOAT r, g, b, a;             // colour and opacity, each 0..1
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern TURTLE turtle;       // the current cursor
extern TURTLE home_turtle;  // the saved copy

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void turtle_turn(double degrees);                      // angle += degrees; recompute the terms
void turtle_set_angle(double degrees);                 // angle = degrees
void turtle_set_pos(double x, double y);               // position, scaled by the turtle's scale
void turtle_set_pos_unscaled(double x, double y);      // position as given
void turtle_set_posx_unscaled(double x);
void turtle_set_posy_unscaled(double y);
void turtle_set_scale(double s);                       // both scales
void turtle_set_scalex(double s);
void turtle_set_scaley(double s);
void turtle_set_rgba(double r, double g, double b, double a);  // clamped to 0..1, NaN to 1
void turtle_set_rgb(double r, double g, double b);     // opaque
void turtle_trans(double dx, double dy);               // move in the turtle's own frame (+dy is forward)
void turtle_move(double d);                            // d pixels forward along the heading
void turtle_set_home();                                // save the turtle into home_turtle
void turtle_home();                                    // restore it from home_turtle
void turtle_reset();                                   // zero it (scale stays 0), home it, opaque white
void turtle_point_at(double tx, double ty);            // head toward a point
double turtle_angle_to(double tx, double ty);          // the signed turn toward a point, -180..180
double turtle_dx();                                    // unit heading vector on screen: x
double turtle_dy();                                    // unit heading vector on screen: y
std::array<uint8_t, 4> turtle_rgba_bytes();           // the colour as bytes r, g, b, a: x 255, truncated
