// process: child processes for tests (see process.h).
#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>

extern char **environ;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PROCESS_READ_CHUNK = 4096;      // bytes read from the pipe at a time
constexpr int PROCESS_EXIT_POLL_MS = 10;      // how often a wait for exit looks at the child
constexpr double PROCESS_XDOTOOL_SECONDS = 30.0;

// Variables that the child gets from us, or must not inherit from the real user's session
static const char *const PROCESS_REPLACED_VARS[] = {
    "DISPLAY", "HOME", "SDL_AUDIODRIVER", "SDL_VIDEODRIVER", "WAYLAND_DISPLAY", "XAUTHORITY",
    "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
};

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
using Clock = std::chrono::steady_clock;

static Clock::time_point deadline_after(double seconds)
{
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// Milliseconds left until `deadline`, at least 0
static int ms_left(Clock::time_point deadline)
{
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60 * 60 * 1000));
}

// The full path of a program: as given when it contains a slash, else the first executable
// match in PATH; empty when there is none
static std::string resolve_program(const std::string &name)
{
    if (name.find('/') != std::string::npos)
        return name;
    const char *path = std::getenv("PATH");
    std::string dirs = path ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= dirs.size()) {
        size_t end = dirs.find(':', start);
        if (end == std::string::npos)
            end = dirs.size();
        std::string dir = dirs.substr(start, end - start);
        std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return "";
}

// Each override replaces the variable of its name ("NAME=value") or removes it ("NAME")
static void apply_overrides(std::vector<std::string> &env, const std::vector<std::string> &overrides)
{
    for (const std::string &o : overrides) {
        std::string name = o.substr(0, o.find('='));
        env.erase(std::remove_if(env.begin(), env.end(),
                                 [&](const std::string &var) { return var.substr(0, var.find('=')) == name; }),
                  env.end());
        if (o.find('=') != std::string::npos)
            env.push_back(o);
    }
}

// The parent's environment with the private display, HOME and audio/video drivers
static std::vector<std::string> child_environment(const std::string &display, const std::string &home,
                                                  const std::vector<std::string> &overrides)
{
    std::vector<std::string> env;
    for (char **e = environ; *e; e++) {
        std::string var = *e;
        std::string name = var.substr(0, var.find('='));
        bool replaced = std::any_of(std::begin(PROCESS_REPLACED_VARS), std::end(PROCESS_REPLACED_VARS),
                                    [&](const char *r) { return name == r; });
        if (!replaced)
            env.push_back(var);
    }
    env.push_back("DISPLAY=" + display);
    env.push_back("HOME=" + home);
    env.push_back("SDL_AUDIODRIVER=dummy");
    env.push_back("SDL_VIDEODRIVER=x11");
    apply_overrides(env, overrides);
    return env;
}

static std::vector<char *> c_strings(const std::vector<std::string> &strings)
{
    std::vector<char *> out;
    for (const std::string &s : strings)
        out.push_back(const_cast<char *>(s.c_str()));
    out.push_back(nullptr);
    return out;
}

// Split newly read text into complete lines
static void take_text(PROCESS &p, const char *text, size_t len)
{
    p.partial.append(text, len);
    size_t nl;
    while ((nl = p.partial.find('\n')) != std::string::npos) {
        p.lines.push_back(p.partial.substr(0, nl));
        p.partial.erase(0, nl + 1);
    }
}

// The output has ended: an unfinished last line still counts as a line
static void close_output(PROCESS &p)
{
    if (!p.partial.empty()) {
        p.lines.push_back(p.partial);
        p.partial.clear();
    }
    close(p.out);
    p.out = -1;
}

