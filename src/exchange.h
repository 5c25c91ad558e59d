// exchange: patterns in and out of the toy.
// Opening a pattern sets the grid, the rule when the pattern names one (otherwise the current
// rule stays), the border when it names one, resets the step counter to 0 and stops a run, so
// that the settings record then holds exactly that; the toy's grid goes out as RLE with its rule
// and border.
// Depends on: pattern (the formats), game (the record, its configuration), life (the grid and the
// step counter), history (an opened pattern is one undo step).
#pragma once

#include <string>

struct PATTERN;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *EXCHANGE_COMMENT = "made with Lum Life (lumlife)";  // the first comment line written

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void exchange_open(const PATTERN &pattern);  // the pattern into the engine and the record
std::string exchange_rle();                  // the current grid, rule and border as RLE
