#include "hosting/picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "refusal.h"

namespace hosting {
namespace {

/// One row holding every value of the type as red.
template <class Channel>
Picture Ramp(Channel white) {
  constexpr int kValues = std::numeric_limits<Channel>::max() + 1;
  // Worlds have at most 30000 columns.
  constexpr int kRow = kValues < 1024 ? kValues : 1024;
  std::vector<Channel> pixels;
  for (int v = 0; v < kValues; ++v) {
    pixels.insert(pixels.end(), {static_cast<Channel>(v), 0, white, white});
  }
  return {kRow, kValues / kRow, pixels};
}

/// v * to / from rounded to nearest, from whole numbers.
int Scaled(int v, int from, int to) {
  return static_cast<int>((2 * std::int64_t{v} * to + from) / (2 * from));
}

template <class Pixel, class Check>
void ForEachPixel(const World& world, Check check) {
  int v = 0;
  for (int y = 0; y < world.height(); ++y) {
    for (int x = 0; x < world.width(); ++x) check(v++, world.Row<Pixel>(y)[x]);
  }
}

/// Every value of a file becomes that of a world with this white.
template <class Pixel, class Channel>
void ExpectRamp(int white) {
  constexpr int kFrom = std::numeric_limits<Channel>::max();
  const auto depth = static_cast<Depth>(8 * sizeof(Pixel::red));
  ForEachPixel<Pixel>(Ramp<Channel>(kFrom).ToWorld(depth), [&](int v, const Pixel& p) {
    const double red = white == 1 ? v / static_cast<double>(kFrom) : Scaled(v, kFrom, white);
    ASSERT_EQ(p.red, static_cast<decltype(Pixel::red)>(red));
    ASSERT_EQ(p.green, 0);
    ASSERT_EQ(p.blue, white);
    ASSERT_EQ(p.alpha, white);
  });
}

TEST(Picture, BecomesAWorldWithEveryValueRoundedToNearest) {
  ExpectRamp<PF_Pixel, std::uint8_t>(255);
  ExpectRamp<PF_Pixel16, std::uint8_t>(32768);
  ExpectRamp<PF_PixelFloat, std::uint8_t>(1);
  ExpectRamp<PF_Pixel, std::uint16_t>(255);
  ExpectRamp<PF_Pixel16, std::uint16_t>(32768);
  ExpectRamp<PF_PixelFloat, std::uint16_t>(1);
}

TEST(Picture, ComesBackFromAWorld) {
  // A world of 16 bits has every value up to its white in a file of 16 bits, and back.
  const World world = Ramp<std::uint16_t>(65535).ToWorld(Depth::k16);
  const Picture back(world, Depth::k16);
  EXPECT_EQ(std::get<1>(back.pixels())[4 * 65535], 65535);
  ForEachPixel<PF_Pixel16>(back.ToWorld(Depth::k16), [&](int v, const PF_Pixel16& p) {
    ASSERT_EQ(p.red, world.Row<PF_Pixel16>(v / 1024)[v % 1024].red);
  });
  const Picture eight = Ramp<std::uint8_t>(255);
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    EXPECT_EQ(std::get<0>(Picture(eight.ToWorld(depth), Depth::k8).pixels()),
              std::get<0>(eight.pixels()));
  }
}

TEST(Picture, KeepsFloatAsItIsAndClampsItElsewhere) {
  const float inf = std::numeric_limits<float>::infinity();
  const Picture picture(3, 1, std::vector<float>{-1, 2.5f, 0.5f, 1, inf, -inf, NAN, 1, 0, 0, 0, 0});
  const World real = picture.ToWorld(Depth::k32);
  EXPECT_EQ(real.Row<PF_PixelFloat>(0)[0].green, 2.5f);
  EXPECT_EQ(real.Row<PF_PixelFloat>(0)[1].red, inf);
  const World eight = picture.ToWorld(Depth::k8);
  const PF_Pixel* p = eight.Row<PF_Pixel>(0);
  EXPECT_EQ(p[0].red, 0);
  EXPECT_EQ(p[0].green, 255);
  EXPECT_EQ(p[0].blue, 128);  // 127.5
  EXPECT_EQ(p[1].red, 255);
  EXPECT_EQ(p[1].green, 0);
  EXPECT_EQ(p[1].blue, 0);
}

TEST(Picture, IsReducedByWhatEachPixelCovers) {
  // Opaque columns 0, 90, 180, 30, 250.
  const Picture row(5, 1, std::vector<std::uint8_t>{0, 0,   0,  255, 90, 0,   0,   255, 180, 0,
                                                    0, 255, 30, 0,   0,  255, 250, 0,   0,   255});
  const struct {
    Rational factor;
    std::vector<int> reds;
  } cases[] = {
      {{1, 1}, {0, 90, 180, 30, 250}},
      {{1, 2}, {45, 105, 250}},  // the last covers one column only
      {{1, 3}, {90, 140}},
      {{1, 4}, {75, 250}},
      // Columns of 5/3: (0 + 2/3 * 90) / (5/3), (1/3 * 90 + 180 + 1/3 * 30) / (5/3), ...
      {{3, 5}, {36, 132, 162}},
      {{2, 5}, {72, 148}},  // (0 + 90 + 0.5 * 180) / 2.5, (0.5 * 180 + 30 + 250) / 2.5
      {{1, 100}, {110}},
  };
  for (const auto& c : cases) {
    const World world = row.ToWorld(Depth::k8, c.factor);
    ASSERT_EQ(world.width(), static_cast<int>(c.reds.size())) << c.factor.Text();
    for (std::size_t i = 0; i < c.reds.size(); ++i) {
      EXPECT_EQ(world.Row<PF_Pixel>(0)[i].red, c.reds[i]) << c.factor.Text() << " column " << i;
      EXPECT_EQ(world.Row<PF_Pixel>(0)[i].alpha, 255);
    }
  }
}

TEST(Picture, IsReducedWithColoursWeighedByAlpha) {
  const Picture picture(2, 2,
                        std::vector<float>{1, 0, 0, 1, 0, 1, 0, 0,  //
                                           0, 0, 1, 0.5, 9, 9, 9, 0});
  const World world = picture.ToWorld(Depth::k32, Rational(1, 2), Rational(1, 2));
  const PF_PixelFloat& p = world.Row<PF_PixelFloat>(0)[0];
  EXPECT_FLOAT_EQ(p.alpha, 1.5f / 4);
  EXPECT_FLOAT_EQ(p.red, 1 / 1.5f);
  EXPECT_FLOAT_EQ(p.green, 0);
  EXPECT_FLOAT_EQ(p.blue, 0.5f / 1.5f);
  const Picture clear(2, 1, std::vector<float>{1, 1, 1, 0, 1, 1, 1, 0});
  EXPECT_EQ(clear.ToWorld(Depth::k32, Rational(1, 2)).Row<PF_PixelFloat>(0)[0].red, 0);
}

TEST(Picture, RefusesWhatIsNoPicture) {
  EXPECT_REFUSED(Picture(2, 2, std::vector<float>(15)), "15 numbers");
  EXPECT_REFUSED(Picture(0, 2, std::vector<float>()), "0 x 2");
  const Picture picture(1, 1, std::vector<float>(4));
  EXPECT_REFUSED(picture.ToWorld(Depth::k8, Rational(3, 2)), "not at 3/2");
  EXPECT_REFUSED(picture.ToWorld(Depth::k8, Rational(0, 1)), "not at 0");
}

}  // namespace
}  // namespace hosting
