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
// Module state (the grid itself is reached only through life_cell and life_set_cell)
//----------------------------------------------------------------------------------
extern std::array<int32_t, LIFE_RULE_ENTRIES> rules_birth;    // counts that bring a dead cell to life; -1 unused
extern std::array<int32_t, LIFE_RULE_ENTRIES> rules_survive;  // counts that keep a live cell alive; -1 unused
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
int life_parse_rule(const char *argv);  // apply a rule string, print the rule; 0
