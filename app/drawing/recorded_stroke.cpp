#include "recorded_stroke.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "hosting/motion_path.h"
#include "svg_path.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

/// Half the time over which a point is smoothed, seconds, the longest first.
constexpr double kSmoothed[] = {0.080, 0.055, 0.035};
/// Over which the direction of a hand is taken.
constexpr double kHeading = 0.020;
/// Of two directions that are one all the same: the hand turned no corner between them.
const double kCorner = std::cos(50 * 3.14159265358979 / 180);
/// Pixels; a shorter way is a rest.
constexpr double kRest = 0.5;

Point operator*(double k, Point p) { return {k * p.x, k * p.y}; }
double Dot(Point a, Point b) { return a.x * b.x + a.y * b.y; }
double Length(Point p) { return std::hypot(p.x, p.y); }
Point Unit(Point p) {
  const double length = Length(p);
  return length > 1e-9 ? (1 / length) * p : Point{};
}

/// The solution of a symmetric 3 x 3 system by Cramer's rule; what it is at 0, the first unknown.
double FirstUnknown(const std::array<double, 5>& moments, const std::array<double, 3>& right) {
  const auto [s0, s1, s2, s3, s4] = moments;
  const double whole =
      s0 * (s2 * s4 - s3 * s3) - s1 * (s1 * s4 - s2 * s3) + s2 * (s1 * s3 - s2 * s2);
  if (std::abs(whole) < 1e-30) return right[0] / s0;
  const double first = right[0] * (s2 * s4 - s3 * s3) - s1 * (right[1] * s4 - s3 * right[2]) +
                       s2 * (right[1] * s3 - s2 * right[2]);
  return first / whole;
}

class Fitter {
 public:
  Fitter(const std::vector<RecordedPoint>& recording, const RecordingFit& fit)
      : raw_(recording), fit_(fit) {
    for (std::size_t i = 0; i < raw_.size(); ++i) points_.push_back({raw_[i].seconds, Smoothed(i)});
  }

  std::vector<Key<Point>> Fit() {
    if (points_.empty()) return {};
    keys_.push_back({.seconds = points_.front().seconds, .value = points_.front().at});
    for (std::size_t from = 0; from + 1 < points_.size();) from = AddLongest(from);
    return std::move(keys_);
  }

 private:
  /// A part of the recording as a curve that is travelled with that easing.
  struct Part {
    Curve curve;
    hosting::Handle out;
    hosting::Handle in;
    double error = 0;  // pixels, at equal times
  };

  /// A point of the parabola through what was recorded around it, as wide as the point moves little
  /// enough.
  Point Smoothed(std::size_t i) const {
    for (const double half : kSmoothed) {
      if (fit_.smoothing <= 0) break;
      std::array<double, 5> moments{};
      std::array<double, 3> x{};
      std::array<double, 3> y{};
      const auto take = [&](std::size_t k) {
        const double t = (raw_[k].seconds - raw_[i].seconds) / half;
        double power = 1;
        for (std::size_t n = 0; n < 5; ++n, power *= t) {
          moments[n] += power;
          if (n < 3) x[n] += power * raw_[k].at.x;
          if (n < 3) y[n] += power * raw_[k].at.y;
        }
      };
      std::size_t before = 0;
      std::size_t after = 0;
      for (std::size_t k = i; k-- > 0 && raw_[i].seconds - raw_[k].seconds <= half; ++before)
        take(k);
      for (std::size_t k = i + 1; k < raw_.size() && raw_[k].seconds - raw_[i].seconds <= half;
           ++k, ++after) {
        take(k);
      }
      take(i);
      // Where the hand came down and where it left it was just there.
      if (before == 0 || after == 0 || before + after < 4) continue;
      const Point smooth{FirstUnknown(moments, x), FirstUnknown(moments, y)};
      if (Length(smooth - raw_[i].at) <= fit_.smoothing) return smooth;
    }
    return raw_[i].at;
  }

