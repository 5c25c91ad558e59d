// Tests of the geometry helpers: the fast square root and everything built on it, the argument
// order of the distances, directions from the sine table, angle sectors (negative ones too), the
// line walker, vector arithmetic, and the circle tests with their touching rules.
#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "calc.h"
#include "sine.h"

namespace {

constexpr float NEAR = 1e-4f;           // the examples' four decimals
constexpr float TABLE_NEAR = 1e-6f;     // table sines are floats of exact sines
constexpr float FSQRT_ROOT_25 = 5.0078f;  // the fast square root's answer for 25 ...
constexpr float FSQRT_ROOT_2 = 1.4146f;   // ... and for 2
constexpr float FSQRT_ROOT_0 = 5.05e-20f; // ... and for 0
constexpr double FSQRT_WORST = 0.0018;    // its largest relative error

using Points = std::vector<std::pair<int, int>>;
Points visited;    // what the line walker reported
int stop_x = -99;  // the point at which the recording walker answers `stop_result`
int stop_y = -99;
int stop_result = 0;

int record_point(int x, int y)
{
    visited.emplace_back(x, y);
    return x == stop_x && y == stop_y ? stop_result : 0;
}

class Calc : public ::testing::Test {
protected:
    void SetUp() override
    {
        init_sine_table();
        visited.clear();
        stop_x = stop_y = -99;
        stop_result = 0;
    }
};

void expect_xy(XY v, float x, float y, float near = NEAR)
{
    EXPECT_NEAR(v.x, x, near);
    EXPECT_NEAR(v.y, y, near);
}

}  // namespace

// --- The fast square root ---

TEST_F(Calc, FastSquareRootOf25Is5Point0078)
{
    EXPECT_NEAR(calc_fsqrt(25.0f), FSQRT_ROOT_25, NEAR);
}

TEST_F(Calc, FastSquareRootOf2Is1Point4146)
{
    EXPECT_NEAR(calc_fsqrt(2.0f), FSQRT_ROOT_2, NEAR);
}

TEST_F(Calc, FastSquareRootOfZeroIsATinyPositiveNumber)
{
    float root = calc_fsqrt(0.0f);
    EXPECT_GT(root, 0.0f);
    EXPECT_NEAR(root, FSQRT_ROOT_0, 0.01e-20f);
}

TEST_F(Calc, FastSquareRootIsWithinAFifthOfAPercentOfTheTrueRoot)
{
    for (float v = 1e-3f; v < 1e7f; v *= 1.01f) {
        double relative = calc_fsqrt(v) / std::sqrt(static_cast<double>(v)) - 1.0;
        ASSERT_LT(std::fabs(relative), FSQRT_WORST) << v;
    }
}

// --- Numbers and distances ---

TEST_F(Calc, SummationIsNTimesNPlusOneOverTwo)
{
    EXPECT_EQ(calc_summation(0), 0);
    EXPECT_EQ(calc_summation(1), 1);
    EXPECT_EQ(calc_summation(4), 10);
    EXPECT_EQ(calc_summation(100), 5050);
    EXPECT_EQ(calc_summation(-3), 3);
}

TEST_F(Calc, DistSqrTakesBothXValuesFirst)
{
    // The points (1, 4) and (2, 6): x values 1 and 2, y values 4 and 6
    EXPECT_FLOAT_EQ(calc_dist_sqr(1.0f, 2.0f, 4.0f, 6.0f), 5.0f);
    // The points (1, 2) and (4, 6)
    EXPECT_FLOAT_EQ(calc_dist_sqr(1.0f, 4.0f, 2.0f, 6.0f), 25.0f);
}

TEST_F(Calc, DistOfAThreeByFourOffsetIs5Point0078)
{
    EXPECT_NEAR(calc_dist(0.0f, 3.0f, 0.0f, 4.0f), FSQRT_ROOT_25, NEAR);
    EXPECT_NEAR(calc_dist(10.0f, 7.0f, -1.0f, -5.0f), FSQRT_ROOT_25, NEAR) << "same argument order as calc_dist_sqr";
}

TEST_F(Calc, DistOfAPointToItselfIsATinyPositiveNumber)
{
    float d = calc_dist(7.0f, 7.0f, -3.0f, -3.0f);
    EXPECT_GT(d, 0.0f);
    EXPECT_LT(d, 1e-19f);
}

