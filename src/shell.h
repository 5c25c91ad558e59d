// shell: what the application shell offers every screen.
// The layout values every screen lays itself out by (the global scale, the orientation, the
// display in layout units), the shared art (the font, the interface sprites, the icons), the
// per-tick layout and pointer dispatch, text with a drop shadow, the look and click of buttons,
// and the hex dump. What only the shell itself and its tests use is in main.h. The screens include this header and not the shell's own (main.h), so that
// the shell depends on the screens it switches between and never the other way round. The shell
// (main.cpp) implements it.
// Depends on: lum (XY, RGBA), atlas (SPRITE, SPRITEFONT).
#pragma once

#include "atlas.h"
#include "lum.h"

struct BTN;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// Interface sprites, numbered from `sprites`
constexpr int MAIN_SPRITE_SOLID = 33;    // a solid square (the grid's backdrop)
constexpr int MAIN_SPRITE_TILE = 34;     // a display tile's backing

//----------------------------------------------------------------------------------
// Module state: shared with every screen
//----------------------------------------------------------------------------------
extern SPRITEFONT font8x8;     // the one bitmap font, first character 32
extern SPRITE *glyphs;         // the font's first glyph
extern SPRITE *sprites;        // the interface sprites: backings and frame pieces (glyphs + 96)
extern SPRITE *icons;          // the first icon: the maker's logo, then the four game icons
extern int icons_spriteid;     // the sprite number of `icons`
extern float global_scale;     // pixels per layout unit, a whole number of at least 1
extern int landscape;          // 1 when the display is wider than high
extern int play_w, play_h;     // the display size in layout units

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Layout and input, once per tick from every screen's update
int main_update_with_buttons(int num_touches);    // window-size and rate keys, pointers to buttons, main_update
void main_sprite_batches_draw();                  // draw atlas 0's batches: the end of every render
void main_debug_atlas_render();                   // the atlas overlay, when debug_atlas is set

// Text with a drop shadow, at the turtle
void plot_text(const char *text, int textmode);          // with shadow, in font8x8

// The shell's button look
void main_buttons_start();                               // a new set of buttons with the shell's defaults
int main_btn_default(BTN *b, int action);                // the action of buttons without their own
void main_click_sound(int press);                         // a button's click: low on a press, high on a release

// A hex dump of a record on standard output
void dump(const char *desc, const void *addr, int len);
