#pragma once

#include <string_view>
#include <vector>

namespace app {

/// The frames that `text` names, in its order and each once: "5", "0-89", "1-100x2" (every second),
/// "-5--1", and lists of these with commas. Throws InputError for anything else.
std::vector<int> ParseFrames(std::string_view text);

}  // namespace app
