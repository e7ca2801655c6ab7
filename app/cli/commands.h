#pragma once

#include "errors.h"

namespace CLI {
class App;
}  // namespace CLI

namespace app {

/// Each adds one command with its options to the program. The command runs while the arguments are
/// parsed; it throws Error, hosting::Error, Interrupted and ErrorShown.
void AddRender(CLI::App& app);
void AddSheet(CLI::App& app);
void AddAbout(CLI::App& app);
void AddControls(CLI::App& app);
void AddCheck(CLI::App& app);
void AddSchema(CLI::App& app);
void AddImportPath(CLI::App& app);
void AddCompletion(CLI::App& app);
/// The studio, and what its worker processes are started as.
void AddStudio(CLI::App& app);
void AddStudioWorker(CLI::App& app);
/// The manual page, which the build uses and the help does not list.
void AddMan(CLI::App& app);

/// Ends the program after a command has shown its error in a form of its own.
struct ErrorShown {
  ExitCode code;
};

}  // namespace app
