// wav-play: the sample player (see wav-play.h).
//
// Index of this file:
// [SECTION] Constants and types
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Loading
// [SECTION] Playing
// [SECTION] Voices by number
// [SECTION] All voices
// [SECTION] Mixing
#include "wav-play.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "file.h"
#include "wrapper_file.h"
#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants and types
//----------------------------------------------------------------------------------
// The canonical header: byte offsets of the fields read, and its length
constexpr size_t WAVE_AT_RIFF = 0;          // "RIFF"
constexpr size_t WAVE_AT_FORM = 8;          // "WAVE"
constexpr size_t WAVE_AT_CHANNELS = 22;     // 16-bit channel count
constexpr size_t WAVE_AT_RATE = 24;         // 32-bit sample rate
constexpr size_t WAVE_AT_BITS = 34;         // 16-bit bits per sample
constexpr size_t WAVE_AT_DATA_SIZE = 40;    // 32-bit data size
constexpr size_t WAVE_HEADER_BYTES = 44;
constexpr size_t WAVE_ID_BYTES = 4;

constexpr int32_t WAVE_SAMPLE_MIN = -32768;  // the stream's sample limits
constexpr int32_t WAVE_SAMPLE_MAX = 32767;
constexpr int WAVE_BYTE_BIAS = 128;          // the zero level of an unsigned 8-bit sample

// Releases a block of the C library's allocator when it goes out of scope
struct BLOCK_FREE {
    void operator()(void *block) const { std::free(block); }
};
template <typename T>
using BLOCK = std::unique_ptr<T, BLOCK_FREE>;

// Closes a file when it goes out of scope
struct FILE_CLOSE {
    void operator()(FILE *file) const { std::fclose(file); }
};
using FILE_PTR = std::unique_ptr<FILE, FILE_CLOSE>;

// Holds the audio lock for its lifetime, so the mixer never sees a voice half-changed
struct AUDIO_LOCK {
    AUDIO_LOCK() { wrapper_lock_audio(); }
    ~AUDIO_LOCK() { wrapper_unlock_audio(); }
    AUDIO_LOCK(const AUDIO_LOCK &) = delete;
    AUDIO_LOCK &operator=(const AUDIO_LOCK &) = delete;
};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
std::array<VOICE, WAVE_VOICE_LAST + 1> voices;
int initialized = 0;
float sample_rate = 0.0f;
unsigned sample_bits = WAVE_STREAM_BITS;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// Take the first voice not taken: its number, or -1 when all are. The caller holds the audio lock.
static int take_free_voice()
{
    for (unsigned i = 0; i < WAVE_VOICES; i++) {
        if (!voices[i].taken) {
            voices[i].taken = 1;
            return static_cast<int>(i);
        }
    }
    return -1;
}

// Stop and give back every voice (the spare too) that uses the sample, with the audio device
// locked; `forget` also clears their pointer to it (the sample is about to be freed)
static void stop_voices_of(const WAV *wav, bool forget)
{
    AUDIO_LOCK lock;
    for (VOICE &v : voices) {
        if (v.wav == wav) {
            v.taken = 0;
            v.playing = 0;
            if (forget)
                v.wav = nullptr;
        }
    }
}

// A 16-bit little-endian value assembled from single bytes
static uint32_t read_uint16_le(const uint8_t *b)
{
    return static_cast<uint32_t>(b[0] | b[1] << 8);
}

// A 32-bit little-endian value assembled from single bytes
static uint32_t read_uint32_le(const uint8_t *b)
{
    return b[0] | b[1] << 8 | b[2] << 16 | static_cast<uint32_t>(b[3]) << 24;
}

// Whether a voice number passes the check of the voice operations: at most 32
static bool bad_voice(unsigned voice)
{
    return voice > WAVE_VOICE_LAST;
}

// A float limited to lo..hi; not-a-number becomes `otherwise`
static float limit(float x, float lo, float hi, float otherwise)
{
    if (std::isnan(x))
        return otherwise;
    return std::clamp(x, lo, hi);
}

