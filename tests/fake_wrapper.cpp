// fake_wrapper: a test double of the platform layer (see fake_wrapper.h).
#include "fake_wrapper.h"

#include <unistd.h>

#include "wrapper.h"
#include "wrapper_image.h"
#include "wrapper_music.h"

FAKE_PLATFORM fake_platform;
std::recursive_mutex fake_audio_lock;

void fake_platform_reset()
{
    fake_platform = FAKE_PLATFORM{};
    fake_platform.display_w = 960;
    fake_platform.display_h = 640;
    fake_platform.set_graphics_result = 1;
    fake_platform.sound_init_result = 1;
}

int wrapper_init()
{
    fake_platform.inits++;
    return 1;
}

void wrapper_exit()
{
    fake_platform.exits++;
}

void wrapper_set_mode_hook(void (*reset)())
{
    fake_platform.mode_hook = reset;
}

int wrapper_set_graphics(int w, int h, int, int)
{
    fake_platform.display_w = w;
    fake_platform.display_h = h;
    return fake_platform.set_graphics_result;
}

int wrapper_set_fullscreen(int)
{
    return 1;
}

int wrapper_fullscreen()
{
    return 0;
}

int wrapper_desktop_w()
{
    return 1920;
}

int wrapper_desktop_h()
{
    return 1080;
}

int wrapper_display_w()
{
    return fake_platform.display_w;
}

int wrapper_display_h()
{
    return fake_platform.display_h;
}

void wrapper_reset_opengl_matrix(float, float)
{
}

void wrapper_flip_screen()
{
    fake_platform.flips++;
}

void wrapper_show_cursor(int)
{
}

void wrapper_set_title(const char *title)
{
    fake_platform.title = title ? title : "";
}

void wrapper_handle_events()
{
    fake_platform.polls++;
    if (fake_platform.on_poll)
        fake_platform.on_poll();
}

int wrapper_file_sync(int fd)
{
    return fsync(fd);
}

void wrapper_file_changed(const char *path)
{
    fake_platform.changed_files.emplace_back(path);
}

int wrapper_quit_requested()
{
    return fake_platform.quit_requested;
}

void wrapper_set_key_hook(WRAPPER_KEY_HOOK hook)
{
    fake_platform.key_hook = hook;
}

void wrapper_set_save_hook(void (*save)())
{
    fake_platform.save_hook = save;
}

int wrapper_take_expose()
{
    int e = fake_platform.exposed;
    fake_platform.exposed = 0;
    return e;
}

int wrapper_take_save_request()
{
    int requested = fake_platform.save_requested;
    fake_platform.save_requested = 0;
    return requested;
}

double wrapper_get_seconds()
{
    return static_cast<double>(fake_platform.ms) / 1000.0;
}

uint32_t wrapper_get_ticks(float frequency)
{
    return wrapper_ticks_from_ms(fake_platform.ms, frequency);
}

int wrapper_set_logic_rate(float)
{
    return fake_platform.set_logic_rate_result;
}

void wrapper_delay(double seconds)
{
    fake_platform.ms += static_cast<uint64_t>(1000.0 * seconds);
}

void wrapper_yield()
{
    fake_platform.yields++;
    fake_platform.ms += 1;
    if (fake_platform.on_yield)
        fake_platform.on_yield();
}

// The audio lock of the test double: a real recursive lock, so that a test thread standing in
// for the audio callback (which takes it around every block) is kept out as on the platform
void wrapper_lock_audio()
{
    fake_audio_lock.lock();
    fake_platform.audio_locks++;
}

void wrapper_unlock_audio()
{
    fake_audio_lock.unlock();
}

void wrapper_start_audio_stream()
{
}

void wrapper_stop_audio_stream()
{
}

void wrapper_run_thread(void *(*func)(void *), void *data)
{
    func(data);
}

int wrapper_tweet_start()
{
    return -1;
}

int wrapper_tweet_add_text(const char *)
{
    return -1;
}

int wrapper_tweet_add_url(const char *)
{
    return -1;
}

int wrapper_tweet_finish()
{
    return -1;
}

int wrapper_open_url(int hint, const char *url)
{
    fake_platform.urls.push_back(std::to_string(hint) + " " + (url ? url : ""));
    return -1;
}

int wrapper_copy_data_to_clipboard(const char *, const void *, int)
{
    return -1;
}

int wrapper_copy_file_to_clipboard(const char *, const char *, void (*)(float))
{
    return -1;
}

int wrapper_call_ex(const char *, int, const char *const *, void (*)(const char *))
{
    return 0;
}

int wrapper_call(const char *, const char *)
{
    return 0;
}

// No image decoding without the platform: every file counts as undecodable
uint8_t *wrapper_load_rgba(const char *, int *w, int *h)
{
    if (w)
        *w = 0;
    if (h)
        *h = 0;
    return nullptr;
}

// The audio output of the test double: no device and no callback; it records what was asked
int wrapper_sound_init(unsigned samplerate, unsigned bufsize)
{
    fake_platform.sound_inits++;
    fake_platform.sound_rate = samplerate;
    fake_platform.sound_buffer = bufsize;
    return fake_platform.sound_init_result;
}

void wrapper_sound_exit()
{
    fake_platform.sound_exits++;
}

int wrapper_play_music_ex(const char *filename, int loops)
{
    fake_platform.music = filename ? filename : "";
    fake_platform.music_loops = loops;
    return filename ? 1 : 0;
}

int wrapper_play_music(const char *filename)
{
    return wrapper_play_music_ex(filename, -1);
}

void wrapper_pause_music()
{
    fake_platform.music_paused = 1;
}

void wrapper_resume_music()
{
    fake_platform.music_paused = 0;
}

void wrapper_music_volume(float volume)
{
    fake_platform.music_volume = volume;
}
