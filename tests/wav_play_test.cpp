// Tests of the sample player: loading (the header walk, the width conversions, every refusal and
// its message, bad files of every kind), the voices and their flags, volume, pan and pitch, the
// fixed-point mixers with their exact arithmetic, and the audio lock around voice changes.
// The WAV files are made by the tests themselves in a temporary directory. The tests run under
// AddressSanitizer and LeakSanitizer, so a read outside a sample's data or a leaked sample fails
// them.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "capture.h"
#include "fake_wrapper.h"
#include "wav-play.h"
#include "wrapper.h"

// The allocator's count of bytes in use, from the AddressSanitizer runtime these tests run with
extern "C" size_t __sanitizer_get_current_allocated_bytes();

namespace fs = std::filesystem;

namespace {

constexpr unsigned RATE = 22050;  // the stream rate of most tests
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// The header fields a test file is made with
struct HEADER {
    const char *riff = "RIFF";
    const char *form = "WAVE";
    uint32_t channels = 1;
    uint32_t rate = RATE;
    uint32_t bits = 16;
    int64_t data_size = -1;  // the claimed data size; -1: the data's real size
};

void put_id(std::vector<uint8_t> &out, const char *id)
{
    out.insert(out.end(), id, id + 4);
}

void put16(std::vector<uint8_t> &out, uint32_t v)
{
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}

void put32(std::vector<uint8_t> &out, uint32_t v)
{
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<uint8_t>(v >> shift));
}

// A file with the canonical 44-byte header followed by `data`
std::vector<uint8_t> wave_file(const HEADER &h, const std::vector<uint8_t> &data)
{
    const uint32_t size = h.data_size < 0 ? static_cast<uint32_t>(data.size()) : static_cast<uint32_t>(h.data_size);
    const uint32_t block_align = h.channels * h.bits / 8;
    std::vector<uint8_t> out;
    put_id(out, h.riff);
    put32(out, 36 + size);
    put_id(out, h.form);
    put_id(out, "fmt ");
    put32(out, 16);
    put16(out, 1);
    put16(out, h.channels);
    put32(out, h.rate);
    put32(out, h.rate * block_align);
    put16(out, block_align);
    put16(out, h.bits);
    put_id(out, "data");
    put32(out, size);
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

// Signed 16-bit samples as little-endian bytes
std::vector<uint8_t> pcm16(const std::vector<int16_t> &samples)
{
    std::vector<uint8_t> out;
    for (int16_t s : samples)
        put16(out, static_cast<uint16_t>(s));
    return out;
}

// Frees a loaded sample when it goes out of scope
struct WAV_FREE {
    void operator()(WAV *wav) const { wave_free(wav); }
};
using WAV_PTR = std::unique_ptr<WAV, WAV_FREE>;

// A load's result and what it printed
struct LOADED {
    WAV_PTR wav;
    std::string out;
};

LOADED load(const std::string &path)
{
    LOADED result;
    result.out = capture_stdout([&] { result.wav.reset(wave_load(path.c_str())); });
    return result;
}

// The interleaved stereo frames one call of the stereo mixer makes from silence
std::vector<int16_t> mix_stereo(int frames, int *mixed = nullptr)
{
    std::vector<int16_t> buf(2 * static_cast<size_t>(frames));
    const int n = wave_output_stereo(buf.data(), frames);
    if (mixed)
        *mixed = n;
    return buf;
}

// Every test starts with a 22050 Hz, 16-bit stream, clear voices and its own directory
class WavPlay : public ::testing::Test {
protected:
    void SetUp() override
    {
        fake_platform_reset();
        wave_init(RATE, 16);
        char pattern[] = "/tmp/lum-wav-test-XXXXXX";
        const char *made = mkdtemp(pattern);
        ASSERT_NE(made, nullptr) << "mkdtemp failed";
        dir = made;
    }

    void TearDown() override
    {
        wave_init(RATE, 16);
        if (!dir.empty())
            fs::remove_all(dir);
    }

    // Write a file into the test's directory; its path
    std::string write(const std::string &name, const std::vector<uint8_t> &bytes)
    {
        const std::string path = dir + "/" + name;
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return path;
    }

    // Write and load a mono 16-bit sample at `rate` Hz
    LOADED load16(const std::vector<int16_t> &samples, uint32_t rate = RATE)
    {
        HEADER h;
        h.rate = rate;
        return load(write("mono16.wav", wave_file(h, pcm16(samples))));
    }

    std::string dir;
};

//----------------------------------------------------------------------------------
// Loading: the header walk and the conversions
//----------------------------------------------------------------------------------
TEST_F(WavPlay, AMonoSixteenBitFileInASixteenBitStreamLoadsAsItIs)
{
    LOADED l = load16({0, 1000, -1000, 32767, -32768}, 44100);
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
    EXPECT_EQ(l.wav->channels, 1u);
    EXPECT_EQ(l.wav->rate, 44100u);
    EXPECT_EQ(l.wav->width, 16u);
    EXPECT_EQ(l.wav->frames, 5u);
    const std::vector<int16_t> got(l.wav->data.s16, l.wav->data.s16 + 5);
    EXPECT_EQ(got, (std::vector<int16_t>{0, 1000, -1000, 32767, -32768}));
}

TEST_F(WavPlay, AStereoSixteenBitFileKeepsAllItsDataAndCountsFramesByBothChannels)
{
    HEADER h;
    h.channels = 2;
    LOADED l = load(write("stereo.wav", wave_file(h, pcm16({10, 20, 30, 40, 50, 60}))));
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
    EXPECT_EQ(l.wav->channels, 2u);
    EXPECT_EQ(l.wav->width, 16u);
    EXPECT_EQ(l.wav->frames, 3u);
    const std::vector<int16_t> got(l.wav->data.s16, l.wav->data.s16 + 6);
    EXPECT_EQ(got, (std::vector<int16_t>{10, 20, 30, 40, 50, 60}));
}

TEST_F(WavPlay, AnEightBitFileIntoASixteenBitStreamMapsMidScaleToZero)
{
    HEADER h;
    h.bits = 8;
    LOADED l = load(write("eight.wav", wave_file(h, {128, 255, 0})));
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "Converting 8 -> 16 bits (3 bytes -> 6 bytes)\n");
    EXPECT_EQ(l.wav->width, 16u);
    EXPECT_EQ(l.wav->frames, 3u);
    EXPECT_EQ(l.wav->data.s16[0], 0);
    EXPECT_EQ(l.wav->data.s16[1], 32512);
    EXPECT_EQ(l.wav->data.s16[2], -32768);
}

