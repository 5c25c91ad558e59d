// death: support for death tests (see death.h).
#include "death.h"

#include <cstdlib>

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Every death test of the suite runs in the thread-safe style
void ThreadsafeDeathTest::SetUp()
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
}

// Remember the variable's value, then set it
ScopedEnv::ScopedEnv(const char *name, const char *value) : name_(name)
{
    const char *old = std::getenv(name);
    had_ = old != nullptr;
    if (had_)
        old_ = old;
    setenv(name, value, 1);
}

// Put back the value from before, or remove the variable if it had none
ScopedEnv::~ScopedEnv()
{
    if (had_)
        setenv(name_, old_.c_str(), 1);
    else
        unsetenv(name_);
}
