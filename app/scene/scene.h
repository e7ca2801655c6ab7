#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "hosting/effect.h"
#include "hosting/setup.h"
#include "json_position.h"
#include "layer_source.h"

namespace app {

/// One use of the effect, read from a file.
struct Scene {
  hosting::Setup setup;
  int frames = 1;  // of its duration
  /// The file that holds the layer's picture for a frame of the layer.
  std::function<std::filesystem::path(std::int64_t layer_frame)> layer_file;
};

/// What is laid over a scene's own controls, in this order.
struct SceneChanges {
  std::filesystem::path preset;       // a file {"controls": {...}}; empty: none
  std::vector<std::string> settings;  // as "Stroke Width=6" or "Paint Style=Wobbly"
};

/// Reads and checks a scene and opens its pictures; paths are relative to the scene's file. Throws
/// InputError for what the scene says, FileError for files that cannot be read.
Scene ReadScene(const std::filesystem::path& path, const hosting::Effect& effect,
                const SceneChanges& changes = {});

using LayerOpener = std::function<LayerSource(const std::filesystem::path&)>;

/// The same for a text whose paths are relative to `folder`; `open` opens its layer.
Scene ReadScene(const JsonText& json, const std::filesystem::path& folder,
                const hosting::Effect& effect, const SceneChanges& changes,
                const LayerOpener& open = OpenLayer);

}  // namespace app
