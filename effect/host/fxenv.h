// Fxenv: everything one command works with.
#pragma once

#include "host/suite_handler.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace vorlin {

/// Built on the stack when a command starts and destroyed when it ends, which releases every suite
/// it acquired. All pointers are borrowed from the host for the command.
struct Fxenv {
  /// output may be null. Throws PF_Err_BAD_CALLBACK_PARAM when the host has no basic suite.
  Fxenv(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** param_array,
        PF_EffectWorld* output_world);

  /// The format of output, asked of the host once; PF_PixelFormat_INVALID without an output. A host
  /// that does not tell it is taken at its word about deep worlds. Never throws.
  PF_PixelFormat PixelFormat() noexcept;

  PF_InData* inData;
  PF_OutData* outData;
  PF_ParamDef** params;
  PF_EffectWorld* output;
  PF_EffectWorld* input = nullptr;       // set for the render commands
  PF_SmartRenderExtra* extra = nullptr;  // set for smart render only
  AEGP_SuiteHandler suites;
  PF_PixelFormat pixelFormat = PF_PixelFormat_INVALID;
  bool highQuality;

 private:
  /// Whether the host was asked for pixelFormat.
  bool AskPixelFormat();
};

}  // namespace vorlin
