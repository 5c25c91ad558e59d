// An idle toy costs next to nothing, end to end: the real toy in a private virtual X display
// with Mesa's software renderer. A still game screen draws a frame only when it would differ from
// the one shown, so it takes a few percent of one core (measured as the toy's own processor
// time, which a loaded machine does not inflate); yet everything that changes is drawn: a click
// on a cell, every generation of a running grid, the window uncovered after another covered it,
// the window sizes of F1, the title's countdown and the about screen's breathing icons. In the
// debug slow motion (F9) the toy logs once a second how many frames it drew and dropped.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "settings_record.h"
#include "toy.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double IDLE_SECONDS = 10.0;     // the idle screen's processor time is averaged over this
constexpr double IDLE_SHARE = 0.05;       // at most this share of one core
constexpr int RUN_LOOKS = 12;             // screenshots of a running grid
constexpr int RUN_LOOK_GAP_MS = 60;       // at least this long between two of them
constexpr int ABOUT_LOOKS = 8;            // screenshots of the about screen
constexpr int ABOUT_LOOK_GAP_MS = 250;    // its icons breathe slowly: a few pixels in this time
constexpr int SETTLE_MS = 500;            // a still screen is let run this long before its picture is kept
const char COUNTS[] = "frames: ([0-9]+) drawn, ([0-9]+) skipped";  // the slow motion's log line

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// A still grid: blocks and beehives, which the rule B3/S23 leaves as they are
RECORD_GRID still_grid()
{
    RECORD_GRID g{};
    for (int bx = 2; bx < RECORD_COLS - 4; bx += 6) {
        for (int by = 2; by < RECORD_ROWS - 4; by += 6) {
            if ((bx + by) % 4 == 0) {
                g[bx][by] = g[bx + 1][by] = g[bx][by + 1] = g[bx + 1][by + 1] = 1;
            } else {
                g[bx + 1][by] = g[bx + 2][by] = 1;
                g[bx][by + 1] = g[bx + 3][by + 1] = 1;
                g[bx + 1][by + 2] = g[bx + 2][by + 2] = 1;
            }
        }
    }
    return g;
}

// A glider: it moves on for ever over the wrapped grid, so no two generations look alike
RECORD_GRID glider_grid()
{
    RECORD_GRID g{};
    g[10][10] = g[11][11] = g[9][12] = g[10][12] = g[11][12] = 1;
    return g;
}

