// Mean of an image over a box.
//
// Positions are 16.16 pixels of the source; pixel (i, j) covers [i-0.5, i+0.5] x [j-0.5, j+0.5].
// The box reaches a radius to each side of (x, y); a side of no length counts as 1/65536 pixel.
// Alpha is the mean over the box with transparent outside the source, colour the alpha-weighted
// mean, zero where alpha is zero. 8 and 16 bits are exact, rounded to nearest.
#pragma once

#include <memory>
#include <mutex>
#include <variant>
#include <vector>

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
Pixel PlainAreaSample(const PF_EffectWorld& source, const SampleBox& box);

/// A source together with its sums, which make a sample cost the same for any box. The sums are
/// made at the first box that is wider than a few pixels, in at most 40 bytes a pixel, by whichever
/// thread comes first. At 8 and 16 bits samples equal the plain ones; at float they differ by less
/// than 1e-6 of the brightest thing around. Float sources that would be less exact, having pixels
/// that are infinite, no numbers or immensely bright, are added up plainly.
class AreaSampler {
 public:
  /// source's pixels are borrowed and must not change.
  AreaSampler(const PF_EffectWorld& source, Depth depth);
  ~AreaSampler();

  const PF_EffectWorld& source() const { return source_; }
  Depth depth() const { return depth_; }

  /// From any thread. Pixel must be the one of depth().
  template <class Pixel>
  Pixel Sample(const SampleBox& box) const;

 private:
  struct Sums;

  const Sums* GetSums() const;

  PF_EffectWorld source_;
  Depth depth_;
  mutable std::once_flag once_;
  mutable std::unique_ptr<const Sums> sums_;
};

}  // namespace hosting
