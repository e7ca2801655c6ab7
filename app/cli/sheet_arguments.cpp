#include "sheet_arguments.h"

#include <CLI/CLI.hpp>

#include "scene_arguments.h"

namespace app {

void AddSheet(CLI::App& app, SheetArguments& to) {
  CLI::App* sheet = app.add_subcommand("sheet", "Put frames, labelled, side by side");
  sheet->add_option("SCENE|PICTURES", to.source, "a scene to render, or pictures, as out.####.png")
      ->required()
      ->option_text(" ");
  sheet->add_option("-o,--output", to.output, "the picture to write")
      ->required()
      ->option_text("FILE");
  sheet->add_flag_callback(
      "-y,--overwrite", [&to] { to.overwrite = Overwrite::kAlways; }, "replace an existing sheet");
  sheet->add_option("-F,--frames", to.frames, "which frames, as 0-89x10; default: all")
      ->option_text("RANGES");
  sheet->add_option("--columns", to.columns, "pictures in a row; default: about as many as rows")
      ->check(CLI::Range(1, 1000))
      ->option_text("N");
  sheet->add_option("--width", to.width, "of each picture, in pixels; default: 240")
      ->check(CLI::Range(1, 30000))
      ->option_text("PIXELS");
  AddSceneChanges(*sheet, to.render.changes);
  to.render.over = "layer";
  sheet->add_option("--over", to.render.over, "what is behind the stroke; default: layer")
      ->option_text("layer|#rrggbb|checker|FILE");
  sheet->add_option("--effect", to.render.effect, "the effect's library, not VORLIN_EFFECT's")
      ->option_text("FILE");
  sheet->add_flag_callback(
      "-q,--quiet", [&to] { to.render.progress = ProgressStyle::kNone; }, "show no progress");
  sheet->callback([&to] { RunSheet(to); });
}

}  // namespace app