// A channel gain from a factor of unity (256 x factor), truncated toward zero.
// NOTE: the factors come from fields a caller may also write directly; a value the gain cannot
// hold saturates instead of being an undefined conversion.
static int32_t to_gain(float factor)
{
    const float g = static_cast<float>(WAVE_UNITY_GAIN) * factor;
    if (!(g > 0.0f))
        return 0;
    if (g >= 2147483648.0f)
        return INT32_MAX;
    return static_cast<int32_t>(g);
}

// An 8.8 step from a float count of 256ths, truncated; not-a-number or a negative value gives 0,
// a value too large for 32 bits the largest step
static uint32_t to_step(float x)
{
    if (!(x > 0.0f))
        return 0;
    if (x >= 4294967296.0f)
        return UINT32_MAX;
    return static_cast<uint32_t>(x);
}

// Whole frames in `bytes` of data: bytes x 8 / (channels x bits), at most what 32 bits hold
static uint32_t frames_in(uint64_t bytes, uint32_t channels, uint32_t bits)
{
    const uint64_t frames = bytes * 8 / (static_cast<uint64_t>(channels) * bits);
    return static_cast<uint32_t>(std::min<uint64_t>(frames, UINT32_MAX));
}

// A zeroed block of `samples` 16-bit samples (at least one), or null when memory runs out
static BLOCK<int16_t> new_samples(uint64_t samples)
{
    return BLOCK<int16_t>(static_cast<int16_t *>(std::calloc(std::max<uint64_t>(samples, 1), sizeof(int16_t))));
}

// The bytes a file holds from the current position on; 0 when its length cannot be told
static uint64_t bytes_left(FILE *file)
{
    const long length = file_length(file);
    const long position = std::ftell(file);
    if (length < 0 || position < 0 || length < position)
        return 0;
    return static_cast<uint64_t>(length - position);
}

// Check the header's identifiers and that all of it was read, printing why a file is refused.
// The identifiers are judged on the bytes that are there; a file that ends before it is
// complete is refused as truncated.
static bool header_ok(const std::array<uint8_t, WAVE_HEADER_BYTES> &header, size_t got, const char *fname)
{
    if (got >= WAVE_AT_RIFF + WAVE_ID_BYTES && std::memcmp(&header[WAVE_AT_RIFF], "RIFF", WAVE_ID_BYTES) != 0) {
        std::printf("Error: not a RIFF file\n");
        return false;
    }
    if (got >= WAVE_AT_FORM + WAVE_ID_BYTES && std::memcmp(&header[WAVE_AT_FORM], "WAVE", WAVE_ID_BYTES) != 0) {
        std::printf("Error: RIFF file but not a wave file\n");
        return false;
    }
    if (got < WAVE_HEADER_BYTES) {
        std::printf("Error: truncated header in '%s'\n", fname);
        return false;
    }
    return true;
}

// Turn the little-endian 16-bit samples of the first `bytes` bytes of a block into the host's
// samples in place, so the data plays the same whatever the host's byte order
static void samples_from_le(int16_t *block, size_t bytes)
{
    const uint8_t *b = reinterpret_cast<const uint8_t *>(block);
    for (size_t i = 0; i < bytes / 2; i++)
        block[i] = static_cast<int16_t>(b[2 * i] | b[2 * i + 1] << 8);
}

// Keep the high byte of each of the first `frames` little-endian 16-bit samples, in place.
// NOTE: the high byte is kept as it is (two's complement), not offset to the unsigned zero
// level that 8-bit files use: 0x7F00 becomes 0x7F and -1 becomes 0xFF.
static void narrow_to_8(int16_t *block, uint32_t frames)
{
    uint8_t *b = reinterpret_cast<uint8_t *>(block);
    for (uint32_t i = 0; i < frames; i++)
        b[i] = b[2 * i + 1];
}

// A new block of `frames` signed 16-bit samples from the first `frames` unsigned bytes of
// `block`: (x - 128) x 256
static BLOCK<int16_t> widen_to_16(const int16_t *block, uint32_t frames)
{
    BLOCK<int16_t> wide = new_samples(frames);
    if (!wide)
        return wide;
    const uint8_t *b = reinterpret_cast<const uint8_t *>(block);
    for (uint32_t i = 0; i < frames; i++)
        wide.get()[i] = static_cast<int16_t>((b[i] - WAVE_BYTE_BIAS) * 256);
    return wide;
}

