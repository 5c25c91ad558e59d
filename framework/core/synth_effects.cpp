// synth_effects: sound effects in slots of the synthesiser's stages (see synth_effects.h).
//
// Index of this file:
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Set-up
// [SECTION] Claiming slots
// [SECTION] The hand-over
// [SECTION] Running effects
// [SECTION] The growl
#include "synth_effects.h"

#include <algorithm>
#include <atomic>

#include "log.h"
#include "lum_settings.h"
#include "synth.h"
#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
constexpr int SYNTH_EFFECTS_DEFAULT_MAX = 4;     // slots when 0 is asked for
constexpr int SYNTH_EFFECTS_DEFAULT_SLOTS = 8;   // stages per slot when 0 is asked for
constexpr double SYNTH_EFFECTS_SWEEP_S = 1.0;    // seconds between sweeps of finished tails

std::array<SYNTH_EFFECT_STATE, SYNTH_EFFECTS_MAX> synth_effects;

static int effect_max_ = 0;     // slots in use, 1..32
static int effect_slots_ = 0;   // stages per slot, 1..256
static int cur = 0;             // the rotating search cursor
static int allocated = 0;       // occupied slots, for the log line
static int new_effect = 0;      // set whenever an effect is created; nothing reads it
static SYNTH_EFFECT_STATE dummy; // handed out when no slot can be had
// The hand-over: a slot claimed since the last one is pending, left alone by the audio side until
// the hand-over publishes it; the tick count as handed over is the audio side's clock of ticks
static std::array<std::atomic<uint8_t>, SYNTH_EFFECTS_MAX> pending;
static std::atomic<uint32_t> handed_tick{0};

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// The first stage of slot n
static unsigned slot_base(int n)
{
    return static_cast<unsigned>(n * effect_slots_);
}

// A record as an effect starts: scale and pitch 1, its counters 0
static void start_record(SYNTH_EFFECT_STATE *e)
{
    e->state = 0;
    e->scale = 1.0f;
    e->pitch = 1.0f;
    e->i = e->j = e->k = 0;
}

// Free an occupied slot at tick `now`
static void free_slot(SYNTH_EFFECT_STATE *e, uint32_t now)
{
    e->func = nullptr;
    e->stop_time = now;
    allocated--;
}

//----------------------------------------------------------------------------------
// [SECTION] Set-up
//----------------------------------------------------------------------------------
void synth_effects_init(int voices, int slots)
{
    wrapper_lock_audio();
    if (voices == 0)
        effect_max_ = SYNTH_EFFECTS_DEFAULT_MAX;
    else if (voices > 0)
        effect_max_ = std::min(voices, SYNTH_EFFECTS_MAX);
    if (slots == 0)
        effect_slots_ = SYNTH_EFFECTS_DEFAULT_SLOTS;
    else if (slots > 0)
        effect_slots_ = std::min(slots, static_cast<int>(SYN_MAX_STAGES));
    if (effect_max_ * effect_slots_ > static_cast<int>(SYN_MAX_STAGES))
        effect_max_ = static_cast<int>(SYN_MAX_STAGES) / effect_slots_;
    synth_effects.fill(SYNTH_EFFECT_STATE{});
    for (std::atomic<uint8_t> &p : pending)
        p.store(0, std::memory_order_relaxed);
    allocated = 0;
    const int max = effect_max_;
    const int stages = effect_slots_;
    wrapper_unlock_audio();
    lum_logf("EFFECT MAX   %d\n", max);
    lum_logf("EFFECT SLOTS %d\n", stages);
}

int synth_effects_tail_slot()
{
    return effect_max_ * effect_slots_;
}

// Slots whose mixed stages still sound, with or without a running effect
int synth_effects_active()
{
    wrapper_lock_audio();
    int active = 0;
    for (int n = 0; n < effect_max_; n++)
        if (syn_check_active(&synraw, slot_base(n), static_cast<unsigned>(effect_slots_)))
            active++;
    wrapper_unlock_audio();
    return active;
}

