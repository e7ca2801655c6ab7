#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "hosting/rational.h"
#include "hosting/world.h"

namespace app {

/// The sound of a movie, or a part of it.
struct MovieSound {
  std::filesystem::path file;
  double from = 0;     // seconds from the file's beginning
  double seconds = 0;  // how long
  double delay = 0;    // seconds of silence before it
};

/// How frames become a movie.
struct MovieFormat {
  std::string container;                      // ffmpeg's name of it
  std::vector<std::string> encoder;           // ffmpeg's options
  std::vector<std::string> sound;             // likewise; empty: the container takes none
  std::string filter;                         // of the pictures, before they are encoded
  bool has_alpha = false;                     // else frames are put over something
  hosting::Depth depth = hosting::Depth::k8;  // of the pixels that ffmpeg is given, at most 16

  /// Bytes of a frame on its way to ffmpeg: straight RGBA, rows without gaps.
  std::size_t FrameBytes(int width, int height) const;
  /// The whole command that reads frames from its standard input and writes `file`.
  std::vector<std::string> Command(int width, int height, hosting::Rational rate,
                                   hosting::Rational pixel_aspect,
                                   const std::optional<MovieSound>& with,
                                   const std::filesystem::path& file) const;
};

enum class MovieQuality { kLow, kMedium, kHigh, kBest };

/// By the name's extension: .mp4, .mov, .mkv, .webm, .gif or .apng; nothing for any other. `codec`
/// is one of those that CodecList names; empty: the usual one of that kind of file. Frames are
/// rendered in `depth`. Throws InputError when the file does not take the codec.
std::optional<MovieFormat> MovieFormatFor(const std::filesystem::path& name, hosting::Depth depth,
                                          const std::string& codec = {},
                                          MovieQuality quality = MovieQuality::kHigh);

/// A line for each codec: its name, its kinds of files, and what it is good for.
std::string CodecList();

}  // namespace app
