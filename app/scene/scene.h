#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "hosting/effect.h"
#include "hosting/setup.h"
#include "json_text.h"
#include "scene_controls.h"

namespace app {

/// What the effect is applied to.
struct LayerSource {
  hosting::PictureSource picture;
  /// Where the picture for a frame of the layer is.
  std::function<std::filesystem::path(std::int64_t layer_frame)> file;
  int width = 0;
  int height = 0;
};

/// Opens the layer that a scene names. Throws InputError when the name is wrong, FileError when its
/// files are.
using LayerOpener = std::function<LayerSource(const std::filesystem::path&)>;

/// One use of the effect, read from a file.
struct Scene {
  hosting::Setup setup;
  int frames = 1;  // of its duration
  /// The file that holds the layer's picture for a frame of the layer.
  std::function<std::filesystem::path(std::int64_t layer_frame)> layer_file;
};

/// Reads and checks a scene and opens its layer; paths are relative to the scene's file. Throws
/// InputError for what the scene says, FileError for files that cannot be read.
Scene ReadScene(const std::filesystem::path& path, const hosting::Effect& effect,
                const LayerOpener& open, const SceneChanges& changes = {});

/// The same for a text whose paths are relative to `folder`.
Scene ReadScene(const JsonText& json, const std::filesystem::path& folder,
                const hosting::Effect& effect, const LayerOpener& open,
                const SceneChanges& changes = {});

}  // namespace app
