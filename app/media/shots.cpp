#include "shots.h"

#include <fmt/format.h>
#include <unistd.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "errors.h"
#include "file_pattern.h"
#include "frame_range.h"
#include "hosting/errors.h"

namespace app {
namespace {

/// The whole of `text` as a number.
template <class Number>
std::optional<Number> Parsed(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return number;
}

/// Part and number of parts, 1 <= part <= parts.
std::pair<int, int> ParseChunk(std::string_view text) {
  const std::size_t slash = std::min(text.find('/'), text.size());
  const auto part = Parsed<int>(text.substr(0, slash));
  const auto parts = Parsed<int>(text.substr(std::min(slash + 1, text.size())));
  if (!part || !parts || *part < 1 || *part > *parts) {
    throw InputError(
        fmt::format("chunk: expected a part and the number of parts, as 3/20, found \"{}\"", text));
  }
  return {*part, *parts};
}

std::vector<int> ChooseFrames(const ShotChoice& choice, int frames, int first) {
  if (!choice.frames.empty()) return ParseFrames(choice.frames);
  std::vector<int> all(static_cast<std::size_t>(frames));
  std::iota(all.begin(), all.end(), first);
  return all;
}

bool AgreesOnTerminal(const std::string& file) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) return false;
  fmt::print(stderr, "\"{}\" is already there. Replace it, and any other? [y/N] ", file);
  const int answer = std::getchar();
  return answer == 'y' || answer == 'Y';
}

}  // namespace

double ParseSeconds(std::string_view text) {
  const auto seconds = Parsed<double>(text.ends_with('s') ? text.substr(0, text.size() - 1) : text);
  if (!seconds || !std::isfinite(*seconds)) {
    throw InputError(fmt::format("time: expected seconds as 1.25s, found \"{}\"", text));
  }
  return *seconds;
}

std::vector<Shot> ChooseShots(const ShotChoice& choice, bool movie, int frame_count, int first,
                              const hosting::TimeBase& time) try {
  const FilePattern pattern(choice.output);
  if (movie && pattern.numbered()) {
    throw InputError(
        fmt::format("\"{}\": a movie is one file, without a frame number", choice.output.string()));
  }
  if (!choice.time.empty()) {
    const A_long at = time.Time(ParseSeconds(choice.time));
    const int number = static_cast<int>(std::floor(static_cast<double>(at) / time.step()));
    return {{first + number, at, pattern.At(first + number)}};
  }
  const std::vector<int> frames = ChooseFrames(choice, frame_count, first);
  const FilePattern names = frames.size() > 1 && !movie ? pattern.Numbered() : pattern;
  const auto [part, parts] = choice.chunk.empty() ? std::pair(1, 1) : ParseChunk(choice.chunk);
  const auto start = [&, n = parts](int p) {
    return frames.size() * static_cast<std::size_t>(p) / static_cast<std::size_t>(n);
  };
  std::vector<Shot> shots;
  for (std::size_t i = start(part - 1); i < start(part); ++i) {
    shots.push_back(
        {frames[i], time.FrameTime(std::int64_t{frames[i]} - first), names.At(frames[i])});
  }
  return shots;
} catch (const hosting::Error& error) {
  throw InputError(fmt::format("frames: {}", error.what()));
}

void CheckOverwriting(const std::vector<Shot>& shots, Overwrite overwrite) {
  if (overwrite == Overwrite::kAlways) return;
  for (const Shot& shot : shots) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(shot.file, ignored)) continue;
    if (overwrite == Overwrite::kAsk && AgreesOnTerminal(shot.file.string())) return;
    throw FileError(fmt::format(
        "\"{}\" is already there; -y replaces it, --skip-existing keeps what is up to date",
        shot.file.string()));
  }
}

}  // namespace app
