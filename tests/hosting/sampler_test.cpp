#include "hosting/area_sampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "refusal.h"

namespace hosting {
namespace {

constexpr PF_Fixed kPixel = 65536;
constexpr PF_Fixed kMax = std::numeric_limits<PF_Fixed>::max();
constexpr PF_Fixed kMin = std::numeric_limits<PF_Fixed>::min();

template <class Pixel>
constexpr bool kReal = std::is_same_v<Pixel, PF_PixelFloat>;
template <class Pixel>
constexpr double kWhite = kReal<Pixel>              ? 1
                          : sizeof(Pixel::red) == 1 ? 255
                                                    : 32768;

template <class Pixel>
Pixel White() {
  constexpr auto kFull = static_cast<decltype(Pixel::red)>(kWhite<Pixel>);
  return {kFull, kFull, kFull, kFull};
}

/// Noise with holes of no alpha and stretches of white.
template <class Pixel>
World Noise(int width, int height, const WorldLayout& layout = {}) {
  World world(width, height, kDepthOf<Pixel>, layout);
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(0, kWhite<Pixel>);
  const auto channel = [&] { return static_cast<decltype(Pixel::red)>(unit(random)); };
  for (int i = 0; i < width * height; ++i) {
    const int tile = (i % width / 9 + i / width / 7) % 5;
    Pixel& p = world.Row<Pixel>(i / width)[i % width];
    p = {channel(), channel(), channel(), channel()};
    if (tile == 0) p.alpha = 0;
    if (tile == 1) p = White<Pixel>();
  }
  return world;
}

/// How much of pixel i lies in the side of a box, in 1/65536.
std::int64_t Share(PF_Fixed center, PF_Fixed radius, int i) {
  const std::int64_t reach = std::max(radius, 0);
  const std::int64_t from = center - reach;
  const std::int64_t to = from + std::max<std::int64_t>(2 * reach, 1);
  const std::int64_t left = std::int64_t{i} * kPixel - kPixel / 2;
  return std::max<std::int64_t>(0, std::min(to, left + kPixel) - std::max(from, left));
}

/// The mean over the box, from every pixel of the world, exact at 8 and 16 bits.
template <class Pixel>
Pixel Reference(const World& world, const SampleBox& box) {
  __extension__ using Sum = std::conditional_t<kReal<Pixel>, long double, __int128>;
  Sum alpha = 0;
  Sum colors[3] = {};
  for (int y = 0; y < world.height(); ++y) {
    const std::int64_t rows = Share(box.y, box.y_radius, y);
    for (int x = 0; rows > 0 && x < world.width(); ++x) {
      const Pixel& p = world.Row<Pixel>(y)[x];
      const std::int64_t share = Share(box.x, box.x_radius, x);
      if (share == 0) continue;
      const Sum weight = static_cast<Sum>(p.alpha) * static_cast<Sum>(share * rows);
      alpha += weight;
      colors[0] += weight * static_cast<Sum>(p.red);
      colors[1] += weight * static_cast<Sum>(p.green);
      colors[2] += weight * static_cast<Sum>(p.blue);
    }
  }
  if (alpha == 0) return {};
  const auto mean = [](Sum sum, Sum of) {
    if constexpr (kReal<Pixel>) return static_cast<float>(sum / of);
    return static_cast<decltype(Pixel::red)>((2 * sum + of) / (2 * of));
  };
  const auto side = [](PF_Fixed radius) { return std::max(2 * std::int64_t{radius}, {1}); };
  const Sum area = static_cast<Sum>(side(box.x_radius)) * static_cast<Sum>(side(box.y_radius));
  return {mean(alpha, area), mean(colors[0], alpha), mean(colors[1], alpha),
          mean(colors[2], alpha)};
}

/// Plainly and by the table, as the reference says: to the bit, or to a millionth at float.
template <class Pixel>
void ExpectSamples(const World& world, const std::vector<SampleBox>& boxes) {
  const AreaSampler sampler(world.record(), world.depth());
  for (const SampleBox& box : boxes) {
    const Pixel expected = Reference<Pixel>(world, box);
    Pixel plain;
    Pixel table;
    PlainAreaSample(world.record(), box, &plain);
    sampler.Sample(box, &table);
    for (const Pixel& got : {plain, table}) {
      for (auto c : {&Pixel::alpha, &Pixel::red, &Pixel::green, &Pixel::blue}) {
        ASSERT_NEAR(got.*c, expected.*c, kReal<Pixel> ? 1e-6 : 0)
            << "box " << Text(box.x, box.y, box.x_radius, box.y_radius);
      }
    }
  }
}

/// Small and large, some partly or wholly outside.
std::vector<SampleBox> RandomBoxes(int count, int width, int height) {
  std::mt19937 random(4);
  const auto between = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  std::vector<SampleBox> boxes;
  for (int i = 0; i < count; ++i) {
    const bool small = between(0, 2) == 0;
    boxes.push_back({between(-width / 2 * kPixel, width * 3 / 2 * kPixel),
                     between(-height / 2 * kPixel, height * 3 / 2 * kPixel),
                     between(0, small ? 2 * kPixel : width * kPixel),
                     between(0, small ? 2 * kPixel : height * kPixel)});
  }
  return boxes;
}

template <class Pixel>
class Sampler : public testing::Test {};
using Pixels = testing::Types<PF_Pixel, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(Sampler, Pixels);

TYPED_TEST(Sampler, GivesTheMeanOverTheBox) {
  constexpr PF_Fixed kHalf = kPixel / 2;
  std::vector<SampleBox> boxes = RandomBoxes(800, 97, 61);
  boxes.insert(boxes.end(), {{48 * kPixel, 24 * kPixel, kMax, kMax},  // everything, and far more
                             {kMin, kMin, kMax, kMax},
                             {kMin, kMin, 0, 0},
                             {kMax, 0, 5 * kPixel, 5 * kPixel},
                             {48 * kPixel, 30 * kPixel, 48 * kPixel + kHalf, 30 * kPixel + kHalf},
                             {11 * kPixel, 10 * kPixel, 0, 30 * kPixel},
                             {-kHalf, -kHalf, 1, 1},
                             {96 * kPixel + kHalf - 1, 60 * kPixel + kHalf - 1, 0, 0},
                             {96 * kPixel + kHalf, 60 * kPixel, 0, 0}});  // just outside
  ExpectSamples<TypeParam>(Noise<TypeParam>(97, 61), boxes);
  ExpectSamples<TypeParam>(Noise<TypeParam>(97, 61, {8, true, true}), boxes);
  // Cut into three bands of rows, and too narrow for a table.
  ExpectSamples<TypeParam>(Noise<TypeParam>(33, 1100), RandomBoxes(300, 33, 1100));
  ExpectSamples<TypeParam>(Noise<TypeParam>(1, 50), RandomBoxes(100, 1, 50));
  // White, of more pixels than 64 bits of weighted alpha x colour can hold.
  World white(2000, 1500, kDepthOf<TypeParam>);
  for (int y = 0; y < 1500; ++y) std::fill_n(white.Row<TypeParam>(y), 2000, White<TypeParam>());
  ExpectSamples<TypeParam>(white, {{1000 * kPixel, 750 * kPixel, 900 * kPixel + 77, 600 * kPixel}});
}

TEST(Sampler, KeepsFloatAccurateBesideBrightAndBrokenPixels) {
  const float inf = std::numeric_limits<float>::infinity();
  for (const float odd : {1e6f, 1e12f, 1e30f, -1e6f, inf, std::nanf("")}) {
    World world = Noise<PF_PixelFloat>(120, 90);
    world.Row<PF_PixelFloat>(5)[5] = {1, odd, 0.5f, 0.5f};
    for (int y = 20; y < 30; ++y) {  // a hole, beside sums that do not round well
      for (int x = 60; x < 90; ++x) world.Row<PF_PixelFloat>(y)[x].alpha = 0;
    }
    ExpectSamples<PF_PixelFloat>(world, {{70 * kPixel, 50 * kPixel + 7, 3 * kPixel, 3 * kPixel},
                                         {70 * kPixel, 50 * kPixel + 7, 9 * kPixel + 9, 9 * kPixel},
                                         {70 * kPixel, 50 * kPixel + 7, 20 * kPixel, 20 * kPixel},
                                         {75 * kPixel, 25 * kPixel, 14 * kPixel, 4 * kPixel}});
  }
}

}  // namespace
}  // namespace hosting
