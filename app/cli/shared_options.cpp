#include "shared_options.h"

#include "files.h"

namespace app {

void AddScene(CLI::App& command, std::filesystem::path& scene) {
  command.add_option("SCENE", scene, "the scene's file")->required()->option_text(" ");
}

void AddSceneChanges(CLI::App& command, SceneChanges& changes) {
  command
      .add_option_function<std::string>(
          "--preset", [&changes](const std::string& name) { changes.preset = FindPreset(name); },
          "a look laid over the scene's controls: honey, or a file")
      ->option_text("NAME|FILE");
  command
      .add_option("--set", changes.settings,
                  "set a control, as \"Stroke Width=6\"; may be repeated")
      ->option_text("NAME=VALUE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddEffect(CLI::App& command, std::filesystem::path& effect) {
  command
      .add_option("--effect", effect,
                  "the effect's library; default: what VORLIN_EFFECT names, or the program's own")
      ->option_text("FILE");
}

}  // namespace app
