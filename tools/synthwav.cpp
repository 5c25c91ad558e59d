// synthwav: renders the toy's sounds through its own synthesiser to WAV files.
// Each sound is a short script of effect calls, tick by tick: the toy's own calls (the boot
// growls, the title pips, button clicks, a toggle's pip, paint strokes) or the framework's other
// sounds with chosen parameters. The tool plays the part of the main loop and the audio callback:
// per logic tick it advances the tick count, lets the script create its effects, runs the effect
// slots once and renders the tick's share of samples. The result is 16-bit mono PCM at 22050 Hz.
// With --all it also draws a picture: one row per sound with its name, length and peak level, its
// waveform and its spectrogram (its own 512-point FFT, log frequency, log magnitude).
// Every run writes the same bytes: no clock reaches the samples (see sweep_free_slots), the title
// pips draw from a fixed seed, and every sound starts from the same freshly set-up engine.
// Usage: synthwav --list
//        synthwav NAME OUT.wav
//        synthwav --all DIR PICTURE.png FONT.txt   (DIR/NAME.wav for every sound; FONT is the
//                                                   8 x 8 text-art font that labels the rows)
// Depends on: synth, synth_effects, lum, rnd (the engine, its slots, the tick count and the
// switches, the boot growl, the title pips' random spread), sounds (the framework's other
// effects), main and game (the toy's own title pips, clicks, toggle pips and paint sounds),
// png and fonttext (writing the picture, labelled with the project's font).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Types
// [SECTION] Private helpers: the scripts
// [SECTION] Private helpers: rendering
// [SECTION] Private helpers: WAV files
// [SECTION] Private helpers: the spectrum
// [SECTION] Private helpers: the picture
// [SECTION] Private helpers: the commands
// [SECTION] Main
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

#include "fonttext.h"
#include "game.h"
#include "lum.h"
#include "lum_mix.h"
#include "main.h"
#include "png.h"
#include "rnd.h"
#include "sounds.h"
#include "synth.h"
#include "synth_effects.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
// The engine as the toy sets it up: 22050 Hz, full volume, 8 effect slots of 8 stages
constexpr int SAMPLE_RATE = 22050;
constexpr float SYNTH_VOLUME = 1.0f;
constexpr unsigned SYNTH_STAGES = 256;
constexpr int EFFECT_VOICES = 8;
constexpr int EFFECT_STAGES = 8;
constexpr int TICK_RATE = 60;             // logic ticks per second
constexpr int TAIL_TICKS = 6;             // silence kept after a sound has died away (0.1 s)
constexpr int MAX_TICKS = 20 * TICK_RATE; // a sound that still sounds after 20 s is an error
constexpr uint32_t RANDOM_SEED = 20240601u;  // the title pips' random spread starts here

// The boot screen's growls, in ticks after start-up
constexpr int GROWL1_TICK = static_cast<int>(LUM_BOOT_GROWL1_AT * TICK_RATE);
constexpr int GROWL2_TICK = static_cast<int>(LUM_BOOT_GROWL2_AT * TICK_RATE);

// The framework's other sounds, with parameters of our choosing
constexpr float NOISE_HZ = 4000.0f;       // sample-and-hold rate of the noise
constexpr int NOISE_DECAY_MS = 250;
constexpr float THUMP_HZ = 200.0f;
constexpr float FM_MOD_HZ = 110.0f;       // modulator
constexpr float FM_CARRIER_HZ = 440.0f;   // carrier
constexpr float FM_DEPTH_HZ = 200.0f;     // carrier swing
constexpr std::array<int, 4> WARBLE_NOTES = {523, 659, 784, 1047};  // C5 E5 G5 C6, Hz
constexpr int WARBLE_NOTE_TICKS = 6;      // ticks per note of the arpeggio

// WAV: the canonical 44-byte header of 16-bit mono PCM
constexpr int WAV_HEADER_BYTES = 44;
constexpr int WAV_BITS = 16;
constexpr int WAV_BLOCK = WAV_BITS / 8;
constexpr double FULL_SCALE = 32768.0;

