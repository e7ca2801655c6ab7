// Images as the interface lends them.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "hosting/memory.h"
#include "pf_types.h"

namespace hosting {

/// Pixels; the most that a side of an image may have.
inline constexpr int kMaxSide = 30000;

/// Bits a channel. Pixels are PF_Pixel, PF_Pixel16 and PF_PixelFloat.
enum class Depth { k8 = 8, k16 = 16, k32 = 32 };

/// Throws Error unless bits is 8, 16 or 32.
Depth DepthOf(int bits);
std::size_t PixelSize(Depth depth);
PF_PixelFormat FormatOf(Depth depth);
template <class Pixel>
inline constexpr Depth kDepthOf = static_cast<Depth>(8 * sizeof(Pixel::red));

/// Row y of an image whose pixels are of that type.
template <class Pixel>
Pixel* RowOf(const PF_EffectWorld& world, std::ptrdiff_t y) {
  return reinterpret_cast<Pixel*>(reinterpret_cast<std::byte*>(world.data) + y * world.rowbytes);
}

/// How rows lie in memory. The default suits vector loads; the others are for finding effects that
/// take more for granted than the interface promises.
struct WorldLayout {
  int alignment = 64;      // bytes, of rows: a power of two from 4 to 4096
  bool bottom_up = false;  // negative rowbytes
  bool guards = false;     // guard bytes around every row, poison in fresh pixels
};

/// Owns the pixels of one image; rows are padded. Content is undefined until written.
class World {
 public:
  World() = default;
  /// Sizes of 0 are allowed. Throws Error for negative or unreasonable ones.
  World(int width, int height, Depth depth, const WorldLayout& layout = {},
        const std::shared_ptr<MemoryPool>& pool = nullptr);
  World(World&&) noexcept = default;
  World& operator=(World&&) noexcept = default;

  int width() const { return record_.width; }
  int height() const { return record_.height; }
  Depth depth() const { return depth_; }
  /// Where the world lies on its layer, in buffer pixels.
  PF_LRect rect() const;
  void SetOrigin(int x, int y);

  /// The record that is lent to the effect.
  const PF_EffectWorld& record() const { return record_; }
  PF_EffectWorld* lend() { return &record_; }

  /// Row y as pixels; Pixel must be the one of depth().
  template <class Pixel>
  Pixel* Row(int y) {
    return RowOf<Pixel>(record_, y);
  }
  template <class Pixel>
  const Pixel* Row(int y) const {
    return RowOf<const Pixel>(record_, y);
  }
  std::byte* RowBytes(int y) const { return RowOf<std::byte>(record_, y); }

  /// Whether the record's pixels are some of this world's.
  bool Holds(const PF_EffectWorld& record) const;

  /// All pixels transparent black.
  void Clear();
  /// Where a guard byte was overwritten, as "row 3, 5 bytes after its end"; empty when none was or
  /// the world has no guards.
  std::string GuardDamage() const;
  bool guarded() const { return guarded_; }

 private:
  MemoryPool::Block memory_;
  std::size_t memory_size_ = 0;
  PF_EffectWorld record_{};
  Depth depth_ = Depth::k8;
  bool guarded_ = false;
};

/// Copies the part of from that lies inside to, both placed by their origins; depths must be equal.
void CopyOverlap(const World& from, World& to);

}  // namespace hosting
