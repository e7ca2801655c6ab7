#include "suggest.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <vector>

namespace app {
namespace {

bool SameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  // Rows of the usual table: distances of the first i-2, i-1 and i letters of `a` to each prefix of
  // `b`.
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> above(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    before.swap(above);
    above.swap(row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (SameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, replaced});
      if (i > 1 && j > 1 && SameLetter(a[i - 1], b[j - 2]) && SameLetter(a[i - 2], b[j - 1])) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
  }
  return row[b.size()];
}

std::string DidYouMean(std::string_view word, std::span<const std::string> candidates) {
  // A third of the word may be wrong, and two letters always.
  std::size_t nearest = std::max<std::size_t>(2, word.size() / 3) + 1;
  const std::string* found = nullptr;
  for (const std::string& candidate : candidates) {
    const auto [shorter, longer] = std::minmax({word.size(), candidate.size()});
    if (longer - shorter >= nearest) continue;  // as far apart as their lengths at least
    const std::size_t distance = EditDistance(word, candidate);
    if (distance < nearest && distance < candidate.size()) {
      nearest = distance;
      found = &candidate;
    }
  }
  return found == nullptr ? "" : fmt::format("; did you mean \"{}\"?", *found);
}

}  // namespace app
