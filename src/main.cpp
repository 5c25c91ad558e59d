// main: the application shell (see main.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions
// [SECTION] Layout and input
// [SECTION] Title screen
// [SECTION] Text with a drop shadow
// [SECTION] The shell's button look
// [SECTION] Text utilities
#include "main.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "atlas.h"
#include "buttons.h"
#include "draw.h"
#include "file.h"
#include "game.h"
#include "glyphs.h"
#include "help.h"
#include "history.h"
#include "input.h"
#include "keyboard.h"
#include "lum.h"
#include "mute.h"
#include "rnd.h"
#include "settings.h"
#include "sounds.h"
#include "sprite.h"
#include "state.h"
#include "synth_effects.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr unsigned APP_SOUND_RATE = 22050;                   // the audio stream's rate in Hz
constexpr int APP_EFFECT_SLOTS = 8;                          // sounds at once ...
constexpr int APP_EFFECT_STAGES = 8;                         // ... of up to 8 synthesiser stages each
constexpr int DUMP_ROW = 16;                                // bytes per hex dump row
constexpr const char *APP_TITLE = "Lum Life";               // the window's caption
constexpr const char *MAIN_TITLE_TEXT = "* LUM LIFE *";
constexpr int SLOW_LOGIC_RATE = 4;                          // F9's slow motion, ticks per second

// Window sizes F1 steps through; the first press takes the second entry
constexpr int SCREEN_MODES = 6;
constexpr std::array<std::array<int, 2>, SCREEN_MODES> SCREEN_MODE_SIZES = {{
    {960, 640}, {320, 480}, {480, 320}, {320, 568}, {1136, 640}, {1024, 768}}};

// The title screen's pips: m x (base + 2 x rise x base) x 3 Hz, so the base rises to three
// times itself as the countdown runs out, spread by a random factor m of 1 to 2; a short decay
// and a long release
constexpr float PIP_BASE_FREQ = 21.827f;
constexpr float PIP_FREQ_FACTOR = 3.0f;
constexpr float PIP_SPREAD_MIN = 1.0f;
constexpr float PIP_SPREAD_MAX = 2.0f;
constexpr float PIP_PITCH = 1.0f;
constexpr int PIP_LENGTH = 75;
constexpr float PIP_DUTY = 0.9f;
constexpr float PIP_DECAY = 25.0f;
constexpr float PIP_SUSTAIN = 0.25f;
constexpr float PIP_RELEASE = 125.0f;

// The title text shrinks from 5.5 to 0.5 times its size over the countdown
constexpr float TITLE_GROWTH = 5.0f;
constexpr float TITLE_MIN_SIZE = 0.5f;

// Default button clicks: low on a press, high on a release
constexpr float CLICK_DOWN_PITCH = 0.25f;
constexpr float CLICK_UP_PITCH = 0.5f;
constexpr int CLICK_LENGTH = 10;

// The shell's button look
constexpr float BUTTON_PULSE_AMOUNT = 0.5f;
constexpr float BUTTON_PULSE_SPEED = 3.0f;
constexpr float BUTTON_SQUEEZE = 1000.0f;
constexpr float BUTTON_SQUEEZE_CLAMP = 1.0f;

// Text utilities
constexpr int UPPERCASE_BUFFER = 80;
constexpr int TIMESTAT_BUFFER = 80;
constexpr int WRAP_BUFFER = 256;
constexpr unsigned WRAP_MAX = WRAP_BUFFER - 1;

