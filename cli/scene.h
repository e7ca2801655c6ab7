#pragma once

#include <cstdint>
#include <filesystem>

#include "hosting/effect.h"
#include "hosting/setup.h"

namespace cli {

/// One use of the effect, read from a file.
struct Scene {
  hosting::Setup setup;
  int frames = 1;  // of its duration
};

/// Reads and checks a scene and opens its pictures; paths are relative to the scene's file. Throws
/// InputError for what the scene says, FileError for files that cannot be read.
Scene ReadScene(const std::filesystem::path& path, const hosting::Effect& effect);

}  // namespace cli
