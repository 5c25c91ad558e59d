// End-to-end tests of the toy's browser build on a phone: headless Chromium emulating a phone
// over the DevTools protocol (a 390 x 844 screen at three device pixels a CSS pixel, touch
// events), the build served on 127.0.0.1. The page fits the canvas to the screen and picks the
// toy's layout from its shape, turns one finger into the mouse, takes patterns in and gives them
// out through its bar, a dropped file, a paste and a link, and keeps its files for offline play
// with a service worker of the build's version. Cells are read back from the saved record in
// IndexedDB and from the canvas. The build is the one `lumlife_web_build` makes for the browser
// tests.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
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
constexpr int PHONE_W = 390;       // the emulated phone's screen in CSS pixels, upright
constexpr int PHONE_H = 844;
constexpr int PHONE_SCALE = 3;     // device pixels a CSS pixel
// The toy's drawing size on it: its size at start, turned to the screen's shape
constexpr int PORTRAIT_W = 640, PORTRAIT_H = 960;
constexpr int LANDSCAPE_W = 960, LANDSCAPE_H = 640;
constexpr int LIVE_RED_ABOVE = 200;  // a cell's centre in the default look: live bright red,
constexpr int DEAD_RED_BELOW = 120;  // dead a dark red
constexpr int GREY_SPREAD = 24;      // a label's pixel: its components this close together
constexpr double WAIT_SECONDS = 60.0;
// The files the service worker keeps
constexpr int KEPT_FILES = 9;
constexpr int HELD_READBACKS = 10;  // read-backs of the canvas while a finger is held

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Whether the canvas shows grid `want` in the default look, in either orientation: each screen
// cell's centre against the engine cell it shows; cells under the grey "EDIT" label are passed
// over
static bool shows_grid(const BROWSER_PIXELS &p, const LAYOUT_VIEW &view, const RECORD_GRID &want)
{
    if (p.w != view.w || p.h != view.h)
        return false;
    for (int c = 0; c < view.cols; c++) {
        for (int r = 0; r < view.rows; r++) {
            int x, y, ex, ey;
            layout_cell_centre(view, c, r, x, y);
            layout_engine_cell(view, c, r, ex, ey);
            const uint8_t *rgb = &p.rgb[(static_cast<size_t>(y) * static_cast<size_t>(p.w) + static_cast<size_t>(x)) * 3];
            if (std::abs(rgb[0] - rgb[1]) < GREY_SPREAD && std::abs(rgb[1] - rgb[2]) < GREY_SPREAD)
                continue;
            const int cell = want[static_cast<size_t>(ex)][static_cast<size_t>(ey)];
            if (rgb[0] > LIVE_RED_ABOVE ? cell != 1 : rgb[0] < DEAD_RED_BELOW ? cell != 0 : true)
                return false;
        }
    }
    return true;
}

static RECORD_GRID prepared_grid()
{
    return record_glider_blinker_block();
}

// Every cell at random, one in three alive
static RECORD_GRID random_grid(unsigned seed)
{
    std::mt19937 random(seed);
    RECORD_GRID g{};
    for (auto &column : g)
        for (auto &cell : column)
            cell = random() % 3 == 0;
    return g;
}

// The whole grid as RLE, written here cell by cell (not by the toy), placed from the top-left by
// its bounded-grid suffix
static std::string grid_rle(const RECORD_GRID &g, const std::string &rule)
{
    std::string out = "x = 48, y = 30, rule = " + rule + "\n";
    for (int y = 0; y < RECORD_ROWS; y++) {
        for (int x = 0; x < RECORD_COLS;) {
            int run = 1;
            while (x + run < RECORD_COLS && g[static_cast<size_t>(x + run)][static_cast<size_t>(y)] == g[static_cast<size_t>(x)][static_cast<size_t>(y)])
                run++;
            out += (run > 1 ? std::to_string(run) : "") + (g[static_cast<size_t>(x)][static_cast<size_t>(y)] ? "o" : "b");
            x += run;
        }
        out += y + 1 < RECORD_ROWS ? "$\n" : "!\n";
    }
    return out;
}

