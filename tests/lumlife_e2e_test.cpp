// End-to-end tests of the real toy: `lumlife` runs in a private virtual X display with a
// temporary HOME; the tests read its log from a pipe while it runs, drive it with xdotool, a
// signal or a window-manager message, and read its window's pixels back.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "files.h"
#include "fonttext.h"
#include "process.h"
#include "settings_record.h"
#include "toy.h"
#include "toy_layout.h"
#include "xcapture.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// The lines of the reports printed without the log prefix: the Life rule and the settings dump
static const char UNPREFIXED_REPORT[] = R"(^(RULES: B[0-8]*/S[0-8]*, (wrap|dead|live) border|step [0-9]+( \(random fill %[0-9]+\))?|settings \(4172 bytes\):|  .*)$)";

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Whether pixel (col, row) of the glyph of character `c` is light ink: opaque and light in
// every channel
static bool light_ink(const FONT_TEXT &font, char c, int row, int col)
{
    constexpr int LIGHT_INK = 128;
    const auto &p = font.glyphs[static_cast<unsigned char>(c) - FONT_TEXT_FIRST].px[row * FONT_TEXT_SIDE + col];
    return p[3] == 255 && std::min({p[0], p[1], p[2]}) >= LIGHT_INK;
}

//----------------------------------------------------------------------------------
// Fixture: a private X display with the toy running on it
//----------------------------------------------------------------------------------
class Lumlife : public ToyTest {
protected:
    Lumlife() : ToyTest(LUMLIFE_PATH) {}

    void SetUp() override
    {
        ToyTest::SetUp();
        if (!HasFatalFailure()) {
            ASSERT_TRUE(launch());
        }
    }

    // The toy has logged "Quitting...", then "Bye! :)", and ended with status 0
    void expect_clean_exit(int quitting)
    {
        int bye;
        EXPECT_TRUE(logged_at(literal("Bye! :)"), bye, quitting + 1));
        ASSERT_TRUE(process_wait_exit(toy, TOY_EXIT_SECONDS)) << "the toy did not end\n" << process_transcript(toy);
        EXPECT_TRUE(WIFEXITED(toy.status) && WEXITSTATUS(toy.status) == 0) << describe_status(toy.status);
    }
};

//----------------------------------------------------------------------------------
// Log
//----------------------------------------------------------------------------------
TEST_F(Lumlife, StartUpLogsTheFrameworkLinesInOrder)
{
    const std::string expected[] = {
        literal("lum init"),
        literal("INPUT INIT"),
        literal("atlas: init"),
        "line [0-9]+: lum_set_logic_rate",
        literal("RATE 60"),
        literal("Set graphics 960x640"),
        literal("Desktop: 1920x1080"),
        literal("draw: reset (960 x 640)"),
        "line [0-9]+: game_reset",
        literal("Created 512x512 texture for atlas named '[no name]'"),
        literal("image './gfx/font8x8.png' ") + R"([0-9]+x[0-9]+ \([0-9]+ bytes\))",
        literal("image './gfx/umberdeep.png' 72x72 (20736 bytes)"),
        "upload atlas texid [0-9]+ 512 x 512",
        "line [0-9]+: load_settings",
        "line [0-9]+: game_update_config",
        literal("CONFIG SET: b3s23w"),
        literal("changed logic rate 0 -> 60"),
        // The title screen's first tick lays the screen out; after it the game screen builds its buttons
        literal("NEW LAYOUT 960x640 global_scale 2.000000 (480x320)"),
        literal("RESET 0 buttons COUNTER 1"),
        R"(BUTTON HEIGHT [0-9]+\.[0-9]+)",
    };
    int at = -1;
    for (const std::string &message : expected)
        ASSERT_TRUE(logged_at(message, at, static_cast<size_t>(at + 1)));
    // Every line has the prefix but the reports that are printed without it
    const std::regex prefix("^" + std::string(TOY_LOG_PREFIX));
    for (int i = 0; i <= at; i++)
        if (!std::regex_search(toy.lines[i], std::regex(UNPREFIXED_REPORT))) {
            EXPECT_TRUE(std::regex_search(toy.lines[i], prefix)) << "line " << i << ": '" << toy.lines[i] << "'";
        }
    EXPECT_FALSE(process_wait_exit(toy, 0.0)) << "the log arrived only when the toy ended";
}

