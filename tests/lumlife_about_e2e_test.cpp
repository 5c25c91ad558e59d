// The about screen, end to end: the real toy in a private virtual X display, opened with "?",
// its banner drawn, its links logged (the desktop opens no browser), the store the desktop does
// not have shown as "Store error", and "OK" back to the game, which still saves on Escape.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

#include "process.h"
#include "toy.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int TOLERANCE = 3;          // per colour component, for blending and rounding

// The banner's four colours at half strength, as bytes
constexpr std::array<std::array<double, 3>, 4> SKIES = {{
    {1.0, 0.3, 0.3}, {0.5, 0.3, 1.0}, {0.0, 0.8, 0.4}, {0.3, 0.75, 1.0}}};

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Whether the pixel at (x, y) is one of the banner's colours at half strength
bool sky_at(const XCAPTURE_IMAGE &im, int x, int y)
{
    if (x < 0 || y < 0 || x >= im.w || y >= im.h)
        return false;
    const uint8_t *p = &im.rgb[(static_cast<size_t>(y) * im.w + x) * 3];
    for (const auto &sky : SKIES) {
        bool same = true;
        for (int c = 0; c < 3; c++)
            same = same && std::abs(p[c] - static_cast<int>(sky[c] * 0.5 * 255.0)) <= TOLERANCE;
        if (same)
            return true;
    }
    return false;
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifeAbout : public ToyTest {
protected:
    LumlifeAbout() : ToyTest(LUMLIFE_PATH) {}

    // Start the toy and open the about screen with "?"
    ::testing::AssertionResult open_about()
    {
        ::testing::AssertionResult started = start();
        if (!started)
            return started;
        ::testing::AssertionResult clicked = click(layout_control(view, LAYOUT_ABOUT), literal("'?' -> state switch"));
        if (!clicked)
            return clicked;
        return logged("RESET [0-9]+ buttons COUNTER [0-9]+");
    }
};

//----------------------------------------------------------------------------------
// Tests
//----------------------------------------------------------------------------------
// Start-up asks the store for the donation's details; the desktop's replier refuses
TEST_F(LumlifeAbout, StartUpAsksTheStoreAndTheDesktopRefuses)
{
    ASSERT_TRUE(start());
    EXPECT_TRUE(logged_since_start("line [0-9]+: fetch_iap")) << process_transcript(toy);
    EXPECT_TRUE(logged_since_start(literal("Received IAP:"))) << process_transcript(toy);
    EXPECT_TRUE(logged_since_start(literal("'lumlifedonate'"))) << process_transcript(toy);
    EXPECT_TRUE(logged_since_start(literal("ABORT CODE -1000"))) << process_transcript(toy);
    ASSERT_TRUE(quit_with_escape());
}

// "?" opens the about screen: the banner across the top in one of its four colours, and entering
// asks the store again (only a fetch in progress or done would stop it)
TEST_F(LumlifeAbout, TheQuestionMarkOpensTheAboutScreenWithItsBanner)
{
    ASSERT_TRUE(open_about());
    EXPECT_TRUE(logged("line [0-9]+: fetch_iap"));
    ASSERT_TRUE(see([](const XCAPTURE_IMAGE &im) { return sky_at(im, 4, 4) && sky_at(im, im.w - 5, 4); },
                    "the banner in a sky colour"));
    // Below the banner the screen is black away from the buttons
    const int below = static_cast<int>((2 * LAYOUT_ABOUT_LOGO_H + LAYOUT_ABOUT_ICONS_GAP / 2) * view.scale);
    const uint8_t *p = &frame.rgb[(static_cast<size_t>(below) * frame.w + 2) * 3];
    EXPECT_EQ(p[0] + p[1] + p[2], 0);
    ASSERT_TRUE(quit_with_escape());
}

// The links are logged by the desktop, which opens no browser; every address is the maker's
TEST_F(LumlifeAbout, TheLinksAreLoggedWithTheMakersAddresses)
{
    ASSERT_TRUE(open_about());
    ASSERT_TRUE(click(layout_about_row(view, 1), literal("OPEN URL (hint 0): https://kobaltine.example/")));
    ASSERT_TRUE(click(layout_about_row(view, 2), literal("OPEN URL (hint 0): mailto:hello@kobaltine.example")));
    ASSERT_TRUE(quit_with_escape());
}

// Without a store the donate button is disabled: a click on it sends nothing
TEST_F(LumlifeAbout, WithoutAStoreTheDonateButtonTakesNoClick)
{
    ASSERT_TRUE(open_about());
    ASSERT_TRUE(click(layout_about_row(view, 0)));
    ASSERT_TRUE(click(layout_about_row(view, 1), literal("OPEN URL (hint 0): https://kobaltine.example/")));
    EXPECT_FALSE(logged_since_start("IAP_FETCHED .*")) << process_transcript(toy);
    EXPECT_FALSE(logged_since_start("line [0-9]+: buy_iap")) << process_transcript(toy);
    ASSERT_TRUE(quit_with_escape());
}

// "OK" goes back to the game screen, which lays itself out again and still saves on Escape
TEST_F(LumlifeAbout, OkReturnsToTheGameScreen)
{
    ASSERT_TRUE(open_about());
    ASSERT_TRUE(click(layout_about_row(view, 3), literal("'OK' -> state switch")));
    ASSERT_TRUE(logged("BUTTON HEIGHT .*"));
    ASSERT_TRUE(quit_with_escape());
}

}  // namespace