// A JavaScript string literal of `text`
static std::string js_string(const std::string &text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\')
            out += std::string("\\") + static_cast<char>(c);
        else if (c == '\n')
            out += "\\n";
        else if (c < 32) {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
            out += buffer;
        } else
            out += static_cast<char>(c);
    }
    return out + "\"";
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifePhone : public BrowserTest {
protected:
    LumlifePhone() : BrowserTest(WEB_BUILD_DIR) {}
    explicit LumlifePhone(const std::string &served) : BrowserTest(served) {}

    // The phone's screen, upright (w < h) or turned, with touch
    ::testing::AssertionResult emulate(int w, int h)
    {
        if (auto r = command("call Emulation.setDeviceMetricsOverride {\"width\": " + std::to_string(w) +
                             ", \"height\": " + std::to_string(h) + ", \"deviceScaleFactor\": " +
                             std::to_string(PHONE_SCALE) + ", \"mobile\": true}");
            !r)
            return r;
        return command("call Emulation.setTouchEmulationEnabled {\"enabled\": true, \"maxTouchPoints\": 5}");
    }

    // The toy's page opened on the upright phone (at `path`), laid out in portrait
    ::testing::AssertionResult open_phone(const std::string &path = "/index.html")
    {
        if (auto r = emulate(PHONE_W, PHONE_H); !r)
            return r;
        if (auto r = command("goto " + path); !r)
            return r;
        if (auto r = toy_logged("NEW LAYOUT 640x960 global_scale 2\\.000000 \\(320x480\\)"); !r)
            return r;
        view = layout_view(PORTRAIT_W, PORTRAIT_H);
        // The game screen's buttons made (in portrait the toy logs no button height)
        return toy_logged("RESET [0-9]+ buttons COUNTER [0-9]+");
    }

    // The prepared grid in IndexedDB, and the phone's page showing it
    ::testing::AssertionResult start_with(const SETTINGS_RECORD &rec, const std::string &path = "/index.html")
    {
        if (auto r = store_settings(rec); !r)
            return r;
        if (auto r = open_phone(path); !r)
            return r;
        return see_grid(record_grid(rec), "the prepared grid");
    }

    ::testing::AssertionResult see_grid(const RECORD_GRID &want, const std::string &what)
    {
        return see([&](const BROWSER_PIXELS &p) { return shows_grid(p, view, want); }, what);
    }

    // A finger's touch at canvas pixels
    ::testing::AssertionResult touch(const std::string &kind, double x, double y, int finger = 0)
    {
        return command("touch " + kind + " " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(finger));
    }

    // A tap as a person gives it: down, a moment of two ticks, up, two more ticks
    ::testing::AssertionResult tap(double x, double y)
    {
        if (auto r = touch("start", x, y); !r)
            return r;
        if (auto r = ticked(); !r)
            return r;
        if (auto r = touch("end", x, y); !r)
            return r;
        return ticked();
    }

    // A tap on an element of the page around the canvas, by its id
    ::testing::AssertionResult tap_element(const std::string &id)
    {
        std::string json;
        if (auto r = eval("JSON.stringify((r => [r.left + r.width / 2, r.top + r.height / 2])(document.getElementById('" +
                          id + "').getBoundingClientRect()))",
                          &json);
            !r)
            return r;
        std::smatch m;
        if (!std::regex_search(json, m, std::regex(R"(\[([-0-9.e]+),([-0-9.e]+)\])")))
            return ::testing::AssertionFailure() << "no place for #" << id << ": " << json;
        const std::string point = "{\"x\": " + m[1].str() + ", \"y\": " + m[2].str() + ", \"id\": 7}";
        if (auto r = command("call Input.dispatchTouchEvent {\"type\": \"touchStart\", \"touchPoints\": [" + point + "]}"); !r)
            return r;
        return command("call Input.dispatchTouchEvent {\"type\": \"touchEnd\", \"touchPoints\": []}");
    }

    // The value of a JavaScript expression as JSON, once it is `want`, or WAIT_SECONDS pass
    ::testing::AssertionResult wait_for(const std::string &js, const std::string &want)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(static_cast<int>(WAIT_SECONDS));
        std::string got;
        for (;;) {
            if (auto r = eval(js, &got); !r)
                return r;
            if (got == want)
                return ::testing::AssertionSuccess();
            if (std::chrono::steady_clock::now() >= deadline)
                return ::testing::AssertionFailure() << js.substr(0, 200) << " gave " << got << ", not " << want;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

    // The service worker is active, and its cache holds every file the page needs
    ::testing::AssertionResult kept_for_offline()
    {
        if (auto r = wait_for("navigator.serviceWorker.ready.then(r => !!r.active)", "true"); !r)
            return r;
        return wait_for("caches.keys().then(k => Promise.all(k.map(n => caches.open(n).then(c => c.keys()))))"
                        ".then(l => l.map(x => x.length).join(','))",
                        "\"" + std::to_string(KEPT_FILES) + "\"");
    }

    // The saved record holds `rec` with grid `g` and counter `steps`, after the page was hidden
    // (whose save writes only what changed since the last save, and reaches IndexedDB a moment
    // later)
    ::testing::AssertionResult saved_is(SETTINGS_RECORD rec, const RECORD_GRID &g, int64_t steps)
    {
        if (auto r = eval("Object.defineProperty(document, 'visibilityState', {value: 'hidden', configurable: true});"
                          "document.dispatchEvent(new Event('visibilitychange')); 1");
            !r)
            return r;
        if (auto r = toy_logged("page hidden: saving"); !r)
            return r;
        record_set_grid(rec, g);
        record_put32(rec, RECORD_STEPS, steps);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(static_cast<int>(WAIT_SECONDS));
        for (;;) {
            SETTINGS_RECORD got;
            ::testing::AssertionResult r = stored_settings(got);
            if (r)
                r = record_same(got, rec);
            if (r || std::chrono::steady_clock::now() >= deadline)
                return r;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    // The page's one-line note
    std::string shown_note()
    {
        std::string json;
        return eval("document.getElementById('note').textContent", &json) ? json : "";
    }

    // The page neither scrolled nor zoomed
    ::testing::AssertionResult page_still()
    {
        std::string json;
        if (auto r = eval("JSON.stringify([window.scrollX, window.scrollY, visualViewport.scale])", &json); !r)
            return r;
        if (json != "\"[0,0,1]\"")
            return ::testing::AssertionFailure() << "the page scrolled or zoomed: " << json;
        return ::testing::AssertionSuccess();
    }

    // Pasted text, as the browser gives a paste
    ::testing::AssertionResult paste(const std::string &text)
    {
        return eval("(() => { const data = new DataTransfer(); data.setData('text/plain', " + js_string(text) +
                    "); document.dispatchEvent(new ClipboardEvent('paste', {clipboardData: data, bubbles: true}));"
                    " return 1; })()");
    }

    // `path` chosen in the page's file picker (its hidden file input), as a person would choose it
    ::testing::AssertionResult choose_file(const std::string &path)
    {
        std::string json;
        if (auto r = command("call DOM.getDocument {}", &json); !r)
            return r;
        const std::regex node("\"nodeId\": ([0-9]+)");
        std::smatch m;
        if (!std::regex_search(json, m, node))
            return ::testing::AssertionFailure() << "no document node: " << json;
        if (auto r = command("call DOM.querySelector {\"nodeId\": " + m[1].str() + ", \"selector\": \"#file\"}", &json); !r)
            return r;
        if (!std::regex_search(json, m, node))
            return ::testing::AssertionFailure() << "no file input: " << json;
        return command("call DOM.setFileInputFiles {\"nodeId\": " + m[1].str() + ", \"files\": [\"" + path + "\"]}");
    }
};

//----------------------------------------------------------------------------------
// Tests: the screen
//----------------------------------------------------------------------------------
// Upright, the canvas fills the phone's width, the toy lays itself out in portrait at twice its
// layout's size (the screen has the pixels), and the grid is drawn turned a quarter
TEST_F(LumlifePhone, UprightTheCanvasFillsTheWidthAndTheToyIsInPortrait)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    std::string json;
    ASSERT_TRUE(eval("JSON.stringify((c => [innerWidth, c.width, c.height, c.getBoundingClientRect().width,"
                     " c.getBoundingClientRect().height, getComputedStyle(c).imageRendering])(document.getElementById('canvas')))",
                     &json));
    EXPECT_EQ(json, "\"[390,640,960,390,585,\\\"pixelated\\\"]\"");
    EXPECT_TRUE(page_still());
    EXPECT_TRUE(no_exception());
}

// Turned, the toy lays itself out in landscape and the canvas fills the screen's height; turned
// back, portrait again
TEST_F(LumlifePhone, TurnedTheToyIsInLandscapeAndTheCanvasFillsTheHeight)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(emulate(PHONE_H, PHONE_W));
    ASSERT_TRUE(toy_logged("Set graphics 960x640"));
    ASSERT_TRUE(toy_logged("NEW LAYOUT 960x640 global_scale 2\\.000000 \\(480x320\\)"));
    view = layout_view(LANDSCAPE_W, LANDSCAPE_H);
    ASSERT_TRUE(see_grid(prepared_grid(), "the grid in landscape"));
    std::string json;
    ASSERT_TRUE(eval("JSON.stringify((r => [innerHeight, r.height, r.width])(document.getElementById('canvas').getBoundingClientRect()))",
                     &json));
    EXPECT_EQ(json, "\"[390,390,585]\"");

    ASSERT_TRUE(emulate(PHONE_W, PHONE_H));
    ASSERT_TRUE(toy_logged("Set graphics 640x960"));
    ASSERT_TRUE(toy_logged("NEW LAYOUT 640x960 global_scale 2\\.000000 \\(320x480\\)"));
    view = layout_view(PORTRAIT_W, PORTRAIT_H);
    ASSERT_TRUE(see_grid(prepared_grid(), "the grid in portrait again"));
    EXPECT_TRUE(page_still());
    EXPECT_TRUE(no_exception());
}

//----------------------------------------------------------------------------------
// Tests: touch
//----------------------------------------------------------------------------------
// A tap on a dead cell makes it live, a drag across five cells paints those five (a second finger
// meanwhile changes nothing), a tap on STEP steps: the saved record holds exactly that; the first
// tap took the sound note away, and the page never scrolled or zoomed
TEST_F(LumlifePhone, ATapAndAFiveCellDragPaintExactlyThoseCellsAndATapOnStepSteps)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 5}});
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g = prepared_grid();

    // Screen cells above the grid's 30th row: a touch there edits the cell under it, unturned
    int x, y, cx, cy;
    layout_cell_centre(view, 10, 5, x, y);
    layout_touched_cell(view, x, y, cx, cy);
    ASSERT_EQ(g[static_cast<size_t>(cx)][static_cast<size_t>(cy)], 0);
    ASSERT_TRUE(tap(x, y));
    g[static_cast<size_t>(cx)][static_cast<size_t>(cy)] = 1;
    ASSERT_TRUE(see_grid(g, "the tapped cell"));
    std::string gone;
    ASSERT_TRUE(eval("document.getElementById('sound') === null", &gone));
    EXPECT_EQ(gone, "true");

    for (int i = 0; i < 5; i++) {
        layout_cell_centre(view, 12 + i, 20, x, y);
        if (i == 0) {
            ASSERT_TRUE(touch("start", x, y));
        } else {
            ASSERT_TRUE(touch("move", x, y));
        }
        if (i == 2) {
            // A second finger lands on another cell and moves over two more
            int x2, y2;
            layout_cell_centre(view, 5, 25, x2, y2);
            ASSERT_TRUE(touch("start", x2, y2, 1));
            ASSERT_TRUE(ticked());
            layout_cell_centre(view, 6, 25, x2, y2);
            ASSERT_TRUE(touch("move", x2, y2, 1));
            ASSERT_TRUE(ticked());
            ASSERT_TRUE(touch("end", x2, y2, 1));
        }
        ASSERT_TRUE(ticked());
        layout_touched_cell(view, x, y, cx, cy);
        g[static_cast<size_t>(cx)][static_cast<size_t>(cy)] = 1;
        ASSERT_TRUE(see_grid(g, "the stroke up to its cell " + std::to_string(i + 1)));
    }
    ASSERT_TRUE(touch("end", x, y));
    ASSERT_TRUE(ticked());

    const LAYOUT_SPOT step = layout_control(view, LAYOUT_STEP);
    ASSERT_TRUE(tap(step.x, step.y));
    g = record_life_next(g, rec);
    ASSERT_TRUE(see_grid(g, "one generation on"));
    EXPECT_TRUE(page_still());
    EXPECT_TRUE(saved_is(rec, g, 6));
    EXPECT_TRUE(no_exception());
}

