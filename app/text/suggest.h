#pragma once

#include <span>
#include <string>
#include <string_view>

namespace app {

/// Number of single-letter insertions, deletions, replacements and swaps of neighbours that turn
/// `a` into `b`, upper and lower case being the same (optimal string alignment).
std::size_t EditDistance(std::string_view a, std::string_view b);

/// `; did you mean "X"?` with the candidate nearest to `word`, or "" when none is near enough to be
/// a slip of the fingers.
std::string DidYouMean(std::string_view word, std::span<const std::string> candidates);

}  // namespace app
