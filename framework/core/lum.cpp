// lum: the framework's runtime and main loop (see lum.h).
//
// Index of this file:
// [SECTION] Module state
// [SECTION] Boot screen
// [SECTION] Start-up and shut-down
// [SECTION] Main loop
// [SECTION] Accessors
#include "lum.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "atlas.h"
#include "draw.h"
#include "frame.h"
#include "input.h"
#include "poly.h"
#include "rnd.h"
#include "sine.h"
#include "synth_effects.h"
#include "turtle.h"
#include "wrapper.h"
#include "wrapper_file.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
static int logic_rate = LUM_TICKS_PER_SECOND;
static uint32_t time_ticks = 0;    // platform tick count at logic_rate when the rate was last set
static uint32_t logic_ticks = 0;   // the tick up to which logic has run
static int fps_ = 0;
static int paused_ = 0;
static int render_disabled_ = 0;
static int quit_ = 0;
static void (*save_hook_)() = nullptr;
static double save_interval = LUM_SAVE_SECONDS;
static double last_save = 0.0;     // lum_seconds of the last save the loop ran
static int is_init_ = 0;

//----------------------------------------------------------------------------------
// [SECTION] Boot screen
//----------------------------------------------------------------------------------
constexpr double BOOT_PULSE_DEG = 180.0;   // degrees per second of the background pulse: one beat in 2 s
constexpr double BOOT_SPIN_DEG = 60.0;     // degrees per second the figure turns
constexpr double BOOT_BREATHE_DEG = 15.0;  // degrees per second of the figure's breathing: one breath in 24 s
constexpr double BOOT_BREATHE = 0.25;      // the figure's scale swings this much around 1
constexpr int BOOT_BLADES = 3;            // blades of the figure, a third of a turn apart
constexpr float BOOT_GROWL_Q = 0.9f;         // the growl's resonance
constexpr float BOOT_GROWL_SWEEP_FROM = 2000.0f;  // Hz: the growl's modulation depth falls ...
constexpr float BOOT_GROWL_SWEEP_TO = 200.0f;     // ... to this
constexpr float BOOT_GROWL_MS = 3000.0f;     // over this long, which is also its release

static int boot_step = 0;

// Start the growl at `freq` Hz, its low-pass an octave above
void lum_boot_growl(double freq)
{
    SYNTH_EFFECT_STATE *e = synth_effect(growl_effect);
    e->freq = static_cast<float>(freq);
    e->filt = static_cast<float>(2.0 * freq);
    e->q = BOOT_GROWL_Q;
    e->ramp_start = BOOT_GROWL_SWEEP_FROM;
    e->ramp_end = BOOT_GROWL_SWEEP_TO;
    e->d = BOOT_GROWL_MS;
}

// Two growls, at 0.5 s and at 3 s after start-up
static void boot_update()
{
    if (boot_step == 0 && lum_seconds() >= LUM_BOOT_GROWL1_AT) {
        lum_boot_growl(LUM_BOOT_GROWL1_HZ);
        boot_step = 1;
    } else if (boot_step == 1 && lum_seconds() >= LUM_BOOT_GROWL2_AT) {
        lum_boot_growl(LUM_BOOT_GROWL2_HZ);
        boot_step = 2;
    }
}

// A three-bladed figure spinning at 60 degrees a second and breathing in size, green on a green
// background that pulses in antiphase once every two seconds. Each blade is a triangle with its
// tip on the centre and its base h above it, h being a quarter of the display's smaller side.
// NOTE: the turtle is put on the centre without scaling the position: at start-up it is the
// zeroed home turtle, whose scale of 0 would put a scaled position in the top-left corner.
static void boot_render()
{
    double t = lum_seconds();
    double beat = 0.5 + 0.5 * sine_deg(BOOT_PULSE_DEG * t);
    draw_clear(0.0f, static_cast<float>(1.0 - beat), 0.0f);
    TURTLE saved = turtle;
    turtle_set_rgba(0.0, beat, 0.0, 1.0);
    double w = lum_w();
    double h = lum_h();
    int blade = static_cast<int>(std::min(w, h) / 4.0);
    turtle_set_pos_unscaled(w / 2.0, h / 2.0);
    turtle_set_scale(1.0 + BOOT_BREATHE * sine_deg(BOOT_BREATHE_DEG * t));
    turtle_set_angle(BOOT_SPIN_DEG * t);
    poly_draw_start();
    for (int i = 0; i < BOOT_BLADES; i++) {
        turtle_trans(-blade, blade);
        poly_point();
        turtle_trans(2 * blade, 0.0);
        poly_point();
        turtle_trans(-blade, -blade);
        poly_point();
        poly_plot();
        turtle_turn(360.0 / BOOT_BLADES);
    }
    poly_draw_end();
    turtle = saved;
}

