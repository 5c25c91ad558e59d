// xvfb: a private virtual X display for tests (see xvfb.h).
#include "xvfb.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

#include "process.h"

extern char **environ;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *XVFB_SCREEN = "1920x1080x24";  // width x height x depth of screen 0
constexpr int XVFB_START_MS = 30000;                 // a loaded machine may take a while to start a server
constexpr double XVFB_STOP_SECONDS = 10.0;           // grace time after SIGTERM before SIGKILL

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
static std::string read_file(const std::string &path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Read the display number that the server writes to `fd` once it is ready: digits and a newline
static bool read_display_number(int fd, std::string &number, std::string &error)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(XVFB_START_MS);
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            error = "timed out waiting for Xvfb to report its display";
            return false;
        }
        pollfd p = {fd, POLLIN, 0};
        int ready = poll(&p, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            continue;
        char c;
        ssize_t n = read(fd, &c, 1);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            error = "Xvfb ended before reporting its display";
            return false;
        }
        if (c == '\n')
            return !number.empty();
        number += c;
    }
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
bool xvfb_start(XVFB &xvfb, std::string &error)
{
    xvfb = XVFB{};
    std::string dir = process_temp_dir("lumtest-xvfb");
    if (dir.empty()) {
        error = std::string("cannot make a temporary directory: ") + std::strerror(errno);
        return false;
    }
    xvfb.log_path = dir + "/xvfb.log";
    int log = open(xvfb.log_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    int fds[2];
    if (log < 0 || pipe2(fds, O_CLOEXEC) != 0) {
        error = std::string("cannot set up Xvfb's pipes: ") + std::strerror(errno);
        if (log >= 0)
            close(log);
        xvfb_stop(xvfb);
        return false;
    }
    std::vector<std::string> env;
    for (char **e = environ; *e; e++)
        env.push_back(*e);
    // NOTE: without -noreset the server resets when its last client leaves, and a client that
    // connects during the reset (xdotool right after the toy has quit) is refused.
    std::vector<std::string> argv = {"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0",
                                     XVFB_SCREEN, "-nolisten", "tcp", "-noreset"};
    xvfb.pid = process_spawn(argv, env, log, log, fds[1], SIGTERM, error);
    close(fds[1]);
    close(log);
    std::string number;
    bool ok = xvfb.pid > 0 && read_display_number(fds[0], number, error);
    close(fds[0]);
    if (!ok) {
        error += "\nXvfb's messages:\n" + read_file(xvfb.log_path);
        xvfb_stop(xvfb);
        return false;
    }
    xvfb.display = ":" + number;
    return true;
}

void xvfb_stop(XVFB &xvfb)
{
    if (xvfb.pid > 0) {
        int status = 0;
        kill(xvfb.pid, SIGTERM);
        if (!process_reap(xvfb.pid, XVFB_STOP_SECONDS, status)) {
            kill(xvfb.pid, SIGKILL);
            process_reap(xvfb.pid, XVFB_STOP_SECONDS, status);
        }
        xvfb.pid = -1;
    }
    if (!xvfb.log_path.empty()) {
        std::string path = xvfb.log_path;
        process_remove_dir(path.substr(0, path.rfind('/')));
        xvfb.log_path.clear();
    }
    xvfb.display.clear();
}
