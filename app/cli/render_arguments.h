#pragma once

#include <CLI/CLI.hpp>

#include "render_command.h"

namespace app {

/// Adds the command "render", which fills `to` and runs.
void AddRender(CLI::App& app, RenderArguments& to);

}  // namespace app
