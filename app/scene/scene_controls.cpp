#include "scene_controls.h"

#include <fmt/format.h>

#include "control_list.h"
#include "errors.h"
#include "scene_node.h"
#include "suggest.h"

namespace app {
namespace {

using hosting::ControlInfo;
using hosting::ControlType;

const ControlInfo& FindControl(const Node& node, const std::vector<ControlInfo>& controls) {
  std::vector<std::string> names;
  for (const ControlInfo& control : controls) {
    if (control.has_value() && control.name == node.key()) return control;
    if (control.has_value()) names.push_back(control.name);
    if (control.type == ControlType::kGroupStart && control.name == node.key()) {
      node.FailAtKey(fmt::format("\"{}\" is a group of controls, without a value", control.name));
    }
  }
  node.FailAtKey(
      fmt::format("unknown control \"{}\"{}", node.key(), DidYouMean(node.key(), names)));
}

hosting::ControlTrack ReadControl(const Node& node, ControlType type) {
  switch (type) {
    case ControlType::kSlider:
    case ControlType::kAngle:
      return ReadTrack(node, [](const Node& v) { return v.Number(); });
    case ControlType::kPopup:  // counts from 1
      return ReadTrack(node, [](const Node& v) { return static_cast<int>(v.Choice()) + 1; });
    case ControlType::kColor:
      return ReadTrack(node, [](const Node& v) { return v.Color(); });
    case ControlType::kPoint:
      return ReadTrack(node, [](const Node& v) { return v.Point(); });
    case ControlType::kGroupStart:
    case ControlType::kGroupEnd:
      break;
  }
  node.Fail("a group of controls has no value");
}

/// "Name=value" as {"Name": value}: the value is JSON, or a text that needs no quotes.
JsonText ParseSetting(const std::string& setting) {
  const std::size_t equals = setting.find('=');
  if (equals == setting.npos) {
    throw InputError(fmt::format("--set: expected \"Name=value\", found \"{}\"", setting));
  }
  const std::string name = Json::valueToQuotedString(setting.substr(0, equals).c_str());
  const std::string value = setting.substr(equals + 1);
  const auto parsed = [&](const std::string& written) {
    return JsonText::Inline("--set", fmt::format("{{{}: {}}}", name, written));
  };
  try {
    return parsed(value);
  } catch (const InputError&) {
    return parsed(Json::valueToQuotedString(value.c_str()));
  }
}

}  // namespace

void ReadControls(const Node& node, hosting::ControlTracks& controls) {
  if (!node.IsObject()) node.Fail("expected controls {\"name\": value, ...}");
  Mistakes mistakes;
  for (const Node& part : node.Parts()) {
    mistakes.Try([&] {
      const ControlInfo& control = FindControl(part, controls.controls());
      const KeyFormat format = ControlFormat(control);
      const Node value = part.As(format);
      value.Try([&] { controls.Set(control.index, ReadControl(value, control.type)); });
    });
  }
  mistakes.Tell();
}

void ApplyChanges(const SceneChanges& changes, hosting::ControlTracks& controls) {
  if (!changes.preset.empty()) {
    const JsonText json = JsonText::Read(changes.preset);
    ReadControls(Node(json).Open(PresetFormat()).Need("controls"), controls);
  }
  for (const std::string& setting : changes.settings) {
    const JsonText json = ParseSetting(setting);
    ReadControls(Node(json), controls);
  }
}

Json::Value ChangedControls(const SceneChanges& changes) {
  Json::Value all(Json::objectValue);
  const auto add = [&](const Json::Value& controls) {
    for (const std::string& name : controls.getMemberNames()) all[name] = controls[name];
  };
  if (!changes.preset.empty()) add(JsonText::Read(changes.preset).root()["controls"]);
  for (const std::string& setting : changes.settings) add(ParseSetting(setting).root());
  return all;
}

}  // namespace app
