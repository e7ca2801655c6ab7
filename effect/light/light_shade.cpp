#include "light/light_shade.h"

namespace vorlin {
namespace {

constexpr double kMinSmoothness = 0.5;

// Comparisons as written: a NaN passes the floor.
double FlooredSmoothness(double value) { return value <= kMinSmoothness ? kMinSmoothness : value; }

FX_Double_Pixel Scaled(double factor, const FX_Double_Pixel& color) {
  return {0.0, factor * color.red, factor * color.green, factor * color.blue};
}

// Written so that a NaN becomes 0.
double Positive(double channel) { return channel > 0.0 ? channel : 0.0; }

}  // namespace

LightShade::LightShade(PF_InData* in_data) : inData(in_data) {}

LightShade::LightShade(PF_InData* in_data, double ambient_shading, double diffuse_shading,
                       double specular_shading, double dust_shading, double metallicity_value,
                       double smoothness_value)
    : ambientShading(ambient_shading),
      diffuseShading(diffuse_shading),
      specularShading(specular_shading),
      dustShading(dust_shading),
      metallicity(metallicity_value),
      smoothness(FlooredSmoothness(smoothness_value)),
      inData(in_data) {}

void LightShade::SetAmbientShading(double value) {
  ambientShading = value;
  ambientLight.red *= value;
  ambientLight.green *= value;
  ambientLight.blue *= value;
}

void LightShade::SetSmoothness(double value) { smoothness = FlooredSmoothness(value); }

void LightShade::SetOffset(double x, double y) {
  offsetX = x;
  offsetY = y;
}

void LightShade::AddAmbientLight(const FX_Double_Pixel& color) {
  const FX_Double_Pixel shaded = Scaled(ambientShading, color);
  if (hasAmbient) {
    AddScaled(ambientLight, 1.0, shaded);
  } else {
    hasAmbient = true;
    ambientLight = {ambientLight.alpha, shaded.red, shaded.green, shaded.blue};
  }
}

bool LightShade::AddLightSource(const NewLightSource& light) {
  ++numOffered;
  if (numLights >= kMaxLights) return false;
  const FX_Double_Pixel& color = light.color;
  if (color.red == 0.0 && color.green == 0.0 && color.blue == 0.0) return true;

  LightSource& stored = lights[numLights];
  stored.type = light.type;
  stored.direction = light.direction;
  stored.position = {light.position.x + offsetX, light.position.y + offsetY, light.position.z};
  stored.coneOuterCos = light.coneOuterCos;
  stored.coneInnerCos = light.coneInnerCos;
  stored.diffuseColor = Scaled(diffuseShading, color);
  stored.dustColor = Scaled(0.5 * dustShading, color);
  stored.specularColor = Scaled(
      specularShading, {0.0, Positive(color.red), Positive(color.green), Positive(color.blue)});
  ++numLights;
  return true;
}

bool LightShade::GetNextLightPosition(FX_D_Point& position, int& index) const {
  if (index < 0) index = 0;
  while (index < numLights) {
    const LightSource& light = lights[static_cast<std::size_t>(index++)];
    if (light.type == LightTypePoint || light.type == LightTypeSpot) {
      position = light.position;
      return true;
    }
  }
  return false;
}

void LightShade::TransformAll(const FX_3D_Matrix& matrix, const FX_D_Point& translation, double dx,
                              double dy, double /*dz*/) {
  for (LightSource& light : std::span(lights.data(), numLights)) {
    const FX_D_Point& p = light.position;
    const FX_D_Point& d = light.direction;
    light.direction = Transformed({d.x, d.y, -d.z}, matrix);
    const FX_D_Point moved = Transformed({p.x - dx, p.y - dy, -p.z}, matrix);
    light.position = {moved.x + translation.x, moved.y + translation.y, moved.z + translation.z};
  }
}

void LightShade::TransformAll(const FX_3D_Matrix& matrix, const FX_D_Point& translation) {
  for (LightSource& light : std::span(lights.data(), numLights)) {
    const FX_D_Point& p = light.position;
    const FX_D_Point& d = light.direction;
    light.position =
        Transformed({p.x + translation.x, p.y + translation.y, -p.z + translation.z}, matrix);
    light.direction = Transformed({d.x, d.y, -d.z}, matrix);
  }
}

}  // namespace vorlin
