// The composition's light layers in the model.
#include <gtest/gtest.h>

#include <cmath>

#include "fake_host.h"
#include "light/composition_lights.h"

namespace {

using fake::Host;
using fake::Layer;
using fake::Log;
using Three = std::array<double, 3>;

Three Xyz(const vorlin::FX_D_Point& p) { return {p.x, p.y, p.z}; }
Three Rgb(const vorlin::FX_Double_Pixel& c) { return {c.red, c.green, c.blue}; }

Layer Of(AEGP_LightType type) {
  Layer layer;
  layer.light = type;
  return layer;
}
Layer Picture() {
  Layer layer;
  layer.object = AEGP_ObjectType_AV;
  return layer;
}

/// Reads the lights of a stack whose last layer is the effect's.
struct Read {
  explicit Read(Host& host, std::vector<Layer> lights, A_Time time = {50, 100})
      : model(&host.in, 0.8, 0.5, 1, 0, 1, 9) {
    host.layers = std::move(lights);
    host.layers.push_back(Picture());
    host.effect_layer = static_cast<int>(host.layers.size()) - 1;
    model.SetOffset(-20, 30);
    vorlin::Fxenv env(&host.in, &host.out, nullptr, nullptr);
    found = vorlin::GetAllLights(env, model, time);
  }
  vorlin::LightShade model;
  bool found;
};

TEST(CompositionLights, BecomeModelLights) {
  Host host;
  const struct {
    AEGP_LightType type;
    std::int16_t kept;
  } types[]{{AEGP_LightType_PARALLEL, 1}, {AEGP_LightType_SPOT, 3}, {AEGP_LightType_POINT, 2}};
  for (const auto& t : types) {
    Layer layer = Of(t.type);
    layer.intensity = 50;
    layer.color = {1, 0.5, -0.25};
    const Read plain(host, {layer});
    ASSERT_EQ(plain.model.numLights, 1);
    const vorlin::LightSource& light = plain.model.lights[0];
    EXPECT_EQ(light.type, t.kept);
    EXPECT_EQ(Xyz(light.position), (Three{80, 230, 300}));
    EXPECT_EQ(Xyz(light.direction), (Three{0, 0, 1}));
    EXPECT_EQ(Rgb(light.diffuseColor), (Three{0.25, 0.125, -0.0625}));
    // Only the first column is brought to length 1: here its length is 3.
    layer.world = {{{1, 5, 6, 0}, {2, 7, 8, 0}, {2, 9, 10, 0}, {12, 11, 13, 1}}};
    const Read scaled(host, {layer});
    const double third = 1.0 / 3;
    EXPECT_EQ(Xyz(scaled.model.lights[0].position), (Three{12 * third - 20, 41, -13}));
    EXPECT_EQ(Xyz(scaled.model.lights[0].direction), (Three{-(2 * third), -9, 10}));
  }
}

TEST(CompositionLights, SpotsHaveACone) {
  const double rad = 0.017453292519943295;
  const struct {
    double angle, feather, outer, inner;
  } cases[]{
      {90, 50, std::cos(45 * rad), std::cos(0.5 * (45 * rad))},
      {90, 0, std::cos(45 * rad), std::cos((1.0 - 0.01) * (45 * rad))},
      {90, 1, std::cos(45 * rad), std::cos((1.0 - 0.01) * (45 * rad))},
      {90, 0.5, std::cos(45 * rad), std::cos((1.0 - 0.01) * (45 * rad))},
      {37, 100, std::cos(18.5 * rad), 1},
      {0, 20, 1, 1},
  };
  for (const auto& c : cases) {
    Host host;
    Layer spot = Of(AEGP_LightType_SPOT);
    spot.cone_angle = c.angle;
    spot.cone_feather = c.feather;
    const Read read(host, {spot});
    EXPECT_EQ(read.model.lights[0].coneOuterCos, c.outer) << c.angle << ' ' << c.feather;
    EXPECT_EQ(read.model.lights[0].coneInnerCos, c.inner) << c.angle << ' ' << c.feather;
  }
}

TEST(CompositionLights, NegativeTimeIsTimeZero) {
  Host host;
  const Read read(host, {Of(AEGP_LightType_POINT)}, {-50, 100});
  EXPECT_EQ(host.Lines({"AEGP_ConvertEffectToCompTime"}),
            Log{"AEGP_ConvertEffectToCompTime 0 100"});
}

TEST(CompositionLights, AreNotFoundWithoutLayers) {
  Host host;
  EXPECT_FALSE(Read(host, {}).found) << "one layer";
  EXPECT_EQ(host.Lines({"AEGP_GetCompLayerByIndex"}), Log{});
  EXPECT_FALSE(Read(host, {Picture(), Picture()}).found);
  Layer off = Of(AEGP_LightType_SPOT);
  off.active = false;
  EXPECT_FALSE(Read(host, {off}).found);

  // No effect layer; an effect layer without a composition.
  for (const int effect_layer : {-1, 0}) {
    host.layers = {Of(AEGP_LightType_POINT), Of(AEGP_LightType_POINT)};
    host.layers[0].null = true;
    host.effect_layer = effect_layer;
    host.log.clear();
    vorlin::LightShade model(&host.in);
    vorlin::Fxenv env(&host.in, &host.out, nullptr, nullptr);
    EXPECT_FALSE(vorlin::GetAllLights(env, model, {0, 1}));
    EXPECT_EQ(host.Lines({"AEGP_GetCompNumLayers"}), Log{});
    EXPECT_EQ(model.numOffered, 0);
  }
}

TEST(CompositionLights, EveryHostFailureEndsTheSearch) {
  const std::vector<Layer> lights{Of(AEGP_LightType_POINT), Of(AEGP_LightType_AMBIENT),
                                  Of(AEGP_LightType_SPOT)};
  Host probe;
  EXPECT_TRUE(Read(probe, lights).found);
  Log queries;
  for (const std::string& line : probe.log) {
    if (line.starts_with("AEGP_")) queries.push_back(line);
  }
  ASSERT_EQ(queries.size(), 4u + 3 * 5 + 2 + 2 + 4 + 3);
  for (std::size_t fail = 0; fail < queries.size(); ++fail) {
    Host host;
    std::size_t call = 0;
    host.answer = [&](const std::string& line) {
      return line.starts_with("AEGP_") && call++ == fail ? 88 : 0;
    };
    const Read read(host, lights);
    EXPECT_FALSE(read.found) << queries[fail];
    Log asked;
    for (const std::string& line : host.log) {
      if (line.starts_with("AEGP_")) asked.push_back(line);
    }
    EXPECT_EQ(asked, Log(queries.begin(), queries.begin() + static_cast<std::ptrdiff_t>(fail) + 1));
    // What was added before the failure stays.
    EXPECT_EQ(read.model.numLights, (fail >= 11) + (fail >= 27)) << queries[fail];
    EXPECT_EQ(read.model.hasAmbient, fail >= 18) << queries[fail];
  }
}

// The effect's own light.

}  // namespace
