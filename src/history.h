// history: undo and redo of every change to the grid, kept across restarts.
// A step is the moment before one change: the grid (one bit a cell), the step counter, the rule's
// toggles and the border. The newest HISTORY_DEPTH steps can be undone; undone steps can be
// redone until a new change drops them. A change that runs over time (a stroke, a run) is begun
// with history_begin and becomes a step at history_end if anything differs by then; a change made
// at once from outside the game screen (a grid replaced by a pattern, also with no window at all)
// is recorded with history_record just before it happens.
// The steps live in their own file beside the settings, "history.dat", written crash-safely as
// the settings are (a new file, flushed, renamed over the old one); a missing file is an empty
// history, a damaged or foreign one is ignored with one line, and the settings are never touched.
// The rule's toggles and the border are the settings record's; history_bind tells the module
// where they are (the shell does, at start-up), so the history sits below the game screen.
// Depends on: life (the grid and the counter), file (the history file and its save folder), wrapper_file
// (whether a file is there), store (the crash-safe save), lum (log lines).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "life.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int HISTORY_DEPTH = 1024;                  // undo steps kept; as many redo steps at most
constexpr int HISTORY_CELL_BYTES = (LIFE_CELLS + 7) / 8;  // the grid, one bit a cell
constexpr const char *HISTORY_FILE = "history.dat";  // in the per-user save directory

// What a step undoes
enum HISTORY_KIND : uint8_t {
    HISTORY_NONE,
    HISTORY_STROKE,   // a paint or erase stroke, press to release
    HISTORY_CLEAR,    // CLR
    HISTORY_RANDOM,   // RAND
    HISTORY_ONE_STEP, // one generation by STEP
    HISTORY_RUN,      // a run, from RUN to the stop
    HISTORY_RULE,     // a rule digit
    HISTORY_BORDER,   // the border
    HISTORY_PRESET,   // a named rule chosen at once
    HISTORY_PATTERN,  // a grid replaced by a pattern
    HISTORY_KINDS
};

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// One moment, as the history file holds it (little-endian, no padding)
struct HISTORY_STEP {
    uint8_t kind;      // HISTORY_KIND: the change that followed this moment
    uint8_t border;    // the screen's border, 0 wrap, 1 dead, 2 live
    uint16_t birth;    // bit n set: birth on n neighbours (n = 0..8)
    uint16_t survive;  // bit n set: survival on n neighbours
    uint16_t reserved; // 0
    uint32_t steps;    // the step counter
    std::array<uint8_t, HISTORY_CELL_BYTES> cells;  // bit (x * 30 + y), lowest bit first: alive
};
static_assert(sizeof(HISTORY_STEP) == 192, "a history step is 192 bytes in memory and in the file");

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Where the rule's toggles (9 bytes each, n = 0..8), the screen's border (0 wrap, 1 dead, 2 live)
// and the request to rebuild the rule from them live; unbound, a moment has neither
void history_bind(uint8_t *birth, uint8_t *survive, int32_t *border, int *rule_changed);
void history_clear();                    // no steps, nothing pending, nothing to save
HISTORY_STEP history_capture();          // the moment now (kind HISTORY_NONE)
void history_apply(const HISTORY_STEP &s);  // make it the moment now; the rule is rebuilt when it changed

// Changes
void history_begin(int kind);  // a change starts: the moment now is kept (a change still pending ends first)
void history_end();            // the change is over: a step if anything differs from its start
void history_cancel();         // forget a pending change without a step
int history_pending();         // the kind of the pending change, or HISTORY_NONE
void history_record(int kind); // a change is about to happen at once: the moment now is a step
// Once per tick of the game screen: a run pending from RUN to the stop, a stroke that painted
// nothing forgotten at its release
void history_tick(int running, int pointer_down);

// Undo and redo; each returns the kind of the step undone or redone and logs one line, or
// returns HISTORY_NONE (nothing to undo or redo) and logs that
int history_undo();
int history_redo();
int history_undo_count();
int history_redo_count();
const char *history_kind_name(int kind);

// The history file
int history_load();             // 1 read, 0 none there, -1 ignored (one line says why)
int history_save();             // 1 written, 0 nothing changed since the last read or write, -1 failed (one line)
size_t history_file_bytes(int undo_count, int redo_count);  // a file's size with that many steps
