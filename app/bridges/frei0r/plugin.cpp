// The effect as a frei0r filter: for ffmpeg, melt and the editors that load such plug-ins.
//
// Hosts run several instances on several threads and may ask for the same frame twice; one lock
// keeps them apart. Numbers of frei0r go from 0 to 1: they stand for a slider's range.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>

#include "errors.h"
#include "picture_filter.h"

extern "C" {
#include <frei0r.h>
}

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

enum class Kind { kScene, kLook, kTimeScale, kOffset, kTransparent, kNumber, kChoice, kColor };

struct Parameter {
  Kind kind;
  const char* name;
  const char* says;
  double min = 0;  // kNumber, kChoice: what 0 and 1 stand for
  double max = 1;
  double initial = 0;  // where it leaves the scene alone
};

constexpr Parameter kParameters[] = {
    {Kind::kScene, "Scene", "File of the scene: brush, pen, lights and controls"},
    {Kind::kLook, "Look", "Name or file of a look that lies over the scene"},
    {Kind::kTimeScale, "Time Scale", "Speed of the scene: 0 to 2 times, 0.5 is its own", 0, 2, 1},
    {Kind::kOffset, "Start Offset", "Where the scene begins: -60 to 60 seconds, 0.5 is its start",
     -60, 60, 0},
    {Kind::kTransparent, "Transparent", "The stroke alone instead of the stroke on the picture"},
    {Kind::kNumber, "Stroke Width", "0 to 100", 0, 100, 4},
    {Kind::kNumber, "Density", "0 to 200", 0, 200, 25},
    {Kind::kNumber, "Strength", "0 to 100", 0, 100, 100},
    {Kind::kNumber, "Reflection", "0 to 200", 0, 200, 100},
    {Kind::kChoice, "Paint Style", "Plain below 0.5, Wobbly above", 1, 2, 1},
    {Kind::kColor, "Light Color", "Colour of the effect's own light"},
    {Kind::kNumber, "Light Intensity", "0 to 1000", 0, 1000, 100},
    {Kind::kNumber, "Light Height", "-100 to 100", -100, 100, 65},
    {Kind::kNumber, "Light Direction", "-180 to 180 degrees", -180, 180, -45},
    {Kind::kNumber, "Ambient", "0 to 200", 0, 200, 100},
    {Kind::kNumber, "Diffuse", "0 to 100", 0, 100, 25},
    {Kind::kNumber, "Specular", "0 to 100", 0, 100, 100},
    {Kind::kNumber, "Roughness", "0.001 to 0.5", 0.001, 0.5, 0.025},
    {Kind::kNumber, "Metal", "0 to 100", 0, 100, 100},
};
constexpr int kCount = static_cast<int>(std::size(kParameters));

std::mutex lock;

double ToShare(const Parameter& p, double value) { return (value - p.min) / (p.max - p.min); }
double FromShare(const Parameter& p, double share) {
  return p.min + std::clamp(share, 0.0, 1.0) * (p.max - p.min);
}

