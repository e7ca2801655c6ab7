#include "csv_path.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <sstream>
#include <string_view>

#include "errors.h"
#include "numbers.h"

namespace app {
namespace {

constexpr std::string_view kBlank = " \t\r\"";

/// The cells of a row, without what is blank around them.
std::vector<std::string> Cells(const std::string& row) {
  std::vector<std::string> cells;
  std::istringstream text(row);
  for (std::string cell; std::getline(text, cell, ',');) {
    const std::size_t from = std::min(cell.size(), cell.find_first_not_of(kBlank));
    cells.push_back(cell.substr(from, cell.find_last_not_of(kBlank) + 1 - from));
    for (char& c : cells.back()) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return cells;
}

std::optional<double> AsNumber(std::string_view cell) {
  const auto number = TakeNumber(cell);
  return cell.empty() ? number : std::nullopt;
}

/// Which column holds what.
struct Columns {
  std::size_t time = 0;
  std::size_t x = 1;
  std::size_t y = 2;
  std::optional<std::size_t> pen;
  bool seconds = false;

  std::string Text() const { return fmt::format("{},x,y", seconds ? "time" : "frame"); }
};

/// What a heading says; the usual columns when it names none of them.
Columns ReadHeading(const std::string& file, const std::vector<std::string>& cells) {
  Columns columns;
  const auto find = [&](std::initializer_list<const char*> names) -> std::optional<std::size_t> {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (std::find(names.begin(), names.end(), cells[i]) != names.end()) return i;
    }
    return std::nullopt;
  };
  const auto x = find({"x"});
  const auto y = find({"y"});
  const auto frame = find({"frame"});
  const auto time = find({"time", "seconds", "t"});
  if (!x && !y && !frame && !time) return columns;
  if (!x || !y || !(frame || time)) {
    throw InputError(fmt::format("{}:1: the heading names x, y, and frame or time", file));
  }
  return {frame ? *frame : *time, *x, *y, find({"pen"}), !frame};
}

}  // namespace

DrawnStrokes ReadCsvPath(const std::string& file, const std::string& csv, double frame_rate) {
  std::istringstream text(csv);
  DrawnStrokes drawn;
  Columns columns;
  bool pen_is_down = false;
  bool was_ever_up = false;
  const auto move_pen = [&](double seconds, bool down) {
    if (down == pen_is_down) return;
    pen_is_down = down;
    was_ever_up = was_ever_up || !down;
    if (down) drawn.pen.push_back({.in = seconds});
    if (!down) drawn.pen.back().out = seconds;
  };
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    const std::vector<std::string> cells = Cells(line);
    const auto value = [&](std::size_t column) {
      return column < cells.size() ? AsNumber(cells[column]) : std::nullopt;
    };
    const auto time = value(columns.time);
    const auto x = value(columns.x);
    const auto y = value(columns.y);
    const auto pen = columns.pen ? value(*columns.pen) : std::optional<double>(1);
    if (!time || !x || !y || !pen) {
      if (line.find_first_not_of(kBlank) == line.npos) continue;
      if (number > 1) {
        throw InputError(fmt::format("{}:{}: expected {}", file, number, columns.Text()));
      }
      columns = ReadHeading(file, cells);
      continue;
    }
    const double seconds = columns.seconds ? *time : *time / frame_rate;
    if (!drawn.keys.empty() && !(drawn.keys.back().seconds < seconds)) {
      throw InputError(
          fmt::format("{}:{}: {} must rise", file, number, columns.seconds ? "times" : "frames"));
    }
    if (drawn.keys.empty()) was_ever_up = *pen == 0;
    move_pen(seconds, *pen != 0);
    drawn.keys.push_back({.seconds = seconds, .value = {*x, *y}});
  }
  if (drawn.keys.empty()) {
    throw InputError(fmt::format("{}: there is no row {}", file, columns.Text()));
  }
  if (pen_is_down) drawn.pen.back().out = drawn.keys.back().seconds + 1 / frame_rate;
  if (!was_ever_up) drawn.pen.clear();
  return drawn;
}

}  // namespace app
