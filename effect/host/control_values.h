// Read-out of controls at any time.
//
// Times are in the host's units: seconds = what_time / time_scale. A read-out never fails: when the
// host refuses the check-out, the control's default is read. The control is checked in either way.
#pragma once

#include "host/controls.h"
#include "host/give_back.h"
#include "pf_effect.h"

namespace vorlin {

/// Two coordinates in the host's buffer pixels.
struct FX_Point {
  double x;
  double y;
};

/// Returns use(err, param) for the control checked out at that time; err is the check-out's result.
/// The control is checked in however use or the check-out ends.
template <class Use>
auto WithControl(PF_InData* in_data, int index, int what_time, int time_step,
                 unsigned int time_scale, Use use) {
  PF_ParamDef param{};
  GiveBack check_in([&] { in_data->inter.checkin_param(in_data->effect_ref, &param); });
  const PF_Err err = in_data->inter.checkout_param(in_data->effect_ref, index, what_time, time_step,
                                                   time_scale, &param);
  const auto result = use(err, param);
  check_in.Now();
  return result;
}

/// Returns read(param) for the control at that time, or for its default.
template <class Read>
auto ReadControl(PF_InData* in_data, int index, int what_time, int time_step,
                 unsigned int time_scale, Read read) {
  return WithControl(in_data, index, what_time, time_step, time_scale,
                     [&](PF_Err err, PF_ParamDef& param) {
                       if (err != 0) param = DefaultParam(*in_data, index);
                       return read(param);
                     });
}

/// In the slider's displayed unit.
double Get_Fix_Slider(PF_InData* in_data, int index, int what_time, int time_step,
                      unsigned int time_scale);
/// In degrees.
double Get_Angle(PF_InData* in_data, int index, int what_time, int time_step,
                 unsigned int time_scale);
FX_Point Get_Point(PF_InData* in_data, int index, int what_time, int time_step,
                   unsigned int time_scale);
/// Choices count from 1.
int Get_PopUp(PF_InData* in_data, int index, int what_time, int time_step, unsigned int time_scale);
/// Always opaque.
PF_Pixel Get_Color(PF_InData* in_data, int index, int what_time, int time_step,
                   unsigned int time_scale);

/// The read-outs bound to one time.
struct ControlsAt {
  PF_InData* in_data;
  int what_time;
  int time_step;
  unsigned int time_scale;

  /// The time of the frame being rendered.
  static ControlsAt Frame(PF_InData* in_data) {
    return {in_data, in_data->current_time, in_data->time_step, in_data->time_scale};
  }

  double Slider(int index) const {
    return Get_Fix_Slider(in_data, index, what_time, time_step, time_scale);
  }
  double Angle(int index) const {
    return Get_Angle(in_data, index, what_time, time_step, time_scale);
  }
  FX_Point Point(int index) const {
    return Get_Point(in_data, index, what_time, time_step, time_scale);
  }
  int PopUp(int index) const { return Get_PopUp(in_data, index, what_time, time_step, time_scale); }
};

}  // namespace vorlin
