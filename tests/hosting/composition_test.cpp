#include "hosting/composition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "refusal.h"

namespace hosting {
namespace {

Light Lit(Vec3 position, std::optional<Vec3> target = {}, Vec3 degrees = {}) {
  Light light;
  light.position = position;
  if (target) light.target = Track<Vec3>(*target);
  light.rotation = degrees;
  return light;
}

Light Turned(Vec3 degrees) { return Lit({}, {}, degrees); }

TEST(Light, ShinesAlongItsOwnZAxis) {
  const double r = std::sqrt(0.5);
  const Vec3 x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1}, o{};
  const struct {
    const char* what;
    Light light;
    Vec3 rows[4];  // x, y, z axes and position
    double pixel_aspect = 1;
  } cases[] = {
      {"at rest", Lit({100, 200, -300}), {x, y, z, {100, 200, -300}}},
      {"to the right", Lit(o, Vec3{10, 0, 0}), {{0, 0, -1}, y, x, o}},
      {"straight up", Lit(o, Vec3{0, -8, 0}), {x, z, {0, -1, 0}, o}},
      {"down and away", Lit(o, Vec3{0, 3, 3}), {x, {0, r, -r}, {0, r, r}, o}},
      {"target on the light", Lit({1, 2, 3}, Vec3{1, 2, 3}), {x, y, z, {1, 2, 3}}},
      {"about x: y to z", Turned({90, 0, 0}), {x, z, {0, -1, 0}, o}},
      {"about y: z to x", Turned({0, 90, 0}), {{0, 0, -1}, y, x, o}},
      {"about z: x to y", Turned({0, 0, 90}), {y, {-1, 0, 0}, z, o}},
      {"about z, y, then x", Turned({90, 90, 90}), {z, {0, -1, 0}, x, o}},
      {"turned about its way", Lit(o, Vec3{10, 0, 0}, {0, 0, 90}), {y, {0, 0, 1}, x, o}},
      // Pixels twice as wide as high: 5 of them are as far as 10 rows.
      {"wide, at rest", Lit({480, 7, -9}), {{0.5, 0, 0}, y, z, {480, 7, -9}}, 2},
      {"wide, aslant", Lit(o, Vec3{5, 0, 10}), {{r / 2, 0, -r}, y, {r / 2, 0, r}, o}, 2},
      {"narrow, to the right", Lit(o, Vec3{9, 0, 0}), {{0, 0, -1}, y, {2, 0, 0}, o}, 0.5},
  };
  for (const auto& c : cases) {
    const A_Matrix4 m = c.light.ToWorld(0, c.pixel_aspect);
    for (int row = 0; row < 4; ++row) {
      const double expected[] = {c.rows[row].x, c.rows[row].y, c.rows[row].z, row < 3 ? 0.0 : 1.0};
      for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(m.mat[row][i], expected[i], 1e-12) << c.what << ", row " << row;
      }
    }
  }
}

TEST(Light, KeepsCurvesThatOvershootInRange) {
  const auto overshooting = [](auto from, auto to) {
    return Track<decltype(from)>({{.seconds = 0, .value = from, .out = {0.3, -2}},
                                  {.seconds = 1, .value = to, .in = {0.3, -2}}});
  };
  Light light;
  light.intensity = overshooting(0.0, 100.0);
  light.color = overshooting(Color{0, 1, 0.5}, Color{1, 0, 0.5});
  light.cone_angle = overshooting(0.0, 180.0);
  light.cone_feather = overshooting(0.0, 100.0);
  light.Check("Key");
  const auto at = [&](double seconds) {
    const Color color = light.ColorAt(seconds);
    return Text(color.red, color.green, color.blue, light.ConeAngleAt(seconds),
                light.ConeFeatherAt(seconds));
  };
  EXPECT_EQ(at(0.2), "0 1 0.5 0 0");
  EXPECT_EQ(at(0.5), "0.5 0.5 0.5 90 50");
  EXPECT_EQ(at(0.8), "1 0 0.5 180 100");
  EXPECT_LT(light.IntensityAt(0.2), 0);  // lights may take light away
}

TEST(Composition, RefusesImpossibleOnes) {
  using C = Composition&;
  using L = Light&;
  const std::pair<const char*, std::function<void(C, L)>> cases[]{
      {"light \"Key\": cone_angle must be 0 to 180 degrees", [](C, L l) { l.cone_angle = 181.0; }},
      {"cone_feather must be 0 to 100", [](C, L l) { l.cone_feather = -1.0; }},
      {"color must be 0 to 1",
       [](C, L l) {
         l.color = Color{0, 2, 0};
       }},
      {"intensity must be finite", [](C, L l) { l.intensity = HUGE_VAL; }},
      {"position must be finite",
       [](C, L l) {
         l.position = Vec3{0, NAN, 0};
       }},
      {"target",
       [](C, L l) {
         l.target = Track(Vec3{0, 0, -HUGE_VAL});
       }},
      {"rotation",
       [](C, L l) {
         l.rotation = Vec3{NAN, 0, 0};
       }},
      {"0 times", [](C c, L) { c.layers.pop_back(); }},
      {"2 times", [](C c, L) { c.layers.push_back(c.layers.back()); }}};
  for (const auto& [said, change] : cases) {
    Composition composition;
    composition.AddLight({Layer::Kind::kLight, "Key", true, {}, {}});
    EXPECT_NO_THROW(composition.Check());
    change(composition, composition.layers.front().light);
    EXPECT_REFUSED(composition.Check(), said);
  }
}

}  // namespace
}  // namespace hosting
