// One use of the effect: a layer, its time, the controls' values, and the composition around it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

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
  /// When the layer is there, in composition time; outside it its frames are transparent.
  Span layer_span;
  int width = 0;  // of the layer, full-resolution pixels; every picture must have this size
  int height = 0;
  Rational pixel_aspect;  // width / height of a pixel
  PictureSource picture;
  ControlTracks controls;  // in layer time
  Composition composition;

  /// Throws Error when a size, the aspect or the composition is impossible.
  void Check() const;
};

}  // namespace hosting
