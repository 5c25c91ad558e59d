// sounds: the game's sound effects (see sounds.h).
//
// Index of this file:
// [SECTION] Private helpers
// [SECTION] Effect functions
// [SECTION] Public calls
#include "sounds.h"

#include <cstdint>

#include "synth.h"

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
using WARBLE_CALLBACK = void (*)(SYNTH_EFFECT_STATE *e);

constexpr float SOUNDS_THUMP_NOISE = 0.25f;     // a thump's noise runs at a quarter of its frequency
constexpr int SOUNDS_THUMP_JUMP = 2;            // default factor of the frequency jump
constexpr int SOUNDS_THUMP_JUMP_TICK = 4;       // default tick of the jump
constexpr int SOUNDS_THUMP_BOUNCE_TICK = 15;    // the tick at which a bounce is due
constexpr float SOUNDS_THUMP_BOUNCE = 0.3f;     // each bounce's loudness against the last
constexpr float SOUNDS_THUMP_BOUNCE_MS = 15.0f; // a bounce's attack
constexpr float SOUNDS_THUMP_PULSE_AMP = 0.4f;  // a thump's pulsing amplitude: 0.4 +- 0.6 of scale
constexpr float SOUNDS_THUMP_PULSE_OFF = 0.6f;
constexpr float SOUNDS_WARBLE_LFO_HZ = 0.016666668f;  // one cycle a minute
constexpr int SOUNDS_WARBLE_TICKS = 30;         // a warble's default length in ticks
constexpr uint32_t SOUNDS_WARBLE_HASH = 123456789u;   // pseudo-random frequencies without a callback
constexpr uint32_t SOUNDS_WARBLE_MASK = 4095u;

// The envelope every patch ends in: the record's a, d, s, r over the signal of stage `in`,
// mixed and started
static void envelope(unsigned at, int in, const SYNTH_EFFECT_STATE *e, float attack)
{
    syn_adsr(&synraw, at, attack, e->d, e->s, e->r);
    syn_adsr_in(&synraw, at, in);
    syn_mix(&synraw, at, 1);
    syn_reset(&synraw, at);
}

// A pulse or a triangle at `freq` Hz with the given duty
static void oscillator(unsigned at, bool pulse, float freq, float duty)
{
    if (pulse)
        syn_osc_pulse(&synraw, at, freq);
    else
        syn_osc_triangle(&synraw, at, freq);
    syn_osc_duty(&synraw, at, duty);
}

// A low-pass with the record's resonance, or a high-pass, over the signal of stage `in`
static void filter(unsigned at, bool lowpass, float cutoff, int in, float q)
{
    if (lowpass) {
        syn_filt_lowpass(&synraw, at, cutoff);
        syn_filt_q(&synraw, at, q);
    } else {
        syn_filt_highpass(&synraw, at, cutoff);
    }
    syn_filt_in(&synraw, at, in);
}

// Count down the record's delay in ticks; true while it runs
static bool delayed(SYNTH_EFFECT_STATE *e)
{
    if (e->delay >= 1) {
        e->delay--;
        return true;
    }
    return false;
}

// The end of a patch from stage n on, after the stage `last`: a low-pass at filt when it is set,
// then the envelope; the effect gives up its slot while the envelope rings out
static int lowpass_and_release(SYNTH_EFFECT_STATE *e, unsigned n, unsigned last)
{
    if (e->filt != 0.0f) {
        filter(n, true, e->filt, static_cast<int>(last), e->q);
        last = n++;
    }
    envelope(n, static_cast<int>(last), e, e->a);
    return SYNTH_EFFECT_RELEASE;
}

// A one-shot effect: it goes on while its delay counts down, then `build` makes the patch from the
// slot's first stage, sweeping from freq to freq2 when freq2 is set, and says how it ends
using SOUNDS_BUILD = int (*)(SYNTH_EFFECT_STATE *e, unsigned b, bool sweep);
static int after_delay(SYNTH_EFFECT_STATE *e, SOUNDS_BUILD build)
{
    if (delayed(e))
        return SYNTH_EFFECT_CONT;
    return build(e, e->base, e->freq2 != 0.0f);
}

