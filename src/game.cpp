// game: the user's whole state, and the game screen's side of the Life engine (see game.h).
#include "game.h"

#include <algorithm>
#include <cstring>

#include "life.h"
#include "lum.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int GAME_DEFAULT_FREQ = 60;
constexpr int GAME_RULE_COUNTS = 9;   // neighbour counts 0..8

// The rule string's border letter for each of the screen's border values
constexpr std::array<char, 3> GAME_BORDER_LETTER = {'w', 'd', 'l'};

// The longest rule string: "b" + 9 digits + "s" + 9 digits + border letter + NUL
constexpr int GAME_RULE_TEXT_MAX = 1 + GAME_RULE_COUNTS + 1 + GAME_RULE_COUNTS + 1 + 1;

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
GAME game;
int config_changed = 0;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Append the digit of every neighbour count whose toggle is on, in ascending order
static char *append_counts(char *out, const std::array<uint8_t, GAME_RULE_BYTES> &params)
{
    for (int n = 0; n < GAME_RULE_COUNTS; n++)
        if (params[n])
            *out++ = static_cast<char>('0' + n);
    return out;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Every default. The engine starts afresh too (its grid is filled at random twice on the way,
// which is harmless).
void game_reset()
{
    LUM_TRACE();
    life_init();
    life_reset();
    std::memset(&game, 0, sizeof(game));
    config_changed = 1;
    game.freq = GAME_DEFAULT_FREQ;
    game.bparams[3] = 1;
    game.sparams[2] = 1;
    game.sparams[3] = 1;
    game.show_steps = 1;
}

// Copy the engine's grid and counter into the record; bytes outside the 48 x 30 grid are zero
void game_freeze_cells()
{
    for (auto &column : game.cells)
        column.fill(0);
    game.step_count = life_step_count();
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            game.cells[x][y] = static_cast<uint8_t>(life_cell(x, y));
}

// Copy the record's grid and counter into the engine, each byte as stored
void game_thaw_cells()
{
    life_set_step_count(game.step_count);
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            life_set_cell(x, y, game.cells[x][y]);
}

// Rebuild the engine's rule from the toggles, e.g. "b3s23w" for the defaults
void game_update_config()
{
    if (!config_changed)
        return;
    LUM_TRACE();
    config_changed = 0;
    std::array<char, GAME_RULE_TEXT_MAX> text{};
    char *out = text.data();
    *out++ = 'b';
    out = append_counts(out, game.bparams);
    *out++ = 's';
    out = append_counts(out, game.sparams);
    // NOTE: a border value outside 0..2 (only a damaged record has one) reads as wrap, the default
    int border = (game.border_mode >= GAME_BORDER_WRAP && game.border_mode <= GAME_BORDER_LIVE) ? game.border_mode : GAME_BORDER_WRAP;
    *out++ = GAME_BORDER_LETTER[border];
    *out = '\0';
    lum_logf("CONFIG SET: %s\n", text.data());
    life_parse_rule(text.data());
}

// A record read from a file may hold anything: bring the values the screen indexes tables with
// or divides by into their ranges. Values already in range are left exactly as they are.
void game_clamp_config()
{
    game.border_mode = std::clamp(game.border_mode, GAME_BORDER_WRAP, GAME_BORDER_LIVE);
    game.freq = std::clamp(game.freq, GAME_FREQ_MIN, GAME_FREQ_MAX);
    game.fg = std::clamp(game.fg, 0, GAME_FG_MAX);
    game.bg = std::clamp(game.bg, 0, GAME_BG_MAX);
    game.icon_cell = std::clamp(game.icon_cell, 0, GAME_ICON_MAX);
    game.icon_grid = std::clamp(game.icon_grid, 0, GAME_ICON_MAX);
    game.icon_glow = game.icon_glow ? 1 : 0;
}
