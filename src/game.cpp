// game: the user's whole state and its settings file, and the game screen (see game.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Types
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions
// [SECTION] Panel tables
// [SECTION] The game screen
// [SECTION] Button handlers
#include "game.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "buttons.h"
#include "draw.h"
#include "file.h"
#include "glyphs.h"
#include "history.h"
#include "life.h"
#include "lum.h"
#include "rnd.h"
#include "shell.h"
#include "sounds.h"
#include "sprite.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr int GAME_DEFAULT_FREQ = 60;
constexpr const char *SETTINGS_FILE = "settings.cfg";          // in the per-user save directory
constexpr const char *SETTINGS_NEW_FILE = "settings.cfg.new";  // a save in progress, beside it
constexpr int GAME_RULE_COUNTS = 9;   // neighbour counts 0..8

// The rule string's border letter for each of the screen's border values.
// NOTE: the screen numbers its borders 0 wrap, 1 dead, 2 live, the Life engine 0 dead, 1 live,
// 2 wrap; the letter in the rule string is where the one numbering is turned into the other.
constexpr std::array<char, 3> GAME_BORDER_LETTER = {'w', 'd', 'l'};

// The longest rule string: "b" + 9 digits + "s" + 9 digits + border letter + NUL
constexpr int GAME_RULE_TEXT_MAX = 1 + GAME_RULE_COUNTS + 1 + GAME_RULE_COUNTS + 1 + 1;

// The game screen
constexpr float GAME_CELL_FALLBACK = 8.0f;       // cell size when the icon sprites are missing or empty
constexpr int GAME_HOLD_TICKS = 30;              // holding a button this many ticks repeats it every tick
constexpr float GAME_TOUCH_SLACK = 0.001f;       // pixels a touch is nudged past a cell boundary
constexpr float GAME_CORNER_INSET = 4.0f;        // layout units from the screen's edge to a side margin
constexpr int GAME_TOP_ROWS_LANDSCAPE = 31;      // the corner buttons' box ends this many cells down
constexpr int GAME_TOP_ROWS_PORTRAIT = 49;
constexpr int GAME_MARGIN_CELLS_LANDSCAPE = 50;  // cells across the grid and its frame, for the margins
constexpr int GAME_MARGIN_CELLS_PORTRAIT = 32;
constexpr int GAME_RENDER_CELLS_LANDSCAPE = 32;  // cells down the grid and its frame, for drawing
constexpr int GAME_RENDER_CELLS_PORTRAIT = 50;
constexpr int GAME_ICON_LIVE = 0;                // live-cell icons, numbered from `sprites`
constexpr int GAME_ICON_GRID = 16;               // grid (dead-cell) icons, numbered from `sprites`
constexpr int GAME_GLYPH_ICONS = 128;            // glyph code of the first live-cell icon
constexpr int GAME_GLYPH_SOLID = 161;            // glyph code of the solid square
constexpr int GAME_COLOUR_SQUARES = 4;           // solid squares of a colour tile
constexpr double GAME_ICON_ROW_SHIFT = 4.0;      // an icon tile's rows lie this far above and below its centre
constexpr float GAME_TILE_GREY = 0.25f;          // backing of the display tiles
constexpr float GAME_BACKDROP_DIM = 0.3f;        // the grid's backdrop: this share of the background colour
constexpr float GAME_STEPS_GREY = 0.5f;          // colour of the step counter
constexpr float GAME_STEPS_SCALE = 2.0f;         // the step counter's size, in units of global_scale
constexpr float GAME_STEPS_RAISE = 0.9f;         // the step counter sits this share of ry above the grid's centre
constexpr int GAME_TEXT_MAX = 20;                // characters of a control's text or the step counter
constexpr float GAME_PIP_PITCH = 1.0f;           // the pip of a toggle that became set
constexpr int GAME_PIP_MS = 10;
constexpr int GAME_PAINT_MS = 20;                // length of the sound of one painted or erased cell
constexpr float GAME_PAINT_SPREAD_MIN = 0.5f;    // range of the random factors of that sound
constexpr float GAME_PAINT_SPREAD_MAX = 2.0f;
constexpr int GAME_PAINT_RING_HZ = 60;           // its ring modulator's frequency before the random factor
constexpr int GAME_PAINT_LIVE_RING = 3;          // painting live cells rings this many times faster

// Texts of the border button, by the screen's border value
constexpr std::array<const char *, 3> GAME_BORDER_TEXT = {"Wrap", "Dead", "Live"};

//----------------------------------------------------------------------------------
// [SECTION] Types
//----------------------------------------------------------------------------------
// Where a panel row's button goes, besides its place in the grid layout
enum GAME_PLACE : uint8_t {
    GAME_PLACE_GRID,          // at (column, row)
    GAME_PLACE_LABEL_TILE,    // at (column, row), a display tile with the shell's default behaviour
    GAME_PLACE_RULE_DIGITS,   // nine toggles of neighbour counts 0..8 from `column` on, ids 0..8
    GAME_PLACE_MARGIN_LEFT,   // then moved into the left margin beside the grid, as wide as it
    GAME_PLACE_MARGIN_RIGHT,  // the same on the right
};

