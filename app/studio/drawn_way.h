#pragma once

#include <json/json.h>

#include <vector>

#include "hosting/rational.h"
#include "recorded_stroke.h"

namespace app {

/// A stroke of the pointer, and how it becomes part of a scene.
struct DrawnStroke {
  std::vector<RecordedPoint> points;  // seconds from its begin; pixels of the layer
  double start = 0;                   // when it begins at the earliest, seconds of the layer
  double length = 0;                  // seconds it is to last; 0: as long as the hand took
  bool goes_on = false;               // after the way that there is; else in its place
  hosting::Rational frame_rate{30, 1};
  RecordingFit fit;
};

/// The edits that put it into a scene: "Brush Position", the spans in which the pen is down, and
/// the duration when it ends later. Strokes begin with a frame, and between two of them the pen is
/// up for whole frames, as a frame that a jump shares with a stroke would be drawn wrong. Throws
/// InputError when there are no two points, or times do not rise.
Json::Value EditsFor(const DrawnStroke& stroke, const Json::Value& scene);

/// The edits that put a way that is finished into a scene, in place of what is there.
Json::Value EditsFor(const Json::Value& keys, const Json::Value& pen, hosting::Rational frame_rate,
                     const Json::Value& scene);

}  // namespace app
