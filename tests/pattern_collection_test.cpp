// The pattern collection (patterns/): every file parses, names itself (#N), says something about
// itself (#C), names its rule, fits the grid, and behaves on the Life engine as its name says:
// each spaceship moves by its distance in its period, each oscillator and still life has exactly
// its period, the gun keeps its shape while firing a glider every 30 generations, the diehard
// vanishes after 130 generations, the methuselahs stay busy for hundreds of generations, and the
// replicator copies itself. The toy's default wrap border is used unless a file names a border.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "files.h"
#include "life.h"
#include "life_reference.h"
#include "pattern.h"

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
const std::string COLLECTION = "patterns/";

// A pattern from the collection; the test fails when it does not parse
PATTERN load(const std::string &name)
{
    PATTERN p{};
    PATTERN_ERROR e{};
    EXPECT_EQ(pattern_read_file((COLLECTION + name).c_str(), &p, &e), 1) << pattern_error_line(name.c_str(), e);
    return p;
}

// The engine set up with the pattern: its rule, its border (wrap when it names none), its cells
void start(const PATTERN &p)
{
    std::string rule = "b";
    for (int n = 0; n < PATTERN_COUNTS; n++)
        if (p.rule.birth[n])
            rule += static_cast<char>('0' + n);
    rule += 's';
    for (int n = 0; n < PATTERN_COUNTS; n++)
        if (p.rule.survive[n])
            rule += static_cast<char>('0' + n);
    rule += p.border == PATTERN_BORDER_DEAD ? 'd' : p.border == PATTERN_BORDER_LIVE ? 'l' : 'w';
    life_init();
    life_parse_rule(rule.c_str());
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            life_set_cell(x, y, p.cells[x][y]);
    life_set_step_count(0);
}

void run(int generations)
{
    for (int i = 0; i < generations; i++)
        life_step_cells();
}

int population(const LIFE_GRID &g)
{
    return static_cast<int>(std::count(g.begin(), g.end(), 1));
}

// The grid moved by (dx, dy) on the torus
LIFE_GRID shifted(const LIFE_GRID &g, int dx, int dy)
{
    LIFE_GRID s{};
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            at(s, (x + dx + LIFE_W) % LIFE_W, (y + dy + LIFE_H) % LIFE_H) = g[static_cast<size_t>(x * LIFE_H + y)];
    return s;
}

// The generations until the grid first comes back, up to `most`; 0 if it does not
int period(int most)
{
    LIFE_GRID first = read_grid();
    for (int p = 1; p <= most; p++) {
        life_step_cells();
        if (read_grid() == first)
            return p;
    }
    return 0;
}

//----------------------------------------------------------------------------------
// Tests
//----------------------------------------------------------------------------------
TEST(PatternCollection, HoldsAtLeastTwentyClassicsEachNamedDescribedWithARuleThatFit)
{
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(COLLECTION))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_GE(names.size(), 20u);
    for (const std::string &name : names) {
        EXPECT_EQ(name.substr(name.size() - 4), ".rle") << name;
        std::string text = files_read(COLLECTION + name);
        EXPECT_EQ(text.rfind("#N ", 0), 0u) << name << ": the name comes first";
        EXPECT_NE(text.find("\n#C "), std::string::npos) << name;
        PATTERN p = load(name);
        EXPECT_EQ(p.format, PATTERN_FORMAT_RLE) << name;
        EXPECT_EQ(p.has_rule, 1) << name;
        EXPECT_NE(p.name[0], '\0') << name;
        EXPECT_LE(p.w, LIFE_W) << name;
        EXPECT_LE(p.h, LIFE_H) << name;
        for (const std::string &line : files_lines(text))
            EXPECT_LE(line.size(), static_cast<size_t>(PATTERN_LINE_MAX)) << name << ": " << line;
    }
}

TEST(PatternCollection, SpaceshipsMoveTheirDistanceInTheirPeriod)
{
    struct SHIP {
        const char *file;
        int period, dx, dy;
    };
    const SHIP ships[] = {{"glider.rle", 4, 1, 1}, {"lwss.rle", 4, -2, 0}, {"mwss.rle", 4, -2, 0}, {"hwss.rle", 4, -2, 0}};
    for (const SHIP &s : ships) {
        start(load(s.file));
        LIFE_GRID first = read_grid();
        for (int lap = 1; lap <= 12; lap++) {
            run(s.period);
            EXPECT_EQ(read_grid(), shifted(first, lap * s.dx, lap * s.dy)) << s.file << " after " << lap * s.period;
        }
        // Not sooner: no generation in between is the ship moved or still
        start(load(s.file));
        for (int g = 1; g < s.period; g++) {
            run(1);
            EXPECT_NE(read_grid(), first) << s.file;
        }
    }
}

