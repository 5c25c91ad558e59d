// Tests of the undo history: a moment captured and brought back exactly (grid, counter, rule
// toggles, border), changes begun and ended, a run pending until it stops, a stroke that painted
// nothing forgotten, undo and redo with a new change dropping the redo steps, at least a thousand
// steps kept, and the history file: written and read back whole, written crash-safely beside the
// settings, and every damaged, foreign or not-a-file history ignored with one line.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "capture.h"
#include "game.h"
#include "history.h"
#include "life.h"
#include "lum.h"
#include "process.h"

namespace {

// The per-user paths are computed once per process, so the whole test program shares one
// temporary HOME; each test starts with an empty save directory.
std::string test_home;

class TempHome : public ::testing::Environment {
public:
    void SetUp() override
    {
        test_home = process_temp_dir("lumlife-history-test");
        ASSERT_FALSE(test_home.empty());
        setenv("HOME", test_home.c_str(), 1);
        lum_set_app_name("lumlife");
    }
    void TearDown() override { process_remove_dir(test_home); }
};
const auto *const temp_home = ::testing::AddGlobalTestEnvironment(new TempHome);

std::string save_dir()
{
    return test_home + "/.kobaltine/lumlife";
}

std::string history_path()
{
    return save_dir() + "/history.dat";
}

std::vector<uint8_t> read_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_bytes(const std::string &path, const std::vector<uint8_t> &bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// The engine's grid as bytes, column-major
std::vector<uint8_t> grid()
{
    std::vector<uint8_t> g;
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            g.push_back(static_cast<uint8_t>(life_cell(x, y)));
    return g;
}

void set_grid(const std::vector<uint8_t> &g)
{
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            life_set_cell(x, y, g[static_cast<size_t>(x * LIFE_H + y)]);
}

// Lines of a text that start with `prefix` after the log prefix
int lines_with(const std::string &text, const std::string &prefix)
{
    int n = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        std::string line = text.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
        if (line.rfind("[lum ", 0) == 0)
            line = line.substr(line.find("] ") + 2);
        n += line.rfind(prefix, 0) == 0;
        if (end == std::string::npos)
            break;
        pos = end + 1;
    }
    return n;
}

class History : public ::testing::Test {
protected:
    void SetUp() override
    {
        capture_stdout([] {
            game_reset();
            game_update_config();
        });
        history_bind(game.bparams.data(), game.sparams.data(), &game.border_mode, &config_changed);
        history_clear();
        config_changed = 0;
        std::string cmd = "rm -rf '" + save_dir() + "' && mkdir -p '" + save_dir() + "'";
        ASSERT_EQ(std::system(cmd.c_str()), 0);
    }

    void TearDown() override { history_bind(nullptr, nullptr, nullptr, nullptr); }