TEST_F(WavPlay, AStereoEightBitFileConvertsAsManySamplesAsItHasFrames)
{
    HEADER h;
    h.bits = 8;
    h.channels = 2;
    LOADED l = load(write("eight2.wav", wave_file(h, {129, 130, 131, 132, 133, 134})));
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "Converting 8 -> 16 bits (3 bytes -> 6 bytes)\n");
    EXPECT_EQ(l.wav->frames, 3u);
    const std::vector<int16_t> got(l.wav->data.s16, l.wav->data.s16 + 3);
    EXPECT_EQ(got, (std::vector<int16_t>{256, 512, 768}));
}

TEST_F(WavPlay, ASixteenBitFileIntoAnEightBitStreamKeepsTheHighBytes)
{
    wave_init(RATE, 8);
    EXPECT_EQ(sample_bits, 8u);
    LOADED l = load16({0x1234, -2, 0x7F00, -32768});
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "Converting 16 -> 8 bits (8 bytes -> 4 bytes)\n");
    EXPECT_EQ(l.wav->width, 8u);
    EXPECT_EQ(l.wav->frames, 4u);
    const std::vector<uint8_t> got(l.wav->data.u8, l.wav->data.u8 + 4);
    EXPECT_EQ(got, (std::vector<uint8_t>{0x12, 0xFF, 0x7F, 0x80}));
}

TEST_F(WavPlay, AnEightBitFileInAnEightBitStreamLoadsAsItIs)
{
    wave_init(RATE, 8);
    HEADER h;
    h.bits = 8;
    LOADED l = load(write("eight.wav", wave_file(h, {1, 2, 3})));
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
    EXPECT_EQ(l.wav->width, 8u);
    EXPECT_EQ(l.wav->frames, 3u);
    const std::vector<uint8_t> got(l.wav->data.u8, l.wav->data.u8 + 3);
    EXPECT_EQ(got, (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(WavPlay, TheIdentifiersOfTheFormatAndDataChunksAreNotCompared)
{
    std::vector<uint8_t> bytes = wave_file(HEADER{}, pcm16({7, 8}));
    std::copy_n("abcd", 4, bytes.begin() + 12);
    std::copy_n("wxyz", 4, bytes.begin() + 36);
    LOADED l = load(write("odd-ids.wav", bytes));
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
    EXPECT_EQ(l.wav->frames, 2u);
}

TEST_F(WavPlay, ARifxFileIsRefusedAsNotARiffFile)
{
    HEADER h;
    h.riff = "RIFX";
    LOADED l = load(write("big.wav", wave_file(h, pcm16({1, 2}))));
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "Error: not a RIFF file\n");
}

TEST_F(WavPlay, AnAviFileIsRefusedAsARiffFileButNotAWaveFile)
{
    HEADER h;
    h.form = "AVI ";
    LOADED l = load(write("movie.avi", wave_file(h, pcm16({1, 2}))));
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "Error: RIFF file but not a wave file\n");
}

TEST_F(WavPlay, AMissingFileIsReportedAsNoFile)
{
    const std::string path = dir + "/missing.wav";
    LOADED l = load(path);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "Error: no file '" + path + "'?\n");
}

TEST_F(WavPlay, LoadingBeforeInitialisationGivesNullAndPrintsNothing)
{
    const std::string path = write("fine.wav", wave_file(HEADER{}, pcm16({1, 2})));
    initialized = 0;
    LOADED l = load(path);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
}

TEST_F(WavPlay, TwentyFourAndThirtyTwoBitFilesAreAConversionProblem)
{
    for (uint32_t bits : {24u, 32u}) {
        HEADER h;
        h.bits = bits;
        h.rate = 48000;
        h.channels = 2;
        const std::string path = write("wide.wav", wave_file(h, std::vector<uint8_t>(48, 1)));
        LOADED l = load(path);
        EXPECT_EQ(l.wav, nullptr) << bits;
        EXPECT_EQ(l.out, "'" + path + "':\nchannels: 2\nrate: 48000\nwidth: " + std::to_string(bits) +
                             "\nError: conversion problem\n");
    }
}

TEST_F(WavPlay, AnEightBitFileIntoATwentyFourBitStreamIsAConversionProblem)
{
    wave_init(RATE, 24);
    HEADER h;
    h.bits = 8;
    const std::string path = write("eight.wav", wave_file(h, {1, 2}));
    LOADED l = load(path);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "'" + path + "':\nchannels: 1\nrate: 22050\nwidth: 8\nError: conversion problem\n");
}

//----------------------------------------------------------------------------------
// Loading: bad files
//----------------------------------------------------------------------------------
TEST_F(WavPlay, AFileEndingInsideTheHeaderIsRefusedAsTruncatedAtEveryLength)
{
    const std::vector<uint8_t> whole = wave_file(HEADER{}, pcm16({1, 2}));
    for (size_t n = 0; n < 44; n++) {
        const std::string path = write("short.wav", std::vector<uint8_t>(whole.begin(), whole.begin() + n));
        LOADED l = load(path);
        EXPECT_EQ(l.wav, nullptr) << n;
        EXPECT_EQ(l.out, "Error: truncated header in '" + path + "'\n") << n;
    }
}

