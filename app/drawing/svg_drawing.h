#pragma once

#include <string>
#include <vector>

#include "affine.h"
#include "svg_path.h"

namespace app {

/// What is drawn, with all transformations applied, in the page's pixels, 96 to an inch.
struct Drawing {
  std::vector<Stroke> strokes;  // in document order, each with a length
  double page_width = 0;        // 0: the drawing does not say
  double page_height = 0;
  /// Whether there is a picture in the drawing, and where: the unit square's way onto the page.
  bool has_picture = false;
  Affine picture;
  std::vector<std::string> notes;  // what was passed over
};

/// The visible shapes of an SVG as editors write it, or those with these ids or labels and those
/// within groups of that name. `file` begins the message "file:line:column: ..." (columns in bytes,
/// both from 1) about what is wrong in the text. Throws InputError, also when nothing is to be
/// drawn.
Drawing ReadSvgDrawing(const std::string& file, const std::string& svg,
                       const std::vector<std::string>& ids);

}  // namespace app
