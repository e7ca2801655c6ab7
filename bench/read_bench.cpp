// What a stroke reads: keyframes, controls through the host, slices, and the default span of 3000
// seconds at the end of a long composition. The frames are so small that reading is all they do.

#include <string>

#include "brush_scene.h"
#include "ratios.h"

namespace {

using hosting::Key;
using hosting::Point;
using hosting::Track;

/// A thousand values at times that move on.
bench::Loop Evaluating(const Track<Point>& track, double seconds) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      for (int i = 0; i < 1000; ++i) benchmark::DoNotOptimize(track.At(seconds * i / 1000));
    }
    state.SetItemsProcessed(state.iterations() * 1000);
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
    bench::Pair(name, Evaluating(KeysOf(count, shape), count - 1), "1000 values between 2 keys",
                Evaluating(KeysOf(2, {}), 1), false);
  };
  pair("1000 values between 60 keys", 60, {});
  pair("1000 values between 960 keys", 960, {});
  pair("1000 smooth values between 60 keys", 60, {.in = hosting::kSmooth, .out = hosting::kSmooth});
  pair("1000 values on paths between 60 keys", 60, {.in_tangent = {-2, 1}, .out_tangent = {2, 1}});
}

struct Strip {
  hosting::Setup setup;
  hosting::RenderOptions options;
  A_long time = 0;
};

/// A corner of a layer that the brush never comes to. No strength: slices are read but not drawn.
Strip StripOf(int brush_frames, bool strength) {
  bench::BrushScene scene;
  scene.brush_frames = brush_frames;
  Strip strip;
  strip.setup = bench::SetupOf(scene);
  strip.options.threads = 1;
  strip.options.region = PF_LRect{0, 0, 16, 16};
  if (!strength) strip.setup.controls.Set("Strength", Track<double>(0));
  strip.time = bench::ShownTime(scene, strip.setup);
  return strip;
}

std::int64_t ReadOuts(Strip strip) {
  std::int64_t count = 0;
  strip.options.observer = [&](const hosting::Call& call) -> PF_Err {
    count += call.kind == hosting::CallKind::kCheckoutParam;
    return PF_Err_NONE;
  };
  hosting::Renderer(bench::TheEffect(), strip.setup, strip.options).Render(strip.time);
  return count;
}

bench::Loop Rendering(const Strip& strip, std::int64_t items) {
  return [=](benchmark::State& state) {
    hosting::Renderer renderer(bench::TheEffect(), strip.setup, strip.options);
    for (auto _ : state) benchmark::DoNotOptimize(renderer.Render(strip.time));
    state.SetItemsProcessed(state.iterations() * items);
  };
}

/// As many values of the brush's position, straight from the controls.
bench::Loop Values(const Strip& strip, std::int64_t count) {
  return [=](benchmark::State& state) {
    const hosting::ControlTracks& controls = strip.setup.controls;
    const double seconds = strip.setup.time.Seconds(strip.time);
    const int index = controls.Control("Brush Position").index;
    for (auto _ : state) {
      for (std::int64_t i = 0; i < count; ++i) {
        const double at = seconds * static_cast<double>(i) / static_cast<double>(count);
        benchmark::DoNotOptimize(controls.At(index, at, 1, 1));
      }
    }
    state.SetItemsProcessed(state.iterations() * count);
  };
}

void Strokes() {
  const Strip drawn = StripOf(60, true);
  const std::int64_t read_outs = ReadOuts(drawn);
  bench::Pair(std::to_string(read_outs) + " read-outs", Rendering(drawn, read_outs),
              std::to_string(read_outs) + " values", Values(drawn, read_outs), false);
  const Strip slices = StripOf(900, false);
  const std::int64_t values = ReadOuts(slices);
  bench::Pair("900 slices", Rendering(slices, 900), std::to_string(values) + " values",
              Values(slices, values), false);
  bench::Pair("90000 slices, 3000 s", Rendering(StripOf(90000, false), 90000), "900 slices",
              Rendering(slices, 900), false);
}

}  // namespace

int main(int argc, char** argv) {
  Keyframes();
  Strokes();
  return bench::RunMain(argc, argv);
}
