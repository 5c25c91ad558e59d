// Tests of the global drawing cursor: position, scale, heading, colour, moves in its own frame,
// the home copy, and aiming at points.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "sine.h"
#include "turtle.h"

namespace {

// The sine table entry for an angle, worked out here from the table's layout: 8192 entries
// per turn, the step count truncated toward zero, negative counts wrapping through the mask.
double table_sine(double degrees)
{
    return _sine_table[static_cast<int64_t>(degrees * (8192.0 / 360.0)) & 8191];
}

constexpr double NEAR = 1e-6;  // positions built from table sines, which are floats

class Turtle : public ::testing::Test {
protected:
    void SetUp() override
    {
        init_sine_table();
        turtle_reset();
    }
};

}  // namespace

// --- Reset and home ---

TEST_F(Turtle, ResetFacesUpAtTheOriginInOpaqueWhiteWithScaleZero)
{
    turtle_set_pos_unscaled(5.0, 6.0);
    turtle.z = 3.0;
    turtle_set_scale(2.0);
    turtle_set_angle(33.0);
    turtle_set_rgba(0.1, 0.2, 0.3, 0.4);

    turtle_reset();

    EXPECT_EQ(turtle.x, 0.0);
    EXPECT_EQ(turtle.y, 0.0);
    EXPECT_EQ(turtle.z, 0.0);
    EXPECT_EQ(turtle.scalex, 0.0);
    EXPECT_EQ(turtle.scaley, 0.0);
    EXPECT_EQ(turtle.angle, 0.0);
    EXPECT_EQ(turtle.xsin, 1.0);
    EXPECT_EQ(turtle.ycos, 1.0);
    EXPECT_EQ(turtle.ysin, 0.0);
    // The negated sine is the table's sine of 180 degrees: zero within float rounding.
    EXPECT_NEAR(turtle.xcos, 0.0, NEAR);
    EXPECT_EQ(turtle.r, 1.0);
    EXPECT_EQ(turtle.g, 1.0);
    EXPECT_EQ(turtle.b, 1.0);
    EXPECT_EQ(turtle.a, 1.0);
}

TEST_F(Turtle, ResetTakesTheHomeCopyBeforeTheColourIsSet)
{
    turtle_set_rgba(0.5, 0.5, 0.5, 0.5);
    turtle_set_home();
    turtle_reset();

    EXPECT_EQ(home_turtle.r, 0.0);
    EXPECT_EQ(home_turtle.g, 0.0);
    EXPECT_EQ(home_turtle.b, 0.0);
    EXPECT_EQ(home_turtle.a, 0.0);
    EXPECT_EQ(home_turtle.x, 0.0);
    EXPECT_EQ(home_turtle.y, 0.0);
    EXPECT_EQ(home_turtle.scalex, 0.0);
    EXPECT_EQ(home_turtle.angle, 0.0);
    EXPECT_EQ(home_turtle.xsin, 1.0);
    EXPECT_EQ(home_turtle.ycos, 1.0);
    // Going home after a reset therefore gives an invisible turtle.
    turtle_home();
    EXPECT_EQ(turtle.a, 0.0);
}

TEST_F(Turtle, HomeRestoresTheWholeTurtleSavedBySetHome)
{
    turtle_set_pos_unscaled(12.0, 34.0);
    turtle.z = 0.5;
    turtle_set_scalex(2.0);
    turtle_set_scaley(3.0);
    turtle_set_angle(45.0);
    turtle_set_rgba(0.1, 0.2, 0.3, 0.4);
    turtle_set_home();
    const TURTLE saved = turtle;

    turtle_set_pos_unscaled(-1.0, -1.0);
    turtle.z = 9.0;
    turtle_set_scale(7.0);
    turtle_set_angle(-100.0);
    turtle_set_rgb(1.0, 1.0, 1.0);
    turtle_home();

    EXPECT_EQ(turtle.x, saved.x);
    EXPECT_EQ(turtle.y, saved.y);
    EXPECT_EQ(turtle.z, saved.z);
    EXPECT_EQ(turtle.scalex, saved.scalex);
    EXPECT_EQ(turtle.scaley, saved.scaley);
    EXPECT_EQ(turtle.angle, saved.angle);
    EXPECT_EQ(turtle.xcos, saved.xcos);
    EXPECT_EQ(turtle.xsin, saved.xsin);
    EXPECT_EQ(turtle.ycos, saved.ycos);
    EXPECT_EQ(turtle.ysin, saved.ysin);
    EXPECT_EQ(turtle.r, saved.r);
    EXPECT_EQ(turtle.g, saved.g);
    EXPECT_EQ(turtle.b, saved.b);
    EXPECT_EQ(turtle.a, saved.a);
}

// --- Position and scale ---

