// Commands, the records of a call, and the callbacks that come with every call.
#pragma once

#include "pf_params.h"
#include "pf_suites.h"
#include "pf_types.h"

using PF_Cmd = A_long;
inline constexpr PF_Cmd PF_Cmd_ABOUT = 0;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETUP = 1;
inline constexpr PF_Cmd PF_Cmd_PARAMS_SETUP = 4;
inline constexpr PF_Cmd PF_Cmd_RENDER = 11;
inline constexpr PF_Cmd PF_Cmd_USER_CHANGED_PARAM = 13;
inline constexpr PF_Cmd PF_Cmd_UPDATE_PARAMS_UI = 14;
inline constexpr PF_Cmd PF_Cmd_QUERY_DYNAMIC_FLAGS = 18;
inline constexpr PF_Cmd PF_Cmd_SMART_PRE_RENDER = 23;
inline constexpr PF_Cmd PF_Cmd_SMART_RENDER = 24;

using PF_OutFlags = A_long;
inline constexpr PF_OutFlags PF_OutFlag_WIDE_TIME_INPUT = 0x2;  // reads controls at other times
inline constexpr PF_OutFlags PF_OutFlag_NON_PARAM_VARY = 0x4;   // differs from frame to frame
inline constexpr PF_OutFlags PF_OutFlag_DEEP_COLOR_AWARE = 0x02000000;
inline constexpr PF_OutFlags PF_OutFlag_SEND_UPDATE_PARAMS_UI = 0x04000000;

using PF_OutFlags2 = A_long;
inline constexpr PF_OutFlags2 PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS = 0x1;
inline constexpr PF_OutFlags2 PF_OutFlag2_I_USE_3D_LIGHTS = 0x4;
inline constexpr PF_OutFlags2 PF_OutFlag2_SUPPORTS_SMART_RENDER = 0x400;
inline constexpr PF_OutFlags2 PF_OutFlag2_FLOAT_COLOR_AWARE = 0x1000;

inline constexpr A_long PF_Stage_RELEASE = 3;

/// Packed version word: build in bits 0-8, stage 9-10, bug-fix 11-14, minor 15-18, major 19-21.
inline constexpr A_u_long PF_VERSION(A_u_long major, A_u_long minor, A_u_long bug_fix,
                                     A_u_long stage, A_u_long build) {
  return (major & 7) << 19 | (minor & 15) << 15 | (bug_fix & 15) << 11 | (stage & 3) << 9 |
         (build & 511);
}

using PF_Quality = A_long;
inline constexpr PF_Quality PF_Quality_LO = 0;
inline constexpr PF_Quality PF_Quality_HI = 1;

/// Version of the interface that the host implements.
struct PF_SpecVersion {
  A_short major;
  A_short minor;
};

/// Callbacks about the applied effect.
struct PF_InteractCallbacks {
  /// Reads a control at a time in [INT32_MIN, INT32_MAX] / time_scale seconds, keyframes applied.
  /// On failure the record is left as it was. Every call is followed by one checkin_param.
  PF_Err (*checkout_param)(PF_ProgPtr effect_ref, A_long index, A_long what_time, A_long time_step,
                           A_u_long time_scale, PF_ParamDef* param);
  PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
  /// Parameter setup only: appends (index -1) a control. The record is copied, the choice string
  /// not.
  PF_Err (*add_param)(PF_ProgPtr effect_ref, A_long index, PF_ParamDef* def);
  /// Shows current / total; non-zero asks the effect to stop and return that code.
  PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
};

/// The host's C library; each behaves as the standard function of its name, from any thread.
struct PF_ANSICallbacks {
  A_FpLong (*cos)(A_FpLong);
  A_FpLong (*pow)(A_FpLong, A_FpLong);
  A_FpLong (*sin)(A_FpLong);
  A_FpLong (*sqrt)(A_FpLong);
  A_long (*sprintf)(A_char*, const A_char*, ...);
  A_char* (*strcpy)(A_char*, const A_char*);
};

struct PF_UtilCallbacks {
  /// Fills rect of world (null: all of it) with color (null: transparent black, at any depth). A
  /// colour is given for 8-bit worlds only.
  PF_Err (*fill)(PF_ProgPtr effect_ref, const PF_Pixel* color, const PF_Rect* rect,
                 PF_EffectWorld* world);
  PF_IterateFunc<PF_Pixel> iterate;
  PF_IterateFunc<PF_Pixel16> iterate16;
  PF_ANSICallbacks ansi;
};

/// What the host tells the effect with every command.
struct PF_InData {
  PF_InteractCallbacks inter;
  PF_UtilCallbacks* utils;
  PF_ProgPtr effect_ref;
  PF_Quality quality;
  PF_SpecVersion version;
  A_long current_time;     // of the layer, in time units
  A_long time_step;        // one frame of the composition; negative when it plays backwards
  A_long local_time_step;  // one frame of the layer
  A_u_long time_scale;     // time units a second
  A_long width;            // of the layer at full resolution, whatever is rendered
  A_long height;
  PF_RationalScale downsample_x;  // buffer pixels per full-resolution pixel
  PF_RationalScale downsample_y;
  PF_RationalScale pixel_aspect_ratio;  // width / height of a full-resolution pixel
  PF_Fixed shutter_angle;               // degrees
  SPBasicSuite* pica_basicP;
};

inline constexpr int PF_MAX_EFFECT_MSG_LEN = 255;

/// What the effect tells the host; initialised by the host before the command.
struct PF_OutData {
  A_u_long my_version;
  A_long num_params;
  PF_OutFlags out_flags;
  A_char return_msg[PF_MAX_EFFECT_MSG_LEN + 1];
  PF_OutFlags2 out_flags2;
};

/// The effect's one exported function. All records are borrowed for the call. params[0] is the
/// input layer; output is given for the classic render, extra for the smart commands.
using PF_MainEntry = PF_Err (*)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                PF_ParamDef* params[], PF_LayerDef* output, void* extra);
