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

// What a path names (wrapper_file_kind)
constexpr int WRAPPER_FILE_MISSING = 0;    // nothing there (or it cannot be looked at)
constexpr int WRAPPER_FILE_REGULAR = 1;
constexpr int WRAPPER_FILE_DIRECTORY = 2;
constexpr int WRAPPER_FILE_FIFO = 3;
constexpr int WRAPPER_FILE_DEVICE = 4;     // a character or block device
constexpr int WRAPPER_FILE_SOCKET = 5;
constexpr int WRAPPER_FILE_OTHER = 6;

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The application's name names its per-user folder. The pointer is kept, not a copy; the paths
// take the name in force at their first request.
void wrapper_set_app_name(const char *name);
const char *wrapper_app_name();        // "unnamed" when none was set
const char *wrapper_file_data_path();  // "./", or where wrapper_file_find_data found data
// The data folder for a data file: the working directory when the file is there, else the first
// of the executable's folder and the installed data folder that holds it, which then stays the
// data folder (logged once); the working directory when none does
const char *wrapper_file_find_data(const char *name);
const char *wrapper_file_data_folders();  // every folder data is looked for in, quoted, for messages
const char *wrapper_file_save_path();  // each ends in "/"
const char *wrapper_file_temp_path();
const char *wrapper_file_doc_path();
int wrapper_mkdir(const char *path);   // mode 0777 before the umask; the system result
// Push a written file to lasting storage: fsync on the desktop (-1 when it fails: a full disk, a
// pipe); 0 at once in the browser, which keeps files in memory and copies a replaced one to its
// lasting storage instead (wrapper_file_changed)
int wrapper_file_sync(int fd);
// A per-user file was replaced (a save renamed into place): where the platform keeps such files
// somewhere the program's writes do not reach at once (the browser's IndexedDB), it copies them
// there now. Nothing on the desktop, where the write is on the disk already.
void wrapper_file_changed(const char *path);
// What is at a path, looked at without opening it (so a FIFO cannot block): WRAPPER_FILE_*
int wrapper_file_kind(const char *path);
const char *wrapper_file_kind_name(int kind);  // "a regular file", "a directory", "a FIFO", ...
// Whether a file may be opened for reading: 1 for a regular file (or anything missing, which the
// open then reports); 0, with the line "'<path>' is <kind>, not a file: ignored", for anything
// else (a FIFO would block the open for ever, a device never ends, a directory has no bytes)
int wrapper_file_readable(const char *path);
// Visit the entries of a directory (".", ".." included) in ascending alphasort order while the
// callback returns above 0; -1 if the directory cannot be listed, else the last callback's
// result, or 1 for an empty listing
int wrapper_file_dir_walk(const char *path, void *data, int (*callback)(const char *path, const char *name, void *data));
