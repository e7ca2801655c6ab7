#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "hosting/keyframes.h"

namespace app {

/// A drawn path as keys: from the first second to the last at even speed along its length, corner
/// by corner, with tangents where it is curved.
///
/// SVG: the path element with this id, or the first one drawn, in the page's pixels; all path
/// commands but arcs. With a layer, in the layer's pixels: the picture that lies in the drawing, or
/// else the page, is the layer. CSV: rows "frame,x,y", a key for each, `frame_rate` frames a
/// second; `from`, `to` and `smooth` are not used. Throws InputError and FileError.
struct PathImport {
  std::filesystem::path file;  // .svg or .csv
  std::string id;
  double from = 0;  // seconds
  double to = 3;
  bool smooth = false;  // starts and ends gently
  double frame_rate = 30;
  std::filesystem::path layer{};  // empty: only the path is wanted
};

std::vector<hosting::Key<hosting::Point>> ImportPath(const PathImport& wanted);
/// The same from what the file holds.
std::vector<hosting::Key<hosting::Point>> ImportPath(const PathImport& wanted,
                                                     const std::string& text);

/// The keys as a scene's "Brush Position", each line after `indent`.
std::string BrushPositionText(const std::vector<hosting::Key<hosting::Point>>& keys,
                              const std::string& indent = {});

/// Prints the keys as a scene's "Brush Position" on standard output, or a whole scene when there is
/// a layer.
void RunImportPath(const PathImport& wanted);

}  // namespace app
