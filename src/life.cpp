// life: the cellular automaton (see life.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Types
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions
//
// A generation is computed bit-sliced rather than cell by cell, so that a step costs a small
// fraction of a frame:
// - the grid's bytes are packed into a stream of bits (non-zero byte -> 1) sixteen at a time,
//   and each column's 30 bits are cut from the stream into the low 30 bits of a 32-bit word, four
//   neighbouring columns riding in the four lanes of one 128-bit vector;
// - shifting a column word by one row gives the cells above and below; what the shift brings in
//   at the top and bottom edge is the border mode (the opposite edge's row, a live bit, or 0);
// - each column's vertical three-cell sum (0..3, two bit planes) is added to its two neighbour
//   columns' sums with bitwise full adders, giving the 3 x 3 block count (0..9, four bit planes);
//   the columns just outside the grid hold the sums the border mode gives them;
// - the rule is a multiplexer tree over (alive, count) whose leaves are masks made from the rule
//   lists at the start of the step, so any rule costs the same and nothing branches on cells;
// - the result words are unpacked to bytes of exactly 0 and 1 in the next-generation buffer,
//   which is then copied over the live grid in one block.
// No processor's intrinsics: the vectors are GCC/Clang vector extensions, which the compiler maps
// to whatever vector unit the target has (SSE2, NEON, WebAssembly SIMD) or to plain words, so
// every target computes the same bits.
// Depends on: the standard library; GCC/Clang vector extensions.
#include "life.h"

#include <bit>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr int32_t DEFAULT_FILL_PERCENT = 50;  // chance of a live cell in a random fill at start-up
constexpr int RANDOM_DISCARD_BITS = 8;        // low bits of each rand() a random fill ignores
constexpr int PERCENT = 100;                  // a random fill draws 0..99 per cell
constexpr int MAX_COUNT = 8;                  // the most live neighbours a cell can have
constexpr int BLOCK_COUNTS = MAX_COUNT + 2;   // 3 x 3 block counts 0..9 (own cell included)

constexpr int LANES = 4;                      // packed columns per vector
constexpr int VECTORS = LIFE_W / LANES;       // vectors across the grid
constexpr int VECTOR_BYTES = 16;              // bytes in one vector of columns
constexpr int PACK_BYTES = 8;                 // cells per byte of the grid's bit stream
constexpr int PACKED_BYTES = LIFE_CELLS / PACK_BYTES;  // bytes of the grid's bit stream
constexpr uint32_t COLUMN_BITS = (1u << LIFE_H) - 1;  // the row bits of a packed column
constexpr int TOP_ROW = LIFE_H - 1;           // shift between the first and the last row bit
constexpr int UNPACK_BYTES = 8;               // cells unpacked per table lookup
constexpr int LAST_GROUP_ROW = LIFE_H - UNPACK_BYTES;  // first row of a column's last (overlapping) group

static_assert(LIFE_W % LANES == 0, "the columns fill whole vectors");
static_assert(LIFE_CELLS % VECTOR_BYTES == 0, "the grid packs sixteen cells at a time");
static_assert(LIFE_H + PACK_BYTES - 1 <= 64, "a column's bits lie inside one 64-bit read of the stream");
static_assert(LIFE_H < 32, "a column and the junk bits above it fit a 32-bit lane");
static_assert(std::endian::native == std::endian::little,
              "packing and unpacking move bytes through 64-bit words, first byte lowest");
static_assert(LIFE_H > 3 * UNPACK_BYTES && LIFE_H <= 4 * UNPACK_BYTES, "four groups cover a column");

//----------------------------------------------------------------------------------
// [SECTION] Types
//----------------------------------------------------------------------------------
// Four packed columns, one per 32-bit lane; bitwise operators and shifts work lane by lane
using COLUMNS = uint32_t __attribute__((vector_size(VECTOR_BYTES)));

// Sixteen cells' bytes, and the same bytes seen as two 64-bit words (first byte lowest)
using CELL_BYTES = uint8_t __attribute__((vector_size(VECTOR_BYTES)));
using CELL_WORDS = uint64_t __attribute__((vector_size(VECTOR_BYTES)));

// The grid as bits, cell i at bit i % 8 of byte i / 8, then one zero word of padding
using BIT_STREAM = std::array<uint8_t, PACKED_BYTES + PACK_BYTES>;

