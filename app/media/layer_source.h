#pragma once

#include <filesystem>

#include "scene.h"

namespace app {

/// A picture, or a numbered sequence: frame 0 of the layer is the sequence's lowest number; before
/// the first and after the last of them the nearest holds. Every file is opened and must have the
/// first one's size; gaps are errors. Throws FileError.
LayerSource OpenLayer(const std::filesystem::path& path);

}  // namespace app