TEST_F(Calc, CirclesCollideWhenTheyOverlapOrTouch)
{
    EXPECT_EQ(calc_is_circle_collide(0.0f, 0.0f, 2.0f, 3.0f, 0.0f, 1.0f), 1) << "touching";
    EXPECT_EQ(calc_is_circle_collide(0.0f, 0.0f, 2.0f, 2.0f, 0.0f, 1.0f), 1) << "overlapping";
    EXPECT_EQ(calc_is_circle_collide(0.0f, 0.0f, 2.0f, 3.5f, 0.0f, 1.0f), 0) << "apart";
    EXPECT_EQ(calc_is_circle_collide(0.0f, 0.0f, 1.0f, 3.0f, 4.0f, 4.0f), 1) << "touching on a diagonal";
    EXPECT_EQ(calc_is_circle_collide(0.0f, 0.0f, 1.0f, 3.0f, 4.0f, 3.9f), 0) << "just apart on a diagonal";
}

// --- Directions and angles ---

TEST_F(Calc, RelativeDirectionStepsOneAlongTheLongerAxis)
{
    EXPECT_FLOAT_EQ(calc_rel_dir_x({1.0f, 1.0f}, {5.0f, 3.0f}), 1.0f);
    EXPECT_FLOAT_EQ(calc_rel_dir_y({1.0f, 1.0f}, {5.0f, 3.0f}), 0.5f);
    EXPECT_FLOAT_EQ(calc_rel_dir_x({1.0f, 1.0f}, {-1.0f, -7.0f}), -0.25f);
    EXPECT_FLOAT_EQ(calc_rel_dir_y({1.0f, 1.0f}, {-1.0f, -7.0f}), -1.0f);
}

TEST_F(Calc, RelativeDirectionToTheSamePointIsZero)
{
    EXPECT_EQ(calc_rel_dir_x({2.0f, 3.0f}, {2.0f, 3.0f}), 0.0f);
    EXPECT_EQ(calc_rel_dir_y({2.0f, 3.0f}, {2.0f, 3.0f}), 0.0f);
}

TEST_F(Calc, CalcXyPointsUpAtZeroAndClockwiseFromThere)
{
    float x = 1.0f;
    float y = 1.0f;
    calc_xy(0.0f, 10.0f, &x, &y);
    expect_xy({x, y}, 0.0f, -10.0f, TABLE_NEAR);
    calc_xy(90.0f, 10.0f, &x, &y);
    expect_xy({x, y}, 10.0f, 0.0f, TABLE_NEAR);
    calc_xy(180.0f, 10.0f, &x, &y);
    expect_xy({x, y}, 0.0f, 10.0f, TABLE_NEAR);
    calc_xy(-90.0f, 10.0f, &x, &y);
    expect_xy({x, y}, -10.0f, 0.0f, TABLE_NEAR);
}

TEST_F(Calc, CalcXyReadsTheSineTableWithTheIndexTruncated)
{
    float x = 1.0f;
    float y = 1.0f;
    // 0.04 degrees is 0.91 of a table step: entry 0, so exactly straight up
    calc_xy(0.04f, 1000.0f, &x, &y);
    EXPECT_EQ(x, 0.0f);
    EXPECT_EQ(y, -1000.0f);
    // 30 degrees is entry 682 (682.67 truncated); the cosine is entry 2730 (30 + 90 degrees)
    calc_xy(30.0f, 2.0f, &x, &y);
    EXPECT_EQ(x, _sine_table[682] * 2.0f);
    EXPECT_EQ(y, -_sine_table[2730] * 2.0f);
}

TEST_F(Calc, SectorsOfFourAreCentredOnTheFourDirections)
{
    EXPECT_EQ(calc_angle_sector(359.0f, 4), 0);
    EXPECT_EQ(calc_angle_sector(44.0f, 4), 0);
    EXPECT_EQ(calc_angle_sector(46.0f, 4), 1);
    EXPECT_EQ(calc_angle_sector(90.0f, 4), 1);
    EXPECT_EQ(calc_angle_sector(135.0f, 4), 2);
    EXPECT_EQ(calc_angle_sector(269.0f, 4), 3);
    EXPECT_EQ(calc_angle_sector(315.0f, 4), 0);
    EXPECT_EQ(calc_angle_sector(720.0f + 100.0f, 4), 1) << "whole turns fall away";
}

