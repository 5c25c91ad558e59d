// test_display: a private X display for the SDL layer in the test process (see test_display.h).
#include "test_display.h"

#include <dlfcn.h>
#include <link.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "process.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// Variables of the real user's session that must not reach SDL, Mesa or Xlib in a test
static const char *const TEST_DISPLAY_SESSION_VARS[] = {
    "WAYLAND_DISPLAY", "XAUTHORITY", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
};

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Keep one loaded library loaded for good
static int pin_library(dl_phdr_info *info, size_t, void *)
{
    if (info->dlpi_name && info->dlpi_name[0])
        dlopen(info->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    return 0;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
bool test_display_start(TEST_DISPLAY &d, std::string &error)
{
    d = TEST_DISPLAY{};
    if (!xvfb_start(d.xvfb, error))
        return false;
    d.home = process_temp_dir("lumtest-home");
    if (d.home.empty()) {
        error = std::string("cannot make a temporary HOME: ") + std::strerror(errno);
        return false;
    }
    for (const char *var : TEST_DISPLAY_SESSION_VARS)
        unsetenv(var);
    setenv("DISPLAY", d.xvfb.display.c_str(), 1);
    setenv("HOME", d.home.c_str(), 1);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    setenv("SDL_VIDEODRIVER", "x11", 1);
    return true;
}

void test_display_stop(TEST_DISPLAY &d)
{
    xvfb_stop(d.xvfb);
    process_remove_dir(d.home);
    d.home.clear();
}

void test_display_pin_libraries()
{
    dl_iterate_phdr(pin_library, nullptr);
}
