#pragma once

#include "pf_effect.h"

/// Stands between our host and its probe as a host with one fault, the one that was planted last.
PF_Err FaultyHost(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                  PF_LayerDef* output, void* extra);

/// fault must stay; empty: none.
void PlantHostFault(const char* fault);
