#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace app {

/// Throws InputError, with the nearest word that there is, when the arguments begin with no command
/// or hold a long option that the command does not have. The argument library only says that
/// something is unexpected.
void CheckWords(const CLI::App& program, const std::vector<std::string>& arguments);

}  // namespace app
