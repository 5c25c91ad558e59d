// synth: the modular synthesiser's engine and units (see synth.h).
//
// Index of this file:
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Unit rules
// [SECTION] Render loop
// [SECTION] Stage management
// [SECTION] Unit constructors
// [SECTION] Parameter setters
// [SECTION] Input connections and queries
#include "synth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numbers>
#include <type_traits>

#include "log.h"

static_assert(std::is_trivially_copyable_v<SYNFUNC>, "stages are copied as bytes");

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
SYN synraw;
std::array<SAMPLETYPE, SYN_BUFFER_SAMPLES> synthbuf;
int syn_stages_active = 0;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
constexpr float SYN_INFINITY = std::numeric_limits<float>::infinity();
constexpr double SYN_TWO_PI = 2.0 * std::numbers::pi;
constexpr float SYN_NOISE_STEP = 8.0f;     // the noise unit's phase runs 8 times its frequency
constexpr float SYN_NOISE_INPUT = 16.0f;   // and 16 times a frequency fed through its input
constexpr uint32_t SYN_RAND_MUL = 1103515245u;  // the noise generator's linear congruence
constexpr uint32_t SYN_RAND_ADD = 12345u;

// Whether an index names a stage: at most 256, the index checks' bound (unsigned, so any
// negative int from a caller is refused as well)
static bool bad_index(unsigned i)
{
    return i > SYN_MAX_STAGES;
}

// A parameter setter's frame: `set` changes stage i's record; 0, or -1 for an index outside the
// table (nothing is changed)
template <typename SET>
static int set_stage(SYN *syn, unsigned i, SET set)
{
    if (bad_index(i))
        return -1;
    set(syn->stage[i]);
    return 0;
}

// Whether an input slot is connected. -1 (any negative value) is not.
// NOTE: an index above 256 can only be written straight into a stage or made by relocating a
// patch too far; it reads as unconnected rather than outside the table.
static bool connected(int32_t j)
{
    return static_cast<uint32_t>(j) <= SYN_MAX_STAGES;
}

// What input slots read when the stages are evaluated sample by sample: each stage's latest
// `out` and `reset`
struct LIVE_INPUTS {
    const SYNFUNC *stages;
    float out(int32_t j) const { return stages[j].out; }
    bool reset(int32_t j) const { return stages[j].reset; }
};

// What they read when a run of samples is evaluated stage by stage: the value and the restart
// flag each (lower) stage had in the sample being evaluated
constexpr unsigned SYN_RUN = 64;  // samples evaluated stage by stage at a time
struct RUN_INPUTS {
    const float (*outs)[SYN_RUN];       // per stage, its out in each sample of the run
    const char (*resets)[SYN_RUN];      // per stage, its reset flag in each sample
    unsigned i;                         // the sample being evaluated
    float out(int32_t j) const { return outs[j][i]; }
    bool reset(int32_t j) const { return resets[j][i]; }
};

// A filter's signal, which is read without a test for -1: an unconnected signal reads as
// silence here instead of a stage outside the table
template <class IN>
static float filter_signal(const IN &in, int32_t j)
{
    return connected(j) ? in.out(j) : 0.0f;
}

// An oscillator's amplitude and offset: from the input when connected, else the stored value
template <class IN>
static float osc_amp(const IN &in, const SYNFUNC &f)
{
    return connected(f.osc_in.amp) ? in.out(f.osc_in.amp) : f.osc.amp;
}

template <class IN>
static float osc_off(const IN &in, const SYNFUNC &f)
{
    return connected(f.osc_in.off) ? in.out(f.osc_in.off) : f.osc.off;
}

// Disable a stage, keeping its settings
static void disable(SYNFUNC &f)
{
    f.type = static_cast<signed char>(-std::abs(f.type));
}

// All five input slots unconnected
static void unconnect(SYNFUNC &f)
{
    std::fill(std::begin(f.in.signal), std::end(f.in.signal), SYN_UNCONNECTED);
}

// A slope of 2 over `width` of the cycle; a width of 0 gives an infinite slope
static float slope(float width)
{
    return width == 0.0f ? SYN_INFINITY : 2.0f / width;
}

// The noise generator's held value from its state: -1.0 up to slightly above 1.0
static float noise_value(int32_t randnum)
{
    return static_cast<float>((static_cast<uint32_t>(randnum) & 0xFFFFu) / 32767.0 - 1.0);
}

// A time in milliseconds as a count of samples
static float ms_to_samples(const SYN *syn, float ms)
{
    return ms * static_cast<float>(syn->sample_rate) / 1000.0f;
}

// The float to 16-bit conversion: floor(32767 x), clipped symmetrically to +-32767.
// NOTE: a patch can make not-a-number (an infinite slope times zero, say); it is written as
// silence rather than converted, which would be undefined.
static SAMPLETYPE to_sample(float x)
{
    if (x > 1.0f)
        return static_cast<SAMPLETYPE>(32767);
    if (x < -1.0f)
        return static_cast<SAMPLETYPE>(-32767);
    if (std::isnan(x))
        return 0;
    int v = static_cast<int>(x * 32767.0 + 32767.0 + 1.0) - 32768;
    return static_cast<SAMPLETYPE>(v);
}

