// mute: sound switched off and on, kept beside the settings (see mute.h).
#include "mute.h"

#include <array>
#include <cstring>
#include <string>

#include "file.h"
#include "lum.h"
#include "store.h"
#include "wrapper_file.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *MUTE_TEXT_ON = "sound on\n";
constexpr const char *MUTE_TEXT_OFF = "sound off\n";
constexpr size_t MUTE_READ_MAX = 32;  // more than either text

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static int muted = 0;

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void mute_set(int m)
{
    muted = m ? 1 : 0;
    lum_enable_synth(muted ? 0 : 1);
}

int mute_on()
{
    return muted;
}

// A missing file is sound on; a file that holds neither text is said once and read as sound on
int mute_load()
{
    const std::string path = file_save_path(MUTE_FILE);
    int m = 0;
    if (const char *other = file_not_a_file(path.c_str())) {
        lum_logf("sound: '%s' is %s, not a file: sound on\n", path.c_str(), other);
    } else if (wrapper_file_kind(path.c_str()) == WRAPPER_FILE_REGULAR) {
        FILE *in = file_open_save_read(MUTE_FILE);
        std::array<char, MUTE_READ_MAX + 1> text{};
        const size_t n = in ? file_read(in, text.data(), MUTE_READ_MAX) : 0;
        file_close(in);
        const std::string got(text.data(), n);
        if (got == MUTE_TEXT_OFF)
            m = 1;
        else if (got != MUTE_TEXT_ON)
            lum_logf("sound: '%s' holds neither \"sound on\" nor \"sound off\": sound on\n", path.c_str());
    }
    mute_set(m);
    if (m)
        lum_log("sound off");
    return muted;
}

int mute_toggle()
{
    mute_set(!muted);
    lum_log(muted ? "sound off" : "sound on");
    const char *text = muted ? MUTE_TEXT_OFF : MUTE_TEXT_ON;
    std::string failure;
    if (store_save(MUTE_FILE, text, std::strlen(text), failure) < 0)
        lum_logf("sound choice not saved: %s\n", failure.c_str());
    return muted;
}
