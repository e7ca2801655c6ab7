// What a stroke reads: keyframes, controls through the host, slices, and the default span of 3000
// seconds at the end of a long composition. The frames are so small that reading is all they do.

#include <memory>
#include <string>

#include "brush_scene.h"
#include "ratios.h"

namespace {

using hosting::Key;
using hosting::Point;
using hosting::Track;

constexpr int kValues = 1000;

/// Values at times that move on.
bench::MakeWork Evaluating(const Track<Point>& track, double seconds) {
  return [=]() -> bench::Work {
    return [=] {
      for (int i = 0; i < kValues; ++i) benchmark::DoNotOptimize(track.At(seconds * i / kValues));
    };
  };
}

Track<Point> KeysOf(int count, const Key<Point>& shape) {
  std::vector<Key<Point>> keys;
  for (int i = 0; i < count; ++i) {
    Key<Point> key = shape;
    key.seconds = i;
    key.value = {i * 7.0, i % 5 * 3.0};
    keys.push_back(key);
  }
  return Track<Point>(std::move(keys));
}

void Keyframes() {
  const auto pair = [](const std::string& name, int count, const Key<Point>& shape) {
    bench::Pair(name + "/value between 2 keys", kValues, bench::Ratio::kTimesItsTime,
                Evaluating(KeysOf(count, shape), count - 1), Evaluating(KeysOf(2, {}), 1));
  };
  pair("value between 60 keys", 60, {});
  pair("value between 960 keys", 960, {});
  pair("smooth value between 60 keys", 60, {.in = hosting::kSmooth, .out = hosting::kSmooth});
  pair("value on paths between 60 keys", 60, {.in_tangent = {-2, 1}, .out_tangent = {2, 1}});
}

struct Strip {
  hosting::Setup setup;
  hosting::RenderOptions options;
  A_long time = 0;
};

/// A frame of few pixels. No strength: slices are read but not drawn.
Strip StripOf(int brush_frames, bool strength) {
  bench::BrushScene scene;
  scene.brush_frames = brush_frames;
  Strip strip;
  strip.setup = bench::SetupOf(scene);
  strip.options.threads = 1;
  strip.options.downsample_x = strip.options.downsample_y = hosting::Rational(1, 64);
  if (!strength) strip.setup.controls.Set("Strength", Track<double>(0));
  strip.time = bench::ShownTime(scene, strip.setup);
  return strip;
}

int ReadOuts(Strip strip) {
  int count = 0;
  strip.options.observer = [&](const hosting::Call& call) -> PF_Err {
    count += call.kind == hosting::CallKind::kCheckoutParam;
    return PF_Err_NONE;
  };
  hosting::Renderer(bench::TheEffect(), strip.setup, strip.options).Render(strip.time);
  return count;
}

bench::MakeWork Rendering(const Strip& strip) {
  return [=]() -> bench::Work {
    const auto renderer =
        std::make_shared<hosting::Renderer>(bench::TheEffect(), strip.setup, strip.options);
    return [=, time = strip.time] { benchmark::DoNotOptimize(renderer->Render(time)); };
  };
}

/// As many values of the brush's position, straight from the controls.
bench::MakeWork Values(const Strip& strip, int count) {
  return [=]() -> bench::Work {
    return [=] {
      const hosting::ControlTracks& controls = strip.setup.controls;
      const double seconds = strip.setup.time.Seconds(strip.time);
      const int index = controls.Control("Brush Position").index;
      for (int i = 0; i < count; ++i) {
        benchmark::DoNotOptimize(controls.At(index, seconds * i / count, 1, 1));
      }
    };
  };
}

void Strokes() {
  constexpr auto kItsTime = bench::Ratio::kTimesItsTime;
  const Strip drawn = StripOf(60, true);
  const int read_outs = ReadOuts(drawn);
  bench::Pair("read-out/value", read_outs, kItsTime, Rendering(drawn), Values(drawn, read_outs));
  const Strip slices = StripOf(900, false);
  bench::Pair("slice/its values", 900, kItsTime, Rendering(slices),
              Values(slices, ReadOuts(slices)));
  bench::Pair("3000 s/30 s, 100 times the slices", 90000, kItsTime,
              Rendering(StripOf(90000, false)), Rendering(slices));
}

}  // namespace

int main(int argc, char** argv) {
  Keyframes();
  Strokes();
  return bench::RunMain(argc, argv);
}
