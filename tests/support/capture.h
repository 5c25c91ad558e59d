// capture: the framework's log as tests read it. Runs a piece of code with standard output going
// to a temporary file and returns what it wrote, and splits captured log lines into their
// messages, checking and removing the "[lum <seconds>s (<tick>)] " prefix of each.
// Depends on: POSIX (dup, dup2), GoogleTest (a line without the prefix fails the running test).
#pragma once

#include <functional>
#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Run `body` with standard output going to a temporary file; returns what was written
std::string capture_stdout(const std::function<void()> &body);

// The messages of captured log lines, each with its "[lum <seconds>s (<tick>)] " prefix checked
// and removed; a line without the prefix is reported as a failure of the running test
std::vector<std::string> log_messages(const std::string &text);
