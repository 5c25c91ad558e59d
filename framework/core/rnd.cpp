// rnd: a fast 16-bit pseudo-random generator (see rnd.h).
#include "rnd.h"

#include <climits>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// The step's constants are part of the system: sequences from a known seed must repeat.
constexpr uint32_t MRAND_MUL = 1103515245u;
constexpr uint32_t MRAND_ADD = 12345u;
constexpr uint32_t MRAND_ODD_MIX = 0xD0000001u;

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
uint32_t mrand_seed = 0;

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// One generator step on a seed: linear congruence, then a shift-xor mix; the top 16 bits out
unsigned mrand_ex(uint32_t *seed)
{
    uint32_t s = *seed * MRAND_MUL + MRAND_ADD;
    uint32_t t = (s >> 1) ^ s;
    if (s & 1u)
        t ^= MRAND_ODD_MIX;
    *seed = t;
    return t >> 16;
}

unsigned mrand()
{
    return mrand_ex(&mrand_seed);
}

// An integer between the two bounds, both included
int rnd(int min, int max)
{
    int lo = min < max ? min : max;
    int hi = min < max ? max : min;
    // Unsigned arithmetic: the span of the full int range wraps to 0 and then needs no modulo.
    uint32_t span = static_cast<uint32_t>(hi) - static_cast<uint32_t>(lo) + 1u;
    uint32_t r = span ? mrand() % span : mrand();
    return static_cast<int>(static_cast<uint32_t>(lo) + r);
}

// A float between the bounds; the difference is taken as a float, as the callers expect
double frnd(float min, float max)
{
    return min + static_cast<float>(mrand()) * (max - min) / 65535.0f;
}

int rnd5050()
{
    return (mrand() >> 15) & 1;
}

float rndsign()
{
    return rnd5050() ? -1.0f : 1.0f;
}

int dice(int rolls, int sides)
{
    int sum = 0;
    for (int i = 0; i < rolls; i++)
        sum += rnd(1, sides);
    return sum;
}

int onein(int num)
{
    if (num == 0)
        return 1;
    int n = num > 0 ? num : (num == INT_MIN ? INT_MAX : -num);
    return rnd(1, n) == 1;
}

// Pick an entry with chance proportional to its weight.
// NOTE: a non-zero max not above the total restricts the draw to the first max units of the
// cumulative weight, favouring the front of the list.
const WEIGHTED_CHOICE *choose_weighted_item_ex(const WEIGHTED_CHOICE *itemlist, int max)
{
    if (!itemlist)
        return nullptr;
    int n = 0;
    uint32_t total = 0;
    for (const WEIGHTED_CHOICE *e = itemlist; e->id || e->info || e->weight; e++) {
        n++;
        total += e->weight;
    }
    if (n == 0)
        return nullptr;
    if (total == 0)
        total = 1;
    uint32_t divisor = (max != 0 && static_cast<uint32_t>(max) <= total) ? static_cast<uint32_t>(max) : total;
    int r = static_cast<int>(mrand() % divisor);
    uint32_t sum = 0;
    for (int i = 0; i < n; i++) {
        sum += itemlist[i].weight;
        if (r < static_cast<int>(sum))
            return &itemlist[i];
    }
    return nullptr;
}

const WEIGHTED_CHOICE *choose_weighted_item(const WEIGHTED_CHOICE *itemlist)
{
    return choose_weighted_item_ex(itemlist, 0);
}
