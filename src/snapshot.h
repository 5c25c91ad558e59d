// snapshot: the current grid saved as a new RLE file in the user's documents folder.
// The folder is XDG_DOCUMENTS_DIR as the user's user-dirs.dirs names it (in XDG_CONFIG_HOME, else
// ~/.config), else ~/Documents; the files go into "Lum Life/" there, named with the date and time
// ("2026-11-25 09-30-12.rle", with " 2", " 3", ... when that name is taken). A file is written
// beside its name and renamed into place, so no half-written file is ever left under it.
// Ctrl+S on the game screen calls it (keyboard).
// Depends on: exchange (the grid as RLE), file (writing, renaming), wrapper_file (making the
// folders), lum (the log line).
#pragma once

#include <string>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *SNAPSHOT_FOLDER = "Lum Life";      // under the documents folder
constexpr const char *SNAPSHOT_DEFAULT_DOCUMENTS = "Documents";  // under HOME, when none is named
constexpr int SNAPSHOT_NAMES_MAX = 100;                  // names tried for one second's file

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The documents folder, without a trailing '/': from user-dirs.dirs or HOME/Documents
std::string snapshot_documents_folder();
// Save the grid: the new file's path, logged; empty when it could not be written (logged why)
std::string snapshot_save();
