// toy: the real toy, end to end. A test fixture starts the toy's program in a private virtual X
// display with a HOME of the test's own (which may hold a prepared settings file), reads its log
// from a pipe while it runs, drives it with xdotool as a person does, reads its window back, and
// quits it by holding Escape. Nothing waits a fixed time for the toy: every wait is for a log
// line, the window or the saved file.
//
// A click is a press, a person's moment and a release, in three different ticks: the toolkit
// takes a click only then, and repeats a button held for 30 ticks. The toy says nothing when a
// button goes down, so the press is followed by F9 twice, and the log's answers to F9 (the logic
// rate switched to 4 and back to 60) come from a tick that has taken the press and a later one
// that saw it held. Meanwhile the toy is paused between the test's looks (see let_run), so that
// the hold lasts a few ticks only, however slow the machine. The release is known to be taken
// from the click's own answer in the log where the toy logs what the click did, else from the
// answers to F9 again.
// Depends on: xvfb (the display), process (the toy, its log, xdotool), xcapture (finding and
// reading the window), settings_record (the settings file), toy_layout (the start-up view, what
// a click aims at), GoogleTest (the fixture, assertion results).
#pragma once

#include <gtest/gtest.h>

#include <X11/Xlib.h>

#include <functional>
#include <regex>
#include <string>
#include <vector>

#include "process.h"
#include "settings_record.h"
#include "toy_layout.h"
#include "xcapture.h"
#include "xvfb.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double TOY_LOG_SECONDS = 30.0;   // a loaded machine starts and answers slowly
constexpr double TOY_EXIT_SECONDS = 30.0;
constexpr double TOY_SEE_SECONDS = 30.0;   // until the window shows what a test waits for
constexpr int TOY_POLL_MS = 2;             // between two looks at the display while waiting
constexpr int TOY_RUN_MS = 5;              // how long a paused toy runs between two looks

// Every log line starts "[lum <seconds with two decimals>s (<tick>)] " (a regular expression,
// not anchored); the reports printed without it are the Life rule and the settings dump
extern const char TOY_LOG_PREFIX[];

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// A log line with the prefix whose message is `message` entirely (a regular expression)
std::regex toy_logged_regex(const std::string &message);

// A line that is `pattern` entirely, with or without the log prefix
std::regex toy_line_regex(const std::string &pattern);

