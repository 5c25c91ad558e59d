// makefile: the project's Makefile as the tests run it, the way a person does: `make TARGET` in a
// source folder with variables such as BUILD=... and DESTDIR=..., apart from the make that runs
// the tests (its job server and flags are not passed on), with its output kept for failure
// messages.
// Depends on: process (running make), GoogleTest (the outcome is an assertion result).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double MAKEFILE_SECONDS = 400.0;  // configuring and building the toy on a loaded machine

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Run `make TARGET VARS...` in `source_dir` with the test's environment and `overrides`
// ("NAME=value" sets, "NAME" removes); succeeds when make ends with status 0. Its standard output
// and error go to `output`, and into the failure message.
::testing::AssertionResult makefile_run(const std::string &source_dir, const std::string &target,
                                        const std::vector<std::string> &vars, std::string &output,
                                        const std::vector<std::string> &overrides = {});
