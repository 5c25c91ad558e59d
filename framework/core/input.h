// input: the per-tick input state.
// The platform layer appends events to a ring at any time during its poll; once per logic tick
// the main loop delivers the ring into three tables that screens read directly (held keys,
// this tick's key events, pointer slots) and offers each event to an optional callback; at the
// end of the tick the per-tick parts are forgotten.
// Depends on: log (log lines, the tick number).
#pragma once

#include <array>
#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// The framework's key identifiers. The mouse and every touch point are K_MOUSE with a pointer id.
enum {
    K_NONE, K_MOUSE, K_UP, K_DOWN, K_LEFT, K_RIGHT, K_BUTTON1, K_BUTTON2, K_BUTTON3,
    K_ENTER, K_TAB, K_ESC, K_BS, K_DEL,
    K_0, K_1, K_2, K_3, K_4, K_5, K_6, K_7, K_8, K_9,
    K_AMPERSAND, K_ASTERISK, K_SLASH, K_PLUS, K_MINUS, K_CARET, K_TILDE,
    K_F1, K_F2, K_F3, K_F4, K_F5, K_F6, K_F7, K_F8, K_F9, K_F10, K_F11, K_F12,
    K_W, K_A, K_S, K_D,
    K_COUNT
};
static_assert(K_COUNT == 47 && K_0 == 14 && K_TILDE == 30 && K_F1 == 31 && K_W == 43);

// Event types, a bit set
constexpr int INPUT_PRESSED = 1;
constexpr int INPUT_MOVED = 2;
constexpr int INPUT_RELEASED = 4;

constexpr int INPUT_RING_SIZE = 256;   // queued events; more than 255 in one tick lose the backlog
constexpr int INPUT_POINTER_COUNT = 20; // pointer slots: mouse buttons and touch points

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct INPUT_EVENT {
    int type;            // 1 pressed, 2 moved, 4 released
    int keyid;           // framework key id; K_MOUSE for the pointer
    int id;              // pointer id for K_MOUSE (mouse button - 1, or touch number); 0 otherwise
    float x, y;          // pointer position in display pixels; 0 for keys
    uint32_t timestamp;  // see input_add_event
};

struct MOUSE_STATE {
    int x, y;   // last known position, truncated toward zero
    int state;  // what happened this tick: 1 pressed, 2 moved, 4 released (bit set)
    int down;   // 1 while held
};

//----------------------------------------------------------------------------------
// Module tables, read directly by screens and the button toolkit
//----------------------------------------------------------------------------------
extern std::array<uint8_t, K_COUNT> keys;                        // 1 while the key is held
extern std::array<uint8_t, K_COUNT> keyevent;                    // type of the key's last event this tick
extern std::array<MOUSE_STATE, INPUT_POINTER_COUNT> mouse_state; // pointer slots by pointer id

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void input_init();                                         // clear tables and ring; keeps the callback
void input_add_event(INPUT_EVENT *event);                  // queue a copy; then stamps the caller's record
void input_set_callback(void (*callback)(INPUT_EVENT *));  // install, or remove with null
int input_update_events();                                 // deliver the ring; returns events with a valid key id
void input_clear_events();                                 // end of tick: forget this tick's events
void input_reset();                                        // input_clear_events, then input_init
