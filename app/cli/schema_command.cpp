// vorlin schema: a JSON Schema, for editors, of scenes or of presets; and the tables of
// docs/scene.md.
#include "scene_schema.h"

#include "commands.h"
#include "files.h"
#include "hosting/effect.h"
#include "json_text.h"
#include "shared_options.h"
#include "standard_streams.h"

namespace app {
namespace {

struct Arguments {
  std::filesystem::path effect;
  bool preset = false;         // not of scenes
  std::filesystem::path page;  // its tables instead
};

void PrintSchema(const Arguments& arguments) {
  if (!arguments.page.empty()) return PrintResult(WithTables(ReadTextFile(arguments.page)));
  const hosting::Effect effect(FindEffect(arguments.effect));
  const auto& controls = effect.controls();
  PrintResult(WriteJson(arguments.preset ? PresetSchema(controls) : SceneSchema(controls), "  ") +
              "\n");
}

}  // namespace

void AddSchema(CLI::App& app) {
  const auto to = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("schema", "Print a JSON Schema of scenes");
  command->add_flag("--preset", to->preset, "of presets instead of scenes");
  command->add_option("--page", to->page, "print this page with its tables of scenes' keys")
      ->group("");
  AddEffect(*command, to->effect);
  command->callback([to] { PrintSchema(*to); });
}

}  // namespace app