// A tap as short as the driver can make it (the finger lifted at once) still clicks: STEP steps
TEST_F(LumlifePhone, AQuickTapOnStepStillSteps)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 2}});
    ASSERT_TRUE(start_with(rec));
    const LAYOUT_SPOT step = layout_control(view, LAYOUT_STEP);
    ASSERT_TRUE(touch("start", step.x, step.y));
    ASSERT_TRUE(touch("end", step.x, step.y));
    const RECORD_GRID g = record_life_next(prepared_grid(), rec);
    ASSERT_TRUE(see_grid(g, "one generation on"));
    EXPECT_TRUE(saved_is(rec, g, 3));
    EXPECT_TRUE(no_exception());
}

// A finger held on the grid paints on after the canvas has been read back many times from
// pictures of the whole page: each passes the window through another size for a moment, which
// must lay nothing out anew (a new layout would end the stroke)
TEST_F(LumlifePhone, AFingerHeldWhileTheCanvasIsReadBackPaintsOn)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    RECORD_GRID g = prepared_grid();
    int x, y, cx, cy;
    layout_cell_centre(view, 10, 20, x, y);
    ASSERT_TRUE(touch("start", x, y));
    ASSERT_TRUE(ticked());
    layout_touched_cell(view, x, y, cx, cy);
    g[static_cast<size_t>(cx)][static_cast<size_t>(cy)] = 1;
    ASSERT_TRUE(see_grid(g, "the held cell"));
    const size_t held_from = driver.lines.size();
    BROWSER_PIXELS shown;
    for (int i = 0; i < HELD_READBACKS; i++)
        ASSERT_TRUE(pixels(shown));
    layout_cell_centre(view, 11, 20, x, y);
    ASSERT_TRUE(touch("move", x, y));
    ASSERT_TRUE(ticked());
    layout_touched_cell(view, x, y, cx, cy);
    g[static_cast<size_t>(cx)][static_cast<size_t>(cy)] = 1;
    ASSERT_TRUE(see_grid(g, "the stroke after " + std::to_string(HELD_READBACKS) + " read-backs"));
    ASSERT_TRUE(touch("end", x, y));
    ASSERT_TRUE(ticked());
    for (size_t i = held_from; i < driver.lines.size(); i++)
        EXPECT_EQ(driver.lines[i].find("Set graphics"), std::string::npos) << "a passing size was laid out: " << driver.lines[i];
    EXPECT_TRUE(no_exception());
}

