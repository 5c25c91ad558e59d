// core_state: the framework's global tables in unit tests over the platform's test double. Puts
// the atlases back to nothing between tests (no graphics context exists there, so only their
// records and batch storage matter), and takes the turtle as bytes, to check that a call left
// every field of it as it was.
// Depends on: atlas (the atlas and sprite tables), turtle, sine, the platform's test double.
#pragma once

#include <vector>

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Free every batch's storage and zero the atlases
void clear_atlases();

// A clean slate for a test that draws: the platform's test double reset, the sine table filled,
// every atlas and every sprite emptied
void clear_drawing_state();

// The turtle as a byte image, to see that nothing in it changed
std::vector<unsigned char> turtle_bytes();
