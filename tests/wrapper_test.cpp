// The SDL platform layer for real: SDL 1.2, OpenGL and a private virtual X display per test.
// Input is driven by pushing SDL 1.2 events and running the layer's poll; log lines are read by
// redirecting standard output around the call. Run each test in its own process (as CTest
// does): the runtime's quit flag cannot be cleared once set.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <future>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "SDL.h"
#include "capture.h"
#include "input.h"
#include "lum.h"
#include "plat_msg.h"
#include "test_display.h"
#include "wrapper.h"
#include "xcapture.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int DESKTOP_W = 1920;  // the virtual screen of every test
constexpr int DESKTOP_H = 1080;
constexpr int SMALL_W = 320;     // the window of the input tests, well away from the pointer
constexpr int SMALL_H = 240;
constexpr double WINDOW_WAIT_SECONDS = 10.0;  // how long the X server may take to map a window
constexpr Uint32 WINDOW_POLL_MS = 10;         // how often the server is asked about the window

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
static std::vector<INPUT_EVENT> delivered;  // what the input callback saw

static void record_event(INPUT_EVENT *e)
{
    delivered.push_back(*e);
}

static SDL_Event key_event(Uint8 type, SDLKey sym)
{
    SDL_Event e;
    std::memset(&e, 0, sizeof e);
    e.type = type;
    e.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
    e.key.keysym.sym = sym;
    return e;
}

static SDL_Event button_event(Uint8 type, Uint8 button, Uint16 x, Uint16 y)
{
    SDL_Event e;
    std::memset(&e, 0, sizeof e);
    e.type = type;
    e.button.button = button;
    e.button.state = type == SDL_MOUSEBUTTONDOWN ? SDL_PRESSED : SDL_RELEASED;
    e.button.x = x;
    e.button.y = y;
    return e;
}

static SDL_Event motion_event(Uint16 x, Uint16 y)
{
    SDL_Event e;
    std::memset(&e, 0, sizeof e);
    e.type = SDL_MOUSEMOTION;
    e.motion.x = x;
    e.motion.y = y;
    return e;
}

static SDL_Event quit_event()
{
    SDL_Event e;
    std::memset(&e, 0, sizeof e);
    e.type = SDL_QUIT;
    return e;
}

// Push SDL events, run one platform poll and deliver the input queue; returns what the input
// callback saw
static std::vector<INPUT_EVENT> poll_events(std::vector<SDL_Event> events)
{
    for (SDL_Event &e : events)
        EXPECT_EQ(SDL_PushEvent(&e), 0) << SDL_GetError();
    delivered.clear();
    wrapper_handle_events();
    input_update_events();
    input_clear_events();
    return delivered;
}

// The key id that one pushed key press of `sym` produces, or -1 if it did not produce exactly one
static int key_id_of(SDLKey sym)
{
    std::vector<INPUT_EVENT> seen = poll_events({key_event(SDL_KEYDOWN, sym), key_event(SDL_KEYUP, sym)});
    if (seen.size() != 2 || seen[0].type != INPUT_PRESSED || seen[1].type != INPUT_RELEASED ||
        seen[0].keyid != seen[1].keyid)
        return -1;
    return seen[0].keyid;
}

//----------------------------------------------------------------------------------
// Fixture: a private X display, a temporary HOME and the framework started on them
//----------------------------------------------------------------------------------
class Wrapper : public ::testing::Test {
protected:
    TEST_DISPLAY display;
    Display *x = nullptr;  // our own connection, to look at the window as the server sees it

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(test_display_start(display, error)) << error;
        x = XOpenDisplay(display.xvfb.display.c_str());
        ASSERT_NE(x, nullptr) << "cannot open " << display.xvfb.display;
        // The pointer starts at the screen's centre; park it in a corner so that no window of
        // these tests has the pointer over it (no motion events besides the pushed ones).
        XWarpPointer(x, None, DefaultRootWindow(x), 0, 0, 0, 0, DESKTOP_W - 1, DESKTOP_H - 1);
        XSync(x, False);
        ASSERT_EQ(lum_init(), 1);
    }

    void TearDown() override
    {
        input_set_callback(nullptr);
        test_display_pin_libraries();
        lum_exit();
        if (x)
            XCloseDisplay(x);
        test_display_stop(display);
    }

    // Open a small window and deliver whatever the window's appearance queued, then listen
    void open_small_window()
    {
        ASSERT_EQ(wrapper_set_graphics(SMALL_W, SMALL_H, 0, 0), 1);
        poll_events({});
        input_set_callback(record_event);
    }

    // Wait until the server has a mapped top-level window of w x h; false on timeout
    bool window_mapped_with_size(int w, int h)
    {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(WINDOW_WAIT_SECONDS);
        do {
            Window window = xcapture_find_toplevel(x);
            XWindowAttributes a;
            if (window != None && XGetWindowAttributes(x, window, &a) && a.width == w && a.height == h)
                return true;
            SDL_Delay(WINDOW_POLL_MS);
        } while (std::chrono::steady_clock::now() < deadline);
        return false;
    }
};

