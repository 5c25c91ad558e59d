// Tests of the Life engine: the grid's cells and its edges, the random fill's exact pattern for a
// seed, one generation under every border mode (checked against a cell-by-cell transcription of
// the rule over thousands of random grids, rules and many generations), the rule string and the
// rule report's exact text.
// The engine is module state: every test starts from life_init with the wrap border and a fill
// of 50, and sets what it needs.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>

#include "life.h"
#include "life_reference.h"

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
constexpr int RANDOM_DISCARD_BITS = 8;  // low bits of each rand() a random fill ignores

// The grid a random fill at percent gives after srand(seed): rows outer, columns inner, the low
// 8 bits of each draw dropped
LIFE_GRID seeded_fill(unsigned seed, int percent)
{
    std::srand(seed);
    LIFE_GRID grid{};
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            at(grid, x, y) = (std::rand() >> RANDOM_DISCARD_BITS) % 100 < percent ? 1 : 0;
    return grid;
}

// What life_parse_rule prints for a rule string
std::string rule_report(const char *rule)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(life_parse_rule(rule), 0);
    return testing::internal::GetCapturedStdout();
}

// A rule list as the engine keeps it: the given counts from entry 0, -1 after them
std::array<int32_t, LIFE_RULE_ENTRIES> rule_list(std::initializer_list<int32_t> counts)
{
    std::array<int32_t, LIFE_RULE_ENTRIES> list;
    list.fill(-1);
    std::copy(counts.begin(), counts.end(), list.begin());
    return list;
}

// A grid holding only the given cells, set to 1
LIFE_GRID grid_of(std::initializer_list<std::pair<int, int>> live)
{
    LIFE_GRID grid{};
    for (auto [x, y] : live)
        at(grid, x, y) = 1;
    return grid;
}

int live_count(const LIFE_GRID &grid)
{
    int count = 0;
    for (uint8_t b : grid)
        count += b != 0 ? 1 : 0;
    return count;
}

// A random grid: a random share of live cells, the live bytes all 1, all one other value (2,
// 128, 255) or each any non-zero byte
LIFE_GRID random_grid(std::mt19937 &rng)
{
    constexpr uint8_t LIVE_VALUES[] = {1, 2, 128, 255};
    std::uniform_int_distribution<int> percent(0, 100);
    std::uniform_int_distribution<int> value_kind(0, 4);
    std::uniform_int_distribution<int> any_byte(1, 255);
    std::uniform_int_distribution<int> draw(0, 99);
    int share = percent(rng);
    int kind = value_kind(rng);
    LIFE_GRID grid{};
    for (uint8_t &b : grid)
        if (draw(rng) < share)
            b = static_cast<uint8_t>(kind < 4 ? LIVE_VALUES[kind] : any_byte(rng));
    return grid;
}

// A random rule list: 0 to 9 counts from 0..8 (duplicates allowed), the rest -1; now and then
// the unused entries hold other values that can never match (a module may write the lists
// directly)
std::array<int32_t, LIFE_RULE_ENTRIES> random_rule_list(std::mt19937 &rng)
{
    constexpr int32_t NEVER_MATCH[] = {-1, -7, 9, 42, INT_MIN, INT_MAX};
    std::uniform_int_distribution<int> length(0, LIFE_RULE_ENTRIES);
    std::uniform_int_distribution<int> count(0, 8);
    std::uniform_int_distribution<int> junk(0, 5);
    std::uniform_int_distribution<int> odds(0, 9);
    std::array<int32_t, LIFE_RULE_ENTRIES> list;
    list.fill(-1);
    int n = length(rng);
    bool junk_tail = odds(rng) == 0;
    for (int i = 0; i < LIFE_RULE_ENTRIES; i++)
        list[i] = i < n ? count(rng) : (junk_tail ? NEVER_MATCH[junk(rng)] : -1);
    return list;
}

// Border modes to try: the three the engine knows and values that must behave like dead
constexpr int32_t BORDER_MODES[] = {LIFE_BORDER_WRAP, LIFE_BORDER_DEAD, LIFE_BORDER_LIVE, 3, 7, -1, INT_MIN, INT_MAX};

