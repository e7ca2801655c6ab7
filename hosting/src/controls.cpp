#include "hosting/controls.h"

#include <cmath>
#include <cstring>

#include "hosting/errors.h"

namespace hosting {
namespace {

double FromFixed(PF_Fixed v) { return v / 65536.0; }

Color FromPixel(const PF_Pixel& p) { return {p.red / 255.0, p.green / 255.0, p.blue / 255.0}; }

A_u_char ToByte(double v) {
  return static_cast<A_u_char>(std::lround(std::clamp(v, 0.0, 1.0) * 255));
}

std::vector<std::string> SplitChoices(const A_char* names) {
  std::vector<std::string> choices(1);
  for (; *names != '\0'; ++names) {
    if (*names == '|') {
      choices.emplace_back();
    } else {
      choices.back() += *names;
    }
  }
  return choices;
}

/// A control's name for messages.
std::string Label(const ControlInfo& control) {
  return control.name.empty() ? "control " + std::to_string(control.index)
                              : "\"" + control.name + "\"";
}

std::string Text(double v) {
  std::string text = std::to_string(v);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

[[noreturn]] void RefuseRange(const ControlInfo& control, double value, double min, double max) {
  throw Error(Label(control) + " is " + Text(value) + ", but must be from " + Text(min) + " to " +
              Text(max));
}

void CheckWithin(const ControlInfo& control, double value, double min, double max) {
  if (!(value >= min && value <= max)) RefuseRange(control, value, min, max);
}

/// The sliders' ranges as typed and shown: their 16.16 form cuts off up to 1/65536.
constexpr double kFixedUlp = 1.0 / 65536;

void CheckValue(const ControlInfo& control, double value) {
  if (control.type == ControlType::kSlider) {
    if (!(value > control.valid.min - kFixedUlp && value < control.valid.max + kFixedUlp)) {
      RefuseRange(control, value, control.valid.min, control.valid.max);
    }
  } else {
    CheckWithin(control, value, -kFixedLimit, kFixedLimit);
  }
}

void CheckValue(const ControlInfo& control, int value) {
  CheckWithin(control, value, 1, static_cast<double>(control.choices.size()));
}

void CheckValue(const ControlInfo& control, const Color& value) {
  for (const double channel : {value.red, value.green, value.blue}) {
    CheckWithin(control, channel, 0, 1);
  }
}

void CheckValue(const ControlInfo& control, const Point& value) {
  for (const double coordinate : {value.x, value.y}) {
    CheckWithin(control, coordinate, -kFixedLimit, kFixedLimit);
  }
}

ControlTrack DefaultTrack(const ControlInfo& control, int width, int height) {
  return std::visit(
      [&](const auto& value) -> ControlTrack {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, Point>) {
          return Track<Point>(Point{value.x / 100 * width, value.y / 100 * height});
        } else {
          return Track<Value>(value);
        }
      },
      control.default_value);
}

/// Puts a control's value into its record.
struct FillValue {
  PF_ParamDef& param;
  const ControlInfo& control;
  double seconds;
  double downsample_x;
  double downsample_y;