//----------------------------------------------------------------------------------
// Video modes
//----------------------------------------------------------------------------------
TEST_F(Wrapper, StartReadsTheDesktopSize)
{
    EXPECT_EQ(wrapper_desktop_w(), DESKTOP_W);
    EXPECT_EQ(wrapper_desktop_h(), DESKTOP_H);
}

TEST_F(Wrapper, ZeroSizedWindowIsHalfTheDesktop)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_set_graphics(0, 0, 0, 0), 1); }));
    EXPECT_EQ(log, (std::vector<std::string>{"Set graphics 0x0", "Desktop: 1920x1080", "draw: reset (960 x 540)"}));
    EXPECT_EQ(wrapper_display_w(), 960);
    EXPECT_EQ(wrapper_display_h(), 540);
    EXPECT_EQ(wrapper_fullscreen(), 0);
    SDL_Surface *screen = SDL_GetVideoSurface();
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(screen->w, 960);
    EXPECT_EQ(screen->h, 540);
    EXPECT_TRUE(screen->flags & SDL_OPENGL);
    EXPECT_FALSE(screen->flags & SDL_FULLSCREEN);
    EXPECT_TRUE(window_mapped_with_size(960, 540));
}

TEST_F(Wrapper, ZeroSizedFullScreenTakesTheWholeDesktop)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_set_graphics(0, 0, 0, 1), 1); }));
    EXPECT_EQ(log, (std::vector<std::string>{"Set graphics 0x0", "Desktop: 1920x1080", "draw: reset (1920 x 1080)"}));
    EXPECT_EQ(wrapper_display_w(), DESKTOP_W);
    EXPECT_EQ(wrapper_display_h(), DESKTOP_H);
    EXPECT_NE(wrapper_fullscreen(), 0);
    SDL_Surface *screen = SDL_GetVideoSurface();
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(screen->w, DESKTOP_W);
    EXPECT_EQ(screen->h, DESKTOP_H);
    EXPECT_TRUE(screen->flags & SDL_OPENGL);
    EXPECT_TRUE(screen->flags & SDL_FULLSCREEN);
    EXPECT_TRUE(window_mapped_with_size(DESKTOP_W, DESKTOP_H));
}

TEST_F(Wrapper, GivenSizeOpensExactlyThatWindow)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_set_graphics(960, 640, 0, 0), 1); }));
    EXPECT_EQ(log, (std::vector<std::string>{"Set graphics 960x640", "Desktop: 1920x1080", "draw: reset (960 x 640)"}));
    EXPECT_EQ(wrapper_display_w(), 960);
    EXPECT_EQ(wrapper_display_h(), 640);
    EXPECT_EQ(wrapper_fullscreen(), 0);
    SDL_Surface *screen = SDL_GetVideoSurface();
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(screen->w, 960);
    EXPECT_EQ(screen->h, 640);
    EXPECT_FALSE(screen->flags & SDL_FULLSCREEN);
    EXPECT_TRUE(window_mapped_with_size(960, 640));
}