class Life : public ::testing::Test {
protected:
    void SetUp() override
    {
        border_mode = LIFE_BORDER_WRAP;
        fill_percent = 50;
        life_init();
    }
};

}  // namespace

//----------------------------------------------------------------------------------
// Cells
//----------------------------------------------------------------------------------
TEST_F(Life, CellsOutsideTheGridReadZero)
{
    life_reset_random(100);
    EXPECT_EQ(life_cell(0, 0), 1);
    EXPECT_EQ(life_cell(47, 29), 1);
    EXPECT_EQ(life_cell(-1, 0), 0);
    EXPECT_EQ(life_cell(48, 0), 0);
    EXPECT_EQ(life_cell(0, 30), 0);
    EXPECT_EQ(life_cell(0, -1), 0);
    EXPECT_EQ(life_cell(INT_MIN, 0), 0);
    EXPECT_EQ(life_cell(0, INT_MAX), 0);
}

TEST_F(Life, SettingACellOutsideTheGridReturnsZeroAndChangesNothing)
{
    LIFE_GRID before = read_grid();
    EXPECT_EQ(life_set_cell(48, 0, 1), 0);
    EXPECT_EQ(life_set_cell(-1, 0, 1), 0);
    EXPECT_EQ(life_set_cell(0, 30, 1), 0);
    EXPECT_EQ(life_set_cell(0, -1, 1), 0);
    EXPECT_EQ(life_set_cell(INT_MIN, INT_MIN, 1), 0);
    EXPECT_EQ(read_grid(), before);
}

TEST_F(Life, SettingACellChangesThatCellOnly)
{
    life_reset_random(0);
    constexpr std::pair<int, int> PLACES[] = {{0, 0}, {47, 0}, {0, 29}, {47, 29}, {13, 17}};
    for (auto [x, y] : PLACES) {
        EXPECT_EQ(life_set_cell(x, y, 1), 1);
        LIFE_GRID expected{};
        at(expected, x, y) = 1;
        EXPECT_EQ(read_grid(), expected) << "at " << x << ", " << y;
        life_set_cell(x, y, 0);
    }
}

// A stored byte reads back as a signed value: 0xFF is -1, 0x80 is -128
TEST_F(Life, SettingACellStoresTheLowByteWhichReadsBackSigned)
{
    EXPECT_EQ(life_set_cell(3, 4, 0x1FF), 1);
    EXPECT_EQ(life_cell(3, 4), -1);
    life_set_cell(3, 4, 0x80);
    EXPECT_EQ(life_cell(3, 4), -128);
    life_set_cell(3, 4, 0x7F);
    EXPECT_EQ(life_cell(3, 4), 127);
    life_set_cell(3, 4, 2);
    EXPECT_EQ(life_cell(3, 4), 2);
    life_set_cell(3, 4, -1);
    EXPECT_EQ(life_cell(3, 4), -1);
    life_set_cell(3, 4, 0x100);
    EXPECT_EQ(life_cell(3, 4), 0);
}

TEST_F(Life, SettingACellLeavesTheStepCountAlone)
{
    life_set_step_count(77);
    life_set_cell(5, 5, 1);
    life_set_cell(5, 6, 0);
    EXPECT_EQ(life_step_count(), 77u);
}

//----------------------------------------------------------------------------------
// Start-up and random fill
//----------------------------------------------------------------------------------
TEST_F(Life, InitSetsB3S23AndKeepsTheBorderAndTheFill)
{
    rules_birth.fill(5);
    rules_survive.fill(5);
    border_mode = LIFE_BORDER_LIVE;
    fill_percent = 0;
    life_set_step_count(9);

    EXPECT_EQ(life_init(), 0);

    EXPECT_EQ(rules_birth, rule_list({3}));
    EXPECT_EQ(rules_survive, rule_list({2, 3}));
    EXPECT_EQ(border_mode, LIFE_BORDER_LIVE);
    EXPECT_EQ(fill_percent, 0);
    EXPECT_EQ(life_step_count(), 0u);
    EXPECT_EQ(read_grid(), LIFE_GRID{});
}

TEST_F(Life, InitFillsAtTheFillPercentage)
{
    fill_percent = 100;
    life_init();
    LIFE_GRID full;
    full.fill(1);
    EXPECT_EQ(read_grid(), full);
}

