// life_reference: the Life engine's grid as the tests see it, and the next generation worked out
// cell by cell, a direct transcription of the rule, to compare the bit-sliced engine with. Shared
// by the engine's unit tests and its fuzz target.
// Depends on: life (the grid's size, and the rule lists and border mode the reference reads).
#pragma once

#include <array>
#include <cstdint>

#include "life.h"

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A whole grid, column-major like the engine's: the cell at column x, row y is byte x * 30 + y
using LIFE_GRID = std::array<uint8_t, LIFE_CELLS>;

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
uint8_t &at(LIFE_GRID &grid, int x, int y);       // the cell at column x, row y
LIFE_GRID read_grid();                             // the engine's grid, read through life_cell
void write_grid(const LIFE_GRID &grid);            // a whole grid into the engine through life_set_cell
LIFE_GRID reference_step(const LIFE_GRID &now);    // the next generation under the engine's rule and border
