// pattern: the Life community's pattern files (see pattern.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Types
// [SECTION] Private helpers
// [SECTION] Rules
// [SECTION] RLE
// [SECTION] Plaintext
// [SECTION] Life 1.06 and 1.05
// [SECTION] Public functions
//
// Every reader works on the text as a list of lines (LF or CR LF; a CR elsewhere is a blank) and
// first collects the pattern's live cells relative to its own top-left corner into a scratch grid
// of the toy's size, while keeping the pattern's full extent; only when the whole pattern fits is
// it placed, from the top-left or centred. A pattern larger than the grid is read to its end, so
// that the refusal names its whole size, but nothing beyond the grid is kept. Counts and
// coordinates are 64-bit and saturate far beyond any grid, so no input can overflow them.
#include "pattern.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "file.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr int64_t NUMBER_MAX = 1000000000000LL;  // counts and coordinates saturate here
constexpr size_t BINARY_PROBE = 4096;            // a NUL byte this early means binary data
constexpr int EXTENT_SHOWN_MAX = 1000000000;     // a refusal shows sizes up to this, then "more than"
constexpr const char *WRITE_HEADER_SUFFIX_WRAP = ":T";
constexpr const char *WRITE_HEADER_SUFFIX_PLANE = ":P";
constexpr const char *LIVE_BORDER_TEXT = "lumlife border live";  // the live border comment's text after "#C"
constexpr const char *HENSEL_LETTERS = "cekainyqjrtwz";          // non-totalistic neighbourhood letters

//----------------------------------------------------------------------------------
// [SECTION] Types
//----------------------------------------------------------------------------------
// One line of the text: its bytes without the line end, and its number from 1
struct LINE {
    const char *p;
    size_t n;
    int number;
};

// The lines of a text, one after another
struct LINES {
    const char *p, *end;
    int number;
};

// A pattern as read, before it is placed: live cells relative to its top-left, its extent
struct SCRATCH {
    std::array<std::array<uint8_t, LIFE_H>, LIFE_W> cells;  // cells[x][y] for x < 48, y < 30
    int64_t w, h;                                           // the extent, which may be larger
};

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// Fill the refusal and return -1
static int refuse(PATTERN_ERROR *error, int line, int column, const char *format, ...)
    __attribute__((format(printf, 4, 5)));
static int refuse(PATTERN_ERROR *error, int line, int column, const char *format, ...)
{
    if (!error)
        return -1;
    error->line = line;
    error->column = column;
    va_list args;
    va_start(args, format);
    std::vsnprintf(error->text.data(), error->text.size(), format, args);
    va_end(args);
    return -1;
}

static bool next_line(LINES &lines, LINE *line)
{
    if (lines.p >= lines.end)
        return false;
    const char *start = lines.p;
    const char *nl = static_cast<const char *>(std::memchr(start, '\n', static_cast<size_t>(lines.end - start)));
    const char *stop = nl ? nl : lines.end;
    lines.p = nl ? nl + 1 : lines.end;
    size_t n = static_cast<size_t>(stop - start);
    if (n > 0 && start[n - 1] == '\r')
        n--;
    line->p = start;
    line->n = n;
    line->number = ++lines.number;
    return true;
}

static bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

static bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

static bool is_letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The first byte of a line that is not blank, or n
static size_t skip_blanks(const LINE &line, size_t i)
{
    while (i < line.n && is_blank(line.p[i]))
        i++;
    return i;
}

static bool line_is_blank(const LINE &line)
{
    return skip_blanks(line, 0) == line.n;
}

// The line's first byte that is not blank, or 0 for a blank line
static char first_char(const LINE &line)
{
    size_t i = skip_blanks(line, 0);
    return i < line.n ? line.p[i] : '\0';
}

// p[0..n) is `word`, letters compared case-insensitively
static bool same_word(const char *p, size_t n, const char *word)
{
    if (std::strlen(word) != n)
        return false;
    for (size_t i = 0; i < n; i++)
        if (std::tolower(static_cast<unsigned char>(p[i])) != std::tolower(static_cast<unsigned char>(word[i])))
            return false;
    return true;
}

