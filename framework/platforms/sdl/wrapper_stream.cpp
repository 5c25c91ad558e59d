// wrapper_stream: the desktop's audio device, through SDL_mixer (see wrapper_music.h): opened
// with the mixer, which calls mixaudio after mixing its own channels and the music.
// Depends on: log (log lines), wrapper_music (the stream's setting, the callback), SDL_mixer.
#include "SDL.h"
#include "SDL_mixer.h"
#include "log.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// The device
//----------------------------------------------------------------------------------
// Pause every channel and close the device, if it is open.
// NOTE: SDL_mixer frees its channels when it closes, and pausing them after that reads freed
// memory; so nothing is paused or closed unless the device is open.
void wrapper_stream_close_device()
{
    if (!Mix_QuerySpec(nullptr, nullptr, nullptr))
        return;
    Mix_Pause(-1);
    Mix_CloseAudio();
}

// The mixer opened anew with the setting.
// NOTE: a device that cannot be opened (none at all, or held by another program) is reported
// once and answered with -1, so the framework's sound switches stay off and every sound call
// is harmless; when SDL's audio could not start at all, the platform has already said so.
int wrapper_stream_open_device(const WRAPPER_SOUND_SETTING &setting)
{
    if (!SDL_WasInit(SDL_INIT_AUDIO))
        return -1;
    wrapper_stream_close_device();
    if (Mix_OpenAudio(static_cast<int>(setting.rate), AUDIO_S16LSB, WRAPPER_SOUND_CHANNELS, static_cast<int>(setting.block)) < 0) {
        lum_logf("No audio device: %s\n", Mix_GetError());
        return -1;
    }
    return 1;
}

// The post-mix callback installed once the mix has started, then every channel resumed
void wrapper_stream_start_device()
{
    Mix_RegisterEffect(MIX_CHANNEL_POST, mixaudio, nullptr, nullptr);
    Mix_Resume(-1);
}

//----------------------------------------------------------------------------------
// Music position
//----------------------------------------------------------------------------------
int wrapper_set_music_position(float seconds)
{
    Mix_RewindMusic();
    Mix_SetMusicPosition(seconds);
    return 1;
}
