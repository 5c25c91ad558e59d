// synth: a sample-by-sample modular synthesiser for sound effects.
// A patch is a row of up to 256 stages (unit generators) in one record, SYN. For every output
// sample the stages are evaluated in index order; each computes one float `out` from its own
// parameters and from the current `out` of the stages it names as inputs; the outputs of the
// stages marked for mixing are summed, scaled by the master volume, clipped and written as one
// mono signed 16-bit sample. The one instance of the system is `synraw`, rendered into `synthbuf`
// by the audio callback; the effect slots build their patches into it.
// Compile-time options: none. Everything is static; nothing is allocated.
// Depends on: log (the log line of syn_init).
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned SYN_MAX_STAGES = 256;      // stages one record holds
constexpr unsigned SYN_BUFFER_SAMPLES = 65536; // synthbuf's size: the longest audio block
constexpr float SYN_TINY = 1.1754944e-38f;    // the smallest normal float: "nearly zero" frequencies and ramp ends

// Unit codes, one ASCII character each. A positive code is an enabled stage, the same code
// negated a disabled one that keeps its settings, 0 an empty stage.
constexpr signed char SYN_CONST = '#';     // constant value
constexpr signed char SYN_MUL = '*';       // product of two stages
constexpr signed char SYN_ADD = '+';       // sum of two stages
constexpr signed char SYN_ADSR = 'A';      // attack-decay-sustain-release envelope
constexpr signed char SYN_HIGHPASS = 'H';  // one-pole high-pass filter
constexpr signed char SYN_LOWPASS = 'L';   // low-pass filter with resonance
constexpr signed char SYN_NOISE = 'N';     // sample-and-hold noise
constexpr signed char SYN_PULSE = 'P';     // pulse oscillator
constexpr signed char SYN_RAMP = 'R';      // linear ramp
constexpr signed char SYN_SINE = 'S';      // sine oscillator
constexpr signed char SYN_TRIANGLE = 'T';  // triangle oscillator

// The envelope's steps
constexpr char SYN_ADSR_ATTACK = 'a';
constexpr char SYN_ADSR_DECAY = 'd';
constexpr char SYN_ADSR_SUSTAIN = 's';
constexpr char SYN_ADSR_RELEASE = 'r';
constexpr char SYN_ADSR_FINISHED = 'f';

constexpr int32_t SYN_UNCONNECTED = -1;    // an input slot that reads nothing

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The engine's output sample: the two's-complement pattern of a signed 16-bit sample
using SAMPLETYPE = uint16_t;

// Input connections: stage indices, -1 for unconnected. The five members overlay one another.
struct SYNOSC_INP {
    int32_t amp;     // amplitude (else the stored amp)
    int32_t off;     // offset (else the stored off)
    int32_t sync;    // hard sync: restart when that stage's `reset` is set
    int32_t freq;    // frequency in cycles per sample (else the stored phase step)
    int32_t duty;    // duty cycle 0..1 (else the stored duty)
};
struct SYNFILTER_INP {
    int32_t signal;  // the filtered signal; must be connected
    int32_t cutoff;  // alpha, read as its absolute value
    int32_t q;       // resonance, read as its absolute value
};
struct SYNMATH_INP {
    int32_t a, b;    // the two operands
};
struct SYNADSR_INP {
    int32_t signal;  // the enveloped signal (else the envelope's level itself)
};
struct SYNARRAY_INP {
    int32_t signal[5];  // the same five slots as a plain array, for relocation
};

// Unit states; they overlay one another too
struct SYNOSC {
    SYNOSC_INP input;   // declared, never read
    float freq;         // Hz
    float amp;          // amplitude
    float off;          // offset
    float duty;         // 0..1
    float phasestep;    // phase advance per step, in cycles
    float period;       // always 1.0
    float steprise;     // triangle slope on the falling half (2 / duty)
    float stepfall;     // triangle slope on the rising half (2 / (1 - duty))
    float randval;      // noise: the held value
    float phase;        // 0..1
};
struct SYNFILTER {
    float alpha;        // filter coefficient
    float q;            // resonance (low-pass)
    float oldin;        // previous input (high-pass)
    float oldout;       // output before the previous one (low-pass)
};
struct SYNMATH {
    float n;            // the constant
};
struct SYNRAMP {
    float start;        // the value at reset
    float end;          // the value the ramp stops at
    float step;         // change per sample
};
struct SYNADSR {
    char step;          // current step: a, d, s, r or f
    float attack;       // level rise per sample
    float decay;        // level fall per sample in the decay
    float sustain;      // sustain level 0..1
    float release;      // level fall per sample in the release
    float level;        // the current level
};

// One stage
struct SYNFUNC {
    signed char type;   // unit code; negative: disabled; 0: empty
    char reset;         // 1 in the sample in which an oscillator wrapped or was restarted
    char hold;          // envelope: stay in the sustain step while set
    char end;           // 1 once the unit has finished (envelope released, ramp at its end)
    char mix;           // add `out` to the output mix
    float pan;          // declared; the mono render does not use it
    union {
        SYNOSC_INP osc_in;
        SYNFILTER_INP filt_in;
        SYNMATH_INP math_in;
        SYNADSR_INP adsr_in;
        SYNARRAY_INP in;
    };
    union {
        SYNOSC osc;
        SYNFILTER filt;
        SYNMATH math;
        SYNRAMP ramp;
        SYNADSR adsr;
    };
    float out;          // the value in the latest evaluated sample
};

struct SYN;
using SYN_BEAT_CALLBACK = void (*)(SYN *syn);

