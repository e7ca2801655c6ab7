// vorlin import-path: a drawn path as keys for a scene.
#include <fmt/format.h>

#include <optional>

#include "commands.h"
#include "errors.h"
#include "files.h"
#include "hosting/errors.h"
#include "layer_source.h"
#include "output_file.h"
#include "path_import.h"
#include "scene_text.h"
#include "shared_options.h"
#include "shots.h"
#include "standard_streams.h"

namespace app {
namespace {

struct Arguments {
  PathImport path;
  std::filesystem::path layer;   // empty: the keys alone are wanted
  std::filesystem::path output;  // empty: standard output
  Overwrite overwrite = Overwrite::kAsk;
};

void PrintPath(const Arguments& arguments) {
  const PathImport& wanted = arguments.path;
  std::optional<LayerSize> size;
  if (!arguments.layer.empty()) {
    const LayerSource layer = OpenLayer(arguments.layer);
    size = {layer.width, layer.height};
  }
  const DrawnStrokes drawn = ImportPath(wanted, ReadTextFile(wanted.file), size);
  for (const std::string& note : drawn.notes) fmt::print(stderr, "vorlin: note: {}\n", note);
  Json::Value more;
  more["frame_rate"] = wanted.times.frame_rate.Text();
  const std::string text = size ? SceneText(arguments.layer, drawn, more, {})
                                : PenText(drawn) + BrushPositionText(drawn);
  if (arguments.output.empty()) return PrintResult(text);
  CheckOverwriting({{0, 0, arguments.output}}, arguments.overwrite);
  OutputFile file(arguments.output);
  file.Write(text);
  file.Commit();
}

}  // namespace

void AddImportPath(CLI::App& app) {
  const auto to = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("import-path", "Turn a drawing into keys of a scene");
  command->add_option("FILE", to->path.file, "an SVG, or rows frame,x,y or time,x,y in a .csv")
      ->required()
      ->option_text(" ");
  AddDrawing(*command, to->path);
  command->add_option("--layer", to->layer, "fit the drawing to this picture; make a whole scene")
      ->option_text("FILE");
  command
      ->add_option_function<std::string>(
          "--frame-rate",
          [to](const std::string& text) {
            try {
              to->path.times.frame_rate =
                  hosting::TimeBase(hosting::StandardFrameRate(hosting::Rational::Parse(text)))
                      .frame_rate();
            } catch (const hosting::Error& error) {
              throw InputError(fmt::format("--frame-rate: {}", error.what()));
            }
          },
          "of CSV rows and the scene; default: 30")
      ->option_text("RATE");
  command->add_option("-o,--output", to->output, "a file to write; default: standard output")
      ->option_text("FILE");
  command->add_flag_callback(
      "-y,--overwrite", [to] { to->overwrite = Overwrite::kAlways; }, "replace an existing file");
  command->callback([to] { PrintPath(*to); });
}

}  // namespace app
