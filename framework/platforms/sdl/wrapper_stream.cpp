// wrapper_stream: the desktop's audio device, through SDL_mixer (see wrapper_music.h): opened
// with the mixer, which calls mixaudio after mixing its own channels and the music.
// Depends on: log (log lines), wrapper_music (the stream's setting, the mix, the music), SDL_mixer.
#include "SDL.h"
#include "SDL_mixer.h"
#include "log.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static int init = 0;  // the stream was opened

//----------------------------------------------------------------------------------
// The stream
//----------------------------------------------------------------------------------
// Pause every channel and close the device, if it is open.
// NOTE: SDL_mixer frees its channels when it closes, and pausing them after that reads freed
// memory; so nothing is paused or closed unless the device is open.
static void close_device()
{
    if (!Mix_QuerySpec(nullptr, nullptr, nullptr))
        return;
    Mix_Pause(-1);
    Mix_CloseAudio();
}

// Open the stream at `samplerate` Hz with blocks of `bufsize` frames (derived from the rate when
// 0: 512 at 22050 Hz). The sample voices and the synthesiser start afresh at the stream's rate.
// NOTE: a device that cannot be opened (none at all, or held by another program) is reported
// once and answered with -1, so the framework's sound switches stay off and every sound call
// is harmless; when SDL's audio could not start at all, the platform has already said so.
int wrapper_sound_init(unsigned samplerate, unsigned bufsize)
{
    if (samplerate == 0 && bufsize == 0 && init)
        return 2;
    const WRAPPER_SOUND_SETTING setting = wrapper_sound_setting(samplerate, bufsize);
    if (!SDL_WasInit(SDL_INIT_AUDIO))
        return -1;
    close_device();
    init = 0;
    if (Mix_OpenAudio(static_cast<int>(setting.rate), AUDIO_S16LSB, WRAPPER_SOUND_CHANNELS, static_cast<int>(setting.block)) < 0) {
        lum_logf("No audio device: %s\n", Mix_GetError());
        return -1;
    }
    wrapper_mix_start(setting.rate);
    Mix_RegisterEffect(MIX_CHANNEL_POST, mixaudio, nullptr, nullptr);
    lum_log("START audio STREAM");
    Mix_Resume(-1);
    init = 1;
    return 1;
}

// Pause every channel and close the device; the music goes with it
void wrapper_sound_exit()
{
    wrapper_music_release();
    close_device();
    init = 0;
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
