// What no command of the host reaches: the rest of the light model, the other scratch worlds, the
// other suites.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include "host/fxenv.h"
#include "light/color_control.h"
#include "light/light_shade.h"
#include "reference_light.h"
#include "render/scratch_world.h"
#include "test_host.h"

namespace {

using vorlin::FX_3D_Matrix;
using vorlin::FX_D_Point;
using vorlin::FX_Double_Pixel;
using vorlin::LightShade;
using vorlin::NewLightSource;
using Three = std::array<double, 3>;

PF_UtilCallbacks Utils() {
  PF_UtilCallbacks utils{};
  utils.ansi.sqrt = std::sqrt;
  utils.ansi.pow = std::pow;
  return utils;
}
PF_UtilCallbacks g_utils = Utils();
PF_InData g_in = [] {
  PF_InData in{};
  in.utils = &g_utils;
  return in;
}();

Three Rgb(const FX_Double_Pixel& c) { return {c.red, c.green, c.blue}; }
Three Xyz(const FX_D_Point& p) { return {p.x, p.y, p.z}; }
NewLightSource White(std::int16_t type) {
  return {type, {9, 1, 1, 1}, {0.6, 0, 0.8}, {100, 100, 7}, 0.5, 0.75};
}

TEST(LightModel, SettersHoldForLaterLights) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  LightShade model(&g_in);
  EXPECT_EQ((Three{model.ambientShading, model.dustShading, model.smoothness}), (Three{1, 1, 50}));
  EXPECT_FALSE(model.hasAmbient);
  for (const auto& [given, kept] : {std::pair{0.3, 0.5}, {0.5, 0.5}, {0.6, 0.6}, {-1.0, 0.5}}) {
    model.SetSmoothness(given);
    EXPECT_EQ(model.smoothness, kept);
    EXPECT_EQ(LightShade(&g_in, 1, 1, 1, 1, 1, given).smoothness, kept);
  }
  model.SetSmoothness(kNaN);
  EXPECT_TRUE(std::isnan(model.smoothness));
  EXPECT_TRUE(model.AddLightSource(White(2)));
  model.SetDiffuseShading(0.25);
  model.SetDustShading(3.0);
  model.SetSpecularShading(0.5);
  model.SetMetallicity(0.125);
  EXPECT_EQ(model.metallicity, 0.125);
  NewLightSource light = White(-7);
  light.color = {0, 0.8, -0.2, kNaN};
  EXPECT_TRUE(model.AddLightSource(light));
  ASSERT_EQ(model.numLights, 2);
  EXPECT_EQ(Rgb(model.lights[0].dustColor), (Three{0.5, 0.5, 0.5}));
  EXPECT_EQ(model.lights[1].type, -7);
  EXPECT_EQ(model.lights[1].diffuseColor.green, 0.25 * -0.2);
  EXPECT_EQ(model.lights[1].dustColor.green, 1.5 * -0.2);
  EXPECT_EQ(Rgb(model.lights[1].specularColor), (Three{0.5 * 0.8, 0, 0}));
  model.SetAmbientShading(0.8);
  model.ambientLight = {0, 3, 3, 3};
  model.AddAmbientLight({5, 1, 1, 1});
  EXPECT_EQ(Rgb(model.ambientLight), (Three{0.8, 0.8, 0.8})) << "the first one sets";
  model.AddAmbientLight({5, 0.5, 0, -1});
  model.SetAmbientShading(0.5);
  EXPECT_EQ(Rgb(model.ambientLight), (Three{(0.8 + 0.4) * 0.5, 0.4, 0}));
  EXPECT_EQ(model.ambientLight.alpha, 0);
}

