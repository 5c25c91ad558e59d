// calc: small 2-D geometry helpers.
// Distances, directions, angle sectors, a line walker, vector arithmetic on XY, and circle tests
// against points, boxes, segments and capsules. Everything is single-precision. Square roots are
// a fast approximation (one Newton step of the inverse square root), not the library's, so
// results differ slightly from exact values: the distance 5 comes out as 5.0078 and the square
// root of 2 as 1.4146.
// Depends on: lum (XY), sine (the sine table for directions from an angle).
#pragma once

#include "lum.h"

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// Called by calc_bresenham for each point of a line; a non-zero result stops the walk
using CALC_LINE_FUNC = int (*)(int x, int y);

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Numbers and distances
float calc_fsqrt(float number);  // the fast square root; about 5.05e-20 for 0
int calc_summation(int n);       // n (n + 1) / 2
// NOTE: both x values come first, then both y values, here and in calc_dist
float calc_dist_sqr(float x1, float x2, float y1, float y2);
float calc_dist(float x1, float x2, float y1, float y2);
int calc_is_circle_collide(float x1, float y1, float r1, float x2, float y2, float r2);  // touching counts

// Directions and angles (degrees, clockwise, 0 = up)
float calc_rel_dir_x(XY src, XY target);  // x step toward target; the longer axis steps by 1
float calc_rel_dir_y(XY src, XY target);  // y step toward target; the longer axis steps by 1
void calc_xy(float angle, float dist, float *x, float *y);  // the vector of length dist at a heading
int calc_angle_sector(float angle, int num_sectors);      // sector of an angle, sectors centred on 0
float calc_sector_angle(float a, int sectors);             // the angle snapped to its sector's centre

// Walk the line from the start toward the end for at most dist + 1 steps, calling func at every
// point after the start; the first non-zero result of func, else 0
int calc_bresenham(int startx, int starty, int endx, int endy, int dist, CALC_LINE_FUNC func);

// Vectors
float dot(XY a, XY b);
XY add(XY p, XY q);
XY sub(XY p, XY q);
XY mult(XY p, float num);
float magnitude_squared(XY p);
float magnitude(XY p);   // with the fast square root
XY normalize(XY p);      // (0, 0) for a zero vector

// Circles against other shapes
XY closest_point_in_aabb(XY point, float x, float y, float w, float h);
int test_circle_vs_point(XY circle, float radius, XY point);                  // touching does not count
int test_circle_vs_aabb(XY circle, float radius, float x, float y, float w, float h);  // touching does not count
XY closest_point_on_line_segment(XY X, XY A, XY B);
// Touching counts; on a hit the offset from the centre to the segment's closest point goes to
// ret, when ret is given
int test_circle_vs_line_segment(XY centre, float r, XY A, XY B, XY *ret);
int test_circle_vs_capsule(XY centre, float r1, XY A, XY B, float r2, XY *ret);  // the same, radii summed
// The push that separates circle 1 from circle 2 (pointing away from circle 2; negative when apart)
XY diff_circle_vs_circle(XY p, float radius1, XY q, float radius2);
