// vorlin render: frames of a scene as pictures or as a movie.
#include <fmt/format.h>

#include "commands.h"
#include "errors.h"
#include "hosting/errors.h"
#include "picture_file.h"
#include "render_plan.h"
#include "render_results.h"
#include "render_run.h"
#include "shared_memory.h"
#include "shared_options.h"
#include "standard_streams.h"

namespace app {
namespace {

/// "1/2", "0.5", or "2" for one of two.
hosting::Rational ParseDownsample(const std::string& text) try {
  const hosting::Rational factor = hosting::Rational::Parse(text);
  if (factor.value() <= 0) throw hosting::Error("\"" + text + "\" is not more than 0");
  return factor.value() > 1 ? hosting::Rational(factor.den(), factor.num()) : factor;
} catch (const hosting::Error& error) {
  throw InputError(std::string("downsample: ") + error.what());
}

void AddFiles(CLI::App& render, RenderArguments& to) {
  render
      .add_option("-o,--output", to.shots.output,
                  "out.####.png, .jpg, .webp, .tif or .exr, or a movie: .mp4, .mov, .mkv, .webm, "
                  ".gif, .apng")
      ->option_text("FILE")
      ->required();
  auto* yes = render.add_flag_callback(
      "-y,--overwrite", [&to] { to.overwrite = to.scene.overwrite = Overwrite::kAlways; },
      "replace existing pictures");
  render
      .add_flag_callback(
          "-n,--no-overwrite", [&to] { to.overwrite = Overwrite::kNever; },
          "do nothing when a picture exists")
      ->excludes(yes);
  render.add_flag("--skip-existing", to.skip_existing,
                  "leave up-to-date pictures, replace stale ones");
  render.add_flag("--keep-going", to.keep_going, "go on after a frame that fails");
}

void AddFrames(CLI::App& render, RenderArguments& to) {
  ShotChoice& shots = to.shots;
  auto* frames = render.add_option("-F,--frames", shots.frames,
                                   "frames, as 0-89 or 1-100x2,150,-5--1; default: all");
  frames->option_text("RANGES");
  render.add_option("--time", shots.time, "one picture, of this time, as 1.25s")
      ->option_text("SECONDS")
      ->excludes(frames);
  render
      .add_option("--start-number", shots.first_number,
                  "of the first frame; default: 0, or as the layer's pictures are numbered")
      ->option_text("N")
      ->check(CLI::Range(0, 1000000));
  render.add_option("--chunk", shots.chunk, "only a part of the frames, as 3/20: the 3rd of 20")
      ->option_text("PART/PARTS");
}

void AddPicture(CLI::App& render, RenderArguments& to) {
  using hosting::Depth;
  AddChoice<Depth>(render, "--depth", to.depth,
                   {{"8", Depth::k8}, {"16", Depth::k16}, {"32", Depth::k32}},
                   "bits per channel to render with; default: 8");
  AddChoice<bool>(render, "--pass", to.field, {{"picture", false}, {"field", true}},
                  "the picture, or the relief itself as a one-channel EXR");
  AddChoice<bool>(render, "--compression", to.small_files, {{"fast", false}, {"small", true}},
                  "small packs files tighter and slower; default: fast");
  AddChoice<std::string>(render, "--alpha", to.alpha,
                         {{"straight", "straight"}, {"premultiplied", "premultiplied"}},
                         "how colours are stored; default: premultiplied in EXR");
  render
      .add_option("--over", to.over,
                  "put the stroke over the layer, a colour, a checkerboard or a picture")
      ->option_text("layer|#rrggbb|checker|FILE");
  render.add_option("--region", to.region, "only a rectangle, as 100,50,640,360")
      ->option_text("X,Y,W,H");
  render
      .add_option_function<std::string>(
          "--downsample", [&to](const std::string& text) { to.downsample = ParseDownsample(text); },
          "render smaller, as 1/2")
      ->option_text("FACTOR");
  AddChoice<int>(
      render, "--supersample", to.supersample, {{"1", 1}, {"2", 2}, {"3", 3}},
      "render that much larger and reduce: smoother thin strokes, much slower; default: 1");
  AddChoice<bool>(render, "--sampling", to.fine_sampling, {{"draft", false}, {"best", true}},
                  "draft samples the layer roughly; default: best");
}

void AddMovie(CLI::App& render, RenderArguments& to) {
  render
      .add_option_function<std::string>(
          "--codec",
          [&to](const std::string& name) {
            to.codec = name;
            if (name != "list") return;
            PrintResult(CodecList());
            throw CLI::Success();
          },
          "of a movie; list tells them all; default: h264 in .mp4, prores in .mov, vp9 in .webm")
      ->option_text("NAME|list")
      ->trigger_on_parse();
  AddChoice<MovieQuality>(render, "--quality", to.quality,
                          {{"low", MovieQuality::kLow},
                           {"medium", MovieQuality::kMedium},
                           {"high", MovieQuality::kHigh},
                           {"best", MovieQuality::kBest}},
                          "of a movie; higher needs more space; default: high");
  render.add_flag_callback(
      "--no-sound", [&to] { to.sound = false; }, "leave the layer's sound out of a movie");
}

void AddRunning(CLI::App& render, RenderArguments& to) {
  AddEffect(render, to.effect);
  render.add_option("-j,--jobs", to.jobs, "frames to render at once; default: one per core")
      ->option_text("N")
      ->check(CLI::Range(1, kMostJobs));
  render
      .add_option("--threads", to.threads, "threads per frame; default: the cores that jobs leave")
      ->option_text("N")
      ->check(CLI::NonNegativeNumber);
  render.add_flag("--classic", to.classic, "use the classic render command");
  render.add_option("--trace", to.trace, "write every call that the effect makes into a file")
      ->option_text("FILE");
}

void AddTelling(CLI::App& render, RenderArguments& to) {
  auto* progress =
      AddChoice<ProgressStyle>(render, "--progress", to.progress,
                               {{"line", ProgressStyle::kLine},
                                {"plain", ProgressStyle::kPlain},
                                {"json", ProgressStyle::kJson}},
                               "a line, plain lines or JSON objects on standard error");
  render
      .add_flag_callback(
          "-q,--quiet", [&to] { to.progress = ProgressStyle::kNone; }, "show errors only")
      ->excludes(progress);
  render.add_flag("--json", to.json, "print what was written as one JSON object");
  AddChoice<bool>(render, "--stats", to.statistics, {{"json", true}},
                  "print times and memory as a line of JSON");
}

void PrintResults(const RenderArguments& arguments, const RenderResults& results) {
  if (arguments.json) {
    PrintResult(results.Json(arguments.statistics));
  } else if (arguments.statistics) {
    PrintResult(results.StatisticsJson());
  }
}

void Render(const RenderArguments& arguments) {
  const NotedSignals signals;
  // Worker processes are forked, which takes a process without other threads.
  KeepPicturesSingleThreaded();
  const RenderPlan plan(arguments);
  RenderResults results;
  try {
    RunPlan(plan, arguments.progress, results);
  } catch (const Error&) {
    PrintResults(arguments, results);
    throw;
  }
  PrintResults(arguments, results);
}

/// Who reads progress as JSON gets errors so too.
void RenderWithJsonErrors(const RenderArguments& arguments) {
  try {
    Render(arguments);
  } catch (const Interrupted&) {
    throw;
  } catch (...) {
    const Error error = AsError(std::current_exception());
    RenderProgress::PrintError(arguments.progress, error.what());
    for (const std::string& other : error.others()) {
      RenderProgress::PrintError(arguments.progress, other);
    }
    throw ErrorShown{error.code()};
  }
}

}  // namespace

void AddRender(CLI::App& app) {
  const auto to = std::make_shared<RenderArguments>();
  CLI::App* render = app.add_subcommand("render", "Render frames of a scene into pictures");
  AddScene(*render, to->scene);
  AddSceneChanges(*render, to->changes);
  AddFiles(*render, *to);
  AddFrames(*render, *to);
  AddPicture(*render, *to);
  AddMovie(*render, *to);
  AddRunning(*render, *to);
  AddTelling(*render, *to);
  render->callback(
      [to] { to->progress == ProgressStyle::kJson ? RenderWithJsonErrors(*to) : Render(*to); });
}

}  // namespace app