//----------------------------------------------------------------------------------
// [SECTION] Effect functions
//----------------------------------------------------------------------------------
// Noise through a filter, optionally swept from freq to freq2 and modulated at j Hz (k chooses
// the modulator's shape); stage 0 is left untouched without the sweep
static int build_noise(SYNTH_EFFECT_STATE *e, unsigned b, bool sweep)
{
    if (sweep)
        syn_ramp_freq(&synraw, b, e->freq * e->pitch, e->freq2 * e->pitch, e->a + e->d);
    const unsigned noise = b + 1;
    syn_osc_noise(&synraw, noise, e->freq * e->pitch);
    syn_osc_amp(&synraw, noise, e->scale);
    if (sweep)
        syn_osc_in_freq(&synraw, noise, static_cast<int>(b));
    unsigned n = noise + 1;
    if (e->j != 0) {
        const float freq = static_cast<float>(e->j);
        oscillator(n, e->k == 1 || e->k == 2, freq, e->duty);
        if (e->k == 1) {
            syn_osc_amp(&synraw, n, 0.5f * e->scale);
            syn_osc_off(&synraw, n, 0.5f * e->scale);
        } else {
            syn_osc_amp(&synraw, n, e->scale);
        }
        syn_osc_in_amp(&synraw, noise, static_cast<int>(n));
        n++;
    }
    filter(n, e->i == 0, e->filt, static_cast<int>(noise), e->q);
    syn_filt_q(&synraw, n, e->q);
    envelope(n + 1, static_cast<int>(n), e, e->a);
    return SYNTH_EFFECT_RELEASE;
}

// Low-passed noise at a quarter of freq that jumps to j times freq at tick `delay`, then releases,
// or (with k set by the caller) bounces k - 1 times, each 0.3 times as loud, before it releases.
// With i set, the noise pulses at i Hz.
int thump_fx(SYNTH_EFFECT_STATE *e)
{
    const unsigned b = e->base;
    const unsigned noise = b, lowpass = b + 1, env = b + 2, pulse = b + 3;
    if (e->state == 0) {
        if (e->j == 0)
            e->j = SOUNDS_THUMP_JUMP;
        if (e->delay == 0)
            e->delay = SOUNDS_THUMP_JUMP_TICK;
        syn_osc_noise(&synraw, noise, e->freq * e->pitch * SOUNDS_THUMP_NOISE);
        if (e->i != 0) {
            syn_osc_in_amp(&synraw, noise, static_cast<int>(pulse));
            e->k = 0;
        } else {
            syn_osc_amp(&synraw, noise, e->scale);
        }
        filter(lowpass, true, e->filt, static_cast<int>(noise), e->q);
        envelope(env, static_cast<int>(lowpass), e, e->a);
        if (e->i != 0) {
            oscillator(pulse, true, static_cast<float>(e->i), 0.5f);
            syn_osc_amp(&synraw, pulse, SOUNDS_THUMP_PULSE_AMP * e->scale);
            syn_osc_off(&synraw, pulse, SOUNDS_THUMP_PULSE_OFF * e->scale);
        }
    }
    e->state++;
    if (e->state == e->delay && e->k >= 0) {
        syn_osc_freq(&synraw, noise, e->freq * e->pitch * static_cast<float>(e->j));
        if (e->k == 0)
            return SYNTH_EFFECT_RELEASE;
        e->k = -e->k;
    }
    if (e->state == SOUNDS_THUMP_BOUNCE_TICK && e->k != 0) {
        e->k++;
        if (e->k == 0)
            return SYNTH_EFFECT_RELEASE;
        e->scale *= SOUNDS_THUMP_BOUNCE;
        syn_osc_amp(&synraw, noise, e->scale);
        envelope(env, static_cast<int>(lowpass), e, SOUNDS_THUMP_BOUNCE_MS);
        e->state = 1;
    }
    return SYNTH_EFFECT_CONT;
}

