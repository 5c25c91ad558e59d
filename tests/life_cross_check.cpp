// The Life engine on its own, for comparing one processor's results with another's: built for the
// host and, with a cross compiler, for other processors (run under an emulator), the same program
// must print the same lines everywhere.
// - Known patterns, checked here and reported as failures: a blinker's two phases, and a glider
//   crossing the torus's corner coming back one cell down and to the right every 4 generations.
// - Random grids of arbitrary bytes stepped under every border mode and several rules: a hash of
//   every generation's bytes is printed, to be compared with the host's output.
// Exits 1 when a known pattern goes wrong or a step leaves a byte other than 0 or 1.
// Depends on: the engine (life.h) and the standard library only, so it links statically.
#include <array>
#include <cstdint>
#include <cstdio>

#include "life.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int GENERATIONS = 40;                 // generations stepped per random grid
constexpr int GRIDS = 3;                        // random grids per border mode and rule
constexpr int GLIDER_PERIOD = 4;                // generations in which a glider moves one cell
constexpr uint64_t FNV_OFFSET = 0xCBF29CE484222325ull;  // 64-bit FNV-1a hash
constexpr uint64_t FNV_PRIME = 0x100000001B3ull;
constexpr int BORDERS[] = {LIFE_BORDER_DEAD, LIFE_BORDER_LIVE, LIFE_BORDER_WRAP, 3};

// Rules as birth and survival counts, each list ended by -1
struct RULE {
    const char *name;
    int birth[LIFE_RULE_ENTRIES + 1];
    int survive[LIFE_RULE_ENTRIES + 1];
};

constexpr RULE RULES[] = {
    {"B3/S23", {3, -1}, {2, 3, -1}},
    {"B36/S23", {3, 6, -1}, {2, 3, -1}},
    {"B0123478/S34678", {0, 1, 2, 3, 4, 7, 8, -1}, {3, 4, 6, 7, 8, -1}},
    {"B012345678/S012345678", {0, 1, 2, 3, 4, 5, 6, 7, 8, -1}, {0, 1, 2, 3, 4, 5, 6, 7, 8, -1}},
};

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// A whole grid, column-major like the engine's
using Grid = std::array<uint8_t, LIFE_CELLS>;

// Set the rule lists and the border directly
void set_rule(const RULE &rule, int border)
{
    rules_birth.fill(-1);
    rules_survive.fill(-1);
    for (int i = 0; rule.birth[i] >= 0; i++)
        rules_birth[i] = rule.birth[i];
    for (int i = 0; rule.survive[i] >= 0; i++)
        rules_survive[i] = rule.survive[i];
    border_mode = border;
}

// The engine's grid, read through life_cell
Grid read_grid()
{
    Grid grid{};
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            grid[x * LIFE_H + y] = static_cast<uint8_t>(life_cell(x, y));
    return grid;
}

// Clear the grid, then set the listed cells (x, y pairs, taken modulo the grid) to 1
template <size_t N>
void place(const int (&cells)[N][2], int dx, int dy)
{
    life_reset_random(0);
    for (const auto &c : cells)
        life_set_cell((c[0] + dx + LIFE_W) % LIFE_W, (c[1] + dy + LIFE_H) % LIFE_H, 1);
}

// Whether the grid holds exactly the listed cells, shifted by dx, dy on the torus
template <size_t N>
bool holds(const int (&cells)[N][2], int dx, int dy)
{
    Grid want{};
    for (const auto &c : cells)
        want[(c[0] + dx + LIFE_W) % LIFE_W * LIFE_H + (c[1] + dy + LIFE_H) % LIFE_H] = 1;
    return read_grid() == want;
}

// A small deterministic generator (xorshift64), the same on every processor
uint64_t next_random(uint64_t &state)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
}

// The grid's bytes hashed; sets bad when a byte is neither 0 nor 1
uint64_t hash_grid(bool &bad)
{
    uint64_t hash = FNV_OFFSET;
    for (uint8_t b : read_grid()) {
        bad = bad || b > 1;
        hash = (hash ^ b) * FNV_PRIME;
    }
    return hash;
}

// A blinker's two phases under a dead border, in the middle of the grid
bool check_blinker()
{
    constexpr int ACROSS[][2] = {{10, 10}, {11, 10}, {12, 10}};
    constexpr int DOWN[][2] = {{11, 9}, {11, 10}, {11, 11}};
    set_rule(RULES[0], LIFE_BORDER_DEAD);
    place(ACROSS, 0, 0);
    life_step_cells();
    bool ok = holds(DOWN, 0, 0);
    life_step_cells();
    return ok && holds(ACROSS, 0, 0);
}

// A glider starting across the torus's corner, followed for a few of its periods
bool check_glider()
{
    constexpr int GLIDER[][2] = {{1, 0}, {2, 1}, {0, 2}, {1, 2}, {2, 2}};
    constexpr int PERIODS = 3;
    set_rule(RULES[0], LIFE_BORDER_WRAP);
    place(GLIDER, LIFE_W - 2, LIFE_H - 2);
    bool ok = true;
    for (int p = 1; p <= PERIODS; p++) {
        for (int g = 0; g < GLIDER_PERIOD; g++)
            life_step_cells();
        ok = ok && holds(GLIDER, LIFE_W - 2 + p, LIFE_H - 2 + p);
    }
    return ok;
}

} // namespace

//----------------------------------------------------------------------------------
// Entry point
//----------------------------------------------------------------------------------
// Check the known patterns, then print the hashes of the random grids' generations
int main()
{
    life_init();
    bool ok = true;
    if (!check_blinker()) {
        std::printf("FAIL: blinker\n");
        ok = false;
    }
    if (!check_glider()) {
        std::printf("FAIL: glider on the torus\n");
        ok = false;
    }
    uint64_t seed = 0x9E3779B97F4A7C15ull;
    for (int border : BORDERS) {
        for (const RULE &rule : RULES) {
            for (int grid = 0; grid < GRIDS; grid++) {
                set_rule(rule, border);
                // Any byte value may be stored; about a third of the cells start alive
                for (int x = 0; x < LIFE_W; x++)
                    for (int y = 0; y < LIFE_H; y++) {
                        uint64_t r = next_random(seed);
                        life_set_cell(x, y, r % 3 == 0 ? static_cast<int>(1 + (r >> 8) % 255) : 0);
                    }
                bool bad = false;
                std::printf("border %d rule %s grid %d:", border, rule.name, grid);
                for (int g = 0; g < GENERATIONS; g++) {
                    life_step_cells();
                    std::printf(" %016llx", static_cast<unsigned long long>(hash_grid(bad)));
                }
                std::printf("\n");
                if (bad) {
                    std::printf("FAIL: a byte other than 0 or 1 after a step\n");
                    ok = false;
                }
            }
        }
    }
    return ok ? 0 : 1;
}
