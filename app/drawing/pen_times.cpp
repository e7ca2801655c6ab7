#include "pen_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "errors.h"
#include "hosting/motion_path.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

/// How progress over the whole drawing follows time, both from 0 to 1: evenly, or softly at both
/// ends, as 3t^2 - 2t^3.
struct Ease {
  bool smooth;

  double Progress(double t) const { return smooth ? t * t * (3 - 2 * t) : t; }
  double Speed(double t) const { return smooth ? 6 * t * (1 - t) : 1; }
  double Time(double progress) const {
    const double p = std::clamp(progress, 0.0, 1.0);
    return smooth ? 0.5 - std::sin(std::asin(1 - 2 * p) / 3) : p;
  }
};

double LengthOf(const Curve& c) {
  return hosting::MotionPath(c[0], c[1] - c[0], c[2] - c[3], c[3]).length();
}

double LengthOf(const Stroke& stroke) {
  return std::accumulate(stroke.begin(), stroke.end(), 0.0,
                         [](double sum, const Curve& c) { return sum + LengthOf(c); });
}

/// Whole frames for parts whose lengths are `ideal`, all together `frames`, none without one.
std::vector<int> ShareFrames(const std::vector<double>& ideal, int frames) {
  std::vector<int> shares;
  shares.reserve(ideal.size());
  for (const double i : ideal) shares.push_back(std::max(1, static_cast<int>(std::lround(i))));
  int more = frames - std::accumulate(shares.begin(), shares.end(), 0);
  const auto change = [&](int by) {
    std::size_t best = 0;
    double most = -1e300;
    for (std::size_t i = 0; i < shares.size(); ++i) {
      if (shares[i] + by < 1) continue;
      const double lack = by * (ideal[i] - shares[i]);
      if (lack > most) {
        most = lack;
        best = i;
      }
    }
    shares[best] += by;
  };
  for (; more > 0; --more) change(1);
  for (; more < 0; ++more) change(-1);
  return shares;
}

class Timer {
 public:
  Timer(const std::vector<Stroke>& strokes, const PenTimes& times, const std::string& file)
      : strokes_(strokes), times_(times), ease_{times.smooth} {
    if (!(times.from < times.to)) {
      throw InputError(fmt::format("{}: the drawing ends at {} s, before it begins at {} s", file,
                                   times.to, times.from));
    }
    double total = 0;
    for (const Stroke& stroke : strokes) {
      share_ends_.push_back(total += LengthOf(stroke));
    }
    if (!(total > 0)) throw InputError(fmt::format("{}: the drawing has no length", file));
    for (double& end : share_ends_) end /= total;
    share_ends_.back() = 1;
  }

  DrawnStrokes Time() {
    PlaceStrokes();
    double share = 0;
    for (std::size_t i = 0; i < strokes_.size(); ++i) {
      AddStroke(strokes_[i], share, share_ends_[i], spans_[i], i + 1 < strokes_.size());
      share = share_ends_[i];
    }
    if (spans_.size() > 1) drawn_.pen = spans_;
    return std::move(drawn_);
  }

