// vorlin check: reads and checks a scene without rendering it.
#include <fmt/format.h>

#include "commands.h"
#include "files.h"
#include "shared_options.h"

namespace app {
namespace {

struct Arguments {
  SceneSource scene;
  SceneChanges changes;
  std::filesystem::path effect;
};

void Check(const Arguments& arguments) {
  const hosting::Effect effect(FindEffect(arguments.effect));
  const OpenedScene opened = OpenScene(arguments.scene, arguments.changes, effect);
  const Scene& scene = opened.scene;
  scene.CheckLayer();
  const hosting::Setup& setup = scene.setup;
  fmt::print("{}: good: {} x {} pixels, {} frames at {} a second, {} lights\n",
             arguments.scene.file.string(), setup.width, setup.height, scene.frames,
             setup.time.frame_rate().Text(), setup.composition.layers.size() - 1);
  for (const std::string& note : opened.notes) {
    fmt::print("{}: note: {}\n", arguments.scene.file.string(), note);
  }
}

}  // namespace

void AddCheck(CLI::App& app) {
  const auto to = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("check", "Check a scene without rendering it");
  AddScene(*command, to->scene);
  command->add_flag_callback(
      "-y,--overwrite", [to] { to->scene.overwrite = Overwrite::kAlways; },
      "replace an existing scene with --save-scene");
  AddSceneChanges(*command, to->changes);
  AddEffect(*command, to->effect);
  command->callback([to] { Check(*to); });
}

}  // namespace app
