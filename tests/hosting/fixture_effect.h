// An effect made of a function, for provoking the host.
#pragma once

#include <functional>

#include "pf_effect.h"
#include "pf_smart.h"

namespace hosting {

/// What arrives at an entry point.
struct Commanded {
  PF_Cmd cmd;
  PF_InData* in;
  PF_OutData* out;
  PF_ParamDef** params;
  PF_LayerDef* output;
  void* extra;
};

/// Answers commands; set before the entry point is used.
inline std::function<PF_Err(const Commanded&)> fixture_behaviour;

/// Adds one slider and one colour at parameter setup and leaves the rest to the behaviour.
inline PF_Err FixtureEntry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                           PF_LayerDef* output, void* extra) {
  if (cmd == PF_Cmd_PARAMS_SETUP) {
    PF_ParamDef slider{};
    slider.param_type = PF_Param_FIX_SLIDER;
    slider.u.fd.valid_max = slider.u.fd.slider_max = 100 << 16;
    PF_ParamDef color{};
    color.param_type = PF_Param_COLOR;
    out->num_params = 3;
    const PF_Err err = in->inter.add_param(in->effect_ref, -1, &slider);
    return err != 0 ? err : in->inter.add_param(in->effect_ref, -1, &color);
  }
  return fixture_behaviour ? fixture_behaviour({cmd, in, out, params, output, extra}) : 0;
}

}  // namespace hosting
