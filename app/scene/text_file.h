#pragma once

#include <filesystem>
#include <string>

namespace app {

/// The file's bytes. Throws FileError when they cannot be read.
std::string ReadTextFile(const std::filesystem::path& path);

}  // namespace app
