// Frames of a small scene, rendered through the host library by the effect that is linked in.
#pragma once

#include <functional>
#include <random>

#include "fake_host.h"
#include "hosting/render.h"

namespace frames {

/// The linked-in effect. After each frame that succeeds, after_frame is called inside the command.
using AfterFrame = std::function<void(PF_InData& in, const PF_EffectWorld& input,
                                      const PF_EffectWorld& output, bool smart)>;
inline AfterFrame after_frame;

inline PF_Err Entry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                    PF_LayerDef* output, void* extra) {
  const PF_Err err = MainEntry(cmd, in, out, params, output, extra);
  if (err != PF_Err_NONE || !after_frame) return err;
  if (cmd == PF_Cmd_RENDER) after_frame(*in, params[0]->u.ld, *output, false);
  if (cmd == PF_Cmd_SMART_RENDER) {
    const auto& smart = *static_cast<PF_SmartRenderExtra*>(extra);
    PF_EffectWorld* input = nullptr;
    smart.cb->checkout_layer_pixels(in->effect_ref, 0, &input);
    smart.cb->checkout_output(in->effect_ref, &output);
    after_frame(*in, *input, *output, true);
  }
  return err;
}

inline const hosting::Effect& TheEffect() {
  static const hosting::Effect effect(Entry);
  return effect;
}

/// Smooth colours with some noise; opaque in the middle, transparent in one corner.
inline hosting::Picture TestPicture(int width, int height) {
  std::mt19937 random(5);
  std::vector<float> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float noise = static_cast<float>(random() % 1000) / 8000;
      const float u = static_cast<float>(x) / static_cast<float>(width),
                  v = static_cast<float>(y) / static_cast<float>(height);
      pixels.insert(pixels.end(),
                    {u + noise, 1 - v, noise + 0.5f * u * v,
                     std::min(1.0f, 3 * (u + v - 0.2f) > 0 ? 3 * (u + v - 0.2f) : 0)});
    }
  }
  return {width, height, std::move(pixels)};
}

template <class Value>
hosting::Track<Value> Keys(std::vector<std::pair<double, Value>> values) {
  std::vector<hosting::Key<Value>> keys;
  for (const auto& [seconds, value] : values) keys.push_back({.seconds = seconds, .value = value});
  return hosting::Track<Value>(std::move(keys));
}

/// A brush that crosses a layer of 96 x 54 pixels in half a second, at 30 frames a second.
inline hosting::Setup TestSetup() {
  hosting::Setup setup;
  setup.width = 96;
  setup.height = 54;
  setup.picture = hosting::Still(TestPicture(96, 54));
  setup.controls = hosting::ControlTracks(TheEffect().controls(), 96, 54);
  setup.controls.Set(
      "Brush Position",
      Keys<hosting::Point>({{0, {8, 44}}, {0.1, {30, 9.3}}, {0.25, {70.7, 40}}, {0.5, {90, 5}}}));
  setup.controls.Set("Stroke Width", hosting::Track<double>(25));
  return setup;
}

/// The composition's lights at a composition time.
inline std::vector<oracle::CompositionLight> LightsAt(const hosting::Setup& setup, double seconds) {
  std::vector<oracle::CompositionLight> lights;
  for (const hosting::Layer& layer : setup.composition.layers) {
    if (layer.kind != hosting::Layer::Kind::kLight || !layer.ActiveAt(seconds)) continue;
    const hosting::Light& l = layer.light;
    const hosting::Color c = l.color.At(seconds);
    lights.push_back({static_cast<AEGP_LightType>(l.kind),
                      l.ToWorld(seconds, setup.pixel_aspect.value()),
                      l.intensity.At(seconds),
                      {c.red, c.green, c.blue},
                      l.cone_angle.At(seconds),
                      l.cone_feather.At(seconds)});
  }
  return lights;
}

}  // namespace frames
