// End-to-end sound tests: the real `lumlife` in a private virtual X display with a temporary
// HOME, played with xdotool, its audio recorded through SDL's `disk` driver (see audio_capture)
// and compared sample by sample with what the synthesiser renders in this process for the same
// sounds. The toy's random sounds are predicted too: it seeds its generator with the clock's
// second at start-up, so the test tries every second between starting it and its stream's
// opening, and one of them must explain everything heard.
//
// NOTE: nothing here waits a fixed time for the toy. A click waits for its answer in the log, or
// for the log's answers to keys pressed after the press and after the release (see
// ToyTest::click); what it sounds like is then read once the recording has run on past those
// ticks by more than the audio path holds and ends in silence.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "audio_capture.h"
#include "lum.h"
#include "process.h"
#include "rnd.h"
#include "settings_record.h"
#include "sounds.h"
#include "synth.h"
#include "synth_effects.h"
#include "synth_run.h"
#include "toy.h"
#include "toy_layout.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double DRAIN_SECONDS = 0.05; // how long a wait for the recording goes without reading the log

// Listening: a recorded frame is silent within QUIET; sounds are apart when at least GAP silent
// frames lie between them; the audio path (the mixer's block, the resampler, the device's
// buffer) holds far less than SETTLE frames, so a sound started by a tick is in the recording
// once it has run SETTLE frames past the moment the test learnt of that tick
constexpr int QUIET = 4;
constexpr size_t GAP = AUDIO_DEVICE_RATE / 50;      // 20 ms
constexpr size_t SETTLE = AUDIO_DEVICE_RATE / 2;    // 0.5 s
constexpr size_t LEAD = 48;                         // a sound's first sample lies this close to where its run starts

// A recorded sample may differ from the rendered one by the resampler's rounding, once the
// resampler's filter is fitted (see audio_fit). A sound's first ONSET samples are not compared:
// they carry what its slot's low-pass kept from the slot's last sound, and that depends on when
// the toy's effects ran in between (a run may stop idle stages), which the test cannot know.
// Title pips are first placed in a recording by a model made of pips rendered one by one and
// added at a nominal gain, which is further off by each sound's rounding.
constexpr double TOLERANCE = 2.0;
constexpr size_t ONSET = 8;
constexpr double NOMINAL_GAIN = 0.999;
constexpr double PLACE_TOLERANCE = 48.0;
constexpr size_t PLACE_WINDOW = 64;     // samples over which a placed pip must fit
constexpr int MAX_TOGETHER = 3;         // title pips that one audio block may start together
constexpr size_t TITLE_SPREAD = 2 * SYNTH_RUN_RATE;  // samples over which the title's pips start

// The title's pips: on every odd count of a countdown from 30, at m x (base + 2 x rise x base)
// x 3 Hz for a random m of 1..2, rise going 0 -> 1 over the countdown, with a short decay to a
// quarter and a long release
constexpr int TITLE_TICKS = 30;
constexpr int TITLE_PIPS = 15;
constexpr float TITLE_BASE = 21.827f;
constexpr float TITLE_FACTOR = 3.0f;
constexpr float TITLE_DUTY = 0.9f;
constexpr float TITLE_DECAY = 25.0f;
constexpr float TITLE_SUSTAIN = 0.25f;
constexpr float TITLE_RELEASE = 125.0f;
constexpr int TITLE_LENGTH = 75;

// A default click: a low blip on the press, a high one on the release; a toggle that becomes set
// pips on its release instead
constexpr float CLICK_DOWN = 0.25f;
constexpr float CLICK_UP = 0.5f;
constexpr float TOGGLE_PIP = 1.0f;
constexpr int CLICK_MS = 10;

// A painted cell: a ring-modulated blip at a random pitch, its decay and ring frequency stretched
// by a second random factor, the ring three times as fast for painting as for erasing
constexpr int PAINT_MS = 20;
constexpr float PAINT_MIN = 0.5f;
constexpr float PAINT_MAX = 2.0f;
constexpr int PAINT_RING = 60;
constexpr int PAINT_LIVE_RING = 3;

