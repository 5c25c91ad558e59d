// Tests of the pattern module: files as the Life community writes them (tests/data/patterns),
// each read to the exact cells, place, rule and border; the refused ones each with the line and
// column or the size it names; the files that are not patterns at all (missing, a folder, empty,
// binary, too long); rules in every notation; and writing: the header, the line length, and a
// read of what was written giving back the same grid, rule and border for random grids under
// random rules and every border.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <random>
#include <string>
#include <utility>

#include <unistd.h>

#include "pattern.h"
#include "process.h"

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
using GRID = std::array<std::array<uint8_t, LIFE_H>, LIFE_W>;

const std::string DATA = "tests/data/patterns/";

// A grid holding only the given cells
GRID grid_of(std::initializer_list<std::pair<int, int>> live)
{
    GRID g{};
    for (auto [x, y] : live)
        g[x][y] = 1;
    return g;
}

// The grid's live cells as "(x,y) ..." for readable failures
std::string cells_text(const GRID &g)
{
    std::string text;
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            if (g[x][y])
                text += "(" + std::to_string(x) + "," + std::to_string(y) + ")";
    return text;
}

PATTERN read_ok(const std::string &name)
{
    PATTERN p{};
    PATTERN_ERROR e{};
    EXPECT_EQ(pattern_read_file((DATA + name).c_str(), &p, &e), 1) << pattern_error_line(name.c_str(), e);
    return p;
}

std::string read_refused(const std::string &path)
{
    PATTERN p{};
    PATTERN_ERROR e{};
    EXPECT_EQ(pattern_read_file(path.c_str(), &p, &e), -1) << path;
    EXPECT_EQ(cells_text(p.cells), "") << "a refused pattern leaves nothing";
    return pattern_error_line(path.c_str(), e);
}

PATTERN read_text(const std::string &text)
{
    PATTERN p{};
    PATTERN_ERROR e{};
    EXPECT_EQ(pattern_read(text.data(), text.size(), &p, &e), 1) << pattern_error_line("text", e);
    return p;
}

std::string refused_text(const std::string &text)
{
    PATTERN p{};
    PATTERN_ERROR e{};
    EXPECT_EQ(pattern_read(text.data(), text.size(), &p, &e), -1) << text;
    return pattern_error_line("text", e);
}

PATTERN_RULE rule_of(std::initializer_list<int> birth, std::initializer_list<int> survive)
{
    PATTERN_RULE r{};
    for (int n : birth)
        r.birth[n] = 1;
    for (int n : survive)
        r.survive[n] = 1;
    return r;
}

bool same_rule(const PATTERN_RULE &a, const PATTERN_RULE &b)
{
    return a.birth == b.birth && a.survive == b.survive;
}

const PATTERN_RULE CONWAY = rule_of({3}, {2, 3});

//----------------------------------------------------------------------------------
// Files as the community writes them
//----------------------------------------------------------------------------------
TEST(PatternRead, RleWithCommentsAndCrLfIsCentredWithItsNameAndRule)
{
    PATTERN p = read_ok("comments_crlf.rle");
    EXPECT_EQ(p.format, PATTERN_FORMAT_RLE);
    EXPECT_STREQ(p.name.data(), "Glider");
    EXPECT_EQ(p.w, 3);
    EXPECT_EQ(p.h, 3);
    EXPECT_EQ(p.x, 22);  // (48 - 3) / 2
    EXPECT_EQ(p.y, 13);  // (30 - 3) / 2
    EXPECT_EQ(p.top_left, 0);
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{23, 13}, {24, 14}, {22, 15}, {23, 15}, {24, 15}})));
    EXPECT_EQ(p.has_rule, 1);
    EXPECT_TRUE(same_rule(p.rule, CONWAY));
    EXPECT_EQ(p.border, PATTERN_BORDER_NONE);
}

TEST(PatternRead, OneLongLineWithBlanksBetweenEveryRunFillsTheWholeGrid)
{
    PATTERN p = read_ok("long_line.rle");
    GRID want{};
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            want[x][y] = (x + y) % 3 == 0;
    EXPECT_EQ(p.cells, want);
    EXPECT_EQ(p.border, PATTERN_BORDER_WRAP);
    EXPECT_EQ(p.top_left, 1);
}

