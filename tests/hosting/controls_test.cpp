// The built effect's controls and panel, as the host knows them.
#include "hosting/controls.h"

#include <cmath>

#include "fixture_effect.h"

namespace hosting {
namespace {

const std::filesystem::path kBuilt = VORLIN_EFFECT;

/// On a layer of 200 x 80.
ControlTracks Controls() { return {Effect(kBuilt).controls(), 200, 80}; }

/// The value in a control's record, whatever its type.
std::string ValueOf(const ControlTracks& controls, const char* name, double seconds, double x) {
  const ControlInfo& control = controls.Control(name);
  const PF_ParamDef p = controls.At(control.index, seconds, x, 1);
  const PF_Pixel color = p.u.cd.value;
  switch (control.type) {
    case ControlType::kColor:
      return Text(+color.alpha, +color.red, +color.green, +color.blue);
    case ControlType::kPoint:
      return Text(p.u.td.x_value, p.u.td.y_value);
    case ControlType::kPopup:
      return Text(p.u.pd.value);
    default:
      return Text(control.type == ControlType::kAngle ? p.u.ad.value : p.u.fd.value);
  }
}

TEST(ControlTracks, AnswerAnyTimeRoundedToNearest) {
  const Track<double> rising({{.seconds = 0, .value = 0}, {.seconds = 3, .value = 1}});
  const Track<double> overshooting({{.seconds = 0, .value = 0, .out = {0.3, -3}},
                                    {.seconds = 1, .value = 100, .in = {0.3, -3}}});
  const struct {
    const char* name;
    std::optional<ControlTrack> track;  // else the default
    double seconds;
    const char* expected;
    double downsample_x = 1;
  } cases[] = {
      {"Roughness", {}, 0, "1638"},
      {"Brush Position", {}, 0, "3276800 2621440", 0.5},  // half of 200, at half resolution
      {"Light Color", {}, 0, "255 255 255 255"},
      {"Strength", rising, -1e6, "0"},
      {"Strength", rising, 1, "21845"},  // 65536 / 3 = 21845.33
      {"Strength", rising, 1e6, "65536"},
      {"Strength", overshooting, 0.2, "0"},  // held in range
      {"Strength", overshooting, 0.8, "6553600"},
      {"Paint Style", Track<int>(2), 0, "2"},
      {"Light Direction", Track<double>(-1000.25), 0, "-65552384"},
      {"Brush Position", Track<Point>({10.5, -3}), 0, "229376 -196608", 1.0 / 3},
      {"Light Color", Track<Color>({0.5, 0.001, 1}), 0, "255 128 0 255"}};  // 127.5
  for (const auto& c : cases) {
    ControlTracks controls = Controls();
    if (c.track) controls.Set(c.name, *c.track);
    EXPECT_EQ(ValueOf(controls, c.name, c.seconds, c.downsample_x), c.expected)
        << c.name << " at " << c.seconds;
  }
}

TEST(ControlTracks, RefuseWhatTheControlCannotTake) {
  using Numbers = Track<double>;
  const struct {
    const char* said;
    const char* name;
    ControlTrack track;
  } cases[] = {
      {"\"Strength\" is 100.1, but must be from 0 to 100", "Strength", Numbers(100.1)},
      {"from 0 to 100", "Strength", Numbers(NAN)},
      {"from 0.000992", "Roughness", Numbers(0.0009)},
      {"another type", "Strength", Track<int>(3)},
      {"from 1 to 2", "Paint Style", Track<int>(3)},
      {"over time", "Paint Style", Track<int>({{.seconds = 0, .value = 1}, {.seconds = 1}})},
      {"from 0 to 1", "Light Color", Track<Color>({0, 1.01, 0})},
      {"from -32767 to 32767", "Brush Position", Track<Point>({40000, 0})},
      {"no control \"Style\"", "Style", Numbers(1)}};
  ControlTracks controls = Controls();
  for (const auto& c : cases) EXPECT_REFUSED(controls.Set(c.name, c.track), c.said);
  EXPECT_REFUSED(controls.Set(0, Numbers(1)), "no control 0");
  EXPECT_REFUSED(controls.ColorAt(1, 0), "no colour");
  EXPECT_NO_THROW(controls.Set("Roughness", Numbers(0.001)));  // 16.16 cuts the limit off
}

TEST(Effect, TellsItsControlsAndArrangesThePanel) {
  const Effect effect{kBuilt};
  Scene scene = SceneFor(effect);
  const ControlInfo& strength = scene.controls.Control("Strength");
  EXPECT_EQ(Text(strength.index, strength.id, strength.slider.max, strength.valid.max,
                 strength.precision, strength.percent, strength.can_vary),
            "6 6 100 100 1 1 1");
  const ControlInfo& style = scene.controls.Control("Paint Style");
  EXPECT_EQ(Text(style.choices.size(), style.choices.back(), style.supervised, style.can_vary),
            "2 Wobbly 1 0");
  EXPECT_NE(effect.About().find("\nLiquid stroke"), std::string::npos) << effect.About();

  const auto state = [&](const Panel& panel, const char* name) {
    const auto index = static_cast<std::size_t>(scene.controls.Control(name).index);
    return Text(panel[index].enabled, panel[index].collapsed);
  };
  const Panel first = effect.InitialPanel();
  EXPECT_EQ(state(first, "Wobble Width"), "0 1");
  EXPECT_EQ(effect.Supervise(scene, 0, first), first);  // as it set itself up
  scene.controls.Set("Paint Style", Track<int>(2));
  EXPECT_EQ(state(effect.Supervise(scene, 0, first, style.index), "Wobble Width"), "1 1");
  EXPECT_REFUSED(effect.Supervise(scene, 0, Panel(3)), "not this effect's");
  EXPECT_EQ(effect.DynamicFlags(scene, 0) & PF_OutFlag2_I_USE_3D_LIGHTS, 0);
  scene.controls.Set("Using", Track<int>(2));
  EXPECT_NE(effect.DynamicFlags(scene, 0) & PF_OutFlag2_I_USE_3D_LIGHTS, 0);
}

TEST(ControlTracks, SliderIsZeroOutsideItsSpans) {
  const Effect effect(std::filesystem::path(VORLIN_EFFECT));
  ControlTracks controls(effect.controls(), 100, 100);
  controls.Gate("Stroke Width", {{0, 1.2}, {1.2, 1.3}, {1.5, 2}});
  controls.Set("Stroke Width", Track<double>(6.5));  // whatever is set later
  const int index = controls.Control("Stroke Width").index;
  constexpr double kOne = 1 << 16;  // 16.16
  // In units of 1/30720 s: 36864 is 1.2 s, 39936 is 1.3 s, 46080 is 1.5 s.
  for (const auto& [unit, width] : {std::pair(-1, 0.0),
                                    {0, 6.5},
                                    {36864, 6.5},
                                    {39935, 6.5},
                                    {39936, 0.0},
                                    {46079, 0.0},
                                    {46080, 6.5},
                                    {61440, 0.0}}) {
    EXPECT_EQ(controls.At(index, unit / 30720.0, 1, 1).u.fd.value, width * kOne) << unit;
  }
  EXPECT_REFUSED(controls.Gate("Stroke Width", {{0, 2}, {1, 3}}), "follow each other");
  EXPECT_REFUSED(controls.Gate("Stroke Width", {{1, 1}}), "ends after it begins");
  EXPECT_REFUSED(controls.Gate("Brush Position", {{0, 1}}), "no slider");
}

TEST(Effect, RefusesWhatIsNone) {
  EXPECT_REFUSED(Effect(std::filesystem::path("no/such/library.so")), "cannot be loaded");
  const PF_MainEntry miscounting = [](PF_Cmd, PF_InData*, PF_OutData* out, auto...) -> PF_Err {
    out->num_params = 3;
    return 0;
  };
  EXPECT_REFUSED(Effect{miscounting}, "num_params is 3 after 0 calls of add_param, expected 1");
}

TEST(Observer, SeesEveryCallAndMayRefuseIt) {
  std::string seen;
  const auto refuse = [&](const Call& call) -> PF_Err {
    if (call.kind != CallKind::kCheckoutParam) return 0;
    seen = call.Text();
    return PF_Err_OUT_OF_MEMORY;
  };
  const auto behave = [](const Commanded& c) {
    PF_ParamDef def{};
    const PF_Err err = c.CheckOut(1, &def, -5);
    return c.CheckIn(&def) != 0 ? 0 : err;
  };
  const auto observed = [&](Scene&, RenderOptions& o) { o.observer = refuse; };
  EXPECT_REFUSED(Provoke(behave, observed), "PF_Cmd_RENDER with 4");
  EXPECT_EQ(seen, "checkout_param(1 \"\" t=-5 step=1024 scale=30720)");
}

}  // namespace
}  // namespace hosting
