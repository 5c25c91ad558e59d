// state: the screen state machine (see state.h).
#include "state.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static void idle_callback() {}

// The idle screen keeps `current` non-null before anybody installs a screen.
static STATE my_state = {idle_callback, idle_callback, idle_callback, idle_callback};

static STATE *current = &my_state;
static STATE *last = nullptr;

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Switch to a screen: leave the current one, enter the new one.
// NOTE: `current` is compared after leave, so a switch done inside leave counts; switching to
// the screen that is already current re-runs its leave and enter but keeps `last`.
STATE *state_switch(STATE *state)
{
    if (!state)
        return current;
    if (current->leave)
        current->leave();
    if (state != current)
        last = current;
    current = state;
    if (state->enter) {
        state->enter();
        return current;  // an enter that switches again yields the later screen
    }
    return state;
}

// Make a screen current without notifications
void state_set(STATE *state)
{
    current = state;
}

STATE *state_current()
{
    return current;
}

STATE *state_last()
{
    return last;
}

// Forward one logic tick to the current screen
void state_update()
{
    if (current->update)
        current->update();
}

// Forward one frame to the current screen
void state_render()
{
    if (current->render)
        current->render();
}
