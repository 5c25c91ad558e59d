// buttons: the button toolkit (see buttons.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions: creation and layout
// [SECTION] Public functions: text fitting
// [SECTION] Public functions: module defaults
// [SECTION] Public functions: running
#include "buttons.h"

#include <cmath>
#include <cstring>

#include "glyphs.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr float PULSE_DECAY = 12.0f;         // a pulse decays by 12 x dt x speed per tick
constexpr float PULSE_SNAP = 0.01f;          // a pulse below this becomes 0
constexpr float LABEL_SQUEEZE = 1000.0f;     // labels: a squeeze limit that never binds...
constexpr float LABEL_CLAMP = 1.0f;          // ...so the clamp decides: text at most full size
constexpr double RAINBOW_SPEED = 1460.0;     // degrees the rainbow turns per second
constexpr double RAINBOW_GREEN = 120.0;      // phase of the green component, degrees
constexpr double RAINBOW_BLUE = 240.0;       // phase of the blue component, degrees

// Default colours, also what buttons_default_colours restores
constexpr RGBA DEFAULT_FG = {1.0f, 1.0f, 1.0f, 1.0f};
constexpr RGBA DEFAULT_BG = {0.5f, 0.5f, 0.5f, 1.0f};
constexpr RGBA DEFAULT_HI_FG = {0.0f, 0.0f, 0.0f, 1.0f};
constexpr RGBA DEFAULT_HI_BG = {1.0f, 1.0f, 1.0f, 1.0f};
constexpr RGBA DEFAULT_DIS_FG = {0.0f, 0.0f, 0.0f, 1.0f};
constexpr RGBA DEFAULT_DIS_BG = {0.3f, 0.3f, 0.3f, 1.0f};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
std::array<BTN, BTN_MAX> btns;
int btn_count = 0;
int btn_reset_counter = 0;

static BTN_HANDLER btn_action = nullptr;      // handler of buttons created without one
static int btn_across = 1;                    // layout: cells across and down the box
static int btn_down = 1;
static BTN_BOX btn_box = {0.0f, 0.0f, 1.0f, 1.0f};

static RGBA btn_fg = DEFAULT_FG;
static RGBA btn_bg = DEFAULT_BG;
static RGBA btn_hi_fg = DEFAULT_HI_FG;
static RGBA btn_hi_bg = DEFAULT_HI_BG;
static RGBA btn_dis_fg = DEFAULT_DIS_FG;
static RGBA btn_dis_bg = DEFAULT_DIS_BG;

static char btn_def_noclick = 0;
static char btn_def_noclickthru = 0;
static char btn_def_noemptyclick = 0;

static float default_squeeze = 0.8f;
static float default_clamp = 1.0f;
static float default_shrink = 1.0f;
static float pulse_amount = 0.4f;
static float pulse_speed = 1.0f;
static float fade = 1.0f;
static float font_scalex = 1.0f;              // text scale of the buttons created next
static float font_scaley = 1.0f;
static int default_backing = 0;
static char fg_additive = 0;
static char bg_additive = 0;
static const SPRITEFONT *default_font = nullptr;
static const SPRITE *backing_sheet = nullptr;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// The byte a touch is recorded as in the touch ids: its number + 1 (0 means none).
// NOTE: computed unsigned, so that no touch number can overflow.
static char touch_tag(int touch)
{
    return static_cast<char>(static_cast<unsigned>(touch) + 1u);
}

static void clear_touch_ids(BTN *b)
{
    b->touch_down_id = 0;
    b->touch_hold_id = 0;
    b->touch_up_id = 0;
}

// Characters of a label that are laid out: namelen when non-zero, but never past the terminator
static int label_length(const char *name, int namelen)
{
    if (!name)
        return 0;
    if (namelen > 0)
        return static_cast<int>(strnlen(name, static_cast<size_t>(namelen)));
    if (namelen < 0)
        return 0;
    return static_cast<int>(strnlen(name, GLYPHS_MAX_TEXT));
}

// The glyph at a character's index in the font; characters below `first` have none
static const SPRITE *label_glyph(const SPRITEFONT *font, char c)
{
    unsigned code = static_cast<unsigned char>(c);
    if (code < font->first)
        return nullptr;
    return sprite_get(static_cast<int>(font->glyphbase + (code - font->first)));
}

// Unscaled width of a label in a font: the sum of its glyph widths
static float label_width(const SPRITEFONT *font, const char *name, int namelen)
{
    if (!font)
        return 0.0f;
    int len = label_length(name, namelen);
    float w = 0.0f;
    for (int i = 0; i < len; i++)
        if (const SPRITE *g = label_glyph(font, name[i]))
            w += g->w;
    return w;
}