//----------------------------------------------------------------------------------
// Helpers: the settings file
//----------------------------------------------------------------------------------
// The toy's defaults (B3/S23, 60 generations a second) with the counter hidden, an empty grid and
// `steps` taken
static SETTINGS_RECORD empty_record(int64_t steps)
{
    return record_prepared({{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, steps}});
}

//----------------------------------------------------------------------------------
// Helpers: the sounds, rendered here
//----------------------------------------------------------------------------------
// What a sound sounds like alone: the synthesiser as the toy sets it up, the sound made, and
// every sample until it has ended
static std::vector<int16_t> render(const std::function<void()> &make)
{
    synth_run_start(8, 8);
    make();
    return synth_run_until_silent();
}

static std::vector<int16_t> render_pip(float pitch)
{
    return render([pitch] { sound_pip(pitch, CLICK_MS); });
}

// A title pip at `freq` Hz
static void title_pip(float freq)
{
    SYNTH_EFFECT_STATE *e = sound_pip(1.0f, TITLE_LENGTH);
    e->freq = freq;
    e->duty = TITLE_DUTY;
    e->d = TITLE_DECAY;
    e->s = TITLE_SUSTAIN;
    e->r = TITLE_RELEASE;
}

// The title's pip frequencies when the generator starts from `seed`: the title draws first
static std::vector<float> title_freqs(uint32_t seed)
{
    uint32_t kept = mrand_seed;
    mrand_seed = seed;
    std::vector<float> freqs;
    for (int counter = TITLE_TICKS - 1; counter > 0; counter -= 2) {
        float rise = 1.0f - static_cast<float>(counter) / static_cast<float>(TITLE_TICKS);
        float m = static_cast<float>(frnd(1.0f, 2.0f));
        freqs.push_back(m * (TITLE_BASE + 2.0f * rise * TITLE_BASE) * TITLE_FACTOR);
    }
    mrand_seed = kept;
    return freqs;
}

// The title's pips started at samples `at` (in order), all through one synthesiser as the toy
// plays them: the effects run when a pip is due, and the stream is rendered on from there
static std::vector<int16_t> render_title(const std::vector<float> &freqs, const std::vector<size_t> &at, size_t length)
{
    synth_run_start(8, 8);
    std::vector<int16_t> out;
    size_t k = 0;
    while (out.size() < length) {
        bool started = false;
        for (; k < at.size() && at[k] <= out.size(); k++) {
            title_pip(freqs[k]);
            started = true;
        }
        if (started)
            synth_run_effects();
        size_t next = k < at.size() ? at[k] : length;
        auto part = static_cast<unsigned>(std::min<size_t>(next - out.size(), SYN_BUFFER_SAMPLES));
        syn_update(&synraw, synthbuf.data(), part);
        for (unsigned i = 0; i < part; i++)
            out.push_back(static_cast<int16_t>(synthbuf[i]));
    }
    return out;
}

// The painted cells' blips when the generator starts from `seed`: the title's pips draw first,
// then each cell draws its pitch and its stretch
static std::vector<std::vector<int16_t>> paint_blips(uint32_t seed, int cells)
{
    uint32_t kept = mrand_seed;
    mrand_seed = seed;
    for (int i = 0; i < TITLE_PIPS; i++)
        frnd(1.0f, 2.0f);
    std::vector<std::array<float, 2>> draws;
    for (int c = 0; c < cells; c++) {
        float pitch = static_cast<float>(frnd(PAINT_MIN, PAINT_MAX));
        float stretch = static_cast<float>(frnd(PAINT_MIN, PAINT_MAX));
        draws.push_back({pitch, stretch});
    }
    mrand_seed = kept;
    std::vector<std::vector<int16_t>> blips;
    for (const auto &d : draws) {
        blips.push_back(render([&d] {
            SYNTH_EFFECT_STATE *e = sound_ringmod(d[0], PAINT_MS);
            e->d = PAINT_MS * d[1];
            e->i = static_cast<int32_t>(PAINT_RING * d[1]) * PAINT_LIVE_RING;
        }));
    }
    return blips;
}

