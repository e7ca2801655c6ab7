// The program: its commands, and what it ends with.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "commands.h"
#include "help_format.h"
#include "standard_streams.h"
#include "unknown_words.h"

namespace {

using app::ExitCode;

/// Reads the arguments and runs the command that they name.
void Obey(CLI::App& program, int argc, char** argv) try {
  app::CheckWords(program, {argv + 1, argv + argc});
  program.parse(argc, argv);
} catch (const CLI::Success& help) {
  program.exit(help);
} catch (const CLI::ArgumentMismatch& error) {
  const std::string message = error.what();  // as "--output: 1 required TEXT missing"
  throw app::InputError(message.substr(0, message.find(':')) + " needs a value");
} catch (const CLI::ParseError& error) {
  throw app::InputError(error.what());
}

/// The exit code; everything that goes wrong has been said.
int Run(int argc, char** argv) {
  CLI::App program("Draws liquid strokes into pictures.", "vorlin");
  program.formatter(std::make_shared<app::HelpFormat>());
  program.require_subcommand(1);
  program.set_version_flag("--version", "vorlin " VORLIN_VERSION, "Print the version and exit");
  for (const auto add : {app::AddStudio, app::AddRender, app::AddSheet, app::AddAbout,
                         app::AddControls, app::AddCheck, app::AddSchema, app::AddImportPath,
                         app::AddCompletion, app::AddMan, app::AddStudioWorker}) {
    add(program);
  }
  try {
    Obey(program, argc, argv);
    app::PrintResult({});  // what was printed may not have got out
    return static_cast<int>(ExitCode::kDone);
  } catch (const app::Interrupted& interrupted) {
    return 128 + interrupted.signal;
  } catch (const app::ErrorShown& shown) {
    return static_cast<int>(shown.code);
  } catch (...) {
    const app::Error error = app::AsError(std::current_exception());
    fmt::print(stderr, "vorlin: error: {}\n", error.what());
    for (const std::string& other : error.others()) {
      fmt::print(stderr, "vorlin: error: {}\n", other);
    }
    return static_cast<int>(error.code());
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    app::GuardStandardStreams();
    return Run(argc, argv);
  } catch (...) {  // not even the message could be written
    return static_cast<int>(ExitCode::kFile);
  }
}
