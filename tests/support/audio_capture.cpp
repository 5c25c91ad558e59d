// audio_capture: listening to the toy through SDL's `disk` audio driver (see audio_capture.h).
#include "audio_capture.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int AUDIO_POLL_MS = 5;      // between two looks at a growing file
constexpr int AUDIO_TERMS = 1 + AUDIO_DIFFERENCES;  // a fit's terms: the sample and its differences
constexpr double AUDIO_PULL = 1e-6;   // a fit's pull towards the plain weights, against the sound's energy

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Sample n of a sound, silent outside it
static double at_or_zero(const std::vector<int16_t> &x, long n)
{
    return n >= 0 && static_cast<size_t>(n) < x.size() ? x[static_cast<size_t>(n)] : 0.0;
}

// A reference's sample n and its central differences there: the terms of a fit
static std::array<double, AUDIO_TERMS> terms(const std::vector<int16_t> &reference, size_t n)
{
    auto i = static_cast<long>(n);
    double b2 = at_or_zero(reference, i - 2), b1 = at_or_zero(reference, i - 1), x = at_or_zero(reference, i);
    double a1 = at_or_zero(reference, i + 1), a2 = at_or_zero(reference, i + 2);
    return {x, (a1 - b1) / 2.0, a1 - 2.0 * x + b1, (a2 - 2.0 * a1 + 2.0 * b1 - b2) / 2.0,
            a2 - 4.0 * a1 + 6.0 * x - 4.0 * b1 + b2};
}

// The recorded frame under sample n of a reference laid at frame `at`, silent past the end
static double recorded(const std::vector<int16_t> &channel, size_t at, size_t n)
{
    size_t i = at + AUDIO_STEP * n;
    return i < channel.size() ? channel[i] : 0.0;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
size_t audio_frames(const std::string &path)
{
    struct stat st {};
    if (stat(path.c_str(), &st) != 0)
        return 0;
    return static_cast<size_t>(st.st_size) / AUDIO_FRAME_BYTES;
}

bool audio_wait_frames(const std::string &path, size_t frames, double seconds)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (audio_frames(path) < frames) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(AUDIO_POLL_MS));
    }
    return true;
}

AUDIO_RECORDING audio_read(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    size_t frames = bytes.size() / AUDIO_FRAME_BYTES;
    AUDIO_RECORDING r;
    r.left.resize(frames);
    r.right.resize(frames);
    for (size_t f = 0; f < frames; f++) {
        const unsigned char *p = &bytes[f * AUDIO_FRAME_BYTES];
        r.left[f] = static_cast<int16_t>(static_cast<uint16_t>(p[0] | (p[1] << 8)));
        r.right[f] = static_cast<int16_t>(static_cast<uint16_t>(p[2] | (p[3] << 8)));
    }
    return r;
}

std::vector<int16_t> audio_samples(const std::vector<int16_t> &channel, size_t first, size_t end)
{
    std::vector<int16_t> out;
    for (size_t i = first; i < end && i < channel.size(); i += AUDIO_STEP)
        out.push_back(channel[i]);
    return out;
}

std::vector<AUDIO_SPAN> audio_sounds(const std::vector<int16_t> &channel, size_t from, size_t to, int quiet,
                                     size_t gap)
{
    std::vector<AUDIO_SPAN> spans;
    to = std::min(to, channel.size());
    size_t i = from;
    while (i < to) {
        if (std::abs(channel[i]) <= quiet) {
            i++;
            continue;
        }
        AUDIO_SPAN s;
        s.begin = i;
        size_t last = i;  // the last loud frame so far
        for (i++; i < to && i - last <= gap; i++)
            if (std::abs(channel[i]) > quiet)
                last = i;
        if (i - last <= gap)
            break;  // still sounding, or not yet quiet for long enough, at the end
        s.end = last + 1;
        spans.push_back(s);
    }
    return spans;
}

