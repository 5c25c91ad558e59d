// wrapper_stream: the browser's audio device (see wrapper_music.h). Emscripten's SDL_mixer has no
// post-mix hook, so the stream is opened with SDL's own audio, whose callback starts each block
// in silence and hands it to the same mixaudio the desktop's mixer calls. Emscripten resumes the
// page's audio at the first click or key (browsers keep it silent until then).
// Depends on: log (log lines), wrapper_music (the stream's setting, the mix, the music), SDL's
// audio, Emscripten.
#include <emscripten.h>

#include <cstring>

#include "SDL.h"
#include "log.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static int init = 0;  // the stream was opened

//----------------------------------------------------------------------------------
// The stream
//----------------------------------------------------------------------------------
static void fill_block(void *, Uint8 *stream, int len)
{
    std::memset(stream, 0, static_cast<size_t>(len));
    mixaudio(0, stream, len, nullptr);
}

static void close_device()
{
    if (!init)
        return;
    SDL_PauseAudio(1);
    SDL_CloseAudio();
}

// Open the stream as the desktop does; the same log lines and answers
int wrapper_sound_init(unsigned samplerate, unsigned bufsize)
{
    if (samplerate == 0 && bufsize == 0 && init)
        return 2;
    const WRAPPER_SOUND_SETTING setting = wrapper_sound_setting(samplerate, bufsize);
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
    wrapper_mix_start(setting.rate);
    lum_log("START audio STREAM");
    SDL_PauseAudio(0);
    init = 1;
    return 1;
}

void wrapper_sound_exit()
{
    wrapper_music_release();
    close_device();
    init = 0;
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
