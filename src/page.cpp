// page: patterns in and out of the browser page (see page.h).
#include "page.h"

#include <emscripten.h>

#include <cstddef>
#include <string>

#include "exchange.h"
#include "game.h"
#include "history.h"
#include "log.h"
#include "pattern.h"

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static std::string answer;  // the last text handed to the page

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void page_start()
{
    EM_ASM({
        if (Module.lumPageReady)
            Module.lumPageReady();
    });
}

extern "C" EMSCRIPTEN_KEEPALIVE const char *page_open_pattern(const char *source, const char *bytes, int size)
{
    static const char *const FORMATS[] = {"RLE", "plaintext", "Life 1.06", "Life 1.05"};
    const char *name = source && *source ? source : "the page";
    PATTERN pattern;
    PATTERN_ERROR error;
    if (!bytes || size < 0) {  // nothing handed over reads as an empty text
        bytes = "";
        size = 0;
    }
    if (pattern_read(bytes, static_cast<size_t>(size), &pattern, &error) < 0) {
        answer = pattern_error_line(name, error);
        lum_logf("page: refused %s\n", answer.c_str());
        return answer.c_str();
    }
    exchange_open(pattern);
    save_settings_if_changed();
    history_save();
    lum_logf("page: opened the pattern from '%s' (%s%s%s, %d x %d at %d,%d)\n", name, FORMATS[pattern.format],
             pattern.name[0] ? ": " : "", pattern.name.data(), pattern.w, pattern.h, pattern.x, pattern.y);
    answer.clear();
    return answer.c_str();
}

extern "C" EMSCRIPTEN_KEEPALIVE const char *page_pattern_rle()
{
    answer = exchange_rle();
    return answer.c_str();
}

extern "C" EMSCRIPTEN_KEEPALIVE int page_read_max()
{
    return static_cast<int>(PATTERN_READ_MAX);
}
