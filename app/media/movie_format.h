#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "hosting/rational.h"
#include "hosting/world.h"

namespace app {

/// How frames become a movie.
struct MovieFormat {
  std::string container;                      // ffmpeg's name of it
  std::vector<std::string> encoder;           // ffmpeg's options
  std::string filter;                         // of the pictures, before they are encoded
  bool has_alpha = false;                     // else frames are put over black
  bool even_sides = false;                    // odd sides get one more row or column, black
  hosting::Depth depth = hosting::Depth::k8;  // of the pixels that ffmpeg is given, at most 16

  /// Bytes of a frame on its way to ffmpeg: straight RGBA, rows without gaps.
  std::size_t FrameBytes(int width, int height) const;
  /// The whole command that reads frames from its standard input and writes `file`.
  std::vector<std::string> Command(int width, int height, hosting::Rational rate,
                                   hosting::Rational pixel_aspect,
                                   const std::filesystem::path& file) const;
};

/// From the name's extension: .mp4 (H.264), .mov (ProRes 4444), .webm (VP9) or .gif; nothing for
/// any other.
std::optional<MovieFormat> MovieFormatFor(const std::filesystem::path& name, hosting::Depth depth);

}  // namespace app