// The next-generation value for each 3 x 3 block count, as multiplexer leaves: a cell's leaf is
// born[n] when it is dead and born[n] ^ flip[n] when it is alive (each lane all ones or all zeros)
struct RULE_LEAVES {
    COLUMNS born[BLOCK_COUNTS];  // the value for a dead cell
    COLUMNS flip[BLOCK_COUNTS];  // where a live cell's value differs from a dead cell's
};

// Bit-plane sums of one vector of columns
struct COLUMN_SUMS {
    COLUMNS ones, twos;  // the vertical three-cell sum, bit by bit: ones + 2 * twos
};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
std::array<int32_t, LIFE_RULE_ENTRIES> rules_birth;
std::array<int32_t, LIFE_RULE_ENTRIES> rules_survive;
int32_t border_mode = LIFE_BORDER_WRAP;
int32_t fill_percent = DEFAULT_FILL_PERCENT;

alignas(VECTOR_BYTES) static std::array<uint8_t, LIFE_CELLS> cells;       // the live grid, column-major
alignas(VECTOR_BYTES) static std::array<uint8_t, LIFE_CELLS> cells_buff;  // the next generation
static uint32_t steps = 0;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// Eight bits spread to eight bytes of 0 or 1, bit i to byte i (little-endian)
static constexpr std::array<uint64_t, 256> make_unpack_table()
{
    std::array<uint64_t, 256> table{};
    for (int bits = 0; bits < 256; bits++)
        for (int i = 0; i < UNPACK_BYTES; i++)
            if (bits >> i & 1)
                table[bits] |= uint64_t{1} << (8 * i);
    return table;
}

static constexpr std::array<uint64_t, 256> UNPACK = make_unpack_table();

// A lane value in all four lanes
static COLUMNS splat(uint32_t v)
{
    return COLUMNS{v, v, v, v};
}

