// main: the application shell, the application's side of the framework contract.
// Depends on: lum.
#pragma once

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void app_state_init();  // application start-up, after the framework and the window are up
void app_state_exit();  // application shut-down, after the framework has shut down
