// glyphs: single-line bitmap text.
// A font is a run of consecutive glyph sprites, one per character code from `first` on.
// Strings are laid out along the turtle's x axis, each character advancing by its glyph's width
// (no line breaking, kerning or spacing), and plotted into an atlas batch; a single character
// can also be drawn at once. Characters are read as unsigned bytes.
// Depends on: sprite (SPRITEFONT, SPRITE; plotting and drawing), turtle.
#pragma once

#include "sprite.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int GLYPHS_MAX_TEXT = 255;  // glyphs_batch_plot lays out at most this many characters

// Where the text lies relative to the turtle
constexpr int GLYPHS_ALIGN_LEFT = 0;    // starts at the turtle
constexpr int GLYPHS_ALIGN_CENTER = 1;  // centred on the turtle
constexpr int GLYPHS_ALIGN_RIGHT = 2;   // ends at the turtle

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Fill a font record: `count` glyphs for the codes from `first` on, starting at sprite glyphbase
SPRITEFONT *glyphs_make_font(SPRITEFONT *font, unsigned glyphbase, unsigned first, unsigned count);
// Plot `length` characters into batch (batch & 1) of the glyphs' atlas; returns length, or 0 for
// a null font, an empty font, null text or a length below 1. The turtle is left as it was.
int glyphs_batch_plot_ex(const SPRITEFONT *font, const char *text, int length, int align, int batch);
// The same for a whole string, cut to 255 characters
int glyphs_batch_plot(const SPRITEFONT *font, const char *text, int align, int batch);
// Draw one character now, centred on the turtle; 1, 0 for a null font, -1 for an empty font
int glyphs_print_char(const SPRITEFONT *font, int character);
// Width of a text at the turtle's scale: characters below `first` count nothing; characters past
// the font are measured by the sprite at their unclamped index, as the layout's alignment does
float glyphs_w(const SPRITEFONT *font, const char *text);
// Height of a text at the turtle's scale: the tallest of its characters from `first` on
float glyphs_h(const SPRITEFONT *font, const char *text);
