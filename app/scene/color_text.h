#pragma once

#include <optional>
#include <string_view>

#include "hosting/values.h"

namespace app {

/// "#rrggbb"; nothing for any other text.
std::optional<hosting::Color> ParseColor(std::string_view text);

}  // namespace app
