// watch: what the pattern on the grid is doing, found exactly (see watch.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions
//
// Generation n of a look-ahead is the step counter's generation start + n. For every n seen the
// watch keeps a 64-bit hash, and every 64th grid in full, so 65536 generations take about 1.2 MB
// (the hashes, an open-addressed index of them, the stored grids) instead of 12 MB for every grid.
// A grid between two stored ones is rebuilt by stepping from the one before (at most 63 steps);
// a cursor keeps the last rebuilt grid, so following the engine one generation a tick costs one
// step. A hash seen before is only a candidate: the cycle is taken only when the grids are equal.
// Depends on: life (life_read_columns for the engine's grid, life_next_columns for the next
// generation, the rule lists and border mode it snapshots, the step counter).
#include "watch.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "life.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr uint32_t STRIDE = 64;                                      // generations between stored grids
constexpr uint32_t STORED_GRIDS = WATCH_MAX_GENERATIONS / STRIDE;    // grids kept in full
constexpr uint32_t INDEX_SLOTS = 2 * WATCH_MAX_GENERATIONS;          // hash index, at most half full
constexpr uint32_t INDEX_MASK = INDEX_SLOTS - 1;
constexpr uint32_t NO_ENTRY = 0;                                     // an empty index slot (entries hold n + 1)
constexpr uint64_t HASH_MULTIPLIER = 0x9E3779B97F4A7C15ull;          // 2^64 / golden ratio, odd
constexpr uint64_t HASH_SEED = 0x243F6A8885A308D3ull;                // any non-zero start

static_assert((INDEX_SLOTS & INDEX_MASK) == 0, "the index's size is a power of two");
static_assert(WATCH_MAX_GENERATIONS % STRIDE == 0, "the stored grids cover the look-ahead");
static_assert(LIFE_W % 2 == 0, "the hash reads the columns two at a time");

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
static bool started = false;             // a look-ahead exists (false before the first update and after a reset)
static LIFE_RULE_LIST watch_birth;       // the rule and border the look-ahead was made with
static LIFE_RULE_LIST watch_survive;
static int32_t watch_border;
static uint32_t start_step;              // the step counter at generation 0
static uint32_t seen;                    // generations 0 .. seen - 1 are hashed and indexed
static LIFE_COLUMNS latest;              // generation seen - 1
static WATCH_RESULT result;              // cycle_from is result.generation - start_step
static uint32_t cycle_from;              // while found: the first generation of the cycle, as n

static std::array<uint64_t, WATCH_MAX_GENERATIONS> hashes;   // hash of generation n
static std::array<LIFE_COLUMNS, STORED_GRIDS> stored;        // generation k * STRIDE
static std::array<uint32_t, INDEX_SLOTS> index_slots;        // n + 1 of a generation by its hash; 0 empty

static LIFE_COLUMNS cursor;              // a rebuilt generation
static uint32_t cursor_n;
static bool cursor_valid = false;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// A 64-bit hash of a grid: each pair of columns folded in with a multiply and a rotation
static uint64_t grid_hash(const LIFE_COLUMNS &grid)
{
    uint64_t h = HASH_SEED;
    for (int x = 0; x < LIFE_W; x += 2) {
        uint64_t pair = grid[x] | static_cast<uint64_t>(grid[x + 1]) << 32;
        h = (h ^ pair) * HASH_MULTIPLIER;
        h ^= h >> 29;
    }
    return h * HASH_MULTIPLIER;
}

static bool same_grid(const LIFE_COLUMNS &a, const LIFE_COLUMNS &b)
{
    return std::memcmp(a.data(), b.data(), sizeof a) == 0;
}

static bool empty_grid(const LIFE_COLUMNS &grid)
{
    uint32_t any = 0;
    for (uint32_t column : grid)
        any |= column;
    return any == 0;
}

// One generation under the look-ahead's rule and border
static void step(const LIFE_COLUMNS &now, LIFE_COLUMNS &next)
{
    life_next_columns(now, next, watch_birth, watch_survive, watch_border);
}

// Generation n (n < seen) through the cursor: stepped on from the cursor when it lies between
// the stored grid before n and n, otherwise from that stored grid
static const LIFE_COLUMNS &grid_at(uint32_t n)
{
    uint32_t base = n / STRIDE * STRIDE;
    if (!cursor_valid || cursor_n > n || cursor_n < base) {
        cursor = stored[n / STRIDE];
        cursor_n = base;
        cursor_valid = true;
    }
    LIFE_COLUMNS next;
    while (cursor_n < n) {
        step(cursor, next);
        cursor = next;
        cursor_n++;
    }
    return cursor;
}

