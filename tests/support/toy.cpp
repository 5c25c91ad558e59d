// toy: the real toy, end to end (see toy.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Private helpers
// [SECTION] Public functions
// [SECTION] Fixture: set-up, the settings file, starting
// [SECTION] Fixture: the log
// [SECTION] Fixture: pausing
// [SECTION] Fixture: input
// [SECTION] Fixture: the window
// [SECTION] Fixture: ending
#include "toy.h"

#include <sys/wait.h>

#include <chrono>
#include <thread>
#include <utility>

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
extern const char TOY_LOG_PREFIX[] = R"(\[lum -?[0-9]+\.[0-9]{2}s \([0-9]+\)\] )";

// The corner of the window where the pointer rests while a key is held: on no button
constexpr int TOY_REST_X = 1;
constexpr int TOY_REST_Y = 1;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
using Clock = std::chrono::steady_clock;

static Clock::time_point deadline_after(double seconds)
{
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
//----------------------------------------------------------------------------------
std::regex toy_logged_regex(const std::string &message)
{
    return std::regex("^" + std::string(TOY_LOG_PREFIX) + "(?:" + message + ")$");
}

std::regex toy_line_regex(const std::string &pattern)
{
    return std::regex("^(?:" + std::string(TOY_LOG_PREFIX) + ")?(?:" + pattern + ")$");
}

::testing::AssertionResult toy_exits_cleanly(PROCESS &p)
{
    if (!process_wait_exit(p, TOY_EXIT_SECONDS))
        return ::testing::AssertionFailure() << "the toy did not end\n" << process_transcript(p);
    if (!WIFEXITED(p.status) || WEXITSTATUS(p.status) != 0)
        return ::testing::AssertionFailure() << describe_status(p.status);
    return ::testing::AssertionSuccess();
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: set-up, the settings file, starting
//----------------------------------------------------------------------------------
ToyTest::ToyTest(std::string toy_program) : program(std::move(toy_program))
{
}

void ToyTest::SetUp()
{
    std::string error;
    ASSERT_TRUE(xvfb_start(xvfb, error)) << error;
    x = XOpenDisplay(xvfb.display.c_str());
    ASSERT_NE(x, nullptr) << "cannot open " << xvfb.display;
    home = process_temp_dir("lumtoy-home");
    ASSERT_FALSE(home.empty());
}

void ToyTest::TearDown()
{
    process_stop(toy);
    if (x)
        XCloseDisplay(x);
    xvfb_stop(xvfb);
    process_remove_dir(home);
}

std::string ToyTest::settings_path() const
{
    return record_path(home);
}

void ToyTest::prepare(const SETTINGS_RECORD &r)
{
    ASSERT_TRUE(record_write(settings_path(), r)) << "cannot write " << settings_path();
}

SETTINGS_RECORD ToyTest::saved() const
{
    return record_read(settings_path());
}

::testing::AssertionResult ToyTest::launch(const std::vector<std::string> &overrides)
{
    process_stop(toy);
    std::vector<std::string> environment = {"HOME=" + home};
    environment.insert(environment.end(), overrides.begin(), overrides.end());
    std::string error;
    std::vector<std::string> argv = {program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    if (!process_start(toy, argv, xvfb.display, error, environment))
        return ::testing::AssertionFailure() << error;
    next_line = rate_line = 0;
    paused = false;
    window = None;
    view = layout_view(LAYOUT_START_W, LAYOUT_START_H);
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult ToyTest::start(const std::vector<std::string> &overrides)
{
    if (auto r = launch(overrides); !r)
        return r;
    return laid_out();
}

::testing::AssertionResult ToyTest::laid_out()
{
    if (auto r = logged(literal(layout_line(view))); !r)
        return r;
    if (auto r = logged("RESET [0-9]+ buttons COUNTER [0-9]+"); !r)
        return r;
    return find_window();
}

::testing::AssertionResult ToyTest::running()
{
    int at;
    return logged_at(literal("changed logic rate 0 -> 60"), at);
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: the log
//----------------------------------------------------------------------------------
// A paused toy writes nothing: it is let run a moment at a time until the line comes
::testing::AssertionResult ToyTest::wait_line(const std::string &pattern, size_t &from, double seconds)
{
    std::regex wanted = toy_line_regex(pattern);
    int at = -1;
    if (paused) {
        Clock::time_point deadline = deadline_after(seconds);
        while ((at = process_wait_line(toy, wanted, 0.0, from)) < 0 && process_drain(toy) && Clock::now() < deadline)
            let_run();
    } else {
        at = process_wait_line(toy, wanted, seconds, from);
    }
    if (at < 0)
        return ::testing::AssertionFailure() << "no log line matching '" << pattern << "' from line " << from
                                             << " within " << seconds << " s\n"
                                             << process_transcript(toy);
    from = static_cast<size_t>(at) + 1;
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult ToyTest::logged(const std::string &pattern, double seconds)
{
    return wait_line(pattern, next_line, seconds);
}

::testing::AssertionResult ToyTest::logged_at(const std::string &message, int &at, size_t from)
{
    at = process_wait_line(toy, toy_logged_regex(message), TOY_LOG_SECONDS, from);
    if (at >= 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "no log line matching '" << message << "' from line " << from << " within "
                                         << TOY_LOG_SECONDS << " s\n"
                                         << process_transcript(toy);
}

int ToyTest::line(const std::string &pattern, size_t from, double seconds)
{
    return process_wait_line(toy, toy_line_regex(pattern), seconds, from);
}

bool ToyTest::logged_since_start(const std::string &pattern)
{
    return line(pattern, 0, 0.0) >= 0;
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: pausing
//----------------------------------------------------------------------------------
void ToyTest::pause()
{
    paused = process_pause(toy);
}

void ToyTest::resume()
{
    if (paused)
        process_resume(toy);
    paused = false;
}

void ToyTest::let_run()
{
    if (!paused) {
        std::this_thread::sleep_for(std::chrono::milliseconds(TOY_POLL_MS));
        return;
    }
    process_resume(toy);
    std::this_thread::sleep_for(std::chrono::milliseconds(TOY_RUN_MS));
    paused = process_pause(toy);
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: input
//----------------------------------------------------------------------------------
::testing::AssertionResult ToyTest::xdo(const std::vector<std::string> &args)
{
    int status = process_xdotool(xvfb.display, args);
    if (status == 0)
        return ::testing::AssertionSuccess();
    std::string text;
    for (const std::string &a : args)
        text += " " + a;
    return ::testing::AssertionFailure() << "xdotool" << text << " gave " << status;
}

::testing::AssertionResult ToyTest::point_at(int px, int py, const std::vector<std::string> &then)
{
    std::vector<std::string> args = {"mousemove", "--window", std::to_string(window), std::to_string(px),
                                     std::to_string(py)};
    args.insert(args.end(), then.begin(), then.end());
    return xdo(args);
}

// F9 switches the logic rate to 4 and a second F9 back to 60, and the tick that takes each key
// says so in the log
::testing::AssertionResult ToyTest::send_and_tick(std::vector<std::string> input)
{
    input.insert(input.end(), {"key", "F9"});
    if (auto r = xdo(input); !r)
        return r;
    if (auto r = wait_line(literal("RATE 4"), rate_line); !r)
        return r;
    if (auto r = xdo({"key", "F9"}); !r)
        return r;
    return wait_line(literal("RATE 60"), rate_line);
}

::testing::AssertionResult ToyTest::ticked()
{
    return send_and_tick({});
}

::testing::AssertionResult ToyTest::press(const LAYOUT_SPOT &s)
{
    pause();
    return send_and_tick({"mousemove", "--window", std::to_string(window), std::to_string(static_cast<int>(s.x)),
                          std::to_string(static_cast<int>(s.y)), "mousedown", "1"});
}

::testing::AssertionResult ToyTest::release(const std::string &answer)
{
    ::testing::AssertionResult r = ::testing::AssertionSuccess();
    if (answer.empty()) {
        r = send_and_tick({"mouseup", "1"});
    } else {
        r = xdo({"mouseup", "1"});
        if (r)
            r = logged(answer);
    }
    resume();
    return r;
}

::testing::AssertionResult ToyTest::click(const LAYOUT_SPOT &s, const std::string &answer)
{
    ::testing::AssertionResult r = press(s);
    ::testing::AssertionResult released = release(answer);
    return r ? released : r;
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: the window
//----------------------------------------------------------------------------------
Window ToyTest::toplevel()
{
    Clock::time_point deadline = deadline_after(TOY_SEE_SECONDS);
    for (;;) {
        Window w = xcapture_find_toplevel(x);
        if (w != None || Clock::now() >= deadline)
            return w;
        std::this_thread::sleep_for(std::chrono::milliseconds(TOY_POLL_MS));
    }
}

::testing::AssertionResult ToyTest::find_window()
{
    Clock::time_point deadline = deadline_after(TOY_SEE_SECONDS);
    for (;;) {
        Window w = xcapture_find_toplevel(x);
        XWindowAttributes a;
        if (w != None && XGetWindowAttributes(x, w, &a) && a.width == view.w && a.height == view.h) {
            window = w;
            return ::testing::AssertionSuccess();
        }
        if (Clock::now() >= deadline)
            return ::testing::AssertionFailure() << "no " << view.w << " x " << view.h << " window";
        std::this_thread::sleep_for(std::chrono::milliseconds(TOY_POLL_MS));
    }
}

::testing::AssertionResult ToyTest::see(const std::function<bool(const XCAPTURE_IMAGE &)> &wanted,
                                        const std::string &what, double seconds)
{
    Clock::time_point deadline = deadline_after(seconds);
    for (;;) {
        if (!xcapture_window(x, window, frame) || frame.w != view.w || frame.h != view.h)
            return ::testing::AssertionFailure() << "cannot read the " << view.w << " x " << view.h << " window";
        if (wanted(frame))
            return ::testing::AssertionSuccess();
        if (!process_drain(toy))
            return ::testing::AssertionFailure() << "the toy ended while waiting for " << what << "\n"
                                                 << process_transcript(toy);
        if (Clock::now() >= deadline)
            return ::testing::AssertionFailure() << what << ": not seen within " << seconds << " s";
        let_run();
    }
}

::testing::AssertionResult ToyTest::request_close(Window w)
{
    XEvent close{};
    close.xclient.type = ClientMessage;
    close.xclient.window = w;
    close.xclient.message_type = XInternAtom(x, "WM_PROTOCOLS", False);
    close.xclient.format = 32;
    close.xclient.data.l[0] = static_cast<long>(XInternAtom(x, "WM_DELETE_WINDOW", False));
    close.xclient.data.l[1] = CurrentTime;
    if (XSendEvent(x, w, False, NoEventMask, &close) == 0)
        return ::testing::AssertionFailure() << "the close request could not be sent";
    XFlush(x);
    return ::testing::AssertionSuccess();
}

//----------------------------------------------------------------------------------
// [SECTION] Fixture: ending
//----------------------------------------------------------------------------------
// Keyboard focus follows the pointer on a display without a window manager: the pointer rests
// on the window, away from its buttons, while Escape is held
::testing::AssertionResult ToyTest::hold_escape(int &quitting)
{
    Window w = window != None ? window : toplevel();
    if (w == None)
        return ::testing::AssertionFailure() << "no window to hold Escape over";
    if (auto r = xdo({"mousemove", "--window", std::to_string(w), std::to_string(TOY_REST_X),
                      std::to_string(TOY_REST_Y), "keydown", "Escape"});
        !r)
        return r;
    ::testing::AssertionResult said = logged_at(literal("Quitting..."), quitting, next_line);
    ::testing::AssertionResult let_go = xdo({"keyup", "Escape"});
    if (!said)
        return said;
    next_line = static_cast<size_t>(quitting) + 1;
    return let_go;
}

::testing::AssertionResult ToyTest::quit_with_escape()
{
    int quitting;
    if (auto r = hold_escape(quitting); !r)
        return r;
    return ended();
}

::testing::AssertionResult ToyTest::ended()
{
    if (auto r = logged(literal("wrote 4172 bytes")); !r)
        return r;
    if (auto r = toy_exits_cleanly(toy); !r)
        return r;
    process_stop(toy);
    return ::testing::AssertionSuccess();
}
