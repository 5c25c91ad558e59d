// music: background music (see music.h).
#include "music.h"

#include "log.h"
#include "wrapper_music.h"

// Load and play a tune, or stop the music with a null name ("OFF" in the log)
int music_load_ex(const char *filename, int loops)
{
    lum_logf("Load music '%s'\n", filename ? filename : "OFF");
    if (!filename)
        return wrapper_play_music(nullptr);
    return wrapper_play_music_ex(filename, loops < 0 ? -1 : loops);
}

int music_load(const char *filename)
{
    return music_load_ex(filename, -1);
}

void music_pause(int set)
{
    if (set)
        wrapper_pause_music();
    else
        wrapper_resume_music();
}

void music_volume(float volume)
{
    wrapper_music_volume(volume);
}
