#pragma once

#include <filesystem>
#include <string>

#include "render_command.h"

namespace app {

struct SheetArguments {
  std::filesystem::path source;  // a scene (.json), or a pattern of pictures that there are
  std::filesystem::path output;
  Overwrite overwrite = Overwrite::kAsk;
  std::string frames;      // empty: all that there are
  int columns = 0;         // 0: about as many as rows
  int width = 240;         // of one picture on the sheet, pixels
  RenderArguments render;  // for a scene: its controls, backdrop, effect, threads, progress
};

/// Puts frames, reduced, side by side into one picture, each with its number below and, when they
/// are rendered from a scene, its time. Throws Error, hosting::Error and Interrupted.
void RunSheet(const SheetArguments& arguments);

}  // namespace app
