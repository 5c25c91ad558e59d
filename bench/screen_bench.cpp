// Speed of the game screen's frame on the CPU side: game_render plotting the 1440 cell icons of
// the grid alone (no buttons, no step counter), and the whole frame with the main panel's
// buttons and the step counter. Reported as frames per second (items per second).
// No graphics context is needed: the font lives in atlas 1, which the frame does not draw, and
// its batches are emptied by hand between frames. The display is the platform's size before a
// mode is opened (640 x 480: landscape, scale 1).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "atlas.h"
#include "buttons.h"
#include "game.h"
#include "glyphs.h"
#include "life.h"
#include "main.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PAGE = 512;           // the font's page
constexpr int FONT_ATLAS = 1;       // an atlas the frame leaves alone
constexpr int FONT_BASE = 200;      // sprite index of the font's first glyph
constexpr int FONT_FIRST = 32;      // codes 32..191, as the toy's font
constexpr int FONT_COUNT = 160;
constexpr int UI_FIRST = 96;        // `sprites`: the glyph of code 128
constexpr int FILL_PERCENT = 50;    // the grid's share of live cells

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// An 8 x 8 font in atlas 1 standing in for the toy's art, the layout of the display, the
// defaults and a random grid; the log lines of the set-up go to the null device
void set_up(bool with_buttons)
{
    std::fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    int null = open("/dev/null", O_WRONLY);
    if (null >= 0)
        dup2(null, STDOUT_FILENO);
    init_sine_table();
    atlas_[FONT_ATLAS].image.texture_w = PAGE;
    atlas_[FONT_ATLAS].image.texture_h = PAGE;
    for (int i = 0; i < FONT_COUNT; i++) {
        SPRITE &s = sprites_[FONT_BASE + i];
        s = SPRITE{};
        s.atlasx = static_cast<int16_t>((i % (PAGE / 8)) * 8);
        s.atlasy = static_cast<int16_t>((i / (PAGE / 8)) * 8);
        s.w = s.h = 8;
        s.boxw = s.boxh = 8;
        s.atlas = &atlas_[FONT_ATLAS].image;
    }
    glyphs_make_font(&font8x8, FONT_BASE, FONT_FIRST, FONT_COUNT);
    glyphs = &sprites_[FONT_BASE];
    sprites = glyphs + UI_FIRST;
    game_reset();
    life_reset_random(FILL_PERCENT);
    turtle_reset();
    main_update();
    layout_buttons();
    if (!with_buttons) {
        buttons_start();
        game.show_steps = 0;
    }
    game_render();  // grows the batches once, so that no growth is timed
    for (ATLAS_BATCH &batch : atlas_[FONT_ATLAS].batch)
        batch.count = 0;
    std::fflush(stdout);
    if (saved >= 0) {
        dup2(saved, STDOUT_FILENO);
        close(saved);
    }
    if (null >= 0)
        close(null);
}

// Frames per second of game_render
void BM_GameRender(benchmark::State &state, bool with_buttons)
{
    set_up(with_buttons);
    int plotted = 0;
    for (auto _ : state) {
        game_render();
        plotted = atlas_[FONT_ATLAS].batch[0].count + atlas_[FONT_ATLAS].batch[1].count;
        benchmark::DoNotOptimize(plotted);
        for (ATLAS_BATCH &batch : atlas_[FONT_ATLAS].batch)
            batch.count = 0;
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
    state.counters["sprites_per_frame"] = plotted;
}

}  // namespace

BENCHMARK_CAPTURE(BM_GameRender, cells_only, false);
BENCHMARK_CAPTURE(BM_GameRender, full_frame, true);

BENCHMARK_MAIN();
