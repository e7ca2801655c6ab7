// What the host's callbacks and suites answer, asked by an effect made for it.
#include "fixture_effect.h"

namespace hosting {
namespace {

template <class Pixel>
Pixel* At(const PF_EffectWorld& world, int x, int y) {
  return reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) + y * world.rowbytes) + x;
}

/// New worlds at the output's depth, cleared or filled where that is asked.
template <class Pixel>
void ExpectWorlds(const Commanded& c) {
  const auto& suite = c.Borrow<PF_WorldSuite2>(kPFWorldSuite, 2);
  for (const int version : {0, 3}) EXPECT_EQ(c.Acquire(kPFWorldSuite, version), nullptr);
  PF_PixelFormat format = 0;
  EXPECT_EQ(suite.PF_GetPixelFormat(c.output, &format), 0);
  EXPECT_EQ(format, FormatOf(static_cast<Depth>(8 * sizeof(Pixel::red))));
  EXPECT_NE(suite.PF_NewWorld(c.ref(), 3, 3, 1, PF_PixelFormat_INVALID, c.output), 0);
  PF_EffectWorld worlds[2]{};
  EXPECT_EQ(suite.PF_NewWorld(c.ref(), 701, 600, 1, format, &worlds[0]), 0);
  EXPECT_EQ(suite.PF_NewWorld(c.ref(), 701, 600, 0, PF_PixelFormat_ARGB32, &worlds[1]), 0);
  c.Fill(&worlds[1]);
  // The last two hold nothing.
  const PF_Rect rects[]{{1, 2, 700, 599}, {690, -5, 999, 1}, {5, 5, 5, 9}, {800, 0, 900, 9}};
  const PF_Pixel color{255, 7, 0, 7};
  for (const PF_Rect& rect : rects) EXPECT_EQ(c.Fill(&worlds[1], &color, &rect), 0);
  int wrong = 0;
  for (int y = 0; y < 600; ++y) {
    for (int x = 0; x < 701; ++x) {
      const bool inside = (x >= 1 && x < 700 && y >= 2 && y < 599) || (y == 0 && x >= 690);
      wrong += At<Pixel>(worlds[0], x, y)->red != 0;
      wrong += At<PF_Pixel>(worlds[1], x, y)->red != (inside ? 7 : 0);
    }
  }
  EXPECT_EQ(wrong, 0);
  for (PF_EffectWorld& world : worlds) EXPECT_EQ(suite.PF_DisposeWorld(c.ref(), &world), 0);
}

/// Samples of the whole layer, and of a view without its first columns.
template <class Pixel>
void ExpectSamples(const Commanded& c, const char* suite) {
  PF_EffectWorld layer = c.params[0]->u.ld;
  PF_EffectWorld part = layer;
  part.data = reinterpret_cast<PF_Pixel*>(At<Pixel>(layer, 4, 0));
  part.width -= 4;
  for (const auto& [source, x] : {std::pair{&layer, 10}, {&part, 6}}) {
    for (const PF_Fixed radius : {0, 4 << 16}) {  // red rises evenly about any pixel
      PF_SampPB block{radius, radius, 0, source};
      Pixel got{};
      c.Borrow<PF_SamplingSuite<Pixel>>(suite, 1).area_sample(c.ref(), x << 16, 5 << 16, &block,
                                                              &got);
      EXPECT_NEAR(got.red, At<Pixel>(layer, 10, 5)->red, radius == 0 ? 0 : 1);
    }
  }
}

/// All but the first column and row, with a source; then with pixels that fail.
template <class Pixel, class Iterate>
void ExpectIteration(const Commanded& c, Iterate iterate) {
  const auto pixel = [](void* fails_from, A_long x, A_long y, Pixel* in, Pixel* out) -> PF_Err {
    *out = *in;
    out->green = static_cast<decltype(Pixel::green)>(x + 20 * y);
    return y >= *static_cast<int*>(fails_from) ? 1000 + y : 0;
  };
  const PF_Rect area{1, 1, 99, 99};
  for (int fails_from : {7, 99}) {
    c.Fill(c.output);
    EXPECT_EQ(iterate(c.in, 10, 30, &c.params[0]->u.ld, &area, &fails_from, pixel, c.output),
              fails_from == 7 ? 1007 : 0);
  }
  for (int i = 0; i < 200; ++i) {
    const Pixel& p = *At<Pixel>(*c.output, i % 20, i / 20);
    const bool inside = i % 20 >= 1 && i >= 20;
    const auto red = inside ? At<Pixel>(c.params[0]->u.ld, i % 20, i / 20)->red : 0;
    EXPECT_EQ(Text(+p.red, +p.green), Text(+red, inside ? i : 0));
  }
}