// One row of a panel table: a button, the grid layout it is placed in and what it edits
struct GAME_CONTROL {
    int across, down;                    // the grid layout (columns x rows) of button_set_layout
    float column, row;                   // its position in that layout
    const char *label = nullptr;         // null: none (a value tile draws its value instead)
    BTN_HANDLER handler = nullptr;       // null: the shell's default
    void *data = nullptr;                // the value it shows or edits
    int id = 0;                          // the handler's index into data, or the first icon
    int step = 0, min = 0, max = 0;      // btn_add's step and range
    const char *suffix = nullptr;        // btn_value_text's unit
    STATE *target = nullptr;             // the screen a click switches to; null: none
    GAME_PLACE place = GAME_PLACE_GRID;
    bool log_height = false;             // log "BUTTON HEIGHT" once the button exists
};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
GAME game;
static GAME saved_game;  // the record as last read from or written to the settings file
int config_changed = 0;
int reset_life = 0;
int take_step = 0;
int layout_mode = 0;
BTN *editor_btn = nullptr;
STATE game_state = {layout_buttons, game_update, game_render, nullptr};
GAME_PLAY game_play = {};

const std::array<std::array<float, 3>, GAME_COLOURS> use_clr = {{
    {1.0f, 0.2f, 0.2f},
    {0.2f, 1.0f, 0.6f},
    {0.2f, 0.6f, 1.0f},
    {0.6f, 1.0f, 0.2f},
    {0.8f, 0.2f, 1.0f},
    {1.0f, 0.7f, 0.2f},
    {1.0f, 1.0f, 1.0f},
    {0.5f, 0.5f, 0.5f},
    {0.0f, 0.0f, 0.0f},
}};

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// Append the digit of every neighbour count whose toggle is on, in ascending order
static char *append_counts(char *out, const std::array<uint8_t, GAME_RULE_BYTES> &params)
{
    for (int n = 0; n < GAME_RULE_COUNTS; n++)
        if (params[n])
            *out++ = static_cast<char>('0' + n);
    return out;
}

// The size of one cell in layout units: the first icon sprite's. Without icons (no font
// loaded) the font's 8 x 8 stands in, so that the layout and the touch mapping stay finite.
static float cell_w()
{
    return (sprites && sprites[GAME_ICON_LIVE].w > 0) ? sprites[GAME_ICON_LIVE].w : GAME_CELL_FALLBACK;
}

static float cell_h()
{
    return (sprites && sprites[GAME_ICON_LIVE].h > 0) ? sprites[GAME_ICON_LIVE].h : GAME_CELL_FALLBACK;
}

// An entry of the colour table; an index out of range (only a damaged record holds one) takes
// the nearest entry
static const std::array<float, 3> &colour_of(int index)
{
    return use_clr[std::clamp(index, 0, GAME_COLOURS - 1)];
}

// The byte flag a toggle edits, data[id]; null while the button has no value.
// NOTE: a toggle over an int field (running, show_steps, the glow) edits its lowest byte, which
// is the whole value on this little-endian record as long as the value is 0 or 1.
static uint8_t *flag_of(const BTN *b)
{
    if (!b->data || b->id < 0)
        return nullptr;
    return static_cast<uint8_t *>(b->data) + b->id;
}

// Flip a byte flag and show it; returns its new value
static int flip_flag(BTN *b, uint8_t *flag)
{
    *flag = *flag ? 0 : 1;
    b->highlight = static_cast<char>(*flag);
    return *flag;
}

// A display tile: shows a value, takes no clicks, grey backing, white text at full size
static void make_tile(BTN *b)
{
    b->squeezex = 1.0f;
    b->squeezey = 1.0f;
    b->spriteid = MAIN_SPRITE_TILE;
    b->noclick = 1;
    b->bg = RGBA{GAME_TILE_GREY, GAME_TILE_GREY, GAME_TILE_GREY, 1.0f};
    b->fg = RGBA{1.0f, 1.0f, 1.0f, 1.0f};
}

// Hold to repeat: count the ticks the touch that pressed the button holds it; from the 30th on,
// the handler gets BTN_CUSTOM every tick. Any other touch starts the count again.
static void hold_repeat(BTN *b, BTN_HANDLER handler)
{
    if (b->touch_down_id == 0 || b->touch_hold_id != b->touch_down_id) {
        b->ticks = 0;
        return;
    }
    if (b->ticks < GAME_HOLD_TICKS)
        b->ticks++;
    if (b->ticks >= GAME_HOLD_TICKS)
        handler(b, BTN_CUSTOM);
}

// Add the button's step to its value: past max or min it stops there (id 0) or wraps to the
// other end (id non-zero)
static void add_step(BTN *b)
{
    auto *value = static_cast<int32_t *>(b->data);
    if (!value)
        return;
    const int64_t lo = b->hintword[0];
    const int64_t hi = b->hintword[1];
    int64_t v = static_cast<int64_t>(*value) + b->info;
    if (v > hi)
        v = b->id ? lo : hi;
    else if (v < lo)
        v = b->id ? hi : lo;
    *value = static_cast<int32_t>(v);
}

// A column or row of the grid from a touch's offset from the grid button's edge, truncated
// toward zero; -1 when far outside.
// NOTE: the button's edge comes from float fractions of the screen and can lie a few millionths
// of a pixel inside the cell it should start; touches are whole pixels, so a touch on a cell
// boundary is nudged a thousandth of a pixel on, into the cell that starts there.
static int touched_index(float offset, float size)
{
    const float v = ((offset + GAME_TOUCH_SLACK) / size) / global_scale;
    return (v > -1.0f && v < static_cast<float>(GAME_GRID_SIDE)) ? static_cast<int>(v) : -1;
}