// The processor time (user and system) a process has used, in seconds
double cpu_seconds(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // The command name, in parentheses, may hold blanks: the fields are counted after it
    size_t end = text.rfind(')');
    if (end == std::string::npos)
        return -1.0;
    std::istringstream fields(text.substr(end + 2));
    std::string field;
    double ticks = 0.0;
    for (int i = 3; i <= 15 && fields >> field; i++)
        if (i == 14 || i == 15)  // utime, stime
            ticks += std::atof(field.c_str());
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

bool same_picture(const XCAPTURE_IMAGE &a, const XCAPTURE_IMAGE &b)
{
    return a.w == b.w && a.h == b.h && a.rgb == b.rgb;
}

// Pixels in which two pictures of the same size differ
int pixels_apart(const XCAPTURE_IMAGE &a, const XCAPTURE_IMAGE &b)
{
    if (a.w != b.w || a.h != b.h)
        return a.w * a.h;
    int n = 0;
    for (size_t i = 0; i < a.rgb.size(); i += 3)
        n += a.rgb[i] != b.rgb[i] || a.rgb[i + 1] != b.rgb[i + 1] || a.rgb[i + 2] != b.rgb[i + 2];
    return n;
}

std::array<int, 3> pixel_at(const XCAPTURE_IMAGE &im, int x, int y)
{
    const uint8_t *p = &im.rgb[(static_cast<size_t>(y) * im.w + x) * 3];
    return {p[0], p[1], p[2]};
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifeIdle : public ToyTest {
protected:
    LumlifeIdle() : ToyTest(LUMLIFE_PATH) {}

    // Start on a prepared grid with the glow on, stopped or running at `speed` generations a
    // second, the step counter shown
    ::testing::AssertionResult start_on(const RECORD_GRID &g, bool running, int speed = 60)
    {
        prepare(record_prepared(g, {{RECORD_GLOW, 1}, {RECORD_RUNNING, running ? 1 : 0}, {RECORD_FREQ, speed},
                                    {RECORD_SHOW_STEPS, 1}}));
        if (auto r = start(); !r)
            return r;
        return point_at(1, 1);  // the pointer rests in a corner, away from the buttons
    }

    // The window's picture once it has stayed the same over SETTLE_MS; it goes to `frame`
    ::testing::AssertionResult settled()
    {
        XCAPTURE_IMAGE last;
        auto since = std::chrono::steady_clock::now();
        return see(
            [&](const XCAPTURE_IMAGE &im) {
                auto now = std::chrono::steady_clock::now();
                if (!same_picture(im, last)) {
                    last = im;
                    since = now;
                    return false;
                }
                return now - since >= std::chrono::milliseconds(SETTLE_MS);
            },
            "a still picture");
    }

    // Switch the debug slow motion on (F9) and wait for its answer; the log lines before it are
    // used up (a click's own F9 presses may have logged counts)
    ::testing::AssertionResult slow_motion()
    {
        process_drain(toy);
        next_line = toy.lines.size();
        if (auto r = xdo({"key", "F9"}); !r)
            return r;
        return logged("line [0-9]+: lum_set_logic_rate");
    }

    // The next log line of frame counts: drawn and dropped during one second
    ::testing::AssertionResult counts(int &drawn, int &skipped)
    {
        size_t from = next_line;
        if (auto r = wait_line(COUNTS, from); !r)
            return r;
        std::smatch m;
        const std::string &text = toy.lines[from - 1];
        if (!std::regex_search(text, m, std::regex(COUNTS)))
            return ::testing::AssertionFailure() << "not a line of counts: " << text;
        drawn = std::atoi(m[1].str().c_str());
        skipped = std::atoi(m[2].str().c_str());
        next_line = from;
        return ::testing::AssertionSuccess();
    }
};

}  // namespace

//----------------------------------------------------------------------------------
// The idle game screen
//----------------------------------------------------------------------------------
// A still grid with the glow on takes at most 5 % of one core over 10 seconds
TEST_F(LumlifeIdle, AStillGameScreenTakesAtMostAFewPercentOfOneCore)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    ASSERT_TRUE(settled());
    const double cpu0 = cpu_seconds(toy.pid);
    const auto t0 = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - t0 < std::chrono::duration<double>(IDLE_SECONDS)) {
        ASSERT_TRUE(process_drain(toy)) << "the toy ended\n" << process_transcript(toy);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const double cpu1 = cpu_seconds(toy.pid);
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    ASSERT_GE(cpu0, 0.0);
    const double share = (cpu1 - cpu0) / wall;
    RecordProperty("idle_cpu_percent", std::to_string(share * 100.0));
    EXPECT_LE(share, IDLE_SHARE) << "processor time of the idle toy: " << (cpu1 - cpu0) << " s in " << wall << " s";
    ASSERT_TRUE(quit_with_escape());
}

// In the slow motion the log counts the frames: a still screen draws none of them
TEST_F(LumlifeIdle, SlowMotionCountsNoFrameDrawnOnAStillScreen)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    ASSERT_TRUE(slow_motion());
    int drawn = 0, skipped = 0;
    ASSERT_TRUE(counts(drawn, skipped));  // the second in which F9 was pressed
    ASSERT_TRUE(counts(drawn, skipped));
    EXPECT_EQ(drawn, 0);
    EXPECT_GE(skipped, 1);
    ASSERT_TRUE(quit_with_escape());
}

// A click on a dead cell of the idle screen lights it in the frame after the press
TEST_F(LumlifeIdle, AClickOnACellOfAnIdleScreenShowsAtOnce)
{
    ASSERT_TRUE(start_on(RECORD_GRID{}, false));
    ASSERT_TRUE(settled());
    const XCAPTURE_IMAGE before = frame;
    int px, py;
    layout_cell_centre(view, 20, 12, px, py);
    const std::array<int, 3> dead = pixel_at(before, px, py);
    ASSERT_TRUE(point_at(px, py, {"mousedown", "1"}));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return pixel_at(im, px, py) != dead; }, "the cell lit"));
    ASSERT_TRUE(xdo({"mouseup", "1"}));
    ASSERT_TRUE(point_at(1, 1));
    // Only the cell changed, nothing else of the picture
    ASSERT_TRUE(settled());
    const int changed = pixels_apart(before, frame);
    EXPECT_GT(changed, 0);
    EXPECT_LT(changed, view.scale * view.scale * LAYOUT_CELL_SIDE * LAYOUT_CELL_SIDE * 4);
    ASSERT_TRUE(quit_with_escape());
}