TEST_F(Life, RandomFillFollowsTheSeededDrawOrder)
{
    constexpr unsigned SEEDS[] = {1, 42, 12345, 4000000000u};
    constexpr int PERCENTS[] = {50, 20, 1, 99};
    for (unsigned seed : SEEDS) {
        for (int percent : PERCENTS) {
            LIFE_GRID expected = seeded_fill(seed, percent);
            std::srand(seed);
            life_reset_random(percent);
            EXPECT_EQ(read_grid(), expected) << "seed " << seed << ", " << percent << " %";
        }
    }
}

TEST_F(Life, RandomFillAtZeroOrBelowClearsAndAtHundredOrAboveFills)
{
    LIFE_GRID full;
    full.fill(1);
    life_reset_random(0);
    EXPECT_EQ(read_grid(), LIFE_GRID{});
    life_reset_random(100);
    EXPECT_EQ(read_grid(), full);
    life_reset_random(-5);
    EXPECT_EQ(read_grid(), LIFE_GRID{});
    life_reset_random(150);
    EXPECT_EQ(read_grid(), full);
}

TEST_F(Life, RandomFillResetsTheStepCount)
{
    life_set_step_count(1234);
    life_reset_random(30);
    EXPECT_EQ(life_step_count(), 0u);
}

TEST_F(Life, ResetFillsAtTheFillPercentage)
{
    fill_percent = 30;
    LIFE_GRID expected = seeded_fill(7, 30);
    std::srand(7);
    life_set_step_count(5);
    life_reset();
    EXPECT_EQ(read_grid(), expected);
    EXPECT_EQ(life_step_count(), 0u);
}

//----------------------------------------------------------------------------------
// Generations
//----------------------------------------------------------------------------------
TEST_F(Life, AStepAdvancesTheCounterByOneEvenWhenNothingChanges)
{
    life_reset_random(0);
    life_step_cells();
    EXPECT_EQ(life_step_count(), 1u);
    life_step_cells();
    EXPECT_EQ(life_step_count(), 2u);
    EXPECT_EQ(read_grid(), LIFE_GRID{});
}

TEST_F(Life, TheStepCounterIsUnsignedAndWraps)
{
    life_set_step_count(0xFFFFFFFFu);
    EXPECT_EQ(life_step_count(), 0xFFFFFFFFu);
    life_step_cells();
    EXPECT_EQ(life_step_count(), 0u);
}

TEST_F(Life, ABlinkerAcrossTheSeamOscillatesOnATorus)
{
    LIFE_GRID across = grid_of({{47, 10}, {0, 10}, {1, 10}});
    LIFE_GRID upright = grid_of({{0, 9}, {0, 10}, {0, 11}});
    life_reset_random(0);
    write_grid(across);
    life_step_cells();
    EXPECT_EQ(read_grid(), upright);
    life_step_cells();
    EXPECT_EQ(read_grid(), across);
}

TEST_F(Life, ABlinkerAcrossTheTopAndBottomEdgeOscillatesOnATorus)
{
    LIFE_GRID upright = grid_of({{20, 29}, {20, 0}, {20, 1}});
    LIFE_GRID across = grid_of({{19, 0}, {20, 0}, {21, 0}});
    life_reset_random(0);
    write_grid(upright);
    life_step_cells();
    EXPECT_EQ(read_grid(), across);
    life_step_cells();
    EXPECT_EQ(read_grid(), upright);
}

TEST_F(Life, ABlinkerAcrossTheSeamDiesAtADeadBorder)
{
    border_mode = LIFE_BORDER_DEAD;
    life_reset_random(0);
    write_grid(grid_of({{47, 10}, {0, 10}, {1, 10}}));
    life_step_cells();
    EXPECT_EQ(read_grid(), LIFE_GRID{});
}

