// wrapper_system: the platform's clock and threads.
// The ground floor of the platform layer: the clock every log line prints, the delay and yield
// of the main loop, the audio lock, and starting a thread. It depends on nothing in the framework,
// so the log and the sound modules can use it without reaching the rest of the platform. The
// desktop implementation over SDL 1.2 and POSIX threads is wrapper_system.cpp.
// Depends on: nothing.
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Time
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
