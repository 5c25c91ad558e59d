// Tests of the particle pool over the platform's test double: the ring and its spare record, the
// newest-first update pass with waiting and freeing, the draw passes with the camera and the
// turtle, the drawers (checked by what lands in atlas 0's sprite batches and in the polygon
// lists), and the two ready-made effects.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "atlas.h"
#include "calc.h"
#include "capture.h"
#include "core_state.h"
#include "death.h"
#include "fake_wrapper.h"
#include "particles.h"
#include "poly.h"
#include "rnd.h"
#include "sine.h"
#include "sprite.h"
#include "turtle.h"

namespace {

using Lines = std::vector<std::string>;

constexpr float NEAR = 1e-3f;  // positions pass through floats and table sines
constexpr int PAGE_W = 256;    // the test page
constexpr int PAGE_H = 128;
constexpr int PIECE = 7;       // a 10 x 6 sprite at (16, 32) of atlas 0's page
constexpr int PIECE_U = 16;
constexpr int PIECE_W = 10;
constexpr int PIECE_H = 6;

// What the recording hooks saw
std::vector<PARTICLE *> updated;
std::vector<PARTICLE *> drawn;
std::vector<TURTLE> drawn_turtle;  // the turtle as each recorded draw found it
int spare_updates = 0;
int spare_draws = 0;

void record_update(PARTICLE *p)
{
    updated.push_back(p);
}

void record_draw(PARTICLE *p)
{
    drawn.push_back(p);
    drawn_turtle.push_back(turtle);
}

// A drawer that records and then leaves the turtle somewhere else entirely
void wandering_draw(PARTICLE *p)
{
    record_draw(p);
    turtle_set_pos_unscaled(-500.0, 900.0);
    turtle_set_angle(33.0);
    turtle_set_scale(9.0);
    turtle_set_rgba(0.0, 0.0, 0.0, 0.0);
}

void spare_update(PARTICLE *)
{
    spare_updates++;
}

void spare_draw(PARTICLE *)
{
    spare_draws++;
}

void quiet(const std::function<void()> &body)
{
    capture_stdout(body);
}

// A quad of a batch: centre, width along its top edge, height along its left edge, left texture
// column, colour bytes
struct QUAD {
    float cx, cy, w, h;
    int u;
    int r, g, b, a;
};

QUAD quad_of(int batch, int n)
{
    const BATCH_ITEM *v = atlas_[0].batch[batch].entry + 4 * n;
    QUAD q;
    q.cx = (v[0].x + v[1].x + v[2].x + v[3].x) / 4.0f;
    q.cy = (v[0].y + v[1].y + v[2].y + v[3].y) / 4.0f;
    q.w = std::hypot(v[2].x - v[0].x, v[2].y - v[0].y);
    q.h = std::hypot(v[1].x - v[0].x, v[1].y - v[0].y);
    q.u = v[0].u;
    q.r = v[0].r;
    q.g = v[0].g;
    q.b = v[0].b;
    q.a = v[0].a;
    return q;
}

void expect_vertex(unsigned n, float x, float y)
{
    SCOPED_TRACE(n);
    EXPECT_NEAR(vertex_list[n].x, x, NEAR);
    EXPECT_NEAR(vertex_list[n].y, y, NEAR);
}

class Particles : public ::testing::Test {
protected:
    void SetUp() override
    {
        clear_drawing_state();
        atlas_[0].image.texture_w = PAGE_W;
        atlas_[0].image.texture_h = PAGE_H;
        SPRITE &piece = sprites_[PIECE];
        piece.atlasx = PIECE_U;
        piece.atlasy = 32;
        piece.w = PIECE_W;
        piece.h = PIECE_H;
        piece.atlas = &atlas_[0].image;
        turtle_reset();
        turtle_set_scale(1.0);
        poly_draw_start();
        quiet(particles_init);
        updated.clear();
        drawn.clear();
        drawn_turtle.clear();
        spare_updates = spare_draws = 0;
    }

    void TearDown() override
    {
        clear_atlases();
    }

    // A particle that only records: it lives `ticks` ticks
    static PARTICLE *recorder(int ticks)
    {
        PARTICLE *p = particle_new();
        p->update = record_update;
        p->draw = record_draw;
        p->ticks = ticks;
        return p;
    }

