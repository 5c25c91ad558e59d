// settings_record: the toy's saved record as the tests prepare it and read it back (see
// settings_record.h).
#include "settings_record.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int RECORD_DEFAULT_FREQ = 60;
constexpr int RECORD_LISTED_DIFFERENCES = 12;  // a failed comparison names this many bytes at most

// Where each field starts, in the record's order
static const struct {
    size_t offset;
    const char *name;
} RECORD_FIELDS[] = {
    {RECORD_BPARAMS, "bparams"},     {RECORD_SPARAMS, "sparams"},     {RECORD_BORDER, "border_mode"},
    {RECORD_FREQ, "freq"},           {RECORD_RUNNING, "running"},     {RECORD_SHOW_STEPS, "show_steps"},
    {RECORD_FG, "fg"},               {RECORD_BG, "bg"},               {RECORD_ICON_CELL, "icon_cell"},
    {RECORD_ICON_GRID, "icon_grid"}, {RECORD_GLOW, "icon_glow"},      {RECORD_PAD, "pad"},
    {RECORD_CELLS, "cells"},         {RECORD_STEPS, "step_count"},
};

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
SETTINGS_RECORD record_prepared(const RECORD_GRID &grid, std::initializer_list<RECORD_FIELD> fields)
{
    SETTINGS_RECORD r;
    r.bytes.assign(RECORD_SIZE, 0);
    r.bytes[RECORD_BPARAMS + 3] = 1;
    r.bytes[RECORD_SPARAMS + 2] = 1;
    r.bytes[RECORD_SPARAMS + 3] = 1;
    record_put32(r, RECORD_FREQ, RECORD_DEFAULT_FREQ);
    record_put32(r, RECORD_SHOW_STEPS, 1);
    record_set_grid(r, grid);
    for (const RECORD_FIELD &f : fields)
        record_put32(r, f.offset, f.value);
    return r;
}

SETTINGS_RECORD record_prepared(std::initializer_list<RECORD_FIELD> fields)
{
    return record_prepared(RECORD_GRID{}, fields);
}

void record_put32(SETTINGS_RECORD &r, size_t offset, int64_t value)
{
    for (int i = 0; i < 4; i++)
        r.bytes[offset + i] = static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i));
}

int64_t record_get32(const SETTINGS_RECORD &r, size_t offset)
{
    uint32_t v = 0;
    for (int i = 0; i < 4; i++)
        v |= static_cast<uint32_t>(r.bytes[offset + i]) << (8 * i);
    return offset == RECORD_STEPS ? static_cast<int64_t>(v) : static_cast<int64_t>(static_cast<int32_t>(v));
}

uint8_t record_cell(const SETTINGS_RECORD &r, int x, int y)
{
    return r.bytes[RECORD_CELLS + static_cast<size_t>(x * RECORD_GRID_SIDE + y)];
}

void record_set_cell(SETTINGS_RECORD &r, int x, int y, uint8_t value)
{
    r.bytes[RECORD_CELLS + static_cast<size_t>(x * RECORD_GRID_SIDE + y)] = value;
}

// A cell counts as alive when its byte is non-zero, as the toy reads it
RECORD_GRID record_grid(const SETTINGS_RECORD &r)
{
    RECORD_GRID g{};
    for (int x = 0; x < RECORD_COLS; x++)
        for (int y = 0; y < RECORD_ROWS; y++)
            g[x][y] = record_cell(r, x, y) != 0;
    return g;
}

RECORD_GRID record_glider_blinker_block()
{
    RECORD_GRID g{};
    for (auto [c, r] : {std::pair{3, 2}, {4, 3}, {2, 4}, {3, 4}, {4, 4}, {20, 10}, {21, 10}, {22, 10}, {40, 20},
                        {41, 20}, {40, 21}, {41, 21}})
        g[static_cast<size_t>(c)][static_cast<size_t>(r)] = 1;
    return g;
}

void record_set_grid(SETTINGS_RECORD &r, const RECORD_GRID &grid)
{
    for (int x = 0; x < RECORD_COLS; x++)
        for (int y = 0; y < RECORD_ROWS; y++)
            record_set_cell(r, x, y, grid[x][y]);
}

std::string record_field_name(size_t offset)
{
    std::string name = "?";
    for (const auto &f : RECORD_FIELDS)
        if (offset >= f.offset)
            name = f.name;
    if (name == "cells") {
        size_t i = offset - RECORD_CELLS;
        return "cell (" + std::to_string(i / RECORD_GRID_SIDE) + ", " + std::to_string(i % RECORD_GRID_SIDE) + ")";
    }
    return name;
}

::testing::AssertionResult record_same(const SETTINGS_RECORD &got, const SETTINGS_RECORD &want)
{
    if (got.bytes.size() != want.bytes.size())
        return ::testing::AssertionFailure() << "the file has " << got.bytes.size() << " bytes, not "
                                             << want.bytes.size();
    std::string differences;
    int count = 0;
    for (size_t i = 0; i < got.bytes.size(); i++) {
        if (got.bytes[i] != want.bytes[i] && count++ < RECORD_LISTED_DIFFERENCES)
            differences += "\n  byte " + std::to_string(i) + " (" + record_field_name(i) +
                           "): " + std::to_string(got.bytes[i]) + ", expected " + std::to_string(want.bytes[i]);
    }
    if (count == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << count << " bytes differ:" << differences;
}

std::string record_path(const std::string &home)
{
    return home + "/.kobaltine/lumlife/settings.cfg";
}

bool record_write(const std::string &path, const SETTINGS_RECORD &r)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error)
        return false;
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(r.bytes.data()), static_cast<std::streamsize>(r.bytes.size()));
    return out.good();
}

SETTINGS_RECORD record_read(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    SETTINGS_RECORD r;
    r.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return r;
}

// One generation under the record's rule and border (the record's numbering: 0 wrap, 1 dead,
// 2 live). A neighbour outside the grid counts once, as dead or live, unless the grid wraps.
RECORD_GRID record_life_next(const RECORD_GRID &g, const SETTINGS_RECORD &r)
{
    int64_t border = record_get32(r, RECORD_BORDER);
    RECORD_GRID next{};
    for (int x = 0; x < RECORD_COLS; x++) {
        for (int y = 0; y < RECORD_ROWS; y++) {
            int around = 0;
            for (int dx = -1; dx <= 1; dx++) {
                for (int dy = -1; dy <= 1; dy++) {
                    if (dx == 0 && dy == 0)
                        continue;
                    int nx = x + dx, ny = y + dy;
                    bool inside = nx >= 0 && nx < RECORD_COLS && ny >= 0 && ny < RECORD_ROWS;
                    if (inside)
                        around += g[nx][ny];
                    else if (border == 0)
                        around += g[(nx + RECORD_COLS) % RECORD_COLS][(ny + RECORD_ROWS) % RECORD_ROWS];
                    else
                        around += border == 2 ? 1 : 0;
                }
            }
            size_t list = g[x][y] ? RECORD_SPARAMS : RECORD_BPARAMS;
            next[x][y] = r.bytes[list + around] != 0;
        }
    }
    return next;
}
