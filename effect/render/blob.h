// From the force field to the visible stroke, one output pixel at a time.
#pragma once

#include <memory>

#include "light/light_shade.h"
#include "pf_effect.h"

namespace vorlin {

/// What the pixel function needs to know of a frame. Complete before the iteration starts and only
/// read by it.
template <class Pixel>
struct RIPInfo {
  std::unique_ptr<LightShade> lightShade;
  double reflectionScale;  // layer units that a fully tilted normal moves the reflection
  bool highQuality;
  PF_EffectWorld* field;  // at least as large as the output, see FieldRow
  int fieldStride;        // floats a row
  double layerMaxX;       // the input's size in layer units, less 1
  double layerMaxY;
  double toLayerX;  // output pixels to layer units
  double toLayerY;
  double toFixedX;  // layer units to 16.16 input pixels
  double toFixedY;
  double slopeX;  // field difference per output pixel to normal x
  double slopeY;
  double originX;  // output pixel (0, 0) in layer units, measured from the input's corner
  double originY;
  PF_ProgPtr effectRef;
  PF_SampPB samp;  // a box of one input pixel
  PF_InData* inData;
  PF_SampleFunc<Pixel> areaSample;
};

/// The pixel function: refcon is a RIPInfo<Pixel>, in is not read. Draws the stroke's pixel at
/// (x, y), or leaves it as it is when it lies outside the stroke and its edge. Returns the area
/// sampler's result.
template <class Pixel>
PF_Err BlobRIP(void* refcon, A_long x, A_long y, Pixel* in, Pixel* out);

}  // namespace vorlin