//----------------------------------------------------------------------------------
// Running
//----------------------------------------------------------------------------------
// At 60 generations a second every frame is new, so every one is drawn: the screenshots differ,
// and in the slow motion no frame is dropped
TEST_F(LumlifeIdle, RunningAtSixtyGenerationsASecondDrawsEveryGeneration)
{
    ASSERT_TRUE(start_on(glider_grid(), true, 60));
    std::vector<XCAPTURE_IMAGE> looks;
    for (int i = 0; i < RUN_LOOKS; i++) {
        const auto t = std::chrono::steady_clock::now();
        ASSERT_TRUE(see([](const XCAPTURE_IMAGE &) { return true; }, "the window"));
        looks.push_back(frame);
        std::this_thread::sleep_until(t + std::chrono::milliseconds(RUN_LOOK_GAP_MS));
    }
    int new_looks = 0;
    for (size_t i = 1; i < looks.size(); i++)
        new_looks += !same_picture(looks[i], looks[i - 1]);
    // A loaded machine may let the toy miss a tick between two looks, never most of them
    EXPECT_GE(new_looks, (RUN_LOOKS - 1) / 2) << "screenshots that differ from the one before";

    ASSERT_TRUE(slow_motion());
    int drawn = 0, skipped = 0;
    ASSERT_TRUE(counts(drawn, skipped));  // the second in which F9 was pressed
    for (int second = 0; second < 2; second++) {
        ASSERT_TRUE(counts(drawn, skipped));
        EXPECT_GE(drawn, 1);
        EXPECT_EQ(skipped, 0);
    }
    ASSERT_TRUE(quit_with_escape());
}

//----------------------------------------------------------------------------------
// The window's picture lost and found again
//----------------------------------------------------------------------------------
// Another window covers the toy's and goes: the toy draws its picture again, the same pixels
TEST_F(LumlifeIdle, TheWindowCoveredAndUncoveredShowsTheSamePixels)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    ASSERT_TRUE(settled());
    const XCAPTURE_IMAGE before = frame;

    int wx = 0, wy = 0;
    Window child = None;
    ASSERT_TRUE(XTranslateCoordinates(x, window, DefaultRootWindow(x), 0, 0, &wx, &wy, &child));
    XSetWindowAttributes a{};
    a.override_redirect = True;
    a.background_pixel = 0xFF00FF;  // magenta: nothing of the toy's is
    Window cover = XCreateWindow(x, DefaultRootWindow(x), wx, wy, static_cast<unsigned>(view.w),
                                 static_cast<unsigned>(view.h), 0, CopyFromParent, InputOutput, CopyFromParent,
                                 CWOverrideRedirect | CWBackPixel, &a);
    XMapRaised(x, cover);
    XSync(x, False);
    // The screen shows the cover over the toy's window; the toy's window, without a picture kept
    // for it by the server, has lost its own where it was covered
    XCAPTURE_IMAGE screen;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(TOY_SEE_SECONDS);
    for (;;) {
        ASSERT_TRUE(xcapture_window(x, DefaultRootWindow(x), screen));
        std::array<int, 3> c = pixel_at(screen, wx + view.w / 2, wy + view.h / 2);
        if (c[0] == 255 && c[1] == 0 && c[2] == 255)
            break;
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the cover is not on the screen";
        let_run();
    }
    for (int i = 0; i < 10; i++)
        let_run();
    XDestroyWindow(x, cover);
    XSync(x, False);
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return same_picture(im, before); }, "the same picture again"))
        << pixels_apart(frame, before) << " pixels differ";
    ASSERT_TRUE(quit_with_escape());
}

