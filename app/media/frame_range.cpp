#include "frame_range.h"

#include <fmt/format.h>

#include <charconv>
#include <unordered_set>

#include "errors.h"

namespace app {
namespace {

// More than nine hours at 30 frames a second: beyond it a range is a slip.
constexpr std::size_t kMostFrames = 1'000'000;

struct Range {
  int first;
  int last;
  int step;
};

// Takes a whole number off the front of `text`.
bool TakeNumber(std::string_view& text, int& number) {
  const auto [rest, err] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (err != std::errc{}) return false;
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  return true;
}

bool TakeChar(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

Range ParseRange(const std::string_view item) {
  std::string_view text = item;
  Range range{0, 0, 1};
  bool good = TakeNumber(text, range.first);
  range.last = range.first;
  if (good && TakeChar(text, '-')) {
    good = TakeNumber(text, range.last);
    if (good && TakeChar(text, 'x')) good = TakeNumber(text, range.step);
  }
  if (!good || !text.empty()) {
    throw InputError(fmt::format(
        "frames: \"{}\" is neither a frame (5) nor a range (0-89, 1-100x2 for every second)",
        item));
  }
  if (range.step < 1)
    throw InputError(fmt::format("frames: \"{}\": the step must be 1 or more", item));
  if (range.last < range.first) {
    throw InputError(
        fmt::format("frames: \"{}\" runs backwards; write {}-{}", item, range.last, range.first));
  }
  return range;
}

}  // namespace

std::vector<int> ParseFrames(std::string_view text) {
  if (text.find(':') != std::string_view::npos) {
    throw InputError(
        fmt::format("frames: \"{}\": ':' means different things in different programs; write "
                    "1-100x2 for every second frame",
                    text));
  }
  std::vector<int> frames;
  std::unordered_set<int> seen;
  for (;;) {
    const std::size_t comma = text.find(',');
    const Range range = ParseRange(text.substr(0, comma));
    // Wider than int: the last step may pass int's end.
    for (long long frame = range.first; frame <= range.last; frame += range.step) {
      if (frames.size() == kMostFrames) {
        throw InputError(fmt::format("frames: more than {} frames", kMostFrames));
      }
      if (seen.insert(static_cast<int>(frame)).second) frames.push_back(static_cast<int>(frame));
    }
    if (comma == std::string_view::npos) return frames;
    text.remove_prefix(comma + 1);
  }
}

}  // namespace app
