// synth_reference: a plain second model of the synthesiser's unit rules (see synth_reference.h).
#include "synth_reference.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr float REF_TINY = 1.1754944e-38f;  // the smallest normal float: "nearly zero" frequencies and ramp ends
constexpr float REF_NOISE_STEP = 8.0f;      // the noise unit's phase runs 8 times its frequency
constexpr float REF_NOISE_INPUT = 16.0f;    // and 16 times a frequency fed through its input
constexpr uint32_t REF_LCG_MUL = 1103515245u;  // noise generator: multiplier of the congruence
constexpr uint32_t REF_LCG_ADD = 12345u;       // noise generator: increment of the congruence
constexpr double REF_NOISE_SCALE = 32767.0;    // noise value = low 16 bits / this - 1
constexpr double REF_FULL_SCALE = 32767.0;     // output sample of a mix of 1.0
constexpr float REF_MS_PER_SECOND = 1000.0f;   // envelope and ramp times are in ms

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Whether an input slot names a stage
static bool ref_connected(int32_t source)
{
    return source >= 0 && source <= REF_MAX_STAGES;
}

// The current `out` of the stage an input slot names; the slot must be connected
static float ref_in(const REF_SYN &syn, const REF_STAGE &st, int slot)
{
    return syn.stage[static_cast<size_t>(st.in[static_cast<size_t>(slot)])].out;
}

// The input if its slot is connected, else the unit's own parameter
static float ref_in_or(const REF_SYN &syn, const REF_STAGE &st, int slot, float own)
{
    return ref_connected(st.in[static_cast<size_t>(slot)]) ? ref_in(syn, st, slot) : own;
}

// Whether a slot is connected
static bool ref_has(const REF_STAGE &st, int slot)
{
    return ref_connected(st.in[static_cast<size_t>(slot)]);
}

// A constructor's frequency: zero, negative or NaN becomes a tiny positive one
static float ref_positive_freq(const REF_SYN &syn, float freq)
{
    return freq > 0.0f ? freq : static_cast<float>(syn.sample_rate) * REF_TINY;
}

// The settings every oscillator builder shares
static void ref_oscillator(REF_SYN &syn, int i, signed char type, float freq)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.type = type;
    st.reset = 0;
    st.mix = 0;
    st.freq = ref_positive_freq(syn, freq);
    st.amp = 1.0f;
    st.off = 0.0f;
    st.in.fill(-1);
    st.phase = 0.0f;
}

// Filter builder: `highpass` picks the coefficient formula
static void ref_filter(REF_SYN &syn, int i, signed char type, float freq, bool highpass)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.type = type;
    st.reset = 0;
    st.mix = 0;
    st.q = 0.0f;
    st.in.fill(-1);
    double w = 2.0 * std::numbers::pi * (freq < 1.0f ? 1.0 : static_cast<double>(freq));
    double rate = static_cast<double>(static_cast<float>(syn.sample_rate));
    st.alpha = static_cast<float>(highpass ? 1.0 / (w / rate + 1.0) : 1.0 / (rate / w + 1.0));
}

// A time in ms as a number of samples
static float ref_samples(const REF_SYN &syn, float ms)
{
    return ms * static_cast<float>(syn.sample_rate) / REF_MS_PER_SECOND;
}

// Phase wrap: a phase at or past either end of 0..1 is folded back into it. Returns whether it wrapped.
static bool ref_wrap(REF_STAGE &st)
{
    if (!(st.phase >= 1.0f || st.phase <= 0.0f))
        return false;
    st.phase = std::fmod(st.phase, 1.0f);
    if (st.phase < 0.0f)
        st.phase += 1.0f;
    st.reset = 1;
    return true;
}

