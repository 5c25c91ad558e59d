// wrapper_system: the platform's clock and threads over SDL 1.2 and POSIX threads (see
// wrapper_system.h).
#include "wrapper_system.h"

#include <pthread.h>

#include <algorithm>

#include "SDL.h"

//----------------------------------------------------------------------------------
// Time
//----------------------------------------------------------------------------------
double wrapper_get_seconds()
{
    return SDL_GetTicks() / 1000.0;
}

uint32_t wrapper_get_ticks(float frequency)
{
    return wrapper_ticks_from_ms(SDL_GetTicks(), frequency);
}

// The desktop accepts every rate
int wrapper_set_logic_rate(float rate)
{
    (void)rate;
    return 0;
}

void wrapper_delay(double seconds)
{
    double ms = 1000.0 * seconds;
    SDL_Delay(ms > 0.0 ? static_cast<Uint32>(std::min(ms, 4294967295.0)) : 0);
}

void wrapper_yield()
{
    wrapper_delay(0.001);
}

//----------------------------------------------------------------------------------
// Threads and the audio lock
//----------------------------------------------------------------------------------
void wrapper_lock_audio()
{
    SDL_LockAudio();
}

void wrapper_unlock_audio()
{
    SDL_UnlockAudio();
}

void wrapper_start_audio_stream()
{
}

void wrapper_stop_audio_stream()
{
}

// Start func(data) on a detached thread; failure is not reported
void wrapper_run_thread(void *(*func)(void *), void *data)
{
    pthread_t thread;
    if (pthread_create(&thread, nullptr, func, data) == 0)
        pthread_detach(thread);
}

