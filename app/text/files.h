#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace app {

/// The effect's library: `chosen` unless it is empty, else what the environment's VORLIN_EFFECT
/// names, else the one that was built or installed together with this program. Throws FileError
/// when the file is not there.
std::filesystem::path FindEffect(const std::filesystem::path& chosen);

/// The folder of the sample scene that came with this program. Throws FileError.
std::filesystem::path FindSample();

/// Names of the looks that were built or installed together with this program, sorted.
std::vector<std::string> PresetNames();

/// The file of a preset: `chosen` itself when there is such a file or it names a folder or an
/// extension, else the look of that name. Throws InputError when there is no such look.
std::filesystem::path FindPreset(const std::filesystem::path& chosen);

/// Of a file's name, in small letters: ".png"; empty: it has none.
std::string ExtensionOf(const std::filesystem::path& name);

/// The file's bytes. Throws FileError when they cannot be read.
std::string ReadTextFile(const std::filesystem::path& path);

}  // namespace app
