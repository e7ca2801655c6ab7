#pragma once

#include <json/json.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "hosting/render.h"
#include "scene.h"

namespace app {

/// The effect that belongs to this module.
const hosting::Effect& TheEffect();

/// A scene that scripts change and render. What they set is checked by the scene's own format.
class PythonScene {
 public:
  /// Reads a scene's file.
  explicit PythonScene(const std::string& file);
  /// A scene on pixels of shape (height, width, 4) or (height, width, 3), 8 or 16 bits or float.
  PythonScene(const pybind11::array& layer, double frame_rate, double duration);

  pybind11::object Get(const std::string& control) const;
  void Set(const std::string& control, const pybind11::handle& value);
  void Remove(const std::string& control);
  /// A look's name or file: its controls take the place of the scene's.
  void ApplyLook(const std::string& look);
  /// Writes the scene whole or not at all. Throws Error; a scene on pixels has no file to name.
  void Save(const std::string& file) const;

  int width() const { return scene_->setup.width; }
  int height() const { return scene_->setup.height; }
  int frames() const { return scene_->frames; }
  double frame_rate() const { return scene_->setup.time.frame_rate().value(); }

  struct How {
    int depth = 8;
    std::string what = "picture";
    std::string over;  // a backdrop; empty: none
    bool premultiplied = false;
  };
  /// An array of shape (height, width, 4), or (height, width) for the field. Other threads of the
  /// script run meanwhile, and may change the scene: the frame is that of the scene as it was.
  pybind11::array Render(int frame, const How& how);

 private:
  /// Reads the scene anew, with another description; keeps what there was when it is wrong.
  void Read(Json::Value json);

  std::filesystem::path folder_;
  std::string name_;
  std::shared_ptr<const hosting::Picture> layer_;  // of a scene on pixels
  Json::Value json_;
  std::shared_ptr<const Scene> scene_;
  std::mutex rendering_;  // one frame at a time; never waited for while Python's lock is held
};

}  // namespace app
