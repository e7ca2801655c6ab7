#include <cstring>

#include "hosting/controls.h"
#include "hosting/errors.h"

namespace hosting {
namespace {

double FromFixed(PF_Fixed v) { return v / 65536.0; }

Color FromPixel(const PF_Pixel& p) { return {p.red / 255.0, p.green / 255.0, p.blue / 255.0}; }

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

[[noreturn]] void Refuse(const ControlInfo& control, const std::string& why) {
  throw Error("the effect's control " + std::to_string(control.index) + " \"" + control.name +
              "\" " + why);
}

void DescribeSlider(const PF_FixedSliderDef& slider, ControlInfo& control) {
  control.type = ControlType::kSlider;
  control.valid = {FromFixed(slider.valid_min), FromFixed(slider.valid_max)};
  control.slider = {FromFixed(slider.slider_min), FromFixed(slider.slider_max)};
  control.default_value = FromFixed(slider.dephault);
  control.precision = slider.precision;
  control.percent = (slider.display_flags & PF_ValueDisplayFlag_PERCENT) != 0;
  if (control.valid.min > control.valid.max) Refuse(control, "has no valid value");
}

void DescribePopup(const PF_PopupDef& popup, ControlInfo& control) {
  control.type = ControlType::kPopup;
  control.default_value = int{popup.dephault};
  if (popup.u.namesptr == nullptr) Refuse(control, "has no choices");
  control.choices = SplitChoices(popup.u.namesptr);
}

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
      DescribeSlider(record.u.fd, control);
      break;
    case PF_Param_ANGLE:
      control.type = ControlType::kAngle;
      control.default_value = FromFixed(record.u.ad.dephault);
      break;
    case PF_Param_POPUP:
      DescribePopup(record.u.pd, control);
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
      Refuse(control,
             "is of type " + std::to_string(record.param_type) + ", which this host does not have");
  }
  return control;
}

}  // namespace hosting
