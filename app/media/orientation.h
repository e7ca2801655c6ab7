#pragma once

#include "hosting/picture.h"

namespace app {

/// How a stored picture is brought upright, with EXIF's numbers: 1 leaves it, 2 to 4 mirror it or
/// turn it by 180 degrees, 5 to 8 swap its sides; 6 turns it clockwise, 8 the other way.
enum class Orientation { kUpright = 1, kHalfTurn = 3, kClockwise = 6, kCounterClockwise = 8 };

/// Whether width and height change places.
inline bool SwapsSides(Orientation orientation) { return static_cast<int>(orientation) >= 5; }

/// The picture brought upright.
hosting::Picture Oriented(hosting::Picture picture, Orientation orientation);

}  // namespace app
