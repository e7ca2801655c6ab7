#pragma once

#include <filesystem>
#include <string>

#include "errors.h"
#include "hosting/world.h"

namespace cli {

struct RenderArguments {
  std::filesystem::path scene;
  std::filesystem::path output;
  std::string frames;  // empty: all of the scene's duration
  hosting::Depth depth = hosting::Depth::k8;
  bool over_layer = false;
  std::filesystem::path effect;  // empty: the one that belongs to this program
  int threads = 0;               // 0: as many as the machine has
  bool classic = false;
  bool best_quality = true;
  std::filesystem::path trace;  // empty: none
  bool quiet = false;
};

/// Renders frames of a scene into pictures. Everything that can be checked is checked before the
/// first frame. Throws Error, hosting::Error and Interrupted.
void RunRender(const RenderArguments& arguments);

}  // namespace cli
