#pragma once

#include <filesystem>
#include <memory>

#include "hosting/picture.h"
#include "hosting/rational.h"

namespace app {

/// What a movie says of itself.
struct MovieFacts {
  int width = 0;  // as stored, before it is turned
  int height = 0;
  hosting::Rational frame_rate;  // the mean, where it varies
  double seconds = 0;            // from the first frame to the end of the last; 0: it does not say
  hosting::Rational pixel_aspect;  // of the stored pixels
  int quarter_turns = 0;           // clockwise, that bring the stored pictures upright: 0 to 3
  bool has_sound = false;
  /// Seconds from the file's own beginning to the first frame; sound may begin earlier.
  double first_frame = 0;
};

/// Reads frames of any movie that ffmpeg's libraries decode. To be opened in the process that
/// reads: a reader that was opened before a fork shares its place in the file with the other
/// process.
class MovieReader {
 public:
  /// Throws FileError when the file is no movie, or its first frame cannot be read.
  explicit MovieReader(const std::filesystem::path& path);
  ~MovieReader();
  MovieReader(const MovieReader&) = delete;
  MovieReader& operator=(const MovieReader&) = delete;

  const MovieFacts& facts() const;

  /// The frame that is shown at a time from the first frame on: the last one that does not come
  /// after it. The first holds before the beginning, the last after the end. The same pointer for
  /// two times says that they show the same frame. Pixels of up to 8 bits stay 8, deeper ones
  /// become 16; full range, alpha straight. Throws FileError for damage, and beyond the place where
  /// a file breaks off.
  std::shared_ptr<const hosting::Picture> At(double seconds);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace app