TEST_F(Life, ALiveBorderBringsEdgeCellsToLifeButNotCorners)
{
    border_mode = LIFE_BORDER_LIVE;
    life_reset_random(0);
    life_step_cells();
    for (int x = 0; x < LIFE_W; x++) {
        for (int y = 0; y < LIFE_H; y++) {
            bool x_edge = x == 0 || x == LIFE_W - 1;
            bool y_edge = y == 0 || y == LIFE_H - 1;
            int expected = x_edge != y_edge ? 1 : 0;
            EXPECT_EQ(life_cell(x, y), expected) << "at " << x << ", " << y;
        }
    }
}

// A corner sees five outside neighbours, each counted once: B5 brings exactly the corners to life
TEST_F(Life, ALiveBorderGivesACornerFiveOutsideNeighbours)
{
    border_mode = LIFE_BORDER_LIVE;
    rules_birth = rule_list({5});
    life_reset_random(0);
    life_step_cells();
    EXPECT_EQ(read_grid(), grid_of({{0, 0}, {47, 0}, {0, 29}, {47, 29}}));
}

TEST_F(Life, UnknownBorderModesStepLikeADeadBorder)
{
    std::srand(99);
    life_reset_random(50);
    LIFE_GRID start = read_grid();
    border_mode = LIFE_BORDER_DEAD;
    life_step_cells();
    LIFE_GRID dead = read_grid();
    border_mode = LIFE_BORDER_WRAP;
    write_grid(start);
    life_step_cells();
    ASSERT_NE(read_grid(), dead);  // the grid is one whose edges matter
    for (int32_t mode : {3, 7, -1, INT_MIN, INT_MAX}) {
        border_mode = mode;
        write_grid(start);
        life_step_cells();
        EXPECT_EQ(read_grid(), dead) << "border mode " << mode;
    }
}

// The glider travels one cell right and one down every 4 generations; on the 48 x 30 torus it
// is back where it started after lcm(48, 30) = 240 such moves
TEST_F(Life, AGliderOnTheTorusComesBackAfter960Generations)
{
    constexpr std::pair<int, int> GLIDER[] = {{1, 0}, {2, 1}, {0, 2}, {1, 2}, {2, 2}};
    constexpr int START_X = 10;
    constexpr int START_Y = 5;
    auto glider_moved = [&](int cells_moved) {
        LIFE_GRID grid{};
        for (auto [x, y] : GLIDER)
            at(grid, (START_X + x + cells_moved) % LIFE_W, (START_Y + y + cells_moved) % LIFE_H) = 1;
        return grid;
    };
    LIFE_GRID start = glider_moved(0);
    life_reset_random(0);
    write_grid(start);
    for (int generation = 1; generation < 960; generation++) {
        life_step_cells();
        LIFE_GRID now = read_grid();
        ASSERT_EQ(live_count(now), 5) << "generation " << generation;
        ASSERT_NE(now, start) << "generation " << generation;
        if (generation % 4 == 0) {
            ASSERT_EQ(now, glider_moved(generation / 4)) << "generation " << generation;
        }
    }
    life_step_cells();
    EXPECT_EQ(read_grid(), start);
    EXPECT_EQ(life_step_count(), 960u);
}

TEST_F(Life, AnyNonZeroByteIsAliveAndAStepLeavesOnlyZerosAndOnes)
{
    life_reset_random(0);
    life_set_cell(5, 5, 2);
    life_set_cell(5, 6, 128);
    life_set_cell(6, 5, 255);
    life_set_cell(6, 6, 77);
    life_step_cells();
    EXPECT_EQ(read_grid(), grid_of({{5, 5}, {5, 6}, {6, 5}, {6, 6}}));

    std::mt19937 rng(5);
    std::uniform_int_distribution<int> any_byte(0, 255);
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            life_set_cell(x, y, any_byte(rng));
    life_step_cells();
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            ASSERT_TRUE(life_cell(x, y) == 0 || life_cell(x, y) == 1) << "at " << x << ", " << y;
}

TEST_F(Life, AStepSeesOnlyThePreviousGeneration)
{
    // A row of three: updated in place, the middle column would see its own new cells
    border_mode = LIFE_BORDER_DEAD;
    life_reset_random(0);
    write_grid(grid_of({{10, 10}, {11, 10}, {12, 10}}));
    life_step_cells();
    EXPECT_EQ(read_grid(), grid_of({{11, 9}, {11, 10}, {11, 11}}));
}