//----------------------------------------------------------------------------------
// [SECTION] Unit rules
//----------------------------------------------------------------------------------
// After an oscillator's phase has moved: wrap it into 0..1 (a phase of exactly 0 counts as a
// wrap), or restart it when its sync source restarted in this sample
// NOTE: a phase in 1..2, the common wrap, loses its whole cycle by a subtraction, which is
// exact there and gives what fmod gives.
template <class IN>
[[gnu::always_inline]] static inline void wrap_or_sync(const IN &in, SYNFUNC &f, bool has_sync)
{
    float &phase = f.osc.phase;
    if (phase >= 1.0f || phase <= 0.0f) {
        if (phase < 2.0f && phase >= 1.0f) {
            phase -= 1.0f;
        } else {
            phase = std::fmod(phase, 1.0f);
            if (phase < 0.0f)
                phase += 1.0f;
        }
        f.reset = 1;
    } else if (has_sync && connected(f.osc_in.sync) && in.reset(f.osc_in.sync)) {
        phase = 1.0f - 0.5f * f.osc.duty;
        f.reset = 1;
    } else {
        f.reset = 0;
    }
}

// Sample-and-hold noise: a new value from the generator at every wrap of its phase
template <class IN>
static float unit_noise(SYN *syn, const IN &in, SYNFUNC &f)
{
    f.osc.phase += f.osc.phasestep;
    if (connected(f.osc_in.freq))
        f.osc.phasestep = SYN_NOISE_INPUT * in.out(f.osc_in.freq);
    wrap_or_sync(in, f, false);
    if (f.reset) {
        syn->randnum = static_cast<int32_t>(static_cast<uint32_t>(syn->randnum) * SYN_RAND_MUL + SYN_RAND_ADD);
        f.osc.randval = noise_value(syn->randnum);
    }
    return f.osc.randval * osc_amp(in, f) + osc_off(in, f);
}

// sin(2 pi turns) in double precision. A phase in -0.5..1.5 (every phase a wrapped oscillator
// has) is folded to a quarter turn either side of 0 and given to the sine's Taylor series up to
// the 21st power, whose remainder there (below 2e-18) is under a double's rounding; any other
// phase goes to the library's sine.
static double sin_turns(double turns)
{
    if (!(turns >= -0.5 && turns <= 1.5))
        return std::sin(SYN_TWO_PI * turns);
    double r = turns > 0.5 ? turns - 1.0 : turns;  // -0.5..0.5
    if (r > 0.25)
        r = 0.5 - r;
    else if (r < -0.25)
        r = -0.5 - r;
    const double x = SYN_TWO_PI * r;
    const double x2 = x * x;
    // 1/3!, 1/5!, ... 1/21! with alternating signs, from the highest power down
    double p = 1.0 / 51090942171709440000.0;
    p = p * x2 - 1.0 / 121645100408832000.0;
    p = p * x2 + 1.0 / 355687428096000.0;
    p = p * x2 - 1.0 / 1307674368000.0;
    p = p * x2 + 1.0 / 6227020800.0;
    p = p * x2 - 1.0 / 39916800.0;
    p = p * x2 + 1.0 / 362880.0;
    p = p * x2 - 1.0 / 5040.0;
    p = p * x2 + 1.0 / 120.0;
    p = p * x2 - 1.0 / 6.0;
    return x + x * x2 * p;
}

template <class IN>
static float unit_sine(const IN &in, SYNFUNC &f)
{
    f.osc.phase += f.osc.phasestep;
    if (connected(f.osc_in.freq))
        f.osc.phasestep = in.out(f.osc_in.freq);
    wrap_or_sync(in, f, true);
    double s = sin_turns(f.osc.phase);
    return static_cast<float>(s * osc_amp(in, f) + osc_off(in, f));
}

// One sub-step of a pulse or a triangle: the phase moves, the duty and frequency inputs are
// read (the frequency acting from the next sub-step), and the wave's value at the new phase
template <bool TRIANGLE, class IN>
[[gnu::always_inline]] static inline float wave_step(const IN &in, SYNFUNC &f, float inv_m)
{
    SYNOSC &o = f.osc;
    o.phase += o.phasestep;
    if (connected(f.osc_in.duty)) {
        o.duty = std::fabs(in.out(f.osc_in.duty));
        if constexpr (TRIANGLE) {
            o.steprise = slope(o.duty);
            o.stepfall = slope(1.0f - o.duty);
        }
    }
    if (connected(f.osc_in.freq))
        o.phasestep = in.out(f.osc_in.freq) * inv_m;
    wrap_or_sync(in, f, true);
    float s;
    if constexpr (TRIANGLE)
        s = o.duty > o.phase ? 1.0f - o.steprise * o.phase : 1.0f - (1.0f - o.phase) * o.stepfall;
    else
        s = o.duty > o.phase ? 1.0f : -1.0f;
    return s * osc_amp(in, f) + osc_off(in, f);
}