TEST_F(Calc, NegativeAnglesGiveNegativeSectors)
{
    EXPECT_EQ(calc_angle_sector(-200.0f, 4), -1);
    EXPECT_EQ(calc_angle_sector(-300.0f, 4), -2);
    EXPECT_EQ(calc_angle_sector(-136.0f, 4), -1);
    EXPECT_EQ(calc_angle_sector(-100.0f, 4), 0) << "the quotient truncates toward zero";
}

TEST_F(Calc, SectorOfFewerThanOneSectorIsZero)
{
    EXPECT_EQ(calc_angle_sector(123.0f, 0), 0);
    EXPECT_EQ(calc_angle_sector(123.0f, -2), 0);
}

TEST_F(Calc, SectorAngleSnapsToTheCentreOfItsSector)
{
    EXPECT_FLOAT_EQ(calc_sector_angle(100.0f, 4), 90.0f);
    EXPECT_FLOAT_EQ(calc_sector_angle(44.0f, 4), 0.0f);
    EXPECT_FLOAT_EQ(calc_sector_angle(359.0f, 4), 0.0f);
    EXPECT_FLOAT_EQ(calc_sector_angle(130.0f, 8), 135.0f);
    EXPECT_FLOAT_EQ(calc_sector_angle(-200.0f, 4), -90.0f);
    EXPECT_FLOAT_EQ(calc_sector_angle(10.0f, 3), 0.0f);
    EXPECT_FLOAT_EQ(calc_sector_angle(70.0f, 3), 120.0f);
}

TEST_F(Calc, SectorAngleWithFewerThanOneSectorIsTheAngleItself)
{
    EXPECT_EQ(calc_sector_angle(123.5f, 0), 123.5f);
    EXPECT_EQ(calc_sector_angle(-7.25f, -1), -7.25f);
}

// --- The line walker ---

TEST_F(Calc, LineWalkToThreeNoughtReportsThreePointsAndStops)
{
    EXPECT_EQ(calc_bresenham(0, 0, 3, 0, 10, record_point), 0);
    EXPECT_EQ(visited, (Points{{1, 0}, {2, 0}, {3, 0}}));
}

TEST_F(Calc, LineWalkSpreadsTheShortAxisOverTheLongOne)
{
    calc_bresenham(0, 0, 4, 2, 10, record_point);
    EXPECT_EQ(visited, (Points{{1, 0}, {2, 1}, {3, 1}, {4, 2}}));
}

TEST_F(Calc, LineWalkGoesBackwardAndUpward)
{
    calc_bresenham(5, 5, 2, 5, 10, record_point);
    EXPECT_EQ(visited, (Points{{4, 5}, {3, 5}, {2, 5}}));
    visited.clear();
    calc_bresenham(0, 0, 1, -3, 10, record_point);
    EXPECT_EQ(visited, (Points{{0, -1}, {0, -2}, {1, -3}}));
}

TEST_F(Calc, LineWalkEndsAfterStepDist)
{
    EXPECT_EQ(calc_bresenham(0, 0, 10, 0, 3, record_point), 0);
    EXPECT_EQ(visited, (Points{{1, 0}, {2, 0}, {3, 0}}));
}

TEST_F(Calc, LineWalkOfDistZeroOrLessReportsNothing)
{
    EXPECT_EQ(calc_bresenham(0, 0, 10, 0, 0, record_point), 0);
    EXPECT_EQ(calc_bresenham(0, 0, 10, 0, -1, record_point), 0);
    EXPECT_TRUE(visited.empty());
}

TEST_F(Calc, LineWalkFromAPointToItselfReportsNothing)
{
    EXPECT_EQ(calc_bresenham(2, 2, 2, 2, 5, record_point), 0);
    EXPECT_TRUE(visited.empty());
}

TEST_F(Calc, LineWalkStopsAtTheFirstNonZeroAnswer)
{
    stop_x = 2;
    stop_y = 0;
    stop_result = 7;
    EXPECT_EQ(calc_bresenham(0, 0, 5, 0, 10, record_point), 7);
    EXPECT_EQ(visited, (Points{{1, 0}, {2, 0}}));
}

