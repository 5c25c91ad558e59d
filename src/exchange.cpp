// exchange: patterns in and out of the toy (see exchange.h).
#include "exchange.h"

#include <algorithm>

#include "game.h"
#include "history.h"
#include "life.h"
#include "pattern.h"

// A pattern's border is in the screen's numbering, as the record keeps it
static_assert(PATTERN_BORDER_WRAP == GAME_BORDER_WRAP && PATTERN_BORDER_DEAD == GAME_BORDER_DEAD &&
              PATTERN_BORDER_LIVE == GAME_BORDER_LIVE);

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// The grid, the rule and border it names, counter 0, not running; the engine configured from the
// record and the record's frozen grid brought up to date; the moment before is one undo step
void exchange_open(const PATTERN &pattern)
{
    history_record(HISTORY_PATTERN);
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            life_set_cell(x, y, pattern.cells[static_cast<size_t>(x)][static_cast<size_t>(y)]);
    life_set_step_count(0);
    if (pattern.has_rule) {
        for (int n = 0; n < PATTERN_COUNTS; n++) {
            game.bparams[static_cast<size_t>(n)] = pattern.rule.birth[static_cast<size_t>(n)];
            game.sparams[static_cast<size_t>(n)] = pattern.rule.survive[static_cast<size_t>(n)];
        }
    }
    if (pattern.border != PATTERN_BORDER_NONE)
        game.border_mode = pattern.border;
    game.running = 0;
    config_changed = 1;
    game_update_config();
    game_freeze_cells();
}

// Only the neighbour counts 0..8 of the record's toggles make the rule; a border out of range
// (only a damaged record holds one) is written as the wrap border the toy then plays with
std::string exchange_rle()
{
    std::array<std::array<uint8_t, LIFE_H>, LIFE_W> cells{};
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            cells[static_cast<size_t>(x)][static_cast<size_t>(y)] = life_cell(x, y) != 0;
    PATTERN_RULE rule{};
    for (int n = 0; n < PATTERN_COUNTS; n++) {
        rule.birth[static_cast<size_t>(n)] = game.bparams[static_cast<size_t>(n)] != 0;
        rule.survive[static_cast<size_t>(n)] = game.sparams[static_cast<size_t>(n)] != 0;
    }
    int border = (game.border_mode >= GAME_BORDER_WRAP && game.border_mode <= GAME_BORDER_LIVE) ? game.border_mode : GAME_BORDER_WRAP;
    return pattern_write(cells, rule, border, EXCHANGE_COMMENT);
}
