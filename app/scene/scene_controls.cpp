#include "scene_controls.h"

#include <fmt/format.h>

#include <algorithm>

#include "hosting/errors.h"
#include "scene_values.h"
#include "suggest.h"

namespace app {
namespace {

using hosting::ControlInfo;
using hosting::ControlType;

const ControlInfo& FindControl(const JsonText& json, const Json::Value& object,
                               const Json::Value& value, const std::string& name,
                               const std::vector<ControlInfo>& controls) {
  std::vector<std::string> names;
  for (const ControlInfo& control : controls) {
    if (control.has_value() && control.name == name) return control;
    if (control.has_value()) names.push_back(control.name);
    if (control.type == ControlType::kGroupStart && control.name == name) {
      json.FailAtKey(object, value,
                     fmt::format("\"{}\" is a group of controls, without a value", name));
    }
  }
  json.FailAtKey(object, value,
                 fmt::format("unknown control \"{}\"{}", name, DidYouMean(name, names)));
}

/// Reads a track whose every value the control accepts.
template <class Read>
void SetTrack(const JsonText& json, const Json::Value& value, const ControlInfo& control,
              hosting::ControlTracks& controls, const Read& read) {
  const auto checked = [&](const Json::Value& element) {
    const auto read_value = read(element);
    try {
      controls.Set(control.index, hosting::Track(read_value));
    } catch (const hosting::Error& error) {
      json.FailAt(element, error.what());
    }
    return read_value;
  };
  const auto track = ReadTrack(json, value, checked);
  try {
    controls.Set(control.index, track);
  } catch (const hosting::Error& error) {
    json.FailAt(value, error.what());
  }
}

void SetControl(const JsonText& json, const Json::Value& value, const ControlInfo& control,
                hosting::ControlTracks& controls) {
  const auto set = [&](const auto& read) { SetTrack(json, value, control, controls, read); };
  switch (control.type) {
    case ControlType::kSlider:
    case ControlType::kAngle:
      return set([&](const Json::Value& v) { return ReadNumber(json, v); });
    case ControlType::kPopup:
      return set([&](const Json::Value& v) {
        const std::string what = fmt::format("\"{}\"", control.name);
        return static_cast<int>(ReadChoice(json, v, what, control.choices)) + 1;
      });
    case ControlType::kColor:
      return set([&](const Json::Value& v) { return ReadColor(json, v); });
    case ControlType::kPoint:
      return set([&](const Json::Value& v) { return ReadPoint(json, v); });
    case ControlType::kGroupStart:
    case ControlType::kGroupEnd:
      return;
  }
}

}  // namespace

void ReadControls(const JsonText& json, const Json::Value& value,
                  hosting::ControlTracks& controls) {
  if (!value.isObject()) json.FailAt(value, "expected controls {\"name\": value, ...}");
  for (auto it = value.begin(); it != value.end(); ++it) {
    const ControlInfo& control = FindControl(json, value, *it, it.name(), controls.controls());
    SetControl(json, *it, control, controls);
  }
}

}  // namespace app
