// Mean of an image over a box.
//
// Positions are 16.16 pixels of the source; pixel (i, j) covers [i-0.5, i+0.5] x [j-0.5, j+0.5].
// The box reaches a radius to each side of (x, y); a side of no length counts as 1/65536 pixel.
// Alpha is the mean over the box with transparent outside the source, colour the alpha-weighted
// mean, zero where alpha is zero. 8 and 16 bits are exact, rounded to nearest.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <variant>

#include "hosting/memory.h"
#include "hosting/world.h"
#include "pf_types.h"

namespace hosting {

struct SampleBox {
  PF_Fixed x;
  PF_Fixed y;
  PF_Fixed x_radius;  // negative counts as 0
  PF_Fixed y_radius;
};

/// By adding up every pixel that the box touches.
template <class Pixel>
void PlainAreaSample(const PF_EffectWorld& source, const SampleBox& box, Pixel* out);

/// A source together with its sums, which make a sample cost the same for any box. The sums are
/// made where the first boxes fall that are wider than a few pixels, by the threads that ask for
/// them. At 8 and 16 bits samples equal the plain ones; at float they
/// differ by less than 1e-6 of the brightest thing around. Float sources that would be less exact,
/// having pixels that are infinite, no numbers or immensely bright, are added up plainly.
class AreaSampler {
 public:
  /// source's pixels are borrowed and must not change. The sums' memory comes from the pool.
  AreaSampler(const PF_EffectWorld& source, Depth depth,
              std::shared_ptr<MemoryPool> pool = nullptr);
  ~AreaSampler();
  /// Memory that the sums of a source of this size take; 0 for narrow ones, which have none.
  static std::size_t TableBytes(int width, int height, Depth depth);

  const PF_EffectWorld& source() const { return source_; }
  Depth depth() const { return depth_; }

  /// From any thread. Pixel must be the one of depth().
  template <class Pixel>
  void Sample(const SampleBox& box, Pixel* out) const;

 private:
  struct Sums;

  template <class Pixel>
  const Sums* GetSums() const;

  PF_EffectWorld source_;
  Depth depth_;
  std::shared_ptr<MemoryPool> pool_;
  mutable std::once_flag once_;
  mutable std::atomic<bool> asked_{false};  // whether once_ has happened, for less than asking it
  mutable std::unique_ptr<const Sums> sums_;
};

}  // namespace hosting
