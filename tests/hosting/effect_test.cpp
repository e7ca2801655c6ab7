// The built effect, as the host sees it outside rendering.
#include "hosting/effect.h"

#include <gtest/gtest.h>

#include <map>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

const Effect& TheEffect() {
  static const Effect effect{std::filesystem::path(VORLIN_EFFECT)};
  return effect;
}

TEST(Effect, TellsItsControls) {
  const Effect& effect = TheEffect();
  ASSERT_EQ(effect.controls().size(), 28u);
  for (std::size_t i = 0; i < 28; ++i) {
    EXPECT_EQ(effect.controls()[i].index, static_cast<int>(i) + 1);
  }
  const ControlTracks tracks(effect.controls(), 640, 480);
  const ControlInfo& roughness = tracks.Control("Roughness");
  EXPECT_EQ(roughness.precision, 3);
  EXPECT_EQ(roughness.valid.max, 0.5);
  EXPECT_EQ(std::get<double>(roughness.default_value), 1638 / 65536.0);
  EXPECT_EQ(tracks.Control("Using").choices,
            (std::vector<std::string>{"Effect Light", "AE Lights"}));
  EXPECT_TRUE(tracks.Control("Strength").percent);
  // What is written in decimals is in range, whatever 16.16 makes of the limit.
  EXPECT_NO_THROW(ControlTracks(tracks).Set("Roughness", Track<double>(0.001)));
  EXPECT_REFUSED(ControlTracks(tracks).Set("Roughness", Track<double>(0.0009)), "Roughness");
}

TEST(Effect, TellsWhatItIs) {
  const Effect& effect = TheEffect();
  EXPECT_EQ(effect.version(), PF_VERSION(1, 7, 0, PF_Stage_RELEASE, 0));
  EXPECT_NE(effect.out_flags2() & PF_OutFlag2_SUPPORTS_SMART_RENDER, 0);
  const std::string about = effect.About();
  EXPECT_NE(about.find("ZT Vorlin, v1.7"), std::string::npos) << about;
  EXPECT_NE(about.find("\nLiquid stroke"), std::string::npos) << about;
  EXPECT_EQ(about.find('\r'), std::string::npos);
}

TEST(Effect, ArrangesThePanel) {
  const Effect& effect = TheEffect();
  Scene setup = SceneFor(effect);
  const auto index = [&](const char* name) {
    return static_cast<std::size_t>(setup.controls.Control(name).index);
  };
  Panel panel = effect.InitialPanel();
  EXPECT_FALSE(panel[index("Wobble Width")].enabled);
  EXPECT_TRUE(panel[index("Light Direction")].enabled);
  EXPECT_EQ(effect.Supervise(setup, 0, panel), panel);  // as it set itself up

  setup.controls.Set("Paint Style", Track<int>(2));
  setup.controls.Set("Using", Track<int>(2));
  panel = effect.Supervise(setup, 0, panel, static_cast<int>(index("Using")));
  for (const char* name : {"Wobble Width", "Wobble Height", "Wobble Speed"}) {
    EXPECT_TRUE(panel[index(name)].enabled) << name;
    EXPECT_TRUE(panel[index(name)].collapsed) << name;  // enabling opens nothing
  }
  for (const char* name : {"Light Intensity", "Light Color", "Light Type", "Light Height",
                           "Light Position", "Light Direction"}) {
    EXPECT_FALSE(panel[index(name)].enabled) << name;
  }

  setup.controls.Set("Using", Track<int>(1));
  setup.controls.Set("Light Type", Track<int>(2));
  panel = effect.Supervise(setup, 0, panel);
  EXPECT_TRUE(panel[index("Light Position")].enabled);
  EXPECT_FALSE(panel[index("Light Direction")].enabled);
  EXPECT_REFUSED(effect.Supervise(setup, 0, Panel(3)), "not this effect's");
}

TEST(Effect, AsksForLightsWhenItUsesThem) {
  const Effect& effect = TheEffect();
  Scene setup = SceneFor(effect);
  EXPECT_EQ(effect.DynamicFlags(setup, 0) & PF_OutFlag2_I_USE_3D_LIGHTS, 0);
  setup.controls.Set("Using", Track<int>(2));
  EXPECT_NE(effect.DynamicFlags(setup, 0) & PF_OutFlag2_I_USE_3D_LIGHTS, 0);
  EXPECT_EQ(effect.DynamicFlags(setup, 0) & ~PF_OutFlag2_I_USE_3D_LIGHTS,
            effect.out_flags2() & ~PF_OutFlag2_I_USE_3D_LIGHTS);
}

TEST(Effect, IsWatchedFromItsFirstCall) {
  std::map<CallKind, int> calls;
  const Effect effect(std::filesystem::path(VORLIN_EFFECT), [&](const Call& call) -> PF_Err {
    ++calls[call.kind];
    return 0;
  });
  EXPECT_EQ(calls[CallKind::kAddParam], 28);
  EXPECT_EQ(calls[CallKind::kStrcpy], 25);  // three group ends have no name
  const auto refuse_fifth = [](const Call& call) -> PF_Err {
    return call.kind == CallKind::kAddParam &&
                   call.arguments[1].value == Argument{"", std::int64_t{5}}.value
               ? PF_Err_OUT_OF_MEMORY
               : 0;
  };
  EXPECT_REFUSED(Effect(std::filesystem::path(VORLIN_EFFECT), refuse_fifth),
                 "PF_Cmd_PARAMS_SETUP with 4");
}

TEST(Effect, RefusesWhatIsNone) {
  EXPECT_REFUSED(Effect(std::filesystem::path("no/such/library.so")), "cannot be loaded");
  const auto miscounting = [](PF_Cmd cmd, PF_InData*, PF_OutData* out, PF_ParamDef**, PF_LayerDef*,
                              void*) -> PF_Err {
    if (cmd == PF_Cmd_PARAMS_SETUP) out->num_params = 3;
    return 0;
  };
  EXPECT_REFUSED(Effect(static_cast<PF_MainEntry>(miscounting)),
                 "num_params is 3 after 0 calls of add_param, expected 1");
}

TEST(Call, ReadsAsALine) {
  Call call{PF_Cmd_RENDER,
            CallKind::kCheckoutParam,
            7,
            {{{"", std::int64_t{4}},
              {"", std::string_view("Time Span (sec)")},
              {"t", std::int64_t{-5}},
              {"x", 0.5}}},
            4};
  EXPECT_EQ(call.Text(), "checkout_param(4 \"Time Span (sec)\" t=-5 x=0.5)");
  call.argument_count = 0;
  EXPECT_EQ(call.Text(), "checkout_param()");
}

}  // namespace
}  // namespace hosting