//----------------------------------------------------------------------------------
// Ending the toy
//----------------------------------------------------------------------------------
// The platform quits when Escape is still held after an event poll; a press and release in one
// tick does not quit, so the key is held until the toy says it is quitting.
TEST_F(Lumlife, EscapeHeldEndsTheToyWithStatusZero)
{
    ASSERT_TRUE(running());
    Window w = toplevel();
    ASSERT_NE(w, None);
    int quitting;
    ASSERT_TRUE(hold_escape(quitting));
    for (int i = 0; i < quitting; i++)
        EXPECT_EQ(toy.lines[i].find("SDL_QUIT"), std::string::npos) << "Escape is not a window close";
    expect_clean_exit(quitting);
}

TEST_F(Lumlife, InterruptSignalLogsSdlQuitAndEndsWithStatusZero)
{
    ASSERT_TRUE(running());
    ASSERT_TRUE(process_signal(toy, SIGINT));
    int sdl_quit, quitting;
    ASSERT_TRUE(logged_at(literal("SDL_QUIT"), sdl_quit));
    ASSERT_TRUE(logged_at(literal("Quitting..."), quitting, sdl_quit + 1));
    expect_clean_exit(quitting);
}

// A window manager asks a window to close with a WM_DELETE_WINDOW client message
TEST_F(Lumlife, WindowCloseRequestLogsSdlQuitAndEndsWithStatusZero)
{
    ASSERT_TRUE(running());
    Window w = toplevel();
    ASSERT_NE(w, None);
    Atom wm_delete = XInternAtom(x, "WM_DELETE_WINDOW", False);
    Atom *protocols = nullptr;
    int count = 0;
    ASSERT_NE(XGetWMProtocols(x, w, &protocols, &count), 0) << "the window lists no WM protocols";
    bool accepts_delete = std::find(protocols, protocols + count, wm_delete) != protocols + count;
    XFree(protocols);
    ASSERT_TRUE(accepts_delete) << "the window does not take part in WM_DELETE_WINDOW";

    ASSERT_TRUE(request_close(w));

    int sdl_quit, quitting;
    ASSERT_TRUE(logged_at(literal("SDL_QUIT"), sdl_quit));
    ASSERT_TRUE(logged_at(literal("Quitting..."), quitting, sdl_quit + 1));
    expect_clean_exit(quitting);
}

//----------------------------------------------------------------------------------
// Window and pixels
//----------------------------------------------------------------------------------
TEST_F(Lumlife, WindowIs960By640)
{
    ASSERT_TRUE(running());
    Window w = toplevel();
    ASSERT_NE(w, None);
    XWindowAttributes a;
    ASSERT_NE(XGetWindowAttributes(x, w, &a), 0);
    EXPECT_EQ(a.width, LAYOUT_START_W);
    EXPECT_EQ(a.height, LAYOUT_START_H);
}

// The window carries the toy's name
TEST_F(Lumlife, WindowTitleIsLumLife)
{
    ASSERT_TRUE(running());
    Window w = toplevel();
    ASSERT_NE(w, None);
    char *name = nullptr;
    ASSERT_NE(XFetchName(x, w, &name), 0) << "the window has no name";
    std::string title = name ? name : "";
    XFree(name);
    EXPECT_EQ(title, "Lum Life");
}