TEST_F(Wrapper, FullScreenRequestWhileFullScreenChangesNothing)
{
    ASSERT_EQ(wrapper_set_graphics(0, 0, 0, 1), 1);
    SDL_Surface *before = SDL_GetVideoSurface();
    std::string out = capture_stdout([] { EXPECT_EQ(wrapper_set_fullscreen(1), 1); });
    EXPECT_EQ(out, "") << "no mode was to be set";
    EXPECT_NE(wrapper_fullscreen(), 0);
    EXPECT_EQ(wrapper_display_w(), DESKTOP_W);
    EXPECT_EQ(wrapper_display_h(), DESKTOP_H);
    EXPECT_EQ(SDL_GetVideoSurface(), before);
}

TEST_F(Wrapper, WindowRequestWhileWindowedChangesNothing)
{
    ASSERT_EQ(wrapper_set_graphics(960, 640, 0, 0), 1);
    std::string out = capture_stdout([] { EXPECT_EQ(wrapper_set_fullscreen(0), 1); });
    EXPECT_EQ(out, "");
    EXPECT_EQ(wrapper_fullscreen(), 0);
    EXPECT_EQ(wrapper_display_w(), 960);
    EXPECT_EQ(wrapper_display_h(), 640);
}

TEST_F(Wrapper, FullScreenFromAWindowReopensAtTheDisplaySize)
{
    ASSERT_EQ(wrapper_set_graphics(960, 640, 0, 0), 1);
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_set_fullscreen(1), 1); }));
    EXPECT_EQ(log, (std::vector<std::string>{"Set graphics 960x640", "Desktop: 1920x1080", "draw: reset (960 x 640)"}));
    EXPECT_NE(wrapper_fullscreen(), 0);
    EXPECT_EQ(wrapper_display_w(), 960);
    EXPECT_EQ(wrapper_display_h(), 640);
    SDL_Surface *screen = SDL_GetVideoSurface();
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(screen->w, 960);
    EXPECT_EQ(screen->h, 640);
    EXPECT_TRUE(screen->flags & SDL_FULLSCREEN);
}

TEST_F(Wrapper, ResetOpenGlMatrixScalesALogicalSurfaceToTheDisplay)
{
    ASSERT_EQ(wrapper_set_graphics(960, 640, 0, 0), 1);
    wrapper_reset_opengl_matrix(480.0f, 160.0f);
    GLfloat m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    EXPECT_FLOAT_EQ(m[0], 2.0f);
    EXPECT_FLOAT_EQ(m[5], 4.0f);
    EXPECT_FLOAT_EQ(m[10], 1.0f);
    wrapper_reset_opengl_matrix(0.0f, 0.0f);
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    EXPECT_FLOAT_EQ(m[0], 1.0f);
    EXPECT_FLOAT_EQ(m[5], 1.0f);
}

//----------------------------------------------------------------------------------
// Window caption
//----------------------------------------------------------------------------------
// The caption SDL keeps for the window and its iconified name; empty text for none
static std::pair<std::string, std::string> sdl_caption()
{
    char *title = nullptr;
    char *icon = nullptr;
    SDL_WM_GetCaption(&title, &icon);
    return {title ? title : "", icon ? icon : ""};
}

// The name the X server holds for the toy's top-level window; empty while there is none
static std::string server_window_name(Display *x)
{
    Window window = xcapture_find_toplevel(x);
    if (window == None)
        return "";
    char *name = nullptr;
    if (!XFetchName(x, window, &name) || !name)
        return "";
    std::string text = name;
    XFree(name);
    return text;
}

// Wait until the server names the top-level window `want`; false on timeout
static bool window_named(Display *x, const std::string &want)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(WINDOW_WAIT_SECONDS);
    do {
        if (server_window_name(x) == want)
            return true;
        SDL_Delay(WINDOW_POLL_MS);
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
}

TEST_F(Wrapper, SetTitleNamesTheWindowAndItsIcon)
{
    ASSERT_EQ(wrapper_set_graphics(960, 640, 0, 0), 1);
    lum_set_title("Lum Life");
    EXPECT_EQ(sdl_caption(), (std::pair<std::string, std::string>{"Lum Life", "Lum Life"}));
    EXPECT_TRUE(window_named(x, "Lum Life")) << "the server has '" << server_window_name(x) << "'";
}