TEST(PatternRead, MultiDigitCountsAndCountsOnRowEnds)
{
    PATTERN p = read_ok("multi_digit.rle");
    EXPECT_EQ(p.x, 4);
    EXPECT_EQ(p.y, 13);
    GRID want{};
    for (int x = 0; x < 40; x++)
        want[4 + x][13] = 1;
    for (int x = 12; x < 28; x++)
        want[4 + x][14] = 1;
    want[4 + 39][15] = 1;
    EXPECT_EQ(cells_text(p.cells), cells_text(want));
    EXPECT_EQ(p.has_rule, 0);

    PATTERN rows = read_ok("counts_on_rows.rle");
    EXPECT_EQ(rows.h, 12);
    EXPECT_EQ(cells_text(rows.cells), cells_text(grid_of({{23, 9}, {24, 20}})));
}

TEST(PatternRead, TextAfterTheEndIsIgnored)
{
    PATTERN p = read_ok("text_after_end.rle");
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{22, 14}, {23, 14}, {24, 14}})));
}

TEST(PatternRead, RulesInTheOlderSlashNotationAndInLowerCase)
{
    EXPECT_TRUE(same_rule(read_ok("sb_rule.rle").rule, rule_of({3, 6}, {2, 3})));
    PATTERN p = read_ok("lower_bs.rle");
    EXPECT_TRUE(same_rule(p.rule, rule_of({3, 6}, {2, 3})));
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{23, 14}, {24, 14}, {23, 15}, {24, 15}})));
}

TEST(PatternRead, TheGridsOwnSuffixesPlaceFromTheTopLeftWithTheirBorder)
{
    PATTERN torus = read_ok("torus_grid.rle");
    EXPECT_EQ(torus.border, PATTERN_BORDER_WRAP);
    EXPECT_EQ(torus.top_left, 1);
    EXPECT_EQ(cells_text(torus.cells), cells_text(grid_of({{10, 3}, {11, 4}, {9, 5}, {10, 5}, {11, 5}})));

    PATTERN plane = read_ok("plane_grid.rle");
    EXPECT_EQ(plane.border, PATTERN_BORDER_DEAD);
    EXPECT_TRUE(same_rule(plane.rule, rule_of({3, 6}, {2, 3})));
    EXPECT_EQ(cells_text(plane.cells), cells_text(grid_of({{0, 0}, {47, 0}, {0, 29}, {47, 29}})));
}

TEST(PatternRead, OtherSizesInTheSuffixGiveTheTopologyAloneAndAreCentred)
{
    PATTERN torus = read_ok("torus_other.rle");
    EXPECT_EQ(torus.border, PATTERN_BORDER_WRAP);
    EXPECT_EQ(torus.top_left, 0);
    EXPECT_EQ(torus.x, 22);
    PATTERN plane = read_ok("plane_other.rle");
    EXPECT_EQ(plane.border, PATTERN_BORDER_DEAD);
    EXPECT_TRUE(same_rule(plane.rule, rule_of({2}, {})));
    EXPECT_EQ(cells_text(plane.cells), cells_text(grid_of({{22, 14}, {23, 14}, {24, 14}})));
}

TEST(PatternRead, TheToysOwnCommentLineMeansALiveBorder)
{
    PATTERN p = read_ok("live_border.rle");
    EXPECT_EQ(p.border, PATTERN_BORDER_LIVE);
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{23, 15}, {24, 15}, {23, 16}, {24, 16}})));
    // The same line under a torus changes nothing: a live border is a plane's
    PATTERN wrap = read_text("#C lumlife border live\nx = 1, y = 1, rule = B3/S23:T48,30\no!\n");
    EXPECT_EQ(wrap.border, PATTERN_BORDER_WRAP);
}

TEST(PatternRead, DotsAreDeadAndAnyOtherLetterIsAlive)
{
    PATTERN p = read_ok("dots_letters.rle");
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{22, 14}, {24, 14}})));
    EXPECT_EQ(p.w, 5);
}

