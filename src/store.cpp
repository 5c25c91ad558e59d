// store: a small per-user file written crash-safely (see store.h).
#include "store.h"

#include "file.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *STORE_NEW_SUFFIX = ".new";  // a save in progress, beside the file

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Write the new file, flush it, rename it over the old one; a failure leaves no new file behind
int store_save(const char *name, const void *bytes, size_t n, std::string &failure)
{
    const std::string path = file_save_path(name);
    if (const char *other = file_not_a_file(path.c_str())) {
        failure = "'" + path + "' is " + other + ", not a file";
        return -1;
    }
    // The folders are made again if they went away since start-up
    if (const char *folder = file_save_folder_problem()) {
        failure = std::string("cannot create the folder '") + file_save_path("") + "': " + folder;
        return -1;
    }
    const std::string new_name = std::string(name) + STORE_NEW_SUFFIX;
    const std::string new_path = file_save_path(new_name.c_str());
    FILE *out = file_open_save_write(new_name.c_str());
    if (!out) {
        failure = "cannot create '" + new_path + "': " + file_error();
        return -1;
    }
    const size_t written = file_write(out, bytes, n);
    const int synced = file_sync(out);
    file_close(out);
    if (written != n || synced != 0)
        failure = "cannot write '" + new_path + "': " + file_error();
    else if (file_rename(new_path.c_str(), path.c_str()) < 0)
        failure = "cannot replace '" + path + "': " + file_error();
    else
        return 1;
    file_delete(new_path.c_str());
    return -1;
}
