// An effect made of a function, for provoking the host.
#pragma once

#include <functional>

#include "hosting/render.h"
#include "pf_effect.h"
#include "pf_smart.h"
#include "refusal.h"

namespace hosting {

/// What arrives at an entry point, and the calls that answer it.
struct Commanded {
  PF_Cmd cmd;
  PF_InData* in;
  PF_OutData* out;
  PF_ParamDef** params;
  PF_LayerDef* output;
  void* extra;

  PF_ProgPtr ref() const { return in->effect_ref; }
  PF_PreRenderExtra& pre() const { return *static_cast<PF_PreRenderExtra*>(extra); }
  PF_SmartRenderExtra& smart() const { return *static_cast<PF_SmartRenderExtra*>(extra); }

  PF_Err CheckOut(int index, PF_ParamDef* def, A_long time = 0) const {
    return in->inter.checkout_param(ref(), index, time, in->time_step, in->time_scale, def);
  }
  PF_Err CheckIn(PF_ParamDef* def) const { return in->inter.checkin_param(ref(), def); }
  PF_Err Fill(PF_EffectWorld* world, const PF_Pixel* color = nullptr,
              const PF_Rect* rect = nullptr) const {
    return in->utils->fill(ref(), color, rect, world);
  }
  /// Null when the host refuses.
  template <class Suite = void>
  const Suite* Acquire(const char* name, int version) const {
    const void* suite = nullptr;
    in->pica_basicP->AcquireSuite(name, version, &suite);
    return static_cast<const Suite*>(suite);
  }
  void Release(const char* name, int version) const {
    in->pica_basicP->ReleaseSuite(name, version);
  }
  /// The suite, acquired for this look at it only.
  template <class Suite>
  const Suite& Borrow(const char* name, int version) const {
    const Suite* const suite = Acquire<Suite>(name, version);
    Release(name, version);
    return *suite;
  }
};

/// Answers commands; set before the entry point is used.
inline std::function<PF_Err(const Commanded&)> fixture_behaviour;

/// Adds a slider, a colour and a point at parameter setup and leaves the rest to the behaviour.
inline PF_Err FixtureEntry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                           PF_LayerDef* output, void* extra) {
  if (cmd == PF_Cmd_PARAMS_SETUP) {
    out->num_params = 4;
    for (const PF_ParamType type : {PF_Param_FIX_SLIDER, PF_Param_COLOR, PF_Param_POINT}) {
      PF_ParamDef control{};
      control.param_type = type;
      if (type == PF_Param_FIX_SLIDER) control.u.fd.valid_max = 100 << 16;
      if (const PF_Err err = in->inter.add_param(in->effect_ref, -1, &control)) return err;
    }
  }
  return fixture_behaviour ? fixture_behaviour({cmd, in, out, params, output, extra}) : 0;
}

// Test fixtures keep the name Setup for themselves.
using Scene = Setup;
using Change = std::function<void(Scene&, RenderOptions&)>;

/// A layer of 20 x 10 pixels whose red counts from 0.
inline Scene SceneFor(const Effect& effect) {
  Scene scene;
  scene.width = 20;
  scene.height = 10;
  std::vector<std::uint8_t> pixels(800, 0);
  for (std::size_t i = 0; i < 800; i += 4) {
    pixels[i] = static_cast<std::uint8_t>(i / 4);
    pixels[i + 3] = 255;
  }
  scene.picture = Still(Picture(20, 10, pixels));
  scene.controls = ControlTracks(effect.controls(), 20, 10);
  return scene;
}

/// Renders frame 30 of a scene of three controls, changed as asked, by an effect that behaves like
/// that: by the classic command, unless that is changed.
inline Frame Provoke(std::function<PF_Err(const Commanded&)> behaviour, const Change& change = {}) {
  fixture_behaviour = nullptr;
  const Effect effect(FixtureEntry);
  fixture_behaviour = std::move(behaviour);
  Scene scene = SceneFor(effect);
  RenderOptions options;
  options.smart = false;
  if (change) change(scene, options);
  return Renderer(effect, scene, options).Render(scene.time.FrameTime(30));
}

}  // namespace hosting
