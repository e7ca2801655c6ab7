#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "file_pattern.h"
#include "hosting/setup.h"

namespace app {

/// What the effect is applied to.
struct LayerSource {
  hosting::PictureSource picture;
  /// Where the picture for a frame of the layer is.
  std::function<std::filesystem::path(std::int64_t layer_frame)> file;
  int width = 0;
  int height = 0;
};

/// A picture, or a numbered sequence: frame 0 of the layer is the sequence's lowest number; before
/// the first and after the last of them the nearest holds. Every file is opened and must have the
/// first one's size; gaps are errors. Throws FileError.
LayerSource OpenLayer(const std::filesystem::path& path);

}  // namespace app
