// The stroke's relief: one float a buffer pixel, to which blobs of force are added.
#pragma once

#include <cstddef>

#include "host/scales.h"
#include "light/geometry.h"

namespace vorlin {

/// A field is an 8-bit world whose four-byte pixels are read as floats. Cell (x, y) stands for the
/// integer corner (x, y) in buffer pixels. Rows are 4-byte aligned; rowbytes may be negative.
inline float* FieldRow(const PF_EffectWorld& field, std::ptrdiff_t y) {
  return reinterpret_cast<float*>(reinterpret_cast<char*>(field.data) + y * field.rowbytes);
}

/// Adds the blob amplitude x (1 - d^2 / radius^2)^2 around centre to every cell at a distance
/// d < radius. Centre and radius in layer units, so that a blob is round on the layer whatever the
/// buffer's scale. Below a radius of 0.25 the blob fades instead of shrinking; below 0.01 there is
/// none.
void FX_DrawForce(const FX_PAR* scales, FX_D_Point centre, double amplitude, double radius,
                  PF_LayerDef* field);

}  // namespace vorlin
