// The record that describes one control: to the host at parameter setup, to the effect at read-out.
#pragma once

#include "pf_types.h"

using PF_ParamType = A_long;
inline constexpr PF_ParamType PF_Param_LAYER = 0;
inline constexpr PF_ParamType PF_Param_FIX_SLIDER = 2;
inline constexpr PF_ParamType PF_Param_ANGLE = 3;
inline constexpr PF_ParamType PF_Param_CHECKBOX = 4;
inline constexpr PF_ParamType PF_Param_COLOR = 5;
inline constexpr PF_ParamType PF_Param_POINT = 6;
inline constexpr PF_ParamType PF_Param_POPUP = 7;
inline constexpr PF_ParamType PF_Param_ARBITRARY_DATA = 11;
inline constexpr PF_ParamType PF_Param_PATH = 12;
inline constexpr PF_ParamType PF_Param_GROUP_START = 13;
inline constexpr PF_ParamType PF_Param_GROUP_END = 14;

using PF_ParamUIFlags = A_long;
inline constexpr PF_ParamUIFlags PF_PUI_DISABLED = 0x20;  // shown greyed out

using PF_ParamFlags = A_long;
inline constexpr PF_ParamFlags PF_ParamFlag_CANNOT_TIME_VARY = 0x2;
inline constexpr PF_ParamFlags PF_ParamFlag_COLLAPSE_TWIRLY = 0x20;  // its twirl-down is closed
inline constexpr PF_ParamFlags PF_ParamFlag_SUPERVISE = 0x40;  // a change sends USER_CHANGED_PARAM

inline constexpr A_short PF_ValueDisplayFlag_PERCENT = 1;

inline constexpr int PF_MAX_EFFECT_PARAM_NAME_LEN = 31;

/// All numbers 16.16.
struct PF_FixedSliderDef {
  PF_Fixed value;
  A_char value_str[32];
  A_char value_desc[32];
  PF_Fixed valid_min;  // what may be typed
  PF_Fixed valid_max;
  PF_Fixed slider_min;  // what the slider reaches
  PF_Fixed slider_max;
  PF_Fixed dephault;
  A_short precision;  // decimal places shown
  A_short display_flags;
};

/// 16.16 degrees; any number of turns.
struct PF_AngleDef {
  PF_Fixed value;
  PF_Fixed dephault;
};

/// Choices count from 1; namesptr lists them separated by '|' and outlives parameter setup.
struct PF_PopupDef {
  A_long value;
  A_short num_choices;
  A_short dephault;
  union {
    const A_char* namesptr;
  } u;
};

struct PF_ColorDef {
  PF_Pixel value;
  PF_Pixel dephault;
};

/// At setup 16.16 percent of the layer's width and height; at read-out 16.16 buffer pixels.
struct PF_PointDef {
  PF_Fixed x_value;
  PF_Fixed y_value;
  A_Boolean restrict_bounds;
  PF_Fixed x_dephault;
  PF_Fixed y_dephault;
};

union PF_ParamDefUnion {
  PF_LayerDef ld;
  PF_FixedSliderDef fd;
  PF_AngleDef ad;
  PF_PopupDef pd;
  PF_ColorDef cd;
  PF_PointDef td;
};

/// Plain bytes: hosts and effects copy and clear it whole.
struct PF_ParamDef {
  union {
    A_long id;  // how saved work recognises the control; never changes
  } uu;
  PF_ParamUIFlags ui_flags;
  A_short ui_width;
  A_short ui_height;
  PF_ParamType param_type;
  A_char name[PF_MAX_EFFECT_PARAM_NAME_LEN + 1];
  PF_ParamFlags flags;
  A_long unused;
  PF_ParamDefUnion u;
};
