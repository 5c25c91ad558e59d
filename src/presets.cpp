// presets: named rules, chosen at once (see presets.h).
#include "presets.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "game.h"
#include "glyphs.h"
#include "history.h"
#include "lum.h"
#include "shell.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PRESET_COUNTS = 9;               // neighbour counts 0..8
constexpr int PRESET_TEXT_MAX = 64;            // the banner's text
constexpr float PRESET_BANNER_SCALE = 2.0f;    // in units of the layout scale, when the text fits
constexpr float PRESET_GLYPH_W = 8.0f;         // a character's width in the 8x8 font
constexpr float PRESET_BANNER_MARGIN = 16.0f;  // layout units kept free across the display
constexpr float PRESET_BANNER_RAISE = 0.25f;   // the banner sits this share of the display above its centre

// Bits of the neighbour counts written as digits
constexpr uint16_t bits(std::initializer_list<int> counts)
{
    uint16_t b = 0;
    for (int n : counts)
        b = static_cast<uint16_t>(b | (1u << n));
    return b;
}

constexpr std::array<PRESET, 12> PRESETS = {{
    {"Life", bits({3}), bits({2, 3})},
    {"HighLife", bits({3, 6}), bits({2, 3})},
    {"Seeds", bits({2}), bits({})},
    {"Day & Night", bits({3, 6, 7, 8}), bits({3, 4, 6, 7, 8})},
    {"Life without Death", bits({3}), bits({0, 1, 2, 3, 4, 5, 6, 7, 8})},
    {"Maze", bits({3}), bits({1, 2, 3, 4, 5})},
    {"2x2", bits({3, 6}), bits({1, 2, 5})},
    {"Diamoeba", bits({3, 5, 6, 7, 8}), bits({5, 6, 7, 8})},
    {"Replicator", bits({1, 3, 5, 7}), bits({1, 3, 5, 7})},
    {"Morley", bits({3, 6, 8}), bits({2, 4, 5})},
    {"34 Life", bits({3, 4}), bits({3, 4})},
    {"Anneal", bits({4, 6, 7, 8}), bits({3, 5, 6, 7, 8})},
}};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static int banner_ticks = 0;
static std::array<char, PRESET_TEXT_MAX> banner_text{};

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
static uint16_t toggles_bits(const std::array<uint8_t, GAME_RULE_BYTES> &params)
{
    uint16_t b = 0;
    for (int n = 0; n < PRESET_COUNTS; n++)
        if (params[n])
            b = static_cast<uint16_t>(b | (1u << n));
    return b;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
int presets_count()
{
    return static_cast<int>(PRESETS.size());
}

const PRESET &presets_get(int index)
{
    return PRESETS[static_cast<size_t>(std::clamp(index, 0, presets_count() - 1))];
}

int presets_find(uint16_t birth, uint16_t survive)
{
    for (int i = 0; i < presets_count(); i++)
        if (PRESETS[i].birth == birth && PRESETS[i].survive == survive)
            return i;
    return -1;
}

uint16_t presets_current_birth()
{
    return toggles_bits(game.bparams);
}

uint16_t presets_current_survive()
{
    return toggles_bits(game.sparams);
}

const char *presets_current_name()
{
    const int i = presets_find(presets_current_birth(), presets_current_survive());
    return i < 0 ? nullptr : PRESETS[i].name;
}

void presets_rule_text(uint16_t birth, uint16_t survive, char *out)
{
    *out++ = 'B';
    for (int n = 0; n < PRESET_COUNTS; n++)
        if (birth & (1u << n))
            *out++ = static_cast<char>('0' + n);
    *out++ = '/';
    *out++ = 'S';
    for (int n = 0; n < PRESET_COUNTS; n++)
        if (survive & (1u << n))
            *out++ = static_cast<char>('0' + n);
    *out = '\0';
}

// The toggles change as clicks on the digits would change them: each to 0 or 1, and the rule is
// rebuilt (with its log lines) on the next update
int presets_step(int dir)
{
    const int n = presets_count();
    const int at = presets_find(presets_current_birth(), presets_current_survive());
    int next;
    if (at < 0)
        next = dir > 0 ? 0 : n - 1;
    else
        next = ((at + (dir > 0 ? 1 : -1)) % n + n) % n;
    const PRESET &p = PRESETS[static_cast<size_t>(next)];
    history_begin(HISTORY_PRESET);
    for (int c = 0; c < PRESET_COUNTS; c++) {
        game.bparams[c] = (p.birth >> c) & 1u;
        game.sparams[c] = (p.survive >> c) & 1u;
    }
    config_changed = 1;
    history_end();
    game_toggle_pip();
    std::array<char, PRESET_RULE_TEXT_MAX> rule{};
    presets_rule_text(p.birth, p.survive, rule.data());
    std::snprintf(banner_text.data(), banner_text.size(), "%s %s", p.name, rule.data());
    banner_ticks = PRESET_BANNER_TICKS;
    lum_logf("PRESET: %s\n", banner_text.data());
    return next;
}

void presets_update()
{
    if (banner_ticks > 0)
        banner_ticks--;
}

int presets_banner()
{
    return banner_ticks;
}

// The rule's name and digits, large, above the display's centre, fading out at the end
void presets_render()
{
    if (banner_ticks <= 0)
        return;
    const TURTLE saved = turtle;
    const float alpha = std::min(1.0f, static_cast<float>(banner_ticks) / PRESET_BANNER_FADE);
    turtle_set_angle(0.0);
    // As large as fits across the display, at most twice the text's size
    const float across = PRESET_GLYPH_W * static_cast<float>(std::strlen(banner_text.data()));
    const float fit = (static_cast<float>(play_w) - PRESET_BANNER_MARGIN) / std::max(across, 1.0f);
    turtle_set_scale(std::clamp(fit, 0.5f, PRESET_BANNER_SCALE) * global_scale);
    turtle_set_pos_unscaled(lum_w() / 2.0, lum_h() * (0.5 - PRESET_BANNER_RAISE));
    turtle_set_rgba(1.0, 1.0, 1.0, alpha);
    plot_text(banner_text.data(), GLYPHS_ALIGN_CENTER);
    turtle = saved;
}