TEST_F(Turtle, SetPosScalesByTheTurtlesScale)
{
    turtle_set_scale(2.0);
    turtle_set_pos(10.0, 20.0);
    EXPECT_EQ(turtle.x, 20.0);
    EXPECT_EQ(turtle.y, 40.0);
}

TEST_F(Turtle, SetPosScalesEachAxisByItsOwnScale)
{
    turtle_set_scalex(2.0);
    turtle_set_scaley(3.0);
    turtle_set_pos(10.0, 20.0);
    EXPECT_EQ(turtle.x, 20.0);
    EXPECT_EQ(turtle.y, 60.0);
}

TEST_F(Turtle, SetPosUnscaledDoesNotScale)
{
    turtle_set_scale(2.0);
    turtle_set_pos_unscaled(10.0, 20.0);
    EXPECT_EQ(turtle.x, 10.0);
    EXPECT_EQ(turtle.y, 20.0);
}

TEST_F(Turtle, SetPosxAndSetPosyUnscaledEachSetOneCoordinate)
{
    turtle_set_scale(4.0);
    turtle_set_pos_unscaled(1.0, 2.0);
    turtle_set_posx_unscaled(7.0);
    EXPECT_EQ(turtle.x, 7.0);
    EXPECT_EQ(turtle.y, 2.0);
    turtle_set_posy_unscaled(8.0);
    EXPECT_EQ(turtle.x, 7.0);
    EXPECT_EQ(turtle.y, 8.0);
}

TEST_F(Turtle, SetScaleSetsBothScalesAndTheAxisSettersOneEach)
{
    turtle_set_scale(1.5);
    EXPECT_EQ(turtle.scalex, 1.5);
    EXPECT_EQ(turtle.scaley, 1.5);
    turtle_set_scalex(2.5);
    EXPECT_EQ(turtle.scalex, 2.5);
    EXPECT_EQ(turtle.scaley, 1.5);
    turtle_set_scaley(3.5);
    EXPECT_EQ(turtle.scalex, 2.5);
    EXPECT_EQ(turtle.scaley, 3.5);
}

// --- Heading ---

TEST_F(Turtle, RotationTermsComeFromTheSineTable)
{
    for (double a : {0.0, 1.0, 30.0, 90.0, 135.5, 270.0, 359.9, -45.0, 725.0}) {
        turtle_set_angle(a);
        EXPECT_EQ(turtle.angle, a);
        EXPECT_EQ(turtle.ysin, table_sine(a)) << a << " degrees";
        EXPECT_EQ(turtle.xsin, table_sine(a + 90.0)) << a << " degrees";
        EXPECT_EQ(turtle.ycos, table_sine(a + 90.0)) << a << " degrees";
        EXPECT_EQ(turtle.xcos, table_sine(a + 180.0)) << a << " degrees";
    }
}

TEST_F(Turtle, SetAngleMinusNinetySelectsTableEntry6144)
{
    turtle_set_angle(-90.0);
    EXPECT_EQ(turtle.angle, -90.0);
    EXPECT_EQ(turtle.ysin, _sine_table[6144]);
    EXPECT_EQ(turtle.ysin, -1.0);
    // The cosine is the entry for 0 degrees, the negated sine the entry for 90.
    EXPECT_EQ(turtle.ycos, _sine_table[0]);
    EXPECT_EQ(turtle.xcos, _sine_table[2048]);
}

TEST_F(Turtle, TurnAddsToTheAngleWithoutNormalising)
{
    turtle_set_angle(300.0);
    turtle_turn(300.0);
    EXPECT_EQ(turtle.angle, 600.0);
    EXPECT_EQ(turtle.ysin, table_sine(600.0));
    EXPECT_EQ(turtle.ysin, table_sine(240.0));
    turtle_turn(-1000.0);
    EXPECT_EQ(turtle.angle, -400.0);
    EXPECT_EQ(turtle.ysin, table_sine(-400.0));
}

TEST_F(Turtle, SetAngleReplacesTheHeadingInsteadOfTurning)
{
    turtle_set_angle(50.0);
    turtle_set_angle(20.0);
    EXPECT_EQ(turtle.angle, 20.0);
    EXPECT_EQ(turtle.ysin, table_sine(20.0));
}

TEST_F(Turtle, HeadingVectorPointsAlongTheHeadingOnScreen)
{
    turtle_set_angle(0.0);
    EXPECT_NEAR(turtle_dx(), 0.0, NEAR);
    EXPECT_NEAR(turtle_dy(), -1.0, NEAR);
    turtle_set_angle(90.0);
    EXPECT_NEAR(turtle_dx(), 1.0, NEAR);
    EXPECT_NEAR(turtle_dy(), 0.0, NEAR);
    turtle_set_angle(180.0);
    EXPECT_NEAR(turtle_dx(), 0.0, NEAR);
    EXPECT_NEAR(turtle_dy(), 1.0, NEAR);
    turtle_set_angle(30.0);
    EXPECT_NEAR(turtle_dx(), 0.5, 1e-3);
    EXPECT_NEAR(turtle_dy(), -std::sqrt(3.0) / 2.0, 1e-3);
    EXPECT_EQ(turtle_dx(), -turtle.xcos);
    EXPECT_EQ(turtle_dy(), -turtle.xsin);
}

