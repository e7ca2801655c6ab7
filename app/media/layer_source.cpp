#include "layer_source.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "errors.h"
#include "file_pattern.h"
#include "picture_file.h"

namespace app {
namespace {

/// Reads the pictures of a sequence when they are asked for, and keeps the last one.
class Sequence {
 public:
  Sequence(FilePattern pattern, int first, int last)
      : pattern_(std::move(pattern)), first_(first), last_(last) {}

  std::shared_ptr<const hosting::Picture> operator()(std::int64_t layer_frame) {
    const int wanted = Number(layer_frame);
    if (!kept_ || kept_number_ != wanted) {
      kept_ = std::make_shared<const hosting::Picture>(ReadPicture(pattern_.At(wanted)));
      kept_number_ = wanted;
    }
    return kept_;
  }

  std::filesystem::path File(std::int64_t layer_frame) const {
    return pattern_.At(Number(layer_frame));
  }

 private:
  int Number(std::int64_t layer_frame) const {
    return static_cast<int>(first_ + std::clamp<std::int64_t>(layer_frame, 0, last_ - first_));
  }

  FilePattern pattern_;
  int first_;
  int last_;
  int kept_number_ = 0;
  std::shared_ptr<const hosting::Picture> kept_;
};

LayerSource OpenSequence(const FilePattern& pattern) {
  const std::vector<int> numbers = pattern.Existing();
  if (numbers.empty()) {
    throw FileError(fmt::format("there is no picture \"{}\"", pattern.path().string()));
  }
  const PictureSize size = SizeOfPicture(pattern.At(numbers.front()));
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    if (numbers[i] != numbers[i - 1] + 1) {
      throw FileError(fmt::format("\"{}\" is missing in its sequence",
                                  pattern.At(numbers[i - 1] + 1).string()));
    }
    const PictureSize other = SizeOfPicture(pattern.At(numbers[i]));
    if (other != size) {
      throw FileError(fmt::format("\"{}\" has {} x {} pixels, the sequence's first picture {} x {}",
                                  pattern.At(numbers[i]).string(), other.width, other.height,
                                  size.width, size.height));
    }
  }
  const Sequence sequence(pattern, numbers.front(), numbers.back());
  return {sequence, [sequence](std::int64_t frame) { return sequence.File(frame); }, size.width,
          size.height};
}

}  // namespace

LayerSource OpenLayer(const std::filesystem::path& path) {
  const FilePattern pattern(path);
  if (pattern.numbered() && !std::filesystem::exists(path)) return OpenSequence(pattern);
  hosting::Picture picture = ReadPicture(path);
  const int width = picture.width();
  const int height = picture.height();
  return {hosting::Still(std::move(picture)), [path](std::int64_t) { return path; }, width, height};
}

}  // namespace app
