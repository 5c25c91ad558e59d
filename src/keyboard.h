// keyboard: playing the game screen from the keyboard.
// Keys the toy gave no meaning before act as the buttons do, with the same effect and sound as a
// click (the press's click, then what the button does when released): Space RUN, Right or N STEP,
// R RAND, Delete or Backspace CLR, + and - (either keyboard) the speed, B the border, 0-8 the
// birth digits and Shift+0-8 the survival digits. Ctrl+Z undoes, Ctrl+Shift+Z and Ctrl+Y redo,
// P and Shift+P step through the named rules, M switches sound off and on, H, F2 and ? show the
// help, Ctrl+S saves the grid as a pattern file in the documents folder. Held keys act once,
// except STEP and the speed, which repeat as a held button does (from its 30th tick, every
// tick).
// Keys arrive through the platform's raw-key hook, before the framework translates them, so the
// framework's key tables stay exactly as they are; the hook only queues them, and the game
// screen's update acts on them once per tick.
// Depends on: wrapper (the raw-key hook and the key symbols), game (the record, the handlers the
// keys share with the buttons), buttons (finding a button on screen), shell (the click sound),
// state and screens (keys count on the game screen only), history (undo and redo, the watch of
// runs and strokes), input (the pointer), presets, help, mute, snapshot (Ctrl+S).
#pragma once

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int KEYBOARD_QUEUE = 64;        // raw keys queued between two ticks; more are dropped
constexpr int KEYBOARD_HOLD_TICKS = 30;   // a held STEP or speed key repeats from this tick on

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
void keyboard_init();                            // install the raw-key hook
void keyboard_key(int pressed, int sym, int mods);  // the hook: queue a key while the game screen is current
// Once per game tick: act on the queued keys, repeat held ones, time the rule banner, let the help
// overlay's pattern watch look ahead, and let the history see whether a run or a stroke goes on
void keyboard_update();
void keyboard_undo();                            // what Ctrl+Z does: stop a run, undo a step, pip and refresh
void keyboard_redo();                            // what Ctrl+Y does
void keyboard_save();                            // what Ctrl+S does: the grid as a new pattern file, pip
