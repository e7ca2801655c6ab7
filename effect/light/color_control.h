// Read-out of a colour control in the precision of the render.
#pragma once

#include "host/fxenv.h"

namespace vorlin {

/// The colour at that time. Hosts after 12.10 are asked for the unrounded colour; older ones, and
/// those that fail to give it, for the 8-bit one. Throws when a newer host lacks the suite.
template <class Pixel>
Pixel GetColorControl(Fxenv& env, int index, int time, int time_step, unsigned int time_scale);

template <>
PF_Pixel GetColorControl(Fxenv& env, int index, int time, int time_step, unsigned int time_scale);
template <>
PF_Pixel16 GetColorControl(Fxenv& env, int index, int time, int time_step, unsigned int time_scale);
template <>
PF_PixelFloat GetColorControl(Fxenv& env, int index, int time, int time_step,
                              unsigned int time_scale);

}  // namespace vorlin
