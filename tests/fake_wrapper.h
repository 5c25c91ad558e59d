// fake_wrapper: a test double of the platform layer for the portable framework's tests.
// A millisecond clock the test sets and advances, no window, no SDL: every wrapper_ function of
// wrapper.h is answered from the record below, and hooks let a test act inside the main loop.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

struct FAKE_PLATFORM {
    uint64_t ms;                   // the platform clock in milliseconds
    int display_w, display_h;      // the display size wrapper_display_w/h report
    int set_logic_rate_result;     // wrapper_set_logic_rate's answer: 0 accepts, negative refuses
    int set_graphics_result;       // wrapper_set_graphics's answer
    int inits, exits;              // wrapper_init and wrapper_exit calls
    int polls;                     // wrapper_handle_events calls
    int quit_requested;            // what wrapper_quit_requested answers
    int save_requested;            // what wrapper_take_save_request answers once
    int exposed;                   // what wrapper_take_expose answers once
    void (*save_hook)();           // the hook given to wrapper_set_save_hook
    void (*mode_hook)();           // the hook given to wrapper_set_mode_hook
    void (*key_hook)(int pressed, int sym, int mods);  // the hook given to wrapper_set_key_hook
    int flips;                     // buffer swaps (frames presented)
    int yields;                    // wrapper_yield calls
    int audio_locks;               // wrapper_lock_audio calls
    void (*on_poll)();             // run inside every event poll (a test may queue input events here)
    void (*on_yield)();            // run after every yield has advanced the clock by 1 ms
    std::string title;             // the window caption set last; empty when none was set
    std::vector<std::string> urls; // every wrapper_open_url: "<hint> <url>"
    std::vector<std::string> changed_files;  // every wrapper_file_changed path
    int sound_init_result;         // wrapper_sound_init's answer (1: opened)
    int sound_inits, sound_exits;  // wrapper_sound_init and wrapper_sound_exit calls
    unsigned sound_rate, sound_buffer;  // the arguments of the last wrapper_sound_init
    std::string music;             // the music playing; empty when none
    int music_loops;               // its loop count
    int music_paused;              // paused by wrapper_pause_music
    float music_volume;            // the last wrapper_music_volume
};

extern FAKE_PLATFORM fake_platform;
extern std::recursive_mutex fake_audio_lock;  // what wrapper_lock_audio takes

// Back to a clock at 0 ms, a 960 x 640 display, every counter 0, no title and no hooks, an audio
// device that opens, no music.
void fake_platform_reset();