// The line starts with `prefix` (after leading blanks when `blanks` is set), letters compared
// case-insensitively
static bool starts_with(const LINE &line, const char *prefix)
{
    size_t k = std::strlen(prefix);
    if (line.n < k)
        return false;
    for (size_t i = 0; i < k; i++)
        if (std::tolower(static_cast<unsigned char>(line.p[i])) != std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

// A decimal number at p[i..n): advances i; saturates at NUMBER_MAX
static int64_t read_number(const char *p, size_t n, size_t &i)
{
    int64_t v = 0;
    while (i < n && is_digit(p[i])) {
        v = std::min(NUMBER_MAX, v * 10 + (p[i] - '0'));
        i++;
    }
    return v;
}

// A character as a refusal shows it: itself when printable, else its byte value
static const char *shown(char c)
{
    static std::array<char, 16> text;
    unsigned char u = static_cast<unsigned char>(c);
    if (u >= 0x21 && u <= 0x7e)
        std::snprintf(text.data(), text.size(), "'%c'", c);
    else
        std::snprintf(text.data(), text.size(), "byte 0x%02x", u);
    return text.data();
}

// Keep a name, printable ASCII only (anything else becomes '?'), cut to fit
static void keep_name(PATTERN *out, const char *p, size_t n)
{
    while (n > 0 && is_blank(*p)) {
        p++;
        n--;
    }
    while (n > 0 && is_blank(p[n - 1]))
        n--;
    n = std::min(n, out->name.size() - 1);
    for (size_t i = 0; i < n; i++) {
        unsigned char u = static_cast<unsigned char>(p[i]);
        out->name[i] = (u >= 0x20 && u <= 0x7e) ? p[i] : '?';
    }
    out->name[n] = '\0';
}

// Mark a live cell at (x, y) relative to the pattern's top-left and grow the extent
static void scratch_live(SCRATCH &s, int64_t x, int64_t y)
{
    if (x >= 0 && y >= 0 && x < LIFE_W && y < LIFE_H)
        s.cells[static_cast<size_t>(x)][static_cast<size_t>(y)] = 1;
    s.w = std::max(s.w, x + 1);
    s.h = std::max(s.h, y + 1);
}

static int64_t shown_size(int64_t v)
{
    return std::min<int64_t>(v, EXTENT_SHOWN_MAX);
}

// The pattern placed on the grid: from the top-left or centred. A pattern larger than the grid is
// refused with its size and the grid's.
static int place(const SCRATCH &s, PATTERN *out, PATTERN_ERROR *error)
{
    if (s.w > LIFE_W || s.h > LIFE_H) {
        const char *more = (s.w > EXTENT_SHOWN_MAX || s.h > EXTENT_SHOWN_MAX) ? "more than " : "";
        return refuse(error, 0, 0, "the pattern is %s%lld x %lld cells, larger than the grid's %d x %d: not opened", more,
                      static_cast<long long>(shown_size(s.w)), static_cast<long long>(shown_size(s.h)), LIFE_W, LIFE_H);
    }
    out->w = static_cast<int>(s.w);
    out->h = static_cast<int>(s.h);
    out->x = out->top_left ? 0 : (LIFE_W - out->w) / 2;
    out->y = out->top_left ? 0 : (LIFE_H - out->h) / 2;
    for (int x = 0; x < out->w; x++)
        for (int y = 0; y < out->h; y++)
            out->cells[out->x + x][out->y + y] = s.cells[x][y];
    return 1;
}

//----------------------------------------------------------------------------------
// [SECTION] Rules
//----------------------------------------------------------------------------------
// Digits 0..8 at p[i..n) into `counts`; advances i. A 9 is refused; so is a letter of the
// non-totalistic notation right after the digits (B2a, S12-k).
static int read_counts(const char *p, size_t n, size_t &i, std::array<uint8_t, PATTERN_COUNTS> &counts, PATTERN_ERROR *error)
{
    while (i < n) {
        char c = p[i];
        if (c == '9')
            return refuse(error, 0, static_cast<int>(i) + 1, "a neighbour count of 9 in the rule: a cell has at most 8 neighbours");
        if (!is_digit(c))
            break;
        counts[static_cast<size_t>(c - '0')] = 1;
        i++;
    }
    if (i < n && (p[i] == '-' || std::strchr(HENSEL_LETTERS, std::tolower(static_cast<unsigned char>(p[i]))))) {
        return refuse(error, 0, static_cast<int>(i) + 1,
                      "a non-totalistic rule (the neighbourhood letters of Hensel's notation) is not supported");
    }
    return 1;
}

// The topology after ':' at p[i..n): T (torus) or P (plane) with an optional size
static int read_topology(const char *p, size_t n, size_t i, int *border, int *grid_sized, PATTERN_ERROR *error)
{
    const int column = static_cast<int>(i) + 1;
    if (i >= n)
        return refuse(error, 0, column, "no topology after ':' in the rule");
    char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(p[i])));
    switch (kind) {
    case 'T':
        *border = PATTERN_BORDER_WRAP;
        break;
    case 'P':
        *border = PATTERN_BORDER_DEAD;
        break;
    case 'K':
        return refuse(error, 0, column, "the topology ':K' (a Klein bottle) is not supported: only :T (torus) and :P (plane)");
    case 'C':
        return refuse(error, 0, column, "the topology ':C' (a cross-surface) is not supported: only :T (torus) and :P (plane)");
    case 'S':
        return refuse(error, 0, column, "the topology ':S' (a sphere) is not supported: only :T (torus) and :P (plane)");
    default:
        return refuse(error, 0, column, "an unknown topology %s after ':' in the rule", shown(p[i]));
    }
    i++;
    size_t start = i;
    int64_t w = read_number(p, n, i);
    bool has_w = i > start;
    int64_t h = 0;
    bool has_h = false;
    if (i < n && p[i] == ',') {
        i++;
        size_t hs = i;
        h = read_number(p, n, i);
        has_h = i > hs;
    }
    while (i < n && is_blank(p[i]))
        i++;
    if (i < n) {
        if (p[i] == '+' || p[i] == '-' || p[i] == '*')
            return refuse(error, 0, static_cast<int>(i) + 1, "a shifted or twisted bounded grid is not supported");
        return refuse(error, 0, static_cast<int>(i) + 1, "%s after the topology in the rule", shown(p[i]));
    }
    *grid_sized = has_w && has_h && w == LIFE_W && h == LIFE_H;
    return 1;
}

