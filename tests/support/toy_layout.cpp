// toy_layout: where the toy puts things on its screen (see toy_layout.h).
#include "toy_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "settings_record.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int S = LAYOUT_CELL_SIDE;

// Cells down the grid and its frame, from which the grid is placed vertically, and cells across
// them, from which the side margins are measured; the corner buttons' box ends this many cells
// down. Landscape first, then portrait.
constexpr int LAYOUT_FRAME_DOWN[2] = {32, 50};
constexpr int LAYOUT_FRAME_ACROSS[2] = {50, 32};
constexpr int LAYOUT_CORNER_ROWS[2] = {31, 49};

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The parts of the screen that the controls are laid out over
enum LAYOUT_AREA {
    AREA_PANEL,     // below the grid
    AREA_GRID,      // the grid's box, whose controls go into the margins beside the grid
    AREA_CORNERS,   // the box of the two top corners, likewise
};

enum LAYOUT_MARGIN { MARGIN_NONE, MARGIN_LEFT, MARGIN_RIGHT };

// Where a control sits in one orientation: cell (col, row) of a layout of across x down cells
// over an area, moved into a margin beside the grid or not
struct LAYOUT_PLACE {
    LAYOUT_AREA area;
    int across, down;          // 0 across: no place of its own (see LAYOUT_ROW)
    double col, row;
    LAYOUT_MARGIN margin;
};

