// The two commands of the smart-render protocol.
#pragma once

#include "host/fxenv.h"

namespace vorlin {

/// Checks out the whole input layer and reports which part of the request the effect will fill.
PF_Err SmartPreRender(Fxenv& env, PF_PreRenderExtra& extra);

/// Checks out the pixels and renders the frame.
PF_Err SmartRender(Fxenv& env, PF_SmartRenderExtra& extra);

}  // namespace vorlin
