#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "hosting/keyframes.h"
#include "scene.h"

namespace app {

/// A drawn path as keys: from the first second to the last at even speed along its length, corner
/// by corner, with tangents where it is curved.
///
/// SVG: the path element with this id, or the first one drawn, in the page's pixels; all path
/// commands but arcs. With a layer, in the layer's pixels: the picture that lies in the drawing, or
/// else the page, is the layer. CSV: rows "frame,x,y", a key for each, `frame_rate` frames a
/// second; `from`, `to` and `smooth` are not used.
struct PathImport {
  std::filesystem::path file;  // .svg or .csv
  std::string id;
  double from = 0;  // seconds
  double to = 3;
  bool smooth = false;  // starts and ends gently
  double frame_rate = 30;
  std::filesystem::path layer{};  // empty: only the path is wanted
};

/// The keys of the path that `text`, which the file holds, describes. `open` is called for the
/// layer of an SVG. Throws InputError, and what `open` throws.
std::vector<hosting::Key<hosting::Point>> ImportPath(const PathImport& wanted,
                                                     const std::string& text,
                                                     const LayerOpener& open);

/// The keys as a scene's "Brush Position", each line after `indent`. A key is one line, in the
/// order in which people write it.
std::string BrushPositionText(const std::vector<hosting::Key<hosting::Point>>& keys,
                              const std::string& indent = {});

/// A whole scene that the keys, which are not none, and the layer make.
std::string SceneText(const PathImport& wanted,
                      const std::vector<hosting::Key<hosting::Point>>& keys);

}  // namespace app
