#pragma once

#include <string_view>

namespace app {

/// To be called first: what a closed standard stream would be opened as is not a file of ours, and
/// a reader that went away is an error like any other.
void GuardStandardStreams();

/// Writes a result to standard output. Throws FileError when it does not get there, or what was
/// printed before did not.
void PrintResult(std::string_view text);

}  // namespace app
