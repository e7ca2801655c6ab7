#include "path_import.h"

#include <fmt/format.h>
#include <json/json.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "csv_path.h"
#include "errors.h"
#include "hosting/motion_path.h"
#include "hosting/values.h"
#include "svg_drawing.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }

void CheckInReach(const PathImport& wanted, Point point) {
  const auto within = [](double v) { return std::abs(v) <= hosting::kFixedLimit; };
  if (within(point.x) && within(point.y)) return;
  throw InputError(fmt::format("{}: ({}, {}) is out of reach; points go to {} pixels",
                               wanted.file.string(), point.x, point.y, hosting::kFixedLimit));
}

std::vector<Key<Point>> FromCsv(const PathImport& wanted, const std::string& csv) {
  std::vector<Key<Point>> keys = ReadCsvPath(wanted.file.string(), csv, wanted.frame_rate);
  for (const Key<Point>& key : keys) CheckInReach(wanted, key.value);
  return keys;
}

/// The page's, or the picture's in it, way onto the layer.
Affine ToLayer(const DrawnPath& drawing, const LayerSource& layer) {
  Affine frame = drawing.picture;
  if (!drawing.has_picture) {
    const double w = drawing.page_width;
    const double h = drawing.page_height;
    // A page is rarely exactly as wide as it should be.
    constexpr double kAlike = 0.02;
    if (!(std::abs(w * layer.height - h * layer.width) <= kAlike * h * layer.width)) {
      throw InputError(fmt::format(
          "the drawing's page ({:.0f} x {:.0f}) and the layer ({} x {}) differ in shape; draw the "
          "path over the picture itself, opened in the editor",
          w, h, layer.width, layer.height));
    }
    frame = Affine::Scale(w, h);
  }
  return Affine::Scale(layer.width, layer.height) * frame.Inverse();
}

std::vector<Curve> DrawnCurves(const PathImport& wanted, const std::string& svg,
                               const LayerOpener& open) {
  DrawnPath drawing = ReadDrawnPath(wanted.file.string(), svg, wanted.id);
  if (wanted.layer.empty()) return drawing.curves;
  const Affine to_layer = ToLayer(drawing, open(wanted.layer));
  for (Curve& curve : drawing.curves) {
    for (Point& point : curve) point = to_layer(point);
  }
  return drawing.curves;
}

std::vector<Key<Point>> FromSvg(const PathImport& wanted, const std::string& svg,
                                const LayerOpener& open) {
  const std::vector<Curve> curves = DrawnCurves(wanted, svg, open);
  std::vector<double> lengths;
  for (const Curve& c : curves) {
    for (const Point& point : c) CheckInReach(wanted, point);
    lengths.push_back(hosting::MotionPath(c[0], c[1] - c[0], c[2] - c[3], c[3]).length());
  }
  const double total = std::accumulate(lengths.begin(), lengths.end(), 0.0);
  if (!(total > 0)) throw InputError("the SVG's path has no length");
  std::vector<Key<Point>> keys{{.seconds = wanted.from, .value = curves.front()[0]}};
  double travelled = 0;
  for (std::size_t i = 0; i < curves.size(); ++i) {
    const Curve& c = curves[i];
    travelled += lengths[i];
    const double seconds = wanted.from + (wanted.to - wanted.from) * (travelled / total);
    if (!(keys.back().seconds < seconds)) continue;  // too short for its time to be told
    keys.back().out_tangent = c[1] - c[0];
    keys.push_back({.seconds = seconds, .value = c[3], .in_tangent = c[2] - c[3]});
  }
  if (wanted.smooth) {
    keys.front().out = hosting::kSmooth;
    keys.back().in = hosting::kSmooth;
  }
  return keys;
}

std::string Rounded(double value) { return fmt::format("{:.6g}", value); }

std::string AsJson(const Key<Point>& key) {
  const auto pair = [](double a, double b) {
    return fmt::format("[{}, {}]", Rounded(a), Rounded(b));
  };
  std::string text =
      fmt::format("\"time\": {}, \"value\": {}", key.seconds, pair(key.value.x, key.value.y));
  const auto add = [&](const char* name, double a, double b) {
    text += fmt::format(", \"{}\": {}", name, pair(a, b));
  };
  if (key.in != hosting::kLinear) add("in", key.in.time, key.in.progress);
  if (key.out != hosting::kLinear) add("out", key.out.time, key.out.progress);
  if (key.in_tangent != Point{}) add("in_tangent", key.in_tangent.x, key.in_tangent.y);
  if (key.out_tangent != Point{}) add("out_tangent", key.out_tangent.x, key.out_tangent.y);
  return fmt::format("{{{}}}", text);
}

}  // namespace

std::vector<Key<Point>> ImportPath(const PathImport& wanted, const std::string& text,
                                   const LayerOpener& open) {
  if (!(wanted.from < wanted.to)) {
    throw InputError(
        fmt::format("--to ({} s) must come after --from ({} s)", wanted.to, wanted.from));
  }
  if (wanted.file.extension() == ".svg") return FromSvg(wanted, text, open);
  if (wanted.file.extension() == ".csv") return FromCsv(wanted, text);
  throw InputError(fmt::format("\"{}\": paths are read from .svg or .csv", wanted.file.string()));
}

std::string BrushPositionText(const std::vector<Key<Point>>& keys, const std::string& indent) {
  std::vector<std::string> lines;
  lines.reserve(keys.size());
  for (const Key<Point>& key : keys) lines.push_back(fmt::format("{}    {}", indent, AsJson(key)));
  return fmt::format("{0}\"Brush Position\": {{\n{0}  \"keys\": [\n{1}\n{0}  ]\n{0}}}\n", indent,
                     fmt::join(lines, ",\n"));
}

std::string SceneText(const PathImport& wanted, const std::vector<Key<Point>>& keys) {
  return fmt::format(
      "{{\n  \"layer\": {},\n  \"frame_rate\": {},\n  \"duration\": {},\n  \"controls\": {{\n{}  "
      "}}\n}}\n",
      Json::valueToQuotedString(wanted.layer.string().c_str()), Rounded(wanted.frame_rate),
      Rounded(std::max(keys.back().seconds, 1 / wanted.frame_rate)),
      BrushPositionText(keys, "    "));
}

}  // namespace app