STATE lum_state = {nullptr, boot_update, boot_render, nullptr};

//----------------------------------------------------------------------------------
// [SECTION] Start-up and shut-down
//----------------------------------------------------------------------------------
// Clear the audio switches field by field (the shared ones are atomics, which are not copied)
static void clear_settings()
{
    lum_settings.stream_sample_rate = 0;
    lum_settings.stream_buffer_size = 0;
    lum_settings.stream_init_result = 0;
    lum_settings.synth_effects_state = 0;
    lum_settings.enable_synth = 0;
    lum_settings.enable_wav = 0;
    lum_settings.render_first = 0;
    lum_settings.delta_timing = 0;
    lum_settings.callback_glitch = nullptr;
}

// Start the framework. The video mode is not opened here: the application calls lum_graphics,
// or lum_run opens the default mode.
int lum_init()
{
    if (is_init_)
        return 1;
    lum_log("lum init");
    clear_settings();
    mrand_seed = static_cast<uint32_t>(std::time(nullptr));
    input_init();
    wrapper_set_mode_hook(draw_reset);
    wrapper_init();
    synth_effects_init(0, 0);
    atlas_init();
    init_sine_table();
    turtle_home();
    lum_set_logic_rate(LUM_TICKS_PER_SECOND);
    lum_clock_start();
    state_set(&lum_state);
    is_init_ = 1;
    return 1;
}

// Shut the framework down; the platform is gone afterwards
void lum_exit()
{
    if (!is_init_)
        return;
    lum_log("Quitting...");
    atlas_exit();  // textures go while the OpenGL context still exists
    frame_exit();
    wrapper_exit();
    is_init_ = 0;
    lum_log("Bye! :)");
}

//----------------------------------------------------------------------------------
// [SECTION] Main loop
//----------------------------------------------------------------------------------
// Draw one frame of the current screen and present it. The frame is recorded first and goes to
// the screen only when it differs from the one shown (see frame.h).
static void render_frame(int &frames)
{
    frame_begin();
    state_render();
    draw_flip();
    frames++;
}

// Run the save hook when the platform asked for a save or the interval has passed. Outside the
// audio lock: a save waits for the disk.
static void run_save_hook()
{
    const bool asked = wrapper_take_save_request() != 0;
    if (!save_hook_ || !(asked || lum_seconds() - last_save >= save_interval))
        return;
    last_save = lum_seconds();
    save_hook_();
}

// Run one logic tick: events in, the screen's update, the audio hand-over, events out.
// NOTE: the slots a screen claims stay pending until the tick's hand-over, so the effects it
// creates, and the parameters it writes into them, are whole before the audio thread runs them;
// no lock is held meanwhile, so a slow update never delays the audio callback.
static void run_tick()
{
    logic_ticks++;
    lum_ticks++;
    wrapper_handle_events();
    input_update_events();
    state_update();
    frame_note_keys();
    synth_effects_hand_over();
    input_clear_events();
    run_save_hook();
}

// The main loop. Each pass runs the logic ticks that are due (at most four; the rest of a
// backlog is dropped) and, in loop mode, renders one frame if any tick ran.
// NOTE: after a stall the tick counter is moved to now before the four ticks are added, so the
// logic runs four ticks ahead of real time and the next passes run nothing until it catches up.
int lum_run(int idle)
{
    static int old_rate = 0;  // the rate the loop last saw
    static int frames = 0;    // frames rendered since the last fps update
    static int seconds = 0;   // the whole platform second of the last fps update

    if (!is_init_) {
        int result = lum_init();
        if (result < 0)
            return result;
        lum_graphics(0, 0, 0, 0);
    }
    if (idle && lum_is_quit()) {
        lum_exit();
        return 0;
    }
    do {
        uint32_t now = wrapper_get_ticks(static_cast<float>(logic_rate));
        if (old_rate != logic_rate) {
            lum_logf("changed logic rate %d -> %d\n", old_rate, logic_rate);
            logic_ticks = time_ticks;
            old_rate = logic_rate;
        }
        int32_t due = static_cast<int32_t>(now - logic_ticks);
        if (due > LUM_MAX_CATCH_UP) {
            logic_ticks = now;
            due = LUM_MAX_CATCH_UP;
        }
        if (idle && !render_disabled_)
            render_frame(frames);
        int sec = static_cast<int>(wrapper_get_seconds());
        bool updated = false;
        for (; due > 0; due--) {
            run_tick();
            updated = true;
        }
        if (!idle && updated && !render_disabled_)
            render_frame(frames);
        if (sec > seconds) {
            fps_ = frames;
            frames = 0;
            seconds = sec;
            frame_second(logic_rate < LUM_TICKS_PER_SECOND);  // the counts in the debug slow motion
        }
        if (idle)
            return 1;
        wrapper_yield();
    } while (!lum_is_quit());
    lum_exit();
    return 0;
}

