// The composition's light layers in the model.
#include <gtest/gtest.h>

#include <cmath>

#include "fake_host.h"
#include "light/composition_lights.h"
#include "light/effect_light.h"

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

TEST(CompositionLights, AreAskedForInOrder) {
  Host host;
  Layer off = Of(AEGP_LightType_POINT), null = off, odd = off;
  off.active = false;
  null.null = true;
  odd.light = 4;
  const Read read(host, {Of(AEGP_LightType_SPOT), off, null, odd, Picture(),
                         Of(AEGP_LightType_AMBIENT), Of(AEGP_LightType_PARALLEL)});
  EXPECT_TRUE(read.found);
  Log expected{"AcquireSuite AEGP PF Interface Suite 1",
               "AEGP_ConvertEffectToCompTime 50 100",
               "AEGP_GetEffectLayer",
               "AcquireSuite AEGP Layer Suite 5",
               "AEGP_GetLayerParentComp 7",
               "AEGP_GetCompNumLayers"};
  const auto query = [&](int i, int steps, const std::vector<int>& streams) {
    const std::string n = ' ' + std::to_string(i);
    const std::string by_step[]{"AEGP_GetCompLayerByIndex" + n,
                                "AEGP_IsVideoActive" + n + " 1 57 100",
                                "AEGP_GetLayerObjectType" + n, "AEGP_GetLightType" + n,
                                "AEGP_GetLayerToWorldXformFromView" + n + " 57 57"};
    expected.insert(expected.end(), by_step, by_step + steps);
    for (const int stream : streams) {
      expected.push_back("AEGP_GetLayerStreamValue" + n + ' ' + std::to_string(stream) + " 1 57 0");
    }
  };
  query(0, 5, {16, 17, 18, 19});
  query(1, 2, {});
  query(2, 1, {});
  query(3, 4, {});
  query(4, 3, {});
  query(5, 5, {16, 17});
  query(6, 5, {16, 17});
  query(7, 3, {});
  const auto at = [&](const char* line) {
    return std::find(expected.begin(), expected.end(), line);
  };
  expected.insert(at("AEGP_GetLightType 0"), "AcquireSuite AEGP Light Suite 1");
  expected.insert(at("AEGP_GetLayerStreamValue 0 16 1 57 0"), "AcquireSuite AEGP Stream Suite 4");
  for (const char* released : {"AEGP Stream Suite 4", "AEGP PF Interface Suite 1",
                               "AEGP Light Suite 1", "AEGP Layer Suite 5"}) {
    expected.push_back(std::string("ReleaseSuite ") + released);
  }
  EXPECT_EQ(host.log, expected);
  EXPECT_EQ(read.model.numLights, 2);
  EXPECT_TRUE(read.model.hasAmbient);
}

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

TEST(CompositionLights, AmbientLayersOnlyAddAmbientLight) {
  Host host;
  Layer ambient = Of(AEGP_LightType_AMBIENT);
  ambient.intensity = 50;
  ambient.color = {1, 0.5, 0};
  const Read read(host, {ambient, ambient});
  EXPECT_TRUE(read.found);
  EXPECT_EQ(read.model.numOffered, 0);
  EXPECT_EQ(Rgb(read.model.ambientLight), (Three{0.8, 0.4, 0}));
}

