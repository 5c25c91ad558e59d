// keyboard: playing the game screen from the keyboard (see keyboard.h).
#include "keyboard.h"

#include <array>
#include <cstdint>

#include "buttons.h"
#include "game.h"
#include "help.h"
#include "history.h"
#include "input.h"
#include "mute.h"
#include "presets.h"
#include "screens.h"
#include "shell.h"
#include "snapshot.h"
#include "state.h"
#include "wrapper.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
// Raw symbols of SDL 1.2 the keys below are read from, besides wrapper.h's
constexpr int SYM_KP_0 = 256;          // keypad digits 0..9 from here
constexpr int SYM_MODIFIERS_FIRST = 300;  // Num Lock ... Compose: keys that only modify others
constexpr int SYM_MODIFIERS_LAST = 314;
constexpr int SYM_F2 = WRAPPER_SYM_F1 + 1;
// The debug keys keep their meaning and leave the help overlay as it is
constexpr int SYM_ESCAPE = 27;
constexpr std::array<int, 4> SYM_DEBUG = {WRAPPER_SYM_F1, WRAPPER_SYM_F1 + 4, WRAPPER_SYM_F1 + 8, WRAPPER_SYM_F1 + 11};
constexpr int KEYBOARD_RULE_DIGITS = 9;  // 0..8

