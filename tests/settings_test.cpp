// The about screen over the platform's test double: its layout, its links, the icons' trails, and
// the store exchange driven through a test replier that answers later, as a real store does.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "atlas.h"
#include "buttons.h"
#include "capture.h"
#include "core_state.h"
#include "fake_sounds.h"
#include "fake_wrapper.h"
#include "glyphs.h"
#include "input.h"
#include "lum.h"
#include "main.h"
#include "particles.h"
#include "plat_msg.h"
#include "screens.h"
#include "settings.h"
#include "sine.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int FONT_BASE = 200;     // sprite index of the synthetic font's first glyph
constexpr int FONT_FIRST = 32;
constexpr int FONT_COUNT = 160;    // codes 32..191
constexpr int ICON_BASE = 600;     // sprite index of the synthetic icon run
constexpr int LOGO_W = 240, LOGO_H = 64;
constexpr int ICON_SIDE = 72;
constexpr float NEAR = 1e-3f;

// The four game buttons as the screen shows them, by column
struct GAME_ICON {
    const char *name;
    int id;
    const char *url;
};
const GAME_ICON GAME_ICONS[4] = {
    {"Hollow Tide", 1, "https://kobaltine.example/games/hollowtide"},
    {"NoiseOrchard", 3, "https://kobaltine.example/games/noiseorchard"},
    {"Orbitcrane!", 2, "https://kobaltine.example/games/orbitcrane"},
    {"Umberdeep", 4, "https://kobaltine.example/games/umberdeep"},
};

//----------------------------------------------------------------------------------
// The test store: it keeps every request and answers "hold on"; the test answers later
//----------------------------------------------------------------------------------
struct REQUEST {
    uint32_t type;
    int arg;
    std::string product;    // the product identifier, or the list of them
    PLAT_MSG_HANDLER poster;
};
std::vector<REQUEST> requests;
int store_answer = PLAT_MSG_CODE_HOLD_ON;

int test_store(PLAT_MSG *msg)
{
    requests.push_back({msg->typeid_, msg->user.arg,
                        msg->user.arg == PLAT_MSG_ARG_IAP_FETCH_PRODUCTS ? msg->info.iap.productids_csv.data()
                                                                         : msg->info.iap.productid.data(),
                        msg->poster});
    return store_answer;
}

// An answer of the store to the screen's last request
PLAT_MSG *answer(uint32_t type, int arg, int code)
{
    PLAT_MSG *msg = plat_msg_alloc_replier();
    msg->typeid_ = type;
    msg->user.arg = arg;
    msg->code = code;
    msg->poster = requests.empty() ? nullptr : requests.back().poster;
    return msg;
}

std::string send(PLAT_MSG *msg)
{
    return capture_stdout([&] { plat_msg_replier_send(msg); });
}

void fill(std::array<char, PLAT_MSG_NAME_SIZE> &field, const char *text)
{
    field.fill('\0');
    std::strncpy(field.data(), text, field.size() - 1);
}

int thank_you_pips()
{
    int n = 0;
    for (const FAKE_SOUND &s : fake_sounds)
        n += s.name == "sound_pip" && s.pitch == 2.0f && s.length == 500;
    return n;
}

