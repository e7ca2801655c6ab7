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

/// The part of a spot inside its cone that reaches a point whose light vector has this cosine with
/// the spot's axis: a smoothstep from the outer to the inner cone.
double SpotPart(const LightSource& light, double cosine) {
  if (!(cosine < light.coneInnerCos)) return 1.0;
  const double t = (cosine - light.coneOuterCos) / (light.coneInnerCos - light.coneOuterCos);
  if (t <= 0.0) return 0.0;
  if (t >= 1.0) return 1.0;
  return (t * -2.0 + 3.0) * (t * t);
}

}  // namespace

[[gnu::always_inline]] inline LightShade::Ray LightShade::PointRay(
    const LightSource& light, const FX_D_Point& surface) const {
  const FX_D_Point d{light.position.x - surface.x, light.position.y - surface.y,
                     light.position.z - surface.z};
  const double scale = 1.0 / (inData->utils->ansi.sqrt(Dot(d, d)) + kLengthFloor);
  return {{d.x * scale, d.y * scale, d.z * scale}, 1.0};
}

std::optional<LightShade::Ray> LightShade::SpotRay(const LightSource& light,
                                                   const FX_D_Point& surface) const {
  Ray ray = PointRay(light, surface);
  const double cosine = Dot(ray.toward, light.direction);
  if (cosine < light.coneOuterCos) return std::nullopt;
  ray.part = SpotPart(light, cosine);
  return ray;
}

std::optional<LightShade::Ray> LightShade::RayOf(const LightSource& light,
                                                 const FX_D_Point& surface) const {
  if (light.type == LightTypePoint) return PointRay(light, surface);
  if (light.type == LightTypeSpot) return SpotRay(light, surface);
  return std::nullopt;
}

[[gnu::always_inline]] inline LightShade::Meeting LightShade::Orthographic(const FX_D_Point& normal,
                                                                           const Ray& ray) {
  const FX_D_Point& toward = ray.toward;
  const double d = Dot(normal, toward);
  const double facing = d > 0.0 ? d : std::min(1.0, 9.0 * (d * d));
  const double k = -2.0 * normal.z;
  const double r =
      -(k * normal.x * toward.x + k * normal.y * toward.y + (k * normal.z + 1.0) * toward.z);
  return {ray.part, d, (1.0 - facing) * ray.part, r};
}

LightShade::Meeting LightShade::Viewed(const FX_D_Point& normal, const Ray& ray,
                                       const FX_D_Point& view) {
  const double d = Dot(normal, ray.toward);
  const double m = 2.0 * Dot(normal, view);
  const FX_D_Point mirrored{normal.x * m - view.x, normal.y * m - view.y, normal.z * m - view.z};
  return {ray.part, d, (1.0 - d * d) * ray.part * (d + 1.0), -Dot(mirrored, ray.toward)};
}

[[gnu::always_inline]] inline void LightShade::AddMatte(const LightSource& light,
                                                        const Meeting& meeting,
                                                        TSLightGather& gather) {
  if (meeting.diffuse > 0.0) {
    AddScaled(gather.diffuse, meeting.part * meeting.diffuse, light.diffuseColor);
  }
  AddScaled(gather.dust, meeting.dust, light.dustColor);
}

[[gnu::always_inline]] inline void LightShade::AddHighlight(const LightSource& light, double cosine,
                                                            double part,
                                                            TSLightGather& gather) const {
  if (!(cosine > 0.0)) return;
  const double power = inData->utils->ansi.pow(cosine, smoothness);
  AddScaled(gather.specular, power * part, light.specularColor);
}

void LightShade::Add(const LightSource& light, const Meeting& meeting,
                     TSLightGather& gather) const {
  AddMatte(light, meeting, gather);
  AddHighlight(light, meeting.specular, meeting.part, gather);
}

void LightShade::ShadeDistant(const FX_D_Point& normal, const LightSource& light,
                              TSLightGather& gather) const {
  Add(light, Orthographic(normal, {light.direction, 1.0}), gather);
}

void LightShade::ShadePoint(const FX_D_Point& normal, const LightSource& light,
                            TSLightGather& gather, double x, double y) const {
  Add(light, Orthographic(normal, PointRay(light, {x, y, 0.0})), gather);
}

void LightShade::ShadeSpot(const FX_D_Point& normal, const LightSource& light,
                           TSLightGather& gather, double x, double y) const {
  const auto ray = SpotRay(light, {x, y, 0.0});
  if (ray) Add(light, Orthographic(normal, *ray), gather);
}

void LightShade::ShadeDistantView(const FX_D_Point& normal, const LightSource& light,
                                  TSLightGather& gather, const FX_D_Point& view) const {
  Add(light, Viewed(normal, {light.direction, 1.0}, view), gather);
}

void LightShade::ShadePointView(const FX_D_Point& normal, const LightSource& light,
                                TSLightGather& gather, const FX_D_Point& surface,
                                const FX_D_Point& view) const {
  Add(light, Viewed(normal, PointRay(light, surface), view), gather);
}

void LightShade::ShadeSpotView(const FX_D_Point& normal, const LightSource& light,
                               TSLightGather& gather, const FX_D_Point& surface,
                               const FX_D_Point& view) const {
  const auto ray = SpotRay(light, surface);
  if (ray) Add(light, Viewed(normal, *ray, view), gather);
}

/// Sums what all lights bring, in their order. All cosines are formed before the first power, whose
/// call would put the sums down to memory.
template <class Meet>
[[gnu::always_inline]] inline TSLightGather LightShade::Gathered(const FX_D_Point& surface,
                                                                 const Meet& meet) const {
  TSLightGather gather{ambientLight, {}, {}};
  double cosines[kMaxLights];  // of the mirrored viewing ray and each light
  double parts[kMaxLights];
  const std::size_t count = numLights;
  for (std::size_t i = 0; i < count; ++i) {
    Ray ray{lights[i].direction, 1.0};
    if (lights[i].type != LightTypeDistant) [[unlikely]] {
      const auto other = RayOf(lights[i], surface);
      if (!other) {
        cosines[i] = -1.0;
        continue;
      }
      ray = *other;
    }
    const Meeting meeting = meet(ray);
    AddMatte(lights[i], meeting, gather);
    cosines[i] = meeting.specular;
    parts[i] = meeting.part;
  }
  for (std::size_t i = 0; i < count; ++i) AddHighlight(lights[i], cosines[i], parts[i], gather);
  return gather;
}

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

FX_Double_Pixel LightShade::ShadePixel(const FX_Double_Pixel& color, const FX_D_Point& normal,
                                       double x, double y) const {
  const auto meet = [&](const Ray& ray) { return Orthographic(normal, ray); };
  return Lit(color, Gathered({x, y, 0.0}, meet), 1.0);
}

FX_Double_Pixel LightShade::ShadePixelView(const FX_Double_Pixel& color, const FX_D_Point& normal,
                                           const FX_D_Point& surface,
                                           const FX_D_Point& view) const {
  const auto meet = [&](const Ray& ray) { return Viewed(normal, ray, view); };
  // Dust shows least where the surface faces the viewer.
  return Lit(color, Gathered(surface, meet), 1.0 - std::abs(Dot(normal, view)));
}

}  // namespace vorlin
