#pragma once

#include <optional>
#include <string_view>

namespace app {

/// Takes the decimal number that `text` begins with, a "+" before it allowed; nothing, and leaves
/// the text's digits alone, when there is none or none that is finite.
std::optional<double> TakeNumber(std::string_view& text);

/// Takes all characters that `text` begins with and that are among `characters`.
void SkipAny(std::string_view& text, std::string_view characters);

}  // namespace app
