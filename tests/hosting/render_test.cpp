// Frames of the built effect: what must not change them, and what must.
#include "hosting/render.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 90;

using Change = std::function<void(Scene&, RenderOptions&)>;

const Effect& TheEffect() {
  static const Effect effect{std::filesystem::path(VORLIN_EFFECT)};
  return effect;
}

/// Smooth colours, so that a small shift changes little.
Picture Colours(int width, int height) {
  std::vector<std::uint16_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto wave = [&](double phase) {
        return static_cast<std::uint16_t>(
            32767 * (1 + std::sin(x * 6.0 / width + y * 4.0 / height + phase)));
      };
      pixels.insert(pixels.end(), {wave(0), wave(2), wave(4), 65535});
    }
  }
  return {width, height, pixels};
}

/// A curved stroke of a second over a layer that many times as large, and squeezed so that its
/// pixels are that many times as wide as high.
Scene StrokeSetup(int size = 1, int aspect = 1) {
  Scene setup;
  setup.width = size * kWidth / aspect;
  setup.height = size * kHeight;
  setup.pixel_aspect = Rational(aspect, 1);
  setup.picture = Still(Picture(
      Colours(size * kWidth, setup.height).ToWorld(Depth::k16, Rational(1, aspect)), Depth::k16));
  setup.controls = ControlTracks(TheEffect().controls(), setup.width, setup.height);
  const auto at = [&](double x, double y) { return Point{x * size / aspect, y * size}; };
  setup.controls.Set(
      "Brush Position",
      Track<Point>({{.seconds = 0, .value = at(20, 70), .out_tangent = at(40, -90)},
                    {.seconds = 1, .value = at(140, 25), .in_tangent = at(-30, 60)}}));
  setup.controls.Set("Stroke Width", Track<double>(20.0));
  return setup;
}

Frame RenderFrame(Scene setup, const Change& change = {}, std::int64_t frame = 25) {
  RenderOptions options;
  if (change) change(setup, options);
  const A_long time = setup.time.FrameTime(frame);
  return Renderer(TheEffect(), std::move(setup), options).Render(time);
}

/// The picture's rows without their padding.
std::string Bytes(const World& world) {
  std::string bytes;
  for (int y = 0; y < world.height(); ++y) {
    bytes.append(reinterpret_cast<const char*>(world.RowBytes(y)),
                 static_cast<std::size_t>(world.width()) * PixelSize(world.depth()));
  }
  return bytes;
}

std::vector<std::uint8_t> Eight(const World& world) {
  return std::get<0>(Picture(world, Depth::k8).pixels());
}

/// The share of pixels that are not transparent.
double Covered(const World& world) {
  const std::vector<std::uint8_t> channels = Eight(world);
  double count = 0;
  for (std::size_t i = 3; i < channels.size(); i += 4) count += channels[i] > 0;
  return count * 4 / static_cast<double>(channels.size());
}

/// Mean difference of premultiplied channels, of 255.
double MeanDifference(const World& a, const World& b) {
  const std::vector<std::uint8_t> u = Eight(a);
  const std::vector<std::uint8_t> v = Eight(b);
  EXPECT_EQ(u.size(), v.size());
  double sum = 0;
  for (std::size_t i = 0; i < u.size(); ++i) {
    const std::size_t alpha = i | 3;
    const double x = i == alpha ? u[i] : u[i] * u[alpha] / 255.0;
    const double y = i == alpha ? v[i] : v[i] * v[alpha] / 255.0;
    sum += std::abs(x - y);
  }
  return sum / static_cast<double>(u.size());
}