//----------------------------------------------------------------------------------
// [SECTION] Accessors
//----------------------------------------------------------------------------------
void lum_quit()
{
    quit_ = 1;
}

// A quit asked for by the program, or by the platform (window closed, Escape held, no display)
int lum_is_quit()
{
    return quit_ || wrapper_quit_requested();
}

// Set the logic rate and restart the tick schedule from now: the tick number jumps to the
// number of ticks at the new rate since the platform timer started
int lum_set_logic_rate(int rate)
{
    LUM_TRACE();
    lum_logf("RATE %d\n", rate);
    logic_rate = rate;
    if (wrapper_set_logic_rate(static_cast<float>(rate)) < 0)
        return -1;
    uint32_t t = wrapper_get_ticks(static_cast<float>(rate));
    time_ticks = logic_ticks = lum_ticks = t;
    return 1;
}

int lum_logic_rate()
{
    return logic_rate;
}

// NOTE: the desktop platform reports a refused mode as -1, which still yields 1 here; only a
// result of 0 is passed on as failure.
int lum_graphics(int w, int h, int depth, int fullscreen)
{
    return wrapper_set_graphics(w, h, depth, fullscreen) == 0 ? -1 : 1;
}

double lum_w()
{
    return wrapper_display_w();
}

double lum_h()
{
    return wrapper_display_h();
}

int lum_fps()
{
    return fps_;
}

void lum_pause(int pause)
{
    paused_ = pause;
}

int lum_is_paused()
{
    return paused_;
}

void lum_disable_render(int set)
{
    if (set != render_disabled_)
        lum_logf("%s %d _> %d\n", "lum_disable_render", render_disabled_, set);
    render_disabled_ = set;
}

// The name is kept by the platform, whose per-user folders it names
void lum_set_save_hook(void (*save)())
{
    save_hook_ = save;
    last_save = lum_seconds();
    const char *asked = std::getenv(LUM_SAVE_SECONDS_VARIABLE);
    const double seconds = asked ? std::atof(asked) : 0.0;
    save_interval = seconds > 0.0 ? seconds : LUM_SAVE_SECONDS;
    wrapper_set_save_hook(save);
}

void lum_set_app_name(const char *name)
{
    wrapper_set_app_name(name);
}

const char *lum_app_name()
{
    return wrapper_app_name();
}

// Name the window; the platform keeps the caption when the window is reopened at another size
void lum_set_title(const char *title)
{
    if (title)
        wrapper_set_title(title);
}

double lum_lerp(float t, float start, float end)
{
    return (1.0 - t) * start + static_cast<double>(t) * end;
}

// Open the audio stream; the result decides whether sound can be switched on
int lum_init_audio_stream(unsigned samplerate, unsigned bufsize)
{
    int result = wrapper_sound_init(samplerate, bufsize);
    lum_settings.stream_init_result = static_cast<int8_t>(result);
    return result;
}

int lum_enable_wave(uint8_t enable)
{
    if (lum_settings.stream_init_result < 1)
        return lum_settings.stream_init_result;
    lum_logf("ENABLE WAV? %d\n", lum_settings.enable_wav.load());
    lum_settings.enable_wav = enable;
    return 1;
}

// Switch the synthesiser on or off; a change clears the effect slots
int lum_enable_synth(uint8_t enable)
{
    if (lum_settings.stream_init_result < 1)
        return lum_settings.stream_init_result;
    if (enable != lum_settings.enable_synth)
        synth_effects_init(-1, -1);
    lum_settings.enable_synth = enable;
    return 1;
}

void lum_set_glitch_callback(LUM_GLITCH_CALLBACK callback)
{
    lum_settings.callback_glitch = callback;
}
