// lum: the framework's runtime and main loop.
// Start-up and shut-down, the fixed-rate logic loop with its timing, frame counting and quit
// handling, the log-line convention every module uses, the audio switches shared with the audio
// thread, and the boot screen that is current until the application switches to its own.
// Depends on: wrapper (platform, the audio lock), wrapper_music (the audio stream), state, input, rnd, sine, turtle, draw, atlas,
// poly, synth_effects (set up at start-up; the boot screen's growl).
#pragma once

#include <atomic>
#include <cstdint>

#include "state.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int LUM_TICKS_PER_SECOND = 60;  // logic ticks per second: the rate at start-up, and the toy's
constexpr int LUM_MAX_CATCH_UP = 4;    // logic ticks one pass may run; the rest of a backlog is dropped
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

using LUM_GLITCH_CALLBACK = void (*)(int16_t *samples, int a, int b);

// Audio switches shared with the audio callback thread. The four the callback reads are atomic
// (each one byte or one pointer, lock-free, so the record keeps its layout): the main thread
// writes the switches and the hook, and both threads write the hand-over marker.
struct LUM_SETTINGS {
    uint32_t stream_sample_rate;                 // audio stream sample rate; cleared at start
    uint32_t stream_buffer_size;                 // audio stream buffer size; cleared at start
    int8_t stream_init_result;                   // result of opening the audio stream; below 1 means no audio
    std::atomic<uint8_t> synth_effects_state;    // +1 per logic tick (wrapping); the audio callback resets it
    std::atomic<uint8_t> enable_synth;           // mix the synthesiser, allow effects to start
    std::atomic<uint8_t> enable_wav;             // mix the sample voices
    uint8_t render_first;                        // kept as a settable flag; the loop does not consult it
    uint8_t delta_timing;                        // kept as a settable flag; the loop does not consult it
    std::atomic<LUM_GLITCH_CALLBACK> callback_glitch;  // optional hook on the mixed buffer
};
static_assert(sizeof(std::atomic<uint8_t>) == 1 && std::atomic<uint8_t>::is_always_lock_free,
              "the audio switches stay single lock-free bytes");
static_assert(std::atomic<LUM_GLITCH_CALLBACK>::is_always_lock_free, "the hook stays a lock-free pointer");

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern LUM_SETTINGS lum_settings;
extern std::atomic<uint32_t> lum_ticks;  // the running logic tick number, printed in every log line;
                                         // the audio thread reads it too
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
double lum_seconds();             // seconds since start-up finished
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

// Logging: every line goes to standard output as the prefix "[lum <seconds>s (<tick>)] " and
// then the message, flushed at once so that a pipe reads it while the program runs.
void lum_log(const char *text);                                    // a line: prefix, text, newline
void lum_logf(const char *format, ...) __attribute__((format(printf, 1, 2)));  // prefix, formatted text as given

// A trace line: the prefix, then the source line and the function's name.
#define LUM_TRACE() lum_logf("line %d: %s\n", __LINE__, __func__)

// Assertions that stay on in every build (release builds define NDEBUG, which would silence the
// standard assert): a failure prints "<file>:<line>: <function>: Assertion `<text>' failed." on
// standard error and aborts. The text is the condition exactly as written.
#define LUM_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : lum_assert_fail(#condition, __FILE__, __LINE__, __func__))
[[noreturn]] void lum_assert_fail(const char *text, const char *file, int line, const char *function);

// Running out of memory where the framework cannot go on: "line <line>: No more memory for
// allocating data" on standard error, then exit with status 1.
[[noreturn]] void lum_out_of_memory(int line);
