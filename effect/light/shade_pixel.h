// LightShade::ShadePixel, which runs for every pixel of a stroke; inline in the pixel function.
// Included by light_shade.h.
#pragma once

#include <cmath>
#include <limits>

#include "light/light_shade.h"

namespace vorlin {

[[gnu::always_inline]] inline FX_Double_Pixel LightShade::Lit(const FX_Double_Pixel& color,
                                                              const TSLightGather& gather,
                                                              double dust_weight) const {
  const auto channel = [&](double surface, double diffuse, double dust, double specular) {
    // White at metallicity 0, the surface's own colour at 1.
    const double tint = 1.0 + (surface - 1.0) * metallicity;
    return surface * diffuse + dust_weight * dust + tint * specular;
  };
  const auto& [diffuse, specular, dust] = gather;
  return {color.alpha, channel(color.red, diffuse.red, dust.red, specular.red),
          channel(color.green, diffuse.green, dust.green, specular.green),
          channel(color.blue, diffuse.blue, dust.blue, specular.blue)};
}

/// The same bytes as the lights' own operations give one after the other: every number is formed by
/// the same operations and every sum adds the same numbers in the same order. But all cosines come
/// before the first power, so that the diffuse sum need not be put down for a call of the host, and
/// the dust is left out where it adds nothing.
[[gnu::always_inline]] inline FX_Double_Pixel LightShade::ShadePixel(const FX_Double_Pixel& color,
                                                                     const FX_D_Point& normal,
                                                                     double x, double y) const {
  if (dusty_) [[unlikely]]
    return ShadePixelByLights(color, normal, x, y);
  TSLightGather gather{ambientLight, {}, {}};
  const double k = -2.0 * normal.z;
  const FX_D_Point mirrored{k * normal.x, k * normal.y, k * normal.z + 1.0};
  double glances[kMaxLights];  // cosine of the mirrored viewing ray and each light
  double spots[kMaxLights];
  const int count = numLights;
  for (int i = 0; i < count; ++i) {
    const LightSource& light = lights[static_cast<std::size_t>(i)];
    Ray ray{light.direction, 1.0};
    if (light.type != LightTypeDistant) [[unlikely]] {
      ray = RayOf(light, x, y);
      if (std::isnan(ray.spot)) return ShadePixelByLights(color, normal, x, y);
      if (ray.spot < 0.0) {
        glances[i] = -1.0;
        continue;
      }
    }
    const double d = Dot(normal, ray.toward);
    if (d > 0.0) AddScaled(gather.diffuse, ray.spot * d, light.diffuseColor);
    glances[i] = -Dot(mirrored, ray.toward);
    spots[i] = ray.spot;
  }
  // Black dust of a finite weight adds zeros. The weight is not finite where d is infinite, and
  // then this sum is not finite either.
  if (!(std::abs(gather.diffuse.red) <= std::numeric_limits<double>::max())) [[unlikely]] {
    return ShadePixelByLights(color, normal, x, y);
  }
  for (int i = 0; i < count; ++i) {
    if (!(glances[i] > 0.0)) continue;
    const double power = inData->utils->ansi.pow(glances[i], smoothness);
    AddScaled(gather.specular, power * spots[i], lights[static_cast<std::size_t>(i)].specularColor);
  }
  return Lit(color, gather, 1.0);
}

}  // namespace vorlin