//----------------------------------------------------------------------------------
// Helpers: the title's pips found in a recording
//----------------------------------------------------------------------------------
// How far a recorded sample is from what a model's sum of sounds predicts: the synthesiser
// clips its sum at +-32767
static double off_by(int16_t recorded, int sum)
{
    return std::fabs(recorded - NOMINAL_GAIN * std::clamp(sum, -32767, 32767));
}

// Place the pips (rendered alone) one after another in the stream `y`: each where the stream
// first departs from the pips placed so far, at the start within a few samples (and with as many
// pips starting together) that fits best. Fails with a reason unless every pip finds its place
// and together they explain every sample.
static bool place_pips(const std::vector<int16_t> &y, const std::vector<std::vector<int16_t>> &pips,
                       std::vector<size_t> &at, std::string &why)
{
    std::vector<int> model(y.size(), 0);
    at.clear();
    size_t from = 0;
    while (at.size() < pips.size()) {
        size_t k = at.size();
        size_t n = from;
        while (n < y.size() && off_by(y[n], model[n]) <= PLACE_TOLERANCE)
            n++;
        if (n == y.size()) {
            why = "the stream holds only " + std::to_string(k) + " pips";
            return false;
        }
        double best = 1e300;
        size_t best_start = n;
        int best_count = 0;
        for (size_t s = n >= 3 ? n - 3 : 0; s <= n; s++) {
            for (int c = 1; c <= MAX_TOGETHER && k + c <= pips.size(); c++) {
                double worst = 0.0;
                for (size_t i = s + ONSET; i < std::min(s + PLACE_WINDOW, y.size()); i++) {
                    int sum = model[i];
                    for (int j = 0; j < c; j++)
                        sum += i - s < pips[k + j].size() ? pips[k + j][i - s] : 0;
                    worst = std::max(worst, off_by(y[i], sum));
                }
                if (worst < best) {
                    best = worst;
                    best_start = s;
                    best_count = c;
                }
            }
        }
        if (best > PLACE_TOLERANCE) {
            why = "no pip fits at sample " + std::to_string(n) + " after " + std::to_string(k) + " pips (off by " +
                  std::to_string(best) + ")";
            return false;
        }
        for (int j = 0; j < best_count; j++) {
            const std::vector<int16_t> &p = pips[k + j];
            for (size_t i = 0; i < p.size() && best_start + i < y.size(); i++)
                model[best_start + i] += p[i];
            at.push_back(best_start);
        }
        from = best_start + ONSET;
    }
    for (size_t n = 0; n < y.size(); n++) {
        bool onset = std::any_of(at.begin(), at.end(), [n](size_t a) { return n >= a && n < a + ONSET; });
        if (!onset && off_by(y[n], model[n]) > PLACE_TOLERANCE) {
            why = "something beyond the pips sounds at sample " + std::to_string(n);
            return false;
        }
    }
    return true;
}

// A fit in words
static std::string describe(const AUDIO_FIT &fit)
{
    char text[160];
    std::snprintf(text, sizeof text, "off by %.2f at sample %zu (frame %zu on), gain %.5f, shares", fit.worst,
                  fit.worst_at, fit.at, fit.gain);
    std::string out = text;
    for (double share : fit.shares) {
        std::snprintf(text, sizeof text, " %.5f", share);
        out += text;
    }
    return out;
}

//----------------------------------------------------------------------------------
// Fixture: the toy on a private display, with a HOME of the test's own and its sound recorded
//----------------------------------------------------------------------------------
class LumlifeSound : public ToyTest {
protected:
    std::string recording;         // the disk driver's file
    std::time_t started_at = 0;    // the clock's second just before the toy started ...
    std::time_t streaming_at = 0;  // ... and once its stream was open: it seeded in between
    AUDIO_RECORDING rec;           // the recording as last read
    std::vector<AUDIO_FIT> fits;   // where `played` last laid the sounds

    LumlifeSound() : ToyTest(LUMLIFE_PATH) {}

    void SetUp() override
    {
        ToyTest::SetUp();
        recording = home + "/stream.raw";
    }

