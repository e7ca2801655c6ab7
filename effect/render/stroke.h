// Laying down the stroke: the brush's path of the last frames, sampled into the force field.
#pragma once

#include "render/force_field.h"
#include "render/time_info.h"

namespace vorlin {

/// What the frame fixes for all samples.
struct Stroke {
  PF_InData* in_data;
  PF_EffectWorld* field;
  FX_TimeInfo time;    // localTimeStep > 0
  double frame_count;  // length of the stroke in frames of the layer
  double frame_unit;   // one frame in thirtieths of a second
  int paint_style;
  double width_unit;   // layer units per unit of "Stroke Width"
  double wobble_unit;  // layer units per unit of the wobble sliders
  double shift_x;      // added to positions, buffer pixels
  double shift_y;
  FX_PAR scales;
};

/// Walks the path backwards, one frame-long slice at a time, and adds a blob for every sample,
/// 1 / density layer units apart. Reports progress after each slice that is drawn and returns the
/// host's code when that is not 0. Rewrites the process's random state, so that no two strokes may
/// be laid at once.
PF_Err LayStroke(const Stroke& stroke);

}  // namespace vorlin
