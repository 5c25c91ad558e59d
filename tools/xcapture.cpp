// xcapture: reading pixels back from an X display (see xcapture.h).
#include "xcapture.h"

#include <X11/Xutil.h>

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// The position of a mask's lowest set bit and its width, to unpack a visual's channels
static void mask_shape(unsigned long mask, int &shift, int &bits)
{
    shift = 0;
    bits = 0;
    if (!mask)
        return;
    while (!(mask & 1ul)) {
        mask >>= 1;
        shift++;
    }
    while (mask & 1ul) {
        mask >>= 1;
        bits++;
    }
}

static uint8_t channel(unsigned long pixel, int shift, int bits)
{
    if (bits == 0)
        return 0;
    unsigned long v = (pixel >> shift) & ((1ul << bits) - 1ul);
    return static_cast<uint8_t>(v * 255ul / ((1ul << bits) - 1ul));
}

// Ignore X errors while probing windows that may vanish under us
static int ignore_x_error(Display *, XErrorEvent *)
{
    return 0;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
Window xcapture_find_toplevel(Display *display)
{
    Window root = DefaultRootWindow(display), parent = None, *children = nullptr, best = None;
    unsigned int count = 0;
    long best_area = 0;
    if (!XQueryTree(display, root, &root, &parent, &children, &count))
        return None;
    XErrorHandler old = XSetErrorHandler(ignore_x_error);
    for (unsigned int i = 0; i < count; i++) {
        XWindowAttributes a;
        if (!XGetWindowAttributes(display, children[i], &a) || a.map_state != IsViewable || a.c_class != InputOutput)
            continue;
        long area = static_cast<long>(a.width) * a.height;
        if (area > best_area) {
            best_area = area;
            best = children[i];
        }
    }
    XSetErrorHandler(old);
    if (children)
        XFree(children);
    return best;
}

bool xcapture_window(Display *display, Window window, XCAPTURE_IMAGE &image)
{
    XWindowAttributes a;
    if (!XGetWindowAttributes(display, window, &a) || a.width < 1 || a.height < 1)
        return false;
    XImage *x = XGetImage(display, window, 0, 0, a.width, a.height, AllPlanes, ZPixmap);
    if (!x)
        return false;
    int rs, rb, gs, gb, bs, bb;
    mask_shape(x->red_mask, rs, rb);
    mask_shape(x->green_mask, gs, gb);
    mask_shape(x->blue_mask, bs, bb);
    image.w = a.width;
    image.h = a.height;
    image.rgb.resize(static_cast<size_t>(a.width) * a.height * 3);
    for (int y = 0; y < a.height; y++) {
        for (int px = 0; px < a.width; px++) {
            unsigned long p = XGetPixel(x, px, y);
            uint8_t *out = &image.rgb[(static_cast<size_t>(y) * a.width + px) * 3];
            out[0] = channel(p, rs, rb);
            out[1] = channel(p, gs, gb);
            out[2] = channel(p, bs, bb);
        }
    }
    XDestroyImage(x);
    return true;
}
