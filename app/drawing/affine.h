#pragma once

#include <string_view>
#include <vector>

#include "hosting/values.h"

namespace app {

/// x' = a x + c y + e, y' = b x + d y + f
struct Affine {
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double e = 0;
  double f = 0;

  static Affine Translation(double x, double y) { return {1, 0, 0, 1, x, y}; }
  static Affine Scale(double x, double y) { return {x, 0, 0, y, 0, 0}; }

  hosting::Point operator()(hosting::Point p) const;
  /// First `inner`, then this.
  Affine operator*(const Affine& inner) const;
  /// Throws InputError when everything falls onto a line.
  Affine Inverse() const;
};

/// All numbers that a text begins with, between them spaces and commas.
std::vector<double> ParseNumbers(std::string_view text);

/// What an SVG attribute "transform" says, as "translate(3 4) rotate(90)". Throws InputError for a
/// transformation that SVG does not have.
Affine ParseTransform(std::string_view text);

}  // namespace app
