#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/values.h"

namespace app {

inline hosting::Point operator+(hosting::Point a, hosting::Point b) {
  return {a.x + b.x, a.y + b.y};
}
inline hosting::Point operator-(hosting::Point a, hosting::Point b) {
  return {a.x - b.x, a.y - b.y};
}

/// A cubic Bezier curve: start, two handles, end.
using Curve = std::array<hosting::Point, 4>;
/// What a pen draws without being lifted; each curve begins where the one before it ends.
using Stroke = std::vector<Curve>;

/// Draws lines, curves and arcs one after the other. Pieces of no length are left out.
class StrokeMaker {
 public:
  /// Lifts the pen.
  void Move(hosting::Point to);
  void Line(hosting::Point to);
  void Cubic(hosting::Point out, hosting::Point in, hosting::Point to);
  void Quadratic(hosting::Point handle, hosting::Point to);
  /// An elliptical arc as SVG describes it, its x axis turned by `degrees`.
  void Arc(double rx, double ry, double degrees, bool large, bool sweep, hosting::Point to);
  /// Back to where the pen came down.
  void Close();

  hosting::Point at() const { return at_; }
  /// Those that have a length.
  std::vector<Stroke> Take() &&;

 private:
  std::vector<Stroke> strokes_;
  hosting::Point at_;
  hosting::Point start_;
  bool moved_ = true;
};

/// The subpaths of an SVG path's "d", straight lines and arcs being curves too. Throws InputError
/// for what is no path.
std::vector<Stroke> ParseSvgPath(std::string_view d);

}  // namespace app
