// End-to-end tests of the toy's browser build (`make web`) in headless Chromium, over the DevTools
// protocol, served on 127.0.0.1 only. The page's console is the toy's log; its IndexedDB holds
// the per-user folder, which the tests prepare and read back directly. The build is made once, in
// the test build's folder, by the test that sets up the fixture `lumlife_web_build`.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "browser.h"
#include "process.h"
#include "settings_record.h"
#include "toy_layout.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// A cell's centre in the default look (foreground and background 0, no icons): a live cell is
// bright red, a dead one a dark shade of the same red
constexpr int LIVE_RED_ABOVE = 200;
constexpr int DEAD_RED_BELOW = 120;
constexpr int GREY_SPREAD = 24;  // a label's pixel: its components this close together

// The sounds' pitches: STEP's click, a toggle's, is the low blip of every button on the press and
// a pip on the release, from the pip's 1046.528 Hz times its pitch (0.25 and 1); and the title's pips, m x (base + 2 x rise x base) x 3 Hz for m
// of 1..2 and rise 0..1. The analyser's loudest bin of a blip this short lies within a few bins
// of its pitch.
constexpr double CLICK_DOWN_HZ = 1046.528 * 0.25;
constexpr double CLICK_UP_HZ = 1046.528;
constexpr double TITLE_LOW_HZ = 21.827 * 3.0;
constexpr double TITLE_HIGH_HZ = 2.0 * 3.0 * 21.827 * 3.0;
constexpr double PITCH_TOLERANCE = 0.12;  // of the frequency

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Whether the canvas shows grid `want` in the default look. A cell's centre is bright red (live)
// or dark red (dead); one under the grey "EDIT" label cannot be told and is passed over.
static bool shows_grid(const BROWSER_PIXELS &p, const LAYOUT_VIEW &view, const RECORD_GRID &want)
{
    if (p.w != view.w || p.h != view.h)
        return false;
    for (int c = 0; c < RECORD_COLS; c++) {
        for (int r = 0; r < RECORD_ROWS; r++) {
            int x, y;
            layout_cell_centre(view, c, r, x, y);
            const uint8_t *rgb = &p.rgb[(static_cast<size_t>(y) * static_cast<size_t>(p.w) + static_cast<size_t>(x)) * 3];
            if (std::abs(rgb[0] - rgb[1]) < GREY_SPREAD && std::abs(rgb[1] - rgb[2]) < GREY_SPREAD)
                continue;
            if (rgb[0] > LIVE_RED_ABOVE ? want[c][r] != 1 : rgb[0] < DEAD_RED_BELOW ? want[c][r] != 0 : true)
                return false;
        }
    }
    return true;
}

static RECORD_GRID prepared_grid()
{
    return record_glider_blinker_block();
}

static bool near(double hz, double want)
{
    return std::fabs(hz - want) <= want * PITCH_TOLERANCE;
}

// A TCP connection to 127.0.0.1:`port`; -1 when refused
static int connect_local(int port)
{
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return fd;
    if (fd >= 0)
        close(fd);
    return -1;
}

// A port of 127.0.0.1 that nothing listens on now
static int free_port()
{
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    int port = -1;
    if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 &&
        getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size) == 0)
        port = ntohs(address.sin_port);
    if (fd >= 0)
        close(fd);
    return port;
}

