// store: a small per-user file of the toy's own (beside the settings), written crash-safely.
// The bytes go to a new file beside the old one, are flushed to the disk and then renamed over
// it, so a crash, a kill or a full disk during the save leaves the previous file as it was;
// something other than a file at the name (a directory, a FIFO) is never replaced.
// Depends on: file (the save folder, the new file, the rename).
#pragma once

#include <cstddef>
#include <string>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Replace the file `name` of the save folder with `n` bytes; 1, or -1 with the reason in `failure`
int store_save(const char *name, const void *bytes, size_t n, std::string &failure);
