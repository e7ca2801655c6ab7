#include "scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "errors.h"
#include "hosting/errors.h"
#include "scene_controls.h"
#include "scene_lights.h"
#include "scene_values.h"

namespace app {
namespace {

hosting::TimeBase ReadTimeBase(const JsonText& json, const Json::Value& root) {
  const Json::Value* rate = Find(root, "frame_rate");
  const Json::Value* layer_rate = Find(root, "layer_frame_rate");
  const hosting::Rational frame_rate = rate ? ReadRational(json, *rate) : hosting::Rational(30, 1);
  try {
    return {frame_rate, layer_rate ? ReadRational(json, *layer_rate) : frame_rate};
  } catch (const hosting::Error& error) {
    json.FailAt(layer_rate ? *layer_rate : rate ? *rate : root, error.what());
  }
}

int ReadFrameCount(const JsonText& json, const Json::Value& root, const hosting::TimeBase& time) {
  const Json::Value& duration = Need(json, root, "duration");
  const double seconds = ReadNumber(json, duration);
  if (!(seconds > 0 && seconds <= time.MaxSeconds())) {
    json.FailAt(duration,
                fmt::format("the duration is more than 0 and at most {:.0f} seconds, not {}",
                            std::floor(time.MaxSeconds()), seconds));
  }
  return std::max(1, static_cast<int>(std::lround(seconds * time.frame_rate().value())));
}

hosting::Rational ReadAspect(const JsonText& json, const Json::Value& value) {
  const hosting::Point pair = ReadPoint(json, value);
  const auto whole = [](double v) { return v >= 1 && v <= 1e6 && v == std::floor(v); };
  if (!whole(pair.x) || !whole(pair.y)) {
    json.FailAt(value, "the pixel aspect is a ratio of whole numbers, as [10, 11]");
  }
  return {static_cast<std::int64_t>(pair.x), static_cast<std::int64_t>(pair.y)};
}

void ReadLayerTimes(const JsonText& json, const Json::Value& root, hosting::Setup& setup) {
  if (const Json::Value* start = Find(root, "layer_start")) {
    const double seconds = ReadNumber(json, *start);
    try {
      setup.layer_start = setup.time.Time(seconds);
    } catch (const hosting::Error& error) {
      json.FailAt(*start, error.what());
    }
  }
  hosting::Span& span = setup.composition.EffectLayer().span;
  if (const Json::Value* in = Find(root, "layer_in")) span.in = ReadNumber(json, *in);
  if (const Json::Value* out = Find(root, "layer_out")) span.out = ReadNumber(json, *out);
}

void ApplyPreset(const std::filesystem::path& path, hosting::ControlTracks& controls) {
  const JsonText json = JsonText::Read(path);
  CheckKeys(json, json.root(), "a preset", {"$schema", "controls"});
  ReadControls(json, Need(json, json.root(), "controls"), controls);
}

/// "Name=value": the value is JSON, or a text that needs no quotes.
void ApplySetting(const std::string& setting, hosting::ControlTracks& controls) {
  const std::size_t equals = setting.find('=');
  if (equals == setting.npos) {
    throw InputError(fmt::format("--set: expected \"Name=value\", found \"{}\"", setting));
  }
  const std::string name = Json::valueToQuotedString(setting.substr(0, equals).c_str());
  const std::string value = setting.substr(equals + 1);
  const auto parsed = [&](const std::string& written) {
    return JsonText::Inline("--set", fmt::format("{{{}: {}}}", name, written));
  };
  const auto json = [&] {
    try {
      return parsed(value);
    } catch (const InputError&) {
      return parsed(Json::valueToQuotedString(value.c_str()));
    }
  }();
  ReadControls(json, json.root(), controls);
}

}  // namespace

Scene ReadScene(const std::filesystem::path& path, const hosting::Effect& effect,
                const LayerOpener& open, const SceneChanges& changes) {
  return ReadScene(JsonText::Read(path), path.parent_path(), effect, open, changes);
}

Scene ReadScene(const JsonText& json, const std::filesystem::path& folder,
                const hosting::Effect& effect, const LayerOpener& open,
                const SceneChanges& changes) {
  const Json::Value& root = json.root();
  CheckKeys(json, root, "a scene",
            {"$schema", "layer", "frame_rate", "duration", "pixel_aspect", "controls", "lights",
             "layer_start", "layer_in", "layer_out", "layer_frame_rate"});
  Scene scene;
  hosting::Setup& setup = scene.setup;
  setup.time = ReadTimeBase(json, root);
  scene.frames = ReadFrameCount(json, root, setup.time);
  ReadLayerTimes(json, root, setup);
  if (const Json::Value* aspect = Find(root, "pixel_aspect")) {
    setup.pixel_aspect = ReadAspect(json, *aspect);
  }
  if (const Json::Value* lights = Find(root, "lights")) {
    ReadLights(json, *lights, setup.composition);
  }
  const Json::Value& picture = Need(json, root, "layer");
  const std::filesystem::path file = folder / ReadText(json, picture);
  LayerSource layer = [&] {
    try {
      return open(file);
    } catch (const InputError& error) {  // what the name says is wrong, not what the file holds
      json.FailAt(picture, error.what());
    }
  }();
  setup.width = layer.width;
  setup.height = layer.height;
  setup.picture = std::move(layer.picture);
  scene.layer_file = std::move(layer.file);

  setup.controls = hosting::ControlTracks(effect.controls(), setup.width, setup.height);
  if (const Json::Value* controls = Find(root, "controls")) {
    ReadControls(json, *controls, setup.controls);
  }
  if (!changes.preset.empty()) ApplyPreset(changes.preset, setup.controls);
  for (const std::string& setting : changes.settings) ApplySetting(setting, setup.controls);
  try {
    setup.Check();
  } catch (const hosting::Error& error) {
    json.FailAt(root, error.what());
  }
  return scene;
}

}  // namespace app