int release_clicks()
{
    int n = 0;
    for (const FAKE_SOUND &s : fake_sounds)
        n += s.name == "sound_pip" && s.pitch == 0.5f && s.length == 10;
    return n;
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class About : public ::testing::Test {
protected:
    void SetUp() override
    {
        clear_drawing_state();
        for (int i = 0; i < FONT_COUNT; i++) {
            SPRITE &s = sprites_[FONT_BASE + i];
            s.w = s.h = s.boxw = s.boxh = 8;
            s.atlas = &atlas_[0].image;
        }
        glyphs_make_font(&font8x8, FONT_BASE, FONT_FIRST, FONT_COUNT);
        glyphs = &sprites_[FONT_BASE];
        sprites = glyphs + 96;
        icons_spriteid = ICON_BASE;
        icons = &sprites_[ICON_BASE];
        icons[0].w = LOGO_W;
        icons[0].h = LOGO_H;
        for (int i = 1; i <= 4; i++)
            icons[i].w = icons[i].h = ICON_SIDE;
        for (int i = 0; i <= 4; i++)
            icons[i].atlas = &atlas_[0].image;
        keys.fill(0);
        keyevent.fill(0);
        mouse_state.fill(MOUSE_STATE{});
        fake_sounds_reset();
        requests.clear();
        store_answer = PLAT_MSG_CODE_HOLD_ON;
        iap_fetched_ = IAP_FETCH_NONE;
        waiting_for_store = SETTINGS_STORE_IDLE;
        capture_stdout([] {
            plat_msg_init();
            plat_msg_set_replier(test_store);
            particles_init();
            lum_set_logic_rate(60);
            main_update();  // the shell's layout for the 960 x 640 display
        });
        turtle_reset();
        turtle_set_scale(global_scale);
    }

    void TearDown() override
    {
        clear_atlases();
    }

    std::string enter()
    {
        return capture_stdout([] { state_switch(&settings_state); });
    }

    std::string tick()
    {
        return capture_stdout([] { state_update(); });
    }

    static BTN *find(const char *name)
    {
        for (int i = 0; i < btn_count; i++)
            if (btns[i].name && std::strcmp(btns[i].name, name) == 0)
                return &btns[i];
        return nullptr;
    }

    static BTN *donate()
    {
        return find("Donate a Buck");
    }

    // A click through the toolkit at a button's centre: down, held, released
    static std::string click(const BTN *b)
    {
        EXPECT_NE(b, nullptr);
        if (!b)
            return {};
        float x = b->x;
        float y = b->y;
        return capture_stdout([&] {
            button_do_click(x, y, BTN_DOWN);
            button_do_click(x, y, BTN_HOLD);
            button_do_click(x, y, BTN_UP);
        });
    }

    // The product's details arrive
    std::string product_info()
    {
        PLAT_MSG *msg = answer(PLAT_MSG_TYPE_IAP, PLAT_MSG_ARG_IAP_PRODUCT_INFO, PLAT_MSG_CODE_OK);
        fill(msg->info.iap.productid, "lumlifedonate");
        fill(msg->info.iap.title, "A buck");
        fill(msg->info.iap.pricetext, "$0.99");
        msg->info.iap.priceval = 0.99;
        return send(msg);
    }

    // The trail particle an icon leaves in one tick: with the pool just emptied, the first
    // particle made takes the first slot, whose record a probe allocation made before shows
    static const PARTICLE *trail_of(BTN *icon)
    {
        EXPECT_NE(icon, nullptr);
        PARTICLE *first = nullptr;
        capture_stdout([&] {
            particles_init();
            first = particle_new();
            particles_init();
            btn_app_icon(icon, BTN_UPDATE);
        });
        return first;
    }

    std::string transaction(int code)
    {
        return send(answer(PLAT_MSG_TYPE_IAP, PLAT_MSG_ARG_IAP_TRANSACTION, code));
    }
};

//----------------------------------------------------------------------------------
// Layout
//----------------------------------------------------------------------------------
TEST_F(About, TheBannerIsOneUnnamedLinkToTheMakersSite)
{
    enter();
    ASSERT_EQ(btn_count, 9);
    const BTN &banner = btns[0];
    EXPECT_EQ(banner.name, nullptr);
    EXPECT_EQ(banner.id, 0);
    EXPECT_EQ(banner.spriteid, 0);
    EXPECT_EQ(banner.update, btn_url);
    EXPECT_STREQ(banner.url, "https://kobaltine.example/");
    // Box (0, 0, 1, 2h / play_h) of 960 x 640 at scale 2: h = 64, play_h = 320
    EXPECT_NEAR(banner.x, 480.0f, NEAR);
    EXPECT_NEAR(banner.y, 128.0f, NEAR);
    EXPECT_NEAR(banner.w, 960.0f, NEAR);
    EXPECT_NEAR(banner.h, 256.0f, NEAR);
}

TEST_F(About, TheGameIconsStandUnderTheBannerInTheirOrder)
{
    enter();
    // Box (m, (2h + 48) / play_h, 1 - m, 1 - m) with m = 8 / play_w; layout 4 x 3, row 0
    const float m = 8.0f / 480.0f;
    const float top = (128.0f + 48.0f) / 320.0f;
    const float cell_w = (1 - 2 * m) * 960.0f / 4;
    const float cell_h = (1 - m - top) * 640.0f / 3;
    for (int c = 0; c < 4; c++) {
        SCOPED_TRACE(GAME_ICONS[c].name);
        const BTN *b = find(GAME_ICONS[c].name);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->btnnum, 1 + c);
        EXPECT_EQ(b->id, GAME_ICONS[c].id);
        EXPECT_EQ(b->update, btn_app_icon);
        EXPECT_STREQ(b->url, GAME_ICONS[c].url);
        EXPECT_NEAR(b->x, m * 960.0f + cell_w * (c + 0.5f), NEAR);
        EXPECT_NEAR(b->y, top * 640.0f + cell_h * 0.5f, NEAR);
        // As large as the icon at the global scale, and all white
        EXPECT_NEAR(b->w, ICON_SIDE * 2.0f, NEAR);
        EXPECT_NEAR(b->h, ICON_SIDE * 2.0f, NEAR);
        EXPECT_NEAR(b->rx, ICON_SIDE, NEAR);
        EXPECT_EQ(b->bg.r + b->bg.g + b->bg.b + b->fg.r + b->fg.g + b->fg.b, 6.0f);
    }
}