//----------------------------------------------------------------------------------
// Tests: offline and installable
//----------------------------------------------------------------------------------
// After one visit, with the server gone, the page opens again from the service worker's cache:
// the toy starts and draws its grid
TEST_F(LumlifePhone, AfterOneVisitTheToyStartsAndDrawsWithTheNetworkGone)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(kept_for_offline());
    ASSERT_TRUE(command("server stop"));
    std::string answer;
    ASSERT_TRUE(eval("fetch('/not-kept?' + Date.now()).then(() => 'served', () => 'no network')", &answer));
    ASSERT_EQ(answer, "\"no network\"");

    ASSERT_TRUE(command("goto /index.html"));
    ASSERT_TRUE(toy_logged("lum init"));
    ASSERT_TRUE(toy_logged("NEW LAYOUT 640x960 global_scale 2\\.000000 \\(320x480\\)"));
    ASSERT_TRUE(toy_logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    ASSERT_TRUE(see_grid(prepared_grid(), "the saved grid, offline"));
    EXPECT_TRUE(no_exception());
}

// The manifest has what an installable page needs, with no error in Chromium's reading of it,
// and its icons are there at their sizes
TEST_F(LumlifePhone, TheManifestIsValidAndItsIconsHaveTheirSizes)
{
    ASSERT_TRUE(open_phone());
    ASSERT_TRUE(kept_for_offline());
    std::string json;
    ASSERT_TRUE(command("call Page.getAppManifest {}", &json));
    EXPECT_NE(json.find("\"errors\": []"), std::string::npos) << json.substr(0, 600);
    EXPECT_NE(json.find("manifest.webmanifest"), std::string::npos) << json.substr(0, 300);

    ASSERT_TRUE(eval("fetch('manifest.webmanifest').then(r => r.json()).then(m => JSON.stringify([m.name, m.short_name,"
                     " m.start_url, m.display, m.orientation, /^#[0-9a-f]{6}$/.test(m.theme_color),"
                     " /^#[0-9a-f]{6}$/.test(m.background_color),"
                     " m.icons.map(i => [i.src, i.sizes, i.type])]))",
                     &json));
    EXPECT_EQ(json, "\"[\\\"Lum Life\\\",\\\"Lum Life\\\",\\\"./\\\",\\\"standalone\\\",\\\"any\\\",true,true,"
                    "[[\\\"icon-192.png\\\",\\\"192x192\\\",\\\"image/png\\\"],[\\\"icon-512.png\\\",\\\"512x512\\\",\\\"image/png\\\"]]]\"");
    ASSERT_TRUE(eval("Promise.all(['icon-192.png', 'icon-512.png'].map(src => new Promise((ok, fail) => {"
                     " const image = new Image(); image.onload = () => ok(image.naturalWidth + 'x' + image.naturalHeight);"
                     " image.onerror = () => fail(src); image.src = src; }))).then(s => s.join(' '))",
                     &json));
    EXPECT_EQ(json, "\"192x192 512x512\"");
    ASSERT_TRUE(eval("document.querySelector('meta[name=viewport]').content.includes('width=device-width') &&"
                     " document.querySelector('link[rel=manifest]').getAttribute('href') === 'manifest.webmanifest'",
                     &json));
    EXPECT_EQ(json, "true");
    EXPECT_TRUE(no_exception());
}

