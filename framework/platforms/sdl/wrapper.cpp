// wrapper: the platform layer over SDL 1.2 with an OpenGL context (see wrapper.h): start and
// stop, the video mode, events into the input ring, buffer swaps, the view scale, and substitutes
// that log and refuse for services only handheld platforms have. The same code runs on the
// desktop and, over Emscripten's SDL, in the browser; what differs is the host (wrapper_host).
//
// Index of this file:
// [SECTION] Module state
// [SECTION] Start and stop
// [SECTION] Video mode
// [SECTION] Events
// [SECTION] Desktop substitutes
#include "wrapper.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>

#include "SDL.h"
#include "input.h"
#include "log.h"
#include "plat_msg.h"
#include "wrapper_host.h"
#include "wrapper_music.h"

//----------------------------------------------------------------------------------
// [SECTION] Module state
//----------------------------------------------------------------------------------
constexpr int WRAPPER_CALL_BUFFER = 512;  // room for a native call's name and arguments

static int desktop_w = 0;
static int desktop_h = 0;
static int display_w = 640;   // the drawing surface; 640 x 480 until a mode is opened
static int display_h = 480;
static int fullscreen_ = 0;
static SDL_Joystick *joy = nullptr;  // opened at start and not read afterwards
static int quit_requested = 0;       // set by a window close, a held Escape or a missing display
static int save_requested = 0;       // set by a lost focus, a minimised window or a hang-up
static void (*mode_hook)() = nullptr;  // sets up a new mode's frame state (the drawing's reset)
static int exposed = 0;              // the window's picture was lost since the last frame
static void (*save_hook)() = nullptr;
static WRAPPER_KEY_HOOK key_hook = nullptr;  // offered every raw key before its translation

//----------------------------------------------------------------------------------
// [SECTION] Start and stop
//----------------------------------------------------------------------------------
// Start SDL with every subsystem.
// NOTE: SDL undoes every subsystem when one of them fails, and a machine without a sound device
// is common; so audio is started on its own, and its failure leaves the window, events and
// clock working (the toy is then silent).
static void start_sdl()
{
    SDL_Init(SDL_INIT_EVERYTHING & ~SDL_INIT_AUDIO);
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) < 0)
        lum_logf("No audio device: %s\n", SDL_GetError());
}

// The answer to every request for a platform service: neither the desktop nor the browser page
// has a store or a score board, so scores and store requests are logged and refused
static int replier_for_plat_msg(PLAT_MSG *msg)
{
    if (msg->typeid_ == PLAT_MSG_TYPE_SCORE) {
        lum_log("Received score:");
        lum_logf("'%s' %lld\n", msg->info.score.category.data(), static_cast<long long>(msg->info.score.value));
    } else if (msg->typeid_ == PLAT_MSG_TYPE_IAP) {
        lum_log("Received IAP:");
        lum_logf("'%s'\n", msg->info.iap.productid.data());
    }
    return PLAT_MSG_CODE_ABORT;
}

// Start the platform. Without a display there is nothing to show and no way to receive input, so
// the main loop is asked to end at once instead of running unseen.
int wrapper_init()
{
    start_sdl();
    wrapper_host_init();
    if (!wrapper_host_has_display()) {
        lum_log("No display found: quitting");
        quit_requested = 1;
    }
    joy = SDL_JoystickOpen(0);
    if (desktop_w == 0 && desktop_h == 0) {
        const SDL_VideoInfo *info = SDL_GetVideoInfo();
        if (info) {
            desktop_w = info->current_w;
            desktop_h = info->current_h;
        }
    }
    mouse_state.fill(MOUSE_STATE{});
    plat_msg_set_replier(replier_for_plat_msg);
    return 1;
}

// Stop the audio output, then SDL
void wrapper_exit()
{
    wrapper_sound_exit();
    SDL_Quit();
    joy = nullptr;
    wrapper_host_exit();
}

