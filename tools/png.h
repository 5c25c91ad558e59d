// png: a small PNG writer for the project's tools (screenshots, generated art).
// Writes 8-bit RGB or RGBA images with zlib at a fixed level, so the same pixels always give the
// same bytes.
// Depends on: zlib.
#pragma once

#include <cstdint>

// Write w x h pixels of `channels` bytes each (3: RGB, 4: RGBA), rows top to bottom.
// Returns 1 on success, -1 if the file cannot be written or the arguments are unusable.
int png_write(const char *path, int w, int h, int channels, const uint8_t *pixels);
