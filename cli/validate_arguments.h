#pragma once

#include <CLI/CLI.hpp>

namespace cli {

/// Adds `vorlin validate`; it leaves the program's exit code in exit_code.
void AddValidate(CLI::App& app, int& exit_code);

}  // namespace cli
