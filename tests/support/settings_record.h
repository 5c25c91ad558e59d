// settings_record: the toy's saved record, "settings.cfg", as the end-to-end tests prepare it and
// read it back. The file is the record's raw little-endian image, 4172 bytes: the rule's toggles,
// nine 32-bit settings, four reserved words, a 64 x 64 column-major grid of which the toy uses
// 48 x 30, and the step counter. A prepared record starts from the toy's defaults with the
// fields a test names set on top; a saved file is compared with an expected record byte by byte,
// the difference told field by field.
// Depends on: GoogleTest (the comparison is an assertion result), the standard library's
// filesystem (the folders the file lives in).
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr size_t RECORD_SIZE = 4172;
constexpr size_t RECORD_BPARAMS = 0;       // 10 bytes: birth on n when byte n is non-zero
constexpr size_t RECORD_SPARAMS = 10;      // 10 bytes: survival on n
constexpr size_t RECORD_BORDER = 20;       // 0 wrap, 1 dead, 2 live
constexpr size_t RECORD_FREQ = 24;         // generations a second while running
constexpr size_t RECORD_RUNNING = 28;
constexpr size_t RECORD_SHOW_STEPS = 32;
constexpr size_t RECORD_FG = 36;
constexpr size_t RECORD_BG = 40;
constexpr size_t RECORD_ICON_CELL = 44;
constexpr size_t RECORD_ICON_GRID = 48;
constexpr size_t RECORD_GLOW = 52;
constexpr size_t RECORD_PAD = 56;          // four reserved words, kept as read
constexpr size_t RECORD_CELLS = 72;        // 64 x 64 bytes, column-major: cell (x, y) at 72 + 64 x + y
constexpr size_t RECORD_STEPS = 4168;      // the step counter, the only unsigned field
constexpr int RECORD_GRID_SIDE = 64;
constexpr int RECORD_COLS = 48;            // the part of the grid that the toy uses
constexpr int RECORD_ROWS = 30;

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The file's bytes; a prepared one may be of any length (a damaged file)
struct SETTINGS_RECORD {
    std::vector<uint8_t> bytes;
};

// A 32-bit field of the record and the value a prepared record gives it
struct RECORD_FIELD {
    size_t offset;   // RECORD_BORDER, RECORD_FREQ, ...
    int64_t value;   // stored as its low 32 bits
};

// The grid the toy uses, [x][y]: 1 alive, 0 dead
using RECORD_GRID = std::array<std::array<uint8_t, RECORD_ROWS>, RECORD_COLS>;

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// A record as the toy's defaults have it (B3/S23, wrap border, 60 a second, not running, counter
// shown, colours and icons 0, counter 0) with `grid` as its cells and `fields` set on top
SETTINGS_RECORD record_prepared(const RECORD_GRID &grid, std::initializer_list<RECORD_FIELD> fields = {});
SETTINGS_RECORD record_prepared(std::initializer_list<RECORD_FIELD> fields = {});

// Write and read a 32-bit field: little-endian; read back signed, but for the step counter
void record_put32(SETTINGS_RECORD &r, size_t offset, int64_t value);
int64_t record_get32(const SETTINGS_RECORD &r, size_t offset);

// One byte of the whole 64 x 64 grid, and the 48 x 30 part that the toy uses
uint8_t record_cell(const SETTINGS_RECORD &r, int x, int y);
void record_set_cell(SETTINGS_RECORD &r, int x, int y, uint8_t value);
RECORD_GRID record_grid(const SETTINGS_RECORD &r);
void record_set_grid(SETTINGS_RECORD &r, const RECORD_GRID &grid);
// A glider, a blinker and a block, away from the edges: a grid that changes, and shows that it
// did, in every generation
RECORD_GRID record_glider_blinker_block();

// One generation of `g` under the record's rule and border (0 wrap, 1 dead, 2 live), cell by
// cell: a neighbour outside the grid counts once, as dead or live, unless the grid wraps
RECORD_GRID record_life_next(const RECORD_GRID &g, const SETTINGS_RECORD &r);
// The name of the field that holds byte `offset`; a cell is named by its column and row
std::string record_field_name(size_t offset);

// The saved record is exactly the expected one; a failure lists the first differences by field
::testing::AssertionResult record_same(const SETTINGS_RECORD &got, const SETTINGS_RECORD &want);

// Where the toy keeps its settings under a HOME
std::string record_path(const std::string &home);

// Write a record to `path`, making its folders; false when it cannot be written
bool record_write(const std::string &path, const SETTINGS_RECORD &r);

// The bytes of the file at `path`; none when there is no file
SETTINGS_RECORD record_read(const std::string &path);
