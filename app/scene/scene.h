#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hosting/effect.h"
#include "hosting/setup.h"
#include "json_text.h"
#include "scene_controls.h"

namespace app {

/// What the effect is applied to: a picture, a numbered sequence of them, or a movie.
struct LayerSource {
  /// The picture for a frame of the layer, of which there are `rate` a second. Throws FileError.
  std::function<std::shared_ptr<const hosting::Picture>(std::int64_t layer_frame,
                                                        hosting::Rational rate)>
      picture;
  /// Where the picture for a frame of the layer is.
  std::function<std::filesystem::path(std::int64_t layer_frame)> file;
  int width = 0;
  int height = 0;
  hosting::Rational pixel_aspect{};
  int first_number = 0;     // of a sequence
  std::int64_t frames = 0;  // of a sequence; 0: it is none
  /// What is wrong with pictures of a sequence, a line each.
  std::vector<std::string> bad_frames{};
  struct Movie {
    std::filesystem::path file;
    hosting::Rational frame_rate;
    double seconds = 0;  // 0: it does not say
    bool has_sound = false;
    double first_frame = 0;  // seconds after the file's beginning; sound may begin earlier
  };
  std::optional<Movie> movie{};
};

/// Opens the layer that a scene names. Throws InputError when the name is wrong, FileError when its
/// files are.
using LayerOpener = std::function<LayerSource(const std::filesystem::path&)>;

/// One use of the effect, read from a file.
struct Scene {
  hosting::Setup setup;
  int frames = 1;  // of its duration
  LayerSource layer;
  /// The nearest picture takes the place of one that is bad; else its frame is an error.
  bool holds_missing = false;

  /// Throws FileError when pictures are bad and nothing takes their place.
  void CheckLayer() const;
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
