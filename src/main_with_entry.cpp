// main_with_entry: the process entry of Lum Life.
// Without arguments the toy starts; with them the command line (command.h) runs first, and either
// ends the process (help, version, the options that work without a window) or names a pattern
// that is opened once the toy has started. The order is deliberate: lum_run(0) shuts the
// framework down itself when the loop ends, so app_state_exit (which saves) runs after the
// platform is down, and the final lum_exit does nothing. Without its font the toy cannot draw anything: start-up has said
// so, and the process ends with status 1 instead of showing a black window.
// In the browser, the page around the canvas learns once the toy has started that it may hand over
// patterns.
// Depends on: lum (the framework's start, loop and end), main (the application's hooks), command
// (the command line), page (the browser page's patterns, in the browser build only).
#include "command.h"
#include "lum.h"
#include "main.h"
#ifdef __EMSCRIPTEN__
#include "page.h"
#endif

#ifndef LUMLIFE_VERSION
#define LUMLIFE_VERSION "unknown"  // the build gives the changelog's newest version
#endif

constexpr int WINDOW_W = 960;  // the window at start
constexpr int WINDOW_H = 640;

int main(int argc, char **argv)
{
    int status = command_line(argc, argv, LUMLIFE_VERSION);
    if (status != COMMAND_START)
        return status;
    lum_init();
    lum_graphics(WINDOW_W, WINDOW_H, 0, 0);
    lum_set_app_name("lumlife");
    app_state_init();
    if (!main_has_font()) {
        lum_exit();
        return 1;
    }
    command_open_pending();
#ifdef __EMSCRIPTEN__
    page_start();
#endif
    lum_set_save_hook(app_state_save);
    lum_run(0);
    app_state_exit();
    lum_exit();
    return 0;
}
