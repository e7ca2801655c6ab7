#pragma once

#include "hosting/render.h"

namespace app {

/// The effect's field, the one world that it makes for itself, as grey: its pixels' bytes are
/// floats. The frame's place without one is as empty as it is without a stroke.
/// To be rendered with RenderOptions::keep_worlds.
hosting::World FieldOf(const hosting::Frame& frame);

}  // namespace app
