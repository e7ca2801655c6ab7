#include "affine.h"

#include <fmt/format.h>

#include <cmath>
#include <numbers>

#include "errors.h"
#include "numbers.h"

namespace app {
namespace {

using hosting::Point;

constexpr std::string_view kBlank = " \t\r\n";
constexpr std::string_view kBetweenNumbers = " \t\r\n,";

double Radians(double degrees) { return degrees * std::numbers::pi / 180; }

Affine Rotation(double degrees) {
  const double radians = Radians(degrees);
  return {std::cos(radians), std::sin(radians), -std::sin(radians), std::cos(radians), 0, 0};
}

Affine OneTransform(std::string_view name, const std::vector<double>& n) {
  if (name == "matrix" && n.size() == 6) return {n[0], n[1], n[2], n[3], n[4], n[5]};
  if (name == "translate" && n.size() == 1) return Affine::Translation(n[0], 0);
  if (name == "translate" && n.size() == 2) return Affine::Translation(n[0], n[1]);
  if (name == "scale" && n.size() == 1) return Affine::Scale(n[0], n[0]);
  if (name == "scale" && n.size() == 2) return Affine::Scale(n[0], n[1]);
  if (name == "rotate" && n.size() == 1) return Rotation(n[0]);
  if (name == "rotate" && n.size() == 3) {
    return Affine::Translation(n[1], n[2]) * Rotation(n[0]) * Affine::Translation(-n[1], -n[2]);
  }
  if (name == "skewX" && n.size() == 1) return {1, 0, std::tan(Radians(n[0])), 1, 0, 0};
  if (name == "skewY" && n.size() == 1) return {1, std::tan(Radians(n[0])), 0, 1, 0, 0};
  throw InputError(fmt::format("SVG: the transformation \"{}\" is not understood", name));
}

}  // namespace

Point Affine::operator()(Point p) const { return {a * p.x + c * p.y + e, b * p.x + d * p.y + f}; }

Affine Affine::operator*(const Affine& inner) const {
  const Point origin = (*this)({inner.e, inner.f});
  return {a * inner.a + c * inner.b,
          b * inner.a + d * inner.b,
          a * inner.c + c * inner.d,
          b * inner.c + d * inner.d,
          origin.x,
          origin.y};
}

Affine Affine::Inverse() const {
  const double area = a * d - b * c;
  if (!std::isnormal(area)) throw InputError("SVG: the picture in the drawing has no size");
  return {d / area, -b / area, -c / area, a / area, (c * f - d * e) / area, (b * e - a * f) / area};
}

std::vector<double> ParseNumbers(std::string_view text) {
  std::vector<double> numbers;
  for (;;) {
    SkipAny(text, kBetweenNumbers);
    const auto number = TakeNumber(text);
    if (!number) return numbers;
    numbers.push_back(*number);
  }
}

Affine ParseTransform(std::string_view text) {
  Affine all;
  for (;;) {
    SkipAny(text, kBetweenNumbers);
    const std::size_t open = text.find('(');
    const std::size_t close = text.find(')', open);
    if (open == text.npos || close == text.npos) return all;
    std::string_view name = text.substr(0, open);
    name = name.substr(0, name.find_last_not_of(kBlank) + 1);
    all = all * OneTransform(name, ParseNumbers(text.substr(open + 1, close - open - 1)));
    text.remove_prefix(close + 1);
  }
}

}  // namespace app
