#include "path_import.h"

#include <fmt/format.h>

#include <json/json.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "errors.h"
#include "hosting/motion_path.h"
#include "layer_source.h"
#include "svg_drawing.h"
#include "text_file.h"

namespace cli {
namespace {

using hosting::Key;
using hosting::Point;

Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }

std::vector<Key<Point>> FromCsv(const PathImport& wanted) {
  std::istringstream text(ReadTextFile(wanted.file));
  std::vector<Key<Point>> keys;
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    double frame = 0;
    Key<Point> key;
    if (std::sscanf(line.c_str(), " %lf , %lf , %lf", &frame, &key.value.x, &key.value.y) != 3) {
      const bool blank = line.find_first_not_of(" \t\r") == line.npos;
      if (blank || number == 1) continue;  // the first row may be a heading
      throw InputError(fmt::format("{}:{}: expected frame,x,y", wanted.file.string(), number));
    }
    key.seconds = frame / wanted.frame_rate;
    if (!keys.empty() && !(keys.back().seconds < key.seconds)) {
      throw InputError(fmt::format("{}:{}: frames must rise", wanted.file.string(), number));
    }
    keys.push_back(key);
  }
  if (keys.empty()) {
    throw InputError(fmt::format("{}: there is no row frame,x,y", wanted.file.string()));
  }
  return keys;
}

/// The page's, or the picture's in it, way onto the layer.
Affine ToLayer(const DrawnPath& drawing, const std::filesystem::path& layer_file) {
  const LayerSource layer = OpenLayer(layer_file);
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
    frame = {w, 0, 0, h, 0, 0};
  }
  return Affine{static_cast<double>(layer.width), 0, 0, static_cast<double>(layer.height), 0, 0} *
         frame.Inverse();
}

std::vector<Curve> DrawnCurves(const PathImport& wanted) {
  DrawnPath drawing = ReadDrawnPath(ReadTextFile(wanted.file), wanted.id);
  if (wanted.layer.empty()) return drawing.curves;
  const Affine to_layer = ToLayer(drawing, wanted.layer);
  for (Curve& curve : drawing.curves) {
    for (Point& point : curve) point = to_layer(point);
  }
  return drawing.curves;
}

std::vector<Key<Point>> FromSvg(const PathImport& wanted) {
  const std::vector<Curve> curves = DrawnCurves(wanted);
  if (curves.empty()) throw InputError("the SVG's path has no length");
  std::vector<double> lengths{0};  // from the start to the end of each curve
  for (const Curve& c : curves) {
    const hosting::MotionPath path(c[0], c[1] - c[0], c[2] - c[3], c[3]);
    lengths.push_back(lengths.back() + path.length());
  }
  std::vector<Key<Point>> keys(curves.size() + 1);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const double part = lengths[i] / lengths.back();
    keys[i].seconds = wanted.from + (wanted.to - wanted.from) * part;
    keys[i].value = i == 0 ? curves[0][0] : curves[i - 1][3];
    if (i > 0) keys[i].in_tangent = curves[i - 1][2] - curves[i - 1][3];
    if (i < curves.size()) keys[i].out_tangent = curves[i][1] - curves[i][0];
  }
  if (wanted.smooth) {
    keys.front().out = hosting::kSmooth;
    keys.back().in = hosting::kSmooth;
  }
  return keys;
}

}  // namespace

std::vector<Key<Point>> ImportPath(const PathImport& wanted) {
  if (!(wanted.from < wanted.to)) {
    throw InputError(
        fmt::format("--to ({} s) must come after --from ({} s)", wanted.to, wanted.from));
  }
  if (wanted.file.extension() == ".svg") return FromSvg(wanted);
  if (wanted.file.extension() == ".csv") return FromCsv(wanted);
  throw InputError(fmt::format("\"{}\": paths are read from .svg or .csv", wanted.file.string()));
}

namespace {

std::string Rounded(double value) { return fmt::format("{:.6g}", value); }

std::string AsJson(const Key<Point>& key) {
  const auto pair = [](double a, double b) {
    return fmt::format("[{}, {}]", Rounded(a), Rounded(b));
  };
  std::string text = fmt::format("\"time\": {}, \"value\": {}", Rounded(key.seconds),
                                 pair(key.value.x, key.value.y));
  const auto add = [&](const char* name, double a, double b) {
    text += fmt::format(", \"{}\": {}", name, pair(a, b));
  };
  if (key.in != hosting::kLinear) add("in", key.in.time, key.in.progress);
  if (key.out != hosting::kLinear) add("out", key.out.time, key.out.progress);
  if (key.in_tangent != Point{}) add("in_tangent", key.in_tangent.x, key.in_tangent.y);
  if (key.out_tangent != Point{}) add("out_tangent", key.out_tangent.x, key.out_tangent.y);
  return fmt::format("{{{}}}", text);
}

/// `"Brush Position": {...}`, each line after `indent`.
std::string BrushPosition(const std::vector<Key<Point>>& keys, const std::string& indent) {
  std::vector<std::string> lines;
  for (const Key<Point>& key : keys) lines.push_back(fmt::format("{}    {}", indent, AsJson(key)));
  return fmt::format("{0}\"Brush Position\": {{\n{0}  \"keys\": [\n{1}\n{0}  ]\n{0}}}\n", indent,
                     fmt::join(lines, ",\n"));
}

}  // namespace

void RunImportPath(const PathImport& wanted) {
  const std::vector<Key<Point>> keys = ImportPath(wanted);
  if (wanted.layer.empty()) {
    fmt::print("{}", BrushPosition(keys, ""));
    return;
  }
  fmt::print(
      "{{\n  \"layer\": {},\n  \"frame_rate\": {},\n  \"duration\": {},\n  \"controls\": {{\n{}  "
      "}}\n}}\n",
      Json::valueToQuotedString(wanted.layer.string().c_str()), Rounded(wanted.frame_rate),
      Rounded(std::max(keys.back().seconds, 1 / wanted.frame_rate)), BrushPosition(keys, "    "));
}

}  // namespace cli
