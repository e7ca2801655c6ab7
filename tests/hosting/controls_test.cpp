#include "hosting/controls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "refusal.h"

namespace hosting {
namespace {

PF_ParamDef Record(PF_ParamType type, const char* name, PF_ParamFlags flags = 0) {
  PF_ParamDef def{};
  def.param_type = type;
  def.flags = flags;
  std::strcpy(def.name, name);
  switch (type) {
    case PF_Param_FIX_SLIDER:
      def.ui_flags = PF_PUI_DISABLED;
      def.uu.id = 77;
      def.u.fd = {5 << 16, "",       "",      -(2 << 16), 100 << 16,
                  0,       20 << 16, 5 << 16, 2,          PF_ValueDisplayFlag_PERCENT};
      break;
    case PF_Param_POPUP:
      def.u.pd.value = def.u.pd.dephault = 2;
      def.u.pd.num_choices = 3;
      def.u.pd.u.namesptr = "One|Two|Three";
      break;
    case PF_Param_POINT:
      def.u.td.x_dephault = 50 << 16;
      def.u.td.y_dephault = 25 << 16;
      break;
    case PF_Param_COLOR:
      def.u.cd.dephault = {255, 255, 51, 0};
      break;
    case PF_Param_ANGLE:
      def.u.ad.dephault = -45 * 65536;
      break;
    default:
      break;
  }
  return def;
}

/// On a layer of 200 x 80.
ControlTracks Controls() {
  const PF_ParamDef records[]{
      Record(PF_Param_FIX_SLIDER, "Width", PF_ParamFlag_COLLAPSE_TWIRLY),
      Record(PF_Param_POPUP, "Style", PF_ParamFlag_CANNOT_TIME_VARY | PF_ParamFlag_SUPERVISE),
      Record(PF_Param_POINT, "Place"),
      Record(PF_Param_COLOR, "Tint"),
      Record(PF_Param_ANGLE, "Turn"),
      Record(PF_Param_GROUP_START, "Group")};
  std::vector<ControlInfo> controls;
  for (const PF_ParamDef& record : records) {
    controls.push_back(DescribeControl(static_cast<int>(controls.size()) + 1, record));
  }
  return {controls, 200, 80};
}

TEST(DescribeControl, TakesEverythingFromTheRecord) {
  const ControlTracks controls = Controls();
  const ControlInfo& slider = controls.Control("Width");
  EXPECT_EQ(slider.index, 1);
  EXPECT_EQ(slider.id, 77);
  EXPECT_EQ(slider.type, ControlType::kSlider);
  EXPECT_EQ(slider.valid.min, -2);
  EXPECT_EQ(slider.valid.max, 100);
  EXPECT_EQ(slider.slider.max, 20);
  EXPECT_EQ(slider.precision, 2);
  EXPECT_TRUE(slider.percent && slider.can_vary);
  EXPECT_TRUE(slider.starts_disabled && slider.starts_collapsed);
  const ControlInfo& popup = controls.Control("Style");
  EXPECT_EQ(popup.choices, (std::vector<std::string>{"One", "Two", "Three"}));
  EXPECT_TRUE(popup.supervised && !popup.can_vary);
  EXPECT_EQ(std::get<Color>(controls.Control("Tint").default_value), (Color{1, 0.2, 0}));
  EXPECT_REFUSED(DescribeControl(1, Record(PF_Param_PATH, "Way")), "\"Way\" is of type 12");
}

TEST(ControlTracks, AnswerAnyTimeRoundedToNearest) {
  const auto overshooting = [](double from, double to) {
    return Track<double>({{.seconds = 0, .value = from, .out = {0.3, -3}},
                          {.seconds = 1, .value = to, .in = {0.3, -3}}});
  };
  const Track<double> rising({{.seconds = 0, .value = 0}, {.seconds = 3, .value = 1}});
  const auto slider = [](const PF_ParamDef& p) { return p.u.fd.value; };
  const auto angle = [](const PF_ParamDef& p) { return p.u.ad.value; };
  const auto popup = [](const PF_ParamDef& p) { return p.u.pd.value; };
  const auto point_x = [](const PF_ParamDef& p) { return p.u.td.x_value; };
  const auto point_y = [](const PF_ParamDef& p) { return p.u.td.y_value; };
  const auto green = [](const PF_ParamDef& p) { return PF_Fixed{p.u.cd.value.green}; };
  const auto alpha = [](const PF_ParamDef& p) { return PF_Fixed{p.u.cd.value.alpha}; };
  const struct {
    const char* control;
    std::optional<ControlTrack> track;  // else the default
    double seconds;
    std::function<PF_Fixed(const PF_ParamDef&)> value;
    PF_Fixed expected;
    double downsample = 1;
  } cases[] = {
      {"Width", {}, 0, slider, 5 << 16},
      {"Style", {}, 0, popup, 2},
      {"Place", {}, 0, point_x, 50 << 16, 0.5},  // half of 200, at half resolution
      {"Place", {}, 0, point_y, 20 << 16},
      {"Tint", {}, 0, green, 51},
      {"Tint", {}, 0, alpha, 255},
      {"Turn", {}, 0, angle, -45 * 65536},
      {"Width", rising, -1e6, slider, 0},
      {"Width", rising, 1, slider, 21845},  // 65536 / 3 = 21845.33
      {"Width", rising, 2, slider, 43691},  // 43690.67
      {"Width", rising, 1e6, slider, 65536},
      {"Width", overshooting(-2, 100), 0.2, slider, -(2 << 16)},  // held in range
      {"Width", overshooting(-2, 100), 0.8, slider, 100 << 16},
      {"Turn", Track<double>(-1000.25), 0, angle, -65552384},                 // -1000.25 * 65536
      {"Place", Track<Point>(Point{10.5, -3}), 0, point_x, 229376, 1.0 / 3},  // 3.5 * 65536
      {"Place", Track<Point>(Point{10.5, -3}), 0, point_y, -3 * 65536},
      {"Tint", Track<Color>(Color{0, 0.5, 0}), 0, green, 128},  // 127.5
  };
  for (const auto& c : cases) {
    ControlTracks controls = Controls();
    if (c.track) controls.Set(c.control, *c.track);
    const int index = controls.Control(c.control).index;
    const PF_ParamDef param = controls.At(index, c.seconds, c.downsample, 1);
    EXPECT_EQ(c.value(param), c.expected) << c.control << " at " << c.seconds;
    EXPECT_STREQ(param.name, c.control);
  }
}

TEST(ControlTracks, RefuseWhatTheControlCannotTake) {
  const std::pair<const char*, std::function<void(ControlTracks&)>> cases[]{
      {"\"Width\" is 100.1, but must be from -2 to 100",
       [](auto& c) { c.Set("Width", Track<double>(100.1)); }},
      {"must be from -2",
       [](auto& c) {
         c.Set("Width", Track<double>({{.seconds = 0}, {.seconds = 1, .value = -3}}));
       }},
      {"must be from", [](auto& c) { c.Set("Width", Track<double>(NAN)); }},
      {"another type", [](auto& c) { c.Set("Width", Track<int>(3)); }},
      {"from 1 to 3", [](auto& c) { c.Set("Style", Track<int>(0)); }},
      {"from 1 to 3", [](auto& c) { c.Set("Style", Track<int>(4)); }},
      {"cannot change over time",
       [](auto& c) {
         c.Set("Style", Track<int>({{.seconds = 0, .value = 1}, {.seconds = 1, .value = 2}}));
       }},
      {"from 0 to 1",
       [](auto& c) {
         c.Set("Tint", Track<Color>(Color{0, 1.01, 0}));
       }},
      {"from -32767 to 32767",
       [](auto& c) {
         c.Set("Place", Track<Point>(Point{40000, 0}));
       }},
      {"no control \"Group\"", [](auto& c) { c.Set("Group", Track<double>(1)); }},
      {"is a group", [](auto& c) { c.Set(6, Track<double>(1)); }},
      {"no control 0", [](auto& c) { c.Set(0, Track<double>(1)); }},
      {"no control \"width\"", [](auto& c) { c.Set("width", Track<double>(1)); }},
      {"no colour", [](auto& c) { c.ColorAt(1, 0); }},
  };
  for (const auto& [said, set] : cases) {
    ControlTracks controls = Controls();
    EXPECT_REFUSED(set(controls), said);
  }
  // What is written in decimals is in range, whatever 16.16 makes of the limit.
  ControlInfo rough = Controls().Control("Width");
  rough.valid.min = 65 / 65536.0;
  ControlTracks controls({rough}, 10, 10);
  EXPECT_NO_THROW(controls.Set("Width", Track<double>(0.001)));
  EXPECT_REFUSED(controls.Set("Width", Track<double>(0.0009)), "must be from 0.000992");
}

}  // namespace
}  // namespace hosting
