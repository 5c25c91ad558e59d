// watch: what the pattern on the grid is doing, found exactly.
// The 48 x 30 grid has finitely many states, so every pattern ends up repeating exactly: it dies
// out, stands still or oscillates. The watch looks ahead from the grid on screen on buffers of its
// own, a bounded number of generations per call, and remembers every generation it has seen (a
// hash of each, and the grid itself every 64 generations); a generation whose hash was seen
// before and whose grid, rebuilt from the nearest stored one, is equal to it closes the cycle.
// Each call first checks that the engine's grid, step counter, rule and border are the ones it
// foresaw for that counter (the toy running or stepping follows the foreseen path); anything
// else (an edit, a new rule or border, a reset, a loaded grid) starts the watch again from the
// grid as it is. The engine's grid is only read.
// Depends on: life (the grid read packed, and the next generation computed exactly as the engine
// computes it).
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr uint32_t WATCH_MAX_GENERATIONS = 1u << 16;  // generations looked ahead before giving up
constexpr int WATCH_TICK_BUDGET = 1024;               // generations per logic tick, as the overlay calls it
constexpr int WATCH_TEXT_SIZE = 41;                   // a line of text: 40 characters and the NUL

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
enum WATCH_KIND {
    WATCH_SEARCHING,    // looking ahead; nothing found yet
    WATCH_UNKNOWN,      // no repetition within WATCH_MAX_GENERATIONS of the start
    WATCH_DIES_OUT,     // every cell dead from `generation` on
    WATCH_STILL_LIFE,   // the same non-empty grid from `generation` on
    WATCH_OSCILLATES,   // the grids repeat with `period` (2 or more) from `generation` on
};

struct WATCH_RESULT {
    WATCH_KIND kind;      // what was found
    uint32_t generation;  // the first generation of the final state or cycle, in the step counter's numbering
    uint32_t period;      // generations per cycle (1 for a still or dead grid); 0 while nothing is found
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void watch_reset();                 // forget everything; the next update starts from the grid as it is
// Follow the engine: start again unless its grid, counter, rule and border are the ones foreseen,
// then look ahead at most budget generations. Returns the generations looked ahead.
int watch_update(int budget);
WATCH_RESULT watch_result();        // what is known now
uint32_t watch_start();             // the step counter the current look-ahead started from
// What the pattern is doing, in at most two lines of at most 40 characters (lower-case letters,
// digits and spaces): one line when it dies out or stands still, two when it oscillates, none while
// nothing is known. Returns the number of lines.
int watch_text(char (&lines)[2][WATCH_TEXT_SIZE]);
