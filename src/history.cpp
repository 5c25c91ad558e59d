// history: undo and redo of every change to the grid, kept across restarts (see history.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Moments
// [SECTION] Changes
// [SECTION] Undo and redo
// [SECTION] The history file
#include "history.h"

#include <cstring>
#include <string>
#include <vector>

#include "file.h"
#include "life.h"
#include "lum.h"
#include "store.h"
#include "wrapper_file.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
// The file: a header (magic, then the undo and the redo counts as 32-bit words), the undo steps
// oldest first, the redo steps with the next one to redo last, and a 64-bit FNV-1a checksum of
// everything before it
constexpr std::array<char, 8> HISTORY_MAGIC = {'L', 'U', 'M', 'U', 'N', 'D', 'O', '1'};
constexpr size_t HISTORY_HEADER_BYTES = HISTORY_MAGIC.size() + 2 * sizeof(uint32_t);
constexpr size_t HISTORY_SUM_BYTES = sizeof(uint64_t);
constexpr uint64_t FNV_OFFSET = 14695981039346656037ull;
constexpr uint64_t FNV_PRIME = 1099511628211ull;
constexpr int HISTORY_RULE_BITS = 9;   // neighbour counts 0..8
constexpr int HISTORY_BORDERS = 3;

constexpr std::array<const char *, HISTORY_KINDS> HISTORY_KIND_NAMES = {
    "nothing", "stroke", "clear", "random fill", "step", "run", "rule digit", "border", "rule preset", "pattern"};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
// Undo steps in a ring: the oldest at undo_first, the newest undo_count - 1 places after it
static std::array<HISTORY_STEP, HISTORY_DEPTH> undo_steps;
static int undo_first = 0;
static int undo_count = 0;
// Redo steps as a stack: the next one to redo on top
static std::array<HISTORY_STEP, HISTORY_DEPTH> redo_steps;
static int redo_count = 0;
static HISTORY_STEP pending;             // the moment a pending change started
static int pending_kind = HISTORY_NONE;  // the pending change; HISTORY_NONE when none
static uint64_t saved_sum = 0;           // checksum of the file as last read or written; 0 none
// The settings record's rule toggles and border, and its request to rebuild the rule
static uint8_t *bound_birth = nullptr;
static uint8_t *bound_survive = nullptr;
static int32_t *bound_border = nullptr;
static int *bound_rule_changed = nullptr;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
static uint64_t fnv1a(const uint8_t *bytes, size_t n, uint64_t h = FNV_OFFSET)
{
    for (size_t i = 0; i < n; i++) {
        h ^= bytes[i];
        h *= FNV_PRIME;
    }
    return h;
}

// The moments differ in anything but their kind
static bool differs(const HISTORY_STEP &a, const HISTORY_STEP &b)
{
    return a.border != b.border || a.birth != b.birth || a.survive != b.survive || a.steps != b.steps ||
           a.cells != b.cells;
}

// A rule's toggles as bits, and back (a toggle list's byte 9 is never looked at and kept)
static uint16_t rule_bits(const uint8_t *params)
{
    uint16_t bits = 0;
    for (int n = 0; params && n < HISTORY_RULE_BITS; n++)
        if (params[n])
            bits = static_cast<uint16_t>(bits | (1u << n));
    return bits;
}

static void set_rule_bits(uint8_t *params, uint16_t bits)
{
    for (int n = 0; params && n < HISTORY_RULE_BITS; n++)
        params[n] = (bits >> n) & 1u;
}

static HISTORY_STEP &undo_at(int i)
{
    return undo_steps[(undo_first + i) % HISTORY_DEPTH];
}

// A new undo step on top; the oldest goes when the ring is full
static void push_undo(const HISTORY_STEP &s)
{
    if (undo_count == HISTORY_DEPTH) {
        undo_first = (undo_first + 1) % HISTORY_DEPTH;
        undo_count--;
    }
    undo_at(undo_count++) = s;
}

// A step read from a file holds only what a captured one can hold
static bool step_valid(const HISTORY_STEP &s)
{
    if (s.kind == HISTORY_NONE || s.kind >= HISTORY_KINDS || s.border >= HISTORY_BORDERS || s.reserved != 0)
        return false;
    if ((s.birth >> HISTORY_RULE_BITS) != 0 || (s.survive >> HISTORY_RULE_BITS) != 0)
        return false;
    for (int i = LIFE_CELLS; i < HISTORY_CELL_BYTES * 8; i++)
        if (s.cells[i / 8] & (1u << (i % 8)))
            return false;
    return true;
}

