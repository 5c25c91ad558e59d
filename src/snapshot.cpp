// snapshot: the current grid saved as a new RLE file in the documents folder (see snapshot.h).
#include "snapshot.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "exchange.h"
#include "file.h"
#include "lum.h"
#include "wrapper_file.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *USER_DIRS_FILE = "user-dirs.dirs";   // in the configuration folder
constexpr const char *USER_DIRS_KEY = "XDG_DOCUMENTS_DIR=";
constexpr const char *HOME_VARIABLE = "$HOME";
constexpr const char *NEW_SUFFIX = ".new";                  // a file being written, beside its name
constexpr const char *PATTERN_EXTENSION = ".rle";
constexpr size_t USER_DIRS_MAX = 64 * 1024;                 // the most of user-dirs.dirs read

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
static std::string home_folder()
{
    const char *home = std::getenv("HOME");
    return home && home[0] == '/' ? home : "";
}

// The value of XDG_DOCUMENTS_DIR in user-dirs.dirs: a quoted absolute path or one starting with
// $HOME/; empty when the file, the line or a usable value is missing
static std::string documents_from_user_dirs(const std::string &home)
{
    const char *config = std::getenv("XDG_CONFIG_HOME");
    std::string folder = config && config[0] == '/' ? config : (home.empty() ? "" : home + "/.config");
    if (folder.empty())
        return "";
    std::string path = folder + "/" + USER_DIRS_FILE;
    if (wrapper_file_kind(path.c_str()) != WRAPPER_FILE_REGULAR)
        return "";
    FILE *in = file_open_read(path.c_str());
    if (!in)
        return "";
    std::vector<char> bytes(USER_DIRS_MAX);
    size_t n = file_read(in, bytes.data(), bytes.size());
    file_close(in);
    std::string text(bytes.data(), n);
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find('\n', at);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(at, end - at);
        at = end + 1;
        size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line.compare(start, std::strlen(USER_DIRS_KEY), USER_DIRS_KEY) != 0)
            continue;
        std::string value = line.substr(start + std::strlen(USER_DIRS_KEY));
        if (value.size() < 2 || value.front() != '"' || value.find('"', 1) == std::string::npos)
            return "";
        value = value.substr(1, value.find('"', 1) - 1);
        if (value.compare(0, std::strlen(HOME_VARIABLE), HOME_VARIABLE) == 0)
            value = home.empty() ? "" : home + value.substr(std::strlen(HOME_VARIABLE));
        if (value.empty() || value[0] != '/')
            return "";
        while (value.size() > 1 && value.back() == '/')
            value.pop_back();
        return value;
    }
    return "";
}

// Make a folder and the folders on its way; true when it is there
static bool make_folders(const std::string &path)
{
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        wrapper_mkdir(path.substr(0, slash).c_str());
    wrapper_mkdir(path.c_str());
    return wrapper_file_kind(path.c_str()) == WRAPPER_FILE_DIRECTORY;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
std::string snapshot_documents_folder()
{
    std::string home = home_folder();
    std::string folder = documents_from_user_dirs(home);
    if (!folder.empty())
        return folder;
    return home.empty() ? "" : home + "/" + SNAPSHOT_DEFAULT_DOCUMENTS;
}

std::string snapshot_save()
{
    std::string documents = snapshot_documents_folder();
    if (documents.empty()) {
        lum_log("cannot save the grid as a pattern: no home folder to find the documents folder in");
        return "";
    }
    std::string folder = documents + "/" + SNAPSHOT_FOLDER;
    if (!make_folders(folder)) {
        lum_logf("cannot save the grid as a pattern: cannot make the folder '%s': %s\n", folder.c_str(), std::strerror(errno));
        return "";
    }
    std::array<char, 64> stamp{};
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H-%M-%S", &local);
    std::string path;
    for (int n = 1; n <= SNAPSHOT_NAMES_MAX && path.empty(); n++) {
        std::string name = folder + "/" + stamp.data() + (n > 1 ? " " + std::to_string(n) : "") + PATTERN_EXTENSION;
        if (wrapper_file_kind(name.c_str()) == WRAPPER_FILE_MISSING)
            path = name;
    }
    if (path.empty()) {
        lum_logf("cannot save the grid as a pattern: every name for %s is taken in '%s'\n", stamp.data(), folder.c_str());
        return "";
    }
    std::string text = exchange_rle();
    std::string fresh = path + NEW_SUFFIX;
    FILE *out = file_open_write(fresh.c_str());
    if (!out) {
        lum_logf("cannot save the grid as a pattern: cannot write '%s': %s\n", fresh.c_str(), file_error());
        return "";
    }
    size_t written = file_write(out, text.data(), text.size());
    int synced = file_sync(out);
    file_close(out);
    if (written != text.size() || synced != 0 || file_rename(fresh.c_str(), path.c_str()) < 0) {
        lum_logf("cannot save the grid as a pattern: cannot write '%s': %s\n", path.c_str(), file_error());
        file_delete(fresh.c_str());
        return "";
    }
    lum_logf("saved the grid as the pattern '%s'\n", path.c_str());
    return path;
}