// The title screen: "* LUM LIFE *" in white on black at the display centre, shrinking from 5.5 to
// 0.5 times its size (times the layout scale) over its 30 ticks, then the game screen. The toy is
// paused between looks, so that no title frame goes by unseen on a loaded machine: it runs at
// most four ticks a frame, and each look lets it run for a moment only.
TEST_F(Lumlife, TheTitleShrinksAtTheCentreAndGivesWayToTheGameScreen)
{
    constexpr int GREY_SLACK = 8;          // a title frame is grey: channels this close
    constexpr int LIGHT = 128;             // the title's ink
    constexpr double SCALE_SLACK = 0.25;   // a measured size lies this close to a tick's size
    constexpr double CENTRE_SLACK = 3.0;   // pixels between the text's centre and the display's
    constexpr int MAX_MISSES = 4;          // font pixels that may read wrong where a footprint edge meets a pixel centre
    const std::string title = "* LUM LIFE *";
    FONT_TEXT font;
    std::string error;
    ASSERT_TRUE(font_text_read("assets/font8x8.txt", font, error)) << error;
    // The title's ink extent in layout units: columns a..b, rows t..u
    int a = INT32_MAX, b = -1, t = INT32_MAX, u = -1;
    for (size_t i = 0; i < title.size(); i++)
        for (int row = 0; row < 8; row++)
            for (int col = 0; col < 8; col++)
                if (light_ink(font, title[i], row, col)) {
                    a = std::min(a, static_cast<int>(i) * 8 + col);
                    b = std::max(b, static_cast<int>(i) * 8 + col);
                    t = std::min(t, row);
                    u = std::max(u, row);
                }
    const int width = static_cast<int>(title.size()) * 8;

    int backdrop_x, backdrop_y;
    layout_glyph_pixel(view, 0, 0, LAYOUT_CELL_SIDE - 1, LAYOUT_CELL_SIDE - 1, backdrop_x, backdrop_y);
    backdrop_x += view.scale - 1;
    backdrop_y += view.scale - 1;

    int layout;
    ASSERT_TRUE(logged_at(literal("NEW LAYOUT 960x640 global_scale 2.000000 (480x320)"), layout));
    Window w = toplevel();
    ASSERT_NE(w, None);
    std::vector<double> sizes;  // the title's size in each title frame, in pixels per font pixel
    int clipped = 0;            // title frames too big for the window
    bool game = false;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(TOY_SEE_SECONDS);
    while (!game) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "no game screen after the title";
        ASSERT_TRUE(process_pause(toy)) << process_transcript(toy);
        XCAPTURE_IMAGE image;
        bool read = xcapture_window(x, w, image);
        ASSERT_TRUE(process_resume(toy));
        ASSERT_TRUE(read);
        std::this_thread::sleep_for(std::chrono::milliseconds(TOY_RUN_MS));
        ASSERT_EQ(image.w, LAYOUT_START_W);
        auto at = [&](int px, int py) { return &image.rgb[(static_cast<size_t>(py) * image.w + px) * 3]; };
        // The game screen: the grid's backdrop, 0.3 times colour 0 (1.0, 0.2, 0.2), shows at the
        // first cell's last glyph pixel, which no icon covers
        const uint8_t *backdrop = at(backdrop_x, backdrop_y);
        if (std::abs(backdrop[0] - 76) <= 3 && std::abs(backdrop[1] - 15) <= 3 && std::abs(backdrop[2] - 15) <= 3) {
            game = true;
            break;
        }
        bool grey = true;
        int left = image.w, right = -1, top = image.h, bottom = -1;
        for (int py = 0; py < image.h && grey; py++)
            for (int px = 0; px < image.w; px++) {
                const uint8_t *p = at(px, py);
                grey = grey && std::abs(p[0] - p[1]) <= GREY_SLACK && std::abs(p[1] - p[2]) <= GREY_SLACK;
                if (p[0] >= LIGHT) {
                    left = std::min(left, px);
                    right = std::max(right, px);
                    top = std::min(top, py);
                    bottom = std::max(bottom, py);
                }
            }
        if (!grey || right < 0) {
            // A window not drawn yet: only before the title
            ASSERT_TRUE(sizes.empty() && clipped == 0) << "a frame that is neither title nor game after the title";
            continue;
        }
        if (left == 0 || right == image.w - 1) {
            clipped++;
            ASSERT_TRUE(sizes.empty()) << "the title grew again";
            continue;
        }
        // Where the font's ink says the text's edges are: its size and its centre
        double s = (right + 1.0 - left) / (b + 1.0 - a);
        double cx = left - (a - width / 2.0) * s, cy = top - (t - 4.0) * s;
        EXPECT_NEAR(cx, LAYOUT_START_W / 2.0, CENTRE_SLACK) << "frame " << sizes.size();
        EXPECT_NEAR(cy, LAYOUT_START_H / 2.0, CENTRE_SLACK) << "frame " << sizes.size();
        EXPECT_NEAR(bottom + 1.0, cy + (u + 1.0 - 4.0) * s, CENTRE_SLACK) << "frame " << sizes.size();
        // Each font pixel's footprint is lit exactly where the glyph has ink. The edges found are
        // whole pixels, so the text's place is known to a pixel only: the best of a few shifts by
        // up to a pixel counts (at the smallest sizes a font pixel is little more than a pixel).
        int misses = static_cast<int>(title.size()) * 64;
        for (double dy = -1.0; dy <= 1.0; dy += 0.5)
            for (double dx = -1.0; dx <= 1.0; dx += 0.5) {
                int wrong = 0;
                for (size_t i = 0; i < title.size(); i++)
                    for (int row = 0; row < 8; row++)
                        for (int col = 0; col < 8; col++) {
                            int px = static_cast<int>(cx + dx + (static_cast<double>(i) * 8 + col + 0.5 - width / 2.0) * s);
                            int py = static_cast<int>(cy + dy + (row + 0.5 - 4.0) * s);
                            bool lit = at(px, py)[0] >= LIGHT;
                            wrong += lit != light_ink(font, title[i], row, col);
                        }
                misses = std::min(misses, wrong);
            }
        EXPECT_LE(misses, MAX_MISSES) << "the text does not read \"" << title << "\" in frame " << sizes.size()
                                      << " (size " << s << ")";
        // Its size is that of one of the title's ticks: (5 f + 0.5) times the scale 2, f = counter / 30
        double counter = (s / 2.0 - 0.5) / 5.0 * 30.0;
        EXPECT_NEAR(counter, std::round(counter), SCALE_SLACK) << "size " << s;
        EXPECT_GE(std::round(counter), 1.0);
        EXPECT_LE(std::round(counter), 29.0);
        if (!sizes.empty()) {
            EXPECT_LE(s, sizes.back() + 0.1) << "the title shrinks";
        }
        sizes.push_back(s);
    }
    // Paused between looks, the toy cannot hide its title's shrinking: it shows in several sizes
    constexpr size_t MIN_SIZES = 3;
    std::set<double> distinct(sizes.begin(), sizes.end());
    EXPECT_GE(distinct.size(), MIN_SIZES) << "title frames that fit the window: " << sizes.size() << ", too big: "
                                          << clipped;
    int reset;
    EXPECT_TRUE(logged_at(literal("RESET 0 buttons COUNTER 1"), reset, layout + 1));
}