    // A change made at once, as one step
    static void change(int kind, const std::function<void()> &body)
    {
        history_begin(kind);
        body();
        history_end();
    }
};

//----------------------------------------------------------------------------------
// Moments
//----------------------------------------------------------------------------------
TEST_F(History, AStepIs192BytesAndTheGridOneBitACell)
{
    EXPECT_EQ(sizeof(HISTORY_STEP), 192u);
    EXPECT_EQ(HISTORY_CELL_BYTES, 180);
    EXPECT_GE(HISTORY_DEPTH, 1000);
}

TEST_F(History, ACapturedMomentComesBackExactly)
{
    set_grid(std::vector<uint8_t>(LIFE_CELLS, 0));
    life_set_cell(0, 0, 1);
    life_set_cell(47, 29, 1);
    life_set_cell(13, 7, 1);
    life_set_step_count(4242);
    game.border_mode = GAME_BORDER_LIVE;
    game.bparams.fill(0);
    game.bparams[3] = game.bparams[6] = 1;
    const std::vector<uint8_t> before = grid();
    const HISTORY_STEP s = history_capture();
    EXPECT_EQ(s.birth, (1u << 3) | (1u << 6));
    EXPECT_EQ(s.survive, (1u << 2) | (1u << 3));
    EXPECT_EQ(s.border, GAME_BORDER_LIVE);
    EXPECT_EQ(s.steps, 4242u);

    capture_stdout([] { life_reset_random(50); });
    game.border_mode = GAME_BORDER_WRAP;
    game.bparams.fill(0);
    game.bparams[2] = 1;
    config_changed = 0;
    history_apply(s);
    EXPECT_EQ(grid(), before);
    EXPECT_EQ(life_step_count(), 4242u);
    EXPECT_EQ(game.border_mode, GAME_BORDER_LIVE);
    EXPECT_EQ(game.bparams[3], 1);
    EXPECT_EQ(game.bparams[6], 1);
    EXPECT_EQ(game.bparams[2], 0);
    EXPECT_EQ(config_changed, 1) << "a changed rule is rebuilt";
}

TEST_F(History, BringingBackTheSameRuleDoesNotRebuildIt)
{
    const HISTORY_STEP s = history_capture();
    capture_stdout([] { life_reset_random(30); });
    config_changed = 0;
    history_apply(s);
    EXPECT_EQ(config_changed, 0);
}

//----------------------------------------------------------------------------------
// Changes, undo and redo
//----------------------------------------------------------------------------------
TEST_F(History, ClearThenUndoBringsTheGridBackAndRedoClearsAgain)
{
    const std::vector<uint8_t> drawn = grid();
    const uint32_t steps = life_step_count();
    change(HISTORY_CLEAR, [] { capture_stdout([] { life_reset_random(0); }); });
    ASSERT_EQ(history_undo_count(), 1);
    std::string out = capture_stdout([] { EXPECT_EQ(history_undo(), HISTORY_CLEAR); });
    EXPECT_EQ(grid(), drawn);
    EXPECT_EQ(life_step_count(), steps);
    EXPECT_EQ(lines_with(out, "UNDO: clear (0 left)"), 1) << out;
    out = capture_stdout([] { EXPECT_EQ(history_redo(), HISTORY_CLEAR); });
    EXPECT_EQ(grid(), std::vector<uint8_t>(LIFE_CELLS, 0));
    EXPECT_EQ(lines_with(out, "REDO: clear (0 left)"), 1) << out;
}

TEST_F(History, NothingToUndoOrRedoSaysSo)
{
    std::string out = capture_stdout([] {
        EXPECT_EQ(history_undo(), HISTORY_NONE);
        EXPECT_EQ(history_redo(), HISTORY_NONE);
    });
    EXPECT_EQ(lines_with(out, "UNDO: nothing to undo"), 1) << out;
    EXPECT_EQ(lines_with(out, "REDO: nothing to redo"), 1) << out;
}

TEST_F(History, AChangeThatChangesNothingIsNoStep)
{
    change(HISTORY_BORDER, [] {});
    EXPECT_EQ(history_undo_count(), 0);
}

TEST_F(History, ANewChangeAfterAnUndoDropsTheRedoSteps)
{
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { history_undo(); });
    ASSERT_EQ(history_redo_count(), 1);
    change(HISTORY_RULE, [] { game.bparams[5] = 1; });
    EXPECT_EQ(history_redo_count(), 0);
    EXPECT_EQ(history_undo_count(), 2);
}

TEST_F(History, ARunIsPendingUntilItStopsAndThenOneStep)
{
    const std::vector<uint8_t> at_run = grid();
    history_tick(1, 0);
    EXPECT_EQ(history_pending(), HISTORY_RUN);
    for (int i = 0; i < 25; i++) {
        life_step_cells();
        history_tick(1, 0);
    }
    EXPECT_EQ(history_undo_count(), 0);
    history_tick(0, 0);
    EXPECT_EQ(history_pending(), HISTORY_NONE);
    ASSERT_EQ(history_undo_count(), 1);
    capture_stdout([] { EXPECT_EQ(history_undo(), HISTORY_RUN); });
    EXPECT_EQ(grid(), at_run);
    EXPECT_EQ(life_step_count(), 0u);
}

TEST_F(History, UndoDuringARunEndsItFirstAndBringsBackItsStart)
{
    const std::vector<uint8_t> at_run = grid();
    history_tick(1, 0);
    for (int i = 0; i < 7; i++)
        life_step_cells();
    capture_stdout([] { EXPECT_EQ(history_undo(), HISTORY_RUN); });
    EXPECT_EQ(grid(), at_run);
    EXPECT_EQ(history_redo_count(), 1);
}