// Atlas 0: one 512 x 512 page holding the font (with the interface sprites after its 96
// characters) and the icon sheets, uploaded without filtering as 16-bit 5-5-5-1 pixels
constexpr int APP_ATLAS_SIZE = 512;
constexpr int APP_FONT_FIRST = 32;           // the font's first character
constexpr const char *APP_FONT_FILE = "gfx/font8x8.png";
constexpr unsigned APP_FONT_GLYPHS = 146;     // codes 32..177: text, the icons, the interface, the symbols
constexpr int APP_UI_SPRITES_AT = 96;        // the interface sprites follow the 96 text glyphs
constexpr int APP_SHEET_BORDER = 1;          // a transparent frame around every icon
constexpr int APP_UPLOAD_FORMAT = 3;         // 5-5-5-1
constexpr int APP_LOGO_W = 240;
constexpr int APP_LOGO_H = 64;
constexpr int APP_ICON_SIDE = 72;
constexpr std::array<const char *, 4> APP_GAME_ICONS = {
    "gfx/hollowtide.png", "gfx/orbitcrane.png", "gfx/noiseorchard.png", "gfx/umberdeep.png"};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
SPRITEFONT font8x8;
SPRITE *glyphs = nullptr;
SPRITE *sprites = nullptr;
SPRITE *icons = nullptr;
int icons_spriteid = 0;
int global_scale_base = 1;
float global_scale = 1.0f;
int landscape = 1;
int play_w = 0;
int play_h = 0;
int debug_atlas = 0;
RGBA shadow = {0.0f, 0.0f, 0.0f, 1.0f};
int counter = 0;
CAMERA camera;

static int layout_w = 0;     // the display size of the last layout; 0 x 0 before the first
static int layout_h = 0;
static int screen_mode = 0;  // index into SCREEN_MODE_SIZES of the window F1 opened last

static void main_enter();
static void main_state_update();
static void main_render();