    // A sprite particle of the test piece at (x, y), drawn by `drawer`
    static PARTICLE *sprite_particle(float x, float y, PARTICLE_FUNC drawer)
    {
        PARTICLE *p = particle_new();
        p->pos = {x, y};
        p->spriteid = PIECE;
        p->draw = drawer;
        p->ticks = 30;
        return p;
    }

    static void update_quietly()
    {
        quiet(particles_update);
    }

    static void draw_quietly(int additive, float cx = 0.0f, float cy = 0.0f)
    {
        quiet([=] { particles_draw(additive, cx, cy); });
    }
};

using ParticlesDeathTest = ThreadsafeDeathTest;

// In a fresh process: drawing before the pool was ever set up draws nothing; the first update
// sets it up
void check_before_set_up()
{
    int failures = 0;
    auto check = [&](bool ok, const char *what) {
        if (!ok) {
            std::fprintf(stderr, "failed: %s\n", what);
            failures++;
        }
    };
    init_sine_table();
    turtle_reset();
    turtle_set_scale(1.0);
    PARTICLE *p = particle_new();
    p->draw = record_draw;
    p->ticks = 5;
    Lines drew = log_messages(capture_stdout([] {
        particles_draw(0, 0.0f, 0.0f);
        particles_draw(1, 0.0f, 0.0f);
    }));
    check(drawn.empty() && drew.empty(), "nothing drawn before the pool was set up");
    Lines updating = log_messages(capture_stdout(particles_update));
    check(updating == Lines{"PARTICLES INIT"}, "the first update sets the pool up");
    PARTICLE *q = particle_new();
    q->draw = record_draw;
    capture_stdout([] { particles_draw(0, 0.0f, 0.0f); });
    check(drawn.size() == 1 && drawn[0] == q, "drawing works once the pool is set up");
    std::exit(failures == 0 ? 0 : 1);
}

}  // namespace

// --- The pool ---

TEST_F(ParticlesDeathTest, DrawingBeforeAnyUpdateOrInitDrawsNothing)
{
    EXPECT_EXIT(check_before_set_up(), ::testing::ExitedWithCode(0), "");
}

TEST_F(Particles, InitLogsAndFreesEverySlot)
{
    PARTICLE *p = particle_new();
    Lines log = log_messages(capture_stdout(particles_init));
    EXPECT_EQ(log, Lines{"PARTICLES INIT"});
    EXPECT_EQ(p->update, nullptr);
    EXPECT_EQ(p->draw, nullptr);
}

TEST_F(Particles, NewParticleHasTheDefaults)
{
    PARTICLE *p = particle_new();
    EXPECT_EQ(p->update, particle_default_update);
    EXPECT_EQ(p->draw, default_draw);
    EXPECT_EQ(p->ticks, 1);
    EXPECT_EQ(p->id, 0);
    EXPECT_EQ(p->scale, 1.0f);
    EXPECT_EQ(p->scalex, 1.0f);
    EXPECT_EQ(p->scaley, 1.0f);
    EXPECT_EQ(p->grow, 1.0f);
    EXPECT_EQ(p->growx, 1.0f);
    EXPECT_EQ(p->growy, 1.0f);
    EXPECT_EQ(p->clr.r, 1.0f);
    EXPECT_EQ(p->clr.g, 1.0f);
    EXPECT_EQ(p->clr.b, 1.0f);
    EXPECT_EQ(p->clr.a, 1.0f);
    EXPECT_EQ(p->pos.x, 0.0f);
    EXPECT_EQ(p->vel.y, 0.0f);
    EXPECT_EQ(p->angle, 0.0f);
    EXPECT_EQ(p->wait, 0);
    EXPECT_EQ(p->hide, 0);
    EXPECT_EQ(p->fade, 0.0f);
    EXPECT_EQ(p->additive, 0);
    EXPECT_EQ(p->spriteid, 0u);
    EXPECT_EQ(p->root, nullptr);
}

