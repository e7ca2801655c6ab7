#include "hosting/time_base.h"

#include <cmath>
#include <limits>
#include <numeric>

#include "hosting/errors.h"

namespace hosting {
namespace {

constexpr std::int64_t kMinStep = 1000;
// How far back from the current time the effect's longest "Time Span" reaches, with a frame to
// spare.
constexpr double kLongestLookBack = 3001;
constexpr double kMaxUnits = std::numeric_limits<A_long>::max();

std::int64_t CheckedRate(Rational rate, const char* whose) {
  if (rate.num() <= 0) {
    throw Error(std::string(whose) + " frame rate must be positive, not " + rate.Text());
  }
  return rate.num();
}

}  // namespace

Rational StandardFrameRate(Rational written) {
  if (written.den() == 1) return written;
  for (const std::int64_t whole : {24, 30, 48, 60, 120}) {
    const Rational broadcast(whole * 1000, 1001);
    // Two decimals are the fewest that people write.
    if (std::abs(written.value() - broadcast.value()) < 0.00501) return broadcast;
  }
  return written;
}

TimeBase::TimeBase(Rational frame_rate, Rational layer_frame_rate) : frame_rate_(frame_rate) {
  const std::int64_t a = CheckedRate(frame_rate, "the");
  const std::int64_t b = CheckedRate(layer_frame_rate, "the layer's");
  const auto refuse = [&] {
    throw Error("frame rates of " + frame_rate.Text() + " and " + layer_frame_rate.Text() +
                " cannot be told apart finely enough: 3000 seconds do not fit into 32-bit times");
  };
  // Compared as doubles first: the exact product may not fit into 64 bits.
  if (static_cast<double>(a) / static_cast<double>(std::gcd(a, b)) * static_cast<double>(b) >
      kMaxUnits) {
    refuse();
  }
  std::int64_t scale = std::lcm(a, b);
  const auto step = [&](Rational rate) { return scale / rate.num() * rate.den(); };
  const auto fits = [&](Rational rate) {
    const std::int64_t frames = scale / rate.num();  // exact: scale is a multiple of the rate
    return static_cast<double>(frames) * static_cast<double>(rate.den()) <= kMaxUnits;
  };
  if (!fits(frame_rate) || !fits(layer_frame_rate)) refuse();
  while (step(frame_rate) < kMinStep || step(layer_frame_rate) < kMinStep) scale *= 2;
  if (!fits(frame_rate) || !fits(layer_frame_rate) ||
      static_cast<double>(scale) * kLongestLookBack > kMaxUnits) {
    refuse();
  }
  scale_ = static_cast<A_u_long>(scale);
  step_ = static_cast<A_long>(step(frame_rate));
  layer_step_ = static_cast<A_long>(step(layer_frame_rate));
}

double TimeBase::MaxSeconds() const { return kMaxUnits / scale_ - kLongestLookBack; }

A_long TimeBase::Checked(double units) const {
  if (!(std::abs(units) <= MaxSeconds() * scale_)) {
    throw Error("a time of " + std::to_string(units / scale_) + " s is beyond " +
                std::to_string(MaxSeconds()) + " s, the longest at " + frame_rate_.Text() +
                " frames a second");
  }
  return static_cast<A_long>(std::llround(units));
}

A_long TimeBase::FrameTime(std::int64_t frame) const {
  return Checked(static_cast<double>(frame) * step_);
}

A_long TimeBase::Time(double seconds) const { return Checked(seconds * scale_); }

}  // namespace hosting
