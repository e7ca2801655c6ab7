#pragma once

#include <string_view>

#include "hosting/world.h"

namespace app {

/// Pixels of a letter's cell at scale 1, the gap to its neighbours included.
constexpr int kLetterWidth = 6;
constexpr int kLetterHeight = 9;

/// Writes digits, small letters, "-", "." and blanks into an 8-bit world in light grey, centred
/// around `centre` with its top at `top`, in pixels of the world; what does not fit is cut off. The
/// font is our own: a bare machine has none.
void DrawLabel(hosting::World& world, std::string_view text, int centre, int top, int scale);

}  // namespace app