//----------------------------------------------------------------------------------
// Window sizes and other screens
//----------------------------------------------------------------------------------
// F1 to the portrait window and on round to the start-up size: each is drawn, and back at the
// start the picture is the one from before
TEST_F(LumlifeIdle, F1ToPortraitAndBackDraws)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    ASSERT_TRUE(settled());
    const XCAPTURE_IMAGE landscape = frame;
    const LAYOUT_VIEW start_view = view;
    bool portrait_seen = false;
    // Each size in turn, until the start-up size comes round again
    for (int i = 0; i < 8; i++) {
        ASSERT_TRUE(point_at(1, 1, {"key", "F1"}));
        const int at = line("NEW LAYOUT [0-9]+x[0-9]+ global_scale .*", next_line);
        ASSERT_GE(at, 0) << "no new layout after F1\n" << process_transcript(toy);
        std::smatch m;
        const std::string &text = toy.lines[static_cast<size_t>(at)];
        ASSERT_TRUE(std::regex_search(text, m, std::regex("NEW LAYOUT ([0-9]+)x([0-9]+)"))) << text;
        view = layout_view(std::atoi(m[1].str().c_str()), std::atoi(m[2].str().c_str()));
        ASSERT_TRUE(laid_out());
        // The new size is drawn: the picture is the game screen, not one colour
        ASSERT_TRUE(see(
            [](const XCAPTURE_IMAGE &im) {
                std::set<std::array<int, 3>> colours;
                for (int y = 0; y < im.h; y += 7)
                    for (int x2 = 0; x2 < im.w; x2 += 7)
                        colours.insert(pixel_at(im, x2, y));
                return colours.size() >= 3;
            },
            "the game screen at " + layout_line(view)));
        portrait_seen = portrait_seen || view.h > view.w;
        if (view.w == start_view.w && view.h == start_view.h)
            break;
    }
    EXPECT_TRUE(portrait_seen);
    ASSERT_EQ(view.w, start_view.w);
    ASSERT_EQ(view.h, start_view.h);
    ASSERT_TRUE(point_at(1, 1));
    ASSERT_TRUE(see([&](const XCAPTURE_IMAGE &im) { return same_picture(im, landscape); }, "the first picture again"));
    ASSERT_TRUE(quit_with_escape());
}

// The title's countdown shrinks the title every tick: each of its frames is drawn
TEST_F(LumlifeIdle, TheTitleStillAnimates)
{
    ASSERT_TRUE(launch());
    pause();  // the toy runs a few milliseconds between the test's looks
    size_t from = next_line;
    ASSERT_TRUE(wait_line("changed logic rate 0 -> 60", from));
    ASSERT_TRUE(find_window());
    std::vector<XCAPTURE_IMAGE> titles;
    size_t game_from = from;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(TOY_LOG_SECONDS);
    while (line("RESET [0-9]+ buttons COUNTER [0-9]+", game_from, 0.0) < 0) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the game screen did not come";
        ASSERT_TRUE(see([](const XCAPTURE_IMAGE &) { return true; }, "the window"));
        ASSERT_TRUE(process_drain(toy)) << "the toy ended\n" << process_transcript(toy);
        if (line("RESET [0-9]+ buttons COUNTER [0-9]+", game_from, 0.0) >= 0)
            break;  // the game screen may already be drawn
        if (titles.empty() || !same_picture(frame, titles.back()))
            titles.push_back(frame);
        let_run();
    }
    resume();
    EXPECT_GE(titles.size(), 4u) << "different title frames seen";
    ASSERT_TRUE(quit_with_escape());
}

// The about screen's icons breathe: every frame differs, so none is dropped
TEST_F(LumlifeIdle, TheAboutScreenStillAnimates)
{
    ASSERT_TRUE(start_on(still_grid(), false));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_ABOUT), literal("'?' -> state switch")));
    ASSERT_TRUE(logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    ASSERT_TRUE(point_at(1, 1));
    std::set<std::vector<uint8_t>> pictures;
    for (int i = 0; i < ABOUT_LOOKS; i++) {
        ASSERT_TRUE(see([](const XCAPTURE_IMAGE &) { return true; }, "the about screen"));
        pictures.insert(frame.rgb);
        std::this_thread::sleep_for(std::chrono::milliseconds(ABOUT_LOOK_GAP_MS));
    }
    EXPECT_GE(pictures.size(), 3u) << "different pictures of the about screen";
    ASSERT_TRUE(slow_motion());
    int drawn = 0, skipped = 0;
    ASSERT_TRUE(counts(drawn, skipped));  // the second in which F9 was pressed
    ASSERT_TRUE(counts(drawn, skipped));
    EXPECT_GE(drawn, 1);
    EXPECT_EQ(skipped, 0);
    ASSERT_TRUE(quit_with_escape());
}
