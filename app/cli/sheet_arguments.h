#pragma once

#include <CLI/App.hpp>

#include "sheet_command.h"

namespace app {

/// The "sheet" command.
void AddSheet(CLI::App& app, SheetArguments& to);

}  // namespace app