class Instance {
 public:
  Instance(int width, int height)
      : size_(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
        filter_(width, height) {
    for (int i = 0; i < kCount; ++i) numbers_[i] = ToShare(kParameters[i], kParameters[i].initial);
    numbers_[4] = 0;
  }

  void Set(int index, const void* value) {
    const Parameter& p = kParameters[index];
    switch (p.kind) {
      case Kind::kScene:
      case Kind::kLook: {
        std::string& text = p.kind == Kind::kScene ? scene_ : look_;
        text = *static_cast<const char* const*>(value);
        p.kind == Kind::kScene ? filter_.SetScene(text) : filter_.SetLook(text);
        return;
      }
      case Kind::kColor:
        std::memcpy(&color_, value, sizeof color_);
        filter_.SetControl(p.name, IsWhite() ? "" : ColorText());
        return;
      default:
        break;
    }
    const double share = *static_cast<const double*>(value);
    if (!std::isfinite(share)) return;
    numbers_[index] = share;
    const double v = FromShare(p, share);
    const bool untouched = std::abs(v - p.initial) < 1e-6 * (p.max - p.min);
    if (p.kind == Kind::kTimeScale) filter_.set_time_scale(v);
    if (p.kind == Kind::kOffset) filter_.set_offset(untouched ? 0 : v);
    if (p.kind == Kind::kTransparent) filter_.set_transparent(share >= 0.5);
    if (p.kind == Kind::kChoice) {
      filter_.SetControl(p.name, share < 0.5 ? "" : "Wobbly");
    }
    if (p.kind == Kind::kNumber) {
      filter_.SetControl(p.name, untouched ? "" : fmt::format("{:.9g}", v));
    }
  }

  void Get(int index, void* value) {
    switch (kParameters[index].kind) {
      case Kind::kScene:
        *static_cast<char**>(value) = scene_.data();
        return;
      case Kind::kLook:
        *static_cast<char**>(value) = look_.data();
        return;
      case Kind::kColor:
        std::memcpy(value, &color_, sizeof color_);
        return;
      default:
        *static_cast<double*>(value) = numbers_[index];
    }
  }

  /// Where nothing can be drawn the picture stays as it is; the reason is told once.
  void Draw(double time, const std::uint32_t* from, std::uint32_t* to) {
    try {
      filter_.Draw(time, reinterpret_cast<const std::uint8_t*>(from),
                   reinterpret_cast<std::uint8_t*>(to));
    } catch (...) {
      std::memcpy(to, from, size_);
      const app::Error error = app::AsError(std::current_exception());
      if (said_ == error.what()) return;
      said_ = error.what();
      fmt::print(stderr, "vorlin: error: {}\n", said_);
    }
  }

 private:
  bool IsWhite() const { return color_.r == 1 && color_.g == 1 && color_.b == 1; }
  std::string ColorText() const {
    const auto byte = [](float v) { return std::lround(std::clamp(v, 0.0F, 1.0F) * 255); };
    return fmt::format("#{:02x}{:02x}{:02x}", byte(color_.r), byte(color_.g), byte(color_.b));
  }

  std::size_t size_;
  app::PictureFilter filter_;
  std::string scene_;
  std::string look_;
  f0r_param_color_t color_{1, 1, 1};
  double numbers_[kCount] = {};
  std::string said_;
};

}  // namespace

EXPORTED int f0r_init() { return 1; }
EXPORTED void f0r_deinit() {}

EXPORTED void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  *info = {"vorlin",
           "Nuvrik",
           F0R_PLUGIN_TYPE_FILTER,
           F0R_COLOR_MODEL_RGBA8888,
           FREI0R_MAJOR_VERSION,
           1,
           0,
           kCount,
           "A stroke of glossy liquid that mirrors the picture"};
}

EXPORTED void f0r_get_param_info(f0r_param_info_t* info, int index) {
  const Parameter& p = kParameters[index];
  info->name = p.name;
  info->explanation = p.says;
  info->type = F0R_PARAM_DOUBLE;
  if (p.kind == Kind::kScene || p.kind == Kind::kLook) info->type = F0R_PARAM_STRING;
  if (p.kind == Kind::kTransparent) info->type = F0R_PARAM_BOOL;
  if (p.kind == Kind::kColor) info->type = F0R_PARAM_COLOR;
}

EXPORTED f0r_instance_t f0r_construct(unsigned width, unsigned height) try {
  return new Instance(static_cast<int>(width), static_cast<int>(height));
} catch (...) {
  return nullptr;
}

EXPORTED void f0r_destruct(f0r_instance_t instance) {
  const std::lock_guard hold(lock);
  delete static_cast<Instance*>(instance);
}

EXPORTED void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) try {
  if (value == nullptr || index < 0 || index >= kCount) return;
  const std::lock_guard hold(lock);
  static_cast<Instance*>(instance)->Set(index, value);
} catch (...) {  // there is no way to say it; the value before stays
}

EXPORTED void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  if (value == nullptr || index < 0 || index >= kCount) return;
  const std::lock_guard hold(lock);
  static_cast<Instance*>(instance)->Get(index, value);
}

EXPORTED void f0r_update(f0r_instance_t instance, double time, const std::uint32_t* from,
                         std::uint32_t* to) {
  const std::lock_guard hold(lock);
  static_cast<Instance*>(instance)->Draw(time, from, to);
}
