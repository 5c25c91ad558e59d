// settings: the about screen, `settings_state`.
// The maker's logo banner and name, four icons of the maker's other games with links to their
// store pages, links to the maker's web site and contact address, "OK" back to the game, and a
// "Donate a Buck" button that buys a store product through the platform message queue. The
// donation unlocks nothing: its only effects are the button's texts and a thank-you pip. The
// module also asks the store for the product's details, at start-up and on every entry.
// Depends on: plat_msg (the store exchange), wrapper (opening links), buttons, particles (the
// icons' breathing trails), poly (the banner), sprite, glyphs (text), draw (clearing the frame),
// turtle, sine, rnd, log (log lines), shell (layout values, text, the look of buttons), screens
// (OK's target), sounds.
#pragma once

#include <array>

struct BTN;
struct PLAT_MSG;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// Product-information progress, the values of iap_fetched_
constexpr int IAP_FETCH_NONE = 0;
constexpr int IAP_FETCH_IN_PROGRESS = 1;
constexpr int IAP_FETCH_OK = 2;
constexpr int IAP_FETCH_ERROR = -100;

// Purchase progress, the values of waiting_for_store
constexpr int SETTINGS_STORE_IDLE = 0;       // no purchase under way
constexpr int SETTINGS_STORE_PENDING = 1;    // a purchase request was sent
constexpr int SETTINGS_STORE_BOUGHT = 2;     // the purchase succeeded; the thank-you pip is due
constexpr int SETTINGS_STORE_THANKED = 3;    // the pip has played

constexpr const char *SETTINGS_PRODUCT_ID = "lumlifedonate";  // the donation's product identifier

// Where the links go. The maker has no web presence of its own, so every address is under the
// reserved example domain and points at nobody else's site.
constexpr const char *SETTINGS_URL_WEB = "https://kobaltine.example/";
constexpr const char *SETTINGS_URL_CONTACT = "mailto:hello@kobaltine.example";
constexpr const char *SETTINGS_URL_HOLLOW_TIDE = "https://kobaltine.example/games/hollowtide";
constexpr const char *SETTINGS_URL_ORBITCRANE = "https://kobaltine.example/games/orbitcrane";
constexpr const char *SETTINGS_URL_NOISE_ORCHARD = "https://kobaltine.example/games/noiseorchard";
constexpr const char *SETTINGS_URL_UMBERDEEP = "https://kobaltine.example/games/umberdeep";

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern int waiting_for_store;              // SETTINGS_STORE_*: purchase progress
extern int iap_fetched_;                   // IAP_FETCH_*: product-information progress
extern std::array<float, 3> sky_colour;    // the banner's colour, picked anew on each entry

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Ask the store for the donation product's details: the send result, 0 when nothing was sent (a
// fetch is under way or done), -1000 when no message was free
int settings_fetch_iap();
int store_poster_callback(PLAT_MSG *msg);  // every store answer to this screen's requests; 0
// The donate button's text for the current store progress: "Please wait", "Store error", the
// framed "Thanks!", or `name`
const char *settings_iap_text(const char *name);

// Button handlers
int btn_url(BTN *b, int action);       // opens the button's link on a click
int btn_app_icon(BTN *b, int action);  // a game's icon with its breathing trail, linked to its page
int btn_buy_iap(BTN *b, int action);   // buys the product named by the button's link
