// The frame's time record.
#pragma once

#include <cstdint>

#include "pf_effect.h"

namespace vorlin {

/// Times in the host's time units.
struct FX_TimeInfo {
  std::int32_t currentTime;
  std::int32_t frameTime;    // currentTime rounded toward zero to a whole localTimeStep
  std::int32_t frameOffset;  // currentTime - frameTime
  std::uint32_t timeScale;   // time units a second
  std::int32_t timeStep;
  std::int32_t localTimeStep;  // one frame of the layer
  double shutter;              // degrees, scaled by timeStep / localTimeStep
  double frameFraction;        // frameOffset / localTimeStep
};

/// With a localTimeStep of 0 the frame fields mean nothing; nothing traps.
FX_TimeInfo FX_CopyTime(const PF_InData* in_data);

}  // namespace vorlin