int pattern_parse_rule_ex(const char *text, size_t size, PATTERN_RULE *rule, int *border, int *grid_sized,
                          PATTERN_ERROR *error)
{
    *rule = PATTERN_RULE{};
    *border = PATTERN_BORDER_NONE;
    *grid_sized = 0;
    const char *colon = static_cast<const char *>(std::memchr(text, ':', size));
    size_t n = colon ? static_cast<size_t>(colon - text) : size;
    while (n > 0 && is_blank(text[n - 1]))
        n--;
    size_t i = 0;
    while (i < n && is_blank(text[i]))
        i++;
    if (i == n)
        return refuse(error, 0, static_cast<int>(i) + 1, "an empty rule");
    if (same_word(text + i, n - i, "life")) {
        rule->birth[3] = 1;
        rule->survive[2] = rule->survive[3] = 1;
    } else if (is_digit(text[i]) || text[i] == '/') {
        // The older S/B notation: survival counts, '/', birth counts
        if (read_counts(text, n, i, rule->survive, error) < 0)
            return -1;
        if (i >= n || text[i] != '/')
            return refuse(error, 0, static_cast<int>(i) + 1, "%s in the rule where '/' was expected", i < n ? shown(text[i]) : "the end");
        i++;
        if (read_counts(text, n, i, rule->birth, error) < 0)
            return -1;
        if (i < n && text[i] == '/')
            return refuse(error, 0, static_cast<int>(i) + 1, "a multi-state rule (Generations) is not supported: only two states");
    } else {
        // B/S notation, either part first, '/' or '_' between them or nothing
        bool seen_b = false, seen_s = false;
        while (i < n) {
            char c = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
            if (is_blank(c) || ((c == '/' || c == '_') && (seen_b || seen_s))) {
                i++;
                continue;
            }
            if (c == 'B' && !seen_b) {
                seen_b = true;
                i++;
                if (read_counts(text, n, i, rule->birth, error) < 0)
                    return -1;
            } else if (c == 'S' && !seen_s) {
                seen_s = true;
                i++;
                if (read_counts(text, n, i, rule->survive, error) < 0)
                    return -1;
            } else if (c == 'C' || c == 'G' || (is_digit(c) && seen_b && seen_s)) {
                return refuse(error, 0, static_cast<int>(i) + 1, "a multi-state rule (Generations) is not supported: only two states");
            } else if ((c == 'H' || c == 'V') && (seen_b || seen_s)) {
                return refuse(error, 0, static_cast<int>(i) + 1,
                              "the %s neighbourhood is not supported: only the eight neighbours of the square grid",
                              c == 'H' ? "hexagonal" : "von Neumann");
            } else {
                return refuse(error, 0, static_cast<int>(i) + 1, "%s in the rule: not a two-state rule in B/S or S/B notation",
                              shown(text[i]));
            }
        }
        if (!seen_b || !seen_s)
            return refuse(error, 0, 1, "the rule needs both a B and an S part (such as B3/S23)");
    }
    if (colon)
        return read_topology(text, size, static_cast<size_t>(colon - text) + 1, border, grid_sized, error);
    return 1;
}