TEST_F(Life, TheRuleListsAreReadAtEveryStep)
{
    life_reset_random(0);
    write_grid(grid_of({{10, 10}, {11, 10}, {12, 10}}));
    rules_birth = rule_list({});
    rules_survive = rule_list({2});
    life_step_cells();
    EXPECT_EQ(read_grid(), grid_of({{11, 10}}));
    rules_survive = rule_list({0});
    life_step_cells();
    EXPECT_EQ(read_grid(), grid_of({{11, 10}}));
}

TEST_F(Life, MatchesTheCellByCellRuleOnThousandsOfRandomGrids)
{
    constexpr int GRIDS = 5000;
    std::mt19937 rng(20240601);
    std::uniform_int_distribution<size_t> mode(0, std::size(BORDER_MODES) - 1);
    for (int i = 0; i < GRIDS; i++) {
        border_mode = BORDER_MODES[mode(rng)];
        rules_birth = random_rule_list(rng);
        rules_survive = random_rule_list(rng);
        LIFE_GRID start = random_grid(rng);
        write_grid(start);
        life_step_cells();
        ASSERT_EQ(read_grid(), reference_step(start)) << "grid " << i << ", border mode " << border_mode;
    }
}

TEST_F(Life, MatchesTheCellByCellRuleOnTheFullAndTheEmptyRules)
{
    constexpr std::array<int32_t, LIFE_RULE_ENTRIES> ALL = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    std::mt19937 rng(7);
    for (int32_t mode : BORDER_MODES) {
        for (int lists = 0; lists < 4; lists++) {
            border_mode = mode;
            rules_birth = (lists & 1) != 0 ? ALL : rule_list({});
            rules_survive = (lists & 2) != 0 ? ALL : rule_list({});
            LIFE_GRID start = random_grid(rng);
            write_grid(start);
            life_step_cells();
            ASSERT_EQ(read_grid(), reference_step(start)) << "border mode " << mode << ", lists " << lists;
        }
    }
}

TEST_F(Life, MatchesTheCellByCellRuleOverManyGenerations)
{
    constexpr int RUNS = 120;
    constexpr int GENERATIONS = 60;
    std::mt19937 rng(31337);
    for (int run = 0; run < RUNS; run++) {
        border_mode = BORDER_MODES[run % std::size(BORDER_MODES)];
        // Every third run keeps Conway's rule, which stays busy for many generations
        rules_birth = run % 3 == 0 ? rule_list({3}) : random_rule_list(rng);
        rules_survive = run % 3 == 0 ? rule_list({2, 3}) : random_rule_list(rng);
        LIFE_GRID expected = random_grid(rng);
        write_grid(expected);
        for (int generation = 1; generation <= GENERATIONS; generation++) {
            life_step_cells();
            expected = reference_step(expected);
            ASSERT_EQ(read_grid(), expected) << "run " << run << ", generation " << generation;
        }
    }
}

//----------------------------------------------------------------------------------
// Rule strings and the rule report
//----------------------------------------------------------------------------------
TEST_F(Life, TheDefaultRuleReportsRightAfterInit)
{
    EXPECT_EQ(rule_report("b3s23w"), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rules_birth, rule_list({3}));
    EXPECT_EQ(rules_survive, rule_list({2, 3}));
}