TEST_F(Lumlife, LumshotSavesTheWindowAsAPng)
{
    ASSERT_TRUE(running());
    ASSERT_NE(toplevel(), static_cast<Window>(None));
    std::string dir = process_temp_dir("lumtest-shot");
    ASSERT_FALSE(dir.empty());
    std::string path = dir + "/shot.png";
    PROCESS shot;
    std::string error;
    ASSERT_TRUE(process_start(shot, {LUMSHOT_PATH, path}, xvfb.display, error)) << error;
    bool ended = process_wait_exit(shot, TOY_EXIT_SECONDS);
    int status = shot.status;
    process_stop(shot);
    int w = 0, h = 0;
    bool is_png = files_png_size(path, w, h);
    process_remove_dir(dir);
    ASSERT_TRUE(ended) << "lumshot did not end";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << describe_status(status);
    ASSERT_TRUE(is_png);
    EXPECT_EQ(w, LAYOUT_START_W);
    EXPECT_EQ(h, LAYOUT_START_H);
}

//----------------------------------------------------------------------------------
// The settings file
//----------------------------------------------------------------------------------
// The toy started with a HOME of our own, which may hold a prepared settings file
class LumlifeSettings : public ToyTest {
protected:
    LumlifeSettings() : ToyTest(LUMLIFE_PATH) {}
};

