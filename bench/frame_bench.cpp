// Whole frames as a renderer makes them: each against the default frame with one thing changed, and
// series in which the work grows.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "brush_scene.h"
#include "ratios.h"

namespace {

using bench::BrushScene;
using hosting::Depth;
using hosting::RenderOptions;

struct Frame {
  BrushScene scene;
  RenderOptions options;
};

bench::MakeWork Rendering(const Frame& frame) {
  return [=]() -> bench::Work {
    const auto renderer = std::make_shared<hosting::Renderer>(
        bench::TheEffect(), bench::SetupOf(frame.scene), frame.options);
    const A_long time = bench::ShownTime(frame.scene, renderer->setup());
    // A layer that moves has another picture in every other frame.
    const A_long step = frame.scene.still ? 0 : renderer->setup().time.step();
    renderer->Render(time);  // prepares what frames share
    return [=, frames = 0]() mutable {
      benchmark::DoNotOptimize(renderer->Render(time - frames++ % 2 * step));
    };
  };
}

void SetSize(Frame& frame, int height) {
  frame.scene.width = height * 16 / 9;
  frame.scene.height = height;
}

struct Change {
  std::string name;
  std::function<void(Frame&)> make;
};

const Change kChanges[] = {
    {"720p", [](Frame& f) { SetSize(f, 720); }},
    {"4K", [](Frame& f) { SetSize(f, 2160); }},
    {"8K", [](Frame& f) { SetSize(f, 4320); }},
    {"15 frames of brush", [](Frame& f) { f.scene.brush_frames = 15; }},
    {"240 frames of brush", [](Frame& f) { f.scene.brush_frames = 240; }},
    {"960 frames of brush", [](Frame& f) { f.scene.brush_frames = 960; }},
    {"16 bits", [](Frame& f) { f.options.depth = Depth::k16; }},
    {"float", [](Frame& f) { f.options.depth = Depth::k32; }},
    {"low quality", [](Frame& f) { f.options.high_quality = false; }},
    {"5 lights", [](Frame& f) { f.scene.lights = 5; }},
    {"19 lights", [](Frame& f) { f.scene.lights = 19; }},
    {"moving layer", [](Frame& f) { f.scene.still = false; }},
    {"brush at rest", [](Frame& f) { f.scene.at_rest = true; }},
};

void Changes() {
  Frame one_thread;
  one_thread.options.threads = 1;
  for (const int threads : {1, 0}) {
    Frame plain;
    plain.options.threads = threads;
    const std::string by = threads == 1 ? ", 1 thread" : ", all threads";
    if (threads != 1) {
      bench::Pair("default frame, all threads/1 thread", 1, bench::Ratio::kTimesFaster,
                  Rendering(plain), Rendering(one_thread));
    }
    for (const Change& change : kChanges) {
      Frame changed = plain;
      change.make(changed);
      bench::Pair(change.name + "/default frame" + by, 1, bench::Ratio::kTimesItsTime,
                  Rendering(changed), Rendering(plain));
    }
  }
}

/// Frames whose names tell how many times the first one's work they do: the largest of the growths
/// of covered pixels, blob cells and samples. Time must not grow faster.
void Series(const std::string& name, const std::vector<double>& steps,
            void (*make)(Frame&, double)) {
  const auto frame_of = [&](double step) {
    Frame frame;
    frame.options.threads = 1;
    make(frame, step);
    return frame;
  };
  char text[64];
  const auto named = [&](double step) {
    std::snprintf(text, sizeof text, "%s %g", name.c_str(), step);
    return std::string(text);
  };
  const Frame first = frame_of(steps.front());
  const bench::Amounts base = bench::AmountsOf(first.scene);
  for (std::size_t i = 1; i < steps.size(); ++i) {
    const Frame frame = frame_of(steps[i]);
    const bench::Amounts work = bench::AmountsOf(frame.scene);
    const double growth =
        std::max({work.covered_pixels / base.covered_pixels, work.blob_cells / base.blob_cells,
                  work.samples / base.samples});
    char growth_text[64];
    std::snprintf(growth_text, sizeof growth_text, ", %.1f times the work", growth);
    const std::string subject = named(steps[i]);
    bench::Pair(subject + "/" + named(steps.front()) + growth_text, 1, bench::Ratio::kTimesItsTime,
                Rendering(frame), Rendering(first));
  }
}

}  // namespace

int main(int argc, char** argv) {
  Changes();
  Series("brush frames", {15, 30, 60, 120, 240, 960},
         [](Frame& f, double frames) { f.scene.brush_frames = static_cast<int>(frames); });
  Series("stroke width", {2, 4, 8, 16, 32, 64},
         [](Frame& f, double width) { f.scene.stroke_width = width; });
  Series("height", {540, 1080, 2160},
         [](Frame& f, double height) { SetSize(f, static_cast<int>(height)); });
  return bench::RunMain(argc, argv);
}
