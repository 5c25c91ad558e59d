// settings: the about screen (see settings.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Module state
// [SECTION] The store exchange
// [SECTION] The screen
// [SECTION] Button handlers
#include "settings.h"

#include <cstring>

#include "buttons.h"
#include "draw.h"
#include "glyphs.h"
#include "log.h"
#include "particles.h"
#include "plat_msg.h"
#include "poly.h"
#include "rnd.h"
#include "screens.h"
#include "shell.h"
#include "sine.h"
#include "sounds.h"
#include "sprite.h"
#include "turtle.h"
#include "wrapper.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
// The banner's colours, one picked on each entry
constexpr std::array<std::array<float, 3>, 4> SETTINGS_SKY_COLOURS = {{
    {1.0f, 0.3f, 0.3f},
    {0.5f, 0.3f, 1.0f},
    {0.0f, 0.8f, 0.4f},
    {0.3f, 0.75f, 1.0f},
}};
constexpr float SETTINGS_MARGIN = 8.0f;       // layout units between the screen's edge and the buttons
constexpr float SETTINGS_ICONS_GAP = 48.0f;   // layout units between the banner and the icons
constexpr float SETTINGS_NAME_DROP = -42.0f;  // a game's name sits this far below its icon's centre
constexpr float SETTINGS_MAKER_DROP = 8.0f;   // the maker's name sits this far below half the logo
constexpr const char *SETTINGS_MAKER = "kobaltine";
constexpr int SETTINGS_LOGO = 0;              // the logo's place in the icon run

// The breathing trail behind each game icon: one sprite particle per tick
constexpr int SETTINGS_TRAIL_TICKS = 4;
constexpr float SETTINGS_TRAIL_FADE = 4.0f;
constexpr float SETTINGS_TRAIL_GROW = 1.05f;           // growth per tick, ...
constexpr float SETTINGS_TRAIL_BREATH = 0.075f;        // ... plus this much at the breath's top
constexpr double SETTINGS_TRAIL_BREATH_SPEED = 5.0;    // degrees per tick
constexpr double SETTINGS_TRAIL_PHASE = 60.0;          // degrees between neighbouring icons
constexpr double SETTINGS_TRAIL_FLICKER_SPEED = 60.0;  // degrees per tick
constexpr std::array<float, 3> SETTINGS_TRAIL_COLOUR = {0.2f, 0.15f, 0.1f};

// The donate button's texts
constexpr double SETTINGS_TEXT_SPEED = 10.0;           // degrees per tick of the blink and the rainbow
constexpr const char *SETTINGS_TEXT_WAIT = "Please wait";
constexpr const char *SETTINGS_TEXT_ERROR = "Store error";
constexpr const char *SETTINGS_TEXT_THANKS = "\xb1 Thanks! \xb1";  // framed by the font's glyph 177

// The thank-you pip
constexpr float SETTINGS_THANKS_PITCH = 2.0f;
constexpr int SETTINGS_THANKS_MS = 500;
constexpr float SETTINGS_THANKS_SCALE = 0.5f;

// One button of the screen: its cell in a layout, what it shows and where it leads
struct SETTINGS_LINK {
    int across, down;               // the grid layout (columns x rows)
    float column, row;              // the button's cell
    int id;                         // the icon it shows, for the game icons
    const char *label;              // null: none (the banner)
    BTN_HANDLER handler;            // null: the shell's default
    const char *url = nullptr;      // the link, or the product identifier to buy
    STATE *target = nullptr;        // the screen a click switches to
};

// The game icons, under the banner, and the row of links at the bottom
static const std::array<SETTINGS_LINK, 8> SETTINGS_BUTTONS = {{
    {.across = 4, .down = 3, .column = 0, .row = 0, .id = 1, .label = "Hollow Tide", .handler = btn_app_icon,
     .url = SETTINGS_URL_HOLLOW_TIDE},
    {.across = 4, .down = 3, .column = 1, .row = 0, .id = 3, .label = "NoiseOrchard", .handler = btn_app_icon,
     .url = SETTINGS_URL_NOISE_ORCHARD},
    {.across = 4, .down = 3, .column = 2, .row = 0, .id = 2, .label = "Orbitcrane!", .handler = btn_app_icon,
     .url = SETTINGS_URL_ORBITCRANE},
    {.across = 4, .down = 3, .column = 3, .row = 0, .id = 4, .label = "Umberdeep", .handler = btn_app_icon,
     .url = SETTINGS_URL_UMBERDEEP},
    {.across = 4, .down = 4, .column = 0, .row = 3, .id = 0, .label = "Donate a Buck", .handler = btn_buy_iap,
     .url = SETTINGS_PRODUCT_ID},
    {.across = 4, .down = 4, .column = 1, .row = 3, .id = 0, .label = "Web", .handler = btn_url, .url = SETTINGS_URL_WEB},
    {.across = 4, .down = 4, .column = 2, .row = 3, .id = 0, .label = "Contact", .handler = btn_url,
     .url = SETTINGS_URL_CONTACT},
    {.across = 4, .down = 4, .column = 3, .row = 3, .id = 0, .label = "OK", .handler = nullptr, .target = &game_state},
}};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
int waiting_for_store = SETTINGS_STORE_IDLE;
int iap_fetched_ = IAP_FETCH_NONE;
std::array<float, 3> sky_colour = SETTINGS_SKY_COLOURS[0];