TEST(Host, LendsAtEveryDepthWithAnyNumberOfThreads) {
  for (const int threads : {1, 3}) {
    for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
      const auto ask = [&](const Commanded& c) -> PF_Err {
        const PF_UtilCallbacks& utils = *c.in->utils;
        const auto expect = [&]<class Pixel>(Pixel, const char* suite, auto iterate) {
          ExpectWorlds<Pixel>(c);
          ExpectSamples<Pixel>(c, suite);
          ExpectIteration<Pixel>(c, iterate);
        };
        if (depth == Depth::k8) expect(PF_Pixel{}, kPFSampling8Suite, utils.iterate);
        if (depth == Depth::k16) expect(PF_Pixel16{}, kPFSampling16Suite, utils.iterate16);
        const auto& floats = c.Borrow<PF_iterateFloatSuite1>(kPFIterateFloatSuite, 1);
        if (depth == Depth::k32) expect(PF_PixelFloat{}, kPFSamplingFloatSuite, floats.iterate);
        const auto nothing = [](void*, A_long, A_long, auto*, auto*) -> PF_Err { return 0; };
        return depth == Depth::k16
                   ? utils.iterate(c.in, 0, 1, nullptr, nullptr, nullptr, nothing, c.output)
                   : utils.iterate16(c.in, 0, 1, nullptr, nullptr, nullptr, nothing, c.output);
      };
      A_long reported = 0;
      const auto options = [&](Scene&, RenderOptions& o) {
        o.depth = depth;
        o.threads = threads;
        o.layout = {16, threads == 1, true};
        o.progress = [&](A_long current, A_long total) { return reported = current, total == 30; };
      };
      // A pass at another depth than the output's is refused.
      EXPECT_REFUSED(Provoke(ask, options), "PF_Cmd_RENDER with 516");
      EXPECT_EQ(reported, 30);
    }
  }
}

void ExpectLayerAndControls(const Commanded& c) {
  const PF_InData& in = *c.in;
  EXPECT_EQ(Text(in.width, in.height, in.downsample_x.num, in.downsample_x.den, in.downsample_y.den,
                 in.pixel_aspect_ratio.num, in.pixel_aspect_ratio.den),
            "20 10 1 2 3 2 1");
  EXPECT_EQ(Text(in.current_time, in.time_step, in.local_time_step, in.time_scale, in.quality,
                 in.shutter_angle, c.params[1]->u.fd.value),
            Text(15360, 1024, 1280, 30720, PF_Quality_LO, 90 << 16, 2 << 16));
  const PF_EffectWorld& layer = c.params[0]->u.ld;
  EXPECT_EQ(Text(layer.width, layer.height, c.output->width, c.output->height), "10 4 10 4");
  const auto red_at = [&](int index, A_long time) {
    PF_ParamDef def{};
    PF_PixelFloat color{};
    c.CheckOut(index, &def, time);
    const auto& suite = c.Borrow<PF_ColorParamSuite1>(kPFColorParamSuite, 1);
    const PF_Err err = suite.PF_GetFloatingPointColorFromColorDef(c.ref(), &def, &color);
    c.CheckIn(&def);
    return err != 0 ? -1 : color.red * color.alpha;
  };
  EXPECT_EQ(red_at(2, -5000), 0.1f);  // not rounded to 8 bits
  EXPECT_EQ(red_at(2, 10240), static_cast<float>(0.1 + 0.6 / 3));
  EXPECT_EQ(red_at(1, 0), -1);  // a slider has none
}

