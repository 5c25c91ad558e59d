// life_reference: the grid as the tests see it and the cell-by-cell rule (see life_reference.h).
#include "life_reference.h"

// The cell at column x, row y
uint8_t &at(LIFE_GRID &grid, int x, int y)
{
    return grid[x * LIFE_H + y];
}

// The engine's grid, read through life_cell
LIFE_GRID read_grid()
{
    LIFE_GRID grid{};
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            at(grid, x, y) = static_cast<uint8_t>(life_cell(x, y));
    return grid;
}

// Put a whole grid into the engine through life_set_cell
void write_grid(const LIFE_GRID &grid)
{
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            life_set_cell(x, y, grid[x * LIFE_H + y]);
}

// The next generation worked out cell by cell, a direct transcription of the rule: neighbours
// outside the grid wrap, count as live or count as dead as border_mode says (anything but 1 and
// 2 is dead), the column tested before the row, every list entry compared.
LIFE_GRID reference_step(const LIFE_GRID &now)
{
    LIFE_GRID next{};
    for (int y = 0; y < LIFE_H; y++) {
        for (int x = 0; x < LIFE_W; x++) {
            int around = 0;
            for (int dy = -1; dy <= 1; dy++) {
                for (int dx = -1; dx <= 1; dx++) {
                    if (dx == 0 && dy == 0)
                        continue;
                    int cx = x + dx;
                    int cy = y + dy;
                    if (cx < 0 || cx >= LIFE_W) {
                        if (border_mode != LIFE_BORDER_WRAP) {
                            around += border_mode == LIFE_BORDER_LIVE ? 1 : 0;
                            continue;
                        }
                        cx = (cx + LIFE_W) % LIFE_W;
                    }
                    if (cy < 0 || cy >= LIFE_H) {
                        if (border_mode != LIFE_BORDER_WRAP) {
                            around += border_mode == LIFE_BORDER_LIVE ? 1 : 0;
                            continue;
                        }
                        cy = (cy + LIFE_H) % LIFE_H;
                    }
                    around += now[cx * LIFE_H + cy] != 0 ? 1 : 0;
                }
            }
            bool alive = now[x * LIFE_H + y] != 0;
            const auto &rules = alive ? rules_survive : rules_birth;
            uint8_t value = 0;
            for (int32_t n : rules)
                if (around == n)
                    value = 1;
            next[x * LIFE_H + y] = value;
        }
    }
    return next;
}
