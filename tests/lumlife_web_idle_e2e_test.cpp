// An idle page costs next to nothing: the browser build in headless Chromium draws a frame only
// when it would differ from the one on the canvas, and a frame it does not draw leaves the canvas
// showing the last one. Frames drawn are counted in the page: every frame the toy draws starts
// with one clear of the WebGL canvas, which a script put into the page before the toy counts.
// A still grid draws (nearly) no frame a second, yet a click shows at once, a running grid draws
// on, and a canvas whose size is set again (which wipes its picture) is drawn again. A paint
// stroke on an idle page lasts while the page is read back, which lays it out anew under the
// still pointer.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "browser.h"
#include "process.h"
#include "settings_record.h"
#include "toy_layout.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double IDLE_SECONDS = 3.0;         // frames of an idle page are counted over this long
constexpr double IDLE_FRAMES_A_SECOND = 1.0; // at most this many are drawn
constexpr double RUN_SECONDS = 2.0;          // frames of a running grid are counted over this long
constexpr int RUN_FRAMES = 10;               // at least this many are drawn
constexpr int LIT_RED_ABOVE = 200;           // a live cell's icon is red
constexpr int HELD_READBACKS = 10;           // canvas read-backs while a stroke is held

// Counts the clears of every WebGL canvas in window.lumClears
const char CLEAR_COUNTER[] =
    "window.lumClears = 0;"
    "[window.WebGLRenderingContext, window.WebGL2RenderingContext].forEach(function (type) {"
    "  if (!type) return;"
    "  var clear = type.prototype.clear;"
    "  type.prototype.clear = function (mask) { window.lumClears++; return clear.call(this, mask); };"
    "});";

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// A still grid: blocks, which the rule B3/S23 leaves as they are
RECORD_GRID still_grid()
{
    RECORD_GRID g{};
    for (int c = 2; c < RECORD_COLS - 2; c += 5)
        for (int r = 2; r < RECORD_ROWS - 2; r += 5)
            g[c][r] = g[c + 1][r] = g[c][r + 1] = g[c + 1][r + 1] = 1;
    return g;
}

// A glider, which moves on for ever over the wrapped grid
RECORD_GRID glider_grid()
{
    RECORD_GRID g{};
    g[10][10] = g[11][11] = g[9][12] = g[10][12] = g[11][12] = 1;
    return g;
}

bool red_at(const BROWSER_PIXELS &p, int x, int y)
{
    if (x < 0 || y < 0 || x >= p.w || y >= p.h)
        return false;
    return p.rgb[(static_cast<size_t>(y) * static_cast<size_t>(p.w) + static_cast<size_t>(x)) * 3] > LIT_RED_ABOVE;
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifeWebIdle : public BrowserTest {
protected:
    LumlifeWebIdle() : BrowserTest(WEB_BUILD_DIR) {}

    // The frame counter in every page, the record in IndexedDB (glow off: a live cell is red),
    // and the toy showing its game screen
    ::testing::AssertionResult start_on(const RECORD_GRID &g, bool running)
    {
        if (auto r = command(std::string("script ") + CLEAR_COUNTER); !r)
            return r;
        if (auto r = store_settings(record_prepared(g, {{RECORD_RUNNING, running ? 1 : 0}, {RECORD_FREQ, 60},
                                                        {RECORD_SHOW_STEPS, 0}, {RECORD_GLOW, 0}}));
            !r)
            return r;
        if (auto r = open_toy(); !r)
            return r;
        return see(
            [this](const BROWSER_PIXELS &p) {
                for (int c = 0; c < RECORD_COLS; c++)
                    for (int r = 0; r < RECORD_ROWS; r++) {
                        int x, y;
                        layout_cell_centre(view, c, r, x, y);
                        if (red_at(p, x, y))
                            return true;
                    }
                return false;
            },
            "live cells (a running grid's have moved on)");
    }

    // The frames the page has drawn so far
    ::testing::AssertionResult clears(int &n)
    {
        std::string json;
        if (auto r = eval("window.lumClears", &json); !r)
            return r;
        n = std::atoi(json.c_str());
        return ::testing::AssertionSuccess();
    }

    // Wait until the canvas shows cell (c, r) live
    ::testing::AssertionResult see_live(int c, int r)
    {
        int x, y;
        layout_cell_centre(view, c, r, x, y);
        return see([x, y](const BROWSER_PIXELS &p) { return red_at(p, x, y); },
                   "cell (" + std::to_string(c) + ", " + std::to_string(r) + ") live");
    }

    // Frames drawn over `seconds`, and the time it took
    ::testing::AssertionResult frames_over(double seconds, int &frames, double &took)
    {
        int before = 0, after = 0;
        if (auto r = clears(before); !r)
            return r;
        const auto t0 = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        if (auto r = clears(after); !r)
            return r;
        took = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        frames = after - before;
        return ::testing::AssertionSuccess();
    }
};

}  // namespace