TEST(PatternRead, RunsWithoutAHeaderAreRle)
{
    PATTERN p = read_ok("no_header.rle");
    EXPECT_EQ(p.format, PATTERN_FORMAT_RLE);
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{23, 13}, {24, 14}, {22, 15}, {23, 15}, {24, 15}})));
}

TEST(PatternRead, PlaintextWithStarsOrOs)
{
    PATTERN star = read_ok("star.cells");
    EXPECT_EQ(star.format, PATTERN_FORMAT_CELLS);
    EXPECT_STREQ(star.name.data(), "Glider");
    EXPECT_EQ(cells_text(star.cells), cells_text(grid_of({{23, 13}, {24, 14}, {22, 15}, {23, 15}, {24, 15}})));
    PATTERN plain = read_ok("plain.cells");
    EXPECT_EQ(plain.w, 4);
    EXPECT_EQ(plain.h, 4);
    EXPECT_EQ(cells_text(plain.cells),
              cells_text(grid_of({{22, 13}, {23, 13}, {22, 14}, {23, 14}, {24, 15}, {25, 15}, {24, 16}, {25, 16}})));
    EXPECT_EQ(plain.has_rule, 0);
}

TEST(PatternRead, Life106WithNegativeCoordinates)
{
    PATTERN p = read_ok("negative.lif");
    EXPECT_EQ(p.format, PATTERN_FORMAT_LIFE106);
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{22, 13}, {23, 13}, {24, 13}, {24, 14}, {23, 15}})));
}

TEST(PatternRead, Life105WithTwoBlocksAndItsRules)
{
    PATTERN p = read_ok("two_blocks.lif");
    EXPECT_EQ(p.format, PATTERN_FORMAT_LIFE105);
    EXPECT_EQ(p.w, 10);
    EXPECT_EQ(p.h, 4);
    EXPECT_EQ(cells_text(p.cells), cells_text(grid_of({{19, 13}, {20, 13}, {21, 13}, {28, 14}, {28, 15}, {28, 16}})));
    EXPECT_EQ(p.has_rule, 1);
    EXPECT_TRUE(same_rule(p.rule, CONWAY));
    PATTERN high = read_ok("sb_rule_105.life");
    EXPECT_TRUE(same_rule(high.rule, rule_of({3, 6}, {2, 3})));
}

TEST(PatternRead, TheFormatIsToldByTheContentNotTheName)
{
    // An RLE file named .cells and a plaintext one named .rle
    std::filesystem::path dir = process_temp_dir("pattern");
    std::ofstream(dir / "glider.cells") << "x = 3, y = 3\nbo$2bo$3o!\n";
    std::ofstream(dir / "glider.rle") << ".O.\n..O\nOOO\n";
    PATTERN a{}, b{};
    PATTERN_ERROR e{};
    ASSERT_EQ(pattern_read_file((dir / "glider.cells").c_str(), &a, &e), 1);
    ASSERT_EQ(pattern_read_file((dir / "glider.rle").c_str(), &b, &e), 1);
    EXPECT_EQ(a.format, PATTERN_FORMAT_RLE);
    EXPECT_EQ(b.format, PATTERN_FORMAT_CELLS);
    EXPECT_EQ(a.cells, b.cells);
    std::filesystem::remove_all(dir);
}

TEST(PatternRead, AnEmptyPatternClearsTheGrid)
{
    PATTERN p = read_text("x = 0, y = 0, rule = B3/S23\n!\n");
    EXPECT_EQ(cells_text(p.cells), "");
    EXPECT_EQ(p.has_rule, 1);
}

TEST(PatternRead, ALargestPatternFillsTheGridExactly)
{
    PATTERN p = read_text("x = 48, y = 30\n" + std::string("48o$") + "28$48o!");
    EXPECT_EQ(p.x, 0);
    EXPECT_EQ(p.y, 0);
    EXPECT_EQ(p.cells[0][0], 1);
    EXPECT_EQ(p.cells[47][29], 1);
    EXPECT_EQ(p.cells[10][10], 0);
}

