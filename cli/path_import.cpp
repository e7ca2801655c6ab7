#include "path_import.h"

#include <fmt/format.h>

#include <cstdio>
#include <sstream>

#include "errors.h"
#include "hosting/motion_path.h"
#include "svg_path.h"
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

std::vector<Key<Point>> FromSvg(const PathImport& wanted) {
  const std::vector<Curve> curves = ParseSvgPath(FindSvgPath(ReadTextFile(wanted.file), wanted.id));
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

void RunImportPath(const PathImport& wanted) {
  const std::vector<Key<Point>> keys = ImportPath(wanted);
  const auto round = [](double v) { return fmt::format("{:.6g}", v); };
  const auto pair = [&](double a, double b) { return fmt::format("[{}, {}]", round(a), round(b)); };
  fmt::print("\"Brush Position\": {{\n  \"keys\": [\n");
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const Key<Point>& key = keys[i];
    std::string line = fmt::format("\"time\": {}, \"value\": {}", round(key.seconds),
                                   pair(key.value.x, key.value.y));
    const auto add = [&](const char* name, double a, double b) {
      line += fmt::format(", \"{}\": {}", name, pair(a, b));
    };
    if (key.in != hosting::kLinear) add("in", key.in.time, key.in.progress);
    if (key.out != hosting::kLinear) add("out", key.out.time, key.out.progress);
    if (key.in_tangent != Point{}) add("in_tangent", key.in_tangent.x, key.in_tangent.y);
    if (key.out_tangent != Point{}) add("out_tangent", key.out_tangent.x, key.out_tangent.y);
    fmt::print("    {{{}}}{}\n", line, i + 1 < keys.size() ? "," : "");
  }
  fmt::print("  ]\n}}\n");
}

}  // namespace cli
