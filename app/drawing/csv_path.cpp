#include "csv_path.h"

#include <fmt/format.h>

#include <array>
#include <optional>
#include <sstream>
#include <string_view>

#include "errors.h"
#include "numbers.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

constexpr std::string_view kBlank = " \t\r";

/// The three numbers that a row begins with; none when it does not. Further columns are passed
/// over.
std::optional<std::array<double, 3>> ReadRow(std::string_view row) {
  std::array<double, 3> numbers{};
  for (double& place : numbers) {
    SkipAny(row, kBlank);
    const auto number = TakeNumber(row);
    if (!number) return std::nullopt;
    place = *number;
    SkipAny(row, kBlank);
    const bool last = &place == &numbers.back();
    if (last && row.empty()) break;
    if (!row.starts_with(',')) return std::nullopt;
    row.remove_prefix(1);
  }
  return numbers;
}

}  // namespace

std::vector<Key<Point>> ReadCsvPath(const std::string& file, const std::string& csv,
                                    double frame_rate) {
  std::istringstream text(csv);
  std::vector<Key<Point>> keys;
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    const auto row = ReadRow(line);
    if (!row) {
      const bool blank = line.find_first_not_of(kBlank) == line.npos;
      if (blank || number == 1) continue;  // a heading
      throw InputError(fmt::format("{}:{}: expected frame,x,y", file, number));
    }
    const auto [frame, x, y] = *row;
    const double seconds = frame / frame_rate;
    if (!keys.empty() && !(keys.back().seconds < seconds)) {
      throw InputError(fmt::format("{}:{}: frames must rise", file, number));
    }
    keys.push_back({.seconds = seconds, .value = {x, y}});
  }
  if (keys.empty()) throw InputError(fmt::format("{}: there is no row frame,x,y", file));
  return keys;
}

}  // namespace app