  /// The direction just after (+1) or just before (-1) a point.
  Point Side(std::size_t i, int side) const {
    std::size_t k = i;
    while ((side > 0 ? k + 1 < points_.size() : k > 0) &&
           (k == i || std::abs(points_[k].seconds - points_[i].seconds) < kHeading)) {
      k = side > 0 ? k + 1 : k - 1;
    }
    return Unit(side > 0 ? points_[k].at - points_[i].at : points_[i].at - points_[k].at);
  }

  /// Where the hand heads when it leaves (+1) or comes to (-1) a point: straight through it, unless
  /// it turns a corner.
  Point Heading(std::size_t i, int side) const {
    const Point before = Side(i, -1);
    const Point after = Side(i, 1);
    const bool is_end = Length(before) == 0 || Length(after) == 0;
    if (is_end || Dot(before, after) < kCorner) return side > 0 ? after : before;
    return Unit(before + after);
  }

  std::size_t AddLongest(std::size_t from) {
    // Twice as far as long as that works, then by halves.
    std::size_t good = from + 1;
    Part best = Try(from, good);
    std::size_t bad = points_.size();
    for (std::size_t step = 2; good + 1 < bad;) {
      const std::size_t to =
          bad < points_.size() ? (good + bad) / 2 : std::min(from + step, points_.size() - 1);
      const Part part = Try(from, to);
      if (part.error <= fit_.tolerance) {
        good = to;
        best = part;
        step *= 2;
        if (to + 1 == points_.size()) break;
      } else {
        bad = to;
      }
    }
    Key<Point>& start = keys_.back();
    start.out = best.out;
    start.out_tangent = best.curve[1] - best.curve[0];
    keys_.push_back({.seconds = points_[good].seconds,
                     .value = best.curve[3],
                     .in = best.in,
                     .in_tangent = best.curve[2] - best.curve[3]});
    return good;
  }

  Part Try(std::size_t from, std::size_t to) const {
    std::vector<double> along{0};  // of the way, as fractions
    for (std::size_t k = from + 1; k <= to; ++k) {
      along.push_back(along.back() + Length(points_[k].at - points_[k - 1].at));
    }
    const double length = along.back();
    const Point a = points_[from].at;
    const Point b = points_[to].at;
    if (length < kRest) {
      return {{a, a, b, b}, hosting::kLinear, hosting::kLinear, RestError(from, to)};
    }
    for (double& share : along) share /= length;
    Part part;
    part.curve = CurveThrough(from, along, Heading(from, 1), -1.0 * Heading(to, -1), length);
    FitEasing(from, to, along, part);
    const hosting::MotionPath path(part.curve[0], part.curve[1] - part.curve[0],
                                   part.curve[2] - part.curve[3], part.curve[3]);
    for (std::size_t k = from; k <= to; ++k) {
      const double progress = hosting::EasedProgress(part.out, part.in, TimeShare(from, to, k));
      part.error = std::max(part.error, Length(path.At(progress) - points_[k].at));
    }
    return part;
  }

  double RestError(std::size_t from, std::size_t to) const {
    double most = 0;
    for (std::size_t k = from; k <= to; ++k) {
      most = std::max(most, Length(points_[k].at - points_[from].at));
    }
    return most;
  }

  double TimeShare(std::size_t from, std::size_t to, std::size_t k) const {
    return (points_[k].seconds - points_[from].seconds) /
           (points_[to].seconds - points_[from].seconds);
  }

