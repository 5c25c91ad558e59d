// shell: what the application shell offers every screen.
// The layout values every screen lays itself out by (the global scale, the orientation, the
// display in layout units), the shared art (the font, the interface sprites, the icons), the
// per-tick layout and pointer dispatch, text with a drop shadow, the look and click of buttons,
// and text utilities. The screens include this header and not the shell's own (main.h), so that
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
constexpr int MAIN_LAYOUT_STEP = 480;  // the layout scale grows by 1 every 480 pixels of the longer side

// Interface sprites, numbered from `sprites`
constexpr int MAIN_SPRITE_BACKING = 32;  // a button's plain backing
constexpr int MAIN_SPRITE_SOLID = 33;    // a solid square (the grid's backdrop)
constexpr int MAIN_SPRITE_TILE = 34;     // a display tile's backing
constexpr int MAIN_SPRITE_FRAME = 35;    // frame corner; + 1 horizontal edge, + 2 vertical edge

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A camera record kept for screens that want one; nothing in this toy moves it.
struct CAMERA {
    XY pos, off, shift;
    float angle, rumble, rumble_decay;
};

//----------------------------------------------------------------------------------
// Module state: shared with every screen
//----------------------------------------------------------------------------------
extern SPRITEFONT font8x8;     // the one bitmap font, first character 32
extern SPRITE *glyphs;         // the font's first glyph
extern SPRITE *sprites;        // the interface sprites: backings and frame pieces (glyphs + 96)
extern SPRITE *icons;          // the first icon: the maker's logo, then the four game icons
extern int icons_spriteid;     // the sprite number of `icons`
extern int global_scale_base;  // multiplier of the layout scale
extern float global_scale;     // pixels per layout unit, a whole number of at least 1
extern int landscape;          // 1 when the display is wider than high
extern int play_w, play_h;     // the display size in layout units
extern int debug_atlas;        // non-zero: atlas debug_atlas - 1 is drawn over the screen
extern RGBA shadow;            // colour of the text shadow
extern CAMERA camera;

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Layout and input, once per tick from every screen's update
int main_update();                                // debug keys and layout; 1 when a new layout was computed
int main_update_with_buttons(int num_touches);    // window-size and rate keys, pointers to buttons, main_update
void main_sprite_batches_draw();                  // draw atlas 0's batches: the end of every render
void main_debug_atlas_render();                   // the atlas overlay, when debug_atlas is set

// Text with a drop shadow, at the turtle
void plot_text_set_shadow(float r, float g, float b, float a);
void plot_text_ex(const char *text, int textmode, int useshadow, const SPRITEFONT *font);
void plot_text(const char *text, int textmode);          // with shadow, in font8x8
void plot_text_noshadow(const char *text, int textmode); // without shadow, in font8x8

// The shell's button look
void main_buttons_start();                               // a new set of buttons with the shell's defaults
int main_btn_default(BTN *b, int action);                // the action of buttons without their own
void main_click_sound(int press);                         // a button's click: low on a press, high on a release
void main_btn_frame_draw_ex(BTN *b, int backingid, int edgesid);  // backing, edges and corners

// Text utilities; results live in private buffers overwritten by the next call
void dump(const char *desc, const void *addr, int len);  // hex dump on standard output
char *uppercase(const char *ptr);                        // at most 79 characters are copied
char *timestat(int timeval);                             // ticks of 1/60 s as m:ss.hh, h:mm:ss.hh, ...
char *wrap_text(const char **in, unsigned maxw);         // the next line of at most maxw characters
