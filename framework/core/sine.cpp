// sine: a precomputed sine table (see sine.h).
#include "sine.h"

#include <cmath>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double DEGREES_PER_STEP = 0.0439453125;          // 360 / 8192
constexpr double RADIANS_PER_DEGREE = 0.017453292519943295;
constexpr double INT64_SAFE = 9.0e18;                      // below the largest int64

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
std::array<float, SINE_TABLE_SIZE> _sine_table;

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Fill the table in double precision, stored as float
void init_sine_table()
{
    for (int i = 0; i < SINE_TABLE_SIZE; i++)
        _sine_table[i] = static_cast<float>(std::sin(i * DEGREES_PER_STEP * RADIANS_PER_DEGREE));
}

// Truncate toward zero, then mask: negative angles wrap through the mask (-90 degrees is 6144).
// NOTE: angles are never normalised by their owners; a value too large to truncate exactly is
// reduced by whole turns first, and an infinite or not-a-number angle selects entry 0.
int sine_index(double degrees)
{
    double steps = degrees * SINE_STEPS_PER_DEGREE;
    if (!(std::fabs(steps) < INT64_SAFE))
        steps = std::isfinite(steps) ? std::fmod(steps, static_cast<double>(SINE_TABLE_SIZE)) : 0.0;
    return static_cast<int>(static_cast<int64_t>(steps) & SINE_TABLE_MASK);
}

float sine_deg(double degrees)
{
    return _sine_table[sine_index(degrees)];
}
