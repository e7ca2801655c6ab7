// vorlin controls: the effect's controls, greyed as a scene's settings have them.
#include <fmt/format.h>

#include "commands.h"
#include "control_list.h"
#include "files.h"
#include "json_text.h"
#include "layer_source.h"
#include "scene.h"
#include "shared_options.h"
#include "standard_streams.h"

namespace app {
namespace {

struct Arguments {
  std::filesystem::path scene;  // empty: the controls as a new effect has them
  std::filesystem::path effect;
  bool json = false;
};

void PrintControls(const Arguments& arguments) {
  const hosting::Effect effect(FindEffect(arguments.effect));
  hosting::Panel panel = effect.InitialPanel();
  if (!arguments.scene.empty()) {
    panel = effect.Supervise(ReadScene(arguments.scene, effect, OpenLayer).setup, 0, panel);
  }
  if (arguments.json) {
    PrintResult(WriteJson(ControlsAsJson(effect.controls(), panel), "  ") + "\n");
  } else {
    fmt::print("{}", ControlsAsText(effect.controls(), panel));
  }
}

}  // namespace

void AddControls(CLI::App& app) {
  const auto to = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("controls", "List the effect's controls");
  command->add_option("SCENE", to->scene, "a scene; its settings decide which controls are greyed")
      ->option_text(" ");
  command->add_flag("--json", to->json, "print them as one JSON object");
  AddEffect(*command, to->effect);
  command->callback([to] { PrintControls(*to); });
}

}  // namespace app
