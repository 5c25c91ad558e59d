// pattern: the Life community's pattern files, read into a grid of the toy's size and written
// from one.
// Reads RLE (with its `#` comment lines, the `x = m, y = n, rule = R` header, run counts, `!`),
// plaintext (.cells: `!` comments, `.` dead, `O` or `*` live), Life 1.06 (one `x y` pair a line)
// and Life 1.05 (`#P x y` blocks of `.` and `*`), told apart by their content, never by a file's
// name. Rules in B/S notation (B3/S23, b3s23) and the older S/B notation (23/3), each with an
// optional bounded-grid suffix, :T48,30 for a torus (the wrap border) or :P48,30 for a plane (the
// dead border). A pattern with that suffix is placed cell for cell from the grid's top-left; any
// other is centred. Whatever cannot be read (a multi-state or non-totalistic rule, another
// topology, a pattern larger than the grid, a malformed run) is refused with a line saying what
// and where, and nothing is placed.
// Writes RLE: a comment naming the toy, the header with the rule and the suffix of the border,
// the whole 48 x 30 area so every cell keeps its place, lines of at most 70 characters. A live
// border has no notation of its own: it is written as :P48,30 with the comment line
// "#C lumlife border live", which the reader understands.
// No SDL, no toy state: the toy, its command line and its tests use it alike.
// Depends on: life (the grid's size only), file (reading a pattern file from a path).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "life.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr size_t PATTERN_READ_MAX = 1 << 20;  // the longest pattern file read: 1 MiB; longer ones are refused
constexpr int PATTERN_LINE_MAX = 70;          // the longest line written
constexpr int PATTERN_COUNTS = 9;             // neighbour counts 0..8 of a rule
constexpr int PATTERN_NAME_MAX = 128;         // bytes kept of a pattern's name (#N), with the NUL
constexpr int PATTERN_ERROR_MAX = 512;        // bytes of a refusal's text, with the NUL

// The border a file names, in the screen's numbering (0 wrap, 1 dead, 2 live), or none
constexpr int PATTERN_BORDER_NONE = -1;       // the file names no border: the current one stays
constexpr int PATTERN_BORDER_WRAP = 0;        // :T suffix
constexpr int PATTERN_BORDER_DEAD = 1;        // :P suffix
constexpr int PATTERN_BORDER_LIVE = 2;        // :P suffix with the toy's comment line

// The formats read
enum PATTERN_FORMAT : uint8_t {
    PATTERN_FORMAT_RLE,
    PATTERN_FORMAT_CELLS,     // plaintext
    PATTERN_FORMAT_LIFE106,
    PATTERN_FORMAT_LIFE105,
};

// The comment line that marks a live border
constexpr const char *PATTERN_LIVE_BORDER_COMMENT = "#C lumlife border live";

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A rule: birth[n] / survive[n] set when a dead / live cell with n live neighbours is alive next
struct PATTERN_RULE {
    std::array<uint8_t, PATTERN_COUNTS> birth;
    std::array<uint8_t, PATTERN_COUNTS> survive;
};

// A pattern placed on the toy's grid
struct PATTERN {
    std::array<std::array<uint8_t, LIFE_H>, LIFE_W> cells;  // cells[x][y]: 1 alive, 0 dead
    int has_rule;                                // 1 when the file names a rule
    PATTERN_RULE rule;                           // the rule, when it has one
    int border;                                  // PATTERN_BORDER_*
    int top_left;                                // 1: placed from the top-left; 0: centred
    int w, h;                                    // the pattern's size as read
    int x, y;                                    // where its top-left cell went on the grid
    PATTERN_FORMAT format;                       // what it was read as
    std::array<char, PATTERN_NAME_MAX> name;     // its name (#N, or the plaintext's !Name:), or ""
};

// Why a pattern was refused: where (line and column from 1; 0 when the refusal is about the
// whole file) and what
struct PATTERN_ERROR {
    int line, column;
    std::array<char, PATTERN_ERROR_MAX> text;
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Read a pattern from `size` bytes of text: 1 and `out` filled, or -1 with `error` saying why
// (and `out` cleared)
int pattern_read(const char *text, size_t size, PATTERN *out, PATTERN_ERROR *error);
// Read a pattern file: as pattern_read, with the refusals about the file itself (missing, not a
// regular file, unreadable, empty, longer than PATTERN_READ_MAX)
int pattern_read_file(const char *path, PATTERN *out, PATTERN_ERROR *error);
// The refusal as one line: "PATH:LINE:COLUMN: TEXT", "PATH:LINE: TEXT" or "PATH: TEXT"
std::string pattern_error_line(const char *path, const PATTERN_ERROR &error);

// A rule text, B/S or S/B with an optional suffix: 1 with the rule and the border it names
// (PATTERN_BORDER_NONE without a suffix), or -1 with `error` saying what is not supported
int pattern_parse_rule(const char *text, size_t size, PATTERN_RULE *rule, int *border, PATTERN_ERROR *error);
// The same, and `grid_sized` set when the suffix gives exactly the toy's grid, 48,30
int pattern_parse_rule_ex(const char *text, size_t size, PATTERN_RULE *rule, int *border, int *grid_sized,
                          PATTERN_ERROR *error);
// The rule in B/S notation, e.g. "B3/S23"
std::string pattern_rule_text(const PATTERN_RULE &rule);

// The whole grid as RLE with its rule and border (PATTERN_BORDER_WRAP, _DEAD or _LIVE); `comment`
// is the first comment line's text after "#C "
std::string pattern_write(const std::array<std::array<uint8_t, LIFE_H>, LIFE_W> &cells, const PATTERN_RULE &rule,
                          int border, const char *comment);
