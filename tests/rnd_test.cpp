// Tests of the 16-bit pseudo-random generator and its convenience draws.
#include <gtest/gtest.h>

#include <cstdint>
#include <set>

#include "rnd.h"

namespace {

// The generator step written out independently: a linear congruence, then a shift-xor mix with
// an extra constant for odd states; the top 16 bits come out.
unsigned reference_step(uint32_t &seed)
{
    uint32_t s = seed * 1103515245u + 12345u;
    uint32_t t = (s >> 1) ^ s;
    if (s & 1u)
        t ^= 0xD0000001u;
    seed = t;
    return t >> 16;
}

// The value the global generator will produce next, without consuming it
unsigned peek_mrand()
{
    uint32_t copy = mrand_seed;
    return mrand_ex(&copy);
}

// The first seed, counting up from 0, whose first draw is `value`
uint32_t seed_whose_first_draw_is(unsigned value)
{
    for (uint32_t seed = 0;; seed++) {
        uint32_t s = seed;
        if (mrand_ex(&s) == value)
            return seed;
    }
}

constexpr int DRAWS = 2000;  // draws per statistical check; enough to see every small outcome

}  // namespace

// --- mrand ---

TEST(Mrand, FromSeedZeroTheFirstValueIs53248AndTheSeedBecomesTheMixedState)
{
    mrand_seed = 0;
    EXPECT_EQ(mrand(), 53248u);
    // 12345 is odd, so the extra constant is mixed in.
    EXPECT_EQ(mrand_seed, 12345u ^ (12345u >> 1) ^ 0xD0000001u);
}

TEST(Mrand, AnEvenStateIsMixedWithoutTheExtraConstant)
{
    // From seed 1 the congruence gives 1103527590, an even number.
    uint32_t seed = 1;
    const uint32_t s = 1103515245u + 12345u;
    ASSERT_EQ(s % 2, 0u);
    EXPECT_EQ(mrand_ex(&seed), ((s >> 1) ^ s) >> 16);
    EXPECT_EQ(seed, (s >> 1) ^ s);
}

TEST(Mrand, LongSequencesFollowTheGeneratorStep)
{
    for (uint32_t start : {0u, 1u, 42u, 0xFFFFFFFFu, 0x80000000u, 1700000000u}) {
        mrand_seed = start;
        uint32_t expected_seed = start;
        for (int i = 0; i < DRAWS; i++) {
            unsigned expected = reference_step(expected_seed);
            unsigned got = mrand();
            ASSERT_EQ(got, expected) << "seed " << start << " draw " << i;
            ASSERT_LE(got, 65535u);
            ASSERT_EQ(mrand_seed, expected_seed);
        }
    }
}

TEST(Mrand, MrandExStepsOnlyTheCallersSeed)
{
    mrand_seed = 777;
    uint32_t own = 777;
    unsigned first = mrand_ex(&own);
    EXPECT_EQ(mrand_seed, 777u);
    EXPECT_NE(own, 777u);
    // The same seed repeats the same sequence on either generator.
    EXPECT_EQ(mrand(), first);
    EXPECT_EQ(mrand_seed, own);
}

// --- rnd and the draws built on it ---

TEST(Rnd, EqualBoundsAlwaysGiveThatBound)
{
    mrand_seed = 99;
    for (int i = 0; i < DRAWS; i++)
        ASSERT_EQ(rnd(5, 5), 5);
}

TEST(Rnd, ReversedBoundsCoverTheWholeClosedRange)
{
    mrand_seed = 12;
    std::set<int> values;
    for (int i = 0; i < DRAWS; i++) {
        int v = rnd(7, 3);
        ASSERT_GE(v, 3);
        ASSERT_LE(v, 7);
        values.insert(v);
    }
    EXPECT_EQ(values, (std::set<int>{3, 4, 5, 6, 7}));
}

TEST(Rnd, IsTheDrawModuloTheSpanPlusTheSmallerBound)
{
    mrand_seed = 2024;
    for (int i = 0; i < DRAWS; i++) {
        unsigned draw = peek_mrand();
        ASSERT_EQ(rnd(20, -10), static_cast<int>(draw % 31) - 10);
    }
}

