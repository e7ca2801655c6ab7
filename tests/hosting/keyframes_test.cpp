#include "hosting/keyframes.h"

#include <gtest/gtest.h>

#include <cmath>

#include "refusal.h"

namespace hosting {
namespace {

using Keys = std::vector<Key<double>>;

TEST(Track, HoldsBeforeBetweenAndAfter) {
  const Track<double> track(Keys{{.seconds = 1, .value = 10, .hold = true},
                                 {.seconds = 2, .value = 20},
                                 {.seconds = 4, .value = 40}});
  const struct {
    double seconds;
    double value;
  } cases[] = {{-1e9, 10}, {0.999, 10}, {1, 10}, {1.999, 10}, {2, 20},
               {2.5, 25},  {3, 30},     {4, 40}, {4.001, 40}, {1e9, 40}};
  for (const auto& c : cases) EXPECT_EQ(track.At(c.seconds), c.value) << c.seconds;
}

TEST(Track, FindsKeysHoweverTheyAreSpaced) {
  const std::pair<const char*, double (*)(int)> spacings[]{
      {"frames", [](int i) { return i / 29.97; }},
      {"ever closer", [](int i) { return 10 - 10.0 / (1 + i); }},
      {"ever wider", [](int i) { return std::exp(i * 0.7); }},
      {"as far as numbers reach", [](int i) { return (i - 50) * 3.5e306; }}};
  for (const auto& [name, time] : spacings) {
    Keys keys;
    for (int i = 0; i <= 100; ++i) keys.push_back({time(i), static_cast<double>(i), true});
    const Track<double> track(keys);
    for (int i = 0; i <= 100; ++i) {
      EXPECT_EQ(track.At(time(i)), i) << name;
      EXPECT_EQ(track.At(std::nextafter(time(i), -HUGE_VAL)), std::max(i - 1, 0)) << name;
      EXPECT_EQ(track.At(std::nextafter(time(i), HUGE_VAL)), i) << name;
    }
  }
}

TEST(Track, EasesAlongTheCurveOfItsHandles) {
  const auto eased = [](Handle out, Handle in, double t) {
    return Track<double>(Keys{{.seconds = 0, .out = out}, {.seconds = 1, .value = 1, .in = in}})
        .At(t);
  };
  // Points of the curve at given s, both coordinates written out as Bernstein sums.
  const Handle handles[][2] = {{{0.42, 0}, {0.42, 0}},    {{0.25, 0.1}, {0.75, 0}},
                               {kSmooth, kSmooth},  // 3t^2 - 2t^3 of the share t of the time
                               {kSmooth, kLinear},        {{0, 1}, {0, 1}},
                               {{0.3, -0.6}, {0.2, -0.8}}};
  for (const auto& [out, in] : handles) {
    for (int i = 1; i < 50; ++i) {
      const double s = i / 50.0;
      const double r = 1 - s;
      const auto at = [&](double a, double b) {
        return 3 * r * r * s * a + 3 * r * s * s * b + s * s * s;
      };
      EXPECT_NEAR(eased(out, in, at(out.time, 1 - in.time)), at(out.progress, 1 - in.progress),
                  1e-9)
          << out.time << " " << in.time << " " << s;
    }
  }
}

TEST(Track, MixesEveryPartOfAValue) {
  const Track<Color> color(
      {{.seconds = 0, .value = {0, 1, 0.5}}, {.seconds = 2, .value = {1, 0, 0.5}}});
  EXPECT_EQ(color.At(0.5), (Color{0.25, 0.75, 0.5}));
  const Track<Vec3> place(
      {{.seconds = 0, .value = {0, 10, -4}}, {.seconds = 1, .value = {8, 0, 4}}});
  EXPECT_EQ(place.At(0.25), (Vec3{2, 7.5, -2}));
  const Track<Point> point({{.seconds = 0, .value = {0, 10}}, {.seconds = 2, .value = {40, 20}}});
  EXPECT_EQ(point.At(0.5), (Point{10, 12.5}));  // straight without tangents
  const Track<int> choice({{.seconds = 0, .value = 1}, {.seconds = 1, .value = 2}});
  EXPECT_EQ(choice.At(0.999), 1);  // choices jump at the key
  EXPECT_EQ(choice.At(1), 2);
}

TEST(Track, RefusesKeysThatMakeNoSense) {
  struct Case {
    const char* said;
    Keys keys;
  };
  const Case cases[]{{"at least one key", {}},
                     {"rise in time", {{.seconds = 1}, {.seconds = 1}}},
                     {"rise in time", {{.seconds = 2}, {.seconds = 1}}},
                     {"finite", {{.seconds = NAN}}},
                     {"handle", {{.seconds = 1, .in = {1.5, 0}}}},
                     {"handle", {{.seconds = 1, .out = {-0.1, 0}}}}};
  for (const Case& c : cases) EXPECT_REFUSED(Track<double>(Keys(c.keys)), c.said);
}

TEST(MotionPath, IsTravelledAtAnEvenSpeed) {
  const MotionPath path({0, 0}, {300, 0}, {-10, -5}, {100, 80});
  // The length by 200,000 chords of the curve's own polynomial.
  double length = 0;
  Point last{0, 0};
  for (int i = 1; i <= 200000; ++i) {
    const double s = i / 200000.0;
    const double r = 1 - s;
    const Point p{3 * r * r * s * 300 + 3 * r * s * s * 90 + s * s * s * 100,
                  3 * r * s * s * 75 + s * s * s * 80};
    length += std::hypot(p.x - last.x, p.y - last.y);
    last = p;
  }
  EXPECT_NEAR(path.length(), length, 1e-5);
  const Track<Point> track({{.seconds = 0, .out_tangent = {300, 0}},
                            {.seconds = 1, .value = {100, 80}, .in_tangent = {-10, -5}}});
  constexpr int kSteps = 4000;
  for (int i = 0; i < kSteps; ++i) {
    const Point a = track.At(static_cast<double>(i) / kSteps);
    const Point b = track.At((i + 1.0) / kSteps);
    // Chords are shorter than the curve by its bend only.
    EXPECT_NEAR(std::hypot(b.x - a.x, b.y - a.y), length / kSteps, 1e-3) << i;
  }
  EXPECT_EQ(path.At(0), (Point{0, 0}));
  EXPECT_EQ(path.At(1), (Point{100, 80}));
  EXPECT_NEAR(path.At(-0.1).x, -0.1 * length, 1e-6);  // overshooting leaves along the tangent
  EXPECT_EQ(path.At(-0.1).y, 0);
  const MotionPath nowhere({5, 6}, {0, 0}, {0, 0}, {5, 6});
  for (const double fraction : {0.3, 2.0}) EXPECT_EQ(nowhere.At(fraction), (Point{5, 6}));
}

}  // namespace
}  // namespace hosting