// Pulse and triangle: `m` sub-steps per sample, averaged
template <bool TRIANGLE, class IN>
static float unit_wave(const IN &in, SYNFUNC &f, uint32_t m, float inv_m)
{
    if (m == 0)
        return 0.0f;
    if (m == 1)
        return wave_step<TRIANGLE, IN>(in, f, 1.0f);
    float sum = 0.0f;
    for (uint32_t r = 0; r < m; r++)
        sum += wave_step<TRIANGLE, IN>(in, f, inv_m);
    return sum * inv_m;
}

// One step of the envelope; its level times the signal (or the level alone)
template <class IN>
static float unit_adsr(const IN &in, SYNFUNC &f)
{
    SYNADSR &e = f.adsr;
    switch (e.step) {
    case SYN_ADSR_ATTACK:
        e.level += e.attack;
        if (e.level >= 1.0f) {
            e.level = 1.0f;
            e.step = SYN_ADSR_DECAY;
        }
        break;
    case SYN_ADSR_DECAY:
        e.level -= e.decay;
        if (e.sustain >= e.level) {
            e.level = e.sustain;
            e.step = SYN_ADSR_SUSTAIN;
        }
        break;
    case SYN_ADSR_SUSTAIN:
        if (!f.hold)
            e.step = SYN_ADSR_RELEASE;
        break;
    case SYN_ADSR_RELEASE:
        e.level -= e.release;
        if (!(e.level > 0.0f)) {
            e.step = SYN_ADSR_FINISHED;
            f.end = 1;
            e.level = 0.0f;
            disable(f);
        }
        break;
    default:
        f.end = 1;
        e.level = 0.0f;
        disable(f);
        break;
    }
    return connected(f.adsr_in.signal) ? e.level * in.out(f.adsr_in.signal) : e.level;
}

template <class IN>
static float unit_highpass(const IN &in, SYNFUNC &f)
{
    SYNFILTER &h = f.filt;
    if (connected(f.filt_in.cutoff))
        h.alpha = std::fabs(in.out(f.filt_in.cutoff));
    float x = filter_signal(in, f.filt_in.signal);
    float v = h.alpha * (f.out + x - h.oldin);
    h.oldin = x;
    return v;
}

template <class IN>
static float unit_lowpass(const IN &in, SYNFUNC &f, float q_alpha)
{
    SYNFILTER &l = f.filt;
    if (connected(f.filt_in.cutoff))
        l.alpha = std::fabs(in.out(f.filt_in.cutoff));
    float x = filter_signal(in, f.filt_in.signal);
    float y1 = f.out;
    if (connected(f.filt_in.q))
        l.q = std::fabs(in.out(f.filt_in.q));
    float v = l.alpha * (x - y1) + y1 + (y1 - l.oldout) * l.q * q_alpha;
    l.oldout = y1;
    return v;
}

// The ramp moves by its step and stops at its end, setting the end flag from then on
static float unit_ramp(SYNFUNC &f)
{
    const SYNRAMP &r = f.ramp;
    float v = f.out + r.step;
    if ((r.step > 0.0f && v > r.end) || (r.step <= 0.0f && v < r.end)) {
        f.end = 1;
        return r.end;
    }
    return v;
}

// a op b when both inputs are connected, else 0
template <class IN>
static float unit_math(const IN &in, const SYNFUNC &f, bool product)
{
    if (!connected(f.math_in.a) || !connected(f.math_in.b))
        return 0.0f;
    float a = in.out(f.math_in.a);
    float b = in.out(f.math_in.b);
    return product ? a * b : a + b;
}

//----------------------------------------------------------------------------------
// [SECTION] Render loop
//----------------------------------------------------------------------------------
// What every unit's rule needs from the render besides its stage and inputs
struct RENDER {
    SYN *syn;         // the noise generator's state
    uint32_t m;       // sub-steps per sample of the pulse and triangle
    float inv_m;      // 1 / m
    float q_alpha;    // the low-pass resonance factor
};

// One stage's value by the rule of unit CODE
template <signed char CODE, class IN>
[[gnu::always_inline]] static inline float unit(const RENDER &r, const IN &in, SYNFUNC &f)
{
    if constexpr (CODE == SYN_CONST)
        return f.math.n;
    else if constexpr (CODE == SYN_MUL)
        return unit_math(in, f, true);
    else if constexpr (CODE == SYN_ADD)
        return unit_math(in, f, false);
    else if constexpr (CODE == SYN_ADSR)
        return unit_adsr(in, f);
    else if constexpr (CODE == SYN_HIGHPASS)
        return unit_highpass(in, f);
    else if constexpr (CODE == SYN_LOWPASS)
        return unit_lowpass(in, f, r.q_alpha);
    else if constexpr (CODE == SYN_NOISE)
        return unit_noise(r.syn, in, f);
    else if constexpr (CODE == SYN_PULSE)
        return unit_wave<false>(in, f, r.m, r.inv_m);
    else if constexpr (CODE == SYN_RAMP)
        return unit_ramp(f);
    else if constexpr (CODE == SYN_SINE)
        return unit_sine(in, f);
    else
        return unit_wave<true>(in, f, r.m, r.inv_m);
}