struct LAYOUT_ROW {
    LAYOUT_CONTROL control;
    LAYOUT_PLACE landscape;
    LAYOUT_PLACE portrait = {};  // none: as in landscape
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
// Every control of the main and the display panel
static const LAYOUT_ROW LAYOUT_ROWS[] = {
    {.control = LAYOUT_PANEL, .landscape = {AREA_CORNERS, 12, 5, 11, 0, MARGIN_RIGHT}},
    {.control = LAYOUT_ABOUT, .landscape = {AREA_CORNERS, 12, 5, 0, 0, MARGIN_LEFT}},
    // The main panel
    {.control = LAYOUT_RUN, .landscape = {AREA_PANEL, 6, 2, 5, 0, MARGIN_NONE}},
    {.control = LAYOUT_STEP, .landscape = {AREA_PANEL, 6, 2, 5, 1, MARGIN_NONE}},
    {.control = LAYOUT_SPEED_PLUS, .landscape = {AREA_GRID, 12, 5, 0, 1.5, MARGIN_LEFT},
     .portrait = {AREA_PANEL, 12, 3, 2, 2, MARGIN_NONE}},
    {.control = LAYOUT_SPEED_VALUE, .landscape = {AREA_GRID, 12, 5, 0, 2.5, MARGIN_LEFT},
     .portrait = {AREA_PANEL, 12, 3, 1, 2, MARGIN_NONE}},
    {.control = LAYOUT_SPEED_MINUS, .landscape = {AREA_GRID, 12, 5, 0, 3.5, MARGIN_LEFT},
     .portrait = {AREA_PANEL, 12, 3, 0, 2, MARGIN_NONE}},
    {.control = LAYOUT_BORDER, .landscape = {AREA_GRID, 12, 5, 11, 1.5, MARGIN_RIGHT},
     .portrait = {AREA_PANEL, 4, 3, 1, 2, MARGIN_NONE}},
    {.control = LAYOUT_RAND, .landscape = {AREA_GRID, 12, 5, 11, 2.5, MARGIN_RIGHT},
     .portrait = {AREA_PANEL, 6, 3, 3, 2, MARGIN_NONE}},
    {.control = LAYOUT_CLEAR, .landscape = {AREA_GRID, 12, 5, 11, 3.5, MARGIN_RIGHT},
     .portrait = {AREA_PANEL, 6, 3, 4, 2, MARGIN_NONE}},
    // The display panel
    {.control = LAYOUT_STEP_DISPLAY, .landscape = {AREA_PANEL, 4, 2, 0, 0, MARGIN_NONE}},
    {.control = LAYOUT_GLOW, .landscape = {AREA_PANEL, 4, 2, 0, 1, MARGIN_NONE}},
    {.control = LAYOUT_FG_MINUS, .landscape = {AREA_PANEL, 8, 2, 2, 0, MARGIN_NONE}},
    {.control = LAYOUT_FG_TILE, .landscape = {AREA_PANEL, 8, 2, 3, 0, MARGIN_NONE}},
    {.control = LAYOUT_FG_PLUS, .landscape = {AREA_PANEL, 8, 2, 4, 0, MARGIN_NONE}},
    {.control = LAYOUT_BG_MINUS, .landscape = {AREA_PANEL, 8, 2, 2, 1, MARGIN_NONE}},
    {.control = LAYOUT_BG_TILE, .landscape = {AREA_PANEL, 8, 2, 3, 1, MARGIN_NONE}},
    {.control = LAYOUT_BG_PLUS, .landscape = {AREA_PANEL, 8, 2, 4, 1, MARGIN_NONE}},
    {.control = LAYOUT_CELL_MINUS, .landscape = {AREA_PANEL, 8, 2, 5, 0, MARGIN_NONE}},
    {.control = LAYOUT_CELL_TILE, .landscape = {AREA_PANEL, 8, 2, 6, 0, MARGIN_NONE}},
    {.control = LAYOUT_CELL_PLUS, .landscape = {AREA_PANEL, 8, 2, 7, 0, MARGIN_NONE}},
    {.control = LAYOUT_GRID_MINUS, .landscape = {AREA_PANEL, 8, 2, 5, 1, MARGIN_NONE}},
    {.control = LAYOUT_GRID_TILE, .landscape = {AREA_PANEL, 8, 2, 6, 1, MARGIN_NONE}},
    {.control = LAYOUT_GRID_PLUS, .landscape = {AREA_PANEL, 8, 2, 7, 1, MARGIN_NONE}},
};

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// 0 in landscape, 1 in portrait: the index into the tables above
static int orientation(const LAYOUT_VIEW &v)
{
    return v.landscape ? 0 : 1;
}

// The box of the two top corners' buttons, and the box of the panel below the grid
static LAYOUT_BOX corner_box(const LAYOUT_VIEW &v)
{
    double right = (v.play_w - S / 2.0) / v.play_w;
    return {1.0 - right, 1.0 - (v.play_h - S / 2.0) / v.play_h, right,
            S * static_cast<double>(LAYOUT_CORNER_ROWS[orientation(v)]) / v.play_h};
}

static LAYOUT_BOX panel_box(const LAYOUT_VIEW &v)
{
    LAYOUT_BOX b = corner_box(v);
    b.top = b.bottom;
    b.bottom = (v.play_h - S / 2.0) / v.play_h;
    return b;
}

// Cell (col, row) of a layout of across x down cells over a box; the touch area is the cell less
// one layout unit on each side
static LAYOUT_SPOT spot(const LAYOUT_VIEW &v, const LAYOUT_BOX &b, int across, int down, double col, double row)
{
    double cw = (b.right - b.left) * v.w / across;
    double ch = v.h * (b.bottom - b.top) / down;
    return {v.w * b.left + cw * (col + 0.5), v.h * b.top + ch * (row + 0.5), cw / 2.0 - v.scale, ch / 2.0 - v.scale};
}

// A button moved into the left or right margin beside the grid, as wide as the margin
static LAYOUT_SPOT in_margin(const LAYOUT_VIEW &v, LAYOUT_SPOT s, bool right)
{
    double margin = (v.play_w - LAYOUT_FRAME_ACROSS[orientation(v)] * S) * v.scale * 0.5;
    s.x = margin / 2.0 + 4.0 * v.scale;
    if (right)
        s.x = v.w - s.x;
    s.rx = margin / 2.0 - v.scale;
    return s;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
LAYOUT_VIEW layout_view(int w, int h)
{
    LAYOUT_VIEW v{};
    v.w = w;
    v.h = h;
    v.landscape = w > h;
    v.scale = std::max((v.landscape ? w : h) / LAYOUT_SCALE_STEP, 1);
    v.play_w = w / v.scale;
    v.play_h = h / v.scale;
    v.cols = v.landscape ? RECORD_COLS : RECORD_ROWS;
    v.rows = v.landscape ? RECORD_ROWS : RECORD_COLS;
    return v;
}

std::string layout_line(const LAYOUT_VIEW &v)
{
    char text[128];
    std::snprintf(text, sizeof text, "NEW LAYOUT %dx%d global_scale %f (%dx%d)", v.w, v.h, static_cast<double>(v.scale),
                  v.play_w, v.play_h);
    return text;
}

// The turtle starts at the display centre and moves up by trunc((play_h - K S) / 2) layout
// units (K the cells down the grid's frame); each cell then sits at whole layout units from
// there, scaled.
void layout_cell_centre(const LAYOUT_VIEW &v, int c, int r, int &x, int &y)
{
    int c0 = v.cols / 2;
    int r0 = v.rows / 2;
    double ux = v.w / 2.0 / v.scale;
    double uy = v.h / 2.0 / v.scale - std::trunc((v.play_h - LAYOUT_FRAME_DOWN[orientation(v)] * S) * 0.5);
    x = static_cast<int>(std::lround((ux + std::trunc((c - c0) * S + S / 2.0)) * v.scale));
    y = static_cast<int>(std::lround((uy + std::trunc((r - r0) * S)) * v.scale));
}

// The grid is turned a quarter in portrait
void layout_engine_cell(const LAYOUT_VIEW &v, int c, int r, int &x, int &y)
{
    x = v.landscape ? c : r;
    y = v.landscape ? r : RECORD_ROWS - 1 - c;
}

// The 8 x 8 sprite is centred on the cell
void layout_glyph_pixel(const LAYOUT_VIEW &v, int c, int r, int gx, int gy, int &x, int &y)
{
    int cx, cy;
    layout_cell_centre(v, c, r, cx, cy);
    x = cx - S / 2 * v.scale + gx * v.scale;
    y = cy - S / 2 * v.scale + gy * v.scale;
}

LAYOUT_BOX layout_grid_box(const LAYOUT_VIEW &v)
{
    double right = v.cols * S / (2.0 * v.play_w) + 0.5;
    return {1.0 - right, (S / 2.0) / v.play_h, right, S * (v.rows + 0.5) / v.play_h};
}

void layout_touched_cell(const LAYOUT_VIEW &v, double x, double y, int &cx, int &cy)
{
    LAYOUT_BOX g = layout_grid_box(v);
    cx = static_cast<int>(std::trunc((x - v.w * g.left) / S / v.scale));
    cy = static_cast<int>(std::trunc((y - v.h * g.top) / S / v.scale));
}

LAYOUT_SPOT layout_rule_digit(const LAYOUT_VIEW &v, bool birth, int n)
{
    return spot(v, panel_box(v), 12, v.landscape ? 2 : 3, n + 1, birth ? 0 : 1);
}

LAYOUT_SPOT layout_control(const LAYOUT_VIEW &v, LAYOUT_CONTROL c)
{
    for (const LAYOUT_ROW &row : LAYOUT_ROWS) {
        if (row.control != c)
            continue;
        const LAYOUT_PLACE &p = v.landscape || row.portrait.across == 0 ? row.landscape : row.portrait;
        LAYOUT_BOX box = p.area == AREA_PANEL ? panel_box(v) : p.area == AREA_GRID ? layout_grid_box(v) : corner_box(v);
        LAYOUT_SPOT s = spot(v, box, p.across, p.down, p.col, p.row);
        return p.margin == MARGIN_NONE ? s : in_margin(v, s, p.margin == MARGIN_RIGHT);
    }
    return {};
}

// The about screen's bottom row: a 4 x 4 layout over the box (m, (2h + 48) / play_h, 1 - m,
// 1 - m), m = 8 / play_w
LAYOUT_SPOT layout_about_row(const LAYOUT_VIEW &v, int column)
{
    const double m = LAYOUT_ABOUT_MARGIN / v.play_w;
    const double top = (2 * LAYOUT_ABOUT_LOGO_H + LAYOUT_ABOUT_ICONS_GAP) / v.play_h;
    const double cell_w = (1 - 2 * m) * v.w / 4;
    const double cell_h = (1 - m - top) * v.h / 4;
    return {m * v.w + cell_w * (column + 0.5), top * v.h + cell_h * 3.5, cell_w / 2, cell_h / 2};
}