  /// The curve with those directions at its ends that is nearest to the points, by least squares of
  /// the two handles' lengths (P. J. Schneider, "An algorithm for automatically fitting digitized
  /// curves", Graphics Gems, 1990).
  Curve CurveThrough(std::size_t from, const std::vector<double>& along, Point out, Point in,
                     double length) const {
    const Point a = points_[from].at;
    const Point b = points_[from + along.size() - 1].at;
    std::vector<double> at = along;
    Curve curve{};
    for (int round = 0; round < 4; ++round) {
      double oo = 0;
      double oi = 0;
      double ii = 0;
      double o = 0;
      double i = 0;
      for (std::size_t k = 0; k < at.size(); ++k) {
        const double t = at[k];
        const double s = 1 - t;
        const Point to_out = (3 * s * s * t) * out;
        const Point to_in = (3 * s * t * t) * in;
        const Point rest = points_[from + k].at -
                           ((s * s * s + 3 * s * s * t) * a + (3 * s * t * t + t * t * t) * b);
        oo += Dot(to_out, to_out);
        oi += Dot(to_out, to_in);
        ii += Dot(to_in, to_in);
        o += Dot(to_out, rest);
        i += Dot(to_in, rest);
      }
      const double whole = oo * ii - oi * oi;
      double out_length = std::abs(whole) > 1e-12 ? (o * ii - i * oi) / whole : length / 3;
      double in_length = std::abs(whole) > 1e-12 ? (i * oo - o * oi) / whole : length / 3;
      if (!(out_length > 0 && out_length < length)) out_length = length / 3;
      if (!(in_length > 0 && in_length < length)) in_length = length / 3;
      curve = {a, a + out_length * out, b + in_length * in, b};
      for (std::size_t k = 1; k + 1 < at.size(); ++k)
        at[k] = Nearer(curve, points_[from + k].at, at[k]);
    }
    return curve;
  }

  /// One step of Newton's to where a curve is nearest to a point.
  static double Nearer(const Curve& c, Point p, double t) {
    const double s = 1 - t;
    const Point at =
        (s * s * s) * c[0] + (3 * s * s * t) * c[1] + (3 * s * t * t) * c[2] + (t * t * t) * c[3];
    const Point d1 =
        (3 * s * s) * (c[1] - c[0]) + (6 * s * t) * (c[2] - c[1]) + (3 * t * t) * (c[3] - c[2]);
    const Point d2 =
        (6 * s) * (c[2] - c[1] - (c[1] - c[0])) + (6 * t) * (c[3] - c[2] - (c[2] - c[1]));
    const Point off = at - p;
    const double slope = Dot(d1, d1) + Dot(off, d2);
    if (std::abs(slope) < 1e-12) return t;
    return std::clamp(t - Dot(off, d1) / slope, 0.0, 1.0);
  }

  /// The easing whose progress is nearest to the recorded one: with handles at a third of the time
  /// it is a cubic of time, whose two inner values follow by least squares.
  void FitEasing(std::size_t from, std::size_t to, const std::vector<double>& along,
                 Part& part) const {
    double oo = 0;
    double oi = 0;
    double ii = 0;
    double o = 0;
    double i = 0;
    for (std::size_t k = from; k <= to; ++k) {
      const double t = TimeShare(from, to, k);
      const double first = 3 * (1 - t) * (1 - t) * t;
      const double second = 3 * (1 - t) * t * t;
      const double rest = along[k - from] - t * t * t;
      oo += first * first;
      oi += first * second;
      ii += second * second;
      o += first * rest;
      i += second * rest;
    }
    const double whole = oo * ii - oi * oi;
    const bool known = std::abs(whole) > 1e-12;
    const double first = known ? (o * ii - i * oi) / whole : 1.0 / 3;
    const double second = known ? (i * oo - o * oi) / whole : 2.0 / 3;
    part.out = {1.0 / 3, std::clamp(first, 0.0, 1.0)};
    part.in = {1.0 / 3, std::clamp(1 - second, 0.0, 1.0)};
  }

  const std::vector<RecordedPoint>& raw_;
  const RecordingFit& fit_;
  std::vector<RecordedPoint> points_;  // smoothed
  std::vector<Key<Point>> keys_;
};

}  // namespace

std::vector<Key<Point>> FitRecording(const std::vector<RecordedPoint>& recording,
                                     const RecordingFit& fit) {
  return Fitter(recording, fit).Fit();
}

}  // namespace app
