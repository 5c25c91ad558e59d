// calc: small 2-D geometry helpers (see calc.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Public functions: numbers and distances
// [SECTION] Public functions: directions and angles
// [SECTION] Public functions: the line walker
// [SECTION] Public functions: vectors
// [SECTION] Public functions: circles
#include "calc.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "sine.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr uint32_t FSQRT_MAGIC = 0x5f3759df;  // first guess of the inverse square root, as bits
constexpr float FULL_TURN = 360.0f;           // degrees
constexpr int FULL_TURN_DEGREES = 360;
constexpr double COSINE_PHASE = 90.0;         // the cosine of d is the table's sine of d + 90

//----------------------------------------------------------------------------------
// [SECTION] Public functions: numbers and distances
//----------------------------------------------------------------------------------
// The inverse square root guessed from the float's bits, refined by one Newton step, and
// inverted. NOTE: the result is deliberately this approximation (5.0078 for 25), and for 0 it
// is a tiny positive number, not 0.
float calc_fsqrt(float number)
{
    uint32_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    bits = FSQRT_MAGIC - (bits >> 1);
    float g;
    std::memcpy(&g, &bits, sizeof g);
    return 1.0f / (g * (1.5f - 0.5f * number * g * g));
}

// The sum 1 + 2 + ... + n
int calc_summation(int n)
{
    return n * (n + 1) / 2;
}

// The squared distance between (x1, y1) and (x2, y2), taken with both x values first
float calc_dist_sqr(float x1, float x2, float y1, float y2)
{
    float dx = x1 - x2;
    float dy = y1 - y2;
    return dx * dx + dy * dy;
}

// The distance between (x1, y1) and (x2, y2), with the fast square root
float calc_dist(float x1, float x2, float y1, float y2)
{
    return calc_fsqrt(calc_dist_sqr(x1, x2, y1, y2));
}

