#include "light/effect_light.h"

#include "host/control_values.h"
#include "light/color_control.h"
#include "light/pixel.h"

namespace vorlin {
namespace {

constexpr double kFromPercent = 0.01;

/// Toward the light: degrees clockwise from straight up, tilted from the layer's plane (height 0)
/// to the viewer (height 1) or away from it (-1). A unit vector.
FX_D_Point LightDirection(const PF_ANSICallbacks& ansi, double degrees, double height) {
  const double phi = (180.0 - degrees) * kRadiansPerDegree;
  const double flat = height < 0.0 ? height + 1.0 : 1.0 - height;
  const double sin_phi = ansi.sin(phi);
  const double cos_phi = ansi.cos(phi);
  const FX_D_Point v{flat * sin_phi, flat * cos_phi, height};
  return FX_VectorDivision(v, ansi.sqrt(Dot(v, v)));
}

}  // namespace

std::unique_ptr<LightShade> NewLightShade(PF_InData* in_data) {
  const ControlsAt frame = ControlsAt::Frame(in_data);
  const double ambient = frame.Slider(kAmbient);
  const double diffuse = frame.Slider(kDiffuse);
  const double specular = frame.Slider(kSpecular);
  const double roughness = frame.Slider(kRoughness);
  const double metal = frame.Slider(kMetal);
  constexpr double kNoDust = 0.0;
  return std::make_unique<LightShade>(in_data, ambient * kFromPercent, diffuse * kFromPercent,
                                      specular * kFromPercent, kNoDust, metal * kFromPercent,
                                      1.0 / roughness);
}

template <class Pixel>
void AddEffectLight(Fxenv& env, LightShade& model, const FX_PARc& scales, double layer_width,
                    double layer_height) {
  const ControlsAt frame = ControlsAt::Frame(env.inData);
  model.AddAmbientLight({1.0, 1.0, 1.0, 1.0});

  NewLightSource light{};
  light.type = frame.PopUp(kLightType) == kPointLight ? LightTypePoint : LightTypeDistant;
  const double height = frame.Slider(kLightHeight) * kFromPercent;
  const double degrees = frame.Angle(kLightDirection);
  light.direction = LightDirection(env.inData->utils->ansi, degrees, height);
  const FX_Point position = frame.Point(kLightPosition);
  // A full height is as high as the layer's mean side is long.
  light.position = {position.x * scales.toLayerX, position.y * scales.toLayerY,
                    height * (layer_width + layer_height) * 0.5};
  const double intensity = frame.Slider(kLightIntensity) * kFromPercent;
  const Pixel color =
      GetColorControl<Pixel>(env, kLightColor, frame.what_time, frame.time_step, frame.time_scale);
  light.color = NormalizePixel(color, intensity);
  model.AddLightSource(light);
}

template void AddEffectLight<PF_Pixel>(Fxenv&, LightShade&, const FX_PARc&, double, double);
template void AddEffectLight<PF_Pixel16>(Fxenv&, LightShade&, const FX_PARc&, double, double);
template void AddEffectLight<PF_PixelFloat>(Fxenv&, LightShade&, const FX_PARc&, double, double);

}  // namespace vorlin
