// main: the application shell, the application's side of the framework contract.
// Start-up and shut-down hooks and the title screen. What the shell offers the screens (layout,
// shared art, text, the look of buttons) is declared in shell.h and implemented here too; what
// only the shell uses of it (the debug keys' state, the text shadow's colour and the frame of a
// button, the text utilities) is declared here.
// Depends on: shell (its interface to the screens), screens (the states), lum, state, input, file,
// atlas, sprite, glyphs, turtle, rnd, draw (clearing the title's frame), buttons, game (the record, its
// settings file), settings (the store query at start-up), sounds, synth_effects (the effect slots set up at start-up),
// history, mute, keyboard and help (the play added to the game screen, started here).
#pragma once

#include "screens.h"
#include "shell.h"

struct SYNTH_EFFECT_STATE;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int MAIN_TITLE_TICKS = 30;   // the title screen's countdown
constexpr int MAIN_LAYOUT_STEP = 480;  // the layout scale grows by 1 every 480 pixels of the longer side

// Interface sprites, numbered from `sprites` (the screens' are in shell.h)
constexpr int MAIN_SPRITE_BACKING = 32;  // a button's plain backing
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
// Module state
//----------------------------------------------------------------------------------
extern int counter;            // the title screen's countdown
extern int global_scale_base;  // multiplier of the layout scale
extern int debug_atlas;        // non-zero: atlas debug_atlas - 1 is drawn over the screen
extern RGBA shadow;            // colour of the text shadow
extern CAMERA camera;

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
int main_update();      // debug keys and layout; 1 when a new layout was computed

// Text with a drop shadow (plot_text, for the screens, is in shell.h)
void plot_text_set_shadow(float r, float g, float b, float a);
void plot_text_ex(const char *text, int textmode, int useshadow, const SPRITEFONT *font);
void plot_text_noshadow(const char *text, int textmode); // without shadow, in font8x8

void main_btn_frame_draw_ex(BTN *b, int backingid, int edgesid);  // a button's backing, edges and corners

// Text utilities; results live in private buffers overwritten by the next call
char *uppercase(const char *ptr);                        // at most 79 characters are copied
char *timestat(int timeval);                             // ticks of 1/60 s as m:ss.hh, h:mm:ss.hh, ...
char *wrap_text(const char **in, unsigned maxw);         // the next line of at most maxw characters
