// screens: the application's screens, as the states that buttons and the shell switch between.
// Each screen defines its own state in its module; declaring them together lets one screen name
// another as a button's target without including it, so no two screens include each other.
// Depends on: state.
#pragma once

#include "state.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern STATE main_state;      // the title screen (main)
extern STATE game_state;      // the game screen (game)
extern STATE settings_state;  // the about screen (settings)