// Wrap, or else hard sync: restart at 1 - duty / 2 when the sync source restarted
static void ref_wrap_or_sync(const REF_SYN &syn, REF_STAGE &st)
{
    if (ref_wrap(st))
        return;
    if (ref_has(st, REF_SYNC) && syn.stage[static_cast<size_t>(st.in[REF_SYNC])].reset) {
        st.phase = 1.0f - 0.5f * st.duty;
        st.reset = 1;
    } else {
        st.reset = 0;
    }
}

// The envelope has run out: silent, finished, and it disables itself
static void ref_envelope_finish(REF_STAGE &st)
{
    st.end = 1;
    st.level = 0.0f;
    st.type = static_cast<signed char>(-std::abs(st.type));
}

// '*' and '+': 0 unless both operands are connected
static float ref_math(const REF_SYN &syn, const REF_STAGE &st, bool product)
{
    if (!ref_has(st, REF_A) || !ref_has(st, REF_B))
        return 0.0f;
    float a = ref_in(syn, st, REF_A);
    float b = ref_in(syn, st, REF_B);
    return product ? a * b : a + b;
}

// 'A': one envelope step, then the level, times the signal if one is connected
static float ref_envelope(const REF_SYN &syn, REF_STAGE &st)
{
    switch (st.env_step) {
    case 'a':
        st.level += st.attack;
        if (st.level >= 1.0f) {
            st.level = 1.0f;
            st.env_step = 'd';
        }
        break;
    case 'd':
        st.level -= st.decay;
        if (st.sustain >= st.level) {
            st.level = st.sustain;
            st.env_step = 's';
        }
        break;
    case 's':
        if (!st.hold)
            st.env_step = 'r';
        break;
    case 'r':
        st.level -= st.release;
        if (!(st.level > 0.0f)) {
            st.env_step = 'f';
            ref_envelope_finish(st);
        }
        break;
    default:
        ref_envelope_finish(st);
        break;
    }
    return ref_has(st, REF_SIGNAL) ? st.level * ref_in(syn, st, REF_SIGNAL) : st.level;
}

// 'H': one-pole high-pass
static float ref_highpass_value(const REF_SYN &syn, REF_STAGE &st)
{
    if (ref_has(st, REF_CUTOFF))
        st.alpha = std::fabs(ref_in(syn, st, REF_CUTOFF));
    float x = ref_in_or(syn, st, REF_SIGNAL, 0.0f);
    float value = st.alpha * (st.out + x - st.oldin);
    st.oldin = x;
    return value;
}

// 'L': low-pass with a resonance term from the last two outputs
static float ref_lowpass_value(const REF_SYN &syn, REF_STAGE &st)
{
    if (ref_has(st, REF_CUTOFF))
        st.alpha = std::fabs(ref_in(syn, st, REF_CUTOFF));
    float x = ref_in_or(syn, st, REF_SIGNAL, 0.0f);
    float y1 = st.out;
    if (ref_has(st, REF_Q))
        st.q = std::fabs(ref_in(syn, st, REF_Q));
    float value = st.alpha * (x - y1) + y1 + (y1 - st.oldout) * st.q * syn.q_alpha;
    st.oldout = y1;
    return value;
}

// 'N': a new random value at every wrap, held in between
static float ref_noise_value(REF_SYN &syn, REF_STAGE &st)
{
    st.phase += st.phasestep;
    if (ref_has(st, REF_FREQ))
        st.phasestep = REF_NOISE_INPUT * ref_in(syn, st, REF_FREQ);
    if (ref_wrap(st)) {
        syn.randnum = syn.randnum * REF_LCG_MUL + REF_LCG_ADD;
        st.randval = static_cast<float>((syn.randnum & 0xFFFFu) / REF_NOISE_SCALE - 1.0);
    } else {
        st.reset = 0;
    }
    return st.randval * ref_in_or(syn, st, REF_AMP, st.amp) + ref_in_or(syn, st, REF_OFF, st.off);
}