// The spectrogram
constexpr int FFT_SIZE = 512;
constexpr double SPECTRUM_LO_HZ = 30.0;   // the bottom of the frequency axis (log scale) ...
constexpr double SPECTRUM_HI_HZ = SAMPLE_RATE / 2.0;  // ... and the top
constexpr double SPECTRUM_FLOOR_DB = -96.0;  // magnitudes map from here (black) to 0 dB (white)

// The picture's layout, in pixels
constexpr int GLYPH_SIDE = FONT_TEXT_SIDE;
constexpr int MARGIN = 8;
constexpr int LABEL_W = 136;              // the name, length and peak column
constexpr int PANEL_W = 360;              // waveform and spectrogram
constexpr int PANEL_H = 64;
constexpr int ROW_PITCH = PANEL_H + 8;
constexpr int HEADER_H = 16;              // the column captions
constexpr int LINE_H = 10;                // label lines

using RGB8 = std::array<uint8_t, 3>;
constexpr RGB8 BACKGROUND = {24, 24, 28};
constexpr RGB8 PANEL = {8, 8, 12};
constexpr RGB8 AXIS = {60, 60, 70};
constexpr RGB8 WAVE = {120, 230, 150};
constexpr RGB8 TEXT = {240, 240, 240};
constexpr RGB8 TEXT_DIM = {150, 150, 160};
// The spectrogram's colour ramp, evenly spaced from the floor to 0 dB
constexpr std::array<RGB8, 6> RAMP = {{
    {0, 0, 0}, {30, 12, 90}, {130, 30, 140}, {230, 90, 40}, {250, 220, 80}, {255, 255, 255},
}};

//----------------------------------------------------------------------------------
// [SECTION] Types
//----------------------------------------------------------------------------------
struct SOUND;
using SOUND_SCRIPT = void (*)(const SOUND &s, int tick);  // create the effects of one tick

// One sound: a row of the table below
struct SOUND {
    const char *name;     // command-line and file name
    const char *about;    // one line for --list
    SOUND_SCRIPT script;  // called every tick from tick 0
    int script_ticks;     // the script may create effects before this tick, even in silence
    float pitch;          // the pitch of a paint stroke
};

// A rendered sound
struct TAKE {
    std::vector<int16_t> samples;
    int peak = 0;  // the largest magnitude
};

// The picture being drawn
struct CANVAS {
    int w = 0, h = 0;
    std::vector<uint8_t> rgb;  // w * h * 3, rows from the top
};

//----------------------------------------------------------------------------------
// [SECTION] Private helpers: the scripts
//----------------------------------------------------------------------------------
// The boot screen: two growls
static void script_growl(const SOUND &, int tick)
{
    if (tick == GROWL1_TICK)
        lum_boot_growl(LUM_BOOT_GROWL1_HZ);
    else if (tick == GROWL2_TICK)
        lum_boot_growl(LUM_BOOT_GROWL2_HZ);
}

// The title screen: its countdown, a pip on every odd count, rising in pitch
static void script_title_pips(const SOUND &, int tick)
{
    const int counter = MAIN_TITLE_TICKS - 1 - tick;
    if (counter >= 0 && (counter & 1))
        main_title_pip(counter);
}

// A button's click: low on a press, high on a release
static void script_press(const SOUND &, int tick)
{
    if (tick == 0)
        main_click_sound(1);
}

static void script_release(const SOUND &, int tick)
{
    if (tick == 0)
        main_click_sound(0);
}

// A toggle switched on
static void script_toggle(const SOUND &, int tick)
{
    if (tick == 0)
        game_toggle_pip();
}

// One painted or erased cell at the sound's pitch, with the nominal spread of 1
static void script_paint_live(const SOUND &s, int tick)
{
    if (tick == 0)
        game_paint_sound_ex(1, s.pitch, 1.0f);
}

static void script_paint_erase(const SOUND &s, int tick)
{
    if (tick == 0)
        game_paint_sound_ex(0, s.pitch, 1.0f);
}

static void script_noise(const SOUND &, int tick)
{
    if (tick == 0)
        sound_noise(NOISE_HZ, NOISE_DECAY_MS);
}

