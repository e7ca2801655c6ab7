// A second, plain implementation of the whole effect, to compare the real one with.
//
// It shares no code with the effect: everything is written in the shortest way that follows the
// formulas, whatever it costs, and makes the host's calls in the order that they state.
#pragma once

#include "pf_effect.h"
#include "pf_smart.h"

namespace reference {

PF_Err MainEntry(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                 PF_LayerDef* output, void* extra);

}  // namespace reference