TEST_F(About, TheLinksAndOkFillTheBottomRow)
{
    enter();
    const float m = 8.0f / 480.0f;
    const float top = (128.0f + 48.0f) / 320.0f;
    const float cell_w = (1 - 2 * m) * 960.0f / 4;
    const float cell_h = (1 - m - top) * 640.0f / 4;
    struct ROW {
        const char *name;
        BTN_HANDLER handler;
        const char *url;
    };
    const ROW row[4] = {
        {"Donate a Buck", btn_buy_iap, "lumlifedonate"},
        {"Web", btn_url, "https://kobaltine.example/"},
        {"Contact", btn_url, "mailto:hello@kobaltine.example"},
        {"OK", main_btn_default, nullptr},
    };
    for (int c = 0; c < 4; c++) {
        SCOPED_TRACE(row[c].name);
        const BTN *b = find(row[c].name);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->btnnum, 5 + c);
        EXPECT_EQ(b->update, row[c].handler);
        if (row[c].url)
            EXPECT_STREQ(b->url, row[c].url);
        else
            EXPECT_EQ(b->url, nullptr);
        EXPECT_NEAR(b->x, m * 960.0f + cell_w * (c + 0.5f), NEAR);
        EXPECT_NEAR(b->y, top * 640.0f + cell_h * 3.5f, NEAR);
    }
    EXPECT_EQ(find("OK")->state, &game_state);
}

TEST_F(About, EnteringPicksOneOfTheFourSkyColours)
{
    const std::array<std::array<float, 3>, 4> skies = {{
        {1.0f, 0.3f, 0.3f}, {0.5f, 0.3f, 1.0f}, {0.0f, 0.8f, 0.4f}, {0.3f, 0.75f, 1.0f}}};
    std::array<int, 4> seen{};
    for (int i = 0; i < 200; i++) {
        enter();
        int match = -1;
        for (int k = 0; k < 4; k++)
            if (sky_colour == skies[k])
                match = k;
        ASSERT_GE(match, 0);
        seen[match]++;
    }
    for (int k = 0; k < 4; k++)
        EXPECT_GT(seen[k], 0) << "sky " << k;
}

