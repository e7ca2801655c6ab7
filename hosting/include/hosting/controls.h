// The effect's controls as it set them up itself, and the values that a scene gives them.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "hosting/keyframes.h"
#include "hosting/values.h"
#include "pf_params.h"

namespace hosting {

enum class ControlType { kSlider, kAngle, kPopup, kColor, kPoint, kGroupStart, kGroupEnd };

/// Everything the host knows of one control. Sliders and angles are in their displayed units.
struct ControlInfo {
  int index = 0;     // in the host's order, from 1; 0 is the layer
  A_long id = 0;     // how saved work recognises it
  std::string name;  // empty for a group's end
  ControlType type = ControlType::kGroupEnd;
  Range valid;   // sliders: what is accepted
  Range slider;  // sliders: what the slider reaches
  /// Slider and angle: double. Popup: int, from 1. Point: Point, in percent of
  /// the layer's width and height. Groups: 0.0.
  std::variant<double, int, Color, Point> default_value;
  int precision = 0;                 // decimal places shown
  bool percent = false;              // shown with a percent sign
  std::vector<std::string> choices;  // popups
  bool can_vary = true;              // may have keys
  bool supervised = false;           // a change re-arranges the panel
  bool starts_disabled = false;
  bool starts_collapsed = false;
  PF_ParamDef record{};  // as the effect handed it over

  bool has_value() const {
    return type != ControlType::kGroupStart && type != ControlType::kGroupEnd;
  }
};

/// From the record and index of an add_param call; throws Error for a type that this host lacks.
ControlInfo DescribeControl(int index, const PF_ParamDef& record);

/// Slider and angle: double. Popup: int, which always holds. Point: full-resolution
/// pixels of the layer.
using ControlTrack = std::variant<Track<double>, Track<int>, Track<Color>, Track<Point>>;

/// A value or track for each control; defaults until set.
class ControlTracks {
 public:
  ControlTracks() = default;
  /// The layer's full-resolution size places the points' defaults.
  ControlTracks(std::vector<ControlInfo> controls, int layer_width, int layer_height);

  const std::vector<ControlInfo>& controls() const { return controls_; }
  /// Throws Error for an unknown index or name.
  const ControlInfo& Control(int index) const;
  const ControlInfo& Control(std::string_view name) const;

  /// Throws Error when the track is of another type, has keys where the control cannot vary, or a
  /// value out of the control's valid range.
  void Set(int index, ControlTrack track);
  void Set(std::string_view name, ControlTrack track) {
    Set(Control(name).index, std::move(track));
  }
  const ControlTrack& TrackOf(int index) const;
  /// Outside these spans a slider is at 0, or as near as it goes, whatever its track says. Throws
  /// Error for another control, and unless each span ends before the next begins.
  void Gate(std::string_view name, std::vector<Span> spans);

  /// The control's record with its value at that time. Points become pixels of a buffer that is
  /// down-sampled by the two factors.
  PF_ParamDef At(int index, double seconds, double downsample_x, double downsample_y) const;
  /// A colour control's unrounded value; throws Error for another control.
  Color ColorAt(int index, double seconds) const;

 private:
  bool IsShut(int index, double seconds) const;

  std::vector<ControlInfo> controls_;
  std::vector<ControlTrack> tracks_;
  int gated_ = 0;  // the slider that only has a value within spans; 0: none
  std::vector<Span> spans_;
};

}  // namespace hosting
