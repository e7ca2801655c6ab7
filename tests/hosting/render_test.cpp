// Frames of the built effect: what must not change them, and what must.
#include "hosting/render.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 90;

const Effect& TheEffect() {
  static const Effect effect{std::filesystem::path(VORLIN_EFFECT)};
  return effect;
}

/// Smooth colours, so that a small shift changes little.
Picture Colours(int width = kWidth, int height = kHeight) {
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

/// A curved stroke over one second.
Scene StrokeSetup(const TimeBase& time = TimeBase()) {
  Scene setup;
  setup.time = time;
  setup.width = kWidth;
  setup.height = kHeight;
  setup.picture = Still(Colours());
  setup.controls = ControlTracks(TheEffect().controls(), kWidth, kHeight);
  setup.controls.Set("Brush Position",
                     Track<Point>({{.seconds = 0, .value = {20, 70}, .out_tangent = {40, -90}},
                                   {.seconds = 1, .value = {140, 25}, .in_tangent = {-30, 60}}}));
  setup.controls.Set("Stroke Width", Track<double>(20.0));
  return setup;
}

Frame RenderFrame(const Scene& setup, const RenderOptions& options = {}, std::int64_t frame = 25) {
  return Renderer(TheEffect(), setup, options).Render(setup.time.FrameTime(frame));
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

/// The share of pixels that are not transparent.
double Covered(const World& world) {
  const Picture picture(world, Depth::k8);
  const auto& channels = std::get<0>(picture.pixels());
  double count = 0;
  for (std::size_t i = 3; i < channels.size(); i += 4) count += channels[i] > 0;
  return count * 4 / static_cast<double>(channels.size());
}

/// Mean difference of premultiplied channels, of 255.
double MeanDifference(const Picture& a, const Picture& b) {
  const auto& u = std::get<0>(a.pixels());
  const auto& v = std::get<0>(b.pixels());
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
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    RenderOptions options;
    options.depth = depth;
    options.threads = 1;
    const std::string expected = Bytes(RenderFrame(StrokeSetup(), options).picture);
    const auto same = [&](auto change, const char* what) {
      RenderOptions changed = options;
      change(changed);
      EXPECT_EQ(Bytes(RenderFrame(StrokeSetup(), changed).picture) == expected, true)
          << what << " at depth " << static_cast<int>(depth);
    };
    for (const int threads : {0, 2, 3, 8}) {
      same([&](RenderOptions& o) { o.threads = threads; }, "threads");
    }
    same([](RenderOptions& o) { o.smart = false; }, "classic");
    same([](RenderOptions& o) { o.layout = {4, true, true}; }, "bottom up, badly aligned, guarded");
    same([](RenderOptions& o) { o.layout = {4096, false, true}; }, "page-aligned, guarded");
    same([](RenderOptions& o) { o.observer = [](const Call&) -> PF_Err { return 0; }; },
         "observed");
    same([](RenderOptions& o) { o.interface_version = {12, 10}; }, "an older host");
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

TEST(Render, DepthsAgree) {
  const auto eight = [](Depth depth) {
    RenderOptions options;
    options.depth = depth;
    return Picture(RenderFrame(StrokeSetup(), options).picture, Depth::k8);
  };
  const Picture a = eight(Depth::k8);
  for (const Depth depth : {Depth::k16, Depth::k32}) {
    const Picture b = eight(depth);
    const auto& u = std::get<0>(a.pixels());
    const auto& v = std::get<0>(b.pixels());
    for (std::size_t i = 0; i < u.size(); ++i) {
      // The layer itself is rounded at 8 bits, then shaded and cut off: two steps at most.
      ASSERT_LE(std::abs(u[i] - v[i]), 2) << i;
    }
  }
}

TEST(Regions, AreTheirPartOfTheWhole) {
  const World whole = RenderFrame(StrokeSetup()).picture;
  const PF_LRect rects[] = {{0, 0, kWidth, kHeight}, {40, 20, 100, 70}, {-30, -10, 50, 40},
                            {100, 50, 500, 400},     {77, 40, 78, 41},  {0, 0, 0, 0},
                            {60, 50, 60, 70},        {500, 0, 600, 50}, {-90, -90, -10, -10},
                            {90, 60, 20, 10},        {-5, 30, 400, 31}, {-200, -200, 900, 900}};
  for (const bool smart : {true, false}) {
    for (const PF_LRect& rect : rects) {
      RenderOptions options;
      options.region = rect;
      options.smart = smart;
      options.layout.guards = true;
      const World part = RenderFrame(StrokeSetup(), options).picture;
      const bool empty = rect.left >= rect.right || rect.top >= rect.bottom;
      ASSERT_EQ(part.width(), empty ? 0 : rect.right - rect.left);
      ASSERT_EQ(part.height(), empty ? 0 : rect.bottom - rect.top);
      EXPECT_EQ(part.record().origin_x, rect.left);
      World expected(part.width(), part.height(), Depth::k8);
      expected.SetOrigin(rect.left, rect.top);
      expected.Clear();
      CopyOverlap(whole, expected);
      // The stroke's edge looks at the pixels above and to the left, which a part does not have:
      // leave its first row and column out where they lie on the layer.
      for (int y = rect.top > 0 && smart ? 1 : 0; y < part.height(); ++y) {
        for (int x = rect.left > 0 && smart ? 1 : 0; x < part.width(); ++x) {
          ASSERT_EQ(std::memcmp(&part.Row<PF_Pixel>(y)[x], &expected.Row<PF_Pixel>(y)[x], 4), 0)
              << rect.left << ", " << rect.top << ": " << x << ", " << y;
        }
      }
    }
  }
}

/// A stroke on a layer four times as large, so that the half pixel by which a reduced buffer lies
/// elsewhere matters less, squeezed so that its pixels are that many times as wide as high.
Scene LargeScene(int aspect = 1) {
  Scene scene = StrokeSetup();
  scene.width = 4 * kWidth / aspect;
  scene.height = 4 * kHeight;
  scene.pixel_aspect = Rational(aspect, 1);
  scene.picture = Still(Picture(
      Colours(4 * kWidth, 4 * kHeight).ToWorld(Depth::k16, Rational(1, aspect)), Depth::k16));
  scene.controls = ControlTracks(TheEffect().controls(), scene.width, scene.height);
  const auto squeezed = [&](double x, double y) { return Point{x / aspect, y}; };
  scene.controls.Set(
      "Brush Position",
      Track<Point>(
          {{.seconds = 0, .value = squeezed(80, 280), .out_tangent = squeezed(160, -360)},
           {.seconds = 1, .value = squeezed(560, 100), .in_tangent = squeezed(-120, 240)}}));
  scene.controls.Set("Stroke Width", Track<double>(20.0));
  return scene;
}

TEST(Downsampling, LooksLikeTheReducedWhole) {
  const Picture whole(RenderFrame(LargeScene()).picture, Depth::k8);
  const struct {
    Rational x;
    Rational y;
    double limit;  // of 255
  } cases[] = {{{1, 2}, {1, 2}, 2},
               {{1, 3}, {1, 3}, 3},
               {{1, 4}, {1, 4}, 4},
               {{1, 2}, {1, 1}, 2},
               {{2, 3}, {1, 2}, 2}};
  for (const auto& c : cases) {
    RenderOptions options;
    options.downsample_x = c.x;
    options.downsample_y = c.y;
    const Picture reduced(RenderFrame(LargeScene(), options).picture, Depth::k8);
    const Picture expected(whole.ToWorld(Depth::k8, c.x, c.y), Depth::k8);
    EXPECT_LT(MeanDifference(reduced, expected), c.limit) << c.x.Text() << ", " << c.y.Text();
  }
}

TEST(PixelAspect, IsTheStretchedPictureOfSquarePixels) {
  const Picture square(RenderFrame(LargeScene()).picture, Depth::k8);
  const World wide = RenderFrame(LargeScene(2)).picture;
  const Picture expected(square.ToWorld(Depth::k8, Rational(1, 2)), Depth::k8);
  EXPECT_LT(MeanDifference(Picture(wide, Depth::k8), expected), 2);
  EXPECT_GT(Covered(wide), 0.1);
}

TEST(Time, AStartOfTheLayerMovesEverythingWithIt) {
  const std::string expected = Bytes(RenderFrame(StrokeSetup()).picture);
  Scene late = StrokeSetup();
  late.layer_start = late.time.FrameTime(100);
  EXPECT_TRUE(Bytes(RenderFrame(late, {}, 125).picture) == expected);
  Scene early = StrokeSetup();
  early.layer_start = early.time.FrameTime(-20);
  EXPECT_TRUE(Bytes(RenderFrame(early, {}, 5).picture) == expected);
}

TEST(Time, OutsideItsSpanTheLayerIsNotThere) {
  Scene setup = StrokeSetup();
  setup.layer_span = {0.5, 1};
  for (const int frame : {14, 30, 40}) {
    const Frame nothing = RenderFrame(setup, {}, frame);
    EXPECT_EQ(Covered(nothing.picture), 0) << frame;
    EXPECT_EQ(nothing.layer, nullptr);
  }
  for (const int frame : {15, 29}) EXPECT_GT(Covered(RenderFrame(setup, {}, frame).picture), 0);
}

TEST(Time, FramesOfTheLayerFollowItsOwnRate) {
  Scene setup = StrokeSetup(TimeBase(Rational(30, 1), Rational(24, 1)));
  const auto still = setup.picture(0);
  std::vector<std::int64_t> asked;
  setup.picture = [&](std::int64_t frame) {
    asked.push_back(frame);
    return still;
  };
  std::set<A_long> steps;
  RenderOptions options;
  options.observer = [&](const Call& call) -> PF_Err {
    if (call.kind == CallKind::kCheckoutParam &&
        call.arguments[0].value == decltype(Argument::value)(std::int64_t{3})) {
      steps.insert(static_cast<A_long>(std::get<std::int64_t>(call.arguments[3].value)));
    }
    return 0;
  };
  Renderer renderer(TheEffect(), setup, options);
  for (const int frame : {-1, 0, 1, 2, 5, 29, 30}) renderer.Render(setup.time.FrameTime(frame));
  // 30 frames a second over 24: floor(frame * 0.8).
  EXPECT_EQ(asked, (std::vector<std::int64_t>{-1, 0, 0, 1, 4, 23, 24}));
  EXPECT_EQ(steps, (std::set<A_long>{1280}));  // the effect steps back by the layer's frames
}

TEST(Renderer, PreparesAStillOnce) {
  Scene setup = StrokeSetup();
  Renderer renderer(TheEffect(), setup, {});
  const World* first = renderer.Render(0).layer.get();
  EXPECT_EQ(renderer.Render(1024).layer.get(), first);
}

TEST(Renderer, RefusesImpossibleSetups) {
  const auto with = [](auto change) {
    Scene setup = StrokeSetup();
    RenderOptions options;
    change(setup, options);
    return RenderFrame(setup, options);
  };
  using S = Scene&;
  using O = RenderOptions&;
  EXPECT_REFUSED(with([](S s, O) { s.width = 0; }), "0 x 90");
  EXPECT_REFUSED(with([](S s, O) { s.width = 161; }), "has 160 x 90 pixels, the layer 161 x 90");
  EXPECT_REFUSED(with([](S s, O) { s.picture = nullptr; }), "no picture");
  EXPECT_REFUSED(with([](S s, O) { s.picture = [](std::int64_t) { return nullptr; }; }),
                 "no picture at");
  EXPECT_REFUSED(with([](S s, O) { s.controls = {}; }), "not this effect's");
  EXPECT_REFUSED(with([](S s, O) { s.pixel_aspect = Rational(-1, 1); }), "aspect");
  EXPECT_REFUSED(with([](S s, O) { s.composition.layers.clear(); }), "effect's layer");
  EXPECT_REFUSED(with([](S, O o) { o.threads = -1; }), "negative");
  EXPECT_REFUSED(with([](S, O o) { o.downsample_x = Rational(2, 1); }), "not at 2");
  EXPECT_REFUSED(with([](S, O o) { o.layout.alignment = 3; }), "aligned");
}

TEST(Progress, CancelsInEitherPass) {
  for (const int threads : {1, 4}) {
    for (const int after : {1, 10, 25, 30}) {
      RenderOptions options;
      options.threads = threads;
      int calls = 0;
      options.progress = [&](A_long current, A_long total) {
        EXPECT_LE(current, total);
        return ++calls < after;
      };
      try {
        RenderFrame(StrokeSetup(), options);
        ADD_FAILURE() << "not cancelled";
      } catch (const EffectError& error) {
        EXPECT_TRUE(error.cancelled()) << error.what();
        EXPECT_EQ(error.command(), PF_Cmd_SMART_RENDER);
        EXPECT_EQ(calls, after);
      }
    }
  }
}

Scene LitSetup() {
  Scene setup = StrokeSetup();
  setup.controls.Set("Using", Track<int>(2));
  Layer spot{Layer::Kind::kLight, "Spot", true, {}, {}};
  spot.light.kind = LightKind::kSpot;
  spot.light.position = Vec3{80, -50, -300};
  spot.light.target = Track<Vec3>(Vec3{80, 45, 0});
  setup.composition.AddLight(spot);
  Layer ambient{Layer::Kind::kLight, "Fill", true, {}, {}};
  ambient.light.kind = LightKind::kAmbient;
  ambient.light.intensity = 30.0;
  setup.composition.AddLight(ambient);
  return setup;
}

TEST(Lights, AreAskedForInStackOrder) {
  std::vector<std::string> calls;
  RenderOptions options;
  options.threads = 1;
  options.observer = [&](const Call& call) -> PF_Err {
    if (call.kind >= CallKind::kGetEffectLayer) calls.push_back(call.Text());
    return 0;
  };
  Scene setup = LitSetup();
  setup.layer_start = setup.time.FrameTime(10);
  RenderFrame(setup, options, 35);
  std::vector<std::string> expected{"AEGP_ConvertEffectToCompTime(t=25600 scale=30720)",
                                    "AEGP_GetEffectLayer()", "AEGP_GetLayerParentComp(\"Layer\")",
                                    "AEGP_GetCompNumLayers()"};
  const auto add = [&](const std::string& function, const std::string& arguments) {
    expected.push_back("AEGP_" + function + "(" + arguments + ")");
  };
  const std::pair<std::string, int> layers[]{{"\"Spot\"", 19}, {"\"Fill\"", 17}, {"\"Layer\"", 0}};
  for (int i = 0; i < 3; ++i) {
    const auto& [name, last_stream] = layers[i];
    add("GetCompLayerByIndex", std::to_string(i));
    add("IsVideoActive", name + " t=35840");
    add("GetLayerObjectType", name);
    if (last_stream == 0) continue;
    add("GetLightType", name);
    add("GetLayerToWorldXformFromView", name + " t=35840");
    for (int stream = 16; stream <= last_stream; ++stream) {
      add("GetLayerStreamValue", name + " stream=" + std::to_string(stream));
    }
  }
  EXPECT_EQ(calls, expected);
}

}  // namespace
}  // namespace hosting
