// lum_settings: the runtime's audio switches, shared with the audio thread.
// The runtime (lum) clears them at start-up and sets them; the main loop marks each logic tick in
// them; the audio callback of the platform reads them and clears the tick marker. Kept apart from
// the runtime so that the sound modules and the platform's mixer read them without depending on
// the module that starts everything.
// Depends on: nothing.
#pragma once

#include <atomic>
#include <cstdint>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
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
inline LUM_SETTINGS lum_settings;  // all zero until lum_init clears it again
