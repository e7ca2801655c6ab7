#include "hosting/world.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "refusal.h"

namespace hosting {
namespace {

TEST(World, LaysRowsOutAsAsked) {
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    for (const int alignment : {4, 8, 16, 64, 4096}) {
      for (const bool bottom_up : {false, true}) {
        for (const bool guards : {false, true}) {
          const World world(7, 5, depth, {alignment, bottom_up, guards});
          const PF_EffectWorld& record = world.record();
          EXPECT_EQ(record.rowbytes < 0, bottom_up);
          EXPECT_GT(std::abs(record.rowbytes), 7 * static_cast<int>(PixelSize(depth)));
          EXPECT_EQ(std::abs(record.rowbytes) % alignment, 0);
          const auto address = reinterpret_cast<std::uintptr_t>(record.data);
          EXPECT_EQ(address % static_cast<unsigned>(alignment), 0u);
          EXPECT_EQ((record.world_flags & PF_WorldFlag_DEEP) != 0, depth == Depth::k16);
          EXPECT_EQ(world.GuardDamage(), "");
        }
      }
    }
  }
}

TEST(World, PoisonsFreshPixelsWhereGuarded) {
  const World world(3, 2, Depth::k32, {64, false, true});
  EXPECT_TRUE(std::isnan(world.Row<PF_PixelFloat>(1)[2].red));
}

TEST(World, SaysWhereAGuardWasHit) {
  const struct {
    int row;
    std::ptrdiff_t byte;  // from the row's first
    const char* said;
  } cases[] = {{0, -1, "1 bytes before row 0"},
               {1, -3, "3 bytes before row 1"},
               {2, 3 * 4, "0 bytes after the end of row 2"}};
  for (const auto& c : cases) {
    World world(3, 3, Depth::k8, {64, false, true});
    world.RowBytes(c.row)[c.byte] = std::byte{0};
    EXPECT_EQ(world.GuardDamage(), c.said);
  }
  World flipped(3, 3, Depth::k8, {64, true, true});
  flipped.RowBytes(0)[12] = std::byte{0};
  EXPECT_EQ(flipped.GuardDamage(), "0 bytes after the end of row 0");
}

TEST(World, ClearsPixelsOnly) {
  World world(3, 3, Depth::k16, {8, true, true});
  world.Clear();
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_EQ(world.Row<PF_Pixel16>(y)[x].green, 0);
  }
  EXPECT_EQ(world.GuardDamage(), "");
}

TEST(World, CopiesWhereTwoOverlap) {
  World from(4, 4, Depth::k8);
  from.SetOrigin(2, -1);  // covers 2..6 x -1..3
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 4; ++x) {
      from.Row<PF_Pixel>(y)[x] = {255, static_cast<A_u_char>(2 + x), static_cast<A_u_char>(y), 9};
    }
  }
  for (const int left : {-10, -3, 0, 3, 5, 6, 20}) {
    World to(5, 5, Depth::k8, {4, true, true});
    to.SetOrigin(left, 0);
    to.Clear();
    CopyOverlap(from, to);
    EXPECT_EQ(to.GuardDamage(), "") << left;
    for (int y = 0; y < 5; ++y) {
      for (int x = 0; x < 5; ++x) {
        const bool covered = left + x >= 2 && left + x < 6 && y < 3;
        const PF_Pixel& p = to.Row<PF_Pixel>(y)[x];
        EXPECT_EQ(p.alpha, covered ? 255 : 0) << left << " " << x << " " << y;
        if (covered) {
          EXPECT_EQ(p.red, left + x);
          EXPECT_EQ(p.green, y + 1);
        }
      }
    }
  }
}

TEST(World, RefusesImpossibleOnes) {
  EXPECT_REFUSED(World(-1, 5, Depth::k8), "-1 x 5");
  EXPECT_REFUSED(World(5, 30001, Depth::k8), "30000");
  EXPECT_REFUSED(World(5, 5, Depth::k8, {12, false, false}), "12 bytes");
  EXPECT_REFUSED(DepthOf(12), "not 12");
  World deep(2, 2, Depth::k16);
  EXPECT_REFUSED(CopyOverlap(World(2, 2, Depth::k8), deep), "different depths");
  EXPECT_EQ(World(0, 7, Depth::k8).width(), 0);
}

}  // namespace
}  // namespace hosting
