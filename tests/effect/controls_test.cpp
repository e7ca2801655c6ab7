// The controls as the host gets them, their read-out, and which of them are greyed.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "fake_host.h"
#include "host/control_values.h"
#include "host/supervision.h"
#include "light/color_control.h"
#include "light/pixel.h"

namespace {

using fake::FailNth;
using fake::Host;
using fake::Log;

constexpr A_long kVaryNot = 0x2 | 0x40;  // cannot vary in time, supervised
constexpr A_long kCollapsed = 0x20;
constexpr A_long kDisabled = 0x20;

struct Row {
  const char* name;
  PF_ParamType type;
  A_long id;
  A_long flags = 0;
  A_long ui_flags = 0;
};

// By index, from 1.
const Row kRows[]{
    {"Brush Position", PF_Param_POINT, 1},
    {"Stroke Width", PF_Param_FIX_SLIDER, 2},
    {"Density", PF_Param_FIX_SLIDER, 3},
    {"Time Span (sec)", PF_Param_FIX_SLIDER, 4},
    {"Reflection", PF_Param_FIX_SLIDER, 5},
    {"Strength", PF_Param_FIX_SLIDER, 6},
    {"Style", PF_Param_GROUP_START, 7},
    {"Paint Style", PF_Param_POPUP, 8, kVaryNot},
    {"Wobble Width", PF_Param_FIX_SLIDER, 9, kCollapsed, kDisabled},
    {"Wobble Height", PF_Param_FIX_SLIDER, 10, kCollapsed, kDisabled},
    {"Wobble Speed", PF_Param_FIX_SLIDER, 11, kCollapsed, kDisabled},
    {"", PF_Param_GROUP_END, 12},
    {"Light", PF_Param_GROUP_START, 13},
    {"Using", PF_Param_POPUP, 28, kVaryNot},
    {"Light Intensity", PF_Param_FIX_SLIDER, 14, kCollapsed},
    {"Light Color", PF_Param_COLOR, 15},
    {"Light Type", PF_Param_POPUP, 16, kVaryNot},
    {"Light Height", PF_Param_FIX_SLIDER, 17, kCollapsed},
    {"Light Position", PF_Param_POINT, 18, 0, kDisabled},
    {"Light Direction", PF_Param_ANGLE, 19, kCollapsed},
    {"", PF_Param_GROUP_END, 20},
    {"Shading", PF_Param_GROUP_START, 21},
    {"Ambient", PF_Param_FIX_SLIDER, 22},
    {"Diffuse", PF_Param_FIX_SLIDER, 23},
    {"Specular", PF_Param_FIX_SLIDER, 24},
    {"Roughness", PF_Param_FIX_SLIDER, 25},
    {"Metal", PF_Param_FIX_SLIDER, 26},
    {"", PF_Param_GROUP_END, 27},
};

struct SliderRow {
  int index;
  PF_Fixed valid_min, valid_max, slider_min, slider_max, dephault;
  A_short precision = 1;
  A_short display = 0;
};
constexpr PF_Fixed k1 = 65536;
const SliderRow kSliders[]{
    {2, 0, 1024 * k1, 0, 25 * k1, 4 * k1},
    {3, 0, 200 * k1, 2 * k1, 100 * k1, 25 * k1},
    {4, 0, 3000 * k1, 0, 20 * k1, 0},
    {5, 0, 200 * k1, 0, 150 * k1, 100 * k1},
    {6, 0, 100 * k1, 0, 100 * k1, 100 * k1, 1, PF_ValueDisplayFlag_PERCENT},
    {9, 0, 1024 * k1, 0, 10 * k1, 163840},
    {10, 0, 1024 * k1, 0, 10 * k1, 163840},
    {11, 0, 30000 * k1, 0, 250 * k1, 100 * k1},
    {15, 0, 1000 * k1, 0, 150 * k1, 100 * k1},
    {18, -100 * k1, 100 * k1, 0, 100 * k1, 65 * k1},
    {23, 0, 200 * k1, 0, 100 * k1, 100 * k1},
    {24, 0, 100 * k1, 0, 100 * k1, 25 * k1},
    {25, 0, 100 * k1, 0, 100 * k1, 100 * k1},
    {26, 65, 32768, 65, 16384, 1638, 3},
    {27, 0, 100 * k1, 0, 100 * k1, 100 * k1},
};

bool SameBytes(const PF_ParamDef& a, const PF_ParamDef& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

/// The record of a row with the value part of its type; everything else zero.
PF_ParamDef Record(int index) {
  const Row& row = kRows[index - 1];
  PF_ParamDef def;
  std::memset(&def, 0, sizeof def);
  def.uu.id = row.id;
  def.param_type = row.type;
  def.flags = row.flags;
  def.ui_flags = row.ui_flags;
  std::strcpy(def.name, row.name);
  for (const SliderRow& s : kSliders) {
    if (s.index != index) continue;
    PF_FixedSliderDef& fd = def.u.fd;
    fd.value = fd.dephault = s.dephault;
    fd.valid_min = s.valid_min;
    fd.valid_max = s.valid_max;
    fd.slider_min = s.slider_min;
    fd.slider_max = s.slider_max;
    fd.precision = s.precision;
    fd.display_flags = s.display;
  }
  if (row.type == PF_Param_POPUP) {
    def.u.pd.value = def.u.pd.dephault = 1;
    def.u.pd.num_choices = 2;
  }
  if (row.type == PF_Param_POINT) {
    PF_PointDef& td = def.u.td;
    td.x_value = td.y_value = td.x_dephault = td.y_dephault = index == 1 ? 0x00320000 : 0x00190000;
  }
  if (row.type == PF_Param_COLOR) {
    def.u.cd.value = def.u.cd.dephault = {255, 255, 255, 255};
  }
  if (row.type == PF_Param_ANGLE) {
    def.u.ad.value = def.u.ad.dephault = static_cast<PF_Fixed>(0xFFD30000u);
  }
  return def;
}

TEST(Controls, AreAddedAsTheTableSays) {
  Host host;
  host.out.num_params = -5;
  ASSERT_EQ(host.Run(PF_Cmd_PARAMS_SETUP), 0);
  EXPECT_EQ(host.out.num_params, 29);
  EXPECT_EQ(host.Lines({"add_param"}), Log(28, "add_param -1"));
  ASSERT_EQ(host.added.size(), 28u);
  const std::map<int, std::string> choices{
      {8, "Plain|Wobbly"}, {14, "Effect Light|AE Lights"}, {17, "Distant Light|Point Light"}};
  for (int index = 1; index <= 28; ++index) {
    PF_ParamDef def = host.added[static_cast<std::size_t>(index) - 1];
    if (def.param_type == PF_Param_POPUP) {
      EXPECT_EQ(def.u.pd.u.namesptr, choices.at(index));
      def.u.pd.u.namesptr = nullptr;
    }
    EXPECT_TRUE(SameBytes(def, Record(index))) << index << ' ' << def.name;
  }
}

TEST(Controls, AddingStopsAtTheFirstRefusal) {
  for (const int refused : {1, 5, 28}) {
    Host host;
    host.out.num_params = 77;
    host.answer = FailNth("add_param", 640 + refused, refused);
    EXPECT_EQ(host.Run(PF_Cmd_PARAMS_SETUP), 640 + refused);
    EXPECT_EQ(host.out.num_params, 77);
    EXPECT_EQ(host.Lines({"add_param"}).size(), static_cast<std::size_t>(refused));
  }
}

TEST(ReadOut, GivesTheDefaultWhenTheHostRefuses) {
  Host host;
  host.answer = [](const std::string& line) { return line.starts_with("checkout") ? 9 : 0; };
  for (const SliderRow& s : kSliders) {
    host.SetSlider(s.index, 1.25);
    EXPECT_EQ(vorlin::Get_Fix_Slider(&host.in, s.index, 0, 1, 1), s.dephault / 65536.0) << s.index;
  }
  EXPECT_EQ(vorlin::Get_Angle(&host.in, 20, 0, 1, 1), -45.0);
  host.SetPopup(14, 2);
  EXPECT_EQ(vorlin::Get_PopUp(&host.in, 14, 0, 1, 1), 1);
  EXPECT_EQ(host.Lines({"checkout_param"}).size(), host.Lines({"checkin_param"}).size());
}

// Supervision: for each control whether it ends up enabled, and the order of the updates.

struct Popups {
  int paint_style, light_type, light_using;
};

void CheckSupervision(PF_Cmd cmd, const Popups& popups) {
  Host host;
  host.SetPopup(8, popups.paint_style);
  host.SetPopup(14, popups.light_using);
  host.SetPopup(17, popups.light_type);
  for (PF_ParamDef& record : host.records) record.ui_flags |= 0x400;  // the host's own, to be kept
  const std::vector<PF_ParamDef> before = host.records;
  host.answer = [](const std::string& line) -> PF_Err {  // all fail; the last one's code counts
    return line.starts_with("PF_UpdateParamUI") ? 100 + std::stoi(line.substr(17)) : 0;
  };
  EXPECT_EQ(host.Run(cmd), 120);
  const bool wobbly = popups.paint_style != 1;
  const bool own = popups.light_using == 1;
  const bool distant = popups.light_type == 1;
  const std::vector<std::pair<int, bool>> expected{
      {9, wobbly}, {10, wobbly}, {11, wobbly},          {15, own},           {16, own},
      {17, own},   {18, own},    {19, own && !distant}, {20, own && distant}};
  ASSERT_EQ(host.updates.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto [index, enabled] = expected[i];
    PF_ParamDef want = before[static_cast<std::size_t>(index)];
    if (enabled) {
      want.ui_flags &= ~kDisabled;
    } else {
      want.ui_flags |= kDisabled;
      if (index < 16 || index == 18 || index == 20) want.flags |= kCollapsed;
    }
    EXPECT_EQ(host.updates[i].first, index);
    EXPECT_TRUE(SameBytes(host.updates[i].second, want)) << index;
  }
  for (std::size_t i = 1; i < before.size(); ++i) {
    EXPECT_TRUE(SameBytes(host.records[i], before[i])) << i;
  }
  EXPECT_EQ(host.log.front(), "AcquireSuite PF Param Utils Suite 1");
  EXPECT_EQ(host.log.back(), "ReleaseSuite PF Param Utils Suite 1");
  EXPECT_EQ(host.log.size(), 11u) << "no check-outs";
}

TEST(Supervision, UpdatesAllNineControlsForEveryChoice) {
  for (const int style : {1, 2, 0, -1, 3}) {
    for (const int type : {1, 2, 0}) {
      for (const int light : {1, 2, 3}) {
        CheckSupervision(PF_Cmd_USER_CHANGED_PARAM, {style, type, light});
        CheckSupervision(PF_Cmd_UPDATE_PARAMS_UI, {style, type, light});
      }
    }
  }
}

TEST(Supervision, CollapsesOnlyTypesWithATwirlDown) {
  const std::set<PF_ParamType> without{0, 4, 5, 6, 7, 11, 12};
  for (PF_ParamType type = 0; type <= 16; ++type) {
    Host host;
    host.Param(4).param_type = type;
    host.Param(4).flags = 0x40;
    PF_ParamDef* params[5] = {nullptr, nullptr, nullptr, nullptr, &host.Param(4)};
    vorlin::Fxenv env(&host.in, &host.out, params, nullptr);
    EXPECT_EQ(vorlin::FXE_DisableEffectControl(env, 4), 0);
    EXPECT_EQ(host.updates.back().second.flags, without.contains(type) ? 0x40 : 0x60) << type;
    EXPECT_EQ(host.updates.back().second.ui_flags, 0x20);
    host.Param(4).flags = 0x60;
    host.Param(4).ui_flags = 0x21;
    EXPECT_EQ(vorlin::FXE_EnableEffectControl(env, 4), 0);
    EXPECT_EQ(host.updates.back().second.flags, 0x60) << "stays collapsed";
    EXPECT_EQ(host.updates.back().second.ui_flags, 1);
  }
}

// The colour control in the render's precision.

template <class Pixel>
std::array<double, 4> ColorOf(Host& host) {
  vorlin::Fxenv env(&host.in, &host.out, nullptr, nullptr);
  const Pixel c = vorlin::GetColorControl<Pixel>(env, 16, 5, 6, 7);
  return {1.0 * c.alpha, 1.0 * c.red, 1.0 * c.green, 1.0 * c.blue};
}
using Channels = std::array<double, 4>;

TEST(ColorControl, TakesTheUnroundedColourFromHostsAfter12_10) {
  const PF_PixelFloat exact{0.5f, 2.0f, -1.0f, 0.1f};
  const Channels rounded16{32768, 16448, 129, 257}, deep16{16384, 32768, 0, 3276};
  const Channels roundedF{1.0f, 128 * 0.003921569f, 0.003921569f, 2 * 0.003921569f};
  const Channels exactF{0.5f, 2.0f, -1.0f, 0.1f};
  const struct {
    A_short major, minor;
    bool is_new;
  } versions[]{{11, 99, false}, {12, 10, false}, {12, 11, true}, {13, 0, true}, {0, 20, false}};
  for (const auto& v : versions) {
    Host host;
    host.in.version = {v.major, v.minor};
    host.Param(16).u.cd.value = {9, 128, 1, 2};
    host.float_color = exact;
    EXPECT_EQ(ColorOf<PF_Pixel>(host), (Channels{255, 128, 1, 2}));
    EXPECT_EQ(host.log, (Log{"checkout_param 16 5 6 7", "checkin_param 16"}));
    EXPECT_EQ(ColorOf<PF_Pixel16>(host), v.is_new ? deep16 : rounded16) << v.major << v.minor;
    EXPECT_EQ(ColorOf<PF_PixelFloat>(host), v.is_new ? exactF : roundedF) << v.major << v.minor;
    host.answer = FailNth("PF_GetFloating", 4);
    EXPECT_EQ(ColorOf<PF_Pixel16>(host), rounded16);
    host.answer = FailNth("PF_GetFloating", 4);
    EXPECT_EQ(ColorOf<PF_PixelFloat>(host), roundedF);
  }
}

TEST(ColorControl, FallsBackAfterCheckingInAndSurvivesNaN) {
  Host host;
  host.float_color = {1.0f, NAN, 0.99999f, 1e30f};
  EXPECT_EQ(ColorOf<PF_Pixel16>(host), (Channels{32768, 0, 32767, 32768}));
  host.log.clear();
  host.answer = FailNth("PF_GetFloating", 4);
  ColorOf<PF_PixelFloat>(host);
  EXPECT_EQ(host.log, (Log{"checkout_param 16 5 6 7", "AcquireSuite PF ColorParamSuite 1",
                           "PF_GetFloatingPointColorFromColorDef 16", "checkin_param 16",
                           "checkout_param 16 5 6 7", "checkin_param 16",
                           "ReleaseSuite PF ColorParamSuite 1"}));
  host.log.clear();
  host.missing = {{"PF ColorParamSuite", 1}};
  EXPECT_THROW(ColorOf<PF_Pixel16>(host), int);
  EXPECT_EQ(host.log, (Log{"checkout_param 16 5 6 7", "AcquireSuite PF ColorParamSuite 1",
                           "checkin_param 16"}));
}

TEST(Pixels, ConvertBetweenDepths) {
  for (int c = 0; c <= 255; ++c) {
    PF_Pixel16 out{};
    const auto v = static_cast<A_u_char>(c);
    vorlin::AdaptDepth(PF_Pixel{v, v, 0, 255}, out);
    EXPECT_EQ(out.alpha, (c * 32768 + 128) / 255);
    EXPECT_EQ(out.red, out.alpha);
    EXPECT_EQ(out.green, 0);
    EXPECT_EQ(out.blue, 32768);
  }
}

}  // namespace
