// particles: a fixed pool of short-lived visual particles (see particles.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions: the pool
// [SECTION] Public functions: hooks
// [SECTION] Public functions: effects
#include "particles.h"

#include <algorithm>
#include <array>

#include "atlas.h"
#include "calc.h"
#include "poly.h"
#include "rnd.h"
#include "sprite.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr int PARTICLES_MASK = PARTICLES_MAX - 1;
static_assert((PARTICLES_MAX & PARTICLES_MASK) == 0, "the ring is walked with a mask");

constexpr int BATCH_ALPHA = 0;     // the sprite batch drawn with alpha blending
constexpr int BATCH_ADDITIVE = 1;  // the sprite batch drawn additively

// The default look: a yellow disc of radius 10 in 4 segments
constexpr RGB DEFAULT_COLOUR = {1.0f, 1.0f, 0.0f};
constexpr float DEFAULT_RADIUS = 10.0f;
constexpr int DEFAULT_SEGMENTS = 4;

// A smack wedge: 3s either side of its base, 10s long, s being the particle's scale
constexpr float WEDGE_HALF_BASE = 3.0f;
constexpr float WEDGE_LENGTH = 10.0f;

// The smack burst
constexpr int SMACK_WEDGES = 6;
constexpr int SMACK_TICKS = 10;             // lifetime of a wedge
constexpr float SMACK_SCALE_MIN = 0.9f;     // a wedge's scale: 2 x size x a random factor in this range
constexpr float SMACK_SCALE_MAX = 1.1f;
constexpr float SMACK_SCALE = 2.0f;
constexpr float SMACK_GROW = 0.8f;          // wedges shrink by this each tick
constexpr float SMACK_SPEED = 1.5f;         // pixels a tick, times size
constexpr int SMACK_TURN_MIN = 60;          // degrees between one wedge's heading and the next
constexpr int SMACK_TURN_MAX = 180;
constexpr RGB SMACK_RED = {1.0f, 0.2f, 0.1f};     // kind 1
constexpr RGB SMACK_ORANGE = {0.9f, 0.7f, 0.1f};  // kind 0 and 2 or more
constexpr RGB SMACK_GREEN = {0.1f, 1.0f, 0.4f};   // kind -1
constexpr RGB SMACK_CYAN = {0.1f, 0.8f, 0.8f};    // kind -2 or less

constexpr int SPRITE_EFFECT_TICKS = 30;     // lifetime of a sprite effect

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
static std::array<PARTICLE, PARTICLES_MAX> particles;  // the ring
static int latest = 0;                  // the slot handed out most recently
static int init = 0;                    // the pool was set up
static SPRITE *sprites = nullptr;       // the start of the sprite table
static PARTICLE dummy;                  // handed out when the pool is full; never updated or drawn

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// The slot `back` places before the newest one, around the ring
static PARTICLE &particles_slot(int newest, int back)
{
    return particles[static_cast<unsigned>(newest - back) & PARTICLES_MASK];
}

// How much of a sprite particle's opacity is left: 1, or fading out over its last `fade` ticks
static float particle_fade_factor(const PARTICLE *p)
{
    if (p->fade == 0.0f)
        return 1.0f;
    return std::min(1.0f, static_cast<float>(p->ticks + 1) / p->fade);
}

// Plot a particle's sprite into a batch: at its heading, scaled on top of the turtle's scale
static void particle_plot_sprite(const PARTICLE *p, int batch)
{
    turtle_set_angle(p->angle);
    turtle_set_scalex(turtle.scalex * (p->scale * p->scalex));
    turtle_set_scaley(turtle.scaley * (p->scale * p->scaley));
    sprite_batch_plot(&sprites[p->spriteid & (SPRITE_MAX - 1)], p->flipx, batch);
}