// The whole answer to an HTTP GET of `path` from 127.0.0.1:`port`; empty when refused
static std::string http_get(int port, const std::string &path)
{
    int fd = connect_local(port);
    if (fd < 0)
        return "";
    const std::string request = "GET " + path + " HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n";
    std::string answer;
    if (write(fd, request.data(), request.size()) == static_cast<ssize_t>(request.size())) {
        char buffer[4096];
        for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
            answer.append(buffer, static_cast<size_t>(n));
    }
    close(fd);
    return answer;
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifeWeb : public BrowserTest {
protected:
    LumlifeWeb() : BrowserTest(WEB_BUILD_DIR) {}

    // The prepared grid with the counter hidden, in IndexedDB, and the toy showing it
    ::testing::AssertionResult start_with(const SETTINGS_RECORD &rec)
    {
        if (auto r = store_settings(rec); !r)
            return r;
        if (auto r = open_toy(); !r)
            return r;
        return see_grid(record_grid(rec), "the prepared grid");
    }

    ::testing::AssertionResult see_grid(const RECORD_GRID &want, const std::string &what)
    {
        return see([&](const BROWSER_PIXELS &p) { return shows_grid(p, view, want); }, what);
    }

    // STEP clicked: the grid shown goes one generation on, into `g`
    ::testing::AssertionResult step(const SETTINGS_RECORD &rec, RECORD_GRID &g)
    {
        if (auto r = click(layout_control(view, LAYOUT_STEP)); !r)
            return r;
        g = record_life_next(g, rec);
        return see_grid(g, "one generation on");
    }

    // IndexedDB holds `rec` with grid `g` and counter `steps`
    ::testing::AssertionResult stored_is(SETTINGS_RECORD rec, const RECORD_GRID &g, int64_t steps)
    {
        record_set_grid(rec, g);
        record_put32(rec, RECORD_STEPS, steps);
        SETTINGS_RECORD got;
        if (auto r = stored_settings(got); !r)
            return r;
        return record_same(got, rec);
    }

    // The sound's peak frequencies in each look since the tap was last emptied (all of a look's
    // peaks, or only its loudest), and empty it
    ::testing::AssertionResult heard(std::vector<double> &hz, bool loudest_only)
    {
        std::string json;
        const std::string take = loudest_only ? "look.slice(0, 1)" : "look";
        if (auto r = eval("JSON.stringify(window.lumAudioPeaks.splice(0).flatMap(look => " + take +
                          ".map(p => p[0])))",
                          &json);
            !r)
            return r;
        hz.clear();
        std::stringstream in(std::regex_replace(json, std::regex(R"([^0-9.,])"), ""));
        for (std::string item; std::getline(in, item, ',');)
            if (!item.empty())
                hz.push_back(std::stod(item));
        return ::testing::AssertionSuccess();
    }

};

//----------------------------------------------------------------------------------
// Tests
//----------------------------------------------------------------------------------
// The page logs the desktop toy's start-up, in its order, and where it keeps the saved files
TEST_F(LumlifeWeb, ThePageStartsWithTheDesktopsStartUpLines)
{
    ASSERT_TRUE(command("goto /index.html"));
    for (const char *line : {"lum init", "INPUT INIT", "saved files: IndexedDB at '/home/web_user/\\.kobaltine'",
                             "Set graphics 960x640", "Desktop: 960x640", "draw: reset \\(960 x 640\\)",
                             "stream setting 22050hz, 512 byte update", "START audio STREAM",
                             "image '\\./gfx/font8x8\\.png' 145x91 \\(52780 bytes\\)",
                             "file_open_read '/home/web_user/\\.kobaltine/lumlife/settings\\.cfg': FAIL",
                             "CONFIG SET: b3s23w", "changed logic rate 0 -> 60",
                             "NEW LAYOUT 960x640 global_scale 2\\.000000 \\(480x320\\)", "BUTTON HEIGHT .*"})
        ASSERT_TRUE(toy_logged(line));
    EXPECT_TRUE(no_exception());
}

// A grid prepared in IndexedDB is read at start and drawn: every cell checked on the canvas
TEST_F(LumlifeWeb, APreparedGridIsDrawnCellByCell)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 7}});
    ASSERT_TRUE(start_with(rec));
    EXPECT_TRUE(no_exception());
}

// STEP, a rule digit and a paint stroke change the grid and the record exactly as on the desktop:
// one generation by the cell-by-cell rule, birth on 6 switched on, the stroke's cells painted
TEST_F(LumlifeWeb, StepARuleDigitAndAStrokeChangeTheGridAsOnTheDesktop)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 7}});
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g = prepared_grid();
    ASSERT_TRUE(step(rec, g));

    ASSERT_TRUE(click(layout_rule_digit(view, true, 6)));

    // From a dead cell, pressing and moving paints every cell crossed
    const int stroke[][2] = {{10, 25}, {11, 25}, {12, 25}, {12, 26}};
    for (const auto &c : stroke) {
        int x, y;
        layout_cell_centre(view, c[0], c[1], x, y);
        if (&c == &stroke[0])
            ASSERT_TRUE(press(x, y));
        else
            ASSERT_TRUE(mouse("move", x, y));
        g[c[0]][c[1]] = 1;
        ASSERT_TRUE(see_grid(g, "painted up to (" + std::to_string(c[0]) + ", " + std::to_string(c[1]) + ")"));
    }
    int x, y;
    layout_cell_centre(view, stroke[3][0], stroke[3][1], x, y);
    ASSERT_TRUE(release(x, y));

    ASSERT_TRUE(hide_page());
    SETTINGS_RECORD want = rec;
    want.bytes[RECORD_BPARAMS + 6] = 1;
    EXPECT_TRUE(stored_is(want, g, 8));
    EXPECT_TRUE(no_exception());
}