// The child has ended with status 0 within TOY_EXIT_SECONDS
::testing::AssertionResult toy_exits_cleanly(PROCESS &p);

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class ToyTest : public ::testing::Test {
protected:
    std::string program;      // the toy's executable
    std::vector<std::string> arguments;  // given to it after its name; none by default
    XVFB xvfb;
    Display *x = nullptr;     // the test's own connection to the display
    std::string home;         // the toy's HOME; "settings.cfg" lives under it
    PROCESS toy;
    Window window = None;     // the toy's window once found at the view's size
    LAYOUT_VIEW view = layout_view(LAYOUT_START_W, LAYOUT_START_H);
    XCAPTURE_IMAGE frame;     // the last frame read by `see`
    size_t next_line = 0;     // the toy's log lines before this one have been used up
    size_t rate_line = 0;     // the log's answers to F9 before this line have been used up
    bool paused = false;      // the toy is stopped between the test's looks (see let_run)

    explicit ToyTest(std::string toy_program);

    // A private display, the test's connection to it and an empty HOME
    void SetUp() override;
    void TearDown() override;

    // [SECTION] The settings file
    std::string settings_path() const;
    void prepare(const SETTINGS_RECORD &r);
    SETTINGS_RECORD saved() const;

    // [SECTION] Starting
    // Start the toy on the display with the test's HOME, then each of `overrides` ("NAME=value"
    // sets, "NAME" removes); a toy still there from before is stopped first, and the new one's
    // log is read from its first line
    ::testing::AssertionResult launch(const std::vector<std::string> &overrides = {});
    // Launch and wait for the game screen laid out at the start-up size (see laid_out)
    ::testing::AssertionResult start(const std::vector<std::string> &overrides = {});
    // Wait for the layout of the view's size, the game screen's buttons made for it, and the
    // toy's window at that size
    ::testing::AssertionResult laid_out();
    // Wait until the main loop runs: its first pass reports the rate change from 0 to 60
    ::testing::AssertionResult running();

    // [SECTION] The log
    // Wait for a log line from line `from` on matching `pattern` entirely, with or without the
    // log prefix; `from` moves on past it. A paused toy is let run meanwhile.
    ::testing::AssertionResult wait_line(const std::string &pattern, size_t &from, double seconds = TOY_LOG_SECONDS);
    // Wait for a log line from `next_line` on (see wait_line); the lines up to it are used up
    ::testing::AssertionResult logged(const std::string &pattern, double seconds = TOY_LOG_SECONDS);
    // Wait for a prefixed log line from line `from` on whose message is `message` entirely; its
    // index goes to `at`. A failure lists every line read.
    ::testing::AssertionResult logged_at(const std::string &message, int &at, size_t from = 0);
    // The index of the first line from `from` on that is `pattern` entirely, with or without the
    // prefix, waiting up to `seconds`; -1 if none
    int line(const std::string &pattern, size_t from = 0, double seconds = TOY_LOG_SECONDS);
    // A line matching `pattern` anywhere since the start, such as one of start-up's
    bool logged_since_start(const std::string &pattern);

    // [SECTION] Pausing
    // Stop the toy between the test's looks, or let it run freely again
    void pause();
    void resume();
    // Give the toy a moment before the next look. A paused toy runs for TOY_RUN_MS and is stopped
    // again: after a stop it catches up by at most four ticks, so however slowly the test itself
    // gets to run on a loaded machine, the toy runs only a few ticks between two of its looks.
    void let_run();

    // [SECTION] Input
    // Run xdotool on the display
    ::testing::AssertionResult xdo(const std::vector<std::string> &args);
    // Move the pointer to pixel (px, py) of the toy's window, then send `then` ("mousedown", "1")
    ::testing::AssertionResult point_at(int px, int py, const std::vector<std::string> &then = {});
    // Send input, followed by F9 twice, and wait until the toy has taken all of it: the first
    // answer to F9 comes from a tick that has taken the input, the second from a later one. The
    // answers are looked for apart from the other log lines, which stay for the caller.
    ::testing::AssertionResult send_and_tick(std::vector<std::string> input);
    // Wait until ticks after every input sent so far have run (see send_and_tick)
    ::testing::AssertionResult ticked();
    // Press a button and hold it for a person's moment: the toy paused, a tick has taken the
    // press and a later one has seen it held
    ::testing::AssertionResult press(const LAYOUT_SPOT &s);
    // Release the button and wait until a tick has taken the release: for `answer` in the log
    // when given (what the click did), else for the answers to F9. The toy runs freely after.
    ::testing::AssertionResult release(const std::string &answer = {});
    // A person's click: press, hold briefly, release (see press and release). Without an
    // answer, the click's effect is for the caller to wait for.
    ::testing::AssertionResult click(const LAYOUT_SPOT &s, const std::string &answer = {});

    // [SECTION] The window
    // The toy's top-level window of any size once it is mapped; None if none is within
    // TOY_SEE_SECONDS
    Window toplevel();
    // The toy's window once it is mapped at the view's size; it goes to `window`
    ::testing::AssertionResult find_window();
    // Read frames until one satisfies `wanted`; it stays in `frame`
    ::testing::AssertionResult see(const std::function<bool(const XCAPTURE_IMAGE &)> &wanted, const std::string &what,
                                   double seconds = TOY_SEE_SECONDS);
    // Ask window `w` to close as a window manager does: a WM_DELETE_WINDOW client message
    ::testing::AssertionResult request_close(Window w);

    // [SECTION] Ending
    // Hold Escape over the toy's window until the toy says it quits, then let go: the platform
    // quits when Escape is still held after an event poll, so a tap may go unseen. The index of
    // "Quitting..." goes to `quitting`.
    ::testing::AssertionResult hold_escape(int &quitting);
    // Hold Escape until the toy quits, then wait for it to save and end (see ended)
    ::testing::AssertionResult quit_with_escape();
    // The toy saves its settings and ends with status 0
    ::testing::AssertionResult ended();
};