// What a key does
enum KEY_ACTION {
    KEY_NONE, KEY_RUN, KEY_STEP, KEY_RANDOM, KEY_CLEAR, KEY_FASTER, KEY_SLOWER, KEY_BORDER,
    KEY_BIRTH, KEY_SURVIVE, KEY_PRESET_NEXT, KEY_PRESET_BACK, KEY_UNDO, KEY_REDO, KEY_MUTE, KEY_HELP,
    KEY_SAVE,
};

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct RAW_KEY {
    int pressed, sym, mods;
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static std::array<RAW_KEY, KEYBOARD_QUEUE> queue;
static int queued = 0;
static std::array<uint8_t, WRAPPER_SYM_LAST> down{};  // 1 while the key is held (repeats are dropped)
static int held_sym = -1;        // the repeating key held now, or -1
static int held_action = KEY_NONE;
static int held_ticks = 0;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// What a key with these modifiers does; digits give their count in `digit`
static int action_of(int sym, int mods, int &digit)
{
    const bool shift = mods & WRAPPER_MOD_SHIFT;
    const bool ctrl = mods & WRAPPER_MOD_CTRL;
    const bool alt = mods & (WRAPPER_MOD_ALT | WRAPPER_MOD_META);
    const auto letter = [](char c) { return WRAPPER_SYM_A + (c - 'a'); };
    if (alt)
        return KEY_NONE;
    if (ctrl) {
        if (sym == letter('z'))
            return shift ? KEY_REDO : KEY_UNDO;
        if (sym == letter('y'))
            return KEY_REDO;
        if (sym == letter('s') && !shift)
            return KEY_SAVE;
        return KEY_NONE;
    }
    if (sym >= WRAPPER_SYM_0 && sym < WRAPPER_SYM_0 + KEYBOARD_RULE_DIGITS) {
        digit = sym - WRAPPER_SYM_0;
        return shift ? KEY_SURVIVE : KEY_BIRTH;
    }
    if (sym >= SYM_KP_0 && sym < SYM_KP_0 + KEYBOARD_RULE_DIGITS) {
        digit = sym - SYM_KP_0;
        return shift ? KEY_SURVIVE : KEY_BIRTH;
    }
    if (sym == WRAPPER_SYM_SLASH && shift)
        return KEY_HELP;
    switch (sym) {
    case WRAPPER_SYM_SPACE: return KEY_RUN;
    case WRAPPER_SYM_RIGHT: return KEY_STEP;
    case WRAPPER_SYM_DELETE:
    case WRAPPER_SYM_BACKSPACE: return KEY_CLEAR;
    case WRAPPER_SYM_PLUS:
    case WRAPPER_SYM_EQUALS:
    case WRAPPER_SYM_KP_PLUS: return KEY_FASTER;
    case WRAPPER_SYM_MINUS:
    case WRAPPER_SYM_KP_MINUS: return KEY_SLOWER;
    case WRAPPER_SYM_QUESTION:
    case SYM_F2: return KEY_HELP;
    default: break;
    }
    if (sym == letter('n'))
        return KEY_STEP;
    if (sym == letter('r'))
        return KEY_RANDOM;
    if (sym == letter('b'))
        return KEY_BORDER;
    if (sym == letter('p'))
        return shift ? KEY_PRESET_BACK : KEY_PRESET_NEXT;
    if (sym == letter('m'))
        return KEY_MUTE;
    if (sym == letter('h'))
        return KEY_HELP;
    return KEY_NONE;
}

static bool is_modifier(int sym)
{
    return sym >= SYM_MODIFIERS_FIRST && sym <= SYM_MODIFIERS_LAST;
}

static bool is_debug(int sym)
{
    if (sym == SYM_ESCAPE)
        return true;
    for (int d : SYM_DEBUG)
        if (sym == d)
            return true;
    return false;
}

// The button on screen with this handler over this value (and id, or step for btn_add); null
// when the panel shown has none
static BTN *find_button(BTN_HANDLER handler, void *data, int id, int step)
{
    for (int i = 0; i < btn_count; i++) {
        BTN &b = btns[static_cast<size_t>(i)];
        if (b.update != handler || b.data != data)
            continue;
        if (handler == btn_add ? b.info == step : b.id == id)
            return &b;
    }
    return nullptr;
}

// Send a button's handler `action` as a click would: to the button on screen when the panel
// shows it (so its highlight follows), else to a stand-in with the same value and parameters
static void send(BTN_HANDLER handler, void *data, int id, int step, int action)
{
    BTN stand_in{};
    BTN *b = find_button(handler, data, id, step);
    if (!b) {
        b = &stand_in;
        b->data = data;
        b->id = id;
        b->info = step;
        b->hintword[0] = static_cast<int16_t>(GAME_FREQ_MIN);
        b->hintword[1] = static_cast<int16_t>(GAME_FREQ_MAX);
    }
    handler(b, action);
}

// The highlights of the rule digits on screen follow their toggles (after an undo or a preset)
static void refresh_rule_digits()
{
    for (int i = 0; i < btn_count; i++) {
        BTN &b = btns[static_cast<size_t>(i)];
        if (b.update == btn_param && b.data && b.id >= 0 && b.id < KEYBOARD_RULE_DIGITS)
            b.highlight = static_cast<char>(static_cast<uint8_t *>(b.data)[b.id] != 0);
    }
}

// A key's action as its button's click: the press's click, then what the release does.
// `repeat`: a held key's repeat, which is silent as a held button's is.
static void act(int action, int digit, bool repeat)
{
    const int hold = repeat ? BTN_CUSTOM : BTN_UP;
    const bool click = !repeat && action >= KEY_RUN && action <= KEY_SURVIVE;
    if (click)
        main_click_sound(1);
    switch (action) {
    case KEY_RUN: send(btn_toggle, &game.running, 0, 0, hold); break;
    case KEY_STEP: send(btn_toggle, &take_step, 0, 0, hold); break;
    case KEY_RANDOM: send(btn_reset, nullptr, 0, 0, BTN_UP); break;
    case KEY_CLEAR: send(btn_clear, nullptr, 0, 0, BTN_UP); break;
    case KEY_FASTER: send(btn_add, &game.freq, 0, 1, hold); break;
    case KEY_SLOWER: send(btn_add, &game.freq, 0, -1, hold); break;
    case KEY_BORDER: send(btn_border_mode, &game.border_mode, 0, 0, BTN_UP); break;
    case KEY_BIRTH: send(btn_param, game.bparams.data(), digit, 0, BTN_UP); break;
    case KEY_SURVIVE: send(btn_param, game.sparams.data(), digit, 0, BTN_UP); break;
    case KEY_PRESET_NEXT:
    case KEY_PRESET_BACK:
        presets_step(action == KEY_PRESET_NEXT ? 1 : -1);
        refresh_rule_digits();
        break;
    case KEY_UNDO: keyboard_undo(); break;
    case KEY_REDO: keyboard_redo(); break;
    case KEY_MUTE: mute_toggle(); break;
    case KEY_HELP: help_toggle(); break;
    case KEY_SAVE: keyboard_save(); break;
    default: break;
    }
}

// One queued key
static void take(const RAW_KEY &k)
{
    const bool known = k.sym >= 0 && k.sym < WRAPPER_SYM_LAST;
    if (!k.pressed) {
        if (known)
            down[static_cast<size_t>(k.sym)] = 0;
        if (k.sym == held_sym)
            held_sym = -1;
        return;
    }
    if (known) {
        if (down[static_cast<size_t>(k.sym)])
            return;  // the system's own repeat of a held key
        down[static_cast<size_t>(k.sym)] = 1;
    }
    if (is_modifier(k.sym) || is_debug(k.sym))
        return;
    int digit = 0;
    const int action = action_of(k.sym, k.mods, digit);
    if (help_visible()) {
        // The overlay takes the key: its own key and every other one close it
        help_close();
        return;
    }
    act(action, digit, false);
    if (action == KEY_STEP || action == KEY_FASTER || action == KEY_SLOWER) {
        held_sym = k.sym;
        held_action = action;
        held_ticks = -1;  // the press's own tick does not count, as a button's press does not
    }
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void keyboard_init()
{
    queued = 0;
    down.fill(0);
    held_sym = -1;
    wrapper_set_key_hook(keyboard_key);
}

void keyboard_key(int pressed, int sym, int mods)
{
    if (state_current() != &game_state || queued >= KEYBOARD_QUEUE)
        return;
    queue[static_cast<size_t>(queued++)] = RAW_KEY{pressed, sym, mods};
}

void keyboard_update()
{
    for (int i = 0; i < queued; i++)
        take(queue[static_cast<size_t>(i)]);
    queued = 0;
    // A held STEP or speed key repeats as a held button does: from its 30th tick, every tick
    if (held_sym >= 0 && !help_visible()) {
        if (held_ticks < KEYBOARD_HOLD_TICKS)
            held_ticks++;
        if (held_ticks >= KEYBOARD_HOLD_TICKS)
            act(held_action, 0, true);
    }
    presets_update();
    help_update();
    history_tick(game.running, mouse_state[0].down);
}

void keyboard_undo()
{
    game.running = 0;
    if (history_undo() != HISTORY_NONE)
        game_toggle_pip();
    else
        main_click_sound(1);
    refresh_rule_digits();
}

void keyboard_save()
{
    if (!snapshot_save().empty())
        game_toggle_pip();
    else
        main_click_sound(1);
}

void keyboard_redo()
{
    game.running = 0;
    if (history_redo() != HISTORY_NONE)
        game_toggle_pip();
    else
        main_click_sound(1);
    refresh_rule_digits();
}
