#pragma once

#include <filesystem>

#include "scene.h"

namespace app {

/// A picture, a movie, or a numbered sequence: frame 0 of the layer is the sequence's lowest
/// number; before the first frame and after the last the nearest holds. Every file of a sequence is
/// looked at; one that is missing, cannot be read or has another size than the first is noted, and
/// an error when its frame is asked for. A movie is opened anew by the process that asks for its
/// first picture. Throws FileError.
LayerSource OpenLayer(const std::filesystem::path& path);

}  // namespace app