// Wait up to `timeout_ms` for output and read what is there; false when nothing was read
static bool read_some(PROCESS &p, int timeout_ms)
{
    if (p.out < 0)
        return false;
    pollfd fd = {p.out, POLLIN, 0};
    int ready = poll(&fd, 1, timeout_ms);
    if (ready <= 0)
        return false;
    char buffer[PROCESS_READ_CHUNK];
    ssize_t n = read(p.out, buffer, sizeof buffer);
    if (n < 0 && (errno == EINTR || errno == EAGAIN))
        return false;
    if (n <= 0) {
        close_output(p);
        return false;
    }
    take_text(p, buffer, static_cast<size_t>(n));
    return true;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
pid_t process_spawn(const std::vector<std::string> &argv, const std::vector<std::string> &env,
                    int stdout_fd, int stderr_fd, int keep_fd, int death_signal, std::string &error)
{
    if (argv.empty()) {
        error = "no program given";
        return -1;
    }
    std::string program = resolve_program(argv[0]);
    if (program.empty()) {
        error = "program not found: " + argv[0];
        return -1;
    }
    // Everything the child needs is prepared before fork: after it only async-signal-safe calls.
    std::vector<char *> args = c_strings(argv);
    std::vector<char *> envp = c_strings(env);
    pid_t parent = getpid();
    pid_t pid = fork();
    if (pid < 0) {
        error = std::string("fork: ") + std::strerror(errno);
        return -1;
    }
    if (pid == 0) {
        // The parent may have died before the death signal was armed: then leave at once.
        if (prctl(PR_SET_PDEATHSIG, death_signal) != 0 || getppid() != parent)
            _exit(127);
        if (stdout_fd >= 0 && dup2(stdout_fd, STDOUT_FILENO) < 0)
            _exit(127);
        if (stderr_fd >= 0 && dup2(stderr_fd, STDERR_FILENO) < 0)
            _exit(127);
        if (keep_fd >= 0 && fcntl(keep_fd, F_SETFD, 0) < 0)
            _exit(127);
        execve(program.c_str(), args.data(), envp.data());
        _exit(127);
    }
    return pid;
}

bool process_reap(pid_t pid, double seconds, int &status)
{
    Clock::time_point deadline = deadline_after(seconds);
    for (;;) {
        pid_t r = waitpid(pid, &status, WNOHANG);
        if (r == pid)
            return true;
        if (r < 0 && errno != EINTR)
            return false;
        if (Clock::now() >= deadline)
            return false;
        poll(nullptr, 0, PROCESS_EXIT_POLL_MS);
    }
}

bool process_start(PROCESS &p, const std::vector<std::string> &argv, const std::string &display, std::string &error,
                   const std::vector<std::string> &overrides)
{
    p = PROCESS{};
    p.home = process_temp_dir("lumtest-home");
    if (p.home.empty()) {
        error = std::string("cannot make a temporary HOME: ") + std::strerror(errno);
        return false;
    }
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        error = std::string("pipe: ") + std::strerror(errno);
        process_stop(p);
        return false;
    }
    p.pid = process_spawn(argv, child_environment(display, p.home, overrides), fds[1], -1, -1, SIGKILL, error);
    close(fds[1]);
    p.out = fds[0];
    if (p.pid < 0) {
        process_stop(p);
        return false;
    }
    return true;
}

int process_wait_line(PROCESS &p, const std::regex &pattern, double seconds, size_t from)
{
    Clock::time_point deadline = deadline_after(seconds);
    size_t next = from;
    for (;;) {
        for (; next < p.lines.size(); next++)
            if (std::regex_search(p.lines[next], pattern))
                return static_cast<int>(next);
        if (p.out < 0 || Clock::now() >= deadline)
            return -1;
        read_some(p, ms_left(deadline));
    }
}

bool process_drain(PROCESS &p)
{
    while (read_some(p, 0)) {
    }
    return p.out >= 0;
}