int pattern_parse_rule(const char *text, size_t size, PATTERN_RULE *rule, int *border, PATTERN_ERROR *error)
{
    int grid_sized = 0;
    return pattern_parse_rule_ex(text, size, rule, border, &grid_sized, error);
}

// Add `offset` to the column of a refusal from the rule parser, which counts from the rule's
// first byte, and give it the line
static int rule_refused(PATTERN_ERROR *error, int line, int offset)
{
    if (error) {
        error->line = line;
        error->column += offset;
    }
    return -1;
}

std::string pattern_rule_text(const PATTERN_RULE &rule)
{
    std::string text = "B";
    for (int n = 0; n < PATTERN_COUNTS; n++)
        if (rule.birth[static_cast<size_t>(n)])
            text += static_cast<char>('0' + n);
    text += "/S";
    for (int n = 0; n < PATTERN_COUNTS; n++)
        if (rule.survive[static_cast<size_t>(n)])
            text += static_cast<char>('0' + n);
    return text;
}

//----------------------------------------------------------------------------------
// [SECTION] RLE
//----------------------------------------------------------------------------------
// The header line: "x = m, y = n" with an optional ", rule = R" (the rule runs to the line's end,
// since a bounded grid's suffix holds a comma); other keys are passed over
static int read_rle_header(const LINE &line, SCRATCH &s, PATTERN *out, PATTERN_ERROR *error)
{
    bool has_x = false, has_y = false;
    size_t i = 0;
    while (true) {
        i = skip_blanks(line, i);
        if (i >= line.n)
            break;
        size_t key = i;
        while (i < line.n && (is_letter(line.p[i]) || is_digit(line.p[i])))
            i++;
        size_t key_n = i - key;
        if (key_n == 0)
            return refuse(error, line.number, static_cast<int>(i) + 1, "%s in the header where a name was expected", shown(line.p[i]));
        i = skip_blanks(line, i);
        if (i >= line.n || line.p[i] != '=')
            return refuse(error, line.number, static_cast<int>(i) + 1, "'=' expected after '%.*s' in the header",
                          static_cast<int>(key_n), line.p + key);
        i = skip_blanks(line, i + 1);
        if (same_word(line.p + key, key_n, "rule")) {
            int grid_sized = 0;
            if (pattern_parse_rule_ex(line.p + i, line.n - i, &out->rule, &out->border, &grid_sized, error) < 0)
                return rule_refused(error, line.number, static_cast<int>(i));
            out->has_rule = 1;
            out->top_left = grid_sized;
            break;
        }
        size_t value = i;
        if (key_n == 1 && (line.p[key] == 'x' || line.p[key] == 'X' || line.p[key] == 'y' || line.p[key] == 'Y')) {
            int64_t v = read_number(line.p, line.n, i);
            if (i == value)
                return refuse(error, line.number, static_cast<int>(i) + 1, "a number expected after '%c =' in the header", line.p[key]);
            if (line.p[key] == 'x' || line.p[key] == 'X') {
                s.w = v;
                has_x = true;
            } else {
                s.h = v;
                has_y = true;
            }
        } else {
            while (i < line.n && line.p[i] != ',')
                i++;
        }
        i = skip_blanks(line, i);
        if (i < line.n && line.p[i] != ',')
            return refuse(error, line.number, static_cast<int>(i) + 1, "%s in the header where ',' was expected", shown(line.p[i]));
        i++;
    }
    if (!has_x || !has_y)
        return refuse(error, line.number, 1, "the header needs both 'x = ' and 'y = '");
    return 1;
}

// A comment line before the header: #N names the pattern; the toy's own line marks a live border
static void read_rle_comment(const LINE &line, PATTERN *out, bool &live_border)
{
    if (starts_with(line, "#N")) {
        keep_name(out, line.p + 2, line.n - 2);
    } else if (starts_with(line, "#C")) {
        size_t i = skip_blanks(line, 2);
        size_t k = std::strlen(LIVE_BORDER_TEXT);
        size_t end = line.n;
        while (end > i && is_blank(line.p[end - 1]))
            end--;
        if (end - i == k && std::memcmp(line.p + i, LIVE_BORDER_TEXT, k) == 0)
            live_border = true;
    }
}

