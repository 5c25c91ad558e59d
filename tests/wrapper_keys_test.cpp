// The SDL platform layer's raw-key hook, for real: SDL 1.2 in a private virtual X display. Every
// key symbol SDL can deliver, alone and with each modifier, reaches the framework's input tables
// (the events, `keys`, `keyevent`) exactly alike with and without a hook installed, and the hook
// sees each press and release with its raw symbol and modifiers, before the tables do.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "SDL.h"
#include "input.h"
#include "lum.h"
#include "test_display.h"
#include "wrapper.h"

namespace {

constexpr int SMALL_W = 320;  // the window, away from the parked pointer
constexpr int SMALL_H = 240;

// What the tables saw of one key's press and release
struct SEEN {
    std::vector<std::tuple<int, int, int, float, float, uint32_t>> events;  // type, key id, id, x, y, stamp
    std::vector<uint8_t> keys_after_press, keyevent_after_press;
    std::vector<uint8_t> keys_after_release, keyevent_after_release;
    bool operator==(const SEEN &) const = default;
};

std::vector<INPUT_EVENT> delivered;
std::vector<std::tuple<int, int, int>> raw;  // pressed, sym, mods as the hook saw them
int raw_before_tables = 0;                   // hook calls that came before the key reached the ring

void record_event(INPUT_EVENT *e)
{
    delivered.push_back(*e);
}

void record_raw(int pressed, int sym, int mods)
{
    raw.emplace_back(pressed, sym, mods);
    raw_before_tables += delivered.empty() ? 1 : 0;
}

SDL_Event key_event(Uint8 type, int sym, int mod)
{
    SDL_Event e;
    std::memset(&e, 0, sizeof e);
    e.type = type;
    e.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
    e.key.keysym.sym = static_cast<SDLKey>(sym);
    e.key.keysym.mod = static_cast<SDLMod>(mod);
    return e;
}

// One tick's poll and delivery of a pushed event; the tables as the tick leaves them
void poll_one(const SDL_Event &pushed, std::vector<uint8_t> &k, std::vector<uint8_t> &ke)
{
    SDL_Event e = pushed;
    EXPECT_EQ(SDL_PushEvent(&e), 0) << SDL_GetError();
    wrapper_handle_events();
    input_update_events();
    k.assign(keys.begin(), keys.end());
    ke.assign(keyevent.begin(), keyevent.end());
    input_clear_events();
}

SEEN press_and_release(int sym, int mod)
{
    SEEN s;
    delivered.clear();
    poll_one(key_event(SDL_KEYDOWN, sym, mod), s.keys_after_press, s.keyevent_after_press);
    poll_one(key_event(SDL_KEYUP, sym, mod), s.keys_after_release, s.keyevent_after_release);
    for (const INPUT_EVENT &e : delivered)
        s.events.emplace_back(e.type, e.keyid, e.id, e.x, e.y, e.timestamp);
    return s;
}

class WrapperKeys : public ::testing::Test {
protected:
    TEST_DISPLAY display;

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(test_display_start(display, error)) << error;
        ASSERT_EQ(lum_init(), 1);
        ASSERT_EQ(wrapper_set_graphics(SMALL_W, SMALL_H, 0, 0), 1);
        // Whatever the window's appearance queued goes first
        wrapper_handle_events();
        input_update_events();
        input_clear_events();
        input_set_callback(record_event);
    }

    void TearDown() override
    {
        wrapper_set_key_hook(nullptr);
        input_set_callback(nullptr);
        test_display_pin_libraries();
        lum_exit();
        test_display_stop(display);
    }
};

TEST_F(WrapperKeys, EveryKeyReachesTheInputTablesAlikeWithAndWithoutTheHook)
{
    struct MOD_CASE {
        int sdl, expected;
    };
    const MOD_CASE mods[] = {
        {KMOD_NONE, 0},
        {KMOD_LSHIFT, WRAPPER_MOD_SHIFT},
        {KMOD_RCTRL, WRAPPER_MOD_CTRL},
        {KMOD_LALT, WRAPPER_MOD_ALT},
        {KMOD_LCTRL | KMOD_RSHIFT, WRAPPER_MOD_CTRL | WRAPPER_MOD_SHIFT},
    };
    for (const MOD_CASE &m : mods) {
        for (int sym = 0; sym < SDLK_LAST; sym++) {
            SCOPED_TRACE("SDL key " + std::to_string(sym) + " modifiers " + std::to_string(m.sdl));
            wrapper_set_key_hook(nullptr);
            const SEEN without = press_and_release(sym, m.sdl);
            ASSERT_EQ(without.events.size(), 2u);
            raw.clear();
            raw_before_tables = 0;
            wrapper_set_key_hook(record_raw);
            const SEEN with = press_and_release(sym, m.sdl);
            ASSERT_EQ(with, without);
            ASSERT_EQ(raw.size(), 2u);
            EXPECT_EQ(raw[0], std::make_tuple(1, sym, m.expected));
            EXPECT_EQ(raw[1], std::make_tuple(0, sym, m.expected));
            EXPECT_EQ(raw_before_tables, 1) << "the press reaches the hook before the tables";
        }
    }
}

TEST_F(WrapperKeys, TheNamedSymbolsAreSdlsOwn)
{
    EXPECT_EQ(WRAPPER_SYM_SPACE, SDLK_SPACE);
    EXPECT_EQ(WRAPPER_SYM_RIGHT, SDLK_RIGHT);
    EXPECT_EQ(WRAPPER_SYM_KP_PLUS, SDLK_KP_PLUS);
    EXPECT_EQ(WRAPPER_SYM_KP_MINUS, SDLK_KP_MINUS);
    EXPECT_EQ(WRAPPER_SYM_F1 + 1, SDLK_F2);
    EXPECT_EQ(WRAPPER_SYM_A + ('m' - 'a'), SDLK_m);
    EXPECT_EQ(WRAPPER_SYM_LAST, SDLK_LAST);
}

}  // namespace
