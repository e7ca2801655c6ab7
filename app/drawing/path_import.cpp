#include "path_import.h"

#include <fmt/format.h>

#include <json/json.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <optional>
#include <sstream>
#include <string_view>

#include "errors.h"
#include "hosting/motion_path.h"
#include "hosting/values.h"
#include "layer_source.h"
#include "svg_drawing.h"
#include "text_file.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }

/// The three numbers that a row begins with; none when it does not. Further columns are passed
/// over.
std::optional<std::array<double, 3>> ReadRow(std::string_view row) {
  const auto skip_space = [&] {
    row.remove_prefix(std::min(row.find_first_not_of(" \t\r"), row.size()));
  };
  std::array<double, 3> numbers{};
  for (double& number : numbers) {
    skip_space();
    if (row.starts_with('+')) row.remove_prefix(1);
    const auto [end, error] = std::from_chars(row.data(), row.data() + row.size(), number);
    if (error != std::errc{} || !std::isfinite(number)) return std::nullopt;
    row.remove_prefix(static_cast<std::size_t>(end - row.data()));
    skip_space();
    const bool last = &number == &numbers.back();
    if (last && row.empty()) break;
    if (!row.starts_with(',')) return std::nullopt;
    row.remove_prefix(1);
  }
  return numbers;
}

void CheckInReach(const PathImport& wanted, Point point) {
  const auto within = [](double v) { return std::abs(v) <= hosting::kFixedLimit; };
  if (within(point.x) && within(point.y)) return;
  throw InputError(fmt::format("{}: ({}, {}) is out of reach; points go to {} pixels",
                               wanted.file.string(), point.x, point.y, hosting::kFixedLimit));
}

std::vector<Key<Point>> FromCsv(const PathImport& wanted, const std::string& csv) {
  std::istringstream text(csv);
  std::vector<Key<Point>> keys;
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    const auto row = ReadRow(line);
    if (!row) {
      const bool blank = line.find_first_not_of(" \t\r") == line.npos;
      if (blank || number == 1) continue;  // the first row may be a heading
      throw InputError(fmt::format("{}:{}: expected frame,x,y", wanted.file.string(), number));
    }
    const auto [frame, x, y] = *row;
    CheckInReach(wanted, {x, y});
    const double seconds = frame / wanted.frame_rate;
    if (!keys.empty() && !(keys.back().seconds < seconds)) {
      throw InputError(fmt::format("{}:{}: frames must rise", wanted.file.string(), number));
    }
    keys.push_back({.seconds = seconds, .value = {x, y}});
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

std::vector<Curve> DrawnCurves(const PathImport& wanted, const std::string& svg) {
  DrawnPath drawing = ReadDrawnPath(svg, wanted.id);
  if (wanted.layer.empty()) return drawing.curves;
  const Affine to_layer = ToLayer(drawing, wanted.layer);
  for (Curve& curve : drawing.curves) {
    for (Point& point : curve) point = to_layer(point);
  }
  return drawing.curves;
}

std::vector<Key<Point>> FromSvg(const PathImport& wanted, const std::string& svg) {
  const std::vector<Curve> curves = DrawnCurves(wanted, svg);
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

}  // namespace

std::vector<Key<Point>> ImportPath(const PathImport& wanted) {
  return ImportPath(wanted, ReadTextFile(wanted.file));
}

std::vector<Key<Point>> ImportPath(const PathImport& wanted, const std::string& text) {
  if (!(wanted.from < wanted.to)) {
    throw InputError(
        fmt::format("--to ({} s) must come after --from ({} s)", wanted.to, wanted.from));
  }
  if (wanted.file.extension() == ".svg") return FromSvg(wanted, text);
  if (wanted.file.extension() == ".csv") return FromCsv(wanted, text);
  throw InputError(fmt::format("\"{}\": paths are read from .svg or .csv", wanted.file.string()));
}

namespace {

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

std::string BrushPositionText(const std::vector<Key<Point>>& keys, const std::string& indent) {
  std::vector<std::string> lines;
  lines.reserve(keys.size());
  for (const Key<Point>& key : keys) lines.push_back(fmt::format("{}    {}", indent, AsJson(key)));
  return fmt::format("{0}\"Brush Position\": {{\n{0}  \"keys\": [\n{1}\n{0}  ]\n{0}}}\n", indent,
                     fmt::join(lines, ",\n"));
}

void RunImportPath(const PathImport& wanted) {
  const std::vector<Key<Point>> keys = ImportPath(wanted);
  if (wanted.layer.empty()) {
    fmt::print("{}", BrushPositionText(keys, ""));
    return;
  }
  fmt::print(
      "{{\n  \"layer\": {},\n  \"frame_rate\": {},\n  \"duration\": {},\n  \"controls\": {{\n{}  "
      "}}\n}}\n",
      Json::valueToQuotedString(wanted.layer.string().c_str()), Rounded(wanted.frame_rate),
      Rounded(std::max(keys.back().seconds, 1 / wanted.frame_rate)),
      BrushPositionText(keys, "    "));
}

}  // namespace app