TEST_F(Wrapper, TheCaptionSurvivesReopeningTheWindowAtEverySize)
{
    ASSERT_EQ(wrapper_set_graphics(960, 640, 0, 0), 1);
    lum_set_title("Lum Life");
    ASSERT_TRUE(window_named(x, "Lum Life"));
    const int sizes[][2] = {{320, 480}, {1136, 640}, {960, 640}};
    for (const auto &size : sizes) {
        ASSERT_EQ(wrapper_set_graphics(size[0], size[1], 0, 0), 1);
        ASSERT_TRUE(window_mapped_with_size(size[0], size[1]));
        EXPECT_EQ(sdl_caption().first, "Lum Life") << size[0] << "x" << size[1];
        EXPECT_TRUE(window_named(x, "Lum Life")) << size[0] << "x" << size[1] << ": the server has '"
                                                 << server_window_name(x) << "'";
    }
}

TEST_F(Wrapper, ACaptionSetBeforeTheWindowOpensNamesIt)
{
    lum_set_title("Lum Life");
    ASSERT_EQ(wrapper_set_graphics(480, 320, 0, 0), 1);
    EXPECT_EQ(sdl_caption().first, "Lum Life");
    EXPECT_TRUE(window_named(x, "Lum Life")) << "the server has '" << server_window_name(x) << "'";
}

TEST_F(Wrapper, ANullTitleKeepsTheCaption)
{
    ASSERT_EQ(wrapper_set_graphics(480, 320, 0, 0), 1);
    lum_set_title("Lum Life");
    lum_set_title(nullptr);
    EXPECT_EQ(sdl_caption().first, "Lum Life");
}

//----------------------------------------------------------------------------------
// Mouse
//----------------------------------------------------------------------------------
TEST_F(Wrapper, LeftAndMiddleButtonsGivePointerIdsZeroAndOne)
{
    open_small_window();
    std::vector<INPUT_EVENT> seen = poll_events({button_event(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_LEFT, 10, 20),
                                                 button_event(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_MIDDLE, 30, 40)});
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].keyid, K_MOUSE);
    EXPECT_EQ(seen[0].id, 0);
    EXPECT_EQ(seen[1].keyid, K_MOUSE);
    EXPECT_EQ(seen[1].id, 1);
}

TEST_F(Wrapper, RightMouseButtonGivesPointerIdTwo)
{
    open_small_window();
    std::vector<INPUT_EVENT> seen = poll_events({button_event(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_RIGHT, 100, 50),
                                                 button_event(SDL_MOUSEBUTTONUP, SDL_BUTTON_RIGHT, 101, 52)});
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].type, INPUT_PRESSED);
    EXPECT_EQ(seen[0].keyid, K_MOUSE);
    EXPECT_EQ(seen[0].id, 2);
    EXPECT_FLOAT_EQ(seen[0].x, 100.0f);
    EXPECT_FLOAT_EQ(seen[0].y, 50.0f);
    EXPECT_EQ(seen[1].type, INPUT_RELEASED);
    EXPECT_EQ(seen[1].id, 2);
    EXPECT_FLOAT_EQ(seen[1].x, 101.0f);
    EXPECT_FLOAT_EQ(seen[1].y, 52.0f);
    EXPECT_EQ(mouse_state[2].down, 0);
    EXPECT_EQ(mouse_state[2].x, 101);
    EXPECT_EQ(mouse_state[2].y, 52);
}

TEST_F(Wrapper, WheelGivesPressedAndReleasedEventsWithIdsThreeAndFour)
{
    open_small_window();
    std::vector<INPUT_EVENT> seen = poll_events({button_event(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_WHEELUP, 5, 6),
                                                 button_event(SDL_MOUSEBUTTONUP, SDL_BUTTON_WHEELUP, 5, 6),
                                                 button_event(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_WHEELDOWN, 7, 8),
                                                 button_event(SDL_MOUSEBUTTONUP, SDL_BUTTON_WHEELDOWN, 7, 8)});
    ASSERT_EQ(seen.size(), 4u);
    const int types[] = {INPUT_PRESSED, INPUT_RELEASED, INPUT_PRESSED, INPUT_RELEASED};
    const int ids[] = {3, 3, 4, 4};
    for (size_t i = 0; i < seen.size(); i++) {
        SCOPED_TRACE(i);
        EXPECT_EQ(seen[i].keyid, K_MOUSE);
        EXPECT_EQ(seen[i].type, types[i]);
        EXPECT_EQ(seen[i].id, ids[i]);
    }
}

