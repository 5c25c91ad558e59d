// audio_capture: listening to the toy through SDL's `disk` audio driver. The driver writes the
// device's stream to a file (SDL_DISKAUDIOFILE) as it plays, at the pace of a real device: raw
// interleaved signed 16-bit little-endian stereo frames with no header. Over SDL2 the device runs
// at 44100 Hz while the toy's stream runs at 22050 Hz, so the toy's own samples sit at every
// other frame of the recording and the frames between them are the resampler's. Even at the
// stream's own samples the resampler is not quite transparent: it passes a sample at about
// 0.9987 of its value plus a few ten-thousandths of its neighbours' (it is a thousandth of a
// sample late and slightly softens corners). So a recorded sound is compared with a rendered
// one through a fit of that short filter (see audio_fit), after which they agree within a unit
// or two.
// Depends on: POSIX (stat).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int AUDIO_DEVICE_RATE = 44100;    // frames per second of the recording
constexpr int AUDIO_STEP = 2;               // recorded frames per sample of a 22050 Hz stream
constexpr size_t AUDIO_FRAME_BYTES = 4;     // two 16-bit channels

// The filter a fit finds: a gain, and the shares of four differences of the sound around each
// sample (see AUDIO_FIT). The resampler keeps its gain within these bounds and every share
// within AUDIO_MAX_SHARE either way; the differences together could move a sound by whole
// samples, which the resampler never does.
constexpr int AUDIO_DIFFERENCES = 4;
constexpr double AUDIO_MIN_GAIN = 0.997;
constexpr double AUDIO_MAX_GAIN = 1.0;
constexpr double AUDIO_MAX_SHARE = 0.01;

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A recording as two channels of the same length
struct AUDIO_RECORDING {
    std::vector<int16_t> left, right;
};

// A run of sound: frames [begin, end) of a recording
struct AUDIO_SPAN {
    size_t begin = 0, end = 0;
};

// A rendered sound r laid over a recording: recorded[at + AUDIO_STEP n] is taken for
// gain x (r[n] + the sum of shares[k] x the k+1-th central difference of r at n), where the
// differences are (r[n+1] - r[n-1]) / 2, r[n+1] - 2 r[n] + r[n-1], (r[n+2] - 2 r[n+1] + 2 r[n-1]
// - r[n-2]) / 2 and r[n+2] - 4 r[n+1] + 6 r[n] - 4 r[n-1] + r[n-2]; gain and shares by least
// squares
struct AUDIO_FIT {
    size_t at = 0;                                 // the recorded frame of the reference's first sample
    double gain = 0.0;
    std::array<double, AUDIO_DIFFERENCES> shares{};
    double worst = 1e300;                          // the largest difference left, over the samples compared
    size_t worst_at = 0;                           // the sample of the reference where it is
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Whole frames in the file now; 0 when it does not exist yet
size_t audio_frames(const std::string &path);

// Wait up to `seconds` until the file holds at least `frames` whole frames
bool audio_wait_frames(const std::string &path, size_t frames, double seconds);

// The file's whole frames, split into its channels
AUDIO_RECORDING audio_read(const std::string &path);

// Frames from `first` on, every AUDIO_STEP-th, up to `end`: one stream sample each
std::vector<int16_t> audio_samples(const std::vector<int16_t> &channel, size_t first, size_t end);

// Runs of frames in [from, to) louder than `quiet`, each followed by more than `gap` quiet frames
// (a run still sounding at `to` is left out: it may not be over)
std::vector<AUDIO_SPAN> audio_sounds(const std::vector<int16_t> &channel, size_t from, size_t to, int quiet,
                                     size_t gap);

// The reference laid over the recording at frame `at`, compared everywhere but the first `settle`
// samples after each of the `onsets` (frames past the recording's end count as silence)
AUDIO_FIT audio_fit(const std::vector<int16_t> &channel, size_t at, const std::vector<int16_t> &reference,
                    const std::vector<size_t> &onsets = {}, size_t settle = 0);

// The frame in [from, to] at which the reference fits best (the least `worst` with a filter that
// the resampler can give, if any), its first `settle` samples left out
AUDIO_FIT audio_match(const std::vector<int16_t> &channel, const std::vector<int16_t> &reference, size_t from,
                      size_t to, size_t settle = 0);

// Whether the recording holds exactly the rendered sounds one after another from frame `from` on
// and silence (within `quiet`) elsewhere up to frame `to`: each sound is laid where the recording
// first sounds after the previous one, within `lead` frames either way, and must fit there within
// `tolerance` apart from its first `settle` samples (see audio_fit). The fits found so far are in
// `fits`, the reason for a failure in `why`.
bool audio_played(const std::vector<int16_t> &channel, size_t from, size_t to,
                  const std::vector<std::vector<int16_t>> &sounds, int quiet, size_t lead, size_t settle,
                  double tolerance, std::vector<AUDIO_FIT> &fits, std::string &why);

// A fit within `tolerance` with a filter that the resampler can give
bool audio_fits(const AUDIO_FIT &fit, double tolerance);
