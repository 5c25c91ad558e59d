// lum_mix: the framework's own sound added to a block of the audio stream (see lum_mix.h).
#include "lum_mix.h"

#include <algorithm>

#include "lum_settings.h"
#include "synth.h"
#include "synth_effects.h"
#include "wav-play.h"
#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr unsigned LUM_MIX_BITS = 16;  // the stream's samples: signed 16-bit
constexpr int LUM_MIX_CHANNELS = 2;    // interleaved stereo

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static unsigned mix_rate_ = 0;  // the stream's rate as started, for the glitch hook

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Add a mono block to both channels of its frames, saturating at the 16-bit limits
static void add_mono(int16_t *stereo, const SAMPLETYPE *mono, int frames)
{
    for (int n = 0; n < LUM_MIX_CHANNELS * frames; n++) {
        int sum = stereo[n] + static_cast<int16_t>(mono[n / LUM_MIX_CHANNELS]);
        stereo[n] = static_cast<int16_t>(std::clamp(sum, -32768, 32767));
    }
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void lum_mix_start(unsigned rate)
{
    wrapper_lock_audio();
    mix_rate_ = rate;
    wave_init(rate, LUM_MIX_BITS);
    syn_init(&synraw, static_cast<int>(rate), 1.0f, SYN_MAX_STAGES);
    wrapper_unlock_audio();
}

unsigned lum_mix_rate()
{
    return mix_rate_;
}

// The marker is taken before the effects run, so a tick handed over meanwhile is kept for the
// next block.
void lum_mix_block(int16_t *stereo, int frames)
{
    if (LUM_GLITCH_CALLBACK glitch = lum_settings.callback_glitch)
        glitch(stereo, frames, static_cast<int>(mix_rate_));
    if (lum_settings.enable_wav)
        wave_output_stereo(stereo, frames);
    if (!lum_settings.enable_synth)
        return;
    if (lum_settings.synth_effects_state.exchange(0))
        synth_effects_audio_update();
    for (int done = 0; done < frames;) {
        const int part = std::min(frames - done, static_cast<int>(SYN_BUFFER_SAMPLES));
        syn_update(&synraw, synthbuf.data(), static_cast<unsigned>(part));
        add_mono(stereo + LUM_MIX_CHANNELS * done, synthbuf.data(), part);
        done += part;
    }
}