// Call `body` with the unit code of a stage as a compile-time constant; false (nothing called)
// for a stage that is skipped: empty, disabled or of an unknown code
template <class BODY>
[[gnu::always_inline]] static inline bool dispatch(signed char type, BODY &&body)
{
    switch (type) {
    case SYN_CONST: body.template operator()<SYN_CONST>(); return true;
    case SYN_MUL: body.template operator()<SYN_MUL>(); return true;
    case SYN_ADD: body.template operator()<SYN_ADD>(); return true;
    case SYN_ADSR: body.template operator()<SYN_ADSR>(); return true;
    case SYN_HIGHPASS: body.template operator()<SYN_HIGHPASS>(); return true;
    case SYN_LOWPASS: body.template operator()<SYN_LOWPASS>(); return true;
    case SYN_NOISE: body.template operator()<SYN_NOISE>(); return true;
    case SYN_PULSE: body.template operator()<SYN_PULSE>(); return true;
    case SYN_RAMP: body.template operator()<SYN_RAMP>(); return true;
    case SYN_SINE: body.template operator()<SYN_SINE>(); return true;
    case SYN_TRIANGLE: body.template operator()<SYN_TRIANGLE>(); return true;
    default: return false;
    }
}

// Sample by sample: every stage in index order within each sample. This order defines the
// engine's results; it is the one used whenever a stage reads its own or a later stage (the
// previous sample's value), several noise units share the generator, or a beat callback may
// change the patch between samples.
static void render_by_sample(const RENDER &r, SAMPLETYPE *buf, unsigned count, float vol)
{
    SYN *syn = r.syn;
    SYNFUNC *stages = syn->stage.data();
    const LIVE_INPUTS in{stages};
    for (unsigned k = 0; k < count; k++) {
        float sum = 0.0f;
        const uint32_t n = std::min(syn->stages, SYN_MAX_STAGES);
        for (uint32_t s = 0; s < n; s++) {
            SYNFUNC &f = stages[s];
            float v = 0.0f;
            if (!dispatch(f.type, [&]<signed char CODE>() { v = unit<CODE>(r, in, f); }))
                continue;  // keeps its out, adds nothing
            f.out = v;
            if (f.mix)
                sum += v;
        }
        buf[k] = to_sample(sum * vol);
        if (syn->tempo_callback && --syn->tempo_counter < 1) {
            syn->tempo_callback(syn);
            syn->tempo_counter = static_cast<int32_t>(syn->tempo_samples_per_beat);
        }
    }
}

// Whether the first n stages feed forward: every input a stage uses comes from a lower stage,
// at most one noise unit draws from the generator, and no beat callback can step in. Then each
// stage can be evaluated for a run of samples before the next, with the same results.
static bool feeds_forward(const SYN *syn, uint32_t n)
{
    if (syn->tempo_callback)
        return false;
    int noises = 0;
    for (uint32_t s = 0; s < n; s++) {
        const SYNFUNC &f = syn->stage[s];
        unsigned used = 0;  // bit per input slot the unit reads
        switch (f.type) {
        case SYN_MUL: case SYN_ADD: used = 0b00011; break;
        case SYN_ADSR: used = 0b00001; break;
        case SYN_HIGHPASS: used = 0b00011; break;
        case SYN_LOWPASS: used = 0b00111; break;
        case SYN_NOISE: used = 0b01011; noises++; break;
        case SYN_PULSE: case SYN_TRIANGLE: used = 0b11111; break;
        case SYN_SINE: used = 0b01111; break;
        default: break;
        }
        for (int slot = 0; slot < 5; slot++) {
            const int32_t j = f.in.signal[slot];
            if ((used >> slot & 1) && connected(j) && static_cast<uint32_t>(j) >= s)
                return false;
        }
    }
    return noises <= 1;
}

// Scratch of the stage-by-stage order: every stage's value and restart flag in each sample of the
// run, and the run's mix. Only the render writes them (on the audio thread).
static float run_outs[SYN_MAX_STAGES + 1][SYN_RUN];
static char run_resets[SYN_MAX_STAGES + 1][SYN_RUN];
static float run_mix[SYN_RUN];

// One stage of unit CODE over `len` samples of the run. An envelope that ends disables itself,
// and from then on it is skipped as it would be sample by sample.
// NOTE: the stage is worked on as a local copy, written back after the run: nothing else reads
// it meanwhile, and a local that nothing else can point to lets the compiler keep its fields
// in registers across the samples.
template <signed char CODE>
static void run_stage(const RENDER &r, SYNFUNC &stage, unsigned s, unsigned len)
{
    SYNFUNC f = stage;
    RUN_INPUTS in{run_outs, run_resets, 0};
    float *outs = run_outs[s];
    char *resets = run_resets[s];
    const bool mixed = f.mix != 0;
    unsigned i = 0;
    for (; i < len && f.type == CODE; i++) {
        in.i = i;
        const float v = unit<CODE>(r, in, f);
        f.out = v;
        outs[i] = v;
        resets[i] = f.reset;
        if (mixed)
            run_mix[i] += v;
    }
    for (; i < len; i++) {
        outs[i] = f.out;
        resets[i] = f.reset;
    }
    stage = f;
}