// A prepared file is read, reported and applied, and written back unchanged on exit
TEST_F(LumlifeSettings, APreparedFileIsLoadedAppliedAndRewrittenOnExit)
{
    SETTINGS_RECORD s = record_prepared({
        {RECORD_BORDER, 1},           // dead border
        {RECORD_FREQ, 20},            // 20 generations per second
        {RECORD_SHOW_STEPS, 1},       // counter shown
        {RECORD_FG, 2},               // colours, icons, glow
        {RECORD_BG, 8},
        {RECORD_ICON_CELL, 3},
        {RECORD_ICON_GRID, 4},
        {RECORD_GLOW, 1},
        {RECORD_PAD, 0x12345678},     // reserved, kept as read
        {RECORD_STEPS, 77},
    });
    s.bytes[RECORD_BPARAMS + 6] = 1;  // birth on 3 and 6, survival on 2 and 3
    const int glider[][2] = {{1, 0}, {2, 1}, {0, 2}, {1, 2}, {2, 2}};
    for (const auto &c : glider)
        record_set_cell(s, 10 + c[0], 5 + c[1], 1);
    record_set_cell(s, 47, 29, 1);
    ASSERT_NO_FATAL_FAILURE(prepare(s));
    ASSERT_TRUE(start());

    int read = line(literal("read 4172 bytes"));
    ASSERT_GE(read, 0) << process_transcript(toy);
    EXPECT_GE(line(literal("settings (4172 bytes):"), read + 1), 0) << process_transcript(toy);
    int config = line(literal("CONFIG SET: b36s23d"), read + 1);
    ASSERT_GE(config, 0) << process_transcript(toy);
    int rules = line(literal("RULES: B36/S23, dead border"), config + 1);
    ASSERT_GE(rules, 0) << process_transcript(toy);
    EXPECT_EQ(line(literal("step 77"), rules + 1), rules + 1) << process_transcript(toy);

    ASSERT_TRUE(quit_with_escape());
    int bye = line(literal("Bye! :)"));
    EXPECT_GT(line(literal("wrote 4172 bytes"), bye + 1), bye) << process_transcript(toy);
    // Nothing ran the automaton, so the file comes back exactly as it was
    EXPECT_EQ(saved().bytes, s.bytes);
}

