// sanitizer_options: the defaults of AddressSanitizer, LeakSanitizer and UBSan for the sanitized
// test binaries, compiled in so that a test behaves the same under CTest and when run by hand.
// The sanitizer runtimes look these functions up by name at start-up.

// Leaks that belong to the system libraries the platform layer loads (SDL, X11, D-Bus, Mesa),
// not to this project.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libX11\n"
           "leak:libGLX\n"
           "leak:libGL\n"
           "leak:libEGL\n"
           "leak:libSDL\n"
           "leak:libdbus\n"
           "leak:libLLVM\n"
           "leak:libgallium\n"
           "leak:swrast\n"
           "leak:_dri\n";
}

extern "C" const char *__asan_default_options()
{
    return "detect_leaks=1:print_suppressions=0";
}

extern "C" const char *__ubsan_default_options()
{
    return "print_stacktrace=1:halt_on_error=1";
}