//----------------------------------------------------------------------------------
// [SECTION] Loading
//----------------------------------------------------------------------------------
// Load a WAV file with the canonical 44-byte header, converting its width to the stream's.
// Beyond the refusals of the header walk, a bad file gets defined treatment: a data size the
// file does not hold loads what is there (with a message), the block is sized by what the file
// really holds rather than by the claimed size, and a format of 0 channels or 0 bits is refused.
WAV *wave_load(const char *fname)
{
    if (!initialized)
        return nullptr;
    if (!fname)
        fname = "";
    FILE_PTR file(wrapper_file_readable(fname) ? std::fopen(fname, "rb") : nullptr);
    if (!file) {
        std::printf("Error: no file '%s'?\n", fname);
        return nullptr;
    }

    std::array<uint8_t, WAVE_HEADER_BYTES> header{};
    const size_t got = std::fread(header.data(), 1, header.size(), file.get());
    if (!header_ok(header, got, fname))
        return nullptr;
    const uint32_t channels = read_uint16_le(&header[WAVE_AT_CHANNELS]);
    const uint32_t rate = read_uint32_le(&header[WAVE_AT_RATE]);
    const uint32_t bits = read_uint16_le(&header[WAVE_AT_BITS]);
    const uint32_t size = read_uint32_le(&header[WAVE_AT_DATA_SIZE]);
    if (channels == 0 || bits == 0) {
        std::printf("Error: bad format in '%s' (channels %u, bits %u)\n", fname, channels, bits);
        return nullptr;
    }

    // Room for what the file can give, and for at least `frames` 16-bit samples
    const uint64_t wanted = std::min<uint64_t>(size, bytes_left(file.get()));
    BLOCK<int16_t> block = new_samples(std::max<uint64_t>((wanted + 1) / 2, frames_in(wanted, channels, bits)));
    if (!block) {
        std::printf("Error: out of memory loading '%s'\n", fname);
        return nullptr;
    }
    const size_t bytes = std::fread(block.get(), 1, wanted, file.get());
    file.reset();
    if (bytes < size)
        std::printf("Error: truncated data in '%s' (%u of %u bytes)\n", fname, static_cast<unsigned>(bytes), size);

    BLOCK<WAV> wav(static_cast<WAV *>(std::calloc(1, sizeof(WAV))));
    if (!wav) {
        std::printf("Error: out of memory loading '%s'\n", fname);
        return nullptr;
    }
    wav->channels = channels;
    wav->rate = rate;
    wav->width = bits;
    wav->frames = frames_in(bytes, channels, bits);

    const uint32_t frames = wav->frames;
    if (bits == sample_bits) {
        if (bits == 16)
            samples_from_le(block.get(), bytes);
    } else if (sample_bits == 8 && bits == 16) {
        std::printf("Converting 16 -> 8 bits (%d bytes -> %d bytes)\n", static_cast<int>(frames * 2),
                    static_cast<int>(frames));
        narrow_to_8(block.get(), frames);
        wav->width = 8;
    } else if (sample_bits == 16 && bits == 8) {
        std::printf("Converting 8 -> 16 bits (%d bytes -> %d bytes)\n", static_cast<int>(frames),
                    static_cast<int>(frames * 2));
        block = widen_to_16(block.get(), frames);
        if (!block) {
            std::printf("Error: out of memory loading '%s'\n", fname);
            return nullptr;
        }
        wav->width = 16;
    } else {
        std::printf("'%s':\n", fname);
        std::printf("channels: %u\n", channels);
        std::printf("rate: %u\n", rate);
        std::printf("width: %u\n", bits);
        std::printf("Error: conversion problem\n");
        return nullptr;
    }
    wav->data.s16 = block.release();
    return wav.release();
}

// Stop every voice that uses the sample and forget it there, then free its data and the record
// NOTE: the voices also lose the pointer, so starting one of them again cannot reach the freed
// sample.
void wave_free(WAV *wav)
{
    if (!wav)
        return;
    stop_voices_of(wav, true);
    std::free(wav->data.s16);
    std::free(wav);
}

//----------------------------------------------------------------------------------
// [SECTION] Playing
//----------------------------------------------------------------------------------
// Mark the player initialised for a stream of `rate` Hz and `bits` bits, with every voice clear
void wave_init(unsigned rate, unsigned bits)
{
    AUDIO_LOCK lock;
    initialized = 1;
    sample_rate = static_cast<float>(rate);
    sample_bits = bits;
    voices.fill(VOICE{});
}