// 'R': straight line from start to its stop value, then stays there
static float ref_ramp_value(REF_STAGE &st)
{
    float v = st.out + st.increment;
    if ((st.increment > 0.0f && v > st.stop) || (st.increment <= 0.0f && v < st.stop)) {
        st.end = 1;
        return st.stop;
    }
    return v;
}

// 'S': sine, evaluated in double precision
static float ref_sine_value(const REF_SYN &syn, REF_STAGE &st)
{
    st.phase += st.phasestep;
    if (ref_has(st, REF_FREQ))
        st.phasestep = ref_in(syn, st, REF_FREQ);
    ref_wrap_or_sync(syn, st);
    double s = std::sin(2.0 * std::numbers::pi * static_cast<double>(st.phase));
    double amp = ref_in_or(syn, st, REF_AMP, st.amp);
    double off = ref_in_or(syn, st, REF_OFF, st.off);
    return static_cast<float>(s * amp + off);
}

// 'P' and 'T': the average of `oversample` sub-steps
static float ref_pulse_or_triangle_value(const REF_SYN &syn, REF_STAGE &st, bool triangle)
{
    uint32_t m = syn.oversample;
    if (m == 0)
        return 0.0f;
    float sum = 0.0f;
    for (uint32_t k = 0; k < m; k++) {
        st.phase += st.phasestep;
        if (ref_has(st, REF_DUTY)) {
            st.duty = std::fabs(ref_in(syn, st, REF_DUTY));
            if (triangle) {
                st.steprise = 2.0f / st.duty;
                st.stepfall = 2.0f / (1.0f - st.duty);
            }
        }
        if (ref_has(st, REF_FREQ))
            st.phasestep = ref_in(syn, st, REF_FREQ) / static_cast<float>(m);
        ref_wrap_or_sync(syn, st);
        float s;
        if (!triangle)
            s = st.duty > st.phase ? 1.0f : -1.0f;
        else if (st.duty > st.phase)
            s = 1.0f - st.steprise * st.phase;
        else
            s = 1.0f - (1.0f - st.phase) * st.stepfall;
        sum += s * ref_in_or(syn, st, REF_AMP, st.amp) + ref_in_or(syn, st, REF_OFF, st.off);
    }
    return sum / static_cast<float>(m);
}

// Whether the render evaluates a stage of this type (enabled and a known unit)
static bool ref_evaluated(signed char type)
{
    switch (type) {
    case '#': case '*': case '+': case 'A': case 'H': case 'L':
    case 'N': case 'P': case 'R': case 'S': case 'T':
        return true;
    default:
        return false;
    }
}

// One stage's value in this sample, by its unit's rule
static float ref_value(REF_SYN &syn, REF_STAGE &st)
{
    switch (st.type) {
    case '#': return st.n;
    case '*': return ref_math(syn, st, true);
    case '+': return ref_math(syn, st, false);
    case 'A': return ref_envelope(syn, st);
    case 'H': return ref_highpass_value(syn, st);
    case 'L': return ref_lowpass_value(syn, st);
    case 'N': return ref_noise_value(syn, st);
    case 'P': return ref_pulse_or_triangle_value(syn, st, false);
    case 'R': return ref_ramp_value(st);
    case 'S': return ref_sine_value(syn, st);
    default: return ref_pulse_or_triangle_value(syn, st, true);
    }
}

