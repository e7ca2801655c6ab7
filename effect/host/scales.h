// Conversion between layer units (full resolution, square pixels) and buffer pixels (those of the
// host's worlds, which may be down-sampled and not square).
#pragma once

#include "pf_effect.h"

namespace vorlin {

struct FX_PARc {
  /// From the host's pixel aspect ratio and down-sampling. Zero terms give zero or infinite scales.
  explicit FX_PARc(const PF_InData* in_data);

  double meanToLayer;    // (toLayerX + toLayerY) / 2
  double aspectInverse;  // 1 / pixel aspect ratio
  double toLayerX;       // buffer pixels to layer units
  double toLayerY;
  double toBufferX;  // layer units to buffer pixels
  double toBufferY;
  double toFixedX;  // layer units to 16.16 buffer pixels
  double toFixedY;
  // The same eight in single precision.
  float meanToLayerF;
  float aspectInverseF;
  float toLayerXF;
  float toLayerYF;
  float toBufferXF;
  float toBufferYF;
  float toFixedXF;
  float toFixedYF;
};

/// The scales that FX_DrawForce needs, with the values of FX_PARc.
struct FX_PAR {
  double aspectInverse;
  double toLayerX;
  double toLayerY;
  double toBufferX;
  double toBufferY;
};

}  // namespace vorlin
