// Exact ratios: frame rates, down-sampling factors, pixel aspect ratios.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace hosting {

/// num / den in lowest terms, den > 0.
class Rational {
 public:
  constexpr Rational() = default;
  /// Throws Error when den is 0.
  Rational(std::int64_t num, std::int64_t den);

  /// Reads "30000/1001", "29.97" or "30"; throws Error for anything else.
  static Rational Parse(std::string_view text);

  std::int64_t num() const { return num_; }
  std::int64_t den() const { return den_; }
  double value() const { return static_cast<double>(num_) / static_cast<double>(den_); }
  /// "30000/1001", or "30" for a whole number.
  std::string Text() const;
  bool operator==(const Rational&) const = default;

 private:
  std::int64_t num_ = 1;
  std::int64_t den_ = 1;
};

}  // namespace hosting
