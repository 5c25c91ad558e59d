// wrapper_host: the desktop under the SDL layer (see wrapper_host.h): an X display, POSIX signals
// and an ordinary file system.
#include "wrapper_host.h"

#include <X11/Xlib.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "SDL.h"
#include "log.h"
#include "wrapper_file.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
constexpr int WRAPPER_HOST_TEXT = 64;  // room for the text of an X error

static volatile std::sig_atomic_t hangup = 0;  // set by the SIGHUP handler, served by the poll

//----------------------------------------------------------------------------------
// Signals and the display
//----------------------------------------------------------------------------------
// A hang-up (the terminal the toy was started from closed): only noted here; the event poll asks
// for a save and the end, so that both happen on the main thread
static void on_hangup(int)
{
    hangup = 1;
}

// The display is gone or refuses the window (destroyed from outside): nothing more can be shown,
// so save what can be kept, say so, and end. Xlib would end the process after this anyway.
[[noreturn]] static void display_lost(const char *what)
{
    lum_logf("display lost (%s): saving and quitting\n", what);
    wrapper_run_save_hook();
    std::fflush(stdout);
    std::_Exit(1);
}

static int on_x_error(Display *, XErrorEvent *error)
{
    char text[WRAPPER_HOST_TEXT] = "";
    std::snprintf(text, sizeof text, "X error %d", static_cast<int>(error->error_code));
    display_lost(text);
}

static int on_x_io_error(Display *)
{
    display_lost("X connection closed");
}

void wrapper_host_init()
{
    std::signal(SIGHUP, on_hangup);
}

// Whether SDL found a display to show a window on. Without one it falls back to drivers that
// draw nowhere; those count only when the user asked for them by name (an empty name asks for
// nothing).
bool wrapper_host_has_display()
{
    char name[32] = "";
    if (!SDL_WasInit(SDL_INIT_VIDEO) || !SDL_VideoDriverName(name, sizeof name))
        return false;
    bool invisible = std::strcmp(name, "offscreen") == 0 || std::strcmp(name, "dummy") == 0;
    const char *asked = std::getenv("SDL_VIDEODRIVER");
    return !invisible || (asked && *asked);
}

// Installed after SDL has set up its own, so that an error of the lost window reaches them
void wrapper_host_window_opened()
{
    XSetErrorHandler(on_x_error);
    XSetIOErrorHandler(on_x_io_error);
}

int wrapper_host_poll()
{
    if (!hangup)
        return WRAPPER_HOST_NOTHING;
    hangup = 0;
    lum_log("SIGHUP: saving and quitting");
    return WRAPPER_HOST_SAVE_AND_END;
}

// X reports a window that lost its picture to SDL, which gives the layer an expose event
bool wrapper_host_take_redraw()
{
    return false;
}

void wrapper_host_exit()
{
}

// The desktop build does not open a browser
int wrapper_host_open_url(int, const char *)
{
    return -1;
}

// A window keeps the size the program gives it
bool wrapper_host_size(int *, int *)
{
    return false;
}

int wrapper_file_sync(int fd)
{
    return fsync(fd);
}

// Files written on the desktop are on the disk already
void wrapper_file_changed(const char *)
{
}
