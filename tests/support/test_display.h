// test_display: a private X display for the SDL layer running inside the test process itself.
// Starts an Xvfb and a temporary HOME and points this process's environment at them, so that
// the framework started afterwards opens its window on that display and keeps its files away
// from the real user's. Also pins the loaded libraries before the framework shuts SDL down, for
// the leak checker.
// Depends on: xvfb, process (temporary directories), the dynamic linker (dl_iterate_phdr).
#pragma once

#include <string>

#include "xvfb.h"

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct TEST_DISPLAY {
    XVFB xvfb;         // the private server; its DISPLAY value is xvfb.display
    std::string home;  // the temporary HOME, removed by test_display_stop
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Start the server and make the temporary HOME, then set DISPLAY and HOME to them,
// SDL_AUDIODRIVER to dummy and SDL_VIDEODRIVER to x11, and remove the real user's Wayland
// display, X authority file and XDG directories; false with a reason in `error`.
bool test_display_start(TEST_DISPLAY &d, std::string &error);

// Stop the server and remove the temporary HOME (call it after the framework has shut down).
void test_display_stop(TEST_DISPLAY &d);

// Pin every loaded shared library in memory until the process ends (call it before the
// framework shuts SDL down). Mesa unloads its driver when SDL closes the display, and a leak
// inside an unloaded library cannot be traced to it, so the leak checker's suppressions for
// system libraries would not apply.
void test_display_pin_libraries();
