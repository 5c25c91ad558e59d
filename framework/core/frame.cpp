// frame: a frame described in full before it is drawn, and drawn only when it can differ from the
// one on screen (see frame.h).
//
// Index of this file:
// [SECTION] Module state
// [SECTION] Fingerprint
// [SECTION] Recording
// [SECTION] Ending a frame
// [SECTION] Counts
#include "frame.h"

#include <GL/gl.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "input.h"
#include "log.h"
#include "wrapper.h"

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
constexpr size_t FRAME_ALIGN = 16;  // each copied array starts on this many bytes

// A recorded command: the command with its arrays' places in the frame's storage (the storage
// may move while it grows, so the pointers are made at replay)
struct FRAME_RECORD {
    FRAME_COMMAND command;
    std::array<size_t, FRAME_ARRAYS> offset;
};

static bool recording = false;
static std::vector<FRAME_RECORD> records;        // this frame's commands in their order
static std::vector<FRAME_COMMAND> commands;      // the same, pointing into `storage`, for replay
static std::vector<unsigned char> storage;       // copies of the commands' arrays; it only grows
static size_t used = 0;                          // bytes of `storage` this frame has used
static uint64_t shown = 0;                       // fingerprint of the frame on screen
static bool shown_known = false;                 // a frame that covers the screen was drawn and nothing happened since
static bool forced = true;                       // the next frame is drawn whatever it holds
static FRAME_COUNTS totals = {0, 0};
static FRAME_COUNTS second = {0, 0};             // during the current second

//----------------------------------------------------------------------------------
// [SECTION] Fingerprint
//----------------------------------------------------------------------------------
// A 64-bit hash in eight independent lanes, so that the processor works on several words at
// once. Each word goes into a lane by a rotation, an exclusive or and a multiplication by an odd
// constant: a change of any single word always changes its lane, and the rotation moves a lane's
// high bits down, where the next multiplication spreads them again.
constexpr int FRAME_LANES = 8;
constexpr uint64_t FRAME_MUL = 0x9E3779B97F4A7C15ull;
constexpr int FRAME_ROT = 27;

struct FRAME_HASH {
    std::array<uint64_t, FRAME_LANES> lane;
};

static inline uint64_t hash_step(uint64_t h, uint64_t word)
{
    return (std::rotl(h, FRAME_ROT) ^ word) * FRAME_MUL;
}

static inline uint64_t load64(const unsigned char *p)
{
    uint64_t w;
    std::memcpy(&w, p, sizeof w);
    return w;
}

static inline uint64_t load32(const unsigned char *p)
{
    uint32_t w;
    std::memcpy(&w, p, sizeof w);
    return w;
}

// Up to 8 bytes as one word
static inline uint64_t load_tail(const unsigned char *p, size_t n)
{
    uint64_t w = 0;
    std::memcpy(&w, p, n);
    return w;
}

static FRAME_HASH hash_start()
{
    FRAME_HASH h;
    for (int i = 0; i < FRAME_LANES; i++)
        h.lane[i] = FRAME_MUL * static_cast<uint64_t>(2 * i + 1);
    return h;
}

// Contiguous bytes, 64 a round into the eight lanes
static void hash_bytes(FRAME_HASH &h, const unsigned char *p, size_t n)
{
    size_t i = 0;
    for (; i + 64 <= n; i += 64)
        for (int k = 0; k < FRAME_LANES; k++)
            h.lane[k] = hash_step(h.lane[k], load64(p + i + 8 * k));
    for (int k = 0; i < n; i += 8, k++)
        h.lane[k] = hash_step(h.lane[k], load_tail(p + i, std::min<size_t>(8, n - i)));
    h.lane[0] = hash_step(h.lane[0], n);
}

// The drawn bytes of each of `count` records. Sprite vertices (20 drawn bytes of 32) take the
// fast path: two vertices a round, three words each, in six lanes.
static void hash_records(FRAME_HASH &h, const unsigned char *p, int count, int stride, int drawn)
{
    if (count <= 0 || drawn <= 0)
        return;
    if (stride == drawn) {
        hash_bytes(h, p, static_cast<size_t>(count) * static_cast<size_t>(stride));
        return;
    }
    const size_t step = static_cast<size_t>(stride);
    int i = 0;
    if (drawn == 20) {
        for (; i + 2 <= count; i += 2, p += 2 * step) {
            const unsigned char *q = p + step;
            h.lane[0] = hash_step(h.lane[0], load64(p));
            h.lane[1] = hash_step(h.lane[1], load64(p + 8));
            h.lane[2] = hash_step(h.lane[2], load32(p + 16));
            h.lane[3] = hash_step(h.lane[3], load64(q));
            h.lane[4] = hash_step(h.lane[4], load64(q + 8));
            h.lane[5] = hash_step(h.lane[5], load32(q + 16));
        }
    }
    for (; i < count; i++, p += step)
        hash_bytes(h, p, static_cast<size_t>(drawn));
    h.lane[7] = hash_step(h.lane[7], static_cast<uint64_t>(count));
}

static uint64_t hash_finish(const FRAME_HASH &h)
{
    uint64_t x = 0;
    for (uint64_t lane : h.lane)
        x = hash_step(x, lane);
    x ^= x >> 33;
    x *= 0xFF51AFD7ED558CCDull;
    x ^= x >> 33;
    return x;
}