    // Start the toy with the audio driver `driver` (the disk driver records into `recording`) and
    // wait until its game screen is laid out and its window mapped
    ::testing::AssertionResult start_with_audio(const std::string &driver = "disk")
    {
        std::vector<std::string> environment = {"SDL_AUDIODRIVER=" + driver};
        if (driver == "disk")
            environment.push_back("SDL_DISKAUDIOFILE=" + recording);
        started_at = std::time(nullptr);
        if (auto r = launch(environment); !r)
            return r;
        if (driver == "disk") {
            if (auto r = logged(literal("START audio STREAM")); !r)
                return r;
        }
        streaming_at = std::time(nullptr);
        return laid_out();
    }

    // Read the recording once it has run SETTLE frames past now and ends in GAP silent frames (a
    // sound still playing is waited out)
    ::testing::AssertionResult listen()
    {
        return listen_until(audio_frames(recording) + SETTLE, [this] {
            size_t end = rec.left.size();
            return end > GAP && std::all_of(rec.left.end() - static_cast<std::ptrdiff_t>(GAP), rec.left.end(),
                                            [](int16_t v) { return std::abs(v) <= QUIET; });
        });
    }

    // Read the recording as it grows until it holds at least `count` sounds from frame `from` on,
    // each followed by GAP silent frames
    ::testing::AssertionResult heard(size_t from, size_t count)
    {
        return listen_until(audio_frames(recording) + GAP, [this, from, count] {
            return audio_sounds(rec.left, from, rec.left.size(), QUIET, GAP).size() >= count;
        });
    }

    // Read the recording whenever it has grown to `until` frames and again GAP frames later, until
    // `enough` says so. The toy's log is read meanwhile, so that it never waits on a full pipe.
    ::testing::AssertionResult listen_until(size_t until, const std::function<bool()> &enough)
    {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(TOY_LOG_SECONDS);
        for (;;) {
            while (!audio_wait_frames(recording, until, DRAIN_SECONDS)) {
                if (!process_drain(toy) || std::chrono::steady_clock::now() >= deadline)
                    return ::testing::AssertionFailure() << "the recording stopped at " << audio_frames(recording)
                                                         << " frames, short of " << until << "\n"
                                                         << process_transcript(toy);
            }
            process_drain(toy);
            rec = audio_read(recording);
            if (enough())
                return ::testing::AssertionSuccess();
            until = rec.left.size() + GAP;
        }
    }

    // The recording from frame `from` on is exactly the rendered sounds one after another, with
    // silence between and after them (see audio_played); where they lie is left in `fits`
    ::testing::AssertionResult played(size_t from, const std::vector<std::vector<int16_t>> &sounds)
    {
        std::string why;
        if (audio_played(rec.left, from, rec.left.size(), sounds, QUIET, LEAD, ONSET, TOLERANCE, fits, why))
            return ::testing::AssertionSuccess();
        ::testing::AssertionResult r = ::testing::AssertionFailure() << why;
        for (size_t i = 0; i < fits.size(); i++)
            r << "\n  sound " << i << ": " << describe(fits[i]);
        return r;
    }
};

//----------------------------------------------------------------------------------
// The title
//----------------------------------------------------------------------------------
// The countdown pips fifteen times, each pip at the frequency its count and a random spread give,
// rising over the countdown: the recording is exactly those fifteen pips, sample by sample, and
// nothing else
TEST_F(LumlifeSound, TheTitleScreenPlaysFifteenRisingPips)
{
    ASSERT_NO_FATAL_FAILURE(prepare(empty_record(0)));
    ASSERT_TRUE(start_with_audio());
    ASSERT_TRUE(listen());
    size_t end = rec.left.size();

    // Every second the toy may have seeded its generator with, and both phases of the stream in
    // the recording: exactly one explains what was heard
    int explained = 0;
    std::string tried;
    std::vector<size_t> onsets;
    size_t phase = 0;
    AUDIO_FIT fit;
    for (std::time_t seed = started_at; seed <= streaming_at; seed++) {
        std::vector<float> freqs = title_freqs(static_cast<uint32_t>(seed));
        std::vector<std::vector<int16_t>> pips;
        for (float f : freqs)
            pips.push_back(render([f] { title_pip(f); }));
        for (size_t p = 0; p < AUDIO_STEP; p++) {
            std::vector<int16_t> y = audio_samples(rec.left, p, end);
            std::vector<size_t> at;
            std::string why;
            if (!place_pips(y, pips, at, why)) {
                tried += "\n  seed " + std::to_string(seed) + ", phase " + std::to_string(p) + ": " + why;
                continue;
            }
            explained++;
            onsets = at;
            phase = p;
            fit = audio_fit(rec.left, p, render_title(freqs, at, y.size()), at, ONSET);
        }
    }
    ASSERT_EQ(explained, 1) << "seeds " << started_at << ".." << streaming_at << tried;
    ASSERT_EQ(onsets.size(), static_cast<size_t>(TITLE_PIPS));
    EXPECT_TRUE(audio_fits(fit, TOLERANCE)) << "the title through one synthesiser: " << describe(fit);
    // The countdown takes half a second, longer on a loaded machine, and a few pips may start in
    // one audio block when the logic catches up on ticks
    std::vector<size_t> starts = onsets;
    size_t distinct = static_cast<size_t>(std::unique(starts.begin(), starts.end()) - starts.begin());
    EXPECT_LT(onsets.back() - onsets.front(), TITLE_SPREAD)
        << "the pips start at samples " << ::testing::PrintToString(onsets) << " (" << distinct
        << " distinct) of phase " << phase;
}

