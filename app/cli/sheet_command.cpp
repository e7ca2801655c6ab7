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
#include "files.h"
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
  std::filesystem::path output;
  Overwrite overwrite = Overwrite::kAsk;
  std::string frames;      // empty: all that there are
  bool looks = false;      // a frame, the last one unless frames says another, in every look
  int columns = 0;         // 0: about as many as rows
  int width = 240;         // of one picture on the sheet, pixels
  RenderArguments render;  // for a scene: its controls, backdrop, effect, progress
};

void WriteSheet(const ContactSheet& sheet, const Arguments& arguments) {
  const PictureFormat format(arguments.output, hosting::Depth::k8);
  WritePicture(sheet.world(), format, {}, arguments.output);
}

void SheetOfPictures(const Arguments& arguments) {
  const std::filesystem::path& source = arguments.render.scene.file;
  const FilePattern pattern(source);
  const std::vector<int> numbers =
      arguments.frames.empty() ? pattern.Existing() : ParseFrames(arguments.frames);
  if (numbers.empty()) {
    throw FileError(fmt::format("there is no picture \"{}\"", source.string()));
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

/// The look that a frame has without a preset.
constexpr const char* kNoLook = "no look";

void SheetOfLooks(const Arguments& arguments) {
  RenderArguments render = arguments.render;
  const ScratchFolder folder;
  render.shots.frames = arguments.frames;
  {
    const hosting::Effect effect(FindEffect(render.effect));
    const Scene scene = OpenScene(render.scene, render.changes, effect).scene;
    if (arguments.frames.empty()) {
      render.shots.frames = std::to_string(scene.layer.first_number + scene.frames - 1);
    }
    render.scene.save.clear();  // it is written now
  }
  std::vector<std::string> looks = PresetNames();
  looks.insert(looks.begin(), kNoLook);
  ContactSheet sheet(static_cast<int>(looks.size()), arguments.columns, arguments.width);
  for (const std::string& look : looks) {
    render.changes.preset = look == kNoLook ? "" : FindPreset(look);
    render.shots.output = folder.path() / (look + ".png");
    const RenderPlan plan(render);
    if (plan.shots().size() != 1) throw InputError("--looks shows one frame; give one with -F");
    RenderResults results;
    RunPlan(plan, ProgressStyle::kNone, results);
    sheet.Add(ReadPicture(plan.shots().front().file), look);
  }
  WriteSheet(sheet, arguments);
}

void SheetOfScene(const Arguments& arguments) {
  RenderArguments render = arguments.render;
  const ScratchFolder folder;
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
  const SceneSource& source = arguments.render.scene;
  const bool is_scene = ExtensionOf(source.file) == ".json" || !source.drawing.file.empty();
  if (arguments.looks && !is_scene) {
    throw InputError("--looks needs a scene, or a picture with --path FILE");
  }
  if (!is_scene) return SheetOfPictures(arguments);
  const NotedSignals signals;
  // Worker processes are forked, which takes a process without other threads.
  KeepPicturesSingleThreaded();
  arguments.looks ? SheetOfLooks(arguments) : SheetOfScene(arguments);
}

}  // namespace

void AddSheet(CLI::App& app) {
  const auto to = std::make_shared<Arguments>();
  CLI::App* sheet = app.add_subcommand("sheet", "Put frames, labelled, side by side");
  AddScene(*sheet, to->render.scene);
  sheet->add_option("-o,--output", to->output, "the picture to write")
      ->required()
      ->option_text("FILE");
  sheet->add_flag_callback(
      "-y,--overwrite",
      [to = to.get()] { to->overwrite = to->render.scene.overwrite = Overwrite::kAlways; },
      "replace an existing sheet");
  sheet->add_option("-F,--frames", to->frames, "which frames, as 0-89x10; default: all")
      ->option_text("RANGES");
  sheet->add_flag("--looks", to->looks,
                  "one frame, the last unless -F says another, in every look");
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
