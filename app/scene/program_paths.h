#pragma once

#include <filesystem>

namespace app {

/// The effect's library: `chosen` unless it is empty, else what the environment's VORLIN_EFFECT
/// names, else the one that was built or installed together with this program. Throws FileError
/// when the file is not there.
std::filesystem::path FindEffect(const std::filesystem::path& chosen);

/// The folder that this program was started from.
std::filesystem::path ProgramFolder();

}  // namespace app
