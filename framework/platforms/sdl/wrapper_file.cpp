// wrapper_file: the desktop half of file access (see wrapper_file.h).
// The per-user base paths are composed once, from the home directory and the application name,
// and their directories created; the directory walk lists with scandir.
#include "wrapper_file.h"

#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "log.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr char DATA_PATH[] = "./";       // data files are read relative to the working directory ...
// ... or, for a data file that is not there, from beside the executable or the installed data
// folder (LUM_DATA_DIR, set by the build: "<prefix>/share/<application>/")
#ifndef LUM_DATA_DIR
#define LUM_DATA_DIR ""
#endif
constexpr mode_t DIR_MODE = 0777;        // new directories, before the process's umask
constexpr char CURRENT_DIR[] = ".";      // the home of last resort
constexpr char TEMP_DIR[] = "temp/";     // under the save path
constexpr char DOC_DIR[] = "doc/";       // under the save path

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// A scandir listing: entries [0, count) are still owned here and freed with the list
struct DIR_LIST {
    dirent **entries = nullptr;  // the list scandir allocated
    int count = 0;               // entries not yet handed out

    ~DIR_LIST()
    {
        for (int i = 0; i < count; i++)
            std::free(entries[i]);
        std::free(entries);
    }
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static char save_path[WRAPPER_FILE_BASE_MAX];
static char temp_path[WRAPPER_FILE_BASE_MAX];
static char doc_path[WRAPPER_FILE_BASE_MAX];
static int init = 0;  // the per-user paths are computed
static const char *app_name = nullptr;
static const char *data_path = DATA_PATH;       // the folder data files are read from
static char exe_dir[WRAPPER_FILE_BASE_MAX];     // the executable's folder, "/"-terminated; "" unknown

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Compose "<home>/.kobaltine/<app part><leaf>" into a base path buffer, cut to fit; false if it
// had to be cut. The application part is the name followed by "/", or nothing for "".
static bool compose(char (&buffer)[WRAPPER_FILE_BASE_MAX], const char *home, const char *app, const char *leaf)
{
    const char *separator = app[0] ? "/" : "";
    int n = std::snprintf(buffer, sizeof buffer, "%s/.kobaltine/%s%s%s", home, app, separator, leaf);
    return n >= 0 && n < static_cast<int>(sizeof buffer);
}

// Compose the three per-user paths for a home directory; false if any had to be cut
static bool compose_all(const char *home, const char *app)
{
    bool fit = compose(save_path, home, app, "");
    fit = compose(temp_path, home, app, TEMP_DIR) && fit;
    return compose(doc_path, home, app, DOC_DIR) && fit;
}

// Try a home directory: it must be an absolute path whose per-user paths fit their buffers
static bool try_home(const char *home, const char *app)
{
    return home && home[0] == '/' && compose_all(home, app);
}

// Compose the per-user paths from the first usable home: HOME, else the password database's
// entry for this user, else the current directory. Returns the home used; `fit` is false if even
// the last one's paths had to be cut (an absurdly long application name).
static const char *compose_from_home(const char *app, bool &fit)
{
    fit = true;
    const char *home = std::getenv("HOME");
    if (try_home(home, app))
        return home;
    const passwd *entry = getpwuid(getuid());
    if (entry && try_home(entry->pw_dir, app)) {
        lum_logf("HOME is not usable: using '%s' from the password database\n", entry->pw_dir);
        return entry->pw_dir;
    }
    lum_log("HOME is not usable: using the current directory");
    fit = compose_all(CURRENT_DIR, app);
    return CURRENT_DIR;
}

// Compute the per-user paths and create their directories (an existing one is the normal case,
// so every error is ignored). Paths that had to be cut are not created: they name something
// other than what was meant.
static void compute_paths()
{
    if (init)
        return;
    init = 1;
    const char *app = wrapper_app_name();
    bool fit = false;
    const char *home = compose_from_home(app, fit);
    if (!fit) {
        lum_logf("per-user paths do not fit in %d bytes: directories not created\n", WRAPPER_FILE_BASE_MAX);
        return;
    }
    char kobaltine[WRAPPER_FILE_BASE_MAX];  // "<home>/.kobaltine/", shorter than the save path
    compose(kobaltine, home, "", "");
    wrapper_mkdir(kobaltine);
    wrapper_mkdir(save_path);
    wrapper_mkdir(temp_path);
    wrapper_mkdir(doc_path);
}

// The reverse of alphasort, for scandir
static int alphasort_reverse(const dirent **a, const dirent **b)
{
    return alphasort(b, a);
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void wrapper_set_app_name(const char *name)
{
    app_name = name;
}

const char *wrapper_app_name()
{
    return app_name ? app_name : "unnamed";
}

const char *wrapper_file_data_path()
{
    return data_path;
}

// The folder holding the executable, from the system's link to it
static const char *executable_dir()
{
    if (exe_dir[0])
        return exe_dir;
    char exe[WRAPPER_FILE_BASE_MAX];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n <= 0 || n >= static_cast<ssize_t>(sizeof exe - 1))
        return exe_dir;
    exe[n] = '\0';
    char *slash = std::strrchr(exe, '/');
    if (slash) {
        slash[1] = '\0';
        std::snprintf(exe_dir, sizeof exe_dir, "%s", exe);
    }
    return exe_dir;
}

const char *wrapper_file_find_data(const char *name)
{
    char path[2 * WRAPPER_FILE_BASE_MAX];
    std::snprintf(path, sizeof path, "%s%s", data_path, name ? name : "");
    if (!name || access(path, F_OK) == 0)
        return data_path;
    for (const char *folder : {executable_dir(), static_cast<const char *>(LUM_DATA_DIR)}) {
        if (!folder[0] || std::strcmp(folder, data_path) == 0)
            continue;
        std::snprintf(path, sizeof path, "%s%s", folder, name);
        if (access(path, F_OK) == 0) {
            data_path = folder;
            lum_logf("'%s' is not in the working directory: reading data from '%s'\n", name, folder);
            return data_path;
        }
    }
    return data_path;
}

const char *wrapper_file_data_folders()
{
    static char folders[4 * WRAPPER_FILE_BASE_MAX];
    std::snprintf(folders, sizeof folders, "'%s'", DATA_PATH);
    for (const char *folder : {executable_dir(), static_cast<const char *>(LUM_DATA_DIR)}) {
        if (folder[0]) {
            size_t len = std::strlen(folders);
            std::snprintf(folders + len, sizeof folders - len, ", '%s'", folder);
        }
    }
    return folders;
}

const char *wrapper_file_save_path()
{
    compute_paths();
    return save_path;
}

const char *wrapper_file_temp_path()
{
    compute_paths();
    return temp_path;
}

const char *wrapper_file_doc_path()
{
    compute_paths();
    return doc_path;
}

// Create a directory; 0, or -1 with errno set (an existing directory gives EEXIST)
int wrapper_mkdir(const char *path)
{
    return mkdir(path, DIR_MODE);
}

// List the directory sorted in reverse and visit it from the end, which gives ascending order.
// NOTE: when the callback stops the walk, the entries not yet visited are freed too (DIR_LIST),
// so that an early stop leaks nothing.
int wrapper_file_kind(const char *path)
{
    struct stat st{};
    if (!path || stat(path, &st) != 0)
        return WRAPPER_FILE_MISSING;
    if (S_ISREG(st.st_mode))
        return WRAPPER_FILE_REGULAR;
    if (S_ISDIR(st.st_mode))
        return WRAPPER_FILE_DIRECTORY;
    if (S_ISFIFO(st.st_mode))
        return WRAPPER_FILE_FIFO;
    if (S_ISCHR(st.st_mode) || S_ISBLK(st.st_mode))
        return WRAPPER_FILE_DEVICE;
    if (S_ISSOCK(st.st_mode))
        return WRAPPER_FILE_SOCKET;
    return WRAPPER_FILE_OTHER;
}

const char *wrapper_file_kind_name(int kind)
{
    switch (kind) {
    case WRAPPER_FILE_MISSING: return "missing";
    case WRAPPER_FILE_REGULAR: return "a regular file";
    case WRAPPER_FILE_DIRECTORY: return "a directory";
    case WRAPPER_FILE_FIFO: return "a FIFO";
    case WRAPPER_FILE_DEVICE: return "a device";
    case WRAPPER_FILE_SOCKET: return "a socket";
    default: return "not a regular file";
    }
}

int wrapper_file_readable(const char *path)
{
    int kind = wrapper_file_kind(path);
    if (kind == WRAPPER_FILE_MISSING || kind == WRAPPER_FILE_REGULAR)
        return 1;
    lum_logf("'%s' is %s, not a file: ignored\n", path, wrapper_file_kind_name(kind));
    return 0;
}

int wrapper_file_dir_walk(const char *path, void *data, int (*callback)(const char *path, const char *name, void *data))
{
    DIR_LIST list;
    int n = scandir(path, &list.entries, nullptr, alphasort_reverse);
    if (n < 0)
        return -1;
    list.count = n;
    int result = 1;
    while (list.count > 0) {
        dirent *entry = list.entries[--list.count];
        result = callback(path, entry->d_name, data);
        std::free(entry);
        if (result <= 0)
            break;
    }
    return result;
}
