// fork_main_sample: an executable over the unit tests' main (support/fork_main) whose tests pass,
// fail, crash, leak, die as death tests, are disabled and share a variable, for fork_main_test to
// run and read. It is not a test of its own: some of its tests fail on purpose.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Every test that starts from the program's fresh state sees this at zero
int runs = 0;

TEST(Sample, FirstSeesAFreshProgram)
{
    runs++;
    std::printf("first ran, its output kept back\n");
    EXPECT_EQ(runs, 1);
}

TEST(Sample, SecondSeesAFreshProgramToo)
{
    runs++;
    EXPECT_EQ(runs, 1);
}

TEST(Sample, FailsAnExpectation)
{
    std::printf("output of the failing test\n");
    EXPECT_EQ(runs, 42) << "a deliberate failure";
}

TEST(Sample, Crashes)
{
    std::abort();
}

TEST(Sample, DISABLED_RunsOnlyWhenAskedTo)
{
    std::printf("the disabled test ran\n");
}

TEST(SampleDeathTest, DiesAsExpected)
{
    EXPECT_EXIT(std::exit(3), ::testing::ExitedWithCode(3), "");
}

}  // namespace
