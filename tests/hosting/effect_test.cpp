// Effects, as the host sees them outside rendering.
#include "hosting/effect.h"

#include <gtest/gtest.h>

#include "fixture_effect.h"
#include "refusal.h"

namespace hosting {
namespace {

const std::filesystem::path kBuilt = VORLIN_EFFECT;

TEST(Effect, IsLoadedWithItsControlsAndPanel) {
  const Effect effect{kBuilt};
  EXPECT_EQ(effect.version(), PF_VERSION(1, 7, 0, PF_Stage_RELEASE, 0));
  EXPECT_EQ(effect.controls().size(), 28u);
  EXPECT_NE(effect.About().find("\nLiquid stroke"), std::string::npos) << effect.About();

  Scene scene = SceneFor(effect);
  const auto index = [&](const char* name) { return scene.controls.Control(name).index; };
  const auto at = [](const Panel& panel, int i) { return panel[static_cast<std::size_t>(i)]; };
  const Panel first = effect.InitialPanel();
  const int wobble = index("Wobble Width");
  EXPECT_EQ(at(first, wobble), (ControlState{.enabled = false, .collapsed = true}));
  EXPECT_EQ(effect.Supervise(scene, 0, first), first);  // as it set itself up
  EXPECT_EQ(effect.DynamicFlags(scene, 0) & PF_OutFlag2_I_USE_3D_LIGHTS, 0);

  scene.controls.Set("Paint Style", Track<int>(2));
  scene.controls.Set("Using", Track<int>(2));
  const Panel panel = effect.Supervise(scene, 0, first, index("Using"));
  EXPECT_EQ(at(panel, wobble), (ControlState{.enabled = true, .collapsed = true}));
  EXPECT_FALSE(at(panel, index("Light Direction")).enabled);
  EXPECT_NE(effect.DynamicFlags(scene, 0) & PF_OutFlag2_I_USE_3D_LIGHTS, 0);
  EXPECT_REFUSED(effect.Supervise(scene, 0, Panel(3)), "not this effect's");
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

TEST(Observer, SeesEveryCallAndMayRefuseIt) {
  std::vector<std::string> calls;
  const auto refuse_fifth = [&](const Call& call) -> PF_Err {
    if (call.kind != CallKind::kAddParam) return 0;
    calls.push_back(call.Text());
    return calls.size() == 5 ? PF_Err_OUT_OF_MEMORY : 0;
  };
  EXPECT_EQ(RefusalOf([&] { const Effect effect(kBuilt, refuse_fifth); }),
            "the effect answered PF_Cmd_PARAMS_SETUP with 4 (PF_Err_OUT_OF_MEMORY)");
  EXPECT_EQ(calls, (std::vector<std::string>{"add_param(-1 id=1)", "add_param(-1 id=2)",
                                             "add_param(-1 id=3)", "add_param(-1 id=4)",
                                             "add_param(-1 id=5)"}));
  const Call call{PF_Cmd_RENDER,
                  CallKind::kCheckoutParam,
                  7,
                  {{{"", std::int64_t{4}},
                    {"", std::string_view("Time Span (sec)")},
                    {"t", std::int64_t{-5}},
                    {"x", 0.5}}},
                  4};
  EXPECT_EQ(call.Text(), "checkout_param(4 \"Time Span (sec)\" t=-5 x=0.5)");
}

}  // namespace
}  // namespace hosting
