// makefile: the project's Makefile as the tests run it (see makefile.h).
#include "makefile.h"

#include <sys/wait.h>

#include <iterator>

#include "process.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// What a make running the tests passes to the makes it starts: the job server's descriptors,
// which the child would not have, and the flags of a run that is not the test's
static const char *const MAKEFILE_PARENT_VARS[] = {"MAKEFLAGS", "MAKELEVEL", "MFLAGS", "MAKEOVERRIDES"};

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
::testing::AssertionResult makefile_run(const std::string &source_dir, const std::string &target,
                                        const std::vector<std::string> &vars, std::string &output,
                                        const std::vector<std::string> &overrides)
{
    std::vector<std::string> argv = {"make", "--no-print-directory", "-C", source_dir, target};
    argv.insert(argv.end(), vars.begin(), vars.end());
    std::vector<std::string> environment(std::begin(MAKEFILE_PARENT_VARS), std::end(MAKEFILE_PARENT_VARS));
    environment.insert(environment.end(), overrides.begin(), overrides.end());
    int status = process_run(argv, environment, MAKEFILE_SECONDS, output);
    if (status >= 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return ::testing::AssertionSuccess();
    std::string command;
    for (const std::string &a : argv)
        command += " " + a;
    return ::testing::AssertionFailure() << "`" << command.substr(1) << "` failed ("
                                         << (status < 0 ? "not run to its end" : describe_status(status)) << "):\n"
                                         << output;
}
