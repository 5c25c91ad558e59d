// files: what the tests read of the files and trees that the project's tools make: a file's
// bytes, a PNG's size, and the paths under a folder (an installation, a package's staging tree).
// Depends on: the standard library's filesystem.
#pragma once

#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The bytes of the file at `path`; empty when it cannot be read
std::string files_read(const std::string &path);

// The lines of a text, without their newlines
std::vector<std::string> files_lines(const std::string &text);

// The width and height in a PNG file's header; false if it is not a PNG
bool files_png_size(const std::string &path, int &w, int &h);

// Every file, link and folder under `dir`, as paths relative to it, sorted; a folder's path ends
// with '/'. Empty when `dir` is empty or missing.
std::vector<std::string> files_tree(const std::string &dir);

// The paths of `tree` that are not folders
std::vector<std::string> files_only(const std::vector<std::string> &tree);
