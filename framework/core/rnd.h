// rnd: a fast 16-bit pseudo-random generator and convenience draws.
// The global seed is set from the calendar time at start-up, so runs differ; a caller that
// wants a reproducible sequence keeps its own seed and draws with mrand_ex.
// Depends on: nothing.
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// One entry of a weighted list; a list ends with an entry whose three fields are all 0.
struct WEIGHTED_CHOICE {
    int id;           // the caller's identifier
    int info;         // a caller's value
    uint32_t weight;  // relative weight
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern uint32_t mrand_seed;  // the global generator state

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
unsigned mrand();                       // next value 0..65535 from mrand_seed
unsigned mrand_ex(uint32_t *seed);      // the same step on the caller's seed
int rnd(int min, int max);              // an integer in the closed range, bounds in either order
double frnd(float min, float max);      // min + mrand() * (max - min) / 65535: both bounds can occur
int rnd5050();                          // 0 or 1
float rndsign();                        // -1 or 1
int dice(int rolls, int sides);         // sum of rolls draws of rnd(1, sides); 0 when rolls < 1
int onein(int num);                     // 1 with chance 1/|num|; always 1 for 0
const WEIGHTED_CHOICE *choose_weighted_item_ex(const WEIGHTED_CHOICE *itemlist, int max);
const WEIGHTED_CHOICE *choose_weighted_item(const WEIGHTED_CHOICE *itemlist);
