// main: the application shell, the application's side of the framework contract.
// Start-up and shut-down hooks and the title screen. What the shell offers the screens (layout,
// shared art, text, the look of buttons) is declared in shell.h and implemented here too.
// Depends on: shell (its interface to the screens), screens (the states), lum, state, input, file,
// atlas, sprite, glyphs, turtle, rnd, buttons, game (the record, its settings file), settings (the
// store query at start-up), sounds, history, mute, keyboard and help (the play added to the game
// screen, started here).
#pragma once

#include "screens.h"
#include "shell.h"

struct SYNTH_EFFECT_STATE;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int MAIN_TITLE_TICKS = 30;   // the title screen's countdown

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern int counter;            // the title screen's countdown

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void app_state_init();  // application start-up, after the framework and the window are up
void app_state_exit();  // application shut-down, after the framework has shut down: saves the settings
void app_state_save();  // the framework asks the application to save: as app_state_exit when anything changed
int app_load_url(const char *url);     // nothing to load on the desktop: 0
void app_state_info(const char *info); // no effect
SYNTH_EFFECT_STATE *main_title_pip(int counter);  // the title's pip at an odd count of its countdown
int main_has_font();    // 1 when start-up could read the font: without it there is nothing to draw
