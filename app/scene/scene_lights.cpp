#include "scene_lights.h"

#include <fmt/format.h>

#include "hosting/errors.h"
#include "scene_values.h"

namespace app {
namespace {

using hosting::Light;

void CheckInRange(const JsonText& json, const Json::Value& value, const Light& light) {
  hosting::Composition alone;
  alone.AddLight({hosting::Layer::Kind::kLight, "light", true, {}, light});
  try {
    alone.Check();
  } catch (const hosting::Error& error) {
    json.FailAt(value, error.what());
  }
}

/// Sets one property when the light has it; every value must be in the property's range by itself.
template <class Property, class Read>
void ReadProperty(const JsonText& json, const Json::Value& object, const char* key, Light& light,
                  Property Light::*property, const Read& read) {
  const Json::Value* value = Find(object, key);
  if (value == nullptr) return;
  light.*property = ReadTrack(json, *value, [&](const Json::Value& element) {
    const auto read_value = read(json, element);
    Light probe;
    probe.*property = hosting::Track(read_value);
    CheckInRange(json, element, probe);
    return read_value;
  });
}

hosting::Layer ReadLight(const JsonText& json, const Json::Value& value) {
  if (!value.isObject()) json.FailAt(value, "expected a light {\"type\": ..., ...}");
  std::vector<std::string> types;
  for (const LightKeys& light : KeysOfLights()) types.push_back(light.type);
  const std::size_t kind = ReadChoice(json, Need(json, value, "type"), "a light's type", types);
  const LightKeys& keys = KeysOfLights()[kind];
  CheckKeys(json, value, fmt::format("a light of type \"{}\"", keys.type),
            {keys.keys.begin(), keys.keys.end()});
  if (keys.needs_position) Need(json, value, "position");

  hosting::Layer layer;
  layer.kind = hosting::Layer::Kind::kLight;
  if (const Json::Value* name = Find(value, "name")) layer.name = ReadText(json, *name);
  if (const Json::Value* in = Find(value, "in")) layer.span.in = ReadNumber(json, *in);
  if (const Json::Value* out = Find(value, "out")) layer.span.out = ReadNumber(json, *out);

  Light& light = layer.light;
  light.kind = static_cast<hosting::LightKind>(kind);
  ReadProperty(json, value, "position", light, &Light::position, ReadVec3);
  ReadProperty(json, value, "target", light, &Light::target, ReadVec3);
  ReadProperty(json, value, "rotation", light, &Light::rotation, ReadVec3);
  ReadProperty(json, value, "intensity", light, &Light::intensity, ReadNumber);
  ReadProperty(json, value, "color", light, &Light::color, ReadColor);
  ReadProperty(json, value, "cone_angle", light, &Light::cone_angle, ReadNumber);
  ReadProperty(json, value, "cone_feather", light, &Light::cone_feather, ReadNumber);
  return layer;
}

}  // namespace

const std::vector<LightKeys>& KeysOfLights() {
  static const std::set<std::string> kAll{"type", "name", "in", "out", "intensity", "color"};
  const auto with = [](std::set<std::string> more) {
    more.insert(kAll.begin(), kAll.end());
    return more;
  };
  static const std::vector<LightKeys> kLights{
      {"parallel", with({"position", "target", "rotation"}), false},
      {"spot", with({"position", "target", "rotation", "cone_angle", "cone_feather"}), true},
      {"point", with({"position"}), true},
      {"ambient", kAll, false},
  };
  return kLights;
}

void ReadLights(const JsonText& json, const Json::Value& value, hosting::Composition& composition) {
  if (!value.isArray()) json.FailAt(value, "expected a list of lights");
  for (const Json::Value& light : value) composition.AddLight(ReadLight(json, light));
}

}  // namespace app
