// fonttext: the reader of the project's text-art font (see fonttext.h).
#include "fonttext.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

// Report a problem in the font file
static bool font_error(std::string &error, const std::string &path, int line, const std::string &message)
{
    error = path + ":" + std::to_string(line) + ": " + message;
    return false;
}

// Read the font file: shade definitions, then glyphs of consecutive codes from the first.
// False with a message naming the line on any problem.
bool font_text_read(const std::string &path, FONT_TEXT &font, std::string &error)
{
    std::ifstream in(path);
    if (!in)
        return font_error(error, path, 0, "cannot open the file");
    std::array<bool, 256> defined{};
    std::array<std::array<uint8_t, 4>, 256> shades{};
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        number++;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        char ch = 0;
        int r, g, b, a, code;
        if (std::sscanf(line.c_str(), "shade %c %d %d %d %d", &ch, &r, &g, &b, &a) == 5) {
            auto index = static_cast<unsigned char>(ch);
            if (defined[index])
                return font_error(error, path, number, std::string("shade '") + ch + "' defined twice");
            if (std::min({r, g, b, a}) < 0 || std::max({r, g, b, a}) > 255)
                return font_error(error, path, number, "shade bytes must lie in 0..255");
            shades[index] = {static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b),
                             static_cast<uint8_t>(a)};
            if (shades[index] == FONT_TEXT_MARKER)
                return font_error(error, path, number, "a shade may not be the sheet's marker colour");
            if (a != 0 && a != 255)
                return font_error(error, path, number, "a shade is either transparent or opaque (alpha 0 or 255)");
            defined[index] = true;
        } else if (std::sscanf(line.c_str(), "glyph %d", &code) == 1) {
            int expected = FONT_TEXT_FIRST + static_cast<int>(font.glyphs.size());
            if (code != expected)
                return font_error(error, path, number, "glyph " + std::to_string(code) + " where " +
                                                    std::to_string(expected) + " comes next");
            if (code > FONT_TEXT_LAST_ALLOWED)
                return font_error(error, path, number, "character codes end at 255");
            FONT_TEXT_GLYPH glyph;
            for (int row = 0; row < FONT_TEXT_SIDE; row++) {
                number++;
                if (!std::getline(in, line))
                    return font_error(error, path, number, "the file ends inside glyph " + std::to_string(code));
                if (!line.empty() && line.back() == '\r')
                    line.pop_back();
                if (line.size() != FONT_TEXT_SIDE)
                    return font_error(error, path, number, "a glyph row has 8 pixels");
                for (int col = 0; col < FONT_TEXT_SIDE; col++) {
                    auto index = static_cast<unsigned char>(line[col]);
                    if (!defined[index])
                        return font_error(error, path, number, std::string("no shade '") + line[col] + "'");
                    glyph.px[row * FONT_TEXT_SIDE + col] = shades[index];
                }
            }
            font.glyphs.push_back(glyph);
        } else {
            return font_error(error, path, number, "expected a shade, a glyph or a comment");
        }
    }
    int last = FONT_TEXT_FIRST + static_cast<int>(font.glyphs.size()) - 1;
    if (last < FONT_TEXT_LAST_REQUIRED)
        return font_error(error, path, number, "the font ends at code " + std::to_string(last) + ", before " +
                                            std::to_string(FONT_TEXT_LAST_REQUIRED));
    return true;
}