static uint64_t float_bits(float f)
{
    uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

// The command itself: what it calls, its page (and the page's texture and size), its colour and
// the shape of its arrays; then the arrays' drawn bytes
static void hash_command(FRAME_HASH &h, const FRAME_COMMAND &c)
{
    uint64_t &l = h.lane[6];
    l = hash_step(l, reinterpret_cast<uintptr_t>(c.submit));
    l = hash_step(l, reinterpret_cast<uintptr_t>(c.image));
    l = hash_step(l, static_cast<uint64_t>(c.page[0]) << 32 | c.page[1]);
    l = hash_step(l, c.page[2]);
    for (float f : c.colour)
        l = hash_step(l, float_bits(f));
    l = hash_step(l, c.covers ? 1 : 0);
    for (int a = 0; a < FRAME_ARRAYS; a++) {
        l = hash_step(l, static_cast<uint64_t>(static_cast<uint32_t>(c.count[a])) << 32 |
                             static_cast<uint32_t>(c.drawn[a]));
        if (c.array[a])
            hash_records(h, static_cast<const unsigned char *>(c.array[a]), c.count[a], c.stride[a], c.drawn[a]);
    }
}

uint64_t frame_fingerprint(const FRAME_COMMAND *list, int count)
{
    FRAME_HASH h = hash_start();
    for (int i = 0; i < count; i++)
        hash_command(h, list[i]);
    h.lane[7] = hash_step(h.lane[7], static_cast<uint64_t>(count));
    return hash_finish(h);
}

// The view the commands are drawn into: the display's size and the projection and model-view
// matrices as OpenGL holds them (read back, so that whoever set them, the frame sees them)
static uint64_t view_fingerprint()
{
    FRAME_HASH h = hash_start();
    std::array<GLfloat, 32> matrices{};
    glGetFloatv(GL_PROJECTION_MATRIX, matrices.data());
    glGetFloatv(GL_MODELVIEW_MATRIX, matrices.data() + 16);
    hash_bytes(h, reinterpret_cast<const unsigned char *>(matrices.data()), sizeof matrices);
    h.lane[7] = hash_step(h.lane[7], static_cast<uint64_t>(static_cast<uint32_t>(wrapper_display_w())) << 32 |
                                         static_cast<uint32_t>(wrapper_display_h()));
    return hash_finish(h);
}

//----------------------------------------------------------------------------------
// [SECTION] Recording
//----------------------------------------------------------------------------------
void frame_begin()
{
    records.clear();
    used = 0;
    recording = true;
}

bool frame_recording()
{
    return recording;
}

// Copy an array to the end of what the frame's storage holds; its offset there. The storage
// keeps its size from frame to frame, so a frame like the last one only copies.
static size_t keep_array(const void *data, size_t bytes)
{
    size_t at = (used + FRAME_ALIGN - 1) / FRAME_ALIGN * FRAME_ALIGN;
    if (at + bytes > storage.size())
        storage.resize(std::max(at + bytes, 2 * storage.size()));
    if (bytes)
        std::memcpy(storage.data() + at, data, bytes);
    used = at + bytes;
    return at;
}

void frame_draw(const FRAME_COMMAND &command)
{
    if (!recording) {
        command.submit(command);
        return;
    }
    FRAME_RECORD r{command, {}};
    for (int a = 0; a < FRAME_ARRAYS; a++) {
        const size_t bytes = command.array[a] && command.count[a] > 0
                                 ? static_cast<size_t>(command.count[a]) * static_cast<size_t>(command.stride[a])
                                 : 0;
        r.offset[a] = keep_array(command.array[a], bytes);
        if (!bytes)
            r.command.count[a] = 0;
    }
    records.push_back(r);
}

//----------------------------------------------------------------------------------
// [SECTION] Ending a frame
//----------------------------------------------------------------------------------
void frame_force()
{
    forced = true;
}

void frame_note_keys()
{
    if (keyevent[K_F1] || keyevent[K_F5] || keyevent[K_F12])
        forced = true;
}

// The recorded commands with their arrays pointing at the frame's copies
static void resolve_commands()
{
    commands.clear();
    for (const FRAME_RECORD &r : records) {
        FRAME_COMMAND c = r.command;
        for (int a = 0; a < FRAME_ARRAYS; a++)
            c.array[a] = c.count[a] > 0 ? storage.data() + r.offset[a] : nullptr;
        commands.push_back(c);
    }
}

// A frame can stand for the one on screen only when it paints every pixel itself: one that
// draws over what the last buffer held depends on more than its own commands
static bool covers_screen()
{
    for (const FRAME_COMMAND &c : commands)
        if (c.covers)
            return true;
    return false;
}

bool frame_end()
{
    if (!recording)
        return true;
    recording = false;
    resolve_commands();
    if (wrapper_take_expose())
        forced = true;
    const uint64_t print = frame_fingerprint(commands.data(), static_cast<int>(commands.size())) ^
                           std::rotl(view_fingerprint(), 1);
    const bool covers = covers_screen();
    if (!forced && shown_known && covers && print == shown) {
        totals.skipped++;
        second.skipped++;
        return false;
    }
    for (const FRAME_COMMAND &c : commands)
        c.submit(c);
    forced = false;
    shown = print;
    shown_known = covers;
    totals.drawn++;
    second.drawn++;
    return true;
}

//----------------------------------------------------------------------------------
// [SECTION] Counts
//----------------------------------------------------------------------------------
FRAME_COUNTS frame_counts()
{
    return totals;
}

void frame_second(int log)
{
    if (log)
        lum_logf("frames: %d drawn, %d skipped\n", second.drawn, second.skipped);
    second = FRAME_COUNTS{0, 0};
}

void frame_exit()
{
    recording = false;
    forced = true;
    shown_known = false;
    std::vector<FRAME_RECORD>().swap(records);
    std::vector<FRAME_COMMAND>().swap(commands);
    std::vector<unsigned char>().swap(storage);
    used = 0;
}
