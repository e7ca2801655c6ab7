// vorlin import-path: a drawn path as keys for a scene.
#include <fmt/format.h>

#include <cmath>

#include "commands.h"
#include "files.h"
#include "layer_source.h"
#include "path_import.h"
#include "shared_options.h"
#include "shots.h"

namespace app {
namespace {

void PrintPath(const PathImport& wanted) {
  const auto keys = ImportPath(wanted, ReadTextFile(wanted.file), OpenLayer);
  fmt::print("{}", wanted.layer.empty() ? BrushPositionText(keys) : SceneText(wanted, keys));
}

void AddTime(CLI::App& command, const char* name, double& seconds, const char* description) {
  const auto read = [&seconds](const std::string& text) { seconds = ParseSeconds(text); };
  command.add_option_function<std::string>(name, read, description)->option_text("SECONDS");
}

}  // namespace

void AddImportPath(CLI::App& app) {
  const auto to = std::make_shared<PathImport>();
  CLI::App* command = app.add_subcommand("import-path", "Print a drawn path as \"Brush Position\"");
  command->add_option("FILE", to->file, "an SVG, or rows frame,x,y in a .csv")
      ->required()
      ->option_text(" ");
  command->add_option("--id", to->id, "the SVG path's id; default: the first path")
      ->option_text("ID");
  AddTime(*command, "--from", to->from, "when the SVG's path begins, as 0s; default: 0s");
  AddTime(*command, "--to", to->to, "when it ends, as 3s; default: 3s");
  AddChoice<bool>(*command, "--ease", to->smooth, {{"linear", false}, {"smooth", true}},
                  "smooth starts and ends gently; default: linear");
  command->add_option("--layer", to->layer, "fit the path to this picture; print a whole scene")
      ->option_text("FILE");
  command->add_option("--frame-rate", to->frame_rate, "of CSV rows and the scene; default: 30")
      ->check([to](const std::string& text) {
        double rate = 0;
        const bool good = CLI::detail::lexical_cast(text, rate) && rate > 0 && std::isfinite(rate);
        return good ? std::string() : fmt::format("{} is not a number above 0", text);
      })
      ->option_text("RATE");
  command->callback([to] { PrintPath(*to); });
}

}  // namespace app