TEST(Render, GivesTheSameBytesHoweverItIsRun) {
  const std::pair<const char*, Change> changes[]{
      {"all threads", [](Scene&, RenderOptions& o) { o.threads = 0; }},
      {"3 threads", [](Scene&, RenderOptions& o) { o.threads = 3; }},
      {"8 threads", [](Scene&, RenderOptions& o) { o.threads = 8; }},
      {"classic", [](Scene&, RenderOptions& o) { o.smart = false; }},
      {"bottom up",
       [](Scene&, RenderOptions& o) {
         o.layout = {4, true, true};
       }},
      {"page-aligned",
       [](Scene&, RenderOptions& o) {
         o.layout = {4096, false, true};
       }},
      {"observed",
       [](Scene&, RenderOptions& o) { o.observer = [](const Call&) -> PF_Err { return 0; }; }},
  };
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    const auto render = [&](const Change& change) {
      return Bytes(RenderFrame(StrokeSetup(), [&](Scene& s, RenderOptions& o) {
                     o.depth = depth;
                     o.threads = 1;
                     if (change) change(s, o);
                   }).picture);
    };
    const std::string expected = render({});
    for (const auto& [what, change] : changes) {
      EXPECT_TRUE(render(change) == expected) << what << ", depth " << static_cast<int>(depth);
    }
  }
}

TEST(Render, AFrameStandsAlone) {
  Scene setup = StrokeSetup();
  setup.controls.Set("Paint Style", Track<int>(2));
  Renderer renderer(TheEffect(), setup, {});
  std::string last;
  for (const int frame : {3, 10, 30, 25})
    last = Bytes(renderer.Render(setup.time.FrameTime(frame)).picture);
  EXPECT_TRUE(last == Bytes(RenderFrame(setup).picture));
}

void LightByPoint(Scene& setup, RenderOptions&) { setup.controls.Set("Light Type", Track<int>(2)); }

/// A point light and an ambient one, as the effect's own are.
void LightByComposition(Scene& setup, const Vec3& position) {
  setup.controls.Set("Using", Track<int>(2));
  for (const LightKind kind : {LightKind::kPoint, LightKind::kAmbient}) {
    Layer layer{Layer::Kind::kLight, "Light", true, {}, {}};
    layer.light.kind = kind;
    layer.light.position = position;
    setup.composition.AddLight(layer);
  }
}

TEST(Regions, AreCropsOfTheWhole) {
  const Change lights[]{{},
                        LightByPoint,
                        [](Scene& s, RenderOptions&) {
                          LightByComposition(s, {30, 20, -50});
                        },
                        [](Scene& s, RenderOptions& o) {
                          LightByPoint(s, o);
                          o.downsample_x = Rational(1, 2);
                        }};
  const PF_LRect rects[] = {{0, 0, kWidth, kHeight}, {40, 20, 100, 70},    {-30, -10, 50, 40},
                            {60, 50, 500, 400},      {57, 40, 58, 41},     {0, 0, 0, 0},
                            {500, 0, 600, 50},       {90, 60, 20, 10},     {-5, 30, 400, 31},
                            {-90, -90, -10, -10},    {-20, -20, 200, 200}, {60, 50, 60, 70}};
  for (const Change& light : lights) {
    for (const bool smart : {true, false}) {
      const auto render = [&](std::optional<PF_LRect> region) {
        return RenderFrame(StrokeSetup(), [&](Scene& s, RenderOptions& o) {
          if (light) light(s, o);
          o.smart = smart;
          o.region = region;
          o.keep_worlds = true;
        });
      };
      const Frame whole = render({});
      ASSERT_GT(Covered(whole.picture), 0.1);
      for (const PF_LRect& rect : rects) {
        const Frame part = render(rect);
        const bool empty = rect.left >= rect.right || rect.top >= rect.bottom;
        World expected(empty ? 0 : rect.right - rect.left, empty ? 0 : rect.bottom - rect.top,
                       Depth::k8);
        expected.SetOrigin(rect.left, rect.top);
        expected.Clear();
        CopyOverlap(whole.picture, expected);
        const PF_LRect lies = part.picture.rect();
        const PF_LRect asked = expected.rect();
        ASSERT_EQ(std::memcmp(&lies, &asked, sizeof rect), 0);
        EXPECT_TRUE(Bytes(part.picture) == Bytes(expected)) << rect.left << ", " << rect.top;
        EXPECT_TRUE(Bytes(part.worlds.at(0)) == Bytes(whole.worlds.at(0)));
      }
    }
  }
}

