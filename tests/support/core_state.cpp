// core_state: the framework's global tables in unit tests (see core_state.h).
#include "core_state.h"

#include <cstdlib>

#include "atlas.h"
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

std::vector<unsigned char> turtle_bytes()
{
    const unsigned char *p = reinterpret_cast<const unsigned char *>(&turtle);
    return std::vector<unsigned char>(p, p + sizeof turtle);
}
