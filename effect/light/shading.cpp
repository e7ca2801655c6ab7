// The shading formulas of LightShade: what one surface point receives from each light.
//
// Diffuse light follows the cosine of normal and light, specular light a power of the cosine of the
// mirrored viewing ray and light, dust light is strongest where a light grazes the surface. Point
// and spot lights do not fall off with distance.

#include <algorithm>
#include <cmath>

#include "light/light_shade.h"

namespace vorlin {
namespace {

// Keeps a light at the surface point itself from dividing by zero.
constexpr double kLengthFloor = 1e-5;

/// How much of a spot reaches a point whose light vector has this cosine with the spot's axis: a
/// smoothstep from the outer to the inner cone. Negative outside the cone.
double SpotFactor(const LightSource& light, double cosine) {
  if (cosine < light.coneOuterCos) return -1.0;
  if (!(cosine < light.coneInnerCos)) return 1.0;
  const double t = (cosine - light.coneOuterCos) / (light.coneInnerCos - light.coneOuterCos);
  if (t <= 0.0) return 0.0;
  if (t >= 1.0) return 1.0;
  return (t * -2.0 + 3.0) * (t * t);
}

}  // namespace

double LightShade::Length(const FX_D_Point& v) const { return inData->utils->ansi.sqrt(Dot(v, v)); }

FX_D_Point LightShade::Toward(const LightSource& light, const FX_D_Point& surface) const {
  const FX_D_Point d{light.position.x - surface.x, light.position.y - surface.y,
                     light.position.z - surface.z};
  const double scale = 1.0 / (Length(d) + kLengthFloor);
  return {d.x * scale, d.y * scale, d.z * scale};
}

void LightShade::GatherOrthographic(const FX_D_Point& normal, const FX_D_Point& toward,
                                    const LightSource& light, double spot,
                                    TSLightGather& gather) const {
  double d = Dot(normal, toward);
  if (d > 0.0) {
    AddScaled(gather.diffuse, spot * d, light.diffuseColor);
  } else {
    d = std::min(1.0, 9.0 * (d * d));
  }
  AddScaled(gather.dust, (1.0 - d) * spot, light.dustColor);

  const double k = -2.0 * normal.z;
  const double r =
      -(k * normal.x * toward.x + k * normal.y * toward.y + (k * normal.z + 1.0) * toward.z);
  if (r > 0.0) {
    AddScaled(gather.specular, inData->utils->ansi.pow(r, smoothness) * spot, light.specularColor);
  }
}

void LightShade::GatherView(const FX_D_Point& normal, const FX_D_Point& toward,
                            const LightSource& light, double spot, const FX_D_Point& view,
                            TSLightGather& gather) const {
  const double d = Dot(normal, toward);
  if (d > 0.0) AddScaled(gather.diffuse, spot * d, light.diffuseColor);
  AddScaled(gather.dust, (1.0 - d * d) * spot * (d + 1.0), light.dustColor);

  const double m = 2.0 * Dot(normal, view);
  const FX_D_Point mirrored{normal.x * m - view.x, normal.y * m - view.y, normal.z * m - view.z};
  const double r = -Dot(mirrored, toward);
  if (r > 0.0) {
    AddScaled(gather.specular, inData->utils->ansi.pow(r, smoothness) * spot, light.specularColor);
  }
}

void LightShade::ShadeDistant(const FX_D_Point& normal, const LightSource& light,
                              TSLightGather& gather) const {
  GatherOrthographic(normal, light.direction, light, 1.0, gather);
}

void LightShade::ShadePoint(const FX_D_Point& normal, const LightSource& light,
                            TSLightGather& gather, double x, double y) const {
  GatherOrthographic(normal, Toward(light, {x, y, 0.0}), light, 1.0, gather);
}

void LightShade::ShadeSpot(const FX_D_Point& normal, const LightSource& light,
                           TSLightGather& gather, double x, double y) const {
  const FX_D_Point toward = Toward(light, {x, y, 0.0});
  const double spot = SpotFactor(light, Dot(toward, light.direction));
  if (spot < 0.0) return;
  GatherOrthographic(normal, toward, light, spot, gather);
}

bool LightShade::RaysTo(double x, double y, LightRays& rays) const {
  rays = distant_rays_;
  for (std::size_t i = 0; i < numLights; ++i) {
    const LightSource& light = lights[i];
    if (light.type != LightTypePoint && light.type != LightTypeSpot) continue;
    const FX_D_Point toward = Toward(light, {x, y, 0.0});
    const double spot =
        light.type == LightTypeSpot ? SpotFactor(light, Dot(toward, light.direction)) : 1.0;
    if (spot < 0.0) continue;
    rays.x[i] = toward.x;
    rays.y[i] = toward.y;
    rays.z[i] = toward.z;
    rays.spot[i] = spot;
    if (spot != spot) return false;
  }
  return true;
}

void LightShade::ShadeDistantView(const FX_D_Point& normal, const LightSource& light,
                                  TSLightGather& gather, const FX_D_Point& view) const {
  GatherView(normal, light.direction, light, 1.0, view, gather);
}

void LightShade::ShadePointView(const FX_D_Point& normal, const LightSource& light,
                                TSLightGather& gather, const FX_D_Point& surface,
                                const FX_D_Point& view) const {
  GatherView(normal, Toward(light, surface), light, 1.0, view, gather);
}

void LightShade::ShadeSpotView(const FX_D_Point& normal, const LightSource& light,
                               TSLightGather& gather, const FX_D_Point& surface,
                               const FX_D_Point& view) const {
  const FX_D_Point toward = Toward(light, surface);
  const double spot = SpotFactor(light, Dot(toward, light.direction));
  if (spot < 0.0) return;
  GatherView(normal, toward, light, spot, view, gather);
}

template <class Distant, class Point, class Spot>
TSLightGather LightShade::Gathered(Distant distant, Point point, Spot spot) const {
  TSLightGather gather{ambientLight, {}, {}};
  for (const LightSource& light : Lights()) {
    switch (light.type) {
      case LightTypeDistant:
        distant(light, gather);
        break;
      case LightTypePoint:
        point(light, gather);
        break;
      case LightTypeSpot:
        spot(light, gather);
        break;
      default:
        break;
    }
  }
  return gather;
}

FX_Double_Pixel LightShade::Lit(const FX_Double_Pixel& color, const TSLightGather& gather,
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

FX_Double_Pixel LightShade::ShadePixel(const FX_Double_Pixel& color, const FX_D_Point& normal,
                                       double x, double y) const {
  using Light = const LightSource&;
  const TSLightGather gather =
      Gathered([&](Light light, TSLightGather& g) { ShadeDistant(normal, light, g); },
               [&](Light light, TSLightGather& g) { ShadePoint(normal, light, g, x, y); },
               [&](Light light, TSLightGather& g) { ShadeSpot(normal, light, g, x, y); });
  return Lit(color, gather, 1.0);
}

FX_Double_Pixel LightShade::ShadePixelView(const FX_Double_Pixel& color, const FX_D_Point& normal,
                                           const FX_D_Point& surface,
                                           const FX_D_Point& view) const {
  using Light = const LightSource&;
  const TSLightGather gather = Gathered(
      [&](Light light, TSLightGather& g) { ShadeDistantView(normal, light, g, view); },
      [&](Light light, TSLightGather& g) { ShadePointView(normal, light, g, surface, view); },
      [&](Light light, TSLightGather& g) { ShadeSpotView(normal, light, g, surface, view); });
  // Dust shows least where the surface faces the viewer.
  return Lit(color, gather, 1.0 - std::abs(Dot(normal, view)));
}

}  // namespace vorlin
