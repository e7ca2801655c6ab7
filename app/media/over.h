#pragma once

#include "hosting/world.h"

namespace app {

/// Puts `top` over what `below` has at the same place, both with straight alpha and of one depth;
/// outside `below` everything is transparent. 8 and 16 bits round to nearest.
void PutOver(hosting::World& top, const hosting::World& below);

}  // namespace app