// --- Vectors ---

TEST_F(Calc, VectorArithmeticWorksComponentByComponent)
{
    XY p = {1.5f, -2.0f};
    XY q = {4.0f, 0.5f};
    EXPECT_FLOAT_EQ(dot(p, q), 5.0f);
    expect_xy(add(p, q), 5.5f, -1.5f);
    expect_xy(sub(p, q), -2.5f, -2.5f);
    expect_xy(mult(p, 2.0f), 3.0f, -4.0f);
    EXPECT_FLOAT_EQ(magnitude_squared(p), 6.25f);
}

TEST_F(Calc, MagnitudeUsesTheFastSquareRoot)
{
    EXPECT_NEAR(magnitude({3.0f, 4.0f}), FSQRT_ROOT_25, NEAR);
}

TEST_F(Calc, NormalizeDividesByTheFastMagnitude)
{
    expect_xy(normalize({3.0f, 4.0f}), 3.0f / FSQRT_ROOT_25, 4.0f / FSQRT_ROOT_25);
}

TEST_F(Calc, NormalizeOfTheZeroVectorIsZero)
{
    XY n = normalize({0.0f, 0.0f});
    EXPECT_EQ(n.x, 0.0f);
    EXPECT_EQ(n.y, 0.0f);
}

// --- Circles ---

TEST_F(Calc, ClosestPointInABoxIsThePointClampedIntoIt)
{
    expect_xy(closest_point_in_aabb({12.0f, 3.0f}, 10.0f, 0.0f, 5.0f, 5.0f), 12.0f, 3.0f);
    expect_xy(closest_point_in_aabb({2.0f, -4.0f}, 10.0f, 0.0f, 5.0f, 5.0f), 10.0f, 0.0f);
    expect_xy(closest_point_in_aabb({20.0f, 9.0f}, 10.0f, 0.0f, 5.0f, 5.0f), 15.0f, 5.0f);
    expect_xy(closest_point_in_aabb({13.0f, 30.0f}, 10.0f, 0.0f, 5.0f, 5.0f), 13.0f, 5.0f);
}

TEST_F(Calc, ACircleContainsOnlyPointsStrictlyInsideIt)
{
    EXPECT_EQ(test_circle_vs_point({0.0f, 0.0f}, 5.0f, {2.0f, 2.0f}), 1);
    EXPECT_EQ(test_circle_vs_point({0.0f, 0.0f}, 5.0f, {3.0f, 4.0f}), 0) << "touching does not count";
    EXPECT_EQ(test_circle_vs_point({0.0f, 0.0f}, 5.0f, {4.0f, 4.0f}), 0);
}

TEST_F(Calc, ACircleMustReachStrictlyIntoABox)
{
    EXPECT_EQ(test_circle_vs_aabb({7.0f, 2.0f}, 3.0f, 10.0f, 0.0f, 5.0f, 5.0f), 0) << "touching does not count";
    EXPECT_EQ(test_circle_vs_aabb({7.0f, 2.0f}, 3.5f, 10.0f, 0.0f, 5.0f, 5.0f), 1);
    EXPECT_EQ(test_circle_vs_aabb({12.0f, 2.0f}, 0.5f, 10.0f, 0.0f, 5.0f, 5.0f), 1) << "centre inside";
    EXPECT_EQ(test_circle_vs_aabb({0.0f, 0.0f}, 3.0f, 10.0f, 0.0f, 5.0f, 5.0f), 0);
}

TEST_F(Calc, ClosestPointOnASegmentIsTheFootClampedToItsEnds)
{
    XY a = {0.0f, 5.0f};
    XY b = {10.0f, 5.0f};
    expect_xy(closest_point_on_line_segment({3.0f, 0.0f}, a, b), 3.0f, 5.0f);
    expect_xy(closest_point_on_line_segment({-4.0f, 1.0f}, a, b), 0.0f, 5.0f);
    expect_xy(closest_point_on_line_segment({14.0f, 9.0f}, a, b), 10.0f, 5.0f);
    expect_xy(closest_point_on_line_segment({1.0f, 1.0f}, {0.0f, 0.0f}, {4.0f, 4.0f}), 1.0f, 1.0f);
}

