#include "render_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "backdrop.h"
#include "effect_path.h"
#include "errors.h"
#include "fingerprint.h"
#include "hosting/errors.h"
#include "interrupt.h"
#include "output_file.h"
#include "picture_file.h"
#include "progress_line.h"

namespace cli {
namespace {

/// "left,top,width,height" as a rectangle.
std::optional<PF_LRect> ParseRegion(const std::string& text) {
  if (text.empty()) return std::nullopt;
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int read = 0;
  const int found =
      std::sscanf(text.c_str(), "%7d,%7d,%7d,%7d%n", &left, &top, &width, &height, &read);
  if (found != 4 || static_cast<std::size_t>(read) != text.size() || width < 1 || height < 1) {
    throw InputError(fmt::format(
        "region: expected left,top,width,height in pixels, as 100,50,640,360, found \"{}\"", text));
  }
  return PF_LRect{left, top, left + width, top + height};
}

PictureFormat FormatFor(const RenderArguments& arguments) {
  PictureFormat format(arguments.shots.output, arguments.depth);
  if (!arguments.alpha.empty()) format.premultiplied = arguments.alpha == "premultiplied";
  return format;
}

/// What a run does for each of its shots.
class RenderRun {
 public:
  explicit RenderRun(const RenderArguments& arguments)
      : arguments_(arguments),
        effect_file_(FindEffect(arguments.effect)),
        effect_(effect_file_),
        scene_(ReadScene(arguments.scene, effect_, arguments.changes)),
        shots_(ChooseShots(arguments.shots, scene_.frames, scene_.setup.time)),
        format_(FormatFor(arguments)),
        backdrop_(arguments.over) {
    backdrop_.CheckSize(scene_.setup.width, scene_.setup.height);
    AddCommonFingerprint();
    if (arguments.skip_existing) {
      std::erase_if(shots_, [this](const Shot& s) { return SoftwareOf(s.file) == Software(s); });
    } else {
      CheckOverwriting(shots_, arguments.overwrite);
    }
    // Made and removed again: the folder can be written into.
    if (!shots_.empty()) {
      ClearLeftovers(shots_.front().file.parent_path());
      OutputFile(shots_.front().file);
    }
    if (!arguments.trace.empty()) trace_.emplace(arguments.trace);
  }

  void Run() {
    ProgressLine progress(static_cast<int>(shots_.size()), arguments_.quiet);
    hosting::Renderer renderer(effect_, scene_.setup, Options(progress));
    std::optional<Error> first_error;
    for (const Shot& shot : shots_) {
      NotedSignals::Check();
      shown_frame_ = shot.number;
      try {
        Render(renderer, shot);
        progress.Done(shot.number);
      } catch (const Error& error) {
        if (!arguments_.keep_going) throw;
        progress.Failed(shot.number, error.what());
        if (!first_error) first_error = error;
      }
    }
    if (trace_) trace_->Commit();
    if (first_error) throw Error(first_error->code(), "not every frame could be rendered");
  }

 private:
  /// Everything but the frame that decides what its picture looks like.
  void AddCommonFingerprint() {
    common_.Add(VORLIN_VERSION);
    common_.AddFile(effect_file_);
    common_.AddFile(arguments_.scene);
    const SceneChanges& changes = arguments_.changes;
    common_.Add(changes.preset.empty() ? "" : "preset");
    if (!changes.preset.empty()) common_.AddFile(changes.preset);
    for (const std::string& setting : changes.settings) common_.Add(setting);
    common_.Add(fmt::format("{} {} {} {} {} {} {}", static_cast<int>(arguments_.depth),
                            arguments_.alpha, arguments_.over, arguments_.region,
                            arguments_.downsample.Text(), arguments_.classic,
                            arguments_.best_quality));
    std::error_code ignored;
    if (std::filesystem::is_regular_file(arguments_.over, ignored))
      common_.AddFile(arguments_.over);
  }

  /// What the shot's picture says about itself: skipping existing pictures relies on it.
  std::string Software(const Shot& shot) const {
    const hosting::TimeBase& time = scene_.setup.time;
    const double layer_frame =
        (static_cast<double>(shot.time) - scene_.setup.layer_start) / time.layer_step();
    Fingerprint fingerprint = common_;
    fingerprint.Add(std::to_string(shot.time));
    fingerprint.AddFile(scene_.layer_file(static_cast<std::int64_t>(std::floor(layer_frame))));
    return fmt::format("vorlin {}, fingerprint {}", VORLIN_VERSION, fingerprint.Text());
  }

  hosting::RenderOptions Options(ProgressLine& progress) {
    hosting::RenderOptions options;
    options.depth = arguments_.depth;
    options.smart = !arguments_.classic;
    options.high_quality = arguments_.best_quality;
    options.region = ParseRegion(arguments_.region);
    options.downsample_x = options.downsample_y = arguments_.downsample;
    options.threads = trace_ ? 1 : arguments_.threads;
    options.progress = [&](A_long current, A_long total) {
      if (total > 0) progress.Within(shown_frame_, static_cast<double>(current) / total);
      return NotedSignals::Arrived() == 0;
    };
    if (trace_) {
      options.observer = [this](const hosting::Call& call) {
        trace_->Write(fmt::format("frame {} {} {}\n", shown_frame_,
                                  hosting::CommandName(call.command), call.Text()));
        return PF_Err_NONE;
      };
    }
    return options;
  }

  void Render(hosting::Renderer& renderer, const Shot& shot) try {
    hosting::Frame frame = renderer.Render(shot.time);
    backdrop_.PutUnder(frame, renderer.options());
    WritePicture(frame.picture, format_, Software(shot), shot.file);
  } catch (const hosting::EffectError& error) {
    if (error.cancelled()) NotedSignals::Check();
    throw Error(ExitCode::kEffect, fmt::format("frame {}: {}", shot.number, error.what()));
  }

  const RenderArguments& arguments_;
  std::filesystem::path effect_file_;
  hosting::Effect effect_;
  Scene scene_;
  std::vector<Shot> shots_;
  PictureFormat format_;
  Backdrop backdrop_;
  Fingerprint common_;
  std::optional<OutputFile> trace_;
  int shown_frame_ = 0;
};

}  // namespace

void RunRender(const RenderArguments& arguments) {
  const NotedSignals signals;
  RenderRun(arguments).Run();
}

}  // namespace cli