//----------------------------------------------------------------------------------
// [SECTION] Claiming slots
//----------------------------------------------------------------------------------
// Claim a slot, searching from after the cursor: a free silent slot is taken at once; otherwise
// the oldest release tail of lower priority (or equal, when forced) is stolen
int get_effect_ex(SYNTH_EFFECT func, int force, int priority)
{
    if (!func)
        return -2;
    if (!lum_settings.enable_synth || effect_max_ < 1)
        return -1;
    const uint32_t now = lum_ticks;
    const unsigned count = static_cast<unsigned>(effect_slots_);
    int chosen = -1;
    uint32_t best_age = 0;
    for (int visit = 0; visit < effect_max_; visit++) {
        cur = (cur + 1) % effect_max_;
        const SYNTH_EFFECT_STATE &e = synth_effects[cur];
        if (e.func)
            continue;
        if (syn_check_active(&synraw, slot_base(cur), count) == 0) {
            chosen = cur;
            break;
        }
        bool candidate = e.priority < priority || (force && e.priority == priority);
        uint32_t age = now - e.stop_time;
        if (candidate && (chosen < 0 || age > best_age)) {
            chosen = cur;
            best_age = age;
        }
    }
    if (chosen < 0)
        return -1;
    SYNTH_EFFECT_STATE &e = synth_effects[chosen];
    e = SYNTH_EFFECT_STATE{};
    e.func = func;
    e.base = slot_base(chosen);
    pending[static_cast<size_t>(chosen)].store(1, std::memory_order_relaxed);
    syn_enable_range(&synraw, e.base, e.base + count - 1, 0);
    allocated++;
    return chosen;
}

// Start an effect in a slot, forcing out an equal-priority tail when nothing else is free.
// NOTE: the audio device is locked while the slot is claimed (the slot records and the stages are
// the audio thread's too), and only then; the parameters the caller writes next are whole before
// the effect first runs because the audio side leaves the slot alone until the tick's hand-over.
SYNTH_EFFECT_STATE *synth_effect_ex(SYNTH_EFFECT func, int priority)
{
    if (!lum_settings.enable_synth) {
        dummy = SYNTH_EFFECT_STATE{};
        start_record(&dummy);
        return &dummy;
    }
    wrapper_lock_audio();
    int n = get_effect_ex(func, 0, priority);
    if (n < 0) {
        n = get_effect_ex(func, 1, priority);
        if (n >= 0)
            lum_logf("@FORCED EFFECT #%d\n", n);
        else
            lum_logf("NO EFFECTS FREE! (%d) %d / %d\n", n, allocated, effect_max_);
    }
    SYNTH_EFFECT_STATE *e = &dummy;
    if (n >= 0) {
        new_effect = 1;
        e = &synth_effects[n];
    } else {
        dummy = SYNTH_EFFECT_STATE{};
    }
    start_record(e);
    wrapper_unlock_audio();
    return e;
}

SYNTH_EFFECT_STATE *synth_effect(SYNTH_EFFECT func)
{
    return synth_effect_ex(func, 0);
}

//----------------------------------------------------------------------------------
// [SECTION] The hand-over
//----------------------------------------------------------------------------------
// At the end of each logic tick: every slot claimed since the last hand-over is published with a
// release, so the audio thread, whose acquiring read finds it published, sees the whole record
// the tick wrote; then the tick count and the marker. The claim itself needs no ordering of its
// own: it marks the slot pending under the audio lock, so an audio block that starts after the
// claim sees the mark.
void synth_effects_hand_over()
{
    for (std::atomic<uint8_t> &p : pending)
        p.store(0, std::memory_order_release);
    handed_tick.store(lum_ticks);
    lum_settings.synth_effects_state++;
}

int synth_effects_pending(int slot)
{
    if (slot < 0 || slot >= SYNTH_EFFECTS_MAX)
        return 0;
    return pending[static_cast<size_t>(slot)].load(std::memory_order_acquire);
}

