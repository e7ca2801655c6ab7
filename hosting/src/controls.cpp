#include "hosting/controls.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

#include "encodings.h"
#include "hosting/errors.h"

namespace hosting {
namespace {

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
    param.u.cd.value = {255, Encode<Bits8>(color.red), Encode<Bits8>(color.green),
                        Encode<Bits8>(color.blue)};
  }
  void operator()(const Track<Point>& track) const {
    const Point point = track.At(seconds);
    param.u.td.x_value = ToFixed(point.x * downsample_x);
    param.u.td.y_value = ToFixed(point.y * downsample_y);
  }
};

}  // namespace

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

void ControlTracks::Gate(std::string_view name, std::vector<Span> spans) {
  const ControlInfo& control = Control(name);
  if (control.type != ControlType::kSlider) throw Error(Label(control) + " is no slider");
  for (std::size_t i = 0; i < spans.size(); ++i) {
    if (!(spans[i].in < spans[i].out)) throw Error("a span ends after it begins");
    if (i > 0 && !(spans[i - 1].out <= spans[i].in)) throw Error("spans follow each other in time");
  }
  gated_ = control.index;
  spans_ = std::move(spans);
}

bool ControlTracks::IsShut(int index, double seconds) const {
  if (index != gated_) return false;
  const auto after = std::upper_bound(spans_.begin(), spans_.end(), seconds,
                                      [](double t, const Span& span) { return t < span.in; });
  return after == spans_.begin() || !std::prev(after)->Holds(seconds);
}

PF_ParamDef ControlTracks::At(int index, double seconds, double downsample_x,
                              double downsample_y) const {
  const ControlInfo& control = Control(index);
  PF_ParamDef param = control.record;
  const FillValue fill{param, control, seconds, downsample_x, downsample_y};
  IsShut(index, seconds) ? fill(Track<double>(0)) : std::visit(fill, TrackOf(index));
  return param;
}

Color ControlTracks::ColorAt(int index, double seconds) const {
  const auto* track = std::get_if<Track<Color>>(&TrackOf(index));
  if (track == nullptr) throw Error(Label(Control(index)) + " is no colour");
  return Within(track->At(seconds), {0, 1});
}

}  // namespace hosting
