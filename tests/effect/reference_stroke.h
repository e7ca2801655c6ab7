// The reference's stroke: scales, the force field, and the blobs of the frames before this one.
#pragma once

#include "reference_light.h"

namespace reference {

struct Scales {
  double aspect_inverse, to_buffer_x, to_buffer_y, to_layer_x, to_layer_y;

  explicit Scales(const PF_InData& in)
      : aspect_inverse(double(in.pixel_aspect_ratio.den) / double(in.pixel_aspect_ratio.num)),
        to_buffer_x(aspect_inverse * double(in.downsample_x.num) / double(in.downsample_x.den)),
        to_buffer_y(double(in.downsample_y.num) / double(in.downsample_y.den)),
        to_layer_x(1.0 / to_buffer_x),
        to_layer_y(1.0 / to_buffer_y) {}
};

/// The frame's numbers.
struct Frame {
  Scales scales;
  double width, height;  // of the layer, layer units
  double shift_x = 0, shift_y = 0;
  double origin_x = 0, origin_y = 0;
};

inline float& Cell(const PF_EffectWorld& field, int x, int y) {
  return reinterpret_cast<float*>(reinterpret_cast<char*>(field.data) + y * field.rowbytes)[x];
}

/// Adds the whole stroke to the field. Returns the code of the progress that ended it.
PF_Err LayStroke(PF_InData* in, const Frame& frame, double diagonal, int style, double frame_count,
                 PF_EffectWorld& field);

}  // namespace reference
