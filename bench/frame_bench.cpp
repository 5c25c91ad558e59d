// Cost of deciding whether a frame can be dropped, on the game screen's real batches: the whole
// frame with the main panel's buttons, the step counter, the glow on and a half-full grid, as
// game_render plots it. Two figures:
// - fingerprint: the hash of the frame's commands and every drawn byte of their vertices (the
//   target is under 20 microseconds for a full game screen of about 1,800 sprites);
// - recorded_frame: all the frame skipping adds to a frame that is dropped: the clear and the
//   batches copied into the frame's record, the fingerprint, and the comparison with the last
//   frame drawn.
// No graphics context is needed: the font lives in atlas 1, whose batches are turned into
// drawing commands here as the batch draw does, and the first frame's replay (the only one that
// is not dropped) draws into no context.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>

#include "atlas.h"
#include "buttons.h"
#include "draw.h"
#include "frame.h"
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
constexpr int FONT_ATLAS = 1;       // an atlas the frame's own batch draw leaves alone
constexpr int FONT_BASE = 200;      // sprite index of the font's first glyph
constexpr int FONT_FIRST = 32;      // codes 32..191, as the toy's font
constexpr int FONT_COUNT = 160;
constexpr int UI_FIRST = 96;        // `sprites`: the glyph of code 128
constexpr int FILL_PERCENT = 50;    // the grid's share of live cells
constexpr int VERTICES_PER_SPRITE = 4;

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// An 8 x 8 font in atlas 1 standing in for the toy's art, the layout of the display, the
// defaults with the glow on and a random grid, and one game frame plotted into the batches of
// atlas 1; the log lines of the set-up go to the null device
void set_up()
{
    std::fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    int null = open("/dev/null", O_WRONLY);
    if (null >= 0)
        dup2(null, STDOUT_FILENO);
    init_sine_table();
    atlas_[FONT_ATLAS].image.texture_w = PAGE;
    atlas_[FONT_ATLAS].image.texture_h = PAGE;
    atlas_[FONT_ATLAS].image.opengl_texture = 1;
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
    game.icon_glow = 1;
    life_reset_random(FILL_PERCENT);
    turtle_reset();
    main_update();
    layout_buttons();
    for (ATLAS_BATCH &batch : atlas_[FONT_ATLAS].batch)
        batch.count = 0;
    game_render();
    std::fflush(stdout);
    if (saved >= 0) {
        dup2(saved, STDOUT_FILENO);
        close(saved);
    }
    if (null >= 0)
        close(null);
}

void submit_nothing(const FRAME_COMMAND &)
{
}

// The game frame as the commands it records: the clear, then both batches of the font's page
// with the vertices as plotted
struct GAME_FRAME {
    FRAME_COMMAND clear;
    FRAME_COMMAND batches;
    int sprites;
};

GAME_FRAME game_frame()
{
    GAME_FRAME f{};
    f.clear.submit = submit_nothing;
    f.clear.colour = {0.0f, 0.0f, 0.0f, 0.0f};
    f.clear.covers = true;
    const ATLAS &atlas = atlas_[FONT_ATLAS];
    f.batches.submit = submit_nothing;
    f.batches.image = &atlas.image;
    f.batches.page = {atlas.image.opengl_texture, PAGE, PAGE};
    for (int b = 0; b < ATLAS_BATCHES; b++) {
        f.batches.array[b] = atlas.batch[b].entry;
        f.batches.count[b] = atlas.batch[b].count * VERTICES_PER_SPRITE;
        f.batches.stride[b] = static_cast<int>(sizeof(BATCH_ITEM));
        f.batches.drawn[b] = static_cast<int>(offsetof(BATCH_ITEM, pad));
    }
    f.sprites = atlas.batch[0].count + atlas.batch[1].count;
    return f;
}

// The fingerprint of the game frame's commands
void BM_Fingerprint(benchmark::State &state)
{
    set_up();
    const GAME_FRAME f = game_frame();
    const FRAME_COMMAND commands[] = {f.clear, f.batches};
    for (auto _ : state)
        benchmark::DoNotOptimize(frame_fingerprint(commands, 2));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * f.sprites);
    state.counters["sprites_per_frame"] = f.sprites;
}

// Everything frame skipping adds to a dropped game frame: recording (copies), fingerprint,
// comparison
void BM_RecordedFrame(benchmark::State &state)
{
    set_up();
    const GAME_FRAME f = game_frame();
    int dropped = 0;
    for (auto _ : state) {
        frame_begin();
        frame_draw(f.clear);
        frame_draw(f.batches);
        dropped += frame_end() ? 0 : 1;
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * f.sprites);
    state.counters["sprites_per_frame"] = f.sprites;
    state.counters["dropped"] = benchmark::Counter(dropped, benchmark::Counter::kAvgIterations);
}

}  // namespace

BENCHMARK(BM_Fingerprint)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RecordedFrame)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
