// Whole frames as a renderer makes them, each against the frame that differs from it in one thing.

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

bench::Loop Rendering(const Frame& frame) {
  return [=](benchmark::State& state) {
    const hosting::Setup setup = bench::SetupOf(frame.scene);
    hosting::Renderer renderer(bench::TheEffect(), setup, frame.options);
    A_long time = bench::ShownTime(frame.scene, setup);
    benchmark::DoNotOptimize(renderer.Render(time));  // prepares what frames share
    for (auto _ : state) benchmark::DoNotOptimize(renderer.Render(time));
  };
}

struct Row {
  std::string name;
  std::function<void(Frame&)> change;
};

const Row kRows[] = {
    {"720p", [](Frame& f) { f.scene.width = 1280, f.scene.height = 720; }},
    {"4K", [](Frame& f) { f.scene.width = 3840, f.scene.height = 2160; }},
    {"16 bits", [](Frame& f) { f.options.depth = Depth::k16; }},
    {"float", [](Frame& f) { f.options.depth = Depth::k32; }},
    {"low quality", [](Frame& f) { f.options.high_quality = false; }},
    {"5 lights", [](Frame& f) { f.scene.lights = 5; }},
    {"19 lights", [](Frame& f) { f.scene.lights = 19; }},
    {"brush at rest", [](Frame& f) { f.scene.at_rest = true; }},
};

}  // namespace

int main(int argc, char** argv) {
  for (const int threads : {1, 2}) {
    const std::string by = ", " + std::to_string(threads) + " thread" + (threads > 1 ? "s" : "");
    Frame plain;
    plain.options.threads = threads;
    if (threads > 1) { Frame one; one.options.threads = 1; bench::Pair("default" + by, Rendering(plain), "default, 1 thread", Rendering(one)); }
    for (const Row& row : kRows) {
      Frame changed = plain;
      row.change(changed);
      bench::Pair(row.name + by, Rendering(changed), "default" + by, Rendering(plain), false);
    }
  }
  return bench::RunMain(argc, argv);
}