// Stage by stage over runs of samples, for a patch that feeds forward: the choice of rule is
// made once per stage and run instead of once per stage and sample, and the mix is summed in
// the same stage order, so every sample comes out exactly as sample by sample
static void render_by_stage(const RENDER &r, SAMPLETYPE *buf, unsigned count, float vol, uint32_t n)
{
    SYNFUNC *stages = r.syn->stage.data();
    for (unsigned done = 0; done < count;) {
        const unsigned len = std::min(count - done, SYN_RUN);
        std::fill(run_mix, run_mix + len, 0.0f);
        for (uint32_t s = 0; s < n; s++) {
            SYNFUNC &f = stages[s];
            if (!dispatch(f.type, [&]<signed char CODE>() { run_stage<CODE>(r, f, s, len); })) {
                std::fill(run_outs[s], run_outs[s] + len, f.out);
                std::fill(run_resets[s], run_resets[s] + len, f.reset);
            }
        }
        for (unsigned i = 0; i < len; i++)
            buf[done + i] = to_sample(run_mix[i] * vol);
        done += len;
    }
}

// Render `count` samples. Stages run in index order, so an input from a lower stage gives this
// sample's value and one from the same or a higher stage the previous sample's (feedback).
void syn_update(SYN *syn, SAMPLETYPE *buf, unsigned count)
{
    syn_stages_active = 0;
    if (count == 0)
        return;
    const uint32_t m = syn->oversample;
    const RENDER r{syn, m, m ? 1.0f / static_cast<float>(m) : 0.0f, syn->q_alpha};
    const float vol = syn->vol;
    const uint32_t n = std::min(syn->stages, SYN_MAX_STAGES);
    if (feeds_forward(syn, n))
        render_by_stage(r, buf, count, vol, n);
    else
        render_by_sample(r, buf, count, vol);
}

//----------------------------------------------------------------------------------
// [SECTION] Stage management
//----------------------------------------------------------------------------------
// Zero the record and set it up for `rate` Hz
void syn_init(SYN *syn, int rate, float vol, unsigned stages)
{
    *syn = SYN{};
    syn->sample_rate = static_cast<uint32_t>(rate);
    syn->oversample = 1;
    syn->q_alpha = 1.0f;
    syn->vol = std::clamp(vol, 0.0f, 1.0f);
    syn->stages = std::min(stages, SYN_MAX_STAGES);
    syn->adjusted_rate = static_cast<float>(rate);
    lum_logf("%s sample rate %d\n", "syn_init", rate);
}

SYNFUNC *syn_stage(SYN *syn, unsigned i)
{
    return bad_index(i) ? nullptr : &syn->stage[i];
}

// Restart a stage's unit from its settings and enable it. The envelope's hold is cleared too: a
// caller that wants it held sets it after the reset.
int syn_reset(SYN *syn, unsigned i)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = syn->stage[i];
    signed char c = static_cast<signed char>(std::abs(f.type));
    const float rate = static_cast<float>(syn->sample_rate);
    switch (c) {
    case SYN_ADSR:
        f.adsr.level = 0.0f;
        f.out = 0.0f;
        f.adsr.step = SYN_ADSR_ATTACK;
        break;
    case SYN_NOISE:
        f.osc.phase = 0.0f;
        f.osc.randval = f.out = noise_value(syn->randnum);
        f.osc.period = 1.0f;
        f.osc.phasestep = f.osc.freq / rate * SYN_NOISE_STEP;
        break;
    case SYN_PULSE:
        f.osc.phase = 0.0f;
        f.out = 1.0f;
        f.osc.period = 1.0f;
        f.osc.phasestep = f.osc.freq / rate / static_cast<float>(syn->oversample);
        break;
    case SYN_RAMP:
        f.out = f.ramp.start;
        break;
    case SYN_SINE:
        f.osc.period = 1.0f;
        f.osc.phase = 0.0f;
        f.out = 0.0f;
        f.osc.phasestep = f.osc.freq / rate;
        break;
    case SYN_TRIANGLE:
        f.osc.phase = 1.0f - 0.5f * f.osc.duty;
        f.out = 0.0f;
        f.osc.period = 1.0f;
        f.osc.phasestep = f.osc.freq / rate / static_cast<float>(syn->oversample);
        break;
    default:
        break;
    }
    f.reset = 1;
    f.end = 0;
    f.hold = 0;
    f.type = c;
    return 0;
}

int syn_enable(SYN *syn, unsigned i, int enable)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = syn->stage[i];
    if (enable)
        f.type = static_cast<signed char>(std::abs(f.type));
    else
        disable(f);
    return 0;
}

// Enable or disable every stage from `first` to `last` inclusive; indices above 256 are skipped
void syn_enable_range(SYN *syn, unsigned first, unsigned last, int flag)
{
    last = std::min(last, SYN_MAX_STAGES);
    for (unsigned i = first; i <= last; i++)
        syn_enable(syn, i, flag);
}

int syn_mix(SYN *syn, unsigned i, int enable)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.mix = enable ? 1 : 0; });
}

void syn_vol(SYN *syn, float vol)
{
    syn->vol = std::clamp(vol, 0.0f, 1.0f);
}

// A frequency in cycles per sample, the form an oscillator's frequency input takes
double syn_freqval(SYN *syn, float freq)
{
    return static_cast<double>(freq) / syn->sample_rate;
}

