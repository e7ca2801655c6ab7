// The frame driver.
#pragma once

#include "host/fxenv.h"

namespace vorlin {

/// Renders one frame into env.output, from env.input, in the output's pixel format. Returns the
/// first host error unchanged, PF_Err_BAD_CALLBACK_PARAM for a format that is none of the three.
PF_Err RenderSmart(Fxenv& env);

}  // namespace vorlin
