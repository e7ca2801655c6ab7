#include "host/scales.h"

namespace vorlin {

FX_PARc::FX_PARc(const PF_InData* in_data) {
  // Numerators are signed, denominators unsigned: one of 2^31 or more stays positive.
  const auto num = [](const PF_RationalScale& scale) { return static_cast<double>(scale.num); };
  const auto den = [](const PF_RationalScale& scale) { return static_cast<double>(scale.den); };
  const PF_RationalScale& aspect = in_data->pixel_aspect_ratio;
  const PF_RationalScale& down_x = in_data->downsample_x;
  const PF_RationalScale& down_y = in_data->downsample_y;

  aspectInverse = den(aspect) / num(aspect);
  toBufferX = aspectInverse * num(down_x) / den(down_x);
  toBufferY = num(down_y) / den(down_y);
  toLayerY = 1.0 / toBufferY;
  toLayerX = 1.0 / toBufferX;
  meanToLayer = (toLayerX + toLayerY) * 0.5;
  toFixedX = toBufferX * 65536.0;
  toFixedY = toBufferY * 65536.0;

  meanToLayerF = static_cast<float>(meanToLayer);
  aspectInverseF = static_cast<float>(aspectInverse);
  toLayerXF = static_cast<float>(toLayerX);
  toLayerYF = static_cast<float>(toLayerY);
  toBufferXF = static_cast<float>(toBufferX);
  toBufferYF = static_cast<float>(toBufferY);
  toFixedXF = static_cast<float>(toFixedX);
  toFixedYF = static_cast<float>(toFixedY);
}

}  // namespace vorlin