// Reloading the page brings back the grid, the counter and the settings as they were saved
TEST_F(LumlifeWeb, AReloadRestoresTheGrid)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 41}});
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g = prepared_grid();
    ASSERT_TRUE(step(rec, g));
    ASSERT_TRUE(hide_page());

    ASSERT_TRUE(reload_toy());
    ASSERT_TRUE(see_grid(g, "the saved grid after the reload"));
    EXPECT_TRUE(stored_is(rec, g, 42));
    EXPECT_TRUE(no_exception());
}

// A reload straight after a change, with no other chance to save, keeps the change: the page's
// leaving saves it, to the page's local storage at once, and the next start puts it back and
// into IndexedDB
TEST_F(LumlifeWeb, AReloadRightAfterAChangeKeepsIt)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 3}});
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g = prepared_grid();
    ASSERT_TRUE(step(rec, g));

    ASSERT_TRUE(reload_toy());
    ASSERT_TRUE(see_grid(g, "the grid of the page that was left"));
    EXPECT_TRUE(stored_is(rec, g, 4));
    EXPECT_TRUE(no_exception());
}

// A browser that keeps no IndexedDB for the page (storage blocked): one clear line, and the toy
// plays as usual, its saves kept only while the page is open
TEST_F(LumlifeWeb, WithoutIndexedDbTheToySaysSoAndPlays)
{
    ASSERT_TRUE(command("script Object.defineProperty(window, 'indexedDB', {value: undefined})"));
    ASSERT_TRUE(command("goto /index.html"));
    ASSERT_TRUE(toy_logged("saved files: no IndexedDB, saves last only while the page is open"));
    ASSERT_TRUE(toy_logged("BUTTON HEIGHT .*"));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_CLEAR)));
    ASSERT_TRUE(see_grid(RECORD_GRID{}, "the cleared grid"));
    ASSERT_TRUE(eval("Object.defineProperty(document, 'visibilityState', {value: 'hidden', configurable: true});"
                     "document.dispatchEvent(new Event('visibilitychange')); 1"));
    ASSERT_TRUE(toy_logged("page hidden: saving"));
    ASSERT_TRUE(toy_logged("wrote 4172 bytes"));
    EXPECT_TRUE(no_exception());
}

// Escape held ends the toy as on the desktop, which saves the grid on its way out; the page stays
// and says how to play again
TEST_F(LumlifeWeb, EscapeHeldEndsTheToySavedAndThePageSaysSo)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 12}});
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g = prepared_grid();
    ASSERT_TRUE(step(rec, g));
    ASSERT_TRUE(key("down", "Escape"));
    ASSERT_TRUE(toy_logged("Bye! :\\)"));
    ASSERT_TRUE(key("up", "Escape"));
    ASSERT_TRUE(logged(std::regex("^console IndexedDB: stored '" + literal(BROWSER_SETTINGS_FILE) + "'$")));
    EXPECT_TRUE(stored_is(rec, g, 13));
    std::string note;
    ASSERT_TRUE(eval("document.getElementById('ended') ? document.getElementById('ended').textContent : ''", &note));
    EXPECT_EQ(note, "\"Lum Life has ended: reload the page to play again\"");
    EXPECT_TRUE(no_exception());
}

// F1 steps through the window sizes: the canvas takes each new size and the game lays itself out
// for it, in portrait (320 x 480) and then in landscape (480 x 320)
TEST_F(LumlifeWeb, FOneResizesTheCanvas)
{
    ASSERT_TRUE(open_toy());
    for (auto [w, h] : {std::pair{320, 480}, {480, 320}}) {
        const std::string size = std::to_string(w) + "x" + std::to_string(h);
        ASSERT_TRUE(key("down", "F1"));
        ASSERT_TRUE(key("up", "F1"));
        ASSERT_TRUE(toy_logged("Set graphics " + size));
        ASSERT_TRUE(toy_logged("NEW LAYOUT " + size + " .*"));
        ASSERT_TRUE(see([w, h](const BROWSER_PIXELS &p) { return p.w == w && p.h == h; }, "a " + size + " canvas"));
    }
    EXPECT_TRUE(no_exception());
}

// Until the first click or key the page says how to start the sound; the click takes the note away
TEST_F(LumlifeWeb, TheSoundNoteGoesWithTheFirstClick)
{
    ASSERT_TRUE(open_toy());
    std::string shown;
    ASSERT_TRUE(eval("document.getElementById('sound') ? document.getElementById('sound').textContent.trim() : ''",
                     &shown));
    EXPECT_EQ(shown, "\"click to start sound\"");
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(eval("document.getElementById('sound') === null", &shown));
    EXPECT_EQ(shown, "true");
}

