// Speed of the button toolkit's per-frame and per-touch work: drawing a screenful of buttons
// into the atlas batches, and a touch scan over a full table. No graphics context is needed: the
// batches are emptied between frames by hand instead of being drawn. The display is the platform
// layer's size before any mode is opened (640 x 480).
#include <benchmark/benchmark.h>

#include "atlas.h"
#include "buttons.h"
#include "glyphs.h"
#include "lum.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

namespace {

constexpr int FONT_FIRST = ' ';     // a font of the 96 printable characters
constexpr int FONT_COUNT = 96;
constexpr int FONT_BASE = 100;      // sprite index of its first glyph
constexpr int BACKING = 32;         // the backing sprite, numbered from the font's first glyph
constexpr int DRAWN_ACROSS = 8;     // the drawn screen: 8 x 5 buttons
constexpr int DRAWN_DOWN = 5;
constexpr int TABLE_ACROSS = 20;    // the full table: 20 x 15 buttons
constexpr int TABLE_DOWN = 15;

SPRITEFONT font;
const char *const LABELS[] = {"RUN", "STEP", "CLR", "RND", "+", "-", "Wrap", "60Hz"};

// Atlas 0 with a 512 x 512 page holding an 8 x 8 font whose sprites double as the backings
void set_up_font()
{
    init_sine_table();
    ATLAS &atlas = atlas_[0];
    atlas.image.texture_w = 512;
    atlas.image.texture_h = 512;
    for (int i = 0; i < FONT_COUNT + BACKING; i++) {
        SPRITE &g = sprites_[FONT_BASE + i];
        g = SPRITE{};
        g.atlasx = static_cast<int16_t>(8 * (i % 16));
        g.atlasy = static_cast<int16_t>(8 * (i / 16));
        g.w = g.h = 8;
        g.atlas = &atlas.image;
    }
    glyphs_make_font(&font, FONT_BASE, FONT_FIRST, FONT_COUNT);
    turtle_reset();
    turtle_set_scale(2.0);
}

// A table of across x down labelled buttons over the whole display
void fill_table(int across, int down)
{
    buttons_start();
    buttons_set_font(&font);
    buttons_set_sprites(font.glyphs);
    buttons_set_default_backing(BACKING);
    buttons_set_font_scale(1.0f);
    button_set_box(0.0f, 0.0f, 1.0f, 1.0f);
    button_set_layout(across, down);
    for (int i = 0; i < across * down; i++)
        button_grid(i, LABELS[i % 8]);
}

}  // namespace

// One frame of 40 buttons: backings and labels into the batches, a few of them pulsing
static void BM_ButtonsDraw40(benchmark::State &state)
{
    set_up_font();
    fill_table(DRAWN_ACROSS, DRAWN_DOWN);
    for (int i = 0; i < buttons_count(); i += 7)
        button_get(i)->pulse = 0.5f;
    ATLAS &atlas = atlas_[0];
    atlas.batch[0].count = 0;
    buttons_draw();  // grows the batch storage (and logs it) before the timing starts
    int quads = atlas.batch[0].count;
    for (auto _ : state) {
        atlas.batch[0].count = 0;
        buttons_draw();
        benchmark::DoNotOptimize(atlas.batch[0].entry);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * DRAWN_ACROSS * DRAWN_DOWN);
    state.counters["quads"] = quads;
}
BENCHMARK(BM_ButtonsDraw40);

// A touch that misses every one of 300 buttons: the whole table is looked at
static void BM_ButtonDoClickScan300(benchmark::State &state)
{
    set_up_font();
    fill_table(TABLE_ACROSS, TABLE_DOWN);
    for (auto _ : state)
        benchmark::DoNotOptimize(button_do_click(-10.0f, -10.0f, BTN_HOLD));
    state.SetItemsProcessed(state.iterations() * BTN_MAX);
}
BENCHMARK(BM_ButtonDoClickScan300);

// A held touch on the first button of 300: the scan goes through all of them and ends on the hit
static void BM_ButtonDoClickHit300(benchmark::State &state)
{
    set_up_font();
    fill_table(TABLE_ACROSS, TABLE_DOWN);
    BTN *first = button_get(0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(button_do_click(first->x, first->y, BTN_HOLD));
        first->touchcount = 0;
    }
    state.SetItemsProcessed(state.iterations() * BTN_MAX);
}
BENCHMARK(BM_ButtonDoClickHit300);

BENCHMARK_MAIN();
