// vorlin sheet: frames, reduced, side by side in one picture, each with its number below and, when
// they are rendered from a scene, its time.
#include <fmt/format.h>
#include <stdlib.h>

#include <cerrno>
#include <cstring>

#include "commands.h"
#include "contact_sheet.h"
#include "errors.h"
#include "file_pattern.h"
#include "frame_range.h"
#include "output_file.h"
#include "picture_file.h"
#include "render_plan.h"
#include "render_results.h"
#include "render_run.h"
#include "shared_options.h"

namespace app {
namespace {

struct Arguments {
  std::filesystem::path source;  // a scene (.json), or a pattern of pictures that there are
  std::filesystem::path output;
  Overwrite overwrite = Overwrite::kAsk;
  std::string frames;      // empty: all that there are
  int columns = 0;         // 0: about as many as rows
  int width = 240;         // of one picture on the sheet, pixels
  RenderArguments render;  // for a scene: its controls, backdrop, effect, progress
};

void WriteSheet(const ContactSheet& sheet, const Arguments& arguments) {
  const PictureFormat format(arguments.output, hosting::Depth::k8);
  WritePicture(sheet.world(), format, {}, arguments.output);
}

void SheetOfPictures(const Arguments& arguments) {
  const FilePattern pattern(arguments.source);
  const std::vector<int> numbers =
      arguments.frames.empty() ? pattern.Existing() : ParseFrames(arguments.frames);
  if (numbers.empty()) {
    throw FileError(fmt::format("there is no picture \"{}\"", arguments.source.string()));
  }
  ContactSheet sheet(static_cast<int>(numbers.size()), arguments.columns, arguments.width);
  for (const int number : numbers)
    sheet.Add(ReadPicture(pattern.At(number)), std::to_string(number));
  WriteSheet(sheet, arguments);
}

/// A folder that goes away with this object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vorlin_sheet_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw FileError(fmt::format("cannot make the folder \"{}\": {}", name, std::strerror(errno)));
    }
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

void SheetOfScene(const Arguments& arguments) {
  const NotedSignals signals;
  // Worker processes are forked, which takes a process without other threads.
  KeepPicturesSingleThreaded();
  RenderArguments render = arguments.render;
  const ScratchFolder folder;
  render.scene = arguments.source;
  render.shots.frames = arguments.frames;
  render.shots.output = folder.path() / "####.png";
  const RenderPlan plan(render);
  RenderResults results;
  RunPlan(plan, render.progress, results);

  const hosting::TimeBase& time = plan.scene().setup.time;
  ContactSheet sheet(static_cast<int>(plan.shots().size()), arguments.columns, arguments.width);
  for (const Shot& shot : plan.shots()) {
    sheet.Add(ReadPicture(shot.file),
              fmt::format("{}  {:.2f} s", shot.number, time.Seconds(shot.time)));
  }
  WriteSheet(sheet, arguments);
}

void MakeSheet(const Arguments& arguments) {
  CheckOverwriting({{0, 0, arguments.output}}, arguments.overwrite);
  {
    // Said before the frames are rendered: a kind that is not written, a place that cannot be.
    const PictureFormat format(arguments.output, hosting::Depth::k8);
    const OutputFile probe(arguments.output);
  }
  arguments.source.extension() == ".json" ? SheetOfScene(arguments) : SheetOfPictures(arguments);
}

}  // namespace

void AddSheet(CLI::App& app) {
  const auto to = std::make_shared<Arguments>();
  CLI::App* sheet = app.add_subcommand("sheet", "Put frames, labelled, side by side");
  sheet->add_option("SCENE|PICTURES", to->source, "a scene to render, or pictures, as out.####.png")
      ->required()
      ->option_text(" ");
  sheet->add_option("-o,--output", to->output, "the picture to write")
      ->required()
      ->option_text("FILE");
  sheet->add_flag_callback(
      "-y,--overwrite", [to = to.get()] { to->overwrite = Overwrite::kAlways; },
      "replace an existing sheet");
  sheet->add_option("-F,--frames", to->frames, "which frames, as 0-89x10; default: all")
      ->option_text("RANGES");
  sheet->add_option("--columns", to->columns, "pictures in a row; default: about as many as rows")
      ->check(CLI::Range(1, 1000))
      ->option_text("N");
  sheet->add_option("--width", to->width, "of each picture, in pixels; default: 240")
      ->check(CLI::Range(1, 30000))
      ->option_text("PIXELS");
  AddSceneChanges(*sheet, to->render.changes);
  to->render.over = "layer";
  sheet->add_option("--over", to->render.over, "what is behind the stroke; default: layer")
      ->option_text("layer|#rrggbb|checker|FILE");
  AddEffect(*sheet, to->render.effect);
  sheet->add_flag_callback(
      "-q,--quiet", [to = to.get()] { to->render.progress = ProgressStyle::kNone; },
      "show no progress");
  sheet->callback([to] { MakeSheet(*to); });
}

}  // namespace app
