#include "scene_schema.h"

#include <fmt/format.h>

#include <functional>
#include <string_view>
#include <utility>

#include "errors.h"
#include "json_text.h"
#include "scene_lights.h"

namespace app {
namespace {

std::string Code(const std::string& text) { return fmt::format("`{}`", text); }

/// On one line, with a space behind each comma.
std::string Written(const Json::Value& value) {
  std::string text;
  for (const char c : WriteJson(value, "")) {
    text += c;
    if (c == ',') text += ' ';
  }
  return Code(text);
}

std::string TypeText(const KeyFormat& format) {
  switch (format.type) {
    case ValueType::kText:
      return "text";
    case ValueType::kNumber:
      return "number";
    case ValueType::kRate:
      return "number, or text `\"30000/1001\"`";
    case ValueType::kWholePair:
      return "`[width, height]`, whole numbers";
    case ValueType::kPoint:
      return "`[x, y]`";
    case ValueType::kSpans:
      return "`[[in, out], ...]`";
    case ValueType::kTriple:
      return "`[x, y, z]`";
    case ValueType::kColor:
      return "`\"#rrggbb\"`";
    case ValueType::kChoice:
      return fmt::format("`\"{}\"`", fmt::join(format.choices, "\"`, `\""));
    case ValueType::kHandle:
      return "`[time, progress]`";
    case ValueType::kKeyed:
      return "that of the animated value";
    case ValueType::kKeys:
      return "list of keys";
    case ValueType::kControls:
      return "`{name: value, ...}`";
    case ValueType::kLights:
      return "`[light, ...]`";
  }
  return "";
}

std::string DefaultText(const KeyFormat& format) {
  if (format.needed) return "needed";
  return format.initial.isNull() ? "none" : Written(format.initial);
}

/// "degrees, 0 to 180"
std::string UnitAndRange(const KeyFormat& format) {
  const std::string range = RangeText(format);
  return format.unit + (format.unit.empty() || range.empty() ? "" : ", ") + range;
}

std::string Row(const KeyFormat& format, const std::string& says) {
  return fmt::format("| {} | {}{} | {} | {} | {} | {} |\n", Code(format.name), TypeText(format),
                     format.animated ? ", or keys" : "", UnitAndRange(format), DefaultText(format),
                     Written(format.example), says);
}

constexpr const char* kHead =
    "| key | value | unit and range | default | example | what it says |\n"
    "|---|---|---|---|---|---|\n";

std::string Table(const ObjectFormat& format) {
  std::string table = kHead;
  for (const KeyFormat& key : format.keys) table += Row(key, key.says);
  return table;
}

/// Spots have every key that a light can have; the other types' share of them is said.
std::string LightTable() {
  const std::vector<std::string>& types = LightTypeFormat().choices;
  std::string table = kHead;
  for (KeyFormat key : LightFormat(hosting::LightKind::kSpot).keys) {
    std::vector<std::string> with;
    for (std::size_t i = 0; i < types.size(); ++i) {
      const ObjectFormat& light = LightFormat(static_cast<hosting::LightKind>(i));
      if (light.Find(key.name) != nullptr) with.push_back(types[i]);
    }
    if (key.name == LightTypeFormat().name) key.choices = types;
    const bool all = with.size() == types.size();
    table += Row(key, key.says + (all ? "" : fmt::format(" Only: {}.", fmt::join(with, ", "))));
  }
  return table;
}

std::string TableNamed(std::string_view name) {
  if (name == "scene") return Table(SceneFormat());
  if (name == "key") return Table(KeyframeFormat());
  if (name == "lights") return LightTable();
  throw InputError(fmt::format("there is no table \"{}\"; there are scene, key and lights", name));
}

}  // namespace

std::string WithTables(const std::string& page) {
  constexpr std::string_view kBegin = "<!-- table: ";
  constexpr std::string_view kEnd = "<!-- end of table -->";
  std::string filled;
  std::size_t done = 0;
  for (auto at = page.find(kBegin); at != page.npos; at = page.find(kBegin, done)) {
    const std::size_t name = at + kBegin.size();
    const std::size_t line = page.find(" -->\n", name);
    const std::size_t end = page.find(kEnd, name);
    if (line == page.npos || end == page.npos || end < line) {
      throw InputError(fmt::format("a table has no \"{}\"", kEnd));
    }
    filled += page.substr(done, line + 5 - done);
    filled += TableNamed(std::string_view(page).substr(name, line - name));
    done = end;
  }
  return filled + page.substr(done);
}

}  // namespace app