static void settings_enter();
static void settings_update();
static void settings_render();

STATE settings_state = {settings_enter, settings_update, settings_render, nullptr};

//----------------------------------------------------------------------------------
// [SECTION] The store exchange
//----------------------------------------------------------------------------------
// Copy a text into a fixed field, cut to fit, always terminated
template <size_t N>
static void copy_text(std::array<char, N> &field, const char *text)
{
    field.fill('\0');
    if (text)
        std::strncpy(field.data(), text, N - 1);
}

// Ask for the product's details unless a fetch is under way or done
static int fetch_iap()
{
    LUM_TRACE();
    if (iap_fetched_ > 0)
        return 0;
    PLAT_MSG *msg = plat_msg_alloc_poster();
    if (!msg)
        return PLAT_MSG_CODE_ABORT;
    plat_msg_set_poster(store_poster_callback);
    msg->typeid_ = PLAT_MSG_TYPE_IAP;
    msg->user.arg = PLAT_MSG_ARG_IAP_FETCH_PRODUCTS;
    copy_text(msg->info.iap.productids_csv, SETTINGS_PRODUCT_ID);
    int result = plat_msg_poster_send(msg);
    if (result == PLAT_MSG_CODE_ABORT)
        iap_fetched_ = IAP_FETCH_ERROR;
    else if (result == PLAT_MSG_CODE_HOLD_ON)
        iap_fetched_ = IAP_FETCH_IN_PROGRESS;
    return result;
}

int settings_fetch_iap()
{
    return fetch_iap();
}

// Send a purchase request for the product named by the button's link; nothing when no message
// is free
static void buy_iap(const BTN *b)
{
    LUM_TRACE();
    PLAT_MSG *msg = plat_msg_alloc_poster();
    if (!msg)
        return;
    plat_msg_set_poster(store_poster_callback);
    msg->typeid_ = PLAT_MSG_TYPE_IAP;
    msg->user.arg = PLAT_MSG_ARG_IAP_BUY;
    copy_text(msg->info.iap.productid, b->url);
    if (plat_msg_poster_send(msg) == PLAT_MSG_CODE_HOLD_ON)
        waiting_for_store = SETTINGS_STORE_PENDING;
}

// Every answer of the store. NOTE: the second number logged under "user.arg" is the message's
// code, as the log has always shown it.
int store_poster_callback(PLAT_MSG *msg)
{
    LUM_TRACE();
    lum_logf("TYPEID %d user.arg %d\n", static_cast<int>(msg->typeid_), msg->code);
    if (msg->typeid_ == PLAT_MSG_TYPE_ERROR) {
        lum_logf("ERROR, '%s'\n", msg->info.error.text.data());
        iap_fetched_ = IAP_FETCH_ERROR;
        waiting_for_store = SETTINGS_STORE_IDLE;
    } else if (msg->code == PLAT_MSG_CODE_ABORT) {
        lum_logf("ABORT, '%s'\n", msg->info.error.text.data());
        waiting_for_store = SETTINGS_STORE_IDLE;
        iap_fetched_ = IAP_FETCH_ERROR;
    } else if (msg->user.arg == PLAT_MSG_ARG_IAP_TRANSACTION) {
        lum_logf("IAP TRANSACTION RESULT %d\n", msg->code);
        waiting_for_store = msg->code == PLAT_MSG_CODE_OK ? SETTINGS_STORE_BOUGHT : SETTINGS_STORE_IDLE;
    } else if (msg->user.arg == PLAT_MSG_ARG_IAP_PRODUCT_INFO) {
        const PLAT_MSG_IAP &iap = msg->info.iap;
        lum_logf("PRODUCT id %s\n", iap.productid.data());
        lum_logf("PRODUCT title %s\n", iap.title.data());
        lum_logf("PRODUCT desc %s\n", iap.description.data());
        lum_logf("PRODUCT pricetext %s\n", iap.pricetext.data());
        lum_logf("PRODUCT priceval %f\n", iap.priceval);
        iap_fetched_ = IAP_FETCH_OK;
    }
    return 0;
}