// Unscaled height of a label in a font: its tallest glyph
static float label_height(const SPRITEFONT *font, const char *name, int namelen)
{
    if (!font)
        return 0.0f;
    int len = label_length(name, namelen);
    float h = 0.0f;
    for (int i = 0; i < len; i++)
        if (const SPRITE *g = label_glyph(font, name[i]))
            h = std::fmax(h, static_cast<float>(g->h));
    return h;
}

// The squeeze that fits a text extent t into a button extent: 1 when there is nothing to fit,
// else (extent / t) x fraction, at most clamp
static float squeeze_for(float extent, float t, float fraction, float clamp)
{
    if (t == 0.0f || !std::isfinite(t))
        return 1.0f;
    return std::fmin(extent / t * fraction, clamp);
}

// The text extent t of a label: its unscaled extent x the text scale / the turtle's scale.
// NOTE: with a turtle scale of 0 there is nothing to measure against, so t is 0 (squeeze 1).
static float text_extent(float unscaled, float text_scale, double turtle_scale)
{
    if (turtle_scale == 0.0)
        return 0.0f;
    return static_cast<float>(unscaled * text_scale / turtle_scale);
}

// The sine table's value for an angle in degrees: entry (degrees x 8192 / 360), truncated
// toward zero and masked. Reducing by whole turns first is exact and keeps any angle in range.
static float rainbow_sine(double degrees)
{
    double steps = degrees * SINE_TABLE_SIZE / 360.0;
    if (!std::isfinite(steps))
        return _sine_table[0];
    steps = std::fmod(steps, static_cast<double>(SINE_TABLE_SIZE));
    return _sine_table[static_cast<int>(steps) & SINE_TABLE_MASK];
}

// A colour with its alpha multiplied by the fade factor, onto the turtle
static void set_turtle_colour(const RGBA &c)
{
    turtle_set_rgba(c.r, c.g, c.b, c.a * fade);
}

// The backing and text colours of a button's state: disabled, highlighted or normal
static const RGBA &backing_colour(const BTN *b)
{
    return b->disabled ? b->dis_bg : b->highlight ? b->hi_bg : b->bg;
}

static const RGBA &text_colour(const BTN *b)
{
    return b->disabled ? b->dis_fg : b->highlight ? b->hi_fg : b->fg;
}

