// process: child processes for tests. Starts a program with a private environment (a display,
// a temporary HOME, the dummy audio driver) and its standard output on a pipe, reads its log
// lines with timeouts, keeps every line read, waits for its exit, signals it and kills it on
// teardown. Also runs xdotool against a given display, and any command to its end with its
// output collected (make, the package tools).
// Depends on: POSIX (fork, exec, poll, waitpid).
#pragma once

#include <sys/types.h>

#include <regex>
#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct PROCESS {
    pid_t pid = -1;                  // the child; -1 when none was started
    int out = -1;                    // read end of the child's standard output; -1 when closed
    std::string home;                // the child's temporary HOME, removed by process_stop
    std::vector<std::string> lines;  // every complete line read so far, without the newline
    std::string partial;             // text read after the last newline
    bool reaped = false;             // the exit status has been collected
    int status = 0;                  // the wait status once reaped (WIFEXITED, WEXITSTATUS...)
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Start argv[0] (a path, or a name looked up in PATH) with the parent's environment except:
// DISPLAY = display, HOME = a new temporary directory, SDL_AUDIODRIVER = dummy,
// SDL_VIDEODRIVER = x11, and no Wayland display, X authority file or XDG directories of the
// real user; then each of `overrides` sets a variable ("NAME=value") or removes it ("NAME").
// Standard error is inherited; the child is killed if the test process dies.
// Returns false with a reason in `error`.
bool process_start(PROCESS &p, const std::vector<std::string> &argv, const std::string &display, std::string &error,
                   const std::vector<std::string> &overrides = {});

// Read output until a line from index `from` on matches `pattern` (regex_search); returns that
// line's index, or -1 when `seconds` pass or the output ends first.
int process_wait_line(PROCESS &p, const std::regex &pattern, double seconds, size_t from = 0);

// Read whatever output is there now, without waiting (a child that logs while a test looks at
// its window must not fill the pipe); false once the output has ended.
bool process_drain(PROCESS &p);

// Wait up to `seconds` for the child to exit, reading its output meanwhile; true once reaped
// (see `status`).
bool process_wait_exit(PROCESS &p, double seconds);

// Send a signal to a running child; false if there is none or the signal fails.
bool process_signal(PROCESS &p, int sig);

// Stop a running child (SIGSTOP) and wait until it has stopped, so that a test can look at
// what it shows at one moment; false if there is none or it ended instead (then reaped).
bool process_pause(PROCESS &p);

// Let a paused child go on (SIGCONT); false if there is none.
bool process_resume(PROCESS &p);

// Kill the child if it still runs, reap it, close the pipe and remove the temporary HOME.
void process_stop(PROCESS &p);

// Every line read so far, numbered, for failure messages.
std::string process_transcript(const PROCESS &p);

// Run xdotool with `args` on `display` and wait for it; returns its exit status, or -1 if it
// could not be started or did not finish within 30 seconds.
int process_xdotool(const std::string &display, const std::vector<std::string> &args);

// Run argv[0] (a path, or a name looked up in PATH) to its end with the parent's environment and
// `overrides` (as process_start's), its standard output and error together in `output`. Returns
// its wait status; -1 with the reason at the end of `output` when it could not be started or did
// not end within `seconds` (then it is killed).
int process_run(const std::vector<std::string> &argv, const std::vector<std::string> &overrides, double seconds,
                std::string &output);

// Low level: fork and exec argv[0] (resolved through PATH) with exactly the environment `env`.
// In the child, `stdout_fd` and `stderr_fd` (when not -1) become its standard output and error,
// and `keep_fd` (when not -1) stays open across the exec. The child gets `death_signal` if the
// test process ends first (a crashed test must not leave servers or toys running). Returns the
// pid, or -1 with `error`.
pid_t process_spawn(const std::vector<std::string> &argv, const std::vector<std::string> &env,
                    int stdout_fd, int stderr_fd, int keep_fd, int death_signal, std::string &error);

// Wait up to `seconds` for `pid` to exit; true with its wait status once it has.
bool process_reap(pid_t pid, double seconds, int &status);

// A new empty directory under TMPDIR (or /tmp), named after `prefix`; empty on failure.
std::string process_temp_dir(const char *prefix);

// Remove a directory and everything in it; an empty path does nothing.
void process_remove_dir(const std::string &path);

// `text` as a regular expression that matches exactly it
std::string literal(const std::string &text);
// A child's wait status in words: "exit status N", "killed by signal N"
std::string describe_status(int status);
