// main: the application shell (see main.h).
// Placeholder until the shell's screens, graphics and settings exist: start-up and shut-down do
// nothing yet, so the framework's boot screen stays current.
#include "main.h"

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void app_state_init()
{
}

void app_state_exit()
{
}
