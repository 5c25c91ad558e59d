// lum: the framework's runtime and main loop.
// Start-up and shut-down, the fixed-rate logic loop with its timing, frame counting and quit
// handling, and the boot screen that is current until the application switches to its own. Its
// header also gives the application the log line (log) and the audio switches (lum_settings).
// Depends on: log (log lines, the clock, the tick number), lum_settings (the audio switches),
// wrapper (platform, quit requests, the new-mode hook), wrapper_file (the application name),
// wrapper_music (the audio stream), state, input, rnd, sine, turtle, draw, atlas, poly,
// synth_effects (set up at start-up; the boot screen's growl), frame (each frame recorded, and
// drawn only when it differs from the one on screen).
#pragma once

#include <cstdint>

#include "log.h"
#include "lum_settings.h"
#include "state.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int LUM_TICKS_PER_SECOND = 60;  // logic ticks per second: the rate at start-up, and the toy's
constexpr int LUM_MAX_CATCH_UP = 4;    // logic ticks one pass may run; the rest of a backlog is dropped
constexpr double LUM_SAVE_SECONDS = 60.0;  // the save hook runs at least this often (a kill loses at most this)
// Tests shorten that interval with this environment variable (seconds, above 0)
constexpr const char *LUM_SAVE_SECONDS_VARIABLE = "LUM_SAVE_SECONDS";
constexpr double LUM_BOOT_GROWL1_AT = 0.5;     // seconds after start-up: the boot screen's first growl ...
constexpr double LUM_BOOT_GROWL2_AT = 3.0;     // ... and its second
constexpr double LUM_BOOT_GROWL1_HZ = 32.704;  // C1
constexpr double LUM_BOOT_GROWL2_HZ = 30.868;  // B0

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// Shared by every module: positions and offsets, colours with components in 0..1
struct XY {
    float x, y;
};

struct RGB {
    float r, g, b;
};

struct RGBA {
    float r, g, b, a;
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern STATE lum_state;     // the boot screen

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Runtime
int lum_init();                   // start the framework; 1 (also when already started)
void lum_exit();                  // shut it down; nothing unless started
int lum_run(int idle);            // 0: loop until quit, then shut down; else one pass (1), 0 once quit
void lum_quit();
int lum_is_quit();
int lum_set_logic_rate(int rate); // 1, or -1 if the platform refuses (the rate stays stored)
int lum_logic_rate();
int lum_graphics(int w, int h, int depth, int fullscreen);  // -1 only if the platform returned 0
double lum_w();
double lum_h();
int lum_fps();                    // frames rendered during the last whole second
void lum_pause(int pause);
int lum_is_paused();
void lum_disable_render(int set); // no rendering, flipping or frame counting; ticks go on
void lum_set_app_name(const char *name);  // keeps the pointer, not a copy
void lum_set_title(const char *title);    // the window's caption; null is ignored
const char *lum_app_name();               // "unnamed" when none was set
double lum_lerp(float t, float start, float end);
void lum_boot_growl(double freq);         // the boot screen's growl at `freq` Hz
int lum_init_audio_stream(unsigned samplerate, unsigned bufsize);  // open the stream; its result is kept
int lum_enable_wave(uint8_t enable);      // stream_init_result when there is no audio, else 1
int lum_enable_synth(uint8_t enable);     // the same; a change resets the effect slots
void lum_set_glitch_callback(LUM_GLITCH_CALLBACK callback);
// The application's save, run on the main thread after a tick when the platform asks for it
// (focus lost, a hang-up) and every LUM_SAVE_SECONDS; the platform also runs it when the display
// is lost. The hook decides whether anything changed. Null: none.
void lum_set_save_hook(void (*save)());
