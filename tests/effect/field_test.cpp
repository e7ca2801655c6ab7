// Scales, times and the force field.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <random>

#include "host/scales.h"
#include "oracle.h"
#include "render/force_field.h"
#include "render/time_info.h"

namespace {

PF_InData InData(PF_RationalScale aspect, PF_RationalScale down_x, PF_RationalScale down_y) {
  PF_InData in{};
  in.pixel_aspect_ratio = aspect;
  in.downsample_x = down_x;
  in.downsample_y = down_y;
  return in;
}

TEST(Scales, FollowAspectAndDownSampling) {
  const struct {
    PF_RationalScale aspect, down_x, down_y;
    double to_buffer_x, to_buffer_y;
  } cases[]{
      {{1, 1}, {1, 1}, {1, 1}, 1, 1},
      {{2, 1}, {1, 2}, {1, 4}, 0.25, 0.25},
      {{1, 2}, {1, 1}, {1, 3}, 2, 1.0 / 3},
      {{12, 11}, {1, 3}, {2, 3}, 11.0 / 12 / 3, 2.0 / 3},
      {{4, 1}, {3, 8}, {5, 4}, 0.25 * 3 / 8, 1.25},
      {{-1, 2}, {1, 1}, {-1, 1}, -2, -1},
      {{1, 0x80000000u}, {1, 0x80000000u}, {1, 0xFFFFFFFFu}, 1, 1 / 4294967295.0},
  };
  for (const auto& c : cases) {
    const PF_InData in = InData(c.aspect, c.down_x, c.down_y);
    const vorlin::FX_PARc s(&in);
    EXPECT_EQ(s.aspectInverse, static_cast<double>(c.aspect.den) / c.aspect.num);
    EXPECT_EQ(s.toBufferX, c.to_buffer_x);
    EXPECT_EQ(s.toBufferY, c.to_buffer_y);
    EXPECT_EQ(s.toLayerX, 1.0 / c.to_buffer_x);
    EXPECT_EQ(s.toLayerY, 1.0 / c.to_buffer_y);
    EXPECT_EQ(s.meanToLayer, (s.toLayerX + s.toLayerY) * 0.5);
    EXPECT_EQ(s.toFixedX, c.to_buffer_x * 65536);
    EXPECT_EQ(s.toFixedY, c.to_buffer_y * 65536);
    const double doubles[]{s.meanToLayer, s.aspectInverse, s.toLayerX, s.toLayerY,
                           s.toBufferX,   s.toBufferY,     s.toFixedX, s.toFixedY};
    const float floats[]{s.meanToLayerF, s.aspectInverseF, s.toLayerXF, s.toLayerYF,
                         s.toBufferXF,   s.toBufferYF,     s.toFixedXF, s.toFixedYF};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(floats[i], static_cast<float>(doubles[i])) << i;
  }
}

TEST(Times, AreRoundedToWholeFramesOfTheLayer) {
  const struct {
    A_long current, step, local;
    A_long frame, offset;
    double fraction;
  } cases[]{
      {0, 1024, 1024, 0, 0, 0},
      {5120, 1024, 1024, 5120, 0, 0},
      {5121, 1024, 1024, 5120, 1, 1 / 1024.0},
      {6143, 512, 1024, 5120, 1023, 1023 / 1024.0},
      {5120, -512, 1024, 5120, 0, 0},
      {-1, 1024, 1024, 0, -1, -1 / 1024.0},
      {-5121, 1024, 1024, -5120, -1, -1 / 1024.0},
      {100, 30, 7, 98, 2, 2 / 7.0},
      {INT_MAX, 1, 1, INT_MAX, 0, 0},
      {INT_MIN, 1, 2, INT_MIN, 0, 0},
      {10, 3, -4, 8, 2, -0.5},
  };
  for (const auto& c : cases) {
    PF_InData in{};
    in.current_time = c.current;
    in.time_step = c.step;
    in.local_time_step = c.local;
    in.time_scale = 0xFFFFFFFFu;
    in.shutter_angle = 0x00B48000;  // 180.5 degrees
    vorlin::FX_TimeInfo t = vorlin::FX_CopyTime(&in);
    EXPECT_EQ(t.currentTime, c.current);
    EXPECT_EQ(t.frameTime, c.frame) << c.current;
    EXPECT_EQ(t.frameOffset, c.offset);
    EXPECT_EQ(t.frameFraction, c.fraction);
    EXPECT_EQ(t.timeScale, 0xFFFFFFFFu);
    EXPECT_EQ(t.timeStep, c.step);
    EXPECT_EQ(t.localTimeStep, c.local);
    const double ratio = static_cast<double>(c.step) / c.local;
    EXPECT_EQ(t.shutter, 180.5 * ratio);
    in.shutter_angle = 0;
    t = vorlin::FX_CopyTime(&in);
    EXPECT_EQ(t.shutter, ratio);
  }
  PF_InData in{};
  in.current_time = 5;
  EXPECT_EQ(vorlin::FX_CopyTime(&in).localTimeStep, 0) << "and nothing trapped";
}

/// A field in a world whose rows are padded, upright or bottom up.
struct FieldWorld {
  FieldWorld(int width, int height, bool bottom_up)
      : stride(width + 3), cells(static_cast<std::size_t>(stride * height), -0.25f) {
    world.width = width;
    world.height = height;
    world.rowbytes = (bottom_up ? -4 : 4) * stride;
    world.data =
        reinterpret_cast<PF_Pixel*>(cells.data() + (bottom_up ? stride * (height - 1) : 0));
  }
  /// Whether all cells are those of the expected field, to the bit, and the padding is as it was.
  bool Equals(const oracle::Field& expected) const {
    for (int y = 0; y < world.height; ++y) {
      const float* row = vorlin::FieldRow(world, y);
      for (int x = 0; x < stride; ++x) {
        const float want = x < world.width ? expected.At(x, y) : -0.25f;
        if (std::memcmp(row + x, &want, sizeof want) != 0) return false;
      }
    }
    return true;
  }
  int stride;
  std::vector<float> cells;
  PF_EffectWorld world{};
};

oracle::Field Empty(int width, int height) {
  oracle::Field field(width, height);
  for (float& cell : field.cells) cell = -0.25f;
  return field;
}

vorlin::FX_PAR Par(const oracle::Scales& s) {
  return {s.aspect_inverse, s.to_layer_x, s.to_layer_y, s.to_buffer_x, s.to_buffer_y};
}

TEST(ForceField, EqualsThePlainLoopForRandomBlobs) {
  std::mt19937 random(1);
  const auto in_range = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  const PF_RationalScale ratios[]{{1, 1}, {1, 2}, {1, 3}, {2, 3}, {2, 1}, {12, 11}, {7, 13}};
  const auto ratio = [&] { return ratios[random() % 7]; };
  for (int round = 0; round < 400; ++round) {
    const int width = 1 + static_cast<int>(random() % 70),
              height = 1 + static_cast<int>(random() % 50);
    const oracle::Scales scales = oracle::ScalesOf(InData(ratio(), ratio(), ratio()));
    const vorlin::FX_PAR par = Par(scales);
    oracle::Field expected = Empty(width, height);
    FieldWorld field(width, height, round % 2 == 1);
    for (int blob = 0; blob < 12; ++blob) {
      const double radii[]{0.005,
                           0.01,
                           0.1,
                           0.25,
                           in_range(0, 1),
                           in_range(0, 6),
                           in_range(1, 40),
                           in_range(30, 300)};
      const double radius = radii[random() % 8];
      const double amplitude = in_range(0, 1) < 0.3 ? 1.0 : in_range(0, 1.5);
      double x = in_range(-60, 200), y = in_range(-60, 160);
      if (random() % 4 == 0) {  // exactly on the grid
        x = std::round(x);
        y = std::round(y);
      }
      oracle::AddBlob(expected, scales, {x, y, 0}, amplitude, radius);
      vorlin::FX_DrawForce(&par, {x, y, 99}, amplitude, radius, &field.world);
    }
    ASSERT_TRUE(field.Equals(expected)) << "round " << round;
  }
}

float CellAfter(double x, double y, double amplitude, double radius, int at_x, int at_y) {
  const vorlin::FX_PAR par{1, 1, 1, 1, 1};
  FieldWorld field(21, 21, false);
  vorlin::FX_DrawForce(&par, {x, y, 0}, amplitude, radius, &field.world);
  return vorlin::FieldRow(field.world, at_y)[at_x] + 0.25f;
}

TEST(ForceField, FarAndHugeBlobsAreDefined) {
  for (const double x : {-1e300, -1e12, 0.0, 1e12, 1e300}) {
    for (const double radius : {0.01, 1.0, 1e12, 1e200}) {
      const float cell = CellAfter(x, 3, 1, radius, 10, 10);
      EXPECT_GE(cell, 0.0f) << x << ' ' << radius;
      EXPECT_LE(cell, 1.0f) << x << ' ' << radius;
    }
  }
}

TEST(ForceField, ReachesTheRightCellFarIntoALargeField) {
  // Two rows of a field whose rows are so far apart that the distance does not fit 32 bits.
  const std::size_t rowbytes = std::size_t{1} << 28;
  const int row = 12;
  PF_EffectWorld world{};
  std::vector<float> cells(8, 0.0f);
  world.rowbytes = static_cast<A_long>(rowbytes);
  world.width = 8;
  world.height = row + 1;
  world.data =
      reinterpret_cast<PF_Pixel*>(reinterpret_cast<std::uintptr_t>(cells.data()) - row * rowbytes);
  const vorlin::FX_PAR par{1, 1, 1, 1, 1};
  vorlin::FX_DrawForce(&par, {3, row, 0}, 1, 0.5, &world);
  EXPECT_EQ(cells[3], 1.0f);
}

}  // namespace