TEST_F(Particles, AFreedSlotComesBackWithNothingOfItsLastUse)
{
    PARTICLE *p = particle_new();
    p->pos = {5.0f, 6.0f};
    p->vel = {1.0f, 1.0f};
    p->wait = 4;
    p->hide = 1;
    p->additive = 1;
    p->spriteid = 99;
    p->fade = 3.0f;
    p->clr = {0.1f, 0.2f, 0.3f, 0.4f};
    p->root = p;
    particle_free(p);
    PARTICLE *again = particle_new();
    ASSERT_EQ(again, p) << "the search starts at the slot handed out last";
    EXPECT_EQ(again->pos.x, 0.0f);
    EXPECT_EQ(again->vel.x, 0.0f);
    EXPECT_EQ(again->wait, 0);
    EXPECT_EQ(again->hide, 0);
    EXPECT_EQ(again->additive, 0);
    EXPECT_EQ(again->spriteid, 0u);
    EXPECT_EQ(again->fade, 0.0f);
    EXPECT_EQ(again->clr.r, 1.0f);
    EXPECT_EQ(again->root, nullptr);
    EXPECT_EQ(again->ticks, 1);
}

TEST_F(Particles, IdCountsTheOccupiedSlotsSkipped)
{
    std::vector<PARTICLE *> all;
    for (int i = 0; i < PARTICLES_MAX; i++)
        all.push_back(particle_new());
    EXPECT_EQ(all[0]->id, 0);
    EXPECT_EQ(all[1]->id, 1) << "the newest slot itself was occupied";
    particle_free(all[5]);
    // The newest is slot 127: the search passes 127, 0, 1, 2, 3, 4 before slot 5
    PARTICLE *p = particle_new();
    EXPECT_EQ(p, all[5]);
    EXPECT_EQ(p->id, 6);
}

TEST_F(Particles, The129thParticleIsTheSharedSpareThatIsNeverUpdatedOrDrawn)
{
    std::vector<PARTICLE *> all;
    for (int i = 0; i < PARTICLES_MAX; i++)
        all.push_back(particle_new());
    PARTICLE *spare = particle_new();
    for (PARTICLE *p : all)
        ASSERT_NE(spare, p);
    spare->update = spare_update;
    spare->draw = spare_draw;
    spare->ticks = 5;
    PARTICLE *again = particle_new();
    EXPECT_EQ(again, spare) << "several callers share it";
    EXPECT_EQ(again->ticks, 5) << "handing it out again does not reset it";
    update_quietly();
    draw_quietly(0);
    draw_quietly(1);
    EXPECT_EQ(spare_updates, 0);
    EXPECT_EQ(spare_draws, 0);
}

TEST_F(Particles, FreeClearsTheHooksAndTheTicksOnly)
{
    PARTICLE *p = particle_new();
    p->ticks = 9;
    p->pos = {3.0f, 4.0f};
    particle_free(p);
    EXPECT_EQ(p->update, nullptr);
    EXPECT_EQ(p->draw, nullptr);
    EXPECT_EQ(p->ticks, 0);
    EXPECT_EQ(p->pos.x, 3.0f);
}

// --- The update pass ---

TEST_F(Particles, AParticleWithThreeTicksIsUpdatedThreeTimesThenFreed)
{
    PARTICLE *p = recorder(3);
    for (int tick = 1; tick <= 3; tick++) {
        update_quietly();
        EXPECT_EQ(updated.size(), static_cast<size_t>(tick));
        EXPECT_EQ(p->ticks, 3 - tick);
        EXPECT_NE(p->update, nullptr) << "still live after tick " << tick;
    }
    update_quietly();
    EXPECT_EQ(updated.size(), 3u);
    EXPECT_EQ(p->update, nullptr) << "freed on the tick after its last update";
}

