// The host's tables of functions.
#pragma once

#include <cstdint>

#include "aegp_suites.h"
#include "pf_effect.h"
#include "pf_suites.h"

namespace fuzz {

inline const PF_ProgPtr kRef = reinterpret_cast<PF_ProgPtr>(std::uintptr_t{0x5EED});

extern const PF_InteractCallbacks kInteract;
extern const PF_UtilCallbacks kUtilities;
extern const SPBasicSuite kBasic;

// Controls.
extern const PF_ParamUtilsSuite1 kParamUtils;
extern const PF_ColorParamSuite1 kColorParam;

// Pixels.
extern const PF_Sampling8Suite1 kSampling8;
extern const PF_Sampling16Suite1 kSampling16;
extern const PF_SamplingFloatSuite1 kSamplingFloat;
extern const PF_iterateFloatSuite1 kIterateFloat;

// The composition.
extern const AEGP_PFInterfaceSuite1 kPFInterface;
extern const AEGP_LayerSuite5 kLayer;
extern const AEGP_LightSuite1 kLight;
extern const AEGP_StreamSuite4 kStream;

}  // namespace fuzz
