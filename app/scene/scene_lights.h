#pragma once

#include "hosting/composition.h"
#include "scene_node.h"

namespace app {

/// What tells the types of lights apart; its choices are in the order of hosting::LightKind.
const KeyFormat& LightTypeFormat();
const ObjectFormat& LightFormat(hosting::LightKind kind);

/// Puts the lights of a list into the composition, the first on top. Throws InputError.
void ReadLights(const Node& node, hosting::Composition& composition);

}  // namespace app