//----------------------------------------------------------------------------------
// [SECTION] Video mode
//----------------------------------------------------------------------------------
void wrapper_set_mode_hook(void (*reset)())
{
    mode_hook = reset;
}

// Open a video mode. A zero size takes the desktop's; a window with a zero size is half the
// desktop in both directions, while full screen with zero sizes takes the whole desktop.
int wrapper_set_graphics(int w, int h, int depth, int fullscreen)
{
    lum_logf("Set graphics %dx%d\n", w, h);
    display_w = w ? w : desktop_w;
    display_h = h ? h : desktop_h;
    if (!fullscreen && (w == 0 || h == 0)) {
        display_w /= 2;
        display_h /= 2;
    }
    lum_logf("Desktop: %dx%d\n", desktop_w, desktop_h);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 8);
    Uint32 flags = SDL_OPENGL | (fullscreen ? SDL_FULLSCREEN : 0);
    if (!SDL_SetVideoMode(display_w, display_h, depth, flags))
        return -1;
    wrapper_host_window_opened();
    if (mode_hook)
        mode_hook();
    wrapper_reset_opengl_matrix(0.0f, 0.0f);
    fullscreen_ = fullscreen;
    return 1;
}

int wrapper_set_fullscreen(int set)
{
    if ((set != 0) == (fullscreen_ != 0))
        return 1;
    return wrapper_set_graphics(display_w, display_h, 0, set);
}

int wrapper_fullscreen()
{
    return fullscreen_;
}

int wrapper_desktop_w()
{
    return desktop_w;
}

int wrapper_desktop_h()
{
    return desktop_h;
}

int wrapper_display_w()
{
    return display_w;
}

int wrapper_display_h()
{
    return display_h;
}

// Scale the current matrix so that a logical w x h surface fills the display; 0 means the
// display's own size
void wrapper_reset_opengl_matrix(float w, float h)
{
    if (w == 0.0f)
        w = static_cast<float>(display_w);
    if (h == 0.0f)
        h = static_cast<float>(display_h);
    glLoadIdentity();
    glScalef(display_w / w, display_h / h, 1.0f);
}

void wrapper_flip_screen()
{
    SDL_GL_SwapBuffers();
}

void wrapper_show_cursor(int set)
{
    SDL_ShowCursor(set != 0);
}

void wrapper_set_title(const char *title)
{
    SDL_WM_SetCaption(title, title);
}

//----------------------------------------------------------------------------------
// [SECTION] Events
//----------------------------------------------------------------------------------
// SDL key symbol to framework key id; everything not listed is K_NONE.
// NOTE: Z and Y both give K_BUTTON1 (for both keyboard layouts), X gives K_BUTTON2, C K_BUTTON3.
static int translate_symbol(SDLKey sym)
{
    if (sym >= SDLK_0 && sym <= SDLK_9)
        return K_0 + (sym - SDLK_0);
    if (sym >= SDLK_F1 && sym <= SDLK_F12)
        return K_F1 + (sym - SDLK_F1);
    switch (sym) {
    case SDLK_BACKSPACE: return K_BS;
    case SDLK_TAB: return K_TAB;
    case SDLK_RETURN: return K_ENTER;
    case SDLK_ESCAPE: return K_ESC;
    case SDLK_BACKQUOTE: return K_TILDE;
    case SDLK_a: return K_A;
    case SDLK_c: return K_BUTTON3;
    case SDLK_d: return K_D;
    case SDLK_s: return K_S;
    case SDLK_w: return K_W;
    case SDLK_x: return K_BUTTON2;
    case SDLK_y: return K_BUTTON1;
    case SDLK_z: return K_BUTTON1;
    case SDLK_DELETE: return K_DEL;
    case SDLK_UP: return K_UP;
    case SDLK_DOWN: return K_DOWN;
    case SDLK_RIGHT: return K_RIGHT;
    case SDLK_LEFT: return K_LEFT;
    default: return K_NONE;
    }
}