TEST(Rnd, CoinIsBit15OfTheDraw)
{
    mrand_seed = 5;
    std::set<int> values;
    for (int i = 0; i < DRAWS; i++) {
        unsigned draw = peek_mrand();
        int coin = rnd5050();
        ASSERT_EQ(coin, static_cast<int>((draw >> 15) & 1u));
        values.insert(coin);
    }
    EXPECT_EQ(values, (std::set<int>{0, 1}));
}

TEST(Rnd, SignIsMinusOneWhenTheCoinIsOne)
{
    mrand_seed = 6;
    for (int i = 0; i < DRAWS; i++) {
        unsigned draw = peek_mrand();
        ASSERT_EQ(rndsign(), (draw & 0x8000u) ? -1.0f : 1.0f);
    }
}

TEST(Rnd, DiceSumTheirRollsOfOneToSides)
{
    mrand_seed = 31337;
    for (int i = 0; i < DRAWS; i++) {
        uint32_t copy = mrand_seed;
        int expected = 0;
        for (int roll = 0; roll < 3; roll++)
            expected += static_cast<int>(mrand_ex(&copy) % 6) + 1;
        ASSERT_EQ(dice(3, 6), expected);
        ASSERT_EQ(mrand_seed, copy);
    }
}

TEST(Rnd, DiceWithoutRollsGiveZeroAndDrawNothing)
{
    mrand_seed = 4;
    EXPECT_EQ(dice(0, 6), 0);
    EXPECT_EQ(dice(-2, 6), 0);
    EXPECT_EQ(mrand_seed, 4u);
}

// --- frnd ---

TEST(Frnd, GivesTheUpperBoundExactlyWhenTheDrawIs65535)
{
    mrand_seed = seed_whose_first_draw_is(65535);
    EXPECT_EQ(frnd(1.0f, 2.0f), 2.0);
}

TEST(Frnd, GivesTheLowerBoundExactlyWhenTheDrawIsZero)
{
    mrand_seed = seed_whose_first_draw_is(0);
    EXPECT_EQ(frnd(1.0f, 2.0f), 1.0);
}

TEST(Frnd, ScalesTheDrawAcrossTheRange)
{
    mrand_seed = 8080;
    for (int i = 0; i < DRAWS; i++) {
        unsigned draw = peek_mrand();
        double v = frnd(-3.0f, 5.0f);
        ASSERT_NEAR(v, -3.0 + draw * 8.0 / 65535.0, 1e-5);
    }
}

TEST(Frnd, ReversedBoundsStillGiveValuesBetweenThem)
{
    mrand_seed = 17;
    for (int i = 0; i < DRAWS; i++) {
        double v = frnd(2.0f, 1.0f);
        ASSERT_GE(v, 1.0);
        ASSERT_LE(v, 2.0);
    }
}

// --- onein ---

TEST(Onein, ZeroAndOneAlwaysGiveOne)
{
    mrand_seed = 3;
    for (int i = 0; i < DRAWS; i++) {
        ASSERT_EQ(onein(0), 1);
        ASSERT_EQ(onein(1), 1);
    }
}

TEST(Onein, IsOneExactlyWhenTheDrawIsAMultipleOfNum)
{
    mrand_seed = 44;
    int ones = 0;
    for (int i = 0; i < DRAWS; i++) {
        unsigned draw = peek_mrand();
        int v = onein(4);
        ASSERT_EQ(v, draw % 4 == 0 ? 1 : 0);
        ones += v;
    }
    EXPECT_GT(ones, 0);
    EXPECT_LT(ones, DRAWS);
}

TEST(Onein, ANegativeNumBehavesAsItsMagnitude)
{
    for (uint32_t seed = 0; seed < DRAWS; seed++) {
        mrand_seed = seed;
        int negative = onein(-4);
        mrand_seed = seed;
        ASSERT_EQ(negative, onein(4)) << "seed " << seed;
    }
}

