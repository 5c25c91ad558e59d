// frame: a frame is described in full before anything of it goes to OpenGL, and drawn only when
// it can differ from the one on screen.
// Between frame_begin and frame_end the drawing operations (clears, sprite batches, single
// sprites, polygons) hand their OpenGL work to frame_draw, which keeps a copy of what each would
// draw instead of drawing it. frame_end then compares a fingerprint of the whole frame (every
// command and its data, the display size and the projection) with the last frame drawn: an
// equal frame is dropped without a single OpenGL call and without a buffer flip, so the picture
// on screen stays; any difference replays the commands in their order and presents the frame.
// A frame is also drawn in full after a new video mode, an expose of the window (or the
// browser's canvas resized or its context restored), a new texture page and the debug keys F1,
// F5 and F12. Outside frame_begin/frame_end the operations draw at once, as they always did.
// Depends on: wrapper (display size, the window exposed since the last frame), input (the debug
// keys of a tick), log (the counts' log line), OpenGL (the projection read back).
#pragma once

#include <array>
#include <cstdint>

struct IMAGE;
struct FRAME_COMMAND;

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int FRAME_ARRAYS = 3;  // arrays a command may draw from

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
// Issues a command's OpenGL calls
using FRAME_SUBMIT = void (*)(const FRAME_COMMAND &command);

// One drawing operation's OpenGL work: what its submit function needs. An array is `count`
// records of `stride` bytes, of which the leading `drawn` bytes are what OpenGL reads (the rest
// is padding and takes no part in the fingerprint).
struct FRAME_COMMAND {
    FRAME_SUBMIT submit;                           // issues the calls
    const IMAGE *image;                            // the texture page drawn from; null for none
    std::array<uint32_t, 3> page;                  // that page's texture name, width and height
    std::array<float, 4> colour;                   // a clear's colour, a sprite's tint
    bool covers;                                   // it paints every pixel (a clear): what came before does not show
    std::array<const void *, FRAME_ARRAYS> array;  // the data; while recorded, the frame's copy
    std::array<int, FRAME_ARRAYS> count;
    std::array<int, FRAME_ARRAYS> stride;
    std::array<int, FRAME_ARRAYS> drawn;
};

// Frames since start
struct FRAME_COUNTS {
    int drawn;    // replayed and presented
    int skipped;  // equal to the one on screen: dropped
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Recording
void frame_begin();       // start recording a frame
bool frame_recording();   // between frame_begin and frame_end
// Draw a command now, or, while a frame is recorded, keep a copy of it and its arrays for frame_end
void frame_draw(const FRAME_COMMAND &command);
// End the frame: true when it was drawn and is to be presented, false when it was dropped
// because it equals the frame on screen. Without a frame_begin it returns true and does nothing.
bool frame_end();

// Drawing in full
void frame_force();       // the next frame is drawn whatever it holds
void frame_note_keys();   // once a tick, while its input is current: F1, F5 and F12 force a frame

// Counts
FRAME_COUNTS frame_counts();
// Once a second: the frames drawn and dropped during it, logged when `log` is set; the counts
// of the second start again
void frame_second(int log);

// The fingerprint of one frame's commands (their data included), and of the view they are
// drawn into (display size and matrices)
uint64_t frame_fingerprint(const FRAME_COMMAND *commands, int count);

// Free the frame's storage (at shut-down)
void frame_exit();
