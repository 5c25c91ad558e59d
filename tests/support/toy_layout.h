// toy_layout: where the toy puts things on its screen, worked out from the screen's layout rules
// independently of the toy's code: the layout scale and the play area at a window size, the
// pixels of every grid cell in both orientations (the grid is drawn turned a quarter in
// portrait), the engine cell that a touch edits, and the centre and touch area of every control
// of the main and the display panel. The end-to-end tests click where these say and look there.
// Depends on: settings_record (the grid's size).
#pragma once

#include <string>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int LAYOUT_START_W = 960;     // the window at start-up
constexpr int LAYOUT_START_H = 640;
constexpr int LAYOUT_SCALE_STEP = 480;  // the layout scale grows by one every 480 pixels of the longer side
constexpr int LAYOUT_CELL_SIDE = 8;     // one cell's sprite side in layout units
// The about screen, in layout units: the logo's height (gfx/kobaltine.png), the margin between
// the screen's edge and the buttons, and the gap between the banner and the icons
constexpr double LAYOUT_ABOUT_LOGO_H = 64.0;
constexpr double LAYOUT_ABOUT_MARGIN = 8.0;
constexpr double LAYOUT_ABOUT_ICONS_GAP = 48.0;

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The screen's geometry at one display size
struct LAYOUT_VIEW {
    int w, h;              // display pixels
    int scale;             // pixels per layout unit
    int play_w, play_h;    // the display in layout units
    bool landscape;
    int cols, rows;        // the grid as the screen shows it (turned a quarter in portrait)
};

// A button's centre and the half extents that take touches, in display pixels
struct LAYOUT_SPOT {
    double x, y, rx, ry;
};

// A box of the screen, as fractions of its width and height
struct LAYOUT_BOX {
    double left, top, right, bottom;
};

enum LAYOUT_CONTROL {
    LAYOUT_PANEL,          // ".." switches between the main and the display panel
    LAYOUT_ABOUT,          // "?" opens the about screen
    LAYOUT_RUN, LAYOUT_STEP, LAYOUT_SPEED_PLUS, LAYOUT_SPEED_VALUE, LAYOUT_SPEED_MINUS, LAYOUT_BORDER,
    LAYOUT_RAND, LAYOUT_CLEAR,
    LAYOUT_STEP_DISPLAY, LAYOUT_GLOW, LAYOUT_FG_MINUS, LAYOUT_FG_TILE, LAYOUT_FG_PLUS, LAYOUT_BG_MINUS,
    LAYOUT_BG_TILE, LAYOUT_BG_PLUS, LAYOUT_CELL_MINUS, LAYOUT_CELL_TILE, LAYOUT_CELL_PLUS, LAYOUT_GRID_MINUS,
    LAYOUT_GRID_TILE, LAYOUT_GRID_PLUS,
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The layout at a display size: the scale follows the longer side, landscape when wider than high
LAYOUT_VIEW layout_view(int w, int h);

// The toy's log line of that layout
std::string layout_line(const LAYOUT_VIEW &v);

// The pixel on which screen cell (c, r) is centred
void layout_cell_centre(const LAYOUT_VIEW &v, int c, int r, int &x, int &y);

// The engine cell that screen cell (c, r) shows
void layout_engine_cell(const LAYOUT_VIEW &v, int c, int r, int &x, int &y);

// The top-left pixel of glyph pixel (gx, gy) of screen cell (c, r); each glyph pixel covers
// scale x scale display pixels
void layout_glyph_pixel(const LAYOUT_VIEW &v, int c, int r, int gx, int gy, int &x, int &y);

// The grid's button (EDIT): it covers the grid exactly
LAYOUT_BOX layout_grid_box(const LAYOUT_VIEW &v);

// The engine cell a touch at pixel (x, y) edits: the touch's column and row on the grid's button,
// which go to the engine unturned in both orientations
void layout_touched_cell(const LAYOUT_VIEW &v, double x, double y, int &cx, int &cy);

// A rule digit: birth on the first row, survival on the second
LAYOUT_SPOT layout_rule_digit(const LAYOUT_VIEW &v, bool birth, int n);

// Where a control is, on the main or the display panel
LAYOUT_SPOT layout_control(const LAYOUT_VIEW &v, LAYOUT_CONTROL c);

// A button of the about screen's bottom row: column 0 Donate, 1 Web, 2 Contact, 3 OK
LAYOUT_SPOT layout_about_row(const LAYOUT_VIEW &v, int column);
