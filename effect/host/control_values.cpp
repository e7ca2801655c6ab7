#include "host/control_values.h"

namespace vorlin {
namespace {

constexpr double kFromFixed = 1.0 / 65536.0;

}  // namespace

double Get_Fix_Slider(PF_InData* in_data, int index, int what_time, int time_step,
                      unsigned int time_scale) {
  return ReadControl(in_data, index, what_time, time_step, time_scale,
                     [](const PF_ParamDef& param) { return param.u.fd.value * kFromFixed; });
}

double Get_Angle(PF_InData* in_data, int index, int what_time, int time_step,
                 unsigned int time_scale) {
  return ReadControl(in_data, index, what_time, time_step, time_scale,
                     [](const PF_ParamDef& param) { return param.u.ad.value * kFromFixed; });
}

FX_Point Get_Point(PF_InData* in_data, int index, int what_time, int time_step,
                   unsigned int time_scale) {
  return ReadControl(
      in_data, index, what_time, time_step, time_scale, [](const PF_ParamDef& param) {
        return FX_Point{param.u.td.x_value * kFromFixed, param.u.td.y_value * kFromFixed};
      });
}

int Get_PopUp(PF_InData* in_data, int index, int what_time, int time_step,
              unsigned int time_scale) {
  return ReadControl(in_data, index, what_time, time_step, time_scale,
                     [](const PF_ParamDef& param) -> int { return param.u.pd.value; });
}

PF_Pixel Get_Color(PF_InData* in_data, int index, int what_time, int time_step,
                   unsigned int time_scale) {
  return ReadControl(in_data, index, what_time, time_step, time_scale,
                     [](const PF_ParamDef& param) {
                       PF_Pixel color = param.u.cd.value;
                       color.alpha = 255;
                       return color;
                     });
}

}  // namespace vorlin
