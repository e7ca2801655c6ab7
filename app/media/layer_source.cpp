#include "layer_source.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "errors.h"
#include "file_pattern.h"
#include "movie_reader.h"
#include "orientation.h"
#include "picture_file.h"

namespace app {
namespace {

/// Reads the pictures of a sequence when they are asked for, and keeps the last one.
class Sequence {
 public:
  Sequence(FilePattern pattern, int first, int last)
      : pattern_(std::move(pattern)), first_(first), last_(last) {}

  std::shared_ptr<const hosting::Picture> operator()(std::int64_t layer_frame, hosting::Rational) {
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
  return {.picture = sequence,
          .file = [sequence](std::int64_t frame) { return sequence.File(frame); },
          .width = size.width,
          .height = size.height,
          .first_number = numbers.front(),
          .frames = static_cast<std::int64_t>(numbers.size())};
}

Orientation OrientationOf(const MovieFacts& facts) {
  constexpr std::array kTurns{Orientation::kUpright, Orientation::kClockwise,
                              Orientation::kHalfTurn, Orientation::kCounterClockwise};
  return kTurns.at(static_cast<std::size_t>(facts.quarter_turns));
}

/// Frames of a movie, upright.
class UprightMovie {
 public:
  explicit UprightMovie(std::filesystem::path path) : path_(std::move(path)) {}

  std::shared_ptr<const hosting::Picture> At(double seconds) {
    if (!reader_) reader_.emplace(path_);
    auto stored = reader_->At(seconds);
    if (stored != stored_) {
      stored_ = std::move(stored);
      const Orientation orientation = OrientationOf(reader_->facts());
      upright_ = orientation == Orientation::kUpright
                     ? stored_
                     : std::make_shared<const hosting::Picture>(Oriented(*stored_, orientation));
    }
    return upright_;
  }

 private:
  std::filesystem::path path_;
  std::optional<MovieReader> reader_;
  std::shared_ptr<const hosting::Picture> stored_;
  std::shared_ptr<const hosting::Picture> upright_;
};

LayerSource OpenMovie(const std::filesystem::path& path) {
  const MovieFacts facts = MovieReader(path).facts();
  LayerSource layer{.picture =
                        [movie = std::make_shared<UprightMovie>(path)](std::int64_t frame,
                                                                       hosting::Rational rate) {
                          return movie->At(static_cast<double>(frame) / rate.value());
                        },
                    .file = [path](std::int64_t) { return path; },
                    .width = facts.width,
                    .height = facts.height,
                    .pixel_aspect = facts.pixel_aspect,
                    .movie = LayerSource::Movie{path, facts.frame_rate, facts.seconds,
                                                facts.has_sound, facts.first_frame}};
  if (SwapsSides(OrientationOf(facts))) {
    std::swap(layer.width, layer.height);
    layer.pixel_aspect = {facts.pixel_aspect.den(), facts.pixel_aspect.num()};
  }
  return layer;
}

LayerSource OpenPicture(const std::filesystem::path& path) {
  const auto picture = std::make_shared<const hosting::Picture>(ReadPicture(path));
  return {.picture = [picture](std::int64_t, hosting::Rational) { return picture; },
          .file = [path](std::int64_t) { return path; },
          .width = picture->width(),
          .height = picture->height()};
}

}  // namespace

LayerSource OpenLayer(const std::filesystem::path& path) {
  const FilePattern pattern(path);
  if (pattern.numbered() && !std::filesystem::exists(path)) return OpenSequence(pattern);
  return IsMovieName(path) ? OpenMovie(path) : OpenPicture(path);
}

}  // namespace app