// The raw-key names of wrapper.h are SDL 1.2's symbols.
// NOTE: Emscripten's SDL numbers the keys beyond ASCII (arrows, keypad, function keys) its own
// way, so there only the ASCII ones are checked.
static_assert(WRAPPER_SYM_BACKSPACE == SDLK_BACKSPACE && WRAPPER_SYM_SPACE == SDLK_SPACE);
static_assert(WRAPPER_SYM_PLUS == SDLK_PLUS && WRAPPER_SYM_MINUS == SDLK_MINUS && WRAPPER_SYM_SLASH == SDLK_SLASH);
static_assert(WRAPPER_SYM_0 == SDLK_0 && WRAPPER_SYM_EQUALS == SDLK_EQUALS && WRAPPER_SYM_QUESTION == SDLK_QUESTION);
static_assert(WRAPPER_SYM_A == SDLK_a && WRAPPER_SYM_A + 25 == SDLK_z && WRAPPER_SYM_DELETE == SDLK_DELETE);
#ifndef __EMSCRIPTEN__
static_assert(WRAPPER_SYM_KP_MINUS == SDLK_KP_MINUS && WRAPPER_SYM_KP_PLUS == SDLK_KP_PLUS);
static_assert(WRAPPER_SYM_RIGHT == SDLK_RIGHT && WRAPPER_SYM_F1 == SDLK_F1 && WRAPPER_SYM_LAST == SDLK_LAST);
#endif

// SDL's modifier state as WRAPPER_MOD_* bits
static int raw_mods(unsigned mod)
{
    int mods = 0;
    if (mod & KMOD_SHIFT)
        mods |= WRAPPER_MOD_SHIFT;
    if (mod & KMOD_CTRL)
        mods |= WRAPPER_MOD_CTRL;
    if (mod & KMOD_ALT)
        mods |= WRAPPER_MOD_ALT;
    if (mod & KMOD_META)
        mods |= WRAPPER_MOD_META;
    return mods;
}

// Drain SDL's queue into the input ring, offering each key to the raw-key hook first. Every motion is queued (no coalescing); a window close
// requests quit, and so does a held Escape key.
// NOTE: the key table is updated after this poll, so Escape ends the loop in the tick after the
// press.
void wrapper_handle_events()
{
    SDL_Event sdl;
    while (SDL_PollEvent(&sdl)) {
        INPUT_EVENT e{};
        // The raw key goes to the hook first; its translation below is the same with or without one
        if (key_hook && (sdl.type == SDL_KEYDOWN || sdl.type == SDL_KEYUP))
            key_hook(sdl.type == SDL_KEYDOWN, static_cast<int>(sdl.key.keysym.sym), raw_mods(sdl.key.keysym.mod));
        switch (sdl.type) {
        case SDL_KEYDOWN:
            e.type = INPUT_PRESSED;
            e.keyid = translate_symbol(sdl.key.keysym.sym);
            break;
        case SDL_KEYUP:
            e.type = INPUT_RELEASED;
            e.keyid = translate_symbol(sdl.key.keysym.sym);
            break;
        case SDL_MOUSEMOTION:
            e.type = INPUT_MOVED;
            e.keyid = K_MOUSE;
            e.x = sdl.motion.x;
            e.y = sdl.motion.y;
            break;
        case SDL_MOUSEBUTTONDOWN:
        case SDL_MOUSEBUTTONUP:
            e.type = sdl.type == SDL_MOUSEBUTTONDOWN ? INPUT_PRESSED : INPUT_RELEASED;
            e.keyid = K_MOUSE;
            e.id = sdl.button.button - 1;
            e.x = sdl.button.x;
            e.y = sdl.button.y;
            break;
        case SDL_QUIT:
            lum_log("SDL_QUIT");
            quit_requested = 1;
            continue;
        case SDL_ACTIVEEVENT:
            if (!sdl.active.gain && (sdl.active.state & (SDL_APPINPUTFOCUS | SDL_APPACTIVE)))
                save_requested = 1;
            if (sdl.active.gain && (sdl.active.state & SDL_APPACTIVE))
                exposed = 1;
            continue;
        case SDL_VIDEOEXPOSE:
        case SDL_VIDEORESIZE:
            exposed = 1;
            continue;
        default:
            continue;
        }
        input_add_event(&e);
    }
    if (keys[K_ESC])
        quit_requested = 1;
    switch (wrapper_host_poll()) {
    case WRAPPER_HOST_SAVE:
        save_requested = 1;
        break;
    case WRAPPER_HOST_SAVE_AND_END:
        save_requested = 1;
        quit_requested = 1;
        break;
    case WRAPPER_HOST_RESIZE: {
        int w = 0, h = 0;
        if (wrapper_host_size(&w, &h) && (w != display_w || h != display_h))
            wrapper_set_graphics(w, h, 0, fullscreen_);
        break;
    }
    default:
        break;
    }
}