// A copy of the build, served from the test's own folder, which the test may rebuild
class LumlifePhoneRebuilt : public LumlifePhone {
protected:
    LumlifePhoneRebuilt() : LumlifePhone(copy_of_build()) {}
    ~LumlifePhoneRebuilt() override { process_remove_dir(root); }

    static std::string copy_of_build()
    {
        std::string folder = process_temp_dir("lumphone-build");
        std::string error;
        PROCESS copy;
        if (!folder.empty() && process_start(copy, {"cp", "-r", std::string(WEB_BUILD_DIR) + "/.", folder}, "", error))
            process_wait_exit(copy, WAIT_SECONDS);
        return folder;
    }

    // The version the folder's service worker was made for
    std::string version()
    {
        std::ifstream in(root + "/sw.js");
        std::stringstream text;
        text << in.rdbuf();
        std::smatch m;
        std::string all = text.str();
        return std::regex_search(all, m, std::regex("const VERSION = \"([0-9a-f]+)\"")) ? m[1].str() : "";
    }
};

// A new build (here: a changed page) makes a service worker of a new version; the browser finds
// it when the page is opened again, and its cache, holding the new page, replaces the old one
TEST_F(LumlifePhoneRebuilt, ANewBuildsServiceWorkerReplacesTheOldCache)
{
    const std::string first = version();
    ASSERT_FALSE(first.empty());
    ASSERT_TRUE(open_phone());
    ASSERT_TRUE(kept_for_offline());
    ASSERT_TRUE(wait_for("caches.keys().then(k => k.join(' '))", "\"lumlife-" + first + "\""));

    {
        std::ofstream page(root + "/index.html", std::ios::app);
        page << "<!-- the next build -->\n";
    }
    PROCESS make;
    std::string error;
    ASSERT_TRUE(process_start(make, {"cmake", "-DFOLDER=" + root, "-DTEMPLATE=" + std::string(SOURCE_DIR) + "/dist/web/sw.js.in",
                                     "-P", std::string(SOURCE_DIR) + "/dist/web/service-worker.cmake"},
                              "", error))
        << error;
    ASSERT_TRUE(process_wait_exit(make, WAIT_SECONDS));
    const std::string second = version();
    ASSERT_FALSE(second.empty());
    ASSERT_NE(second, first);

    // The browser looks for a new worker when a page of its scope is opened; it is asked here from
    // a page of the origin without the toy (a busy page of the toy's delays the look by a minute in
    // headless Chromium)
    ASSERT_TRUE(command("goto /empty"));
    ASSERT_TRUE(eval("new Promise(r => (document.readyState === 'complete' ? r() : addEventListener('load', r)))"
                     ".then(() => navigator.serviceWorker.getRegistration()).then(r => r.update()).then(() => 1)"));
    ASSERT_TRUE(wait_for("caches.keys().then(k => k.join(' '))", "\"lumlife-" + second + "\""));
    ASSERT_TRUE(command("goto /index.html"));
    ASSERT_TRUE(toy_logged("RESET [0-9]+ buttons COUNTER [0-9]+"));
    ASSERT_TRUE(wait_for("fetch('index.html').then(r => r.text()).then(t => t.includes('the next build'))", "true"));
    ASSERT_TRUE(wait_for("caches.keys().then(k => k.join(' '))", "\"lumlife-" + second + "\""));
    EXPECT_TRUE(no_exception());
}

