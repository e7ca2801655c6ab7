#include "scene_text.h"

#include <fmt/format.h>

#include "json_text.h"

namespace app {
namespace {

using hosting::Key;
using hosting::Point;

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
  if (key.hold) text += ", \"ease\": \"hold\"";
  if (key.in != hosting::kLinear) add("in", key.in.time, key.in.progress);
  if (key.out != hosting::kLinear) add("out", key.out.time, key.out.progress);
  if (key.in_tangent != Point{}) add("in_tangent", key.in_tangent.x, key.in_tangent.y);
  if (key.out_tangent != Point{}) add("out_tangent", key.out_tangent.x, key.out_tangent.y);
  return fmt::format("{{{}}}", text);
}

/// The members of an object, a line each.
std::string Members(const Json::Value& object, const char* indent) {
  std::string text;
  for (const std::string& name : object.getMemberNames()) {
    text += fmt::format("{}{}: {},\n", indent, Json::valueToQuotedString(name.c_str()),
                        WriteJson(object[name], ""));
  }
  return text;
}

}  // namespace

std::string BrushPositionText(const DrawnStrokes& drawn, const std::string& indent) {
  std::vector<std::string> lines;
  lines.reserve(drawn.keys.size());
  for (const Key<Point>& key : drawn.keys) {
    lines.push_back(fmt::format("{}    {}", indent, AsJson(key)));
  }
  return fmt::format("{0}\"Brush Position\": {{\n{0}  \"keys\": [\n{1}\n{0}  ]\n{0}}}\n", indent,
                     fmt::join(lines, ",\n"));
}

std::string PenText(const DrawnStrokes& drawn, const std::string& indent) {
  if (drawn.pen.empty()) return {};
  std::vector<std::string> spans;
  for (const hosting::Span& span : drawn.pen) {
    spans.push_back(fmt::format("[{}, {}]", span.in, span.out));
  }
  return fmt::format("{}\"pen\": [{}],\n", indent, fmt::join(spans, ", "));
}

std::string SceneText(const std::filesystem::path& layer, const DrawnStrokes& drawn,
                      const Json::Value& more, const Json::Value& controls) {
  return fmt::format("{{\n  \"layer\": {},\n{}{}  \"controls\": {{\n{}{}  }}\n}}\n",
                     Json::valueToQuotedString(layer.string().c_str()), Members(more, "  "),
                     PenText(drawn, "  "), Members(controls, "    "),
                     BrushPositionText(drawn, "    "));
}

}  // namespace app