static void script_thump(const SOUND &, int tick)
{
    if (tick == 0)
        sound_thump(THUMP_HZ);
}

static void script_fm(const SOUND &, int tick)
{
    if (tick == 0)
        sound_fm(FM_MOD_HZ, FM_CARRIER_HZ, FM_DEPTH_HZ);
}

// The warble's callback: an arpeggio, one note every few ticks
static void warble_arpeggio(SYNTH_EFFECT_STATE *e)
{
    e->i = WARBLE_NOTES[static_cast<size_t>(e->state / WARBLE_NOTE_TICKS) % WARBLE_NOTES.size()];
}

static void script_warble(const SOUND &, int tick)
{
    if (tick == 0)
        sound_warble(warble_arpeggio);
}

// The framework's music test tune: a four-bar melody of pips over a thump on every bar's first
// beat. Written to assets/tune.wav, it is what the music player plays in its tests.
constexpr int TUNE_NOTE_TICKS = 12;       // ticks per note: five notes a second
constexpr std::array<float, 16> TUNE_NOTES = {
    523.25f, 659.26f, 783.99f, 1046.50f, 987.77f, 783.99f, 659.26f, 587.33f,
    523.25f, 659.26f, 783.99f, 880.00f, 783.99f, 659.26f, 587.33f, 523.25f,
};                                        // Hz: C5 E5 G5 C6 B5 G5 E5 D5, C5 E5 G5 A5 G5 E5 D5 C5
constexpr int TUNE_NOTE_MS = 120;         // each note's decay
constexpr float TUNE_BASS_HZ = 130.81f;   // C3 under every bar
constexpr int TUNE_BAR_NOTES = 4;

static void script_tune(const SOUND &, int tick)
{
    if (tick % TUNE_NOTE_TICKS != 0)
        return;
    const int note = tick / TUNE_NOTE_TICKS;
    if (note >= static_cast<int>(TUNE_NOTES.size()))
        return;
    SYNTH_EFFECT_STATE *e = sound_pip(1.0f, TUNE_NOTE_MS);
    e->freq = TUNE_NOTES[static_cast<size_t>(note)];
    e->scale = 0.5f;
    if (note % TUNE_BAR_NOTES == 0)
        sound_thump(TUNE_BASS_HZ)->scale = 0.5f;
}

// Every sound, in the picture's order
constexpr std::array<SOUND, 16> SOUNDS = {{
    {.name = "growl", .about = "the boot screen's two growls, 32.704 Hz at 0.5 s and 30.868 Hz at 3 s",
     .script = script_growl, .script_ticks = GROWL2_TICK + 1, .pitch = 1.0f},
    {.name = "title-pips", .about = "the title screen's 15 rising pips (a fixed random seed)",
     .script = script_title_pips, .script_ticks = MAIN_TITLE_TICKS, .pitch = 1.0f},
    {.name = "click-press", .about = "a button pressed: a low pip",
     .script = script_press, .script_ticks = 1, .pitch = 1.0f},
    {.name = "click-release", .about = "a button released: a high pip",
     .script = script_release, .script_ticks = 1, .pitch = 1.0f},
    {.name = "toggle-pip", .about = "a toggle switched on",
     .script = script_toggle, .script_ticks = 1, .pitch = 1.0f},
    {.name = "paint-live-0.5", .about = "painting a live cell, pitch 0.5 (ring 180 Hz)",
     .script = script_paint_live, .script_ticks = 1, .pitch = 0.5f},
    {.name = "paint-live-1.0", .about = "painting a live cell, pitch 1 (ring 180 Hz)",
     .script = script_paint_live, .script_ticks = 1, .pitch = 1.0f},
    {.name = "paint-live-2.0", .about = "painting a live cell, pitch 2 (ring 180 Hz)",
     .script = script_paint_live, .script_ticks = 1, .pitch = 2.0f},
    {.name = "paint-erase-0.5", .about = "erasing a cell, pitch 0.5 (ring 60 Hz)",
     .script = script_paint_erase, .script_ticks = 1, .pitch = 0.5f},
    {.name = "paint-erase-1.0", .about = "erasing a cell, pitch 1 (ring 60 Hz)",
     .script = script_paint_erase, .script_ticks = 1, .pitch = 1.0f},
    {.name = "paint-erase-2.0", .about = "erasing a cell, pitch 2 (ring 60 Hz)",
     .script = script_paint_erase, .script_ticks = 1, .pitch = 2.0f},
    {.name = "noise", .about = "sound_noise: noise held at 4 kHz, 250 ms decay",
     .script = script_noise, .script_ticks = 1, .pitch = 1.0f},
    {.name = "thump", .about = "sound_thump at 200 Hz",
     .script = script_thump, .script_ticks = 1, .pitch = 1.0f},
    {.name = "fm", .about = "sound_fm: 440 Hz carrier swung 200 Hz by a 110 Hz modulator",
     .script = script_fm, .script_ticks = 1, .pitch = 1.0f},
    {.name = "warble", .about = "sound_warble: a C major arpeggio, half a second",
     .script = script_warble, .script_ticks = 1, .pitch = 1.0f},
    {.name = "tune", .about = "the music test's tune: four bars of pips over a thump",
     .script = script_tune, .script_ticks = 16 * TUNE_NOTE_TICKS, .pitch = 1.0f},
}};

