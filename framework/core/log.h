// log: the log line, assertions and the fatal out-of-memory exit, with the clock they print.
// The ground floor of the framework: every module may include it, and it depends on nothing but
// the platform's clock, so no module has to include the runtime (lum) to write a line. It owns
// the running logic tick number, which the main loop advances and every line prints.
// Depends on: wrapper_system (the platform clock).
#pragma once

#include <atomic>
#include <cstdint>

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
extern std::atomic<uint32_t> lum_ticks;  // the running logic tick number, printed in every log line;
                                         // the audio thread reads it too

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// The clock of the log lines: seconds since lum_clock_start (the end of the runtime's start-up)
double lum_seconds();
void lum_clock_start();  // count lum_seconds from now

// Logging: every line goes to standard output as the prefix "[lum <seconds>s (<tick>)] " and
// then the message, flushed at once so that a pipe reads it while the program runs.
void lum_log(const char *text);                                    // a line: prefix, text, newline
void lum_logf(const char *format, ...) __attribute__((format(printf, 1, 2)));  // prefix, formatted text as given

// A trace line: the prefix, then the source line and the function's name.
#define LUM_TRACE() lum_logf("line %d: %s\n", __LINE__, __func__)

// Assertions that stay on in every build (release builds define NDEBUG, which would silence the
// standard assert): a failure prints "<file>:<line>: <function>: Assertion `<text>' failed." on
// standard error and aborts. The text is the condition exactly as written.
#define LUM_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : lum_assert_fail(#condition, __FILE__, __LINE__, __func__))
[[noreturn]] void lum_assert_fail(const char *text, const char *file, int line, const char *function);

// Running out of memory where the framework cannot go on: "line <line>: No more memory for
// allocating data" on standard error, then exit with status 1.
[[noreturn]] void lum_out_of_memory(int line);
