// buttons: an immediate, table-based button layer.
// A screen clears the table, creates its buttons in a grid laid over a box of the screen, and from
// then on the toolkit hit-tests touches, sends events to each button's handler, animates a pulse
// when a button is pressed, switches to a button's target screen when it is clicked, and draws
// every button as a stretched backing sprite with a text label. All buttons live in one fixed
// table; a screen that wants new buttons starts over.
// Depends on: state (target screens), atlas (the font and sprite records), sprite (backings),
// glyphs (labels), turtle, sine (the rainbow), lum (logic rate, seconds, log lines, display size,
// RGBA).
#pragma once

#include <array>
#include <cstdint>

#include "atlas.h"
#include "lum.h"
#include "state.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int BTN_MAX = 300;  // buttons in the table

// Events sent to a button's handler
constexpr int BTN_INIT = 0;         // the button was just created
constexpr int BTN_DOWN = 1;         // a touch went down on it
constexpr int BTN_HOLD = 2;         // a touch is held or moves on it
constexpr int BTN_UP = 3;           // a touch was released on it (a click)
constexpr int BTN_UPDATE = 4;       // once per logic tick
constexpr int BTN_DRAW_SHAPE = 5;   // its backing is about to be drawn; non-zero: the handler drew it
constexpr int BTN_DRAW_TEXT = 6;    // its label is about to be drawn; non-zero: the handler drew it
constexpr int BTN_CUSTOM = 1000;    // free for handlers' own use

// Label alignment (textmode)
constexpr int BTN_TEXT_LEFT = 0;
constexpr int BTN_TEXT_CENTER = 1;
constexpr int BTN_TEXT_RIGHT = 2;

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct BTN;
using BTN_HANDLER = int (*)(BTN *b, int action);

// One button. Positions are screen pixels.
struct BTN {
    int btnnum;                 // its index in the table
    int id;                     // caller's number; a negative id makes the button ignore all touches
    int spriteid;               // backing sprite in the backing sheet; 0 or less: no backing
    float x, y;                 // centre
    float scrollx, scrolly;     // offset added to the centre for hit-testing and drawing
    float w, h;                 // full width and height
    float rx, ry;               // half-extents for hit-testing and for stretching the backing
    RGBA fg, bg, hi_bg, hi_fg, dis_bg, dis_fg;  // text and backing: normal, highlighted, disabled
    char bg_additive, fg_additive;  // sprite batch of the backing and of the text
    float pulse;                // press animation: 1 right after a press, decaying to 0
    float pulse_amount;         // how much the pulse shrinks the button
    float pulse_speed;          // decay speed of the pulse
    char flash;                 // rainbow text, slow pulse decay, no shrink
    float squeezex, squeezey;   // text scale factors that fit the label into the button
    float font_scalex, font_scaley;  // text scale
    float touchx, touchy;       // last touch position on this button
    char highlight, disabled;   // drawn highlighted / disabled (a disabled button takes no clicks)
    char noclick;               // touches neither click nor pulse it
    char noclickthru;           // a touch on it goes no further down the table
    char noemptyclick;          // only the touch that went down on it may hold or click it
    char textmode;              // BTN_TEXT_*
    char last_action;           // last event delivered this tick
    char touch_down_id, touch_hold_id, touch_up_id;  // touch number + 1 that went down, is held, went up on it; 0 none
    int touchcount;             // touch events this tick
    const char *name;           // label
    int namelen;                // characters of the label drawn; 0: up to the terminator
    const char *url;            // link or other text for the handler
    int urllen;
    const char *tooltip;        // extra text for the handler (a suffix, for instance)
    STATE *state;               // screen to switch to when clicked; null: none
    BTN_HANDLER update;         // handler; null: none
    void *data;                 // the value the handler edits
    union {                     // the handler's parameter (for example min and max)
        int32_t hint;
        std::array<int8_t, 4> hintbyte;
        std::array<int16_t, 2> hintword;
    };
    union {                     // the handler's second parameter (for example a step)
        int32_t info;
        std::array<int8_t, 4> infobyte;
        std::array<int16_t, 2> infoword;
    };
    int icon;                   // icon number
    unsigned ticks;             // the handler's counter
    double timestamp;           // the handler's time stamp
    const SPRITEFONT *font;     // label font
    BTN *root;                  // owning button
};

// A box of the screen, as fractions of its width and height
struct BTN_BOX {
    float left, top, right, bottom;
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern std::array<BTN, BTN_MAX> btns;
extern int btn_count;
extern int btn_reset_counter;  // +1 by every buttons_start: a touch scan notices a rebuilt table

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Creation and layout
void buttons_start();                                      // clear the table, log, count 0
void button_set_box(float left, float top, float right, float bottom);
BTN_BOX *button_box();                                     // the box itself, to edit its edges
void button_box_top(float top);
void button_box_bottom(float bottom);
void button_box_left(float left);
void button_box_right(float right);
void button_set_layout(int across, int down);
int button_layout_w();                                     // across
int button_layout_h();                                     // down
// A new button in cell (column, row) of the layout over the box (fractions place it between
// cells); null when the table is full
BTN *button_ex(float column, float row, int id, const char *name, BTN_HANDLER handler);
BTN *button(float column, float row, int id, const char *name);
BTN *button_grid_ex(int id, const char *name, BTN_HANDLER handler);  // the next cell, row by row
BTN *button_grid(int id, const char *name);
BTN *button_label(float column, float row, const char *name);        // no backing, not clickable
void button_init(BTN *b);                                  // BTN_INIT to the handler, then fit the name
void button_set_w_ex(BTN *b, float width, float shrink);
void button_set_h_ex(BTN *b, float height, float shrink);
void button_set_w(BTN *b, float width);
void button_set_h(BTN *b, float height);
void button_set_text(BTN *b, const char *text);            // fit the text with the defaults, set the name
void button_set_squeeze_x(BTN *b, float fraction, float clamp);
void button_set_squeeze_y(BTN *b, float fraction, float clamp);
void button_set_squeeze(BTN *b, float fraction, float clamp);

// Module defaults for the buttons created next
void buttons_set_click_defaults(int noclick, int noclickthru, int noemptyclick);
void buttons_set_action(BTN_HANDLER handler);              // the handler of buttons created without one
void buttons_set_default_squeeze(float squeeze, float clamp);
void buttons_set_default_shrink(float shrink);
void buttons_set_pulse(float amount, float speed);
void buttons_set_default_backing(int spriteid);
void buttons_set_fg_additive(int batch);
void buttons_set_bg_additive(int batch);
void buttons_set_font(const SPRITEFONT *font);
void buttons_set_font_scale(float s);                      // text scale = the turtle's scales x s
void buttons_set_sprites(const SPRITE *sheet);             // the backing sprite sheet
void buttons_set_fade(float fade);                         // every alpha is multiplied by it
float buttons_fade();
void buttons_fg(float r, float g, float b, float a);
void buttons_bg(float r, float g, float b, float a);
void buttons_hi_fg(float r, float g, float b, float a);
void buttons_hi_bg(float r, float g, float b, float a);
void buttons_dis_fg(float r, float g, float b, float a);
void buttons_dis_bg(float r, float g, float b, float a);
void buttons_default_colours();
int buttons_count();
int button_count();
BTN *button_get(int index);                                // null outside 0..count-1
void buttons_reset_to(int n);                              // cut the count down to n, never up

// Running
void buttons_update();                                     // once per logic tick
int button_do_click_ex(float x, float y, int touch, int action);  // a touch event; buttons looked at
int button_do_click(float x, float y, int action);         // touch 0
void buttons_draw();                                       // once per frame, into the atlas batches