TEST(Downsampling, LooksLikeTheReducedWhole) {
  const Picture whole(RenderFrame(StrokeSetup(4)).picture, Depth::k8);
  const struct {
    Rational x;
    Rational y;
    double limit;  // of 255: a reduced buffer lies half a pixel elsewhere
  } cases[] = {{{1, 2}, {1, 2}, 2}, {{1, 3}, {1, 3}, 3}, {{1, 2}, {1, 1}, 2}, {{2, 3}, {1, 2}, 2}};
  for (const auto& c : cases) {
    const World reduced = RenderFrame(StrokeSetup(4), [&](Scene&, RenderOptions& o) {
                            o.downsample_x = c.x;
                            o.downsample_y = c.y;
                          }).picture;
    EXPECT_LT(MeanDifference(reduced, whole.ToWorld(Depth::k8, c.x, c.y)), c.limit)
        << c.x.Text() << ", " << c.y.Text();
  }
}

TEST(PixelAspect, IsTheStretchedPictureOfSquarePixels) {
  const Picture square(RenderFrame(StrokeSetup(4)).picture, Depth::k8);
  const World wide = RenderFrame(StrokeSetup(4, 2)).picture;
  EXPECT_LT(MeanDifference(wide, square.ToWorld(Depth::k8, Rational(1, 2))), 2);
  EXPECT_GT(Covered(wide), 0.1);
}

TEST(PixelAspect, MeansTheSameForLightsOfTheCompositionAndOfTheEffect) {
  const struct {
    Rational aspect;
    Rational downsample_x;
    Rational downsample_y;
    double x;  // of the light, in layer pixels
    int most;  // difference of a channel; ratios that are no powers of two round
  } cases[] = {{{1, 1}, {1, 1}, {1, 1}, 30, 0},  {{2, 1}, {1, 1}, {1, 1}, 30, 0},
               {{2, 1}, {1, 1}, {1, 1}, 130, 0}, {{2, 1}, {1, 2}, {1, 2}, 30, 0},
               {{1, 2}, {1, 2}, {1, 1}, 130, 0}, {{10, 11}, {1, 3}, {2, 3}, 100.25, 1}};
  for (const auto& c : cases) {
    const auto render = [&](const Change& light) {
      return RenderFrame(StrokeSetup(),
                         [&](Scene& s, RenderOptions& o) {
                           s.pixel_aspect = c.aspect;
                           o.downsample_x = c.downsample_x;
                           o.downsample_y = c.downsample_y;
                           light(s, o);
                         })
          .picture;
    };
    const World own = render([&](Scene& s, RenderOptions& o) {
      LightByPoint(s, o);
      s.controls.Set("Light Position", Track(Point{c.x, 20}));
      s.controls.Set("Light Height", Track(50.0));
    });
    // "Light Height" is in percent of the mean of the layer's sides.
    const auto lit_at = [&](double x) {
      const double height = 0.5 * (kWidth * c.aspect.value() + kHeight) / 2;
      return render([&](Scene& s, RenderOptions&) { LightByComposition(s, {x, 20, -height}); });
    };
    const std::vector<std::uint8_t> expected = Eight(own);
    const std::vector<std::uint8_t> lit = Eight(lit_at(c.x));
    int most = 0;
    for (std::size_t i = 0; i < lit.size(); ++i) {
      most = std::max(most, std::abs(lit[i] - expected[i]));
    }
    EXPECT_LE(most, c.most) << c.aspect.Text() << ", x " << c.x;
    EXPECT_GT(Covered(own), 0.05);
    EXPECT_FALSE(Bytes(lit_at(c.x + 8)) == Bytes(own));  // the place matters
  }
}