TEST_F(Wrapper, EveryMotionEventIsQueued)
{
    constexpr int MOTIONS = 40;
    open_small_window();
    std::vector<SDL_Event> events;
    for (int i = 0; i < MOTIONS; i++)
        events.push_back(motion_event(static_cast<Uint16>(i), static_cast<Uint16>(2 * i + 1)));
    std::vector<INPUT_EVENT> seen = poll_events(events);
    ASSERT_EQ(seen.size(), static_cast<size_t>(MOTIONS));
    for (int i = 0; i < MOTIONS; i++) {
        SCOPED_TRACE(i);
        EXPECT_EQ(seen[i].type, INPUT_MOVED);
        EXPECT_EQ(seen[i].keyid, K_MOUSE);
        EXPECT_EQ(seen[i].id, 0);
        EXPECT_FLOAT_EQ(seen[i].x, static_cast<float>(i));
        EXPECT_FLOAT_EQ(seen[i].y, static_cast<float>(2 * i + 1));
    }
}

TEST_F(Wrapper, QueuedEventsCarryNoTimestamp)
{
    open_small_window();
    std::vector<INPUT_EVENT> seen = poll_events({button_event(SDL_MOUSEBUTTONDOWN, SDL_BUTTON_LEFT, 1, 1),
                                                 key_event(SDL_KEYDOWN, SDLK_a)});
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].timestamp, 0u);
    EXPECT_EQ(seen[1].timestamp, 0u);
    EXPECT_FLOAT_EQ(seen[1].x, 0.0f);
    EXPECT_EQ(seen[1].id, 0);
}

//----------------------------------------------------------------------------------
// Keys
//----------------------------------------------------------------------------------
TEST_F(Wrapper, YAndZGiveTheSameKeyId)
{
    open_small_window();
    EXPECT_EQ(key_id_of(SDLK_y), K_BUTTON1);
    EXPECT_EQ(key_id_of(SDLK_z), K_BUTTON1);
}

TEST_F(Wrapper, EveryListedKeyTranslatesToItsFrameworkKey)
{
    struct KEY_CASE {
        SDLKey sym;  // pushed SDL key
        int key;     // expected framework key id
    };
    const KEY_CASE listed[] = {
        {SDLK_BACKSPACE, K_BS}, {SDLK_TAB, K_TAB}, {SDLK_RETURN, K_ENTER}, {SDLK_ESCAPE, K_ESC},
        {SDLK_0, K_0}, {SDLK_1, K_1}, {SDLK_2, K_2}, {SDLK_3, K_3}, {SDLK_4, K_4},
        {SDLK_5, K_5}, {SDLK_6, K_6}, {SDLK_7, K_7}, {SDLK_8, K_8}, {SDLK_9, K_9},
        {SDLK_BACKQUOTE, K_TILDE}, {SDLK_a, K_A}, {SDLK_c, K_BUTTON3}, {SDLK_d, K_D},
        {SDLK_s, K_S}, {SDLK_w, K_W}, {SDLK_x, K_BUTTON2}, {SDLK_y, K_BUTTON1}, {SDLK_z, K_BUTTON1},
        {SDLK_DELETE, K_DEL}, {SDLK_UP, K_UP}, {SDLK_DOWN, K_DOWN}, {SDLK_RIGHT, K_RIGHT},
        {SDLK_LEFT, K_LEFT}, {SDLK_F1, K_F1}, {SDLK_F2, K_F2}, {SDLK_F3, K_F3}, {SDLK_F4, K_F4},
        {SDLK_F5, K_F5}, {SDLK_F6, K_F6}, {SDLK_F7, K_F7}, {SDLK_F8, K_F8}, {SDLK_F9, K_F9},
        {SDLK_F10, K_F10}, {SDLK_F11, K_F11}, {SDLK_F12, K_F12},
    };
    open_small_window();
    for (const KEY_CASE &c : listed)
        EXPECT_EQ(key_id_of(c.sym), c.key) << "SDL key " << c.sym;
}