TEST(LightModel, WalksThePositionsOfPointAndSpotLights) {
  LightShade model(&g_in);
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
  NewLightSource light = White(3);
  light.direction = {1, 2, 3};
  light.position = {10, 20, 30};
  for (const bool shifted : {true, false}) {
    LightShade model(&g_in);
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

TEST(Geometry, VectorDivision) {
  const double r = 1.0 / 13;
  EXPECT_EQ(Xyz(vorlin::FX_VectorDivision({3, 4, 12}, 13)), (Three{3 * r, 4 * r, 12 * r}));
  EXPECT_EQ(Xyz(vorlin::FX_VectorDivision({3, 4, 12}, 0)), (Three{3, 4, 12}));
  EXPECT_EQ(Xyz(vorlin::FX_VectorDivision({3, 4, 12}, -0.0)), (Three{3, 4, 12}));
}

// With alpha, which no light looks at.
TEST(ColorControl, IsReadInTheRendersPrecision) {
  testhost::Situation s = testhost::PlainFrame(PF_Cmd_RENDER, PF_PixelFormat_ARGB32);
  s.controls[16].color = {7, 128, 255, 0};
  s.float_color = {0.5F, -1, 2, 0.25F};
  const auto read = [](PF_Cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                       PF_LayerDef* output, void*) -> PF_Err {
    vorlin::Fxenv env(in, out, params, output);
    const auto p8 = vorlin::GetColorControl<PF_Pixel>(env, 16, 5, 7, 30);
    const auto p16 = vorlin::GetColorControl<PF_Pixel16>(env, 16, 5, 7, 30);
    const auto f = vorlin::GetColorControl<PF_PixelFloat>(env, 16, 5, 7, 30);
    EXPECT_EQ((std::array<int, 4>{p8.alpha, p8.red, p8.green, p8.blue}),
              (std::array<int, 4>{255, 128, 255, 0}));
    const bool exact = in->version.major > 12;
    EXPECT_EQ((std::array<int, 4>{p16.alpha, p16.red, p16.green, p16.blue}),
              exact ? (std::array<int, 4>{16384, 0, 32768, 8192})
                    : (std::array<int, 4>{32768, 16448, 32768, 0}));
    constexpr float k = 0.003921569F;
    EXPECT_EQ((std::array<float, 4>{f.alpha, f.red, f.green, f.blue}),
              exact ? (std::array<float, 4>{0.5F, -1, 2, 0.25F})
                    : (std::array<float, 4>{255 * k, 128 * k, 255 * k, 0}));
    return 0;
  };
  for (const A_short major : {A_short{12}, A_short{13}}) {
    s.version = {major, 10};
    EXPECT_EQ(RunCommand(s, read).ownership, "");
  }
}

struct Chance {
  double In(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  }
  reference::Vec Unit() {
    const reference::Vec v{In(-1, 1), In(-1, 1), In(-1, 1)};
    const double n = 1.0 / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z + 1e-9);
    return {v.x * n, v.y * n, v.z * n};
  }
  std::mt19937 random{3};
};

// With dust, which the controls never ask for, and seen from anywhere.
TEST(Shading, PixelsEqualThePlainFormulas) {
  Chance chance;
  const auto point = [](const reference::Vec& v) { return FX_D_Point{v.x, v.y, v.z}; };
  for (int round = 0; round < 3000; ++round) {
    reference::Model plain{chance.In(0, 2), chance.In(0, 1),      chance.In(0, 1),
                           chance.In(0, 1), chance.In(-0.5, 1.5), chance.In(0.5, 200)};
    LightShade model(&g_in, plain.ambient, plain.diffuse, plain.specular, plain.dust, plain.metal,
                     plain.smoothness);
    model.AddAmbientLight({1, 0.3, 0.2, 0.1});
    plain.AddAmbient({0.3, 0.2, 0.1});
    for (int i = static_cast<int>(chance.random() % 6); i-- > 0;) {
      const double outer = chance.In(-1, 1);
      const reference::Light l{static_cast<int>(chance.random() % 5),
                               {chance.In(-0.2, 2), chance.In(0, 1), chance.In(0, 1)},
                               chance.Unit(),
                               {chance.In(-50, 50), chance.In(-50, 50), chance.In(-20, 90)},
                               outer,
                               chance.random() % 8 == 0 ? outer : outer + chance.In(-0.1, 0.8)};
      plain.Offer(l);
      model.AddLightSource({static_cast<std::int16_t>(l.type),
                            {7, l.color.red, l.color.green, l.color.blue},
                            point(l.direction),
                            point(l.position),
                            l.outer_cos,
                            l.inner_cos});
    }
    const reference::Rgb color{chance.In(0, 1), chance.In(0, 1), chance.In(-0.5, 3)};
    const reference::Vec n = chance.Unit(), v = chance.Unit();
    reference::Vec q{chance.In(-60, 60), chance.In(-60, 60), chance.In(-9, 9)};
    if (round % 50 == 1 && !plain.lights.empty()) q = plain.lights[0].position;
    const auto expect = [&](const FX_Double_Pixel& lit, const reference::Rgb& expected) {
      EXPECT_EQ(Rgb(lit), (Three{expected.red, expected.green, expected.blue})) << round;
      EXPECT_EQ(lit.alpha, 0.625);
    };
    const FX_Double_Pixel unlit{0.625, color.red, color.green, color.blue};
    expect(model.ShadePixel(unlit, point(n), q.x, q.y),
           Shade(g_utils.ansi, plain, color, n, {q.x, q.y, 0}, nullptr));
    expect(model.ShadePixelView(unlit, point(n), point(q), point(v)),
           Shade(g_utils.ansi, plain, color, n, q, &v));
  }
}

/// Suites with their versions, in the order in which they are released.
const char* const kReleaseOrder =
    "AEGP Marker Suite 1; AEGP Layer Suite 8,10; AEGP Stream Suite 8,7,4; "
    "AEGP Dynamic Stream Suite 2,3; AEGP Keyframe Suite 4,3,1; AEGP Comp Suite 9,11,14; "
    "AEGP Proj Suite 2,5; AEGP Canvas Suite 10,11; AEGP Camera Suite 2; AEGP Register Suite 2; "
    "AEGP Item Suite 11,10,7,3; AEGP PF Interface Suite 1; PF Path Query Suite 1; "
    "AEGP Memory Suite 1; PF Path Data Suite 1; PF Param Utils Suite 1; PF AE App Suite 2,5; "
    "PF AE Adv App Suite 2; AEGP Light Suite 1,2; AEGP Effect Suite 1,2,3; "
    "AEGP Layer Mask Suite 5; AEGP Mask Outline Suite 3; AEGP Footage Suite 7; "
    "AEGP Command Suite 1; AEGP Utility Suite 7; AEGP Render Suite 1,2; PF ANSI Suite 1; "
    "PF Handle Suite 1; PF Fill Matte Suite 1; PF World Transform Suite 1; "
    "AEGP QueryXform Suite 4; AEGP Composite Suite 2; PF World Suite 1; AEGP IO In Suite 1; "
    "AEGP IO Out Suite 1,6; AEGP Persistent Data Suite 1; AEGP Render Queue Suite 1; "
    "AEGP Render Queue Item Suite 3; AEGP Output Module Suite 1,2; "
    "AEGP File Import Manager Suite 2; PF Sampling8 Suite 1; PF Sampling16 Suite 1; "
    "PF Iterate8 Suite 1; PF iterate16 Suite 1; PF iterateFloat Suite 1; "
    "AEGP Collection Suite 2; AEGP Text Document Suite 1; AEGP Sound Data Suite 1; "
    "AEGP Text Layer Suite 1; AEGP Artisan Util Suite 1; AEGP World Suite 2; "
    "AEGP Render Options Suite 1; AEGP Tracker Suite 1; AEGP Tracker Utility Suite 1; "
    "AE Plugin Helper Suite2 2; AEGP Layer Suite 11; PF AE Adv Item Suite 1; AEGP Layer Suite 5; "
    "AEGP Layer Mask Suite 2; AEGP Comp Suite 4; AEGP Collection Suite 1; AEGP Register Suite 1; "
    "AEGP Mask Outline Suite 2; PF AE Adv App Suite 1; AEGP Utility Suite 3; "
    "AEGP Render Options Suite 2; AEGP Proj Suite 7; AEGP Footage Suite 10; "
    "AEGP Render Queue Item Suite 4; AEGP Utility Suite 10; PF Color Settings Suite 3,1; "
    "PF ColorParamSuite 1; PF SamplingFloat Suite 1; AEGP Utility Suite 11; "
    "PF Effect UI Suite 1; PF World Suite 2; AEGP Keyframe Suite 2";

std::vector<std::string> g_log;
SPBasicSuite g_basic{[](const char* name, std::int32_t version, const void** suite) -> SPErr {
                       *suite = &g_log;
                       g_log.push_back(std::string(name) + ' ' + std::to_string(version));
                       return 0;
                     },
                     [](const char* name, std::int32_t version) -> SPErr {
                       g_log.push_back(std::string(name) + ' ' + std::to_string(version));
                       return 1;
                     }};

TEST(SuiteHandler, ReleasesAllPairsInItsOwnOrderUnderTheirOwnNames) {
  std::vector<std::string> expected;
  std::istringstream list(kReleaseOrder);
  for (std::string suite; std::getline(list >> std::ws, suite, ';');) {
    const std::size_t space = suite.rfind(' ');
    std::istringstream versions(suite.substr(space + 1));
    for (std::string version; std::getline(versions, version, ',');) {
      expected.push_back(suite.substr(0, space + 1) + version);
    }
  }
  ASSERT_EQ(expected.size(), 98u);
  {
    vorlin::AEGP_SuiteHandler suites(&g_basic);
    for (std::size_t i = 98; i-- > 0;) suites.Use(vorlin::SuiteId<char>{i});
    for (std::size_t i = 0; i < 98; ++i) suites.Use(vorlin::SuiteId<char>{i});
    EXPECT_EQ(g_log, std::vector(expected.rbegin(), expected.rend()));
    g_log.clear();
  }
  EXPECT_EQ(g_log, expected);
}

/// What the host was asked for by a command that only makes and disposes of worlds.
std::vector<std::string> WorldCalls(PF_MainEntry command) {
  testhost::Situation s = testhost::PlainFrame(PF_Cmd_RENDER, PF_PixelFormat_ARGB32);
  s.rules = {{testhost::Callback::kDisposeWorld1, 6, testhost::Misdeed::kRefuse, 33}};
  const auto outcome = RunCommand(s, command);
  EXPECT_EQ(outcome.escaped + outcome.ownership, "");
  std::vector<std::string> calls;
  for (std::size_t i = 0; i < outcome.calls.size(); ++i) {
    const std::string call = Text(outcome, i);
    const bool digest = call.find("ispose") != call.npos;  // of the pixels, at the end
    if (call.find("orld") != call.npos) {
      calls.push_back(digest ? call.substr(0, call.rfind(' ')) : call);
    }
  }
  return calls;
}

TEST(ScratchWorld, UsesTheSuiteOfItsFormatAndReplacesItsWorld) {
  const auto calls = WorldCalls([](PF_Cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                                   PF_LayerDef* output, void*) -> PF_Err {
    vorlin::Fxenv env(in, out, params, output);
    vorlin::FX_NewWorld world(env);
    EXPECT_EQ(world.Layer(), nullptr);
    EXPECT_EQ(world.Dispose(), 0);
    for (const bool clear : {false, true}) {
      for (const PF_PixelFormat format :
           {PF_PixelFormat_ARGB128, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB32, 12345}) {
        EXPECT_EQ(world.New(7, 3, format, clear), 0);
        EXPECT_EQ(world.Layer()->width, 7);
      }
    }
    EXPECT_EQ(world.Dispose(), 0);
    EXPECT_EQ(world.Dispose(), 0);
    EXPECT_EQ(world.Layer(), nullptr);
    EXPECT_EQ(world.New(7, 3, PF_PixelFormat_ARGB32, false), 0);
    EXPECT_EQ(world.New(7, 3, PF_PixelFormat_ARGB32, false), 33) << "and nothing is made";
    EXPECT_EQ(world.Layer(), nullptr);
    return 0;
  });
  // effect_ref, size, flags or clear and format, and that the record was empty.
  const std::vector<std::string> expected{"PF_NewWorld 1 7 3 0 842229089 1",
                                          "PF_DisposeWorld 1 7 3",
                                          "new_world 1 7 3 2 1",
                                          "dispose_world 1 7 3",
                                          "new_world 1 7 3 0 1",
                                          "dispose_world 1 7 3",
                                          "new_world 1 7 3 0 1",
                                          "dispose_world 1 7 3",
                                          "PF_NewWorld 1 7 3 1 842229089 1",
                                          "PF_DisposeWorld 1 7 3",
                                          "new_world 1 7 3 3 1",
                                          "dispose_world 1 7 3",
                                          "new_world 1 7 3 1 1",
                                          "dispose_world 1 7 3",
                                          "new_world 1 7 3 1 1",
                                          "dispose_world 1 7 3",
                                          "new_world 1 7 3 0 1",
                                          "dispose_world 1 7 3"};
  EXPECT_EQ(calls, expected);
}

}  // namespace
