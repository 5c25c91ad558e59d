// fuzz_rule: the Life engine's rule strings under libFuzzer.
// Each input is a rule string (up to its first zero byte), applied with life_parse_rule to the
// engine's rule as start-up leaves it. Then a random fill at the fill percentage the string leaves, with
// the input's bytes written over the first cells as they are (so cells hold bytes other than 0
// and 1, which the engine counts as alive), and a few generations. Checked:
// - the rule lists hold counts 0..8 from their first entry on and -1 after them, the border is
//   one of the three modes, the fill percentage lies in 0..100;
// - each generation equals the cell-by-cell transcription of the rule (support/life_reference),
//   holds only 0 and 1, and advances the step counter by one.
// The generator is seeded from the input, so an input always gives the same grids.
// Depends on: life (the engine), life_reference (the cell-by-cell rule), log (assertions).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "life.h"
#include "life_reference.h"
#include "log.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int32_t START_FILL_PERCENT = 50;  // the engine's fill percentage at start-up
constexpr int GENERATIONS = 2;              // generations compared per input: the first from the
                                            // input's bytes, the next from the engine's 0 and 1
constexpr int MAX_COUNT = 8;                // the most live neighbours a cell can have
constexpr int PERCENT = 100;                // the largest fill percentage
constexpr uint32_t FNV_OFFSET = 2166136261u;
constexpr uint32_t FNV_PRIME = 16777619u;

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// FNV-1a over the input: the generator's seed
uint32_t hash(const uint8_t *data, size_t size)
{
    uint32_t h = FNV_OFFSET;
    for (size_t i = 0; i < size; i++)
        h = (h ^ data[i]) * FNV_PRIME;
    return h;
}

// A rule list as the parser leaves it: counts 0..8 from the first entry on, -1 after them
void check_rule_list(const std::array<int32_t, LIFE_RULE_ENTRIES> &rules)
{
    size_t used = 0;
    while (used < rules.size() && rules[used] >= 0) {
        LUM_ASSERT(rules[used] <= MAX_COUNT);
        used++;
    }
    for (size_t i = used; i < rules.size(); i++)
        LUM_ASSERT(rules[i] == -1);
}

}  // namespace

//----------------------------------------------------------------------------------
// Fuzzer entry point
//----------------------------------------------------------------------------------
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The engine's rule as start-up leaves it (life_init's random fill is left out: the grid is
    // filled below), the generator seeded from the input
    rules_birth = {3, -1, -1, -1, -1, -1, -1, -1, -1};
    rules_survive = {2, 3, -1, -1, -1, -1, -1, -1, -1};
    border_mode = LIFE_BORDER_WRAP;
    fill_percent = START_FILL_PERCENT;
    std::srand(hash(data, size));

    const std::string rule(reinterpret_cast<const char *>(data), size);
    LUM_ASSERT(life_parse_rule(rule.c_str()) == 0);
    check_rule_list(rules_birth);
    check_rule_list(rules_survive);
    LUM_ASSERT(border_mode == LIFE_BORDER_DEAD || border_mode == LIFE_BORDER_LIVE || border_mode == LIFE_BORDER_WRAP);
    LUM_ASSERT(fill_percent >= 0 && fill_percent <= PERCENT);

    life_reset_random(fill_percent);
    LIFE_GRID grid = read_grid();
    for (size_t i = 0; i < size && i < grid.size(); i++)
        grid[i] = data[i];
    write_grid(grid);
    for (int generation = 1; generation <= GENERATIONS; generation++) {
        life_step_cells();
        LIFE_GRID next = read_grid();
        LUM_ASSERT(next == reference_step(grid));
        LUM_ASSERT(life_step_count() == static_cast<uint32_t>(generation));
        grid = next;
    }
    return 0;
}
