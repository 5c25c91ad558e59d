// core_state: the framework's global tables in unit tests (see core_state.h).
#include "core_state.h"

#include <cstdlib>

#include "atlas.h"
#include "fake_wrapper.h"
#include "sine.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
void clear_atlases()
{
    for (ATLAS &atlas : atlas_) {
        for (ATLAS_BATCH &batch : atlas.batch)
            std::free(batch.entry);
        atlas = ATLAS{};
    }
}

void clear_drawing_state()
{
    fake_platform_reset();
    init_sine_table();
    clear_atlases();
    for (SPRITE &s : sprites_)
        s = SPRITE{};
}

std::vector<unsigned char> turtle_bytes()
{
    const unsigned char *p = reinterpret_cast<const unsigned char *>(&turtle);
    return std::vector<unsigned char>(p, p + sizeof turtle);
}
