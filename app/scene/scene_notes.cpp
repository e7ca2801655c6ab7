#include "scene_notes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <variant>

namespace app {
namespace {

/// The most lights that the effect lets shine at a time.
constexpr int kMostLights = 19;
/// Of a movie's end: containers round times.
constexpr double kRoundingSeconds = 0.002;

class Notes {
 public:
  explicit Notes(const Scene& scene)
      : scene_(scene), setup_(scene.setup), end_(Seconds(scene.frames)) {}

  std::vector<std::string> All() {
    LookAtLayer();
    LookAtBrush();
    LookAtKeys();
    LookAtLights();
    return notes_;
  }

 private:
  template <class... Values>
  void Add(fmt::format_string<const Values&...> format, const Values&... values) {
    notes_.push_back(fmt::format(format, values...));
  }

  /// Where a frame of the composition begins.
  double Seconds(int frame) const { return frame / setup_.time.frame_rate().value(); }
  double LayerSeconds(int frame) const {
    return Seconds(frame) - setup_.time.Seconds(setup_.layer_start);
  }

  void LookAtLayer() {
    const hosting::Span& span = setup_.composition.EffectLayer().span;
    if (!(span.in < std::min(span.out, end_)) || !(span.out > 0)) {
      return Add("the layer is never there: layer_in and layer_out leave no frame of it");
    }
    // The last frame in which the layer is there.
    const int last = span.out < end_ ? static_cast<int>(span.out / Seconds(1)) : scene_.frames - 1;
    const auto& movie = scene_.layer.movie;
    if (movie && movie->seconds > 0 && LayerSeconds(last) > movie->seconds + kRoundingSeconds) {
      Add("the movie ends after {:.2f} s; from there on its last frame stays", movie->seconds);
    }
    for (const std::string& bad : scene_.layer.bad_frames) {
      Add("{}{}", bad, scene_.holds_missing ? "; the one before it stays" : "");
    }
    const auto wanted = setup_.LayerFrame(setup_.time.FrameTime(last));
    if (scene_.layer.frames > 0 && wanted && *wanted >= scene_.layer.frames) {
      Add("the sequence has {} pictures, the scene needs {}; the last one stays",
          scene_.layer.frames, *wanted + 1);
    }
  }

  void LookAtBrush() {
    const hosting::ControlInfo& control = setup_.controls.Control("Brush Position");
    const auto& track =
        std::get<hosting::Track<hosting::Point>>(setup_.controls.TrackOf(control.index));
    const hosting::Point first = track.At(LayerSeconds(0));
    bool moves = false;
    bool inside = false;
    for (int frame = 0; frame <= scene_.frames; ++frame) {
      const hosting::Point p = track.At(LayerSeconds(frame));
      moves = moves || p != first;
      inside = inside || (p.x >= 0 && p.x < setup_.width && p.y >= 0 && p.y < setup_.height);
    }
    if (!moves) Add("\"Brush Position\" never moves: there is no stroke; give it keys");
    if (!inside) {
      Add("\"Brush Position\" is never inside the picture of {} x {} pixels", setup_.width,
          setup_.height);
    }
  }

  void LookAtKeys() {
    const double end = LayerSeconds(scene_.frames);
    for (const hosting::ControlInfo& control : setup_.controls.controls()) {
      if (!control.has_value()) continue;
      std::visit(
          [&](const auto& track) {
            if (track.constant()) return;
            const auto after = std::count_if(track.keys().begin(), track.keys().end(),
                                             [&](const auto& key) { return key.seconds > end; });
            if (after == 0) return;
            Add("{} of the {} keys of \"{}\" come after the end at {:.2f} s", after,
                track.keys().size(), control.name, end);
          },
          setup_.controls.TrackOf(control.index));
    }
  }

  void LookAtLights() {
    std::vector<const hosting::Layer*> lights;
    for (const hosting::Layer& layer : setup_.composition.layers) {
      if (layer.kind == hosting::Layer::Kind::kLight) lights.push_back(&layer);
    }
    if (lights.empty()) return;
    const hosting::ControlInfo& use = setup_.controls.Control("Using");
    const int chosen =
        std::get<hosting::Track<int>>(setup_.controls.TrackOf(use.index)).At(LayerSeconds(0));
    if (use.choices[static_cast<std::size_t>(chosen - 1)] != "AE Lights") {
      Add("the scene's lights do not shine: they need \"Using\": \"AE Lights\"");
    }
    int most = 0;
    for (int frame = 0; frame < scene_.frames; ++frame) {
      most = std::max(most, static_cast<int>(std::count_if(lights.begin(), lights.end(),
                                                           [&](const hosting::Layer* light) {
                                                             return light->ActiveAt(Seconds(frame));
                                                           })));
    }
    if (most > kMostLights) {
      Add("{} lights are on at a time; only the {} topmost shine", most, kMostLights);
    }
    for (std::size_t i = 0; i < lights.size(); ++i) {
      const hosting::Span& span = lights[i]->span;
      if (span.in < std::min(span.out, end_) && span.out > 0) continue;
      const std::string& name = lights[i]->name;
      Add("light {}{} is never on: its in and out leave no frame", i + 1,
          name.empty() ? "" : fmt::format(" (\"{}\")", name));
    }
  }

  const Scene& scene_;
  const hosting::Setup& setup_;
  double end_;  // seconds of the composition
  std::vector<std::string> notes_;
};

}  // namespace

std::vector<std::string> SceneNotes(const Scene& scene) { return Notes(scene).All(); }

}  // namespace app
