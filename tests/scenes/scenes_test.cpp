// The example scenes look the same at half resolution, with wide pixels and at other frame rates.
#include <gtest/gtest.h>

#include <cmath>

#include "hosting/render.h"
#include "layer_source.h"
#include "over.h"
#include "scene.h"

namespace {

using namespace hosting;

const Effect& TheEffect() {
  static const Effect effect{std::filesystem::path(EFFECT)};
  return effect;
}

app::Scene Read(const std::string& name) {
  return app::ReadScene(std::filesystem::path(SCENES) / name, TheEffect(), app::OpenLayer);
}

/// The stroke over its layer at that time, and the stroke alone.
struct Rendered {
  Picture over;
  Picture stroke;
};

Rendered RenderAt(const Setup& setup, double seconds, Rational x = {}, Rational y = {}) {
  RenderOptions options;
  options.downsample_x = x;
  options.downsample_y = y;
  Renderer renderer(TheEffect(), setup, options);
  Frame frame = renderer.Render(setup.time.Time(seconds));
  const Picture stroke(frame.picture, Depth::k8);
  app::PutOver(frame.picture, *frame.layer);
  return {Picture(frame.picture, Depth::k8), stroke};
}

const std::vector<std::uint8_t>& Bytes(const Picture& picture) {
  return std::get<std::vector<std::uint8_t>>(picture.pixels());
}

Picture Reduced(const Picture& picture, Rational x, Rational y) {
  return {picture.ToWorld(Depth::k8, x, y), Depth::k8};
}

double MeanDifference(const Picture& a, const Picture& b) {
  const auto& p = Bytes(a);
  const auto& q = Bytes(b);
  if (p.size() != q.size()) return 255;
  double sum = 0;
  for (std::size_t i = 0; i < p.size(); ++i) sum += std::abs(p[i] - q[i]);
  return sum / static_cast<double>(p.size());
}

/// The part of the picture that the stroke covers.
double Covered(const Picture& stroke) {
  const auto& bytes = Bytes(stroke);
  double sum = 0;
  for (std::size_t i = 3; i < bytes.size(); i += 4) sum += bytes[i];
  return sum / 255 / static_cast<double>(bytes.size() / 4);
}

class Scenes : public testing::TestWithParam<const char*> {};

TEST_P(Scenes, LookTheSameAtHalfResolution) {
  const app::Scene scene = Read(GetParam());
  const Rational half(1, 2);
  const Rendered whole = RenderAt(scene.setup, 2);
  const Rendered reduced = RenderAt(scene.setup, 2, half, half);
  EXPECT_GT(Covered(whole.stroke), 0.03);
  EXPECT_LT(MeanDifference(Reduced(whole.over, half, half), reduced.over), 2);
}

/// The scene on a layer of half as many columns, each twice as wide.
Setup WithWidePixels(Setup setup) {
  const Rational half(1, 2);
  const auto narrow = std::make_shared<Picture>(Reduced(*setup.picture(0), half, {}));
  setup.picture = [narrow](std::int64_t) { return narrow; };
  setup.width = narrow->width();
  setup.pixel_aspect = Rational(2, 1);
  const auto squeezed = [](Point p) { return Point{p.x / 2, p.y}; };
  for (const ControlInfo& control : setup.controls.controls()) {
    const auto* track = std::get_if<Track<Point>>(&setup.controls.TrackOf(control.index));
    if (control.type != ControlType::kPoint || track == nullptr) continue;
    std::vector<Key<Point>> keys = track->keys();
    for (Key<Point>& key : keys) {
      key.value = squeezed(key.value);
      key.in_tangent = squeezed(key.in_tangent);
      key.out_tangent = squeezed(key.out_tangent);
    }
    setup.controls.Set(control.index, Track<Point>(std::move(keys)));
  }
  return setup;
}

TEST_P(Scenes, LookTheSameWithPixelsTwiceAsWide) {
  const app::Scene scene = Read(GetParam());
  const Rendered square = RenderAt(scene.setup, 2);
  const Rendered wide = RenderAt(WithWidePixels(scene.setup), 2);
  EXPECT_LT(MeanDifference(Reduced(square.over, {1, 2}, {}), wide.over), 2);
}

TEST_P(Scenes, LookTheSameAtOtherRatesAndStarts) {
  const app::Scene scene = Read(GetParam());
  const Rendered expected = RenderAt(scene.setup, 2);
  const TimeBase ntsc{Rational(30000, 1001)};
  const TimeBase slower_layer{Rational(30, 1), Rational(24, 1)};
  for (const TimeBase& time : {ntsc, slower_layer}) {
    hosting::Setup setup = scene.setup;
    setup.time = time;
    // Frames of another length end elsewhere: the stroke's tip differs by less than a frame's way.
    EXPECT_LT(MeanDifference(RenderAt(setup, 2).over, expected.over), 3) << time.step();
  }
  hosting::Setup late = scene.setup;
  late.layer_start = late.time.FrameTime(45);
  for (Layer& layer : late.composition.layers) layer.span = {};
  if (late.composition.layers.size() == 1) {  // composition lights keep their own time
    EXPECT_EQ(Bytes(RenderAt(late, 3.5).over), Bytes(expected.over));
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, Scenes, testing::Values("ribbon.json", "wobble.json", "stage.json"), [](const auto& info) {
      return std::string(info.param).substr(0, std::string(info.param).find('.'));
    });

}  // namespace