TEST_F(History, AStrokeBecomesAStepAtItsFirstCellAndOneThatPaintedNothingIsForgotten)
{
    history_begin(HISTORY_STROKE);
    history_tick(0, 1);
    history_tick(0, 0);  // released without painting
    EXPECT_EQ(history_pending(), HISTORY_NONE);
    EXPECT_EQ(history_undo_count(), 0);

    const std::vector<uint8_t> before = grid();
    history_begin(HISTORY_STROKE);
    life_set_cell(5, 5, life_cell(5, 5) ? 0 : 1);
    history_end();
    life_set_cell(6, 5, life_cell(6, 5) ? 0 : 1);  // the rest of the stroke
    history_tick(0, 0);
    ASSERT_EQ(history_undo_count(), 1);
    capture_stdout([] { history_undo(); });
    EXPECT_EQ(grid(), before);
}

TEST_F(History, ARecordedReplacementIsAStepWithoutAWindow)
{
    const std::vector<uint8_t> before = grid();
    history_record(HISTORY_PATTERN);
    set_grid(std::vector<uint8_t>(LIFE_CELLS, 1));
    capture_stdout([] { EXPECT_EQ(history_undo(), HISTORY_PATTERN); });
    EXPECT_EQ(grid(), before);
}

TEST_F(History, TheNewest1024StepsAreKept)
{
    std::vector<uint32_t> counts;
    for (int i = 0; i < HISTORY_DEPTH + 100; i++)
        change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    EXPECT_EQ(history_undo_count(), HISTORY_DEPTH);
    const uint32_t end = life_step_count();
    capture_stdout([] {
        for (int i = 0; i < HISTORY_DEPTH; i++)
            ASSERT_EQ(history_undo(), HISTORY_ONE_STEP) << i;
        EXPECT_EQ(history_undo(), HISTORY_NONE);
    });
    EXPECT_EQ(life_step_count(), end - HISTORY_DEPTH);
    EXPECT_EQ(history_redo_count(), HISTORY_DEPTH);
    capture_stdout([] {
        for (int i = 0; i < HISTORY_DEPTH; i++)
            ASSERT_EQ(history_redo(), HISTORY_ONE_STEP) << i;
    });
    EXPECT_EQ(life_step_count(), end);
}

//----------------------------------------------------------------------------------
// The history file
//----------------------------------------------------------------------------------
TEST_F(History, ASavedHistoryIsReadBackWhole)
{
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    change(HISTORY_RULE, [] { game.sparams[7] = 1; });
    change(HISTORY_BORDER, [] { game.border_mode = GAME_BORDER_DEAD; });
    capture_stdout([] { history_undo(); });
    std::string out = capture_stdout([] { EXPECT_EQ(history_save(), 1); });
    const std::vector<uint8_t> bytes = read_bytes(history_path());
    EXPECT_EQ(bytes.size(), history_file_bytes(2, 1));
    EXPECT_EQ(access((history_path() + ".new").c_str(), F_OK), -1) << "no new file is left behind";
    EXPECT_EQ(capture_stdout([] { EXPECT_EQ(history_save(), 0); }).find("rename"), std::string::npos)
        << "an unchanged history is not written again";

    const HISTORY_STEP now = history_capture();
    history_clear();
    out = capture_stdout([] { EXPECT_EQ(history_load(), 1); });
    EXPECT_EQ(lines_with(out, "history: 2 undo and 1 redo steps"), 1) << out;
    EXPECT_EQ(history_undo_count(), 2);
    EXPECT_EQ(history_redo_count(), 1);
    capture_stdout([] { EXPECT_EQ(history_redo(), HISTORY_BORDER); });
    EXPECT_EQ(game.border_mode, GAME_BORDER_DEAD);
    capture_stdout([] {
        history_undo();
        EXPECT_EQ(history_undo(), HISTORY_RULE);
    });
    EXPECT_EQ(game.sparams[7], 0);
    (void)now;
}

TEST_F(History, ARunStillGoingIsSavedAsItsStep)
{
    const std::vector<uint8_t> at_run = grid();
    history_tick(1, 0);
    for (int i = 0; i < 5; i++)
        life_step_cells();
    capture_stdout([] { EXPECT_EQ(history_save(), 1); });
    EXPECT_EQ(history_pending(), HISTORY_RUN) << "saving does not end the run";
    history_clear();
    capture_stdout([] { EXPECT_EQ(history_load(), 1); });
    capture_stdout([] { EXPECT_EQ(history_undo(), HISTORY_RUN); });
    EXPECT_EQ(grid(), at_run);
}