//----------------------------------------------------------------------------------
// Clicks
//----------------------------------------------------------------------------------
// STEP is a toggle: its press gives the low blip of every button, its release sets it and pips
// higher; each sound is exactly the rendered one, on both channels
TEST_F(LumlifeSound, AStepClickIsAnsweredByALowBlipOnPressAndAHigherPipOnRelease)
{
    ASSERT_NO_FATAL_FAILURE(prepare(empty_record(100)));
    ASSERT_TRUE(start_with_audio());
    ASSERT_TRUE(listen()) << "the title over";
    size_t from = rec.left.size();
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(listen());
    std::vector<int16_t> low = render_pip(CLICK_DOWN), high = render_pip(TOGGLE_PIP);
    EXPECT_TRUE(played(from, {low, high})) << "sound_pip(0.25, 10) on the press, sound_pip(1, 10) on the release";
    EXPECT_TRUE(rec.right == rec.left) << "both channels";

    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD after = saved();
    ASSERT_EQ(after.bytes.size(), RECORD_SIZE);
    EXPECT_EQ(record_get32(after, RECORD_STEPS), 101u) << "one generation";
}

// A rule digit turned on pips on its release; turned off, only the press's blip is heard
TEST_F(LumlifeSound, ARuleDigitTurnedOnPipsAndTurnedOffDoesNot)
{
    ASSERT_NO_FATAL_FAILURE(prepare(empty_record(0)));
    ASSERT_TRUE(start_with_audio());
    ASSERT_TRUE(listen()) << "the title over";
    std::vector<int16_t> low = render_pip(CLICK_DOWN), pip = render_pip(TOGGLE_PIP);

    size_t from = rec.left.size();
    ASSERT_TRUE(click(layout_rule_digit(view, true, 6), literal("CONFIG SET: b36s23w")));
    ASSERT_TRUE(listen());
    EXPECT_TRUE(played(from, {low, pip})) << "turned on: the press's blip and the pip";

    from = rec.left.size();
    ASSERT_TRUE(click(layout_rule_digit(view, true, 6), literal("CONFIG SET: b3s23w")));
    ASSERT_TRUE(listen());
    EXPECT_TRUE(played(from, {low})) << "turned off: the press's blip only";
    ASSERT_TRUE(quit_with_escape());
}

