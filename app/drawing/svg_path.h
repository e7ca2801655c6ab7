#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/values.h"

namespace app {

/// A cubic Bezier curve: start, two handles, end.
using Curve = std::array<hosting::Point, 4>;

/// The pieces of an SVG path's "d": its first subpath, straight lines being curves too, pieces of
/// no length left out. Throws InputError for what is no path, and for arcs.
std::vector<Curve> ParseSvgPath(std::string_view d);

}  // namespace app
