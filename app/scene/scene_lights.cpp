#include "scene_lights.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

#include "color_text.h"
#include "errors.h"
#include "json_text.h"

namespace app {
namespace {

using hosting::kLightProperties;
using hosting::Light;
using hosting::LightKind;

/// A row of the host's table as scenes write it.
KeyFormat Property(const hosting::LightProperty& property, ValueType type, Json::Value example,
                   const char* says) {
  const double initial = property.initial;
  const bool whole = initial == std::floor(initial);
  const Json::Value v =
      whole ? Json::Value(static_cast<Json::Int64>(initial)) : Json::Value(initial);
  const bool color = type == ValueType::kColor;  // as text, which is always in range
  return {.name = property.name,
          .type = type,
          .unit = property.unit,
          .range = color ? kAnyNumber : property.range,
          .initial = type == ValueType::kTriple ? JsonList(v, v, v)
                     : color ? Json::Value(ColorText({initial, initial, initial}))
                             : v,
          .example = std::move(example),
          .says = says,
          .animated = true};
}

std::vector<KeyFormat> KeysOfEveryLight(const std::string& type) {
  return {
      {.name = "type",
       .type = ValueType::kChoice,
       .choices = {type},
       .example = type,
       .says = "The kind of light.",
       .needed = true},
      {.name = "name",
       .type = ValueType::kText,
       .example = "sun",
       .says = "Your own name for it; nothing depends on it."},
      {.name = "in",
       .type = ValueType::kNumber,
       .unit = "seconds",
       .example = 0.5,
       .says = "When it goes on; without this key it is on from the start."},
      {.name = "out",
       .type = ValueType::kNumber,
       .unit = "seconds",
       .example = 2.5,
       .says = "When it goes off; without this key it stays on."},
      Property(kLightProperties.intensity, ValueType::kNumber, 130,
               "How strong it is; a negative light takes light away."),
      Property(kLightProperties.color, ValueType::kColor, "#ffcf9a", "Its colour."),
  };
}

KeyFormat PositionKey(bool needed) {
  KeyFormat key = Property(kLightProperties.position, ValueType::kTriple, JsonList(480, 100, -500),
                           "Where it stands; z is negative in front of the layer. A parallel light "
                           "without it stands at [0, 0, 0].");
  key.needed = needed;
  if (needed) key.initial = {};
  return key;
}

std::vector<KeyFormat> AimKeys() {
  KeyFormat target =
      Property(kLightProperties.target, ValueType::kTriple, JsonList(480, 270, 0),
               "The point it shines at; without this key it shines straight into the layer.");
  target.initial = {};
  return {target,
          Property(kLightProperties.rotation, ValueType::kTriple, JsonList(0, 30, 0),
                   "Turns it about its own axes, z first, then y, then x, before it is aimed.")};
}

std::vector<KeyFormat> ConeKeys() {
  return {
      Property(kLightProperties.cone_angle, ValueType::kNumber, 80, "The whole angle of the cone."),
      Property(kLightProperties.cone_feather, ValueType::kNumber, 60,
               "How soft the cone's edge is.")};
}

ObjectFormat MakeLightFormat(LightKind kind) {
  const std::string& type = LightTypeFormat().choices[static_cast<std::size_t>(kind)];
  ObjectFormat format{fmt::format("a light of type \"{}\"", type), KeysOfEveryLight(type)};
  const auto add = [&](const std::vector<KeyFormat>& keys) {
    format.keys.insert(format.keys.end(), keys.begin(), keys.end());
  };
  const bool has_direction = kind == LightKind::kParallel || kind == LightKind::kSpot;
  if (kind != LightKind::kAmbient) add({PositionKey(kind != LightKind::kParallel)});
  if (has_direction) add(AimKeys());
  if (kind == LightKind::kSpot) add(ConeKeys());
  return format;
}

hosting::Layer ReadLight(const Node& node) {
  if (!node.IsObject()) node.Fail("expected a light {\"type\": ..., ...}");
  hosting::Layer layer;
  layer.kind = hosting::Layer::Kind::kLight;
  Light& light = layer.light;
  light.kind = static_cast<hosting::LightKind>(
      node.Need("type").As(LightTypeFormat()).Choice("a light's type"));
  const Node keys = node.Open(LightFormat(light.kind));
  if (const auto name = keys.Find("name")) layer.name = name->Text();
  if (const auto in = keys.Find("in")) layer.span.in = in->Number();
  if (const auto out = keys.Find("out")) layer.span.out = out->Number();

  const auto read = [&](const hosting::LightProperty& property, auto& track, auto value) {
    if (const auto found = keys.Find(property.name)) {
      track = ReadTrack(*found, [&](const Node& v) { return (v.*value)(); });
    }
  };
  read(kLightProperties.position, light.position, &Node::Triple);
  read(kLightProperties.target, light.target, &Node::Triple);
  read(kLightProperties.rotation, light.rotation, &Node::Triple);
  read(kLightProperties.intensity, light.intensity, &Node::Number);
  read(kLightProperties.color, light.color, &Node::Color);
  read(kLightProperties.cone_angle, light.cone_angle, &Node::Number);
  read(kLightProperties.cone_feather, light.cone_feather, &Node::Number);
  return layer;
}

}  // namespace

const KeyFormat& LightTypeFormat() {
  static const KeyFormat kType{.name = "type",
                               .type = ValueType::kChoice,
                               .choices = {"parallel", "spot", "point", "ambient"}};
  return kType;
}

const ObjectFormat& LightFormat(LightKind kind) {
  static const std::array<ObjectFormat, 4> kLights{
      MakeLightFormat(LightKind::kParallel), MakeLightFormat(LightKind::kSpot),
      MakeLightFormat(LightKind::kPoint), MakeLightFormat(LightKind::kAmbient)};
  return kLights[static_cast<std::size_t>(kind)];
}

void ReadLights(const Node& node, hosting::Composition& composition) {
  if (!node.IsList()) node.Fail("expected a list of lights");
  Mistakes mistakes;
  for (const Node& light : node.Parts()) {
    mistakes.Try([&] { composition.AddLight(ReadLight(light)); });
  }
  mistakes.Tell();
}

}  // namespace app