// The scaled mix as a sample: clipped symmetrically to +-32767, NaN silent, else floor(32767 x)
static int16_t ref_sample(float x)
{
    if (x > 1.0f)
        return 32767;
    if (x < -1.0f)
        return -32767;
    if (std::isnan(x))
        return 0;
    return static_cast<int16_t>(static_cast<int>(x * REF_FULL_SCALE + REF_FULL_SCALE + 1.0) - 32768);
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void ref_init(REF_SYN &syn, int rate, float vol, int stages)
{
    syn = REF_SYN{};
    syn.sample_rate = static_cast<uint32_t>(rate);
    syn.oversample = 1;
    syn.q_alpha = 1.0f;
    syn.vol = vol < 0.0f ? 0.0f : (vol > 1.0f ? 1.0f : vol);
    syn.stages = stages < REF_MAX_STAGES ? stages : REF_MAX_STAGES;
}

void ref_sine(REF_SYN &syn, int i, float freq)
{
    ref_oscillator(syn, i, 'S', freq);
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.phasestep = st.freq / static_cast<float>(syn.sample_rate);
}

void ref_noise(REF_SYN &syn, int i, float freq)
{
    ref_oscillator(syn, i, 'N', freq);
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.phasestep = st.freq / static_cast<float>(syn.sample_rate) * REF_NOISE_STEP;
}

void ref_pulse(REF_SYN &syn, int i, float freq)
{
    ref_oscillator(syn, i, 'P', freq);
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.phasestep = st.freq / static_cast<float>(syn.sample_rate) / static_cast<float>(syn.oversample);
    ref_duty(syn, i, 0.5f);
    st.phase = 0.0f;
}

void ref_triangle(REF_SYN &syn, int i, float freq)
{
    ref_pulse(syn, i, freq);
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.type = 'T';
    st.phase = 1.0f - 0.5f * st.duty;
}

void ref_lowpass(REF_SYN &syn, int i, float freq)
{
    ref_filter(syn, i, 'L', freq, false);
}

void ref_highpass(REF_SYN &syn, int i, float freq)
{
    ref_filter(syn, i, 'H', freq, true);
}

void ref_adsr(REF_SYN &syn, int i, float a, float d, float s, float r)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    a = a < 0.0f ? 0.0f : a;
    d = d < 0.0f ? 0.0f : d;
    s = s < 0.0f ? 0.0f : (s > 1.0f ? 1.0f : s);
    r = r < 0.0f ? 0.0f : r;
    st.type = 'A';
    st.reset = 0;
    st.hold = 0;
    st.end = 0;
    st.mix = 0;
    st.level = 0.0f;
    st.out = 0.0f;
    st.in.fill(-1);
    st.attack = a != 0.0f ? 1.0f / ref_samples(syn, a) : 1.0f;
    st.decay = d != 0.0f ? (1.0f - s) / ref_samples(syn, d) : 1.0f;
    st.sustain = s;
    st.release = r != 0.0f ? s / ref_samples(syn, r) : 1.0f;
    st.env_step = 'f';
}

void ref_ramp(REF_SYN &syn, int i, float start, float stop, float ms)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    if (!(stop > 0.0f))
        stop = REF_TINY;
    float samples = ref_samples(syn, ms);
    if (samples > 0.0f)
        st.increment = (stop - start) / samples;
    else if (stop > start)
        st.increment = std::numeric_limits<float>::infinity();
    else if (stop < start)
        st.increment = -std::numeric_limits<float>::infinity();
    else
        st.increment = 0.0f;
    st.start = start;
    st.stop = stop;
    st.out = start;
    st.type = 'R';
    st.reset = 0;
    st.end = 0;
    st.mix = 0;
    st.in.fill(-1);
}

void ref_const(REF_SYN &syn, int i, float n)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.in.fill(-1);
    st.type = '#';
    st.n = n;
}

void ref_mul(REF_SYN &syn, int i, int a, int b)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    st.in.fill(-1);
    st.type = '*';
    st.reset = 0;
    st.mix = 0;
    st.in[REF_A] = a;
    st.in[REF_B] = b;
}

void ref_add(REF_SYN &syn, int i, int a, int b)
{
    ref_mul(syn, i, a, b);
    syn.stage[static_cast<size_t>(i)].type = '+';
}

void ref_amp(REF_SYN &syn, int i, float amp)
{
    syn.stage[static_cast<size_t>(i)].amp = amp;
}

void ref_off(REF_SYN &syn, int i, float off)
{
    syn.stage[static_cast<size_t>(i)].off = off;
}