// --- Moving ---

TEST_F(Turtle, TransAtAngleZeroMovesRightForDxAndUpForDy)
{
    turtle_set_scale(1.0);
    turtle_set_pos_unscaled(10.0, 10.0);
    turtle_trans(3.0, 4.0);
    EXPECT_NEAR(turtle.x, 13.0, NEAR);
    EXPECT_NEAR(turtle.y, 6.0, NEAR);
}

TEST_F(Turtle, TransScalesEachAxisOfTheMove)
{
    turtle_set_scalex(2.0);
    turtle_set_scaley(3.0);
    turtle_set_pos_unscaled(10.0, 10.0);
    turtle_trans(1.0, 1.0);
    EXPECT_NEAR(turtle.x, 12.0, NEAR);
    EXPECT_NEAR(turtle.y, 7.0, NEAR);
}

TEST_F(Turtle, TransTurnsWithTheHeading)
{
    // Facing right, the turtle's own right is down the screen.
    turtle_set_scale(1.0);
    turtle_set_angle(90.0);
    turtle_trans(2.0, 5.0);
    EXPECT_NEAR(turtle.x, 5.0, NEAR);
    EXPECT_NEAR(turtle.y, 2.0, NEAR);
}

TEST_F(Turtle, SetAngleNinetyThenMoveFiveMovesFivePixelsRight)
{
    turtle_set_scale(1.0);
    turtle_set_pos_unscaled(100.0, 100.0);
    turtle_set_angle(90.0);
    turtle_move(5.0);
    EXPECT_NEAR(turtle.x, 105.0, NEAR);
    EXPECT_NEAR(turtle.y, 100.0, NEAR);
}

TEST_F(Turtle, MoveGoesForwardAlongTheHeading)
{
    turtle_set_scale(2.0);
    for (double a : {0.0, 45.0, 180.0, 200.0, -30.0}) {
        turtle_set_pos_unscaled(0.0, 0.0);
        turtle_set_angle(a);
        turtle_move(10.0);
        // Forward is the sine and cosine of the heading, scaled...
        EXPECT_NEAR(turtle.x, 20.0 * table_sine(a), NEAR) << a << " degrees";
        EXPECT_NEAR(turtle.y, -20.0 * table_sine(a + 90.0), NEAR) << a << " degrees";
        // ...which is the heading vector up to one table step (0.044 degrees), since the
        // vector reads other entries, truncated separately.
        EXPECT_NEAR(turtle.x, 20.0 * turtle_dx(), 0.02) << a << " degrees";
        EXPECT_NEAR(turtle.y, 20.0 * turtle_dy(), 0.02) << a << " degrees";
    }
}

TEST_F(Turtle, MovesAfterResetGoNowhereUntilAScaleIsSet)
{
    turtle_move(10.0);
    turtle_trans(5.0, 5.0);
    EXPECT_EQ(turtle.x, 0.0);
    EXPECT_EQ(turtle.y, 0.0);
}

// --- Colour ---

TEST_F(Turtle, SetRgbaClampsEachComponentToZeroToOne)
{
    turtle_set_rgba(2.0, -1.0, 0.5, 1.0);
    EXPECT_EQ(turtle.r, 1.0);
    EXPECT_EQ(turtle.g, 0.0);
    EXPECT_EQ(turtle.b, 0.5);
    EXPECT_EQ(turtle.a, 1.0);
    turtle_set_rgba(0.0, 0.25, 0.999, 0.0);
    EXPECT_EQ(turtle.r, 0.0);
    EXPECT_EQ(turtle.g, 0.25);
    EXPECT_EQ(turtle.b, 0.999);
    EXPECT_EQ(turtle.a, 0.0);
}

TEST_F(Turtle, SetRgbaTurnsNotANumberIntoOne)
{
    turtle_set_rgba(NAN, 0.0, NAN, 0.0);
    EXPECT_EQ(turtle.r, 1.0);
    EXPECT_EQ(turtle.g, 0.0);
    EXPECT_EQ(turtle.b, 1.0);
    EXPECT_EQ(turtle.a, 0.0);
}

