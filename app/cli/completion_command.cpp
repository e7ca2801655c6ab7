// vorlin completion: what a shell completes the program's arguments with.

#include <fmt/format.h>

#include "commands.h"
#include "completion.h"
#include "files.h"
#include "hosting/effect.h"
#include "shared_options.h"

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
          "as in: source <(vorlin completion bash)")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}))
      ->option_text("bash|zsh|fish");
}

}  // namespace app