TEST_F(WavPlay, AShortFileWithAForeignIdentifierIsRefusedByTheIdentifier)
{
    HEADER rifx;
    rifx.riff = "RIFX";
    const std::vector<uint8_t> big = wave_file(rifx, {});
    for (size_t n = 4; n < 44; n++) {
        LOADED l = load(write("rifx.wav", std::vector<uint8_t>(big.begin(), big.begin() + n)));
        EXPECT_EQ(l.wav, nullptr) << n;
        EXPECT_EQ(l.out, "Error: not a RIFF file\n") << n;
    }
    HEADER avi;
    avi.form = "AVI ";
    const std::vector<uint8_t> movie = wave_file(avi, {});
    for (size_t n = 12; n < 44; n++) {
        LOADED l = load(write("avi.wav", std::vector<uint8_t>(movie.begin(), movie.begin() + n)));
        EXPECT_EQ(l.wav, nullptr) << n;
        EXPECT_EQ(l.out, "Error: RIFF file but not a wave file\n") << n;
    }
}

TEST_F(WavPlay, ADirectoryIsRefusedWithoutBeingOpened)
{
    LOADED l = load(dir);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_NE(l.out.find("] '" + dir + "' is a directory, not a file: ignored\n"), std::string::npos) << l.out;
    EXPECT_NE(l.out.find("Error: no file '" + dir + "'?\n"), std::string::npos) << l.out;
}

TEST_F(WavPlay, AFifoIsRefusedWithoutBlocking)
{
    const std::string fifo = dir + "/pipe.wav";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    LOADED l = load(fifo);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_NE(l.out.find("] '" + fifo + "' is a FIFO, not a file: ignored\n"), std::string::npos) << l.out;
}

TEST_F(WavPlay, DataShorterThanClaimedLoadsTheWholeFramesThatAreThere)
{
    HEADER h;
    h.channels = 2;
    h.data_size = 100;
    // 11 bytes: two whole stereo frames and three bytes of a third
    std::vector<uint8_t> data = pcm16({1, 2, 3, 4});
    data.insert(data.end(), {5, 0, 6});
    const std::string path = write("cut.wav", wave_file(h, data));
    LOADED l = load(path);
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "Error: truncated data in '" + path + "' (11 of 100 bytes)\n");
    EXPECT_EQ(l.wav->frames, 2u);
    EXPECT_EQ(l.wav->data.s16[0], 1);
    EXPECT_EQ(l.wav->data.s16[3], 4);
}

TEST_F(WavPlay, DataLongerThanClaimedLoadsOnlyTheClaimedBytes)
{
    HEADER h;
    h.data_size = 4;
    LOADED l = load(write("long.wav", wave_file(h, pcm16({1, 2, 3, 4}))));
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
    EXPECT_EQ(l.wav->frames, 2u);
}

TEST_F(WavPlay, AHugeClaimedDataSizeAllocatesOnlyWhatTheFileHolds)
{
    HEADER h;
    h.data_size = 0xFFFFFFFF;
    const std::string path = write("huge.wav", wave_file(h, pcm16({1, 2, 3})));
    const size_t before = __sanitizer_get_current_allocated_bytes();
    WAV *wav = nullptr;
    size_t during = 0;
    const std::string out = capture_stdout([&] {
        wav = wave_load(path.c_str());
        during = __sanitizer_get_current_allocated_bytes();
    });
    WAV_PTR owned(wav);
    ASSERT_NE(wav, nullptr);
    EXPECT_EQ(out, "Error: truncated data in '" + path + "' (6 of 4294967295 bytes)\n");
    EXPECT_EQ(wav->frames, 3u);
    EXPECT_LT(during - before, size_t{1} << 20);
}

TEST_F(WavPlay, ZeroChannelsAreRefusedAsABadFormat)
{
    HEADER h;
    h.channels = 0;
    const std::string path = write("none.wav", wave_file(h, pcm16({1, 2})));
    LOADED l = load(path);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "Error: bad format in '" + path + "' (channels 0, bits 16)\n");
}

TEST_F(WavPlay, ZeroBitsPerSampleAreRefusedAsABadFormat)
{
    HEADER h;
    h.bits = 0;
    h.channels = 2;
    const std::string path = write("flat.wav", wave_file(h, pcm16({1, 2})));
    LOADED l = load(path);
    EXPECT_EQ(l.wav, nullptr);
    EXPECT_EQ(l.out, "Error: bad format in '" + path + "' (channels 2, bits 0)\n");
}

TEST_F(WavPlay, AnEmptyDataChunkLoadsAsASampleThatEndsAtOnce)
{
    LOADED l = load16({});
    ASSERT_NE(l.wav, nullptr);
    EXPECT_EQ(l.out, "");
    EXPECT_EQ(l.wav->frames, 0u);
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    int mixed = 0;
    EXPECT_EQ(mix_stereo(4, &mixed), std::vector<int16_t>(8, 0));
    EXPECT_EQ(mixed, 1);
    EXPECT_FALSE(voices[v].playing);
    EXPECT_FALSE(voices[v].taken);
}