TEST_F(Turtle, SetRgbIsOpaque)
{
    turtle_set_rgba(0.0, 0.0, 0.0, 0.2);
    turtle_set_rgb(0.1, 0.2, 3.0);
    EXPECT_EQ(turtle.r, 0.1);
    EXPECT_EQ(turtle.g, 0.2);
    EXPECT_EQ(turtle.b, 1.0);
    EXPECT_EQ(turtle.a, 1.0);
}

// --- Aiming ---

TEST_F(Turtle, PointAtHeadsTowardThePoint)
{
    turtle_set_pos_unscaled(50.0, 50.0);
    turtle_point_at(60.0, 50.0);
    EXPECT_NEAR(turtle.angle, 90.0, 1e-9);
    turtle_point_at(50.0, 40.0);
    EXPECT_NEAR(turtle.angle, 0.0, 1e-9);
    turtle_point_at(40.0, 50.0);
    EXPECT_NEAR(turtle.angle, -90.0, 1e-9);
    turtle_point_at(50.0, 60.0);
    EXPECT_NEAR(turtle.angle, -180.0, 1e-9);
    EXPECT_EQ(turtle.ysin, table_sine(turtle.angle));
}

TEST_F(Turtle, MovingAfterPointAtReachesThePoint)
{
    turtle_set_scale(1.0);
    turtle_set_pos_unscaled(10.0, 20.0);
    turtle_point_at(13.0, 24.0);
    turtle_move(5.0);
    // The table's steps are 0.044 degrees wide, so 5 pixels land within a few thousandths.
    EXPECT_NEAR(turtle.x, 13.0, 0.01);
    EXPECT_NEAR(turtle.y, 24.0, 0.01);
}

TEST_F(Turtle, AngleToAPointStraightAboveAtAngleZeroIsZero)
{
    turtle_set_pos_unscaled(100.0, 100.0);
    EXPECT_EQ(turtle_angle_to(100.0, 50.0), 0.0);
}

TEST_F(Turtle, AngleToAPointStraightBelowIsOneEighty)
{
    // The remainder is exactly -180, which becomes 180.
    turtle_set_pos_unscaled(100.0, 100.0);
    EXPECT_EQ(turtle_angle_to(100.0, 150.0), 180.0);
}

TEST_F(Turtle, AngleToWithARemainderOfExactlyOneEightyIsMinusOneEighty)
{
    // Heading -360 toward a point straight below (heading -180) leaves a remainder of 180.
    turtle_set_pos_unscaled(100.0, 100.0);
    turtle_set_angle(-360.0);
    EXPECT_EQ(turtle_angle_to(100.0, 150.0), -180.0);
}

TEST_F(Turtle, AngleToIsTheSignedTurnTowardThePoint)
{
    turtle_set_pos_unscaled(0.0, 0.0);
    EXPECT_NEAR(turtle_angle_to(10.0, 0.0), 90.0, 1e-9);
    EXPECT_NEAR(turtle_angle_to(-10.0, 0.0), -90.0, 1e-9);
    // Facing 350, the point to the right is 100 degrees clockwise, not 260 counter-clockwise.
    turtle_set_angle(350.0);
    EXPECT_NEAR(turtle_angle_to(10.0, 0.0), 100.0, 1e-9);
    // An unnormalised heading of 800 (80) is 10 degrees short of the point to the right.
    turtle_set_angle(800.0);
    EXPECT_NEAR(turtle_angle_to(10.0, 0.0), 10.0, 1e-9);
}

TEST_F(Turtle, AngleToAlwaysLiesWithinHalfATurnAndPointsTheTurtle)
{
    turtle_set_pos_unscaled(3.0, -4.0);
    for (double a = -1000.0; a <= 1000.0; a += 7.3) {
        for (double tx : {-50.0, 0.0, 3.0, 40.0}) {
            for (double ty : {-60.0, -4.0, 25.0}) {
                if (tx == 3.0 && ty == -4.0)
                    continue;
                turtle_set_angle(a);
                double d = turtle_angle_to(tx, ty);
                ASSERT_GE(d, -180.0);
                ASSERT_LE(d, 180.0);
                // Turning by the result gives the heading point_at would set, up to whole turns.
                double heading = std::atan2(-4.0 - ty, 3.0 - tx) * 57.29577951308232 - 90.0;
                double off = std::remainder(a + d - heading, 360.0);
                ASSERT_NEAR(off, 0.0, 1e-9) << "angle " << a << " point " << tx << "," << ty;
            }
        }
    }
}

TEST_F(Turtle, ColourBytesAreTheComponentsTimes255TruncatedTowardZero)
{
    turtle_set_rgba(1.0, 0.999, 0.5, 0.0);
    std::array<uint8_t, 4> bytes = turtle_rgba_bytes();
    EXPECT_EQ(bytes[0], 255);
    EXPECT_EQ(bytes[1], 254);
    EXPECT_EQ(bytes[2], 127);
    EXPECT_EQ(bytes[3], 0);
}
