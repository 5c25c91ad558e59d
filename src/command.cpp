// command: the toy's command line (see command.h).
//
// Index of this file:
// [SECTION] Constants
// [SECTION] Types
// [SECTION] Module state
// [SECTION] Private helpers
// [SECTION] Public functions
#include "command.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "exchange.h"
#include "file.h"
#include "game.h"
#include "history.h"
#include "life.h"
#include "lum.h"
#include "pattern.h"

//----------------------------------------------------------------------------------
// [SECTION] Constants
//----------------------------------------------------------------------------------
constexpr const char *COMMAND_APP_NAME = "lumlife";       // as the toy names itself: its save folder
constexpr const char *COMMAND_SETTINGS = "settings.cfg";  // the saved record, in the save folder
constexpr const char *COMMAND_NEW_SUFFIX = ".new";        // an export in progress, beside its file

constexpr const char *COMMAND_USAGE_TEXT =
    "Usage: lumlife [PATTERN]\n"
    "       lumlife [--import PATTERN] [--step N] [--export [FILE]]\n"
    "       lumlife --help | --version\n"
    "\n"
    "Lum Life, a toy for Life-like cellular automata on a 48 x 30 grid. Without\n"
    "arguments it starts with the grid and the settings it saved last.\n"
    "\n"
    "  PATTERN           start the toy with this pattern file opened on the game screen\n"
    "  --import PATTERN  open the pattern into the saved grid, without a window\n"
    "  --step N          advance the saved grid N generations with its rule and border\n"
    "  --export [FILE]   write the saved grid as RLE to FILE, or to standard output\n"
    "                    with - or no FILE\n"
    "  --help            print this help\n"
    "  --version         print the version\n"
    "\n"
    "The options combine, in the order import, step, export:\n"
    "  lumlife --import gun.rle --step 100 --export -\n"
    "Pattern files are RLE (.rle), plaintext (.cells), Life 1.06 and Life 1.05 (.lif,\n"
    ".life), told apart by their content. Opening one sets the grid, its rule and\n"
    "border when it names them, and the step counter to 0.\n"
    "\n"
    "Exit status: 0 done, 1 a file could not be read or written, 2 a bad command line.\n";

//----------------------------------------------------------------------------------
// [SECTION] Types
//----------------------------------------------------------------------------------
// What the command line asks for
struct COMMAND_ARGS {
    const char *open = nullptr;      // PATTERN: start the toy with it
    const char *import = nullptr;    // --import PATTERN
    bool step = false;               // --step N
    unsigned steps = 0;
    bool export_ = false;            // --export [FILE]
    const char *export_path = nullptr;  // null or "-": standard output
    bool help = false, version = false;
};

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
static int out_fd = STDOUT_FILENO;  // the process's own standard output and error while the
static int err_fd = STDERR_FILENO;  // framework's lines go to /dev/null
static PATTERN pending;             // the pattern to open once the toy has started
static bool has_pending = false;
static std::string pending_path;

//----------------------------------------------------------------------------------
// [SECTION] Private helpers
//----------------------------------------------------------------------------------
// A line of the command's own on standard error
static void say(const char *format, ...) __attribute__((format(printf, 1, 2)));
static void say(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    std::string line = "lumlife: ";
    std::array<char, 2048> text{};
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    line += text.data();
    line += '\n';
    (void)!write(err_fd, line.data(), line.size());
}

static int usage_error(const char *format, const char *arg)
{
    say(format, arg);
    (void)!write(err_fd, COMMAND_USAGE_TEXT, std::strlen(COMMAND_USAGE_TEXT));
    return COMMAND_USAGE;
}

// Send the framework's standard output and error to /dev/null, keeping the process's own for the
// command's lines and the exported pattern
static void quiet_begin()
{
    std::fflush(stdout);
    std::fflush(stderr);
    out_fd = dup(STDOUT_FILENO);
    err_fd = dup(STDERR_FILENO);
    int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (out_fd < 0 || err_fd < 0 || null < 0) {
        if (null >= 0)
            close(null);
        out_fd = out_fd < 0 ? STDOUT_FILENO : out_fd;
        err_fd = err_fd < 0 ? STDERR_FILENO : err_fd;
        return;
    }
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    close(null);
}

