// game: the user's whole state, and the game screen's side of the Life engine.
// `GAME` holds the rule toggles, border, speed, colours, icons, the frozen grid and the step
// count; its raw bytes are the settings file, so its layout is fixed and checked below. This
// module sets its defaults, moves the grid between the engine and the record, and turns the
// toggles into a rule string for the engine.
// The module is also the game screen, `game_state`: the grid in the middle, the rule toggles,
// run/step controls, speed, border, random fill and clear, and a second panel of display
// settings, built with the button toolkit and drawn through the turtle into sprite batches.
// Depends on: life (the engine), lum (log lines), file (the settings file), buttons, screens (the
// states its buttons switch to), shell (the layout values and look the shell offers the screens),
// sounds, sprite, glyphs, turtle, draw, rnd, history (each change to the grid an undo
// step).
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "screens.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int GAME_RULE_BYTES = 10;     // toggle bytes per rule list; n = 0..8 are used, byte 9 never
constexpr int GAME_GRID_SIDE = 64;      // the frozen grid is 64 x 64, of which 48 x 30 is used

// Ranges the game screen keeps its values in
constexpr int GAME_BORDER_WRAP = 0;     // the screen's border numbering (not the engine's)
constexpr int GAME_BORDER_DEAD = 1;
constexpr int GAME_BORDER_LIVE = 2;
constexpr int GAME_FREQ_MIN = 1;        // generations per second while running
constexpr int GAME_FREQ_MAX = 60;
constexpr int GAME_FG_MAX = 7;          // cell colours 0..7 (black is not offered for cells)
constexpr int GAME_BG_MAX = 8;          // backdrop colours 0..8
constexpr int GAME_ICON_MAX = 15;       // cell and grid icons 0..15

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The settings file is this record's raw little-endian image: no header, no padding but `pad`.
struct GAME {
    std::array<uint8_t, GAME_RULE_BYTES> bparams;  // bparams[n] != 0: a dead cell with n live neighbours is born
    std::array<uint8_t, GAME_RULE_BYTES> sparams;  // sparams[n] != 0: a live cell with n live neighbours survives
    int32_t border_mode;                           // GAME_BORDER_*: 0 wrap, 1 dead, 2 live
    int32_t freq;                                  // generations per second while running, 1..60
    int32_t running;                               // non-zero: the automaton runs by itself
    int32_t show_steps;                            // non-zero: the generation counter is drawn
    int32_t fg;                                    // colour index of the cells, 0..7
    int32_t bg;                                    // colour index of the backdrop, 0..8
    int32_t icon_cell;                             // icon of a live cell, 0..15
    int32_t icon_grid;                             // icon of a dead cell, 0..15
    int32_t icon_glow;                             // glow toggle, 0 or 1
    std::array<int32_t, 4> pad;                    // reserved; zero when fresh, else kept as read
    std::array<std::array<uint8_t, GAME_GRID_SIDE>, GAME_GRID_SIDE> cells;  // cells[x][y]; 48 x 30 used
    uint32_t step_count;                           // generation counter at the time of the save
};

// The file layout, checked at compile time
static_assert(std::endian::native == std::endian::little, "the settings file is the record's little-endian image");
static_assert(sizeof(GAME) == 4172, "the settings file is exactly 4172 bytes");
static_assert(offsetof(GAME, bparams) == 0);
static_assert(offsetof(GAME, sparams) == 10);
static_assert(offsetof(GAME, border_mode) == 20);
static_assert(offsetof(GAME, freq) == 24);
static_assert(offsetof(GAME, running) == 28);
static_assert(offsetof(GAME, show_steps) == 32);
static_assert(offsetof(GAME, fg) == 36);
static_assert(offsetof(GAME, bg) == 40);
static_assert(offsetof(GAME, icon_cell) == 44);
static_assert(offsetof(GAME, icon_grid) == 48);
static_assert(offsetof(GAME, icon_glow) == 52);
static_assert(offsetof(GAME, pad) == 56);
static_assert(offsetof(GAME, cells) == 72);
static_assert(offsetof(GAME, step_count) == 4168);

struct BTN;
struct SYNTH_EFFECT_STATE;

// Play beside the buttons, installed at start-up by the modules that add it (keys, the help
// overlay); each may be null
struct GAME_PLAY {
    int (*touches)();   // the pointers the buttons are handed this tick; 1 without it
    void (*update)();   // each tick, after the buttons and before the rule and the generations
    void (*render)();   // each frame, over the grid and the counter, before the atlas overlay
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern GAME game;
extern int config_changed;  // non-zero: rebuild the engine's rule from the toggles on the next update
extern int reset_life;      // request for the next update: > 0 random fill, < 0 clear, 0 nothing
extern int take_step;       // request for one generation while not running (the STEP toggle)
extern int layout_mode;     // 0: the main panel; non-zero: the display panel
extern BTN *editor_btn;     // the button covering the grid; the step counter is placed from it
extern GAME_PLAY game_play; // what the screen's update and render call besides their own work
constexpr int GAME_COLOURS = 9;
extern const std::array<std::array<float, 3>, GAME_COLOURS> use_clr;  // red, green, blue by fg/bg index

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void game_reset();           // every default; a fresh engine with a random grid
void game_freeze_cells();    // engine grid and counter -> record
void game_thaw_cells();      // record -> engine grid (bytes as stored) and counter
void game_update_config();   // when config_changed: build the rule string, log it, hand it to the engine
void game_clamp_config();    // bring every screen value into its range (for a record read from a file)

// The settings file "settings.cfg" in the per-user save directory: the record's raw bytes
void load_settings();        // read it over the defaults (a start-up step of the shell)
void save_settings();        // write it crash-safely (the shell's exit hook)
void save_settings_if_changed();  // the same unless nothing changed since the last read or write

// The game screen
void layout_buttons();       // lay out the buttons of the current panel and orientation
void game_update();          // once per logic tick: input, configuration, fill/clear, generations
void game_render();          // once per frame: buttons, grid, step counter
void game_toggle_pip();      // the pip of a toggle that became set
// The sound of one painted (live) or erased cell at `pitch`, its decay and ring stretched by `spread`
SYNTH_EFFECT_STATE *game_paint_sound_ex(int live, float pitch, float spread);

// Button handlers: each takes the button and an event code and returns int
int btn_toggle(BTN *b, int action);       // a byte flag at data[id]; hold to repeat
int btn_param(BTN *b, int action);        // a rule digit at data[id]
int btn_add(BTN *b, int action);          // add info to the int at data within hintword[0]..[1]
int btn_value_text(BTN *b, int action);   // a display tile with the int at data and a suffix
int btn_border_mode(BTN *b, int action);  // cycles Wrap, Dead, Live
int btn_reset(BTN *b, int action);        // random fill
int btn_clear(BTN *b, int action);        // empty grid
int btn_colour(BTN *b, int action);       // a tile in the colour use_clr[value]
int btn_life_icon(BTN *b, int action);    // a tile showing icon id + value
int btn_edit_cells(BTN *b, int action);   // the grid: a stroke paints or erases
