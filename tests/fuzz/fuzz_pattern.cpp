// fuzz_pattern: the pattern files' reader and writer under libFuzzer.
// Each input is a pattern file's bytes, read with pattern_read. Checked:
// - a refusal says why (a non-empty text) and leaves an empty grid; its line and column are 0 or
//   within the input;
// - an accepted pattern fits: its size is at most 48 x 30, it lies inside the grid where it was
//   placed (from the top-left when it said so), every cell is 0 or 1 and every live cell lies
//   inside its box; the border is one of the four values;
// - written as RLE (with its own rule, or a rule and border taken from the input's hash when it
//   names none) every line is at most 70 characters, and reading that back gives the same grid,
//   rule and border, placed from the top-left.
// Depends on: pattern (the module under test), log (assertions).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "log.h"
#include "pattern.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr uint32_t FNV_OFFSET = 2166136261u;
constexpr uint32_t FNV_PRIME = 16777619u;
constexpr int BORDERS = 3;  // wrap, dead, live

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// FNV-1a over the input: the rule and border of a pattern that names none
uint32_t hash(const uint8_t *data, size_t size)
{
    uint32_t h = FNV_OFFSET;
    for (size_t i = 0; i < size; i++)
        h = (h ^ data[i]) * FNV_PRIME;
    return h;
}

// Lines: how many the input has (a refusal's line lies within them)
int line_count(const uint8_t *data, size_t size)
{
    int lines = 1;
    for (size_t i = 0; i < size; i++)
        lines += data[i] == '\n';
    return lines;
}

}  // namespace

//----------------------------------------------------------------------------------
// Fuzzer entry point
//----------------------------------------------------------------------------------
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    PATTERN p{};
    PATTERN_ERROR error{};
    int r = pattern_read(reinterpret_cast<const char *>(data), size, &p, &error);
    LUM_ASSERT(r == 1 || r == -1);
    if (r < 0) {
        LUM_ASSERT(std::memchr(error.text.data(), '\0', error.text.size()) != nullptr);
        LUM_ASSERT(error.text[0] != '\0');
        LUM_ASSERT(error.line >= 0 && error.line <= line_count(data, size));
        LUM_ASSERT(error.column >= 0 && static_cast<size_t>(error.column) <= size + 1);
        for (const auto &column : p.cells)
            for (uint8_t cell : column)
                LUM_ASSERT(cell == 0);
        return 0;
    }
    LUM_ASSERT(p.w >= 0 && p.w <= LIFE_W && p.h >= 0 && p.h <= LIFE_H);
    LUM_ASSERT(p.x >= 0 && p.y >= 0 && p.x + p.w <= LIFE_W && p.y + p.h <= LIFE_H);
    if (p.top_left)
        LUM_ASSERT(p.x == 0 && p.y == 0);
    else
        LUM_ASSERT(p.x == (LIFE_W - p.w) / 2 && p.y == (LIFE_H - p.h) / 2);
    LUM_ASSERT(p.border >= PATTERN_BORDER_NONE && p.border <= PATTERN_BORDER_LIVE);
    LUM_ASSERT(std::memchr(p.name.data(), '\0', p.name.size()) != nullptr);
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++) {
            uint8_t cell = p.cells[x][y];
            LUM_ASSERT(cell == 0 || cell == 1);
            if (cell)
                LUM_ASSERT(x >= p.x && x < p.x + p.w && y >= p.y && y < p.y + p.h);
        }

    // Written and read back
    uint32_t h = hash(data, size);
    PATTERN_RULE rule = p.rule;
    if (!p.has_rule)
        for (int n = 0; n < PATTERN_COUNTS; n++) {
            rule.birth[n] = (h >> n) & 1;
            rule.survive[n] = (h >> (n + PATTERN_COUNTS)) & 1;
        }
    int border = p.border != PATTERN_BORDER_NONE ? p.border : static_cast<int>((h >> 24) % BORDERS);
    std::string text = pattern_write(p.cells, rule, border, "fuzz_pattern");
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        LUM_ASSERT(end != std::string::npos);
        LUM_ASSERT(end - start <= static_cast<size_t>(PATTERN_LINE_MAX));
        start = end + 1;
    }
    PATTERN back{};
    LUM_ASSERT(pattern_read(text.data(), text.size(), &back, &error) == 1);
    LUM_ASSERT(back.cells == p.cells);
    LUM_ASSERT(back.has_rule == 1);
    LUM_ASSERT(back.rule.birth == rule.birth && back.rule.survive == rule.survive);
    LUM_ASSERT(back.border == border);
    LUM_ASSERT(back.top_left == 1 && back.x == 0 && back.y == 0);
    return 0;
}
