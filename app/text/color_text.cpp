#include "color_text.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace app {

std::string ColorText(const hosting::Color& color) {
  const auto byte = [](double v) { return std::lround(v * 255); };
  return fmt::format("#{:02x}{:02x}{:02x}", byte(color.red), byte(color.green), byte(color.blue));
}

std::optional<hosting::Color> ParseColor(std::string_view text) {
  if (text.size() != 7 || text[0] != '#') return std::nullopt;
  std::uint32_t rgb = 0;
  const char* end = text.data() + text.size();
  if (std::from_chars(text.data() + 1, end, rgb, 16).ptr != end) return std::nullopt;
  const auto channel = [&](int shift) { return (rgb >> shift & 255) / 255.0; };
  return hosting::Color{channel(16), channel(8), channel(0)};
}

}  // namespace app