//----------------------------------------------------------------------------------
// Tests
//----------------------------------------------------------------------------------
// A still grid draws next to no frames, while the toy runs on: it answers F9 at once
TEST_F(LumlifeWebIdle, AnIdlePageDrawsNearlyNoFrames)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    ASSERT_TRUE(ticked()) << "the toy runs";
    int frames = 0;
    double took = 0.0;
    ASSERT_TRUE(frames_over(IDLE_SECONDS, frames, took));
    RecordProperty("idle_frames_per_second", std::to_string(frames / took));
    EXPECT_LE(frames, IDLE_FRAMES_A_SECOND * took) << frames << " frames drawn in " << took << " s";
    ASSERT_TRUE(ticked()) << "the toy still runs";
}

// A click on a dead cell of an idle page paints it, and the canvas shows it
TEST_F(LumlifeWebIdle, AClickOnAnIdlePageIsAnsweredAtOnce)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    int frames = 0;
    double took = 0.0;
    ASSERT_TRUE(frames_over(1.0, frames, took));  // settled into idleness
    int before = 0;
    ASSERT_TRUE(clears(before));
    int x, y;
    layout_cell_centre(view, 20, 13, x, y);
    ASSERT_TRUE(see([x, y](const BROWSER_PIXELS &p) { return !red_at(p, x, y); }, "a dead cell"));
    ASSERT_TRUE(press(x, y));
    ASSERT_TRUE(see([x, y](const BROWSER_PIXELS &p) { return red_at(p, x, y); }, "the cell painted"));
    ASSERT_TRUE(release(x, y));
    int after = 0;
    ASSERT_TRUE(clears(after));
    EXPECT_GT(after, before);
}

// A grid running at 60 generations a second draws on
TEST_F(LumlifeWebIdle, ARunningGridDrawsOn)
{
    ASSERT_TRUE(start_on(glider_grid(), true));
    int frames = 0;
    double took = 0.0;
    ASSERT_TRUE(frames_over(RUN_SECONDS, frames, took));
    RecordProperty("running_frames_per_second", std::to_string(frames / took));
    EXPECT_GE(frames, RUN_FRAMES) << frames << " frames drawn in " << took << " s";
}

// Setting the canvas's size, even to the size it has, wipes its picture: the toy draws it again
TEST_F(LumlifeWebIdle, ACanvasWhosePictureIsWipedIsDrawnAgain)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    int frames = 0;
    double took = 0.0;
    ASSERT_TRUE(frames_over(1.0, frames, took));  // settled into idleness
    int before = 0;
    ASSERT_TRUE(clears(before));
    ASSERT_TRUE(eval("(function () { var c = document.getElementById('canvas'); c.width = c.width; return 1; })()"));
    int x, y;
    layout_cell_centre(view, 2, 2, x, y);
    ASSERT_TRUE(see([x, y](const BROWSER_PIXELS &p) { return red_at(p, x, y); }, "the grid drawn again"));
    int after = 0;
    ASSERT_TRUE(clears(after));
    EXPECT_GT(after, before);
}

// A stroke held on an idle page paints on after the canvas has been read back many times from
// pictures of the whole page: each lays the page out anew under the still pointer, which the page
// must not take for the pointer leaving the canvas
TEST_F(LumlifeWebIdle, AStrokeLastsWhileTheIdlePageIsReadBack)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    int x, y;
    layout_cell_centre(view, 20, 15, x, y);
    ASSERT_TRUE(press(x, y));
    ASSERT_TRUE(see_live(20, 15));
    BROWSER_PIXELS shown;
    for (int i = 0; i < HELD_READBACKS; i++)
        ASSERT_TRUE(pixels(shown));
    layout_cell_centre(view, 21, 15, x, y);
    ASSERT_TRUE(mouse("move", x, y));
    ASSERT_TRUE(see_live(21, 15)) << "the stroke went on after " << HELD_READBACKS << " read-backs";
    ASSERT_TRUE(release(x, y));
}

