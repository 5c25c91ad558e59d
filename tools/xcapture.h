// xcapture: reading pixels back from an X display (screenshots and rendering checks).
// Depends on: Xlib.
#pragma once

#include <cstdint>
#include <vector>

#include <X11/Xlib.h>

// An RGB image, rows top to bottom, 3 bytes a pixel.
struct XCAPTURE_IMAGE {
    int w = 0, h = 0;
    std::vector<uint8_t> rgb;
};

// The largest mapped top-level window on the display (the toy's, on a private virtual display);
// None when nothing is mapped.
Window xcapture_find_toplevel(Display *display);

// Read a window's pixels; returns false if the window cannot be read.
bool xcapture_window(Display *display, Window window, XCAPTURE_IMAGE &image);
