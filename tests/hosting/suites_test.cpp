// What the host's callbacks and suites answer, asked by an effect made for it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "fixture_effect.h"
#include "hosting/render.h"
#include "refusal.h"

namespace hosting {
namespace {

TEST(Ansi, IsTheStandardLibrary) {
  for (const bool observed : {false, true}) {
    int calls = 0;
    Provoke(
        [](const Commanded& c) -> PF_Err {
          const PF_ANSICallbacks& ansi = c.in->utils->ansi;
          for (const double v : {0.0, 0.3, 1.0, 7.5, 1e9}) {
            EXPECT_EQ(ansi.cos(v), std::cos(v));
            EXPECT_EQ(ansi.sin(v), std::sin(v));
            EXPECT_EQ(ansi.sqrt(v), std::sqrt(v));
            EXPECT_EQ(ansi.pow(v, 2.5), std::pow(v, 2.5));
          }
          char text[64];
          EXPECT_EQ(ansi.sprintf(text, "%s %d %.2f", "a", 5, 0.5), 8);
          EXPECT_STREQ(text, "a 5 0.50");
          EXPECT_EQ(ansi.strcpy(text, "copied"), text);
          EXPECT_STREQ(text, "copied");
          return 0;
        },
        [&](Scene&, RenderOptions& o) {
          if (!observed) return;
          o.observer = [&](const Call&) -> PF_Err {
            ++calls;
            return 77;  // arithmetic has no code to fail with
          };
        });
    EXPECT_EQ(calls, observed ? 22 : 0);
  }
}

TEST(Records, DescribeTheLayerAtFullResolutionAndTheBufferAsItIs) {
  Provoke(
      [](const Commanded& c) -> PF_Err {
        EXPECT_EQ(c.in->width, 20);
        EXPECT_EQ(c.in->height, 10);
        EXPECT_EQ(c.in->downsample_x.num, 1);
        EXPECT_EQ(c.in->downsample_x.den, 2u);
        EXPECT_EQ(c.in->downsample_y.den, 3u);
        EXPECT_EQ(c.in->pixel_aspect_ratio.num, 10);
        EXPECT_EQ(c.in->pixel_aspect_ratio.den, 11u);
        EXPECT_EQ(c.in->current_time, 30 * 1024);
        EXPECT_EQ(c.in->time_step, 1024);
        EXPECT_EQ(c.in->time_scale, 30720u);
        EXPECT_EQ(c.in->quality, PF_Quality_LO);
        EXPECT_EQ(c.in->shutter_angle, 90 << 16);
        const PF_LayerDef& layer = c.params[0]->u.ld;
        EXPECT_EQ(layer.width, 10);
        EXPECT_EQ(layer.height, 4);
        EXPECT_EQ(c.output->width, 10);
        EXPECT_EQ(c.output->height, 4);
        EXPECT_EQ(c.params[1]->u.fd.value, 3 << 16);  // at the frame's time
        return 0;
      },
      [](Scene& s, RenderOptions& o) {
        s.pixel_aspect = Rational(10, 11);
        s.controls.Set(1, Track<double>({{.seconds = 0, .value = 1}, {.seconds = 2, .value = 5}}));
        o.downsample_x = Rational(1, 2);
        o.downsample_y = Rational(1, 3);
        o.high_quality = false;
        o.shutter_angle = 90;
      });
}

TEST(ColorParamSuite, AnswersUnroundedAtTheTimeOfTheCheckOut) {
  Provoke(
      [](const Commanded& c) -> PF_Err {
        const auto& suite = Acquire<PF_ColorParamSuite1>(c, kPFColorParamSuite, 1);
        for (const A_long t : {-5000, 0, 10240, 99999}) {
          PF_ParamDef def{};
          PF_PixelFloat color{};
          c.in->inter.checkout_param(c.in->effect_ref, 2, t, 1024, 30720, &def);
          EXPECT_EQ(suite.PF_GetFloatingPointColorFromColorDef(c.in->effect_ref, &def, &color), 0);
          const float expected = t <= 0       ? 0.1f
                                 : t == 10240 ? static_cast<float>(0.1 + 0.6 / 3)
                                              : 0.7f;
          EXPECT_EQ(color.alpha, 1);
          EXPECT_EQ(color.red, expected) << t;
          EXPECT_EQ(def.u.cd.value.red, std::lround(expected * 255));
          c.in->inter.checkin_param(c.in->effect_ref, &def);
        }
        PF_ParamDef slider{};
        PF_PixelFloat color{};
        c.in->inter.checkout_param(c.in->effect_ref, 1, 0, 1024, 30720, &slider);
        EXPECT_NE(suite.PF_GetFloatingPointColorFromColorDef(c.in->effect_ref, &slider, &color), 0);
        c.in->inter.checkin_param(c.in->effect_ref, &slider);
        Release(c, kPFColorParamSuite, 1);
        return 0;
      },
      [](Scene& s, RenderOptions&) {
        s.controls.Set(2, Track<Color>({{.seconds = 0, .value = {0.1, 0, 0}},
                                        {.seconds = 1, .value = {0.7, 0, 0}}}));
      });
}

TEST(SamplingSuites, SampleTheLayerAndOtherWorlds) {
  Provoke([](const Commanded& c) -> PF_Err {
    const auto& suite = Acquire<PF_Sampling8Suite1>(c, kPFSampling8Suite, 1);
    const auto& deep = Acquire<PF_Sampling16Suite1>(c, kPFSampling16Suite, 1);
    PF_LayerDef& layer = c.params[0]->u.ld;
    PF_SampPB block{5 << 16, 2 << 16, 0, &layer};
    PF_Pixel got{};
    EXPECT_EQ(suite.area_sample(c.in->effect_ref, 10 << 16, 5 << 16, &block, &got), 0);
    EXPECT_EQ(got.red, 110);  // 20 a row, 1 a column, even about pixel (10, 5)
    // A world of the effect's own, and a view of a part of the layer.
    PF_EffectWorld part = layer;
    part.data += 4;
    part.width -= 4;
    block.src = &part;
    EXPECT_EQ(suite.area_sample(c.in->effect_ref, 6 << 16, 5 << 16, &block, &got), 0);
    EXPECT_EQ(got.red, 110);
    PF_Pixel16 wrong{};
    EXPECT_NE(deep.area_sample(c.in->effect_ref, 6 << 16, 5 << 16, &block, &wrong), 0);
    PF_Pixel foreign{};
    PF_EffectWorld unknown{0, &foreign, 4, 1, 1, 0, 0};
    block.src = &unknown;
    EXPECT_NE(suite.area_sample(c.in->effect_ref, 0, 0, &block, &got), 0);
    EXPECT_EQ(suite.nn_sample, nullptr);
    Release(c, kPFSampling8Suite, 1);
    Release(c, kPFSampling16Suite, 1);
    return 0;
  });
}

TEST(CompositionSuites, AnswerForEveryLayer) {
  const auto ask = [](const Commanded& c) -> PF_Err {
    const auto& interface = Acquire<AEGP_PFInterfaceSuite1>(c, kAEGPPFInterfaceSuite, 1);
    const auto& layers = Acquire<AEGP_LayerSuite5>(c, kAEGPLayerSuite, 5);
    const auto& lights = Acquire<AEGP_LightSuite1>(c, kAEGPLightSuite, 1);
    const auto& streams = Acquire<AEGP_StreamSuite4>(c, kAEGPStreamSuite, 4);
    A_Time time{};
    EXPECT_EQ(interface.AEGP_ConvertEffectToCompTime(c.in->effect_ref, 1024, 30720, &time), 0);
    EXPECT_EQ(time.value, 1024 + 15360);  // the layer starts half a second late
    EXPECT_EQ(time.scale, 30720u);
    AEGP_LayerH own = nullptr;
    AEGP_CompH comp = nullptr;
    A_long count = 0;
    EXPECT_EQ(interface.AEGP_GetEffectLayer(c.in->effect_ref, &own), 0);
    EXPECT_EQ(layers.AEGP_GetLayerParentComp(own, &comp), 0);
    EXPECT_EQ(layers.AEGP_GetCompNumLayers(comp, &count), 0);
    EXPECT_EQ(count, 3);
    AEGP_LayerH layer = nullptr;
    EXPECT_NE(layers.AEGP_GetCompLayerByIndex(comp, 3, &layer), 0);
    EXPECT_NE(layers.AEGP_GetCompLayerByIndex(comp, -1, &layer), 0);
    EXPECT_EQ(layers.AEGP_GetCompLayerByIndex(comp, 1, &layer), 0);
    EXPECT_EQ(layer, own);
    AEGP_ObjectType type = -1;
    EXPECT_EQ(layers.AEGP_GetLayerObjectType(own, &type), 0);
    EXPECT_EQ(type, AEGP_ObjectType_AV);
    AEGP_LightType kind = -1;
    EXPECT_NE(lights.AEGP_GetLightType(own, &kind), 0);

    AEGP_LayerH light = nullptr;
    layers.AEGP_GetCompLayerByIndex(comp, 0, &light);
    const struct {
      A_long value;
      bool active;
    } times[] = {{30719, false}, {30720, true}, {61439, true}, {61440, false}};
    for (const auto& t : times) {
      const A_Time at{t.value, 30720};
      A_Boolean active = 9;
      EXPECT_EQ(layers.AEGP_IsVideoActive(light, AEGP_LTimeMode_CompTime, &at, &active), 0);
      EXPECT_EQ(active != 0, t.active) << t.value;
      const A_Time in_layer{t.value - 15360, 30720};
      layers.AEGP_IsVideoActive(light, AEGP_LTimeMode_LayerTime, &in_layer, &active);
      EXPECT_EQ(active != 0, t.active) << t.value;
    }
    const A_Time at{46080, 30720};
    AEGP_StreamVal value{};
    AEGP_StreamType stream_type = 0;
    for (const auto& [stream, known] :
         {std::pair{AEGP_LayerStream{3}, false}, {AEGP_LayerStream_COLOR, true}}) {
      EXPECT_EQ(streams.AEGP_GetLayerStreamValue(light, stream, AEGP_LTimeMode_CompTime, &at, 0,
                                                 &value, &stream_type) == 0,
                known);
    }
    EXPECT_EQ(stream_type, AEGP_StreamType_COLOR);
    int foreign = 0;
    EXPECT_NE(layers.AEGP_GetLayerObjectType(reinterpret_cast<AEGP_LayerH>(&foreign), &type), 0);
    EXPECT_NE(layers.AEGP_GetCompNumLayers(reinterpret_cast<AEGP_CompH>(&foreign), &count), 0);
    Release(c, kAEGPPFInterfaceSuite, 1);
    Release(c, kAEGPLayerSuite, 5);
    Release(c, kAEGPLightSuite, 1);
    Release(c, kAEGPStreamSuite, 4);
    return 0;
  };
  Provoke(ask, [](Scene& s, RenderOptions&) {
    s.layer_start = 15360;
    s.composition.AddLight({Layer::Kind::kLight, "Spot", true, {1, 2}, {}});
    s.composition.layers.push_back({Layer::Kind::kPicture, "Below", true, {}, {}});
  });
}

PF_CheckoutResult CheckOutLayer(const Commanded& c, A_long id, PF_LRect rect) {
  auto& extra = *static_cast<PF_PreRenderExtra*>(c.extra);
  PF_RenderRequest request = extra.input->output_request;
  request.rect = rect;
  PF_CheckoutResult result{};
  EXPECT_EQ(extra.cb->checkout_layer(c.in->effect_ref, 0, id, &request, c.in->current_time,
                                     c.in->time_step, c.in->time_scale, &result),
            0);
  return result;
}

void ExpectRect(const PF_LRect& r, PF_LRect expected) {
  EXPECT_EQ(r.left, expected.left);
  EXPECT_EQ(r.top, expected.top);
  EXPECT_EQ(r.right, expected.right);
  EXPECT_EQ(r.bottom, expected.bottom);
}

TEST(SmartRender, LendsWhatWasAnnouncedAndDrawsWhatWasPromised) {
  const auto behave = [](const Commanded& c) -> PF_Err {
    if (c.cmd == PF_Cmd_SMART_PRE_RENDER) {
      auto& extra = *static_cast<PF_PreRenderExtra*>(c.extra);
      ExpectRect(extra.input->output_request.rect, {0, 0, 20, 10});  // whatever the region
      const PF_CheckoutResult whole = CheckOutLayer(c, 1, {-100, -100, 100, 100});
      ExpectRect(whole.result_rect, {0, 0, 20, 10});
      ExpectRect(whole.max_result_rect, {0, 0, 20, 10});
      ExpectRect(CheckOutLayer(c, 2, {15, 7, 99, 8}).result_rect, {15, 7, 20, 8});
      ExpectRect(CheckOutLayer(c, 3, {30, 0, 40, 10}).result_rect, {0, 0, 0, 0});
      PF_RenderRequest request{};
      PF_CheckoutResult result{};
      const auto& in = *c.in;
      EXPECT_NE(extra.cb->checkout_layer(in.effect_ref, 1, 9, &request, in.current_time,
                                         in.time_step, in.time_scale, &result),
                0);
      EXPECT_NE(extra.cb->checkout_layer(in.effect_ref, 0, 9, &request, in.current_time + 1,
                                         in.time_step, in.time_scale, &result),
                0);
      extra.output->max_result_rect = whole.max_result_rect;
      extra.output->result_rect = {2, 3, 12, 6};
      return 0;
    }
    auto& extra = *static_cast<PF_SmartRenderExtra*>(c.extra);
    PF_EffectWorld* world = nullptr;
    EXPECT_EQ(extra.cb->checkout_layer_pixels(c.in->effect_ref, 2, &world), 0);
    EXPECT_EQ(world->width, 5);
    EXPECT_EQ(world->height, 1);
    EXPECT_EQ(world->origin_x, 15);
    EXPECT_EQ(world->origin_y, 7);
    EXPECT_EQ(world->data[0].red, 7 * 20 + 15);
    EXPECT_EQ(extra.cb->checkout_layer_pixels(c.in->effect_ref, 3, &world), 0);
    EXPECT_EQ(world, nullptr);
    EXPECT_EQ(extra.cb->checkout_output(c.in->effect_ref, &world), 0);
    EXPECT_EQ(world->width, 10);
    EXPECT_EQ(world->height, 3);
    EXPECT_EQ(world->origin_x, 2);
    EXPECT_EQ(world->origin_y, 3);
    const PF_Pixel white{255, 255, 255, 255};
    return c.in->utils->fill(c.in->effect_ref, &white, nullptr, world);
  };
  const Frame frame = Provoke(behave, [](Scene&, RenderOptions& o) {
    o.smart = true;
    o.region = PF_LRect{-5, 2, 15, 9};
  });
  ASSERT_EQ(frame.picture.width(), 20);
  ASSERT_EQ(frame.picture.height(), 7);
  for (int y = 2; y < 9; ++y) {
    for (int x = -5; x < 15; ++x) {
      const bool drawn = x >= 2 && x < 12 && y >= 3 && y < 6;
      EXPECT_EQ(frame.picture.Row<PF_Pixel>(y - 2)[x + 5].alpha, drawn ? 255 : 0) << x << " " << y;
    }
  }
}

TEST(SmartRender, NamesWhatBreaksTheProtocol) {
  const struct {
    const char* said;
    std::function<void(const Commanded&)> pre;
    std::function<void(const Commanded&)> render;
  } cases[] = {
      {"checkout_layer with id -1, which is negative or taken",
       [](const Commanded& c) {
         PF_RenderRequest request{};
         PF_CheckoutResult result{};
         static_cast<PF_PreRenderExtra*>(c.extra)->cb->checkout_layer(
             c.in->effect_ref, 0, -1, &request, c.in->current_time, c.in->time_step,
             c.in->time_scale, &result);
       },
       {}},
      {"result_rect (0, 0, 20, 11) reaches out of max_result_rect (0, 0, 20, 10)",
       [](const Commanded& c) {
         auto& output = *static_cast<PF_PreRenderExtra*>(c.extra)->output;
         output.max_result_rect = {0, 0, 20, 10};
         output.result_rect = {0, 0, 20, 11};
       },
       {}},
      {"checkout_layer_pixels with id 7, which no checkout_layer announced",
       [](const Commanded& c) {
         auto& output = *static_cast<PF_PreRenderExtra*>(c.extra)->output;
         output.max_result_rect = output.result_rect = {0, 0, 20, 10};
       },
       [](const Commanded& c) {
         PF_EffectWorld* world = nullptr;
         static_cast<PF_SmartRenderExtra*>(c.extra)->cb->checkout_layer_pixels(c.in->effect_ref, 7,
                                                                               &world);
       }},
  };
  for (const auto& c : cases) {
    const auto behave = [&](const Commanded& command) -> PF_Err {
      if (command.cmd == PF_Cmd_SMART_PRE_RENDER) c.pre(command);
      if (command.cmd == PF_Cmd_SMART_RENDER && c.render) c.render(command);
      return 0;
    };
    EXPECT_REFUSED(Provoke(behave, [](Scene&, RenderOptions& o) { o.smart = true; }), c.said);
  }
}

TEST(Commands, CannotBeGivenFromWithinAnother) {
  Provoke([](const Commanded& c) -> PF_Err {
    EXPECT_EQ(c.cmd, PF_Cmd_RENDER);
    EXPECT_REFUSED(const Effect nested{FixtureEntry}, "from within another");
    return 0;
  });
}

}  // namespace
}  // namespace hosting
