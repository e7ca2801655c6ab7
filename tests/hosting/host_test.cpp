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

TEST(Host, TellsOfTheLayerAndItsLights) {
  const auto ask = [](const Commanded& c) -> PF_Err {
    const PF_InData& in = *c.in;
    EXPECT_EQ(Text(in.width, in.height, in.downsample_x.den, in.downsample_y.den,
                   in.pixel_aspect_ratio.num, in.time_step, in.local_time_step, in.time_scale,
                   in.quality, in.shutter_angle, c.output->width, c.output->height),
              Text(20, 10, 2, 3, 2, 1024, 1280, 30720, PF_Quality_LO, 90 << 16, 10, 4));
    const auto& layers = c.Borrow<AEGP_LayerSuite5>(kAEGPLayerSuite, 5);
    const auto& streams = c.Borrow<AEGP_StreamSuite4>(kAEGPStreamSuite, 4);
    AEGP_LayerH own = nullptr;
    AEGP_CompH comp = nullptr;
    AEGP_LayerH spot = nullptr;
    c.Borrow<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, 1).AEGP_GetEffectLayer(c.ref(), &own);
    layers.AEGP_GetLayerParentComp(own, &comp);
    EXPECT_NE(layers.AEGP_GetCompLayerByIndex(comp, 2, &spot), 0);
    EXPECT_EQ(layers.AEGP_GetCompLayerByIndex(comp, 0, &spot), 0);
    const std::pair<AEGP_LayerStream, double> values[]{
        {AEGP_LayerStream_CONE_ANGLE, 45}, {AEGP_LayerStream_CONE_FEATHER, 20}, {3, -1}};
    for (const auto& [stream, expected] : values) {
      const A_Time layer_time{15360, 30720};  // of a layer that starts at half a second
      AEGP_StreamVal value{};
      const PF_Err err = streams.AEGP_GetLayerStreamValue(spot, stream, AEGP_LTimeMode_LayerTime,
                                                          &layer_time, 0, &value, nullptr);
      EXPECT_EQ(err != 0 ? -1 : value.one_d, expected);
    }
    return 0;
  };
  Provoke(ask, [](Scene& s, RenderOptions& o) {
    s.time = TimeBase(Rational(30, 1), Rational(24, 1));
    s.layer_start = 15360;
    s.pixel_aspect = Rational(2, 1);
    o.downsample_x = Rational(1, 2);
    o.downsample_y = Rational(1, 3);
    o.high_quality = false;
    o.shutter_angle = 90;
    Layer spot{Layer::Kind::kLight, "Spot", true, {}, {}};
    spot.light.cone_angle = Track<double>({{.seconds = 0}, {.seconds = 2, .value = 90}});
    spot.light.cone_feather = 20.0;
    s.composition.AddLight(spot);
  });
}

}  // namespace
}  // namespace hosting
