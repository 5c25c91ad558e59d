// Tests of the polygon lists: points taken from the turtle, triangle fans, pending points, the
// 64-point limit, bars and circles, and the guard that keeps the frame lists from overflowing.
// No graphics context exists here: the lists and their counters are checked; drawing them for
// real is covered by draw_test.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "core_state.h"
#include "poly.h"
#include "sine.h"
#include "turtle.h"

namespace {

constexpr float NEAR = 1e-3f;  // positions built from table sines, which are floats

class Poly : public ::testing::Test {
protected:
    void SetUp() override
    {
        init_sine_table();
        turtle_reset();
        turtle_set_scale(1.0);
        turtle_set_pos_unscaled(100.0, 50.0);
        poly_draw_start();
    }

    // Add n points along a line, the turtle moved by one pixel right between them
    void points(int n)
    {
        for (int i = 0; i < n; i++) {
            poly_point();
            turtle.x += 1.0;
        }
    }

    // The index triples of the frame lists
    std::vector<std::vector<unsigned>> triangles()
    {
        std::vector<std::vector<unsigned>> t;
        for (unsigned i = 0; i + 2 < element_count + 0u; i += 3)
            t.push_back({index_list[i], index_list[i + 1], index_list[i + 2]});
        return t;
    }
};

using Triangles = std::vector<std::vector<unsigned>>;

void expect_vertex(unsigned n, float x, float y)
{
    SCOPED_TRACE(n);
    EXPECT_NEAR(vertex_list[n].x, x, NEAR);
    EXPECT_NEAR(vertex_list[n].y, y, NEAR);
}

}  // namespace

// --- Points ---

TEST_F(Poly, PointTakesTheTurtlesPositionAndTruncatedColour)
{
    turtle.z = 4.0;
    turtle_set_rgba(1.0, 0.999, 0.5, 0.0);
    poly_point();
    ASSERT_EQ(polylist.count, 1u);
    EXPECT_EQ(polylist.point[0].x, 100.0f);
    EXPECT_EQ(polylist.point[0].y, 50.0f);
    EXPECT_EQ(polylist.point[0].z, 4.0f);
    EXPECT_EQ(polylist.colour[0].r, 255);
    EXPECT_EQ(polylist.colour[0].g, 254);
    EXPECT_EQ(polylist.colour[0].b, 127);
    EXPECT_EQ(polylist.colour[0].a, 0);
}

TEST_F(Poly, SixtyFifthPointIsIgnored)
{
    points(64);
    ASSERT_EQ(polylist.count, 64u);
    EXPECT_EQ(polylist.point[63].x, 163.0f);
    poly_point();
    EXPECT_EQ(polylist.count, 64u);
    poly_plot();
    EXPECT_EQ(vertex_count, 64u);
    EXPECT_EQ(element_count, 3u * 62u);
}

// --- Fans ---

TEST_F(Poly, ThreePointsGiveOneTriangle)
{
    points(3);
    poly_plot();
    EXPECT_EQ(triangles(), (Triangles{{0, 1, 2}}));
    EXPECT_EQ(polylist.count, 0u);
}

TEST_F(Poly, TrianglesCountFromTheFramesVerticesSoFar)
{
    points(4);
    poly_plot();
    points(3);
    poly_plot();
    EXPECT_EQ(triangles(), (Triangles{{0, 1, 2}, {0, 2, 3}, {4, 5, 6}}));
}

TEST_F(Poly, FivePointsGiveThreeTrianglesOfAFan)
{
    points(3);
    poly_plot();
    turtle_set_rgb(0.0, 1.0, 0.0);
    points(5);
    poly_plot();
    Triangles t = triangles();
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(t[1], (std::vector<unsigned>{3, 4, 5}));
    EXPECT_EQ(t[2], (std::vector<unsigned>{3, 5, 6}));
    EXPECT_EQ(t[3], (std::vector<unsigned>{3, 6, 7}));
    EXPECT_EQ(vertex_count, 8u);
    EXPECT_EQ(vertex_index, 24u);
    EXPECT_EQ(colour_index, 32u);
    EXPECT_EQ(element_count, 12u);
    expect_vertex(3, 103.0f, 50.0f);
    EXPECT_EQ(colour_list[2].g, 255);
    EXPECT_EQ(colour_list[2].r, 255);
    EXPECT_EQ(colour_list[3].r, 0);
    EXPECT_EQ(colour_list[3].g, 255);
}

