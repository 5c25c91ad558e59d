// Pattern files in the running toy, end to end in a private virtual X display: `lumlife PATTERN`
// starts the toy with the pattern on the game screen (read back pixel by pixel), its rule and
// border taken, the run stopped and the counter at 0, and the settings file saved with exactly
// that.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <dirent.h>
#include <string>
#include <sys/wait.h>

#include "process.h"
#include "settings_record.h"
#include "toy.h"
#include "toy_layout.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
const std::string DATA = std::string(SOURCE_DIR) + "/tests/data/patterns/";

// The game screen in the toy's default look: live cells in colour 0, (1.0, 0.2, 0.2), drawn with
// live icon 0, a block, over the grid's backdrop, 0.3 times colour 0; dead cells with grid icon
// 0, the outline of a box
constexpr std::array<int, 3> LIVE_RGB = {255, 51, 51};
constexpr int COLOUR_SLACK = 3;
constexpr int INSIDE_PIXEL = 3;  // glyph pixel (3, 3): inside the block, inside the box's outline

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifePattern : public ToyTest {
protected:
    LumlifePattern() : ToyTest(LUMLIFE_PATH) {}

    // Pixel (x, y) of the last frame is within COLOUR_SLACK of `rgb`
    bool pixel_is(int x, int y, const std::array<int, 3> &rgb) const
    {
        const uint8_t *p = &frame.rgb[(static_cast<size_t>(y) * frame.w + x) * 3];
        for (int i = 0; i < 3; i++)
            if (std::abs(p[i] - rgb[i]) > COLOUR_SLACK)
                return false;
        return true;
    }

    // The window shows grid `g`, every cell of it, in the default look: live cells in the live
    // colour, dead ones not
    ::testing::AssertionResult see_grid(const RECORD_GRID &g, const std::string &what)
    {
        return see(
            [this, &g](const XCAPTURE_IMAGE &) {
                for (int c = 0; c < view.cols; c++)
                    for (int r = 0; r < view.rows; r++) {
                        int px, py, ex, ey;
                        layout_glyph_pixel(view, c, r, INSIDE_PIXEL, INSIDE_PIXEL, px, py);
                        layout_engine_cell(view, c, r, ex, ey);
                        // The grid's label may show through a dead cell near the centre: a cell
                        // is read as live by its colour, and dead by any other
                        if (pixel_is(px, py, LIVE_RGB) != (g[ex][ey] != 0))
                            return false;
                    }
                return true;
            },
            what);
    }
};

//----------------------------------------------------------------------------------
// Tests
//----------------------------------------------------------------------------------
// A running automaton under the live border with another grid: the glider file replaces the grid
// at its :T48,30 place, takes the wrap border, stops the run and sets the counter to 0; the file
// is saved at once and again on Escape, with every other setting kept
TEST_F(LumlifePattern, APatternOnTheCommandLineIsOnTheGameScreenAndInTheSavedRecord)
{
    RECORD_GRID before{};
    for (int x = 0; x < RECORD_COLS; x += 3)
        before[x][20] = 1;
    SETTINGS_RECORD rec = record_prepared(before, {{RECORD_BORDER, 2}, {RECORD_RUNNING, 1}, {RECORD_SHOW_STEPS, 0},
                                                   {RECORD_STEPS, 123}, {RECORD_FREQ, 5}});
    prepare(rec);
    arguments = {DATA + "torus_grid.rle"};
    ASSERT_TRUE(start());
    ASSERT_TRUE(logged_since_start(literal("opened the pattern '" + DATA + "torus_grid.rle' (RLE, 48 x 30 at 0,0)")))
        << process_transcript(toy);
    RECORD_GRID glider{};
    glider[10][3] = glider[11][4] = glider[9][5] = glider[10][5] = glider[11][5] = 1;
    ASSERT_TRUE(see_grid(glider, "the glider from the file"));
    SETTINGS_RECORD want = record_prepared(glider, {{RECORD_SHOW_STEPS, 0}, {RECORD_FREQ, 5}});
    EXPECT_TRUE(record_same(saved(), want)) << "saved as soon as it was opened";
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), want));
}

// A pattern without a suffix is centred, and one without a rule keeps the saved rule and border
TEST_F(LumlifePattern, APlaintextPatternIsCentredUnderTheSavedRuleAndBorder)
{
    SETTINGS_RECORD rec = record_prepared({{RECORD_BORDER, 1}, {RECORD_SHOW_STEPS, 0}});
    rec.bytes[RECORD_BPARAMS + 6] = 1;
    prepare(rec);
    arguments = {DATA + "plain.cells"};
    ASSERT_TRUE(start());
    RECORD_GRID beacon{};
    for (auto [x, y] : {std::pair{22, 13}, {23, 13}, {22, 14}, {23, 14}, {24, 15}, {25, 15}, {24, 16}, {25, 16}})
        beacon[x][y] = 1;
    ASSERT_TRUE(see_grid(beacon, "the beacon in the middle"));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD want = rec;
    record_set_grid(want, beacon);
    EXPECT_TRUE(record_same(saved(), want));
}

