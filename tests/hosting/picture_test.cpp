#include "hosting/picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "refusal.h"

namespace hosting {
namespace {

template <class Pixel>
const Pixel& At(const World& world, int i) {
  return world.Row<Pixel>(i / world.width())[i % world.width()];
}

/// Every value of a file becomes that of a world whose white that is, rounded to nearest, and every
/// value of a world that of a file.
template <class Pixel, class Channel>
void ExpectRamp(int world_white) {
  constexpr int kWhite = std::numeric_limits<Channel>::max();
  constexpr int kRow = 256;
  const auto scaled = [](std::int64_t v, int from, int to) {
    return (2 * v * to + from) / 2 / from;
  };
  std::vector<Channel> pixels;
  for (int v = 0; v <= kWhite; ++v) {
    pixels.insert(pixels.end(), {static_cast<Channel>(v), 0, kWhite, kWhite});
  }
  const World world = Picture(kRow, (kWhite + 1) / kRow, pixels)
                          .ToWorld(static_cast<Depth>(8 * sizeof(Pixel::red)));
  const Picture file(world, static_cast<Depth>(8 * sizeof(Channel)));
  const auto& back = std::get<std::vector<Channel>>(file.pixels());
  for (int v = 0; v <= kWhite; ++v) {
    const Pixel& p = At<Pixel>(world, v);
    const double red = world_white == 1 ? v / static_cast<double>(kWhite)
                                        : static_cast<double>(scaled(v, kWhite, world_white));
    ASSERT_EQ(p.red, static_cast<decltype(Pixel::red)>(red));
    ASSERT_EQ(Text(+p.green, +p.blue, +p.alpha), Text(0, world_white, world_white));
    const std::int64_t again =
        world_white == 1 ? v : scaled(static_cast<std::int64_t>(red), world_white, kWhite);
    ASSERT_EQ(back[4 * static_cast<std::size_t>(v)], again);
  }
}

TEST(Picture, BecomesAWorldAndComesBackRoundedToNearest) {
  ExpectRamp<PF_Pixel, std::uint8_t>(255);
  ExpectRamp<PF_Pixel16, std::uint8_t>(32768);
  ExpectRamp<PF_PixelFloat, std::uint8_t>(1);
  ExpectRamp<PF_Pixel, std::uint16_t>(255);
  ExpectRamp<PF_Pixel16, std::uint16_t>(32768);
  ExpectRamp<PF_PixelFloat, std::uint16_t>(1);
  // Float stays as it is, and is clamped elsewhere.
  const float inf = std::numeric_limits<float>::infinity();
  const Picture picture(2, 1, std::vector<float>{-1, 2.5f, 0.5f, 1, inf, -inf, NAN, 1});
  EXPECT_EQ(At<PF_PixelFloat>(picture.ToWorld(Depth::k32), 0).green, 2.5f);
  EXPECT_EQ(At<PF_PixelFloat>(picture.ToWorld(Depth::k32), 1).red, inf);
  EXPECT_EQ(std::get<0>(Picture(picture.ToWorld(Depth::k8), Depth::k8).pixels()),
            (std::vector<std::uint8_t>{0, 255, 128, 255, 255, 0, 0, 255}));
}

TEST(Picture, IsReducedByWhatEachPixelCovers) {
  std::vector<float> pixels{60, 0, 0, 0.5, 999, 9, 9, 0};  // half and wholly transparent, opaque
  for (const float red : {0.f, 90.f, 180.f, 30.f, 250.f})
    pixels.insert(pixels.end(), {red, 0, 0, 1});
  const std::pair<Rational, std::vector<float>> cases[]{
      {{1, 1}, {60, 999, 0, 90, 180, 30, 250}},
      {{1, 2}, {60, 45, 105, 250}},  // the last covers one column only
      {{1, 3}, {20, 100, 250}},
      {{2, 5}, {30, 108, 140}},  // of 2.5 columns: 30 / (0.5 + 0.5), (0 + 90 + 180) / 2.5, ...
      {{1, 100}, {580 / 5.5f}}};
  for (const auto& [factor, reds] : cases) {
    const World row = Picture(7, 1, pixels).ToWorld(Depth::k32, factor);
    const World column = Picture(1, 7, pixels).ToWorld(Depth::k32, {}, factor);
    ASSERT_EQ(row.width(), static_cast<int>(reds.size())) << factor.Text();
    for (int i = 0; i < row.width(); ++i) {
      const float red = reds[static_cast<std::size_t>(i)];
      EXPECT_NEAR(At<PF_PixelFloat>(row, i).red, red, 1e-4) << factor.Text() << " column " << i;
      EXPECT_NEAR(At<PF_PixelFloat>(column, i).red, red, 1e-4) << factor.Text() << " row " << i;
    }
    if (factor == Rational(1, 3)) {
      EXPECT_FLOAT_EQ(At<PF_PixelFloat>(row, 0).alpha, 0.5f);
    }
  }
}

TEST(Picture, RefusesWhatIsNoPicture) {
  EXPECT_REFUSED(Picture(2, 2, std::vector<float>(15)), "15 numbers");
  EXPECT_REFUSED(Picture(0, 2, std::vector<float>()), "0 x 2");
  const Picture picture(1, 1, std::vector<float>(4));
  EXPECT_REFUSED(picture.ToWorld(Depth::k8, Rational(9, 2)), "not at 9/2");
  EXPECT_REFUSED(picture.ToWorld(Depth::k8, Rational(0, 1)), "not at 0");
}

}  // namespace
}  // namespace hosting
