// Frames of the built effect: what must not change them, and what must.
#include "hosting/render.h"

#include <limits>

#include "fixture_effect.h"

namespace hosting {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 90;

/// Frame 25 of a curved stroke over a spotted layer.
Frame RenderFrame(const Change& change = {}) {
  static const Effect effect{std::filesystem::path(VORLIN_EFFECT)};
  Scene scene;
  scene.width = kWidth;
  scene.height = kHeight;
  std::vector<std::uint16_t> pixels(4 * kWidth * kHeight, 65535);
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    pixels[i] = static_cast<std::uint16_t>(i * 37);
    pixels[i + 1] = static_cast<std::uint16_t>(i * i / 100);
  }
  scene.picture = Still(Picture(kWidth, kHeight, pixels));
  scene.controls = ControlTracks(effect.controls(), kWidth, kHeight);
  scene.controls.Set("Brush Position",
                     Track<Point>({{.seconds = 0, .value = {20, 70}, .out_tangent = {40, -90}},
                                   {.seconds = 1, .value = {140, 25}, .in_tangent = {-30, 60}}}));
  scene.controls.Set("Stroke Width", Track<double>(20.0));
  scene.controls.Set("Paint Style", Track<int>(2));
  RenderOptions options;
  if (change) change(scene, options);
  const A_long time = scene.layer_start + scene.time.FrameTime(25);
  return Renderer(effect, std::move(scene), options).Render(time);
}

/// The place, and the rows without their padding.
std::string Bytes(const World& world) {
  std::string bytes = Text(world.rect().left, world.rect().top, world.width(), world.height());
  for (int y = 0; y < world.height(); ++y) {
    bytes.append(reinterpret_cast<const char*>(world.RowBytes(y)),
                 static_cast<std::size_t>(world.width()) * PixelSize(world.depth()));
  }
  return bytes;
}

TEST(Render, GivesTheSameBytesHoweverItIsRun) {
  using S = Scene&;
  using O = RenderOptions&;
  const std::pair<const char*, Change> changes[]{
      {"all threads", [](S, O o) { o.threads = 0; }},
      {"3 threads", [](S, O o) { o.threads = 3; }},
      {"8 threads", [](S, O o) { o.threads = 8; }},
      {"classic", [](S, O o) { o.smart = false; }},
      {"bottom up",
       [](S, O o) {
         o.layout = {4, true, true};
       }},
      {"page-aligned",
       [](S, O o) {
         o.layout = {4096, false, true};
       }},
      {"observed", [](S, O o) { o.observer = [](const Call&) { return PF_Err_NONE; }; }},
      {"a later layer", [](S s, O) { s.layer_start = s.time.FrameTime(100); }},
      {"an earlier layer", [](S s, O) { s.layer_start = s.time.FrameTime(-20); }}};
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    const auto render = [&](const Change& change) {
      return Bytes(RenderFrame([&](S s, O o) {
                     o.depth = depth;
                     o.threads = 1;
                     change(s, o);
                   }).picture);
    };
    const std::string expected = render([](S, O) {});
    for (const auto& [what, change] : changes) {
      EXPECT_TRUE(render(change) == expected) << what << ", depth " << static_cast<int>(depth);
    }
  }
}

/// A point light and an ambient one, as the effect's own are, with the keys of its controls.
void LightByComposition(Scene& scene, const Vec3& position) {
  scene.controls.Set("Using", Track<int>(2));
  const double start = scene.time.Seconds(scene.layer_start);
  for (const LightKind kind : {LightKind::kPoint, LightKind::kAmbient}) {
    Layer layer{Layer::Kind::kLight, "Light", true, {start + 25.0 / 30, start + 25.9 / 30}, {}};
    layer.light.kind = kind;
    layer.light.position = position;
    if (kind == LightKind::kPoint) {
      layer.light.intensity =
          Track<double>({{.seconds = start, .value = 50}, {.seconds = start + 1, .value = 200}});
      layer.light.color = Color{1, 0.5, 0.25};
    }
    scene.composition.AddLight(layer);
    layer.span.out = layer.span.in;  // never there
    scene.composition.AddLight(layer);
  }
}