  void operator()(const Track<double>& track) const {
    if (control.type == ControlType::kAngle) {
      param.u.ad.value = ToFixed(track.At(seconds));
    } else if (control.type == ControlType::kSlider) {
      // Curves may overshoot between keys that are in range.
      param.u.fd.value = std::clamp(ToFixed(track.At(seconds)), control.record.u.fd.valid_min,
                                    control.record.u.fd.valid_max);
    }
  }
  void operator()(const Track<int>& track) const { param.u.pd.value = track.At(seconds); }
  void operator()(const Track<Color>& track) const {
    const Color color = track.At(seconds);
    param.u.cd.value = {255, ToByte(color.red), ToByte(color.green), ToByte(color.blue)};
  }
  void operator()(const Track<Point>& track) const {
    const Point point = track.At(seconds);
    param.u.td.x_value = ToFixed(point.x * downsample_x);
    param.u.td.y_value = ToFixed(point.y * downsample_y);
  }
};

}  // namespace

ControlInfo DescribeControl(int index, const PF_ParamDef& record) {
  ControlInfo control;
  control.index = index;
  control.id = record.uu.id;
  control.name.assign(record.name, strnlen(record.name, sizeof record.name));
  control.can_vary = (record.flags & PF_ParamFlag_CANNOT_TIME_VARY) == 0;
  control.supervised = (record.flags & PF_ParamFlag_SUPERVISE) != 0;
  control.starts_collapsed = (record.flags & PF_ParamFlag_COLLAPSE_TWIRLY) != 0;
  control.starts_disabled = (record.ui_flags & PF_PUI_DISABLED) != 0;
  control.record = record;
  switch (record.param_type) {
    case PF_Param_GROUP_START:
      control.type = ControlType::kGroupStart;
      break;
    case PF_Param_GROUP_END:
      control.type = ControlType::kGroupEnd;
      break;
    case PF_Param_FIX_SLIDER:
      control.type = ControlType::kSlider;
      control.valid = {FromFixed(record.u.fd.valid_min), FromFixed(record.u.fd.valid_max)};
      control.slider = {FromFixed(record.u.fd.slider_min), FromFixed(record.u.fd.slider_max)};
      control.default_value = FromFixed(record.u.fd.dephault);
      control.precision = record.u.fd.precision;
      if (control.valid.min > control.valid.max) {
        throw Error("the effect's " + Label(control) + " has no valid value");
      }
      control.percent = (record.u.fd.display_flags & PF_ValueDisplayFlag_PERCENT) != 0;
      break;
    case PF_Param_ANGLE:
      control.type = ControlType::kAngle;
      control.default_value = FromFixed(record.u.ad.dephault);
      break;
    case PF_Param_POPUP:
      control.type = ControlType::kPopup;
      control.default_value = int{record.u.pd.dephault};
      if (record.u.pd.u.namesptr == nullptr) {
        throw Error("the effect's " + Label(control) + " has no choices");
      }
      control.choices = SplitChoices(record.u.pd.u.namesptr);
      break;
    case PF_Param_COLOR:
      control.type = ControlType::kColor;
      control.default_value = FromPixel(record.u.cd.dephault);
      break;
    case PF_Param_POINT:
      control.type = ControlType::kPoint;
      control.default_value =
          Point{FromFixed(record.u.td.x_dephault), FromFixed(record.u.td.y_dephault)};
      break;
    default:
      throw Error("the effect's " + Label(control) + " is of type " +
                  std::to_string(record.param_type) + ", which this host does not have");
  }
  return control;
}

ControlTracks::ControlTracks(std::vector<ControlInfo> controls, int layer_width, int layer_height)
    : controls_(std::move(controls)) {
  for (const ControlInfo& control : controls_) {
    tracks_.push_back(DefaultTrack(control, layer_width, layer_height));
  }
}

const ControlInfo& ControlTracks::Control(int index) const {
  if (index < 1 || index > static_cast<int>(controls_.size())) {
    throw Error("there is no control " + std::to_string(index));
  }
  return controls_[static_cast<std::size_t>(index - 1)];
}

const ControlInfo& ControlTracks::Control(std::string_view name) const {
  for (const ControlInfo& control : controls_) {
    if (control.has_value() && control.name == name) return control;
  }
  throw Error("there is no control \"" + std::string(name) + "\"");
}

void ControlTracks::Set(int index, ControlTrack track) {
  const ControlInfo& control = Control(index);
  ControlTrack& place = tracks_[static_cast<std::size_t>(index - 1)];
  if (!control.has_value()) throw Error(Label(control) + " is a group and takes no value");
  if (track.index() != place.index()) throw Error(Label(control) + " takes values of another type");
  std::visit(
      [&](const auto& t) {
        if (!t.constant() && !control.can_vary) {
          throw Error(Label(control) + " cannot change over time");
        }
        for (const auto& key : t.keys()) CheckValue(control, key.value);
      },
      track);
  place = std::move(track);
}

const ControlTrack& ControlTracks::TrackOf(int index) const {
  return tracks_[static_cast<std::size_t>(Control(index).index - 1)];
}

PF_ParamDef ControlTracks::At(int index, double seconds, double downsample_x,
                              double downsample_y) const {
  const ControlInfo& control = Control(index);
  PF_ParamDef param = control.record;
  std::visit(FillValue{param, control, seconds, downsample_x, downsample_y}, TrackOf(index));
  return param;
}

Color ControlTracks::ColorAt(int index, double seconds) const {
  const auto* track = std::get_if<Track<Color>>(&TrackOf(index));
  if (track == nullptr) throw Error(Label(Control(index)) + " is no colour");
  return Within(track->At(seconds), {0, 1});
}

}  // namespace hosting
