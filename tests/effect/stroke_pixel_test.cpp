// The vector units' pixels against the plain one's, for every input.
#include "render/stroke_pixel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace {

using namespace vorlin;

/// What a pixel asks of its host, in order: the box and point of its sample, the bases of its
/// powers; and the bases of its roots.
std::vector<double> g_asked;
std::vector<double> g_roots;
int g_reference;  // passed to the sampler
PF_EffectWorld g_layer;
PF_PixelFloat g_sampled;
PF_Err g_sample_err;

double ToldPow(double base, double exponent) {
  g_asked.push_back(base);
  g_asked.push_back(std::isnan(exponent) ? 0.0 : exponent);
  return std::pow(base, exponent);
}

double ToldSqrt(double v) {
  g_roots.push_back(v);
  return std::sqrt(v);
}

template <class Pixel>
PF_Err Sampler(PF_ProgPtr effect_ref, PF_Fixed x, PF_Fixed y, const PF_SampPB* samp, Pixel* out) {
  EXPECT_EQ(static_cast<void*>(effect_ref), &g_reference);
  EXPECT_EQ(samp->src, &g_layer);
  for (const PF_Fixed asked : {x, y, samp->x_radius, samp->y_radius, samp->area}) {
    g_asked.push_back(asked);
  }
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    *out = g_sampled;
  } else {
    const float white = sizeof(Pixel) == 4 ? 255.0F : 32768.0F;
    const auto channel = [&](float v) { return static_cast<decltype(Pixel::red)>(v * white); };
    *out = {channel(0.7F), channel(0.1F), channel(0.5F), channel(1.0F)};
  }
  return g_sample_err;
}

/// Numbers of the usual kind, and now and then any other.
struct Numbers {
  std::mt19937 random{17};
  unsigned oddness = 0;  // one of so many is odd; 0: none

  double Or(double usual) {
    static constexpr double kInf = std::numeric_limits<double>::infinity();
    static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    static constexpr double kOdd[]{0.0,    -0.0,   kNaN, kInf, -kInf,   1e308,
                                   -1e308, 1e-320, 1.0,  -1.0, 40000.0, 2147483648.0};
    const bool odd = oddness != 0 && random() % oddness == 0;
    return odd ? kOdd[random() % std::size(kOdd)] : usual;
  }
  double In(double low, double high) {
    return Or(std::uniform_real_distribution<double>(low, high)(random));
  }
  float Float(double low, double high) { return static_cast<float>(In(low, high)); }
  FX_D_Point Point(double reach) { return {In(-reach, reach), In(-reach, reach), In(-1, reach)}; }
  FX_D_Point Direction() {
    const FX_D_Point p = Point(1.0);
    const double length = std::sqrt(Dot(p, p));
    return {Or(p.x / length), Or(p.y / length), Or(p.z / length)};
  }
};

std::unique_ptr<LightShade> RandomModel(Numbers& n, PF_InData* in, int round) {
  const double dust = round % 5 == 0 ? n.In(0, 1) : 0.0;
  auto model = std::make_unique<LightShade>(in, n.In(0.5, 1), n.In(0, 0.5), n.In(0, 1), dust,
                                            n.In(0, 1), n.In(0.5, 200));
  model->AddAmbientLight({1, n.In(0, 0.4), n.In(0, 0.4), n.In(0, 0.4)});
  if (round % 7 == 0) model->SetAmbientShading(-0.0);
  for (int i = round % 20; i-- > 0;) {
    const auto type = static_cast<std::int16_t>(round % 2 == 0 ? 1 : n.random() % 5);
    model->AddLightSource({type,
                           {7, n.In(-0.2, 1), n.In(0, 1), n.In(0, 1)},
                           n.Direction(),
                           n.Point(90),
                           n.In(-1, 0.5),
                           n.In(-1, 1.5)});
  }
  const FX_3D_Matrix turn{{{0.6, 0.8, 0}, {-0.8, 0.6, 0}, {0, 0, 1}}};
  if (round % 11 == 0) model->TransformAll(turn, {1, 2, 3});
  if (round % 13 == 0) model->TransformAll(turn, {1, 2, 3}, 4, 5, 6);
  return model;
}

