// wrapper: the platform layer, the framework's only way to the operating system.
// This header is the seam: it names no SDL type, so the portable modules can be built and
// tested against a test double of it (a fake clock, no window). The desktop implementation
// over SDL 1.2 and OpenGL is wrapper.cpp.
// Depends on: input (events are queued there), lum (log lines, quit), draw (reset on a new mode).
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Start and stop
int wrapper_init();    // start SDL, open joystick 0, read the desktop size; returns 1
void wrapper_exit();   // stop SDL

// Video mode
int wrapper_set_graphics(int w, int h, int depth, int fullscreen);  // 1, or -1 if refused
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

// Events and time
void wrapper_handle_events();                 // drain the platform's events into the input ring
double wrapper_get_seconds();                 // seconds since the platform timer started
uint32_t wrapper_get_ticks(float frequency);  // whole ticks at `frequency` since the timer started
int wrapper_set_logic_rate(float rate);       // 0: accepted; negative: refused
void wrapper_delay(double seconds);
void wrapper_yield();                         // sleep one millisecond

// The audio lock: while it is held the audio callback does not run (the platform holds the same
// lock around every call of it). It may be taken again by its holder; every lock is matched by
// an unlock. The audio stream must not be opened or closed while it is held.
void wrapper_lock_audio();
void wrapper_unlock_audio();

// Threads and audio stream hooks of handheld platforms
void wrapper_start_audio_stream();
void wrapper_stop_audio_stream();
void wrapper_run_thread(void *(*func)(void *), void *data);

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

//----------------------------------------------------------------------------------
// Shared helpers
//----------------------------------------------------------------------------------
// Whole ticks at `frequency` in `ms` milliseconds: computed in floating point, truncated toward
// zero, low 32 bits. The main loop's tick schedule rests on it. Not-a-number or a negative
// count gives 0.
constexpr uint32_t wrapper_ticks_from_ms(uint64_t ms, float frequency)
{
    double ticks = static_cast<double>(ms) * frequency / 1000.0;
    if (!(ticks > 0.0))
        return 0;
    if (ticks >= 18446744073709551616.0)
        return 0xFFFFFFFFu;
    return static_cast<uint32_t>(static_cast<uint64_t>(ticks));
}
