// The light model: filling and moving its table, and the shading of surface points.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "fake_host.h"
#include "light/light_shade.h"
#include "oracle.h"

namespace {

using vorlin::FX_3D_Matrix;
using vorlin::FX_D_Point;
using vorlin::FX_Double_Pixel;
using vorlin::LightShade;
using vorlin::NewLightSource;
using Three = std::array<double, 3>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Three Rgb(const FX_Double_Pixel& c) { return {c.red, c.green, c.blue}; }
Three Xyz(const FX_D_Point& p) { return {p.x, p.y, p.z}; }
NewLightSource White(std::int16_t type) {
  return {type, {9, 1, 1, 1}, {0.6, 0, 0.8}, {100, 100, 7}, 0.5, 0.75};
}

TEST(LightModel, SmoothnessHasAFloor) {
  fake::Host host;
  LightShade set(&host.in);
  for (const auto& [given, kept] :
       {std::pair{0.3, 0.5}, {0.5, 0.5}, {0.6, 0.6}, {-1.0, 0.5}, {0.0, 0.5}, {1000.0, 1000.0}}) {
    set.SetSmoothness(given);
    EXPECT_EQ(set.smoothness, kept);
    EXPECT_EQ(LightShade(&host.in, 1, 1, 1, 1, 1, given).smoothness, kept);
  }
  set.SetSmoothness(kNaN);
  EXPECT_TRUE(std::isnan(set.smoothness));
  EXPECT_TRUE(std::isnan(LightShade(&host.in, 1, 1, 1, 1, 1, kNaN).smoothness));
}

TEST(LightModel, StoresLightsWithFactorsAndOffset) {
  fake::Host host;
  LightShade model(&host.in, 1, 1, 1, 1, 1, 1);
  EXPECT_TRUE(model.AddLightSource(White(2)));
  model.SetDiffuseShading(0.25);
  model.SetDustShading(3.0);
  model.SetSpecularShading(0.5);
  model.SetMetallicity(0.125);
  model.SetOffset(-10, 5);
  NewLightSource light = White(-7);
  light.color = {0, 0.8, -0.2, kNaN};
  EXPECT_TRUE(model.AddLightSource(light));
  EXPECT_EQ(model.metallicity, 0.125);
  ASSERT_EQ(model.numLights, 2);
  EXPECT_EQ(Xyz(model.lights[0].position), (Three{100, 100, 7}));
  EXPECT_EQ(Rgb(model.lights[0].dustColor), (Three{0.5, 0.5, 0.5}));
  const vorlin::LightSource& kept = model.lights[1];
  EXPECT_EQ(kept.type, -7);
  EXPECT_EQ(Xyz(kept.position), (Three{90, 105, 7}));
  EXPECT_EQ(Xyz(kept.direction), (Three{0.6, 0, 0.8}));
  EXPECT_EQ(kept.coneOuterCos, 0.5);
  EXPECT_EQ(kept.coneInnerCos, 0.75);
  EXPECT_EQ(kept.diffuseColor.red, 0.25 * 0.8);
  EXPECT_EQ(kept.diffuseColor.green, 0.25 * -0.2);
  EXPECT_TRUE(std::isnan(kept.diffuseColor.blue));
  EXPECT_EQ(kept.dustColor.red, 1.5 * 0.8);
  EXPECT_EQ(kept.dustColor.green, 1.5 * -0.2);
  EXPECT_EQ(Rgb(kept.specularColor), (Three{0.5 * 0.8, 0, 0}));
}

TEST(LightModel, TakesNineteenLightsAndDropsBlackOnes) {
  fake::Host host;
  LightShade model(&host.in);
  NewLightSource black = White(2);
  black.color = {1, 0, -0.0, 0};
  EXPECT_TRUE(model.AddLightSource(black));
  EXPECT_EQ(model.numLights, 0);
  EXPECT_EQ(model.numOffered, 1);
  for (int i = 0; i < 19; ++i) EXPECT_TRUE(model.AddLightSource(White(2)));
  EXPECT_FALSE(model.AddLightSource(White(1)));
  EXPECT_FALSE(model.AddLightSource(black)) << "full comes before black";
  EXPECT_EQ(model.numLights, 19);
  EXPECT_EQ(model.numOffered, 22);
  EXPECT_EQ(model.lights[18].type, 2);
}

TEST(LightModel, SumsAmbientLight) {
  fake::Host host;
  LightShade model(&host.in);
  model.SetAmbientShading(0.8);
  model.AddAmbientLight({5, 1, 1, 1});
  EXPECT_TRUE(model.hasAmbient);
  model.AddAmbientLight({5, 0.5, 0, -1});
  EXPECT_EQ(Rgb(model.ambientLight), (Three{0.8 + 0.4, 0.8, 0}));
  model.SetAmbientShading(0.5);
  EXPECT_EQ(Rgb(model.ambientLight), (Three{(0.8 + 0.4) * 0.5, 0.4, 0}));
  EXPECT_EQ(model.ambientLight.alpha, 0);
  EXPECT_EQ(model.ambientShading, 0.5);
}

TEST(LightModel, WalksThePositionsOfPointAndSpotLights) {
  fake::Host host;
  LightShade model(&host.in);
  for (const int type : {1, 2, 3, 9, 1}) {
    NewLightSource light = White(static_cast<std::int16_t>(type));
    light.position.x = 10.0 * type;
    model.AddLightSource(light);
  }
  FX_D_Point position{-1, -1, -1};
  int index = -3;
  EXPECT_TRUE(model.GetNextLightPosition(position, index));
  EXPECT_EQ(Xyz(position), (Three{20, 100, 7}));
  EXPECT_EQ(index, 2);
  EXPECT_TRUE(model.GetNextLightPosition(position, index));
  EXPECT_EQ(Xyz(position), (Three{30, 100, 7}));
  EXPECT_EQ(index, 3);
  EXPECT_FALSE(model.GetNextLightPosition(position, index));
  EXPECT_EQ(index, 5);
  index = 40;
  EXPECT_FALSE(model.GetNextLightPosition(position, index));
  EXPECT_EQ(index, 40);
  EXPECT_EQ(Xyz(position), (Three{30, 100, 7})) << "untouched";
}

// A matrix of small integers, so that all results are exact: row vector (x, y, z) becomes
// (x + 2y + 3z, 4x + 5y + 6z, 7x + 8y + 10z).
const FX_3D_Matrix kMatrix{{{1, 4, 7}, {2, 5, 8}, {3, 6, 10}}};

TEST(LightModel, TransformsAllLights) {
  fake::Host host;
  NewLightSource light = White(3);
  light.direction = {1, 2, 3};
  light.position = {10, 20, 30};
  for (const bool shifted : {true, false}) {
    LightShade model(&host.in);
    model.AddAmbientLight({1, 1, 1, 1});
    model.AddLightSource(light);
    model.AddLightSource(light);
    if (shifted) {
      model.TransformAll(kMatrix, {100, 200, 300}, 1, 2, 1000);
    } else {
      model.TransformAll(kMatrix, {100, 200, 300});
    }
    for (const vorlin::LightSource& moved : model.Lights()) {
      EXPECT_EQ(Xyz(moved.direction), (Three{-4, -4, -7}));  // of (1, 2, -3)
      // Of (9, 18, -30), translated; or of (110, 220, 270).
      EXPECT_EQ(Xyz(moved.position), shifted ? (Three{55, 146, 207}) : (Three{1360, 3160, 5230}));
      EXPECT_EQ(Rgb(moved.diffuseColor), (Three{1, 1, 1}));
      EXPECT_EQ(moved.coneOuterCos, 0.5);
    }
    EXPECT_EQ(Rgb(model.ambientLight), (Three{1, 1, 1}));
    EXPECT_EQ(model.numLights, 2);
  }
}

TEST(Geometry, RotationTurnsAboutXThenYThenZ) {
  fake::Host host;
  const double rad = 0.017453292519943295;
  for (const auto& [a, b, c] :
       {Three{0, 0, 0}, Three{0, 0, 90}, Three{30, -50, 200}, Three{1e4, 12.5, -77}}) {
    const double s1 = std::sin(a * rad), c1 = std::cos(a * rad), s2 = std::sin(b * rad),
                 c2 = std::cos(b * rad), s3 = std::sin(c * rad), c3 = std::cos(c * rad);
    const FX_3D_Matrix m = vorlin::XR_Set_Rot(&host.in, a, b, c);
    const double expected[3][3]{{c2 * c3, c2 * s3, -s2},
                                {s1 * s2 * c3 - c1 * s3, s1 * s2 * s3 + c1 * c3, s1 * c2},
                                {c1 * s2 * c3 + s1 * s3, c1 * s2 * s3 - s1 * c3, c1 * c2}};
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) EXPECT_EQ(m.m[i][j], expected[i][j]) << i << j;
    }
  }
  const FX_D_Point y = vorlin::Transformed({1, 0, 0}, vorlin::XR_Set_Rot(&host.in, 0, 0, 90));
  EXPECT_NEAR(y.x, 0, 1e-15);
  EXPECT_EQ(y.y, 1);
}