// Every width, channel count and data size up to a few frames, in 16- and 8-bit streams: the
// frame count follows the bytes read, and the mixer's position stays below it after every block
// (the sample it reads next), looping at several speeds or running to the end
TEST_F(WavPlay, OddDataSizesAreMixedWithinTheirData)
{
    for (unsigned stream : {16u, 8u}) {
        for (uint32_t bits : {8u, 16u}) {
            for (uint32_t channels : {1u, 2u, 3u}) {
                for (size_t size = 0; size < 14; size++) {
                    wave_init(RATE, stream);
                    HEADER h;
                    h.bits = bits;
                    h.channels = channels;
                    std::vector<uint8_t> data(size);
                    for (size_t i = 0; i < size; i++)
                        data[i] = static_cast<uint8_t>(0x41 + i);
                    LOADED l = load(write("odd.wav", wave_file(h, data)));
                    ASSERT_NE(l.wav, nullptr);
                    const uint32_t frames = static_cast<uint32_t>(size * 8 / (channels * bits));
                    ASSERT_EQ(l.wav->frames, frames) << stream << " " << bits << " " << channels << " " << size;
                    for (float pitch : {0.5f, 1.0f, 2.7f, 9.0f}) {
                        const int looped = wave_play(l.wav.get(), 1.0f, pitch, 0.0f, 1);
                        const int once = wave_play(l.wav.get(), 1.0f, pitch, 0.0f, 0);
                        for (int block = 0; block < 20; block++) {
                            std::vector<int16_t> stereo(2);
                            wave_output_stereo(stereo.data(), 1);
                            std::vector<int16_t> mono(3);
                            wave_output(mono.data(), 3);
                            if (voices[looped].playing) {
                                EXPECT_LT(voices[looped].pos, frames);
                            }
                            if (voices[once].playing) {
                                EXPECT_LT(voices[once].pos, frames);
                            }
                        }
                        EXPECT_EQ(voices[looped].playing, frames > 0);
                        EXPECT_FALSE(voices[once].playing);
                        wave_drop_all();
                    }
                }
            }
        }
    }
}

//----------------------------------------------------------------------------------
// Playing and the voices
//----------------------------------------------------------------------------------
TEST_F(WavPlay, InitialisationStoresTheStreamAndClearsEveryVoice)
{
    voices[5].taken = 1;
    voices[32].playing = 1;
    voices[7].left = 99;
    initialized = 0;
    wave_init(44100, 16);
    EXPECT_EQ(initialized, 1);
    EXPECT_EQ(sample_rate, 44100.0f);
    EXPECT_EQ(sample_bits, 16u);
    for (const VOICE &v : voices) {
        EXPECT_FALSE(v.taken);
        EXPECT_FALSE(v.playing);
        EXPECT_EQ(v.left, 0);
        EXPECT_EQ(v.wav, nullptr);
    }
}

TEST_F(WavPlay, PlayTakesTheFirstFreeVoiceAndSetsItUp)
{
    LOADED l = load16({1, 2, 3, 4});
    voices[0].taken = 1;
    const int v = wave_play(l.wav.get(), 0.5f, 2.0f, -0.5f, 7);
    ASSERT_EQ(v, 1);
    const VOICE &voice = voices[1];
    EXPECT_TRUE(voice.taken);
    EXPECT_TRUE(voice.playing);
    EXPECT_TRUE(voice.loop);
    EXPECT_TRUE(voice.oneshot);
    EXPECT_EQ(voice.wav, l.wav.get());
    EXPECT_EQ(voice.pos, 0u);
    EXPECT_EQ(voice.vol, 0.5f);
    EXPECT_EQ(voice.pitch, 2.0f);
    EXPECT_EQ(voice.step, 512u);
    EXPECT_EQ(voice.pan, -0.5f);
    EXPECT_EQ(voice.left, 128);
    EXPECT_EQ(voice.right, 64);
}

TEST_F(WavPlay, JustPlayPlaysOnceAtFullVolumeNormalSpeedAndCentred)
{
    LOADED l = load16({1, 2});
    const int v = wave_just_play(l.wav.get());
    ASSERT_EQ(v, 0);
    EXPECT_FALSE(voices[0].loop);
    EXPECT_TRUE(voices[0].oneshot);
    EXPECT_EQ(voices[0].left, 256);
    EXPECT_EQ(voices[0].right, 256);
    EXPECT_EQ(voices[0].step, 256u);
}

TEST_F(WavPlay, PlayGivesMinusOneBeforeInitialisationAndWhenEveryVoiceIsTaken)
{
    LOADED l = load16({1, 2});
    for (int i = 0; i < 32; i++)
        EXPECT_EQ(wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1), i);
    EXPECT_EQ(wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1), -1);
    EXPECT_FALSE(voices[32].taken);
    wave_drop_voice(9);
    EXPECT_EQ(wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1), 9);
    wave_drop_all();
    initialized = 0;
    EXPECT_EQ(wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1), -1);
    EXPECT_FALSE(voices[0].taken);
}

TEST_F(WavPlay, PlayGivesMinusTwoForNoSample)
{
    EXPECT_EQ(wave_play(nullptr, 1.0f, 1.0f, 0.0f, 0), -2);
    EXPECT_EQ(wave_just_play(nullptr), -2);
    EXPECT_FALSE(voices[0].taken);
}

TEST_F(WavPlay, TakeVoiceMarksTheFirstFreeVoiceWithoutASample)
{
    LOADED l = load16({1, 2});
    wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    wave_drop_voice(0);
    voices[1].taken = 1;
    const int v = wave_take_voice();
    ASSERT_EQ(v, 0);
    EXPECT_TRUE(voices[0].taken);
    EXPECT_FALSE(voices[0].playing);
    EXPECT_FALSE(voices[0].oneshot);
    EXPECT_EQ(voices[0].wav, nullptr);
    EXPECT_EQ(wave_take_voice(), 2);
    for (int i = 3; i < 32; i++)
        EXPECT_EQ(wave_take_voice(), i);
    EXPECT_EQ(wave_take_voice(), -1);
    EXPECT_FALSE(voices[32].taken);
}

TEST_F(WavPlay, DropVoiceOnlyGivesTheVoiceBack)
{
    LOADED l = load16({1, 2, 3});
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_drop_voice(static_cast<unsigned>(v));
    EXPECT_FALSE(voices[v].taken);
    EXPECT_TRUE(voices[v].playing);
}