TEST_F(Poly, TwoPointsStayPendingAndBeginTheNextPolygon)
{
    points(2);
    poly_plot();
    EXPECT_EQ(polylist.count, 2u);
    EXPECT_EQ(vertex_count, 0u);
    EXPECT_EQ(element_count, 0u);
    points(1);
    poly_plot();
    EXPECT_EQ(triangles(), (Triangles{{0, 1, 2}}));
    expect_vertex(0, 100.0f, 50.0f);
    expect_vertex(2, 102.0f, 50.0f);
}

TEST_F(Poly, DrawStartEmptiesTheListsAndThePendingPoints)
{
    points(5);
    poly_plot();
    points(2);
    poly_draw_start();
    EXPECT_EQ(polylist.count, 0u);
    EXPECT_EQ(vertex_count, 0u);
    EXPECT_EQ(vertex_index, 0u);
    EXPECT_EQ(colour_index, 0u);
    EXPECT_EQ(element_count, 0u);
}

// --- The frame lists' limits ---

TEST_F(Poly, PolygonThatWouldOverrunTheVertexListIsDropped)
{
    for (int i = 0; i < 3332; i++) {
        points(3);
        poly_plot();
    }
    ASSERT_EQ(vertex_count, 9996u);
    points(4);
    poly_plot();
    EXPECT_EQ(vertex_count, 10000u) << "a polygon that fits exactly is kept";
    EXPECT_EQ(element_count, 3u * 3332u + 6u);
    points(3);
    poly_plot();
    EXPECT_EQ(vertex_count, 10000u);
    EXPECT_EQ(vertex_index, 30000u);
    EXPECT_EQ(colour_index, 40000u);
    EXPECT_EQ(element_count, 3u * 3332u + 6u);
    EXPECT_EQ(polylist.count, 0u) << "the dropped polygon's points are gone";
}

TEST_F(Poly, PolygonThatWouldOverrunTheIndexListIsDropped)
{
    // 64 points give 62 triangles, 186 indices: 80 of them take 14880 of the 15000.
    for (int i = 0; i < 80; i++) {
        points(64);
        poly_plot();
    }
    ASSERT_EQ(element_count, 14880u);
    points(64);
    poly_plot();
    EXPECT_EQ(element_count, 14880u);
    EXPECT_EQ(vertex_count, 80u * 64u);
    EXPECT_EQ(polylist.count, 0u);
    // 40 more triangles fit exactly
    points(42);
    poly_plot();
    EXPECT_EQ(element_count, 15000u);
    EXPECT_EQ(index_list[14999], 80u * 64u + 41u);
}

// --- Bars ---

TEST_F(Poly, BarStandsOnTheTurtle)
{
    std::vector<unsigned char> before = turtle_bytes();
    poly_bar(10.0f, 20.0f, 4.0f);
    EXPECT_EQ(turtle_bytes(), before);
    ASSERT_EQ(vertex_count, 4u);
    expect_vertex(0, 90.0f, 50.0f);
    expect_vertex(1, 96.0f, 30.0f);
    expect_vertex(2, 104.0f, 30.0f);
    expect_vertex(3, 110.0f, 50.0f);
    EXPECT_EQ(triangles(), (Triangles{{0, 1, 2}, {0, 2, 3}}));
}

TEST_F(Poly, BarWithoutATopIsATriangle)
{
    poly_bar(10.0f, 20.0f, 0.0f);
    ASSERT_EQ(vertex_count, 3u);
    expect_vertex(0, 90.0f, 50.0f);
    expect_vertex(1, 100.0f, 30.0f);
    expect_vertex(2, 110.0f, 50.0f);
    EXPECT_EQ(element_count, 3u);
}

TEST_F(Poly, BarIsScaledAndTurnedWithTheTurtle)
{
    turtle_set_scale(2.0);
    turtle_set_angle(90.0);
    poly_bar(10.0f, 20.0f, 4.0f);
    ASSERT_EQ(vertex_count, 4u);
    // Turned a quarter clockwise, "up" is to the right and the base runs down the screen.
    expect_vertex(0, 100.0f, 30.0f);
    expect_vertex(1, 140.0f, 42.0f);
    expect_vertex(2, 140.0f, 58.0f);
    expect_vertex(3, 100.0f, 70.0f);
}

