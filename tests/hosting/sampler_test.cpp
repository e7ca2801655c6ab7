#include "hosting/area_sampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace hosting {
namespace {

constexpr PF_Fixed kPixel = 65536;

template <class Pixel>
struct Traits;
template <>
struct Traits<PF_Pixel> {
  static constexpr Depth kDepth = Depth::k8;
  static constexpr double kWhite = 255;
};
template <>
struct Traits<PF_Pixel16> {
  static constexpr Depth kDepth = Depth::k16;
  static constexpr double kWhite = 32768;
};
template <>
struct Traits<PF_PixelFloat> {
  static constexpr Depth kDepth = Depth::k32;
  static constexpr double kWhite = 1;
};

template <class Pixel>
Pixel Plain(const World& world, const SampleBox& box) {
  Pixel p;
  PlainAreaSample(world.record(), box, &p);
  return p;
}

template <class Pixel>
Pixel ByTable(const AreaSampler& sampler, const SampleBox& box) {
  Pixel p;
  sampler.Sample(box, &p);
  return p;
}

template <class Pixel>
bool Same(const Pixel& a, const Pixel& b) {
  return a.alpha == b.alpha && a.red == b.red && a.green == b.green && a.blue == b.blue;
}

template <class Pixel>
std::string Text(const Pixel& p) {
  return std::to_string(p.alpha) + " " + std::to_string(p.red) + " " + std::to_string(p.green) +
         " " + std::to_string(p.blue);
}

/// Noise with holes of no alpha and stretches of white.
template <class Pixel>
World Noise(int width, int height, unsigned seed, const WorldLayout& layout = {}) {
  World world(width, height, Traits<Pixel>::kDepth, layout);
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto channel = [&] {
        return static_cast<decltype(Pixel::alpha)>(unit(random) * Traits<Pixel>::kWhite);
      };
      const int tile = (x / 9 + y / 7) % 5;
      const auto white = static_cast<decltype(Pixel::alpha)>(Traits<Pixel>::kWhite);
      Pixel& p = world.Row<Pixel>(y)[x];
      p = {channel(), channel(), channel(), channel()};
      if (tile == 0) p.alpha = 0;
      if (tile == 1) p = {white, white, white, white};
    }
  }
  return world;
}

SampleBox RandomBox(std::mt19937& random, int width, int height) {
  const auto between = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  // Small and large boxes, some partly or wholly outside.
  const bool small = between(0, 2) == 0;
  return {between(-width / 2 * kPixel, width * 3 / 2 * kPixel),
          between(-height / 2 * kPixel, height * 3 / 2 * kPixel),
          between(0, small ? 2 * kPixel : width * kPixel),
          between(0, small ? 2 * kPixel : height * kPixel)};
}

/// The same mean from quarter pixels, each counted as inside or outside by its centre.
template <class Pixel>
Pixel ByQuarters(const World& world, const SampleBox& box) {
  long double alpha = 0;
  long double colors[3] = {};
  const double x = box.x / 65536.0 + 0.5;
  const double y = box.y / 65536.0 + 0.5;
  const double rx = box.x_radius / 65536.0;
  const double ry = box.y_radius / 65536.0;
  for (int j = 0; j < 4 * world.height(); ++j) {
    for (int i = 0; i < 4 * world.width(); ++i) {
      if (std::abs((i + 0.5) / 4 - x) > rx || std::abs((j + 0.5) / 4 - y) > ry) continue;
      const Pixel& p = world.Row<Pixel>(j / 4)[i / 4];
      const long double a = p.alpha;
      alpha += a;
      colors[0] += a * p.red;
      colors[1] += a * p.green;
      colors[2] += a * p.blue;
    }
  }
  if (alpha == 0) return {};
  const auto channel = [](long double v) {
    if constexpr (std::is_same_v<Pixel, PF_PixelFloat>) {
      return static_cast<float>(v);
    } else {
      return static_cast<decltype(Pixel::alpha)>(std::floor(v + 0.5L));
    }
  };
  return {channel(alpha / (64.0L * rx * ry)), channel(colors[0] / alpha),
          channel(colors[1] / alpha), channel(colors[2] / alpha)};
}

template <class Pixel>
class Sampler : public testing::Test {};
using Pixels = testing::Types<PF_Pixel, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(Sampler, Pixels);

template <class Pixel>
void ExpectNear(const Pixel& a, const Pixel& b, double tolerance, const std::string& what) {
  EXPECT_NEAR(a.alpha, b.alpha, tolerance) << what;
  EXPECT_NEAR(a.red, b.red, tolerance) << what;
  EXPECT_NEAR(a.green, b.green, tolerance) << what;
  EXPECT_NEAR(a.blue, b.blue, tolerance) << what;
}

TYPED_TEST(Sampler, PlainSumIsTheMeanOverTheBox) {
  const World world = Noise<TypeParam>(13, 11, 1);
  const bool real = std::is_same_v<TypeParam, PF_PixelFloat>;
  std::mt19937 random(2);
  const auto quarters = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random) * (kPixel / 4);
  };
  for (int i = 0; i < 400; ++i) {
    // Edges on quarter pixels: centres and radii both on even or both on odd quarters would do, and
    // centres on quarters with radii on quarters always give such edges.
    const SampleBox box{quarters(-20, 70), quarters(-20, 60), quarters(1, 40), quarters(1, 40)};
    ExpectNear(Plain<TypeParam>(world, box), ByQuarters<TypeParam>(world, box), real ? 1e-6 : 0,
               "box " + std::to_string(i));
  }
}

