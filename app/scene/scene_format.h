#pragma once

#include <json/json.h>

#include <string>
#include <string_view>
#include <vector>

#include "hosting/light.h"

/// The format of scenes and presets, once: what is read, the JSON Schema and the tables of the
/// documentation all come from here, from the formats of lights, and from the effect's own
/// controls.
namespace app {

enum class ValueType {
  kText,
  kNumber,
  kRate,       // 30, 29.97 or "30000/1001"
  kWholePair,  // [x, y], whole numbers
  kPoint,      // [x, y]
  kTriple,     // [x, y, z]
  kColor,      // "#rrggbb"
  kChoice,     // one of the choices
  kSpans,      // [[in, out], ...], rising
  kHandle,     // [time, progress]
  kKeyed,      // what the keys are of
  kKeys,
  kControls,
  kLights,
};

inline constexpr hosting::Range kAnyNumber = hosting::LightProperties::kAnyNumber;

/// A key of an object, and what may stand under it.
struct KeyFormat {
  std::string name;
  ValueType type = ValueType::kText;
  std::string unit = {};              // in the plural; empty: none
  hosting::Range range = kAnyNumber;  // of every number; a handle's of its time
  double slack = 0;                   // what lies that little beyond the range is in it
  std::vector<std::string> choices = {};
  Json::Value initial = {};  // where nothing is said; null: none, or it depends
  Json::Value example = {};
  std::string says = {};                      // one sentence
  std::vector<std::string> also_called = {};  // in other programs; said in hints alone
  bool needed = false;
  bool animated = false;  // may be {"keys": [...]} too
  bool positive = false;  // more than 0; how much more depends on other keys

  /// Whether a number is in range.
  bool Holds(double v) const {
    return range.Holds(v) || (v > range.min - slack && v < range.max + slack);
  }
};

/// "0 to 100", "more than 0", or "" where any number will do.
std::string RangeText(const KeyFormat& format);

/// An object and all keys that it may have.
struct ObjectFormat {
  std::string what;  // for messages, as "a scene"
  std::vector<KeyFormat> keys;

  /// Null when there is no such key.
  const KeyFormat* Find(std::string_view name) const;
  /// `; did you mean "frame_rate"?` for the key that is likely meant, or "".
  std::string DidYouMean(std::string_view name) const;
};

const ObjectFormat& SceneFormat();
const ObjectFormat& PresetFormat();

/// What an animated value is besides the value itself.
const ObjectFormat& KeysFormat();
/// One of these keys; tangents are for points in the plane alone.
const ObjectFormat& KeyframeFormat();

}  // namespace app
