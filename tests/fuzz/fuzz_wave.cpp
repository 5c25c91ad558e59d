// fuzz_wave: the sample player's WAV loader under libFuzzer.
// Each input is written to a file and loaded by wave_load for a 16-bit and for an 8-bit stream.
// A sample that loads is played twice at once, looping at a pitch from the input and once through
// at normal speed, mixed for a few blocks (the mixer reads the sample's data, so a block too short
// for its frames shows up under AddressSanitizer), then freed. Checked for every loaded sample:
// - its width is the stream's, its channel count and rate are the header's;
// - its frames are no more than the data the file really holds after the header can give;
// - freeing it leaves no voice playing.
// Depends on: wav-play (the loader and the mixer), log (assertions), process (the temporary
// directory); the platform's test double answers the audio lock.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "log.h"
#include "process.h"
#include "wav-play.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr size_t HEADER_BYTES = 44;     // the canonical header
constexpr size_t AT_CHANNELS = 22;      // 16-bit channel count
constexpr size_t AT_RATE = 24;          // 32-bit sample rate
constexpr size_t AT_BITS = 34;          // 16-bit bits per sample
constexpr size_t AT_PITCH = 4;          // the RIFF chunk size's low byte, which the loader never reads
constexpr unsigned STREAM_RATE = 22050; // the toy's stream rate
constexpr int MIX_FRAMES = 256;         // frames mixed per block
constexpr int MIX_BLOCKS = 3;           // blocks mixed per stream

struct STREAM {
    unsigned rate, bits;
};
constexpr std::array<STREAM, 2> STREAMS = {{{STREAM_RATE, 16}, {STREAM_RATE, 8}}};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
std::string directory;  // the temporary directory, removed at exit
std::string wav_path;   // the input's file in it

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
uint32_t read_le(const uint8_t *b, int bytes)
{
    uint32_t value = 0;
    for (int i = bytes - 1; i >= 0; i--)
        value = value << 8 | b[i];
    return value;
}

// A loaded sample against the file it came from
void check_sample(const WAV *wav, const uint8_t *data, size_t size, unsigned stream_bits)
{
    LUM_ASSERT(size >= HEADER_BYTES);
    const uint32_t bits = read_le(data + AT_BITS, 2);
    LUM_ASSERT(wav->channels == read_le(data + AT_CHANNELS, 2));
    LUM_ASSERT(wav->rate == read_le(data + AT_RATE, 4));
    LUM_ASSERT(wav->width == stream_bits);
    LUM_ASSERT(wav->data.s16 != nullptr);
    const uint64_t data_bits = static_cast<uint64_t>(size - HEADER_BYTES) * 8;
    LUM_ASSERT(static_cast<uint64_t>(wav->frames) * wav->channels * bits <= data_bits);
}

}  // namespace

//----------------------------------------------------------------------------------
// Fuzzer entry points
//----------------------------------------------------------------------------------
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    directory = process_temp_dir("lumlife-fuzz-wave");
    LUM_ASSERT(!directory.empty());
    wav_path = directory + "/input.wav";
    std::atexit([] { process_remove_dir(directory); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    {
        std::ofstream out(wav_path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
        LUM_ASSERT(out.good());
    }
    // The looping pitch, 0 .. 8 in steps of 1/32
    const float pitch = size > AT_PITCH ? static_cast<float>(data[AT_PITCH]) / 32.0f : 1.0f;
    for (const STREAM &stream : STREAMS) {
        wave_init(stream.rate, stream.bits);
        WAV *wav = wave_load(wav_path.c_str());
        if (!wav)
            continue;
        check_sample(wav, data, size, stream.bits);
        LUM_ASSERT(wave_play(wav, 1.0f, pitch, -0.5f, 1) >= 0);
        LUM_ASSERT(wave_just_play(wav) >= 0);
        std::array<int16_t, MIX_FRAMES * 2> buffer{};
        for (int block = 0; block < MIX_BLOCKS; block++)
            wave_output_stereo(buffer.data(), MIX_FRAMES);
        wave_free(wav);
        LUM_ASSERT(wave_count_playing() == 0);
    }
    return 0;
}
