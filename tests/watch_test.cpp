// Tests of the pattern watch: known patterns (a lone cell, a block, a blinker, a glider on the
// torus, a spaceship beside a long-period oscillator, a row that settles into an oscillator),
// random grids under many rules and every border, a start at any step counter, following the
// engine while it runs, restarts on every kind of change, the engine left untouched, and the
// overlay's text. Every answer is confirmed independently: the grid is stepped from the same
// start, by the engine or by the cell-by-cell reference rule, and the cycle checked generation by
// generation (the first repeated grid, the smallest period).
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "life.h"
#include "life_reference.h"
#include "watch.h"

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// How a confirmation steps the grid
enum STEPPER { BY_ENGINE, BY_REFERENCE };

// Calls to watch_update that reach the look-ahead's limit at the overlay's budget, and a margin
constexpr int CALLS_TO_LIMIT = static_cast<int>(WATCH_MAX_GENERATIONS / WATCH_TICK_BUDGET) + 2;

LIFE_GRID grid_of(std::initializer_list<std::pair<int, int>> live, int dx = 0, int dy = 0)
{
    LIFE_GRID grid{};
    for (auto [x, y] : live)
        at(grid, (x + dx + LIFE_W) % LIFE_W, (y + dy + LIFE_H) % LIFE_H) = 1;
    return grid;
}

// Put cells into a grid, offset by (dx, dy) and wrapped
void add_cells(LIFE_GRID &grid, std::initializer_list<std::pair<int, int>> live, int dx, int dy)
{
    for (auto [x, y] : live)
        at(grid, (x + dx + LIFE_W) % LIFE_W, (y + dy + LIFE_H) % LIFE_H) = 1;
}

bool is_empty(const LIFE_GRID &grid)
{
    return grid == LIFE_GRID{};
}

LIFE_RULE_LIST rule_list(std::initializer_list<int32_t> counts)
{
    LIFE_RULE_LIST list;
    list.fill(-1);
    std::copy(counts.begin(), counts.end(), list.begin());
    return list;
}

// The engine's grid replaced by grid, at step counter steps
void load(const LIFE_GRID &grid, uint32_t steps = 0)
{
    write_grid(grid);
    life_set_step_count(steps);
}

// The watch called as the overlay calls it, once a tick, until it knows (or gives up)
WATCH_RESULT watch_until_known()
{
    watch_update(WATCH_TICK_BUDGET);
    for (int call = 1; call < CALLS_TO_LIMIT && watch_result().kind == WATCH_SEARCHING; call++)
        watch_update(WATCH_TICK_BUDGET);
    return watch_result();
}

// The answer checked by stepping the grid of generation `from` onward, by the engine (which is
// left at the end of the check) or by the reference rule on a copy:
// - generation g's grid comes back after exactly p generations, and not before;
// - generation g - 1 (when g is past the start) does not come back after p generations, so g is
//   the first generation of the cycle;
// - a dead grid is empty, a still one is not, an oscillation's period is 2 or more.
void confirm(const WATCH_RESULT &answer, uint32_t from, STEPPER stepper)
{
    ASSERT_NE(answer.kind, WATCH_SEARCHING);
    ASSERT_NE(answer.kind, WATCH_UNKNOWN);
    ASSERT_GE(answer.period, 1u);
    ASSERT_EQ(life_step_count(), from);
    LIFE_GRID grid = read_grid();
    auto advance = [&] {
        if (stepper == BY_ENGINE) {
            life_step_cells();
            grid = read_grid();
        } else {
            grid = reference_step(grid);
        }
    };
    uint32_t leading = answer.generation - from;
    LIFE_GRID before{};
    for (uint32_t i = 0; i < leading; i++) {
        before = grid;
        advance();
    }
    const LIFE_GRID first = grid;
    LIFE_GRID last_before_return{};
    for (uint32_t q = 1; q <= answer.period; q++) {
        last_before_return = grid;
        advance();
        if (q < answer.period) {
            ASSERT_NE(grid, first) << "generation " << answer.generation << " repeats after " << q;
        }
    }
    EXPECT_EQ(grid, first) << "generation " << answer.generation << " does not repeat after " << answer.period;
    if (leading > 0) {
        EXPECT_NE(last_before_return, before) << "generation " << answer.generation - 1 << " is in the cycle already";
    }
    switch (answer.kind) {
    case WATCH_DIES_OUT:
        EXPECT_EQ(answer.period, 1u);
        EXPECT_TRUE(is_empty(first));
        break;
    case WATCH_STILL_LIFE:
        EXPECT_EQ(answer.period, 1u);
        EXPECT_FALSE(is_empty(first));
        break;
    default:
        EXPECT_GE(answer.period, 2u);
        break;
    }
}

