#pragma once

#include <string>
#include <vector>

#include "affine.h"
#include "svg_path.h"

namespace app {

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
/// write it: with groups, transformations, a view box and lengths in any unit. `file` begins the
/// message "file:line:column: ..." (columns in bytes, both from 1) about text that is not XML.
/// Throws InputError.
DrawnPath ReadDrawnPath(const std::string& file, const std::string& svg, const std::string& id);

}  // namespace app
