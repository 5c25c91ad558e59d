// log: the log line, assertions and the fatal out-of-memory exit (see log.h).
#include "log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "wrapper_system.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
std::atomic<uint32_t> lum_ticks = 0;

static double start_seconds = 0.0;  // platform seconds at the end of the runtime's start-up

//----------------------------------------------------------------------------------
// Clock
//----------------------------------------------------------------------------------
double lum_seconds()
{
    return wrapper_get_seconds() - start_seconds;
}

void lum_clock_start()
{
    start_seconds = wrapper_get_seconds();
}

//----------------------------------------------------------------------------------
// Logging
//----------------------------------------------------------------------------------
static void log_prefix()
{
    std::printf("[lum %.2fs (%u)] ", lum_seconds(), static_cast<unsigned>(lum_ticks.load()));
}

void lum_log(const char *text)
{
    log_prefix();
    std::printf("%s\n", text);
    std::fflush(stdout);
}

void lum_logf(const char *format, ...)
{
    log_prefix();
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::fflush(stdout);
}

//----------------------------------------------------------------------------------
// Fatal errors
//----------------------------------------------------------------------------------
void lum_assert_fail(const char *text, const char *file, int line, const char *function)
{
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, text);
    std::fflush(stderr);
    std::abort();
}

void lum_out_of_memory(int line)
{
    std::fflush(stdout);
    std::fprintf(stderr, "line %d: No more memory for allocating data\n", line);
    std::fflush(stderr);
    std::exit(1);
}