// The generation (as n, below seen) whose grid the look-ahead foresees for generation n, or
// false when it cannot say (n beyond what was looked at and no cycle known)
static bool foreseen(uint32_t n, uint32_t &known)
{
    if (n < seen) {
        known = n;
        return true;
    }
    if (result.period == 0)
        return false;
    known = cycle_from + (n - cycle_from) % result.period;
    return true;
}

static void clear_result()
{
    result = WATCH_RESULT{WATCH_SEARCHING, 0, 0};
    cycle_from = 0;
}

// A new look-ahead from grid at step counter steps, under the engine's rule and border
static void restart(const LIFE_COLUMNS &grid, uint32_t steps)
{
    watch_birth = rules_birth;
    watch_survive = rules_survive;
    watch_border = border_mode;
    start_step = steps;
    index_slots.fill(NO_ENTRY);
    clear_result();
    cursor_valid = false;
    seen = 0;
    latest = grid;
    uint64_t h = grid_hash(grid);
    hashes[0] = h;
    stored[0] = grid;
    index_slots[h & INDEX_MASK] = 1;
    seen = 1;
    started = true;
}

// The cycle closed: generation n has the grid of generation from
static void found(uint32_t from, uint32_t n)
{
    cycle_from = from;
    uint32_t period = n - from;
    WATCH_KIND kind = WATCH_OSCILLATES;
    if (period == 1)
        kind = empty_grid(grid_at(from)) ? WATCH_DIES_OUT : WATCH_STILL_LIFE;
    result = WATCH_RESULT{kind, start_step + from, period};
}

// One generation further: the cycle closes, or the generation is hashed, indexed and kept
static void look_ahead_one()
{
    LIFE_COLUMNS next;
    step(latest, next);
    uint32_t n = seen;
    uint64_t h = grid_hash(next);
    uint32_t slot = h & INDEX_MASK;
    for (; index_slots[slot] != NO_ENTRY; slot = (slot + 1) & INDEX_MASK) {
        uint32_t m = index_slots[slot] - 1;
        if (hashes[m] == h && same_grid(grid_at(m), next)) {
            found(m, n);
            return;
        }
    }
    index_slots[slot] = n + 1;
    hashes[n] = h;
    if (n % STRIDE == 0)
        stored[n / STRIDE] = next;
    latest = next;
    seen = n + 1;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
//----------------------------------------------------------------------------------
// Forget the look-ahead; the next update starts from the grid as it is then
void watch_reset()
{
    started = false;
    cursor_valid = false;
    clear_result();
}

// Follow the engine, then look ahead at most budget generations
int watch_update(int budget)
{
    LIFE_COLUMNS grid;
    life_read_columns(grid);
    uint32_t steps = life_step_count();
    uint32_t known = 0;
    bool same_rule = started && watch_birth == rules_birth && watch_survive == rules_survive &&
                     watch_border == border_mode;
    if (!same_rule || !foreseen(steps - start_step, known) || !same_grid(grid_at(known), grid))
        restart(grid, steps);

    int done = 0;
    while (done < budget && result.kind == WATCH_SEARCHING) {
        if (seen == WATCH_MAX_GENERATIONS) {
            result.kind = WATCH_UNKNOWN;
            break;
        }
        look_ahead_one();
        done++;
    }
    return done;
}

WATCH_RESULT watch_result()
{
    return result;
}

uint32_t watch_start()
{
    return start_step;
}

int watch_text(char (&lines)[2][WATCH_TEXT_SIZE])
{
    lines[0][0] = '\0';
    lines[1][0] = '\0';
    switch (result.kind) {
    case WATCH_DIES_OUT:
        std::snprintf(lines[0], WATCH_TEXT_SIZE, "dies out at generation %u", result.generation);
        return 1;
    case WATCH_STILL_LIFE:
        std::snprintf(lines[0], WATCH_TEXT_SIZE, "still life from generation %u", result.generation);
        return 1;
    case WATCH_OSCILLATES:
        std::snprintf(lines[0], WATCH_TEXT_SIZE, "oscillates with period %u", result.period);
        std::snprintf(lines[1], WATCH_TEXT_SIZE, "from generation %u", result.generation);
        return 2;
    default:
        return 0;
    }
}