// The sound of one painted or erased cell: a ring-modulated blip at `pitch`; `spread` stretches
// its decay and its ring frequency together, and painting live cells rings three times faster
// than erasing, so the two strokes sound apart
SYNTH_EFFECT_STATE *game_paint_sound_ex(int live, float pitch, float spread)
{
    SYNTH_EFFECT_STATE *effect = sound_ringmod(pitch, GAME_PAINT_MS);
    effect->d = GAME_PAINT_MS * spread;
    effect->i = static_cast<int32_t>(GAME_PAINT_RING_HZ * spread);
    if (live)
        effect->i *= GAME_PAINT_LIVE_RING;
    return effect;
}

// The sound of one cell of a stroke, at a random pitch and spread
static void paint_sound(int live)
{
    const float pitch = static_cast<float>(frnd(GAME_PAINT_SPREAD_MIN, GAME_PAINT_SPREAD_MAX));
    const float spread = static_cast<float>(frnd(GAME_PAINT_SPREAD_MIN, GAME_PAINT_SPREAD_MAX));
    game_paint_sound_ex(live, pitch, spread);
}

void game_toggle_pip()
{
    sound_pip(GAME_PIP_PITCH, GAME_PIP_MS);
}

// A button with its value and parameters. button_ex sent BTN_INIT before any of these existed,
// so the button is initialised again once they are set: the highlight of a toggle and the look
// of a tile are taken at BTN_INIT. Null when the table is full.
static BTN *control(const GAME_CONTROL &c, float column, int id)
{
    BTN *b = button_ex(column, c.row, id, c.label, c.handler);
    if (!b)
        return nullptr;
    b->data = c.data;
    b->info = c.step;
    b->hintword[0] = static_cast<int16_t>(c.min);
    b->hintword[1] = static_cast<int16_t>(c.max);
    b->tooltip = c.suffix;
    b->state = c.target;
    button_init(b);
    return b;
}

// Put a button into a side margin: centred at x, as wide as the margin
static void place_in_margin(BTN *b, float x, float margin)
{
    if (!b)
        return;
    b->x = x;
    button_set_w(b, margin);
}

