// sine: a precomputed sine table indexed by fractions of a turn.
// 8192 entries per full turn; the entry for d degrees is trunc(d * 8192 / 360) & 8191, and the
// cosine of d is the entry for d + 90. Filled once at start-up, read-only afterwards (safe to
// read from any thread).
// Depends on: nothing.
#pragma once

#include <array>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int SINE_TABLE_SIZE = 8192;                           // entries per full turn
constexpr int SINE_TABLE_MASK = SINE_TABLE_SIZE - 1;
constexpr double SINE_STEPS_PER_DEGREE = 22.755555555555556;    // 8192 / 360

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern std::array<float, SINE_TABLE_SIZE> _sine_table;

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void init_sine_table();             // fill the table
int sine_index(double degrees);     // the table entry for an angle in degrees
float sine_deg(double degrees);     // the table's sine of an angle in degrees