TEST_F(Wrapper, UnlistedKeysGiveKeyNone)
{
    const SDLKey unlisted[] = {
        SDLK_b, SDLK_e, SDLK_q, SDLK_SPACE, SDLK_KP0, SDLK_KP_ENTER, SDLK_LSHIFT, SDLK_F13,
        SDLK_INSERT, SDLK_AMPERSAND, SDLK_ASTERISK, SDLK_SLASH, SDLK_PLUS, SDLK_MINUS, SDLK_CARET,
    };
    open_small_window();
    for (SDLKey sym : unlisted)
        EXPECT_EQ(key_id_of(sym), K_NONE) << "SDL key " << sym;
}

//----------------------------------------------------------------------------------
// Quit
//----------------------------------------------------------------------------------
TEST_F(Wrapper, SdlQuitLogsAndRequestsQuit)
{
    open_small_window();
    ASSERT_EQ(lum_is_quit(), 0) << "run each test in its own process";
    std::vector<INPUT_EVENT> seen;
    std::vector<std::string> log = log_messages(capture_stdout([&] { seen = poll_events({quit_event()}); }));
    EXPECT_EQ(log, std::vector<std::string>{"SDL_QUIT"});
    EXPECT_EQ(lum_is_quit(), 1);
    EXPECT_TRUE(seen.empty()) << "a quit is not an input event";
}

TEST_F(Wrapper, EscapeHeldAfterThePollRequestsQuit)
{
    open_small_window();
    ASSERT_EQ(lum_is_quit(), 0) << "run each test in its own process";
    SDL_Event press = key_event(SDL_KEYDOWN, SDLK_ESCAPE);
    ASSERT_EQ(SDL_PushEvent(&press), 0);
    wrapper_handle_events();
    EXPECT_EQ(lum_is_quit(), 0) << "the key table learns of the press only after this poll";
    input_update_events();
    input_clear_events();
    EXPECT_EQ(keys[K_ESC], 1);
    wrapper_handle_events();
    EXPECT_EQ(lum_is_quit(), 1);
}

TEST_F(Wrapper, EscapePressedAndReleasedInOneTickDoesNotQuit)
{
    open_small_window();
    ASSERT_EQ(lum_is_quit(), 0) << "run each test in its own process";
    poll_events({key_event(SDL_KEYDOWN, SDLK_ESCAPE), key_event(SDL_KEYUP, SDLK_ESCAPE)});
    poll_events({});
    EXPECT_EQ(keys[K_ESC], 0);
    EXPECT_EQ(lum_is_quit(), 0);
}

TEST_F(Wrapper, WindowCloseRequestEndsTheMainLoop)
{
    open_small_window();
    ASSERT_EQ(lum_is_quit(), 0) << "run each test in its own process";
    SDL_Event quit = quit_event();
    ASSERT_EQ(SDL_PushEvent(&quit), 0);
    test_display_pin_libraries();  // the loop shuts SDL down itself
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(lum_run(0), 0); }));
    ASSERT_GE(log.size(), 4u);
    EXPECT_EQ(log[log.size() - 4], "SDL_QUIT");
    EXPECT_EQ(log[log.size() - 3], "Quitting...");
    EXPECT_EQ(log[log.size() - 2], "atlas: deleted 0 textures");
    EXPECT_EQ(log[log.size() - 1], "Bye! :)");
}

//----------------------------------------------------------------------------------
// Time and threads
//----------------------------------------------------------------------------------
TEST_F(Wrapper, TicksAtSixtyPerSecondCountWholeTicksOfElapsedTime)
{
    EXPECT_EQ(wrapper_ticks_from_ms(1000, 60.0f), 60u);
    EXPECT_EQ(wrapper_ticks_from_ms(1016, 60.0f), 60u);
    EXPECT_EQ(wrapper_ticks_from_ms(1017, 60.0f), 61u);
}

TEST_F(Wrapper, GetTicksAndSecondsFollowTheSdlClock)
{
    Uint32 before = SDL_GetTicks();
    uint32_t ms = wrapper_get_ticks(1000.0f);
    uint32_t at60 = wrapper_get_ticks(60.0f);
    double seconds = wrapper_get_seconds();
    Uint32 after = SDL_GetTicks();
    EXPECT_GE(ms, before);
    EXPECT_LE(ms, after);
    EXPECT_GE(at60, wrapper_ticks_from_ms(before, 60.0f));
    EXPECT_LE(at60, wrapper_ticks_from_ms(after, 60.0f));
    EXPECT_GE(seconds, before / 1000.0);
    EXPECT_LE(seconds, after / 1000.0);
}

