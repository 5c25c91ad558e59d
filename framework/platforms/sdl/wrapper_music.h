// wrapper_music: the platform's audio output, the only code that calls SDL_mixer.
// Opens the stream (signed 16-bit stereo), installs the one post-mix callback that adds the
// framework's own sound to every block (lum_mix: the optional glitch hook, the sample voices, the
// effect slots and the synthesiser) and plays background music through SDL_mixer's music channel.
// The stream, the callback and the music are wrapper_music.cpp; the device is wrapper_stream.cpp,
// which on the desktop opens it through SDL_mixer and in the browser through SDL's own audio
// (whose mixer has no post-mix hook): both call the same mixaudio.
// The unit tests replace it with the platform's test double.
// Depends on: log (log lines), lum_mix (the framework's mix of a block, started with the stream).
#pragma once

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned WRAPPER_SOUND_RATE = 22050;    // the stream rate when none is given
constexpr unsigned WRAPPER_SOUND_BLOCK = 512;     // frames a block at 22050 Hz; scales with the rate

constexpr int WRAPPER_SOUND_CHANNELS = 2;         // interleaved stereo

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// What a stream opens with
struct WRAPPER_SOUND_SETTING {
    unsigned rate;   // Hz
    unsigned block;  // frames a block
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Open the stream; 0 for either argument takes the default. Returns 1 when opened, 2 when
// already open and called without arguments, -1 when there is no audio device (then the
// framework stays silent)
int wrapper_sound_init(unsigned samplerate, unsigned bufsize);
void wrapper_sound_exit();                                   // pause everything and close the device
void mixaudio(int chan, void *stream, int len, void *udata); // the post-mix callback; len in bytes
// For wrapper_sound_init's arguments: the rate asked for or the default for 0, and the block asked
// for or for 0 one that scales with the rate (512 frames at 22050 Hz, 1024 at 44100 Hz); logged
WRAPPER_SOUND_SETTING wrapper_sound_setting(unsigned samplerate, unsigned bufsize);

// The host's audio device (wrapper_stream.cpp, the desktop's or the browser's), which calls
// mixaudio for every block
int wrapper_stream_open_device(const WRAPPER_SOUND_SETTING &setting);  // closed if open, opened anew
                                                                       // paused: 1, or -1 (said why)
void wrapper_stream_start_device();  // let the opened device play
void wrapper_stream_close_device();  // pause and close it, if it is open

// Music: a file SDL_mixer can decode, played on its own channel under the mix
int wrapper_play_music_ex(const char *filename, int loops);  // null stops and frees the music (0); else 1
int wrapper_play_music(const char *filename);                // loops for ever
int wrapper_set_music_position(float seconds);
void wrapper_pause_music();
void wrapper_resume_music();
void wrapper_music_volume(float volume);                     // 0..1 to SDL_mixer's 0..128
int wrapper_is_other_music_playing();                        // 0: no other player to defer to here
void wrapper_set_audio_for_background(int ok);               // nothing on the desktop
void wrapper_set_audio_for_ambient(int ok);                  // nothing on the desktop