// The row of a name, or null
static const SOUND *sound_find(const std::string &name)
{
    for (const SOUND &s : SOUNDS)
        if (name == s.name)
            return &s;
    return nullptr;
}

//----------------------------------------------------------------------------------
// [SECTION] Private helpers: rendering
//----------------------------------------------------------------------------------
// Set the engine up as the toy's start-up does, with the effect slots switched on
static void engine_setup()
{
    lum_settings.enable_synth = 1;
    syn_init(&synraw, SAMPLE_RATE, SYNTH_VOLUME, SYNTH_STAGES);
    synth_effects_init(EFFECT_VOICES, EFFECT_STAGES);
}

// True while an effect function still runs in some slot
static bool effects_running()
{
    for (int n = 0; n < EFFECT_VOICES; n++)
        if (synth_effects[n].func)
            return true;
    return false;
}

// Disable the stages of every free slot that has fallen silent and trim the engine to the last
// stage in use: the sweep synth_effects_update makes once a second, made here every tick.
// NOTE: the update times its sweep by the wall clock, and a sweep changes later samples: a swept
// slot's filters stop where they are, an unswept one's run on, and a pip that reuses the slot
// starts from that state. Sweeping every tick after the update leaves a clock-timed sweep nothing
// to do, so the samples do not depend on how fast the tool runs.
static void sweep_free_slots()
{
    for (int n = 0; n < EFFECT_VOICES; n++)
        if (!synth_effects[n].func)
            syn_disable_inactive(&synraw, static_cast<unsigned>(n * EFFECT_STAGES), EFFECT_STAGES);
    synraw.stages = static_cast<uint32_t>(syn_find_last_used(&synraw) + 1);
}

// Render one sound in the engine as engine_setup left it, tick by tick, until its script is done
// and nothing has sounded for TAIL_TICKS ticks. False (with a message) if it never ends.
static bool render_sound(const SOUND &s, TAKE &take)
{
    mrand_seed = RANDOM_SEED;
    std::vector<int16_t> block;
    int quiet = 0;
    for (int tick = 0; quiet < TAIL_TICKS; tick++) {
        if (tick == MAX_TICKS) {
            std::fprintf(stderr, "synthwav: %s still sounds after %d s\n", s.name, MAX_TICKS / TICK_RATE);
            return false;
        }
        lum_ticks++;
        s.script(s, tick);
        synth_effects_update();
        sweep_free_slots();
        // The tick's block through the toy's mix, into silence, with no tick handed over (the
        // effects ran above, before the sweep): samples up to the end of this tick, counted
        // exactly, 367 and 368 in turn; the left channel is the sound
        const size_t end = static_cast<size_t>(tick + 1) * SAMPLE_RATE / TICK_RATE;
        const size_t frames = end - take.samples.size();
        block.assign(2 * frames, 0);
        lum_mix_block(block.data(), static_cast<int>(frames));
        for (size_t n = 0; n < frames; n++) {
            const int16_t sample = block[2 * n];
            take.samples.push_back(sample);
            take.peak = std::max(take.peak, std::abs(static_cast<int>(sample)));
        }
        const bool sounding = tick + 1 < s.script_ticks || effects_running() || synth_effects_active() != 0;
        quiet = sounding ? 0 : quiet + 1;
    }
    return true;
}