std::string text_line(int line)
{
    char lines[2][WATCH_TEXT_SIZE];
    watch_text(lines);
    return lines[line];
}

int text_lines()
{
    char lines[2][WATCH_TEXT_SIZE];
    return watch_text(lines);
}

// Patterns, their cells relative to their top left corner
constexpr std::initializer_list<std::pair<int, int>> BLOCK = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
constexpr std::initializer_list<std::pair<int, int>> BLINKER = {{0, 0}, {1, 0}, {2, 0}};
constexpr std::initializer_list<std::pair<int, int>> GLIDER = {{1, 0}, {2, 1}, {0, 2}, {1, 2}, {2, 2}};
// The lightweight spaceship, moving left two cells every 4 generations
constexpr std::initializer_list<std::pair<int, int>> LWSS = {{1, 0}, {4, 0}, {0, 1}, {0, 2}, {4, 2},
                                                            {0, 3}, {1, 3}, {2, 3}, {3, 3}};
// The pentadecathlon in one of its phases, period 15
constexpr std::initializer_list<std::pair<int, int>> PENTADECATHLON = {
    {2, 0}, {7, 0}, {0, 1}, {1, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {8, 1}, {9, 1}, {2, 2}, {7, 2}};
// Ten cells in a row, which become a pentadecathlon after a few generations
constexpr std::initializer_list<std::pair<int, int>> ROW_OF_TEN = {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0},
                                                                  {5, 0}, {6, 0}, {7, 0}, {8, 0}, {9, 0}};

class Watch : public ::testing::Test {
protected:
    void SetUp() override
    {
        border_mode = LIFE_BORDER_WRAP;
        fill_percent = 50;
        life_init();
        life_reset_random(0);
        watch_reset();
    }
};

}  // namespace

//----------------------------------------------------------------------------------
// Known patterns
//----------------------------------------------------------------------------------
TEST_F(Watch, ALoneCellDiesOutAtGenerationOne)
{
    load(grid_of({{20, 12}}));
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_DIES_OUT);
    EXPECT_EQ(answer.generation, 1u);
    EXPECT_EQ(answer.period, 1u);
    EXPECT_EQ(text_lines(), 1);
    EXPECT_EQ(text_line(0), "dies out at generation 1");
    confirm(answer, 0, BY_REFERENCE);
    confirm(answer, 0, BY_ENGINE);
}

TEST_F(Watch, AnEmptyGridIsDeadFromTheStart)
{
    load(LIFE_GRID{}, 12);
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_DIES_OUT);
    EXPECT_EQ(answer.generation, 12u);
    confirm(answer, 12, BY_ENGINE);
}

TEST_F(Watch, ABlockIsAStillLifeFromGenerationZero)
{
    load(grid_of(BLOCK, 30, 7));
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_STILL_LIFE);
    EXPECT_EQ(answer.generation, 0u);
    EXPECT_EQ(answer.period, 1u);
    EXPECT_EQ(text_lines(), 1);
    EXPECT_EQ(text_line(0), "still life from generation 0");
    confirm(answer, 0, BY_REFERENCE);
    confirm(answer, 0, BY_ENGINE);
}