// Play a sample on the first voice not taken, freeing the voice when it ends; then the volume,
// pitch and pan, in that order (the pan after the volume keeps a partial pan)
int wave_play(WAV *wav, float vol, float pitch, float pan, int loop)
{
    if (!initialized)
        return -1;
    if (!wav)
        return -2;
    AUDIO_LOCK lock;
    const int taken = take_free_voice();
    if (taken < 0)
        return -1;
    const auto i = static_cast<unsigned>(taken);
    VOICE &v = voices[i];
    v.loop = loop != 0;
    v.wav = wav;
    v.playing = 1;
    v.oneshot = 1;
    v.pos = 0;
    wave_set_voice_vol(i, vol);
    wave_set_voice_pitch(i, pitch);
    wave_set_voice_pan(i, pan);
    return taken;
}

// Play a sample once at full volume, normal speed, centred
int wave_just_play(WAV *wav)
{
    return wave_play(wav, 1.0f, 1.0f, 0.0f, 0);
}

//----------------------------------------------------------------------------------
// [SECTION] Voices by number
//----------------------------------------------------------------------------------
// Take the first voice not taken for the caller: no sample, not playing, not freeing itself
int wave_take_voice()
{
    AUDIO_LOCK lock;
    const int taken = take_free_voice();
    if (taken < 0)
        return -1;
    VOICE &v = voices[static_cast<unsigned>(taken)];
    v.playing = 0;
    v.oneshot = 0;
    v.wav = nullptr;
    v.pos = 0;
    return taken;
}

// Give a voice back (a voice still playing goes on until it ends or is taken again)
void wave_drop_voice(unsigned voice)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    voices[voice].taken = 0;
}

// Mix a voice from now on, if it has a sample
void wave_start_voice(unsigned voice)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    if (voices[voice].wav)
        voices[voice].playing = 1;
}

// Stop mixing a voice; it keeps its place in the sample
void wave_stop_voice(unsigned voice)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    voices[voice].playing = 0;
}

// Wrap at the end (loop != 0) or stop there
void wave_set_voice_loop(unsigned voice, int loop)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    voices[voice].loop = loop != 0;
}

// Set the volume (clamped to 0..1; not-a-number is 0) and both gains from it.
// NOTE: only a pan of exactly -1 or 1 (the pan truncated to a whole number) counts as off-centre
// here, so a partial pan falls back to the centre; wave_set_voice_pan keeps it. Setting the
// volume first and the pan after it gives both.
void wave_set_voice_vol(unsigned voice, float vol)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    VOICE &v = voices[voice];
    v.vol = limit(vol, 0.0f, 1.0f, 0.0f);
    const int32_t gain = to_gain(v.vol);
    if (v.pan <= -1.0f) {
        v.left = gain;
        v.right = 0;
    } else if (v.pan >= 1.0f) {
        v.left = 0;
        v.right = gain;
    } else {
        v.left = gain;
        v.right = gain;
    }
}

// Set the pan (clamped to -1..1; not-a-number is the centre) and both gains from it and the
// volume: the side panned away from fades, the centre keeps both at full gain
void wave_set_voice_pan(unsigned voice, float pan)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    VOICE &v = voices[voice];
    v.pan = limit(pan, -1.0f, 1.0f, 0.0f);
    v.left = to_gain(v.vol * (1.0f - std::max(v.pan, 0.0f)));
    v.right = to_gain(v.vol * (1.0f + std::min(v.pan, 0.0f)));
}

// Set the speed factor (negative or not-a-number is 0) and the step it gives at the stream's
// rate: sample rate / stream rate x 256 x pitch; nothing for a voice without a sample
void wave_set_voice_pitch(unsigned voice, float pitch)
{
    if (bad_voice(voice))
        return;
    AUDIO_LOCK lock;
    VOICE &v = voices[voice];
    if (!v.wav)
        return;
    v.pitch = pitch > 0.0f ? pitch : 0.0f;
    v.step = to_step(static_cast<float>(v.wav->rate) / sample_rate * 256.0f * v.pitch);
}

