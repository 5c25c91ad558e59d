// help: the help overlay of the game screen.
// Over the grid, in the toy's font and colours: every key and what it does, what the buttons do,
// live figures (the generation, the population, the rule with its name when it has one, the
// border, the speed, whether sound is off) and what the pattern is doing (the pattern watch,
// which looks ahead while the overlay shows; what it finds is also logged once). The same key, a click or any other key closes it; the
// debug keys keep their own meaning. A click that closes it goes no further.
// Depends on: game (the record, the step counter's screen), life (the grid), presets (the rule's
// name and notation), mute (whether sound is off), watch (what the pattern is doing), shell (text, the layout, the interface
// sprites, the pointer's slot), input (the pointer), atlas and sprite (drawing over the grid),
// turtle, glyphs (text), lum (log lines).
#pragma once

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int HELP_LINE_MAX = 40;   // characters of a line and its terminator: fits the portrait layout
constexpr int HELP_LINES = 40;      // lines at most

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
int help_visible();
void help_update();             // once per tick: while shown, the pattern watch looks ahead
void help_toggle();
void help_close();
// The pointers the game screen hands to its buttons this tick: none while the overlay shows (a
// click's release closes it), else one
int help_touches();
// Compose the overlay's text from the state now; returns the number of lines
int help_compose();
const char *help_line(int i);   // a composed line; "" outside the text
int help_population();          // live cells of the grid
void help_render();             // the overlay and the rule banner, over everything drawn so far