TEST_F(Particles, WaitThreeTicksTwoIsHiddenThreeTicksThenUpdatedTwiceThenFreed)
{
    PARTICLE *p = recorder(2);
    p->wait = 3;
    std::vector<int> hidden;
    std::vector<size_t> updates;
    std::vector<size_t> draws;
    for (int tick = 0; tick < 6; tick++) {
        update_quietly();
        draw_quietly(0);
        hidden.push_back(p->hide);
        updates.push_back(updated.size());
        draws.push_back(drawn.size());
    }
    EXPECT_EQ(hidden, (std::vector<int>{1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(updates, (std::vector<size_t>{0, 0, 0, 1, 2, 2}));
    EXPECT_EQ(draws, (std::vector<size_t>{0, 0, 0, 1, 2, 2})) << "hidden particles are not drawn";
    EXPECT_EQ(p->update, nullptr);
    EXPECT_EQ(p->wait, 0);
}

TEST_F(Particles, DefaultUpdateMovesSpinsAndGrows)
{
    PARTICLE *p = particle_new();
    p->pos = {1.0f, 2.0f};
    p->vel = {0.5f, -1.0f};
    p->angle = 10.0f;
    p->rotate = 5.0f;
    p->scale = 2.0f;
    p->grow = 0.5f;
    p->growx = 2.0f;
    p->scaley = 3.0f;
    p->growy = 4.0f;
    particle_default_update(p);
    EXPECT_EQ(p->pos.x, 1.5f);
    EXPECT_EQ(p->pos.y, 1.0f);
    EXPECT_EQ(p->angle, 15.0f);
    EXPECT_EQ(p->scale, 1.0f);
    EXPECT_EQ(p->scalex, 2.0f);
    EXPECT_EQ(p->scaley, 12.0f);
}

TEST_F(Particles, UpdateRunsTheDefaultHookEveryTick)
{
    PARTICLE *p = particle_new();
    p->ticks = 4;
    p->vel = {2.0f, 1.0f};
    for (int i = 0; i < 4; i++)
        update_quietly();
    EXPECT_EQ(p->pos.x, 8.0f);
    EXPECT_EQ(p->pos.y, 4.0f);
}

TEST_F(Particles, UpdateVisitsTheNewestParticleFirst)
{
    PARTICLE *a = recorder(5);
    PARTICLE *b = recorder(5);
    PARTICLE *c = recorder(5);
    update_quietly();
    EXPECT_EQ(updated, (std::vector<PARTICLE *>{c, b, a}));
}

// --- The draw passes ---

TEST_F(Particles, DrawPlacesAParticleAtItsWorldPositionMinusTheCamera)
{
    PARTICLE *p = recorder(5);
    p->pos = {100.0f, 50.0f};
    p->angle = 30.0f;
    p->clr = {0.5f, 0.25f, 1.0f, 0.1f};
    turtle_set_pos_unscaled(0.0, 0.0);
    draw_quietly(0, 10.0f, 20.0f);
    ASSERT_EQ(drawn.size(), 1u);
    const TURTLE &t = drawn_turtle[0];
    EXPECT_NEAR(t.x, 90.0, NEAR);
    EXPECT_NEAR(t.y, 30.0, NEAR);
    EXPECT_EQ(t.angle, 30.0);
    EXPECT_EQ(t.r, 0.5);
    EXPECT_EQ(t.g, 0.25);
    EXPECT_EQ(t.b, 1.0);
    EXPECT_EQ(t.a, 1.0) << "the pass sets the colour opaque";
}

TEST_F(Particles, DrawMovesInTheTurtlesScaledFrame)
{
    PARTICLE *p = recorder(5);
    p->pos = {100.0f, 50.0f};
    turtle_set_scale(2.0);
    turtle_set_pos_unscaled(7.0, 3.0);
    draw_quietly(0, 10.0f, 20.0f);
    ASSERT_EQ(drawn.size(), 1u);
    EXPECT_NEAR(drawn_turtle[0].x, 7.0 + 180.0, NEAR);
    EXPECT_NEAR(drawn_turtle[0].y, 3.0 + 60.0, NEAR);
}

TEST_F(Particles, DrawPutsTheTurtleBackAfterEachParticle)
{
    PARTICLE *a = recorder(5);
    a->pos = {10.0f, 10.0f};
    a->draw = wandering_draw;
    PARTICLE *b = recorder(5);
    b->pos = {20.0f, 30.0f};
    b->draw = wandering_draw;
    turtle_set_pos_unscaled(1.0, 2.0);
    std::vector<unsigned char> before = turtle_bytes();
    draw_quietly(0);
    EXPECT_EQ(turtle_bytes(), before);
    ASSERT_EQ(drawn.size(), 2u);
    EXPECT_EQ(drawn[0], b) << "newest first";
    EXPECT_NEAR(drawn_turtle[1].x, 11.0, NEAR) << "the second starts from the saved turtle";
    EXPECT_NEAR(drawn_turtle[1].y, 12.0, NEAR);
    EXPECT_EQ(drawn_turtle[1].scalex, 1.0);
}

TEST_F(Particles, EachPassDrawsOnlyItsOwnParticles)
{
    PARTICLE *normal = recorder(5);
    PARTICLE *added = recorder(5);
    added->additive = 5;
    draw_quietly(0);
    EXPECT_EQ(drawn, std::vector<PARTICLE *>{normal});
    drawn.clear();
    draw_quietly(1);
    EXPECT_EQ(drawn, std::vector<PARTICLE *>{added});
    drawn.clear();
    draw_quietly(7);
    EXPECT_EQ(drawn, std::vector<PARTICLE *>{added}) << "any non-zero pass is the additive one";
}

TEST_F(Particles, DrawSkipsHiddenParticlesAndThoseWithoutADrawer)
{
    PARTICLE *hidden = recorder(5);
    hidden->hide = 1;
    PARTICLE *bare = recorder(5);
    bare->draw = nullptr;
    PARTICLE *shown = recorder(5);
    draw_quietly(0);
    EXPECT_EQ(drawn, std::vector<PARTICLE *>{shown});
}

// --- The drawers ---

TEST_F(Particles, DefaultLookIsAYellowDiamondOfRadiusTen)
{
    PARTICLE *p = particle_new();
    p->pos = {50.0f, 40.0f};
    draw_quietly(0);
    ASSERT_EQ(vertex_count, 6u) << "the centre and four rim points, the first repeated to close";
    ASSERT_EQ(element_count, 12u);
    expect_vertex(0, 50.0f, 40.0f);
    expect_vertex(1, 50.0f, 30.0f);
    expect_vertex(2, 60.0f, 40.0f);
    expect_vertex(3, 50.0f, 50.0f);
    expect_vertex(4, 40.0f, 40.0f);
    for (unsigned i = 0; i < vertex_count; i++) {
        SCOPED_TRACE(i);
        EXPECT_EQ(colour_list[i].r, 255);
        EXPECT_EQ(colour_list[i].g, 255);
        EXPECT_EQ(colour_list[i].b, 0);
        EXPECT_EQ(colour_list[i].a, 255);
    }
}

TEST_F(Particles, AlphaDrawPlotsTheSpriteIntoBatchZeroInItsColour)
{
    PARTICLE *p = sprite_particle(100.0f, 50.0f, alpha_draw);
    p->clr = {1.0f, 0.5f, 0.25f, 0.8f};
    draw_quietly(0);
    ASSERT_EQ(atlas_[0].batch[0].count, 1);
    EXPECT_EQ(atlas_[0].batch[1].count, 0);
    QUAD q = quad_of(0, 0);
    EXPECT_NEAR(q.cx, 100.0f, NEAR);
    EXPECT_NEAR(q.cy, 50.0f, NEAR);
    EXPECT_NEAR(q.w, PIECE_W, NEAR);
    EXPECT_NEAR(q.h, PIECE_H, NEAR);
    EXPECT_EQ(q.u, PIECE_U);
    EXPECT_EQ(q.r, 255);
    EXPECT_EQ(q.g, 127);
    EXPECT_EQ(q.b, 63);
    EXPECT_EQ(q.a, 204);
}

TEST_F(Particles, ASpriteWithFadeTenAndTicksFourIsDrawnAtHalfItsAlpha)
{
    PARTICLE *p = sprite_particle(0.0f, 0.0f, alpha_draw);
    p->fade = 10.0f;
    p->ticks = 4;
    draw_quietly(0);
    ASSERT_EQ(atlas_[0].batch[0].count, 1);
    QUAD q = quad_of(0, 0);
    EXPECT_EQ(q.a, 127) << "f = (4 + 1) / 10";
    EXPECT_EQ(q.r, 255);
    EXPECT_EQ(q.g, 255);
    EXPECT_EQ(q.b, 255);
}

TEST_F(Particles, FadeOnlyActsOverTheLastFadeTicks)
{
    PARTICLE *young = sprite_particle(0.0f, 0.0f, alpha_draw);
    young->fade = 10.0f;
    young->ticks = 30;
    draw_quietly(0);
    PARTICLE *unfaded = sprite_particle(0.0f, 0.0f, alpha_draw);
    unfaded->ticks = 0;
    particle_free(young);
    draw_quietly(0);
    ASSERT_EQ(atlas_[0].batch[0].count, 2);
    EXPECT_EQ(quad_of(0, 0).a, 255) << "f is at most 1";
    EXPECT_EQ(quad_of(0, 1).a, 255) << "fade 0 means no fading";
}

TEST_F(Particles, AdditiveDrawFadesTheColourAndKeepsFullAlphaInBatchOne)
{
    PARTICLE *p = sprite_particle(0.0f, 0.0f, additive_draw);
    p->clr = {1.0f, 0.5f, 1.0f, 0.3f};
    p->fade = 10.0f;
    p->ticks = 4;
    draw_quietly(0);
    EXPECT_EQ(atlas_[0].batch[0].count, 0);
    ASSERT_EQ(atlas_[0].batch[1].count, 1);
    QUAD q = quad_of(1, 0);
    EXPECT_EQ(q.r, 127);
    EXPECT_EQ(q.g, 63);
    EXPECT_EQ(q.b, 127);
    EXPECT_EQ(q.a, 255);
}

TEST_F(Particles, SpriteDrawersScaleTheSpriteOnTopOfTheTurtle)
{
    PARTICLE *p = sprite_particle(10.0f, 10.0f, alpha_draw);
    p->scale = 1.5f;
    p->scalex = 2.0f;
    p->scaley = 0.5f;
    turtle_set_scale(2.0);
    draw_quietly(0);
    QUAD q = quad_of(0, 0);
    EXPECT_NEAR(q.w, PIECE_W * 2.0f * 3.0f, NEAR);
    EXPECT_NEAR(q.h, PIECE_H * 2.0f * 0.75f, NEAR);
    EXPECT_NEAR(q.cx, 20.0f, NEAR);
    EXPECT_NEAR(q.cy, 20.0f, NEAR);
}

TEST_F(Particles, SpriteDrawersTurnTheSpriteToTheParticlesHeading)
{
    PARTICLE *p = sprite_particle(100.0f, 50.0f, additive_draw);
    p->angle = 90.0f;
    draw_quietly(0);
    const BATCH_ITEM *v = atlas_[0].batch[1].entry;
    // Turned a quarter clockwise, the top-left corner (-5, -3) goes to (+3, -5)
    EXPECT_NEAR(v[0].x, 103.0f, NEAR);
    EXPECT_NEAR(v[0].y, 45.0f, NEAR);
    EXPECT_NEAR(v[3].x, 97.0f, NEAR);
    EXPECT_NEAR(v[3].y, 55.0f, NEAR);
}

TEST_F(Particles, FlipxMirrorsTheSprite)
{
    PARTICLE *plain = sprite_particle(0.0f, 0.0f, alpha_draw);
    draw_quietly(0);
    particle_free(plain);
    PARTICLE *mirrored = sprite_particle(0.0f, 0.0f, alpha_draw);
    mirrored->flipx = 1;
    draw_quietly(0);
    ASSERT_EQ(atlas_[0].batch[0].count, 2);
    EXPECT_EQ(quad_of(0, 0).u, PIECE_U);
    EXPECT_EQ(quad_of(0, 1).u, PIECE_U + PIECE_W) << "the left edge takes the right column";
}

TEST_F(Particles, SpriteDrawersPlotNothingForAHiddenParticle)
{
    PARTICLE *p = sprite_particle(0.0f, 0.0f, alpha_draw);
    p->hide = 1;
    quiet([p] {
        alpha_draw(p);
        additive_draw(p);
    });
    EXPECT_EQ(atlas_[0].batch[0].count, 0);
    EXPECT_EQ(atlas_[0].batch[1].count, 0);
}

TEST_F(Particles, SmackDrawIsTwoOppositeTrianglesSizedByTheScale)
{
    PARTICLE *p = particle_new();
    p->pos = {50.0f, 50.0f};
    p->scale = 2.0f;
    p->clr = {1.0f, 0.2f, 0.1f, 0.3f};
    p->draw = smack_draw;
    draw_quietly(0);
    ASSERT_EQ(vertex_count, 6u);
    ASSERT_EQ(element_count, 6u);
    // Forward (up the screen): 6 either side of the base, 20 long
    expect_vertex(0, 44.0f, 50.0f);
    expect_vertex(1, 50.0f, 30.0f);
    expect_vertex(2, 56.0f, 50.0f);
    // Backward
    expect_vertex(3, 44.0f, 50.0f);
    expect_vertex(4, 50.0f, 70.0f);
    expect_vertex(5, 56.0f, 50.0f);
    EXPECT_EQ(colour_list[0].r, 255);
    EXPECT_EQ(colour_list[0].g, 51);
    EXPECT_EQ(colour_list[0].b, 25);
    EXPECT_EQ(colour_list[0].a, 255) << "opaque whatever the particle's alpha";
}

TEST_F(Particles, SmackDrawPointsAlongTheParticlesHeading)
{
    PARTICLE *p = particle_new();
    p->pos = {50.0f, 50.0f};
    p->angle = 90.0f;
    p->draw = smack_draw;
    draw_quietly(0);
    ASSERT_EQ(vertex_count, 6u);
    expect_vertex(1, 60.0f, 50.0f);
    expect_vertex(4, 40.0f, 50.0f);
}

// --- The effects ---

TEST_F(Particles, SmackBurstMakesSixAdditiveWedgesSpreadByTheGenerator)
{
    constexpr uint32_t SEED = 20240601;
    constexpr float SIZE = 2.0f;
    // The draws in the order the burst makes them: a heading, then per wedge a scale and a turn
    mrand_seed = SEED;
    float a = static_cast<float>(frnd(0.0f, 360.0f));
    std::vector<float> headings;
    std::vector<float> scales;
    for (int n = 0; n < 6; n++) {
        headings.push_back(a);
        scales.push_back(static_cast<float>(frnd(0.9f, 1.1f)) * 2.0f * SIZE);
        a += static_cast<float>(rnd(60, 180));
    }
    PARTICLE *first = particle_new();
    particle_free(first);
    mrand_seed = SEED;
    particle_effect_smack(30.0f, 40.0f, 0.5f, -0.25f, SIZE, 0);
    for (int n = 0; n < 6; n++) {
        SCOPED_TRACE(n);
        const PARTICLE &p = first[n];
        EXPECT_EQ(p.additive, 1);
        EXPECT_EQ(p.pos.x, 30.0f);
        EXPECT_EQ(p.pos.y, 40.0f);
        EXPECT_EQ(p.ticks, 10);
        EXPECT_EQ(p.angle, headings[n]);
        EXPECT_EQ(p.scale, scales[n]);
        EXPECT_GE(p.scale, 0.9f * 2.0f * SIZE);
        EXPECT_LE(p.scale, 1.1f * 2.0f * SIZE + NEAR);
        EXPECT_EQ(p.grow, 0.8f);
        EXPECT_EQ(p.update, particle_default_update);
        EXPECT_EQ(p.draw, smack_draw);
        EXPECT_EQ(p.clr.a, 1.0f);
        float vx = 0.0f;
        float vy = 0.0f;
        calc_xy(headings[n], 1.5f * SIZE, &vx, &vy);
        EXPECT_NEAR(p.vel.x, vx + 0.5f, NEAR);
        EXPECT_NEAR(p.vel.y, vy - 0.25f, NEAR);
        // 1.5 x size, within the table's resolution (sine and cosine may be a step apart)
        EXPECT_NEAR(std::hypot(p.vel.x - 0.5f, p.vel.y + 0.25f), 3.0f, 1e-2f);
        if (n > 0) {
            float turn = headings[n] - headings[n - 1];
            EXPECT_GE(turn, 60.0f);
            EXPECT_LE(turn, 180.0f);
        }
    }
    EXPECT_EQ(first[6].update, nullptr) << "six wedges, no more";
}

TEST_F(Particles, SmackColourFollowsTheKind)
{
    struct ROW {
        int kind;
        float r, g, b;
    };
    const ROW rows[] = {
        {1, 1.0f, 0.2f, 0.1f},  {0, 0.9f, 0.7f, 0.1f},  {2, 0.9f, 0.7f, 0.1f},  {9, 0.9f, 0.7f, 0.1f},
        {-1, 0.1f, 1.0f, 0.4f}, {-2, 0.1f, 0.8f, 0.8f}, {-7, 0.1f, 0.8f, 0.8f},
    };
    for (const ROW &row : rows) {
        SCOPED_TRACE(row.kind);
        quiet(particles_init);
        PARTICLE *first = particle_new();
        particle_free(first);
        particle_effect_smack(0.0f, 0.0f, 0.0f, 0.0f, 1.0f, row.kind);
        for (int n = 0; n < 6; n++) {
            EXPECT_EQ(first[n].clr.r, row.r);
            EXPECT_EQ(first[n].clr.g, row.g);
            EXPECT_EQ(first[n].clr.b, row.b);
        }
    }
}

TEST_F(Particles, SmackWedgesFlyAndShrinkForTenTicksThenGo)
{
    PARTICLE *first = particle_new();
    particle_free(first);
    particle_effect_smack(0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1);
    XY vel = first[0].vel;
    float scale = first[0].scale;
    for (int i = 0; i < 10; i++)
        update_quietly();
    EXPECT_NEAR(first[0].pos.x, 10.0f * vel.x, NEAR);
    EXPECT_NEAR(first[0].pos.y, 10.0f * vel.y, NEAR);
    EXPECT_NEAR(first[0].scale, scale * std::pow(0.8f, 10.0f), NEAR);
    update_quietly();
    for (int n = 0; n < 6; n++)
        EXPECT_EQ(first[n].update, nullptr) << n;
}

TEST_F(Particles, SmackBurstIsDrawnInTheAdditivePassOnly)
{
    particle_effect_smack(50.0f, 50.0f, 0.0f, 0.0f, 1.0f, -1);
    draw_quietly(0);
    EXPECT_EQ(element_count, 0u);
    draw_quietly(1);
    EXPECT_EQ(element_count, 6u * 2u * 3u) << "two triangles a wedge";
    EXPECT_EQ(colour_list[0].r, 25);
    EXPECT_EQ(colour_list[0].g, 255);
    EXPECT_EQ(colour_list[0].b, 102);
}

TEST_F(Particles, SpriteEffectIsAWhiteParticleOfThirtyTicks)
{
    PARTICLE *p = particle_effect_sprite(30.0f, 40.0f, 0);
    EXPECT_EQ(p->pos.x, 30.0f);
    EXPECT_EQ(p->pos.y, 40.0f);
    EXPECT_EQ(p->ticks, 30);
    EXPECT_EQ(p->clr.r, 1.0f);
    EXPECT_EQ(p->clr.g, 1.0f);
    EXPECT_EQ(p->clr.b, 1.0f);
    EXPECT_EQ(p->clr.a, 1.0f);
    EXPECT_EQ(p->update, particle_default_update);
    EXPECT_EQ(p->draw, alpha_draw);
    EXPECT_EQ(particle_effect_sprite(0.0f, 0.0f, 3)->draw, additive_draw);
}

TEST_F(Particles, SpriteEffectLivesThirtyTicks)
{
    PARTICLE *p = particle_effect_sprite(0.0f, 0.0f, 0);
    for (int i = 0; i < 30; i++)
        update_quietly();
    EXPECT_NE(p->update, nullptr);
    update_quietly();
    EXPECT_EQ(p->update, nullptr);
}

TEST_F(Particles, AnAdditiveSpriteEffectIsDrawnInTheNormalPassIntoTheAdditiveBatch)
{
    PARTICLE *p = particle_effect_sprite(20.0f, 10.0f, 1);
    p->spriteid = PIECE;
    EXPECT_EQ(p->additive, 0);
    draw_quietly(1);
    EXPECT_EQ(atlas_[0].batch[1].count, 0);
    draw_quietly(0);
    ASSERT_EQ(atlas_[0].batch[1].count, 1);
    EXPECT_EQ(atlas_[0].batch[0].count, 0);
    QUAD q = quad_of(1, 0);
    EXPECT_NEAR(q.cx, 20.0f, NEAR);
    EXPECT_NEAR(q.cy, 10.0f, NEAR);
}