TEST(PatternCollection, OscillatorsAndStillLifesHaveTheirPeriod)
{
    struct OSCILLATOR {
        const char *file;
        int period;
    };
    const OSCILLATOR oscillators[] = {
        {"block.rle", 1},   {"beehive.rle", 1},  {"loaf.rle", 1},      {"boat.rle", 1},       {"blinker.rle", 2},
        {"toad.rle", 2},    {"beacon.rle", 2},   {"clock.rle", 2},     {"pulsar.rle", 3},     {"octagon2.rle", 5},
        {"figure8.rle", 8}, {"galaxy.rle", 8},   {"pentadecathlon.rle", 15}, {"queenbee.rle", 30},
    };
    for (const OSCILLATOR &o : oscillators) {
        start(load(o.file));
        EXPECT_EQ(period(60), o.period) << o.file;
        EXPECT_EQ(period(60), o.period) << o.file << ", a second time round";
    }
}

TEST(PatternCollection, TheGunFiresAGliderEveryThirtyGenerations)
{
    PATTERN p = load("gosper_gun.rle");
    EXPECT_EQ(p.top_left, 1);
    EXPECT_EQ(p.border, PATTERN_BORDER_DEAD);
    start(p);
    LIFE_GRID first = read_grid();
    auto gun_part = [](const LIFE_GRID &g) {
        std::vector<uint8_t> part;
        for (int x = 0; x < 36; x++)
            for (int y = 0; y < 9; y++)
                part.push_back(g[static_cast<size_t>(x * LIFE_H + y)]);
        return part;
    };
    EXPECT_EQ(population(first), 36);
    for (int shot = 1; shot <= 3; shot++) {
        run(30);
        LIFE_GRID now = read_grid();
        EXPECT_EQ(gun_part(now), gun_part(first)) << "the gun is back in its shape after " << 30 * shot;
        EXPECT_EQ(population(now), 36 + 5 * shot) << "one more glider of five cells after " << 30 * shot;
    }
    // The newest glider flies: four generations later it is one cell further down to the right
    LIFE_GRID before = read_grid();
    run(4);
    LIFE_GRID after = read_grid();
    int moved = 0;
    for (int x = 36; x < LIFE_W - 1; x++)
        for (int y = 9; y < LIFE_H - 1; y++)
            moved += before[static_cast<size_t>(x * LIFE_H + y)] && after[static_cast<size_t>((x + 1) * LIFE_H + y + 1)];
    EXPECT_GE(moved, 5);
}

TEST(PatternCollection, TheDiehardVanishesAfterExactly130Generations)
{
    start(load("diehard.rle"));
    run(129);
    EXPECT_GT(population(read_grid()), 0);
    run(1);
    EXPECT_EQ(population(read_grid()), 0);
}

TEST(PatternCollection, MethuselahsStayBusyForHundredsOfGenerations)
{
    for (const char *file : {"r_pentomino.rle", "acorn.rle", "b_heptomino.rle", "pi_heptomino.rle"}) {
        PATTERN p = load(file);
        start(p);
        int cells = population(read_grid());
        EXPECT_LE(cells, 7) << file;
        // No grid of the first 150 generations comes back (nothing settles), and the pattern
        // grows to many times its size
        std::set<LIFE_GRID> seen = {read_grid()};
        int most = cells;
        for (int g = 1; g <= 150; g++) {
            run(1);
            LIFE_GRID now = read_grid();
            EXPECT_TRUE(seen.insert(now).second) << file << " repeats at " << g;
            most = std::max(most, population(now));
        }
        EXPECT_GE(most, 5 * cells) << file;
    }
}

TEST(PatternCollection, TheReplicatorCopiesItselfInHighLife)
{
    PATTERN p = load("replicator.rle");
    EXPECT_EQ(pattern_rule_text(p.rule), "B36/S23");
    start(p);
    LIFE_GRID first = read_grid();
    run(12);
    LIFE_GRID two{};
    LIFE_GRID a = shifted(first, -2, -2), b = shifted(first, 2, 2);
    for (size_t i = 0; i < two.size(); i++)
        two[i] = a[i] | b[i];
    EXPECT_EQ(read_grid(), two);
}

}  // namespace