// Copy `count` stages and relocate their inputs: patches are written as if based at index 0, so
// the destination base is added to every connected input (the source base is not subtracted)
int syn_copy(SYN *src, unsigned srci, SYN *dest, unsigned desti, unsigned count)
{
    if (static_cast<uint64_t>(srci) + count > SYN_MAX_STAGES)
        return -1;
    if (static_cast<uint64_t>(desti) + count > SYN_MAX_STAGES)
        return -2;
    if (!src || !dest)
        return -3;
    if (count == 0)
        return 0;
    std::memmove(&dest->stage[desti], &src->stage[srci], count * sizeof(SYNFUNC));
    for (unsigned n = 0; n < count; n++)
        for (int32_t &slot : dest->stage[desti + n].in.signal)
            if (slot >= 0)
                slot += static_cast<int32_t>(desti);
    return 0;
}

// -1 ("active") if any stage of the block is enabled, not ended and mixed
int syn_check_active(SYN *syn, unsigned slot, unsigned count)
{
    if (static_cast<uint64_t>(slot) + count > SYN_MAX_STAGES || count == 0)
        return 0;
    for (unsigned i = slot; i < slot + count; i++) {
        const SYNFUNC &f = syn->stage[i];
        if (f.type >= 1 && f.end == 0 && f.mix)
            return -1;
    }
    return 0;
}

// Disable a block none of whose mixed stages still sounds: -2 if a stage was enabled before,
// -1 if none was, 0 if the block still sounds (or lies outside the table)
int syn_disable_inactive(SYN *syn, unsigned slot, unsigned count)
{
    if (static_cast<uint64_t>(slot) + count > SYN_MAX_STAGES)
        return 0;
    if (count == 0)
        return -1;
    for (unsigned i = slot; i < slot + count; i++) {
        const SYNFUNC &f = syn->stage[i];
        if (f.mix && (f.type >= 1 || f.end == 0))
            return 0;
    }
    bool was_enabled = false;
    for (unsigned i = slot; i < slot + count; i++) {
        SYNFUNC &f = syn->stage[i];
        was_enabled = was_enabled || f.type >= 1;
        disable(f);
    }
    return was_enabled ? -2 : -1;
}

int syn_find_last_used(SYN *syn)
{
    for (int i = static_cast<int>(SYN_MAX_STAGES) - 1; i >= 0; i--)
        if (syn->stage[i].type > 0)
            return i;
    return -1;
}

// Call `callback` every sample_rate / bps samples, the first time after the next sample; a
// null callback or a rate of 0 or less removes it
int syn_set_beat_callback(SYN *syn, SYN_BEAT_CALLBACK callback, float bps)
{
    if (bps > 0.0f && callback) {
        double samples = syn->sample_rate / static_cast<double>(bps);
        syn->tempo_samples_per_beat = samples >= 4294967295.0 ? 0xFFFFFFFFu : static_cast<uint32_t>(samples);
        syn->tempo_counter = 1;
        syn->tempo_callback = callback;
        std::printf("tempo_samples_per_beat %d (%f bps)\n", static_cast<int>(syn->tempo_samples_per_beat),
                    static_cast<double>(bps));
        std::fflush(stdout);
    } else {
        syn->tempo_callback = nullptr;
        syn->tempo_samples_per_beat = 0;
        syn->tempo_counter = 0;
    }
    return 1;
}

//----------------------------------------------------------------------------------
// [SECTION] Unit constructors
//----------------------------------------------------------------------------------
// The common part of the oscillators: a frequency of 0 or less becomes a tiny positive one
static SYNFUNC &osc_common(SYN *syn, unsigned i, signed char type, float freq)
{
    SYNFUNC &f = syn->stage[i];
    f.type = type;
    f.reset = 0;
    f.mix = 0;
    if (!(freq > 0.0f))
        freq = static_cast<float>(syn->sample_rate) * SYN_TINY;
    f.osc.freq = freq;
    f.osc.amp = 1.0f;
    f.osc.off = 0.0f;
    f.osc.period = 1.0f;
    unconnect(f);
    return f;
}

// A sine oscillator at `freq` Hz; its duty (used by sync) is left as it was
int syn_osc_sine(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = osc_common(syn, i, SYN_SINE, freq);
    f.osc.phase = 0.0f;
    f.osc.phasestep = f.osc.freq / static_cast<float>(syn->sample_rate);
    return 0;
}

int syn_osc_noise(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = osc_common(syn, i, SYN_NOISE, freq);
    f.osc.phase = 0.0f;
    f.osc.phasestep = f.osc.freq / static_cast<float>(syn->sample_rate) * SYN_NOISE_STEP;
    return 0;
}

int syn_osc_pulse(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = osc_common(syn, i, SYN_PULSE, freq);
    f.osc.phasestep = f.osc.freq / static_cast<float>(syn->sample_rate) / static_cast<float>(syn->oversample);
    syn_osc_duty(syn, i, 0.5f);
    f.osc.phase = 0.0f;
    return 0;
}

// A triangle at `freq` Hz with duty 0.5, starting at phase 0.75: 0 on its rising half
int syn_osc_triangle(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = osc_common(syn, i, SYN_TRIANGLE, freq);
    f.osc.phasestep = f.osc.freq / static_cast<float>(syn->sample_rate) / static_cast<float>(syn->oversample);
    syn_osc_duty(syn, i, 0.5f);
    f.osc.phase = 1.0f - 0.5f * f.osc.duty;
    return 0;
}