static void quiet_end()
{
    std::fflush(stdout);
    std::fflush(stderr);
    if (out_fd != STDOUT_FILENO) {
        dup2(out_fd, STDOUT_FILENO);
        close(out_fd);
    }
    if (err_fd != STDERR_FILENO) {
        dup2(err_fd, STDERR_FILENO);
        close(err_fd);
    }
    out_fd = STDOUT_FILENO;
    err_fd = STDERR_FILENO;
}

// A name from the command line as a path: relative names from the caller's folder when the
// launcher says where that was
static std::string resolve(const char *name)
{
    const char *caller = std::getenv(COMMAND_CALLER_DIR);
    if (name[0] == '/' || !caller || caller[0] != '/')
        return name;
    std::string path = caller;
    if (path.back() != '/')
        path += '/';
    return path + name;
}

// N of --step: decimal digits only, 0..COMMAND_STEPS_MAX
static bool read_steps(const char *text, unsigned *steps)
{
    if (!*text)
        return false;
    unsigned long long v = 0;
    for (const char *p = text; *p; p++) {
        if (*p < '0' || *p > '9')
            return false;
        v = v * 10 + static_cast<unsigned>(*p - '0');
        if (v > COMMAND_STEPS_MAX)
            return false;
    }
    *steps = static_cast<unsigned>(v);
    return true;
}

// The value of an option: "--name=VALUE" or the next argument
static const char *option_value(const char *arg, size_t name_len, int argc, char **argv, int &i)
{
    if (arg[name_len] == '=')
        return arg + name_len + 1;
    if (i + 1 < argc)
        return argv[++i];
    return nullptr;
}

// Read the arguments: COMMAND_START when they are good, else the usage status
static int parse(int argc, char **argv, COMMAND_ARGS &a)
{
    bool positional_only = false;
    for (int i = 1; i < argc; i++) {
        const char *arg = argv[i];
        auto is = [arg](const char *name) {
            size_t n = std::strlen(name);
            return std::strncmp(arg, name, n) == 0 && (arg[n] == '\0' || arg[n] == '=');
        };
        if (positional_only || arg[0] != '-' || std::strcmp(arg, "-") == 0) {
            if (a.open)
                return usage_error("one pattern to open at a time: '%s' is one too many", arg);
            a.open = arg;
        } else if (std::strcmp(arg, "--") == 0) {
            positional_only = true;
        } else if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0) {
            a.help = true;
        } else if (std::strcmp(arg, "--version") == 0) {
            a.version = true;
        } else if (is("--import")) {
            if (a.import)
                return usage_error("%s is given twice", "--import");
            a.import = option_value(arg, std::strlen("--import"), argc, argv, i);
            if (!a.import || !*a.import)
                return usage_error("%s needs a pattern file", "--import");
        } else if (is("--step")) {
            if (a.step)
                return usage_error("%s is given twice", "--step");
            const char *n = option_value(arg, std::strlen("--step"), argc, argv, i);
            if (!n || !read_steps(n, &a.steps))
                return usage_error("--step needs a number of generations from 0 to 1000000000, not '%s'", n ? n : "");
            a.step = true;
        } else if (is("--export")) {
            if (a.export_)
                return usage_error("%s is given twice", "--export");
            a.export_ = true;
            if (arg[std::strlen("--export")] == '=')
                a.export_path = arg + std::strlen("--export=");
            else if (i + 1 < argc && (argv[i + 1][0] != '-' || std::strcmp(argv[i + 1], "-") == 0))
                a.export_path = argv[++i];
            if (a.export_path && !*a.export_path)
                return usage_error("%s needs a file name after '='", "--export");
        } else {
            return usage_error("unknown option '%s'", arg);
        }
    }
    if (a.open && (a.import || a.step || a.export_))
        return usage_error("a pattern to open ('%s') does not combine with --import, --step or --export", a.open);
    return COMMAND_START;
}

// Read a pattern file named on the command line; false with its line on standard error
static bool read_pattern(const char *name, PATTERN *out)
{
    PATTERN_ERROR error{};
    if (pattern_read_file(resolve(name).c_str(), out, &error) < 0) {
        say("%s", pattern_error_line(name, error).c_str());
        return false;
    }
    return true;
}

// The saved record's bytes are exactly the record: the save reached the disk
static bool saved_as_record()
{
    FILE *in = file_open_save_read(COMMAND_SETTINGS);
    if (!in)
        return false;
    std::vector<uint8_t> bytes(sizeof(GAME) + 1);
    size_t n = file_read(in, bytes.data(), bytes.size());
    file_close(in);
    return n == sizeof(GAME) && std::memcmp(bytes.data(), &game, sizeof(GAME)) == 0;
}

