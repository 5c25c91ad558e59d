// lumshot: save a screenshot of the toy's window as PNG.
// Usage: lumshot OUT.png   (the display is $DISPLAY; without a mapped window, the whole screen)
#include <cstdio>

#include "png.h"
#include "xcapture.h"

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: lumshot OUT.png\n");
        return 2;
    }
    Display *display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "lumshot: cannot open the X display\n");
        return 1;
    }
    Window window = xcapture_find_toplevel(display);
    if (window == None)
        window = DefaultRootWindow(display);
    XCAPTURE_IMAGE image;
    bool ok = xcapture_window(display, window, image) && png_write(argv[1], image.w, image.h, 3, image.rgb.data()) == 1;
    XCloseDisplay(display);
    if (!ok) {
        std::fprintf(stderr, "lumshot: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
