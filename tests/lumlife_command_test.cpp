// The toy's command line, end to end: the real `lumlife` started with arguments, with no display
// and no sound device, in a HOME of the test's own, its standard output, standard error and exit
// status read apart. Help and version; usage errors; --import setting exactly the grid, rule,
// border, counter and run of the saved record and nothing else; --step against the record's own
// cell-by-cell rule under every border; export -> import giving the identical record for random
// grids under every single rule digit and random rules, under every border; import -> step ->
// export against an independent Life program, bgolly from Debian's golly package, on random grids
// under random rules on the torus (:T48,30) and the plane (:P48,30); and files that cannot be
// read, each named with the line or the reason and exit status 1, the saved grid untouched.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "files.h"
#include "process.h"
#include "settings_record.h"

extern char **environ;

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double RUN_SECONDS = 60.0;  // a loaded machine runs a command slowly
const std::string DATA = std::string(SOURCE_DIR) + "/tests/data/patterns/";

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// What a run printed and how it ended
struct RUN {
    std::string out, err;
    int status = -1;  // the exit status; -1 when it did not exit by itself
};

// The environment of every run: the test's own, with HOME set and neither a display nor an
// audio driver (the command line needs neither)
std::vector<std::string> environment(const std::string &home, const std::vector<std::string> &extra)
{
    std::vector<std::string> env;
    for (char **e = environ; *e; e++) {
        std::string v = *e;
        std::string name = v.substr(0, v.find('='));
        if (name != "HOME" && name != "DISPLAY" && name != "WAYLAND_DISPLAY" && name != "SDL_AUDIODRIVER" &&
            name != "SDL_VIDEODRIVER" && name != "LUMLIFE_CALLER_DIR")
            env.push_back(v);
    }
    env.push_back("HOME=" + home);
    env.insert(env.end(), extra.begin(), extra.end());
    return env;
}

