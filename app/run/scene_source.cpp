#include "scene_source.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "errors.h"
#include "files.h"
#include "layer_source.h"
#include "output_file.h"
#include "scene_notes.h"
#include "scene_text.h"

namespace app {
namespace {

using hosting::Point;

/// Looks are made for layers of 960 x 540: their blobs are that close there.
const double kUsualDiagonal = std::hypot(960, 540);
/// Between two blobs, in radii of one; from about 0.5 on a glossy stroke shows beads.
constexpr double kClosest = 0.4;
/// Of the control.
constexpr double kMostDensity = 200;

const hosting::ControlTrack& TrackOf(const Scene& scene, const char* control) {
  const hosting::ControlTracks& controls = scene.setup.controls;
  return controls.TrackOf(controls.Control(control).index);
}

/// The smallest radius of a blob, pixels.
double ThinnestRadius(const Scene& scene) {
  double width = HUGE_VAL;
  for (const auto& key : std::get<hosting::Track<double>>(TrackOf(scene, "Stroke Width")).keys()) {
    if (key.value > 0) width = std::min(width, key.value);
  }
  return std::isinf(width) ? 0 : width / 500 * std::hypot(scene.setup.width, scene.setup.height);
}

/// How much longer the brush's way in a frame is than the straight line from its begin to its end,
/// which decides how many blobs there are; the most of all frames.
double MostBent(const DrawnStrokes& drawn, const hosting::TimeBase& time) {
  constexpr int kParts = 32;
  /// Pixels; shorter ways are dots.
  constexpr double kShort = 4;
  const hosting::Track<Point> way(drawn.keys);
  const auto is_down = [&](double t) {
    return drawn.pen.empty() || std::any_of(drawn.pen.begin(), drawn.pen.end(),
                                            [&](const hosting::Span& s) { return s.Holds(t); });
  };
  double most = 1;
  const double frame_rate = time.frame_rate().value();
  // What lies beyond is never rendered.
  const double end = std::min(drawn.keys.back().seconds, time.MaxSeconds());
  for (double t = std::max(0.0, drawn.keys.front().seconds); t < end; t += 1 / frame_rate) {
    if (!is_down(t + 0.5 / frame_rate)) continue;
    const Point from = way.At(t);
    const Point to = way.At(t + 1 / frame_rate);
    double length = 0;
    Point before = from;
    for (int i = 1; i <= kParts; ++i) {
      const Point p = way.At(t + i / (kParts * frame_rate));
      length += std::hypot(p.x - before.x, p.y - before.y);
      before = p;
    }
    const double straight = std::hypot(to.x - from.x, to.y - from.y);
    if (length > kShort) most = std::max(most, length / std::max(straight, 1e-3));
  }
  return most;
}

/// Blobs on 100 pixels, so that the look is as close on this layer as on its own, and close enough
/// where the brush is fastest; nothing where keys say it or nothing is to be changed.
std::optional<double> DensityFor(const Scene& scene, const DrawnStrokes& drawn) {
  const auto& density = std::get<hosting::Track<double>>(TrackOf(scene, "Density"));
  const double radius = ThinnestRadius(scene);
  if (!density.constant() || !(density.At(0) > 0) || !(radius > 0)) return std::nullopt;
  const double said = density.At(0);
  const double diagonal = std::hypot(scene.setup.width, scene.setup.height);
  const double bent = MostBent(drawn, scene.setup.time);
  const double wanted = std::min(
      kMostDensity,
      std::max(said * kUsualDiagonal / diagonal, 100 / (kClosest * radius) * std::min(bent, 4.0)));
  const double tidy = std::ceil(wanted);
  return std::abs(tidy - said) < 0.05 * said ? std::nullopt : std::optional(tidy);
}

std::string SavedLayer(const SceneSource& source) {
  const auto folder = std::filesystem::absolute(source.save).parent_path();
  return std::filesystem::absolute(source.file)
      .lexically_normal()
      .lexically_relative(folder.lexically_normal());
}

OpenedScene Draw(const SceneSource& source, const SceneChanges& changes,
                 const hosting::Effect& effect) {
  const auto read = [&](const std::string& text, const SceneChanges& more) {
    return ReadScene(JsonText::Inline(source.file.string(), text), {}, effect, OpenLayer, more);
  };
  Json::Value only_layer;
  only_layer["layer"] = source.file.string();
  const Scene bare = read(WriteJson(only_layer, ""), changes);
  const hosting::Rational rate = bare.setup.time.frame_rate();

  PathImport drawing = source.drawing;
  drawing.times.frame_rate = rate;
  if (!source.has_end && bare.frames > 1) {
    drawing.times.to = (bare.frames - 1) / rate.value();
  }
  const DrawnStrokes drawn = ImportPath(drawing, ReadTextFile(drawing.file),
                                        LayerSize{bare.setup.width, bare.setup.height});
  OpenedScene opened;
  opened.notes = drawn.notes;
  Json::Value controls = ChangedControls(changes);
  if (controls.isMember("Brush Position")) {
    throw InputError("\"Brush Position\" comes from the drawing; it cannot be set too");
  }
  const bool is_said = ChangedControls({{}, changes.settings}).isMember("Density");
  if (const auto density = is_said ? std::nullopt : DensityFor(bare, drawn)) {
    opened.notes.push_back(
        fmt::format("\"Density\" is {} here, for a smooth stroke on this picture", *density));
    controls["Density"] = *density;
  }
  opened.text = SceneText(source.file, drawn, {}, controls);
  opened.scene = read(opened.text, {});
  if (!source.save.empty()) {
    CheckOverwriting({{0, 0, source.save}}, source.overwrite);
    OutputFile file(source.save);
    file.Write(SceneText(SavedLayer(source), drawn, {}, controls));
    file.Commit();
  }
  return opened;
}

}  // namespace

OpenedScene OpenScene(const SceneSource& source, const SceneChanges& changes,
                      const hosting::Effect& effect) {
  OpenedScene opened;
  if (!source.drawing.file.empty()) {
    opened = Draw(source, changes, effect);
  } else {
    if (!source.save.empty()) throw InputError("--save-scene needs a drawing: --path FILE");
    opened.text = ReadTextFile(source.file);
    // Scenes begin with a bracket or a comment, pictures and movies do not.
    const std::size_t begin = opened.text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (ExtensionOf(source.file) != ".json" && begin != opened.text.npos &&
        opened.text[begin] != '{' && opened.text[begin] != '/') {
      throw InputError(
          fmt::format("\"{}\" is no scene; to draw on a picture or a movie, add --path DRAWING",
                      source.file.string()));
    }
    const JsonText json(source.file.string(), opened.text);
    opened.scene = ReadScene(json, source.file.parent_path(), effect, OpenLayer, changes);
  }
  const std::vector<std::string> more = SceneNotes(opened.scene);
  opened.notes.insert(opened.notes.end(), more.begin(), more.end());
  return opened;
}

}  // namespace app
