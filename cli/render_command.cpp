#include "render_command.h"

#include <fmt/format.h>

#include <numeric>
#include <optional>

#include "effect_path.h"
#include "file_pattern.h"
#include "frame_range.h"
#include "hosting/effect.h"
#include "hosting/errors.h"
#include "hosting/render.h"
#include "interrupt.h"
#include "output_file.h"
#include "over.h"
#include "picture_file.h"
#include "progress_line.h"
#include "scene.h"

namespace cli {
namespace {

std::vector<int> FramesToRender(const RenderArguments& arguments, const Scene& scene) {
  if (!arguments.frames.empty()) return ParseFrames(arguments.frames);
  std::vector<int> frames(static_cast<std::size_t>(scene.frames));
  std::iota(frames.begin(), frames.end(), 0);
  return frames;
}

/// Frames may lie outside the scene's duration, but not beyond the host's time.
void CheckTimes(const std::vector<int>& frames, const hosting::TimeBase& time) {
  try {
    for (const int frame : frames) time.FrameTime(frame);
  } catch (const hosting::Error& error) {
    throw InputError(fmt::format("frames: {}", error.what()));
  }
}

}  // namespace

void RunRender(const RenderArguments& arguments) {
  const NotedSignals signals;
  const hosting::Effect effect(FindEffect(arguments.effect));
  Scene scene = ReadScene(arguments.scene, effect);
  const std::vector<int> frames = FramesToRender(arguments, scene);
  CheckTimes(frames, scene.setup.time);
  const FilePattern written(arguments.output);
  const FilePattern pattern = frames.size() > 1 ? written.Numbered() : written;
  const PictureFormat format(pattern.path(), arguments.depth);
  // Made and removed again: the folder can be written into.
  OutputFile(pattern.At(frames.front()));
  std::optional<OutputFile> trace;
  if (!arguments.trace.empty()) trace.emplace(arguments.trace);

  ProgressLine progress(static_cast<int>(frames.size()), arguments.quiet);
  int frame_number = 0;
  hosting::RenderOptions options;
  options.depth = arguments.depth;
  options.smart = !arguments.classic;
  options.high_quality = arguments.best_quality;
  options.threads = trace ? 1 : arguments.threads;
  options.progress = [&](A_long current, A_long total) {
    if (total > 0) progress.Within(frame_number, static_cast<double>(current) / total);
    return NotedSignals::Arrived() == 0;
  };
  if (trace) {
    options.observer = [&](const hosting::Call& call) {
      trace->Write(fmt::format("frame {} {} {}\n", frame_number, hosting::CommandName(call.command),
                               call.Text()));
      return PF_Err_NONE;
    };
  }

  hosting::Renderer renderer(effect, std::move(scene.setup), std::move(options));
  for (const int number : frames) {
    NotedSignals::Check();
    frame_number = number;
    try {
      hosting::Frame frame = renderer.Render(renderer.setup().time.FrameTime(number));
      if (arguments.over_layer && frame.layer) PutOver(frame.picture, *frame.layer);
      WritePicture(frame.picture, format, pattern.At(number));
    } catch (const hosting::EffectError& error) {
      if (error.cancelled()) NotedSignals::Check();
      throw;
    }
    progress.Done(number);
  }
  if (trace) trace->Commit();
}

}  // namespace cli