//----------------------------------------------------------------------------------
// Links
//----------------------------------------------------------------------------------
TEST_F(About, WebContactBannerAndIconsOpenTheirLinksOnRelease)
{
    enter();
    click(find("Web"));
    click(find("Contact"));
    click(&btns[0]);
    click(find("Orbitcrane!"));
    EXPECT_EQ(fake_platform.urls,
              (std::vector<std::string>{"0 https://kobaltine.example/", "0 mailto:hello@kobaltine.example",
                                        "0 https://kobaltine.example/", "0 https://kobaltine.example/games/orbitcrane"}));
}

TEST_F(About, OkReturnsToTheGameScreen)
{
    enter();
    std::string log = click(find("OK"));
    EXPECT_EQ(state_current(), &game_state);
    EXPECT_NE(log.find("'OK' -> state switch"), std::string::npos) << log;
    EXPECT_TRUE(fake_platform.urls.empty());
}

TEST_F(About, AButtonWithoutANameDrawsNoText)
{
    enter();
    EXPECT_EQ(btn_url(&btns[0], BTN_DRAW_TEXT), 1);
}

//----------------------------------------------------------------------------------
// The icons' trails
//----------------------------------------------------------------------------------
TEST_F(About, EveryIconLeavesOneBreathingSpriteParticlePerTick)
{
    enter();
    lum_ticks = 12;
    BTN *icon = find("NoiseOrchard");  // id 3
    ASSERT_NE(icon, nullptr);
    icon->pulse = 0.5f;
    icon->pulse_amount = 0.4f;
    const PARTICLE *trail = trail_of(icon);
    ASSERT_NE(trail->update, nullptr) << "a live particle";
    EXPECT_EQ(trail->spriteid, static_cast<uint32_t>(ICON_BASE + 3));
    EXPECT_EQ(trail->ticks, 4);
    EXPECT_FLOAT_EQ(trail->fade, 4.0f);
    EXPECT_FLOAT_EQ(trail->scale, 1.0f - 0.5f * 0.4f);
    EXPECT_NEAR(trail->pos.x, icon->x / 2.0f, NEAR);
    EXPECT_NEAR(trail->pos.y, icon->y / 2.0f, NEAR);
    const double a = 12 * 5.0 - 3 * 60.0;
    const double b = 12 * 60.0;
    EXPECT_NEAR(trail->grow, 1.05 + 0.075 * (0.5 + 0.5 * sine_deg(a)), 1e-6);
    EXPECT_NEAR(trail->clr.r, 0.2 * (0.9 + 0.1 * sine_deg(b)), 1e-6);
    EXPECT_NEAR(trail->clr.g, 0.15 * (0.9 + 0.1 * sine_deg(b)), 1e-6);
    EXPECT_NEAR(trail->clr.b, 0.1 * (0.9 + 0.1 * sine_deg(b)), 1e-6);
    EXPECT_EQ(trail->draw, additive_draw);
}

TEST_F(About, NeighbouringIconsBreatheOutOfPhase)
{
    enter();
    lum_ticks = 0;
    const float first = trail_of(find("Hollow Tide"))->grow;   // id 1
    const float second = trail_of(find("Orbitcrane!"))->grow;  // id 2
    EXPECT_NE(first, second);
    EXPECT_NEAR(first, 1.05 + 0.075 * (0.5 + 0.5 * sine_deg(-60.0)), 1e-6);
    EXPECT_NEAR(second, 1.05 + 0.075 * (0.5 + 0.5 * sine_deg(-120.0)), 1e-6);
}

TEST_F(About, EachTickEveryIconAddsOneTrailParticleToTheGlowBatch)
{
    enter();
    capture_stdout([] { particles_init(); });
    tick();
    const int before = atlas_[0].batch[1].count;
    capture_stdout([] { particles_draw(0, 0.0f, 0.0f); });
    EXPECT_EQ(atlas_[0].batch[1].count - before, 4);
}

