// wrapper: the platform layer, the framework's only way to the operating system.
// This header is the seam: it names no SDL type, so the portable modules can be built and
// tested against a test double of it (a fake clock, no window). The implementation over SDL 1.2
// and OpenGL is wrapper.cpp, on the desktop and in the browser alike, over a host of each
// (wrapper_host).
// Depends on: wrapper_system (clock, threads, audio lock: declared with the platform's interface),
// input (events are queued there), log (log lines), wrapper_music (closed at exit), plat_msg (the replier to platform messages, installed at start),
// wrapper_host (signals and the display, or the page).
#pragma once

#include <cstdint>

#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Start and stop
int wrapper_init();    // start SDL, open joystick 0, read the desktop size, install the replier; 1
void wrapper_exit();   // stop SDL

// Video mode
int wrapper_set_graphics(int w, int h, int depth, int fullscreen);  // 1, or -1 if refused
// What a new video mode's frame state is set up with (the runtime installs the drawing's reset);
// called once the mode is open, before the layer's own matrix; null: nothing
void wrapper_set_mode_hook(void (*reset)());
int wrapper_set_fullscreen(int set);
int wrapper_fullscreen();
int wrapper_desktop_w();
int wrapper_desktop_h();
int wrapper_display_w();
int wrapper_display_h();
void wrapper_reset_opengl_matrix(float w, float h);  // a logical w x h surface fills the display
void wrapper_flip_screen();
void wrapper_show_cursor(int set);
void wrapper_set_title(const char *title);  // the window's caption (and its iconified name)

// Events
void wrapper_handle_events();  // drain the platform's events into the input ring
int wrapper_quit_requested();  // 1 once the platform asked the program to end (window closed,
                               // Escape held, no display, a hang-up); the runtime's quit test reads it

// Raw keys: every key press and release as the platform has it, before it is translated into the
// framework's key ids, offered to one optional hook during the event poll. The input tables see
// exactly what they see without a hook; the hook is a second path for applications that want
// keys the framework's ids do not name. `sym` is the platform's key symbol (WRAPPER_SYM_* names
// the ones an application may ask for), `mods` a set of WRAPPER_MOD_* bits.
using WRAPPER_KEY_HOOK = void (*)(int pressed, int sym, int mods);
void wrapper_set_key_hook(WRAPPER_KEY_HOOK hook);  // null: none

// Modifier bits of a raw key (either side's key sets the bit)
constexpr int WRAPPER_MOD_SHIFT = 1;
constexpr int WRAPPER_MOD_CTRL = 2;
constexpr int WRAPPER_MOD_ALT = 4;
constexpr int WRAPPER_MOD_META = 8;

// Key symbols of SDL 1.2: printable keys are their unshifted ASCII character (letters lower case),
// the others numbered from 256 on. Checked against SDL's own header where the layer is built.
constexpr int WRAPPER_SYM_BACKSPACE = 8;
constexpr int WRAPPER_SYM_SPACE = 32;
constexpr int WRAPPER_SYM_PLUS = 43;
constexpr int WRAPPER_SYM_MINUS = 45;
constexpr int WRAPPER_SYM_SLASH = 47;
constexpr int WRAPPER_SYM_0 = 48;      // ... WRAPPER_SYM_0 + 9 is the 9
constexpr int WRAPPER_SYM_EQUALS = 61;
constexpr int WRAPPER_SYM_QUESTION = 63;
constexpr int WRAPPER_SYM_A = 97;      // ... WRAPPER_SYM_A + 25 is the z
constexpr int WRAPPER_SYM_DELETE = 127;
constexpr int WRAPPER_SYM_KP_MINUS = 269;
constexpr int WRAPPER_SYM_KP_PLUS = 270;
constexpr int WRAPPER_SYM_RIGHT = 275;
constexpr int WRAPPER_SYM_F1 = 282;    // ... WRAPPER_SYM_F1 + 11 is F12
constexpr int WRAPPER_SYM_LAST = 323;  // symbols are below this

// Saves when the program may be about to disappear. The platform asks for one when the window
// loses the input focus or is minimised, and on a hang-up (SIGHUP, which also ends the program);
// the runtime serves the request on the main thread at its next tick. When the display is lost
// (an X error such as the window destroyed from outside) the platform calls the hook itself,
// logs one line and ends the process with status 1.
void wrapper_set_save_hook(void (*save)());  // the application's save; null: none
int wrapper_take_save_request();             // 1 once for each request since the last call

// The window's picture was lost since the last call (exposed after being covered, resized,
// restored from an icon; in the browser, the canvas resized or its context restored): 1 once,
// and the next frame is drawn in full
int wrapper_take_expose();

// Services the desktop lacks: these log and report -1 (not available)
int wrapper_tweet_start();
int wrapper_tweet_add_text(const char *text);
int wrapper_tweet_add_url(const char *url);
int wrapper_tweet_finish();
int wrapper_open_url(int hint, const char *url);
int wrapper_copy_data_to_clipboard(const char *hint, const void *data, int size);
int wrapper_copy_file_to_clipboard(const char *hint, const char *filename, void (*progress)(float));
int wrapper_call_ex(const char *name, int argc, const char *const *argv, void (*callback)(const char *));
int wrapper_call(const char *call, const char *arg);
