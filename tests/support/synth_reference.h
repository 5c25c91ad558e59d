// synth_reference: a second, deliberately plain model of the synthesiser's per-sample unit rules,
// for tests that render the same patch through the engine and through this model and compare the
// samples. It keeps its own records (one flat struct per stage with a named field for every
// parameter, no overlays) and its own builders, and evaluates each unit by a direct reading of
// the unit rules: constant, product, sum, envelope, high-pass, resonant low-pass, noise, pulse,
// ramp, sine and triangle, with wrap and hard sync, oversampling, the one-sample delay of inputs
// from the same or a later stage, and the clip and conversion of the mix to 16-bit samples.
// It shares nothing with the engine: no header, no type, no code.
// Depends on: the C++ standard library only.
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int REF_MAX_STAGES = 256;  // stages a patch may evaluate
constexpr int REF_SLOTS = 5;         // input slots per stage

// Input slots by their meaning for each kind of unit (the kinds share the same five slots)
constexpr int REF_AMP = 0;       // oscillators: amplitude
constexpr int REF_OFF = 1;       // oscillators: offset
constexpr int REF_SYNC = 2;      // oscillators: hard sync source
constexpr int REF_FREQ = 3;      // oscillators: frequency in cycles per sample
constexpr int REF_DUTY = 4;      // pulse and triangle: duty cycle
constexpr int REF_SIGNAL = 0;    // filters and envelope: the processed signal
constexpr int REF_CUTOFF = 1;    // filters: coefficient
constexpr int REF_Q = 2;         // low-pass: resonance
constexpr int REF_A = 0;         // product and sum: first operand
constexpr int REF_B = 1;         // product and sum: second operand

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// One stage. Every unit's parameters have their own field; a unit uses only its own.
struct REF_STAGE {
    signed char type;                   // unit code ('#', '*', '+', 'A', 'H', 'L', 'N', 'P', 'R', 'S', 'T'); negative: disabled; 0: empty
    char reset;                         // 1 in a sample in which an oscillator wrapped or was re-synchronised, and after a restart
    char hold;                          // envelope: stay in sustain while set
    char end;                           // 1 once the unit has finished (envelope released, ramp at its end)
    char mix;                           // add `out` to the output mix
    std::array<int32_t, REF_SLOTS> in;  // source stage of each input slot; negative: unconnected
    float freq;                         // oscillators: frequency in Hz
    float amp;                          // oscillators: amplitude when the amp slot is unconnected
    float off;                          // oscillators: offset when the off slot is unconnected
    float duty;                         // oscillators: duty cycle, also the sync restart point 1 - duty / 2
    float phasestep;                    // oscillators: phase advance per step, in cycles
    float steprise;                     // triangle: slope of the falling half, 2 / duty
    float stepfall;                     // triangle: slope of the rising half, 2 / (1 - duty)
    float randval;                      // noise: the held value
    float phase;                        // oscillators: position in the cycle, 0..1
    float alpha;                        // filters: coefficient
    float q;                            // low-pass: resonance
    float oldin;                        // high-pass: previous input
    float oldout;                       // low-pass: output before the previous one
    float n;                            // constant: the value
    float start;                        // ramp: value after a restart
    float stop;                         // ramp: value it stops at
    float increment;                    // ramp: change per sample
    char env_step;                      // envelope: current step, 'a', 'd', 's', 'r' or 'f'
    float attack;                       // envelope: level rise per sample
    float decay;                        // envelope: level fall per sample in the decay
    float sustain;                      // envelope: sustain level
    float release;                      // envelope: level fall per sample in the release
    float level;                        // envelope: current level
    float out;                          // value in the latest evaluated sample
};

// The synthesiser. NOTE: one stage more than a patch evaluates, since a connection may name
// index 256 and then reads that (never evaluated) stage.
struct REF_SYN {
    float vol;                                        // master volume 0..1
    uint32_t randnum;                                 // noise generator state (32-bit wrap-around)
    uint32_t oversample;                              // sub-steps per sample of pulse and triangle
    uint32_t sample_rate;                             // output rate in Hz
    float q_alpha;                                    // global factor of the low-pass resonance
    int stages;                                       // stages evaluated per sample
    std::array<REF_STAGE, REF_MAX_STAGES + 1> stage;  // the stages
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Everything zero, then the rate, volume (clamped to 0..1) and stage count (at most 256);
// oversampling 1 and resonance factor 1
void ref_init(REF_SYN &syn, int rate, float vol, int stages);

// Unit builders: each leaves the stage enabled and not restarted, its inputs unconnected
void ref_sine(REF_SYN &syn, int i, float freq);
void ref_noise(REF_SYN &syn, int i, float freq);
void ref_pulse(REF_SYN &syn, int i, float freq);
void ref_triangle(REF_SYN &syn, int i, float freq);
void ref_lowpass(REF_SYN &syn, int i, float freq);
void ref_highpass(REF_SYN &syn, int i, float freq);
void ref_adsr(REF_SYN &syn, int i, float a, float d, float s, float r);  // times in ms
void ref_ramp(REF_SYN &syn, int i, float start, float stop, float ms);
void ref_const(REF_SYN &syn, int i, float n);
void ref_mul(REF_SYN &syn, int i, int a, int b);
void ref_add(REF_SYN &syn, int i, int a, int b);

// Parameter setters
void ref_amp(REF_SYN &syn, int i, float amp);
void ref_off(REF_SYN &syn, int i, float off);
void ref_duty(REF_SYN &syn, int i, float duty);      // clamped to 0..1, slopes recomputed
void ref_q(REF_SYN &syn, int i, float q);
void ref_cutoff(REF_SYN &syn, int i, float freq);    // Hz to coefficient, by the low 7 bits of the type
void ref_hold(REF_SYN &syn, int i, int enable);

// Connect input `slot` of stage `i` to stage `source` (negative: disconnect)
void ref_connect(REF_SYN &syn, int i, int slot, int source);

// Restart a stage's unit and enable it
void ref_reset(REF_SYN &syn, int i);

// Enable or disable a stage, keeping its settings
void ref_enable(REF_SYN &syn, int i, int enable);

// Add a stage to the output mix or take it out
void ref_mix(REF_SYN &syn, int i, int enable);

// Render `count` mono signed 16-bit samples
void ref_render(REF_SYN &syn, int16_t *out, int count);