// Without a file the defaults stand, and exit writes them
TEST_F(LumlifeSettings, WithoutAFileTheDefaultsStandAndExitWritesThem)
{
    ASSERT_TRUE(start());
    int config = line(literal("CONFIG SET: b3s23w"));
    ASSERT_GE(config, 0) << process_transcript(toy);
    int rules = line(literal("RULES: B3/S23, wrap border"), config + 1);
    ASSERT_GE(rules, 0) << process_transcript(toy);
    EXPECT_EQ(line(literal("step 0 (random fill %50)"), rules + 1), rules + 1) << process_transcript(toy);
    EXPECT_LT(process_wait_line(toy, std::regex("read [0-9]+ bytes"), 0.0), 0) << process_transcript(toy);
    ASSERT_TRUE(quit_with_escape());
    EXPECT_GE(line(literal("wrote 4172 bytes")), 0) << process_transcript(toy);
    SETTINGS_RECORD file = saved();
    ASSERT_EQ(file.bytes.size(), RECORD_SIZE);
    EXPECT_EQ(file.bytes[RECORD_BPARAMS + 3], 1);
    EXPECT_EQ(file.bytes[RECORD_SPARAMS + 2], 1);
    EXPECT_EQ(file.bytes[RECORD_SPARAMS + 3], 1);
    EXPECT_EQ(record_get32(file, RECORD_BORDER), 0);
    EXPECT_EQ(record_get32(file, RECORD_FREQ), 60);
    EXPECT_EQ(record_get32(file, RECORD_RUNNING), 0);
    EXPECT_EQ(record_get32(file, RECORD_SHOW_STEPS), 1);
    EXPECT_EQ(record_get32(file, RECORD_STEPS), 0);
    int alive = 0;
    for (int x = 0; x < RECORD_COLS; x++)
        for (int y = 0; y < RECORD_ROWS; y++)
            alive += record_cell(file, x, y);
    EXPECT_GT(alive, 500) << "a random grid at 50 %";
    EXPECT_LT(alive, 940) << "a random grid at 50 %";
}

// A damaged file (oversized, full of garbage) neither stops the toy nor survives the next save
TEST_F(LumlifeSettings, ADamagedFileIsBroughtIntoRangeAndReplacedOnExit)
{
    SETTINGS_RECORD garbage{std::vector<uint8_t>(10000)};
    for (size_t i = 0; i < garbage.bytes.size(); i++)
        garbage.bytes[i] = static_cast<uint8_t>(0x80 + (i * 37) % 128);
    ASSERT_NO_FATAL_FAILURE(prepare(garbage));
    ASSERT_TRUE(start());
    ASSERT_GE(line(literal("read 4172 bytes")), 0) << process_transcript(toy);
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD file = saved();
    ASSERT_EQ(file.bytes.size(), RECORD_SIZE);
    EXPECT_TRUE(record_get32(file, RECORD_BORDER) >= 0 && record_get32(file, RECORD_BORDER) <= 2);
    EXPECT_TRUE(record_get32(file, RECORD_FREQ) >= 1 && record_get32(file, RECORD_FREQ) <= 60);
    EXPECT_TRUE(record_get32(file, RECORD_FG) >= 0 && record_get32(file, RECORD_FG) <= 7);
    EXPECT_TRUE(record_get32(file, RECORD_BG) >= 0 && record_get32(file, RECORD_BG) <= 8);
    EXPECT_TRUE(record_get32(file, RECORD_ICON_CELL) >= 0 && record_get32(file, RECORD_ICON_CELL) <= 15);
    EXPECT_TRUE(record_get32(file, RECORD_ICON_GRID) >= 0 && record_get32(file, RECORD_ICON_GRID) <= 15);
    EXPECT_TRUE(record_get32(file, RECORD_GLOW) >= 0 && record_get32(file, RECORD_GLOW) <= 1);
    for (int x = 0; x < RECORD_GRID_SIDE; x++)
        for (int y = 0; y < RECORD_GRID_SIDE; y++)
            if (x >= RECORD_COLS || y >= RECORD_ROWS) {
                ASSERT_EQ(record_cell(file, x, y), 0) << x << "," << y;
            }
}

//----------------------------------------------------------------------------------
// A machine without a display or a sound device
//----------------------------------------------------------------------------------
class LumlifeWithout : public ToyTest {
protected:
    LumlifeWithout() : ToyTest(LUMLIFE_PATH) {}

