#pragma once

#include <filesystem>

namespace app {

/// Commands that tell about the effect or a scene, on standard output. All throw Error and
/// hosting::Error.
struct AboutArguments {
  std::filesystem::path effect;  // empty: the one that belongs to this program
  std::filesystem::path scene;
  bool json = false;
  bool preset = false;  // not of scenes
};

/// The effect's own about text.
void RunAbout(const AboutArguments& arguments);

/// The effect's controls, greyed as the scene's settings have them when there is one.
void RunControls(const AboutArguments& arguments);

/// Reads and judges the scene without rendering.
void RunCheck(const AboutArguments& arguments);

/// A JSON Schema of scenes or of presets.
void RunSchema(const AboutArguments& arguments);

}  // namespace app
