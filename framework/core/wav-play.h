// wav-play: a small sample player.
// Loads uncompressed PCM WAV files (the canonical 44-byte header, chunks not searched) into
// memory, converting their sample width to the stream's, and plays them on 32 voices with
// volume, pan, pitch and looping. The audio callback mixes the playing voices into the stereo
// 16-bit stream with wave_output_stereo, in 8.8 fixed point: a voice's position advances by
// `step` 256ths of a frame per output frame.
// wave_output_stereo runs on the audio thread with the audio device locked; every other
// operation runs on the main thread and takes the same lock around each change the mixer could
// see half-done, so the mixer never meets a half-written voice.
// The loader's reports (errors, conversions) are printed on standard output as they are, without
// the framework's log prefix.
// Compile-time options: none. The voices are a static table; loaded samples are heap blocks owned
// by their WAV record and released by wave_free.
// Depends on: file (a file's length, to size the data block by what the file really holds),
// wrapper_file (only regular files are opened), wrapper_system (the audio lock).
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned WAVE_VOICES = 32;           // voices that wave_play and wave_take_voice hand out
constexpr unsigned WAVE_VOICE_LAST = 32;       // the highest voice number the voice operations accept
constexpr unsigned WAVE_STREAM_BITS = 16;      // the stream width before wave_init says otherwise
constexpr int32_t WAVE_UNITY_GAIN = 256;       // a channel gain of 1.0 in `left` and `right`
constexpr unsigned WAVE_FRACTION_BITS = 8;     // fractional bits of `step` and of the mixer's position

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The sample data: two views of one block. The block is always allocated as 16-bit samples and
// holds at least `frames` of them, whatever the width, so the mixer (which reads one 16-bit
// sample per frame) stays inside it.
union WAV_DATA {
    uint8_t *u8;              // the 8-bit view (width 8: unsigned samples)
    int16_t *s16;             // the 16-bit view (width 16: signed samples)
};

// A loaded sample
struct WAV {
    uint32_t channels;        // channel count from the file
    uint32_t rate;            // sample rate from the file, Hz
    uint32_t width;           // bits per sample after conversion (8 or 16)
    uint32_t frames;          // whole frames of data: data bytes x 8 / (channels x bits in the file)
    WAV_DATA data;            // the samples, owned by the record
};

// A playback voice
struct VOICE {
    uint8_t taken : 1;        // the voice is allocated
    uint8_t playing : 1;      // the voice is mixed
    uint8_t loop : 1;         // wrap at the end instead of stopping
    uint8_t oneshot : 1;      // free the voice when it ends
    float pan;                // -1.0 (left) .. 1.0 (right)
    int32_t left, right;      // channel gains in 1/256 units (256 = unity)
    float vol;                // 0.0..1.0
    float pitch;              // playback speed factor, >= 0
    uint32_t step;            // frames advanced per output frame, 8.8 fixed point
    uint32_t pos;             // current frame (whole frames)
    WAV *wav;                 // the sample, or null; not owned
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
// NOTE: the table holds one voice more than the 32 that are handed out. The voice operations
// refuse only numbers greater than 32, so number 32 passes their check; the spare entry gives it
// real storage. Nothing hands the spare out, so it is mixed only when a caller sets it up and
// starts it by number 32; the operations that walk every voice (freeing and stopping a sample,
// dropping all, counting) include it, so it never keeps a freed sample.
extern std::array<VOICE, WAVE_VOICE_LAST + 1> voices;
extern int initialized;     // set by wave_init
extern float sample_rate;   // the stream rate, Hz (0 before wave_init)
extern unsigned sample_bits;  // the stream width in bits

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Voice numbers are unsigned: every number greater than 32 is refused (so a negative int from a
// caller is refused too); callers use 0..31.

// Set-up and samples
void wave_init(unsigned rate, unsigned bits);  // mark initialised, store rate and width, clear all voices
WAV *wave_load(const char *fname);             // a loaded sample, or null (not initialised, or any error)
void wave_free(WAV *wav);                      // stop its voices, free it; null is ignored

// Playing: the voice number, -1 if not initialised or no voice is free, -2 if wav is null
int wave_play(WAV *wav, float vol, float pitch, float pan, int loop);
int wave_just_play(WAV *wav);                  // wave_play(wav, 1.0, 1.0, 0.0, 0)

// Voices by number
int wave_take_voice();                         // a free voice marked taken (no sample, not playing), or -1
void wave_drop_voice(unsigned voice);          // clear `taken`
void wave_start_voice(unsigned voice);         // set `playing` if the voice has a sample
void wave_stop_voice(unsigned voice);          // clear `playing`
void wave_set_voice_loop(unsigned voice, int loop);
void wave_set_voice_vol(unsigned voice, float vol);      // 0..1; a partial pan goes to the centre
void wave_set_voice_pan(unsigned voice, float pan);      // -1..1, scaled by the volume
void wave_set_voice_pitch(unsigned voice, float pitch);  // speed factor; nothing without a sample

// All voices
void wave_drop_all();                          // clear `taken` and `playing` on every voice
void wave_stop_wav(WAV *wav);                  // clear `taken` and `playing` on the voices using wav
int wave_is_wav_playing(WAV *wav);             // 1 if a voice playing wav exists, else 0
int wave_count_playing();                      // playing voices; 0 if not initialised

// Mixing, on the audio thread: add every playing voice into the buffer; the voices mixed
int wave_output_stereo(int16_t *interleaved_buffer, int frames);  // left, right, left, ...
int wave_output(int16_t *buffer, int frames);                     // mono, with the left gain
