// Values that controls and lights take.
#pragma once

#include <algorithm>
#include <limits>

#include "pf_types.h"

namespace hosting {

/// Full-resolution pixels of the layer, x right and y down, from its top left corner.
struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

/// Composition space: x right, y down, z away from the viewer.
struct Vec3 {
  double x = 0;
  double y = 0;
  double z = 0;
  bool operator==(const Vec3&) const = default;
};

/// 0..1 each.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  bool operator==(const Color&) const = default;
};

struct Range {
  double min = 0;
  double max = 0;
  bool Holds(double v) const { return v >= min && v <= max; }
};

/// From in up to, not including, out: seconds.
struct Span {
  double in = -std::numeric_limits<double>::infinity();
  double out = std::numeric_limits<double>::infinity();
  bool Holds(double seconds) const { return in <= seconds && seconds < out; }
};

/// The nearest value in range, of every channel.
inline double Within(double v, const Range& range) { return std::clamp(v, range.min, range.max); }
inline Color Within(const Color& c, const Range& range) {
  return {Within(c.red, range), Within(c.green, range), Within(c.blue, range)};
}

/// a and b mixed: a at 0, b at 1, straight on beyond.
inline double Blend(double a, double b, double t) { return a + (b - a) * t; }
inline Point Blend(Point a, Point b, double t) { return {Blend(a.x, b.x, t), Blend(a.y, b.y, t)}; }
inline Vec3 Blend(const Vec3& a, const Vec3& b, double t) {
  return {Blend(a.x, b.x, t), Blend(a.y, b.y, t), Blend(a.z, b.z, t)};
}
inline Color Blend(const Color& a, const Color& b, double t) {
  return {Blend(a.red, b.red, t), Blend(a.green, b.green, t), Blend(a.blue, b.blue, t)};
}
/// Choices have nothing between them.
inline int Blend(int a, int, double) { return a; }

/// v as 16.16, rounded to nearest; what does not fit becomes the nearest that does, NaN becomes 0.
PF_Fixed ToFixed(double v);

/// The largest whole number of which 16.16 holds both signs.
inline constexpr double kFixedLimit = 32767;

}  // namespace hosting
