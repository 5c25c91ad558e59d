// fork_main: the main of the unit test executables. Each test runs in a child process of its own,
// forked from this one before any test ran, so that it starts from the program's fresh state (the
// framework's tables, the per-user paths computed once, the runtime started once) exactly as if
// the executable had been started for it alone, without paying a new process's start-up (the
// sanitizers map their shadow memory and read the process's maps) for every test. A child's
// output is kept and shown only when it fails; the exit status is 0 when every test passed.
// `--gtest_filter` chooses the tests as GoogleTest does. Listing the tests, a death test's own
// child (which runs the binary again with an internal flag) and `LUM_TEST_SHARE=1` (the quick
// loop's choice, for executables whose tests may share one program) run the tests in this
// process, as GoogleTest's own main does.
// Depends on: GoogleTest, POSIX (fork, waitpid, dup2).
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

// GoogleTest's wildcard match: `*` any run of characters, `?` any one character
bool fork_main_glob(std::string_view pattern, std::string_view name)
{
    if (pattern.empty())
        return name.empty();
    if (pattern[0] == '*')
        return fork_main_glob(pattern.substr(1), name) ||
               (!name.empty() && fork_main_glob(pattern, name.substr(1)));
    if (name.empty() || (pattern[0] != '?' && pattern[0] != name[0]))
        return false;
    return fork_main_glob(pattern.substr(1), name.substr(1));
}

// Whether any of the `:`-separated patterns matches
bool fork_main_any(std::string_view patterns, std::string_view name)
{
    for (;;) {
        const size_t colon = patterns.find(':');
        if (fork_main_glob(patterns.substr(0, colon), name))
            return true;
        if (colon == std::string_view::npos)
            return false;
        patterns.remove_prefix(colon + 1);
    }
}

// GoogleTest's filter: positive patterns, then optionally `-` and negative ones
bool fork_main_selected(std::string_view filter, const std::string &name)
{
    const size_t dash = filter.find('-');
    std::string_view positive = filter.substr(0, dash);
    if (positive.empty())
        positive = "*";
    if (!fork_main_any(positive, name))
        return false;
    return dash == std::string_view::npos || !fork_main_any(filter.substr(dash + 1), name);
}

bool fork_main_disabled(const std::string &name)
{
    return name.rfind("DISABLED_", 0) == 0 || name.find(".DISABLED_") != std::string::npos;
}

// The full names of the tests the filter chooses, in the order they were defined
std::vector<std::string> fork_main_tests()
{
    const ::testing::UnitTest &all = *::testing::UnitTest::GetInstance();
    const std::string filter = GTEST_FLAG_GET(filter);
    const bool disabled_too = GTEST_FLAG_GET(also_run_disabled_tests);
    std::vector<std::string> names;
    for (int s = 0; s < all.total_test_suite_count(); s++) {
        const ::testing::TestSuite &suite = *all.GetTestSuite(s);
        for (int t = 0; t < suite.total_test_count(); t++) {
            std::string name = std::string(suite.name()) + "." + suite.GetTestInfo(t)->name();
            if (fork_main_selected(filter, name) && (disabled_too || !fork_main_disabled(name)))
                names.push_back(std::move(name));
        }
    }
    return names;
}

// Copy what a failed child wrote to standard output
void fork_main_show(FILE *out)
{
    std::rewind(out);
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, out)) > 0)
        std::fwrite(buffer, 1, n, stdout);
}

// Run one test in a child process with its output going to `out`; true when it passed
bool fork_main_run(const std::string &name, FILE *out, std::string &why)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        why = std::string("fork failed: ") + std::strerror(errno);
        return false;
    }
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(out), STDERR_FILENO);
        GTEST_FLAG_SET(filter, name);
        std::exit(RUN_ALL_TESTS());
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            why = std::string("waitpid failed: ") + std::strerror(errno);
            return false;
        }
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return true;
    why = WIFSIGNALED(status) ? "killed by signal " + std::to_string(WTERMSIG(status))
                              : "exit status " + std::to_string(WEXITSTATUS(status));
    return false;
}

// Whether the command line is a death test's child: looked at before GoogleTest takes its flags
// out of the arguments
bool fork_main_death_child(int argc, char **argv)
{
    for (int i = 1; i < argc; i++)
        if (std::strncmp(argv[i], "--gtest_internal_run_death_test", 31) == 0)
            return true;
    return false;
}

bool fork_main_in_process(bool death_child)
{
    const char *share = std::getenv("LUM_TEST_SHARE");
    if (share && std::strcmp(share, "1") == 0)
        return true;
    return death_child || GTEST_FLAG_GET(list_tests);
}

}  // namespace

int main(int argc, char **argv)
{
    const bool death_child = fork_main_death_child(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    if (fork_main_in_process(death_child))
        return RUN_ALL_TESTS();
    const std::vector<std::string> names = fork_main_tests();
    std::vector<std::string> failed;
    const auto start = std::chrono::steady_clock::now();
    for (const std::string &name : names) {
        FILE *out = std::tmpfile();
        if (!out) {
            std::printf("[  FAILED  ] %s: no temporary file for its output\n", name.c_str());
            failed.push_back(name);
            continue;
        }
        const auto began = std::chrono::steady_clock::now();
        std::string why;
        const bool passed = fork_main_run(name, out, why);
        const long ms = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                              std::chrono::steady_clock::now() - began)
                                              .count());
        if (passed) {
            std::printf("[       OK ] %s (%ld ms)\n", name.c_str(), ms);
        } else {
            fork_main_show(out);
            std::printf("[  FAILED  ] %s (%s, %ld ms)\n", name.c_str(), why.c_str(), ms);
            failed.push_back(name);
        }
        std::fclose(out);
    }
    const long total = static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
            .count());
    std::printf("[==========] %zu tests, each in its own process, ran. (%ld ms total)\n", names.size(),
                total);
    std::printf("[  PASSED  ] %zu tests.\n", names.size() - failed.size());
    for (const std::string &name : failed)
        std::printf("[  FAILED  ] %s\n", name.c_str());
    return failed.empty() ? 0 : 1;
}