// The title's pips and a STEP click's blips reach the page's audio output at their pitches
TEST_F(LumlifeWeb, TheTitlePipsAndAClickAreHeard)
{
    ASSERT_TRUE(open_toy());
    std::vector<double> title;
    ASSERT_TRUE(heard(title, true));
    ASSERT_FALSE(title.empty()) << "nothing was heard while the title played";
    for (double hz : title)
        EXPECT_TRUE(hz >= TITLE_LOW_HZ * (1.0 - PITCH_TOLERANCE) && hz <= TITLE_HIGH_HZ * (1.0 + PITCH_TOLERANCE))
            << hz << " Hz";

    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    // The blips reach the output a few audio blocks after the ticks that make them: listen until
    // both are heard, or for as long as any wait lasts
    bool down = false, up = false;
    std::string all;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(static_cast<int>(BROWSER_WAIT_SECONDS));
    while (!(down && up) && std::chrono::steady_clock::now() < deadline) {
        std::vector<double> now;
        ASSERT_TRUE(heard(now, false));
        for (double hz : now) {
            all += " " + std::to_string(static_cast<int>(hz));
            down = down || near(hz, CLICK_DOWN_HZ);
            up = up || near(hz, CLICK_UP_HZ);
        }
        ASSERT_TRUE(eval("new Promise(r => setTimeout(() => r(1), 20))"));
    }
    EXPECT_TRUE(down) << "no blip near " << CLICK_DOWN_HZ << " Hz on the press; heard (Hz):" << all;
    EXPECT_TRUE(up) << "no blip near " << CLICK_UP_HZ << " Hz on the release; heard (Hz):" << all;
}

// "?" opens the about screen, whose links open in a new tab here, and its "OK" returns to the
// game screen with the grid as it was
TEST_F(LumlifeWeb, TheAboutScreenOpensAndReturns)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_ABOUT)));
    ASSERT_TRUE(toy_logged("'\\?' -> state switch"));
    ASSERT_TRUE(see([&](const BROWSER_PIXELS &p) { return !shows_grid(p, view, prepared_grid()); },
                    "the about screen instead of the grid"));

    ASSERT_TRUE(click(layout_about_row(view, 1)));
    ASSERT_TRUE(toy_logged("OPEN URL \\(hint 0\\): https://kobaltine\\.example/"));

    ASSERT_TRUE(click(layout_about_row(view, 3)));
    ASSERT_TRUE(toy_logged("'OK' -> state switch"));
    ASSERT_TRUE(see_grid(prepared_grid(), "the game screen again"));
    EXPECT_TRUE(no_exception());
}

// `make serve` says where it serves the build, serves the page and the code (as WebAssembly, which
// browsers compile only with its own type) on 127.0.0.1, and ends with the make that started it
TEST(LumlifeWebServe, MakeServeServesTheBuildOnLoopbackAndSaysWhere)
{
    const int port = free_port();
    ASSERT_GT(port, 0);
    PROCESS make;
    std::string error;
    ASSERT_TRUE(process_start(make,
                              {"make", "--no-print-directory", "-C", SOURCE_DIR, "serve",
                               std::string("WEB_BUILD=") + WEB_BUILD_DIR, "WEB_PORT=" + std::to_string(port)},
                              "", error, {"MAKEFLAGS", "MAKELEVEL", "MFLAGS", "MAKEOVERRIDES"}))
        << error;
    const std::string address = "http://127.0.0.1:" + std::to_string(port) + "/";
    ASSERT_GE(process_wait_line(make, std::regex("^Lum Life: " + literal(address) + "$"), BROWSER_WAIT_SECONDS), 0)
        << process_transcript(make);

    std::string page = http_get(port, "/");
    EXPECT_EQ(page.rfind("HTTP/1.0 200", 0), 0u) << page.substr(0, 200);
    EXPECT_NE(page.find("<canvas id=\"canvas\" width=\"960\" height=\"640\""), std::string::npos);
    std::string code = http_get(port, "/lumlife.wasm");
    EXPECT_EQ(code.rfind("HTTP/1.0 200", 0), 0u) << code.substr(0, 200);
    EXPECT_NE(code.find("Content-type: application/wasm"), std::string::npos) << code.substr(0, 300);

    process_stop(make);
    bool closed = false;
    for (int look = 0; look < 500 && !closed; look++) {
        int fd = connect_local(port);
        closed = fd < 0;
        if (!closed) {
            close(fd);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    EXPECT_TRUE(closed) << "the server outlived the make that started it";
}
