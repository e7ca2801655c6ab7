#pragma once

#include <string>
#include <vector>

#include "path_import.h"
#include "scene.h"
#include "shots.h"

namespace app {

/// Where a scene comes from: a file that says it all, or a layer and a drawing.
struct SceneSource {
  std::filesystem::path file;  // a scene (.json); with a drawing the layer
  PathImport drawing;          // its `file` is empty when there is none
  bool has_end = false;        // else it is done when the movie ends, over a picture after 3 s
  std::filesystem::path save;  // where the scene is written; empty: nowhere
  Overwrite overwrite = Overwrite::kAsk;  // what is there
};

struct OpenedScene {
  Scene scene;
  std::string text;                // of the scene's file
  std::vector<std::string> notes;  // what was chosen, and what can hardly be meant
};

/// Reads a scene, or makes one: the drawing in the picture, done in the last frame, with blobs as
/// close as its fastest place and the layer's size need. Throws Error.
OpenedScene OpenScene(const SceneSource& source, const SceneChanges& changes,
                      const hosting::Effect& effect);

}  // namespace app
