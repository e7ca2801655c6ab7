#include "control_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "color_text.h"
#include "json_text.h"

namespace app {
namespace {

using hosting::ControlInfo;
using hosting::ControlType;

// Numbers of controls are 16.16: their limits are cut off by up to this.
constexpr double kFixedUlp = 1.0 / 65536;

/// A slider's number as its control shows it.
double Shown(const ControlInfo& control, double value) {
  if (control.type != ControlType::kSlider) return value;
  const double unit = std::pow(10.0, control.precision);
  return std::round(value * unit) / unit;
}

const char* TypeName(ControlType type) {
  switch (type) {
    case ControlType::kSlider:
      return "slider";
    case ControlType::kAngle:
      return "angle";
    case ControlType::kPopup:
      return "popup";
    case ControlType::kColor:
      return "colour";
    case ControlType::kPoint:
      return "point";
    case ControlType::kGroupStart:
      return "group";
    case ControlType::kGroupEnd:
      return "group end";
  }
  return "";
}

/// As scenes write it; points in percent of the layer's size.
Json::Value DefaultAsJson(const ControlInfo& control) {
  switch (control.type) {
    case ControlType::kSlider:
    case ControlType::kAngle:
      return Shown(control, std::get<double>(control.default_value));
    case ControlType::kPopup:
      return control.choices[static_cast<std::size_t>(std::get<int>(control.default_value) - 1)];
    case ControlType::kColor:
      return ColorText(std::get<hosting::Color>(control.default_value));
    case ControlType::kPoint: {
      const auto point = std::get<hosting::Point>(control.default_value);
      return JsonList(point.x, point.y);
    }
    case ControlType::kGroupStart:
    case ControlType::kGroupEnd:
      return {};
  }
  return {};
}

std::string DefaultText(const ControlInfo& control) {
  switch (control.type) {
    case ControlType::kSlider:
      return fmt::format("{}{}  ({} to {})",
                         Shown(control, std::get<double>(control.default_value)),
                         control.percent ? " %" : "", Shown(control, control.valid.min),
                         Shown(control, control.valid.max));
    case ControlType::kAngle:
      return fmt::format("{} degrees", std::get<double>(control.default_value));
    case ControlType::kPoint: {
      const auto point = std::get<hosting::Point>(control.default_value);
      return fmt::format("{} %, {} % of the layer", point.x, point.y);
    }
    case ControlType::kPopup:
      return fmt::format("{}  ({})", DefaultAsJson(control).asString(),
                         fmt::join(control.choices, ", "));
    case ControlType::kColor:
      return DefaultAsJson(control).asString();
    case ControlType::kGroupStart:
    case ControlType::kGroupEnd:
      return "";
  }
  return "";
}

Json::Value AsJson(const ControlInfo& control, const hosting::ControlState& state) {
  Json::Value out;
  out["index"] = control.index;
  out["id"] = static_cast<int>(control.id);
  out["name"] = control.name;
  out["type"] = TypeName(control.type);
  if (!control.has_value()) return out;
  out["default"] = DefaultAsJson(control);
  out["animated"] = control.can_vary;
  out["greyed"] = !state.enabled;
  if (control.type == ControlType::kSlider) {
    out["range"] = JsonList(Shown(control, control.valid.min), Shown(control, control.valid.max));
    out["slider"] =
        JsonList(Shown(control, control.slider.min), Shown(control, control.slider.max));
    out["percent"] = control.percent;
  }
  for (const std::string& choice : control.choices) out["choices"].append(choice);
  return out;
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
      format.range = {Shown(control, control.valid.min), Shown(control, control.valid.max)};
      format.slack = kFixedUlp + std::max(std::abs(format.range.min - control.valid.min),
                                          std::abs(format.range.max - control.valid.max));
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

std::string ControlsAsText(const std::vector<ControlInfo>& controls, const hosting::Panel& panel) {
  std::string text;
  std::size_t depth = 0;
  for (const ControlInfo& control : controls) {
    if (control.type == ControlType::kGroupEnd) {
      --depth;
      continue;
    }
    const bool greyed =
        control.has_value() && !panel[static_cast<std::size_t>(control.index)].enabled;
    std::string line =
        fmt::format("{:2}  {:2}  {:20} {:7} {}{}", control.index, control.id,
                    std::string(2 * depth, ' ') + control.name, TypeName(control.type),
                    DefaultText(control), greyed ? "  greyed" : "");
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
    if (control.type == ControlType::kGroupStart) ++depth;
  }
  return text;
}

Json::Value ControlsAsJson(const std::vector<ControlInfo>& controls, const hosting::Panel& panel) {
  Json::Value out;
  for (const ControlInfo& control : controls) {
    out["controls"].append(AsJson(control, panel[static_cast<std::size_t>(control.index)]));
  }
  return out;
}

}  // namespace app
