// One use of the effect: a layer, its time, the controls' values, and the composition around it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "hosting/composition.h"
#include "hosting/controls.h"
#include "hosting/picture.h"
#include "hosting/rational.h"
#include "hosting/time_base.h"

namespace hosting {

/// The layer's picture for a frame of the layer (0 at layer time 0, may be negative). The same
/// pointer for two frames says that they are the same picture, which is then prepared once.
using PictureSource = std::function<std::shared_ptr<const Picture>(std::int64_t layer_frame)>;

/// The same picture for every frame.
PictureSource Still(Picture picture);

struct Setup {
  TimeBase time;
  /// Composition time, in units, at which the layer's own time is 0.
  A_long layer_start = 0;
  int width = 0;  // of the layer, full-resolution pixels; every picture must have this size
  int height = 0;
  Rational pixel_aspect;  // width / height of a pixel
  PictureSource picture;
  ControlTracks controls;  // in layer time
  /// The effect's layer in it says when the layer is there; else its frames are transparent.
  Composition composition;

  /// The frame of the layer that is shown at a composition time; none where the layer is not there.
  std::optional<std::int64_t> LayerFrame(A_long comp_time) const;
  /// Throws Error when a size, the aspect or the composition is impossible.
  void Check() const;
};

}  // namespace hosting
