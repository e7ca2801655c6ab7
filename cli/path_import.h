#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "hosting/keyframes.h"

namespace cli {

/// A drawn path as keys: from the first second to the last at even speed along its length, corner
/// by corner, with tangents where it is curved.
///
/// SVG: the path element with this id, or the only or first one. All path commands but arcs;
/// transformations are not applied. CSV: rows "frame,x,y", a key for each, `frame_rate` frames a
/// second; `from`, `to` and `smooth` are not used. Throws InputError and FileError.
struct PathImport {
  std::filesystem::path file;  // .svg or .csv
  std::string id;
  double from = 0;  // seconds
  double to = 3;
  bool smooth = false;  // starts and ends gently
  double frame_rate = 30;
};

std::vector<hosting::Key<hosting::Point>> ImportPath(const PathImport& wanted);

/// Prints the keys as a scene's "Brush Position" on standard output.
void RunImportPath(const PathImport& wanted);

}  // namespace cli