// The runs: [count] tag, tags b or '.' (dead), o or any other letter (alive), '$' (next row), '!'
// (the end; what follows is ignored). Blanks and line ends anywhere but inside a count.
static int read_rle_runs(LINES &lines, const LINE *first, SCRATCH &s, PATTERN_ERROR *error)
{
    int64_t x = 0, y = 0;
    int64_t count = 0;
    bool counting = false, broken = false;
    int count_line = 0, count_column = 0;
    LINE line = *first;
    bool have = true;
    while (have) {
        for (size_t i = 0; i < line.n; i++) {
            char c = line.p[i];
            if (is_blank(c)) {
                broken = counting;
                continue;
            }
            if (is_digit(c)) {
                if (broken)
                    return refuse(error, line.number, static_cast<int>(i) + 1, "a run count broken by a space");
                if (!counting) {
                    count_line = line.number;
                    count_column = static_cast<int>(i) + 1;
                }
                counting = true;
                count = std::min(NUMBER_MAX, count * 10 + (c - '0'));
                continue;
            }
            int64_t n = counting ? count : 1;
            if (counting && n == 0)
                return refuse(error, count_line, count_column, "a run count of 0");
            if (counting && c == '!')
                return refuse(error, count_line, count_column, "a run count with no symbol after it");
            counting = broken = false;
            count = 0;
            if (c == '!')
                return 1;
            if (c == '$') {
                y = std::min(NUMBER_MAX, y + n);
                x = 0;
            } else if (c == 'b' || c == '.') {
                x = std::min(NUMBER_MAX, x + n);
            } else if (is_letter(c)) {
                for (int64_t k = 0; k < std::min<int64_t>(n, LIFE_W + 1); k++)
                    scratch_live(s, x + k, y);
                scratch_live(s, std::min(NUMBER_MAX, x + n - 1), y);
                x = std::min(NUMBER_MAX, x + n);
            } else {
                return refuse(error, line.number, static_cast<int>(i) + 1, "%s in the pattern's runs", shown(c));
            }
        }
        // A line end is a blank too: it ends a count's digits
        broken = counting;
        have = next_line(lines, &line);
    }
    if (counting)
        return refuse(error, count_line, count_column, "a run count with no symbol after it");
    return 1;
}

static int read_rle(LINES &lines, PATTERN *out, PATTERN_ERROR *error)
{
    SCRATCH s{};
    bool live_border = false;
    LINE line{};
    bool have = next_line(lines, &line);
    // Comments (and blank lines) before the header
    while (have && (line_is_blank(line) || first_char(line) == '#')) {
        if (!line_is_blank(line)) {
            LINE comment = line;
            size_t i = skip_blanks(line, 0);
            comment.p += i;
            comment.n -= i;
            read_rle_comment(comment, out, live_border);
        }
        have = next_line(lines, &line);
    }
    if (!have)
        return place(s, out, error);
    size_t first = skip_blanks(line, 0);
    if (line.p[first] == 'x' || line.p[first] == 'X') {
        size_t after = first + 1;
        while (after < line.n && is_blank(line.p[after]))
            after++;
        if (after < line.n && line.p[after] == '=') {
            if (read_rle_header(line, s, out, error) < 0)
                return -1;
            have = next_line(lines, &line);
            // Comment lines between the header and the runs are passed over
            while (have && first_char(line) == '#')
                have = next_line(lines, &line);
        }
    }
    if (have && read_rle_runs(lines, &line, s, error) < 0)
        return -1;
    if (live_border && out->border == PATTERN_BORDER_DEAD)
        out->border = PATTERN_BORDER_LIVE;
    return place(s, out, error);
}

//----------------------------------------------------------------------------------
// [SECTION] Plaintext
//----------------------------------------------------------------------------------
// '!' comment lines (the first "!Name:" names the pattern), then rows of '.' (dead) and 'O' or '*'
// (alive); a blank line is an empty row; blank lines at the end add nothing
static int read_cells(LINES &lines, PATTERN *out, PATTERN_ERROR *error)
{
    SCRATCH s{};
    LINE line{};
    int64_t row = 0;
    int64_t rows = 0;  // rows up to the last one that held anything
    while (next_line(lines, &line)) {
        if (line.n > 0 && line.p[0] == '!') {
            if (starts_with(line, "!Name:") && out->name[0] == '\0')
                keep_name(out, line.p + 6, line.n - 6);
            continue;
        }
        size_t end = line.n;
        while (end > 0 && is_blank(line.p[end - 1]))
            end--;
        for (size_t i = 0; i < end; i++) {
            char c = line.p[i];
            if (c == 'O' || c == 'o' || c == '*')
                scratch_live(s, static_cast<int64_t>(i), row);
            else if (c != '.')
                return refuse(error, line.number, static_cast<int>(i) + 1, "%s in a plaintext row: only '.', 'O' and '*'", shown(c));
        }
        s.w = std::max(s.w, static_cast<int64_t>(end));
        row++;
        if (end > 0)
            rows = row;
    }
    s.h = std::max(s.h, rows);
    return place(s, out, error);
}