const char *settings_iap_text(const char *name)
{
    if (iap_fetched_ == IAP_FETCH_IN_PROGRESS || waiting_for_store == SETTINGS_STORE_PENDING)
        return SETTINGS_TEXT_WAIT;
    if (iap_fetched_ < 0)
        return SETTINGS_TEXT_ERROR;
    if (waiting_for_store == SETTINGS_STORE_BOUGHT || waiting_for_store == SETTINGS_STORE_THANKED)
        return SETTINGS_TEXT_THANKS;
    return name;
}

//----------------------------------------------------------------------------------
// [SECTION] The screen
//----------------------------------------------------------------------------------
// The logo's height in layout units; 0 when the logo could not be loaded
static float logo_h()
{
    return icons ? static_cast<float>(icons[SETTINGS_LOGO].h) : 0.0f;
}

// The banner across the top is one link to the maker's site; the game icons go under it and the
// row of links at the bottom
static void layout_screen()
{
    const float h = logo_h();
    const float pw = static_cast<float>(play_w > 0 ? play_w : 1);
    const float ph = static_cast<float>(play_h > 0 ? play_h : 1);
    const float m = SETTINGS_MARGIN / pw;
    main_buttons_start();
    button_set_box(0.0f, 0.0f, 1.0f, 2 * h / ph);
    button_set_layout(1, 1);
    BTN *banner = button_ex(0, 0, 0, nullptr, btn_url);
    if (banner) {
        banner->spriteid = 0;
        banner->url = SETTINGS_URL_WEB;
    }
    button_set_box(m, (2 * h + SETTINGS_ICONS_GAP) / ph, 1 - m, 1 - m);
    for (const SETTINGS_LINK &l : SETTINGS_BUTTONS) {
        button_set_layout(l.across, l.down);
        BTN *b = button_ex(l.column, l.row, l.id, l.label, l.handler);
        if (!b)
            continue;
        b->url = l.url;
        b->state = l.target;
        if (l.url)
            button_init(b);  // the handlers look at the link from their first event on
    }
}

static void settings_enter()
{
    layout_screen();
    settings_fetch_iap();
    sky_colour = SETTINGS_SKY_COLOURS[rnd(0, static_cast<int>(SETTINGS_SKY_COLOURS.size()) - 1)];
}

static void settings_update()
{
    if (main_update_with_buttons(1))
        layout_screen();
    if (waiting_for_store == SETTINGS_STORE_BOUGHT) {
        SYNTH_EFFECT_STATE *pip = sound_pip(SETTINGS_THANKS_PITCH, SETTINGS_THANKS_MS);
        if (pip)
            pip->scale = SETTINGS_THANKS_SCALE;
        waiting_for_store = SETTINGS_STORE_THANKED;
    }
    particles_update();
}

// The banner: a bar in the sky colour at half strength, the logo in full colour with a quarter
// of it again as a glow, the maker's name under it; then the icons' trails and the buttons
static void settings_render()
{
    const float h = logo_h();
    const float half_w = static_cast<float>(play_w) / 2;
    draw_clear(0.0f, 0.0f, 0.0f);
    turtle_set_angle(0.0);
    poly_draw_start();
    turtle_set_scale(global_scale);
    turtle_set_rgb(sky_colour[0] * 0.5, sky_colour[1] * 0.5, sky_colour[2] * 0.5);
    turtle_set_pos(half_w, 2 * h);
    poly_bar(half_w, 2 * h, half_w);
    turtle_set_pos(half_w, h);
    turtle_set_scale(2 * global_scale);
    if (icons) {
        turtle_set_rgb(sky_colour[0], sky_colour[1], sky_colour[2]);
        sprite_batch_plot(&icons[SETTINGS_LOGO], 0, 0);
        turtle_set_rgb(sky_colour[0] * 0.25, sky_colour[1] * 0.25, sky_colour[2] * 0.25);
        sprite_batch_plot(&icons[SETTINGS_LOGO], 0, 1);
    }
    turtle_set_rgb(1.0, 1.0, 1.0);
    turtle_move(-(h / 2 + SETTINGS_MAKER_DROP));
    plot_text(SETTINGS_MAKER, GLYPHS_ALIGN_CENTER);
    poly_draw_end();
    turtle_set_scale(global_scale);
    turtle_set_pos(0.0, 0.0);
    particles_draw(0, 0.0f, 0.0f);
    buttons_draw();
    main_sprite_batches_draw();
}