void ExpectComposition(const Commanded& c) {
  const auto& effect = c.Borrow<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, 1);
  const auto& layers = c.Borrow<AEGP_LayerSuite5>(kAEGPLayerSuite, 5);
  const auto& lights = c.Borrow<AEGP_LightSuite1>(kAEGPLightSuite, 1);
  const auto& streams = c.Borrow<AEGP_StreamSuite4>(kAEGPStreamSuite, 4);
  A_Time time{};
  effect.AEGP_ConvertEffectToCompTime(c.ref(), 1024, 30720, &time);
  EXPECT_EQ(Text(time.value, time.scale), "16384 30720");  // the layer starts at half a second
  AEGP_LayerH own = nullptr;
  AEGP_CompH comp = nullptr;
  A_long count = 0;
  effect.AEGP_GetEffectLayer(c.ref(), &own);
  layers.AEGP_GetLayerParentComp(own, &comp);
  layers.AEGP_GetCompNumLayers(comp, &count);
  AEGP_LayerH stack[3]{};
  const bool outside = layers.AEGP_GetCompLayerByIndex(comp, 2, &stack[2]) == 0;
  for (const A_long i : {0, 1}) layers.AEGP_GetCompLayerByIndex(comp, i, &stack[i]);
  const AEGP_LayerH light = stack[0];
  AEGP_ObjectType objects[2]{};
  AEGP_LightType kind = -1;
  for (const A_long i : {0, 1}) layers.AEGP_GetLayerObjectType(stack[i], &objects[i]);
  lights.AEGP_GetLightType(light, &kind);
  EXPECT_EQ(Text(count, outside, stack[1] == own, objects[0], objects[1], kind),
            Text(2, 0, 1, AEGP_ObjectType_LIGHT, AEGP_ObjectType_AV, AEGP_LightType_SPOT));
  EXPECT_NE(lights.AEGP_GetLightType(own, &kind), 0);
  EXPECT_NE(lights.AEGP_GetLightType(reinterpret_cast<AEGP_LayerH>(&count), &kind), 0);
  const struct {
    AEGP_LayerH asked;
    A_long value;
    bool active;  // from in up to, not including, out
  } times[] = {{light, 30719, false}, {light, 30720, true}, {light, 61439, true},
               {light, 61440, false}, {own, 46080, true},   {own, 46081, false}};
  for (const auto& t : times) {
    for (const AEGP_LTimeMode mode : {AEGP_LTimeMode_CompTime, AEGP_LTimeMode_LayerTime}) {
      const A_Time at{t.value - (mode == AEGP_LTimeMode_LayerTime ? 15360 : 0), 30720};
      A_Boolean active = 9;
      EXPECT_EQ(layers.AEGP_IsVideoActive(t.asked, mode, &at, &active), 0);
      EXPECT_EQ(active != 0, t.active) << t.value;
    }
  }
  const A_Time at{46080, 30720};  // 1.5 s
  A_Matrix4 m{};
  layers.AEGP_GetLayerToWorldXformFromView(light, &at, &at, &m);
  EXPECT_EQ(Text(m.mat[3][0], m.mat[3][2], m.mat[0][0]), "75 -15 0.5");
  const std::pair<AEGP_LayerStream, const char*> values[]{{AEGP_LayerStream_INTENSITY, "150"},
                                                          {AEGP_LayerStream_CONE_ANGLE, "80"},
                                                          {AEGP_LayerStream_CONE_FEATHER, "20"},
                                                          {AEGP_LayerStream_COLOR, "1 0.25 0"},
                                                          {3, "refused"}};
  for (const auto& [which, expected] : values) {
    AEGP_StreamVal value{};
    AEGP_StreamType type = 0;
    const PF_Err err = streams.AEGP_GetLayerStreamValue(light, which, AEGP_LTimeMode_CompTime, &at,
                                                        0, &value, &type);
    const AEGP_ColorVal& color = value.color;
    EXPECT_EQ(err != 0                       ? "refused"
              : type == AEGP_StreamType_OneD ? Text(value.one_d)
                                             : Text(color.redF, color.greenF, color.blueF),
              expected);
  }
}

TEST(Host, TellsOfTheLayerItsControlsAndTheComposition) {
  const auto ask = [](const Commanded& c) -> PF_Err {
    ExpectLayerAndControls(c);
    ExpectComposition(c);
    return 0;
  };
  Provoke(ask, [](Scene& s, RenderOptions& o) {
    s.time = TimeBase(Rational(30, 1), Rational(24, 1));
    s.layer_start = 15360;
    s.pixel_aspect = Rational(2, 1);
    s.composition.EffectLayer().span.out = 1.50001;
    s.controls.Set(1, Track<double>({{.seconds = 0, .value = 1}, {.seconds = 2, .value = 5}}));
    s.controls.Set(2, Track<Color>({{.value = {0.1}}, {.seconds = 1, .value = {0.7}}}));
    o.downsample_x = Rational(1, 2);
    o.downsample_y = Rational(1, 3);
    o.high_quality = false;
    o.shutter_angle = 90;
    Layer spot{Layer::Kind::kLight, "Spot", true, {1, 2}, {}};
    spot.light.kind = LightKind::kSpot;
    spot.light.position = Track<Vec3>({{.seconds = 0}, {.seconds = 2, .value = {100, 0, -20}}});
    spot.light.intensity = 150.0;
    spot.light.color = Color{1, 0.25, 0};
    spot.light.cone_angle = 80.0;
    spot.light.cone_feather = 20.0;
    s.composition.AddLight(spot);
  });
}

}  // namespace
}  // namespace hosting
