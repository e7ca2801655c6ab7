// A curved piece of a point's way between two keys.
#pragma once

#include <array>
#include <memory>

#include "hosting/values.h"

namespace hosting {

/// A cubic Bezier curve, travelled by its length.
class MotionPath {
 public:
  /// Tangents are relative to their ends. Null when both are zero: the way is straight.
  static std::shared_ptr<const MotionPath> Between(Point from, Point out_tangent, Point in_tangent,
                                                   Point to);
  MotionPath(Point from, Point out_tangent, Point in_tangent, Point to);

  double length() const { return lengths_.back(); }
  /// The point at that fraction of the length; fractions beyond 0..1 go straight on at the ends.
  Point At(double fraction) const;

 private:
  static constexpr std::size_t kPieces = 64;

  Point OnCurve(double s) const;
  Point Derivative(double s) const;
  double LengthBetween(double s0, double s1) const;

  std::array<Point, 4> controls_;
  std::array<double, kPieces + 1> lengths_{};  // from the start to s = i / kPieces
};

}  // namespace hosting
