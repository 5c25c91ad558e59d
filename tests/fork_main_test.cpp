// The unit tests' main (support/fork_main), run over a sample executable whose tests pass, fail,
// crash, die as death tests and share a variable: each test in a process of its own from the
// program's fresh state, failures named with their output, passing output dropped, the filter and
// the disabled tests as GoogleTest has them, and one process when asked.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace {

struct RUN {
    std::string out;  // standard output and error together
    int status = -1;  // the exit status; -1 when it did not exit
};

// Run the sample with the given arguments and environment assignments (and nothing of this
// process's choice of one program or one each)
RUN run_sample(const std::string &args, const std::string &env = "")
{
    RUN r;
    const std::string command = "env -u LUM_TEST_SHARE " + env + " " + FORK_MAIN_SAMPLE + " " + args + " 2>&1";
    FILE *p = popen(command.c_str(), "r");
    if (!p)
        return r;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, p)) > 0)
        r.out.append(buffer, n);
    const int status = pclose(p);
    if (WIFEXITED(status))
        r.status = WEXITSTATUS(status);
    return r;
}

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

TEST(ForkMain, EveryTestRunsFromTheProgramsFreshStateAndTheFailuresAreNamed)
{
    const RUN r = run_sample("");
    EXPECT_EQ(r.status, 1) << r.out;
    EXPECT_TRUE(has(r.out, "[       OK ] Sample.FirstSeesAFreshProgram")) << r.out;
    EXPECT_TRUE(has(r.out, "[       OK ] Sample.SecondSeesAFreshProgramToo")) << r.out;
    EXPECT_TRUE(has(r.out, "[       OK ] SampleDeathTest.DiesAsExpected")) << r.out;
    EXPECT_TRUE(has(r.out, "[  FAILED  ] Sample.FailsAnExpectation (exit status 1")) << r.out;
    EXPECT_TRUE(has(r.out, "[  FAILED  ] Sample.Crashes (killed by signal 6")) << r.out;
    EXPECT_TRUE(has(r.out, "[==========] 5 tests, each in its own process, ran.")) << r.out;
    EXPECT_TRUE(has(r.out, "[  PASSED  ] 3 tests.")) << r.out;
}

TEST(ForkMain, AFailingTestsOutputIsShownAndAPassingOnesIsNot)
{
    const RUN r = run_sample("");
    EXPECT_TRUE(has(r.out, "output of the failing test")) << r.out;
    EXPECT_TRUE(has(r.out, "a deliberate failure")) << r.out;
    EXPECT_FALSE(has(r.out, "first ran, its output kept back")) << r.out;
}

TEST(ForkMain, TheFilterChoosesTheTestsAsGoogleTestDoes)
{
    const RUN r = run_sample("--gtest_filter='Sample.*See*:*Death*-*Second*'");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.out, "Sample.FirstSeesAFreshProgram")) << r.out;
    EXPECT_TRUE(has(r.out, "SampleDeathTest.DiesAsExpected")) << r.out;
    EXPECT_FALSE(has(r.out, "SecondSeesAFreshProgramToo")) << r.out;
    EXPECT_TRUE(has(r.out, "[==========] 2 tests, each in its own process, ran.")) << r.out;
}

TEST(ForkMain, ADisabledTestRunsOnlyWhenAskedTo)
{
    EXPECT_FALSE(has(run_sample("").out, "DISABLED_"));
    const RUN r = run_sample("--gtest_also_run_disabled_tests --gtest_filter='*Disabled*:*DISABLED*'");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.out, "[       OK ] Sample.DISABLED_RunsOnlyWhenAskedTo")) << r.out;
}

TEST(ForkMain, WithoutForkingTheTestsShareOneProgram)
{
    EXPECT_EQ(run_sample("--gtest_filter='Sample.*Fresh*'").status, 0);
    const RUN one = run_sample("--gtest_filter='Sample.*Fresh*'", "LUM_TEST_SHARE=1");
    EXPECT_EQ(one.status, 1) << "the second test saw the first one's count: " << one.out;
    EXPECT_TRUE(has(one.out, "[  FAILED  ] Sample.SecondSeesAFreshProgramToo")) << one.out;
}

TEST(ForkMain, ListingTheTestsRunsNone)
{
    const RUN r = run_sample("--gtest_list_tests");
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(has(r.out, "Sample.\n  FirstSeesAFreshProgram\n")) << r.out;
    EXPECT_FALSE(has(r.out, "[       OK ]")) << r.out;
}

}  // namespace