TEST_F(Watch, ABlinkerOscillatesWithPeriodTwo)
{
    load(grid_of(BLINKER, 5, 5));
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_OSCILLATES);
    EXPECT_EQ(answer.generation, 0u);
    EXPECT_EQ(answer.period, 2u);
    EXPECT_EQ(text_lines(), 2);
    EXPECT_EQ(text_line(0), "oscillates with period 2");
    EXPECT_EQ(text_line(1), "from generation 0");
    confirm(answer, 0, BY_REFERENCE);
    confirm(answer, 0, BY_ENGINE);
}

// The glider moves one cell diagonally every 4 generations and is back after lcm(48, 30) = 240
// such moves
TEST_F(Watch, AGliderOnTheTorusHasPeriod960)
{
    load(grid_of(GLIDER, 10, 5));
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_OSCILLATES);
    EXPECT_EQ(answer.generation, 0u);
    EXPECT_EQ(answer.period, 960u);
    EXPECT_EQ(text_line(0), "oscillates with period 960");
    confirm(answer, 0, BY_REFERENCE);
    confirm(answer, 0, BY_ENGINE);
    EXPECT_EQ(life_step_count(), 960u);
}

// A spaceship crossing the torus every 96 generations (two cells per 4 generations over 48
// columns) in rows of its own, beside a pentadecathlon of period 15: lcm(96, 15) = 480
TEST_F(Watch, ASpaceshipBesideAPentadecathlonHasPeriod480)
{
    LIFE_GRID grid = grid_of(LWSS, 20, 2);
    add_cells(grid, PENTADECATHLON, 18, 18);
    load(grid);
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_OSCILLATES);
    EXPECT_EQ(answer.generation, 0u);
    EXPECT_EQ(answer.period, 480u);
    EXPECT_GT(answer.period, 100u);
    confirm(answer, 0, BY_REFERENCE);
    confirm(answer, 0, BY_ENGINE);
}

// Ten cells in a row pass through a few shapes before they oscillate as a pentadecathlon
TEST_F(Watch, ARowOfTenSettlesIntoAPentadecathlon)
{
    load(grid_of(ROW_OF_TEN, 19, 14), 100);
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_OSCILLATES);
    EXPECT_EQ(answer.period, 15u);
    EXPECT_GT(answer.generation, 100u);
    EXPECT_EQ(text_line(1), "from generation " + std::to_string(answer.generation));
    confirm(answer, 100, BY_REFERENCE);
    confirm(answer, 100, BY_ENGINE);
}

// The same glider at a dead border flies into the edge and leaves debris (or nothing)
TEST_F(Watch, AGliderAtADeadBorderEndsInATransient)
{
    border_mode = LIFE_BORDER_DEAD;
    load(grid_of(GLIDER, 10, 5));
    WATCH_RESULT answer = watch_until_known();
    EXPECT_NE(answer.kind, WATCH_OSCILLATES);
    EXPECT_GT(answer.generation, 0u);
    confirm(answer, 0, BY_REFERENCE);
}

//----------------------------------------------------------------------------------
// Random grids, rules and borders
//----------------------------------------------------------------------------------
// Soups under rules that settle and under every border: every answer is confirmed, and most
// soups settle within the look-ahead
TEST_F(Watch, RandomGridsUnderManyRulesAndBordersAreConfirmed)
{
    const std::pair<LIFE_RULE_LIST, LIFE_RULE_LIST> RULES[] = {
        {rule_list({3}), rule_list({2, 3})},                      // Life
        {rule_list({3, 6}), rule_list({2, 3})},                   // HighLife
        {rule_list({3, 6, 8}), rule_list({2, 4, 5})},             // Morley
        {rule_list({3, 5, 6, 7, 8}), rule_list({5, 6, 7, 8})},    // Diamoeba
        {rule_list({3, 6}), rule_list({1, 2, 5})},                // 2x2
        {rule_list({0}), rule_list({})},                          // everything flips
    };
    constexpr int32_t BORDERS[] = {LIFE_BORDER_WRAP, LIFE_BORDER_DEAD, LIFE_BORDER_LIVE};
    int answered = 0;
    int soups = 0;
    unsigned seed = 1;
    for (const auto &[birth, survive] : RULES) {
        for (int32_t border : BORDERS) {
            rules_birth = birth;
            rules_survive = survive;
            border_mode = border;
            std::srand(seed++);
            life_reset_random(35);
            life_set_step_count(seed * 1000);
            uint32_t from = life_step_count();
            WATCH_RESULT answer = watch_until_known();
            soups++;
            if (answer.kind == WATCH_UNKNOWN)
                continue;
            answered++;
            SCOPED_TRACE("seed " + std::to_string(seed - 1) + ", border " + std::to_string(border));
            confirm(answer, from, BY_ENGINE);
        }
    }
    EXPECT_GE(answered, soups * 3 / 4);
}

