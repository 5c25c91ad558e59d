// xvfb: a private virtual X display for tests. Each test starts its own Xvfb and lets the server
// pick a free display number (-displayfd), so tests running in parallel never share or collide
// over a display.
// Depends on: process (spawning and reaping), the Xvfb program.
#pragma once

#include <sys/types.h>

#include <string>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct XVFB {
    pid_t pid = -1;        // the server; -1 when not running
    std::string display;   // its DISPLAY value, such as ":3"
    std::string log_path;  // the server's standard error, shown when it fails to start
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Start a 1920 x 1080 x 24 server without TCP and wait until it accepts clients; false with a
// reason (and the server's messages) in `error`.
bool xvfb_start(XVFB &xvfb, std::string &error);

// Stop the server (terminate, then kill if it does not go) and remove its log.
void xvfb_stop(XVFB &xvfb);
