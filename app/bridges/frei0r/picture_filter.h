#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "hosting/render.h"
#include "scene.h"

namespace app {

/// Draws a scene's stroke on pictures that another program hands over: they are the layer. To be
/// used by one thread at a time.
class PictureFilter {
 public:
  PictureFilter(int width, int height) : width_(width), height_(height) {}

  void SetScene(const std::string& file);
  /// A look's name or file; empty: none.
  void SetLook(const std::string& look);
  /// Lies over scene and look, as --set does; an empty value lets them say it again.
  void SetControl(const std::string& name, const std::string& json);
  void set_time_scale(double scale) { time_scale_ = scale; }
  void set_offset(double seconds) { offset_ = seconds; }
  void set_transparent(bool transparent) { transparent_ = transparent; }

  /// Both pictures are RGBA with straight alpha, rows without gaps. `time` is what the host calls
  /// it: seconds, or milliseconds; where it is no time at all, frames are counted. Throws Error for
  /// a scene that cannot be used.
  void Draw(double time, const std::uint8_t* from, std::uint8_t* to);

 private:
  void Open();
  double Seconds(double time);

  int width_;
  int height_;
  std::string scene_file_;
  std::string look_;
  std::map<std::string, std::string> controls_;
  double time_scale_ = 1;
  double offset_ = 0;
  bool transparent_ = false;

  std::shared_ptr<const hosting::Picture> layer_;
  std::unique_ptr<Scene> scene_;
  std::optional<hosting::Renderer> renderer_;  // none: something has changed since
  double last_time_ = 0;
  double unit_ = 0;  // seconds that the host's 1 means; 0: not known yet
  int drawn_ = 0;    // frames, for hosts whose times mean nothing
};

}  // namespace app