//----------------------------------------------------------------------------------
// [SECTION] Life 1.06 and 1.05
//----------------------------------------------------------------------------------
// A signed decimal number at line.p[i..): advances i; false when there is none
static bool read_signed(const LINE &line, size_t &i, int64_t &v)
{
    bool negative = false;
    if (i < line.n && (line.p[i] == '-' || line.p[i] == '+')) {
        negative = line.p[i] == '-';
        i++;
    }
    size_t start = i;
    v = read_number(line.p, line.n, i);
    if (negative)
        v = -v;
    return i > start;
}

// Live cells of a Life 1.06 or 1.05 file at absolute coordinates: pass 0 finds their bounding
// box, pass 1 places them relative to its top-left
struct ABSOLUTE {
    int pass;
    int64_t min_x, min_y, max_x, max_y;
    bool any;
    SCRATCH s;
};

static void absolute_live(ABSOLUTE &a, int64_t x, int64_t y)
{
    if (a.pass == 0) {
        a.min_x = a.any ? std::min(a.min_x, x) : x;
        a.min_y = a.any ? std::min(a.min_y, y) : y;
        a.max_x = a.any ? std::max(a.max_x, x) : x;
        a.max_y = a.any ? std::max(a.max_y, y) : y;
        a.any = true;
    } else {
        scratch_live(a.s, x - a.min_x, y - a.min_y);
    }
}

// One pass over a Life 1.06 file: after the "#Life 1.06" line, '#' lines are comments and every
// other non-blank line is one "x y" pair
static int pass_life106(const char *text, size_t size, ABSOLUTE &a, PATTERN *out, PATTERN_ERROR *error)
{
    LINES lines{text, text + size, 0};
    LINE line{};
    next_line(lines, &line);  // the "#Life 1.06" line
    while (next_line(lines, &line)) {
        size_t i = skip_blanks(line, 0);
        if (i == line.n)
            continue;
        if (line.p[i] == '#') {
            if (a.pass == 0 && starts_with(LINE{line.p + i, line.n - i, 0}, "#N"))
                keep_name(out, line.p + i + 2, line.n - i - 2);
            continue;
        }
        int64_t x = 0, y = 0;
        if (!read_signed(line, i, x))
            return refuse(error, line.number, static_cast<int>(i) + 1, "%s where a cell's x was expected",
                          i < line.n ? shown(line.p[i]) : "the line's end");
        size_t gap = i;
        i = skip_blanks(line, i);
        if (i == gap || !read_signed(line, i, y))
            return refuse(error, line.number, static_cast<int>(i) + 1, "a cell's y expected after its x");
        i = skip_blanks(line, i);
        if (i < line.n)
            return refuse(error, line.number, static_cast<int>(i) + 1, "%s after a cell's x and y", shown(line.p[i]));
        absolute_live(a, x, y);
    }
    return 1;
}

// One pass over a Life 1.05 file: "#D" descriptions, "#N" (the normal rule, B3/S23), "#R" a rule
// in S/B notation, "#P x y" starts a block of rows of '.' and '*' at (x, y)
static int pass_life105(const char *text, size_t size, ABSOLUTE &a, PATTERN *out, PATTERN_ERROR *error)
{
    LINES lines{text, text + size, 0};
    LINE line{};
    next_line(lines, &line);  // the "#Life 1.05" line
    int64_t block_x = 0, row = 0;
    while (next_line(lines, &line)) {
        size_t end = line.n;
        while (end > 0 && is_blank(line.p[end - 1]))
            end--;
        if (end > 0 && line.p[0] == '#') {
            if (starts_with(line, "#P")) {
                size_t i = skip_blanks(line, 2);
                int64_t x = 0, y = 0;
                if (!read_signed(line, i, x))
                    return refuse(error, line.number, static_cast<int>(i) + 1, "a block's x expected after #P");
                i = skip_blanks(line, i);
                if (!read_signed(line, i, y))
                    return refuse(error, line.number, static_cast<int>(i) + 1, "a block's y expected after its x");
                i = skip_blanks(line, i);
                if (i < end)
                    return refuse(error, line.number, static_cast<int>(i) + 1, "%s after a block's x and y", shown(line.p[i]));
                block_x = x;
                row = y;
            } else if (a.pass == 0 && starts_with(line, "#N")) {
                out->has_rule = 1;
                out->rule = PATTERN_RULE{};
                out->rule.birth[3] = 1;
                out->rule.survive[2] = out->rule.survive[3] = 1;
            } else if (a.pass == 0 && starts_with(line, "#R")) {
                size_t i = std::min(skip_blanks(line, 2), end);
                int grid_sized = 0;
                if (pattern_parse_rule_ex(line.p + i, end - i, &out->rule, &out->border, &grid_sized, error) < 0)
                    return rule_refused(error, line.number, static_cast<int>(i));
                out->has_rule = 1;
                out->top_left = grid_sized;
            }
            continue;
        }
        for (size_t i = 0; i < end; i++) {
            char c = line.p[i];
            if (c == '*' || c == 'O' || c == 'o')
                absolute_live(a, std::min(NUMBER_MAX, block_x + static_cast<int64_t>(i)), row);
            else if (c != '.')
                return refuse(error, line.number, static_cast<int>(i) + 1, "%s in a Life 1.05 row: only '.' and '*'", shown(c));
        }
        row = std::min(NUMBER_MAX, row + 1);
    }
    return 1;
}