void wrapper_set_key_hook(WRAPPER_KEY_HOOK hook)
{
    key_hook = hook;
}

void wrapper_set_save_hook(void (*save)())
{
    save_hook = save;
}

void wrapper_run_save_hook()
{
    if (save_hook)
        save_hook();
}

int wrapper_take_save_request()
{
    int requested = save_requested;
    save_requested = 0;
    return requested;
}

int wrapper_take_expose()
{
    int lost = exposed || wrapper_host_take_redraw();
    exposed = 0;
    return lost;
}

int wrapper_quit_requested()
{
    return quit_requested;
}

//----------------------------------------------------------------------------------
// [SECTION] Desktop substitutes
//----------------------------------------------------------------------------------
int wrapper_tweet_start()
{
    lum_log("TWEET START");
    return -1;
}

int wrapper_tweet_add_text(const char *text)
{
    lum_logf("TWEET ADD TEXT '%s'\n", text ? text : "");
    return -1;
}

int wrapper_tweet_add_url(const char *url)
{
    lum_logf("TWEET ADD URL '%s'\n", url ? url : "");
    return -1;
}

int wrapper_tweet_finish()
{
    lum_log("TWEET FINISH");
    return -1;
}

// The desktop build does not open a browser; the browser's opens a new tab
int wrapper_open_url(int hint, const char *url)
{
    lum_logf("OPEN URL (hint %d): %s\n", hint, url ? url : "");
    return url ? wrapper_host_open_url(hint, url) : -1;
}

int wrapper_copy_data_to_clipboard(const char *hint, const void *data, int size)
{
    lum_logf("Copy data %p size %d (hint '%s') to clipboard\n", data, size, hint ? hint : "");
    return -1;
}

// The progress function is never called
int wrapper_copy_file_to_clipboard(const char *hint, const char *filename, void (*progress)(float))
{
    (void)progress;
    lum_logf("Copy file '%s' (hint '%s') to clipboard\n", filename ? filename : "", hint ? hint : "");
    return -1;
}

// Native calls do not exist on the desktop: the call text is composed (name, then each argument
// after one blank, bounded to the buffer) and nothing runs
int wrapper_call_ex(const char *name, int argc, const char *const *argv, void (*callback)(const char *))
{
    (void)callback;
    char buffer[WRAPPER_CALL_BUFFER];
    int len = std::snprintf(buffer, sizeof buffer, "%s", name ? name : "");
    for (int i = 0; i < argc && argv && len < WRAPPER_CALL_BUFFER - 1; i++) {
        int n = std::snprintf(buffer + len, sizeof buffer - len, " %s", argv[i] ? argv[i] : "");
        len = std::min(len + std::max(n, 0), WRAPPER_CALL_BUFFER - 1);
    }
    return 0;
}

int wrapper_call(const char *call, const char *arg)
{
    (void)call;
    (void)arg;
    return 0;
}