//----------------------------------------------------------------------------------
// [SECTION] Button handlers
//----------------------------------------------------------------------------------
int btn_url(BTN *b, int action)
{
    if (action == BTN_UP && b && b->url) {
        wrapper_open_url(0, b->url);
        return main_btn_default(b, action);
    }
    if (action == BTN_DRAW_TEXT && b && !b->name)
        return 1;
    return main_btn_default(b, action);
}

int btn_app_icon(BTN *b, int action)
{
    if (!b)
        return main_btn_default(b, action);
    const float k = 1.0f - b->pulse * b->pulse_amount;
    switch (action) {
    case BTN_INIT:
        b->bg = {1.0f, 1.0f, 1.0f, 1.0f};
        b->fg = {1.0f, 1.0f, 1.0f, 1.0f};
        if (icons) {
            button_set_w_ex(b, icons[b->id].w * global_scale, 0.0f);
            button_set_h_ex(b, icons[b->id].h * global_scale, 0.0f);
        }
        return 1;
    case BTN_UP:
        return btn_url(b, action);
    case BTN_UPDATE: {
        const uint32_t t = lum_ticks;
        const double breath = sine_deg(t * SETTINGS_TRAIL_BREATH_SPEED - b->id * SETTINGS_TRAIL_PHASE);
        const double flicker = 0.9 + 0.1 * sine_deg(t * SETTINGS_TRAIL_FLICKER_SPEED);
        PARTICLE *p = particle_effect_sprite(b->x / global_scale, b->y / global_scale, 1);
        p->ticks = SETTINGS_TRAIL_TICKS;
        p->fade = SETTINGS_TRAIL_FADE;
        p->scale = k;
        p->spriteid = static_cast<uint32_t>(icons_spriteid + b->id);
        p->grow = static_cast<float>(SETTINGS_TRAIL_GROW + SETTINGS_TRAIL_BREATH * (0.5 + 0.5 * breath));
        p->clr = {static_cast<float>(SETTINGS_TRAIL_COLOUR[0] * flicker),
                  static_cast<float>(SETTINGS_TRAIL_COLOUR[1] * flicker),
                  static_cast<float>(SETTINGS_TRAIL_COLOUR[2] * flicker), 1.0f};
        return main_btn_default(b, action);
    }
    case BTN_DRAW_SHAPE:
        if (icons) {
            turtle_set_scale(k * global_scale);
            sprite_batch_plot(&icons[b->id], 0, 0);
        }
        return 1;
    case BTN_DRAW_TEXT:
        turtle_move(SETTINGS_NAME_DROP);
        return main_btn_default(b, action);
    default:
        return main_btn_default(b, action);
    }
}

int btn_buy_iap(BTN *b, int action)
{
    if (!b)
        return main_btn_default(b, action);
    switch (action) {
    case BTN_UPDATE:
        b->disabled = iap_fetched_ < 0 || iap_fetched_ == IAP_FETCH_IN_PROGRESS;
        return main_btn_default(b, action);
    case BTN_UP:
        lum_logf("IAP_FETCHED %d\n", iap_fetched_);
        if (!b->url)
            return main_btn_default(b, action);
        if (iap_fetched_ == IAP_FETCH_IN_PROGRESS || iap_fetched_ < 0 || waiting_for_store != SETTINGS_STORE_IDLE)
            return 1;
        buy_iap(b);
        return main_btn_default(b, action);
    case BTN_DRAW_TEXT: {
        const char *text = settings_iap_text(b->name);
        if (text == SETTINGS_TEXT_WAIT) {
            const double blink = 0.5 + 0.5 * sine_deg(lum_ticks * SETTINGS_TEXT_SPEED);
            turtle_set_rgba(turtle.r * blink, turtle.g * blink, turtle.b * blink, turtle.a);
        } else if (text == SETTINGS_TEXT_THANKS) {
            const double d = lum_ticks * SETTINGS_TEXT_SPEED;
            turtle_set_rgb(0.5 + 0.5 * sine_deg(d), 0.5 + 0.5 * sine_deg(d + 120.0), 0.5 + 0.5 * sine_deg(d + 240.0));
        }
        if (text == b->name)
            return main_btn_default(b, action);
        plot_text(text, GLYPHS_ALIGN_CENTER);
        return 1;
    }
    default:
        return main_btn_default(b, action);
    }
}
