#include "hosting/controls.h"

#include <gtest/gtest.h>

#include <cstring>

#include "refusal.h"

namespace hosting {
namespace {

PF_ParamDef Record(PF_ParamType type, const char* name, PF_ParamFlags flags = 0) {
  PF_ParamDef def{};
  def.param_type = type;
  def.flags = flags;
  std::strcpy(def.name, name);
  return def;
}

PF_ParamDef SliderRecord() {
  PF_ParamDef def = Record(PF_Param_FIX_SLIDER, "Width", PF_ParamFlag_COLLAPSE_TWIRLY);
  def.ui_flags = PF_PUI_DISABLED;
  def.uu.id = 77;
  def.u.fd = {5 << 16, "",       "",      -(2 << 16), 100 << 16,
              0,       20 << 16, 5 << 16, 2,          PF_ValueDisplayFlag_PERCENT};
  return def;
}

PF_ParamDef PopupRecord() {
  PF_ParamDef def =
      Record(PF_Param_POPUP, "Style", PF_ParamFlag_CANNOT_TIME_VARY | PF_ParamFlag_SUPERVISE);
  def.u.pd.value = 2;
  def.u.pd.num_choices = 3;
  def.u.pd.dephault = 2;
  def.u.pd.u.namesptr = "One|Two|Three";
  return def;
}

PF_ParamDef PointRecord() {
  PF_ParamDef def = Record(PF_Param_POINT, "Place");
  def.u.td.x_dephault = 50 << 16;
  def.u.td.y_dephault = 25 << 16;
  return def;
}

PF_ParamDef ColorRecord() {
  PF_ParamDef def = Record(PF_Param_COLOR, "Tint");
  def.u.cd.dephault = {255, 255, 51, 0};
  return def;
}

PF_ParamDef AngleRecord() {
  PF_ParamDef def = Record(PF_Param_ANGLE, "Turn");
  def.u.ad.dephault = -45 * 65536;
  return def;
}

/// 1 Width, 2 Style, 3 Place, 4 Tint, 5 Turn, 6 a group, on a layer of 200 x 80.
ControlTracks Controls() {
  std::vector<ControlInfo> controls;
  for (const PF_ParamDef& record : {SliderRecord(), PopupRecord(), PointRecord(), ColorRecord(),
                                    AngleRecord(), Record(PF_Param_GROUP_START, "Group")}) {
    controls.push_back(DescribeControl(static_cast<int>(controls.size()) + 1, record));
  }
  return {controls, 200, 80};
}

TEST(DescribeControl, TakesEverythingFromTheRecord) {
  const ControlInfo slider = DescribeControl(4, SliderRecord());
  EXPECT_EQ(slider.index, 4);
  EXPECT_EQ(slider.id, 77);
  EXPECT_EQ(slider.name, "Width");
  EXPECT_EQ(slider.type, ControlType::kSlider);
  EXPECT_EQ(slider.valid.min, -2);
  EXPECT_EQ(slider.valid.max, 100);
  EXPECT_EQ(slider.slider.max, 20);
  EXPECT_EQ(std::get<double>(slider.default_value), 5);
  EXPECT_EQ(slider.precision, 2);
  EXPECT_TRUE(slider.percent);
  EXPECT_TRUE(slider.can_vary);
  EXPECT_TRUE(slider.starts_disabled);
  EXPECT_TRUE(slider.starts_collapsed);

  const ControlInfo popup = DescribeControl(1, PopupRecord());
  EXPECT_EQ(popup.choices, (std::vector<std::string>{"One", "Two", "Three"}));
  EXPECT_EQ(std::get<int>(popup.default_value), 2);
  EXPECT_FALSE(popup.can_vary);
  EXPECT_TRUE(popup.supervised);
  EXPECT_EQ(std::get<Color>(DescribeControl(1, ColorRecord()).default_value), (Color{1, 0.2, 0}));
  EXPECT_REFUSED(DescribeControl(1, Record(PF_Param_PATH, "Way")), "\"Way\" is of type 12");
}

TEST(ControlTracks, StartFromTheDefaults) {
  const ControlTracks controls = Controls();
  const PF_ParamDef place = controls.At(3, 0, 0.5, 1);
  EXPECT_EQ(place.u.td.x_value, 50 << 16);  // half of 200, at half resolution
  EXPECT_EQ(place.u.td.y_value, 20 << 16);
  EXPECT_EQ(controls.At(1, 0, 1, 1).u.fd.value, 5 << 16);
  EXPECT_EQ(controls.At(2, 0, 1, 1).u.pd.value, 2);
  EXPECT_EQ(controls.At(5, 0, 1, 1).u.ad.value, -45 * 65536);
  const PF_Pixel tint = controls.At(4, 0, 1, 1).u.cd.value;
  EXPECT_EQ(tint.alpha, 255);
  EXPECT_EQ(tint.red, 255);
  EXPECT_EQ(tint.green, 51);
  EXPECT_EQ(tint.blue, 0);
  EXPECT_STREQ(controls.At(4, 0, 1, 1).name, "Tint");
}

TEST(ControlTracks, AnswerAnyTimeRoundedToNearest) {
  ControlTracks controls = Controls();
  controls.Set("Width", Track<double>({{.seconds = 0, .value = 0}, {.seconds = 3, .value = 1}}));
  EXPECT_EQ(controls.At(1, -1e6, 1, 1).u.fd.value, 0);
  EXPECT_EQ(controls.At(1, 1, 1, 1).u.fd.value, 21845);  // 65536 / 3 = 21845.33
  EXPECT_EQ(controls.At(1, 2, 1, 1).u.fd.value, 43691);  // 43690.67
  EXPECT_EQ(controls.At(1, 1e6, 1, 1).u.fd.value, 65536);
  controls.Set("Turn", Track<double>(-1000.25));
  EXPECT_EQ(controls.At(5, 0, 1, 1).u.ad.value, -65552384);  // -1000.25 * 65536
  controls.Set("Place", Track<Point>(Point{10.5, -3}));
  EXPECT_EQ(controls.At(3, 0, 1.0 / 3, 1).u.td.x_value, 229376);  // 3.5 * 65536
  EXPECT_EQ(controls.At(3, 0, 1, 1).u.td.y_value, -3 * 65536);
  controls.Set("Tint", Track<Color>(Color{0.5, 0.001, 1}));
  EXPECT_EQ(controls.At(4, 0, 1, 1).u.cd.value.red, 128);  // 127.5
  EXPECT_EQ(controls.ColorAt(4, 0).green, 0.001);
}

TEST(ControlTracks, KeepCurvesThatOvershootInRange) {
  ControlTracks controls = Controls();
  controls.Set("Width", Track<double>({{.seconds = 0, .value = 0, .out = {0.3, 3}},
                                       {.seconds = 1, .value = 100, .in = {0.3, 0}}}));
  EXPECT_EQ(controls.At(1, 0.4, 1, 1).u.fd.value, 100 << 16);
}

TEST(ControlTracks, RefuseWhatTheControlCannotTake) {
  ControlTracks controls = Controls();
  EXPECT_REFUSED(controls.Set("Width", Track<double>(100.1)),
                 "\"Width\" is 100.1, but must be from -2 to 100");
  EXPECT_REFUSED(
      controls.Set("Width", Track<double>({{.seconds = 0}, {.seconds = 1, .value = -3}})),
      "must be from -2");
  EXPECT_REFUSED(controls.Set("Width", Track<double>(NAN)), "must be from");
  EXPECT_REFUSED(controls.Set("Width", Track<int>(3)), "another type");
  EXPECT_REFUSED(controls.Set("Style", Track<int>(0)), "from 1 to 3");
  EXPECT_REFUSED(controls.Set("Style", Track<int>(4)), "from 1 to 3");
  EXPECT_REFUSED(
      controls.Set("Style", Track<int>({{.seconds = 0, .value = 1}, {.seconds = 1, .value = 2}})),
      "cannot change over time");
  EXPECT_REFUSED(controls.Set("Tint", Track<Color>(Color{0, 1.01, 0})), "from 0 to 1");
  EXPECT_REFUSED(controls.Set("Place", Track<Point>(Point{40000, 0})), "from -32767 to 32767");
  EXPECT_REFUSED(controls.Set("Group", Track<double>(1)), "no control \"Group\"");
  EXPECT_REFUSED(controls.Set(6, Track<double>(1)), "is a group");
  EXPECT_REFUSED(controls.Set(0, Track<double>(1)), "no control 0");
  EXPECT_REFUSED(controls.Set("width", Track<double>(1)), "no control \"width\"");
  EXPECT_REFUSED(controls.ColorAt(1, 0), "no colour");
}

}  // namespace
}  // namespace hosting
