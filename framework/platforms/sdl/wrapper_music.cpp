// wrapper_music: the platform's audio stream and music over SDL_mixer (see wrapper_music.h). The
// device itself is opened by wrapper_stream, which differs between the desktop and the browser;
// what goes into a block is the framework's mix (lum_mix).
//
// Index of this file:
// [SECTION] Module state
// [SECTION] The stream
// [SECTION] The post-mix callback
// [SECTION] Music
#include "wrapper_music.h"

#include <cstdint>

#include "SDL.h"
#include "SDL_mixer.h"
#include "log.h"
#include "lum_mix.h"

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
constexpr int WRAPPER_MUSIC_FULL = MIX_MAX_VOLUME; // SDL_mixer's full music volume, 128

static Mix_Music *music = nullptr;   // the music playing, or null
static int init = 0;                 // the stream was opened

static void wrapper_music_release();

//----------------------------------------------------------------------------------
// [SECTION] The stream
//----------------------------------------------------------------------------------
WRAPPER_SOUND_SETTING wrapper_sound_setting(unsigned samplerate, unsigned bufsize)
{
    const unsigned rate = samplerate ? samplerate : WRAPPER_SOUND_RATE;
    if (bufsize == 0)
        bufsize = static_cast<unsigned>(rate / static_cast<double>(WRAPPER_SOUND_RATE) * WRAPPER_SOUND_BLOCK);
    lum_logf("stream setting %dhz, %d byte update\n", static_cast<int>(rate), static_cast<int>(bufsize));
    return {rate, bufsize};
}

// Open the stream at `samplerate` Hz with blocks of `bufsize` frames (derived from the rate when
// 0: 512 at 22050 Hz) on the host's device; the sample voices and the synthesiser start afresh at
// the stream's rate before the device plays
int wrapper_sound_init(unsigned samplerate, unsigned bufsize)
{
    if (samplerate == 0 && bufsize == 0 && init)
        return 2;
    const WRAPPER_SOUND_SETTING setting = wrapper_sound_setting(samplerate, bufsize);
    if (wrapper_stream_open_device(setting) < 0) {
        init = 0;
        return -1;
    }
    lum_mix_start(setting.rate);
    lum_log("START audio STREAM");
    wrapper_stream_start_device();
    init = 1;
    return 1;
}

// Stop the music and close the device
void wrapper_sound_exit()
{
    wrapper_music_release();
    wrapper_stream_close_device();
    init = 0;
}

//----------------------------------------------------------------------------------
// [SECTION] The post-mix callback
//----------------------------------------------------------------------------------
// SDL_mixer's post-mix hook (and the browser's stream callback), on the audio thread with the
// device locked: the framework's mix of the block
void mixaudio(int, void *stream, int len, void *)
{
    lum_mix_block(static_cast<int16_t *>(stream), len / 2 / 2);
}

//----------------------------------------------------------------------------------
// [SECTION] Music
//----------------------------------------------------------------------------------
// Load and play music, `loops` times (-1: for ever). A file that cannot be loaded is reported
// and then given to SDL_mixer all the same, which plays nothing. The new music starts before
// the old one is freed (starting it stops the old one).
int wrapper_play_music_ex(const char *filename, int loops)
{
    if (!filename) {
        if (music)
            Mix_FreeMusic(music);
        music = nullptr;
        return 0;
    }
    Mix_Music *next = Mix_LoadMUS(filename);
    if (!next)
        lum_logf("Mix_LoadMUS: %s\n", SDL_GetError());
    Mix_PlayMusic(next, loops);
    if (music)
        Mix_FreeMusic(music);
    music = next;
    return 1;
}

int wrapper_play_music(const char *filename)
{
    return wrapper_play_music_ex(filename, -1);
}

void wrapper_pause_music()
{
    Mix_PauseMusic();
}

void wrapper_resume_music()
{
    Mix_ResumeMusic();
}

// Stop and free the music, if any (the stream is closing)
static void wrapper_music_release()
{
    if (music) {
        Mix_HaltMusic();
        Mix_FreeMusic(music);
        music = nullptr;
    }
}

void wrapper_music_volume(float volume)
{
    Mix_VolumeMusic(static_cast<int>(WRAPPER_MUSIC_FULL * volume));
}

int wrapper_is_other_music_playing()
{
    return 0;
}

void wrapper_set_audio_for_background(int)
{
}

void wrapper_set_audio_for_ambient(int)
{
}
