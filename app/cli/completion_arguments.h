#pragma once

#include <CLI/App.hpp>

namespace app {

/// The commands that are made from the other commands of `app`: "completion", and "man", which the
/// build uses and the help does not list.
void AddCompletion(CLI::App& app);

}  // namespace app