TEST_F(Poly, CentreBarIsCentredVerticallyOnTheTurtle)
{
    std::vector<unsigned char> before = turtle_bytes();
    poly_center_bar(10.0f, 20.0f, 4.0f);
    EXPECT_EQ(turtle_bytes(), before);
    ASSERT_EQ(vertex_count, 4u);
    expect_vertex(0, 90.0f, 60.0f);
    expect_vertex(1, 96.0f, 40.0f);
    expect_vertex(2, 104.0f, 40.0f);
    expect_vertex(3, 110.0f, 60.0f);
    poly_center_bar(10.0f, 20.0f, -1.0f);
    EXPECT_EQ(vertex_count, 7u);
    expect_vertex(5, 101.0f, 40.0f);
}

// --- Circles ---

TEST_F(Poly, CircleOfEightSegmentsIsTenPointsAndEightTriangles)
{
    std::vector<unsigned char> before = turtle_bytes();
    poly_circle(20.0f, 8);
    EXPECT_EQ(turtle_bytes(), before);
    EXPECT_EQ(vertex_count, 10u);
    EXPECT_EQ(element_count, 24u);
    expect_vertex(0, 100.0f, 50.0f);
    // The first rim point lies straight ahead (up), the last one exactly on it
    expect_vertex(1, 100.0f, 30.0f);
    EXPECT_EQ(vertex_list[9].x, vertex_list[1].x);
    EXPECT_EQ(vertex_list[9].y, vertex_list[1].y);
    // Then clockwise in steps of 45 degrees
    const float d = 20.0f * std::sqrt(0.5f);
    expect_vertex(2, 100.0f + d, 50.0f - d);
    expect_vertex(3, 120.0f, 50.0f);
    expect_vertex(5, 100.0f, 70.0f);
    expect_vertex(7, 80.0f, 50.0f);
    Triangles t = triangles();
    EXPECT_EQ(t.front(), (std::vector<unsigned>{0, 1, 2}));
    EXPECT_EQ(t.back(), (std::vector<unsigned>{0, 8, 9}));
}

TEST_F(Poly, CircleStartsAtTheTurtlesHeading)
{
    turtle_set_angle(90.0);
    turtle_set_scale(0.5);
    poly_circle(20.0f, 4);
    EXPECT_EQ(vertex_count, 6u);
    expect_vertex(1, 110.0f, 50.0f);
    expect_vertex(2, 100.0f, 60.0f);
    expect_vertex(5, 110.0f, 50.0f);
}

TEST_F(Poly, CircleCentreTakesItsOwnColourAndTheRimTheTurtles)
{
    turtle_set_rgba(0.0, 0.0, 1.0, 1.0);
    std::vector<unsigned char> before = turtle_bytes();
    poly_circle_ex(10.0f, 6, 1.0f, 0.5f, 0.0f, 0.25f);
    EXPECT_EQ(turtle_bytes(), before);
    ASSERT_EQ(vertex_count, 8u);
    EXPECT_EQ(colour_list[0].r, 255);
    EXPECT_EQ(colour_list[0].g, 127);
    EXPECT_EQ(colour_list[0].b, 0);
    EXPECT_EQ(colour_list[0].a, 63);
    for (unsigned i = 1; i < 8; i++) {
        SCOPED_TRACE(i);
        EXPECT_EQ(colour_list[i].r, 0);
        EXPECT_EQ(colour_list[i].b, 255);
        EXPECT_EQ(colour_list[i].a, 255);
    }
}

TEST_F(Poly, CircleOfMoreThan62SegmentsLosesItsClosingPoints)
{
    poly_circle(10.0f, 70);
    EXPECT_EQ(vertex_count, 64u);
    EXPECT_EQ(element_count, 3u * 62u);
}

TEST_F(Poly, CircleOfNoSegmentsAddsNothing)
{
    poly_circle(10.0f, 0);
    poly_circle(10.0f, -3);
    EXPECT_EQ(polylist.count, 0u);
    EXPECT_EQ(vertex_count, 0u);
}