//----------------------------------------------------------------------------------
// Refusals
//----------------------------------------------------------------------------------
TEST(PatternRefused, TooBigNamesItsSizeAndTheGrids)
{
    EXPECT_EQ(read_refused(DATA + "too_big.rle"),
              DATA + "too_big.rle: the pattern is 49 x 3 cells, larger than the grid's 48 x 30: not opened");
    EXPECT_EQ(read_refused(DATA + "too_big_runs.rle"),
              DATA + "too_big_runs.rle: the pattern is 3 x 32 cells, larger than the grid's 48 x 30: not opened");
    EXPECT_EQ(read_refused(DATA + "too_big.lif"),
              DATA + "too_big.lif: the pattern is 49 x 1 cells, larger than the grid's 48 x 30: not opened");
    EXPECT_NE(refused_text("x = 3, y = 1\n99999999999999999999999o!").find("more than 1000000000 x 1 cells"), std::string::npos);
}

TEST(PatternRefused, MultiStateRulesNameWhatIsNotSupported)
{
    EXPECT_EQ(read_refused(DATA + "generations.rle"),
              DATA + "generations.rle:2:24: a multi-state rule (Generations) is not supported: only two states");
    EXPECT_EQ(read_refused(DATA + "generations_c.rle"),
              DATA + "generations_c.rle:1:27: a multi-state rule (Generations) is not supported: only two states");
}

TEST(PatternRefused, OtherTopologiesAndNonTotalisticRules)
{
    EXPECT_EQ(read_refused(DATA + "klein.rle"),
              DATA + "klein.rle:1:29: the topology ':K' (a Klein bottle) is not supported: only :T (torus) and :P (plane)");
    EXPECT_EQ(read_refused(DATA + "hensel.rle"),
              DATA + "hensel.rle:1:24: a non-totalistic rule (the neighbourhood letters of Hensel's notation) is not supported");
    EXPECT_NE(refused_text("x = 1, y = 1, rule = B3/S23:S48,30\no!").find("':S' (a sphere)"), std::string::npos);
    EXPECT_NE(refused_text("x = 1, y = 1, rule = B3/S23:C48,30\no!").find("':C' (a cross-surface)"), std::string::npos);
    EXPECT_NE(refused_text("x = 1, y = 1, rule = B3/S23:T48+1,30\no!").find("shifted or twisted"), std::string::npos);
    EXPECT_NE(refused_text("x = 1, y = 1, rule = B2/S34H\no!").find("hexagonal"), std::string::npos);
    EXPECT_NE(refused_text("x = 1, y = 1, rule = B3/S23a\no!").find("non-totalistic"), std::string::npos);
    EXPECT_NE(refused_text("x = 1, y = 1, rule = B39/S23\no!").find("1:24: a neighbour count of 9"), std::string::npos);
    EXPECT_NE(refused_text("x = 1, y = 1, rule = LifeHistory\no!").find("not a two-state rule"), std::string::npos);
}

TEST(PatternRefused, ACountWithNoSymbolNamesItsLineAndColumn)
{
    EXPECT_EQ(read_refused(DATA + "count_no_symbol.rle"), DATA + "count_no_symbol.rle:3:1: a run count with no symbol after it");
    EXPECT_EQ(refused_text("x = 3, y = 1\n3o$\n12"), "text:3:1: a run count with no symbol after it");
    EXPECT_EQ(refused_text("x = 3, y = 1\n1 2o!"), "text:2:3: a run count broken by a space");
    EXPECT_EQ(refused_text("x = 3, y = 1\n0o!"), "text:2:1: a run count of 0");
}

TEST(PatternRefused, BadBytesAndMalformedLinesNameTheirPlace)
{
    EXPECT_EQ(read_refused(DATA + "bad_char.rle"), DATA + "bad_char.rle:2:3: '%' in the pattern's runs");
    EXPECT_EQ(read_refused(DATA + "bad_pair.lif"), DATA + "bad_pair.lif:3:3: a cell's y expected after its x");
    EXPECT_EQ(read_refused(DATA + "bad_row.cells"), DATA + "bad_row.cells:3:2: 'X' in a plaintext row: only '.', 'O' and '*'");
    EXPECT_EQ(read_refused(DATA + "binary.rle"), DATA + "binary.rle:2:1: binary data (a zero byte): not a pattern file");
    EXPECT_EQ(refused_text("#Life 1.06\n-"), "text:2:2: the line's end where a cell's x was expected");
    EXPECT_EQ(refused_text("#Life 1.05\n#R \n**"), "text:2:3: an empty rule");
    EXPECT_EQ(refused_text("x = 3\n3o!"), "text:1:1: the header needs both 'x = ' and 'y = '");
    EXPECT_EQ(refused_text("x = 3, y = 1, rule B3/S23\n3o!"), "text:1:20: '=' expected after 'rule' in the header");
    EXPECT_EQ(refused_text("hello, world\n"),
              "text:1:6: not a pattern in a format this toy reads (RLE, plaintext .cells, Life 1.06, Life 1.05)");
}