//----------------------------------------------------------------------------------
// The store
//----------------------------------------------------------------------------------
TEST_F(About, EnteringAsksTheStoreForTheProduct)
{
    std::string log = enter();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].type, PLAT_MSG_TYPE_IAP);
    EXPECT_EQ(requests[0].arg, PLAT_MSG_ARG_IAP_FETCH_PRODUCTS);
    EXPECT_EQ(requests[0].product, "lumlifedonate");
    EXPECT_EQ(requests[0].poster, store_poster_callback);
    EXPECT_NE(log.find(": fetch_iap\n"), std::string::npos) << log;
    EXPECT_EQ(iap_fetched_, IAP_FETCH_IN_PROGRESS);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Please wait");
    tick();
    EXPECT_EQ(donate()->disabled, 1);
}

TEST_F(About, EnteringWhileAFetchIsUnderWaySendsNoSecondFetch)
{
    enter();
    enter();
    EXPECT_EQ(requests.size(), 1u);
    EXPECT_EQ(settings_fetch_iap(), 0);
    EXPECT_EQ(requests.size(), 1u);
}

TEST_F(About, AStoreThatRefusesShowsStoreErrorAndDisablesTheButton)
{
    store_answer = PLAT_MSG_CODE_ABORT;
    enter();
    EXPECT_EQ(iap_fetched_, IAP_FETCH_ERROR);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Store error");
    tick();
    EXPECT_EQ(donate()->disabled, 1);
    // Only a positive state suppresses fetching: every entry asks again
    enter();
    EXPECT_EQ(requests.size(), 2u);
}

TEST_F(About, NoFreeMessageLeavesTheFetchUnsent)
{
    std::vector<PLAT_MSG *> held;
    for (int i = 0; i < PLAT_MSG_LIST_SIZE; i++)
        capture_stdout([&] { held.push_back(plat_msg_alloc_poster()); });
    int result = 0;
    capture_stdout([&] { result = settings_fetch_iap(); });
    EXPECT_EQ(result, PLAT_MSG_CODE_ABORT);
    EXPECT_TRUE(requests.empty());
    EXPECT_EQ(iap_fetched_, IAP_FETCH_NONE);
    for (PLAT_MSG *msg : held)
        plat_msg_free(msg);
}

TEST_F(About, ProductDetailsEnableTheButtonAndAreLogged)
{
    enter();
    std::string log = product_info();
    EXPECT_EQ(iap_fetched_, IAP_FETCH_OK);
    EXPECT_NE(log.find(": store_poster_callback\n"), std::string::npos) << log;
    EXPECT_NE(log.find("TYPEID 4 user.arg 0\n"), std::string::npos) << log;
    EXPECT_NE(log.find("PRODUCT id lumlifedonate\n"), std::string::npos) << log;
    EXPECT_NE(log.find("PRODUCT title A buck\n"), std::string::npos) << log;
    EXPECT_NE(log.find("PRODUCT desc \n"), std::string::npos) << log;
    EXPECT_NE(log.find("PRODUCT pricetext $0.99\n"), std::string::npos) << log;
    EXPECT_NE(log.find("PRODUCT priceval 0.990000\n"), std::string::npos) << log;
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Donate a Buck");
    tick();
    EXPECT_EQ(donate()->disabled, 0);
}

TEST_F(About, ASuccessfulPurchaseThanksWithOnePipExactlyOnce)
{
    enter();
    product_info();
    tick();
    std::string log = click(donate());
    EXPECT_NE(log.find("IAP_FETCHED 2\n"), std::string::npos) << log;
    EXPECT_NE(log.find(": buy_iap\n"), std::string::npos) << log;
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[1].type, PLAT_MSG_TYPE_IAP);
    EXPECT_EQ(requests[1].arg, PLAT_MSG_ARG_IAP_BUY);
    EXPECT_EQ(requests[1].product, "lumlifedonate");
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_PENDING);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Please wait");
    EXPECT_EQ(release_clicks(), 1) << "the default click follows the request";

    log = transaction(PLAT_MSG_CODE_OK);
    EXPECT_NE(log.find("IAP TRANSACTION RESULT 0\n"), std::string::npos) << log;
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_BOUGHT);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "\xb1 Thanks! \xb1");
    tick();
    ASSERT_EQ(thank_you_pips(), 1);
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_THANKED);
    for (const FAKE_SOUND &s : fake_sounds) {
        if (s.length == 500) {
            EXPECT_FLOAT_EQ(s.effect.scale, 0.5f);
        }
    }
    for (int i = 0; i < 10; i++)
        tick();
    EXPECT_EQ(thank_you_pips(), 1);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "\xb1 Thanks! \xb1");
}

