#pragma once

#include <string>
#include <vector>

#include "hosting/keyframes.h"
#include "hosting/rational.h"
#include "svg_path.h"

namespace app {

/// A drawing as it is drawn: where the brush is, and when it touches the picture.
struct DrawnStrokes {
  std::vector<hosting::Key<hosting::Point>> keys;
  std::vector<hosting::Span> pen;  // seconds in which it does; empty: always
  std::vector<std::string> notes;  // what was chosen or passed over, a line each
};

/// When strokes are drawn.
struct PenTimes {
  double from = 0;  // seconds
  double to = 3;
  bool smooth = false;  // the whole drawing starts and ends gently
  double pause = 0;     // seconds between two strokes, at least a frame
  hosting::Rational frame_rate{30, 1};
};

/// The strokes, of which there is one at least, one after the other, all at the same speed along
/// their length: a key for each end of a curve. Between two strokes the pen is up for whole frames:
/// the effect lays as many blobs in a frame as the brush's way from its begin to its end asks for,
/// and a frame that a jump shares with a stroke would get wrong ones. `file` begins messages.
/// Throws InputError when `from` is not before `to`.
DrawnStrokes TimeStrokes(const std::vector<Stroke>& strokes, const PenTimes& times,
                         const std::string& file);

}  // namespace app
