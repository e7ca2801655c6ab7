#include "hosting/rational.h"

#include <charconv>
#include <limits>
#include <numeric>

#include "hosting/errors.h"

namespace hosting {
namespace {

// Digits that surely fit into 64 bits together with a power of ten as denominator.
constexpr std::size_t kMaxDigits = 15;

[[noreturn]] void Refuse(std::string_view text) {
  throw Error("\"" + std::string(text) + "\" is no ratio: expected 30, 29.97 or 30000/1001");
}

std::int64_t ParseDigits(std::string_view digits, std::string_view text) {
  std::int64_t value = 0;
  const char* end = digits.data() + digits.size();
  if (digits.empty() || digits.size() > kMaxDigits || digits.front() == '-') Refuse(text);
  if (std::from_chars(digits.data(), end, value).ptr != end) Refuse(text);
  return value;
}

}  // namespace

Rational::Rational(std::int64_t num, std::int64_t den) {
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  if (den == 0) throw Error("a ratio's denominator cannot be 0");
  if (num == kLowest || den == kLowest) throw Error("a ratio's number is too large");
  const std::int64_t divisor = std::gcd(num, den) * (den < 0 ? -1 : 1);
  num_ = num / divisor;
  den_ = den / divisor;
}

Rational Rational::Parse(std::string_view text) {
  if (const auto slash = text.find('/'); slash != text.npos) {
    const std::int64_t den = ParseDigits(text.substr(slash + 1), text);
    if (den == 0) Refuse(text);
    return {ParseDigits(text.substr(0, slash), text), den};
  }
  const auto point = text.find('.');
  if (point == text.npos) return {ParseDigits(text, text), 1};

  const std::string_view fraction = text.substr(point + 1);
  const std::string digits = std::string(text.substr(0, point)) + std::string(fraction);
  std::int64_t den = 1;
  const std::int64_t num = ParseDigits(digits, text);
  if (point == 0 || fraction.empty()) Refuse(text);
  for (std::size_t i = 0; i < fraction.size(); ++i) den *= 10;
  return {num, den};
}

std::string Rational::Text() const {
  return den_ == 1 ? std::to_string(num_) : std::to_string(num_) + "/" + std::to_string(den_);
}

}  // namespace hosting