static int read_absolute(const char *text, size_t size, PATTERN *out, PATTERN_ERROR *error, bool life106)
{
    ABSOLUTE a{};
    for (a.pass = 0; a.pass < 2; a.pass++) {
        int r = life106 ? pass_life106(text, size, a, out, error) : pass_life105(text, size, a, out, error);
        if (r < 0)
            return -1;
        if (a.pass == 0 && a.any && (a.max_x - a.min_x >= LIFE_W || a.max_y - a.min_y >= LIFE_H)) {
            a.s.w = a.max_x - a.min_x + 1;
            a.s.h = a.max_y - a.min_y + 1;
            return place(a.s, out, error);
        }
    }
    return place(a.s, out, error);
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
//----------------------------------------------------------------------------------
// The format, from the first line that is not blank
static PATTERN_FORMAT detect(const char *text, size_t size, bool *known)
{
    LINES lines{text, text + size, 0};
    LINE line{};
    *known = true;
    while (next_line(lines, &line)) {
        size_t i = skip_blanks(line, 0);
        if (i == line.n)
            continue;
        LINE rest{line.p + i, line.n - i, line.number};
        if (starts_with(rest, "#Life 1.06"))
            return PATTERN_FORMAT_LIFE106;
        if (starts_with(rest, "#Life 1.05"))
            return PATTERN_FORMAT_LIFE105;
        if (rest.p[0] == '!')
            return PATTERN_FORMAT_CELLS;
        if (rest.p[0] == '#' || rest.p[0] == 'x' || rest.p[0] == 'X')
            return PATTERN_FORMAT_RLE;
        // A row of plaintext holds only '.', 'O' and '*'; runs hold counts and other tags
        bool plain = true, runs = true;
        for (size_t k = 0; k < rest.n; k++) {
            char c = rest.p[k];
            plain = plain && (c == '.' || c == 'O' || c == '*' || is_blank(c));
            runs = runs && (is_digit(c) || is_letter(c) || c == '.' || c == '$' || c == '!' || is_blank(c));
        }
        if (plain)
            return PATTERN_FORMAT_CELLS;
        *known = runs;
        return PATTERN_FORMAT_RLE;
    }
    return PATTERN_FORMAT_RLE;
}

int pattern_read(const char *text, size_t size, PATTERN *out, PATTERN_ERROR *error)
{
    *out = PATTERN{};
    out->border = PATTERN_BORDER_NONE;
    if (error)
        *error = PATTERN_ERROR{};
    if (size == 0)
        return refuse(error, 0, 0, "the file is empty: no pattern in it");
    if (size > PATTERN_READ_MAX)
        return refuse(error, 0, 0, "the file is longer than %zu bytes: not a pattern for a %d x %d grid", PATTERN_READ_MAX, LIFE_W,
                      LIFE_H);
    // A byte-order mark is passed over
    if (size >= 3 && std::memcmp(text, "\xef\xbb\xbf", 3) == 0) {
        text += 3;
        size -= 3;
    }
    const char *nul = static_cast<const char *>(std::memchr(text, '\0', std::min(size, BINARY_PROBE)));
    if (nul) {
        LINES lines{text, nul, 0};
        LINE line{};
        int number = 1;
        size_t column = static_cast<size_t>(nul - text) + 1;
        while (next_line(lines, &line)) {
            number = line.number;
            column = static_cast<size_t>(nul - line.p) + 1;
        }
        if (nul > text && nul[-1] == '\n') {
            number++;
            column = 1;
        }
        return refuse(error, number, static_cast<int>(column), "binary data (a zero byte): not a pattern file");
    }
    bool known = true;
    out->format = detect(text, size, &known);
    int r;
    switch (out->format) {
    case PATTERN_FORMAT_LIFE106:
        r = read_absolute(text, size, out, error, true);
        break;
    case PATTERN_FORMAT_LIFE105:
        r = read_absolute(text, size, out, error, false);
        break;
    case PATTERN_FORMAT_CELLS: {
        LINES lines{text, text + size, 0};
        r = read_cells(lines, out, error);
        break;
    }
    default: {
        LINES lines{text, text + size, 0};
        r = read_rle(lines, out, error);
        if (r < 0 && !known) {
            int line = error ? error->line : 0;
            int column = error ? error->column : 0;
            r = refuse(error, line, column, "not a pattern in a format this toy reads (RLE, plaintext .cells, Life 1.06, Life 1.05)");
        }
        break;
    }
    }
    if (r < 0) {
        PATTERN_FORMAT format = out->format;
        *out = PATTERN{};
        out->border = PATTERN_BORDER_NONE;
        out->format = format;
        return -1;
    }
    return 1;
}

int pattern_read_file(const char *path, PATTERN *out, PATTERN_ERROR *error)
{
    *out = PATTERN{};
    out->border = PATTERN_BORDER_NONE;
    if (error)
        *error = PATTERN_ERROR{};
    const char *other = file_not_a_file(path);
    if (other)
        return refuse(error, 0, 0, "this is %s, not a pattern file", other);
    FILE *in = file_open_read(path);
    if (!in)
        return refuse(error, 0, 0, "cannot open the file: %s", file_error());
    // One byte past the bound tells a file that is too long, without reading the rest of it
    std::vector<char> text(PATTERN_READ_MAX + 1);
    size_t size = file_read(in, text.data(), text.size());
    bool failed = std::ferror(in) != 0;
    file_close(in);
    if (failed)
        return refuse(error, 0, 0, "cannot read the file: a read error");
    return pattern_read(text.data(), size, out, error);
}

std::string pattern_error_line(const char *path, const PATTERN_ERROR &error)
{
    std::array<char, PATTERN_ERROR_MAX + 64> where{};
    if (error.line > 0 && error.column > 0)
        std::snprintf(where.data(), where.size(), ":%d:%d", error.line, error.column);
    else if (error.line > 0)
        std::snprintf(where.data(), where.size(), ":%d", error.line);
    return std::string(path) + where.data() + ": " + error.text.data();
}

// Append one run ("12o", "b", "3$") to the text, breaking the line first when it would pass the
// longest line
static void put_run(std::string &text, size_t &line_len, int count, char tag)
{
    std::array<char, 16> run{};
    int n = count > 1 ? std::snprintf(run.data(), run.size(), "%d%c", count, tag) : std::snprintf(run.data(), run.size(), "%c", tag);
    if (line_len + static_cast<size_t>(n) > PATTERN_LINE_MAX) {
        text += '\n';
        line_len = 0;
    }
    text.append(run.data(), static_cast<size_t>(n));
    line_len += static_cast<size_t>(n);
}

std::string pattern_write(const std::array<std::array<uint8_t, LIFE_H>, LIFE_W> &cells, const PATTERN_RULE &rule, int border,
                          const char *comment)
{
    std::string text = "#C ";
    text += comment ? comment : "";
    text += '\n';
    if (border == PATTERN_BORDER_LIVE) {
        text += PATTERN_LIVE_BORDER_COMMENT;
        text += '\n';
    }
    std::array<char, 64> header{};
    std::snprintf(header.data(), header.size(), "x = %d, y = %d, rule = %s%s%d,%d\n", LIFE_W, LIFE_H, pattern_rule_text(rule).c_str(),
                  border == PATTERN_BORDER_WRAP ? WRITE_HEADER_SUFFIX_WRAP : WRITE_HEADER_SUFFIX_PLANE, LIFE_W, LIFE_H);
    text += header.data();
    size_t line_len = 0;
    int pending_rows = 0;  // row ends not written yet: written only before the next live cell
    for (int y = 0; y < LIFE_H; y++) {
        int x = 0;
        while (x < LIFE_W) {
            int alive = cells[static_cast<size_t>(x)][static_cast<size_t>(y)] != 0;
            int run = 1;
            while (x + run < LIFE_W && (cells[static_cast<size_t>(x + run)][static_cast<size_t>(y)] != 0) == alive)
                run++;
            if (alive || x + run < LIFE_W) {
                if (pending_rows > 0) {
                    put_run(text, line_len, pending_rows, '$');
                    pending_rows = 0;
                }
                put_run(text, line_len, run, alive ? 'o' : 'b');
            }
            x += run;
        }
        pending_rows++;
    }
    if (line_len + 1 > PATTERN_LINE_MAX)
        text += '\n';
    text += "!\n";
    return text;
}
