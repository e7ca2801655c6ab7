#include "numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace app {

std::optional<double> TakeNumber(std::string_view& text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || !std::isfinite(number)) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

void SkipAny(std::string_view& text, std::string_view characters) {
  text.remove_prefix(std::min(text.size(), text.find_first_not_of(characters)));
}

}  // namespace app
