// death: support for death tests. A fixture that runs them in the thread-safe style (the child
// runs the test binary again from the start rather than forking a process that may hold other
// threads' locks), and an environment variable set for a scope, with which a test gives the
// child its sanitizer options (for example letting an allocation fail instead of aborting).
// Depends on: GoogleTest, POSIX (setenv, unsetenv).
#pragma once

#include <gtest/gtest.h>

#include <string>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// The fixture of a death test suite; name the suite with an alias ending in "DeathTest", so
// that GoogleTest runs it first: `using VectorDeathTest = ThreadsafeDeathTest;`
class ThreadsafeDeathTest : public ::testing::Test {
protected:
    void SetUp() override;
};

// Set an environment variable for the rest of a scope, then put back what was there
class ScopedEnv {
public:
    ScopedEnv(const char *name, const char *value);
    ~ScopedEnv();

private:
    const char *name_;  // the variable
    bool had_;          // it was set before
    std::string old_;   // its value before, when it was set
};