// A triangle (a pulse with j set) at freq x pitch, optionally swept to freq2 x pitch, through a
// low-pass and optionally a high-pass
static int build_pip(SYNTH_EFFECT_STATE *e, unsigned b, bool sweep)
{
    oscillator(b, e->j != 0, e->freq * e->pitch, e->duty);
    syn_osc_amp(&synraw, b, e->scale);
    unsigned n = b + 1;
    if (sweep) {
        syn_osc_in_freq(&synraw, b, static_cast<int>(n));
        syn_ramp_freq(&synraw, n, e->pitch * e->freq, e->freq2 * e->pitch, e->a + e->d + e->r);
        n++;
    }
    filter(n, true, e->filt, static_cast<int>(b), e->q);
    if (e->filt_high != 0.0f) {
        filter(n + 1, false, e->filt_high, static_cast<int>(n), e->q);
        n++;
    }
    envelope(n + 1, static_cast<int>(n), e, e->a);
    return SYNTH_EFFECT_RELEASE;
}

// The one-shot effects, built once their delay has counted down
int noise_fx(SYNTH_EFFECT_STATE *e) { return after_delay(e, build_noise); }
int pip_effect(SYNTH_EFFECT_STATE *e) { return after_delay(e, build_pip); }

// A carrier triangle whose frequency is freq2 + value x a modulator triangle at freq Hz (all in
// Hz times pitch but the modulator's own), optionally with the modulator's frequency swept
int fm_effect(SYNTH_EFFECT_STATE *e)
{
    const unsigned b = e->base;
    unsigned n = b;
    const bool sweep = e->ramp_start != 0.0f || e->ramp_end != 0.0f;
    if (sweep)
        syn_ramp_freq(&synraw, n++, e->ramp_start, e->ramp_end, e->a + e->d + e->r);
    const unsigned mod = n++;
    oscillator(mod, false, e->freq, e->duty);
    if (sweep)
        syn_osc_in_freq(&synraw, mod, static_cast<int>(b));
    syn_osc_off(&synraw, mod, static_cast<float>(syn_freqval(&synraw, e->freq2 * e->pitch)));
    syn_osc_amp(&synraw, mod, static_cast<float>(syn_freqval(&synraw, e->value * e->pitch)));
    const unsigned carrier = n++;
    syn_osc_triangle(&synraw, carrier, 1.0f);
    syn_osc_in_freq(&synraw, carrier, static_cast<int>(mod));
    syn_osc_amp(&synraw, carrier, e->scale);
    unsigned last = carrier;
    if (e->filt_high != 0.0f) {
        filter(n, false, e->filt_high, static_cast<int>(last), e->q);
        last = n++;
    }
    return lowpass_and_release(e, n, last);
}

// A triangle swept from freq to freq2 (times pitch), ring-modulated by an i Hz triangle (a pulse
// with k set) and optionally by a j Hz triangle, through a low-pass; with ramp_start (or
// ramp_end) set, the carrier's duty is swept between them
int ringmod_effect(SYNTH_EFFECT_STATE *e)
{
    const bool duty_sweep = e->ramp_start != 0.0f || e->ramp_end != 0.0f;
    if (delayed(e))
        return SYNTH_EFFECT_CONT;
    if (e->a == 0.0f)
        e->a = 2.0f;
    if (e->d == 0.0f)
        e->d = 15.0f;
    if (e->freq == 0.0f)
        e->freq = 1500.0f;
    if (e->freq2 == 0.0f)
        e->freq2 = e->freq;
    if (e->ramp_start == 0.0f && e->ramp_end == 0.0f)
        e->ramp_start = e->ramp_end = 0.5f;
    const float f1 = e->freq * e->pitch;
    const float f2 = e->pitch * e->freq2;
    const unsigned b = e->base;
    unsigned n = b;
    if (duty_sweep)
        syn_ramp(&synraw, n++, e->ramp_start, e->ramp_end, e->a + e->d + e->r);
    const unsigned sweep = n, carrier = n + 1, mod = n + 2;
    syn_ramp_freq(&synraw, sweep, f1, f2, e->a + e->d);
    syn_osc_triangle(&synraw, carrier, f1);
    syn_osc_in_freq(&synraw, carrier, static_cast<int>(sweep));
    syn_osc_amp(&synraw, carrier, e->scale);
    if (duty_sweep)
        syn_osc_in_duty(&synraw, carrier, static_cast<int>(b));
    else
        syn_osc_duty(&synraw, carrier, e->duty);
    oscillator(mod, e->k != 0, static_cast<float>(e->i), e->duty2);
    syn_osc_in_amp(&synraw, mod, static_cast<int>(carrier));
    unsigned last = mod;
    n = mod + 1;
    if (e->j > 0) {
        oscillator(n, false, static_cast<float>(e->j), 0.5f);
        syn_osc_in_amp(&synraw, n, static_cast<int>(last));
        last = n++;
    }
    return lowpass_and_release(e, n, last);
}

