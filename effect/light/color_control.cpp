#include "light/color_control.h"

#include <optional>

#include "host/control_values.h"
#include "light/pixel.h"

namespace vorlin {
namespace {

bool GivesFloatColors(const PF_SpecVersion& version) {
  return version.major > 12 || (version.major == 12 && version.minor > 10);
}

/// The unrounded colour, if the host gives it.
std::optional<PF_PixelFloat> FloatColor(Fxenv& env, int index, int time, int time_step,
                                        unsigned int time_scale) {
  if (!GivesFloatColors(env.inData->version)) return std::nullopt;
  return ReadControl(env.inData, index, time, time_step, time_scale,
                     [&](const PF_ParamDef& param) -> std::optional<PF_PixelFloat> {
                       PF_PixelFloat color{};
                       const PF_Err err = env.suites.Use(
                           kColorParamSuite,
                           &PF_ColorParamSuite1::PF_GetFloatingPointColorFromColorDef)(
                           env.inData->effect_ref, &param, &color);
                       if (err != 0) return std::nullopt;
                       return color;
                     });
}

void Convert(const PF_PixelFloat& color, PF_PixelFloat& out) { out = color; }

void Convert(const PF_PixelFloat& color, PF_Pixel16& out) {
  const auto channel = [](float v) { return PixelTraits<PF_Pixel16>::Clamped(v * 32768.0f); };
  out = {channel(color.alpha), channel(color.red), channel(color.green), channel(color.blue)};
}

template <class Pixel>
Pixel DeepColor(Fxenv& env, int index, int time, int time_step, unsigned int time_scale) {
  Pixel result;
  if (const auto color = FloatColor(env, index, time, time_step, time_scale)) {
    Convert(*color, result);
  } else {
    AdaptDepth(Get_Color(env.inData, index, time, time_step, time_scale), result);
  }
  return result;
}

}  // namespace

template <>
PF_Pixel GetColorControl(Fxenv& env, int index, int time, int time_step, unsigned int time_scale) {
  return Get_Color(env.inData, index, time, time_step, time_scale);
}

template <>
PF_Pixel16 GetColorControl(Fxenv& env, int index, int time, int time_step,
                           unsigned int time_scale) {
  return DeepColor<PF_Pixel16>(env, index, time, time_step, time_scale);
}

template <>
PF_PixelFloat GetColorControl(Fxenv& env, int index, int time, int time_step,
                              unsigned int time_scale) {
  return DeepColor<PF_PixelFloat>(env, index, time, time_step, time_scale);
}

}  // namespace vorlin