STATE main_state = {main_enter, main_state_update, main_render, nullptr};

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// Build atlas 0: the font, then the maker's logo and the four game icons, in the order the
// screens address them. Missing images are reported by the atlas and leave their sprites empty;
// without the font there is nothing to draw with at all (text, buttons and the grid's icons are
// all on its sheet), so the toy says so, and the process entry ends it rather than show a black
// window (see main_has_font).
static void load_graphics()
{
    IMAGE *atlas = atlas_get(0);
    atlas_create_texture(atlas, APP_ATLAS_SIZE, APP_ATLAS_SIZE);
    glyphs = sprite_get(sprite_count());
    if (atlas_load_font(atlas, &font8x8, APP_FONT_FIRST, file_data_path(APP_FONT_FILE)) < 0 ||
        font8x8.count < APP_FONT_GLYPHS) {
        lum_logf("cannot read the font '%s' (looked in %s): nothing to draw with, quitting\n", APP_FONT_FILE,
                 file_data_folders());
        font8x8 = SPRITEFONT{};
    }
    sprites = glyphs + APP_UI_SPRITES_AT;
    icons_spriteid = sprite_count();
    icons = sprite_get(icons_spriteid);
    atlas_load_spritesheet(atlas, nullptr, APP_LOGO_W, APP_LOGO_H, 0, APP_SHEET_BORDER, file_data_path("gfx/kobaltine.png"));
    for (const char *icon : APP_GAME_ICONS)
        atlas_load_spritesheet(atlas, nullptr, APP_ICON_SIDE, APP_ICON_SIDE, 0, APP_SHEET_BORDER, file_data_path(icon));
    atlas_upload(atlas, 0, APP_UPLOAD_FORMAT);
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
//----------------------------------------------------------------------------------
// Start-up: the store query, the window's name, the audio, the defaults, the art, the saved
// settings over the defaults, the engine configured from them, and then the title screen
void app_state_init()
{
    settings_fetch_iap();
    lum_set_title(APP_TITLE);
    lum_init_audio_stream(APP_SOUND_RATE, 0);
    synth_effects_init(APP_EFFECT_SLOTS, APP_EFFECT_STAGES);
    lum_enable_synth(1);
    lum_set_logic_rate(LUM_TICKS_PER_SECOND);
    game_reset();
    load_graphics();
    load_settings();
    history_bind(game.bparams.data(), game.sparams.data(), &game.border_mode, &config_changed);
    history_load();
    mute_load();
    keyboard_init();
    game_play = GAME_PLAY{help_touches, keyboard_update, help_render};
    game_update_config();
    turtle_reset();
    state_switch(&main_state);
}

int main_has_font()
{
    return font8x8.count >= APP_FONT_GLYPHS;
}

// Shut-down: runs after the framework is down and only writes the settings file
void app_state_exit()
{
    save_settings();
    history_save();
}

// The platform's hint that the toy may be about to disappear (focus lost, a hang-up, a lost
// display, the minute's save): save what changed
void app_state_save()
{
    save_settings_if_changed();
    history_save();
}

// Nothing to load on the desktop
int app_load_url(const char *)
{
    return 0;
}

// Nothing to report on the desktop
void app_state_info(const char *)
{
}

// Hex dump to standard output without the log prefix: offset, 16 bytes, their printable text
void dump(const char *desc, const void *addr, int len)
{
    const auto *bytes = static_cast<const uint8_t *>(addr);
    if (!bytes)
        len = 0;
    if (desc)
        std::printf("%s (%d bytes):\n", desc, len);
    std::array<char, DUMP_ROW + 1> text{};
    int i = 0;
    for (; i < len; i++) {
        if (i % DUMP_ROW == 0) {
            if (i != 0)
                std::printf("  %s\n", text.data());
            std::printf("  %04x ", i);
        }
        std::printf(" %02x", bytes[i]);
        text[i % DUMP_ROW] = (bytes[i] >= 32 && bytes[i] <= 126) ? static_cast<char>(bytes[i]) : '.';
        text[i % DUMP_ROW + 1] = '\0';
    }
    for (; i % DUMP_ROW != 0; i++)
        std::printf("   ");
    std::printf("  %s\n", text.data());
    std::fflush(stdout);
}

//----------------------------------------------------------------------------------
// [SECTION] Layout and input
//----------------------------------------------------------------------------------
// Debug keys, then a new layout when the display size changed: the scale follows the longer
// side in steps of 480 pixels and is at least 1
int main_update()
{
    if (keyevent[K_F12] & INPUT_RELEASED)
        debug_atlas = debug_atlas ? 0 : 1;
    if (keyevent[K_F5] & INPUT_RELEASED) {
        state_switch(state_current());
        return 0;
    }
    int w = static_cast<int>(lum_w());
    int h = static_cast<int>(lum_h());
    if (w == layout_w && h == layout_h)
        return 0;
    layout_w = w;
    layout_h = h;
    int n;
    if (h >= w) {
        landscape = 0;
        n = h / MAIN_LAYOUT_STEP;
    } else {
        landscape = 1;
        n = w / MAIN_LAYOUT_STEP;
    }
    global_scale = std::max(static_cast<float>(n * global_scale_base), 1.0f);
    play_w = static_cast<int>(std::floor(static_cast<float>(w) / global_scale));
    play_h = static_cast<int>(std::floor(static_cast<float>(h) / global_scale));
    lum_logf("NEW LAYOUT %dx%d global_scale %f (%dx%d)\n", w, h, static_cast<double>(global_scale), play_w, play_h);
    return 1;
}

// Once per tick from every screen: window size and rate keys, the pointers to the buttons, the
// layout, the buttons' own update
int main_update_with_buttons(int num_touches)
{
    if (keyevent[K_F1] == INPUT_RELEASED) {
        screen_mode = (screen_mode + 1) % SCREEN_MODES;
        lum_graphics(SCREEN_MODE_SIZES[screen_mode][0], SCREEN_MODE_SIZES[screen_mode][1], 0, 0);
    }
    if (keyevent[K_F9] & INPUT_RELEASED)
        lum_set_logic_rate(lum_logic_rate() != LUM_TICKS_PER_SECOND ? LUM_TICKS_PER_SECOND : SLOW_LOGIC_RATE);
    turtle_set_scale(global_scale);
    int slots = std::min(num_touches, INPUT_POINTER_COUNT);
    for (int i = 0; i < slots; i++) {
        const MOUSE_STATE &m = mouse_state[i];
        float x = static_cast<float>(m.x);
        float y = static_cast<float>(m.y);
        if (m.state & INPUT_RELEASED)
            button_do_click(x, y, BTN_UP);
        else if (m.state & INPUT_PRESSED)
            button_do_click(x, y, BTN_DOWN);
        else if (m.down)
            button_do_click(x, y, BTN_HOLD);
    }
    int r = main_update();
    buttons_update();
    return r;
}

// The end of every screen's render
void main_sprite_batches_draw()
{
    sprite_batch_draw(atlas_get(0));
}

// The atlas overlay: the whole page of atlas debug_atlas - 1 centred on the display, as large as
// fits, in whole multiples when it fits at least once
void main_debug_atlas_render()
{
    if (debug_atlas < 1 || debug_atlas > ATLAS_MAX)  // 0 is off; other numbers name no atlas
        return;
    IMAGE *page = atlas_get(debug_atlas - 1);
    if (page->texture_w <= 0 || page->texture_h <= 0)
        return;
    TURTLE saved = turtle;
    turtle_set_angle(0.0);
    double scale = std::min(lum_w() / page->texture_w, lum_h() / page->texture_h);
    if (scale >= 1.0)
        scale = std::trunc(scale);
    turtle_set_pos_unscaled(lum_w() / 2.0, lum_h() / 2.0);
    turtle_set_scale(scale);
    turtle_set_rgba(1.0, 1.0, 1.0, 1.0);
    SPRITE whole = atlas_full_sprite(page);
    sprite_batch_plot(&whole, 0, 0);
    turtle = saved;
}

//----------------------------------------------------------------------------------
// [SECTION] Title screen
//----------------------------------------------------------------------------------
static void main_enter()
{
    counter = MAIN_TITLE_TICKS;
}

// The title's pip at `counter`: higher as the countdown runs out, with a random spread
SYNTH_EFFECT_STATE *main_title_pip(int counter)
{
    float rise = 1.0f - static_cast<float>(counter) / static_cast<float>(MAIN_TITLE_TICKS);
    float m = static_cast<float>(frnd(PIP_SPREAD_MIN, PIP_SPREAD_MAX));
    SYNTH_EFFECT_STATE *e = sound_pip(PIP_PITCH, PIP_LENGTH);
    e->freq = m * (PIP_BASE_FREQ + 2.0f * rise * PIP_BASE_FREQ) * PIP_FREQ_FACTOR;
    e->duty = PIP_DUTY;
    e->d = PIP_DECAY;
    e->s = PIP_SUSTAIN;
    e->r = PIP_RELEASE;
    return e;
}

// Count down; a pip on every odd count, rising in pitch; then the game screen
static void main_state_update()
{
    counter -= 1;
    if (counter & 1)
        main_title_pip(counter);
    main_update_with_buttons(1);
    if (counter <= 0)
        state_switch(&game_state);
}

// The title, shrinking as the countdown runs out
static void main_render()
{
    float f = static_cast<float>(counter) / static_cast<float>(MAIN_TITLE_TICKS);
    turtle_set_scale(global_scale);
    draw_clear(0.0f, 0.0f, 0.0f);
    turtle_set_pos_unscaled(lum_w() / 2.0, lum_h() / 2.0);
    turtle_set_scale((TITLE_GROWTH * f + TITLE_MIN_SIZE) * global_scale);
    plot_text(MAIN_TITLE_TEXT, GLYPHS_ALIGN_CENTER);
    turtle_set_scale(global_scale);
    buttons_draw();
    main_debug_atlas_render();
    main_sprite_batches_draw();
}

//----------------------------------------------------------------------------------
// [SECTION] Text with a drop shadow
//----------------------------------------------------------------------------------
void plot_text_set_shadow(float r, float g, float b, float a)
{
    shadow = RGBA{r, g, b, a};
}

// The shadow first, one unit right and one down in the turtle's frame and scale, then the text
void plot_text_ex(const char *text, int textmode, int useshadow, const SPRITEFONT *font)
{
    if (useshadow) {
        TURTLE saved = turtle;
        turtle_set_rgba(shadow.r, shadow.g, shadow.b, shadow.a * turtle.a);
        turtle_trans(1.0, -1.0);
        glyphs_batch_plot(font, text, textmode, 0);
        turtle = saved;
    }
    glyphs_batch_plot(font, text, textmode, 0);
}

void plot_text(const char *text, int textmode)
{
    plot_text_ex(text, textmode, 1, &font8x8);
}

void plot_text_noshadow(const char *text, int textmode)
{
    plot_text_ex(text, textmode, 0, &font8x8);
}

//----------------------------------------------------------------------------------
// [SECTION] The shell's button look
//----------------------------------------------------------------------------------
// A new, empty set of buttons: grey backings, light text, white when highlighted
void main_buttons_start()
{
    buttons_start();
    turtle_set_scale(global_scale);
    buttons_set_pulse(BUTTON_PULSE_AMOUNT, BUTTON_PULSE_SPEED);
    buttons_set_click_defaults(0, 1, 1);
    buttons_set_font_scale(1.0f);
    buttons_set_action(main_btn_default);
    buttons_set_font(&font8x8);
    buttons_set_sprites(sprites);
    buttons_set_default_backing(MAIN_SPRITE_BACKING);
    buttons_set_default_shrink(1.0f);
    buttons_set_default_squeeze(BUTTON_SQUEEZE, BUTTON_SQUEEZE_CLAMP);
    buttons_bg(0.25f, 0.25f, 0.25f, 1.0f);
    buttons_fg(0.75f, 0.75f, 0.75f, 1.0f);
    buttons_hi_bg(0.75f, 0.75f, 0.75f, 1.0f);
    buttons_hi_fg(1.0f, 1.0f, 1.0f, 1.0f);
}

void main_click_sound(int press)
{
    sound_pip(press ? CLICK_DOWN_PITCH : CLICK_UP_PITCH, CLICK_LENGTH);
}

// Clicks on press and release, a framed backing, a shadowed centred label
int main_btn_default(BTN *b, int action)
{
    switch (action) {
    case BTN_INIT:
        return 1;
    case BTN_DOWN:
        main_click_sound(1);
        return 1;
    case BTN_UP:
        main_click_sound(0);
        return 1;
    case BTN_DRAW_SHAPE:
        if (!b)
            return 0;
        main_btn_frame_draw_ex(b, b->spriteid, MAIN_SPRITE_FRAME);
        return 1;
    case BTN_DRAW_TEXT:
        if (!b)
            return 0;
        plot_text(b->name, GLYPHS_ALIGN_CENTER);
        return 1;
    default:
        return 0;
    }
}

// Plot an interface sprite at the turtle; numbers wrap within the sprite table
static void plot_ui_sprite(int id)
{
    sprite_batch_plot(sprite_get(sprite_get_id(sprites) + id), 0, 0);
}

// With the turtle at the button's centre: the backing, the top and bottom edges, the left and
// right edges, then the four corners, one unit inside the button's edge. The pulse thins the
// edges and shrinks the corners.
void main_btn_frame_draw_ex(BTN *b, int backingid, int edgesid)
{
    if (!b || !sprites)
        return;
    float hx = b->rx / global_scale - 1.0f;
    float hy = b->ry / global_scale - 1.0f;
    float p = b->pulse * b->pulse_amount;
    float s = (1.0f - p) * global_scale;
    TURTLE outer = turtle;
    plot_ui_sprite(backingid);
    TURTLE inner = turtle;
    turtle_set_scaley(s);
    turtle_move(hy);
    plot_ui_sprite(edgesid + 1);
    turtle_move(-2.0f * hy);
    plot_ui_sprite(edgesid + 1);
    turtle = inner;
    turtle_set_scalex(s);
    turtle_trans(-hx, 0.0);
    plot_ui_sprite(edgesid + 2);
    turtle_trans(2.0f * hx, 0.0);
    plot_ui_sprite(edgesid + 2);
    turtle = inner;
    turtle_set_scale(s);
    turtle_trans(-hx, hy);
    plot_ui_sprite(edgesid);
    turtle_trans(2.0f * hx, 0.0);
    plot_ui_sprite(edgesid);
    turtle_trans(0.0, -2.0f * hy);
    plot_ui_sprite(edgesid);
    turtle_trans(-2.0f * hx, 0.0);
    plot_ui_sprite(edgesid);
    turtle = outer;
}

//----------------------------------------------------------------------------------
// [SECTION] Text utilities
//----------------------------------------------------------------------------------
// Upper-case copy in a private buffer. NOTE: at most 79 characters are copied, so a longer text
// is cut rather than overflowing the buffer.
char *uppercase(const char *ptr)
{
    static std::array<char, UPPERCASE_BUFFER> buffer;
    size_t n = 0;
    if (ptr) {
        for (; n < buffer.size() - 1 && ptr[n]; n++)
            buffer[n] = static_cast<char>(std::toupper(static_cast<unsigned char>(ptr[n])));
    }
    buffer[n] = '\0';
    return buffer.data();
}

// Ticks of 1/60 s as time text. NOTE: the hour and minute fields are running totals, not
// reduced modulo 24 and 60 (3700 seconds read as 1:61:40.00).
char *timestat(int timeval)
{
    static std::array<char, TIMESTAT_BUFFER> buffer;
    float t = static_cast<float>(timeval) / static_cast<float>(LUM_TICKS_PER_SECOND);
    int sec_total = static_cast<int>(std::floor(t));
    int hundredths = static_cast<int>(std::floor(t * 100.0f - static_cast<float>(sec_total) * 100.0f));
    int min_total = sec_total / 60;
    int sec = sec_total % 60;
    int hour_total = min_total / 60;
    int day = hour_total / 24;
    if (day > 0)
        std::snprintf(buffer.data(), buffer.size(), "%dd %d:%02d:%02d.%02d", day, hour_total, min_total, sec, hundredths);
    else if (hour_total > 0)
        std::snprintf(buffer.data(), buffer.size(), "%d:%02d:%02d.%02d", hour_total, min_total, sec, hundredths);
    else
        std::snprintf(buffer.data(), buffer.size(), "%d:%02d.%02d", min_total, sec, hundredths);
    return buffer.data();
}

// The next line of at most maxw characters (1..255) of *in, broken at white space where it can
// be; *in moves past the line and becomes null after the last one. NOTE: only the first maxw
// characters are examined, so a word that ends exactly at the limit before a blank still goes
// to the next line.
char *wrap_text(const char **in, unsigned maxw)
{
    static std::array<char, WRAP_BUFFER> buffer;
    buffer[0] = '\0';
    if (!in || !*in)
        return buffer.data();
    maxw = std::clamp(maxw, 1u, WRAP_MAX);
    const char *p = *in;
    while (*p && std::isspace(static_cast<unsigned char>(*p)))
        p++;
    *in = p;
    size_t rest = std::strlen(p);
    if (rest <= maxw) {
        std::memcpy(buffer.data(), p, rest + 1);
        *in = nullptr;
        return buffer.data();
    }
    size_t len = maxw;
    if (std::isspace(static_cast<unsigned char>(p[maxw - 1]))) {
        len = maxw - 1;
    } else {
        for (size_t k = maxw - 1; k > 0; k--) {
            if (std::isspace(static_cast<unsigned char>(p[k - 1]))) {
                len = k - 1;
                break;
            }
        }
    }
    std::memcpy(buffer.data(), p, len);
    buffer[len] = '\0';
    *in = p + len;
    return buffer.data();
}