// A rule under which a soup keeps churning: Seeds (B2/S). Whatever the watch says is confirmed;
// when it gives up, it reports nothing and stops looking ahead
TEST_F(Watch, AChurningSoupIsConfirmedOrGivesUpQuietly)
{
    rules_birth = rule_list({2});
    rules_survive = rule_list({});
    std::srand(7);
    life_reset_random(20);
    WATCH_RESULT answer = watch_until_known();
    if (answer.kind == WATCH_UNKNOWN) {
        EXPECT_EQ(text_lines(), 0);
        EXPECT_EQ(text_line(0), "");
        EXPECT_EQ(watch_update(WATCH_TICK_BUDGET), 0);
    } else {
        confirm(answer, 0, BY_ENGINE);
    }
}

//----------------------------------------------------------------------------------
// Following the engine
//----------------------------------------------------------------------------------
TEST_F(Watch, NothingIsKnownBeforeTheFirstUpdateOrWhileLookingAhead)
{
    EXPECT_EQ(watch_result().kind, WATCH_SEARCHING);
    EXPECT_EQ(text_lines(), 0);
    load(grid_of(GLIDER, 10, 5));
    EXPECT_EQ(watch_update(100), 100);
    EXPECT_EQ(watch_result().kind, WATCH_SEARCHING);
    EXPECT_EQ(watch_result().period, 0u);
    EXPECT_EQ(text_lines(), 0);
}

// The look-ahead stays within its budget per call and goes on where it stopped
TEST_F(Watch, EachUpdateLooksAheadAtMostItsBudget)
{
    load(grid_of(GLIDER, 10, 5));
    int total = 0;
    int calls = 0;
    while (watch_result().kind == WATCH_SEARCHING && calls < 1000) {
        int done = watch_update(7);
        EXPECT_LE(done, 7);
        EXPECT_GE(done, 1);
        total += done;
        calls++;
    }
    EXPECT_EQ(watch_result().period, 960u);
    EXPECT_EQ(total, 960);
    EXPECT_EQ(watch_start(), 0u);
    EXPECT_EQ(watch_update(7), 0);
}

// The toy running: one generation a tick, the watch called every tick with a small budget, so
// the engine is ahead of the look-ahead's start all the while; the watch never starts again
TEST_F(Watch, FollowsARunningToyWithoutStartingAgain)
{
    load(grid_of(ROW_OF_TEN, 19, 14), 40);
    LIFE_GRID start = read_grid();
    for (int tick = 0; tick < 400; tick++) {
        watch_update(3);
        EXPECT_EQ(watch_start(), 40u) << "tick " << tick;
        life_step_cells();
    }
    WATCH_RESULT answer = watch_result();
    ASSERT_EQ(answer.kind, WATCH_OSCILLATES);
    EXPECT_EQ(answer.period, 15u);
    load(start, 40);
    confirm(answer, 40, BY_REFERENCE);
}

// Once the cycle is known, any later generation of it is recognised, however far the engine runs
TEST_F(Watch, AKnownCycleIsRecognisedFarAhead)
{
    load(grid_of(GLIDER, 10, 5), 5);
    WATCH_RESULT answer = watch_until_known();
    ASSERT_EQ(answer.period, 960u);
    for (int i = 0; i < 2500; i++)
        life_step_cells();
    watch_update(WATCH_TICK_BUDGET);
    EXPECT_EQ(watch_start(), 5u);
    EXPECT_EQ(watch_result().period, 960u);
    EXPECT_EQ(watch_result().generation, 5u);
}