TEST(Regions, AreCropsOfTheWhole) {
  const Change lights[]{[](Scene&, RenderOptions&) {},
                        [](Scene& s, RenderOptions& o) {
                          s.controls.Set("Light Type", Track<int>(2));
                          o.downsample_x = Rational(2, 3);
                        },
                        [](Scene& s, RenderOptions&) {
                          LightByComposition(s, {30, 20, -50});
                        }};
  const PF_LRect rects[] = {{0, 0, kWidth, kHeight}, {40, 20, 100, 70}, {-30, -10, 50, 40},
                            {60, 50, 500, 400},      {57, 40, 58, 41},  {0, 0, 0, 0},
                            {500, 0, 600, 50},       {90, 60, 20, 10},  {-90, -90, 900, 900}};
  for (const Change& light : lights) {
    for (const bool smart : {true, false}) {
      const auto render = [&](std::optional<PF_LRect> region) {
        return RenderFrame([&](Scene& s, RenderOptions& o) {
          light(s, o);
          o.smart = smart;
          o.region = region;
          o.keep_worlds = true;
        });
      };
      const Frame whole = render({});
      for (const PF_LRect& rect : rects) {
        const Frame part = render(rect);
        const bool empty = rect.left >= rect.right || rect.top >= rect.bottom;
        World expected(empty ? 0 : rect.right - rect.left, empty ? 0 : rect.bottom - rect.top,
                       Depth::k8);
        expected.SetOrigin(rect.left, rect.top);
        expected.Clear();
        CopyOverlap(whole.picture, expected);
        EXPECT_TRUE(Bytes(part.picture) == Bytes(expected)) << rect.left << ", " << rect.top;
        EXPECT_TRUE(Bytes(part.worlds.at(0)) == Bytes(whole.worlds.at(0)));
      }
    }
  }
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
    const auto render = [&](const std::function<void(Scene&)>& light) {
      const Frame frame = RenderFrame([&](Scene& s, RenderOptions& o) {
        s.pixel_aspect = c.aspect;
        s.layer_start = s.time.FrameTime(12);
        o.depth = Depth::k32;  // its colours are not rounded
        o.downsample_x = c.downsample_x;
        o.downsample_y = c.downsample_y;
        light(s);
      });
      return std::get<0>(Picture(frame.picture, Depth::k8).pixels());
    };
    const auto own = render([&](Scene& s) {
      s.controls.Set("Light Type", Track<int>(2));
      s.controls.Set("Light Position", Track(Point{c.x, 20}));
      s.controls.Set("Light Color", Track(Color{1, 0.5, 0.25}));
      s.controls.Set("Light Intensity",
                     Track<double>({{.seconds = 0, .value = 50}, {.seconds = 1, .value = 200}}));
      s.controls.Set("Light Height", Track(50.0));  // percent of the mean of the layer's sides
    });
    const double height = 0.5 * (kWidth * c.aspect.value() + kHeight) / 2;
    const auto lit_at = [&](double x) {
      return render([&](Scene& s) { LightByComposition(s, {x, 20, -height}); });
    };
    const auto lit = lit_at(c.x);
    int most = 0;
    for (std::size_t i = 0; i < own.size(); ++i) most = std::max(most, std::abs(lit[i] - own[i]));
    EXPECT_LE(most, c.most) << c.aspect.Text() << ", x " << c.x;
    EXPECT_NE(lit_at(c.x + 8), own);  // the place matters
  }
}

TEST(Setup, ShowsTheLayersOwnFramesWhileItIsThere) {
  Scene scene;
  scene.time = TimeBase(Rational(30, 1), Rational(24, 1));
  scene.composition.EffectLayer().span = {-0.5, 1};
  scene.layer_start = scene.time.FrameTime(-5);
  constexpr int kNone = -99;
  const std::pair<int, int> cases[]{{-16, kNone}, {-15, -8}, {-6, -1}, {-5, 0},    {-4, 0},
                                    {-3, 1},      {0, 4},    {24, 23}, {30, kNone}};
  for (const auto& [frame, expected] : cases) {
    EXPECT_EQ(scene.LayerFrame(scene.time.FrameTime(frame)).value_or(kNone), expected) << frame;
  }
  const Frame gone =
      RenderFrame([](Scene& s, RenderOptions&) { s.composition.EffectLayer().span.out = 0; });
  EXPECT_EQ(gone.layer, nullptr);
  EXPECT_EQ(Bytes(gone.picture), "0 0 160 90" + std::string(4 * kWidth * kHeight, '\0'));
}

TEST(Renderer, RefusesImpossibleSetups) {
  using S = Scene&;
  using O = RenderOptions&;
  struct Case {
    const char* said;
    Change change;
  };
  const Case cases[]{
      {"0 x 90", [](S s, O) { s.width = 0; }},
      {"has 160 x 90 pixels, the layer 161 x 90", [](S s, O) { s.width = 161; }},
      {"no picture for its frame 25", [](S s, O) { s.picture = [](auto) { return nullptr; }; }},
      {"not this effect's", [](S s, O) { s.controls = {}; }},
      {"aspect", [](S s, O) { s.pixel_aspect = Rational(-1, 1); }},
      {"not at 5", [](S, O o) { o.downsample_x = Rational(5, 1); }},
      {"aligned", [](S, O o) { o.layout.alignment = 3; }}};
  for (const Case& c : cases) EXPECT_REFUSED(RenderFrame(c.change), c.said);
}

TEST(Progress, CancelsInEitherPass) {
  for (const int threads : {1, 4}) {
    for (const int after : {1, 10, 25, 30}) {
      int calls = 0;
      const auto cancelling = [&](Scene&, RenderOptions& o) {
        o.threads = threads;
        o.region = PF_LRect{40, 20, 100, 70};
        o.progress = [&](A_long current, A_long total) {
          return ++calls < after && current <= total;
        };
      };
      EXPECT_EQ(RefusalOf<EffectError>([&] { RenderFrame(cancelling); }),
                Text("the effect answered PF_Cmd_SMART_RENDER with", PF_Interrupt_CANCEL,
                     "(PF_Interrupt_CANCEL)"));
      EXPECT_EQ(calls, after);
    }
  }
}

}  // namespace
}  // namespace hosting