TEST_F(History, NoFileIsAnEmptyHistoryWithoutAWord)
{
    std::string out = capture_stdout([] { EXPECT_EQ(history_load(), 0); });
    EXPECT_EQ(lines_with(out, "history"), 0) << out;
    EXPECT_EQ(history_undo_count(), 0);
}

// Each damaged history: one line, an empty history, and the next save replaces it
void expect_ignored(const std::vector<uint8_t> &bytes, const std::string &why)
{
    write_bytes(history_path(), bytes);
    std::string out = capture_stdout([] { EXPECT_EQ(history_load(), -1); });
    EXPECT_EQ(lines_with(out, "history: '" + history_path() + "' is " + why + ": starting without undo steps"), 1)
        << out;
    EXPECT_EQ(lines_with(out, "history"), 1) << out;
    EXPECT_EQ(history_undo_count(), 0);
    EXPECT_EQ(history_redo_count(), 0);
}

TEST_F(History, ATruncatedFileIsIgnoredWithOneLine)
{
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { history_save(); });
    std::vector<uint8_t> bytes = read_bytes(history_path());
    ASSERT_GT(bytes.size(), 100u);
    bytes.erase(bytes.end() - 100, bytes.end());
    expect_ignored(bytes, "damaged (cut short or too long)");
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { EXPECT_EQ(history_save(), 1); });
    EXPECT_EQ(read_bytes(history_path()).size(), history_file_bytes(1, 0));
}

TEST_F(History, RandomBytesAreIgnoredWithOneLine)
{
    std::mt19937 rng(7);
    std::vector<uint8_t> bytes(5000);
    for (uint8_t &b : bytes)
        b = static_cast<uint8_t>(rng());
    expect_ignored(bytes, "not a history file");
    expect_ignored({}, "not a history file");
}

TEST_F(History, AFlippedBitIsCaughtByTheChecksum)
{
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { history_save(); });
    std::vector<uint8_t> bytes = read_bytes(history_path());
    bytes[100] ^= 0x10;
    expect_ignored(bytes, "damaged (checksum)");
}

TEST_F(History, ADirectoryIsIgnoredAndNeverReplaced)
{
    ASSERT_EQ(mkdir(history_path().c_str(), 0700), 0);
    std::string out = capture_stdout([] { EXPECT_EQ(history_load(), -1); });
    EXPECT_EQ(lines_with(out, "history: '" + history_path() + "' is a directory, not a file: starting without undo steps"),
              1) << out;
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    out = capture_stdout([] { EXPECT_EQ(history_save(), -1); });
    EXPECT_EQ(lines_with(out, "history not saved: '" + history_path() + "' is a directory, not a file"), 1) << out;
    struct stat st {};
    ASSERT_EQ(stat(history_path().c_str(), &st), 0);
    EXPECT_TRUE(S_ISDIR(st.st_mode));
}

TEST_F(History, AFifoNeitherBlocksNorIsReplaced)
{
    ASSERT_EQ(mkfifo(history_path().c_str(), 0600), 0);
    std::string out = capture_stdout([] { EXPECT_EQ(history_load(), -1); });
    EXPECT_EQ(lines_with(out, "history: '" + history_path() + "' is a FIFO, not a file: starting without undo steps"), 1)
        << out;
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { EXPECT_EQ(history_save(), -1); });
    struct stat st {};
    ASSERT_EQ(stat(history_path().c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST_F(History, ASettingsFileBesideItIsNeverTouched)
{
    const std::string settings = save_dir() + "/settings.cfg";
    write_bytes(settings, {1, 2, 3});
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { history_save(); });
    write_bytes(history_path(), {9, 9, 9});
    capture_stdout([] { history_load(); });
    EXPECT_EQ(read_bytes(settings), (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(History, AStepOutOfRangeIsRefused)
{
    change(HISTORY_ONE_STEP, [] { life_step_cells(); });
    capture_stdout([] { history_save(); });
    std::vector<uint8_t> bytes = read_bytes(history_path());
    bytes[16 + 1] = 7;  // the first step's border
    // The checksum is made right again, so only the step's own check can refuse it
    uint64_t h = 14695981039346656037ull;
    for (size_t i = 0; i + 8 < bytes.size(); i++) {
        h ^= bytes[i];
        h *= 1099511628211ull;
    }
    std::memcpy(bytes.data() + bytes.size() - 8, &h, 8);
    expect_ignored(bytes, "damaged (a step out of range)");
}

}  // namespace