// A grid seen at a counter the look-ahead did not foresee for it is a new start
TEST_F(Watch, ANewStepCounterStartsAgain)
{
    load(grid_of(ROW_OF_TEN, 19, 14));
    uint32_t settled = watch_until_known().generation;
    ASSERT_GT(settled, 1u);
    // The same grid at another counter
    life_set_step_count(500);
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(watch_start(), 500u);
    EXPECT_EQ(answer.generation, 500 + settled);
    // The next grid at the first grid's counter
    load(grid_of(ROW_OF_TEN, 19, 14));
    watch_until_known();
    life_step_cells();
    life_set_step_count(0);
    answer = watch_until_known();
    EXPECT_EQ(watch_start(), 0u);
    EXPECT_EQ(answer.generation, settled - 1);
    EXPECT_EQ(answer.period, 15u);
    confirm(answer, 0, BY_REFERENCE);
}

TEST_F(Watch, AnEditStartsAgain)
{
    load(grid_of(BLOCK, 30, 7));
    ASSERT_EQ(watch_until_known().kind, WATCH_STILL_LIFE);
    life_step_cells();
    life_step_cells();
    life_set_cell(10, 10, 1);
    uint32_t from = life_step_count();
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(watch_start(), 2u);
    EXPECT_EQ(answer.kind, WATCH_STILL_LIFE);
    EXPECT_EQ(answer.generation, 3u);  // the lone cell is gone one generation later
    confirm(answer, from, BY_ENGINE);
}

TEST_F(Watch, ANewRuleStartsAgain)
{
    load(grid_of(BLOCK, 30, 7), 50);
    ASSERT_EQ(watch_until_known().kind, WATCH_STILL_LIFE);
    // Under B3/S2 every cell of a block has three neighbours and dies
    rules_survive = rule_list({2});
    WATCH_RESULT answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_DIES_OUT);
    EXPECT_EQ(answer.generation, 51u);
    confirm(answer, 50, BY_REFERENCE);
    // A rule set by a rule string restarts the same way
    load(grid_of(BLOCK, 30, 7), 50);
    watch_until_known();
    testing::internal::CaptureStdout();
    life_parse_rule("b3s23");
    testing::internal::GetCapturedStdout();
    answer = watch_until_known();
    EXPECT_EQ(answer.kind, WATCH_STILL_LIFE);
    EXPECT_EQ(answer.generation, 50u);
}

TEST_F(Watch, ANewBorderStartsAgain)
{
    load(grid_of(GLIDER, 10, 5));
    ASSERT_EQ(watch_until_known().period, 960u);
    for (int32_t border : {LIFE_BORDER_DEAD, LIFE_BORDER_LIVE, LIFE_BORDER_WRAP}) {
        border_mode = border;
        load(grid_of(GLIDER, 10, 5));
        WATCH_RESULT answer = watch_until_known();
        SCOPED_TRACE("border " + std::to_string(border));
        if (border == LIFE_BORDER_WRAP) {
            EXPECT_EQ(answer.period, 960u);
        } else {
            EXPECT_NE(answer.period, 960u);
        }
        confirm(answer, 0, BY_ENGINE);
    }
}

TEST_F(Watch, AResetForgetsTheAnswer)
{
    load(grid_of(BLINKER, 5, 5));
    ASSERT_EQ(watch_until_known().kind, WATCH_OSCILLATES);
    watch_reset();
    EXPECT_EQ(watch_result().kind, WATCH_SEARCHING);
    EXPECT_EQ(text_lines(), 0);
    EXPECT_EQ(watch_until_known().kind, WATCH_OSCILLATES);
}