// The common part of the filters; `w` is the angular cutoff, at least 2 pi
static SYNFUNC &filter_common(SYN *syn, unsigned i, signed char type, float freq, double &w)
{
    SYNFUNC &f = syn->stage[i];
    f.type = type;
    f.reset = 0;
    f.mix = 0;
    f.filt.q = 0.0f;
    unconnect(f);
    w = SYN_TWO_PI * (freq < 1.0f ? 1.0f : freq);
    return f;
}

int syn_filt_lowpass(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i))
        return -1;
    double w;
    SYNFUNC &f = filter_common(syn, i, SYN_LOWPASS, freq, w);
    f.filt.alpha = static_cast<float>(1.0 / (syn->adjusted_rate / w + 1.0));
    return 0;
}

int syn_filt_highpass(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i))
        return -1;
    double w;
    SYNFUNC &f = filter_common(syn, i, SYN_HIGHPASS, freq, w);
    f.filt.alpha = static_cast<float>(1.0 / (w / syn->adjusted_rate + 1.0));
    return 0;
}

// An envelope with times in ms and a sustain level; it is finished until syn_reset starts its
// attack. The release falls from the sustain level in `r` ms.
int syn_adsr(SYN *syn, unsigned i, float a, float d, float s, float r)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = syn->stage[i];
    f.type = SYN_ADSR;
    f.reset = f.hold = f.end = f.mix = 0;
    a = std::max(a, 0.0f);
    d = std::max(d, 0.0f);
    s = std::clamp(s, 0.0f, 1.0f);
    r = std::max(r, 0.0f);
    f.adsr.level = 0.0f;
    f.out = 0.0f;
    unconnect(f);
    f.adsr.attack = a != 0.0f ? 1.0f / ms_to_samples(syn, a) : 1.0f;
    f.adsr.decay = d != 0.0f ? (1.0f - s) / ms_to_samples(syn, d) : 1.0f;
    f.adsr.sustain = s;
    f.adsr.release = r != 0.0f ? s / ms_to_samples(syn, r) : 1.0f;
    f.adsr.step = SYN_ADSR_FINISHED;
    return 0;
}

// A ramp whose value moves linearly from `start` to `end` in `ms` milliseconds, starting at
// `start` at once (a reset starts it there again). With `ms` 0 or less it reaches `end` in its
// first sample. An `end` of 0 or less becomes the smallest normal float, so that a ramp of
// frequencies never reaches 0.
int syn_ramp(SYN *syn, unsigned i, float start, float end, float ms)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = syn->stage[i];
    f.type = SYN_RAMP;
    f.reset = f.end = f.mix = 0;
    unconnect(f);
    if (!(end > 0.0f))
        end = SYN_TINY;
    float samples = ms_to_samples(syn, ms);
    float step;
    if (samples > 0.0f)
        step = (end - start) / samples;
    else if (end != start)
        step = end > start ? SYN_INFINITY : -SYN_INFINITY;
    else
        step = 0.0f;
    f.ramp.start = start;
    f.ramp.end = end;
    f.ramp.step = step;
    f.out = start;
    return 0;
}

// A ramp of frequencies given in Hz, in cycles per sample (each at most 1)
int syn_ramp_freq(SYN *syn, unsigned i, float start, float end, float ms)
{
    const float rate = static_cast<float>(syn->sample_rate);
    return syn_ramp(syn, i, std::min(start / rate, 1.0f), std::min(end / rate, 1.0f), ms);
}

int syn_math_val(SYN *syn, unsigned i, float n)
{
    if (bad_index(i))
        return -1;
    SYNFUNC &f = syn->stage[i];
    unconnect(f);
    f.type = SYN_CONST;
    f.math.n = n;
    return 0;
}

// The two-input math units: -1 for a bad stage, -2 and -3 for a bad first and second input
static int math_unit(SYN *syn, unsigned i, int a, int b, signed char type)
{
    if (bad_index(i))
        return -1;
    if (a > static_cast<int>(SYN_MAX_STAGES))
        return -2;
    if (b > static_cast<int>(SYN_MAX_STAGES))
        return -3;
    SYNFUNC &f = syn->stage[i];
    unconnect(f);
    f.type = type;
    f.reset = 0;
    f.mix = 0;
    f.math_in.a = a;
    f.math_in.b = b;
    return 0;
}

int syn_math_mul(SYN *syn, unsigned i, int a, int b)
{
    return math_unit(syn, i, a, b, SYN_MUL);
}

int syn_math_add(SYN *syn, unsigned i, int a, int b)
{
    return math_unit(syn, i, a, b, SYN_ADD);
}

//----------------------------------------------------------------------------------
// [SECTION] Parameter setters
//----------------------------------------------------------------------------------
// A new frequency in Hz; the phase step is not divided by the oversampling
int syn_osc_freq(SYN *syn, unsigned i, float freq)
{
    if (bad_index(i) || !(freq > 0.0f))
        return -1;
    SYNFUNC &f = syn->stage[i];
    f.osc.freq = freq;
    f.osc.period = 1.0f;
    f.osc.phasestep = freq / static_cast<float>(syn->sample_rate);
    if (f.type == SYN_NOISE || f.type == 'n')
        f.osc.phasestep *= SYN_NOISE_STEP;
    return 0;
}

