// What the host's callbacks and suites answer, asked by an effect made for it.
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

template <class Pixel>
struct Kind;
template <>
struct Kind<PF_Pixel> {
  static constexpr const char* kSampling = kPFSampling8Suite;
  static auto Iterate(const Commanded& c) { return c.in->utils->iterate; }
};
template <>
struct Kind<PF_Pixel16> {
  static constexpr const char* kSampling = kPFSampling16Suite;
  static auto Iterate(const Commanded& c) { return c.in->utils->iterate16; }
};
template <>
struct Kind<PF_PixelFloat> {
  static constexpr const char* kSampling = kPFSamplingFloatSuite;
  static auto Iterate(const Commanded& c) {
    const auto* const suite = c.Acquire<PF_iterateFloatSuite1>(kPFIterateFloatSuite, 1);
    c.Release(kPFIterateFloatSuite, 1);
    return suite->iterate;
  }
};

template <class Pixel>
Pixel* At(const PF_EffectWorld& world, int x, int y) {
  return reinterpret_cast<Pixel*>(reinterpret_cast<char*>(world.data) + y * world.rowbytes) + x;
}

template <class Pixel>
void ExpectWorlds(const Commanded& c) {
  const auto* const one = c.Acquire<PF_WorldSuite1>(kPFWorldSuite, 1);
  const auto* const two = c.Acquire<PF_WorldSuite2>(kPFWorldSuite, 2);
  EXPECT_EQ(c.Acquire<PF_WorldSuite2>(kPFWorldSuite, 2), two);
  EXPECT_EQ(c.Acquire<void>(kPFWorldSuite, 3), nullptr);
  EXPECT_EQ(c.Acquire<void>("No Such Suite", 1), nullptr);
  PF_PixelFormat format = 0;
  EXPECT_EQ(two->PF_GetPixelFormat(c.output, &format), 0);
  EXPECT_EQ(format, FormatOf(static_cast<Depth>(8 * sizeof(Pixel::red))));

  PF_EffectWorld worlds[2]{};
  for (PF_EffectWorld& world : worlds) {
    EXPECT_EQ(two->PF_NewWorld(c.ref(), 701, 600, 1, format, &world), 0);
    EXPECT_EQ(world.width, 701);
    EXPECT_EQ(world.height, 600);
    PF_PixelFormat own = 0;
    EXPECT_EQ(two->PF_GetPixelFormat(&world, &own), 0);
    EXPECT_EQ(own, format);
    for (const int x : {0, 350, 700}) EXPECT_EQ(At<Pixel>(world, x, 599)->blue, 0);
  }
  At<Pixel>(worlds[0], 700, 599)->red = 1;
  EXPECT_EQ(At<Pixel>(worlds[1], 700, 599)->red, 0);  // they lie apart
  for (PF_EffectWorld& world : worlds) EXPECT_EQ(two->PF_DisposeWorld(c.ref(), &world), 0);
  EXPECT_NE(one->new_world(c.ref(), -3, 3, 0, &worlds[0]), 0);
  EXPECT_NE(two->PF_NewWorld(c.ref(), 3, 3, 1, PF_PixelFormat_INVALID, &worlds[0]), 0);
  for (int i = 0; i < 2; ++i) c.Release(kPFWorldSuite, 2);
  c.Release(kPFWorldSuite, 1);
}

template <class Pixel>
void ExpectSamples(const Commanded& c) {
  const auto* const suite = c.Acquire<PF_SamplingSuite<Pixel>>(Kind<Pixel>::kSampling, 1);
  PF_EffectWorld layer = c.params[0]->u.ld;
  PF_EffectWorld part = layer;  // a view of the layer without its first columns
  part.data = reinterpret_cast<PF_Pixel*>(At<Pixel>(layer, 4, 0));
  part.width -= 4;
  for (const auto& [source, x] : {std::pair{&layer, 10}, {&part, 6}}) {
    for (const int radius : {1 << 15, 5 << 16}) {  // a pixel, and a box that is even about it
      PF_SampPB block{radius, radius, 0, source};
      Pixel got{};
      EXPECT_EQ(suite->area_sample(c.ref(), x << 16, 5 << 16, &block, &got), 0);
      const double share = radius > 1 << 16 ? 1 - 0.05 : 1;  // a half row of 10 lies outside
      EXPECT_NEAR(got.red, At<Pixel>(layer, 10, 5)->red, share < 1 ? 12 * got.alpha / 200.0 : 0);
    }
  }
  Pixel foreign{};
  PF_EffectWorld unknown{0, reinterpret_cast<PF_Pixel*>(&foreign), sizeof foreign, 1, 1, 0, 0};
  PF_SampPB block{1 << 16, 1 << 16, 0, &unknown};
  EXPECT_NE(suite->area_sample(c.ref(), 0, 0, &block, &foreign), 0);
  c.Release(Kind<Pixel>::kSampling, 1);
}