// The watch only reads the engine: its grid (stored bytes included), counter, rule and border
// are the same after the watch has looked far ahead
TEST_F(Watch, TheEngineIsLeftUntouched)
{
    std::srand(3);
    life_reset_random(40);
    life_set_cell(0, 0, 0x80);
    life_set_cell(3, 3, 2);
    life_set_step_count(1234);
    rules_birth = rule_list({3, 6});
    border_mode = LIFE_BORDER_LIVE;
    LIFE_GRID grid = read_grid();
    LIFE_RULE_LIST birth = rules_birth;
    LIFE_RULE_LIST survive = rules_survive;
    for (int call = 0; call < CALLS_TO_LIMIT; call++)
        watch_update(WATCH_TICK_BUDGET);
    EXPECT_NE(watch_result().kind, WATCH_SEARCHING);
    EXPECT_EQ(read_grid(), grid);
    EXPECT_EQ(life_step_count(), 1234u);
    EXPECT_EQ(rules_birth, birth);
    EXPECT_EQ(rules_survive, survive);
    EXPECT_EQ(border_mode, LIFE_BORDER_LIVE);
    EXPECT_EQ(fill_percent, 50);
}

//----------------------------------------------------------------------------------
// Text
//----------------------------------------------------------------------------------
// The longest numbers still fit 40 characters a line, in characters the toy's font has
TEST_F(Watch, TheTextFitsFortyCharactersAtTheLargestNumbers)
{
    load(grid_of(GLIDER, 10, 5), 0xFFFFFFFFu - 100);
    WATCH_RESULT answer = watch_until_known();
    ASSERT_EQ(answer.period, 960u);
    EXPECT_EQ(answer.generation, 0xFFFFFFFFu - 100);
    EXPECT_EQ(text_line(1), "from generation 4294967195");
    for (int line = 0; line < 2; line++)
        for (char c : text_line(line))
            EXPECT_TRUE((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == ' ') << c;
    load(grid_of(BLOCK, 3, 3), 0xFFFFFFFFu);
    watch_until_known();
    EXPECT_EQ(text_line(0), "still life from generation 4294967295");
    load(grid_of({{9, 9}}), 0xFFFFFFFFu);
    watch_until_known();
    EXPECT_EQ(text_line(0), "dies out at generation 0");  // the counter wraps as the engine's does
}

//----------------------------------------------------------------------------------
// The look-ahead's step
//----------------------------------------------------------------------------------
// The packed generation the watch steps with equals the cell-by-cell rule for random grids,
// rules and borders, and leaves the engine's grid and counter alone
TEST_F(Watch, ThePackedStepMatchesTheCellByCellRule)
{
    constexpr int32_t BORDERS[] = {LIFE_BORDER_WRAP, LIFE_BORDER_DEAD, LIFE_BORDER_LIVE, 5};
    std::srand(11);
    LIFE_GRID engine = read_grid();
    for (int round = 0; round < 400; round++) {
        LIFE_GRID grid{};
        int percent = std::rand() % 101;
        for (uint8_t &cell : grid)
            cell = std::rand() % 100 < percent ? 1 : 0;
        LIFE_RULE_LIST birth = rule_list({});
        LIFE_RULE_LIST survive = rule_list({});
        for (int i = 0; i < LIFE_RULE_ENTRIES; i++) {
            birth[i] = std::rand() % 3 == 0 ? std::rand() % 9 : -1;
            survive[i] = std::rand() % 3 == 0 ? std::rand() % 9 : -1;
        }
        int32_t border = BORDERS[round % 4];
        LIFE_COLUMNS now{};
        for (int x = 0; x < LIFE_W; x++)
            for (int y = 0; y < LIFE_H; y++)
                now[x] |= static_cast<uint32_t>(at(grid, x, y)) << y;
        LIFE_COLUMNS next;
        life_next_columns(now, next, birth, survive, border);
        rules_birth = birth;
        rules_survive = survive;
        border_mode = border;
        LIFE_GRID expected = reference_step(grid);
        for (int x = 0; x < LIFE_W; x++)
            for (int y = 0; y < LIFE_H; y++)
                ASSERT_EQ(next[x] >> y & 1, at(expected, x, y)) << "round " << round << " at " << x << ", " << y;
        for (uint32_t column : next)
            ASSERT_EQ(column >> LIFE_H, 0u);
    }
    EXPECT_EQ(read_grid(), engine);
    EXPECT_EQ(life_step_count(), 0u);
}
