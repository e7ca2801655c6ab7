#include "scene_format.h"

#include <fmt/format.h>

#include <algorithm>

#include "json_text.h"
#include "suggest.h"

namespace app {
namespace {

/// {"key": value}
Json::Value Member(const char* key, const Json::Value& value) {
  Json::Value object;
  object[key] = value;
  return object;
}

KeyFormat SchemaKey() {
  return {.name = "$schema",
          .type = ValueType::kText,
          .example = "scene.schema.json",
          .says = "Where your editor finds the JSON Schema; the program passes it over."};
}

KeyFormat ControlsKey(bool needed) {
  return {.name = "controls",
          .type = ValueType::kControls,
          .example = Member("Stroke Width", 6.5),
          .says = "Values of the effect's controls, by name; the others keep their defaults.",
          .needed = needed};
}

}  // namespace

const KeyFormat* ObjectFormat::Find(std::string_view name) const {
  const auto found = std::find_if(keys.begin(), keys.end(),
                                  [&](const KeyFormat& key) { return key.name == name; });
  return found == keys.end() ? nullptr : &*found;
}

std::string ObjectFormat::DidYouMean(std::string_view name) const {
  std::vector<std::string> names;
  for (const KeyFormat& key : keys) {
    for (const std::string& other : key.also_called) {
      if (other == name) return fmt::format("; did you mean \"{}\"?", key.name);
    }
    names.push_back(key.name);
  }
  return app::DidYouMean(name, names);
}

std::string RangeText(const KeyFormat& format) {
  if (format.positive) return "more than 0";
  if (format.range.max == kAnyNumber.max) return "";
  const char* which = format.type == ValueType::kHandle ? "time " : "";
  return fmt::format("{}{:.7g} to {:.7g}", which, format.range.min, format.range.max);
}

const ObjectFormat& SceneFormat() {
  static const ObjectFormat kScene{
      "a scene",
      {
          SchemaKey(),
          {.name = "layer",
           .type = ValueType::kText,
           .example = "plate.####.exr",
           .says =
               "What is under the stroke: a picture, a movie, or a numbered sequence with # for "
               "each digit. Its path starts at the scene's own folder.",
           .also_called = {"source", "input", "picture", "image", "movie", "video", "clip"},
           .needed = true},
          {.name = "missing",
           .type = ValueType::kChoice,
           .choices = {"error", "hold"},
           .initial = "error",
           .example = "hold",
           .says = "What becomes of a picture of a sequence that is missing, cannot be read or has "
                   "another size: an error, or the one before it stays."},
          {.name = "duration",
           .type = ValueType::kNumber,
           .unit = "seconds",
           .example = 3.5,
           .says =
               "How long the scene is; without this key as long as its movie or sequence, over a "
               "picture until the last key of \"Brush Position\".",
           .also_called = {"length", "seconds", "frames"},
           .positive = true},
          {.name = "frame_rate",
           .type = ValueType::kRate,
           .unit = "frames a second",
           .initial = 30,
           .example = "30000/1001",
           .says = "How many frames the scene has in a second; without this key as many as its "
                   "movie. 23.976 means 24000/1001, 29.97 means 30000/1001.",
           .also_called = {"fps", "rate", "framerate"},
           .positive = true},
          {.name = "pixel_aspect",
           .type = ValueType::kWholePair,
           .range = {1, 1e6},
           .initial = JsonList(1, 1),
           .example = JsonList(10, 11),
           .says = "How wide a pixel of the layer is, to how high; without this key as its movie "
                   "says."},
          ControlsKey(false),
          {.name = "pen",
           .type = ValueType::kSpans,
           .unit = "seconds",
           .example = JsonList(JsonList(0, 1.2), JsonList(1.5, 2.5)),
           .says = "When the brush touches the picture; without this key always. Outside these "
                   "spans \"Stroke Width\" is 0, whatever else says of it. Their times are the "
                   "layer's own, as those of the controls' keys."},
          {.name = "lights",
           .type = ValueType::kLights,
           .example = JsonList(Member("type", "ambient")),
           .says = "The lights of the composition, the topmost first; they shine when the control "
                   "\"Using\" is \"AE Lights\"."},
          {.name = "layer_start",
           .type = ValueType::kNumber,
           .unit = "seconds",
           .initial = 0,
           .example = 0.5,
           .says = "When the layer's own time is 0; its frames and its controls' keys count from "
                   "there."},
          {.name = "layer_in",
           .type = ValueType::kNumber,
           .unit = "seconds",
           .example = 1,
           .says = "When the layer appears; without this key it is there from the start."},
          {.name = "layer_out",
           .type = ValueType::kNumber,
           .unit = "seconds",
           .example = 2.5,
           .says = "When the layer disappears; without this key it stays."},
          {.name = "layer_frame_rate",
           .type = ValueType::kRate,
           .unit = "frames a second",
           .example = 24,
           .says = "How many frames the layer has in a second; without this key as many as the "
                   "scene.",
           .positive = true},
      }};
  return kScene;
}

const ObjectFormat& PresetFormat() {
  static const ObjectFormat kPreset{"a preset", {SchemaKey(), ControlsKey(true)}};
  return kPreset;
}

const ObjectFormat& KeysFormat() {
  static const ObjectFormat kKeys{"an animated value",
                                  {{.name = "keys",
                                    .type = ValueType::kKeys,
                                    .says = "The value's keys, in order of time.",
                                    .needed = true}}};
  return kKeys;
}

const ObjectFormat& KeyframeFormat() {
  const auto handle = [](const char* name, const char* says) {
    return KeyFormat{.name = name,
                     .type = ValueType::kHandle,
                     .range = {0, 1},
                     .example = JsonList(0.4, 0),
                     .says = says};
  };
  const auto tangent = [](const char* name, const char* says) {
    return KeyFormat{.name = name,
                     .type = ValueType::kPoint,
                     .unit = "layer pixels",
                     .initial = JsonList(0, 0),
                     .example = JsonList(0, -120),
                     .says = says};
  };
  static const ObjectFormat kKeyframe{
      "a key",
      {
          {.name = "time",
           .type = ValueType::kNumber,
           .unit = "seconds",
           .example = 1.5,
           .says = "When the value is reached.",
           .needed = true},
          {.name = "value",
           .type = ValueType::kKeyed,
           .example = 12,
           .says = "The value, written as it would be without keys.",
           .needed = true},
          {.name = "ease",
           .type = ValueType::kChoice,
           .choices = {"linear", "smooth", "hold"},
           .initial = "linear",
           .example = "smooth",
           .says = "How the value comes to this key and leaves it: evenly, softly, or not at all "
                   "until the next key."},
          handle("in", "Bends the change before this key, in place of its ease."),
          handle("out", "Bends the change after this key, in place of its ease."),
          tangent("in_tangent", "Points only: where the path comes from, seen from this key."),
          tangent("out_tangent", "Points only: where the path heads, seen from this key."),
      }};
  return kKeyframe;
}

}  // namespace app