TEST(PatternRefused, FilesThatAreNoPatternsAtAll)
{
    std::filesystem::path dir = process_temp_dir("pattern");
    const std::string d = dir.string();
    EXPECT_EQ(read_refused(d + "/missing.rle"), d + "/missing.rle: cannot open the file: No such file or directory");
    EXPECT_EQ(read_refused(d), d + ": this is a directory, not a pattern file");
    std::ofstream(dir / "empty.rle").close();
    EXPECT_EQ(read_refused(d + "/empty.rle"), d + "/empty.rle: the file is empty: no pattern in it");
    // Longer than the bound: refused without reading past it
    {
        std::ofstream big(dir / "big.rle");
        big << "x = 1, y = 1\n";
        big << std::string(PATTERN_READ_MAX, ' ') << "o!\n";
    }
    EXPECT_EQ(read_refused(d + "/big.rle"), d + "/big.rle: the file is longer than 1048576 bytes: not a pattern for a 48 x 30 grid");
    // A file of exactly the bound is read
    {
        std::ofstream edge(dir / "edge.rle");
        std::string head = "x = 1, y = 1\n";
        edge << head << std::string(PATTERN_READ_MAX - head.size() - 2, ' ') << "o!";
    }
    PATTERN p{};
    PATTERN_ERROR e{};
    EXPECT_EQ(pattern_read_file((d + "/edge.rle").c_str(), &p, &e), 1) << e.text.data();
    if (getuid() != 0) {
        std::ofstream(dir / "locked.rle") << "o!";
        std::filesystem::permissions(dir / "locked.rle", std::filesystem::perms::none);
        EXPECT_EQ(read_refused(d + "/locked.rle"), d + "/locked.rle: cannot open the file: Permission denied");
    }
    std::filesystem::remove_all(dir);
}

//----------------------------------------------------------------------------------
// Rules
//----------------------------------------------------------------------------------
TEST(PatternRule, EveryNotationGivesTheSameLists)
{
    struct CASE {
        const char *text;
        PATTERN_RULE rule;
        int border;
        int grid_sized;
    };
    const CASE cases[] = {
        {"B3/S23", CONWAY, PATTERN_BORDER_NONE, 0},
        {"b3s23", CONWAY, PATTERN_BORDER_NONE, 0},
        {"S23/B3", CONWAY, PATTERN_BORDER_NONE, 0},
        {"23/3", CONWAY, PATTERN_BORDER_NONE, 0},
        {"Life", CONWAY, PATTERN_BORDER_NONE, 0},
        {"B36/S23", rule_of({3, 6}, {2, 3}), PATTERN_BORDER_NONE, 0},
        {"B2/S", rule_of({2}, {}), PATTERN_BORDER_NONE, 0},
        {"/2", rule_of({2}, {}), PATTERN_BORDER_NONE, 0},
        {"B012345678/S012345678", rule_of({0, 1, 2, 3, 4, 5, 6, 7, 8}, {0, 1, 2, 3, 4, 5, 6, 7, 8}), PATTERN_BORDER_NONE, 0},
        {"B3/S23:T48,30", CONWAY, PATTERN_BORDER_WRAP, 1},
        {"B3/S23:P48,30", CONWAY, PATTERN_BORDER_DEAD, 1},
        {"23/3:t48,30", CONWAY, PATTERN_BORDER_WRAP, 1},
        {"B3/S23:T30,48", CONWAY, PATTERN_BORDER_WRAP, 0},
        {"B3/S23:P0,0", CONWAY, PATTERN_BORDER_DEAD, 0},
        {"B3/S23:T48", CONWAY, PATTERN_BORDER_WRAP, 0},
    };
    for (const CASE &c : cases) {
        PATTERN_RULE r{};
        int border = 99, sized = 99;
        PATTERN_ERROR e{};
        ASSERT_EQ(pattern_parse_rule_ex(c.text, std::strlen(c.text), &r, &border, &sized, &e), 1) << c.text << ": " << e.text.data();
        EXPECT_TRUE(same_rule(r, c.rule)) << c.text;
        EXPECT_EQ(border, c.border) << c.text;
        EXPECT_EQ(sized, c.grid_sized) << c.text;
    }
    EXPECT_EQ(pattern_rule_text(rule_of({3, 6}, {2, 3})), "B36/S23");
    EXPECT_EQ(pattern_rule_text(rule_of({}, {})), "B/S");
}

