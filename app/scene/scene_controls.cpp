#include "scene_controls.h"

#include <fmt/format.h>

#include "control_list.h"
#include "scene_track.h"
#include "suggest.h"

namespace app {
namespace {

using hosting::ControlInfo;
using hosting::ControlType;

// Numbers of controls are 16.16: their limits are cut off by up to this.
constexpr double kFixedUlp = 1.0 / 65536;

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

}  // namespace

KeyFormat ControlFormat(const ControlInfo& control) {
  KeyFormat format{.name = control.name, .animated = control.can_vary};
  constexpr hosting::Range kFixed{-hosting::kFixedLimit, hosting::kFixedLimit};
  // A point's default depends on the layer's size.
  if (control.type != ControlType::kPoint) format.initial = DefaultAsJson(control);
  switch (control.type) {
    case ControlType::kSlider:
      format.type = ValueType::kNumber;
      format.unit = control.percent ? "percent" : "";
      format.range = control.valid;
      format.slack = kFixedUlp;
      break;
    case ControlType::kAngle:
      format.type = ValueType::kNumber;
      format.unit = "degrees";
      format.range = kFixed;
      break;
    case ControlType::kPopup:
      format.type = ValueType::kChoice;
      format.choices = control.choices;
      break;
    case ControlType::kColor:
      format.type = ValueType::kColor;
      break;
    case ControlType::kPoint:
      format.type = ValueType::kPoint;
      format.unit = "layer pixels";
      format.range = kFixed;
      break;
    case ControlType::kGroupStart:
    case ControlType::kGroupEnd:
      break;
  }
  return format;
}

ObjectFormat ControlsFormat(const std::vector<ControlInfo>& controls) {
  ObjectFormat format{"an effect", {}};
  for (const ControlInfo& control : controls) {
    if (control.has_value()) format.keys.push_back(ControlFormat(control));
  }
  return format;
}

void ReadControls(const Node& node, hosting::ControlTracks& controls) {
  if (!node.IsObject()) node.Fail("expected controls {\"name\": value, ...}");
  for (const Node& part : node.Parts()) {
    const ControlInfo& control = FindControl(part, controls.controls());
    const KeyFormat format = ControlFormat(control);
    const Node value = part.As(format);
    value.Try([&] { controls.Set(control.index, ReadControl(value, control.type)); });
  }
}

}  // namespace app
