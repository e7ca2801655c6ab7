#include "hosting/world.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

#include "hosting/errors.h"
#include "rects.h"

namespace hosting {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kCacheLine = 64;
constexpr auto kGuard = std::byte{0xA5};
// White and not a number: what is read before it is written shows.
constexpr auto kPoison = std::byte{0xFF};

std::size_t RoundUp(std::size_t v, std::size_t multiple) {
  return (v + multiple - 1) / multiple * multiple;
}

}  // namespace

Depth DepthOf(int bits) {
  if (bits != 8 && bits != 16 && bits != 32) {
    throw Error("a depth is 8, 16 or 32 bits, not " + std::to_string(bits));
  }
  return static_cast<Depth>(bits);
}

std::size_t PixelSize(Depth depth) { return static_cast<std::size_t>(depth) / 8 * 4; }

PF_PixelFormat FormatOf(Depth depth) {
  switch (depth) {
    case Depth::k8:
      return PF_PixelFormat_ARGB32;
    case Depth::k16:
      return PF_PixelFormat_ARGB64;
    case Depth::k32:
      return PF_PixelFormat_ARGB128;
  }
  return PF_PixelFormat_INVALID;
}

World::World(int width, int height, Depth depth, const WorldLayout& layout,
             const std::shared_ptr<MemoryPool>& pool)
    : depth_(depth), guarded_(layout.guards) {
  if (width < 0 || height < 0 || width > kMaxSide || height > kMaxSide) {
    throw Error("an image of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels: sides go up to " + std::to_string(kMaxSide));
  }
  if (layout.alignment < 4 || layout.alignment > static_cast<int>(kPage) ||
      !std::has_single_bit(static_cast<unsigned>(layout.alignment))) {
    throw Error("rows cannot be aligned to " + std::to_string(layout.alignment) + " bytes");
  }
  const auto alignment = static_cast<std::size_t>(layout.alignment);
  const std::size_t row_pixels = static_cast<std::size_t>(width) * PixelSize(depth);
  const std::size_t pad = guarded_ ? kCacheLine : 1;
  const std::size_t rowbytes = RoundUp(row_pixels + pad, alignment);
  // Small alignments are kept exact, so that nothing is better aligned than asked for.
  const std::size_t before =
      std::max(alignment, kCacheLine) + (alignment < kCacheLine ? alignment : 0);
  const auto rows = static_cast<std::size_t>(height);
  memory_size_ = RoundUp(before + rowbytes * rows + kCacheLine, kPage);
  memory_ = MemoryPool::Take(pool, memory_size_);

  const bool up = layout.bottom_up && height > 0;
  std::byte* const first = memory_.get() + before + (up ? rowbytes * (rows - 1) : 0);
  record_.world_flags = depth == Depth::k16 ? PF_WorldFlag_DEEP : 0;
  record_.data = reinterpret_cast<PF_Pixel*>(first);
  record_.rowbytes = static_cast<A_long>(rowbytes) * (up ? -1 : 1);
  record_.width = width;
  record_.height = height;
  if (guarded_) {
    std::memset(memory_.get(), std::to_integer<int>(kGuard), memory_size_);
    for (int y = 0; y < height; ++y) {
      std::memset(RowBytes(y), std::to_integer<int>(kPoison), row_pixels);
    }
  }
}

PF_LRect World::rect() const {
  return {record_.origin_x, record_.origin_y, record_.origin_x + record_.width,
          record_.origin_y + record_.height};
}

void World::SetOrigin(int x, int y) {
  record_.origin_x = x;
  record_.origin_y = y;
}

bool World::Holds(const PF_EffectWorld& record) const {
  const auto* const pixels = reinterpret_cast<const std::byte*>(record.data);
  return std::less_equal<>()(memory_.get(), pixels) &&
         std::less<>()(pixels, memory_.get() + memory_size_);
}

void World::Clear() {
  for (int y = 0; y < height(); ++y) {
    std::memset(RowBytes(y), 0, static_cast<std::size_t>(width()) * PixelSize(depth_));
  }
}

std::string World::GuardDamage() const {
  if (!guarded_) return {};
  const std::size_t row_pixels = static_cast<std::size_t>(width()) * PixelSize(depth_);
  const auto damaged = [](const std::byte* from, const std::byte* to) {
    return std::find_if(from, to, [](std::byte b) { return b != kGuard; });
  };
  const std::byte* const begin = memory_.get();
  const std::byte* const end = begin + memory_size_;
  const std::byte* from = begin;  // of the guards before the row in memory order
  const bool up = record_.rowbytes < 0;
  for (int i = 0; i < height(); ++i) {
    const int y = up ? height() - 1 - i : i;
    const std::byte* const row = RowBytes(y);
    if (const auto* at = damaged(from, row); at != row) {
      return std::to_string(row - at) + " bytes before row " + std::to_string(y);
    }
    from = row + row_pixels;
  }
  if (const auto* at = damaged(from, end); at != end) {
    return std::to_string(at - from) + " bytes after the end of row " +
           std::to_string(up ? 0 : height() - 1);
  }
  return {};
}

void CopyOverlap(const World& from, World& to) {
  if (from.depth() != to.depth()) throw Error("worlds of different depths cannot be copied");
  const PF_LRect shared = Intersection(from.rect(), to.rect());
  const std::size_t size = PixelSize(from.depth());
  const auto bytes = [&](const World& world, int y) {
    return world.RowBytes(y - world.rect().top) +
           static_cast<std::size_t>(shared.left - world.rect().left) * size;
  };
  for (int y = shared.top; y < shared.bottom; ++y) {
    std::memcpy(bytes(to, y), bytes(from, y),
                static_cast<std::size_t>(shared.right - shared.left) * size);
  }
}

}  // namespace hosting
