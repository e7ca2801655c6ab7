#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hosting/values.h"

namespace app {

std::string ColorText(const hosting::Color& color);  // "#rrggbb", rounded to nearest

/// "#rrggbb"; nothing for any other text.
std::optional<hosting::Color> ParseColor(std::string_view text);

}  // namespace app