//----------------------------------------------------------------------------------
// Painting
//----------------------------------------------------------------------------------
// A stroke rings once for every cell it paints, each ring the toy's random one, and its release
// gives the high blip of a default click
TEST_F(LumlifeSound, APaintStrokeRingsOnceForEveryCellItPaints)
{
    constexpr size_t CELLS = 4;
    ASSERT_NO_FATAL_FAILURE(prepare(empty_record(0)));
    ASSERT_TRUE(start_with_audio());
    ASSERT_TRUE(listen()) << "the title over";
    size_t from = rec.left.size();
    // Each cell is touched once the last one's ring has been heard, so that the rings lie apart
    for (size_t c = 0; c < CELLS; c++) {
        int px, py;
        layout_cell_centre(view, 10 + static_cast<int>(c), 5, px, py);
        ASSERT_TRUE(point_at(px, py, c == 0 ? std::vector<std::string>{"mousedown", "1"} : std::vector<std::string>{}));
        ASSERT_TRUE(heard(from, c + 1)) << "cell " << c;
    }
    ASSERT_TRUE(xdo({"mouseup", "1"}));
    ASSERT_TRUE(heard(from, CELLS + 1)) << "the release";
    ASSERT_TRUE(listen());

    int explained = 0;
    std::string tried;
    for (std::time_t seed = started_at; seed <= streaming_at; seed++) {
        std::vector<std::vector<int16_t>> expected = paint_blips(static_cast<uint32_t>(seed), static_cast<int>(CELLS));
        expected.push_back(render_pip(CLICK_UP));
        ::testing::AssertionResult r = played(from, expected);
        explained += static_cast<bool>(r);
        tried += "\n  seed " + std::to_string(seed) + ": " + r.message();
    }
    EXPECT_EQ(explained, 1) << "a ring for each cell and sound_pip(0.5, 10) on the release; seeds " << started_at
                            << ".." << streaming_at << tried;
    ASSERT_TRUE(quit_with_escape());
}

//----------------------------------------------------------------------------------
// The stream
//----------------------------------------------------------------------------------
// The synthesiser's mono render goes to both channels alike, clipped symmetrically: no sample of
// the toy's stream is -32768 and none wraps around between one sample and the next
TEST_F(LumlifeSound, BothChannelsAreEqualAndTheStreamNeverWrapsAround)
{
    ASSERT_NO_FATAL_FAILURE(prepare(empty_record(0)));
    ASSERT_TRUE(start_with_audio());
    ASSERT_TRUE(listen()) << "the title over";
    size_t from = rec.left.size();
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(listen());
    ASSERT_TRUE(played(from, {render_pip(CLICK_DOWN), render_pip(TOGGLE_PIP)}))
        << "the click's sounds, which show the stream's phase in the recording";

    ASSERT_EQ(rec.right.size(), rec.left.size());
    auto unequal = std::mismatch(rec.left.begin(), rec.left.end(), rec.right.begin());
    EXPECT_TRUE(unequal.first == rec.left.end()) << "the channels differ at frame " << unequal.first - rec.left.begin();
    std::vector<int16_t> y = audio_samples(rec.left, fits[0].at % AUDIO_STEP, rec.left.size());
    int loudest = 0;
    size_t lowest = 0, jumps = 0;
    for (size_t n = 0; n < y.size(); n++) {
        lowest += y[n] == -32768;
        loudest = std::max(loudest, std::abs(static_cast<int>(y[n])));
        jumps += n > 0 && std::abs(y[n] - y[n - 1]) > 32767;
    }
    EXPECT_EQ(lowest, 0u) << "samples at -32768";
    EXPECT_EQ(jumps, 0u) << "jumps of more than half the range between one sample and the next";
    EXPECT_GT(loudest, 16384) << "the title is loud";
    ASSERT_TRUE(quit_with_escape());
}

//----------------------------------------------------------------------------------
// Without sound
//----------------------------------------------------------------------------------
// With no audio device at all the toy says so once and plays on silently: the title goes to the
// game screen, STEP takes a generation and the settings are saved
TEST_F(LumlifeSound, WithoutAnAudioDeviceTheToySaysSoOnceAndPlaysSilently)
{
    ASSERT_NO_FATAL_FAILURE(prepare(empty_record(100)));
    ASSERT_TRUE(start_with_audio("lum-no-such-driver"));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(quit_with_escape());
    int said = 0, streams = 0;
    for (const std::string &line : toy.lines) {
        said += line.find("No audio device") != std::string::npos;
        streams += line.find("START audio STREAM") != std::string::npos;
    }
    EXPECT_EQ(said, 1) << process_transcript(toy);
    EXPECT_EQ(streams, 0);
    SETTINGS_RECORD after = saved();
    ASSERT_EQ(after.bytes.size(), RECORD_SIZE);
    EXPECT_EQ(record_get32(after, RECORD_STEPS), 101u) << "one generation";
}
