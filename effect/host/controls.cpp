#include "host/controls.h"

#include <cstring>

namespace vorlin {
namespace {

constexpr PF_Fixed ToFixed(double v) { return static_cast<PF_Fixed>(v * 65536.0); }

// A popup that decides which controls apply.
constexpr PF_ParamFlags kSupervised = PF_ParamFlag_CANNOT_TIME_VARY | PF_ParamFlag_SUPERVISE;
constexpr PF_ParamFlags kCollapsed = PF_ParamFlag_COLLAPSE_TWIRLY;
constexpr Range kPercent{0, 100};

struct FillKind {
  PF_ParamDef& param;

  void operator()(const GroupStart&) const { param.param_type = PF_Param_GROUP_START; }
  void operator()(const GroupEnd&) const { param.param_type = PF_Param_GROUP_END; }
  void operator()(const Slider& slider) const {
    param.param_type = PF_Param_FIX_SLIDER;
    PF_FixedSliderDef& fd = param.u.fd;
    fd.valid_min = ToFixed(slider.valid.min);
    fd.valid_max = ToFixed(slider.valid.max);
    fd.slider_min = ToFixed(slider.slider.min);
    fd.slider_max = ToFixed(slider.slider.max);
    fd.value = fd.dephault = ToFixed(slider.dephault);
    fd.precision = slider.precision;
    fd.display_flags = slider.display_flags;
  }
  void operator()(const Popup& popup) const {
    param.param_type = PF_Param_POPUP;
    param.u.pd.value = param.u.pd.dephault = popup.dephault;
    param.u.pd.num_choices = popup.num_choices;
    param.u.pd.u.namesptr = popup.choices;
  }
  void operator()(const Point& point) const {
    param.param_type = PF_Param_POINT;
    param.u.td.x_value = param.u.td.x_dephault = ToFixed(point.x_percent);
    param.u.td.y_value = param.u.td.y_dephault = ToFixed(point.y_percent);
  }
  void operator()(const Color& color) const {
    param.param_type = PF_Param_COLOR;
    param.u.cd.value = param.u.cd.dephault = color.dephault;
  }
  void operator()(const Angle& angle) const {
    param.param_type = PF_Param_ANGLE;
    param.u.ad.value = param.u.ad.dephault = ToFixed(angle.degrees);
  }
};

}  // namespace

constexpr std::array<Control, kControlCount> kControls{{
    {kBrushPosition, 1, "Brush Position", Point{50, 50}},
    {kStrokeWidth, 2, "Stroke Width", Slider{{0, 1024}, {0, 25}, 4}},
    {kDensity, 3, "Density", Slider{{0, 200}, {2, 100}, 25}},
    {kTimeSpan, 4, "Time Span (sec)", Slider{{0, 3000}, {0, 20}, 0}},
    {kReflection, 5, "Reflection", Slider{{0, 200}, {0, 150}, 100}},
    {kStrength, 6, "Strength", Slider{kPercent, kPercent, 100, 1, PF_ValueDisplayFlag_PERCENT}},
    {kStyleGroup, 7, "Style", GroupStart{}},
    {kPaintStyle, 8, "Paint Style", Popup{"Plain|Wobbly", 2, kPlain}, kSupervised},
    {kWobbleWidth, 9, "Wobble Width", Slider{{0, 1024}, {0, 10}, 2.5}, kCollapsed, PF_PUI_DISABLED},
    {kWobbleHeight, 10, "Wobble Height", Slider{{0, 1024}, {0, 10}, 2.5}, kCollapsed,
     PF_PUI_DISABLED},
    {kWobbleSpeed, 11, "Wobble Speed", Slider{{0, 30000}, {0, 250}, 100}, kCollapsed,
     PF_PUI_DISABLED},
    {kStyleGroupEnd, 12, "", GroupEnd{}},
    {kLightGroup, 13, "Light", GroupStart{}},
    // Added in a later release than the rest: new identifier, old place in the order kept by the
    // rest.
    {kUsing, 28, "Using", Popup{"Effect Light|AE Lights", 2, kEffectLight}, kSupervised},
    {kLightIntensity, 14, "Light Intensity", Slider{{0, 1000}, {0, 150}, 100}, kCollapsed},
    {kLightColor, 15, "Light Color", Color{{255, 255, 255, 255}}},
    {kLightType, 16, "Light Type", Popup{"Distant Light|Point Light", 2, kDistantLight},
     kSupervised},
    {kLightHeight, 17, "Light Height", Slider{{-100, 100}, {0, 100}, 65}, kCollapsed},
    {kLightPosition, 18, "Light Position", Point{25, 25}, 0, PF_PUI_DISABLED},
    {kLightDirection, 19, "Light Direction", Angle{-45}, kCollapsed},
    {kLightGroupEnd, 20, "", GroupEnd{}},
    {kShadingGroup, 21, "Shading", GroupStart{}},
    {kAmbient, 22, "Ambient", Slider{{0, 200}, kPercent, 100}},
    {kDiffuse, 23, "Diffuse", Slider{kPercent, kPercent, 25}},
    {kSpecular, 24, "Specular", Slider{kPercent, kPercent, 100}},
    {kRoughness, 25, "Roughness", Slider{{0.001, 0.5}, {0.001, 0.25}, 0.025, 3}},
    {kMetal, 26, "Metal", Slider{kPercent, kPercent, 100}},
    {kShadingGroupEnd, 27, "", GroupEnd{}},
}};

static_assert(
    [] {
      for (int i = 0; i < kControlCount; ++i) {
        if (kControls[static_cast<std::size_t>(i)].index != i + 1) return false;
      }
      return true;
    }(),
    "a control's place in the table is its index");

PF_ParamDef DefaultParam(const Control& control) {
  // Every byte: an initialiser would clear only the first of the union's members.
  PF_ParamDef param;
  std::memset(&param, 0, sizeof param);
  param.uu.id = control.id;
  param.flags = control.flags;
  param.ui_flags = control.ui_flags;
  std::visit(FillKind{param}, control.kind);
  return param;
}

PF_ParamDef DefaultParam(int index) {
  return DefaultParam(kControls[static_cast<std::size_t>(index - 1)]);
}

PF_Err AddControls(PF_InData* in_data) {
  for (const Control& control : kControls) {
    PF_ParamDef param = DefaultParam(control);
    if (control.name[0] != '\0') in_data->utils->ansi.strcpy(param.name, control.name);
    if (const PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &param); err != 0) {
      return err;
    }
  }
  return PF_Err_NONE;
}

}  // namespace vorlin
