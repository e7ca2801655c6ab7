// The memory of a host's worlds.
#pragma once

#include <cstddef>
#include <vector>

#include "entry_host.h"

namespace fuzz {

/// A world in a block of its own, so that the address sanitizer sees every step beside it.
struct World {
  World() = default;
  World(const WorldPlan& plan, int channel_bytes);
  /// For the effect: as it asked for.
  World(A_long width, A_long height) : World(WorldPlan{width, height, 0, 0, 8, false, false}, 1) {}

  char* Row(A_long y) const {
    return reinterpret_cast<char*>(view.data) + static_cast<std::ptrdiff_t>(view.rowbytes) * y;
  }
  bool PaddingIsSound() const;

  std::size_t pixel_bytes = 4;
  std::size_t row_pixels = 0;  // bytes
  std::size_t stride = 1;
  std::vector<char> memory;
  PF_EffectWorld view{};
};

/// Fills the pixels, not the padding.
void Paint(World& world, unsigned pattern);

}  // namespace fuzz
