// wrapper_file: the desktop half of file access: the base paths and directory operations.
// Plain POSIX, no SDL. The per-user paths live under $HOME/.kobaltine/<application name>/ and
// are computed, and their directories created, on the first request of any base path. When HOME
// is not a usable absolute path, the password database's home directory is used, and failing
// that the current directory.
// Depends on: log (log lines).
#pragma once

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int WRAPPER_FILE_BASE_MAX = 512;  // each per-user base path's buffer

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The application's name names its per-user folder. The pointer is kept, not a copy; the paths
// take the name in force at their first request.
void wrapper_set_app_name(const char *name);
const char *wrapper_app_name();        // "unnamed" when none was set
const char *wrapper_file_data_path();  // "./"
const char *wrapper_file_save_path();  // each ends in "/"
const char *wrapper_file_temp_path();
const char *wrapper_file_doc_path();
int wrapper_mkdir(const char *path);   // mode 0777 before the umask; the system result
// Visit the entries of a directory (".", ".." included) in ascending alphasort order while the
// callback returns above 0; -1 if the directory cannot be listed, else the last callback's
// result, or 1 for an empty listing
int wrapper_file_dir_walk(const char *path, void *data, int (*callback)(const char *path, const char *name, void *data));
