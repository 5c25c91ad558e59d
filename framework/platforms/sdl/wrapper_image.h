// wrapper_image: image decoding on the desktop, through SDL_image.
// Depends on: log (log lines), wrapper_file (only regular files are decoded), SDL 1.2, SDL_image.
#pragma once

#include <cstdint>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Decode an image file into w * h pixels R, G, B, A (rows from the top), allocated with malloc
// and owned by the caller; null when the file cannot be decoded (w and h are then 0). Pixels
// equal to the file's colour key come out as four zero bytes. Needs a video mode (the pixels
// are converted to the display's format first). A null path, or an image whose byte count would
// not fit an int, is refused like an undecodable file.
uint8_t *wrapper_load_rgba(const char *path, int *w, int *h);
