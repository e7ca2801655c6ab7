#include "render_arguments.h"

#include "errors.h"
#include "hosting/errors.h"
#include "render_board.h"
#include "scene_arguments.h"

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

void AddFrames(CLI::App& render, RenderArguments& to) {
  ShotChoice& shots = to.shots;
  auto* frames = render.add_option("-F,--frames", shots.frames,
                                   "frames, as 0-89 or 1-100x2,150,-5--1; default: all");
  frames->option_text("RANGES");
  render.add_option("--time", shots.time, "one picture at a time, as 1.25s")
      ->option_text("SECONDS")
      ->excludes(frames);
  render.add_option("--chunk", shots.chunk, "only a part of the frames, as 3/20: the 3rd of 20")
      ->option_text("PART/PARTS");
}

void AddFiles(CLI::App& render, RenderArguments& to) {
  render
      .add_option("-o,--output", to.shots.output,
                  "out.####.png, .tif or .exr, or a movie: .mp4, .mov, .webm, .gif")
      ->option_text("FILE")
      ->required();
  auto* yes = render.add_flag_callback(
      "-y,--overwrite", [&to] { to.overwrite = Overwrite::kAlways; }, "replace existing pictures");
  render
      .add_flag_callback(
          "-n,--no-overwrite", [&to] { to.overwrite = Overwrite::kNever; },
          "do nothing when a picture exists")
      ->excludes(yes);
  render.add_flag("--skip-existing", to.skip_existing,
                  "leave up-to-date pictures, replace stale ones");
  render.add_flag("--keep-going", to.keep_going, "go on after a frame that fails");
}

void AddPicture(CLI::App& render, RenderArguments& to) {
  render
      .add_option_function<int>(
          "--depth", [&to](int bits) { to.depth = hosting::DepthOf(bits); },
          "bits a channel to render with; default: 8")
      ->check(CLI::IsMember({8, 16, 32}))
      ->option_text("8|16|32");
  render
      .add_option_function<std::string>(
          "--pass", [&to](const std::string& pass) { to.field = pass == "field"; },
          "the picture, or the relief itself as a one-channel EXR")
      ->check(CLI::IsMember({"picture", "field"}))
      ->option_text("picture|field");
  render
      .add_option_function<std::string>(
          "--compression", [&to](const std::string& word) { to.small_files = word == "small"; },
          "small packs files tighter and slower; default: fast")
      ->check(CLI::IsMember({"fast", "small"}))
      ->option_text("fast|small");
  render.add_option("--alpha", to.alpha, "how colours are stored; default: premultiplied in EXR")
      ->check(CLI::IsMember({"straight", "premultiplied"}))
      ->option_text("straight|premultiplied");
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
  render
      .add_option_function<std::string>(
          "--quality", [&to](const std::string& word) { to.best_quality = word == "best"; },
          "draft samples the layer roughly; default: best")
      ->check(CLI::IsMember({"draft", "best"}))
      ->option_text("draft|best");
}

void AddRunning(CLI::App& render, RenderArguments& to) {
  render.add_option("--effect", to.effect, "the effect's library, instead of VORLIN_EFFECT's")
      ->option_text("FILE");
  render.add_option("-j,--jobs", to.jobs, "frames to render at once; default: one a core")
      ->option_text("N")
      ->check(CLI::Range(1, kMostJobs));
  render.add_option("--threads", to.threads, "threads a frame; default: the cores that jobs leave")
      ->option_text("N")
      ->check(CLI::NonNegativeNumber);
  render.add_flag("--classic", to.classic, "use the classic render command");
  render.add_option("--trace", to.trace, "write every call that the effect makes into a file")
      ->option_text("FILE");
  const auto read_style = [&to](const std::string& style) {
    to.progress = style == "json"    ? ProgressStyle::kJson
                  : style == "plain" ? ProgressStyle::kPlain
                                     : ProgressStyle::kLine;
  };
  auto* progress = render.add_option_function<std::string>(
      "--progress", read_style, "a line, plain lines or JSON objects on standard error");
  progress->check(CLI::IsMember({"line", "plain", "json"}))->option_text("line|plain|json");
  render
      .add_flag_callback(
          "-q,--quiet", [&to] { to.progress = ProgressStyle::kNone; }, "show errors only")
      ->excludes(progress);
  render.add_flag("--json", to.json, "print what was written as one JSON object");
  render
      .add_option_function<std::string>(
          "--stats", [&to](const std::string&) { to.statistics = true; },
          "print times and memory as a line of JSON")
      ->check(CLI::IsMember({"json"}))
      ->option_text("json");
}

}  // namespace

void AddRender(CLI::App& app, RenderArguments& to) {
  CLI::App* render = app.add_subcommand("render", "Render frames of a scene into pictures");
  AddScene(*render, to.scene);
  AddSceneChanges(*render, to.changes);
  AddFiles(*render, to);
  AddFrames(*render, to);
  AddPicture(*render, to);
  AddRunning(*render, to);
  render->callback([&to] { RunRender(to); });
}

}  // namespace app
