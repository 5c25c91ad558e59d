// glyphs: single-line bitmap text (see glyphs.h).
#include "glyphs.h"

#include <algorithm>
#include <cstring>

#include "sprite.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// The glyph index of a character, not clamped: what lies at that index may not belong to the font
static unsigned glyph_raw_index(const SPRITEFONT *font, char c)
{
    return static_cast<unsigned char>(c) - font->first;
}

// The glyph that shows a character: characters outside the font (below `first` too, through the
// unsigned wrap) show as its last glyph
static const SPRITE *glyph_of(const SPRITEFONT *font, char c)
{
    unsigned index = std::min(glyph_raw_index(font, c), font->count - 1);
    return sprite_get(static_cast<int>(font->glyphbase + index));
}

// The sprite at a character's raw index.
// NOTE: the index goes through the sprite table's mask, so a character far outside the font
// still reads a sprite of the table, never memory beyond it.
static const SPRITE *glyph_raw(const SPRITEFONT *font, char c)
{
    return sprite_get(static_cast<int>(font->glyphbase + glyph_raw_index(font, c)));
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Fill a font record; its glyph pointer is the sprite at glyphbase
SPRITEFONT *glyphs_make_font(SPRITEFONT *font, unsigned glyphbase, unsigned first, unsigned count)
{
    font->glyphbase = glyphbase;
    font->first = first;
    font->count = count;
    font->glyphs = sprite_get(static_cast<int>(glyphbase));
    return font;
}

// Lay a string out along the turtle's x axis and plot it. Each glyph is centred half its own
// width past the previous glyph's right edge.
// NOTE: the alignment measure sums the raw glyph indices while the glyphs drawn are clamped, so
// a character outside the font is drawn as the last glyph but measured as whatever sprite lies
// at its index. Fonts are made to cover every character drawn.
int glyphs_batch_plot_ex(const SPRITEFONT *font, const char *text, int length, int align, int batch)
{
    if (!font || font->count == 0 || !text || length < 1)
        return 0;
    TURTLE saved = turtle;
    double start = glyph_of(font, text[0])->w * 0.5;
    double total = 0.0;
    for (int i = 0; i < length; i++)
        total += glyph_raw(font, text[i])->w;
    if (align == GLYPHS_ALIGN_RIGHT)
        start -= total;
    else if (align == GLYPHS_ALIGN_CENTER)
        start -= total * 0.5;
    turtle_trans(start, 0.0);
    for (int i = 0; i < length; i++) {
        const SPRITE *g = glyph_of(font, text[i]);
        double half = g->w * 0.5;
        if (i > 0)
            turtle_trans(half, 0.0);
        sprite_batch_plot(g, 0, batch);
        turtle_trans(half, 0.0);
    }
    turtle = saved;
    return length;
}

// Plot a whole string, at most its first 255 characters
int glyphs_batch_plot(const SPRITEFONT *font, const char *text, int align, int batch)
{
    int length = text ? static_cast<int>(strnlen(text, GLYPHS_MAX_TEXT)) : 0;
    return glyphs_batch_plot_ex(font, text, length, align, batch);
}

// Draw one glyph now, not mirrored; the turtle is left as it was
int glyphs_print_char(const SPRITEFONT *font, int character)
{
    if (!font)
        return 0;
    if (font->count == 0)
        return -1;
    TURTLE saved = turtle;
    sprite_draw(glyph_of(font, static_cast<char>(character)), 0);
    turtle = saved;
    return 1;
}

// Sum of the glyph widths of the characters from `first` on, at the turtle's x scale
float glyphs_w(const SPRITEFONT *font, const char *text)
{
    if (!font || !text)
        return 0.0f;
    double w = 0.0;
    for (const char *c = text; *c; c++)
        if (static_cast<unsigned char>(*c) >= font->first)
            w += glyph_raw(font, *c)->w;
    return static_cast<float>(w * turtle.scalex);
}

// The tallest glyph among the characters from `first` on, at the turtle's y scale
float glyphs_h(const SPRITEFONT *font, const char *text)
{
    if (!font || !text)
        return 0.0f;
    int h = 0;
    for (const char *c = text; *c; c++)
        if (static_cast<unsigned char>(*c) >= font->first)
            h = std::max<int>(h, glyph_raw(font, *c)->h);
    return static_cast<float>(h * turtle.scaley);
}
