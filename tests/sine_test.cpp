// Tests of the precomputed sine table and its lookup by degrees.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "sine.h"

namespace {

class Sine : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Scribble over the table first, so every test sees what init_sine_table itself wrote.
        _sine_table.fill(7.0f);
        init_sine_table();
    }
};

}  // namespace

TEST_F(Sine, EntryZeroIsZero)
{
    EXPECT_EQ(_sine_table[0], 0.0f);
}

TEST_F(Sine, EntryTwentyFortyEightIsSineOfNinetyDegrees)
{
    EXPECT_EQ(_sine_table[2048], 1.0f);
}

TEST_F(Sine, EntryFortyNinetySixIsSineOfOneEightyWithinFloatRounding)
{
    EXPECT_NEAR(_sine_table[4096], 0.0f, 1e-6f);
}

TEST_F(Sine, EntrySixtyOneFortyFourIsSineOfTwoSeventyDegrees)
{
    EXPECT_EQ(_sine_table[6144], -1.0f);
}

TEST_F(Sine, EveryEntryIsTheSineOfItsFractionOfATurn)
{
    for (int i = 0; i < SINE_TABLE_SIZE; i++) {
        double radians = i * 360.0 / SINE_TABLE_SIZE * std::numbers::pi / 180.0;
        ASSERT_NEAR(_sine_table[i], std::sin(radians), 1e-7) << "entry " << i;
    }
}

TEST_F(Sine, TheSecondHalfTurnMirrorsTheFirst)
{
    for (int i = 1; i < SINE_TABLE_SIZE / 2; i++)
        ASSERT_NEAR(_sine_table[SINE_TABLE_SIZE - i], -_sine_table[i], 2e-7) << "entry " << i;
}

TEST_F(Sine, IndexOfAnAngleIsItsStepCountTruncatedTowardZeroAndMasked)
{
    EXPECT_EQ(sine_index(0.0), 0);
    EXPECT_EQ(sine_index(90.0), 2048);
    EXPECT_EQ(sine_index(180.0), 4096);
    EXPECT_EQ(sine_index(360.0), 0);
    EXPECT_EQ(sine_index(450.0), 2048);
    EXPECT_EQ(sine_index(1.0), 22);
    // Negative angles truncate toward zero and then wrap through the mask.
    EXPECT_EQ(sine_index(-90.0), 6144);
    EXPECT_EQ(sine_index(-1.0), (-22) & SINE_TABLE_MASK);
    EXPECT_EQ(sine_index(0.04), 0);
    EXPECT_EQ(sine_index(-0.04), 0);
}

TEST_F(Sine, AnglesFarOutsideOneTurnStillSelectAnEntry)
{
    // Angles are never normalised by their owners; whole turns must not change the entry.
    EXPECT_EQ(sine_index(90.0 + 360.0 * 1000.0), 2048);
    EXPECT_EQ(sine_index(-90.0 - 360.0 * 1000.0), 6144);
    for (double huge : {1e30, -1e30, std::numeric_limits<double>::max()}) {
        int index = sine_index(huge);
        EXPECT_GE(index, 0);
        EXPECT_LT(index, SINE_TABLE_SIZE);
    }
    EXPECT_EQ(sine_index(std::numeric_limits<double>::infinity()), 0);
    EXPECT_EQ(sine_index(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST_F(Sine, SineOfDegreesReadsTheTable)
{
    EXPECT_EQ(sine_deg(90.0), 1.0f);
    EXPECT_EQ(sine_deg(-90.0), -1.0f);
    EXPECT_NEAR(sine_deg(30.0), 0.5f, 1e-3f);
    EXPECT_EQ(sine_deg(30.0), _sine_table[sine_index(30.0)]);
}

TEST_F(Sine, TheCosineIsTheEntryNinetyDegreesOn)
{
    for (double d : {0.0, 30.0, 45.0, 120.0, 200.0, -60.0}) {
        double cosine = std::cos(d * std::numbers::pi / 180.0);
        EXPECT_NEAR(sine_deg(d + 90.0), cosine, 1e-3) << d << " degrees";
    }
}
