#include "entry_world.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace fuzz {
namespace {

/// Bytes that are not overwritten unnoticed, as far as a byte can tell.
constexpr char kPadding = '\x5A';

}  // namespace

World::World(const WorldPlan& plan, int channel_bytes)
    : pixel_bytes(static_cast<std::size_t>(4 * channel_bytes)) {
  const auto width = static_cast<std::size_t>(std::max(plan.width, 0));
  const auto height = static_cast<std::size_t>(std::max(plan.height, 0));
  row_pixels = width * pixel_bytes;
  stride = row_pixels + plan.padding * static_cast<std::size_t>(channel_bytes);
  memory.assign(stride * height, kPadding);
  memory.reserve(1);  // so that the smallest world has an address, too
  stride = std::max(stride, std::size_t{1});
  const bool flipped = plan.upward && height > 0;
  char* const first = memory.data() + (flipped ? stride * (height - 1) : 0);
  view.world_flags = channel_bytes == 2 ? PF_WorldFlag_DEEP : 0;
  view.data = reinterpret_cast<PF_Pixel*>(first);
  view.rowbytes = static_cast<A_long>(stride) * (flipped ? -1 : 1);
  view.width = plan.width;
  view.height = plan.height;
  view.origin_x = plan.origin_x;
  view.origin_y = plan.origin_y;
}

bool World::PaddingIsSound() const {
  static const std::vector<char> kSound(4 * kMostPadding, kPadding);
  for (std::size_t at = row_pixels; at < memory.size(); at += stride) {
    if (std::memcmp(&memory[at], kSound.data(), stride - row_pixels) != 0) return false;
  }
  return true;
}

void Paint(World& world, unsigned pattern) {
  static constexpr float kFloats[]{0.0F,   0.5F,   1.0F,  -1.0F, 1e38F,
                                   -1e38F, 1e-42F, 40.0F, NAN,   INFINITY};
  std::uint32_t state = pattern + 1;
  for (A_long y = 0; y < world.view.height; ++y) {
    char* const row = world.Row(y);
    const std::size_t channel = world.pixel_bytes / 4;
    for (std::size_t at = 0; at < world.row_pixels; at += channel) {
      state = state * 1664525u + 1013904223u;
      if (channel == 4) {
        // The first patterns are ordinary pictures.
        const float f = pattern < 4 ? static_cast<float>(state >> 24) / 255.0F
                                    : kFloats[(state >> 24) % std::size(kFloats)];
        std::memcpy(row + at, &f, sizeof f);
      } else if (channel == 2) {
        const auto white = static_cast<std::uint16_t>(pattern < 4 ? 32769 : 65535);
        const auto value = static_cast<std::uint16_t>((state >> 16) % white);
        std::memcpy(row + at, &value, sizeof value);
      } else {
        row[at] = static_cast<char>(state >> 24);
      }
    }
  }
}

}  // namespace fuzz