// A held triangle whose frequency the callback in `info` sets every tick (or a pseudo-random one
// without it), slowly swinging in loudness; released after `delay` ticks (30 when 0)
int warble_effect(SYNTH_EFFECT_STATE *e)
{
    const unsigned b = e->base;
    const unsigned tone = b, swing = b + 1, env = b + 2;
    if (e->state == 0) {
        syn_osc_triangle(&synraw, tone, 1.0f);
        syn_osc_amp(&synraw, tone, 0.5f * e->scale);
        oscillator(swing, false, SOUNDS_WARBLE_LFO_HZ, e->duty);
        syn_osc_in_amp(&synraw, swing, static_cast<int>(tone));
        syn_osc_off(&synraw, swing, 0.5f * e->scale);
        envelope(env, static_cast<int>(swing), e, e->a);
        syn_adsr_hold(&synraw, env, 1);
        if (e->delay == 0)
            e->delay = SOUNDS_WARBLE_TICKS;
    }
    if (e->info)
        reinterpret_cast<WARBLE_CALLBACK>(e->info)(e);
    else
        e->i = static_cast<int32_t>((static_cast<uint32_t>(e->state) * SOUNDS_WARBLE_HASH) & SOUNDS_WARBLE_MASK);
    syn_osc_amp(&synraw, tone, 0.5f * e->scale);
    syn_osc_freq(&synraw, tone, static_cast<float>(e->i));
    syn_osc_off(&synraw, swing, 0.5f * e->scale);
    e->state++;
    if (e->state < e->delay)
        return SYNTH_EFFECT_CONT;
    syn_adsr_hold(&synraw, env, 0);
    return SYNTH_EFFECT_RELEASE;
}

//----------------------------------------------------------------------------------
// [SECTION] Public calls
//----------------------------------------------------------------------------------
SYNTH_EFFECT_STATE *sound_noise(float freq, int decay)
{
    SYNTH_EFFECT_STATE *e = synth_effect(noise_fx);
    e->freq = freq;
    e->d = static_cast<float>(decay);
    e->a = 2.0f;
    e->filt = 10000.0f;
    return e;
}

SYNTH_EFFECT_STATE *sound_thump(float freq)
{
    SYNTH_EFFECT_STATE *e = synth_effect(thump_fx);
    e->scale = 0.9f;
    e->freq = freq;
    e->a = 2.0f;
    e->d = 250.0f;
    e->filt = 1000.0f;
    return e;
}

SYNTH_EFFECT_STATE *sound_pip(float pitch, int length)
{
    SYNTH_EFFECT_STATE *e = synth_effect(pip_effect);
    e->d = static_cast<float>(length);
    e->freq = 1046.528f;
    e->pitch = pitch;
    e->a = 2.0f;
    e->duty = 0.5f;
    e->filt = 10000.0f;
    e->scale = 0.9f;
    return e;
}

SYNTH_EFFECT_STATE *sound_fm(float freq1, float freq2, float depth)
{
    SYNTH_EFFECT_STATE *e = synth_effect(fm_effect);
    e->freq = freq1;
    e->scale = 0.9f;
    e->a = 10.0f;
    e->freq2 = freq2;
    e->d = 500.0f;
    e->duty = 0.0f;
    e->value = depth;
    return e;
}

SYNTH_EFFECT_STATE *sound_ringmod(float pitch, int length)
{
    SYNTH_EFFECT_STATE *e = synth_effect(ringmod_effect);
    e->pitch = pitch;
    e->d = static_cast<float>(length);
    e->duty = e->duty2 = 0.5f;
    e->i = 60;
    e->freq = 1500.0f;
    e->filt = 10000.0f;
    return e;
}

SYNTH_EFFECT_STATE *sound_warble(void (*callback)(SYNTH_EFFECT_STATE *e))
{
    SYNTH_EFFECT_STATE *e = synth_effect(warble_effect);
    e->a = 2.0f;
    e->d = 2.0f;
    e->s = 0.99f;
    e->r = 25.0f;
    e->info = reinterpret_cast<void *>(callback);
    return e;
}