 private:
  /// Decides when each stroke begins and ends.
  void PlaceStrokes() {
    const double rate = times_.frame_rate.value();
    const auto lifts = static_cast<int>(strokes_.size()) - 1;
    if (lifts == 0) {
      spans_ = {{times_.from, times_.to}};
      return;
    }
    const auto count = static_cast<int>(strokes_.size());
    const auto first = static_cast<std::int64_t>(std::ceil(times_.from * rate - 1e-6));
    const auto last = static_cast<std::int64_t>(std::floor(times_.to * rate + 1e-6));
    const auto frames = static_cast<int>(std::min<std::int64_t>(last - first, 1 << 30));
    int pause = std::max(1, static_cast<int>(std::lround(times_.pause * rate)));
    if (std::int64_t{pause} * lifts + count > frames) pause = 1;
    if (std::int64_t{pause} * lifts + count > frames) {
      drawn_.notes.push_back(fmt::format(
          "{} strokes in {} frames: some share a frame and will not be clean; give the drawing {} "
          "frames at least",
          count, std::max(0, frames), 2 * count - 1));
      return ShareTime();
    }
    std::vector<double> ideal;
    const int drawn_frames = frames - pause * lifts;
    double before = 0;
    for (const double end : share_ends_) {
      ideal.push_back((ease_.Time(end) - ease_.Time(before)) * drawn_frames);
      before = end;
    }
    std::int64_t at = first;
    const auto seconds = [&](std::int64_t frame) {
      return static_cast<double>(frame * times_.frame_rate.den()) /
             static_cast<double>(times_.frame_rate.num());
    };
    for (const int share : ShareFrames(ideal, drawn_frames)) {
      spans_.push_back({seconds(at), seconds(at + share)});
      at += share + pause;
    }
  }

  /// There are too few frames: a tenth of the time goes into lifts.
  void ShareTime() {
    const double length = times_.to - times_.from;
    const double lift = 0.1 * length / static_cast<double>(strokes_.size() - 1);
    double before = 0;
    double at = times_.from;
    for (const double end : share_ends_) {
      const double out = at + 0.9 * length * (ease_.Time(end) - ease_.Time(before));
      spans_.push_back({at, std::max(out, std::nextafter(at, times_.to))});
      at = spans_.back().out + lift;
      before = end;
    }
  }

  /// Its keys. The drawing's progress goes from `begin` to `end` meanwhile.
  void AddStroke(const Stroke& stroke, double begin, double end, const hosting::Span& span,
                 bool lift_after) {
    const double t0 = ease_.Time(begin);
    const double t1 = ease_.Time(end);
    const double length = LengthOf(stroke);
    auto& keys = drawn_.keys;
    keys.push_back({.seconds = span.in, .value = stroke.front()[0]});
    double t_before = t0;
    double travelled = 0;
    for (std::size_t i = 0; i < stroke.size(); ++i) {
      const Curve& c = stroke[i];
      travelled += LengthOf(c);
      const bool is_last = i + 1 == stroke.size();
      const double t = is_last ? t1 : ease_.Time(Blend(begin, end, travelled / length));
      const double seconds = is_last ? span.out : Blend(span.in, span.out, (t - t0) / (t1 - t0));
      if (!(keys.back().seconds < seconds)) continue;  // too short for its time to be told
      Key<Point>& from = keys.back();
      Key<Point> to{.seconds = seconds, .value = c[3], .in_tangent = c[2] - c[3]};
      from.out_tangent = c[1] - c[0];
      if (ease_.smooth) EaseBetween(from, to, t_before, t);
      keys.push_back(to);
      t_before = t;
    }
    keys.back().hold = lift_after;
  }

  /// Handles that bend the way between two keys exactly as the ease runs there: a cubic of time is
  /// told by its speeds at both ends.
  void EaseBetween(Key<Point>& from, Key<Point>& to, double t0, double t1) const {
    const double change = ease_.Progress(t1) - ease_.Progress(t0);
    if (!(change > 0)) return;
    const double third = (t1 - t0) / 3 / change;
    from.out = {1.0 / 3, ease_.Speed(t0) * third};
    to.in = {1.0 / 3, ease_.Speed(t1) * third};
  }

  static double Blend(double a, double b, double t) { return hosting::Blend(a, b, t); }

  const std::vector<Stroke>& strokes_;
  const PenTimes& times_;
  Ease ease_;
  std::vector<double> share_ends_;  // of the drawing's length, where each stroke ends
  std::vector<hosting::Span> spans_;
  DrawnStrokes drawn_;
};

}  // namespace

DrawnStrokes TimeStrokes(const std::vector<Stroke>& strokes, const PenTimes& times,
                         const std::string& file) {
  return Timer(strokes, times, file).Time();
}

}  // namespace app