//----------------------------------------------------------------------------------
// [SECTION] Private helpers: WAV files
//----------------------------------------------------------------------------------
static void put_u16(std::vector<uint8_t> &out, uint32_t v)
{
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}

static void put_u32(std::vector<uint8_t> &out, uint32_t v)
{
    put_u16(out, v & 0xFFFFu);
    put_u16(out, v >> 16);
}

static void put_tag(std::vector<uint8_t> &out, const char *tag)
{
    for (int i = 0; i < 4; i++)
        out.push_back(static_cast<uint8_t>(tag[i]));
}

// The canonical header of `count` samples of 16-bit mono PCM at SAMPLE_RATE
static std::vector<uint8_t> wav_header(size_t count)
{
    const auto data_bytes = static_cast<uint32_t>(count * WAV_BLOCK);
    std::vector<uint8_t> h;
    put_tag(h, "RIFF");
    put_u32(h, WAV_HEADER_BYTES - 8 + data_bytes);
    put_tag(h, "WAVE");
    put_tag(h, "fmt ");
    put_u32(h, 16);           // the format chunk's size
    put_u16(h, 1);            // PCM
    put_u16(h, 1);            // mono
    put_u32(h, SAMPLE_RATE);
    put_u32(h, SAMPLE_RATE * WAV_BLOCK);  // bytes per second
    put_u16(h, WAV_BLOCK);    // bytes per frame
    put_u16(h, WAV_BITS);
    put_tag(h, "data");
    put_u32(h, data_bytes);
    return h;
}

// Write samples as a WAV file; false with a message on failure
static bool wav_write(const std::string &path, const std::vector<int16_t> &samples)
{
    std::vector<uint8_t> bytes = wav_header(samples.size());
    for (int16_t v : samples)
        put_u16(bytes, static_cast<uint16_t>(v));
    std::FILE *f = std::fopen(path.c_str(), "wb");
    bool ok = f && std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    ok = f && std::fclose(f) == 0 && ok;
    if (!ok)
        std::fprintf(stderr, "synthwav: cannot write %s\n", path.c_str());
    return ok;
}

// Read back a file wav_write wrote: its header must be exactly the one wav_write gives
static bool wav_read(const std::string &path, TAKE &take)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t count = bytes.size() < WAV_HEADER_BYTES ? 0 : (bytes.size() - WAV_HEADER_BYTES) / WAV_BLOCK;
    const std::vector<uint8_t> header = wav_header(count);
    if (bytes.size() != WAV_HEADER_BYTES + count * WAV_BLOCK || !std::equal(header.begin(), header.end(), bytes.begin())) {
        std::fprintf(stderr, "synthwav: %s is not a WAV file of this tool\n", path.c_str());
        return false;
    }
    take = TAKE{};
    for (size_t i = 0; i < count; i++) {
        const size_t at = WAV_HEADER_BYTES + i * WAV_BLOCK;
        const auto v = static_cast<int16_t>(bytes[at] | bytes[at + 1] << 8);
        take.samples.push_back(v);
        take.peak = std::max(take.peak, std::abs(static_cast<int>(v)));
    }
    return true;
}

// Render a sound and write it; false with a message on failure
static bool render_to_file(const SOUND &s, const std::string &path)
{
    TAKE take;
    return render_sound(s, take) && wav_write(path, take.samples);
}