/// Iterates over all but a frame of one pixel, and returns the first code of a pixel.
template <class Pixel>
void ExpectIteration(const Commanded& c) {
  c.Fill(c.output);
  const PF_Rect area{1, 1, 19, 99};
  struct Given {
    int fails_at;
  };
  const auto pixel = [](void* refcon, A_long x, A_long y, Pixel* in, Pixel* out) -> PF_Err {
    *out = *in;
    out->green = static_cast<decltype(Pixel::green)>(x);
    out->blue = static_cast<decltype(Pixel::blue)>(y);
    return x == 1 && y >= static_cast<Given*>(refcon)->fails_at ? 1000 + y : 0;
  };
  for (int fails_at : {7, 99}) {
    Given given{fails_at};
    c.Fill(c.output);
    EXPECT_EQ(
        Kind<Pixel>::Iterate(c)(c.in, 10, 30, &c.params[0]->u.ld, &area, &given, pixel, c.output),
        fails_at == 7 ? 1007 : 0);
  }
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 20; ++x) {
      const Pixel& p = *At<Pixel>(*c.output, x, y);
      const bool inside = x >= 1 && x < 19 && y >= 1;
      EXPECT_EQ(p.red, inside ? At<Pixel>(c.params[0]->u.ld, x, y)->red : 0);
      EXPECT_EQ(p.green, inside ? x : 0);
      EXPECT_EQ(p.blue, inside ? y : 0);
    }
  }
}

TEST(Host, KeepsItsPromisesAtEveryDepth) {
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    for (const int threads : {1, 3}) {
      std::vector<A_long> reported;
      Provoke(
          [&](const Commanded& c) -> PF_Err {
            const auto expect = [&]<class Pixel>(Pixel) {
              ExpectWorlds<Pixel>(c);
              ExpectSamples<Pixel>(c);
              ExpectIteration<Pixel>(c);
            };
            if (depth == Depth::k8) expect(PF_Pixel{});
            if (depth == Depth::k16) expect(PF_Pixel16{});
            if (depth == Depth::k32) expect(PF_PixelFloat{});
            const auto other = depth == Depth::k16 ? Depth::k8 : Depth::k16;
            const auto nothing = [](void*, A_long, A_long, auto*, auto*) -> PF_Err { return 0; };
            EXPECT_NE(other == Depth::k8 ? c.in->utils->iterate(c.in, 0, 1, nullptr, nullptr,
                                                                nullptr, nothing, c.output)
                                         : c.in->utils->iterate16(c.in, 0, 1, nullptr, nullptr,
                                                                  nullptr, nothing, c.output),
                      0);
            return 0;
          },
          [&](Scene&, RenderOptions& o) {
            o.depth = depth;
            o.threads = threads;
            o.layout.guards = true;
            o.layout.bottom_up = threads == 1;
            o.progress = [&](A_long current, A_long total) {
              EXPECT_EQ(total, 30);
              reported.push_back(current);
              return true;
            };
          });
      EXPECT_EQ(reported.back(), 30);
    }
  }
}

TEST(Host, FillsOnlyWhatIsAsked) {
  for (const int threads : {1, 3}) {
    Provoke(
        [](const Commanded& c) -> PF_Err {
          const auto* const suite = c.Acquire<PF_WorldSuite1>(kPFWorldSuite, 1);
          PF_EffectWorld world{};  // large enough for several threads to share
          EXPECT_EQ(suite->new_world(c.ref(), 701, 600, PF_NewWorldFlag_NONE, &world), 0);
          const auto fill = [&](A_u_char red, PF_Rect rect) {
            const PF_Pixel color{255, red, 0, red};
            EXPECT_EQ(c.Fill(&world, &color, &rect), 0);
          };
          EXPECT_EQ(c.Fill(&world), 0);
          fill(1, {1, 2, 700, 599});
          fill(9, {690, -5, 999, 1});  // clipped
          fill(7, {5, 5, 5, 9});       // nothing
          fill(7, {800, 0, 900, 9});
          int wrong = 0;
          for (int y = 0; y < 600; ++y) {
            for (int x = 0; x < 701; ++x) {
              const bool inside = x >= 1 && x < 700 && y >= 2 && y < 599;
              const int expected = inside ? 1 : y == 0 && x >= 690 ? 9 : 0;
              wrong += At<PF_Pixel>(world, x, y)->red != expected;
            }
          }
          EXPECT_EQ(wrong, 0);
          suite->dispose_world(c.ref(), &world);
          c.Release(kPFWorldSuite, 1);
          return 0;
        },
        [&](Scene&, RenderOptions& o) { o.threads = threads; });
  }
}

