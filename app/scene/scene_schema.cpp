#include "scene_schema.h"

#include <fmt/format.h>

#include <string>

#include "control_list.h"
#include "json_text.h"
#include "scene_lights.h"

namespace app {
namespace {

Json::Value Type(const char* type) {
  Json::Value out;
  out["type"] = type;
  return out;
}

Json::Value Number(const KeyFormat& format) {
  Json::Value out = Type("number");
  if (format.positive) out["exclusiveMinimum"] = 0;
  if (format.range.min != kAnyNumber.min) out["minimum"] = format.range.min;
  if (format.range.max != kAnyNumber.max) out["maximum"] = format.range.max;
  return out;
}

Json::Value List(const Json::Value& item, int count) {
  Json::Value out = Type("array");
  out["items"] = item;
  out["minItems"] = out["maxItems"] = count;
  return out;
}

Json::Value Pattern(const char* pattern) {
  Json::Value out = Type("string");
  out["pattern"] = pattern;
  return out;
}

Json::Value Ref(const std::string& name) {
  Json::Value out;
  out["$ref"] = "#/$defs/" + name;
  return out;
}

Json::Value AnyOf(const Json::Value& one, const Json::Value& other) {
  Json::Value out;
  out["anyOf"] = JsonList(one, other);
  return out;
}

/// A handle: its time is in range, its progress any number.
Json::Value Handle(const KeyFormat& format) {
  Json::Value out = List(Type("number"), 2);
  out["prefixItems"] = JsonList(Number(format));
  return out;
}

Json::Value Object(const ObjectFormat& format);

Json::Value Lights() {
  Json::Value out = Type("array");
  for (std::size_t i = 0; i < LightTypeFormat().choices.size(); ++i) {
    out["items"]["oneOf"].append(Object(LightFormat(static_cast<hosting::LightKind>(i))));
  }
  return out;
}

/// What may stand under a key as it is, without keys.
Json::Value Value(const KeyFormat& format) {
  switch (format.type) {
    case ValueType::kText:
      return Type("string");
    case ValueType::kNumber:
      return Number(format);
    case ValueType::kRate:
      return AnyOf(Number(format), Pattern("^[0-9]+([./][0-9]+)?$"));
    case ValueType::kWholePair: {
      Json::Value whole = Number(format);
      whole["type"] = "integer";
      return List(whole, 2);
    }
    case ValueType::kPoint:
      return List(Number(format), 2);
    case ValueType::kSpans: {
      Json::Value spans = Type("array");
      spans["items"] = List(Number(format), 2);
      return spans;
    }
    case ValueType::kTriple:
      return List(Number(format), 3);
    case ValueType::kColor:
      return Pattern("^#[0-9a-fA-F]{6}$");
    case ValueType::kChoice: {
      Json::Value out = Type("string");
      for (const std::string& choice : format.choices) out["enum"].append(choice);
      return out;
    }
    case ValueType::kHandle:
      return Handle(format);
    case ValueType::kControls:
      return Ref("controls");
    case ValueType::kLights:
      return Lights();
    case ValueType::kKeyed:
    case ValueType::kKeys:
      break;
  }
  return {};
}

/// {"keys": [...]} of such values.
Json::Value Keys(const KeyFormat& format) {
  Json::Value key = Type("object");
  key["additionalProperties"] = false;
  for (const KeyFormat& part : KeyframeFormat().keys) {
    if (part.type == ValueType::kPoint && format.type != ValueType::kPoint) continue;
    const bool keyed = part.type == ValueType::kKeyed;
    key["properties"][part.name] = keyed ? Value(format) : Ref("key_" + part.name);
    if (part.needed) key["required"].append(part.name);
  }
  Json::Value out = Object(KeysFormat());
  out["properties"]["keys"]["type"] = "array";
  out["properties"]["keys"]["items"] = key;
  out["properties"]["keys"]["minItems"] = 1;
  return out;
}

/// The sentence, the unit and the range.
std::string Description(const KeyFormat& format) {
  std::string limits = RangeText(format);
  if (!format.unit.empty()) limits = format.unit + (limits.empty() ? "" : ", " + limits);
  if (limits.empty() || format.says.empty()) return format.says + limits;
  return fmt::format("{} ({})", format.says, limits);
}

Json::Value Described(const KeyFormat& format) {
  Json::Value out = format.animated ? AnyOf(Value(format), Keys(format)) : Value(format);
  if (const std::string text = Description(format); !text.empty()) out["description"] = text;
  if (!format.initial.isNull()) out["default"] = format.initial;
  if (!format.example.isNull()) out["examples"] = JsonList(format.example);
  return out;
}

Json::Value Object(const ObjectFormat& format) {
  Json::Value out = Type("object");
  out["additionalProperties"] = false;
  for (const KeyFormat& key : format.keys) {
    out["properties"][key.name] = Described(key);
    if (key.needed) out["required"].append(key.name);
  }
  return out;
}

Json::Value Whole(const ObjectFormat& format, const char* title,
                  const std::vector<hosting::ControlInfo>& controls) {
  Json::Value out = Object(format);
  out["$schema"] = "https://json-schema.org/draft/2020-12/schema";
  out["title"] = title;
  out["$defs"]["controls"] = Object(ControlsFormat(controls));
  for (const KeyFormat& key : KeyframeFormat().keys) {
    if (key.type != ValueType::kKeyed) out["$defs"]["key_" + key.name] = Described(key);
  }
  return out;
}

}  // namespace

Json::Value PresetSchema(const std::vector<hosting::ControlInfo>& controls) {
  return Whole(PresetFormat(), "A vorlin preset", controls);
}

Json::Value SceneSchema(const std::vector<hosting::ControlInfo>& controls) {
  return Whole(SceneFormat(), "A vorlin scene", controls);
}

}  // namespace app