// Run a program to its end with its output and error in files, read back
RUN run(std::vector<std::string> argv, const std::string &home, const std::vector<std::string> &extra = {})
{
    RUN r;
    std::string dir = process_temp_dir("command-run");
    int out = open((dir + "/out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = open((dir + "/err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::string error;
    pid_t pid = process_spawn(argv, environment(home, extra), out, err, -1, SIGKILL, error);
    close(out);
    close(err);
    EXPECT_GT(pid, 0) << error;
    if (pid > 0) {
        int status = 0;
        if (process_reap(pid, RUN_SECONDS, status) && WIFEXITED(status))
            r.status = WEXITSTATUS(status);
        else
            kill(pid, SIGKILL);
    }
    r.out = files_read(dir + "/out");
    r.err = files_read(dir + "/err");
    process_remove_dir(dir);
    return r;
}

RUN lumlife(const std::vector<std::string> &args, const std::string &home, const std::vector<std::string> &extra = {})
{
    std::vector<std::string> argv = {LUMLIFE_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    return run(argv, home, extra);
}

// The live cells of an RLE text as the test reads it, independently of the toy: the header's size
// and the runs, cropped to the cells' bounding box (bgolly writes only that)
struct CROP {
    int w = 0, h = 0;
    std::vector<std::pair<int, int>> live;  // relative to the box's top-left, in reading order
    bool operator==(const CROP &) const = default;
};

CROP crop_of(const std::vector<std::pair<int, int>> &cells)
{
    CROP c;
    if (cells.empty())
        return c;
    int x0 = cells[0].first, y0 = cells[0].second, x1 = x0, y1 = y0;
    for (auto [x, y] : cells) {
        x0 = std::min(x0, x);
        y0 = std::min(y0, y);
        x1 = std::max(x1, x);
        y1 = std::max(y1, y);
    }
    c.w = x1 - x0 + 1;
    c.h = y1 - y0 + 1;
    for (auto [x, y] : cells)
        c.live.push_back({x - x0, y - y0});
    std::sort(c.live.begin(), c.live.end(), [](auto a, auto b) { return a.second != b.second ? a.second < b.second : a.first < b.first; });
    return c;
}

// Decode the runs of an RLE text (after its '#' lines and header); the rule line is returned
std::vector<std::pair<int, int>> rle_cells(const std::string &text, std::string *header = nullptr)
{
    std::vector<std::pair<int, int>> cells;
    size_t pos = 0;
    while (pos < text.size() && (text[pos] == '#' || text[pos] == 'x')) {
        size_t end = text.find('\n', pos);
        if (text[pos] == 'x' && header)
            *header = text.substr(pos, end - pos);
        pos = end == std::string::npos ? text.size() : end + 1;
    }
    int x = 0, y = 0, n = 0;
    for (; pos < text.size() && text[pos] != '!'; pos++) {
        char c = text[pos];
        if (c >= '0' && c <= '9') {
            n = n * 10 + (c - '0');
            continue;
        }
        int count = n ? n : 1;
        n = 0;
        if (c == 'b')
            x += count;
        else if (c == 'o') {
            for (int i = 0; i < count; i++)
                cells.push_back({x + i, y});
            x += count;
        } else if (c == '$') {
            y += count;
            x = 0;
        }
    }
    return cells;
}

std::vector<std::pair<int, int>> grid_cells(const RECORD_GRID &g)
{
    std::vector<std::pair<int, int>> cells;
    for (int y = 0; y < RECORD_ROWS; y++)
        for (int x = 0; x < RECORD_COLS; x++)
            if (g[x][y])
                cells.push_back({x, y});
    return cells;
}

RECORD_GRID random_grid(std::mt19937 &rng, int percent)
{
    RECORD_GRID g{};
    for (auto &column : g)
        for (auto &cell : column)
            cell = static_cast<int>(rng() % 100) < percent;
    return g;
}

// A record's rule as B/S text, e.g. "B3/S23"
std::string rule_text(const SETTINGS_RECORD &r)
{
    std::string t = "B";
    for (int n = 0; n <= 8; n++)
        if (r.bytes[RECORD_BPARAMS + n])
            t += static_cast<char>('0' + n);
    t += "/S";
    for (int n = 0; n <= 8; n++)
        if (r.bytes[RECORD_SPARAMS + n])
            t += static_cast<char>('0' + n);
    return t;
}

void set_rule(SETTINGS_RECORD &r, uint32_t birth_bits, uint32_t survive_bits)
{
    for (int n = 0; n < 9; n++) {
        r.bytes[RECORD_BPARAMS + n] = (birth_bits >> n) & 1;
        r.bytes[RECORD_SPARAMS + n] = (survive_bits >> n) & 1;
    }
}

// A whole 48 x 30 RLE of a grid, written by the test itself for bgolly and for --import
std::string rle_of(const RECORD_GRID &g, const std::string &rule)
{
    std::string t = "x = 48, y = 30, rule = " + rule + "\n";
    for (int y = 0; y < RECORD_ROWS; y++) {
        for (int x = 0; x < RECORD_COLS; x++)
            t += g[x][y] ? 'o' : 'b';
        t += y + 1 < RECORD_ROWS ? "$\n" : "!\n";
    }
    return t;
}

//----------------------------------------------------------------------------------
// Fixture: a HOME of the test's own
//----------------------------------------------------------------------------------
class LumlifeCommand : public ::testing::Test {
protected:
    std::string home;

    void SetUp() override { home = process_temp_dir("lumlife-command"); }
    void TearDown() override { process_remove_dir(home); }

    std::string settings() const { return record_path(home); }

    std::string write_file(const std::string &name, const std::string &text) const
    {
        std::string path = home + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
};

//----------------------------------------------------------------------------------
// Help, version, usage
//----------------------------------------------------------------------------------
TEST_F(LumlifeCommand, HelpPrintsTheUsageOnStandardOutput)
{
    RUN r = lumlife({"--help"}, home);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("Usage: lumlife [PATTERN]\n", 0), 0u) << r.out;
    EXPECT_NE(r.out.find("--import PATTERN"), std::string::npos);
    EXPECT_NE(r.out.find("--export [FILE]"), std::string::npos);
    EXPECT_EQ(r.err, "");
    EXPECT_FALSE(std::filesystem::exists(home + "/.kobaltine")) << "help touches nothing";
}

TEST_F(LumlifeCommand, VersionIsTheChangelogsNewest)
{
    std::string changelog = files_read(std::string(SOURCE_DIR) + "/dist/changelog");
    size_t open = changelog.find('('), close = changelog.find(')');
    ASSERT_NE(close, std::string::npos);
    RUN r = lumlife({"--version"}, home);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "lumlife " + changelog.substr(open + 1, close - open - 1) + "\n");
}

TEST_F(LumlifeCommand, UnknownOptionsAndBadValuesPrintTheUsageOnStandardErrorWithStatusTwo)
{
    const std::vector<std::vector<std::string>> bad = {
        {"--frobnicate"}, {"-x"}, {"--step"}, {"--step", "ten"}, {"--step", "-3"}, {"--step", "1000000001"},
        {"--import"}, {"--export="}, {"a.rle", "b.rle"}, {"a.rle", "--step", "3"}, {"--step", "1", "--step", "2"}};
    for (const auto &args : bad) {
        RUN r = lumlife(args, home);
        EXPECT_EQ(r.status, 2) << args[0];
        EXPECT_EQ(r.out, "") << args[0];
        EXPECT_EQ(r.err.rfind("lumlife: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find("Usage: lumlife [PATTERN]"), std::string::npos) << r.err;
    }
    EXPECT_FALSE(std::filesystem::exists(home + "/.kobaltine")) << "a bad command line touches nothing";
}

TEST_F(LumlifeCommand, StepAndExportNeedASavedGrid)
{
    RUN r = lumlife({"--step", "3"}, home);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "lumlife: no saved grid in '" + settings() + "' yet: start the toy once, or --import a pattern\n");
    EXPECT_FALSE(std::filesystem::exists(settings()));
    EXPECT_EQ(lumlife({"--export"}, home).status, 1);
}

//----------------------------------------------------------------------------------
// Import, step, export
//----------------------------------------------------------------------------------
TEST_F(LumlifeCommand, ImportSetsTheGridRuleBorderCounterAndRunAndKeepsTheRest)
{
    std::mt19937 rng(1);
    SETTINGS_RECORD before = record_prepared(random_grid(rng, 40),
                                             {{RECORD_BORDER, 0}, {RECORD_FREQ, 17}, {RECORD_RUNNING, 1}, {RECORD_FG, 3}, {RECORD_BG, 5},
                                              {RECORD_ICON_CELL, 7}, {RECORD_ICON_GRID, 9}, {RECORD_GLOW, 1}, {RECORD_STEPS, 4242}});
    ASSERT_TRUE(record_write(settings(), before));
    RUN r = lumlife({"--import", DATA + "plane_grid.rle"}, home);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "");
    SETTINGS_RECORD want = before;
    RECORD_GRID g{};
    g[0][0] = g[47][0] = g[0][29] = g[47][29] = 1;
    record_set_grid(want, g);
    set_rule(want, (1 << 3) | (1 << 6), (1 << 2) | (1 << 3));
    record_put32(want, RECORD_BORDER, 1);
    record_put32(want, RECORD_RUNNING, 0);
    record_put32(want, RECORD_STEPS, 0);
    EXPECT_TRUE(record_same(record_read(settings()), want));

    // A pattern without a rule or a border keeps the record's; one with the toy's live border
    // comment gives the live border
    ASSERT_EQ(lumlife({"--import", DATA + "star.cells"}, home).status, 0);
    SETTINGS_RECORD cells = record_read(settings());
    EXPECT_EQ(rule_text(cells), "B36/S23");
    EXPECT_EQ(record_get32(cells, RECORD_BORDER), 1);
    EXPECT_EQ(record_cell(cells, 23, 13), 1);
    ASSERT_EQ(lumlife({"--import", DATA + "live_border.rle"}, home).status, 0);
    EXPECT_EQ(record_get32(record_read(settings()), RECORD_BORDER), 2);
}

TEST_F(LumlifeCommand, ImportOnAFreshHomeStartsFromTheDefaults)
{
    RUN r = lumlife({"--import", DATA + "comments_crlf.rle"}, home);
    ASSERT_EQ(r.status, 0) << r.err;
    RECORD_GRID g{};
    g[23][13] = g[24][14] = g[22][15] = g[23][15] = g[24][15] = 1;
    EXPECT_TRUE(record_same(record_read(settings()), record_prepared(g)));
}

TEST_F(LumlifeCommand, StepAdvancesTheSavedGridAndCounterUnderEveryBorder)
{
    std::mt19937 rng(2);
    for (int border = 0; border < 3; border++) {
        SETTINGS_RECORD rec = record_prepared(random_grid(rng, 35), {{RECORD_BORDER, border}, {RECORD_STEPS, 10}});
        set_rule(rec, rng() & 0x1fe, rng() & 0x1ff);
        ASSERT_TRUE(record_write(settings(), rec));
        RUN r = lumlife({"--step", "7"}, home);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, "");
        SETTINGS_RECORD want = rec;
        RECORD_GRID g = record_grid(rec);
        for (int i = 0; i < 7; i++)
            g = record_life_next(g, rec);
        record_set_grid(want, g);
        record_put32(want, RECORD_STEPS, 17);
        EXPECT_TRUE(record_same(record_read(settings()), want)) << "border " << border;
    }
}

TEST_F(LumlifeCommand, ExportThenImportGivesTheIdenticalRecordUnderEveryRuleDigitAndBorder)
{
    std::mt19937 rng(3);
    std::vector<std::pair<uint32_t, uint32_t>> rules;
    for (int n = 0; n < 9; n++) {
        rules.push_back({1u << n, rng() & 0x1ff});  // each birth digit alone
        rules.push_back({rng() & 0x1ff, 1u << n});  // each survival digit alone
    }
    rules.push_back({0, 0});
    rules.push_back({0x1ff, 0x1ff});
    for (int i = 0; i < 4; i++)
        rules.push_back({rng() & 0x1ff, rng() & 0x1ff});
    int round = 0;
    for (auto [birth, survive] : rules) {
        int border = round++ % 3;
        SETTINGS_RECORD rec = record_prepared(random_grid(rng, static_cast<int>(rng() % 101)),
                                              {{RECORD_BORDER, border}, {RECORD_FG, 2}, {RECORD_FREQ, 30}});
        set_rule(rec, birth, survive);
        ASSERT_TRUE(record_write(settings(), rec));
        RUN out = lumlife({"--export", home + "/out.rle"}, home);
        ASSERT_EQ(out.status, 0) << out.err;
        std::string text = files_read(home + "/out.rle");
        EXPECT_EQ(text.rfind("#C made with Lum Life (lumlife)\n", 0), 0u) << text;
        // Another grid, rule and border in between
        SETTINGS_RECORD other = record_prepared(random_grid(rng, 50), {{RECORD_BORDER, (border + 1) % 3}, {RECORD_FG, 2}, {RECORD_FREQ, 30}});
        set_rule(other, ~birth & 0x1ff, ~survive & 0x1ff);
        ASSERT_TRUE(record_write(settings(), other));
        RUN in = lumlife({"--import", home + "/out.rle"}, home);
        ASSERT_EQ(in.status, 0) << in.err;
        EXPECT_TRUE(record_same(record_read(settings()), rec)) << rule_text(rec) << " border " << border << "\n" << text;
    }
}

TEST_F(LumlifeCommand, ExportToStandardOutputWithADashOrNoFile)
{
    RECORD_GRID g{};
    g[1][0] = g[2][1] = g[0][2] = g[1][2] = g[2][2] = 1;
    ASSERT_TRUE(record_write(settings(), record_prepared(g, {{RECORD_BORDER, 1}})));
    const std::string want = "#C made with Lum Life (lumlife)\nx = 48, y = 30, rule = B3/S23:P48,30\nbo$2bo$3o!\n";
    for (const auto &args : std::vector<std::vector<std::string>>{{"--export"}, {"--export", "-"}, {"--export=-"}}) {
        RUN r = lumlife(args, home);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, want);
        EXPECT_EQ(r.err, "");
    }
}

