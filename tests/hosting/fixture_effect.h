// An effect made of a function, for provoking the host.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "hosting/render.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace hosting {

/// What arrives at an entry point.
struct Commanded {
  PF_Cmd cmd;
  PF_InData* in;
  PF_OutData* out;
  PF_ParamDef** params;
  PF_LayerDef* output;
  void* extra;
};

/// Answers commands; set before the entry point is used.
inline std::function<PF_Err(const Commanded&)> fixture_behaviour;

/// Adds one slider and one colour at parameter setup and leaves the rest to the behaviour.
inline PF_Err FixtureEntry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                           PF_LayerDef* output, void* extra) {
  if (cmd == PF_Cmd_PARAMS_SETUP) {
    PF_ParamDef slider{};
    slider.param_type = PF_Param_FIX_SLIDER;
    slider.u.fd.valid_max = slider.u.fd.slider_max = 100 << 16;
    PF_ParamDef color{};
    color.param_type = PF_Param_COLOR;
    out->num_params = 3;
    const PF_Err err = in->inter.add_param(in->effect_ref, -1, &slider);
    return err != 0 ? err : in->inter.add_param(in->effect_ref, -1, &color);
  }
  return fixture_behaviour ? fixture_behaviour({cmd, in, out, params, output, extra}) : 0;
}

// Test fixtures keep the name for themselves.
using Scene = Setup;

inline Scene SceneFor(const Effect& effect) {
  Scene scene;
  scene.width = 20;
  scene.height = 10;
  std::vector<std::uint8_t> pixels;
  for (int i = 0; i < 200; ++i) {
    pixels.insert(pixels.end(), {static_cast<std::uint8_t>(i), 0, 0, 255});
  }
  scene.picture = Still(Picture(20, 10, pixels));
  scene.controls = ControlTracks(effect.controls(), 20, 10);
  return scene;
}

/// Renders frame 30 of a scene of two controls, changed as asked, by an effect that behaves like
/// that.
inline Frame Provoke(std::function<PF_Err(const Commanded&)> behaviour,
                     std::function<void(Scene&, RenderOptions&)> change = {}) {
  fixture_behaviour = nullptr;
  const Effect effect(FixtureEntry);
  fixture_behaviour = std::move(behaviour);
  Scene scene = SceneFor(effect);
  RenderOptions options;
  options.smart = false;
  if (change) change(scene, options);
  return Renderer(effect, scene, options).Render(scene.time.FrameTime(30));
}

template <class Suite>
const Suite& Acquire(const Commanded& c, const char* name, int version) {
  const void* suite = nullptr;
  EXPECT_EQ(c.in->pica_basicP->AcquireSuite(name, version, &suite), 0) << name;
  return *static_cast<const Suite*>(suite);
}

inline void Release(const Commanded& c, const char* name, int version) {
  EXPECT_EQ(c.in->pica_basicP->ReleaseSuite(name, version), 0);
}

}  // namespace hosting
