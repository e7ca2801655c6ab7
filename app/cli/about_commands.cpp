#include "about_commands.h"

#include <fmt/format.h>

#include "control_list.h"
#include "json_text.h"
#include "layer_source.h"
#include "program_paths.h"
#include "scene.h"
#include "scene_schema.h"

namespace app {
namespace {

void PrintJson(const Json::Value& value) { fmt::print("{}\n", WriteJson(value, "  ")); }

}  // namespace

void RunAbout(const AboutArguments& arguments) {
  const hosting::Effect effect(FindEffect(arguments.effect));
  const std::string text = effect.About();
  fmt::print("{}{}", text, text.ends_with('\n') ? "" : "\n");
}

void RunControls(const AboutArguments& arguments) {
  const hosting::Effect effect(FindEffect(arguments.effect));
  hosting::Panel panel = effect.InitialPanel();
  if (!arguments.scene.empty()) {
    panel = effect.Supervise(ReadScene(arguments.scene, effect, OpenLayer).setup, 0, panel);
  }
  if (arguments.json) {
    PrintJson(ControlsAsJson(effect.controls(), panel));
  } else {
    fmt::print("{}", ControlsAsText(effect.controls(), panel));
  }
}

void RunCheck(const AboutArguments& arguments) {
  const hosting::Effect effect(FindEffect(arguments.effect));
  const Scene scene = ReadScene(arguments.scene, effect, OpenLayer);
  const hosting::Setup& setup = scene.setup;
  fmt::print("{}: good: {} x {} pixels, {} frames at {} a second, {} lights\n",
             arguments.scene.string(), setup.width, setup.height, scene.frames,
             setup.time.frame_rate().Text(), setup.composition.layers.size() - 1);
}

void RunSchema(const AboutArguments& arguments) {
  const hosting::Effect effect(FindEffect(arguments.effect));
  PrintJson(arguments.preset ? PresetSchema(effect.controls()) : SceneSchema(effect.controls()));
}

}  // namespace app