// Render a sound in a child process that starts from the engine as it is now, and wait for it.
// NOTE: the effect slots keep state that no call resets (the slot search's cursor, the last tick
// run); summing overlapping voices in other stages would round differently. A child per sound
// keeps every sound's bytes the same as a run of that sound alone.
static bool render_in_child(const SOUND &s, const std::string &path)
{
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid < 0) {
        std::perror("synthwav: fork");
        return false;
    }
    if (pid == 0) {
        const bool ok = render_to_file(s, path);
        std::fflush(stdout);
        _exit(ok ? 0 : 1);
    }
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// A peak level in dB below full scale
static double peak_db(int peak)
{
    return peak > 0 ? 20.0 * std::log10(peak / FULL_SCALE) : -INFINITY;
}

//----------------------------------------------------------------------------------
// [SECTION] Private helpers: the spectrum
//----------------------------------------------------------------------------------
// In-place radix-2 FFT of a power-of-two number of points
static void fft(std::vector<std::complex<double>> &a)
{
    const size_t n = a.size();
    for (size_t i = 1, j = 0; i < n; i++) {
        size_t bit = n >> 1;
        for (; j & bit; bit >>= 1)
            j ^= bit;
        j |= bit;
        if (i < j)
            std::swap(a[i], a[j]);
    }
    for (size_t len = 2; len <= n; len <<= 1) {
        const std::complex<double> step = std::polar(1.0, -2.0 * std::numbers::pi / static_cast<double>(len));
        for (size_t start = 0; start < n; start += len) {
            std::complex<double> w = 1.0;
            for (size_t k = 0; k < len / 2; k++) {
                const std::complex<double> u = a[start + k], v = a[start + k + len / 2] * w;
                a[start + k] = u + v;
                a[start + k + len / 2] = u - v;
                w *= step;
            }
        }
    }
}

// Magnitudes in dB (0 dB: a full-scale sine) of the Hann-windowed FFT_SIZE samples centred on
// sample `centre`, bins 0..FFT_SIZE / 2; samples outside the sound count as silence
static std::vector<double> spectrum_db(const std::vector<int16_t> &samples, long centre)
{
    std::vector<std::complex<double>> a(FFT_SIZE);
    for (int i = 0; i < FFT_SIZE; i++) {
        const long at = centre - FFT_SIZE / 2 + i;
        const double hann = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * i / FFT_SIZE);
        const bool inside = at >= 0 && at < static_cast<long>(samples.size());
        a[i] = inside ? hann * samples[static_cast<size_t>(at)] : 0.0;
    }
    fft(a);
    // A full-scale sine of amplitude A peaks at A x N / 4 after the Hann window
    const double reference = FULL_SCALE * FFT_SIZE / 4.0;
    std::vector<double> db(FFT_SIZE / 2 + 1);
    for (size_t k = 0; k < db.size(); k++) {
        const double m = std::abs(a[k]) / reference;
        db[k] = m > 0.0 ? std::max(SPECTRUM_FLOOR_DB, 20.0 * std::log10(m)) : SPECTRUM_FLOOR_DB;
    }
    return db;
}

// The loudest level in the band of bins lo..hi (fractional); a band narrower than a bin reads
// the level interpolated at its middle
static double band_db(const std::vector<double> &db, double lo, double hi)
{
    const auto first = static_cast<size_t>(std::ceil(lo)), last = static_cast<size_t>(std::floor(hi));
    if (first <= last) {
        double best = SPECTRUM_FLOOR_DB;
        for (size_t k = first; k <= last && k < db.size(); k++)
            best = std::max(best, db[k]);
        return best;
    }
    const double mid = (lo + hi) / 2.0;
    const auto k = static_cast<size_t>(mid);
    const double t = mid - static_cast<double>(k);
    return k + 1 < db.size() ? db[k] + (db[k + 1] - db[k]) * t : db.back();
}

// The colour ramp at t in 0..1
static RGB8 ramp(double t)
{
    const double x = std::clamp(t, 0.0, 1.0) * (RAMP.size() - 1);
    const size_t i = std::min(static_cast<size_t>(x), RAMP.size() - 2);
    const double u = x - static_cast<double>(i);
    RGB8 c;
    for (size_t ch = 0; ch < 3; ch++)
        c[ch] = static_cast<uint8_t>(std::lround(RAMP[i][ch] + (RAMP[i + 1][ch] - RAMP[i][ch]) * u));
    return c;
}

