// main: the application shell, the application's side of the framework contract.
// Start-up and shut-down hooks, the settings file's load and save, and text utilities.
// Depends on: lum, file, atlas, sprite, game, turtle.
#pragma once

#include "atlas.h"

//----------------------------------------------------------------------------------
// Module state: shared with every screen
//----------------------------------------------------------------------------------
extern SPRITEFONT font8x8;  // the one bitmap font, first character 32
extern SPRITE *glyphs;      // the font's first glyph
extern SPRITE *sprites;     // the interface sprites: backings and frame pieces (glyphs + 96)
extern SPRITE *icons;       // the first icon: the maker's logo, then the four game icons
extern int icons_spriteid;  // the sprite number of `icons`

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void app_state_init();  // application start-up, after the framework and the window are up
void app_state_exit();  // application shut-down, after the framework has shut down: saves the settings
void app_state_save();  // the framework asks the application to save: the same as app_state_exit
void load_settings();   // read "settings.cfg" over the record's defaults (a start-up step)
void dump(const char *desc, const void *addr, int len);  // hex dump on standard output
