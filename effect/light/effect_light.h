// The shading factors and the effect's own light, from its controls at the frame's time.
#pragma once

#include <memory>

#include "host/fxenv.h"
#include "host/scales.h"
#include "light/light_shade.h"

namespace vorlin {

/// A model with the factors of the "Shading" controls and no light. Dust has no control: its factor
/// is 0.
std::unique_ptr<LightShade> NewLightShade(PF_InData* in_data);

/// Adds a white ambient light and the distant or point light of the "Light" controls.
/// layer_width and layer_height in layer units. Pixel is the pixel type of the render: the light's
/// colour is read in its precision.
template <class Pixel>
void AddEffectLight(Fxenv& env, LightShade& model, const FX_PARc& scales, double layer_width,
                    double layer_height);

}  // namespace vorlin
