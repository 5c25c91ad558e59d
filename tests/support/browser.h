// browser: the toy's browser build, end to end, in headless Chromium. A test fixture starts the
// browser driver (browser_driver.py: Chromium over the DevTools protocol, the build served on
// 127.0.0.1) with a Chromium profile of the test's own, and talks to it one command at a time.
// The page's console is the toy's log. The per-user folder is the page's IndexedDB, which the
// fixture fills and reads directly from a page of the same origin.
//
// A click is a press, a person's moment and a release in three different ticks, as on the
// desktop: each is followed by F9 twice, whose answers in the log ("RATE 4", then "RATE 60") come
// from a tick that has taken it and a later one. Nothing waits a fixed time: every wait is for a
// console line, a command's answer or the canvas.
// Depends on: process (the driver, its output), settings_record (the record), toy_layout (where
// a click aims), GoogleTest (the fixture, assertion results), POSIX (the command FIFO).
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <regex>
#include <string>
#include <vector>

#include "process.h"
#include "settings_record.h"
#include "toy_layout.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double BROWSER_START_SECONDS = 90.0;  // Chromium and the page on a loaded machine
constexpr double BROWSER_WAIT_SECONDS = 60.0;   // one command's answer or one console line

// Where the page keeps the per-user folder, and the settings file in it
extern const char BROWSER_SAVE_FOLDER[];
extern const char BROWSER_SETTINGS_FILE[];

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The canvas as shown: RGB rows, top first
struct BROWSER_PIXELS {
    int w = 0, h = 0;
    std::vector<uint8_t> rgb;
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Base 64, as the page's atob and btoa have it
std::string browser_base64(const std::vector<uint8_t> &bytes);
std::vector<uint8_t> browser_unbase64(const std::string &text);

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class BrowserTest : public ::testing::Test {
protected:
    std::string root;           // the served build: index.html, lumlife.js, .wasm, .data
    std::string scratch;        // the profile, the command FIFO and pixel files
    PROCESS driver;
    int commands = -1;          // the FIFO's write end
    int next_id = 0;
    size_t next_line = 0;       // console lines before this one have been used up
    size_t rate_line = 0;       // the answers to F9 before this line have been used up
    LAYOUT_VIEW view = layout_view(LAYOUT_START_W, LAYOUT_START_H);

    explicit BrowserTest(std::string web_build);

    // Chromium on an empty profile, ready for commands
    void SetUp() override;
    void TearDown() override;

    // Send a command ("eval 1 + 1") and wait for its answer, given in `answer`
    ::testing::AssertionResult command(const std::string &what, std::string *answer = nullptr);
    // Evaluate JavaScript in the page (a promise is awaited); the value as JSON in `json`
    ::testing::AssertionResult eval(const std::string &js, std::string *json = nullptr);

    // Wait for a console line from `next_line` on matching `pattern`; its index in `at`; the
    // next search starts after it
    ::testing::AssertionResult logged(const std::regex &pattern, int *at = nullptr);
    // Wait for a line of the toy's log whose message is `message` entirely (a regular expression)
    ::testing::AssertionResult toy_logged(const std::string &message, int *at = nullptr);
    // No uncaught exception in the page so far
    ::testing::AssertionResult no_exception();
    // Every console line so far, numbered, for failure messages
    std::string transcript() const;

    // Open the toy's page and wait until its game screen is laid out
    ::testing::AssertionResult open_toy();
    // Reload the page and wait the same way
    ::testing::AssertionResult reload_toy();
    // Put a settings record into the page's IndexedDB before the toy starts, from an empty page
    // of the same origin
    ::testing::AssertionResult store_settings(const SETTINGS_RECORD &r);
    // The settings file as IndexedDB holds it
    ::testing::AssertionResult stored_settings(SETTINGS_RECORD &r);
    // Make the page hidden (as when another tab is chosen) and wait until the toy's save of it
    // is in IndexedDB
    ::testing::AssertionResult hide_page();

    // Input at canvas pixels, as a person gives it
    ::testing::AssertionResult mouse(const std::string &kind, double x, double y);
    ::testing::AssertionResult key(const std::string &kind, const std::string &name);
    // F9 twice, and both answers in the log: two ticks have passed
    ::testing::AssertionResult ticked();
    ::testing::AssertionResult press(double x, double y);
    ::testing::AssertionResult release(double x, double y);
    ::testing::AssertionResult click(const LAYOUT_SPOT &s);

    // The canvas as shown now, from a picture of the whole page (for which the browser lays the
    // page out anew at another size for a moment), or with `whole_page` false from the window as
    // it is
    ::testing::AssertionResult pixels(BROWSER_PIXELS &out, bool whole_page = true);
    // Read the canvas from the window until `wanted` holds for it, or BROWSER_WAIT_SECONDS pass
    ::testing::AssertionResult see(const std::function<bool(const BROWSER_PIXELS &)> &wanted, const std::string &what);
};