TEST(Host, DescribesTheLayerAtFullResolutionAndTheBufferAsItIs) {
  Provoke(
      [](const Commanded& c) -> PF_Err {
        const PF_InData& in = *c.in;
        EXPECT_EQ(in.width, 20);
        EXPECT_EQ(in.height, 10);
        EXPECT_EQ(in.downsample_x.num, 1);
        EXPECT_EQ(in.downsample_x.den, 2u);
        EXPECT_EQ(in.downsample_y.den, 3u);
        EXPECT_EQ(in.pixel_aspect_ratio.num, 10);
        EXPECT_EQ(in.pixel_aspect_ratio.den, 11u);
        EXPECT_EQ(in.current_time, 30 * 1024);
        EXPECT_EQ(in.time_step, 1024);
        EXPECT_EQ(in.local_time_step, 1024);
        EXPECT_EQ(in.time_scale, 30720u);
        EXPECT_EQ(in.quality, PF_Quality_LO);
        EXPECT_EQ(in.shutter_angle, 90 << 16);
        for (const PF_EffectWorld* world : {&c.params[0]->u.ld, c.output}) {
          EXPECT_EQ(world->width, 10);
          EXPECT_EQ(world->height, 4);
        }
        EXPECT_EQ(c.params[1]->u.fd.value, 3 << 16);  // at the frame's time
        PF_ParamDef point{};
        c.CheckOut(3, &point, 15 * 1024);
        EXPECT_EQ(point.u.td.x_value, 5 << 16);  // in buffer pixels
        EXPECT_EQ(point.u.td.y_value, (2 << 16) + 43691);
        return c.CheckIn(&point);
      },
      [](Scene& s, RenderOptions& o) {
        s.pixel_aspect = Rational(10, 11);
        s.controls.Set(1, Track<double>({{.seconds = 0, .value = 1}, {.seconds = 2, .value = 5}}));
        s.controls.Set(
            3, Track<Point>({{.seconds = 0, .value = {8, 8}}, {.seconds = 1, .value = {12, 8}}}));
        o.downsample_x = Rational(1, 2);
        o.downsample_y = Rational(1, 3);
        o.high_quality = false;
        o.shutter_angle = 90;
      });
}

TEST(Host, AnswersColoursUnroundedAtTheTimeOfTheCheckOut) {
  Provoke(
      [](const Commanded& c) -> PF_Err {
        const auto* const suite = c.Acquire<PF_ColorParamSuite1>(kPFColorParamSuite, 1);
        const auto color_of = [&](int index, A_long time, PF_PixelFloat* color) {
          PF_ParamDef def{};
          c.CheckOut(index, &def, time);
          const PF_Err err = suite->PF_GetFloatingPointColorFromColorDef(c.ref(), &def, color);
          EXPECT_EQ(def.u.cd.value.red, index == 1 ? 0 : std::lround(color->red * 255));
          c.CheckIn(&def);
          return err;
        };
        const std::pair<A_long, double> cases[]{
            {-5000, 0.1}, {0, 0.1}, {10240, 0.1 + 0.6 / 3}, {99999, 0.7}};
        PF_PixelFloat color{};
        for (const auto& [time, red] : cases) {
          EXPECT_EQ(color_of(2, time, &color), 0);
          EXPECT_EQ(color.alpha, 1);
          EXPECT_EQ(color.red, static_cast<float>(red)) << time;
        }
        EXPECT_NE(color_of(1, 0, &color), 0);  // a slider has none
        c.Release(kPFColorParamSuite, 1);
        return 0;
      },
      [](Scene& s, RenderOptions&) {
        s.controls.Set(2, Track<Color>({{.seconds = 0, .value = {0.1, 0, 0}},
                                        {.seconds = 1, .value = {0.7, 0, 0}}}));
      });
}

