#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "pen_times.h"

namespace app {

/// A drawing that is to become the way of a brush.
struct PathImport {
  std::filesystem::path file;    // .svg or .csv
  std::vector<std::string> ids;  // of an SVG's shapes or groups; empty: all that are visible
  PenTimes times;                // of an SVG; a CSV has its own, in frames of that rate
  /// Of a CSV: few smooth keys that stay within so many pixels of its rows; 0: a key for each row.
  double fit = 0;
};

/// Of the layer, pixels.
struct LayerSize {
  int width = 0;
  int height = 0;
};

/// The drawing that `text`, which the file holds, describes. Without a layer, in the page's pixels.
/// With one, in its pixels: the picture that lies in the drawing, or else the page, is the layer. A
/// page of another shape, or a drawing beside it, is fitted into the layer, and a note says so.
/// CSV: in pixels of the layer anyway. Throws InputError.
DrawnStrokes ImportPath(const PathImport& wanted, const std::string& text,
                        const std::optional<LayerSize>& layer);

}  // namespace app