    // Without a display the toy cannot show anything or receive input: it says so and ends at
    // once (saving as usual) instead of running unseen. `environment` takes the display away.
    void expect_no_display_quits(const std::vector<std::string> &environment)
    {
        ASSERT_TRUE(launch(environment));
        int found = process_wait_line(toy, toy_logged_regex(literal("No display found: quitting")), TOY_LOG_SECONDS);
        EXPECT_GE(found, 0) << process_transcript(toy);
        int quitting = process_wait_line(toy, toy_logged_regex(literal("Quitting...")), TOY_LOG_SECONDS);
        EXPECT_GT(quitting, found) << process_transcript(toy);
        ASSERT_TRUE(process_wait_exit(toy, TOY_EXIT_SECONDS)) << "the toy ran on without a display\n"
                                                              << process_transcript(toy);
        EXPECT_TRUE(WIFEXITED(toy.status) && WEXITSTATUS(toy.status) == 0) << describe_status(toy.status);
        int bye = process_wait_line(toy, toy_logged_regex(literal("Bye! :)")), 0.0);
        EXPECT_GT(bye, quitting) << process_transcript(toy);
        EXPECT_GT(process_wait_line(toy, toy_logged_regex(literal("wrote 4172 bytes")), 0.0), bye)
            << "the settings are saved as usual\n" << process_transcript(toy);
    }
};

TEST_F(LumlifeWithout, DisplayItSaysSoAndEndsWithStatusZero)
{
    expect_no_display_quits({"DISPLAY", "SDL_VIDEODRIVER", "WAYLAND_DISPLAY"});
}

// An empty SDL_VIDEODRIVER names no driver: the toy must not run unseen on SDL's fallback
TEST_F(LumlifeWithout, DisplayAndWithAnEmptyVideoDriverItSaysSoToo)
{
    expect_no_display_quits({"DISPLAY", "SDL_VIDEODRIVER=", "WAYLAND_DISPLAY"});
}

// Without a sound device the toy says so and runs silently: the window opens and Escape ends it
TEST_F(LumlifeWithout, AudioDeviceItSaysSoAndRunsSilently)
{
    ASSERT_TRUE(launch({"SDL_AUDIODRIVER=no-such-device"}));
    int no_audio = process_wait_line(toy, toy_logged_regex("No audio device: .+"), TOY_LOG_SECONDS);
    EXPECT_GE(no_audio, 0) << process_transcript(toy);
    int reset = process_wait_line(toy, toy_logged_regex(literal("draw: reset (960 x 640)")), TOY_LOG_SECONDS);
    EXPECT_GT(reset, no_audio) << process_transcript(toy);
    int loop = process_wait_line(toy, toy_logged_regex(literal("changed logic rate 0 -> 60")), TOY_LOG_SECONDS);
    ASSERT_GE(loop, 0) << process_transcript(toy);
    int quitting;
    ASSERT_TRUE(hold_escape(quitting));
    EXPECT_GT(quitting, loop) << process_transcript(toy);
    EXPECT_TRUE(process_wait_exit(toy, TOY_EXIT_SECONDS)) << process_transcript(toy);
    EXPECT_TRUE(WIFEXITED(toy.status) && WEXITSTATUS(toy.status) == 0) << describe_status(toy.status);
}

