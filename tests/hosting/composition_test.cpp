#include "hosting/composition.h"

#include <gtest/gtest.h>

#include <cmath>

#include "refusal.h"

namespace hosting {
namespace {

struct Rows {
  Vec3 x, y, z, at;
};

void ExpectMatrix(const Light& light, const Rows& rows, const char* what) {
  const A_Matrix4 m = light.ToWorld(0);
  const Vec3 expected[] = {rows.x, rows.y, rows.z, rows.at};
  for (int r = 0; r < 4; ++r) {
    EXPECT_NEAR(m.mat[r][0], expected[r].x, 1e-12) << what << " row " << r;
    EXPECT_NEAR(m.mat[r][1], expected[r].y, 1e-12) << what << " row " << r;
    EXPECT_NEAR(m.mat[r][2], expected[r].z, 1e-12) << what << " row " << r;
    EXPECT_EQ(m.mat[r][3], r == 3 ? 1 : 0) << what;
  }
}

Light At(Vec3 position) {
  Light light;
  light.position = position;
  return light;
}

Light Aimed(Vec3 position, Vec3 target) {
  Light light = At(position);
  light.target = Track<Vec3>(target);
  return light;
}

Light Turned(Vec3 degrees) {
  Light light;
  light.rotation = degrees;
  return light;
}

TEST(Light, ShinesAlongItsOwnZAxis) {
  const double r = std::sqrt(0.5);
  const Vec3 x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1}, o{};
  ExpectMatrix(At({100, 200, -300}), {x, y, z, {100, 200, -300}}, "at rest");
  ExpectMatrix(Aimed({5, 6, -7}, {5, 6, 20}), {x, y, z, {5, 6, -7}}, "straight ahead");
  ExpectMatrix(Aimed(o, {10, 0, 0}), {{0, 0, -1}, y, x, o}, "to the right");
  ExpectMatrix(Aimed(o, {0, 0, -2}), {{-1, 0, 0}, y, {0, 0, -1}, o}, "toward the viewer");
  ExpectMatrix(Aimed(o, {0, 8, 0}), {x, {0, 0, -1}, y, o}, "straight down");
  ExpectMatrix(Aimed(o, {0, -8, 0}), {x, z, {0, -1, 0}, o}, "straight up");
  ExpectMatrix(Aimed(o, {0, 3, 3}), {x, {0, r, -r}, {0, r, r}, o}, "down and away");
  ExpectMatrix(Aimed({1, 2, 3}, {1, 2, 3}), {x, y, z, {1, 2, 3}}, "target on the light");
  ExpectMatrix(Turned({90, 0, 0}), {x, z, {0, -1, 0}, o}, "about x: y to z");
  ExpectMatrix(Turned({0, 90, 0}), {{0, 0, -1}, y, x, o}, "about y: z to x");
  ExpectMatrix(Turned({0, 0, 90}), {y, {-1, 0, 0}, z, o}, "about z: x to y");
  // z first, then y: x -> y -> y; y -> -x -> z; z -> z -> x.
  ExpectMatrix(Turned({0, 90, 90}), {y, z, x, o}, "about z, then y");
  // then x: y -> z.
  ExpectMatrix(Turned({90, 90, 90}), {z, {0, -1, 0}, x, o}, "about z, y, then x");
  ExpectMatrix(Turned({360, -720, 1080}), {x, y, z, o}, "whole turns");
  Light both = Aimed(o, {10, 0, 0});
  both.rotation = Vec3{0, 0, 90};
  ExpectMatrix(both, {y, {0, 0, 1}, x, o}, "turned about its way");
}

TEST(Light, MovesWithItsKeys) {
  Light light;
  light.position =
      Track<Vec3>({{.seconds = 0, .value = {0, 0, 0}}, {.seconds = 2, .value = {100, 40, -20}}});
  const A_Matrix4 m = light.ToWorld(1.5);
  EXPECT_EQ(m.mat[3][0], 75);
  EXPECT_EQ(m.mat[3][1], 30);
  EXPECT_EQ(m.mat[3][2], -15);
}

TEST(Layer, IsActiveFromInUpToOut) {
  Layer layer{Layer::Kind::kLight, "Key", true, {1, 2}, {}};
  EXPECT_FALSE(layer.ActiveAt(0.999));
  EXPECT_TRUE(layer.ActiveAt(1));
  EXPECT_TRUE(layer.ActiveAt(1.999));
  EXPECT_FALSE(layer.ActiveAt(2));
  layer.enabled = false;
  EXPECT_FALSE(layer.ActiveAt(1.5));
  EXPECT_TRUE((Layer{}.ActiveAt(-1e9)));
}

TEST(Composition, RefusesImpossibleOnes) {
  const auto with = [](auto change) {
    Composition comp;
    Layer layer{Layer::Kind::kLight, "Key", true, {}, {}};
    change(layer.light);
    comp.AddLight(layer);
    return comp;
  };
  EXPECT_NO_THROW(with([](Light&) {}).Check());
  EXPECT_REFUSED(with([](Light& l) { l.cone_angle = 181.0; }).Check(),
                 "light \"Key\": cone_angle must be 0 to 180");
  EXPECT_REFUSED(with([](Light& l) { l.cone_feather = -1.0; }).Check(), "cone_feather");
  EXPECT_REFUSED(with([](Light& l) { l.color = Color{0, 2, 0}; }).Check(), "color");
  EXPECT_REFUSED(with([](Light& l) { l.intensity = HUGE_VAL; }).Check(), "intensity");
  EXPECT_REFUSED(with([](Light& l) { l.position = Vec3{0, NAN, 0}; }).Check(), "position");
  EXPECT_REFUSED(Composition{{}}.Check(), "0 times");
  Composition twice;
  twice.layers.push_back(twice.layers[0]);
  EXPECT_REFUSED(twice.Check(), "2 times");
}

}  // namespace
}  // namespace hosting
