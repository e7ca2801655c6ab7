// The light layers of the host composition that holds the effect's layer.
#pragma once

#include "host/fxenv.h"
#include "light/light_shade.h"

namespace vorlin {

/// Adds every light layer that is active at the layer time `time` to the model, top of the stack
/// first. Positions and directions are the composition's, z negated. True when the model then has
/// any light; false also at the first host error, which leaves in the model what was added before
/// it. Throws when the host lacks one of the suites.
bool GetAllLights(Fxenv& env, LightShade& model, A_Time time);

}  // namespace vorlin
