#include "picture_filter.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "errors.h"
#include "files.h"
#include "layer_source.h"
#include "over.h"

namespace app {
namespace {

const hosting::Effect& TheEffect() {
  static const hosting::Effect effect(FindEffect({}));
  return effect;
}

/// Of a frame; hosts keep times as floats.
constexpr double kNearWhole = 0.02;

/// No clip is that long, neither in seconds nor in milliseconds.
constexpr double kLongest = 1e9;

bool IsNearWhole(double v) { return std::abs(v - std::round(v)) < kNearWhole; }

}  // namespace

void PictureFilter::SetScene(const std::string& file) {
  if (file == scene_file_) return;
  scene_file_ = file;
  renderer_.reset();
}

void PictureFilter::SetLook(const std::string& look) {
  if (look == look_) return;
  look_ = look;
  renderer_.reset();
}

void PictureFilter::SetControl(const std::string& name, const std::string& json) {
  std::string& value = controls_[name];
  if (value == json) return;
  value = json;
  renderer_.reset();
}

void PictureFilter::Open() {
  if (scene_file_.empty()) throw InputError("no scene is named");
  SceneChanges changes;
  if (!look_.empty()) changes.preset = FindPreset(look_);
  for (const auto& [name, value] : controls_) {
    if (!value.empty()) changes.settings.push_back(name + '=' + value);
  }
  // Of the scene's own layer only the rate and the length count, if it is there: the host's
  // pictures take its place.
  const LayerOpener open = [this](const std::filesystem::path& file) {
    LayerSource layer;
    try {
      layer = OpenLayer(file);
    } catch (const FileError&) {
    }
    layer.picture = [this](std::int64_t, hosting::Rational) { return layer_; };
    layer.width = width_;
    layer.height = height_;
    return layer;
  };
  scene_ = std::make_unique<Scene>(ReadScene(scene_file_, TheEffect(), open, changes));
  hosting::Setup setup = scene_->setup;
  setup.picture = [this](std::int64_t) { return layer_; };
  renderer_.emplace(TheEffect(), std::move(setup), hosting::RenderOptions{});
}

/// Hosts are to tell seconds; some tell milliseconds. The step to the next frame says which; a
/// frame alone is one of the scene's in the one or in the other.
double PictureFilter::Seconds(double time) {
  const double rate = scene_->setup.time.frame_rate().value();
  const int counted = drawn_++;
  if (!(time >= 0 && time < kLongest)) return counted / rate;
  const double step = std::abs(time - last_time_);
  last_time_ = time;
  if (unit_ == 0 && step > 0) {
    if (std::abs(step * rate - 1) < kNearWhole) unit_ = 1;
    if (std::abs(step * rate / 1000 - 1) < kNearWhole) unit_ = 0.001;
  }
  if (unit_ != 0) return time * unit_;
  const double frames = time * rate;
  const bool as_seconds = IsNearWhole(frames) && frames < scene_->frames;
  const bool as_milliseconds = IsNearWhole(frames / 1000) && frames / 1000 < scene_->frames;
  return !as_seconds && as_milliseconds ? time / 1000 : time;
}

void PictureFilter::Draw(double time, const std::uint8_t* from, std::uint8_t* to) {
  const std::size_t size = 4 * static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  layer_ = std::make_shared<const hosting::Picture>(width_, height_,
                                                    std::vector<std::uint8_t>(from, from + size));
  if (!renderer_) Open();
  const hosting::TimeBase& base = scene_->setup.time;
  const double seconds = Seconds(time) * time_scale_ + offset_;
  const double frame = seconds * base.frame_rate().value();
  const A_long at = IsNearWhole(frame) ? base.FrameTime(std::llround(frame)) : base.Time(seconds);
  hosting::Frame drawn = renderer_->Render(at);
  if (!transparent_ && drawn.layer) PutOver(drawn.picture, *drawn.layer);
  const hosting::Picture picture(drawn.picture, hosting::Depth::k8);
  std::memcpy(to, std::get<std::vector<std::uint8_t>>(picture.pixels()).data(), size);
}

}  // namespace app
