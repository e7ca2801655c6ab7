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
  Sequence(FilePattern pattern, int first, int last, PictureSize size)
      : pattern_(std::move(pattern)), first_(first), last_(last), size_(size) {}

  std::shared_ptr<const hosting::Picture> operator()(std::int64_t layer_frame, hosting::Rational) {
    const int wanted = Number(layer_frame);
    if (!kept_ || kept_number_ != wanted) {
      auto picture = std::make_shared<const hosting::Picture>(ReadPicture(pattern_.At(wanted)));
      CheckSize(wanted, {picture->width(), picture->height()});
      kept_ = std::move(picture);
      kept_number_ = wanted;
    }
    return kept_;
  }

  /// Throws FileError unless that picture is there and has the sequence's size.
  void Check(int number) const {
    const std::filesystem::path file = pattern_.At(number);
    if (!std::filesystem::exists(file)) {
      throw FileError(fmt::format("\"{}\" is missing in its sequence", file.string()));
    }
    CheckSize(number, SizeOfPicture(file));
  }

  std::filesystem::path File(std::int64_t layer_frame) const {
    return pattern_.At(Number(layer_frame));
  }

 private:
  int Number(std::int64_t layer_frame) const {
    return static_cast<int>(first_ + std::clamp<std::int64_t>(layer_frame, 0, last_ - first_));
  }

  void CheckSize(int number, PictureSize size) const {
    if (size == size_) return;
    throw FileError(fmt::format("\"{}\" has {} x {} pixels, the sequence's first picture {} x {}",
                                pattern_.At(number).string(), size.width, size.height, size_.width,
                                size_.height));
  }

  FilePattern pattern_;
  int first_;
  int last_;
  PictureSize size_;
  int kept_number_ = 0;
  std::shared_ptr<const hosting::Picture> kept_;
};

LayerSource OpenSequence(const FilePattern& pattern) {
  const std::vector<int> numbers = pattern.Existing();
  if (numbers.empty()) {
    throw FileError(fmt::format("there is no picture \"{}\"", pattern.path().string()));
  }
  const int first = numbers.front();
  const int last = numbers.back();
  const PictureSize size = SizeOfPicture(pattern.At(first));
  const Sequence sequence(pattern, first, last, size);
  std::vector<std::string> bad;
  for (int number = first + 1; number <= last; ++number) {
    try {
      sequence.Check(number);
    } catch (const FileError& error) {
      bad.emplace_back(error.what());
    }
  }
  return {.picture = sequence,
          .file = [sequence](std::int64_t frame) { return sequence.File(frame); },
          .width = size.width,
          .height = size.height,
          .first_number = first,
          .frames = last - first + 1,
          .bad_frames = std::move(bad)};
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
  auto picture = std::make_shared<const hosting::Picture>(ReadPicture(path));
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
