#pragma once

#include <string>
#include <vector>

#include "scene.h"

namespace app {

/// What a scene says but can hardly mean, a line each: a brush that rests or is never inside the
/// picture, keys after the end, lights that do not shine, a layer that ends too early.
std::vector<std::string> SceneNotes(const Scene& scene);

}  // namespace app