TEST_F(WavPlay, StartVoicePlaysOnlyAVoiceWithASample)
{
    const int v = wave_take_voice();
    wave_start_voice(static_cast<unsigned>(v));
    EXPECT_FALSE(voices[v].playing);
    LOADED l = load16({1, 2, 3});
    voices[v].wav = l.wav.get();
    wave_start_voice(static_cast<unsigned>(v));
    EXPECT_TRUE(voices[v].playing);
    wave_stop_voice(static_cast<unsigned>(v));
    EXPECT_FALSE(voices[v].playing);
    EXPECT_TRUE(voices[v].taken);
}

TEST_F(WavPlay, SetVoiceLoopSetsAndClearsTheFlag)
{
    wave_set_voice_loop(3, 5);
    EXPECT_TRUE(voices[3].loop);
    wave_set_voice_loop(3, 0);
    EXPECT_FALSE(voices[3].loop);
    wave_set_voice_loop(3, -1);
    EXPECT_TRUE(voices[3].loop);
}

TEST_F(WavPlay, VoiceNumbersAboveThirtyTwoAreRefusedAndThirtyTwoIsAccepted)
{
    LOADED l = load16({1, 2, 3});
    wave_set_voice_loop(32, 1);
    EXPECT_TRUE(voices[32].loop);
    voices[32].wav = l.wav.get();
    wave_start_voice(32);
    EXPECT_TRUE(voices[32].playing);
    wave_set_voice_vol(32, 0.5f);
    EXPECT_EQ(voices[32].left, 128);
    wave_stop_voice(32);
    EXPECT_FALSE(voices[32].playing);

    const std::array<VOICE, WAVE_VOICE_LAST + 1> before = voices;
    for (unsigned bad : {33u, 1000u, static_cast<unsigned>(-1), static_cast<unsigned>(-32)}) {
        wave_set_voice_loop(bad, 0);
        wave_drop_voice(bad);
        wave_start_voice(bad);
        wave_stop_voice(bad);
        wave_set_voice_vol(bad, 0.25f);
        wave_set_voice_pan(bad, 0.25f);
        wave_set_voice_pitch(bad, 0.25f);
    }
    for (size_t i = 0; i < voices.size(); i++) {
        EXPECT_EQ(voices[i].loop, before[i].loop) << i;
        EXPECT_EQ(voices[i].playing, before[i].playing) << i;
        EXPECT_EQ(voices[i].left, before[i].left) << i;
        EXPECT_EQ(voices[i].pan, before[i].pan) << i;
        EXPECT_EQ(voices[i].step, before[i].step) << i;
    }
}

TEST_F(WavPlay, ASpareVoiceStartedByNumberIsMixedAndStoppedWithItsSample)
{
    LOADED l = load16({300, 300});
    voices[32].wav = l.wav.get();
    wave_set_voice_vol(32, 1.0f);
    wave_set_voice_pitch(32, 1.0f);
    wave_set_voice_loop(32, 1);
    wave_start_voice(32);
    EXPECT_EQ(wave_count_playing(), 1);
    EXPECT_EQ(mix_stereo(1), (std::vector<int16_t>{300, 300}));
    EXPECT_EQ(wave_is_wav_playing(l.wav.get()), 1);
    wave_stop_wav(l.wav.get());
    EXPECT_FALSE(voices[32].playing);
}

TEST_F(WavPlay, DropAllStopsAndGivesBackEveryVoice)
{
    LOADED l = load16({1, 2});
    for (int i = 0; i < 5; i++)
        wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_take_voice();
    EXPECT_EQ(wave_count_playing(), 5);
    wave_drop_all();
    EXPECT_EQ(wave_count_playing(), 0);
    for (const VOICE &v : voices) {
        EXPECT_FALSE(v.taken);
        EXPECT_FALSE(v.playing);
    }
}

