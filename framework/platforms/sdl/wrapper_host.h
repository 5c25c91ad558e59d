// wrapper_host: what the SDL layer needs from the system it runs on beyond SDL itself. The SDL
// layer (wrapper, wrapper_file, wrapper_image, wrapper_music, wrapper_system) is the same code on
// the desktop and in the browser; each host implements this header once: the desktop's X display
// and signals (wrapper_host.cpp here), the browser's page (platforms/web/wrapper_host.cpp).
// Depends on: log (log lines), wrapper_file (it implements the file half's flush and change report),
// wrapper_system (the clock and delay, waiting for the browser's storage); the host calls back into the layer through wrapper_run_save_hook.
#pragma once

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// What the host asks of the program since the last poll
enum WRAPPER_HOST_REQUEST {
    WRAPPER_HOST_NOTHING = 0,
    WRAPPER_HOST_SAVE = 1,           // save at the next tick
    WRAPPER_HOST_SAVE_AND_END = 2,   // save at the next tick, then end (a hang-up)
    WRAPPER_HOST_RESIZE = 3,         // open a video mode of wrapper_host_size's size (the page changed shape)
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Implemented by the host
void wrapper_host_init();            // at start, after SDL: signals, or the page's hooks and saved files
bool wrapper_host_has_display();     // a display to show the window on
void wrapper_host_window_opened();   // after each new video mode
int wrapper_host_poll();             // a WRAPPER_HOST_REQUEST, once for each request
bool wrapper_host_take_redraw();     // the surface lost its picture since the last call (true once)
int wrapper_host_open_url(int hint, const char *url);  // after the log line: -1 not opened, else 0
bool wrapper_host_size(int *w, int *h);  // the size a WRAPPER_HOST_RESIZE asks for; false: none
void wrapper_host_exit();            // the program has ended (the page says so; a process just ends)

// Implemented by the SDL layer (wrapper.cpp): the application's save, now, if it set one
void wrapper_run_save_hook();