TEST_F(About, AfterAThankYouPressingTheButtonAgainDoesNothing)
{
    enter();
    product_info();
    tick();
    click(donate());
    transaction(PLAT_MSG_CODE_OK);
    tick();
    const int clicks = release_clicks();
    click(donate());
    EXPECT_EQ(requests.size(), 2u);
    EXPECT_EQ(release_clicks(), clicks) << "the release is consumed";
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_THANKED);
}

TEST_F(About, AFailedTransactionReturnsTheButtonWithoutASound)
{
    enter();
    product_info();
    tick();
    click(donate());
    std::string log = transaction(PLAT_MSG_CODE_CANCEL);
    EXPECT_NE(log.find("IAP TRANSACTION RESULT 1\n"), std::string::npos) << log;
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_IDLE);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Donate a Buck");
    for (int i = 0; i < 5; i++)
        tick();
    EXPECT_EQ(thank_you_pips(), 0);
    // And a new purchase may start
    click(donate());
    EXPECT_EQ(requests.size(), 3u);
}

TEST_F(About, AnErrorMessageShowsStoreError)
{
    enter();
    product_info();
    click(donate());
    PLAT_MSG *msg = answer(PLAT_MSG_TYPE_ERROR, 0, PLAT_MSG_CODE_OK);
    std::strcpy(msg->info.error.text.data(), "no network");
    std::string log = send(msg);
    EXPECT_NE(log.find("TYPEID 2 user.arg 0\n"), std::string::npos) << log;
    EXPECT_NE(log.find("ERROR, 'no network'\n"), std::string::npos) << log;
    EXPECT_EQ(iap_fetched_, IAP_FETCH_ERROR);
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_IDLE);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Store error");
}

TEST_F(About, AnAbortedAnswerShowsStoreError)
{
    enter();
    PLAT_MSG *msg = answer(PLAT_MSG_TYPE_IAP, PLAT_MSG_ARG_IAP_PRODUCT_INFO, PLAT_MSG_CODE_ABORT);
    std::strcpy(msg->info.error.text.data(), "gone");
    std::string log = send(msg);
    EXPECT_NE(log.find("TYPEID 4 user.arg -1000\n"), std::string::npos) << log;
    EXPECT_NE(log.find("ABORT, 'gone'\n"), std::string::npos) << log;
    EXPECT_EQ(iap_fetched_, IAP_FETCH_ERROR);
    EXPECT_STREQ(settings_iap_text("Donate a Buck"), "Store error");
}

TEST_F(About, APurchaseCannotStartWhileTheFetchIsUnderWay)
{
    enter();
    std::string log = click(donate());
    EXPECT_NE(log.find("IAP_FETCHED 1\n"), std::string::npos) << log;
    EXPECT_EQ(log.find("buy_iap"), std::string::npos) << log;
    EXPECT_EQ(requests.size(), 1u);
}

TEST_F(About, OtherAnswersAreIgnored)
{
    enter();
    send(answer(PLAT_MSG_TYPE_IAP, PLAT_MSG_ARG_IAP_BUY, PLAT_MSG_CODE_OK));
    EXPECT_EQ(iap_fetched_, IAP_FETCH_IN_PROGRESS);
    EXPECT_EQ(waiting_for_store, SETTINGS_STORE_IDLE);
}

}  // namespace
