// wrapper_image: image decoding on the desktop, through SDL_image (see wrapper_image.h).
// A file is loaded with IMG_Load, converted to the display's format with an alpha channel, and
// read out pixel by pixel as R, G, B, A bytes.
// Depends on: log (log lines), wrapper_file (only regular files are decoded), SDL 1.2 (surfaces, a video mode for the conversion), SDL_image.
#include "wrapper_image.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "SDL.h"
#include "SDL_image.h"
#include "log.h"
#include "wrapper_file.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int RGBA_BYTES = 4;           // bytes of one decoded pixel
constexpr const char *NO_PATH = "(null)";  // how a missing path appears in log lines

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// Frees an SDL surface when it goes out of scope
struct SURFACE_FREE {
    void operator()(SDL_Surface *surface) const { SDL_FreeSurface(surface); }
};
using SURFACE_PTR = std::unique_ptr<SDL_Surface, SURFACE_FREE>;

// Keeps a surface locked (where SDL requires it) while its pixels are read
struct SURFACE_LOCK {
    SDL_Surface *surface;
    bool locked;
    explicit SURFACE_LOCK(SDL_Surface *s) : surface(s), locked(!SDL_MUSTLOCK(s) || SDL_LockSurface(s) == 0) {}
    ~SURFACE_LOCK()
    {
        if (locked && SDL_MUSTLOCK(surface))
            SDL_UnlockSurface(surface);
    }
    SURFACE_LOCK(const SURFACE_LOCK &) = delete;
    SURFACE_LOCK &operator=(const SURFACE_LOCK &) = delete;
};

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// The raw value of pixel (x, y) by the surface's bytes per pixel: one 32-bit word, three bytes
// lowest first, or (any other size) one byte
static uint32_t raw_pixel(const SDL_Surface *surface, int x, int y)
{
    int bpp = surface->format->BytesPerPixel;
    const uint8_t *p = static_cast<const uint8_t *>(surface->pixels) + y * surface->pitch + x * bpp;
    switch (bpp) {
    case 4: {
        uint32_t word;
        std::memcpy(&word, p, sizeof word);
        return word;
    }
    case 3:
        return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16;
    default:
        return p[0];
    }
}

// Whether pixel (x, y) of a surface is its colour key.
// NOTE: in the browser, images are decoded by the browser into pixels with alpha, never with a
// colour key, and Emscripten's SDL declares a pixel format without one.
static bool is_colour_key(const SDL_Surface *surface, int x, int y)
{
#ifdef __EMSCRIPTEN__
    (void)surface;
    (void)x;
    (void)y;
    return false;
#else
    return (surface->flags & SDL_SRCCOLORKEY) && raw_pixel(surface, x, y) == surface->format->colorkey;
#endif
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Decode an image file into R, G, B, A bytes.
// NOTE: the conversion to the display format turns a colour key into alpha 0 but keeps the
// key's colour in the red, green and blue bytes, so the key is looked up in the loaded surface,
// where it is still a key, and such pixels are written as four zero bytes.
uint8_t *wrapper_load_rgba(const char *path, int *w, int *h)
{
    if (w)
        *w = 0;
    if (h)
        *h = 0;
    SURFACE_PTR loaded(path && wrapper_file_readable(path) ? IMG_Load(path) : nullptr);
    if (!loaded) {
        lum_logf("image '%s' load failed\n", path ? path : NO_PATH);
        return nullptr;
    }
    // NOTE: in the browser, the decoder gives 32-bit surfaces with alpha already, and Emscripten's
    // SDL can neither convert nor lock a surface once the window uses OpenGL (it keeps only the
    // pixels, in memory), so there the loaded surface is read as it is.
#ifdef __EMSCRIPTEN__
    SDL_Surface *readable = loaded.get();
    const bool locked = true;
#else
    SURFACE_PTR converted(SDL_DisplayFormatAlpha(loaded.get()));
    if (!converted) {
        lum_logf("image '%s' SDL surface error\n", path);
        return nullptr;
    }
    SDL_Surface *readable = converted.get();
    SURFACE_LOCK source(loaded.get());
    SURFACE_LOCK target(readable);
    const bool locked = source.locked && target.locked;
#endif
    if (!locked) {
        lum_logf("image '%s' SDL surface error\n", path);
        return nullptr;
    }
    int width = readable->w;
    int height = readable->h;
    int64_t bytes = static_cast<int64_t>(width) * height * RGBA_BYTES;
    uint8_t *pixels = bytes <= INT_MAX ? static_cast<uint8_t *>(std::malloc(static_cast<size_t>(bytes))) : nullptr;
    if (!pixels) {
        lum_logf("image '%s' %dx%d too large\n", path, width, height);
        return nullptr;
    }
    if (w)
        *w = width;
    if (h)
        *h = height;
    lum_logf("image '%s' %dx%d (%d bytes)\n", path, width, height, static_cast<int>(bytes));

    uint8_t *out = pixels;
    for (int y = 0; y < height; y++) {
        for (int x = 0; x < width; x++, out += RGBA_BYTES) {
            if (is_colour_key(loaded.get(), x, y)) {
                std::memset(out, 0, RGBA_BYTES);
                continue;
            }
            SDL_GetRGBA(raw_pixel(readable, x, y), readable->format, &out[0], &out[1], &out[2], &out[3]);
        }
    }
    return pixels;
}