// The file's bytes for the history now. A pending change is written as the newest undo step, so
// that a run still going when the toy ends can be undone at the next start.
static std::vector<uint8_t> file_image()
{
    const bool with_pending = pending_kind != HISTORY_NONE && differs(pending, history_capture());
    const int undo_total = undo_count + (with_pending ? 1 : 0);
    // The oldest step gives way when the pending one would make one too many
    const int skip = undo_total > HISTORY_DEPTH ? 1 : 0;
    std::vector<uint8_t> out;
    out.reserve(history_file_bytes(undo_total - skip, redo_count));
    auto put = [&out](const void *p, size_t n) {
        const auto *b = static_cast<const uint8_t *>(p);
        out.insert(out.end(), b, b + n);
    };
    put(HISTORY_MAGIC.data(), HISTORY_MAGIC.size());
    const uint32_t counts[2] = {static_cast<uint32_t>(undo_total - skip), static_cast<uint32_t>(redo_count)};
    put(counts, sizeof counts);
    for (int i = skip; i < undo_count; i++)
        put(&undo_at(i), sizeof(HISTORY_STEP));
    if (with_pending) {
        HISTORY_STEP s = pending;
        s.kind = static_cast<uint8_t>(pending_kind);
        put(&s, sizeof s);
    }
    for (int i = 0; i < redo_count; i++)
        put(&redo_steps[i], sizeof(HISTORY_STEP));
    const uint64_t sum = fnv1a(out.data(), out.size());
    put(&sum, sizeof sum);
    return out;
}

//----------------------------------------------------------------------------------
// [SECTION] Moments
//----------------------------------------------------------------------------------
void history_bind(uint8_t *birth, uint8_t *survive, int32_t *border, int *rule_changed)
{
    bound_birth = birth;
    bound_survive = survive;
    bound_border = border;
    bound_rule_changed = rule_changed;
}

void history_clear()
{
    undo_first = undo_count = redo_count = 0;
    pending_kind = HISTORY_NONE;
    saved_sum = 0;
}

// The moment now: the engine's grid and counter, the record's rule toggles and border
HISTORY_STEP history_capture()
{
    HISTORY_STEP s{};
    s.kind = HISTORY_NONE;
    // NOTE: a border out of range (only a damaged record holds one) reads as the rule reads it: wrap
    const int32_t border = bound_border ? *bound_border : 0;
    s.border = static_cast<uint8_t>(border >= 0 && border < HISTORY_BORDERS ? border : 0);
    s.birth = rule_bits(bound_birth);
    s.survive = rule_bits(bound_survive);
    s.steps = life_step_count();
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            if (life_cell(x, y)) {
                const int i = x * LIFE_H + y;
                s.cells[i / 8] = static_cast<uint8_t>(s.cells[i / 8] | (1u << (i % 8)));
            }
    return s;
}

// Make a moment the moment now. The rule is rebuilt (with its log lines, as a click on a digit
// does) only when the toggles or the border change.
void history_apply(const HISTORY_STEP &s)
{
    const HISTORY_STEP now = history_capture();
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++) {
            const int i = x * LIFE_H + y;
            life_set_cell(x, y, (s.cells[i / 8] >> (i % 8)) & 1u);
        }
    life_set_step_count(s.steps);
    if (now.birth != s.birth || now.survive != s.survive || now.border != s.border) {
        set_rule_bits(bound_birth, s.birth);
        set_rule_bits(bound_survive, s.survive);
        if (bound_border)
            *bound_border = s.border;
        if (bound_rule_changed)
            *bound_rule_changed = 1;
    }
}

//----------------------------------------------------------------------------------
// [SECTION] Changes
//----------------------------------------------------------------------------------
void history_begin(int kind)
{
    history_end();
    pending = history_capture();
    pending_kind = kind;
}

void history_end()
{
    if (pending_kind == HISTORY_NONE)
        return;
    const int kind = pending_kind;
    pending_kind = HISTORY_NONE;
    if (!differs(pending, history_capture()))
        return;
    pending.kind = static_cast<uint8_t>(kind);
    push_undo(pending);
    redo_count = 0;
}

void history_cancel()
{
    pending_kind = HISTORY_NONE;
}

int history_pending()
{
    return pending_kind;
}

void history_record(int kind)
{
    history_end();
    HISTORY_STEP s = history_capture();
    s.kind = static_cast<uint8_t>(kind);
    push_undo(s);
    redo_count = 0;
}

void history_tick(int running, int pointer_down)
{
    if (pending_kind == HISTORY_STROKE && !pointer_down)
        history_cancel();
    if (running && pending_kind == HISTORY_NONE)
        history_begin(HISTORY_RUN);
    else if (!running && pending_kind == HISTORY_RUN)
        history_end();
}

//----------------------------------------------------------------------------------
// [SECTION] Undo and redo
//----------------------------------------------------------------------------------
// A change still pending (a run going on) becomes a step first, so that one undo brings back
// the moment it started
int history_undo()
{
    history_end();
    if (undo_count == 0) {
        lum_log("UNDO: nothing to undo");
        return HISTORY_NONE;
    }
    const HISTORY_STEP s = undo_at(--undo_count);
    HISTORY_STEP now = history_capture();
    now.kind = s.kind;
    redo_steps[redo_count++] = now;
    history_apply(s);
    lum_logf("UNDO: %s (%d left)\n", history_kind_name(s.kind), undo_count);
    return s.kind;
}

int history_redo()
{
    history_end();
    if (redo_count == 0) {
        lum_log("REDO: nothing to redo");
        return HISTORY_NONE;
    }
    const HISTORY_STEP s = redo_steps[--redo_count];
    HISTORY_STEP now = history_capture();
    now.kind = s.kind;
    push_undo(now);
    history_apply(s);
    lum_logf("REDO: %s (%d left)\n", history_kind_name(s.kind), redo_count);
    return s.kind;
}

