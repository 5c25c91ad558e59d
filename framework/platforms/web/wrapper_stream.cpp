// wrapper_stream: the browser's audio device (see wrapper_music.h). Emscripten's SDL_mixer has no
// post-mix hook, so the stream is opened with SDL's own audio, whose callback starts each block
// in silence and hands it to the same mixaudio the desktop's mixer calls. Emscripten resumes the
// page's audio at the first click or key (browsers keep it silent until then).
// Depends on: log (log lines), wrapper_music (the stream's setting and its end, the callback),
// SDL's audio, Emscripten.
#include <emscripten.h>

#include <cstring>

#include "SDL.h"
#include "log.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static int opened = 0;  // SDL's audio is open

//----------------------------------------------------------------------------------
// The device
//----------------------------------------------------------------------------------
static void fill_block(void *, Uint8 *stream, int len)
{
    std::memset(stream, 0, static_cast<size_t>(len));
    mixaudio(0, stream, len, nullptr);
}

void wrapper_stream_close_device()
{
    if (!opened)
        return;
    SDL_PauseAudio(1);
    SDL_CloseAudio();
    opened = 0;
}

// SDL's audio opened anew with the setting, paused; the music goes with the old stream
int wrapper_stream_open_device(const WRAPPER_SOUND_SETTING &setting)
{
    wrapper_sound_exit();
    SDL_AudioSpec wanted = {};
    wanted.freq = static_cast<int>(setting.rate);
    wanted.format = AUDIO_S16LSB;
    wanted.channels = WRAPPER_SOUND_CHANNELS;
    wanted.samples = static_cast<Uint16>(setting.block);
    wanted.callback = fill_block;
    if (SDL_OpenAudio(&wanted, nullptr) < 0) {
        lum_logf("No audio device: %s\n", SDL_GetError());
        return -1;
    }
    opened = 1;
    return 1;
}

void wrapper_stream_start_device()
{
    SDL_PauseAudio(0);
}

//----------------------------------------------------------------------------------
// Music position
//----------------------------------------------------------------------------------
// The browser's music is an audio element: its position is set directly
EM_JS(void, web_music_position, (double seconds), {
    if (SDL.music && SDL.music.audio)
        SDL.music.audio.currentTime = seconds;
});

int wrapper_set_music_position(float seconds)
{
    web_music_position(seconds);
    return 1;
}