TEST_F(LumlifeCommand, RelativeNamesAreTakenFromTheCallersFolder)
{
    std::filesystem::create_directories(home + "/work");
    std::filesystem::copy_file(DATA + "torus_grid.rle", home + "/work/glider.rle");
    RUN r = lumlife({"--import", "glider.rle", "--step", "4", "--export", "out.rle"}, home, {"LUMLIFE_CALLER_DIR=" + home + "/work"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(files_read(home + "/work/out.rle"),
              "#C made with Lum Life (lumlife)\nx = 48, y = 30, rule = B3/S23:T48,30\n4$11bo$12bo$10b3o!\n");
    EXPECT_EQ(record_get32(record_read(settings()), RECORD_STEPS), 4);
}

//----------------------------------------------------------------------------------
// Against an independent Life program
//----------------------------------------------------------------------------------
// Import, step and export against bgolly on the same RLE file, on the torus and the plane: random
// grids of every density under each birth digit 1..8 and each survival digit 0..8 with random
// others, and random rules. (Birth on 0 is left out: bgolly emulates it by inverting alternate
// generations, which a bounded grid does not undo.) bgolly writes only the live cells' bounding
// box, so both grids are compared cropped to theirs, with the population; most random grids
// span the whole grid, where the crop is the grid.
TEST_F(LumlifeCommand, ImportStepExportMatchesBgollyOnTheTorusAndThePlane)
{
    std::mt19937 rng(24);
    std::vector<std::pair<uint32_t, uint32_t>> rules;
    for (int n = 1; n < 9; n++)
        rules.push_back({1u << n, rng() & 0x1ff});
    for (int n = 0; n < 9; n++)
        rules.push_back({(rng() & 0x1fe) | 2u << (rng() % 8), 1u << n});
    for (int i = 0; i < 8; i++)
        rules.push_back({(rng() & 0x1fe) | 8u, rng() & 0x1ff});
    int compared = 0, whole = 0;
    for (const char *topology : {":T48,30", ":P48,30"}) {
        for (auto [birth, survive] : rules) {
            SETTINGS_RECORD r = record_prepared();
            set_rule(r, birth, survive);
            std::string rule = rule_text(r) + topology;
            RECORD_GRID g = random_grid(rng, 10 + static_cast<int>(rng() % 60));
            std::string in = write_file("in.rle", rle_of(g, rule));
            int steps = 1 + static_cast<int>(rng() % 40);
            process_remove_dir(home + "/.kobaltine");
            RUN ours = lumlife({"--import", in, "--step", std::to_string(steps), "--export", "-"}, home);
            ASSERT_EQ(ours.status, 0) << ours.err;
            std::string golly_out = home + "/golly.rle";
            std::filesystem::remove(golly_out);
            RUN golly = run({"bgolly", "-q", "-q", "-m", std::to_string(steps), "-o", golly_out, in}, home);
            ASSERT_EQ(golly.status, 0) << golly.out << golly.err;
            std::string header;
            CROP theirs = crop_of(rle_cells(files_read(golly_out), &header));
            EXPECT_NE(header.find("rule = " + rule), std::string::npos) << header;
            SETTINGS_RECORD saved = record_read(settings());
            CROP mine = crop_of(grid_cells(record_grid(saved)));
            EXPECT_EQ(mine, theirs) << rule << " after " << steps << " generations";
            EXPECT_EQ(mine.live.size(), theirs.live.size());
            EXPECT_EQ(crop_of(rle_cells(ours.out)), mine) << "the export is the saved grid";
            EXPECT_EQ(record_get32(saved, RECORD_STEPS), steps);
            compared++;
            whole += mine.w == RECORD_COLS && mine.h == RECORD_ROWS;
        }
    }
    EXPECT_EQ(compared, 50);
    RecordProperty("whole_grid_comparisons", whole);
    std::printf("%d of %d comparisons spanned the whole grid\n", whole, compared);
}

//----------------------------------------------------------------------------------
// Files that cannot be read or written
//----------------------------------------------------------------------------------
TEST_F(LumlifeCommand, ABadPatternNamesItsPlaceAndLeavesTheSavedGridAlone)
{
    std::mt19937 rng(5);
    SETTINGS_RECORD rec = record_prepared(random_grid(rng, 30), {{RECORD_STEPS, 99}});
    ASSERT_TRUE(record_write(settings(), rec));
    std::string big = home + "/big.rle";
    {
        // A sparse file of 1 GB: only the bound is read
        std::ofstream(big) << "x = 1, y = 1\n";
        std::filesystem::resize_file(big, 1ull << 30);
    }
    std::string fifo = home + "/fifo.rle";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    struct CASE {
        std::string path, line;
    };
    const std::vector<CASE> cases = {
        {DATA + "klein.rle", DATA + "klein.rle:1:29: the topology ':K' (a Klein bottle) is not supported: only :T (torus) and :P (plane)"},
        {DATA + "count_no_symbol.rle", DATA + "count_no_symbol.rle:3:1: a run count with no symbol after it"},
        {DATA + "too_big.rle", DATA + "too_big.rle: the pattern is 49 x 3 cells, larger than the grid's 48 x 30: not opened"},
        {DATA + "binary.rle", DATA + "binary.rle:2:1: binary data (a zero byte): not a pattern file"},
        {home + "/missing.rle", home + "/missing.rle: cannot open the file: No such file or directory"},
        {home, home + ": this is a directory, not a pattern file"},
        {fifo, fifo + ": this is a FIFO, not a pattern file"},
        {write_file("empty.rle", ""), home + "/empty.rle: the file is empty: no pattern in it"},
        {big, big + ": the file is longer than 1048576 bytes: not a pattern for a 48 x 30 grid"},
    };
    for (const CASE &c : cases) {
        for (const auto &args : std::vector<std::vector<std::string>>{
                 {"--import", c.path}, {"--import", c.path, "--step", "5", "--export", "-"}, {c.path}}) {
            RUN r = lumlife(args, home);
            EXPECT_EQ(r.status, 1) << c.path;
            EXPECT_EQ(r.err, "lumlife: " + c.line + "\n");
            EXPECT_EQ(r.out, "");
            EXPECT_TRUE(record_same(record_read(settings()), rec)) << c.path;
        }
    }
}

TEST_F(LumlifeCommand, AnExportThatCannotBeWrittenSaysWhy)
{
    ASSERT_TRUE(record_write(settings(), record_prepared()));
    RUN folder = lumlife({"--export", home}, home);
    EXPECT_EQ(folder.status, 1);
    EXPECT_EQ(folder.err, "lumlife: cannot write '" + home + "': it is a directory\n");
    RUN missing = lumlife({"--export", home + "/no/such/folder.rle"}, home);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "lumlife: cannot write '" + home + "/no/such/folder.rle': No such file or directory\n");
    // An existing file is replaced whole
    std::string path = write_file("old.rle", "old");
    ASSERT_EQ(lumlife({"--export", path}, home).status, 0);
    EXPECT_EQ(files_read(path).rfind("#C made with Lum Life (lumlife)\n", 0), 0u);
    EXPECT_FALSE(std::filesystem::exists(path + ".new"));
}

}  // namespace
