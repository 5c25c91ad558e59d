// life: the cellular automaton.
// One 48 x 30 grid of cells, one byte each (0 dead, anything else alive), stored column-major:
// the cell at column x, row y is byte x * 30 + y. A generation is computed into a second buffer
// with a birth/survival rule and one of three border modes; a rule string sets the rule, the
// border and the random fill. Knows nothing of drawing, input or files.
// Depends on: the standard library only.
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int LIFE_W = 48;                      // columns
constexpr int LIFE_H = 30;                      // rows
constexpr int LIFE_CELLS = LIFE_W * LIFE_H;     // bytes in a grid
constexpr int LIFE_RULE_ENTRIES = 9;            // neighbour counts a rule list can hold

// The engine's border numbering (the settings record and the screen number them differently)
constexpr int LIFE_BORDER_DEAD = 0;             // outside neighbours count as dead (also any unknown value)
constexpr int LIFE_BORDER_LIVE = 1;             // outside neighbours count as live
constexpr int LIFE_BORDER_WRAP = 2;             // the grid is a torus

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
using LIFE_RULE_LIST = std::array<int32_t, LIFE_RULE_ENTRIES>;  // neighbour counts; -1 (or any value outside 0..8) unused

// A grid packed one column per word: bit y of word x is the cell at column x, row y (1 alive);
// the bits above row 29 are 0
using LIFE_COLUMNS = std::array<uint32_t, LIFE_W>;

//----------------------------------------------------------------------------------
// Module state (the grid itself is reached only through life_cell and life_set_cell)
//----------------------------------------------------------------------------------
extern LIFE_RULE_LIST rules_birth;      // counts that bring a dead cell to life; -1 unused
extern LIFE_RULE_LIST rules_survive;    // counts that keep a live cell alive; -1 unused
extern int32_t border_mode;                           // LIFE_BORDER_*; initially wrap
extern int32_t fill_percent;                          // chance of a live cell in a random fill; initially 50

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
int life_init();                        // B3/S23, seed rand from the clock, random fill; 0
void life_reset();                      // random fill at fill_percent
void life_reset_random(int percent);    // random fill at percent (0 clears); steps = 0
int life_cell(int x, int y);            // the cell's byte; 0 outside the grid
int life_set_cell(int x, int y, int state);  // store the low byte; 1, or 0 outside the grid
void life_step_cells();                 // one generation; steps + 1
uint32_t life_step_count();
void life_set_step_count(uint32_t sc);
void life_read_columns(LIFE_COLUMNS &columns);  // the live grid, packed; changes nothing
// The generation after now under the given rule and border (LIFE_BORDER_*, any other value dead),
// exactly as life_step_cells computes it; touches none of the engine's state
void life_next_columns(const LIFE_COLUMNS &now, LIFE_COLUMNS &next, const LIFE_RULE_LIST &birth,
                       const LIFE_RULE_LIST &survive, int32_t border);
int life_parse_rule(const char *argv);  // apply a rule string, print the rule; 0
