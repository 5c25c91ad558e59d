// wrapper_music: the platform's audio mix and music over SDL_mixer (see wrapper_music.h). The
// device itself is opened by wrapper_stream, which differs between the desktop and the browser.
//
// Index of this file:
// [SECTION] Module state
// [SECTION] The mix
// [SECTION] The post-mix callback
// [SECTION] Music
#include "wrapper_music.h"

#include <algorithm>
#include <cstdint>

#include "SDL.h"
#include "SDL_mixer.h"
#include "log.h"
#include "lum_settings.h"
#include "synth.h"
#include "synth_effects.h"
#include "wav-play.h"
#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
constexpr unsigned WRAPPER_SOUND_BITS = 16;        // signed 16-bit little-endian samples
constexpr int WRAPPER_MUSIC_FULL = MIX_MAX_VOLUME; // SDL_mixer's full music volume, 128

static Mix_Music *music = nullptr;   // the music playing, or null
static unsigned sample_rate_ = 0;    // the stream's rate as opened

//----------------------------------------------------------------------------------
// [SECTION] The mix
//----------------------------------------------------------------------------------
WRAPPER_SOUND_SETTING wrapper_sound_setting(unsigned samplerate, unsigned bufsize)
{
    const unsigned rate = samplerate ? samplerate : WRAPPER_SOUND_RATE;
    if (bufsize == 0)
        bufsize = static_cast<unsigned>(rate / static_cast<double>(WRAPPER_SOUND_RATE) * WRAPPER_SOUND_BLOCK);
    lum_logf("stream setting %dhz, %d byte update\n", static_cast<int>(rate), static_cast<int>(bufsize));
    return {rate, bufsize};
}

// The sample voices and the synthesiser start afresh at the stream's rate, with the callback held
void wrapper_mix_start(unsigned rate)
{
    wrapper_lock_audio();
    sample_rate_ = rate;
    wave_init(rate, WRAPPER_SOUND_BITS);
    syn_init(&synraw, static_cast<int>(rate), 1.0f, SYN_MAX_STAGES);
    wrapper_unlock_audio();
}

//----------------------------------------------------------------------------------
// [SECTION] The post-mix callback
//----------------------------------------------------------------------------------
// Add a mono block to both channels of its frames, saturating at the 16-bit limits
static void add_mono(int16_t *stereo, const SAMPLETYPE *mono, int frames)
{
    for (int n = 0; n < 2 * frames; n++) {
        int sum = stereo[n] + static_cast<int16_t>(mono[n / 2]);
        stereo[n] = static_cast<int16_t>(std::clamp(sum, -32768, 32767));
    }
}

// SDL_mixer's post-mix hook, on its audio thread, with the device locked: the glitch hook, the
// sample voices, then (with the synthesiser on) one run of the effects if the logic has ticked
// since the last block, and the synthesiser's render added to both channels.
// NOTE: a block longer than the render buffer is rendered in parts.
void mixaudio(int, void *stream, int len, void *)
{
    int16_t *samples = static_cast<int16_t *>(stream);
    const int frames = len / 2 / 2;
    if (LUM_GLITCH_CALLBACK glitch = lum_settings.callback_glitch)
        glitch(samples, frames, static_cast<int>(sample_rate_));
    if (lum_settings.enable_wav)
        wave_output_stereo(samples, frames);
    if (!lum_settings.enable_synth)
        return;
    if (lum_settings.synth_effects_state) {
        synth_effects_update();
        lum_settings.synth_effects_state = 0;
    }
    for (int done = 0; done < frames;) {
        const int part = std::min(frames - done, static_cast<int>(SYN_BUFFER_SAMPLES));
        syn_update(&synraw, synthbuf.data(), static_cast<unsigned>(part));
        add_mono(samples + 2 * done, synthbuf.data(), part);
        done += part;
    }
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
void wrapper_music_release()
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