TEST_F(Wrapper, DelayWaitsAtLeastTheGivenTime)
{
    Uint32 before = SDL_GetTicks();
    wrapper_delay(0.05);
    EXPECT_GE(SDL_GetTicks() - before, 50u);
}

TEST_F(Wrapper, DesktopAcceptsEveryLogicRate)
{
    EXPECT_EQ(wrapper_set_logic_rate(60.0f), 0);
    EXPECT_EQ(wrapper_set_logic_rate(4.0f), 0);
    EXPECT_EQ(wrapper_set_logic_rate(1000.0f), 0);
}

static void *fulfil(void *data)
{
    static_cast<std::promise<void *> *>(data)->set_value(data);
    return nullptr;
}

TEST_F(Wrapper, RunThreadRunsTheFunctionWithItsData)
{
    std::promise<void *> ran;
    std::future<void *> result = ran.get_future();
    wrapper_run_thread(fulfil, &ran);
    ASSERT_EQ(result.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(result.get(), &ran);
}

//----------------------------------------------------------------------------------
// Desktop substitutes
//----------------------------------------------------------------------------------
TEST_F(Wrapper, TweetStartLogsAndIsNotAvailable)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_tweet_start(), -1); }));
    EXPECT_EQ(log, std::vector<std::string>{"TWEET START"});
}

TEST_F(Wrapper, TweetAddTextLogsTheTextAndIsNotAvailable)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_tweet_add_text("B3/S23 life"), -1); }));
    EXPECT_EQ(log, std::vector<std::string>{"TWEET ADD TEXT 'B3/S23 life'"});
}

TEST_F(Wrapper, TweetAddUrlLogsTheUrlAndIsNotAvailable)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_tweet_add_url("https://example.org/life"), -1); }));
    EXPECT_EQ(log, std::vector<std::string>{"TWEET ADD URL 'https://example.org/life'"});
}

TEST_F(Wrapper, TweetFinishLogsAndIsNotAvailable)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_tweet_finish(), -1); }));
    EXPECT_EQ(log, std::vector<std::string>{"TWEET FINISH"});
}

TEST_F(Wrapper, OpenUrlLogsTheHintAndUrlAndIsNotAvailable)
{
    std::vector<std::string> log = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_open_url(3, "https://example.org"), -1); }));
    EXPECT_EQ(log, std::vector<std::string>{"OPEN URL (hint 3): https://example.org"});
}

TEST_F(Wrapper, CopyDataToClipboardLogsAndIsNotAvailable)
{
    static const char data[] = "cells";
    std::vector<std::string> log =
        log_messages(capture_stdout([] { EXPECT_EQ(wrapper_copy_data_to_clipboard("grid", data, 6), -1); }));
    char expected[128];
    std::snprintf(expected, sizeof expected, "Copy data %p size 6 (hint 'grid') to clipboard", static_cast<const void *>(data));
    EXPECT_EQ(log, std::vector<std::string>{expected});
}

static int progress_calls = 0;

static void count_progress(float)
{
    progress_calls++;
}

TEST_F(Wrapper, CopyFileToClipboardLogsAndNeverReportsProgress)
{
    std::vector<std::string> log = log_messages(
        capture_stdout([] { EXPECT_EQ(wrapper_copy_file_to_clipboard("shot", "grid.png", count_progress), -1); }));
    EXPECT_EQ(log, std::vector<std::string>{"Copy file 'grid.png' (hint 'shot') to clipboard"});
    EXPECT_EQ(progress_calls, 0);
}

static int native_callbacks = 0;

static void count_native_callback(const char *)
{
    native_callbacks++;
}

TEST_F(Wrapper, NativeCallsReturnZeroAndNeverCallBack)
{
    const char *argv[] = {"one", "two"};
    EXPECT_EQ(wrapper_call_ex("share", 2, argv, count_native_callback), 0);
    EXPECT_EQ(wrapper_call_ex("share", 0, nullptr, count_native_callback), 0);
    EXPECT_EQ(wrapper_call("vibrate", "100"), 0);
    EXPECT_EQ(native_callbacks, 0);
}

