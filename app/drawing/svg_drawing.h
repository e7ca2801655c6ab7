#pragma once

#include <string>
#include <vector>

#include "svg_path.h"

namespace app {

/// x' = a x + c y + e, y' = b x + d y + f
struct Affine {
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double e = 0;
  double f = 0;

  hosting::Point operator()(hosting::Point p) const;
  /// First `inner`, then this.
  Affine operator*(const Affine& inner) const;
  /// Throws InputError when everything falls onto a line.
  Affine Inverse() const;
};

/// A path of a drawing, with all transformations applied, in the page's pixels, 96 to an inch.
struct DrawnPath {
  std::vector<Curve> curves;
  double page_width = 0;  // 0: the drawing does not say
  double page_height = 0;
  /// Whether there is a picture in the drawing, and where: the unit square's way onto the page.
  bool has_picture = false;
  Affine picture;
};

/// The path with this id, or the first that is drawn when `id` is empty, from an SVG as editors
/// write it: with groups, transformations, a view box and lengths in any unit. Throws InputError.
DrawnPath ReadDrawnPath(const std::string& svg, const std::string& id);

}  // namespace app
