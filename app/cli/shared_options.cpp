#include "shared_options.h"

#include "files.h"
#include "shots.h"

namespace app {

namespace {

CLI::Option* AddSeconds(CLI::App& command, const char* name, double& seconds,
                        const char* description) {
  const auto read = [&seconds](const std::string& text) { seconds = ParseSeconds(text); };
  return command.add_option_function<std::string>(name, read, description)->option_text("SECONDS");
}

}  // namespace

void AddScene(CLI::App& command, SceneSource& scene) {
  command
      .add_option("SCENE|PICTURE|MOVIE", scene.file,
                  "a scene's file (.json); with --path what the stroke is drawn on")
      ->required()
      ->option_text(" ");
  auto* path = command.add_option("--path", scene.drawing.file, "a drawing: .svg, or .csv");
  path->option_text("FILE");
  AddDrawing(command, scene.drawing, &scene.has_end);
  command.add_option("--save-scene", scene.save, "write the scene that this makes")
      ->option_text("FILE")
      ->needs(path);
}

void AddDrawing(CLI::App& command, PathImport& drawing, bool* has_end) {
  command.add_option("--id", drawing.ids, "only the shape or group of that name; may be repeated")
      ->option_text("NAME")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  AddSeconds(command, "--from", drawing.times.from, "when the drawing begins; default: 0s");
  CLI::Option* to = AddSeconds(
      command, "--to", drawing.times.to,
      has_end ? "when it is done; default: with the movie, or 3s" : "when it is done; default: 3s");
  if (has_end != nullptr) {
    to->each([has_end](const std::string&) { *has_end = true; });
  }
  AddChoice<bool>(command, "--ease", drawing.times.smooth, {{"linear", false}, {"smooth", true}},
                  "smooth starts and ends gently; default: linear");
  command
      .add_option("--fit", drawing.fit,
                  "make few smooth keys of a recorded .csv, within so many pixels, as 1")
      ->option_text("PIXELS")
      ->check(CLI::Range(0.0, 1000.0));
  AddSeconds(command, "--stagger", drawing.times.pause,
             "the pause between two strokes; default: a frame");
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