// Write all of `text` to a descriptor; false on a failure
static bool write_all(int fd, const std::string &text)
{
    size_t done = 0;
    while (done < text.size()) {
        ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

// The exported pattern to a file: written beside it and renamed over it, so an existing file is
// replaced only by a whole new one
static bool export_to_file(const char *name, const std::string &text)
{
    std::string path = resolve(name);
    const char *other = file_not_a_file(path.c_str());
    if (other) {
        say("cannot write '%s': it is %s", name, other);
        return false;
    }
    std::string fresh = path + COMMAND_NEW_SUFFIX;
    FILE *out = file_open_write(fresh.c_str());
    if (!out) {
        say("cannot write '%s': %s", name, file_error());
        return false;
    }
    size_t written = file_write(out, text.data(), text.size());
    int synced = file_sync(out);
    file_close(out);
    if (written != text.size() || synced != 0 || file_rename(fresh.c_str(), path.c_str()) < 0) {
        say("cannot write '%s': %s", name, file_error());
        file_delete(fresh.c_str());
        return false;
    }
    return true;
}

// --import, --step and --export on the saved settings, without a window
static int run_batch(const COMMAND_ARGS &a)
{
    lum_set_app_name(COMMAND_APP_NAME);
    PATTERN pattern{};
    if (a.import && !read_pattern(a.import, &pattern))
        return COMMAND_FAILED;
    game_reset();
    FILE *saved = file_open_save_read(COMMAND_SETTINGS);
    file_close(saved);
    if (!saved && !a.import) {
        say("no saved grid in '%s' yet: start the toy once, or --import a pattern", file_save_path(COMMAND_SETTINGS));
        return COMMAND_FAILED;
    }
    load_settings();
    game_update_config();
    // The import is an undo step the toy can take back at its next start
    history_bind(game.bparams.data(), game.sparams.data(), &game.border_mode, &config_changed);
    history_load();
    if (a.import)
        exchange_open(pattern);
    for (unsigned i = 0; a.step && i < a.steps; i++)
        life_step_cells();
    if (a.import || a.step) {
        save_settings();
        if (!saved_as_record()) {
            say("cannot save the grid in '%s': %s", file_save_path(COMMAND_SETTINGS), file_error());
            return COMMAND_FAILED;
        }
        history_save();
    }
    if (a.export_) {
        std::string text = exchange_rle();
        if (!a.export_path || std::strcmp(a.export_path, "-") == 0) {
            if (!write_all(out_fd, text)) {
                say("cannot write the pattern to standard output: %s", std::strerror(errno));
                return COMMAND_FAILED;
            }
        } else if (!export_to_file(a.export_path, text)) {
            return COMMAND_FAILED;
        }
    }
    return COMMAND_DONE;
}

//----------------------------------------------------------------------------------
// [SECTION] Public functions
//----------------------------------------------------------------------------------
int command_line(int argc, char **argv, const char *version)
{
    if (argc <= 1)
        return COMMAND_START;
    COMMAND_ARGS a;
    int status = parse(argc, argv, a);
    if (status != COMMAND_START)
        return status;
    if (a.help) {
        std::fputs(COMMAND_USAGE_TEXT, stdout);
        return COMMAND_DONE;
    }
    if (a.version) {
        std::printf("lumlife %s\n", version);
        return COMMAND_DONE;
    }
    quiet_begin();
    if (a.open) {
        has_pending = read_pattern(a.open, &pending);
        pending_path = a.open;
        quiet_end();
        return has_pending ? COMMAND_START : COMMAND_FAILED;
    }
    status = run_batch(a);
    quiet_end();
    return status;
}

void command_open_pending()
{
    if (!has_pending)
        return;
    has_pending = false;
    exchange_open(pending);
    save_settings_if_changed();
    static const char *const FORMATS[] = {"RLE", "plaintext", "Life 1.06", "Life 1.05"};
    lum_logf("opened the pattern '%s' (%s%s%s, %d x %d at %d,%d)\n", pending_path.c_str(), FORMATS[pending.format],
             pending.name[0] ? ": " : "", pending.name.data(), pending.w, pending.h, pending.x, pending.y);
}
