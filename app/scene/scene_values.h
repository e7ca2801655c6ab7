#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "hosting/keyframes.h"
#include "hosting/rational.h"
#include "hosting/values.h"
#include "json_position.h"

/// Reading single values of a scene. All throw InputError with the value's position when it is not
/// what is expected.
namespace app {

/// Checks that `value` is an object that has no keys but `keys`. `what` names it, as "the scene".
void CheckKeys(const JsonText& json, const Json::Value& value, std::string_view what,
               const std::vector<std::string>& keys);

/// The value of a key, or null when the object lacks it.
const Json::Value* Find(const Json::Value& object, std::string_view key);

/// The same, for a key that must be there.
const Json::Value& Need(const JsonText& json, const Json::Value& object, std::string_view key);

double ReadNumber(const JsonText& json, const Json::Value& value);
std::string ReadText(const JsonText& json, const Json::Value& value);
/// 30, 29.97 or "30000/1001", exactly as written.
hosting::Rational ReadRational(const JsonText& json, const Json::Value& value);
/// [x, y]
hosting::Point ReadPoint(const JsonText& json, const Json::Value& value);
/// [x, y, z]
hosting::Vec3 ReadVec3(const JsonText& json, const Json::Value& value);
/// "#rrggbb"
hosting::Color ReadColor(const JsonText& json, const Json::Value& value);
/// The index of the text among `choices`; `what` names what is chosen.
std::size_t ReadChoice(const JsonText& json, const Json::Value& value, std::string_view what,
                       const std::vector<std::string>& choices);

/// What a key says besides its value. The tangents are left zero.
hosting::Key<double> ReadTiming(const JsonText& json, const Json::Value& key);

/// The elements of {"keys": [...]}, or an empty list when `value` is no such object.
std::vector<const Json::Value*> KeysOf(const JsonText& json, const Json::Value& value);

/// A constant, or {"keys": [{"time": 0, "value": ...}, ...]}. `read` makes a value of a JSON value.
template <class Read>
auto ReadTrack(const JsonText& json, const Json::Value& value, const Read& read) {
  using Value = decltype(read(value));
  const std::vector<const Json::Value*> elements = KeysOf(json, value);
  if (elements.empty()) return hosting::Track<Value>(read(value));

  std::vector<hosting::Key<Value>> keys;
  for (const Json::Value* element : elements) {
    const hosting::Key<double> timing = ReadTiming(json, *element);
    hosting::Key<Value> key{.seconds = timing.seconds,
                            .value = read(Need(json, *element, "value")),
                            .hold = timing.hold,
                            .in = timing.in,
                            .out = timing.out};
    for (const auto& [name, tangent] :
         {std::pair("in_tangent", &hosting::Key<Value>::in_tangent),
          std::pair("out_tangent", &hosting::Key<Value>::out_tangent)}) {
      const Json::Value* written = Find(*element, name);
      if (written == nullptr) continue;
      if (!std::is_same_v<Value, hosting::Point>) {
        json.FailAtKey(*element, *written, "only points in the plane have tangents");
      }
      key.*tangent = ReadPoint(json, *written);
    }
    if (!keys.empty() && !(keys.back().seconds < key.seconds)) {
      json.FailAt(Need(json, *element, "time"), "keys must rise in time");
    }
    keys.push_back(std::move(key));
  }
  return hosting::Track<Value>(std::move(keys));
}

}  // namespace app