//----------------------------------------------------------------------------------
// [SECTION] Running effects
//----------------------------------------------------------------------------------
// Run every effect once, at most once per logic tick (`now`); free the slots whose effects are
// done, sweep finished tails once a second, and trim the engine to the last stage in use.
// `handed_only` leaves the slots not yet handed over alone.
static void run_effects(uint32_t now, bool handed_only)
{
    static uint32_t last_tick = 0;     // the logic tick of the previous run
    static double last_sweep = 0.0;    // the clock at the previous sweep

    const double now_s = lum_seconds();
    if (!lum_settings.enable_synth || effect_max_ == 0 || effect_slots_ == 0 || now == last_tick)
        return;
    const bool sweep = now_s - last_sweep >= SYNTH_EFFECTS_SWEEP_S;
    if (sweep)
        last_sweep = now_s;
    last_tick = now;
    const unsigned count = static_cast<unsigned>(effect_slots_);
    for (int n = 0; n < effect_max_; n++) {
        if (handed_only && synth_effects_pending(n))
            continue;
        SYNTH_EFFECT_STATE *e = &synth_effects[n];
        if (!e->func) {
            if (sweep)
                syn_disable_inactive(&synraw, slot_base(n), count);
            continue;
        }
        if (e->start_time == 0)
            e->start_time = now;
        int result = e->func(e);
        if (result == SYNTH_EFFECT_RELEASE) {
            free_slot(e, now);
        } else if (result == SYNTH_EFFECT_STOP) {
            // NOTE: one stage more than the slot owns, the first of the next slot
            syn_enable_range(&synraw, e->base, e->base + count, 0);
            free_slot(e, now);
        }
    }
    synraw.stages = static_cast<uint32_t>(syn_find_last_used(&synraw) + 1);
}

void synth_effects_update()
{
    run_effects(lum_ticks, false);
}

// The audio callback's run: at the tick last handed over, of the slots handed over. A block that
// falls inside a logic tick runs the effects of the tick before (once), and leaves the slots this
// tick is still writing for the block after its hand-over.
void synth_effects_audio_update()
{
    run_effects(handed_tick.load(), true);
}

//----------------------------------------------------------------------------------
// [SECTION] The growl
//----------------------------------------------------------------------------------
constexpr float GROWL_FREQ = 32.704f;        // Hz (C1), when no frequency is given
constexpr float GROWL_LENGTH_MS = 3000.0f;   // the sweep and the release
constexpr float GROWL_SWEEP_FROM = 1800.0f;  // Hz: the depth of the modulation falls ...
constexpr float GROWL_SWEEP_TO = 200.0f;     // ... to this over the growl
constexpr float GROWL_DUTY = 0.25f;          // the modulator's duty
constexpr float GROWL_ATTACK_MS = 2.0f;
constexpr float GROWL_DECAY_MS = 200.0f;
constexpr float GROWL_SUSTAIN = 0.9f;

// A low rumble: a triangle whose frequency swings by a falling amount at `freq` Hz, through a
// resonant low-pass, with a long release. Released at once: the envelope ends it.
int growl_effect(SYNTH_EFFECT_STATE *e)
{
    if (e->freq == 0.0f)
        e->freq = GROWL_FREQ;
    if (e->d == 0.0f)
        e->d = GROWL_LENGTH_MS;
    if (e->ramp_start == 0.0f)
        e->ramp_start = GROWL_SWEEP_FROM;
    if (e->ramp_end == 0.0f)
        e->ramp_end = GROWL_SWEEP_TO;
    SYN *syn = &synraw;
    const unsigned b = e->base;
    const int in = static_cast<int>(b);
    syn_ramp_freq(syn, b, e->ramp_start, e->ramp_end, e->d);
    syn_osc_triangle(syn, b + 1, e->freq);
    syn_osc_duty(syn, b + 1, GROWL_DUTY);
    syn_osc_in_amp(syn, b + 1, in);
    syn_osc_triangle(syn, b + 2, 0.0f);
    syn_osc_duty(syn, b + 2, 0.5f);
    syn_osc_amp(syn, b + 2, e->scale);
    syn_osc_in_freq(syn, b + 2, in + 1);
    syn_filt_lowpass(syn, b + 3, e->filt);
    syn_filt_in(syn, b + 3, in + 2);
    syn_filt_q(syn, b + 3, e->q);
    syn_adsr(syn, b + 4, GROWL_ATTACK_MS, GROWL_DECAY_MS, GROWL_SUSTAIN, e->d);
    syn_adsr_in(syn, b + 4, in + 3);
    syn_mix(syn, b + 4, 1);
    syn_reset(syn, b + 4);
    return SYNTH_EFFECT_RELEASE;
}