//----------------------------------------------------------------------------------
// Tests: patterns
//----------------------------------------------------------------------------------
// A link with a whole grid's pattern opens it on arrival (rule and border with it, the counter at
// 0), as one undo step; the link is taken once, so it leaves the address
TEST_F(LumlifePhone, ALinkWithAWholeGridOpensItAsOneUndoStep)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 9}});
    const RECORD_GRID linked = random_grid(25);
    std::string encoded;
    ASSERT_TRUE(eval("encodeURIComponent(" + js_string(grid_rle(linked, "B36/S23:P48,30")) + ")", &encoded));
    encoded = encoded.substr(1, encoded.size() - 2);
    ASSERT_TRUE(store_settings(rec));
    ASSERT_TRUE(emulate(PHONE_W, PHONE_H));
    ASSERT_TRUE(command("goto /index.html#rle=" + encoded));
    view = layout_view(PORTRAIT_W, PORTRAIT_H);
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'the link' \\(RLE, 48 x 30 at 0,0\\)"));
    ASSERT_TRUE(see_grid(linked, "the link's grid"));
    std::string hash;
    ASSERT_TRUE(eval("location.hash", &hash));
    EXPECT_EQ(hash, "\"\"");

    SETTINGS_RECORD want = rec;
    want.bytes[RECORD_BPARAMS + 6] = 1;
    record_put32(want, RECORD_BORDER, 1);
    EXPECT_TRUE(saved_is(want, linked, 0));
    std::cout << "a whole grid's link: " << encoded.size() << " characters after #rle=\n";

    // Ctrl+Z: the grid, rule, border and counter from before the link
    auto key_event = [&](const char *type, const char *key, const char *code, int vk, int modifiers) {
        return command(std::string("call Input.dispatchKeyEvent {\"type\": \"") + type + "\", \"key\": \"" + key +
                       "\", \"code\": \"" + code + "\", \"windowsVirtualKeyCode\": " + std::to_string(vk) +
                       ", \"modifiers\": " + std::to_string(modifiers) + "}");
    };
    ASSERT_TRUE(key_event("rawKeyDown", "Control", "ControlLeft", 17, 2));
    ASSERT_TRUE(key_event("rawKeyDown", "z", "KeyZ", 90, 2));
    ASSERT_TRUE(key_event("keyUp", "z", "KeyZ", 90, 2));
    ASSERT_TRUE(key_event("keyUp", "Control", "ControlLeft", 17, 0));
    ASSERT_TRUE(ticked());
    ASSERT_TRUE(see_grid(prepared_grid(), "the grid from before the link"));
    EXPECT_TRUE(saved_is(rec, prepared_grid(), 9));
    EXPECT_TRUE(no_exception());
}