template <class Pixel>
bool SameBytes(const Pixel& a, const Pixel& b) {
  if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
    const float* const p = &a.alpha;
    const float* const q = &b.alpha;
    for (int i = 0; i < 4; ++i) {
      if (std::memcmp(p + i, q + i, sizeof(float)) != 0 && !(std::isnan(p[i]) && std::isnan(q[i])))
        return false;
    }
    return true;
  } else {
    return std::memcmp(&a, &b, sizeof a) == 0;
  }
}

template <class Pixel>
struct StrokePixel : testing::Test {};
using Depths = testing::Types<PF_Pixel, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(StrokePixel, Depths);

TYPED_TEST(StrokePixel, IsThePlainOneOnEveryUnit) {
  using Pixel = TypeParam;
  const auto functions = StrokePixels<Pixel>();
  ASSERT_EQ(functions.front().draw, &PlainPixel<Pixel>::Draw);
  if (functions.size() == 1) GTEST_SKIP() << "this processor has no vector unit to compare";
  PF_UtilCallbacks utils{};
  utils.ansi.sqrt = ToldSqrt;
  utils.ansi.pow = ToldPow;
  PF_InData in{};
  in.utils = &utils;
  Numbers n;
  int drawn = 0;
  for (int round = 0; round < 20000; ++round) {
    n.oddness = round % 4 == 0 ? 0 : round % 4 == 1 ? 12 : 80;
    RIPInfo<Pixel> info{};
    info.lightShade = RandomModel(n, &in, round);
    info.reflectionScale = n.In(0, 600);
    info.highQuality = round % 3 != 0;
    info.layerMaxX = n.In(150, 2000);
    info.layerMaxY = n.In(150, 1000);
    info.toLayerX = n.In(0.5, 4);
    info.toLayerY = n.In(0.5, 4);
    info.toFixedX = 65536 * n.In(0.25, 2);
    info.toFixedY = 65536 * n.In(0.25, 2);
    info.slopeX = n.In(1, 4);
    info.slopeY = n.In(1, 4);
    info.originX = n.In(-100, 500);
    info.originY = n.In(-100, 500);
    info.samp = {32768, 32768, 65536, &g_layer};
    info.effectRef = reinterpret_cast<PF_ProgPtr>(&g_reference);
    info.inData = &in;
    info.areaSample = Sampler<Pixel>;
    g_sampled = {n.Float(0, 1), n.Float(0, 1), n.Float(0, 2), n.Float(-1, 1)};
    g_sample_err = round % 9 == 0 ? 5 : 0;
    float heights[]{n.Float(-0.3, 2), n.Float(-0.3, 2), n.Float(-0.3, 2)};
    if (round % 3 == 1) heights[n.random() % 3] = 0.0F;  // on the edge, and yet not outside
    const auto x = static_cast<A_long>(n.random() % 400);
    const auto y = static_cast<A_long>(n.random() % 400);

    if (round % 10 == 0) {  // at the corner of a layer that may be too small for the blur
      info.reflectionScale = n.In(0, 4);
      info.layerMaxX = n.In(0, 3);
      info.originX = n.In(0, 1) - x * info.toLayerX;
    }

    const auto draw = [&](StrokePixelFunc<Pixel> function, PF_Err& err) {
      g_asked.clear();
      g_roots.clear();
      const Pixel untouched{7, 7, 7, 7};
      Pixel row[]{untouched, untouched, untouched};
      err = function(info, heights[0], heights[1], heights[2], x, y, &row[1]);
      EXPECT_TRUE(SameBytes(row[0], untouched) && SameBytes(row[2], untouched));
      return row[1];
    };
    PF_Err expected_err = 0;
    const Pixel expected = draw(functions.front().draw, expected_err);
    const std::vector<double> asked = g_asked;
    const std::vector<double> roots = g_roots;
    if (!asked.empty()) ++drawn;
    for (const NamedStrokePixel<Pixel>& function : functions.subspan(1)) {
      PF_Err err = 0;
      const Pixel out = draw(function.draw, err);
      ASSERT_TRUE(SameBytes(out, expected)) << function.name << ", round " << round;
      ASSERT_EQ(err, expected_err) << function.name << ", round " << round;
      ASSERT_EQ(g_asked, asked) << function.name << ", round " << round;
      if (n.oddness == 0) {
        ASSERT_EQ(g_roots, roots) << function.name << ", round " << round;
      }
    }
  }
  EXPECT_GT(drawn, 15000);
}

}  // namespace
