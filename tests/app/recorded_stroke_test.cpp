// Keys that follow a hand: few, and where the hand was at the same time.
#include "recorded_stroke.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <string>

namespace app {
namespace {

using hosting::Point;
using Way = std::function<Point(double)>;  // of a hand, for seconds from 0 to kSeconds

constexpr double kSeconds = 3;

/// A hand is slow in bends and fast between them, and comes to rest at the end.
double Gentle(double t) {
  const double u = t / kSeconds;
  return kSeconds * (u * u * (3 - 2 * u) + 0.012 * std::sin(9 * u));
}

const std::pair<const char*, Way> kHands[] = {
    {"a circle",
     [](double t) {
       const double a = 2 * M_PI * Gentle(t) / kSeconds;
       return Point{500 + 300 * std::cos(a), 400 + 260 * std::sin(a)};
     }},
    {"loops",
     [](double t) {
       const double u = Gentle(t);
       return Point{150 + 260 * u + 90 * std::sin(5.2 * u), 400 - 130 * std::cos(5.2 * u)};
     }},
    {"a spiral",
     [](double t) {
       const double u = Gentle(t);
       return Point{480 + 95 * u * std::cos(3.4 * u), 400 + 95 * u * std::sin(3.4 * u)};
     }},
    {"a wave with a rest",
     [](double t) {
       const auto eased = [](double u) { return u * u * (3 - 2 * u); };
       const double moved = t < 1.2   ? 1.2 * eased(t / 1.2)
                            : t < 1.7 ? 1.2
                                      : 1.2 + 1.3 * eased((t - 1.7) / 1.3);
       return Point{100 + 300 * moved, 400 + 150 * std::sin(3 * moved)};
     }},
    {"corners",
     [](double t) {
       const double u = std::min(5.999, 2 * t);
       const double part = u - std::floor(u);
       const double eased = part * part * (3 - 2 * part);
       const int n = static_cast<int>(u);
       return Point{100 + 140 * (n + eased), n % 2 == 0 ? 250 + 300 * eased : 550 - 300 * eased};
     }},
};

/// What a device tells of it: so many times a second, in steps of so many pixels.
std::vector<RecordedPoint> Recorded(const Way& hand, double rate, double step, double tremble) {
  std::mt19937 random(7);
  std::normal_distribution<double> noise(0, tremble);
  std::vector<RecordedPoint> points;
  const auto rounded = [step](double v) { return step * std::round(v / step); };
  for (double t = 0; t <= kSeconds; t += 1 / rate) {
    const Point p = hand(t);
    points.push_back({t, {rounded(p.x + noise(random)), rounded(p.y + noise(random))}});
  }
  return points;
}

double WorstError(const std::vector<hosting::Key<Point>>& keys, const Way& hand) {
  const hosting::Track<Point> track(keys);
  double worst = 0;
  for (double t = 0; t <= keys.back().seconds; t += 0.002) {
    const Point at = track.At(t);
    const Point wanted = hand(t);
    worst = std::max(worst, std::hypot(at.x - wanted.x, at.y - wanted.y));
  }
  return worst;
}

TEST(RecordedStroke, IsFollowedInTimeByFewKeys) {
  struct Device {
    const char* name;
    double rate;
    double step;
    double tremble;
    RecordingFit fit;
    double error;  // pixels, at equal times
  };
  const Device devices[] = {{"pen", 120, 0.25, 0.25, {1.4, 0.7}, 1.5},
                            {"mouse", 120, 2, 0.2, {2.4, 1}, 2.5}};
  for (const Device& device : devices) {
    for (const auto& [name, hand] : kHands) {
      const auto recording = Recorded(hand, device.rate, device.step, device.tremble);
      const auto keys = FitRecording(recording, device.fit);
      const std::string what = std::string(name) + " with a " + device.name;
      EXPECT_LE(keys.size(), 30U) << what;
      EXPECT_LE(WorstError(keys, hand), device.error) << what;
      EXPECT_EQ(keys.front().value, recording.front().at) << what;
      EXPECT_EQ(keys.back().value, recording.back().at) << what;
    }
  }
}

TEST(RecordedStroke, WithoutSmoothingKeepsEveryPoint) {
  const auto recording = Recorded(kHands[1].second, 60, 1, 0);
  const auto keys = FitRecording(recording, {.smoothing = 0, .tolerance = 0.01});
  const hosting::Track<Point> track(keys);
  for (const RecordedPoint& p : recording) {
    const Point at = track.At(p.seconds);
    EXPECT_LT(std::hypot(at.x - p.at.x, at.y - p.at.y), 0.02);
  }
  EXPECT_EQ(FitRecording({{1, {5, 6}}}, {}).size(), 1U);
  EXPECT_TRUE(FitRecording({}, {}).empty());
}

}  // namespace
}  // namespace app