int history_undo_count()
{
    return undo_count;
}

int history_redo_count()
{
    return redo_count;
}

const char *history_kind_name(int kind)
{
    return kind > HISTORY_NONE && kind < HISTORY_KINDS ? HISTORY_KIND_NAMES[kind] : HISTORY_KIND_NAMES[0];
}

//----------------------------------------------------------------------------------
// [SECTION] The history file
//----------------------------------------------------------------------------------
size_t history_file_bytes(int undo, int redo)
{
    return HISTORY_HEADER_BYTES + static_cast<size_t>(undo + redo) * sizeof(HISTORY_STEP) + HISTORY_SUM_BYTES;
}

// Why bytes read from the file cannot be a history; null when they can
static const char *image_problem(const std::vector<uint8_t> &in, uint32_t &undo, uint32_t &redo)
{
    if (in.size() < HISTORY_HEADER_BYTES || std::memcmp(in.data(), HISTORY_MAGIC.data(), HISTORY_MAGIC.size()) != 0)
        return "not a history file";
    std::memcpy(&undo, in.data() + HISTORY_MAGIC.size(), sizeof undo);
    std::memcpy(&redo, in.data() + HISTORY_MAGIC.size() + sizeof undo, sizeof redo);
    if (undo > HISTORY_DEPTH || redo > HISTORY_DEPTH)
        return "damaged (too many steps)";
    if (in.size() != history_file_bytes(static_cast<int>(undo), static_cast<int>(redo)))
        return "damaged (cut short or too long)";
    uint64_t sum = 0;
    std::memcpy(&sum, in.data() + in.size() - HISTORY_SUM_BYTES, sizeof sum);
    if (sum != fnv1a(in.data(), in.size() - HISTORY_SUM_BYTES))
        return "damaged (checksum)";
    for (uint32_t i = 0; i < undo + redo; i++) {
        HISTORY_STEP s;
        std::memcpy(&s, in.data() + HISTORY_HEADER_BYTES + i * sizeof s, sizeof s);
        if (!step_valid(s))
            return "damaged (a step out of range)";
    }
    return nullptr;
}

// Read the history file over an empty history. Anything but a whole history file of this toy
// leaves the history empty, says so in one line, and is replaced by the next save (unless it is
// not a file at all: that is never replaced).
int history_load()
{
    history_clear();
    const std::string path = file_save_path(HISTORY_FILE);
    if (const char *other = file_not_a_file(path.c_str())) {
        lum_logf("history: '%s' is %s, not a file: starting without undo steps\n", path.c_str(), other);
        return -1;
    }
    if (wrapper_file_kind(path.c_str()) != WRAPPER_FILE_REGULAR)
        return 0;
    FILE *in = file_open_save_read(HISTORY_FILE);
    if (!in) {
        lum_logf("history: cannot read '%s': %s: starting without undo steps\n", path.c_str(), file_error());
        return -1;
    }
    const long length = file_length(in);
    std::vector<uint8_t> bytes;
    const char *problem = nullptr;
    if (length < 0 || static_cast<size_t>(length) > history_file_bytes(HISTORY_DEPTH, HISTORY_DEPTH)) {
        problem = "not a history file";
    } else {
        bytes.resize(static_cast<size_t>(length));
        if (file_read(in, bytes.data(), bytes.size()) != bytes.size())
            problem = "unreadable";
    }
    file_close(in);
    uint32_t undo = 0;
    uint32_t redo = 0;
    if (!problem)
        problem = image_problem(bytes, undo, redo);
    if (problem) {
        lum_logf("history: '%s' is %s: starting without undo steps\n", path.c_str(), problem);
        return -1;
    }
    const uint8_t *step = bytes.data() + HISTORY_HEADER_BYTES;
    for (uint32_t i = 0; i < undo; i++, step += sizeof(HISTORY_STEP))
        std::memcpy(&undo_at(undo_count++), step, sizeof(HISTORY_STEP));
    for (uint32_t i = 0; i < redo; i++, step += sizeof(HISTORY_STEP))
        std::memcpy(&redo_steps[redo_count++], step, sizeof(HISTORY_STEP));
    std::memcpy(&saved_sum, bytes.data() + bytes.size() - HISTORY_SUM_BYTES, sizeof saved_sum);
    lum_logf("history: %d undo and %d redo steps\n", undo_count, redo_count);
    return 1;
}

// Write the history crash-safely (see store); nothing when it is as last read or written
int history_save()
{
    const std::vector<uint8_t> image = file_image();
    uint64_t sum = 0;
    std::memcpy(&sum, image.data() + image.size() - HISTORY_SUM_BYTES, sizeof sum);
    if (sum == saved_sum)
        return 0;
    std::string failure;
    if (store_save(HISTORY_FILE, image.data(), image.size(), failure) < 0) {
        lum_logf("history not saved: %s\n", failure.c_str());
        return -1;
    }
    saved_sum = sum;
    return 1;
}