//----------------------------------------------------------------------------------
// [SECTION] Private helpers: the picture
//----------------------------------------------------------------------------------
static CANVAS canvas_new(int w, int h, RGB8 fill)
{
    CANVAS c;
    c.w = w;
    c.h = h;
    c.rgb.resize(static_cast<size_t>(w) * h * 3);
    for (size_t i = 0; i < c.rgb.size(); i++)
        c.rgb[i] = fill[i % 3];
    return c;
}

static void plot(CANVAS &c, int x, int y, RGB8 colour)
{
    if (x < 0 || y < 0 || x >= c.w || y >= c.h)
        return;
    std::copy(colour.begin(), colour.end(), c.rgb.begin() + (static_cast<size_t>(y) * c.w + x) * 3);
}

static void fill_rect(CANVAS &c, int x, int y, int w, int h, RGB8 colour)
{
    for (int j = y; j < y + h; j++)
        for (int i = x; i < x + w; i++)
            plot(c, i, j, colour);
}

// A line of text, 8 pixels per character, top-left corner at (x, y)
// NOTE: the font's text glyphs are white ink on transparency; a pixel with any alpha is ink.
static void draw_text(CANVAS &c, const FONT_TEXT &font, const std::string &text, int x, int y, RGB8 colour)
{
    for (size_t n = 0; n < text.size(); n++) {
        const size_t index = static_cast<size_t>(static_cast<unsigned char>(text[n]) - FONT_TEXT_FIRST);
        if (index >= font.glyphs.size())
            continue;
        for (int p = 0; p < GLYPH_SIDE * GLYPH_SIDE; p++)
            if (font.glyphs[index].px[static_cast<size_t>(p)][3] > 0)
                plot(c, x + static_cast<int>(n) * GLYPH_SIDE + p % GLYPH_SIDE, y + p / GLYPH_SIDE, colour);
    }
}

// The waveform over the panel's width: each column spans the samples' lowest to highest value
static void draw_waveform(CANVAS &c, int x0, int y0, const std::vector<int16_t> &samples)
{
    fill_rect(c, x0, y0, PANEL_W, PANEL_H, PANEL);
    fill_rect(c, x0, y0 + PANEL_H / 2, PANEL_W, 1, AXIS);
    // Full scale spans the panel's height; y grows downwards
    auto row = [](int v) {
        return std::clamp(static_cast<int>(std::floor((0.5 - v / (2.0 * FULL_SCALE)) * PANEL_H)), 0, PANEL_H - 1);
    };
    const size_t n = samples.size();
    for (int x = 0; x < PANEL_W && n > 0; x++) {
        const size_t from = n * x / PANEL_W, to = std::max(from + 1, n * (x + 1) / PANEL_W);
        const auto [lo, hi] = std::minmax_element(samples.begin() + from, samples.begin() + std::min(to, n));
        for (int y = row(*hi); y <= row(*lo); y++)
            plot(c, x0 + x, y0 + y, WAVE);
    }
}

// The spectrogram over the panel's width: one FFT per column, frequency rising upwards on a log
// scale from SPECTRUM_LO_HZ to SPECTRUM_HI_HZ
static void draw_spectrogram(CANVAS &c, int x0, int y0, const std::vector<int16_t> &samples)
{
    const double bin_hz = static_cast<double>(SAMPLE_RATE) / FFT_SIZE;
    const double octaves = std::log2(SPECTRUM_HI_HZ / SPECTRUM_LO_HZ);
    auto row_hz = [&](int y) { return SPECTRUM_LO_HZ * std::exp2(octaves * y / PANEL_H); };
    for (int x = 0; x < PANEL_W; x++) {
        const long centre = static_cast<long>((samples.size() * (2 * x + 1)) / (2 * PANEL_W));
        const std::vector<double> db = spectrum_db(samples, centre);
        for (int y = 0; y < PANEL_H; y++) {
            const double level = band_db(db, row_hz(y) / bin_hz, row_hz(y + 1) / bin_hz);
            plot(c, x0 + x, y0 + PANEL_H - 1 - y, ramp(1.0 - level / SPECTRUM_FLOOR_DB));
        }
    }
}

