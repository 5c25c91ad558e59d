// Tests of the user's state record: its defaults, the grid moving between the engine and the
// record, the rule string built from the toggles, and bringing damaged values into range.
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>

#include "game.h"
#include "life.h"

namespace {

class Game : public ::testing::Test {
protected:
    void SetUp() override
    {
        testing::internal::CaptureStdout();
        game_reset();
        config_changed = 0;
        testing::internal::GetCapturedStdout();
    }

    // Run the configuration update and return what it printed
    static std::string update_config_output()
    {
        testing::internal::CaptureStdout();
        game_update_config();
        return testing::internal::GetCapturedStdout();
    }

    // Strip the log prefix "[lum <s>s (<tick>)] " from every line
    static std::string without_prefixes(const std::string &text)
    {
        std::string out;
        size_t pos = 0;
        while (pos < text.size()) {
            size_t end = text.find('\n', pos);
            std::string line = text.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
            if (line.rfind("[lum ", 0) == 0)
                line = line.substr(line.find("] ") + 2);
            out += line + "\n";
            if (end == std::string::npos)
                break;
            pos = end + 1;
        }
        return out;
    }
};

TEST_F(Game, ResetSetsTheDefaultsAndZeroesEverythingElse)
{
    std::memset(&game, 0x5a, sizeof(game));
    testing::internal::CaptureStdout();
    game_reset();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("game_reset"), std::string::npos) << out;
    EXPECT_EQ(config_changed, 1);
    EXPECT_EQ(game.freq, 60);
    EXPECT_EQ(game.show_steps, 1);
    EXPECT_EQ(game.border_mode, 0);
    EXPECT_EQ(game.running, 0);
    EXPECT_EQ(game.fg, 0);
    EXPECT_EQ(game.bg, 0);
    EXPECT_EQ(game.icon_cell, 0);
    EXPECT_EQ(game.icon_grid, 0);
    EXPECT_EQ(game.icon_glow, 0);
    EXPECT_EQ(game.step_count, 0u);
    for (int n = 0; n < GAME_RULE_BYTES; n++) {
        EXPECT_EQ(game.bparams[n], n == 3 ? 1 : 0) << n;
        EXPECT_EQ(game.sparams[n], (n == 2 || n == 3) ? 1 : 0) << n;
    }
    for (int32_t p : game.pad)
        EXPECT_EQ(p, 0);
    for (const auto &column : game.cells)
        for (uint8_t c : column)
            EXPECT_EQ(c, 0);
}

TEST_F(Game, ResetLeavesTheEngineWithARandomGridAtCounterZero)
{
    life_set_step_count(99);
    game_reset();
    EXPECT_EQ(life_step_count(), 0u);
    int alive = 0;
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            alive += life_cell(x, y) ? 1 : 0;
    // A 50 % fill of 1440 cells: far from empty and far from full
    EXPECT_GT(alive, 500);
    EXPECT_LT(alive, 940);
}

TEST_F(Game, FreezeCopiesTheGridAndCounterAndZeroesTheUnusedBytes)
{
    std::memset(&game.cells, 0xff, sizeof(game.cells));
    life_reset_random(0);
    life_set_cell(0, 0, 1);
    life_set_cell(47, 29, 1);
    life_set_cell(5, 7, 200);
    life_set_step_count(12345);
    game_freeze_cells();
    EXPECT_EQ(game.step_count, 12345u);
    for (int x = 0; x < GAME_GRID_SIDE; x++)
        for (int y = 0; y < GAME_GRID_SIDE; y++) {
            int expected = (x < LIFE_W && y < LIFE_H) ? static_cast<uint8_t>(life_cell(x, y)) : 0;
            ASSERT_EQ(game.cells[x][y], expected) << x << "," << y;
        }
    EXPECT_EQ(game.cells[0][0], 1);
    EXPECT_EQ(game.cells[47][29], 1);
    EXPECT_EQ(game.cells[5][7], 200);
    // Column-major in the file: cell (x, y) is byte 72 + x * 64 + y
    const auto *bytes = reinterpret_cast<const uint8_t *>(&game);
    EXPECT_EQ(bytes[72 + 5 * 64 + 7], 200);
    EXPECT_EQ(bytes[72 + 47 * 64 + 29], 1);
}

TEST_F(Game, ThawRestoresTheGridBytesUnchangedAndTheCounter)
{
    for (int x = 0; x < GAME_GRID_SIDE; x++)
        for (int y = 0; y < GAME_GRID_SIDE; y++)
            game.cells[x][y] = static_cast<uint8_t>((x * 7 + y * 13) & 0xff);
    game.step_count = 4000000000u;
    game_thaw_cells();
    EXPECT_EQ(life_step_count(), 4000000000u);
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            ASSERT_EQ(static_cast<uint8_t>(life_cell(x, y)), game.cells[x][y]) << x << "," << y;
}