// The synthesiser
// NOTE: the stage table has one spare stage past the 256 a patch may use. Every index check
// refuses only indices greater than 256, so index 256 passes them (and an effect that stops
// clears one stage beyond its slot); the spare stage gives those writes real storage. The render
// loop never evaluates it, since `stages` is at most 256.
struct SYN {
    float vol;                       // master volume 0..1
    int32_t randnum;                 // noise generator state
    uint32_t oversample;             // sub-steps per sample of the pulse and triangle (1)
    uint32_t sample_rate;            // output rate in Hz
    uint32_t sample_size;            // declared, not read
    float q_alpha;                   // global factor of the low-pass resonance (1.0)
    float adjusted_rate;             // sample_rate as a float, for the filter constructors
    uint32_t stages;                 // stages evaluated per sample, 0..256
    uint32_t tempo_samples_per_beat; // samples between beat callbacks
    int32_t tempo_counter;           // samples left until the next beat callback
    SYN_BEAT_CALLBACK tempo_callback;  // beat callback, or null
    std::array<SYNFUNC, SYN_MAX_STAGES + 1> stage;  // the stages, and the spare (see above)
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern SYN synraw;                                          // the system's synthesiser
extern std::array<SAMPLETYPE, SYN_BUFFER_SAMPLES> synthbuf; // its mono render buffer
extern int syn_stages_active;                               // set to 0 by every render

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Stage indices are unsigned: every index greater than 256 is refused (so a negative int from a
// caller is refused too). Input connections are ints, -1 (or any negative value) for none.

// Engine
void syn_init(SYN *syn, int rate, float vol, unsigned stages);  // zero it, set rate, volume, stage count
void syn_update(SYN *syn, SAMPLETYPE *buf, unsigned count);     // render `count` mono samples
SYNFUNC *syn_stage(SYN *syn, unsigned i);                       // the stage record, or null
int syn_reset(SYN *syn, unsigned i);                            // restart the unit and enable it
int syn_enable(SYN *syn, unsigned i, int enable);               // type = +|type| or -|type|
void syn_enable_range(SYN *syn, unsigned first, unsigned last, int flag);
int syn_mix(SYN *syn, unsigned i, int enable);                  // add the stage to the mix or not
void syn_vol(SYN *syn, float vol);                              // master volume, clamped to 0..1
double syn_freqval(SYN *syn, float freq);                       // Hz to cycles per sample
int syn_copy(SYN *src, unsigned srci, SYN *dest, unsigned desti, unsigned count);  // 0, -1, -2, -3
int syn_check_active(SYN *syn, unsigned slot, unsigned count);  // -1 if a mixed stage still sounds
int syn_disable_inactive(SYN *syn, unsigned slot, unsigned count);  // 0, -1, -2
int syn_find_last_used(SYN *syn);                               // highest enabled stage, or -1
int syn_set_beat_callback(SYN *syn, SYN_BEAT_CALLBACK callback, float bps);  // 1

// Unit constructors: each leaves the stage enabled but not reset
int syn_osc_sine(SYN *syn, unsigned i, float freq);
int syn_osc_noise(SYN *syn, unsigned i, float freq);
int syn_osc_pulse(SYN *syn, unsigned i, float freq);
int syn_osc_triangle(SYN *syn, unsigned i, float freq);
int syn_filt_lowpass(SYN *syn, unsigned i, float freq);
int syn_filt_highpass(SYN *syn, unsigned i, float freq);
int syn_adsr(SYN *syn, unsigned i, float a, float d, float s, float r);  // times in ms
int syn_ramp(SYN *syn, unsigned i, float start, float end, float ms);
int syn_ramp_freq(SYN *syn, unsigned i, float start, float end, float ms);  // start and end in Hz
int syn_math_val(SYN *syn, unsigned i, float n);
int syn_math_mul(SYN *syn, unsigned i, int a, int b);
int syn_math_add(SYN *syn, unsigned i, int a, int b);

// Parameter setters (no test of the stage's type)
int syn_osc_freq(SYN *syn, unsigned i, float freq);  // -1 also for freq <= 0
int syn_osc_amp(SYN *syn, unsigned i, float amp);
int syn_osc_off(SYN *syn, unsigned i, float off);
int syn_osc_duty(SYN *syn, unsigned i, float duty);
int syn_filt_cutoff(SYN *syn, unsigned i, float freq);
int syn_filt_q(SYN *syn, unsigned i, float q);
int syn_adsr_attack(SYN *syn, unsigned i, float a);
int syn_adsr_decay(SYN *syn, unsigned i, float d);
int syn_adsr_sustain(SYN *syn, unsigned i, float s);
int syn_adsr_release(SYN *syn, unsigned i, float r);
int syn_adsr_hold(SYN *syn, unsigned i, int enable);

// Input connections: -1 when i > 256, -2 when in > 256
int syn_osc_in_amp(SYN *syn, unsigned i, int in);
int syn_osc_in_off(SYN *syn, unsigned i, int in);
int syn_osc_in_sync(SYN *syn, unsigned i, int in);
int syn_osc_in_freq(SYN *syn, unsigned i, int in);
int syn_osc_in_duty(SYN *syn, unsigned i, int in);
int syn_filt_in(SYN *syn, unsigned i, int in);
int syn_filt_in_cutoff(SYN *syn, unsigned i, int in);
int syn_filt_in_q(SYN *syn, unsigned i, int in);
int syn_adsr_in(SYN *syn, unsigned i, int in);

// Queries
unsigned char syn_adsr_get_step(SYN *syn, unsigned i);  // 255 for a bad index, 0 unless an enabled envelope
float syn_adsr_get_sustain(SYN *syn, unsigned i);       // -1 for a bad index, 0 unless an enabled envelope
