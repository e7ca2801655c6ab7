#include "file_pattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "errors.h"

namespace app {
namespace {

struct Mark {
  std::size_t start;
  std::size_t length;
  int digits;
};

// "%d", "%4d" or "%04d" at `start`; a per cent sign that begins none of these is an ordinary
// letter.
std::optional<Mark> PrintfMark(std::string_view name, std::size_t start) {
  std::size_t end = start + 1;
  int digits = 0;
  while (end < name.size() && name[end] >= '0' && name[end] <= '9' && digits < 100) {
    digits = digits * 10 + (name[end++] - '0');
  }
  if (end == name.size() || name[end] != 'd') return std::nullopt;
  return Mark{start, end + 1 - start, std::max(digits, 1)};
}

std::optional<Mark> NextMark(std::string_view name, std::size_t from) {
  for (std::size_t i = from; i < name.size(); ++i) {
    if (name[i] == '%') {
      if (const auto mark = PrintfMark(name, i)) return mark;
    } else if (name[i] == '#' || name[i] == '@') {
      const std::size_t length = std::min(name.find_first_not_of(name[i], i), name.size()) - i;
      const bool lone_hash = name[i] == '#' && length == 1;
      return Mark{i, length, lone_hash ? 4 : static_cast<int>(length)};
    }
  }
  return std::nullopt;
}

}  // namespace

FilePattern::FilePattern(const std::filesystem::path& path) : path_(path) {
  const std::string name = path.filename().string();
  if (name.empty()) throw InputError(fmt::format("\"{}\" names no file", path.string()));
  before_ = name;
  const auto mark = NextMark(name, 0);
  if (!mark) return;
  const std::size_t end = mark->start + mark->length;
  if (NextMark(name, end)) {
    throw InputError(fmt::format("\"{}\" holds more than one frame number", path.string()));
  }
  before_ = name.substr(0, mark->start);
  after_ = name.substr(end);
  digits_ = mark->digits;
  numbered_ = true;
}

FilePattern FilePattern::Numbered() const {
  if (numbered_) return *this;
  const std::filesystem::path name = path_.stem().string() + ".####" + path_.extension().string();
  return FilePattern(path_.parent_path() / name);
}

std::filesystem::path FilePattern::At(int frame) const {
  if (!numbered_) return path_;
  return path_.parent_path() / fmt::format("{}{:0{}}{}", before_, frame, digits_, after_);
}

std::vector<int> FilePattern::Existing() const {
  std::vector<int> numbers;
  const std::filesystem::path folder = path_.has_parent_path() ? path_.parent_path() : ".";
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with(before_)) continue;
    int number = 0;
    const auto [rest, err] =
        std::from_chars(name.data() + before_.size(), name.data() + name.size(), number);
    if (err == std::errc{} && rest + after_.size() == name.data() + name.size() &&
        At(number).filename() == name) {
      numbers.push_back(number);
    }
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

}  // namespace app