bool process_wait_exit(PROCESS &p, double seconds)
{
    if (p.pid < 0)
        return false;
    Clock::time_point deadline = deadline_after(seconds);
    while (!p.reaped) {
        pid_t r = waitpid(p.pid, &p.status, WNOHANG);
        if (r == p.pid) {
            p.reaped = true;
            break;
        }
        if (r < 0 && errno != EINTR)
            return false;
        if (Clock::now() >= deadline)
            return false;
        int wait_ms = std::min(ms_left(deadline), PROCESS_EXIT_POLL_MS);
        if (p.out >= 0)
            read_some(p, wait_ms);
        else
            poll(nullptr, 0, wait_ms);
    }
    // Whatever the child wrote before it ended is already in the pipe.
    while (read_some(p, 0)) {
    }
    return true;
}

bool process_signal(PROCESS &p, int sig)
{
    if (p.pid < 0 || p.reaped)
        return false;
    return kill(p.pid, sig) == 0;
}

bool process_pause(PROCESS &p)
{
    if (!process_signal(p, SIGSTOP))
        return false;
    for (;;) {
        int status = 0;
        pid_t r = waitpid(p.pid, &status, WUNTRACED);
        if (r < 0 && errno == EINTR)
            continue;
        if (r != p.pid)
            return false;
        if (WIFSTOPPED(status))
            return true;
        // It ended before the stop arrived: that is its exit status.
        p.reaped = true;
        p.status = status;
        return false;
    }
}

bool process_resume(PROCESS &p)
{
    return process_signal(p, SIGCONT);
}

void process_stop(PROCESS &p)
{
    if (p.pid > 0 && !p.reaped) {
        kill(p.pid, SIGKILL);
        while (waitpid(p.pid, &p.status, 0) < 0 && errno == EINTR) {
        }
        p.reaped = true;
    }
    if (p.out >= 0)
        close_output(p);
    process_remove_dir(p.home);
    p.home.clear();
}

std::string process_transcript(const PROCESS &p)
{
    std::string text = "output lines read (" + std::to_string(p.lines.size()) + "):\n";
    for (size_t i = 0; i < p.lines.size(); i++)
        text += "  " + std::to_string(i) + ": " + p.lines[i] + "\n";
    if (!p.partial.empty())
        text += "  (unfinished): " + p.partial + "\n";
    return text;
}

int process_xdotool(const std::string &display, const std::vector<std::string> &args)
{
    std::vector<std::string> argv = {"xdotool"};
    argv.insert(argv.end(), args.begin(), args.end());
    PROCESS p;
    std::string error;
    if (!process_start(p, argv, display, error))
        return -1;
    bool done = process_wait_exit(p, PROCESS_XDOTOOL_SECONDS);
    int status = p.status;
    process_stop(p);
    if (!done || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

int process_run(const std::vector<std::string> &argv, const std::vector<std::string> &overrides, double seconds,
                std::string &output)
{
    output.clear();
    std::vector<std::string> env;
    for (char **e = environ; *e; e++)
        env.push_back(*e);
    apply_overrides(env, overrides);
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        output = std::string("pipe: ") + std::strerror(errno);
        return -1;
    }
    PROCESS p;
    std::string error;
    p.pid = process_spawn(argv, env, fds[1], fds[1], -1, SIGKILL, error);
    close(fds[1]);
    p.out = fds[0];
    if (p.pid < 0) {
        process_stop(p);
        output = error;
        return -1;
    }
    bool ended = process_wait_exit(p, seconds);
    int status = p.status;
    process_stop(p);
    for (const std::string &line : p.lines)
        output += line + "\n";
    if (!ended) {
        output += "(" + argv[0] + " did not end within " + std::to_string(static_cast<int>(seconds)) + " s)\n";
        return -1;
    }
    return status;
}

std::string process_temp_dir(const char *prefix)
{
    const char *tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/" + prefix + "-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!mkdtemp(buffer.data()))
        return "";
    return buffer.data();
}

void process_remove_dir(const std::string &path)
{
    if (path.empty())
        return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string literal(const std::string &text)
{
    static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
    return std::regex_replace(text, special, R"(\$&)");
}

std::string describe_status(int status)
{
    if (WIFEXITED(status))
        return "exit status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return "killed by signal " + std::to_string(WTERMSIG(status));
    return "wait status " + std::to_string(status);
}