int syn_osc_amp(SYN *syn, unsigned i, float amp)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.osc.amp = amp; });
}

int syn_osc_off(SYN *syn, unsigned i, float off)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.osc.off = off; });
}

// The duty cycle, clamped to 0..1, with the triangle's two slopes (infinite at 0 or 1)
int syn_osc_duty(SYN *syn, unsigned i, float duty)
{
    return set_stage(syn, i, [&](SYNFUNC &f) {
        SYNOSC &o = f.osc;
        if (duty > 1.0f)
            duty = 1.0f;
        else if (duty < 0.0f)
            duty = 0.0f;
        o.steprise = slope(duty);
        o.stepfall = slope(1.0f - duty);
        o.duty = duty;
    });
}

// A new cutoff in Hz.
// NOTE: the low-pass formula is chosen by the enabled low-pass code alone, so a disabled low-pass
// gets the high-pass formula.
int syn_filt_cutoff(SYN *syn, unsigned i, float freq)
{
    return set_stage(syn, i, [&](SYNFUNC &f) {
        const double w = SYN_TWO_PI * std::fabs(freq);
        const double rate = syn->sample_rate;
        if ((f.type & 0x7F) == SYN_LOWPASS)
            f.filt.alpha = static_cast<float>(1.0 / (rate / w + 1.0));
        else
            f.filt.alpha = static_cast<float>(1.0 / (w / rate + 1.0));
    });
}

int syn_filt_q(SYN *syn, unsigned i, float q)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.filt.q = q; });
}

// The envelope's single-step setters divide without a test: a time of 0 gives an infinite
// increment, which ends that step in one sample
int syn_adsr_attack(SYN *syn, unsigned i, float a)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.adsr.attack = 1.0f / ms_to_samples(syn, std::max(0.0f, a)); });
}

int syn_adsr_decay(SYN *syn, unsigned i, float d)
{
    return set_stage(syn, i, [&](SYNFUNC &f) {
        f.adsr.decay = (1.0f - f.adsr.sustain) / ms_to_samples(syn, std::max(0.0f, d));
    });
}

int syn_adsr_sustain(SYN *syn, unsigned i, float s)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.adsr.sustain = std::clamp(s, 0.0f, 1.0f); });
}

int syn_adsr_release(SYN *syn, unsigned i, float r)
{
    return set_stage(syn, i, [&](SYNFUNC &f) {
        f.adsr.release = f.adsr.sustain / ms_to_samples(syn, std::max(0.0f, r));
    });
}

int syn_adsr_hold(SYN *syn, unsigned i, int enable)
{
    return set_stage(syn, i, [&](SYNFUNC &f) { f.hold = enable != 0; });
}

//----------------------------------------------------------------------------------
// [SECTION] Input connections and queries
//----------------------------------------------------------------------------------
// Write input slot `slot` of stage i
static int connect(SYN *syn, unsigned i, int slot, int in)
{
    if (bad_index(i))
        return -1;
    if (in > static_cast<int>(SYN_MAX_STAGES))
        return -2;
    syn->stage[i].in.signal[slot] = in;
    return 0;
}

int syn_osc_in_amp(SYN *syn, unsigned i, int in) { return connect(syn, i, 0, in); }
int syn_osc_in_off(SYN *syn, unsigned i, int in) { return connect(syn, i, 1, in); }
int syn_osc_in_sync(SYN *syn, unsigned i, int in) { return connect(syn, i, 2, in); }
int syn_osc_in_freq(SYN *syn, unsigned i, int in) { return connect(syn, i, 3, in); }
int syn_osc_in_duty(SYN *syn, unsigned i, int in) { return connect(syn, i, 4, in); }
int syn_filt_in(SYN *syn, unsigned i, int in) { return connect(syn, i, 0, in); }
int syn_filt_in_cutoff(SYN *syn, unsigned i, int in) { return connect(syn, i, 1, in); }
int syn_filt_in_q(SYN *syn, unsigned i, int in) { return connect(syn, i, 2, in); }
int syn_adsr_in(SYN *syn, unsigned i, int in) { return connect(syn, i, 0, in); }

// The envelope's step code; a step of release or sustain reads 0 without a sustain level, so
// an envelope without sustain counts as finished once its decay is over
unsigned char syn_adsr_get_step(SYN *syn, unsigned i)
{
    if (bad_index(i))
        return 255;
    const SYNFUNC &f = syn->stage[i];
    if (f.type != SYN_ADSR)
        return 0;
    char step = f.adsr.step;
    if ((step == SYN_ADSR_RELEASE || step == SYN_ADSR_SUSTAIN) && f.adsr.sustain <= 0.0f)
        return 0;
    return static_cast<unsigned char>(step);
}

float syn_adsr_get_sustain(SYN *syn, unsigned i)
{
    if (bad_index(i))
        return -1.0f;
    const SYNFUNC &f = syn->stage[i];
    return f.type == SYN_ADSR ? f.adsr.sustain : 0.0f;
}
