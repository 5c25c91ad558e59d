// Speed of the CPU side of drawing: plotting sprites into an atlas batch (a whole game frame of
// cell icons) and laying out glyph text. No graphics context is needed: the batches are emptied
// between frames by hand instead of being drawn. Target: at least 10 million sprites a second on
// one core.
#include <benchmark/benchmark.h>

#include "atlas.h"
#include "glyphs.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

namespace {

constexpr int GRID_W = 48;          // the game's grid: one cell icon per cell
constexpr int GRID_H = 30;
constexpr int CELL = 20;            // pixels between cell centres
constexpr int FONT_FIRST = ' ';     // a font of the 96 printable characters
constexpr int FONT_COUNT = 96;
constexpr int FONT_BASE = 100;      // sprite index of its first glyph
const char LABEL[] = "GENERATIONS: 1234567";  // a 20-character label

// Atlas 0 with a 512 x 512 page, a 16 x 16 cell icon at sprite 0 and an 8 x 8 font. Both
// batches are grown to a frame's worth of sprites first, so that the storage growth (and its log
// lines) is not timed.
SPRITEFONT set_up()
{
    init_sine_table();
    ATLAS &atlas = atlas_[0];
    atlas.image.texture_w = 512;
    atlas.image.texture_h = 512;
    SPRITE &icon = sprites_[0];
    icon = SPRITE{};
    icon.atlasx = 32;
    icon.atlasy = 48;
    icon.w = icon.h = 16;
    icon.atlas = &atlas.image;
    for (int i = 0; i < FONT_COUNT; i++) {
        SPRITE &g = sprites_[FONT_BASE + i];
        g = SPRITE{};
        g.atlasx = static_cast<int16_t>(8 * (i % 16));
        g.atlasy = static_cast<int16_t>(8 * (i / 16));
        g.w = g.h = 8;
        g.atlas = &atlas.image;
    }
    SPRITEFONT font;
    glyphs_make_font(&font, FONT_BASE, FONT_FIRST, FONT_COUNT);
    turtle_reset();
    turtle_set_scale(1.0);
    for (int b = 0; b < ATLAS_BATCHES; b++) {
        for (int i = 0; i < GRID_W * GRID_H; i++)
            sprite_batch_plot(&icon, 0, b);
        atlas.batch[b].count = 0;
    }
    return font;
}

}  // namespace

// One game frame: every cell of the grid plotted as an icon, the turtle moved to each cell
static void BM_SpriteBatchPlotGameFrame(benchmark::State &state)
{
    set_up();
    ATLAS_BATCH &batch = atlas_[0].batch[0];
    const SPRITE *icon = sprite_get(0);
    turtle_set_angle(0.0);
    for (auto _ : state) {
        batch.count = 0;
        for (int y = 0; y < GRID_H; y++)
            for (int x = 0; x < GRID_W; x++) {
                turtle_set_pos_unscaled(x * CELL + CELL / 2, y * CELL + CELL / 2);
                sprite_batch_plot(icon, 0, 0);
            }
        benchmark::DoNotOptimize(batch.entry);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * GRID_W * GRID_H);
}
BENCHMARK(BM_SpriteBatchPlotGameFrame);

// The same frame with a turned, scaled and tinted turtle and mirrored icons
static void BM_SpriteBatchPlotTurnedAndFlipped(benchmark::State &state)
{
    set_up();
    ATLAS_BATCH &batch = atlas_[0].batch[1];
    SPRITE *icon = sprite_get(0);
    icon->xoff = 1;
    icon->yoff = -1;
    turtle_set_angle(30.0);
    turtle_set_scale(1.5);
    turtle_set_rgba(0.2, 0.8, 0.4, 0.9);
    for (auto _ : state) {
        batch.count = 0;
        for (int y = 0; y < GRID_H; y++)
            for (int x = 0; x < GRID_W; x++) {
                turtle_set_pos_unscaled(x * CELL + CELL / 2, y * CELL + CELL / 2);
                sprite_batch_plot(icon, 1, 1);
            }
        benchmark::DoNotOptimize(batch.entry);
        benchmark::ClobberMemory();
    }
    icon->xoff = icon->yoff = 0;
    state.SetItemsProcessed(state.iterations() * GRID_W * GRID_H);
}
BENCHMARK(BM_SpriteBatchPlotTurnedAndFlipped);

// A 20-character label, centred, per iteration
static void BM_GlyphsBatchPlotLabel(benchmark::State &state)
{
    SPRITEFONT font = set_up();
    ATLAS_BATCH &batch = atlas_[0].batch[0];
    turtle_set_pos_unscaled(480.0, 20.0);
    for (auto _ : state) {
        batch.count = 0;
        benchmark::DoNotOptimize(glyphs_batch_plot(&font, LABEL, GLYPHS_ALIGN_CENTER, 0));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * (sizeof LABEL - 1));
}
BENCHMARK(BM_GlyphsBatchPlotLabel);

BENCHMARK_MAIN();