// Paste (a plaintext pattern, centred), Open (an RLE file through the file picker) and Copy RLE
// then Paste from the clipboard bring those grids; the menu button shows the bar's buttons
TEST_F(LumlifePhone, PasteOpenAndCopyRleCarryPatterns)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 3}});
    ASSERT_TRUE(start_with(rec));

    // A pasted plaintext R-pentomino: 3 x 3, centred at ((48 - 3) / 2, (30 - 3) / 2) = (22, 13)
    ASSERT_TRUE(paste("!Name: R-pentomino\n.OO\nOO.\n.O.\n"));
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'the clipboard' \\(plaintext: R-pentomino, 3 x 3 at 22,13\\)"));
    RECORD_GRID r_pentomino{};
    for (auto [c, r] : {std::pair{23, 13}, {24, 13}, {22, 14}, {23, 14}, {23, 15}})
        r_pentomino[static_cast<size_t>(c)][static_cast<size_t>(r)] = 1;
    ASSERT_TRUE(see_grid(r_pentomino, "the pasted pattern"));

    // An RLE file opened through the page's file picker
    const RECORD_GRID filed = random_grid(7);
    const std::string path = scratch + "/soup.rle";
    {
        std::ofstream file(path);
        file << "#N soup\n" << grid_rle(filed, "B3/S23:T48,30");
    }
    std::string json;
    ASSERT_TRUE(command("call DOM.getDocument {}", &json));
    std::smatch m;
    ASSERT_TRUE(std::regex_search(json, m, std::regex("\"nodeId\": ([0-9]+)")));
    ASSERT_TRUE(command("call DOM.querySelector {\"nodeId\": " + m[1].str() + ", \"selector\": \"#file\"}", &json));
    ASSERT_TRUE(std::regex_search(json, m, std::regex("\"nodeId\": ([0-9]+)")));
    ASSERT_TRUE(command("call DOM.setFileInputFiles {\"nodeId\": " + m[1].str() + ", \"files\": [\"" + path + "\"]}"));
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'soup\\.rle' \\(RLE: soup, 48 x 30 at 0,0\\)"));
    ASSERT_TRUE(see_grid(filed, "the opened file's grid"));

    // Copy RLE from the menu, the grid cleared, Paste from the menu: the copied grid again
    std::string origin;
    ASSERT_TRUE(eval("location.origin", &origin));
    ASSERT_TRUE(command("call Browser.grantPermissions {\"origin\": " + origin +
                        ", \"permissions\": [\"clipboardReadWrite\", \"clipboardSanitizedWrite\"]}"));
    ASSERT_TRUE(tap_element("menu"));
    ASSERT_TRUE(wait_for("getComputedStyle(document.getElementById('copy')).display !== 'none'", "true"));
    ASSERT_TRUE(tap_element("copy"));
    ASSERT_TRUE(wait_for("document.getElementById('note').textContent", "\"Copied the grid as RLE\""));
    std::string copied;
    ASSERT_TRUE(eval("navigator.clipboard.readText()", &copied));
    EXPECT_EQ(copied.rfind("\"#C made with Lum Life (lumlife)\\nx = 48, y = 30, rule = B3/S23:T48,30\\n", 0), 0u) << copied;

    const LAYOUT_SPOT clear = layout_control(view, LAYOUT_CLEAR);
    ASSERT_TRUE(tap(clear.x, clear.y));
    ASSERT_TRUE(see_grid(RECORD_GRID{}, "the cleared grid"));
    ASSERT_TRUE(tap_element("menu"));
    ASSERT_TRUE(wait_for("getComputedStyle(document.getElementById('paste')).display !== 'none'", "true"));
    ASSERT_TRUE(tap_element("paste"));
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'the clipboard' \\(RLE, 48 x 30 at 0,0\\)"));
    ASSERT_TRUE(see_grid(filed, "the copied grid pasted back"));
    EXPECT_TRUE(saved_is(rec, filed, 0));
    EXPECT_TRUE(page_still());
    EXPECT_TRUE(no_exception());
}

