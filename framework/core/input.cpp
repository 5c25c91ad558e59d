// input: the per-tick input state (see input.h).
#include "input.h"

#include "log.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
std::array<uint8_t, K_COUNT> keys;
std::array<uint8_t, K_COUNT> keyevent;
std::array<MOUSE_STATE, INPUT_POINTER_COUNT> mouse_state;

// The ring is empty when the positions are equal; there is no full test, so a writer that
// laps the reader makes the whole backlog look empty.
static std::array<INPUT_EVENT, INPUT_RING_SIZE> events;
static int write_pos = 0;
static int read_pos = 0;
static void (*input_callback_)(INPUT_EVENT *) = nullptr;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Merge a value into a pointer slot's per-tick bit set; 0 clears it
static void merge_state(MOUSE_STATE &slot, int v)
{
    if (slot.state == v)
        return;
    slot.state = v ? (slot.state | v) : 0;
}

// Apply a pointer event to its slot.
// NOTE: a press or release is never hidden by a later move in the same tick; a move is recorded
// only in a tick with nothing else.
static void deliver_pointer(const INPUT_EVENT &e)
{
    // Pointer ids outside the table have no slot: their position and flags are dropped.
    if (e.id < 0 || e.id >= INPUT_POINTER_COUNT)
        return;
    MOUSE_STATE &slot = mouse_state[e.id];
    slot.x = static_cast<int>(e.x);
    slot.y = static_cast<int>(e.y);
    if (e.type & INPUT_PRESSED) {
        slot.down = 1;
        merge_state(slot, e.type);
    } else if (e.type == INPUT_RELEASED) {
        slot.down = 0;
        merge_state(slot, INPUT_RELEASED);
    } else if (slot.state == 0) {
        merge_state(slot, e.type);
    }
}

// Apply a key event: keys follows presses and releases in order, keyevent keeps the last type
static void deliver_key(const INPUT_EVENT &e)
{
    if (e.type == INPUT_RELEASED)
        keys[e.keyid] = 0;
    else if (e.type & INPUT_PRESSED)
        keys[e.keyid] = 1;
    keyevent[e.keyid] = static_cast<uint8_t>(e.type);
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Clear every table and empty the ring
void input_init()
{
    lum_log("INPUT INIT");
    keys.fill(0);
    keyevent.fill(0);
    mouse_state.fill(MOUSE_STATE{});
    write_pos = 0;
    read_pos = 0;
}

// Queue a copy of an event.
// NOTE: the tick number goes into the caller's record after the copy, so the queued event keeps
// the timestamp the caller put in.
void input_add_event(INPUT_EVENT *event)
{
    events[write_pos] = *event;
    write_pos = (write_pos + 1) % INPUT_RING_SIZE;
    event->timestamp = lum_ticks;
}

void input_set_callback(void (*callback)(INPUT_EVENT *))
{
    input_callback_ = callback;
}

// Deliver every queued event to the tables and the callback
int input_update_events()
{
    int count = 0;
    while (read_pos != write_pos) {
        INPUT_EVENT e = events[read_pos];
        read_pos = (read_pos + 1) % INPUT_RING_SIZE;
        if (e.keyid < 0 || e.keyid >= K_COUNT)
            continue;
        count++;
        if (e.keyid == K_MOUSE)
            deliver_pointer(e);
        else
            deliver_key(e);
        // The callback may queue further events; the loop re-reads write_pos and delivers them now.
        if (input_callback_)
            input_callback_(&e);
    }
    return count;
}

// End of tick: forget the per-tick parts; held keys, positions and down flags stay
void input_clear_events()
{
    keyevent.fill(0);
    for (MOUSE_STATE &slot : mouse_state)
        if (slot.state)
            slot.state = 0;
}

void input_reset()
{
    input_clear_events();
    input_init();
}
