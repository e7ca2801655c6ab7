#include "scene_schema.h"

#include <fmt/format.h>

#include <initializer_list>
#include <string>
#include <utility>

#include "control_list.h"
#include "scene_lights.h"

namespace app {
namespace {

using hosting::ControlInfo;
using hosting::ControlType;

using Members = std::initializer_list<std::pair<const char*, Json::Value>>;

Json::Value Type(const char* type) {
  Json::Value out;
  out["type"] = type;
  return out;
}

Json::Value Number(double min, double max) {
  Json::Value out = Type("number");
  out["minimum"] = min;
  out["maximum"] = max;
  return out;
}

Json::Value Numbers(int count) {
  Json::Value out = Type("array");
  out["items"] = Type("number");
  out["minItems"] = out["maxItems"] = count;
  return out;
}

Json::Value Texts(const std::vector<std::string>& choices) {
  Json::Value out = Type("string");
  for (const std::string& choice : choices) out["enum"].append(choice);
  return out;
}

Json::Value Color() {
  Json::Value out = Type("string");
  out["pattern"] = "^#[0-9a-fA-F]{6}$";
  return out;
}

Json::Value Object(const Members& members, const std::vector<std::string>& required) {
  Json::Value out = Type("object");
  out["additionalProperties"] = false;
  for (const auto& [name, schema] : members) out["properties"][name] = schema;
  for (const std::string& name : required) out["required"].append(name);
  return out;
}

Json::Value AnyOf(std::initializer_list<Json::Value> schemas) {
  Json::Value out;
  for (const Json::Value& schema : schemas) out["anyOf"].append(schema);
  return out;
}

/// The value itself, or keys.
Json::Value Animated(const Json::Value& value, bool is_point = false) {
  Json::Value handle = Type("array");
  handle["prefixItems"].append(Number(0, 1));
  handle["prefixItems"].append(Type("number"));
  handle["minItems"] = handle["maxItems"] = 2;
  Json::Value key = Object({{"time", Type("number")},
                            {"value", value},
                            {"ease", Texts({"linear", "smooth", "hold"})},
                            {"in", handle},
                            {"out", handle}},
                           {"time", "value"});
  if (is_point) key["properties"]["in_tangent"] = key["properties"]["out_tangent"] = Numbers(2);
  Json::Value keys = Type("array");
  keys["items"] = key;
  keys["minItems"] = 1;
  return AnyOf({value, Object({{"keys", keys}}, {"keys"})});
}

Json::Value Value(const ControlInfo& control) {
  switch (control.type) {
    case ControlType::kSlider:
      return Number(control.valid.min, control.valid.max);
    case ControlType::kAngle:
      return Type("number");
    case ControlType::kPopup:
      return Texts(control.choices);
    case ControlType::kColor:
      return Color();
    case ControlType::kPoint:
      return Numbers(2);
    case ControlType::kGroupStart:
    case ControlType::kGroupEnd:
      break;
  }
  return {};
}

Json::Value Controls(const std::vector<ControlInfo>& controls) {
  Json::Value out = Object({}, {});
  for (const ControlInfo& control : controls) {
    if (!control.has_value()) continue;
    const bool is_point = control.type == ControlType::kPoint;
    Json::Value schema = control.can_vary ? Animated(Value(control), is_point) : Value(control);
    // A point's default depends on the layer's size.
    if (!is_point) schema["default"] = DefaultAsJson(control);
    out["properties"][control.name] = schema;
  }
  return out;
}

Json::Value Light(const LightKeys& light) {
  Json::Value out = Object({{"type", Texts({light.type})}}, {"type"});
  const Members all = {{"name", Type("string")},
                       {"in", Type("number")},
                       {"out", Type("number")},
                       {"intensity", Animated(Type("number"))},
                       {"color", Animated(Color())},
                       {"position", Animated(Numbers(3))},
                       {"target", Animated(Numbers(3))},
                       {"rotation", Animated(Numbers(3))},
                       {"cone_angle", Animated(Number(0, 180))},
                       {"cone_feather", Animated(Number(0, 100))}};
  for (const auto& [name, schema] : all) {
    if (light.keys.contains(name)) out["properties"][name] = schema;
  }
  if (light.needs_position) out["required"].append("position");
  return out;
}

Json::Value Lights() {
  Json::Value out = Type("array");
  for (const LightKeys& light : KeysOfLights()) out["items"]["oneOf"].append(Light(light));
  return out;
}

Json::Value Titled(Json::Value schema, const char* title) {
  schema["$schema"] = "https://json-schema.org/draft/2020-12/schema";
  schema["title"] = title;
  return schema;
}

}  // namespace

Json::Value PresetSchema(const std::vector<ControlInfo>& controls) {
  const Json::Value preset =
      Object({{"$schema", Type("string")}, {"controls", Controls(controls)}}, {"controls"});
  return Titled(preset, "A vorlin preset");
}

Json::Value SceneSchema(const std::vector<ControlInfo>& controls) {
  const Json::Value rate = AnyOf({Type("number"), Type("string")});
  const Json::Value scene = Object({{"$schema", Type("string")},
                                    {"layer", Type("string")},
                                    {"frame_rate", rate},
                                    {"duration", Type("number")},
                                    {"pixel_aspect", Numbers(2)},
                                    {"controls", Controls(controls)},
                                    {"lights", Lights()},
                                    {"layer_start", Type("number")},
                                    {"layer_in", Type("number")},
                                    {"layer_out", Type("number")},
                                    {"layer_frame_rate", rate}},
                                   {"layer", "duration"});
  return Titled(scene, "A vorlin scene");
}

}  // namespace app
