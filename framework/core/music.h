// music: background music for the framework's users, played by the platform under the mix.
// The toy itself plays none; other applications of the framework load a tune and steer it here.
// Depends on: log (the log line), wrapper_music (the platform's player).
#pragma once

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
int music_load_ex(const char *filename, int loops);  // play `loops` times (negative: for ever); null stops
int music_load(const char *filename);                // play for ever; null stops
void music_pause(int set);                           // pause (non-zero) or resume
void music_volume(float volume);                     // 0..1
