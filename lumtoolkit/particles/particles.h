// particles: a fixed pool of short-lived visual particles.
// Each particle has a position, velocity, spin, growth, colour, a lifetime in logic ticks and two
// hooks, one called every logic tick and one every drawn frame. They are drawn as sprites of the
// sprite table into an atlas's batches, or as polygons. The pool is a ring of 128 records; when
// all are in use a spare record is handed out instead, which is never updated or drawn. Two
// ready-made effects: a burst of six "smack" wedges and a single sprite.
// Depends on: atlas (the sprite records), sprite (the sprite table, batches), turtle (placement, colour), poly (wedges and
// the default disc), calc (velocity from a heading), rnd (the burst's spread), lum (log line,
// XY, RGBA).
#pragma once

#include <cstdint>

#include "lum.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PARTICLES_MAX = 128;  // records in the pool (a power of two: the ring is masked)

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct PARTICLE;
using PARTICLE_FUNC = void (*)(PARTICLE *p);  // a particle's per-tick or per-frame hook

// One particle. Fields marked "free" are the effect's own; the pool never reads them.
struct PARTICLE {
    int32_t id;                    // occupied slots particle_new skipped to find this one
    XY pos;                        // position in world pixels
    XY vel;                        // added to pos each tick by the default update
    float angle;                   // heading in degrees (clockwise, 0 = up)
    float rotate;                  // added to angle each tick
    float scale, scalex, scaley;   // overall and per-axis scale
    float grow, growx, growy;      // per-tick multipliers of scale, scalex, scaley
    int32_t flipx;                 // non-zero: the sprite is drawn mirrored
    int32_t hint;                  // free
    uint32_t targetid;             // free
    uint32_t spriteid;             // sprite table index the sprite drawers draw
    PARTICLE *root;                // free
    RGBA clr, clr_start, clr_end;  // current colour; start and end colours, free for fading
    int32_t clr_lerp;              // free
    int32_t wait;                  // ticks to stay frozen and hidden before living
    int32_t ticks;                 // remaining lifetime in ticks
    int32_t hide;                  // set while waiting; hidden particles are not drawn
    int32_t start_ticks;           // free
    float fade_in;                 // free
    float fade;                    // the sprite drawers fade out over the last `fade` ticks; 0 none
    int32_t additive;              // drawn in the additive pass
    PARTICLE_FUNC update;          // per-tick hook; null marks the slot free
    PARTICLE_FUNC draw;            // per-frame hook
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The pool
void particles_init();             // empty the pool
PARTICLE *particle_new();          // a particle with defaults; the shared spare when all are in use
void particle_free(PARTICLE *p);   // the slot becomes free
void particles_update();           // one logic tick of every live particle, newest first
// Draw one pass (the additive flag zero or not) relative to the camera (cx, cy), newest first;
// nothing before the pool's first set-up
void particles_draw(int additive, float cx, float cy);

// Hooks
void particle_default_update(PARTICLE *p);  // move, spin and grow
void default_draw(PARTICLE *p);             // a yellow disc of radius 10 in 4 segments (a diamond)
void alpha_draw(PARTICLE *p);               // the sprite into batch 0, faded by its alpha
void additive_draw(PARTICLE *p);            // the sprite into batch 1, faded by its colour
void smack_draw(PARTICLE *p);               // two opposite triangles

// Effects
// Six wedges flying apart from (x, y) with the extra velocity (vx, vy); kind picks the colour:
// 1 red, 0 or 2 and more orange, -1 green, -2 and less cyan
void particle_effect_smack(float x, float y, float vx, float vy, float size, int kind);
// One white sprite particle living 30 ticks; the caller sets spriteid and the rest
PARTICLE *particle_effect_sprite(float x, float y, int additive);
