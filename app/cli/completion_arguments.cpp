#include "completion_arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "completion.h"
#include "hosting/effect.h"
#include "man_page.h"
#include "presets.h"
#include "program_paths.h"

namespace app {
namespace {

void PrintCompletion(const CLI::App& app, const std::string& shell) {
  CompletionWords words{{}, PresetNames()};
  const hosting::Effect effect(FindEffect({}));
  for (const hosting::ControlInfo& control : effect.controls()) {
    if (control.has_value()) words.controls.push_back(control.name);
  }
  const auto script = shell == "bash"  ? BashCompletion
                      : shell == "zsh" ? ZshCompletion
                                       : FishCompletion;
  fmt::print("{}", script(CommandsOf(app), words));
}

}  // namespace

void AddCompletion(CLI::App& app) {
  CLI::App* completion = app.add_subcommand("completion", "Print completions for a shell");
  completion
      ->add_option_function<std::string>(
          "SHELL", [&app](const std::string& shell) { PrintCompletion(app, shell); },
          "source <(vorlin completion bash)")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}))
      ->option_text("bash|zsh|fish");
  app.add_subcommand("man", "Print the manual page")->group("")->callback([&app] {
    fmt::print("{}", ManPage(CommandsOf(app), VORLIN_VERSION));
  });
}

}  // namespace app