// Download saves the grid as an .rle file named after the moment; that file, opened through the
// file picker after CLR, brings the same grid back
TEST_F(LumlifePhone, DownloadSavesTheGridAsAnRleFileThatOpensToTheSameGrid)
{
    const RECORD_GRID g = random_grid(11);
    SETTINGS_RECORD rec = record_prepared(g, {{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    const std::string folder = scratch + "/downloads";
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_TRUE(command("call Browser.setDownloadBehavior {\"behavior\": \"allow\", \"downloadPath\": \"" + folder +
                        "\", \"eventsEnabled\": false}"));
    ASSERT_TRUE(tap_element("menu"));
    ASSERT_TRUE(wait_for("getComputedStyle(document.getElementById('download')).display !== 'none'", "true"));
    ASSERT_TRUE(tap_element("download"));

    // The file, once whole (Chromium writes it under another name and renames it)
    std::string saved;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(static_cast<int>(WAIT_SECONDS));
    while (saved.empty() && std::chrono::steady_clock::now() < deadline) {
        for (const auto &entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".rle")
                saved = entry.path().string();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    ASSERT_FALSE(saved.empty()) << "no .rle file in " << folder;
    EXPECT_TRUE(std::regex_match(std::filesystem::path(saved).filename().string(),
                                 std::regex(R"(Lum Life [0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}-[0-9]{2}-[0-9]{2}\.rle)")))
        << saved;
    std::ifstream in(saved);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("x = 48, y = 30, rule = B3/S23:T48,30\n"), std::string::npos) << text;

    const LAYOUT_SPOT clear = layout_control(view, LAYOUT_CLEAR);
    ASSERT_TRUE(tap(clear.x, clear.y));
    ASSERT_TRUE(see_grid(RECORD_GRID{}, "the cleared grid"));
    ASSERT_TRUE(choose_file(saved));
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'Lum Life .*\\.rle' \\(RLE, 48 x 30 at 0,0\\)"));
    ASSERT_TRUE(see_grid(g, "the downloaded grid opened again"));
    EXPECT_TRUE(no_exception());
}

// Share link (without a system share sheet here) copies a link that opens the same grid; a file
// dropped on the page opens
TEST_F(LumlifePhone, ShareLinkCopiesALinkToTheGridAndADroppedFileOpens)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_BORDER, 2}});
    ASSERT_TRUE(start_with(rec));
    std::string origin;
    ASSERT_TRUE(eval("location.origin", &origin));
    ASSERT_TRUE(command("call Browser.grantPermissions {\"origin\": " + origin +
                        ", \"permissions\": [\"clipboardReadWrite\", \"clipboardSanitizedWrite\"]}"));
    ASSERT_TRUE(tap_element("menu"));
    ASSERT_TRUE(wait_for("getComputedStyle(document.getElementById('share')).display !== 'none'", "true"));
    ASSERT_TRUE(tap_element("share"));
    ASSERT_TRUE(wait_for("document.getElementById('note').textContent", "\"Copied a link to the grid\""));
    std::string shared;
    ASSERT_TRUE(eval("navigator.clipboard.readText()", &shared));
    shared = shared.substr(1, shared.size() - 2);
    ASSERT_EQ(shared.rfind(origin.substr(1, origin.size() - 2) + "/index.html#rle=", 0), 0u) << shared;

    // A dropped file changes the grid
    const RECORD_GRID dropped = random_grid(3);
    ASSERT_TRUE(eval("(() => { const data = new DataTransfer(); data.items.add(new File([" +
                     js_string(grid_rle(dropped, "B3/S23:T48,30")) + "], 'dropped.rle'));"
                     " window.dispatchEvent(new DragEvent('drop', {dataTransfer: data, bubbles: true, cancelable: true}));"
                     " return 1; })()"));
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'dropped\\.rle' \\(RLE, 48 x 30 at 0,0\\)"));
    ASSERT_TRUE(see_grid(dropped, "the dropped grid"));

    // The shared link opens the grid it was made from, with its live border
    ASSERT_TRUE(command("goto " + shared.substr(shared.find("/index.html"))));
    ASSERT_TRUE(toy_logged("page: opened the pattern from 'the link' \\(RLE, 48 x 30 at 0,0\\)"));
    ASSERT_TRUE(see_grid(prepared_grid(), "the shared grid"));
    EXPECT_TRUE(saved_is(rec, prepared_grid(), 0));
    EXPECT_TRUE(no_exception());
}

// What is not a pattern, or does not fit the grid, is refused in one line on the page, and
// nothing changes
TEST_F(LumlifePhone, ARefusedPatternIsShownInOneLineAndChangesNothing)
{
    SETTINGS_RECORD rec = record_prepared(prepared_grid(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 4}});
    ASSERT_TRUE(start_with(rec));

    ASSERT_TRUE(paste("Dear friend, this is a letter.\n"));
    ASSERT_TRUE(toy_logged("page: refused the clipboard:.*"));
    std::string note = shown_note();
    EXPECT_TRUE(std::regex_match(note, std::regex("\"the clipboard:[^\\\\]+\""))) << note;

    std::string wide = "x = 60, y = 1\n60o!\n";
    ASSERT_TRUE(paste(wide));
    ASSERT_TRUE(toy_logged("page: refused the clipboard:.*"));
    note = shown_note();
    EXPECT_TRUE(std::regex_match(note, std::regex("\"the clipboard:[^\\\\]+\""))) << note;

    ASSERT_TRUE(command("goto /index.html#rle=%E0%A4%A"));
    ASSERT_TRUE(wait_for("document.getElementById('note').textContent",
                         "\"the link: not a pattern (its text is not URL-encoded)\""));

    ASSERT_TRUE(see_grid(prepared_grid(), "the grid as it was"));
    EXPECT_TRUE(saved_is(rec, prepared_grid(), 4));
    EXPECT_TRUE(no_exception());
}
