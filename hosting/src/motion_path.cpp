#include "hosting/motion_path.h"

#include <algorithm>
#include <cmath>

namespace hosting {

std::shared_ptr<const MotionPath> MotionPath::Between(Point from, Point out_tangent,
                                                      Point in_tangent, Point to) {
  if (out_tangent == Point{} && in_tangent == Point{}) return nullptr;
  return std::make_shared<const MotionPath>(from, out_tangent, in_tangent, to);
}

MotionPath::MotionPath(Point from, Point out_tangent, Point in_tangent, Point to)
    : controls_{from,
                {from.x + out_tangent.x, from.y + out_tangent.y},
                {to.x + in_tangent.x, to.y + in_tangent.y},
                to} {
  for (std::size_t i = 0; i < kPieces; ++i) {
    lengths_[i + 1] = lengths_[i] + LengthBetween(static_cast<double>(i) / kPieces,
                                                  static_cast<double>(i + 1) / kPieces);
  }
}

Point MotionPath::OnCurve(double s) const {
  const Point a = Blend(controls_[0], controls_[1], s);
  const Point b = Blend(controls_[1], controls_[2], s);
  const Point c = Blend(controls_[2], controls_[3], s);
  return Blend(Blend(a, b, s), Blend(b, c, s), s);
}

Point MotionPath::Derivative(double s) const {
  const Point a = Blend(controls_[0], controls_[1], s);
  const Point b = Blend(controls_[1], controls_[2], s);
  const Point c = Blend(controls_[2], controls_[3], s);
  const Point from = Blend(a, b, s);
  const Point to = Blend(b, c, s);
  return {3 * (to.x - from.x), 3 * (to.y - from.y)};
}

// Gauss-Legendre quadrature of the speed with five points (Abramowitz and Stegun, table 25.4).
double MotionPath::LengthBetween(double s0, double s1) const {
  static constexpr std::array<std::array<double, 2>, 5> kNodes{
      {{0.0, 128.0 / 225},
       {0.5384693101056831, 0.4786286704993665},
       {-0.5384693101056831, 0.4786286704993665},
       {0.9061798459386640, 0.2369268850561891},
       {-0.9061798459386640, 0.2369268850561891}}};
  const double middle = (s0 + s1) / 2;
  const double half = (s1 - s0) / 2;
  double sum = 0;
  for (const auto& [node, weight] : kNodes) {
    const Point d = Derivative(middle + half * node);
    sum += weight * std::hypot(d.x, d.y);
  }
  return sum * half;
}

Point MotionPath::At(double fraction) const {
  const double target = fraction * length();
  // Beyond the ends the path goes straight on, along its chord where it has no direction there.
  const auto beyond = [&](const Point& end, const Point& direction, double distance) {
    const double norm = std::hypot(direction.x, direction.y);
    if (norm == 0) return end;
    return Point{end.x + direction.x / norm * distance, end.y + direction.y / norm * distance};
  };
  const Point chord{controls_[3].x - controls_[0].x, controls_[3].y - controls_[0].y};
  const auto direction = [&](double s) {
    const Point d = Derivative(s);
    return d == Point{} ? chord : d;
  };
  if (target <= 0) return beyond(controls_[0], direction(0), target);
  if (target >= length()) return beyond(controls_[3], direction(1), target - length());

  const auto after = std::upper_bound(lengths_.begin() + 1, lengths_.end() - 1, target);
  const auto piece = static_cast<double>(after - lengths_.begin() - 1);
  double low = piece / kPieces;
  double high = (piece + 1) / kPieces;
  const double start = low;
  const double wanted = target - *(after - 1);
  // Newton's method, kept between the nearest points known to lie before and behind. A few steps
  // reach the rounding of the length; where the curve stands still, halving takes more.
  double s = low + (high - low) * wanted / (*after - *(after - 1));
  for (int i = 0; i < 50; ++i) {
    const double excess = LengthBetween(start, s) - wanted;
    if (std::abs(excess) <= 1e-14 * length()) break;
    (excess < 0 ? low : high) = s;
    const Point d = Derivative(s);
    s -= excess / std::hypot(d.x, d.y);
    if (!(s > low && s < high)) s = (low + high) / 2;
  }
  return OnCurve(s);
}

}  // namespace hosting