//----------------------------------------------------------------------------------
// `make run` on a machine without a display
//----------------------------------------------------------------------------------
// The run script says that no display was found, runs the toy in a virtual X display of its own,
// saves a screenshot of the window in the build folder and prints where, stops the toy and exits
// with status 0, leaving nothing in the temporary folder.
TEST(MakeRun, WithoutADisplayItRunsTheToyHeadlessAndSavesTheScreenshotInTheBuildFolder)
{
    std::string tmp = process_temp_dir("lumtest-tmp");
    ASSERT_FALSE(tmp.empty());
    PROCESS run;
    std::string error;
    ASSERT_TRUE(process_start(run, {RUN_SCRIPT, BUILD_DIR}, "", error,
                              {"DISPLAY", "SDL_VIDEODRIVER", "WAYLAND_DISPLAY", "TMPDIR=" + tmp}))
        << error;
    int said = process_wait_line(run, std::regex("^No display found: running Lum Life"), TOY_LOG_SECONDS);
    EXPECT_GE(said, 0) << process_transcript(run);
    const std::string path = std::string(BUILD_DIR) + "/lumlife-screenshot.png";
    int saved = process_wait_line(run, std::regex("^Screenshot saved: " + literal(path) + "$"),
                                  TOY_LOG_SECONDS + TOY_EXIT_SECONDS);
    ASSERT_GE(saved, 0) << process_transcript(run);
    ASSERT_TRUE(process_wait_exit(run, TOY_EXIT_SECONDS)) << process_transcript(run);
    EXPECT_TRUE(WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0) << describe_status(run.status);
    int w = 0, h = 0;
    EXPECT_TRUE(files_png_size(path, w, h)) << path;
    EXPECT_EQ(w, LAYOUT_START_W);
    EXPECT_EQ(h, LAYOUT_START_H);
    bool quit_cleanly = false;
    for (const std::string &line : run.lines)
        quit_cleanly = quit_cleanly || line.find("] Bye! :)") != std::string::npos;
    EXPECT_TRUE(quit_cleanly) << process_transcript(run);
    EXPECT_EQ(files_tree(tmp), std::vector<std::string>{}) << "the run left its working files behind";
    process_stop(run);
    std::filesystem::remove(path);
    process_remove_dir(tmp);
}

// `make screenshot`: the run script shoots the toy's game screen with its prepared grid in
// landscape and, after F1, in portrait, in a HOME of its own: the user's is left alone, and so
// is the temporary folder
TEST(MakeScreenshot, ItShootsLandscapeAndPortraitWithoutTouchingTheUsersHome)
{
    std::string dir = process_temp_dir("lumtest-shots");
    std::string home = process_temp_dir("lumtest-user");  // stands for the user's HOME
    std::string tmp = process_temp_dir("lumtest-tmp");
    ASSERT_FALSE(dir.empty());
    ASSERT_FALSE(home.empty());
    ASSERT_FALSE(tmp.empty());
    PROCESS run;
    std::string error;
    ASSERT_TRUE(process_start(run, {RUN_SCRIPT, BUILD_DIR, "--screenshot", dir + "/shot.png"}, "", error,
                              {"HOME=" + home, "TMPDIR=" + tmp}))
        << error;
    int landscape = process_wait_line(run, std::regex("^Screenshot saved: " + literal(dir + "/shot.png") + "$"),
                                      TOY_LOG_SECONDS + TOY_EXIT_SECONDS);
    EXPECT_GE(landscape, 0) << process_transcript(run);
    int portrait = process_wait_line(run, std::regex("^Screenshot saved: " + literal(dir + "/shot-portrait.png") + "$"),
                                     TOY_LOG_SECONDS + TOY_EXIT_SECONDS);
    EXPECT_GT(portrait, landscape) << process_transcript(run);
    bool ended = process_wait_exit(run, TOY_EXIT_SECONDS);
    int status = run.status;
    process_stop(run);
    EXPECT_TRUE(ended) << process_transcript(run);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << describe_status(status);
    int w = 0, h = 0;
    EXPECT_TRUE(files_png_size(dir + "/shot.png", w, h));
    EXPECT_EQ(w, LAYOUT_START_W);
    EXPECT_EQ(h, LAYOUT_START_H);
    EXPECT_TRUE(files_png_size(dir + "/shot-portrait.png", w, h));
    EXPECT_EQ(w, 320);
    EXPECT_EQ(h, 480);
    std::error_code ignored;
    EXPECT_TRUE(std::filesystem::is_empty(home, ignored)) << "the run wrote into the user's HOME";
    EXPECT_EQ(files_tree(tmp), std::vector<std::string>{}) << "the run left its working files behind";
    process_remove_dir(dir);
    process_remove_dir(home);
    process_remove_dir(tmp);
}
