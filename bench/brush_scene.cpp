#include "brush_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <numbers>

namespace bench {
namespace {

using hosting::Picture;
using hosting::Point;

constexpr double kFramesPerSecond = 30;

/// Slow gradients under fine noise, opaque.
std::shared_ptr<const Picture> MakePicture(int width, int height) {
  std::vector<std::uint8_t> pixels;
  pixels.reserve(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  std::uint32_t random = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      random = random * 1664525u + 1013904223u;
      const auto noise = static_cast<int>(random >> 27);
      const auto channel = [](int v) { return static_cast<std::uint8_t>(v); };
      pixels.insert(pixels.end(), {channel(x * 200 / width + noise),
                                   channel(y * 200 / height + noise), channel(noise * 7), 255});
    }
  }
  return std::make_shared<const Picture>(width, height, std::move(pixels));
}

const std::shared_ptr<const Picture>& PictureOf(int width, int height) {
  static std::map<std::array<int, 2>, std::shared_ptr<const Picture>> pictures;
  auto& picture = pictures[{width, height}];
  if (!picture) picture = MakePicture(width, height);
  return picture;
}

/// Keys at every frame: about a tenth of the layer's width lies between two of them.
hosting::Track<Point> Path(const BrushScene& scene) {
  const double height = scene.height;
  const auto at = [&](double frame) {
    const double turn = frame * 0.5;
    return Point{scene.width / 2.0 + 0.34 * height * std::cos(turn),
                 scene.height / 2.0 + 0.25 * height * std::sin(turn * 1.07)};
  };
  std::vector<hosting::Key<Point>> keys;
  for (int frame = 0; frame <= scene.brush_frames; ++frame) {
    keys.push_back({.seconds = frame / kFramesPerSecond, .value = at(frame)});
  }
  return hosting::Track<Point>(std::move(keys));
}

/// Parallel lights from all over the half sphere before the layer.
void AddLights(hosting::Composition& composition, int count) {
  for (int i = 0; i < count; ++i) {
    const double toward = 1.0 - 0.7 * (i + 0.5) / count;
    const double aside = std::sqrt(1.0 - toward * toward);
    hosting::Layer layer{hosting::Layer::Kind::kLight, "Light", true, {}, {}};
    layer.light.kind = hosting::LightKind::kParallel;
    layer.light.position = hosting::Track<hosting::Vec3>(
        {1000 * aside * std::cos(i * 2.4), 1000 * aside * std::sin(i * 2.4), -1000 * toward});
    layer.light.target = hosting::Track<hosting::Vec3>(hosting::Vec3{});
    composition.AddLight(std::move(layer));
  }
}

}  // namespace

const hosting::Effect& TheEffect() {
  static const hosting::Effect effect{std::filesystem::path(VORLIN_EFFECT)};
  return effect;
}

hosting::Setup SetupOf(const BrushScene& scene) {
  hosting::Setup setup;
  setup.width = scene.width;
  setup.height = scene.height;
  const auto picture = PictureOf(scene.width, scene.height);
  if (scene.still) {
    setup.picture = [picture](std::int64_t) { return picture; };
  } else {
    // The same pixels, but the renderer sees another picture: two that alternate.
    const auto other = std::make_shared<const Picture>(*picture);
    setup.picture = [picture, other](std::int64_t frame) {
      return frame % 2 == 0 ? picture : other;
    };
  }
  setup.controls = hosting::ControlTracks(TheEffect().controls(), scene.width, scene.height);
  if (!scene.at_rest) setup.controls.Set("Brush Position", Path(scene));
  setup.controls.Set("Stroke Width", hosting::Track<double>(scene.stroke_width));
  if (scene.lights > 1) {
    setup.controls.Set("Using", hosting::Track<int>(2));
    AddLights(setup.composition, scene.lights);
  }
  return setup;
}

A_long ShownTime(const BrushScene& scene, const hosting::Setup& setup) {
  return setup.time.FrameTime(scene.brush_frames);
}

Amounts AmountsOf(const BrushScene& scene, const hosting::RenderOptions& options) {
  const hosting::Setup setup = SetupOf(scene);
  const int width_control = setup.controls.Control("Stroke Width").index;
  Amounts work;
  hosting::RenderOptions counting = options;
  counting.high_quality = false;
  counting.depth = hosting::Depth::k8;
  counting.observer = [&](const hosting::Call& call) -> PF_Err {
    if (call.kind == hosting::CallKind::kCheckoutParam &&
        std::get<std::int64_t>(call.arguments[0].value) == width_control) {
      ++work.samples;
    }
    return PF_Err_NONE;
  };
  const hosting::Frame frame =
      hosting::Renderer(TheEffect(), setup, counting).Render(ShownTime(scene, setup));
  for (int y = 0; y < frame.picture.height(); ++y) {
    const PF_Pixel* const row = frame.picture.Row<PF_Pixel>(y);
    work.covered_pixels += static_cast<double>(std::count_if(
        row, row + frame.picture.width(), [](const PF_Pixel& p) { return p.alpha > 0; }));
  }
  const double radius = scene.stroke_width * std::hypot(scene.width, scene.height) / 500;
  work.blob_cells = work.samples * std::numbers::pi * radius * radius;
  return work;
}

std::vector<hosting::SampleBox> StrokeBoxes(const BrushScene& scene) {
  std::vector<hosting::SampleBox> boxes;
  hosting::RenderOptions options;
  options.threads = 1;
  options.observer = [&](const hosting::Call& call) -> PF_Err {
    if (call.kind == hosting::CallKind::kAreaSample8) {
      const auto fixed = [&](std::size_t i) {
        return static_cast<PF_Fixed>(std::get<double>(call.arguments[i].value) * 65536);
      };
      boxes.push_back({fixed(0), fixed(1), fixed(2), fixed(3)});
    }
    return PF_Err_NONE;
  };
  const hosting::Setup setup = SetupOf(scene);
  hosting::Renderer(TheEffect(), setup, options).Render(ShownTime(scene, setup));
  return boxes;
}

}  // namespace bench