// Create a panel's buttons row by row, in the table's order. `margin` is the free width beside
// the grid in pixels; a button placed in a margin is as wide as it and centred in it,
// GAME_CORNER_INSET layout units in from the screen's edge.
template <size_t N>
static void lay_out(const std::array<GAME_CONTROL, N> &panel, float margin)
{
    const float margin_left_x = margin / 2 + GAME_CORNER_INSET * global_scale;
    const float margin_right_x = static_cast<float>(lum_w()) - margin_left_x;
    for (const GAME_CONTROL &c : panel) {
        button_set_layout(c.across, c.down);
        if (c.place == GAME_PLACE_RULE_DIGITS) {
            for (int n = 0; n < GAME_RULE_COUNTS; n++)
                control(c, c.column + static_cast<float>(n), n);
            continue;
        }
        BTN *b = c.place == GAME_PLACE_LABEL_TILE ? button_ex(c.column, c.row, 0, c.label, nullptr)
                                                  : control(c, c.column, c.id);
        if (!b)
            continue;
        if (c.place == GAME_PLACE_LABEL_TILE)
            make_tile(b);
        if (c.log_height)
            lum_logf("BUTTON HEIGHT %f\n", static_cast<double>(b->h));
        if (c.place == GAME_PLACE_MARGIN_LEFT)
            place_in_margin(b, margin_left_x, margin);
        if (c.place == GAME_PLACE_MARGIN_RIGHT)
            place_in_margin(b, margin_right_x, margin);
    }
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
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

// Read the settings file over the defaults. A missing file leaves the defaults; a short file
// keeps the defaults for its missing tail; values out of the screen's ranges are brought into
// range.
void load_settings()
{
    LUM_TRACE();
    FILE *in = file_open_save_read(SETTINGS_FILE);
    if (!in)
        return;
    size_t count = file_read(in, &game, sizeof(game));
    file_close(in);
    game_clamp_config();
    game_thaw_cells();
    if (count == sizeof(game))
        saved_game = game;
    lum_logf("read %d bytes\n", static_cast<int>(count));
    dump("settings", &game, static_cast<int>(sizeof(game)));
}

// Save the record: written whole to a new file beside the old one, flushed to the disk, then
// renamed over it. A crash, a kill or a full disk during the save leaves the previous file as
// it was. A save that fails says so and why, and leaves no new file behind; something other
// than a file where the settings belong (a directory, a FIFO) is never replaced.
void save_settings()
{
    LUM_TRACE();
    game_freeze_cells();
    FILE *out = file_open_save_write(SETTINGS_NEW_FILE);
    if (!out) {
        const char *error = file_error();
        const char *folder = file_save_folder_problem();
        if (folder)
            lum_logf("save failed: cannot create the folder '%s': %s\n", file_save_path(""), folder);
        else
            lum_logf("save failed: cannot create '%s': %s\n", file_save_path(SETTINGS_NEW_FILE), error);
        return;
    }
    size_t written = file_write(out, &game, sizeof(game));
    int synced = file_sync(out);
    file_close(out);
    std::string new_path = file_save_path(SETTINGS_NEW_FILE);
    std::string path = file_save_path(SETTINGS_FILE);
    const char *other = file_not_a_file(path.c_str());
    std::string failure;
    if (written != sizeof(game) || synced != 0)
        failure = std::string("cannot write '") + new_path + "': " + file_error();
    else if (other)
        failure = "'" + path + "' is " + other + ", not a file: not replaced";
    else if (file_rename(new_path.c_str(), path.c_str()) < 0)
        failure = "cannot replace '" + path + "': " + file_error();
    if (!failure.empty())
        file_delete(new_path.c_str());
    else
        saved_game = game;
    lum_logf("wrote %d bytes\n", static_cast<int>(written));
    if (!failure.empty())
        lum_logf("save failed: %s; the previous settings are kept\n", failure.c_str());
    dump("settings", &game, static_cast<int>(sizeof(game)));
}

// Save unless the record is byte for byte what was last read or written
void save_settings_if_changed()
{
    game_freeze_cells();
    if (std::memcmp(&game, &saved_game, sizeof game) == 0)
        return;
    save_settings();
}

//----------------------------------------------------------------------------------
// [SECTION] Panel tables
//----------------------------------------------------------------------------------
// Each panel is created row by row in its table's order. Note the deliberate differences between
// the orientations: "RND" against "RAND", "+" above "-" in landscape against "-" left of "+" in
// portrait, and the "Hz" suffix only in landscape.

// The two top corners: "?" opens the about screen; ".." re-enters this screen, which lays it out
// again.
static const std::array<GAME_CONTROL, 2> GAME_CORNERS = {{
    {.across = 12, .down = 5, .column = 0, .row = 0, .label = "?", .target = &settings_state, .place = GAME_PLACE_MARGIN_LEFT},
    {.across = 12, .down = 5, .column = 11, .row = 0, .label = "..", .handler = btn_toggle, .data = &layout_mode,
     .target = &game_state, .place = GAME_PLACE_MARGIN_RIGHT},
}};

// The display panel
static const std::array<GAME_CONTROL, 14> GAME_DISPLAY_PANEL = {{
    {.across = 4, .down = 2, .column = 0, .row = 0, .label = "Step Display", .handler = btn_toggle, .data = &game.show_steps},
    {.across = 4, .down = 2, .column = 0, .row = 1, .label = "Glow", .handler = btn_toggle, .data = &game.icon_glow},
    {.across = 8, .down = 2, .column = 2, .row = 0, .label = "-", .handler = btn_add, .data = &game.fg, .step = -1, .max = GAME_FG_MAX},
    {.across = 8, .down = 2, .column = 3, .row = 0, .label = "FG", .handler = btn_colour, .data = &game.fg},
    {.across = 8, .down = 2, .column = 4, .row = 0, .label = "+", .handler = btn_add, .data = &game.fg, .step = 1, .max = GAME_FG_MAX},
    {.across = 8, .down = 2, .column = 2, .row = 1, .label = "-", .handler = btn_add, .data = &game.bg, .step = -1, .max = GAME_BG_MAX},
    {.across = 8, .down = 2, .column = 3, .row = 1, .label = "BG", .handler = btn_colour, .data = &game.bg},
    {.across = 8, .down = 2, .column = 4, .row = 1, .label = "+", .handler = btn_add, .data = &game.bg, .step = 1, .max = GAME_BG_MAX},
    {.across = 8, .down = 2, .column = 5, .row = 0, .label = "-", .handler = btn_add, .data = &game.icon_cell, .step = -1, .max = GAME_ICON_MAX},
    {.across = 8, .down = 2, .column = 6, .row = 0, .label = "CELL", .handler = btn_life_icon, .data = &game.icon_cell, .id = GAME_ICON_LIVE},
    {.across = 8, .down = 2, .column = 7, .row = 0, .label = "+", .handler = btn_add, .data = &game.icon_cell, .step = 1, .max = GAME_ICON_MAX},
    {.across = 8, .down = 2, .column = 5, .row = 1, .label = "-", .handler = btn_add, .data = &game.icon_grid, .step = -1, .max = GAME_ICON_MAX},
    {.across = 8, .down = 2, .column = 6, .row = 1, .label = "GRID", .handler = btn_life_icon, .data = &game.icon_grid, .id = GAME_ICON_GRID},
    {.across = 8, .down = 2, .column = 7, .row = 1, .label = "+", .handler = btn_add, .data = &game.icon_grid, .step = 1, .max = GAME_ICON_MAX},
}};

// The main panel, portrait
static const std::array<GAME_CONTROL, 12> GAME_MAIN_PORTRAIT = {{
    {.across = 12, .down = 3, .column = 0, .row = 0, .label = "B", .place = GAME_PLACE_LABEL_TILE},
    {.across = 12, .down = 3, .column = 1, .row = 0, .label = "X", .handler = btn_param, .data = game.bparams.data(), .place = GAME_PLACE_RULE_DIGITS},
    {.across = 12, .down = 3, .column = 0, .row = 1, .label = "S", .place = GAME_PLACE_LABEL_TILE},
    {.across = 12, .down = 3, .column = 1, .row = 1, .label = "X", .handler = btn_param, .data = game.sparams.data(), .place = GAME_PLACE_RULE_DIGITS},
    {.across = 4, .down = 3, .column = 1, .row = 2, .label = "", .handler = btn_border_mode, .data = &game.border_mode},
    {.across = 12, .down = 3, .column = 0, .row = 2, .label = "-", .handler = btn_add, .data = &game.freq, .step = -1, .min = GAME_FREQ_MIN, .max = GAME_FREQ_MAX},
    {.across = 12, .down = 3, .column = 1, .row = 2, .handler = btn_value_text, .data = &game.freq, .suffix = ""},
    {.across = 12, .down = 3, .column = 2, .row = 2, .label = "+", .handler = btn_add, .data = &game.freq, .step = 1, .min = GAME_FREQ_MIN, .max = GAME_FREQ_MAX},
    {.across = 6, .down = 3, .column = 3, .row = 2, .label = "RND", .handler = btn_reset},
    {.across = 6, .down = 3, .column = 4, .row = 2, .label = "CLR", .handler = btn_clear},
    {.across = 6, .down = 2, .column = 5, .row = 0, .label = "RUN", .handler = btn_toggle, .data = &game.running},
    {.across = 6, .down = 2, .column = 5, .row = 1, .label = "STEP", .handler = btn_toggle, .data = &take_step},
}};

// The main panel, landscape: below the grid ...
static const std::array<GAME_CONTROL, 6> GAME_MAIN_LANDSCAPE = {{
    {.across = 12, .down = 2, .column = 0, .row = 0, .label = "B", .place = GAME_PLACE_LABEL_TILE, .log_height = true},
    {.across = 12, .down = 2, .column = 1, .row = 0, .label = "X", .handler = btn_param, .data = game.bparams.data(), .place = GAME_PLACE_RULE_DIGITS},
    {.across = 12, .down = 2, .column = 0, .row = 1, .label = "S", .place = GAME_PLACE_LABEL_TILE},
    {.across = 12, .down = 2, .column = 1, .row = 1, .label = "X", .handler = btn_param, .data = game.sparams.data(), .place = GAME_PLACE_RULE_DIGITS},
    {.across = 6, .down = 2, .column = 5, .row = 0, .label = "RUN", .handler = btn_toggle, .data = &game.running},
    {.across = 6, .down = 2, .column = 5, .row = 1, .label = "STEP", .handler = btn_toggle, .data = &take_step},
}};

// ... and beside it, in a box of the grid's height
static const std::array<GAME_CONTROL, 6> GAME_SIDES_LANDSCAPE = {{
    {.across = 12, .down = 5, .column = 0, .row = 1.5f, .label = "+", .handler = btn_add, .data = &game.freq, .step = 1, .min = GAME_FREQ_MIN, .max = GAME_FREQ_MAX, .place = GAME_PLACE_MARGIN_LEFT},
    {.across = 12, .down = 5, .column = 0, .row = 2.5f, .handler = btn_value_text, .data = &game.freq, .suffix = "Hz", .place = GAME_PLACE_MARGIN_LEFT},
    {.across = 12, .down = 5, .column = 0, .row = 3.5f, .label = "-", .handler = btn_add, .data = &game.freq, .step = -1, .min = GAME_FREQ_MIN, .max = GAME_FREQ_MAX, .place = GAME_PLACE_MARGIN_LEFT},
    {.across = 12, .down = 5, .column = 11, .row = 1.5f, .label = "", .handler = btn_border_mode, .data = &game.border_mode, .place = GAME_PLACE_MARGIN_RIGHT},
    {.across = 12, .down = 5, .column = 11, .row = 2.5f, .label = "RAND", .handler = btn_reset, .place = GAME_PLACE_MARGIN_RIGHT},
    {.across = 12, .down = 5, .column = 11, .row = 3.5f, .label = "CLR", .handler = btn_clear, .place = GAME_PLACE_MARGIN_RIGHT},
}};

//----------------------------------------------------------------------------------
// [SECTION] The game screen
//----------------------------------------------------------------------------------
// Lay out the buttons of the current panel for the current orientation. The grid's button
// covers the grid exactly; the corner buttons and, in landscape, the speed and reset columns
// sit in the free margins beside it. Boxes are fractions of the screen.
void layout_buttons()
{
    const float s = cell_w();
    const float pw = static_cast<float>(std::max(play_w, 1));
    const float ph = static_cast<float>(std::max(play_h, 1));
    const bool land = landscape != 0;
    const int rows = land ? LIFE_H : LIFE_W;
    const int cols = land ? LIFE_W : LIFE_H;

    // The grid
    main_buttons_start();
    button_set_layout(1, 1);
    button_set_box(0.0f, 0.0f, 1.0f, 1.0f);
    const float grid_top = (s / 2) / ph;
    const float grid_bottom = s * (rows + 0.5f) / ph;
    const float grid_right = cols * s / (2 * pw) + 0.5f;
    button_box_top(grid_top);
    button_box_bottom(grid_bottom);
    button_box_right(grid_right);
    button_box_left(1 - grid_right);
    editor_btn = button_ex(0, 0, 0, "EDIT", btn_edit_cells);
    if (editor_btn) {
        button_set_w_ex(editor_btn, editor_btn->w, 0.0f);
        button_set_h_ex(editor_btn, editor_btn->h, 0.0f);
    }

    // The two top corners, in the free margins beside the grid
    const float side_right = (pw - s / 2) / pw;
    button_box_top(1 - (ph - s / 2) / ph);
    button_box_bottom(s * (land ? GAME_TOP_ROWS_LANDSCAPE : GAME_TOP_ROWS_PORTRAIT) / ph);
    button_box_right(side_right);
    button_box_left(1 - side_right);
    const int margin_cells = land ? GAME_MARGIN_CELLS_LANDSCAPE : GAME_MARGIN_CELLS_PORTRAIT;
    const float margin = (pw - margin_cells * s) * global_scale * 0.5f;
    lay_out(GAME_CORNERS, margin);

    // The rest, below the grid
    button_box_top(button_box()->bottom);
    button_box_bottom((ph - s / 2) / ph);
    button_box_right(side_right);
    button_box_left(1 - side_right);
    if (layout_mode) {
        lay_out(GAME_DISPLAY_PANEL, margin);
        return;
    }
    if (!land) {
        lay_out(GAME_MAIN_PORTRAIT, margin);
        return;
    }
    lay_out(GAME_MAIN_LANDSCAPE, margin);

    // Beside the grid: speed on the left, border and resets on the right
    button_box_top(grid_top);
    button_box_bottom(grid_bottom);
    button_box_right(side_right);
    button_box_left(1 - side_right);
    lay_out(GAME_SIDES_LANDSCAPE, margin);
}

// Once per logic tick: input, configuration, fill or clear, and the generations due
void game_update()
{
    // Generations owed, in sixtieths: freq is added every tick and each 60 is one generation,
    // so the remainder carries over between ticks and survives stopping and starting
    static int accumulator = 0;

    if (main_update_with_buttons(game_play.touches ? game_play.touches() : 1))
        layout_buttons();
    if (game_play.update)
        game_play.update();
    game_update_config();
    if (reset_life)
        history_begin(reset_life > 0 ? HISTORY_RANDOM : HISTORY_CLEAR);
    if (reset_life > 0)
        life_reset();
    else if (reset_life < 0)
        life_reset_random(0);
    if (reset_life)
        history_end();
    reset_life = 0;
    if (game.running) {
        // NOTE: a speed out of range (only a damaged record holds one) runs at 60 when above,
        // and not at all when 0 or below
        accumulator += std::clamp(game.freq, 0, GAME_FREQ_MAX);
        while (accumulator >= LUM_TICKS_PER_SECOND) {
            life_step_cells();
            accumulator -= LUM_TICKS_PER_SECOND;
        }
    } else if (take_step) {
        history_begin(HISTORY_ONE_STEP);
        life_step_cells();
        history_end();
    }
    take_step = 0;
}

// Once per frame: the buttons, then every cell of the grid as its icon, the step counter, the
// atlas overlay, and the batches drawn. In portrait the grid is drawn turned a quarter turn.
void game_render()
{
    draw_clear(0.0f, 0.0f, 0.0f);
    turtle_set_angle(0.0);
    turtle_set_scale(global_scale);
    turtle_set_pos_unscaled(lum_w() / 2, lum_h() / 2);
    turtle_set_rgb(1.0, 1.0, 1.0);
    buttons_draw();

    const std::array<float, 3> &fg = colour_of(game.fg);
    turtle_set_rgb(fg[0], fg[1], fg[2]);
    const TURTLE saved = turtle;
    if (sprites) {
        const bool land = landscape != 0;
        const float s = cell_w();
        const int rows = land ? LIFE_H : LIFE_W;
        const int cols = land ? LIFE_W : LIFE_H;
        const int c0 = cols / 2;  // the cell drawn at the turtle: the grid's centre
        const int r0 = rows / 2;
        const int frame_cells = land ? GAME_RENDER_CELLS_LANDSCAPE : GAME_RENDER_CELLS_PORTRAIT;
        turtle_move(std::trunc((play_h - frame_cells * s) * 0.5f));
        const double base_x = turtle.x / global_scale;
        const double base_y = turtle.y / global_scale;
        const SPRITE *live = &sprites[GAME_ICON_LIVE + std::clamp(game.icon_cell, 0, GAME_ICON_MAX)];
        const SPRITE *dead = &sprites[GAME_ICON_GRID + std::clamp(game.icon_grid, 0, GAME_ICON_MAX)];
        const int batch = game.icon_glow ? 1 : 0;
        for (int r = 0; r < rows; r++) {
            const double y = base_y + std::trunc((r - r0) * s);
            for (int c = 0; c < cols; c++) {
                const int alive = land ? life_cell(c, r) : life_cell(r, LIFE_H - 1 - c);
                turtle_set_pos(base_x + std::trunc((c - c0) * s + s / 2), y);
                sprite_batch_plot(alive ? live : dead, 0, batch);
            }
        }
    }
    turtle = saved;

    if (game.show_steps && editor_btn) {
        std::array<char, GAME_TEXT_MAX> text{};
        std::snprintf(text.data(), text.size(), "%d", static_cast<int>(life_step_count()));
        turtle_set_scale(GAME_STEPS_SCALE * global_scale);
        turtle_set_rgb(GAME_STEPS_GREY, GAME_STEPS_GREY, GAME_STEPS_GREY);
        turtle_set_pos_unscaled(editor_btn->x, editor_btn->y - GAME_STEPS_RAISE * editor_btn->ry);
        glyphs_batch_plot(&font8x8, text.data(), GLYPHS_ALIGN_CENTER, 0);
        turtle = saved;
    }

    if (game_play.render)
        game_play.render();
    main_debug_atlas_render();
    main_sprite_batches_draw();
}

//----------------------------------------------------------------------------------
// [SECTION] Button handlers
//----------------------------------------------------------------------------------
// Every handler below is a table of the button events it answers itself, in the order the
// toolkit's events are numbered; any other event, and an event whose step answers
// GAME_BTN_DEFAULT, goes on to the shell's default action (the press and release clicks, the
// frame and the label).
constexpr int GAME_BTN_DEFAULT = -1;  // a step's answer: go on to the shell's default

struct GAME_BTN_STEP {
    int action;                      // the button event
    int (*run)(BTN *b, int action);  // its answer, or GAME_BTN_DEFAULT
};

template <size_t N>
static int btn_dispatch(BTN *b, int action, const std::array<GAME_BTN_STEP, N> &steps)
{
    for (const GAME_BTN_STEP &step : steps) {
        if (step.action != action)
            continue;
        const int answer = step.run(b, action);
        if (answer != GAME_BTN_DEFAULT)
            return answer;
        break;
    }
    return main_btn_default(b, action);
}

// Steps several handlers share
// A new press starts a new count of held ticks
static int restart_count(BTN *b, int)
{
    b->ticks = 0;
    return GAME_BTN_DEFAULT;
}

static int show_tile(BTN *b, int)
{
    make_tile(b);
    return 1;
}

// A byte flag at data[id]: a click flips it (a pip when it became set), holding repeats the flip
// silently every tick from the 30th tick on
static int toggle_show(BTN *b, int action)
{
    uint8_t *flag = flag_of(b);
    if (action == BTN_INIT)
        b->ticks = 0;
    if (flag)
        b->highlight = static_cast<char>(*flag != 0);
    return 1;
}

static int toggle_hold(BTN *b, int)
{
    hold_repeat(b, btn_toggle);
    return 0;
}

static int toggle_up(BTN *b, int)
{
    uint8_t *flag = flag_of(b);
    b->ticks = 0;
    if (flag && flip_flag(b, flag))
        game_toggle_pip();
    return 1;
}

static int toggle_repeat(BTN *b, int)
{
    if (uint8_t *flag = flag_of(b))
        flip_flag(b, flag);
    return 1;
}

int btn_toggle(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 6> STEPS = {{
        {BTN_INIT, toggle_show},
        {BTN_DOWN, restart_count},
        {BTN_HOLD, toggle_hold},
        {BTN_UP, toggle_up},
        {BTN_UPDATE, toggle_show},
        {BTN_CUSTOM, toggle_repeat},
    }};
    return btn_dispatch(b, action, STEPS);
}

// A rule digit, the toggle of neighbour count id in the list at data
static int param_show(BTN *b, int)
{
    if (uint8_t *flag = flag_of(b))
        b->highlight = static_cast<char>(*flag != 0);
    return 1;
}

static int param_up(BTN *b, int)
{
    uint8_t *flag = flag_of(b);
    config_changed = 1;
    history_begin(HISTORY_RULE);
    if (flag && flip_flag(b, flag))
        game_toggle_pip();
    history_end();
    return 1;
}

static int param_digit(BTN *b, int)
{
    const std::array<char, 2> digit = {static_cast<char>('0' + std::clamp(b->id, 0, 9)), '\0'};
    plot_text(digit.data(), b->textmode);
    return 1;
}

int btn_param(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 3> STEPS = {{
        {BTN_INIT, param_show},
        {BTN_UP, param_up},
        {BTN_DRAW_TEXT, param_digit},
    }};
    return btn_dispatch(b, action, STEPS);
}

// Add the step in info to the int at data, kept within hintword[0]..hintword[1]; holding
// repeats every tick from the 30th tick on
static int add_init(BTN *b, int)
{
    b->ticks = 0;
    return 1;
}

static int add_hold(BTN *b, int)
{
    hold_repeat(b, btn_add);
    return 0;
}

static int add_up(BTN *b, int)
{
    b->ticks = 0;
    add_step(b);
    return 1;
}

static int add_repeat(BTN *b, int)
{
    add_step(b);
    return 1;
}

int btn_add(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 5> STEPS = {{
        {BTN_INIT, add_init},
        {BTN_DOWN, restart_count},
        {BTN_HOLD, add_hold},
        {BTN_UP, add_up},
        {BTN_CUSTOM, add_repeat},
    }};
    return btn_dispatch(b, action, STEPS);
}

// A display tile showing the int at data, followed by the tooltip as a suffix
static int value_text(BTN *b, int)
{
    const auto *value = static_cast<const int32_t *>(b->data);
    if (!value)
        return 1;
    std::array<char, GAME_TEXT_MAX> text{};
    if (b->tooltip)
        std::snprintf(text.data(), text.size(), "%d%s", *value, b->tooltip);
    else
        std::snprintf(text.data(), text.size(), "%d", *value);
    plot_text(text.data(), b->textmode);
    return 1;
}

int btn_value_text(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 2> STEPS = {{
        {BTN_INIT, show_tile},
        {BTN_DRAW_TEXT, value_text},
    }};
    return btn_dispatch(b, action, STEPS);
}

// The border: each click moves on to the next of Wrap, Dead and Live
static int border_next(BTN *b, int)
{
    auto *mode = static_cast<int32_t *>(b->data);
    config_changed = 1;
    history_begin(HISTORY_BORDER);
    if (mode)
        *mode = ((*mode + 1) % 3 + 3) % 3;
    history_end();
    return 1;
}

static int border_text(BTN *b, int)
{
    const auto *mode = static_cast<const int32_t *>(b->data);
    // NOTE: a value outside 0..2 (only a damaged record holds one) shows as the rule reads it: Wrap
    const int shown = (mode && *mode >= GAME_BORDER_WRAP && *mode <= GAME_BORDER_LIVE) ? *mode : GAME_BORDER_WRAP;
    std::array<char, GAME_TEXT_MAX> text{};
    std::snprintf(text.data(), text.size(), "%s%s", b->name ? b->name : "", GAME_BORDER_TEXT[shown]);
    plot_text(text.data(), b->textmode);
    return 1;
}

int btn_border_mode(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 2> STEPS = {{
        {BTN_UP, border_next},
        {BTN_DRAW_TEXT, border_text},
    }};
    return btn_dispatch(b, action, STEPS);
}

// Random fill on the next update
int btn_reset(BTN *b, int action)
{
    if (action != BTN_UP)
        return main_btn_default(b, action);
    reset_life = 1;
    return 1;
}

// Empty grid on the next update
int btn_clear(BTN *b, int action)
{
    if (action != BTN_UP)
        return main_btn_default(b, action);
    reset_life = -1;
    return 1;
}

// A display tile in the colour use_clr[value]: four solid squares, stretched twice as wide
static int colour_squares(BTN *b, int)
{
    const auto *value = static_cast<const int32_t *>(b->data);
    const std::array<float, 3> &c = colour_of(value ? *value : 0);
    std::array<char, GAME_COLOUR_SQUARES + 1> text{};
    std::fill_n(text.begin(), GAME_COLOUR_SQUARES, static_cast<char>(GAME_GLYPH_SOLID));
    const TURTLE saved = turtle;
    turtle_set_rgba(c[0], c[1], c[2], turtle.a);
    turtle_set_scalex(turtle.scalex * 2);
    plot_text(text.data(), b->textmode);
    turtle = saved;
    return 1;
}

int btn_colour(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 2> STEPS = {{
        {BTN_INIT, show_tile},
        {BTN_DRAW_TEXT, colour_squares},
    }};
    return btn_dispatch(b, action, STEPS);
}

// A display tile showing icon id + value: two rows of two, one above and one below the centre
static int icon_rows(BTN *b, int)
{
    const auto *value = static_cast<const int32_t *>(b->data);
    const int icon = b->id + std::clamp(value ? *value : 0, 0, GAME_ICON_MAX);
    const char code = static_cast<char>(GAME_GLYPH_ICONS + icon);
    const std::array<char, 3> text = {code, code, '\0'};
    const TURTLE saved = turtle;
    turtle_move(GAME_ICON_ROW_SHIFT);
    plot_text(text.data(), b->textmode);
    turtle_move(-2 * GAME_ICON_ROW_SHIFT);
    plot_text(text.data(), b->textmode);
    turtle = saved;
    return 1;
}

int btn_life_icon(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 2> STEPS = {{
        {BTN_INIT, show_tile},
        {BTN_DRAW_TEXT, icon_rows},
    }};
    return btn_dispatch(b, action, STEPS);
}

// The grid. A touch is mapped to the cell drawn under it in landscape; the mapping is not turned
// for portrait, so there a touch edits the transposed cell and screen rows 30 and below are
// refused by the engine. A stroke paints the opposite of the first cell it touched: it either
// only paints or only erases.
static int cells_init(BTN *b, int)
{
    b->spriteid = MAIN_SPRITE_SOLID;
    b->pulse_amount = 0.0f;
    return 1;
}

static int cells_down(BTN *b, int)
{
    const int x = touched_index(b->touchx - (b->x - b->rx), cell_w());
    const int y = touched_index(b->touchy - (b->y - b->ry), cell_h());
    b->hint = life_cell(x, y);
    history_begin(HISTORY_STROKE);
    return 1;
}

static int cells_stroke(BTN *b, int)
{
    if (b->touch_down_id == 0 || b->touch_hold_id != b->touch_down_id)
        return 0;
    const int x = touched_index(b->touchx - (b->x - b->rx), cell_w());
    const int y = touched_index(b->touchy - (b->y - b->ry), cell_h());
    const int paint = b->hint ? 0 : 1;
    if ((life_cell(x, y) != 0) == (paint != 0))
        return 0;
    if (life_set_cell(x, y, paint)) {
        paint_sound(paint);
        if (history_pending() == HISTORY_STROKE)
            history_end();  // the stroke's first cell makes it one undo step
    }
    return 0;
}

static int cells_backdrop(BTN *, int)
{
    const std::array<float, 3> &bg = colour_of(game.bg);
    turtle_set_rgba(GAME_BACKDROP_DIM * bg[0], GAME_BACKDROP_DIM * bg[1], GAME_BACKDROP_DIM * bg[2], turtle.a);
    return 0;
}

int btn_edit_cells(BTN *b, int action)
{
    static constexpr std::array<GAME_BTN_STEP, 4> STEPS = {{
        {BTN_INIT, cells_init},
        {BTN_DOWN, cells_down},
        {BTN_HOLD, cells_stroke},
        {BTN_DRAW_SHAPE, cells_backdrop},
    }};
    return btn_dispatch(b, action, STEPS);
}
