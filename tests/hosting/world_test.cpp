#include "hosting/world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "refusal.h"

namespace hosting {
namespace {

TEST(World, LaysRowsOutAsAskedAndSaysWhereAGuardWasHit) {
  for (const Depth depth : {Depth::k8, Depth::k16, Depth::k32}) {
    for (const int alignment : {4, 16, 64, 4096}) {
      for (const bool bottom_up : {false, true}) {
        World world(7, 5, depth, {alignment, bottom_up, true});
        const int row = world.record().rowbytes;
        const int pixels = 7 * static_cast<int>(PixelSize(depth));
        const auto address = reinterpret_cast<std::uintptr_t>(world.record().data);
        EXPECT_TRUE((row < 0) == bottom_up && std::abs(row) > pixels && row % alignment == 0);
        EXPECT_EQ(address % static_cast<unsigned>(alignment), 0u);
        EXPECT_EQ((world.record().world_flags & PF_WorldFlag_DEEP) != 0, depth == Depth::k16);
        EXPECT_EQ(world.RowBytes(4)[6], std::byte{0xFF});  // fresh pixels are poisoned
        world.Clear();
        EXPECT_EQ(Text(std::to_integer<int>(world.RowBytes(4)[6]), world.GuardDamage()), "0 ");
        world.RowBytes(bottom_up ? 0 : 4)[pixels + 2] = std::byte{0};
        EXPECT_EQ(world.GuardDamage(),
                  bottom_up ? "2 bytes after the end of row 0" : "2 bytes after the end of row 4");
        world.RowBytes(2)[-3] = std::byte{0};
        EXPECT_EQ(world.GuardDamage(), "3 bytes before row 2");
      }
    }
  }
}

TEST(World, RefusesImpossibleOnes) {
  EXPECT_REFUSED(World(-1, 5, Depth::k8), "-1 x 5");
  EXPECT_REFUSED(World(5, kMaxSide + 1, Depth::k8), "30000");
  EXPECT_REFUSED(World(5, 5, Depth::k8, {12, false, false}), "12 bytes");
  EXPECT_REFUSED(DepthOf(12), "not 12");
  World deep(2, 2, Depth::k16);
  EXPECT_REFUSED(CopyOverlap(World(2, 2, Depth::k8), deep), "different depths");
}

}  // namespace
}  // namespace hosting
