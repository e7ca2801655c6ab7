// Pictures as files hold them: RGBA, straight alpha, white 255, 65535 or 1.0.
#pragma once

#include <cstdint>
#include <utility>
#include <variant>
#include <vector>

#include "hosting/rational.h"
#include "hosting/world.h"

namespace hosting {

class Picture {
 public:
  using Pixels =
      std::variant<std::vector<std::uint8_t>, std::vector<std::uint16_t>, std::vector<float>>;

  /// Rows from the top, red, green, blue, alpha interleaved, nothing between rows. Throws Error
  /// unless pixels holds 4 * width * height numbers and both sizes are positive.
  Picture(int width, int height, Pixels pixels);
  /// The pixels of a world at that depth: all of them, or those of some rows. Throws Error when the
  /// world has no such rows.
  Picture(const World& world, Depth depth);
  Picture(const World& world, Depth depth, int first_row, int rows);

  int width() const { return width_; }
  int height() const { return height_; }
  const Pixels& pixels() const { return pixels_; }
  /// Moves the pixels out of a picture that is no longer needed.
  Pixels TakePixels() && { return std::move(pixels_); }

  /// The picture as a world. Each world pixel is the mean of what it covers of the picture,
  /// alpha-weighted; factors are world pixels a picture pixel, above 0 and at most 4. The world is
  /// ceil(width * factor_x) by ceil(height * factor_y). Every conversion rounds to nearest.
  World ToWorld(Depth depth, Rational factor_x = {}, Rational factor_y = {},
                const WorldLayout& layout = {},
                const std::shared_ptr<MemoryPool>& pool = nullptr) const;

 private:
  int width_;
  int height_;
  Pixels pixels_;
};

/// Pixels of a down-sampled side: ceil(pixels * factor).
int ReducedSize(int pixels, Rational factor);

}  // namespace hosting
