// state: the screen state machine.
// Exactly one screen is current; switching runs the old screen's leave and the new one's enter.
// The main loop forwards its per-tick update and per-frame render to the current screen.
// Depends on: nothing.
#pragma once

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A screen: four optional callbacks (null means nothing to do). Records are owned by the
// modules that define the screens and live for the whole run.
struct STATE {
    void (*enter)();   // the screen becomes current through state_switch
    void (*update)();  // once per logic tick while current
    void (*render)();  // once per rendered frame while current
    void (*leave)();   // the screen stops being current through state_switch
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
STATE *state_switch(STATE *state);  // switch with leave/enter; returns the screen current afterwards
void state_set(STATE *state);       // make current at once: no leave, no enter, last untouched
STATE *state_current();             // the current screen (never null)
STATE *state_last();                // the screen current before the last switch to a different one
void state_update();                // the current screen's update, if any
void state_render();                // the current screen's render, if any
