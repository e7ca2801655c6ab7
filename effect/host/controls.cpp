#include "host/controls.h"

#include <cstring>

#include "host/safe_cast.h"

namespace vorlin {
namespace {

constexpr PF_Fixed ToFixed(double v) { return static_cast<PF_Fixed>(v * 65536.0); }

// A popup that decides which controls apply.
constexpr PF_ParamFlags kSupervised = PF_ParamFlag_CANNOT_TIME_VARY | PF_ParamFlag_SUPERVISE;
constexpr PF_ParamFlags kCollapsed = PF_ParamFlag_COLLAPSE_TWIRLY;
constexpr Range kPercent{0, 100};

/// id is what saved work knows the control by: frozen.
Control Named(const char* name, A_long id, PF_ParamType type) {
  Control control;
  // Every byte: an initialiser would clear only the first of the union's members.
  std::memset(&control, 0, sizeof control);
  control.name = name;
  control.param.uu.id = id;
  control.param.param_type = type;
  return control;
}

Control Group(const char* name, A_long id) { return Named(name, id, PF_Param_GROUP_START); }

Control GroupEnd(A_long id) { return Named("", id, PF_Param_GROUP_END); }

Control Slider(const char* name, A_long id, Range valid, Range slider, double dephault) {
  Control control = Named(name, id, PF_Param_FIX_SLIDER);
  PF_FixedSliderDef& fd = control.param.u.fd;
  fd.valid_min = ToFixed(valid.min);
  fd.valid_max = ToFixed(valid.max);
  fd.slider_min = ToFixed(slider.min);
  fd.slider_max = ToFixed(slider.max);
  fd.value = fd.dephault = ToFixed(dephault);
  fd.precision = 1;
  return control;
}

Control Strength(const char* name, A_long id) {
  Control control = Slider(name, id, kPercent, kPercent, 100);
  control.param.u.fd.display_flags = PF_ValueDisplayFlag_PERCENT;
  return control;
}

Control Roughness(const char* name, A_long id) {
  Control control = Slider(name, id, {0.001, 0.5}, {0.001, 0.25}, 0.025);
  control.param.u.fd.precision = 3;
  return control;
}

/// Of two choices, separated by '|'; the first is the default.
Control Popup(const char* name, A_long id, const char* choices) {
  Control control = Named(name, id, PF_Param_POPUP);
  control.param.flags = kSupervised;
  PF_PopupDef& pd = control.param.u.pd;
  pd.value = pd.dephault = 1;
  pd.num_choices = 2;
  pd.u.namesptr = choices;
  return control;
}

/// At that percentage of the layer's width and height.
Control Point(const char* name, A_long id, double percent) {
  Control control = Named(name, id, PF_Param_POINT);
  PF_PointDef& td = control.param.u.td;
  td.x_value = td.y_value = td.x_dephault = td.y_dephault = ToFixed(percent);
  return control;
}

Control Color(const char* name, A_long id, const PF_Pixel& dephault) {
  Control control = Named(name, id, PF_Param_COLOR);
  control.param.u.cd.value = control.param.u.cd.dephault = dephault;
  return control;
}

Control Angle(const char* name, A_long id, double degrees) {
  Control control = Named(name, id, PF_Param_ANGLE);
  control.param.u.ad.value = control.param.u.ad.dephault = ToFixed(degrees);
  return control;
}

/// Its twirl-down starts closed.
Control Closed(Control control) {
  control.param.flags |= kCollapsed;
  return control;
}

/// What the other defaults make irrelevant starts greyed.
Control Greyed(Control control) {
  control.param.ui_flags = PF_PUI_DISABLED;
  return control;
}

}  // namespace

const std::array<Control, kControlCount>& Controls() {
  static const std::array<Control, kControlCount> kControls{
      Point("Brush Position", 1, 50),
      Slider("Stroke Width", 2, {0, 1024}, {0, 25}, 4),
      Slider("Density", 3, {0, 200}, {2, 100}, 25),
      Slider("Time Span (sec)", 4, {0, 3000}, {0, 20}, 0),
      Slider("Reflection", 5, {0, 200}, {0, 150}, 100),
      Strength("Strength", 6),
      Group("Style", 7),
      Popup("Paint Style", 8, "Plain|Wobbly"),
      Greyed(Closed(Slider("Wobble Width", 9, {0, 1024}, {0, 10}, 2.5))),
      Greyed(Closed(Slider("Wobble Height", 10, {0, 1024}, {0, 10}, 2.5))),
      Greyed(Closed(Slider("Wobble Speed", 11, {0, 30000}, {0, 250}, 100))),
      GroupEnd(12),
      Group("Light", 13),
      // Added in a later release than the rest, which kept their identifiers.
      Popup("Using", 28, "Effect Light|AE Lights"),
      Closed(Slider("Light Intensity", 14, {0, 1000}, {0, 150}, 100)),
      Color("Light Color", 15, {255, 255, 255, 255}),
      Popup("Light Type", 16, "Distant Light|Point Light"),
      Closed(Slider("Light Height", 17, {-100, 100}, {0, 100}, 65)),
      Greyed(Point("Light Position", 18, 25)),
      Closed(Angle("Light Direction", 19, -45)),
      GroupEnd(20),
      Group("Shading", 21),
      Slider("Ambient", 22, {0, 200}, kPercent, 100),
      Slider("Diffuse", 23, kPercent, kPercent, 25),
      Slider("Specular", 24, kPercent, kPercent, 100),
      Roughness("Roughness", 25),
      Slider("Metal", 26, kPercent, kPercent, 100),
      GroupEnd(27),
  };
  return kControls;
}

PF_ParamDef DefaultParam(const PF_InData& in_data, int index) {
  PF_ParamDef param = Controls()[static_cast<std::size_t>(index - 1)].param;
  if (param.param_type == PF_Param_POINT) {
    const auto part = [](PF_Fixed percent, A_long size, const PF_RationalScale& downsample) {
      return TruncTo<PF_Fixed>(percent * 0.01 * size * downsample.num / downsample.den);
    };
    param.u.td.x_value = part(param.u.td.x_dephault, in_data.width, in_data.downsample_x);
    param.u.td.y_value = part(param.u.td.y_dephault, in_data.height, in_data.downsample_y);
  }
  return param;
}

PF_Err AddControls(PF_InData* in_data) {
  for (const Control& control : Controls()) {
    PF_ParamDef param = control.param;
    if (control.name[0] != '\0') in_data->utils->ansi.strcpy(param.name, control.name);
    if (const PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &param); err != 0) {
      return err;
    }
  }
  return PF_Err_NONE;
}

}  // namespace vorlin