TEST_F(Game, DefaultsGiveTheRuleStringB3S23WithWrap)
{
    config_changed = 1;
    std::string out = without_prefixes(update_config_output());
    EXPECT_NE(out.find("line "), std::string::npos) << out;
    EXPECT_NE(out.find(": game_update_config\n"), std::string::npos) << out;
    EXPECT_NE(out.find("CONFIG SET: b3s23w\n"), std::string::npos) << out;
    EXPECT_NE(out.find("RULES: B3/S23, wrap border\n"), std::string::npos) << out;
    EXPECT_EQ(config_changed, 0);
}

TEST_F(Game, NothingHappensWhileTheConfigurationIsUnchanged)
{
    config_changed = 0;
    EXPECT_EQ(update_config_output(), "");
}

TEST_F(Game, EveryToggleAndBorderGoesIntoTheRuleString)
{
    struct CASE {
        const char *birth;
        const char *survive;
        int border;
        const char *text;
        const char *rules;
    };
    const CASE cases[] = {
        {"36", "23", 0, "b36s23w", "RULES: B36/S23, wrap border\n"},
        {"3", "23", 1, "b3s23d", "RULES: B3/S23, dead border\n"},
        {"3", "23", 2, "b3s23l", "RULES: B3/S23, live border\n"},
        {"", "", 0, "bsw", "RULES: B/S, wrap border\n"},
        {"012345678", "012345678", 1, "b012345678s012345678d", "RULES: B012345678/S012345678, dead border\n"},
        {"1357", "1357", 2, "b1357s1357l", "RULES: B1357/S1357, live border\n"},
    };
    for (const CASE &c : cases) {
        game.bparams.fill(0);
        game.sparams.fill(0);
        for (const char *d = c.birth; *d; d++)
            game.bparams[*d - '0'] = 1;
        for (const char *d = c.survive; *d; d++)
            game.sparams[*d - '0'] = 7;  // any non-zero byte is "on"
        game.border_mode = c.border;
        config_changed = 1;
        std::string out = without_prefixes(update_config_output());
        EXPECT_NE(out.find(std::string("CONFIG SET: ") + c.text + "\n"), std::string::npos) << out;
        EXPECT_NE(out.find(c.rules), std::string::npos) << out;
    }
}

TEST_F(Game, TheUnusedTenthToggleByteIsNeverLookedAt)
{
    game.bparams[9] = 1;
    game.sparams[9] = 1;
    config_changed = 1;
    std::string out = update_config_output();
    EXPECT_NE(out.find("CONFIG SET: b3s23w\n"), std::string::npos) << out;
}

TEST_F(Game, BorderValuesMapToTheEnginesNumbering)
{
    const int engine_border[] = {LIFE_BORDER_WRAP, LIFE_BORDER_DEAD, LIFE_BORDER_LIVE};
    for (int b = 0; b < 3; b++) {
        game.border_mode = b;
        config_changed = 1;
        update_config_output();
        EXPECT_EQ(border_mode, engine_border[b]) << b;
    }
}

TEST_F(Game, ClampBringsEveryOutOfRangeValueToTheNearestEnd)
{
    const int32_t extremes[] = {INT_MIN, -1, INT_MAX, 1000};
    for (int32_t v : extremes) {
        game.border_mode = v;
        game.freq = v;
        game.fg = v;
        game.bg = v;
        game.icon_cell = v;
        game.icon_grid = v;
        game.icon_glow = v;
        game_clamp_config();
        bool low = v < 0;
        EXPECT_EQ(game.border_mode, low ? 0 : 2) << v;
        EXPECT_EQ(game.freq, low ? 1 : 60) << v;
        EXPECT_EQ(game.fg, low ? 0 : 7) << v;
        EXPECT_EQ(game.bg, low ? 0 : 8) << v;
        EXPECT_EQ(game.icon_cell, low ? 0 : 15) << v;
        EXPECT_EQ(game.icon_grid, low ? 0 : 15) << v;
        EXPECT_EQ(game.icon_glow, 1) << v;
    }
    game.freq = 0;
    game_clamp_config();
    EXPECT_EQ(game.freq, 1);
}

TEST_F(Game, ClampLeavesEveryInRangeValueAsItIs)
{
    for (int v = 0; v <= 60; v++) {
        game.border_mode = v % 3;
        game.freq = v == 0 ? 1 : v;
        game.fg = v % 8;
        game.bg = v % 9;
        game.icon_cell = v % 16;
        game.icon_grid = (v + 5) % 16;
        game.icon_glow = v % 2;
        game.running = v - 30;
        game.show_steps = v * 1000;
        GAME before = game;
        game_clamp_config();
        ASSERT_EQ(std::memcmp(&before, &game, sizeof(game)), 0) << v;
    }
}

}  // namespace
