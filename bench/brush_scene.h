// The scene that the host's benchmarks render: a brush that travels at an even speed on a winding
// path over an opaque picture, all other controls at their defaults.
#pragma once

#include <vector>

#include "hosting/area_sampler.h"
#include "hosting/render.h"

namespace bench {

struct BrushScene {
  int width = 1920;
  int height = 1080;
  int brush_frames = 60;  // what the shown frame looks back on
  double stroke_width = 4;
  int lights = 1;        // 1: the effect's own; more: the composition's
  bool at_rest = false;  // the brush stays in the middle
  bool still = true;     // else every frame has a picture of its own
};

const hosting::Effect& TheEffect();
hosting::Setup SetupOf(const BrushScene& scene);
/// The composition time of the frame that is shown.
A_long ShownTime(const BrushScene& scene, const hosting::Setup& setup);

/// What a frame is made of.
struct Amounts {
  double covered_pixels = 0;
  double blob_cells = 0;
  double samples = 0;  // blobs
};
Amounts AmountsOf(const BrushScene& scene, const hosting::RenderOptions& options = {});

/// The boxes that the shown frame asks the host's sampler for, in the order of its pixels.
std::vector<hosting::SampleBox> StrokeBoxes(const BrushScene& scene);

}  // namespace bench