TEST_F(Wrapper, NativeCallWithArgumentsLongerThanItsBufferStaysInside)
{
    const std::string name(300, 'n');
    const std::string arg(400, 'a');
    const char *argv[] = {arg.c_str(), arg.c_str(), arg.c_str()};
    EXPECT_EQ(wrapper_call_ex(name.c_str(), 3, argv, count_native_callback), 0);
    const std::string long_name(2000, 'n');
    EXPECT_EQ(wrapper_call_ex(long_name.c_str(), 3, argv, count_native_callback), 0);
    EXPECT_EQ(native_callbacks, 0);
}

//----------------------------------------------------------------------------------
// The desktop's replier to platform messages
//----------------------------------------------------------------------------------
static int poster_answers = 0;  // answers that reached the poster's handler

static int count_poster_answer(PLAT_MSG *)
{
    poster_answers++;
    return 0;
}

// Send a request of `type`, filled by `fill`, to whatever replier the start-up installed: the
// send's result, and its log messages in `log`
static int send_request(uint32_t type, const std::function<void(PLAT_MSG *)> &fill, std::vector<std::string> &log)
{
    PLAT_MSG *msg = nullptr;
    capture_stdout([&] {
        plat_msg_set_poster(count_poster_answer);
        msg = plat_msg_alloc_poster();
    });
    if (!msg) {
        ADD_FAILURE() << "no poster message";
        return 0;
    }
    msg->typeid_ = type;
    fill(msg);
    int result = 0;
    log = log_messages(capture_stdout([&] { result = plat_msg_poster_send(msg); }));
    return result;
}

TEST_F(Wrapper, StartInstallsAReplierThatLogsAScoreAndRefusesIt)
{
    std::vector<std::string> log;
    int result = send_request(PLAT_MSG_TYPE_SCORE, [](PLAT_MSG *msg) {
        std::snprintf(msg->info.score.category.data(), msg->info.score.category.size(), "%s", "weekly");
        msg->info.score.value = 123456789012;
    }, log);
    EXPECT_EQ(result, PLAT_MSG_CODE_ABORT);
    ASSERT_EQ(log.size(), 5u);
    EXPECT_TRUE(std::regex_match(log[0], std::regex("line [0-9]+: plat_msg_poster_send"))) << log[0];
    EXPECT_EQ(log[1], "Received score:");
    EXPECT_EQ(log[2], "'weekly' 123456789012");
    EXPECT_EQ(log[3], "ABORT CODE -1000");
    EXPECT_EQ(poster_answers, 0) << "the refusal is the send's result, not a later answer";
}

TEST_F(Wrapper, TheDesktopReplierLogsAStoreRequestsProductAndRefusesIt)
{
    std::vector<std::string> log;
    int result = send_request(PLAT_MSG_TYPE_IAP, [](PLAT_MSG *msg) {
        msg->user.arg = PLAT_MSG_ARG_IAP_BUY;
        std::snprintf(msg->info.iap.productid.data(), msg->info.iap.productid.size(), "%s", "donation");
    }, log);
    EXPECT_EQ(result, PLAT_MSG_CODE_ABORT);
    ASSERT_EQ(log.size(), 5u);
    EXPECT_EQ(log[1], "Received IAP:");
    EXPECT_EQ(log[2], "'donation'");
    EXPECT_EQ(log[3], "ABORT CODE -1000");
}

TEST_F(Wrapper, TheDesktopReplierRefusesOtherRequestsWithoutALineOfItsOwn)
{
    for (uint32_t type : {PLAT_MSG_TYPE_STATUS, PLAT_MSG_TYPE_ERROR}) {
        SCOPED_TRACE(type);
        std::vector<std::string> log;
        EXPECT_EQ(send_request(type, [](PLAT_MSG *) {}, log), PLAT_MSG_CODE_ABORT);
        ASSERT_EQ(log.size(), 3u);
        EXPECT_EQ(log[1], "ABORT CODE -1000");
    }
}
