// Rendering frames.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "hosting/calls.h"
#include "hosting/effect.h"
#include "hosting/setup.h"
#include "hosting/world.h"

namespace hosting {

/// Told how far a pass has come, never by two threads at once; false cancels the frame. What it
/// throws passes through the effect, which makes a code of it.
using Progress = std::function<bool(A_long current, A_long total)>;

struct RenderOptions {
  Depth depth = Depth::k8;
  bool smart = true;  // else the classic render command
  bool high_quality = true;
  Rational downsample_x;  // buffer pixels a layer pixel: above 0, at most 4
  Rational downsample_y;
  int threads = 0;  // 0: as many as the machine has; 1: everything in order on the caller's thread
  /// The part of the frame to hand out, in buffer pixels, any rectangle; nothing: the whole layer.
  /// The whole is rendered all the same, so that a region is a crop.
  std::optional<PF_LRect> region;
  double shutter_angle = 180;               // degrees
  PF_SpecVersion interface_version{13, 0};  // what the host says it implements
  Progress progress;
  Observer observer;
  WorldLayout layout;
  bool keep_worlds = false;  // hand out what the effect made for itself: Frame::worlds
};

struct Frame {
  /// As large as the region, and placed there; transparent where the effect draws nothing.
  World picture;
  /// The layer itself, at the same depth and down-sampling. Null where the layer is not there.
  std::shared_ptr<const World> layer;
  /// With RenderOptions::keep_worlds the worlds that the effect made, as it gave them back, in that
  /// order; placed where the effect's output lies.
  std::vector<World> worlds;
};

/// Renders frames of one setup. Commands run one at a time in a process, whatever the number of
/// renderers. The effect must outlive its renderers.
class Renderer {
 public:
  /// Throws Error for an impossible setup or option.
  Renderer(const Effect& effect, Setup setup, RenderOptions options);
  ~Renderer();
  Renderer(Renderer&&) noexcept;
  Renderer& operator=(Renderer&&) noexcept;

  /// Another scene from the next frame on; what was prepared for pictures that it shows too is
  /// kept. Throws Error for an impossible one, and keeps the last.
  void SetSetup(Setup setup);

  const Setup& setup() const;
  const RenderOptions& options() const;

  /// The frame at a composition time, on a frame's start (setup().time.FrameTime(n)) or between.
  /// Throws EffectError when the effect fails or is cancelled, Breach when it breaks the rules,
  /// Error when the picture cannot be had.
  Frame Render(A_long comp_time);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace hosting