void ref_duty(REF_SYN &syn, int i, float duty)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    if (duty > 1.0f) {
        st.duty = 1.0f;
        st.steprise = 2.0f;
        st.stepfall = std::numeric_limits<float>::infinity();
    } else if (duty < 0.0f) {
        st.duty = 0.0f;
        st.steprise = std::numeric_limits<float>::infinity();
        st.stepfall = 2.0f;
    } else {
        st.duty = duty;
        st.steprise = 2.0f / duty;
        st.stepfall = 2.0f / (1.0f - duty);
    }
}

void ref_q(REF_SYN &syn, int i, float q)
{
    syn.stage[static_cast<size_t>(i)].q = q;
}

void ref_cutoff(REF_SYN &syn, int i, float freq)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    double w = 2.0 * std::numbers::pi * std::fabs(static_cast<double>(freq));
    double rate = static_cast<double>(syn.sample_rate);
    // NOTE: only the low 7 bits of the code are compared, so a disabled low-pass takes the
    // high-pass formula
    bool lowpass = (st.type & 0x7F) == 'L';
    st.alpha = static_cast<float>(lowpass ? 1.0 / (rate / w + 1.0) : 1.0 / (w / rate + 1.0));
}

void ref_hold(REF_SYN &syn, int i, int enable)
{
    syn.stage[static_cast<size_t>(i)].hold = static_cast<char>(enable);
}

void ref_connect(REF_SYN &syn, int i, int slot, int source)
{
    syn.stage[static_cast<size_t>(i)].in[static_cast<size_t>(slot)] = source;
}

void ref_reset(REF_SYN &syn, int i)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    float rate = static_cast<float>(syn.sample_rate);
    switch (std::abs(st.type)) {
    case 'A':
        st.level = 0.0f;
        st.out = 0.0f;
        st.env_step = 'a';
        break;
    case 'N':
        st.phase = 0.0f;
        st.randval = static_cast<float>((syn.randnum & 0xFFFFu) / REF_NOISE_SCALE - 1.0);
        st.out = st.randval;
        st.phasestep = st.freq / rate * REF_NOISE_STEP;
        break;
    case 'P':
        st.phase = 0.0f;
        st.out = 1.0f;
        st.phasestep = st.freq / rate / static_cast<float>(syn.oversample);
        break;
    case 'R':
        st.out = st.start;
        break;
    case 'S':
        st.phase = 0.0f;
        st.out = 0.0f;
        st.phasestep = st.freq / rate;
        break;
    case 'T':
        st.phase = 1.0f - 0.5f * st.duty;
        st.out = 0.0f;
        st.phasestep = st.freq / rate / static_cast<float>(syn.oversample);
        break;
    default:
        break;
    }
    st.reset = 1;
    st.end = 0;
    st.hold = 0;
    st.type = static_cast<signed char>(std::abs(st.type));
}

void ref_enable(REF_SYN &syn, int i, int enable)
{
    REF_STAGE &st = syn.stage[static_cast<size_t>(i)];
    int magnitude = std::abs(st.type);
    st.type = static_cast<signed char>(enable ? magnitude : -magnitude);
}

void ref_mix(REF_SYN &syn, int i, int enable)
{
    syn.stage[static_cast<size_t>(i)].mix = enable ? 1 : 0;
}

void ref_render(REF_SYN &syn, int16_t *out, int count)
{
    for (int k = 0; k < count; k++) {
        float sum = 0.0f;
        for (int s = 0; s < syn.stages; s++) {
            REF_STAGE &st = syn.stage[static_cast<size_t>(s)];
            // Disabled, empty and unknown stages keep their `out` and add nothing
            if (!ref_evaluated(st.type))
                continue;
            float value = ref_value(syn, st);
            st.out = value;
            if (st.mix)
                sum += value;
        }
        out[k] = ref_sample(sum * syn.vol);
    }
}