TEST(Host, AnswersForEveryLayerOfTheComposition) {
  const auto ask = [](const Commanded& c) -> PF_Err {
    const auto& interface = *c.Acquire<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, 1);
    const auto& layers = *c.Acquire<AEGP_LayerSuite5>(kAEGPLayerSuite, 5);
    const auto& lights = *c.Acquire<AEGP_LightSuite1>(kAEGPLightSuite, 1);
    const auto& streams = *c.Acquire<AEGP_StreamSuite4>(kAEGPStreamSuite, 4);
    A_Time time{};
    EXPECT_EQ(interface.AEGP_ConvertEffectToCompTime(c.ref(), 1024, 30720, &time), 0);
    EXPECT_EQ(time.value, 1024 + 15360);  // the layer starts half a second late
    EXPECT_EQ(time.scale, 30720u);
    AEGP_LayerH own = nullptr;
    AEGP_CompH comp = nullptr;
    A_long count = 0;
    EXPECT_EQ(interface.AEGP_GetEffectLayer(c.ref(), &own), 0);
    EXPECT_EQ(layers.AEGP_GetLayerParentComp(own, &comp), 0);
    EXPECT_EQ(layers.AEGP_GetCompNumLayers(comp, &count), 0);
    EXPECT_EQ(count, 3);
    AEGP_LayerH layer = nullptr;
    for (const int outside : {-1, 3}) {
      EXPECT_NE(layers.AEGP_GetCompLayerByIndex(comp, outside, &layer), 0);
    }
    EXPECT_EQ(layers.AEGP_GetCompLayerByIndex(comp, 1, &layer), 0);
    EXPECT_EQ(layer, own);
    AEGP_ObjectType type = -1;
    EXPECT_EQ(layers.AEGP_GetLayerObjectType(own, &type), 0);
    EXPECT_EQ(type, AEGP_ObjectType_AV);
    AEGP_LightType kind = -1;
    EXPECT_NE(lights.AEGP_GetLightType(own, &kind), 0);
    int foreign = 0;
    EXPECT_NE(layers.AEGP_GetLayerObjectType(reinterpret_cast<AEGP_LayerH>(&foreign), &type), 0);
    EXPECT_NE(layers.AEGP_GetCompNumLayers(reinterpret_cast<AEGP_CompH>(&foreign), &count), 0);

    AEGP_LayerH light = nullptr;
    layers.AEGP_GetCompLayerByIndex(comp, 0, &light);
    EXPECT_EQ(lights.AEGP_GetLightType(light, &kind), 0);
    EXPECT_EQ(kind, AEGP_LightType_SPOT);
    const struct {
      AEGP_LayerH asked;
      A_long value;
      bool active;  // from in up to, not including, out
    } times[] = {{light, 30719, false}, {light, 30720, true}, {light, 61439, true},
                 {light, 61440, false}, {own, 122880, true},  {own, 122881, false}};
    for (const auto& t : times) {
      for (const auto& [mode, start] :
           {std::pair{AEGP_LTimeMode_CompTime, 0}, {AEGP_LTimeMode_LayerTime, 15360}}) {
        const A_Time at{t.value - start, 30720};
        A_Boolean active = 9;
        EXPECT_EQ(layers.AEGP_IsVideoActive(t.asked, mode, &at, &active), 0);
        EXPECT_EQ(active != 0, t.active) << t.value;
      }
    }
    const A_Time at{46080, 30720};  // 1.5 s
    A_Matrix4 matrix{};
    EXPECT_EQ(layers.AEGP_GetLayerToWorldXformFromView(light, &at, &at, &matrix), 0);
    EXPECT_EQ(matrix.mat[3][0], 75);
    EXPECT_EQ(matrix.mat[0][0], 0.5);  // pixels twice as wide as high
    const std::pair<AEGP_LayerStream, double> values[]{{AEGP_LayerStream_INTENSITY, 150},
                                                       {AEGP_LayerStream_CONE_ANGLE, 80},
                                                       {AEGP_LayerStream_CONE_FEATHER, 20}};
    AEGP_StreamVal value{};
    AEGP_StreamType stream_type = 0;
    const auto stream = [&](AEGP_LayerH asked, AEGP_LayerStream which) {
      return streams.AEGP_GetLayerStreamValue(asked, which, AEGP_LTimeMode_CompTime, &at, 0, &value,
                                              &stream_type);
    };
    for (const auto& [which, expected] : values) {
      EXPECT_EQ(stream(light, which), 0);
      EXPECT_EQ(value.one_d, expected);
      EXPECT_EQ(stream_type, AEGP_StreamType_OneD);
    }
    EXPECT_EQ(stream(light, AEGP_LayerStream_COLOR), 0);
    EXPECT_EQ(stream_type, AEGP_StreamType_COLOR);
    EXPECT_EQ(value.color.greenF, 0.5);
    EXPECT_NE(stream(light, 3), 0);
    EXPECT_NE(stream(own, AEGP_LayerStream_COLOR), 0);
    c.Release(kAEGPPFInterfaceSuite, 1);
    c.Release(kAEGPLayerSuite, 5);
    c.Release(kAEGPLightSuite, 1);
    c.Release(kAEGPStreamSuite, 4);
    return 0;
  };
  Provoke(ask, [](Scene& s, RenderOptions&) {
    s.layer_start = 15360;
    s.pixel_aspect = Rational(2, 1);
    Layer spot{Layer::Kind::kLight, "Spot", true, {1, 2}, {}};
    spot.light.kind = LightKind::kSpot;
    spot.light.position =
        Track<Vec3>({{.seconds = 0, .value = {0, 0, 0}}, {.seconds = 2, .value = {100, 40, -20}}});
    spot.light.intensity = 150.0;
    spot.light.color = Color{1, 0.5, 0};
    spot.light.cone_angle = 80.0;
    spot.light.cone_feather = 20.0;
    s.composition.AddLight(spot);
    s.composition.EffectLayer().span.out = 4.00001;
    s.composition.layers.push_back({Layer::Kind::kPicture, "Below", true, {}, {}});
  });
}