// --- weighted choice ---

TEST(Weighted, AnEmptyListGivesNull)
{
    const WEIGHTED_CHOICE empty[] = {{0, 0, 0}};
    mrand_seed = 1;
    EXPECT_EQ(choose_weighted_item(empty), nullptr);
    EXPECT_EQ(choose_weighted_item_ex(empty, 3), nullptr);
}

TEST(Weighted, EntriesWhoseWeightsAreAllZeroGiveNull)
{
    const WEIGHTED_CHOICE list[] = {{1, 0, 0}, {2, 0, 0}, {0, 0, 0}};
    for (uint32_t seed = 0; seed < 100; seed++) {
        mrand_seed = seed;
        ASSERT_EQ(choose_weighted_item(list), nullptr);
    }
}

TEST(Weighted, AnEntryWithIdZeroIsOrdinaryWhenInfoOrWeightIsSet)
{
    // The first entry has id 0 and weight 0 but an info value: it is counted, never chosen, and
    // does not end the list.
    const WEIGHTED_CHOICE list[] = {{0, 9, 0}, {0, 0, 3}, {0, 0, 0}};
    for (uint32_t seed = 0; seed < 100; seed++) {
        mrand_seed = seed;
        ASSERT_EQ(choose_weighted_item(list), &list[1]);
    }
}

TEST(Weighted, TheChoiceFollowsTheCumulativeWeights)
{
    // Cumulative sums 2, 5, 10: draws 0-1 pick the first, 2-4 the second, 5-9 the third.
    const WEIGHTED_CHOICE list[] = {{10, 0, 2}, {11, 0, 3}, {12, 0, 5}, {0, 0, 0}};
    mrand_seed = 555;
    std::set<int> chosen;
    for (int i = 0; i < DRAWS; i++) {
        unsigned r = peek_mrand() % 10;
        const WEIGHTED_CHOICE *expected = r < 2 ? &list[0] : r < 5 ? &list[1] : &list[2];
        const WEIGHTED_CHOICE *got = choose_weighted_item(list);
        ASSERT_EQ(got, expected) << "draw modulo 10 is " << r;
        chosen.insert(got->id);
    }
    EXPECT_EQ(chosen, (std::set<int>{10, 11, 12}));
}

TEST(Weighted, AMaxRestrictsTheDrawToTheFrontOfTheList)
{
    const WEIGHTED_CHOICE list[] = {{1, 0, 1}, {2, 0, 1}, {3, 0, 8}, {0, 0, 0}};
    mrand_seed = 8;
    std::set<int> chosen;
    for (int i = 0; i < DRAWS; i++) {
        const WEIGHTED_CHOICE *got = choose_weighted_item_ex(list, 2);
        ASSERT_TRUE(got == &list[0] || got == &list[1]);
        chosen.insert(got->id);
    }
    EXPECT_EQ(chosen, (std::set<int>{1, 2}));
}

TEST(Weighted, AMaxAboveTheTotalWeightIsIgnored)
{
    const WEIGHTED_CHOICE list[] = {{1, 0, 1}, {2, 0, 1}, {3, 0, 8}, {0, 0, 0}};
    for (uint32_t seed = 0; seed < DRAWS; seed++) {
        mrand_seed = seed;
        const WEIGHTED_CHOICE *with_max = choose_weighted_item_ex(list, 11);
        mrand_seed = seed;
        ASSERT_EQ(with_max, choose_weighted_item(list)) << "seed " << seed;
    }
}

TEST(Weighted, AMaxEqualToTheTotalWeightUsesTheWholeList)
{
    const WEIGHTED_CHOICE list[] = {{1, 0, 1}, {2, 0, 1}, {3, 0, 8}, {0, 0, 0}};
    mrand_seed = 21;
    std::set<int> chosen;
    for (int i = 0; i < DRAWS; i++)
        chosen.insert(choose_weighted_item_ex(list, 10)->id);
    EXPECT_EQ(chosen, (std::set<int>{1, 2, 3}));
}
