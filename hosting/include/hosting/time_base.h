// The host's time units.
#pragma once

#include <cstdint>

#include "hosting/rational.h"
#include "pf_types.h"

namespace hosting {

/// The rate that is meant: 23.976 and 23.98 are written for 24000/1001, 29.97 for 30000/1001, and
/// likewise for 48, 60 and 120. All other rates are meant as written.
Rational StandardFrameRate(Rational written);

/// Time units in which a frame of the composition and a frame of the layer are both whole numbers
/// of at least 1000 units, so that an effect that samples inside a frame finds times to sample at.
class TimeBase {
 public:
  /// 30 fps, for layer and composition.
  TimeBase() : TimeBase(Rational(30, 1)) {}
  /// Throws Error unless both rates are positive and 3000 seconds, the longest span that the effect
  /// looks back, fit into 32 bits.
  explicit TimeBase(Rational frame_rate) : TimeBase(frame_rate, frame_rate) {}
  TimeBase(Rational frame_rate, Rational layer_frame_rate);

  Rational frame_rate() const { return frame_rate_; }
  /// Units a second.
  A_u_long scale() const { return scale_; }
  /// Units of a frame of the composition, and of the layer.
  A_long step() const { return step_; }
  A_long layer_step() const { return layer_step_; }

  double Seconds(A_long time) const { return static_cast<double>(time) / scale_; }
  /// The longest time from 0 that may be rendered, so that the look back still fits.
  double MaxSeconds() const;
  /// Start of a frame, negative ones too; throws Error beyond MaxSeconds().
  A_long FrameTime(std::int64_t frame) const;
  /// seconds in units, rounded to nearest; throws Error beyond MaxSeconds().
  A_long Time(double seconds) const;

 private:
  A_long Checked(double units) const;

  Rational frame_rate_;
  A_u_long scale_;
  A_long step_;
  A_long layer_step_;
};

}  // namespace hosting