//----------------------------------------------------------------------------------
// Writing
//----------------------------------------------------------------------------------
TEST(PatternWrite, TheHeaderCommentsAndRunsOfAGlider)
{
    GRID g = grid_of({{1, 0}, {2, 1}, {0, 2}, {1, 2}, {2, 2}});
    EXPECT_EQ(pattern_write(g, CONWAY, PATTERN_BORDER_WRAP, "made with Lum Life"),
              "#C made with Lum Life\nx = 48, y = 30, rule = B3/S23:T48,30\nbo$2bo$3o!\n");
    EXPECT_EQ(pattern_write(g, CONWAY, PATTERN_BORDER_DEAD, "x"), "#C x\nx = 48, y = 30, rule = B3/S23:P48,30\nbo$2bo$3o!\n");
    EXPECT_EQ(pattern_write(g, rule_of({3, 6}, {2, 3}), PATTERN_BORDER_LIVE, "x"),
              "#C x\n#C lumlife border live\nx = 48, y = 30, rule = B36/S23:P48,30\nbo$2bo$3o!\n");
    EXPECT_EQ(pattern_write(GRID{}, CONWAY, PATTERN_BORDER_WRAP, "x"), "#C x\nx = 48, y = 30, rule = B3/S23:T48,30\n!\n");
    // A cell in the last corner keeps its place: the rows before it are counted
    EXPECT_EQ(pattern_write(grid_of({{47, 29}}), CONWAY, PATTERN_BORDER_WRAP, "x"),
              "#C x\nx = 48, y = 30, rule = B3/S23:T48,30\n29$47bo!\n");
}

TEST(PatternWrite, RandomGridsReadBackTheSameUnderEveryBorderAndRule)
{
    std::mt19937 rng(24);
    const int borders[] = {PATTERN_BORDER_WRAP, PATTERN_BORDER_DEAD, PATTERN_BORDER_LIVE};
    for (int round = 0; round < 600; round++) {
        GRID g{};
        int percent = static_cast<int>(rng() % 101);
        for (auto &column : g)
            for (auto &cell : column)
                cell = static_cast<int>(rng() % 100) < percent;
        PATTERN_RULE rule{};
        uint32_t digits = rng();
        for (int n = 0; n < PATTERN_COUNTS; n++) {
            rule.birth[n] = (digits >> n) & 1;
            rule.survive[n] = (digits >> (n + PATTERN_COUNTS)) & 1;
        }
        int border = borders[round % 3];
        std::string text = pattern_write(g, rule, border, "made with Lum Life");
        size_t start = 0;
        while (start < text.size()) {
            size_t end = text.find('\n', start);
            ASSERT_NE(end, std::string::npos) << "every line ends";
            EXPECT_LE(end - start, static_cast<size_t>(PATTERN_LINE_MAX));
            start = end + 1;
        }
        PATTERN p = read_text(text);
        ASSERT_EQ(p.cells, g) << text;
        EXPECT_TRUE(same_rule(p.rule, rule)) << text;
        EXPECT_EQ(p.border, border);
        EXPECT_EQ(p.top_left, 1);
        EXPECT_EQ(p.has_rule, 1);
    }
}

}  // namespace