// One picture of every sound: a caption row, then per sound its name, length and peak, its
// waveform and its spectrogram
static CANVAS draw_picture(const FONT_TEXT &font, const std::vector<TAKE> &takes)
{
    const int wave_x = MARGIN + LABEL_W, spectrum_x = wave_x + PANEL_W + MARGIN;
    CANVAS c = canvas_new(spectrum_x + PANEL_W + MARGIN, MARGIN + HEADER_H + static_cast<int>(SOUNDS.size()) * ROW_PITCH,
                          BACKGROUND);
    draw_text(c, font, "sound", MARGIN, MARGIN, TEXT_DIM);
    draw_text(c, font, "waveform, full scale", wave_x, MARGIN, TEXT_DIM);
    draw_text(c, font, "spectrogram, 30 Hz-11 kHz, log", spectrum_x, MARGIN, TEXT_DIM);
    for (size_t i = 0; i < SOUNDS.size(); i++) {
        const int y = MARGIN + HEADER_H + static_cast<int>(i) * ROW_PITCH;
        std::array<char, 32> length{}, peak{};
        std::snprintf(length.data(), length.size(), "%.3f s", takes[i].samples.size() / static_cast<double>(SAMPLE_RATE));
        std::snprintf(peak.data(), peak.size(), "peak %.1f dB", peak_db(takes[i].peak));
        draw_text(c, font, SOUNDS[i].name, MARGIN, y, TEXT);
        draw_text(c, font, length.data(), MARGIN, y + LINE_H, TEXT_DIM);
        draw_text(c, font, peak.data(), MARGIN, y + 2 * LINE_H, TEXT_DIM);
        draw_waveform(c, wave_x, y, takes[i].samples);
        draw_spectrogram(c, spectrum_x, y, takes[i].samples);
    }
    return c;
}

//----------------------------------------------------------------------------------
// [SECTION] Private helpers: the commands
//----------------------------------------------------------------------------------
// Every sound to DIR/NAME.wav, then the picture; a line per sound on standard output
static bool render_all(const std::string &dir, const std::string &picture, const std::string &font_path)
{
    FONT_TEXT font;
    std::string error;
    if (!font_text_read(font_path, font, error)) {
        std::fprintf(stderr, "synthwav: %s\n", error.c_str());
        return false;
    }
    engine_setup();
    std::vector<TAKE> takes(SOUNDS.size());
    for (size_t i = 0; i < SOUNDS.size(); i++) {
        const std::string path = dir + "/" + SOUNDS[i].name + ".wav";
        if (!render_in_child(SOUNDS[i], path) || !wav_read(path, takes[i]))
            return false;
        std::printf("synthwav: %-16s %6.3f s  peak %6.1f dB\n", SOUNDS[i].name,
                    takes[i].samples.size() / static_cast<double>(SAMPLE_RATE), peak_db(takes[i].peak));
    }
    const CANVAS c = draw_picture(font, takes);
    if (png_write(picture.c_str(), c.w, c.h, 3, c.rgb.data()) != 1) {
        std::fprintf(stderr, "synthwav: cannot write %s\n", picture.c_str());
        return false;
    }
    return true;
}

static int usage()
{
    std::fprintf(stderr, "usage: synthwav --list\n"
                         "       synthwav NAME OUT.wav\n"
                         "       synthwav --all DIR PICTURE.png FONT.txt\n");
    return 2;
}

//----------------------------------------------------------------------------------
// [SECTION] Main
//----------------------------------------------------------------------------------
int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (const SOUND &s : SOUNDS)
            std::printf("%-16s %s\n", s.name, s.about);
        return 0;
    }
    if (argc == 5 && std::strcmp(argv[1], "--all") == 0)
        return render_all(argv[2], argv[3], argv[4]) ? 0 : 1;
    if (argc != 3)
        return usage();
    const SOUND *s = sound_find(argv[1]);
    if (!s) {
        std::fprintf(stderr, "synthwav: no sound %s (synthwav --list names them)\n", argv[1]);
        return 2;
    }
    engine_setup();
    return render_to_file(*s, argv[2]) ? 0 : 1;
}