// Whether two circles overlap or touch
int calc_is_circle_collide(float x1, float y1, float r1, float x2, float y2, float r2)
{
    float reach = r1 + r2;
    return reach * reach >= calc_dist_sqr(x1, x2, y1, y2) ? 1 : 0;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: directions and angles
//----------------------------------------------------------------------------------
// The x part of a step toward the target in which the longer axis moves by exactly 1
float calc_rel_dir_x(XY src, XY target)
{
    float dx = target.x - src.x;
    float m = std::max(std::fabs(dx), std::fabs(target.y - src.y));
    return m == 0.0f ? 0.0f : dx / m;
}

// The y part of the same step
float calc_rel_dir_y(XY src, XY target)
{
    float dy = target.y - src.y;
    float m = std::max(std::fabs(target.x - src.x), std::fabs(dy));
    return m == 0.0f ? 0.0f : dy / m;
}

// The vector of length dist at a heading: (sin, -cos) x dist, from the sine table, so that 0
// points up the screen and 90 to the right
void calc_xy(float angle, float dist, float *x, float *y)
{
    *x = sine_deg(angle) * dist;
    *y = -sine_deg(angle + COSINE_PHASE) * dist;
}

// The sector of an angle when a turn is cut into num_sectors sectors centred on 0, w, 2w, ...
// NOTE: the remainder keeps the sign of the angle, so negative angles give negative sectors
// (-200 degrees in 4 sectors is -1), and both conversions truncate toward zero.
int calc_angle_sector(float angle, int num_sectors)
{
    if (num_sectors < 1)
        return 0;
    float w = FULL_TURN / static_cast<float>(num_sectors);
    int whole = static_cast<int>(angle + w / 2.0f) % FULL_TURN_DEGREES;
    return static_cast<int>(static_cast<float>(whole) / w);
}

// The centre of an angle's sector: the angle snapped to the nearest multiple of the sector width
float calc_sector_angle(float a, int sectors)
{
    if (sectors < 1)
        return a;
    float w = FULL_TURN / static_cast<float>(sectors);
    return w * static_cast<float>(calc_angle_sector(a, sectors));
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: the line walker
//----------------------------------------------------------------------------------
// Step along the longer axis and let each axis' error sum carry it over. NOTE: the comparisons
// are strict, so step 0 never moves and is not reported: the first point given to func is the
// first one past the start. The walk ends at the end point, at a non-zero answer of func, or
// after step dist.
int calc_bresenham(int startx, int starty, int endx, int endy, int dist, CALC_LINE_FUNC func)
{
    if (dist < 0)
        return 0;
    int dx = endx - startx;
    int dy = endy - starty;
    int sx = (dx > 0) - (dx < 0);
    int sy = (dy > 0) - (dy < 0);
    int ax = std::abs(dx);
    int ay = std::abs(dy);
    int m = std::max(ax, ay);
    int x = startx;
    int y = starty;
    int ex = 0;
    int ey = 0;
    for (int i = 0; i <= dist; i++) {
        ex += ax;
        ey += ay;
        if (ex > m) {
            x += sx;
            ex -= m;
        }
        if (ey > m) {
            y += sy;
            ey -= m;
        }
        if (i > 0) {
            int result = func(x, y);
            if (result)
                return result;
        }
        if (x == endx && y == endy)
            return 0;
    }
    return 0;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: vectors
//----------------------------------------------------------------------------------
float dot(XY a, XY b)
{
    return a.x * b.x + a.y * b.y;
}

XY add(XY p, XY q)
{
    return {p.x + q.x, p.y + q.y};
}

XY sub(XY p, XY q)
{
    return {p.x - q.x, p.y - q.y};
}

XY mult(XY p, float num)
{
    return {p.x * num, p.y * num};
}

float magnitude_squared(XY p)
{
    return p.x * p.x + p.y * p.y;
}

// The length, with the fast square root
float magnitude(XY p)
{
    return calc_fsqrt(magnitude_squared(p));
}

// The vector scaled to (about) length 1 by the fast length; a zero vector stays zero
XY normalize(XY p)
{
    if (magnitude_squared(p) <= 0.0f)
        return {0.0f, 0.0f};
    float m = magnitude(p);
    return {p.x / m, p.y / m};
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: circles
//----------------------------------------------------------------------------------
// The point of the box (x, y, w, h) nearest to a point: the point clamped into the box
XY closest_point_in_aabb(XY point, float x, float y, float w, float h)
{
    return {std::min(std::max(x, point.x), x + w), std::min(std::max(y, point.y), y + h)};
}

// Whether a point lies strictly inside a circle.
// NOTE: touching does not count here, while it does for segments and capsules; the difference
// is intended and kept.
int test_circle_vs_point(XY circle, float radius, XY point)
{
    return radius * radius > magnitude_squared(sub(point, circle)) ? 1 : 0;
}

// Whether a circle reaches strictly into a box
int test_circle_vs_aabb(XY circle, float radius, float x, float y, float w, float h)
{
    XY closest = closest_point_in_aabb(circle, x, y, w, h);
    return radius * radius > magnitude_squared(sub(closest, circle)) ? 1 : 0;
}

// The point of the segment A-B nearest to X; a segment of length 0 gives B
XY closest_point_on_line_segment(XY X, XY A, XY B)
{
    XY ab = sub(B, A);
    float length_squared = magnitude_squared(ab);
    if (length_squared <= 0.0f)
        return B;
    float t = std::clamp(dot(sub(X, A), ab) / length_squared, 0.0f, 1.0f);
    return add(A, mult(ab, t));
}

// Whether a circle reaches a segment, touching included; on a hit the offset from the centre to
// the segment's closest point goes to ret
int test_circle_vs_line_segment(XY centre, float r, XY A, XY B, XY *ret)
{
    return test_circle_vs_capsule(centre, r, A, B, 0.0f, ret);
}

// Whether a circle reaches a capsule (the segment A-B widened by r2), touching included
int test_circle_vs_capsule(XY centre, float r1, XY A, XY B, float r2, XY *ret)
{
    XY d = sub(closest_point_on_line_segment(centre, A, B), centre);
    float reach = r1 + r2;
    if (reach * reach < magnitude_squared(d))
        return 0;
    if (ret)
        *ret = d;
    return 1;
}

// How far, and which way, circle 1 must move to stop overlapping circle 2: along the line from
// circle 2's centre to circle 1's, by the overlap (negative when they are apart)
XY diff_circle_vs_circle(XY p, float radius1, XY q, float radius2)
{
    XY between = sub(p, q);
    return mult(normalize(between), radius1 + radius2 - magnitude(between));
}