TEST(CompositionLights, BlackLightsCountAndTheFirstNineteenAreKept) {
  Host host;
  Layer dark = Of(AEGP_LightType_POINT);
  dark.intensity = 0;
  const Read black(host, {dark});
  EXPECT_TRUE(black.found);
  EXPECT_EQ(black.model.numLights, 0);

  std::vector<Layer> lights(25);
  for (std::size_t i = 0; i < lights.size(); ++i) {
    lights[i].intensity = 100 * static_cast<double>(i + 1);
  }
  const Read many(host, lights);
  EXPECT_TRUE(many.found);
  EXPECT_EQ(many.model.numOffered, 25);
  ASSERT_EQ(many.model.numLights, 19);
  for (std::size_t i = 0; i < 19; ++i) {
    EXPECT_EQ(many.model.lights[i].specularColor.red, static_cast<double>(i + 1));
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

TEST(CompositionLights, MissingSuitesThrow) {
  for (const auto& suite : std::vector<std::pair<std::string, int>>{{kAEGPPFInterfaceSuite, 1},
                                                                    {kAEGPLayerSuite, 5},
                                                                    {kAEGPLightSuite, 1},
                                                                    {kAEGPStreamSuite, 4}}) {
    Host host;
    host.missing = {suite};
    EXPECT_THROW(Read(host, {Of(AEGP_LightType_POINT)}), int) << suite.first;
    EXPECT_EQ(host.Lines({"AcquireSuite"}).size(), host.Lines({"ReleaseSuite"}).size() + 1);
  }
}

// The effect's own light.

vorlin::LightShade Own(Host& host, double scale = 1) {
  host.in.downsample_x = host.in.downsample_y = {1, static_cast<A_u_long>(scale)};
  vorlin::Fxenv env(&host.in, &host.out, nullptr, nullptr);
  vorlin::LightShade model = *vorlin::NewLightShade(&host.in);
  model.SetOffset(-40, 0);
  const vorlin::FX_PARc scales(&host.in);
  vorlin::AddEffectLight<PF_Pixel>(env, model, scales, 640, 480);
  return model;
}

TEST(EffectLight, DefaultsGiveTheStatedModel) {
  Host host;
  const vorlin::LightShade model = Own(host);
  EXPECT_EQ(model.ambientShading, 1);
  EXPECT_EQ(model.diffuseShading, 0.25);
  EXPECT_EQ(model.specularShading, 1);
  EXPECT_EQ(model.dustShading, 0);
  EXPECT_EQ(model.metallicity, 1);
  EXPECT_EQ(model.smoothness, 1.0 / 0.024993896484375);
  EXPECT_EQ(Rgb(model.ambientLight), (Three{1, 1, 1}));
  EXPECT_EQ(model.ambientLight.alpha, 0);
  ASSERT_EQ(model.numLights, 1);
  const vorlin::LightSource& light = model.lights[0];
  EXPECT_EQ(light.type, vorlin::LightTypeDistant);
  EXPECT_NEAR(light.direction.x, -0.3352, 5e-5);
  EXPECT_NEAR(light.direction.y, -0.3352, 5e-5);
  EXPECT_NEAR(light.direction.z, 0.8805, 5e-5);
  EXPECT_NEAR(light.diffuseColor.red, 0.25, 1e-15);
  EXPECT_EQ(light.coneOuterCos, 0);
  EXPECT_EQ(host.Lines({"checkout_param"}),
            (Log{"checkout_param 23 0 1024 30720", "checkout_param 24 0 1024 30720",
                 "checkout_param 25 0 1024 30720", "checkout_param 26 0 1024 30720",
                 "checkout_param 27 0 1024 30720", "checkout_param 17 0 1024 30720",
                 "checkout_param 18 0 1024 30720", "checkout_param 20 0 1024 30720",
                 "checkout_param 19 0 1024 30720", "checkout_param 15 0 1024 30720",
                 "checkout_param 16 0 1024 30720"}));
}

TEST(EffectLight, ControlsPlaceIt) {
  const struct {
    double height, angle;
    Three direction;
  } cases[]{{0, 90, {1, 0, 0}},
            {0, 0, {0, -1, 0}},
            {100, 33, {0, 0, 1}},
            {-100, 33, {0, 0, -1}},
            {50, 90, {std::sqrt(0.5), 0, std::sqrt(0.5)}},
            {-50, -90, {-std::sqrt(0.5), 0, -std::sqrt(0.5)}}};
  for (const auto& c : cases) {
    Host host;
    host.SetSlider(18, c.height);
    host.Param(20).u.ad.value = Host::Fixed(c.angle);
    const Three got = Xyz(Own(host).lights[0].direction);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(got[i], c.direction[i], 1e-15) << c.angle;
  }
  for (const int type : {1, 2, 0, 3}) {
    Host host;
    host.SetPopup(17, type);
    host.SetSlider(18, 50);
    host.SetPoint(19, 100, 50);
    const vorlin::LightShade model = Own(host, 2);
    EXPECT_EQ(model.lights[0].type, type == 2 ? 2 : 1);
    EXPECT_EQ(Xyz(model.lights[0].position), (Three{160, 100, 280}));
  }
  Host host;
  host.SetSlider(15, 0);
  const vorlin::LightShade dark = Own(host);
  EXPECT_EQ(dark.numLights, 0);
  EXPECT_EQ(dark.numOffered, 1);
}

}  // namespace
