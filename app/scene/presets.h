#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// Names of the looks that were built or installed together with this program, sorted.
std::vector<std::string> PresetNames();

/// The file of a preset: `chosen` itself when there is such a file or it names a folder or an
/// extension, else the look of that name. Throws InputError when there is no such look.
std::filesystem::path FindPreset(const std::filesystem::path& chosen);

}  // namespace app
