// presets: rules well known among Life players, chosen by name.
// A table of named birth/survival rules (Life, HighLife, Seeds, Day & Night, ...). Choosing one
// sets the rule's toggles exactly as clicking the digits would (so the settings file and the log
// read the same), as one undo step, and shows the rule's name in a banner for a moment. The
// table also names the rule in force when it is a known one.
// Depends on: game (the rule's toggles, the request to rebuild the rule), history (the undo
// step), shell (text, the layout scale), glyphs (text), turtle, lum (log lines).
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PRESET_BANNER_TICKS = 120;   // the banner shows for two seconds ...
constexpr int PRESET_BANNER_FADE = 30;     // ... fading out over the last half second
constexpr int PRESET_RULE_TEXT_MAX = 24;   // "B012345678/S012345678" and its terminator

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct PRESET {
    const char *name;
    uint16_t birth;    // bit n: birth on n neighbours
    uint16_t survive;  // bit n: survival on n neighbours
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
int presets_count();
const PRESET &presets_get(int index);
// The index of the rule with these toggles in the table, or -1
int presets_find(uint16_t birth, uint16_t survive);
// The name of the rule in force (the record's toggles), or null when it has none
const char *presets_current_name();
// The rule in B/S notation, "B3/S23", into `out` (PRESET_RULE_TEXT_MAX bytes)
void presets_rule_text(uint16_t birth, uint16_t survive, char *out);
uint16_t presets_current_birth();
uint16_t presets_current_survive();

// Choose the next (dir > 0) or previous (dir < 0) rule of the table, from the one in force; from
// a rule not in the table, the first or the last. Plays the toggle's pip, logs one line, shows
// the banner; returns the index chosen.
int presets_step(int dir);
void presets_update();   // once per tick: the banner's time
void presets_render();   // the banner, while it shows
int presets_banner();    // ticks the banner still shows; 0 when gone