TEST(Time, AStartOfTheLayerMovesEverythingWithIt) {
  const std::string expected = Bytes(RenderFrame(StrokeSetup()).picture);
  for (const int start : {100, -20}) {
    const auto late = [&](Scene& s, RenderOptions&) { s.layer_start = s.time.FrameTime(start); };
    EXPECT_TRUE(Bytes(RenderFrame(StrokeSetup(), late, 25 + start).picture) == expected) << start;
  }
}

TEST(Time, OutsideItsSpanTheLayerIsNotThere) {
  const auto there = [](Scene& s, RenderOptions&) { s.composition.EffectLayer().span = {0.5, 1}; };
  for (const int frame : {14, 15, 29, 30}) {
    const Frame shown = RenderFrame(StrokeSetup(), there, frame);
    const bool expected = frame >= 15 && frame < 30;
    EXPECT_EQ(Covered(shown.picture) > 0, expected) << frame;
    EXPECT_EQ(shown.layer != nullptr, expected) << frame;
  }
}

TEST(Time, FramesOfTheLayerFollowItsOwnRate) {
  Scene setup = StrokeSetup();
  setup.time = TimeBase(Rational(30, 1), Rational(24, 1));
  std::vector<std::int64_t> asked;
  setup.picture = [&, still = setup.picture(0)](std::int64_t frame) {
    asked.push_back(frame);
    return still;
  };
  Renderer renderer(TheEffect(), setup, {});
  const World* first = nullptr;
  for (const int frame : {-1, 0, 1, 2, 5, 29, 30}) {
    const Frame rendered = renderer.Render(setup.time.FrameTime(frame));
    // The same picture is prepared once.
    EXPECT_EQ(rendered.layer.get(), first == nullptr ? rendered.layer.get() : first);
    first = rendered.layer.get();
  }
  // 30 frames a second over 24: floor(frame * 0.8).
  EXPECT_EQ(asked, (std::vector<std::int64_t>{-1, 0, 0, 1, 4, 23, 24}));
}

TEST(Renderer, RefusesImpossibleSetups) {
  using S = Scene&;
  using O = RenderOptions&;
  const std::pair<const char*, Change> cases[]{
      {"0 x 90", [](S s, O) { s.width = 0; }},
      {"has 160 x 90 pixels, the layer 161 x 90", [](S s, O) { s.width = 161; }},
      {"no picture", [](S s, O) { s.picture = nullptr; }},
      {"no picture for its frame 25",
       [](S s, O) { s.picture = [](std::int64_t) { return nullptr; }; }},
      {"not this effect's", [](S s, O) { s.controls = {}; }},
      {"aspect", [](S s, O) { s.pixel_aspect = Rational(-1, 1); }},
      {"effect's layer", [](S s, O) { s.composition.layers.clear(); }},
      {"negative", [](S, O o) { o.threads = -1; }},
      {"not at 2", [](S, O o) { o.downsample_x = Rational(2, 1); }},
      {"aligned", [](S, O o) { o.layout.alignment = 3; }},
      {"32 bits", [](S s, O) { s.layer_start = std::numeric_limits<A_long>::min(); }},
  };
  for (const auto& [said, change] : cases) {
    EXPECT_REFUSED(RenderFrame(StrokeSetup(), change), said);
  }
}

TEST(Progress, CancelsInEitherPass) {
  for (const int threads : {1, 4}) {
    for (const int after : {1, 10, 25, 30}) {
      int calls = 0;
      const auto cancelling = [&](Scene&, RenderOptions& o) {
        o.threads = threads;
        o.region = PF_LRect{40, 20, 100, 70};
        o.progress = [&](A_long current, A_long total) {
          EXPECT_LE(current, total);
          return ++calls < after;
        };
      };
      try {
        RenderFrame(StrokeSetup(), cancelling);
        ADD_FAILURE() << "not cancelled";
      } catch (const EffectError& error) {
        EXPECT_TRUE(error.cancelled()) << error.what();
        EXPECT_EQ(error.command(), PF_Cmd_SMART_RENDER);
        EXPECT_EQ(calls, after);
      }
    }
  }
}

}  // namespace
}  // namespace hosting
