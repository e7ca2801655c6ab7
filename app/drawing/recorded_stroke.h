#pragma once

#include <vector>

#include "hosting/keyframes.h"

namespace app {

/// Where a hand was, as a tablet or a mouse tells it.
struct RecordedPoint {
  double seconds = 0;
  hosting::Point at;
};

/// How a recording becomes keys; pixels of the layer.
struct RecordingFit {
  double smoothing = 2.4;  // the most that a point is moved against trembling; 0: not at all
  double tolerance = 1;    // from the smoothed recording, at equal times
};

/// Few keys with tangents and easing that follow a recording, whose times rise, in space and in
/// time: each takes the longest part that it can.
std::vector<hosting::Key<hosting::Point>> FitRecording(const std::vector<RecordedPoint>& recording,
                                                       const RecordingFit& fit);

}  // namespace app
