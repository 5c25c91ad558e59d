// files: what the tests read of the files and trees that the project's tools make (see files.h).
#include "files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// A PNG file starts with this signature, then the IHDR chunk: its length, its name, the width
// and the height as big-endian 32-bit numbers
static const unsigned char FILES_PNG_SIGNATURE[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr size_t FILES_PNG_HEAD = 24;     // the signature and IHDR up to the height
constexpr size_t FILES_PNG_NAME = 12;     // where "IHDR" stands
constexpr size_t FILES_PNG_WIDTH = 16;

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
std::string files_read(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::vector<std::string> files_lines(const std::string &text)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        start = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
}

bool files_png_size(const std::string &path, int &w, int &h)
{
    std::string head = files_read(path).substr(0, FILES_PNG_HEAD);
    if (head.size() < FILES_PNG_HEAD ||
        !std::equal(std::begin(FILES_PNG_SIGNATURE), std::end(FILES_PNG_SIGNATURE), head.begin(),
                    [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); }) ||
        head.substr(FILES_PNG_NAME, 4) != "IHDR")
        return false;
    auto be32 = [&](size_t at) {
        int v = 0;
        for (size_t i = 0; i < 4; i++)
            v = v << 8 | static_cast<unsigned char>(head[at + i]);
        return v;
    };
    w = be32(FILES_PNG_WIDTH);
    h = be32(FILES_PNG_WIDTH + 4);
    return true;
}

std::vector<std::string> files_tree(const std::string &dir)
{
    std::vector<std::string> tree;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator it(dir, error), end; !error && it != end; it.increment(error)) {
        std::string path = std::filesystem::relative(it->path(), dir).string();
        if (it->is_directory() && !it->is_symlink())
            path += "/";
        tree.push_back(path);
    }
    std::sort(tree.begin(), tree.end());
    return tree;
}

std::vector<std::string> files_only(const std::vector<std::string> &tree)
{
    std::vector<std::string> files;
    std::copy_if(tree.begin(), tree.end(), std::back_inserter(files),
                 [](const std::string &p) { return p.empty() || p.back() != '/'; });
    return files;
}