// A smack wedge's colour by the burst's kind
static RGB smack_colour(int kind)
{
    if (kind == 1)
        return SMACK_RED;
    if (kind >= 0)
        return SMACK_ORANGE;
    if (kind == -1)
        return SMACK_GREEN;
    return SMACK_CYAN;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: the pool
//----------------------------------------------------------------------------------
// Every slot free and zero
void particles_init()
{
    lum_log("PARTICLES INIT");
    particles.fill(PARTICLE{});
    sprites = sprite_get(0);
    latest = 0;
    init = 1;
}

// The first free slot from the newest one on, zeroed and given the defaults: the default
// hooks, one tick to live, scales and growths 1, opaque white. When all slots are in use, the
// one spare record, shared by every caller that gets it.
PARTICLE *particle_new()
{
    for (int i = 0; i < PARTICLES_MAX; i++) {
        int index = (latest + i) & PARTICLES_MASK;
        PARTICLE *p = &particles[index];
        if (p->update)
            continue;
        *p = PARTICLE{};
        p->update = particle_default_update;
        p->draw = default_draw;
        p->ticks = 1;
        p->scale = p->scalex = p->scaley = 1.0f;
        p->grow = p->growx = p->growy = 1.0f;
        p->clr = {1.0f, 1.0f, 1.0f, 1.0f};
        p->id = i;
        latest = index;
        return p;
    }
    return &dummy;
}

// Free a slot; its record keeps everything else
void particle_free(PARTICLE *p)
{
    p->update = nullptr;
    p->draw = nullptr;
    p->ticks = 0;
}

// One logic tick, newest first: a particle out of ticks is freed, a waiting one counts its wait
// down hidden, any other runs its hook and loses a tick. So a particle made with n ticks is
// updated n times and freed on the tick after.
// NOTE: the walk starts from the particle that was newest when the tick began; particles made
// by hooks during the walk are reached only if their slot comes later in it.
void particles_update()
{
    if (!init)
        particles_init();
    int newest = latest;
    for (int i = 0; i < PARTICLES_MAX; i++) {
        PARTICLE &p = particles_slot(newest, i);
        if (!p.update)
            continue;
        if (p.ticks < 1) {
            particle_free(&p);
        } else if (p.wait > 0) {
            p.wait--;
            p.hide = 1;
        } else {
            p.update(&p);
            p.ticks--;
            p.hide = 0;
        }
    }
}

// Draw the particles of one pass, newest first, each at its world position minus the camera in
// the turtle's frame, turned by its heading and tinted by its colour; the turtle is put back
// after each
void particles_draw(int additive, float cx, float cy)
{
    if (!init)
        return;
    const TURTLE saved = turtle;
    int newest = latest;
    for (int i = 0; i < PARTICLES_MAX; i++) {
        PARTICLE &p = particles_slot(newest, i);
        if (!p.draw || (p.additive != 0) != (additive != 0) || p.hide)
            continue;
        turtle_set_rgb(p.clr.r, p.clr.g, p.clr.b);
        turtle_trans(p.pos.x - cx, -(p.pos.y - cy));
        turtle_turn(p.angle);
        p.draw(&p);
        turtle = saved;
    }
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: hooks
//----------------------------------------------------------------------------------
// Move by the velocity, spin, and grow every scale by its multiplier
void particle_default_update(PARTICLE *p)
{
    p->pos.x += p->vel.x;
    p->pos.y += p->vel.y;
    p->angle += p->rotate;
    p->scale *= p->grow;
    p->scalex *= p->growx;
    p->scaley *= p->growy;
}

// A yellow disc at the turtle, for particles nobody gave a look
void default_draw(PARTICLE *)
{
    turtle_set_rgb(DEFAULT_COLOUR.r, DEFAULT_COLOUR.g, DEFAULT_COLOUR.b);
    poly_circle(DEFAULT_RADIUS, DEFAULT_SEGMENTS);
}

// The sprite into the alpha-blended batch; fading lowers its opacity
void alpha_draw(PARTICLE *p)
{
    if (p->hide)
        return;
    float f = particle_fade_factor(p);
    turtle_set_rgba(p->clr.r, p->clr.g, p->clr.b, p->clr.a * f);
    particle_plot_sprite(p, BATCH_ALPHA);
}

// The sprite into the additive batch; fading darkens its colour, as adding black adds nothing
void additive_draw(PARTICLE *p)
{
    if (p->hide)
        return;
    float f = particle_fade_factor(p);
    turtle_set_rgba(p->clr.r * f, p->clr.g * f, p->clr.b * f, 1.0);
    particle_plot_sprite(p, BATCH_ADDITIVE);
}

// Two triangles on the turtle, one pointing forward and one backward, sized by the scale
void smack_draw(PARTICLE *p)
{
    turtle_set_rgb(p->clr.r, p->clr.g, p->clr.b);
    turtle_set_angle(p->angle);
    float s = p->scale;
    poly_bar(WEDGE_HALF_BASE * s, WEDGE_LENGTH * s, 0.0f);
    poly_bar(WEDGE_HALF_BASE * s, -WEDGE_LENGTH * s, 0.0f);
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions: effects
//----------------------------------------------------------------------------------
// Six shrinking wedges fly out from (x, y) at headings 60 to 180 degrees apart, starting at a
// random one, each carried along by (vx, vy) too
void particle_effect_smack(float x, float y, float vx, float vy, float size, int kind)
{
    float a = static_cast<float>(frnd(0.0f, 360.0f));
    RGB colour = smack_colour(kind);
    for (int n = 0; n < SMACK_WEDGES; n++) {
        PARTICLE *p = particle_new();
        p->additive = 1;
        p->pos = {x, y};
        p->ticks = SMACK_TICKS;
        p->scale = static_cast<float>(frnd(SMACK_SCALE_MIN, SMACK_SCALE_MAX)) * SMACK_SCALE * size;
        p->angle = a;
        p->clr = {colour.r, colour.g, colour.b, 1.0f};
        p->draw = smack_draw;
        p->grow = SMACK_GROW;
        calc_xy(a, SMACK_SPEED * size, &p->vel.x, &p->vel.y);
        p->vel.x += vx;
        p->vel.y += vy;
        a += static_cast<float>(rnd(SMACK_TURN_MIN, SMACK_TURN_MAX));
    }
}

// One sprite particle in white for 30 ticks, drawn additively or alpha-blended.
// NOTE: only the drawer is chosen here; the particle's pass flag stays 0, so it is drawn in the
// normal pass, into the additive batch when additive_draw is its drawer.
PARTICLE *particle_effect_sprite(float x, float y, int additive)
{
    PARTICLE *p = particle_new();
    p->pos = {x, y};
    p->ticks = SPRITE_EFFECT_TICKS;
    p->clr = {1.0f, 1.0f, 1.0f, 1.0f};
    p->draw = additive ? additive_draw : alpha_draw;
    return p;
}