TYPED_TEST(Sampler, TableGivesWhatThePlainSumGives) {
  struct Case {
    int width;
    int height;
    WorldLayout layout;
    int boxes;
  };
  // The last is cut into three bands of rows.
  for (const Case& c :
       {Case{97, 61, {}, 3000}, Case{97, 61, {8, true, true}, 3000}, Case{33, 1100, {}, 500}}) {
    const World world = Noise<TypeParam>(c.width, c.height, 3, c.layout);
    const AreaSampler sampler(world.record(), world.depth());
    std::mt19937 random(4);
    for (int i = 0; i < c.boxes; ++i) {
      const SampleBox box = RandomBox(random, c.width, c.height);
      const TypeParam plain = Plain<TypeParam>(world, box);
      const TypeParam table = ByTable<TypeParam>(sampler, box);
      if constexpr (std::is_same_v<TypeParam, PF_PixelFloat>) {
        ExpectNear(table, plain, 1e-6, std::to_string(i));
      } else {
        ASSERT_TRUE(Same(table, plain)) << i << ": " << Text(table) << ", " << Text(plain);
      }
    }
  }
}

TYPED_TEST(Sampler, AgreesAtTheExtremes) {
  const World world = Noise<TypeParam>(64, 48, 5);
  const AreaSampler sampler(world.record(), world.depth());
  constexpr PF_Fixed kMax = std::numeric_limits<PF_Fixed>::max();
  constexpr PF_Fixed kMin = std::numeric_limits<PF_Fixed>::min();
  const SampleBox boxes[] = {
      {32 * kPixel, 24 * kPixel, kMax, kMax},  // everything, and far more
      {kMax, kMax, kMax, kMax},
      {kMin, kMin, kMax, kMax},
      {kMin, kMin, 0, 0},
      {kMax, 0, 5 * kPixel, 5 * kPixel},
      {32 * kPixel - kPixel / 2, 24 * kPixel - kPixel / 2, 32 * kPixel,
       24 * kPixel},  // exactly all
      {10 * kPixel, 10 * kPixel, 0, 0},
      {10 * kPixel, 10 * kPixel, kMin, kMin},
      {10 * kPixel, 10 * kPixel, 0, 30 * kPixel},
      {-kPixel / 2, -kPixel / 2, 1, 1},
      {63 * kPixel + kPixel / 2 - 1, 47 * kPixel + kPixel / 2 - 1, 0, 0},
      {63 * kPixel + kPixel / 2, 47 * kPixel, 0, 0},  // just outside
  };
  for (const SampleBox& box : boxes) {
    ExpectNear(ByTable<TypeParam>(sampler, box), Plain<TypeParam>(world, box),
               std::is_same_v<TypeParam, PF_PixelFloat> ? 1e-6 : 0,
               "box at " + std::to_string(box.x) + ", " + std::to_string(box.y));
  }
  const TypeParam inside = Plain<TypeParam>(world, boxes[6]);
  EXPECT_TRUE(Same(inside, world.Row<TypeParam>(10)[10]) || inside.alpha == 0);
  EXPECT_EQ(Plain<TypeParam>(world, boxes[11]).alpha, 0);
}

TEST(Sampler, HoldsTheLargestSums) {
  // White, more pixels than 64 bits of weighted alpha x colour can hold.
  for (const Depth depth : {Depth::k8, Depth::k16}) {
    World world(2000, 1500, depth);
    const AreaSampler sampler(world.record(), depth);
    const SampleBox box{1000 * kPixel, 750 * kPixel, 900 * kPixel + 77, 600 * kPixel + 99};
    if (depth == Depth::k8) {
      for (int y = 0; y < 1500; ++y) {
        std::fill_n(world.Row<PF_Pixel>(y), 2000, PF_Pixel{255, 255, 254, 1});
      }
      EXPECT_EQ(Text(ByTable<PF_Pixel>(sampler, box)), "255 255 254 1");
    } else {
      for (int y = 0; y < 1500; ++y) {
        std::fill_n(world.Row<PF_Pixel16>(y), 2000, PF_Pixel16{32768, 32768, 32767, 1});
      }
      EXPECT_EQ(Text(ByTable<PF_Pixel16>(sampler, box)), "32768 32768 32767 1");
    }
  }
}

TEST(Sampler, KeepsFloatAccurateBesideBrightAndBrokenPixels) {
  const float inf = std::numeric_limits<float>::infinity();
  for (const float odd : {1e6f, 1e12f, 1e30f, -1e6f, inf, std::nanf("")}) {
    World world = Noise<PF_PixelFloat>(120, 90, 6);
    world.Row<PF_PixelFloat>(5)[5] = {1, odd, 0.5f, 0.5f};
    const AreaSampler sampler(world.record(), world.depth());
    for (const PF_Fixed radius : {3 * kPixel, 9 * kPixel + 1234, 20 * kPixel}) {
      const SampleBox box{70 * kPixel + 11, 50 * kPixel + 7, radius, radius};
      ExpectNear(ByTable<PF_PixelFloat>(sampler, box), Plain<PF_PixelFloat>(world, box), 1e-6,
                 std::to_string(odd));
    }
  }
}

TEST(Sampler, FindsNoColourInHoles) {
  // Nothing but a hole, beside sums that are large and do not round well.
  World world = Noise<PF_PixelFloat>(300, 200, 7);
  for (int y = 80; y < 120; ++y) {
    for (int x = 100; x < 200; ++x) world.Row<PF_PixelFloat>(y)[x].alpha = 0;
  }
  const AreaSampler sampler(world.record(), world.depth());
  const PF_PixelFloat p =
      ByTable<PF_PixelFloat>(sampler, {150 * kPixel, 100 * kPixel, 30 * kPixel, 15 * kPixel});
  EXPECT_EQ(Text(p), Text(PF_PixelFloat{}));
}

}  // namespace
}  // namespace hosting