// Whether a button, centred at (cx, cy), lies wholly outside the screen
static bool button_off_screen(const BTN *b, float cx, float cy)
{
    float hw = std::fabs(b->w) * 0.5f;
    float hh = std::fabs(b->h) * 0.5f;
    double sw = lum_w();
    double sh = lum_h();
    return cx + hw < 0.0f || cx - hw > sw || cy + hh < 0.0f || cy - hh > sh;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: creation and layout
//----------------------------------------------------------------------------------
// Clear every slot and start counting from 0; the module defaults stay as they are
void buttons_start()
{
    int old_count = btn_count;
    btns.fill(BTN{});
    btn_action = nullptr;
    btn_reset_counter++;
    lum_logf("RESET %d buttons COUNTER %d\n", old_count, btn_reset_counter);
    btn_count = 0;
}

void button_set_box(float left, float top, float right, float bottom)
{
    btn_box = {left, top, right, bottom};
}

BTN_BOX *button_box()
{
    return &btn_box;
}

void button_box_top(float top)
{
    btn_box.top = top;
}

void button_box_bottom(float bottom)
{
    btn_box.bottom = bottom;
}

void button_box_left(float left)
{
    btn_box.left = left;
}

void button_box_right(float right)
{
    btn_box.right = right;
}

void button_set_layout(int across, int down)
{
    btn_across = across;
    btn_down = down;
}

int button_layout_w()
{
    return btn_across;
}

int button_layout_h()
{
    return btn_down;
}

// A new button in a cell of the layout over the box.
// NOTE: a layout of 0 (or fewer) cells across or down is taken as 1, so nothing divides by zero.
BTN *button_ex(float column, float row, int id, const char *name, BTN_HANDLER handler)
{
    if (btn_count >= BTN_MAX)
        return nullptr;
    BTN *b = &btns[btn_count];
    *b = BTN{};
    b->btnnum = btn_count;
    b->name = name;
    b->font_scalex = font_scalex;
    b->font_scaley = font_scaley;
    b->font = default_font;
    double sw = lum_w();
    double sh = lum_h();
    int across = btn_across > 0 ? btn_across : 1;
    int down = btn_down > 0 ? btn_down : 1;
    float cell_w = static_cast<float>((btn_box.right - btn_box.left) * sw / across);
    float cell_h = static_cast<float>(sh * (btn_box.bottom - btn_box.top) / down);
    button_set_w(b, cell_w);
    button_set_h(b, cell_h);
    b->x = static_cast<float>(sw * btn_box.left + cell_w * (column + 0.5));
    b->y = static_cast<float>(sh * btn_box.top + cell_h * (row + 0.5));
    b->fg = btn_fg;
    b->bg = btn_bg;
    b->hi_fg = btn_hi_fg;
    b->hi_bg = btn_hi_bg;
    b->dis_fg = btn_dis_fg;
    b->dis_bg = btn_dis_bg;
    b->fg_additive = fg_additive;
    b->bg_additive = bg_additive;
    b->pulse_amount = pulse_amount;
    b->pulse_speed = pulse_speed;
    b->noclick = btn_def_noclick;
    b->noclickthru = btn_def_noclickthru;
    b->noemptyclick = btn_def_noemptyclick;
    b->id = id;
    b->update = handler ? handler : btn_action;
    b->textmode = BTN_TEXT_CENTER;
    b->spriteid = default_backing;
    button_init(b);
    btn_count++;
    return b;
}

BTN *button(float column, float row, int id, const char *name)
{
    return button_ex(column, row, id, name, nullptr);
}

// The next free cell of the layout, filled row by row
BTN *button_grid_ex(int id, const char *name, BTN_HANDLER handler)
{
    int across = btn_across > 0 ? btn_across : 1;
    return button_ex(static_cast<float>(btn_count % across), static_cast<float>(btn_count / across), id, name,
                     handler);
}

BTN *button_grid(int id, const char *name)
{
    return button_grid_ex(id, name, nullptr);
}

// A text without backing that takes no clicks; its id of -1 lets touches pass to what lies below
BTN *button_label(float column, float row, const char *name)
{
    BTN *b = button(column, row, -1, name);
    if (!b)
        return nullptr;
    b->spriteid = 0;
    b->noclick = 1;
    button_set_squeeze(b, LABEL_SQUEEZE, LABEL_CLAMP);
    return b;
}

void button_init(BTN *b)
{
    if (b->update)
        b->update(b, BTN_INIT);
    button_set_text(b, b->name);
}

// Width and hit half-width; the half-width gives up `shrink` turtle-scaled pixels on each side
void button_set_w_ex(BTN *b, float width, float shrink)
{
    b->w = width;
    b->rx = static_cast<float>(width * 0.5 - shrink * turtle.scalex);
    button_set_squeeze(b, default_squeeze, default_clamp);
}

void button_set_h_ex(BTN *b, float height, float shrink)
{
    b->h = height;
    b->ry = static_cast<float>(height * 0.5 - shrink * turtle.scaley);
    button_set_squeeze(b, default_squeeze, default_clamp);
}

void button_set_w(BTN *b, float width)
{
    button_set_w_ex(b, width, default_shrink);
}

void button_set_h(BTN *b, float height)
{
    button_set_h_ex(b, height, default_shrink);
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: text fitting
//----------------------------------------------------------------------------------
// Make a text the label and fit it with the default squeeze and clamp
void button_set_text(BTN *b, const char *text)
{
    b->name = text;
    button_set_squeeze(b, default_squeeze, default_clamp);
}

void button_set_squeeze_x(BTN *b, float fraction, float clamp)
{
    float t = text_extent(label_width(b->font, b->name, b->namelen), b->font_scalex, turtle.scalex);
    b->squeezex = squeeze_for(b->w, t, fraction, clamp);
}

void button_set_squeeze_y(BTN *b, float fraction, float clamp)
{
    float t = text_extent(label_height(b->font, b->name, b->namelen), b->font_scaley, turtle.scaley);
    b->squeezey = squeeze_for(b->h, t, fraction, clamp);
}

void button_set_squeeze(BTN *b, float fraction, float clamp)
{
    button_set_squeeze_x(b, fraction, clamp);
    button_set_squeeze_y(b, fraction, clamp);
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: module defaults
//----------------------------------------------------------------------------------
void buttons_set_click_defaults(int noclick, int noclickthru, int noemptyclick)
{
    btn_def_noclick = static_cast<char>(noclick != 0);
    btn_def_noclickthru = static_cast<char>(noclickthru != 0);
    btn_def_noemptyclick = static_cast<char>(noemptyclick != 0);
}

void buttons_set_action(BTN_HANDLER handler)
{
    btn_action = handler;
}

void buttons_set_default_squeeze(float squeeze, float clamp)
{
    default_squeeze = squeeze;
    default_clamp = clamp;
}

void buttons_set_default_shrink(float shrink)
{
    default_shrink = shrink;
}

void buttons_set_pulse(float amount, float speed)
{
    pulse_amount = amount;
    pulse_speed = speed;
}

void buttons_set_default_backing(int spriteid)
{
    default_backing = spriteid;
}

void buttons_set_fg_additive(int batch)
{
    fg_additive = static_cast<char>(batch);
}

void buttons_set_bg_additive(int batch)
{
    bg_additive = static_cast<char>(batch);
}

void buttons_set_font(const SPRITEFONT *font)
{
    default_font = font;
}

// The text scale follows the turtle's scale at the time of the call
void buttons_set_font_scale(float s)
{
    font_scalex = static_cast<float>(turtle.scalex * s);
    font_scaley = static_cast<float>(turtle.scaley * s);
}

void buttons_set_sprites(const SPRITE *sheet)
{
    backing_sheet = sheet;
}

void buttons_set_fade(float f)
{
    fade = f;
}

float buttons_fade()
{
    return fade;
}

void buttons_fg(float r, float g, float b, float a)
{
    btn_fg = {r, g, b, a};
}

void buttons_bg(float r, float g, float b, float a)
{
    btn_bg = {r, g, b, a};
}

void buttons_hi_fg(float r, float g, float b, float a)
{
    btn_hi_fg = {r, g, b, a};
}

void buttons_hi_bg(float r, float g, float b, float a)
{
    btn_hi_bg = {r, g, b, a};
}

void buttons_dis_fg(float r, float g, float b, float a)
{
    btn_dis_fg = {r, g, b, a};
}

void buttons_dis_bg(float r, float g, float b, float a)
{
    btn_dis_bg = {r, g, b, a};
}

void buttons_default_colours()
{
    btn_fg = DEFAULT_FG;
    btn_bg = DEFAULT_BG;
    btn_hi_fg = DEFAULT_HI_FG;
    btn_hi_bg = DEFAULT_HI_BG;
    btn_dis_fg = DEFAULT_DIS_FG;
    btn_dis_bg = DEFAULT_DIS_BG;
}

int buttons_count()
{
    return btn_count;
}

int button_count()
{
    return btn_count;
}

BTN *button_get(int index)
{
    if (index < 0 || index >= btn_count)
        return nullptr;
    return &btns[index];
}

void buttons_reset_to(int n)
{
    if (n >= 0 && n < btn_count)
        btn_count = n;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: running
//----------------------------------------------------------------------------------
// Decay every pulse, tell every handler a tick has passed, forget this tick's touches.
// NOTE: a logic rate below 1 decays nothing.
void buttons_update()
{
    int rate = lum_logic_rate();
    float dt = rate > 0 ? 1.0f / static_cast<float>(rate) : 0.0f;
    for (int i = 0; i < btn_count; i++) {
        BTN *b = &btns[i];
        if (b->flash)
            b->pulse *= 1.0f - dt;
        else
            b->pulse *= 1.0f - PULSE_DECAY * dt * b->pulse_speed;
        if (b->pulse < PULSE_SNAP)
            b->pulse = 0.0f;
        if (b->update)
            b->update(b, BTN_UPDATE);
        b->last_action = 0;
        b->touchcount = 0;
    }
}

// Offer a touch to the buttons from the last created down; returns how many were looked at.
// NOTE: a handler may cut or rebuild the table; slots past the count are never looked at.
int button_do_click_ex(float x, float y, int touch, int action)
{
    char tag = touch_tag(touch);
    int looked = 0;
    for (int i = btn_count - 1; i >= 0; i--) {
        if (i >= btn_count)
            continue;
        BTN *b = &btns[i];
        looked++;
        float cx = b->x + b->scrollx;
        float cy = b->y + b->scrolly;
        bool hit = x >= cx - b->rx && x <= cx + b->rx && y >= cy - b->ry && y <= cy + b->ry;
        if (!hit) {
            clear_touch_ids(b);
            continue;
        }
        if (b->id < 0)
            continue;
        b->touchx = x;
        b->touchy = y;
        b->touchcount++;
        b->last_action = static_cast<char>(action);
        if (action == BTN_UP) {
            bool own_touch = b->touch_down_id == tag && b->touch_hold_id == tag;
            if (!b->disabled && !b->noclick && (own_touch || !b->noemptyclick)) {
                b->touch_up_id = tag;
                int result = 1;
                if (b->update) {
                    int counter = btn_reset_counter;
                    result = b->update(b, BTN_UP);
                    if (result != 0 && btn_reset_counter != counter)
                        return looked;
                }
                if (result == 0) {
                    clear_touch_ids(b);
                } else if (b->state && !b->disabled) {
                    lum_logf("'%s' -> state switch\n", b->name ? b->name : "");
                    state_switch(b->state);
                    clear_touch_ids(b);
                    return looked;
                } else if (result < 0) {
                    return looked;
                } else {
                    b->pulse = 1.0f;
                    clear_touch_ids(b);
                }
            }
        } else if (!b->noclick && !b->disabled) {
            b->pulse = 1.0f;
            if (action == BTN_DOWN) {
                b->touch_down_id = tag;
                if (b->update)
                    b->update(b, BTN_DOWN);
            } else {
                b->touch_hold_id = tag;
                if (b->update && (!b->noemptyclick || b->touch_down_id == tag))
                    b->update(b, action);
            }
        }
        if (i < btn_count && btns[i].noclickthru)
            return looked;
    }
    return looked;
}

int button_do_click(float x, float y, int action)
{
    return button_do_click_ex(x, y, 0, action);
}

// Draw every button on screen into the atlas batches: a stretched backing, then the label.
// The turtle is the same afterwards as before.
void buttons_draw()
{
    const SPRITE *sheet = backing_sheet ? backing_sheet : default_font ? default_font->glyphs : nullptr;
    if (!sheet)
        return;
    TURTLE saved = turtle;
    turtle_set_angle(0.0);
    const TURTLE base = turtle;
    int sheet_id = sprite_get_id(sheet);
    for (int i = 0; i < btn_count; i++) {
        BTN *b = &btns[i];
        float cx = b->x + b->scrollx;
        float cy = b->y + b->scrolly;
        if (button_off_screen(b, cx, cy))
            continue;
        turtle = base;
        float k = 1.0f - b->pulse * b->pulse_amount;
        float shrink = b->flash ? 1.0f : k;

        if (b->spriteid > 0) {
            const SPRITE *backing = sprite_get(sheet_id + b->spriteid);
            turtle_set_pos_unscaled(cx, cy);
            turtle_set_scalex(backing->w > 0 ? 2.0f * b->rx / backing->w * shrink : 0.0f);
            turtle_set_scaley(backing->h > 0 ? 2.0f * b->ry / backing->h * shrink : 0.0f);
            set_turtle_colour(backing_colour(b));
            int drawn = b->update ? b->update(b, BTN_DRAW_SHAPE) : 0;
            if (drawn == 0)
                sprite_batch_plot(backing, 0, b->bg_additive);
        }

        int align = b->textmode == BTN_TEXT_LEFT ? GLYPHS_ALIGN_LEFT
                    : b->textmode == BTN_TEXT_RIGHT ? GLYPHS_ALIGN_RIGHT
                                                    : GLYPHS_ALIGN_CENTER;
        float tx = cx;
        if (align == GLYPHS_ALIGN_LEFT)
            tx = cx - shrink * b->rx;
        else if (align == GLYPHS_ALIGN_RIGHT)
            tx = cx + shrink * b->rx;
        turtle = base;
        turtle_set_pos_unscaled(tx, cy);
        if (b->flash) {
            RGBA c = b->fg;
            if (k < 1.0f) {
                double d = lum_seconds() * RAINBOW_SPEED;
                c.r = static_cast<float>(lum_lerp(b->pulse, b->fg.r, 0.5f + 0.5f * rainbow_sine(d)));
                c.g = static_cast<float>(lum_lerp(b->pulse, b->fg.g, 0.5f + 0.5f * rainbow_sine(d + RAINBOW_GREEN)));
                c.b = static_cast<float>(lum_lerp(b->pulse, b->fg.b, 0.5f + 0.5f * rainbow_sine(d + RAINBOW_BLUE)));
            }
            set_turtle_colour(c);
            turtle_set_scalex(b->font_scalex * b->squeezex);
            turtle_set_scaley(b->font_scaley * b->squeezey);
        } else {
            set_turtle_colour(text_colour(b));
            turtle_set_scalex(b->font_scalex * k * b->squeezex);
            turtle_set_scaley(b->font_scaley * k * b->squeezey);
        }
        int drawn = b->update ? b->update(b, BTN_DRAW_TEXT) : 0;
        if (drawn == 0 && b->name)
            glyphs_batch_plot_ex(b->font, b->name, label_length(b->name, b->namelen), align, b->fg_additive);
    }
    turtle = saved;
}