TEST_F(Calc, ClosestPointOnADegenerateSegmentIsItsEnd)
{
    expect_xy(closest_point_on_line_segment({3.0f, 0.0f}, {2.0f, 2.0f}, {2.0f, 2.0f}), 2.0f, 2.0f);
}

TEST_F(Calc, ACircleTouchingASegmentCollidesAndGivesTheOffset)
{
    XY ret = {99.0f, 99.0f};
    EXPECT_EQ(test_circle_vs_line_segment({3.0f, 0.0f}, 5.0f, {0.0f, 5.0f}, {10.0f, 5.0f}, &ret), 1);
    expect_xy(ret, 0.0f, 5.0f);
    ret = {99.0f, 99.0f};
    EXPECT_EQ(test_circle_vs_line_segment({3.0f, 0.0f}, 4.9f, {0.0f, 5.0f}, {10.0f, 5.0f}, &ret), 0);
    EXPECT_EQ(ret.x, 99.0f) << "a miss leaves ret alone";
    EXPECT_EQ(ret.y, 99.0f);
    EXPECT_EQ(test_circle_vs_line_segment({3.0f, 0.0f}, 6.0f, {0.0f, 5.0f}, {10.0f, 5.0f}, nullptr), 1)
        << "ret is optional";
}

TEST_F(Calc, TouchingCountsForASegmentButNotForAPoint)
{
    XY centre = {3.0f, 0.0f};
    XY touched = {3.0f, 5.0f};
    EXPECT_EQ(test_circle_vs_point(centre, 5.0f, touched), 0);
    EXPECT_EQ(test_circle_vs_line_segment(centre, 5.0f, {0.0f, 5.0f}, {10.0f, 5.0f}, nullptr), 1);
    EXPECT_EQ(test_circle_vs_line_segment(centre, 5.0f, touched, touched, nullptr), 1) << "even a one-point segment";
}

TEST_F(Calc, ACircleAgainstACapsuleAddsTheRadii)
{
    XY ret = {0.0f, 0.0f};
    EXPECT_EQ(test_circle_vs_capsule({3.0f, 0.0f}, 2.0f, {0.0f, 5.0f}, {10.0f, 5.0f}, 3.0f, &ret), 1) << "touching";
    expect_xy(ret, 0.0f, 5.0f);
    EXPECT_EQ(test_circle_vs_capsule({3.0f, -0.5f}, 2.0f, {0.0f, 5.0f}, {10.0f, 5.0f}, 3.0f, &ret), 0);
    EXPECT_EQ(test_circle_vs_capsule({13.0f, 9.0f}, 2.0f, {0.0f, 5.0f}, {10.0f, 5.0f}, 3.0f, nullptr), 1)
        << "round past the end: 3 by 4 from B";
}

TEST_F(Calc, CircleDifferencePushesOverlappingCirclesApart)
{
    // Centres 5 apart (5.0078 by the fast root), radii 4 and 3: an overlap of about 1.99
    float overlap = 7.0f - FSQRT_ROOT_25;
    expect_xy(diff_circle_vs_circle({3.0f, 4.0f}, 4.0f, {0.0f, 0.0f}, 3.0f), 3.0f / FSQRT_ROOT_25 * overlap,
              4.0f / FSQRT_ROOT_25 * overlap);
}

TEST_F(Calc, CircleDifferenceIsNegativeWhenTheyAreApart)
{
    XY push = diff_circle_vs_circle({30.0f, 0.0f}, 4.0f, {0.0f, 0.0f}, 3.0f);
    EXPECT_LT(push.x, 0.0f) << "back toward the other circle";
    EXPECT_NEAR(push.y, 0.0f, NEAR);
    float apart = calc_fsqrt(900.0f);  // 30.05 by the fast root
    EXPECT_NEAR(push.x, 30.0f / apart * (7.0f - apart), NEAR);
}

TEST_F(Calc, CircleDifferenceOfConcentricCirclesIsZero)
{
    expect_xy(diff_circle_vs_circle({2.0f, 2.0f}, 4.0f, {2.0f, 2.0f}, 3.0f), 0.0f, 0.0f);
}