std::vector<A_long> Sides(const PF_LRect& r) { return {r.left, r.top, r.right, r.bottom}; }
std::vector<A_long> Place(const PF_EffectWorld& w) {
  return {w.origin_x, w.origin_y, w.origin_x + w.width, w.origin_y + w.height};
}
using Rect = std::vector<A_long>;

TEST(Host, LendsWhatWasAnnouncedAndCutsOutTheRegion) {
  const auto behave = [](const Commanded& c) -> PF_Err {
    if (c.cmd == PF_Cmd_SMART_PRE_RENDER) {
      EXPECT_EQ(Sides(c.pre().input->output_request.rect), Rect({0, 0, 20, 10}));
      const auto check_out = [&](A_long id, PF_LRect rect, A_long layer = 0, A_long later = 0) {
        PF_RenderRequest request{};
        request.rect = rect;
        PF_CheckoutResult result{};
        const PF_Err err =
            c.pre().cb->checkout_layer(c.ref(), layer, id, &request, c.in->current_time + later,
                                       c.in->time_step, c.in->time_scale, &result);
        if (err != 0) return Rect{err};
        EXPECT_EQ(Sides(result.max_result_rect), Rect({0, 0, 20, 10}));
        return Sides(result.result_rect);
      };
      EXPECT_EQ(check_out(1, {-100, -100, 100, 100}), Rect({0, 0, 20, 10}));
      EXPECT_EQ(check_out(2, {15, 7, 99, 8}), Rect({15, 7, 20, 8}));
      EXPECT_EQ(check_out(3, {30, 0, 40, 10}), Rect({0, 0, 0, 0}));
      EXPECT_EQ(check_out(9, {0, 0, 1, 1}, 1), Rect{PF_Err_BAD_CALLBACK_PARAM});
      EXPECT_EQ(check_out(9, {0, 0, 1, 1}, 0, 1), Rect{PF_Err_BAD_CALLBACK_PARAM});
      c.pre().output->max_result_rect = {0, 0, 20, 10};
      c.pre().output->result_rect = {2, 3, 12, 6};
      return 0;
    }
    PF_EffectWorld* world = nullptr;
    EXPECT_EQ(c.smart().cb->checkout_layer_pixels(c.ref(), 2, &world), 0);
    EXPECT_EQ(Place(*world), Rect({15, 7, 20, 8}));
    EXPECT_EQ(world->data[0].red, 7 * 20 + 15);
    EXPECT_EQ(c.smart().cb->checkout_layer_pixels(c.ref(), 3, &world), 0);
    EXPECT_EQ(world, nullptr);
    EXPECT_EQ(c.smart().cb->checkout_output(c.ref(), &world), 0);
    EXPECT_EQ(Place(*world), Rect({2, 3, 12, 6}));
    const PF_Pixel white{255, 255, 255, 255};
    return c.Fill(world, &white);
  };
  const Frame frame = Provoke(behave, [](Scene&, RenderOptions& o) {
    o.smart = true;
    o.region = PF_LRect{-5, 2, 15, 9};
  });
  ASSERT_EQ(Place(frame.picture.record()), Rect({-5, 2, 15, 9}));
  for (int y = 2; y < 9; ++y) {
    for (int x = -5; x < 15; ++x) {
      const bool drawn = x >= 2 && x < 12 && y >= 3 && y < 6;
      EXPECT_EQ(frame.picture.Row<PF_Pixel>(y - 2)[x + 5].alpha, drawn ? 255 : 0) << x << " " << y;
    }
  }
}

}  // namespace
}  // namespace hosting
