#include "scene_values.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "color_text.h"
#include "hosting/errors.h"
#include "suggest.h"

namespace app {
namespace {

std::string_view TypeName(const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      return "null";
    case Json::booleanValue:
      return "true or false";
    case Json::stringValue:
      return "a text";
    case Json::arrayValue:
      return "a list";
    case Json::objectValue:
      return "an object";
    default:
      return "a number";
  }
}

/// Short values are shown as they are written, long ones by their type.
[[noreturn]] void Expected(const JsonText& json, const Json::Value& value, std::string_view what) {
  const std::string_view written = json.Written(value);
  const bool short_one = written.size() <= 40 && written.find('\n') == written.npos;
  json.FailAt(value,
              fmt::format("expected {}, found {}", what, short_one ? written : TypeName(value)));
}

template <std::size_t N>
std::array<double, N> ReadNumbers(const JsonText& json, const Json::Value& value,
                                  std::string_view what) {
  if (!value.isArray() || value.size() != N) Expected(json, value, what);
  std::array<double, N> numbers{};
  for (Json::ArrayIndex i = 0; i < N; ++i) numbers[i] = ReadNumber(json, value[i]);
  return numbers;
}

hosting::Handle ReadHandle(const JsonText& json, const Json::Value& value) {
  const auto [time, progress] = ReadNumbers<2>(json, value, "a handle [time, progress]");
  if (!(time >= 0 && time <= 1)) {
    json.FailAt(value[0], fmt::format("a handle's time goes from 0 to 1, not {}", time));
  }
  return {time, progress};
}

}  // namespace

void CheckKeys(const JsonText& json, const Json::Value& value, std::string_view what,
               const std::vector<std::string>& keys) {
  if (!value.isObject()) Expected(json, value, fmt::format("{} {{...}}", what));
  const Json::Value* unknown = nullptr;
  std::string name;
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (std::find(keys.begin(), keys.end(), it.name()) != keys.end()) continue;
    if (unknown != nullptr && unknown->getOffsetStart() < it->getOffsetStart()) continue;
    unknown = &*it;
    name = it.name();
  }
  if (unknown == nullptr) return;
  json.FailAtKey(value, *unknown,
                 fmt::format("{} has no \"{}\"{}", what, name, DidYouMean(name, keys)));
}

const Json::Value* Find(const Json::Value& object, std::string_view key) {
  return object.find(key.data(), key.data() + key.size());
}

const Json::Value& Need(const JsonText& json, const Json::Value& object, std::string_view key) {
  const Json::Value* value = Find(object, key);
  if (value == nullptr) json.FailAt(object, fmt::format("\"{}\" is missing", key));
  return *value;
}

double ReadNumber(const JsonText& json, const Json::Value& value) {
  if (!value.isNumeric() || !std::isfinite(value.asDouble())) Expected(json, value, "a number");
  return value.asDouble();
}

std::string ReadText(const JsonText& json, const Json::Value& value) {
  if (!value.isString()) Expected(json, value, "a text");
  return value.asString();
}

hosting::Rational ReadRational(const JsonText& json, const Json::Value& value) {
  if (!value.isNumeric() && !value.isString()) Expected(json, value, "a number or \"30000/1001\"");
  try {
    return hosting::Rational::Parse(value.isString() ? value.asString()
                                                     : std::string(json.Written(value)));
  } catch (const hosting::Error& error) {
    json.FailAt(value, error.what());
  }
}

hosting::Point ReadPoint(const JsonText& json, const Json::Value& value) {
  const auto [x, y] = ReadNumbers<2>(json, value, "a point [x, y]");
  return {x, y};
}

hosting::Vec3 ReadVec3(const JsonText& json, const Json::Value& value) {
  const auto [x, y, z] = ReadNumbers<3>(json, value, "[x, y, z]");
  return {x, y, z};
}

hosting::Color ReadColor(const JsonText& json, const Json::Value& value) {
  const auto color = ParseColor(value.isString() ? value.asString() : "");
  if (!color) Expected(json, value, "a colour \"#rrggbb\"");
  return *color;
}

std::size_t ReadChoice(const JsonText& json, const Json::Value& value, std::string_view what,
                       const std::vector<std::string>& choices) {
  const std::string text = ReadText(json, value);
  const auto found = std::find(choices.begin(), choices.end(), text);
  if (found == choices.end()) {
    json.FailAt(value, fmt::format("{} is one of \"{}\", not \"{}\"{}", what,
                                   fmt::join(choices, "\", \""), text, DidYouMean(text, choices)));
  }
  return static_cast<std::size_t>(found - choices.begin());
}

hosting::Key<double> ReadTiming(const JsonText& json, const Json::Value& key) {
  CheckKeys(json, key, "a key",
            {"time", "value", "ease", "in", "out", "in_tangent", "out_tangent"});
  hosting::Key<double> timing;
  timing.seconds = ReadNumber(json, Need(json, key, "time"));
  if (const Json::Value* ease = Find(key, "ease")) {
    static const std::vector<std::string> kEases{"linear", "smooth", "hold"};
    const std::string& name = kEases[ReadChoice(json, *ease, "\"ease\"", kEases)];
    timing.hold = name == "hold";
    if (name == "smooth") timing.in = timing.out = hosting::kSmooth;
  }
  if (const Json::Value* in = Find(key, "in")) timing.in = ReadHandle(json, *in);
  if (const Json::Value* out = Find(key, "out")) timing.out = ReadHandle(json, *out);
  return timing;
}

std::vector<const Json::Value*> KeysOf(const JsonText& json, const Json::Value& value) {
  std::vector<const Json::Value*> elements;
  if (!value.isObject()) return elements;
  CheckKeys(json, value, "an animated value", {"keys"});
  const Json::Value& keys = Need(json, value, "keys");
  if (!keys.isArray() || keys.empty()) Expected(json, keys, "a list of keys");
  for (const Json::Value& key : keys) elements.push_back(&key);
  return elements;
}

}  // namespace app