// An opened pattern is one undo step: Ctrl+Z brings back the grid, rule, border and counter from
// before it, and Ctrl+Y the pattern again
TEST_F(LumlifePattern, CtrlZTakesBackAPatternOpenedOnTheCommandLine)
{
    RECORD_GRID before{};
    for (int x = 0; x < RECORD_COLS; x += 3)
        before[x][20] = 1;
    SETTINGS_RECORD rec = record_prepared(before, {{RECORD_BORDER, 2}, {RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 123}});
    prepare(rec);
    arguments = {DATA + "torus_grid.rle"};
    ASSERT_TRUE(start());
    RECORD_GRID glider{};
    glider[10][3] = glider[11][4] = glider[9][5] = glider[10][5] = glider[11][5] = 1;
    ASSERT_TRUE(see_grid(glider, "the glider from the file"));
    ASSERT_TRUE(xdo({"key", "ctrl+z"}));
    ASSERT_TRUE(logged(literal("UNDO: pattern (0 left)")));
    ASSERT_TRUE(see_grid(before, "the grid from before the pattern"));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec));
}

// `--import` leaves its undo step in the history, so the toy's first Ctrl+Z takes it back
TEST_F(LumlifePattern, AnImportIsUndoneAtTheToysNextStart)
{
    RECORD_GRID before{};
    before[5][5] = before[6][5] = before[7][5] = 1;
    SETTINGS_RECORD rec = record_prepared(before, {{RECORD_BORDER, 1}, {RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 7}});
    prepare(rec);
    std::string output;
    int status = process_run({program, "--import", DATA + "torus_grid.rle"}, {"HOME=" + home}, 60, output);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << output;
    ASSERT_FALSE(record_same(saved(), rec)) << "the import changed the saved grid";
    ASSERT_TRUE(start());
    ASSERT_TRUE(xdo({"key", "ctrl+z"}));
    ASSERT_TRUE(logged(literal("UNDO: pattern (0 left)")));
    ASSERT_TRUE(see_grid(before, "the grid from before the import"));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec));
}

// Ctrl+S writes the grid as a new RLE file under Documents/Lum Life/, which reads back (through
// --import) to the same grid, rule and border
TEST_F(LumlifePattern, CtrlSSavesTheGridAsAPatternThatReadsBackTheSame)
{
    RECORD_GRID grid{};
    for (int x = 0; x < RECORD_COLS; x += 5)
        for (int y = x % 3; y < RECORD_ROWS; y += 4)
            grid[x][y] = 1;
    SETTINGS_RECORD rec = record_prepared(grid, {{RECORD_BORDER, 1}, {RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 42}});
    rec.bytes[RECORD_BPARAMS + 6] = 1;
    prepare(rec);
    ASSERT_TRUE(start());
    ASSERT_TRUE(xdo({"key", "ctrl+s"}));
    ASSERT_TRUE(logged(literal("saved the grid as the pattern '" + home + "/Documents/Lum Life/") + "[^/]*\\.rle'"));
    ASSERT_TRUE(quit_with_escape());
    std::string folder = home + "/Documents/Lum Life";
    std::string file;
    if (DIR *d = opendir(folder.c_str())) {
        while (dirent *e = readdir(d))
            if (std::string(e->d_name).size() > 4 && std::string(e->d_name).ends_with(".rle"))
                file = folder + "/" + e->d_name;
        closedir(d);
    }
    ASSERT_FALSE(file.empty()) << "no pattern in " << folder;
    // Another grid in the saved settings, then the file imported over it
    prepare(record_prepared({{RECORD_BORDER, 0}}));
    std::string output;
    int status = process_run({program, "--import", file}, {"HOME=" + home}, 60, output);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << output;
    SETTINGS_RECORD back = saved();
    EXPECT_EQ(record_grid(back), grid);
    EXPECT_EQ(record_get32(back, RECORD_BORDER), 1);
    EXPECT_EQ(back.bytes[RECORD_BPARAMS + 6], 1);
    EXPECT_EQ(back.bytes[RECORD_BPARAMS + 3], rec.bytes[RECORD_BPARAMS + 3]);
}

}  // namespace