//----------------------------------------------------------------------------------
// [SECTION] All voices
//----------------------------------------------------------------------------------
// Stop and give back every voice
void wave_drop_all()
{
    AUDIO_LOCK lock;
    for (VOICE &v : voices) {
        v.taken = 0;
        v.playing = 0;
    }
}

// Stop and give back the voices (the spare too) that use a sample; null names no sample
void wave_stop_wav(WAV *wav)
{
    if (!wav)
        return;
    stop_voices_of(wav, false);
}

// 1 if some voice is playing the sample, else 0 (also for null, which names no sample)
int wave_is_wav_playing(WAV *wav)
{
    if (!wav)
        return 0;
    AUDIO_LOCK lock;
    for (const VOICE &v : voices) {
        if (v.playing && v.wav == wav)
            return 1;
    }
    return 0;
}

// The number of playing voices; 0 before wave_init
int wave_count_playing()
{
    if (!initialized)
        return 0;
    AUDIO_LOCK lock;
    int count = 0;
    for (const VOICE &v : voices)
        count += v.playing;
    return count;
}

//----------------------------------------------------------------------------------
// [SECTION] Mixing
//----------------------------------------------------------------------------------
// A stream sample plus (s x gain) / 256 (an arithmetic shift), clamped to the 16-bit range
static int16_t mix_sample(int16_t out, int32_t s, int32_t gain)
{
    const int64_t sum = out + ((static_cast<int64_t>(s) * gain) >> WAVE_FRACTION_BITS);
    return static_cast<int16_t>(std::clamp<int64_t>(sum, WAVE_SAMPLE_MIN, WAVE_SAMPLE_MAX));
}

// Mix one voice into `frames` frames of `channels` interleaved samples (1: the left gain only,
// 2: left and right). The position runs in 256ths of a frame; the fraction is dropped at the end
// of the block. A voice that reaches the end of a sample without looping stops, a one-shot voice
// is freed as well.
// NOTE: the position is 64 bits wide, so a long sample's end (frames x 256) cannot wrap around;
// a looping step longer than the whole sample wraps as many times as it takes; and a voice
// started again at or past its end (after it ended, say) wraps or ends before any sample is
// read. So the sample read is always below `frames`, inside the data.
static void mix_voice(VOICE &v, int16_t *buffer, int frames, int channels)
{
    const WAV *wav = v.wav;
    const uint64_t end = wav ? static_cast<uint64_t>(wav->frames) << WAVE_FRACTION_BITS : 0;
    uint64_t p = static_cast<uint64_t>(v.pos) << WAVE_FRACTION_BITS;
    bool ended = false;
    if (p >= end) {
        if (v.loop && end > 0)
            p %= end;
        else
            ended = true;
    }
    for (int n = 0; n < frames && !ended; n++) {
        const int32_t s = wav->data.s16[p >> WAVE_FRACTION_BITS];
        int16_t *out = buffer + static_cast<ptrdiff_t>(n) * channels;
        out[0] = mix_sample(out[0], s, v.left);
        if (channels == 2)
            out[1] = mix_sample(out[1], s, v.right);
        p += v.step;
        if (p >= end) {
            if (v.loop)
                p %= end;
            else
                ended = true;
        }
    }
    if (!ended) {
        v.pos = static_cast<uint32_t>(p >> WAVE_FRACTION_BITS);
        return;
    }
    v.playing = 0;
    v.pos = wav ? wav->frames : 0;
    if (v.oneshot) {
        v.taken = 0;
        v.oneshot = 0;
        v.pos = 0;
    }
}

// Mix every playing voice, in voice order; the number of voices mixed
static int mix_all(int16_t *buffer, int frames, int channels)
{
    int mixed = 0;
    frames = std::max(frames, 0);
    for (VOICE &v : voices) {
        if (!v.playing)
            continue;
        mix_voice(v, buffer, frames, channels);
        mixed++;
    }
    return mixed;
}

// Mix into interleaved stereo frames (left, right)
int wave_output_stereo(int16_t *interleaved_buffer, int frames)
{
    return mix_all(interleaved_buffer, frames, 2);
}

// Mix into mono frames with each voice's left gain
int wave_output(int16_t *buffer, int frames)
{
    return mix_all(buffer, frames, 1);
}
