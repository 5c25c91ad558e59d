// turtle: the one global drawing cursor (see turtle.h).
#include "turtle.h"

#include <cmath>

#include "sine.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double DEGREES_PER_RADIAN = 57.29577951308232;

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
TURTLE turtle;
TURTLE home_turtle;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Clamp a colour component: below 0 gives 0, 1 or more gives 1, not-a-number gives 1
static double clamp_unit(double v)
{
    if (v >= 0.0 && v < 1.0)
        return v;
    return v < 0.0 ? 0.0 : 1.0;
}

// The heading toward a point, in the turtle's convention (0 = up, clockwise)
static double heading_to(double tx, double ty)
{
    return std::atan2(turtle.y - ty, turtle.x - tx) * DEGREES_PER_RADIAN - 90.0;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Turn and recompute the rotation terms from the sine table
void turtle_turn(double degrees)
{
    turtle.angle += degrees;
    double a = turtle.angle;
    turtle.ysin = sine_deg(a);
    turtle.ycos = turtle.xsin = sine_deg(a + 90.0);
    turtle.xcos = sine_deg(a + 180.0);
}

void turtle_set_angle(double degrees)
{
    turtle.angle = 0.0;
    turtle_turn(degrees);
}

// NOTE: positions are scaled by the turtle's current scale, deliberately.
void turtle_set_pos(double x, double y)
{
    turtle.x = x * turtle.scalex;
    turtle.y = y * turtle.scaley;
}

void turtle_set_pos_unscaled(double x, double y)
{
    turtle.x = x;
    turtle.y = y;
}

void turtle_set_posx_unscaled(double x)
{
    turtle.x = x;
}

void turtle_set_posy_unscaled(double y)
{
    turtle.y = y;
}

void turtle_set_scale(double s)
{
    turtle.scalex = s;
    turtle.scaley = s;
}

void turtle_set_scalex(double s)
{
    turtle.scalex = s;
}

void turtle_set_scaley(double s)
{
    turtle.scaley = s;
}

void turtle_set_rgba(double r, double g, double b, double a)
{
    turtle.r = clamp_unit(r);
    turtle.g = clamp_unit(g);
    turtle.b = clamp_unit(b);
    turtle.a = clamp_unit(a);
}

void turtle_set_rgb(double r, double g, double b)
{
    turtle_set_rgba(r, g, b, 1.0);
}

// Move in the turtle's own frame: at angle 0 a positive dx moves right, a positive dy moves up
void turtle_trans(double dx, double dy)
{
    double sx = dx * turtle.scalex;
    double sy = dy * turtle.scaley;
    turtle.x += turtle.ysin * sy + turtle.xsin * sx;
    turtle.y -= turtle.ycos * sy + turtle.xcos * sx;
}

void turtle_move(double d)
{
    turtle_trans(0.0, d);
}

void turtle_set_home()
{
    home_turtle = turtle;
}

void turtle_home()
{
    turtle = home_turtle;
}

// NOTE: the scale stays 0, so nothing is visible until a scale is set; the home copy is taken
// before the colour is set and so keeps all colour components at 0.
void turtle_reset()
{
    turtle = TURTLE{};
    turtle_set_angle(0.0);
    turtle.x = 0.0;
    turtle.y = 0.0;
    home_turtle = turtle;
    turtle.r = turtle.g = turtle.b = turtle.a = 1.0;
}

void turtle_point_at(double tx, double ty)
{
    turtle_set_angle(heading_to(tx, ty));
}

// The signed turn that would point the turtle at a point: a remainder of exactly -180 becomes
// 180 and one of exactly 180 becomes -180
double turtle_angle_to(double tx, double ty)
{
    double d = std::fmod(heading_to(tx, ty) - turtle.angle, 360.0);
    if (d >= 180.0)
        return d - 360.0;
    if (d <= -180.0)
        return d + 360.0;
    return d;
}

double turtle_dx()
{
    return -turtle.xcos;
}

double turtle_dy()
{
    return -turtle.xsin;
}

// The colour as vertex bytes; each component times 255, truncated toward zero (0.999 gives 254)
std::array<uint8_t, 4> turtle_rgba_bytes()
{
    constexpr TURTLE_FLOAT BYTE_MAX = 255.0;  // a component of 1.0 is the byte 255
    auto byte = [](TURTLE_FLOAT c) { return static_cast<uint8_t>(static_cast<int>(c * BYTE_MAX)); };
    return {byte(turtle.r), byte(turtle.g), byte(turtle.b), byte(turtle.a)};
}