TEST_F(Life, TheEmptyStringChangesNothingAndReports)
{
    LIFE_GRID before = read_grid();
    EXPECT_EQ(rule_report(""), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(read_grid(), before);
    EXPECT_EQ(border_mode, LIFE_BORDER_WRAP);
    EXPECT_EQ(fill_percent, 50);
}

TEST_F(Life, ANullStringReadsAsTheEmptyString)
{
    LIFE_GRID before = read_grid();
    EXPECT_EQ(rule_report(nullptr), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(read_grid(), before);
}

TEST_F(Life, BAndSReadTheirDigitLists)
{
    EXPECT_EQ(rule_report("B36/S23"), "RULES: B36/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rules_birth, rule_list({3, 6}));
    EXPECT_EQ(rules_survive, rule_list({2, 3}));
}

TEST_F(Life, ANineEndsADigitListAndIsIgnored)
{
    EXPECT_EQ(rule_report("b9s"), "RULES: B/S, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rules_birth, rule_list({}));
    EXPECT_EQ(rules_survive, rule_list({}));
    EXPECT_NE(read_grid(), LIFE_GRID{});
    life_step_cells();
    EXPECT_EQ(read_grid(), LIFE_GRID{});

    rule_report("s239b1");
    EXPECT_EQ(rules_survive, rule_list({2, 3}));
    EXPECT_EQ(rules_birth, rule_list({1}));
}

TEST_F(Life, ADigitListHoldsAllNineCounts)
{
    EXPECT_EQ(rule_report("b012345678"), "RULES: B012345678/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rules_birth, (std::array<int32_t, LIFE_RULE_ENTRIES>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

// After nine stored counts the next character is read as a command, and a digit there is ignored
TEST_F(Life, ATenthDigitIsIgnored)
{
    rule_report("s8765432101b2");
    EXPECT_EQ(rules_survive, (std::array<int32_t, LIFE_RULE_ENTRIES>{8, 7, 6, 5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(rules_birth, rule_list({2}));
}

TEST_F(Life, ALetterWithoutDigitsEmptiesItsList)
{
    EXPECT_EQ(rule_report("b/s23"), "RULES: B/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rule_report("bs4"), "RULES: B/S4, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rule_report("b3s"), "RULES: B3/S, wrap border\nstep 0 (random fill %50)\n");
}

TEST_F(Life, DuplicateCountsAreKeptAndHarmless)
{
    EXPECT_EQ(rule_report("b33s2332"), "RULES: B33/S2332, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rules_birth, rule_list({3, 3}));
    life_reset_random(0);
    write_grid(grid_of({{10, 10}, {11, 10}, {12, 10}}));
    life_step_cells();
    EXPECT_EQ(read_grid(), grid_of({{11, 9}, {11, 10}, {11, 11}}));
}

TEST_F(Life, BorderLettersSetTheEngineBorderMode)
{
    EXPECT_EQ(rule_report("l"), "RULES: B3/S23, live border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(border_mode, LIFE_BORDER_LIVE);
    EXPECT_EQ(rule_report("d"), "RULES: B3/S23, dead border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(border_mode, LIFE_BORDER_DEAD);
    EXPECT_EQ(rule_report("w"), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(border_mode, LIFE_BORDER_WRAP);
    rule_report("dlw d");
    EXPECT_EQ(border_mode, LIFE_BORDER_DEAD);
}

TEST_F(Life, AnUnknownBorderModeReportsAsDead)
{
    for (int32_t mode : {7, 3, -1, INT_MIN}) {
        border_mode = mode;
        EXPECT_EQ(rule_report(""), "RULES: B3/S23, dead border\nstep 0 (random fill %50)\n");
        EXPECT_EQ(border_mode, mode);
    }
}

TEST_F(Life, LettersAreReadInAnyCase)
{
    EXPECT_EQ(rule_report("B36/S125L"), "RULES: B36/S125, live border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rule_report("D"), "RULES: B36/S125, dead border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rule_report("W"), "RULES: B36/S125, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(rule_report("F30"), "RULES: B36/S125, wrap border\nstep 0 (random fill %30)\n");
    LIFE_GRID expected = seeded_fill(11, 30);
    std::srand(11);
    rule_report("R");
    EXPECT_EQ(read_grid(), expected);
}

TEST_F(Life, BytesAbove127AndOtherCharactersAreIgnored)
{
    EXPECT_EQ(rule_report("\xC4\xE4\xFF" "b2 \xC2\xA0s1\x80 # \xE2\x80\x94 z"),
              "RULES: B2/S1, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(border_mode, LIFE_BORDER_WRAP);
    EXPECT_EQ(fill_percent, 50);
    // A high byte ends a digit list like any other non-digit
    rule_report("b3\xB3" "4");
    EXPECT_EQ(rules_birth, rule_list({3}));
}

TEST_F(Life, TheReportShowsTheStepCountAndNoFillOnceStepped)
{
    life_step_cells();
    life_step_cells();
    EXPECT_EQ(rule_report(""), "RULES: B3/S23, wrap border\nstep 2\n");
    life_set_step_count(12345);
    EXPECT_EQ(rule_report("b3"), "RULES: B3/S23, wrap border\nstep 12345\n");
}

TEST_F(Life, TheReportStopsAListAtTheFirstEntryOutsideZeroToEight)
{
    rules_birth = {3, 9, 4, -1, -1, -1, -1, -1, -1};
    rules_survive = {2, 3, -1, 5, -1, -1, -1, -1, -1};
    EXPECT_EQ(rule_report(""), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
}

TEST_F(Life, RResetsTheGridAndTheStepCount)
{
    life_step_cells();
    LIFE_GRID expected = seeded_fill(3, 50);
    std::srand(3);
    EXPECT_EQ(rule_report("r"), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(read_grid(), expected);
    EXPECT_EQ(life_step_count(), 0u);
}

// The fill in effect where the r stands is the one used
TEST_F(Life, F20RFillsAtTwentyButRF20AtTheOldValue)
{
    LIFE_GRID at20 = seeded_fill(21, 20);
    LIFE_GRID at50 = seeded_fill(21, 50);
    ASSERT_NE(at20, at50);

    std::srand(21);
    EXPECT_EQ(rule_report("f20r"), "RULES: B3/S23, wrap border\nstep 0 (random fill %20)\n");
    EXPECT_EQ(read_grid(), at20);

    fill_percent = 50;
    std::srand(21);
    EXPECT_EQ(rule_report("rf20"), "RULES: B3/S23, wrap border\nstep 0 (random fill %20)\n");
    EXPECT_EQ(read_grid(), at50);
    EXPECT_EQ(fill_percent, 20);
}

TEST_F(Life, AFillAbove100Becomes100)
{
    EXPECT_EQ(rule_report("f150"), "RULES: B3/S23, wrap border\nstep 0 (random fill %100)\n");
    EXPECT_EQ(fill_percent, 100);
    fill_percent = 50;
    rule_report("f1000");
    EXPECT_EQ(fill_percent, 100);
    fill_percent = 50;
    rule_report("f250");
    EXPECT_EQ(fill_percent, 100);
    fill_percent = 50;
    rule_report("f101");
    EXPECT_EQ(fill_percent, 100);
    rule_report("f100");
    EXPECT_EQ(fill_percent, 100);
}

// Once the number passes 100 its remaining digits are unknown characters
TEST_F(Life, TheDigitsAfterAFillAbove100AreIgnored)
{
    rule_report("f2503s4");
    EXPECT_EQ(fill_percent, 100);
    EXPECT_EQ(rules_survive, rule_list({4}));
    EXPECT_EQ(rules_birth, rule_list({3}));
    // However many digits follow, the number stops growing at 100
    fill_percent = 50;
    rule_report("f999999999999999999999999999999999999999l");
    EXPECT_EQ(fill_percent, 100);
    EXPECT_EQ(border_mode, LIFE_BORDER_LIVE);
}

TEST_F(Life, FReadsLeadingZerosAndZero)
{
    EXPECT_EQ(rule_report("f007"), "RULES: B3/S23, wrap border\nstep 0 (random fill %7)\n");
    EXPECT_EQ(fill_percent, 7);
    EXPECT_EQ(rule_report("f0"), "RULES: B3/S23, wrap border\nstep 0 (random fill %0)\n");
    EXPECT_EQ(fill_percent, 0);
    rule_report("f0r");
    EXPECT_EQ(read_grid(), LIFE_GRID{});
}

TEST_F(Life, FWithoutADigitLeavesTheFillAlone)
{
    EXPECT_EQ(rule_report("fx"), "RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n");
    EXPECT_EQ(fill_percent, 50);
    rule_report("f");
    EXPECT_EQ(fill_percent, 50);
    // The character after a bare f is read as a command
    rule_report("fl");
    EXPECT_EQ(fill_percent, 50);
    EXPECT_EQ(border_mode, LIFE_BORDER_LIVE);
}

TEST_F(Life, ParsingEndsAtTheTerminatingNul)
{
    const char text[] = "b2\0s5";
    rule_report(text);
    EXPECT_EQ(rules_birth, rule_list({2}));
    EXPECT_EQ(rules_survive, rule_list({2, 3}));
}
