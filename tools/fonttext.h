// fonttext: the reader of the project's text-art font, assets/font8x8.txt, shared by the tools
// that draw with it (the art generator, which makes the toy's font sheet from it, and the sound
// renderer, which labels its picture).
// Format: between glyphs, empty lines and lines starting with '#' are comments; "shade C R G B A"
// says which pixel the character C stands for (opaque or transparent, never the sheet's marker
// colour); "glyph N name" starts character code N, and the next 8 lines are its pixels, top row
// first. Codes run from 32 upward without a gap, at least to 177 and at most to 255.
// Depends on: the standard library only.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int FONT_TEXT_SIDE = 8;              // every glyph is 8 x 8 pixels
constexpr int FONT_TEXT_FIRST = 32;            // the first character code
constexpr int FONT_TEXT_LAST_REQUIRED = 177;   // the toy uses codes up to the thank-you heart
constexpr int FONT_TEXT_LAST_ALLOWED = 255;    // character codes are bytes
constexpr std::array<uint8_t, 4> FONT_TEXT_MARKER = {255, 0, 255, 255};  // the font sheet's box marker

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// One glyph, as bytes R, G, B, A, rows from the top
struct FONT_TEXT_GLYPH {
    std::array<std::array<uint8_t, 4>, FONT_TEXT_SIDE * FONT_TEXT_SIDE> px;
};

// The font: glyphs for consecutive codes from FONT_TEXT_FIRST on
struct FONT_TEXT {
    std::vector<FONT_TEXT_GLYPH> glyphs;
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Read the font file; false with `error` naming the file, the line and the problem
bool font_text_read(const std::string &path, FONT_TEXT &font, std::string &error);
