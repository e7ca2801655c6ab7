#include "hosting/keyframes.h"

namespace hosting {
namespace {

/// Cubic Bezier from 0 to 1 with control values a and b.
double Bezier(double a, double b, double s) {
  const double r = 1 - s;
  return 3 * r * r * s * a + 3 * r * s * s * b + s * s * s;
}

/// The s at which Bezier(a, b, s), which rises as 0 <= a, b <= 1, is t. Bisection: 60 halvings
/// reach a double's precision, and flat stretches (a = 1, b = 0) do not disturb it.
double Invert(double a, double b, double t) {
  double low = 0;
  double high = 1;
  for (int i = 0; i < 60; ++i) {
    const double middle = (low + high) / 2;
    (Bezier(a, b, middle) < t ? low : high) = middle;
  }
  return (low + high) / 2;
}

}  // namespace

double EasedProgress(const Handle& out, const Handle& in, double t) {
  if (out == kLinear && in == kLinear) return t;
  const bool even = out.time == kLinear.time && in.time == kLinear.time;
  const double s = even ? t : Invert(out.time, 1 - in.time, t);
  return Bezier(out.progress, 1 - in.progress, s);
}

}  // namespace hosting