TEST(Geometry, VectorDivision) {
  const double r = 1.0 / 13;
  EXPECT_EQ(Xyz(vorlin::FX_VectorDivision({3, 4, 12}, 13)), (Three{3 * r, 4 * r, 12 * r}));
  EXPECT_EQ(Xyz(vorlin::FX_VectorDivision({3, 4, 12}, 0)), (Three{3, 4, 12}));
  EXPECT_EQ(Xyz(vorlin::FX_VectorDivision({3, 4, 12}, -0.0)), (Three{3, 4, 12}));
}

// Shading, against the plain formulas at random points.

struct RandomScene {
  explicit RandomScene(unsigned seed) : random(seed) {}

  double In(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  oracle::Vec Unit() {
    const oracle::Vec v{In(-1, 1), In(-1, 1), In(-1, 1)};
    const double n = 1.0 / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z + 1e-9);
    return {v.x * n, v.y * n, v.z * n};
  }
  oracle::Light Light(int type) {
    const double outer = In(-1, 1);
    return {type,   {In(-0.2, 2), In(0, 1), In(0, 1)},
            Unit(), {In(-50, 50), In(-50, 50), In(-20, 90)},
            outer,  random() % 8 == 0 ? outer : outer + In(-0.1, 0.8)};
  }
  std::mt19937 random;
};

