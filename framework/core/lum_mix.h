// lum_mix: the framework's own sound, added to a block of the audio stream. One block is: the
// optional glitch hook, the sample voices, one run of the effect slots handed over when the
// logic has handed a tick over since the last block, and the synthesiser's render added to both
// channels of every frame with saturation. Every path that makes the framework's sound calls it:
// the desktop's and the browser's stream, the sound renderer (tools/synthwav) and the tests; the
// platforms keep only the device.
// Depends on: lum_settings (the switches, the hand-over marker), synth (rendered), synth_effects
// (advanced), wav-play (the sample voices), wrapper_system (the audio lock around a restart).
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The sample voices and the synthesiser afresh at a stream's rate, with the audio device locked
void lum_mix_start(unsigned rate);
unsigned lum_mix_rate();  // the rate of the last start; 0 before any

// Mix into `frames` interleaved stereo frames of signed 16-bit samples, in place. Runs on the
// audio thread, with the audio device locked; allocates nothing. A block longer than the
// synthesiser's render buffer is rendered in parts.
void lum_mix_block(int16_t *stereo, int frames);
