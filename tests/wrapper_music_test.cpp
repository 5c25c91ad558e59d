// Tests of the platform's audio output over SDL_mixer, for real but with no sound device: SDL's
// disk driver takes the stream and writes it to a file, which the music tests read back. The
// post-mix callback is also called directly on blocks the test prepares.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "SDL.h"
#include "SDL_mixer.h"
#include "capture.h"
#include "lum.h"
#include "music.h"
#include "process.h"
#include "synth.h"
#include "synth_effects.h"
#include "wav-play.h"
#include "wrapper.h"
#include "wrapper_music.h"

namespace {

constexpr const char *TUNE = "assets/tune.wav";  // the project's own tune, made by `make sounds`

// A file's bytes
std::string file_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The largest magnitude of the 16-bit samples from byte `from` of a recording on
int loudest_from(const std::string &path, size_t from)
{
    std::string b = file_bytes(path);
    int peak = 0;
    for (size_t k = from & ~size_t{1}; k + 1 < b.size(); k += 2) {
        int s = static_cast<int16_t>(static_cast<uint8_t>(b[k]) | static_cast<uint8_t>(b[k + 1]) << 8);
        peak = std::max(peak, std::abs(s));
    }
    return peak;
}

// Wait until the recording has grown by `bytes`; false after `seconds`
bool wait_growth(const std::string &path, size_t from, size_t bytes, double seconds)
{
    auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        if (file_bytes(path).size() >= from + bytes)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

// SDL's audio with the disk driver writing to a private file; the framework's switches cleared
class Stream : public ::testing::Test {
protected:
    std::string dir, recording;

    void SetUp() override
    {
        dir = process_temp_dir("lumtest-audio");
        ASSERT_FALSE(dir.empty());
        recording = dir + "/stream.raw";
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", recording.c_str(), 1);
        ASSERT_EQ(SDL_Init(SDL_INIT_AUDIO), 0) << SDL_GetError();
        lum_settings.enable_synth = 0;
        lum_settings.enable_wav = 0;
        lum_settings.synth_effects_state = 0;
        lum_settings.callback_glitch = nullptr;
    }

    void TearDown() override
    {
        capture_stdout([] { wrapper_sound_exit(); });
        SDL_Quit();
        process_remove_dir(dir);
    }

    // Open the stream, returning the log lines it wrote
    std::vector<std::string> open(unsigned rate, unsigned buffer, int *result)
    {
        return log_messages(capture_stdout([&] { *result = wrapper_sound_init(rate, buffer); }));
    }
};

//----------------------------------------------------------------------------------
// Opening
//----------------------------------------------------------------------------------
TEST_F(Stream, WithoutArgumentsItOpens22050HertzWith512FramesAndASecondCallReturnsTwo)
{
    int result = 0;
    EXPECT_EQ(open(0, 0, &result),
              (std::vector<std::string>{"stream setting 22050hz, 512 byte update", "syn_init sample rate 22050",
                                        "START audio STREAM"}));
    EXPECT_EQ(result, 1);
    int rate = 0, channels = 0;
    Uint16 format = 0;
    ASSERT_EQ(Mix_QuerySpec(&rate, &format, &channels), 1);
    EXPECT_EQ(rate, 22050);
    EXPECT_EQ(format, AUDIO_S16LSB);
    EXPECT_EQ(channels, 2);
    EXPECT_EQ(synraw.sample_rate, 22050u);
    EXPECT_TRUE(open(0, 0, &result).empty()) << "the device is not touched again";
    EXPECT_EQ(result, 2);
}

TEST_F(Stream, TheBufferFollowsTheRateUnlessGiven)
{
    int result = 0;
    EXPECT_EQ(open(44100, 0, &result)[0], "stream setting 44100hz, 1024 byte update");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(synraw.sample_rate, 44100u);
    EXPECT_EQ(open(0, 2048, &result)[0], "stream setting 22050hz, 2048 byte update") << "arguments reopen it";
    EXPECT_EQ(result, 1);
    int rate = 0;
    Mix_QuerySpec(&rate, nullptr, nullptr);
    EXPECT_EQ(rate, 22050);
}

TEST_F(Stream, TheRuntimeKeepsTheResultAndSoundCanBeSwitchedOn)
{
    capture_stdout([] {
        EXPECT_EQ(lum_init_audio_stream(22050, 0), 1);
        EXPECT_EQ(lum_settings.stream_init_result, 1);
        EXPECT_EQ(lum_enable_synth(1), 1);
    });
    EXPECT_EQ(lum_settings.enable_synth, 1);
}

TEST_F(Stream, ClosingTheStreamClosesTheDevice)
{
    int result = 0;
    open(0, 0, &result);
    wrapper_sound_exit();
    EXPECT_EQ(Mix_QuerySpec(nullptr, nullptr, nullptr), 0);
    wrapper_sound_exit();  // closing twice does nothing more
    EXPECT_EQ(open(0, 0, &result)[0], "stream setting 22050hz, 512 byte update") << "it opens again";
}

TEST(StreamWithoutDevice, NoAudioDeviceGivesOneLineAndMinusOneSoSoundStaysOff)
{
    setenv("SDL_AUDIODRIVER", "no-such-driver", 1);
    SDL_Init(0);
    int result = 0;
    std::vector<std::string> lines = log_messages(capture_stdout([&] {
        SDL_InitSubSystem(SDL_INIT_AUDIO);
        result = lum_init_audio_stream(0, 0);
        EXPECT_EQ(lum_enable_synth(1), -1);
        EXPECT_EQ(lum_enable_wave(1), -1);
    }));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(lum_settings.stream_init_result, -1);
    EXPECT_EQ(lum_settings.enable_synth, 0);
    EXPECT_EQ(lines, std::vector<std::string>{"stream setting 22050hz, 512 byte update"})
        << "the platform's own start-up said there is no device";
    SYNTH_EFFECT_STATE *e = synth_effect(growl_effect);
    ASSERT_NE(e, nullptr);
    e->freq = 100.0f;  // harmless
    SDL_Quit();
}

//----------------------------------------------------------------------------------
// The post-mix callback
//----------------------------------------------------------------------------------
// A synthesiser whose one stage is a mixed constant giving `sample` in every sample
void constant_synth(int sample)
{
    capture_stdout([] { syn_init(&synraw, 22050, 1.0f, 1); });
    syn_math_val(&synraw, 0, (static_cast<float>(sample) + 0.5f) / 32767.0f);
    syn_mix(&synraw, 0, 1);
}

TEST_F(Stream, TheSynthesiserIsAddedToBothChannelsWithSaturation)
{
    lum_settings.enable_synth = 1;
    constant_synth(10000);
    int16_t block[8] = {30000, -30000, 0, 100, 22767, 22768, -32768, 32767};
    mixaudio(-2, block, sizeof block, nullptr);
    EXPECT_EQ(block[0], 32767);
    EXPECT_EQ(block[1], -20000);
    EXPECT_EQ(block[2], 10000);
    EXPECT_EQ(block[3], 10100);
    EXPECT_EQ(block[4], 32767);
    EXPECT_EQ(block[5], 32767);
    EXPECT_EQ(block[6], -22768);
    EXPECT_EQ(block[7], 32767);
    constant_synth(-10000);
    int16_t low[2] = {-30000, -22768};
    mixaudio(-2, low, sizeof low, nullptr);
    EXPECT_EQ(low[0], -32768);
    EXPECT_EQ(low[1], -32768);
}

// An effect that counts its runs
int counting(SYNTH_EFFECT_STATE *e)
{
    e->counter++;
    return SYNTH_EFFECT_CONT;
}

TEST_F(Stream, WithTheSynthesiserOffNothingIsAdvancedOrRenderedAndEffectsDoNotRun)
{
    lum_settings.enable_synth = 1;
    capture_stdout([] { synth_effects_init(4, 8); });
    SYNTH_EFFECT_STATE *e = synth_effect(counting);
    constant_synth(5000);
    lum_settings.enable_synth = 0;
    lum_ticks++;
    synth_effects_hand_over();
    lum_settings.synth_effects_state = 3;
    int16_t block[4] = {1, 2, 3, 4};
    mixaudio(-2, block, sizeof block, nullptr);
    EXPECT_EQ(block[0], 1);
    EXPECT_EQ(block[3], 4);
    EXPECT_EQ(e->counter, 0u);
    EXPECT_EQ(lum_settings.synth_effects_state, 3) << "the hand-over waits";
    lum_settings.enable_synth = 1;
    mixaudio(-2, block, sizeof block, nullptr);
    EXPECT_EQ(e->counter, 1u);
    EXPECT_EQ(lum_settings.synth_effects_state, 0);
    EXPECT_EQ(block[0], 5001);
    mixaudio(-2, block, sizeof block, nullptr);
    EXPECT_EQ(e->counter, 1u) << "no tick handed over since";
    EXPECT_EQ(block[0], 10001) << "rendered all the same";
}

TEST_F(Stream, TheGlitchHookSeesTheBlockFirstAndTheVoicesAreMixedBeforeTheSynthesiser)
{
    int result = 0;
    open(22050, 0, &result);
    static std::vector<int> seen;
    seen.clear();
    lum_set_glitch_callback([](int16_t *samples, int frames, int rate) {
        seen = {samples[0], frames, rate};
        samples[0] = 7;
    });
    std::string wav = dir + "/one.wav";
    {
        // 4 frames of 16-bit mono at 22050 Hz, each 1000
        std::ofstream out(wav, std::ios::binary);
        auto u32 = [&](uint32_t v) { out.write(reinterpret_cast<const char *>(&v), 4); };
        auto u16 = [&](uint16_t v) { out.write(reinterpret_cast<const char *>(&v), 2); };
        out << "RIFF";
        u32(36 + 8);
        out << "WAVEfmt ";
        u32(16), u16(1), u16(1), u32(22050), u32(44100), u16(2), u16(16);
        out << "data";
        u32(8);
        for (int k = 0; k < 4; k++)
            u16(1000);
    }
    WAV *sample = nullptr;
    capture_stdout([&] { sample = wave_load(wav.c_str()); });
    ASSERT_NE(sample, nullptr);
    wrapper_lock_audio();  // the device's own callback stays out while the test mixes its block
    wave_just_play(sample);
    lum_settings.enable_wav = 1;
    lum_settings.enable_synth = 1;
    constant_synth(100);
    int16_t block[4] = {5, 5, 5, 5};
    mixaudio(-2, block, sizeof block, nullptr);
    lum_settings.enable_wav = 0;
    lum_settings.enable_synth = 0;
    wrapper_unlock_audio();
    EXPECT_EQ(seen, (std::vector<int>{5, 2, 22050}));
    EXPECT_EQ(block[0], 7 + 1000 + 100);
    EXPECT_EQ(block[1], 5 + 1000 + 100);
    lum_set_glitch_callback(nullptr);
    wave_free(sample);
}

//----------------------------------------------------------------------------------
// Music
//----------------------------------------------------------------------------------
TEST_F(Stream, TheProjectsTuneIsHeardAndLoadingNothingLogsOffAndSilencesIt)
{
    int result = 0;
    open(22050, 0, &result);
    ASSERT_TRUE(wait_growth(recording, 0, 4096, 5.0)) << "the disk driver writes the stream";
    size_t before = file_bytes(recording).size();
    EXPECT_EQ(loudest_from(recording, 0), 0) << "silence before the music";
    std::vector<std::string> lines = log_messages(capture_stdout([] { EXPECT_EQ(music_load(TUNE), 1); }));
    EXPECT_EQ(lines, std::vector<std::string>{std::string("Load music '") + TUNE + "'"});
    ASSERT_TRUE(wait_growth(recording, before, 44100 * 4 / 2, 10.0));
    EXPECT_GT(loudest_from(recording, before), 3000) << "the tune is heard";
    lines = log_messages(capture_stdout([] { EXPECT_EQ(music_load(nullptr), 0); }));
    EXPECT_EQ(lines, std::vector<std::string>{"Load music 'OFF'"});
    EXPECT_EQ(Mix_PlayingMusic(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // blocks mixed before the stop
    size_t stopped = file_bytes(recording).size();
    ASSERT_TRUE(wait_growth(recording, stopped, 8192, 5.0));
    EXPECT_EQ(loudest_from(recording, stopped), 0) << "silence after";
}

TEST_F(Stream, MusicVolumeIsOneHundredTwentyEighthsAndPauseHoldsIt)
{
    int result = 0;
    open(22050, 0, &result);
    music_volume(0.5f);
    EXPECT_EQ(Mix_VolumeMusic(-1), 64);
    music_volume(1.0f);
    EXPECT_EQ(Mix_VolumeMusic(-1), 128);
    capture_stdout([] { music_load_ex(TUNE, -5); });
    EXPECT_EQ(Mix_PlayingMusic(), 1);
    music_pause(1);
    EXPECT_EQ(Mix_PausedMusic(), 1);
    music_pause(0);
    EXPECT_EQ(Mix_PausedMusic(), 0);
    EXPECT_EQ(wrapper_set_music_position(0.5f), 1);
    EXPECT_EQ(wrapper_is_other_music_playing(), 0);
}

TEST_F(Stream, AFileThatIsNotMusicIsReportedAndPlaysNothing)
{
    int result = 0;
    open(22050, 0, &result);
    std::string junk = dir + "/junk.ogg";
    std::ofstream(junk) << "not music at all";
    std::vector<std::string> lines;
    lines = log_messages(capture_stdout([&] { EXPECT_EQ(wrapper_play_music(junk.c_str()), 1); }));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].rfind("Mix_LoadMUS: ", 0), 0u) << lines[0];
    EXPECT_EQ(Mix_PlayingMusic(), 0);
    lines = log_messages(capture_stdout([] { EXPECT_EQ(wrapper_play_music("/no/such/tune.wav"), 1); }));
    EXPECT_EQ(lines.size(), 1u);
}

}  // namespace