FX_D_Point Point(const oracle::Vec& v) { return {v.x, v.y, v.z}; }

void Offer(LightShade& model, const oracle::Light& l) {
  model.AddLightSource({static_cast<std::int16_t>(l.type),
                        {7, l.color[0], l.color[1], l.color[2]},
                        Point(l.direction),
                        Point(l.position),
                        l.outer_cos,
                        l.inner_cos});
}

TEST(Shading, PixelsEqualThePlainFormulas) {
  fake::Host host;
  RandomScene scene(3);
  for (int round = 0; round < 1500; ++round) {
    const oracle::Factors factors{scene.In(0, 2), scene.In(0, 1),      scene.In(0, 1),
                                  scene.In(0, 1), scene.In(-0.5, 1.5), scene.In(0.5, 200)};
    LightShade model(&host.in, factors.ambient, factors.diffuse, factors.specular, factors.dust,
                     factors.metal, factors.smoothness);
    model.AddAmbientLight({1, 0.3, 0.2, 0.1});
    const oracle::Rgb ambient{factors.ambient * 0.3, factors.ambient * 0.2, factors.ambient * 0.1};
    std::vector<oracle::Light> lights;
    for (int i = static_cast<int>(scene.random() % 6); i-- > 0;) {
      lights.push_back(scene.Light(static_cast<int>(scene.random() % 5)));
      Offer(model, lights.back());
    }
    const oracle::Rgb color{scene.In(0, 1), scene.In(0, 1), scene.In(-0.5, 3)};
    const FX_Double_Pixel surface_color{0.625, color[0], color[1], color[2]};
    const oracle::Vec n = scene.Unit(), v = scene.Unit();
    oracle::Vec q{scene.In(-60, 60), scene.In(-60, 60), 0};
    if (round % 50 == 1 && !lights.empty()) q = lights[0].position;  // no division by zero
    const oracle::Vec q3{q.x, q.y, round % 50 == 1 ? q.z : scene.In(-9, 9)};
    const FX_Double_Pixel flat = model.ShadePixel(surface_color, Point(n), q.x, q.y);
    const FX_Double_Pixel deep = model.ShadePixelView(surface_color, Point(n), Point(q3), Point(v));
    EXPECT_EQ(Rgb(flat), oracle::Shade(factors, lights, ambient, color, n, q, nullptr)) << round;
    EXPECT_EQ(Rgb(deep), oracle::Shade(factors, lights, ambient, color, n, q3, &v)) << round;
    EXPECT_EQ(flat.alpha, 0.625);
    EXPECT_EQ(deep.alpha, 0.625);
  }
}

TEST(Shading, WithoutLightsOnlyAmbientCounts) {
  fake::Host host;
  LightShade model(&host.in);
  EXPECT_EQ(Rgb(model.ShadePixel({1, 0.5, 0.25, 1}, {0, 0, 1}, 0, 0)), (Three{0, 0, 0}));
  model.AddAmbientLight({1, 0.5, 2, -1});
  EXPECT_EQ(Rgb(model.ShadePixel({1, 0.5, 0.25, 1}, {0, 0, 1}, 0, 0)), (Three{0.25, 0.5, -1}));
}

}  // namespace