AUDIO_FIT audio_fit(const std::vector<int16_t> &channel, size_t at, const std::vector<int16_t> &reference,
                    const std::vector<size_t> &onsets, size_t settle)
{
    std::vector<bool> compared(reference.size(), true);
    for (size_t onset : onsets)
        for (size_t n = onset; n < onset + settle && n < reference.size(); n++)
            compared[n] = false;

    // Least squares of recorded = the sum of weights x terms: the normal equations, solved by
    // elimination. A smooth sound has next to nothing in its higher differences, which leaves
    // their weights free; a light pull towards the plain weights (1, 0, 0, ...) settles those and
    // keeps the matrix positive definite.
    std::array<std::array<double, AUDIO_TERMS + 1>, AUDIO_TERMS> m{};
    for (size_t n = 0; n < reference.size(); n++) {
        if (!compared[n])
            continue;
        std::array<double, AUDIO_TERMS> t = terms(reference, n);
        double y = recorded(channel, at, n);
        for (int r = 0; r < AUDIO_TERMS; r++) {
            for (int c = 0; c < AUDIO_TERMS; c++)
                m[r][c] += t[r] * t[c];
            m[r][AUDIO_TERMS] += t[r] * y;
        }
    }
    const double pull = AUDIO_PULL * m[0][0];
    for (int r = 0; r < AUDIO_TERMS; r++)
        m[r][r] += pull;
    m[0][AUDIO_TERMS] += pull;
    std::array<double, AUDIO_TERMS> w{};
    w[0] = 1.0;
    bool solvable = true;
    for (int r = 0; r < AUDIO_TERMS && solvable; r++) {
        solvable = m[r][r] > 0.0;
        for (int below = r + 1; below < AUDIO_TERMS && solvable; below++) {
            double f = m[below][r] / m[r][r];
            for (int c = r; c <= AUDIO_TERMS; c++)
                m[below][c] -= f * m[r][c];
        }
    }
    if (solvable) {
        for (int r = AUDIO_TERMS - 1; r >= 0; r--) {
            double v = m[r][AUDIO_TERMS];
            for (int c = r + 1; c < AUDIO_TERMS; c++)
                v -= m[r][c] * w[c];
            w[r] = v / m[r][r];
        }
    }

    AUDIO_FIT fit;
    fit.at = at;
    fit.gain = w[0];
    for (int k = 0; k < AUDIO_DIFFERENCES; k++)
        fit.shares[k] = w[0] != 0.0 ? w[k + 1] / w[0] : 0.0;
    fit.worst = 0.0;
    for (size_t n = 0; n < reference.size(); n++) {
        if (!compared[n])
            continue;
        std::array<double, AUDIO_TERMS> t = terms(reference, n);
        double expected = 0.0;
        for (int k = 0; k < AUDIO_TERMS; k++)
            expected += w[k] * t[k];
        double off = std::fabs(recorded(channel, at, n) - expected);
        if (off > fit.worst) {
            fit.worst = off;
            fit.worst_at = n;
        }
    }
    return fit;
}

AUDIO_FIT audio_match(const std::vector<int16_t> &channel, const std::vector<int16_t> &reference, size_t from,
                      size_t to, size_t settle)
{
    // A fit with a filter that the resampler cannot give ranks after any with one it can
    auto better = [](const AUDIO_FIT &a, const AUDIO_FIT &b) {
        bool possible_a = audio_fits(a, a.worst), possible_b = audio_fits(b, b.worst);
        return possible_a != possible_b ? possible_a : a.worst < b.worst;
    };
    AUDIO_FIT best;
    for (size_t at = from; at <= to; at++) {
        AUDIO_FIT fit = audio_fit(channel, at, reference, {0}, settle);
        if (at == from || better(fit, best))
            best = fit;
    }
    return best;
}

bool audio_fits(const AUDIO_FIT &fit, double tolerance)
{
    bool shares = std::all_of(fit.shares.begin(), fit.shares.end(),
                              [](double share) { return std::fabs(share) <= AUDIO_MAX_SHARE; });
    return shares && fit.worst <= tolerance && fit.gain >= AUDIO_MIN_GAIN && fit.gain <= AUDIO_MAX_GAIN;
}

bool audio_played(const std::vector<int16_t> &channel, size_t from, size_t to,
                  const std::vector<std::vector<int16_t>> &sounds, int quiet, size_t lead, size_t settle,
                  double tolerance, std::vector<AUDIO_FIT> &fits, std::string &why)
{
    fits.clear();
    to = std::min(to, channel.size());
    auto loud = [&](size_t f) { return std::abs(channel[f]) > quiet; };
    size_t cursor = from;
    for (const std::vector<int16_t> &sound : sounds) {
        size_t begin = cursor;
        while (begin < to && !loud(begin))
            begin++;
        if (begin == to) {
            why = "sound " + std::to_string(fits.size()) + " is not heard: all is quiet from frame " +
                  std::to_string(cursor);
            return false;
        }
        AUDIO_FIT fit = audio_match(channel, sound, std::max(cursor, begin >= lead ? begin - lead : 0), begin + lead,
                                    settle);
        fits.push_back(fit);
        if (!audio_fits(fit, tolerance)) {
            why = "sound " + std::to_string(fits.size() - 1) + " heard at frame " + std::to_string(begin) +
                  " is not the one rendered";
            return false;
        }
        cursor = fit.at + AUDIO_STEP * sound.size();
    }
    for (size_t f = cursor; f < to; f++) {
        if (loud(f)) {
            why = "something more is heard at frame " + std::to_string(f);
            return false;
        }
    }
    return true;
}