TEST_F(WavPlay, StopWavStopsOnlyTheVoicesOfThatSample)
{
    LOADED a = load16({1, 2});
    LOADED b = load16({3, 4});
    const int va = wave_play(a.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    const int vb = wave_play(b.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    const int free_voice = wave_take_voice();
    wave_stop_wav(a.wav.get());
    EXPECT_FALSE(voices[va].taken);
    EXPECT_FALSE(voices[va].playing);
    EXPECT_TRUE(voices[vb].taken);
    EXPECT_TRUE(voices[vb].playing);
    wave_stop_wav(nullptr);
    EXPECT_TRUE(voices[free_voice].taken);
}

TEST_F(WavPlay, IsWavPlayingFollowsTheVoices)
{
    LOADED a = load16({1, 2});
    LOADED b = load16({3, 4});
    EXPECT_EQ(wave_is_wav_playing(a.wav.get()), 0);
    const int v = wave_play(a.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    EXPECT_EQ(wave_is_wav_playing(a.wav.get()), 1);
    EXPECT_EQ(wave_is_wav_playing(b.wav.get()), 0);
    EXPECT_EQ(wave_is_wav_playing(nullptr), 0);
    wave_stop_voice(static_cast<unsigned>(v));
    EXPECT_EQ(wave_is_wav_playing(a.wav.get()), 0);
}

TEST_F(WavPlay, CountPlayingCountsPlayingVoicesAndIsZeroBeforeInitialisation)
{
    LOADED l = load16({1, 2});
    wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_take_voice();
    EXPECT_EQ(wave_count_playing(), 2);
    initialized = 0;
    EXPECT_EQ(wave_count_playing(), 0);
}

TEST_F(WavPlay, FreeingASampleStopsAndForgetsItsVoicesFirst)
{
    LOADED a = load16({1, 2});
    LOADED b = load16({5, 5});
    const int va = wave_play(a.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    const int vb = wave_play(b.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_free(a.wav.release());
    EXPECT_FALSE(voices[va].taken);
    EXPECT_FALSE(voices[va].playing);
    EXPECT_EQ(voices[va].wav, nullptr);
    wave_start_voice(static_cast<unsigned>(va));
    EXPECT_FALSE(voices[va].playing);
    EXPECT_TRUE(voices[vb].playing);
    EXPECT_EQ(mix_stereo(1), (std::vector<int16_t>{5, 5}));
    wave_free(nullptr);
}

//----------------------------------------------------------------------------------
// Volume, pan and pitch
//----------------------------------------------------------------------------------
TEST_F(WavPlay, PanHalfRightHalvesTheLeftAndASetVolumeThenCentresIt)
{
    LOADED l = load16({1, 2});
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    wave_set_voice_pan(static_cast<unsigned>(v), 0.5f);
    EXPECT_EQ(voices[v].left, 128);
    EXPECT_EQ(voices[v].right, 256);
    wave_set_voice_vol(static_cast<unsigned>(v), 1.0f);
    EXPECT_EQ(voices[v].left, 256);
    EXPECT_EQ(voices[v].right, 256);
    EXPECT_EQ(voices[v].pan, 0.5f);
}

TEST_F(WavPlay, PanScalesBothSidesByTheVolumeAndIsClamped)
{
    wave_set_voice_vol(4, 0.5f);
    wave_set_voice_pan(4, -0.25f);
    EXPECT_EQ(voices[4].left, 128);
    EXPECT_EQ(voices[4].right, 96);
    wave_set_voice_pan(4, -3.0f);
    EXPECT_EQ(voices[4].pan, -1.0f);
    EXPECT_EQ(voices[4].left, 128);
    EXPECT_EQ(voices[4].right, 0);
    wave_set_voice_pan(4, 2.0f);
    EXPECT_EQ(voices[4].pan, 1.0f);
    EXPECT_EQ(voices[4].left, 0);
    EXPECT_EQ(voices[4].right, 128);
}

TEST_F(WavPlay, VolumeKeepsOnlyAFullPanToOneSide)
{
    wave_set_voice_pan(6, -1.0f);
    wave_set_voice_vol(6, 0.75f);
    EXPECT_EQ(voices[6].left, 192);
    EXPECT_EQ(voices[6].right, 0);
    wave_set_voice_pan(6, 1.0f);
    wave_set_voice_vol(6, 0.75f);
    EXPECT_EQ(voices[6].left, 0);
    EXPECT_EQ(voices[6].right, 192);
    wave_set_voice_pan(6, -0.99f);
    wave_set_voice_vol(6, 0.75f);
    EXPECT_EQ(voices[6].left, 192);
    EXPECT_EQ(voices[6].right, 192);
}

TEST_F(WavPlay, VolumeIsClampedToZeroToOne)
{
    wave_set_voice_vol(2, 1.5f);
    EXPECT_EQ(voices[2].vol, 1.0f);
    EXPECT_EQ(voices[2].left, 256);
    wave_set_voice_vol(2, -0.5f);
    EXPECT_EQ(voices[2].vol, 0.0f);
    EXPECT_EQ(voices[2].left, 0);
    EXPECT_EQ(voices[2].right, 0);
}

TEST_F(WavPlay, NotANumberCountsAsSilenceTheCentreAndStandingStill)
{
    LOADED l = load16({1, 2});
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    const unsigned u = static_cast<unsigned>(v);
    wave_set_voice_pan(u, NOT_A_NUMBER);
    EXPECT_EQ(voices[v].pan, 0.0f);
    EXPECT_EQ(voices[v].left, 256);
    wave_set_voice_vol(u, NOT_A_NUMBER);
    EXPECT_EQ(voices[v].vol, 0.0f);
    EXPECT_EQ(voices[v].left, 0);
    wave_set_voice_pitch(u, NOT_A_NUMBER);
    EXPECT_EQ(voices[v].pitch, 0.0f);
    EXPECT_EQ(voices[v].step, 0u);
}

TEST_F(WavPlay, A44100HzSampleAtPitchOneInA22050HzStreamAdvancesTwoFramesPerOutputFrame)
{
    LOADED l = load16({10, 11, 12, 13, 14, 15, 16, 17}, 44100);
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    EXPECT_EQ(voices[v].step, 512u);
    EXPECT_EQ(mix_stereo(3), (std::vector<int16_t>{10, 10, 12, 12, 14, 14}));
    EXPECT_EQ(voices[v].pos, 6u);
}

TEST_F(WavPlay, PitchNeedsASampleAndScalesTheStep)
{
    wave_set_voice_pitch(0, 2.0f);
    EXPECT_EQ(voices[0].pitch, 0.0f);
    EXPECT_EQ(voices[0].step, 0u);
    LOADED l = load16({1, 2}, 11025);
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    EXPECT_EQ(voices[v].step, 128u);
    wave_set_voice_pitch(static_cast<unsigned>(v), 3.0f);
    EXPECT_EQ(voices[v].pitch, 3.0f);
    EXPECT_EQ(voices[v].step, 384u);
    wave_set_voice_pitch(static_cast<unsigned>(v), 0.3f);
    EXPECT_EQ(voices[v].step, 38u);  // 128 x 0.3 = 38.4, truncated
}

TEST_F(WavPlay, PitchZeroHoldsTheVoiceOnOneFrame)
{
    LOADED l = load16({7, 8, 9});
    const int v = wave_play(l.wav.get(), 1.0f, 0.0f, 0.0f, 0);
    EXPECT_EQ(voices[v].step, 0u);
    EXPECT_EQ(mix_stereo(4), (std::vector<int16_t>{7, 7, 7, 7, 7, 7, 7, 7}));
    EXPECT_EQ(voices[v].pos, 0u);
    EXPECT_TRUE(voices[v].playing);
}

TEST_F(WavPlay, ANegativePitchCountsAsZero)
{
    LOADED l = load16({7, 8, 9});
    const int v = wave_play(l.wav.get(), 1.0f, -2.0f, 0.0f, 0);
    EXPECT_EQ(voices[v].pitch, 0.0f);
    EXPECT_EQ(voices[v].step, 0u);
    EXPECT_EQ(mix_stereo(2), (std::vector<int16_t>{7, 7, 7, 7}));
}

TEST_F(WavPlay, AHugePitchGivesTheLargestStepAndStillLoopsWithinTheSample)
{
    LOADED l = load16({1, 2, 3});
    const int v = wave_play(l.wav.get(), 1.0f, 1e30f, 0.0f, 1);
    EXPECT_EQ(voices[v].step, UINT32_MAX);
    mix_stereo(50);
    EXPECT_TRUE(voices[v].playing);
    EXPECT_LT(voices[v].pos, 3u);
}

//----------------------------------------------------------------------------------
// Mixing
//----------------------------------------------------------------------------------
TEST_F(WavPlay, TheStereoMixerAddsEachSampleTimesTheGainShiftedRightByEight)
{
    LOADED l = load16({1000, -3, 32767, -32768});
    wave_play(l.wav.get(), 1.0f, 1.0f, 0.25f, 0);  // left 192, right 256
    std::vector<int16_t> buf = {1, 2, 1, 2, 1, 2, 1, 2};
    EXPECT_EQ(wave_output_stereo(buf.data(), 4), 1);
    // (s x 192) >> 8 rounds toward minus infinity: -3 x 192 = -576 gives -3
    EXPECT_EQ(buf, (std::vector<int16_t>{751, 1002, -2, -1, 24576, 32767, -24575, -32766}));
}

TEST_F(WavPlay, TheStereoMixerClampsAtBothEnds)
{
    LOADED l = load16({32767, -32768, 1000, -1000});
    wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    std::vector<int16_t> buf = {32000, -32000, -32000, 32000, 32000, 32767, -32000, -32768};
    wave_output_stereo(buf.data(), 4);
    EXPECT_EQ(buf, (std::vector<int16_t>{32767, 767, -32768, -768, 32767, 32767, -32768, -32768}));
}

TEST_F(WavPlay, VoicesAreMixedOneAfterAnotherWithTheSumClampedAfterEach)
{
    LOADED a = load16({30000});
    LOADED b = load16({30000});
    LOADED c = load16({-30000});
    wave_play(a.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_play(b.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    wave_play(c.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    int mixed = 0;
    // 30000 + 30000 stops at 32767 before the third voice takes 30000 off again
    EXPECT_EQ(mix_stereo(2, &mixed), (std::vector<int16_t>{2767, 2767, 2767, 2767}));
    EXPECT_EQ(mixed, 3);
}

TEST_F(WavPlay, TheFractionIsDroppedAtEveryBlockBoundary)
{
    LOADED a = load16({0, 1, 2, 3, 4, 5, 6, 7});
    const int v = wave_play(a.wav.get(), 1.0f, 1.5f, 0.0f, 0);
    EXPECT_EQ(voices[v].step, 384u);
    // One block of two frames: positions 0 and 1.5, ending at 3
    EXPECT_EQ(mix_stereo(2), (std::vector<int16_t>{0, 0, 1, 1}));
    EXPECT_EQ(voices[v].pos, 3u);
    // Two blocks of one frame: each ends at 1.5 frames on, which drops to 1
    voices[v].pos = 0;
    EXPECT_EQ(mix_stereo(1), (std::vector<int16_t>{0, 0}));
    EXPECT_EQ(voices[v].pos, 1u);
    EXPECT_EQ(mix_stereo(1), (std::vector<int16_t>{1, 1}));
    EXPECT_EQ(voices[v].pos, 2u);
}

TEST_F(WavPlay, TheMonoMixerUsesTheLeftGainOnly)
{
    LOADED l = load16({1000, 2000, 3000});
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 1.0f, 1);
    EXPECT_EQ(voices[v].left, 0);
    std::vector<int16_t> buf = {5, 5, 5};
    EXPECT_EQ(wave_output(buf.data(), 3), 1);
    EXPECT_EQ(buf, (std::vector<int16_t>{5, 5, 5}));
    wave_set_voice_pan(static_cast<unsigned>(v), -0.5f);  // left 256, right 128
    buf = {32000, -1, 7};
    wave_output(buf.data(), 3);
    EXPECT_EQ(buf, (std::vector<int16_t>{32767, 1999, 3007}));
}

TEST_F(WavPlay, ANonLoopingOneShotVoiceFreesItselfWhenItEnds)
{
    LOADED l = load16({100, 200, 300});
    const int v = wave_just_play(l.wav.get());
    int mixed = 0;
    EXPECT_EQ(mix_stereo(5, &mixed), (std::vector<int16_t>{100, 100, 200, 200, 300, 300, 0, 0, 0, 0}));
    EXPECT_EQ(mixed, 1);
    EXPECT_FALSE(voices[v].playing);
    EXPECT_FALSE(voices[v].taken);
    EXPECT_FALSE(voices[v].oneshot);
    EXPECT_EQ(voices[v].pos, 0u);
    EXPECT_EQ(wave_count_playing(), 0);
    EXPECT_EQ(mix_stereo(1, &mixed), (std::vector<int16_t>{0, 0}));
    EXPECT_EQ(mixed, 0);
}

TEST_F(WavPlay, AVoiceThatIsNotOneShotStopsAtTheEndAndStaysTaken)
{
    LOADED l = load16({100, 200, 300});
    const int v = wave_take_voice();
    voices[v].wav = l.wav.get();
    wave_set_voice_vol(static_cast<unsigned>(v), 1.0f);
    wave_set_voice_pitch(static_cast<unsigned>(v), 1.0f);
    wave_start_voice(static_cast<unsigned>(v));
    EXPECT_EQ(mix_stereo(4), (std::vector<int16_t>{100, 100, 200, 200, 300, 300, 0, 0}));
    EXPECT_FALSE(voices[v].playing);
    EXPECT_TRUE(voices[v].taken);
    EXPECT_EQ(voices[v].pos, 3u);
    // Started again at its end, it ends at once without reading past the data
    wave_start_voice(static_cast<unsigned>(v));
    int mixed = 0;
    EXPECT_EQ(mix_stereo(2, &mixed), (std::vector<int16_t>{0, 0, 0, 0}));
    EXPECT_EQ(mixed, 1);
    EXPECT_FALSE(voices[v].playing);
    // Looping, it starts over from the beginning instead
    wave_set_voice_loop(static_cast<unsigned>(v), 1);
    wave_start_voice(static_cast<unsigned>(v));
    EXPECT_EQ(mix_stereo(2), (std::vector<int16_t>{100, 100, 200, 200}));
}

TEST_F(WavPlay, ALoopingVoiceNeverEnds)
{
    LOADED l = load16({100, 200, 300});
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 1);
    EXPECT_EQ(mix_stereo(7), (std::vector<int16_t>{100, 100, 200, 200, 300, 300, 100, 100, 200, 200, 300, 300,
                                                  100, 100}));
    for (int block = 0; block < 1000; block++)
        mix_stereo(17);
    EXPECT_TRUE(voices[v].playing);
    EXPECT_TRUE(voices[v].taken);
    EXPECT_EQ(voices[v].pos, (1 + 1000 * 17) % 3u);
}

TEST_F(WavPlay, AStereoSixteenBitSampleIsMixedAsOneSamplePerFrame)
{
    HEADER h;
    h.channels = 2;
    LOADED l = load(write("stereo.wav", wave_file(h, pcm16({10, 20, 30, 40}))));
    ASSERT_EQ(l.wav->frames, 2u);
    wave_just_play(l.wav.get());
    EXPECT_EQ(mix_stereo(3), (std::vector<int16_t>{10, 10, 20, 20, 0, 0}));
}

TEST_F(WavPlay, NoFramesAndNegativeFrameCountsMixNothing)
{
    LOADED l = load16({100, 200});
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    int16_t sample = 9;
    EXPECT_EQ(wave_output_stereo(&sample, 0), 1);
    EXPECT_EQ(wave_output(&sample, -5), 1);
    EXPECT_EQ(sample, 9);
    EXPECT_TRUE(voices[v].playing);
    EXPECT_EQ(voices[v].pos, 0u);
}

//----------------------------------------------------------------------------------
// The audio lock
//----------------------------------------------------------------------------------
TEST_F(WavPlay, EveryVoiceChangeTakesTheAudioLock)
{
    LOADED l = load16({1, 2});
    int before = fake_platform.audio_locks;
    const auto locks = [&] {
        const int n = fake_platform.audio_locks - before;
        before = fake_platform.audio_locks;
        return n;
    };
    const int v = wave_play(l.wav.get(), 1.0f, 1.0f, 0.0f, 0);
    EXPECT_GT(locks(), 0);
    const unsigned u = static_cast<unsigned>(v);
    wave_set_voice_vol(u, 1.0f);
    EXPECT_EQ(locks(), 1);
    wave_set_voice_pan(u, 0.0f);
    EXPECT_EQ(locks(), 1);
    wave_set_voice_pitch(u, 1.0f);
    EXPECT_EQ(locks(), 1);
    wave_set_voice_loop(u, 1);
    EXPECT_EQ(locks(), 1);
    wave_stop_voice(u);
    EXPECT_EQ(locks(), 1);
    wave_start_voice(u);
    EXPECT_EQ(locks(), 1);
    wave_drop_voice(u);
    EXPECT_EQ(locks(), 1);
    wave_take_voice();
    EXPECT_EQ(locks(), 1);
    wave_stop_wav(l.wav.get());
    EXPECT_EQ(locks(), 1);
    wave_drop_all();
    EXPECT_EQ(locks(), 1);
    wave_free(l.wav.release());
    EXPECT_EQ(locks(), 1);
    // The lock was given back every time: another thread can take it now
    bool free_now = false;
    std::thread other([&] {
        free_now = fake_audio_lock.try_lock();
        if (free_now)
            fake_audio_lock.unlock();
    });
    other.join();
    EXPECT_TRUE(free_now);
}

// The audio thread mixes under the lock, as the platform calls it, while the main thread plays,
// changes and frees samples; AddressSanitizer would see any read of a freed sample
TEST_F(WavPlay, SamplesCanBePlayedAndFreedWhileTheAudioThreadMixes)
{
    const std::string path = write("busy.wav", wave_file(HEADER{}, pcm16({1, 2, 3, 4, 5, 6, 7, 8})));
    std::atomic<bool> stop{false};
    std::atomic<int> blocks{0};
    std::thread audio([&] {
        std::vector<int16_t> buf(128);
        while (!stop) {
            wrapper_lock_audio();
            wave_output_stereo(buf.data(), 64);
            wrapper_unlock_audio();
            blocks++;
        }
    });
    for (int round = 0; round < 200; round++) {
        WAV *wav = nullptr;
        capture_stdout([&] { wav = wave_load(path.c_str()); });
        ASSERT_NE(wav, nullptr);
        const int v = wave_play(wav, 1.0f, 0.5f + static_cast<float>(round % 7), 0.0f, round % 2);
        wave_set_voice_pan(static_cast<unsigned>(v), 0.5f);
        wave_just_play(wav);
        wave_free(wav);
    }
    while (blocks < 10)
        std::this_thread::yield();
    stop = true;
    audio.join();
    EXPECT_EQ(wave_count_playing(), 0);
}

}  // namespace