// Four lanes from memory, any alignment
static COLUMNS load_columns(const uint32_t *p)
{
    COLUMNS v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// Four lanes to memory, any alignment
static void store_columns(uint32_t *p, COLUMNS v)
{
    std::memcpy(p, &v, sizeof v);
}

// Sixteen cells to two bytes of the grid's bit stream, cell i to bit i % 8 of byte i / 8: each
// live cell keeps its own bit of the weights 1, 2, 4 .. 128, and folding each 64-bit half onto
// itself ORs its eight distinct bits into its low byte.
static void pack_cells(const uint8_t *bytes, uint8_t *bits)
{
    constexpr CELL_BYTES WEIGHTS = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    CELL_BYTES cell;
    std::memcpy(&cell, bytes, sizeof cell);
    auto words = reinterpret_cast<CELL_WORDS>(reinterpret_cast<CELL_BYTES>(cell != 0) & WEIGHTS);
    words |= words >> 32;
    words |= words >> 16;
    words |= words >> 8;
    bits[0] = static_cast<uint8_t>(words[0]);
    bits[1] = static_cast<uint8_t>(words[1]);
}

// The whole grid as a stream of bits, bit i set when byte i is non-zero; the zero padding keeps
// the last columns' 64-bit reads inside the array
static BIT_STREAM pack_grid()
{
    BIT_STREAM stream{};
    for (int i = 0; i < LIFE_CELLS / VECTOR_BYTES; i++)
        pack_cells(&cells[i * VECTOR_BYTES], &stream[i * (VECTOR_BYTES / PACK_BYTES)]);
    return stream;
}

// Column x's cells as row bits, cut from the grid's bit stream: bit y set when row y is alive
static uint32_t column_bits(const BIT_STREAM &stream, int x)
{
    int first = x * LIFE_H;
    uint64_t word;
    std::memcpy(&word, &stream[first / PACK_BYTES], sizeof word);
    return static_cast<uint32_t>(word >> (first % PACK_BYTES)) & COLUMN_BITS;
}

// Row bits back to bytes of 0 and 1, in four 8-byte groups
// NOTE: the last group starts at row 22 and overlaps the third; the shared rows get equal bytes.
static void unpack_column(uint32_t bits, uint8_t *column)
{
    const uint64_t groups[4] = {UNPACK[bits & 0xFF], UNPACK[bits >> 8 & 0xFF], UNPACK[bits >> 16 & 0xFF],
                                UNPACK[bits >> LAST_GROUP_ROW & 0xFF]};
    std::memcpy(column, &groups[0], UNPACK_BYTES);
    std::memcpy(column + UNPACK_BYTES, &groups[1], UNPACK_BYTES);
    std::memcpy(column + 2 * UNPACK_BYTES, &groups[2], UNPACK_BYTES);
    std::memcpy(column + LAST_GROUP_ROW, &groups[3], UNPACK_BYTES);
}

// The neighbour counts a rule list holds, as a bit mask; entries outside 0..8 never match a count
static uint32_t rule_mask(const LIFE_RULE_LIST &rules)
{
    uint32_t mask = 0;
    for (int32_t n : rules)
        if (n >= 0 && n <= MAX_COUNT)
            mask |= 1u << n;
    return mask;
}

// The multiplexer leaves of a rule. The block count includes the cell itself, so a dead cell's
// count is its neighbour count and a live cell's is one more.
static RULE_LEAVES rule_leaves(const LIFE_RULE_LIST &birth, const LIFE_RULE_LIST &survive)
{
    uint32_t born = rule_mask(birth);
    uint32_t kept = rule_mask(survive) << 1;
    RULE_LEAVES leaves;
    for (int n = 0; n < BLOCK_COUNTS; n++) {
        leaves.born[n] = splat(0u - (born >> n & 1));
        leaves.flip[n] = splat(0u - ((born ^ kept) >> n & 1));
    }
    return leaves;
}

// select ? b : a, lane by lane and bit by bit
static COLUMNS mux(COLUMNS select, COLUMNS a, COLUMNS b)
{
    return a ^ ((a ^ b) & select);
}

// The vertical three-cell sums of four columns. wrap (all ones or 0) brings the opposite edge's
// row in at the top and bottom, live_top and live_bottom bring in a live bit.
// NOTE: bits above the last row pick up junk here; they never move down into the rows and the
// result is masked at the end.
static COLUMN_SUMS vertical_sums(COLUMNS alive, COLUMNS wrap, COLUMNS live_top, COLUMNS live_bottom)
{
    COLUMNS above = (alive << 1) | ((alive >> TOP_ROW) & wrap) | live_top;
    COLUMNS below = (alive >> 1) | ((alive << TOP_ROW) & wrap) | live_bottom;
    COLUMNS half = above ^ alive;
    return COLUMN_SUMS{half ^ below, (above & alive) | (half & below)};
}

// The next generation of four columns from their own sums and their neighbours' sums
static COLUMNS next_columns(COLUMNS alive, COLUMN_SUMS left, COLUMN_SUMS own, COLUMN_SUMS right,
                            const RULE_LEAVES &leaves)
{
    // The 3 x 3 block count, bit planes c1 + 2 * c2 + 4 * c4 + 8 * c8, through full adders
    COLUMNS half1 = left.ones ^ own.ones;
    COLUMNS c1 = half1 ^ right.ones;
    COLUMNS carry1 = (left.ones & own.ones) | (half1 & right.ones);
    COLUMNS half2 = left.twos ^ own.twos;
    COLUMNS sum2 = half2 ^ right.twos;
    COLUMNS carry2 = (left.twos & own.twos) | (half2 & right.twos);
    COLUMNS c2 = sum2 ^ carry1;
    COLUMNS carry3 = sum2 & carry1;
    COLUMNS c4 = carry2 ^ carry3;
    COLUMNS c8 = carry2 & carry3;

    // The rule: pick each cell's leaf by alive, then narrow the count down bit plane by bit plane.
    // Counts 8 and 9 are the only ones with c8 set, and they have c2 and c4 clear.
    auto leaf = [&](int n) { return leaves.born[n] ^ (alive & leaves.flip[n]); };
    COLUMNS by1_01 = mux(c1, leaf(0), leaf(1));
    COLUMNS by1_23 = mux(c1, leaf(2), leaf(3));
    COLUMNS by1_45 = mux(c1, leaf(4), leaf(5));
    COLUMNS by1_67 = mux(c1, leaf(6), leaf(7));
    COLUMNS by1_89 = mux(c1, leaf(8), leaf(9));
    COLUMNS by2_03 = mux(c2, by1_01, by1_23);
    COLUMNS by2_47 = mux(c2, by1_45, by1_67);
    COLUMNS by4_07 = mux(c4, by2_03, by2_47);
    return mux(c8, by4_07, by1_89) & splat(COLUMN_BITS);
}

// The rules in the report's form: each entry from the first, up to the first that is not 0..8
static void print_rule_list(const std::array<int32_t, LIFE_RULE_ENTRIES> &rules)
{
    for (int32_t n : rules) {
        if (n < 0 || n > MAX_COUNT)
            break;
        std::printf("%d", n);
    }
}

// Report the rule, the border and the step count, without the log prefix
static void print_rules()
{
    std::printf("RULES: ");
    std::putchar('B');
    print_rule_list(rules_birth);
    std::printf("/S");
    print_rule_list(rules_survive);
    if (border_mode == LIFE_BORDER_LIVE)
        std::printf(", live border");
    else if (border_mode == LIFE_BORDER_WRAP)
        std::printf(", wrap border");
    else
        std::printf(", dead border");
    // NOTE: the counter is printed as a signed number; past 2^31 steps it shows negative.
    std::printf("\nstep %d", static_cast<int>(steps));
    // NOTE: the percent sign comes before the number, so a fill of 50 reads "%50".
    if (steps == 0)
        std::printf(" (random fill %%%d)", fill_percent);
    std::putchar('\n');
    std::fflush(stdout);
}

// Whether a byte of a rule string is a decimal digit (plain ASCII, whatever the locale)
static bool is_digit(unsigned char c)
{
    return c >= '0' && c <= '9';
}

// Read the digits 0..8 at text into a rule list (at most 9 of them); the rest of the list is -1.
// Returns where reading goes on: the first character that is not such a digit, or the end.
static const unsigned char *parse_rule_list(const unsigned char *text, std::array<int32_t, LIFE_RULE_ENTRIES> &rules)
{
    rules.fill(-1);
    size_t count = 0;
    while (count < rules.size() && *text >= '0' && *text <= '0' + MAX_COUNT)
        rules[count++] = *text++ - '0';
    return text;
}

// Read the decimal number at text (which starts with a digit) into fill_percent; above 100 it
// stops at 100 and leaves the remaining digits to be ignored. Returns where reading goes on.
static const unsigned char *parse_fill(const unsigned char *text)
{
    int32_t value = 0;
    while (is_digit(*text)) {
        value = value * 10 + (*text++ - '0');
        if (value > PERCENT) {
            value = PERCENT;
            break;
        }
    }
    fill_percent = value;
    return text;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
//----------------------------------------------------------------------------------
// Rule B3/S23, the standard generator seeded from the clock, a cleared grid, then a random fill
int life_init()
{
    rules_birth.fill(-1);
    rules_survive.fill(-1);
    rules_birth[0] = 3;
    rules_survive[0] = 2;
    rules_survive[1] = 3;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    cells.fill(0);
    life_reset_random(fill_percent);
    return 0;
}

// A random fill at the current fill percentage
void life_reset()
{
    life_reset_random(fill_percent);
}

// NOTE: rows outer, columns inner, and the low 8 bits of each draw dropped: together they fix
// the pattern a given seed produces.
void life_reset_random(int percent)
{
    steps = 0;
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            cells[x * LIFE_H + y] = (std::rand() >> RANDOM_DISCARD_BITS) % PERCENT < percent ? 1 : 0;
}

// The cell's byte read as a signed value (a stored 0xFF reads -1); 0 outside the grid
int life_cell(int x, int y)
{
    if (x < 0 || x >= LIFE_W || y < 0 || y >= LIFE_H)
        return 0;
    return static_cast<int8_t>(cells[x * LIFE_H + y]);
}

// Store the low byte of state; outside the grid nothing happens
int life_set_cell(int x, int y, int state)
{
    if (x < 0 || x >= LIFE_W || y < 0 || y >= LIFE_H)
        return 0;
    cells[x * LIFE_H + y] = static_cast<uint8_t>(state);
    return 1;
}

// The packed live grid, column x's cells in word x (bit y set when row y is alive)
void life_read_columns(LIFE_COLUMNS &columns)
{
    const auto stream = pack_grid();
    for (int x = 0; x < LIFE_W; x++)
        columns[x] = column_bits(stream, x);
}

// The generation after now into next, packed; reads nothing of the engine's own state, so any
// grid can be looked ahead without touching the live one
void life_next_columns(const LIFE_COLUMNS &now, LIFE_COLUMNS &next, const LIFE_RULE_LIST &birth,
                       const LIFE_RULE_LIST &survive, int32_t border)
{
    const RULE_LEAVES leaves = rule_leaves(birth, survive);
    const bool wrap = border == LIFE_BORDER_WRAP;
    const bool live = border == LIFE_BORDER_LIVE;
    const COLUMNS wrap_mask = splat(wrap ? ~0u : 0u);
    const COLUMNS live_top = splat(live ? 1u : 0u);
    const COLUMNS live_bottom = splat(live ? 1u << TOP_ROW : 0u);

    // The sums keep one column outside the grid on each side, column x at x + 1
    std::array<uint32_t, LIFE_W + 2> ones;
    std::array<uint32_t, LIFE_W + 2> twos;
    for (int v = 0; v < VECTORS; v++) {
        COLUMN_SUMS sums = vertical_sums(load_columns(&now[v * LANES]), wrap_mask, live_top, live_bottom);
        store_columns(&ones[v * LANES + 1], sums.ones);
        store_columns(&twos[v * LANES + 1], sums.twos);
    }
    // Outside columns: the opposite edge's sums on a torus, all three live under a live border,
    // nothing under a dead one
    uint32_t wrap_bits = wrap ? ~0u : 0u;
    uint32_t live_bits = live ? ~0u : 0u;
    ones[0] = (ones[LIFE_W] & wrap_bits) | live_bits;
    twos[0] = (twos[LIFE_W] & wrap_bits) | live_bits;
    ones[LIFE_W + 1] = (ones[1] & wrap_bits) | live_bits;
    twos[LIFE_W + 1] = (twos[1] & wrap_bits) | live_bits;

    for (int v = 0; v < VECTORS; v++) {
        int at = v * LANES + 1;
        COLUMN_SUMS left{load_columns(&ones[at - 1]), load_columns(&twos[at - 1])};
        COLUMN_SUMS own{load_columns(&ones[at]), load_columns(&twos[at])};
        COLUMN_SUMS right{load_columns(&ones[at + 1]), load_columns(&twos[at + 1])};
        store_columns(&next[v * LANES], next_columns(load_columns(&now[v * LANES]), left, own, right, leaves));
    }
}

// One generation into cells_buff, copied over cells in one block
void life_step_cells()
{
    LIFE_COLUMNS alive;
    LIFE_COLUMNS next;
    life_read_columns(alive);
    life_next_columns(alive, next, rules_birth, rules_survive, border_mode);
    for (int x = 0; x < LIFE_W; x++)
        unpack_column(next[x], &cells_buff[x * LIFE_H]);
    std::memcpy(cells.data(), cells_buff.data(), LIFE_CELLS);
    steps++;
}

// Generations since the last random fill or since the counter was set
uint32_t life_step_count()
{
    return steps;
}

// Set the generation counter (a loaded grid brings its own)
void life_set_step_count(uint32_t sc)
{
    steps = sc;
}

// Apply a rule string letter by letter (any case; other characters are ignored), then report
// the rule. A null string reads as the empty one.
int life_parse_rule(const char *argv)
{
    const unsigned char *text = reinterpret_cast<const unsigned char *>(argv ? argv : "");
    while (*text) {
        switch (std::tolower(*text)) {
        case 'b':
            text = parse_rule_list(text + 1, rules_birth);
            break;
        case 's':
            text = parse_rule_list(text + 1, rules_survive);
            break;
        case 'w':
            border_mode = LIFE_BORDER_WRAP;
            text++;
            break;
        case 'd':
            border_mode = LIFE_BORDER_DEAD;
            text++;
            break;
        case 'l':
            border_mode = LIFE_BORDER_LIVE;
            text++;
            break;
        case 'f':
            text++;
            if (is_digit(*text))
                text = parse_fill(text);
            break;
        case 'r':
            life_reset_random(fill_percent);
            text++;
            break;
        default:
            text++;
            break;
        }
    }
    print_rules();
    return 0;
}
