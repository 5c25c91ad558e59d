// mute: every sound of the toy switched off and on, the choice kept across restarts.
// The choice lives in its own small file beside the settings, "sound.cfg", holding the text
// "sound on" or "sound off" and a line end; it is not part of the settings record, whose bytes
// stay as they are. A missing file means sound on; anything else in it is ignored with one line.
// Muting switches the synthesiser off (every effect then starts silent); unmuting switches it on.
// Depends on: lum (the synthesiser's switch, log lines), file (reading the file), wrapper_file
// (whether a file is there), store (its crash-safe save).
#pragma once

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *MUTE_FILE = "sound.cfg";  // in the per-user save directory

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
int mute_load();      // read the choice and apply it; 1 muted, 0 sound on
int mute_toggle();    // switch, apply, log one line and save; the new state, 1 muted
int mute_on();        // 1 while muted
void mute_set(int muted);  // apply a state without saving it
