// Suites about the composition that holds the effect's layer. Handles are the host's, valid for the
// command; every function runs on the command's thread and returns 0 or a code of the host's.
#pragma once

#include "pf_types.h"

using AEGP_LayerH = struct AEGP_OpaqueLayer*;
using AEGP_CompH = struct AEGP_OpaqueComp*;

inline constexpr char kAEGPPFInterfaceSuite[] = "AEGP PF Interface Suite";
inline constexpr char kAEGPLayerSuite[] = "AEGP Layer Suite";
inline constexpr char kAEGPLightSuite[] = "AEGP Light Suite";
inline constexpr char kAEGPStreamSuite[] = "AEGP Stream Suite";

using AEGP_LTimeMode = A_long;
inline constexpr AEGP_LTimeMode AEGP_LTimeMode_LayerTime = 0;
inline constexpr AEGP_LTimeMode AEGP_LTimeMode_CompTime = 1;

using AEGP_ObjectType = A_long;
inline constexpr AEGP_ObjectType AEGP_ObjectType_AV = 0;
inline constexpr AEGP_ObjectType AEGP_ObjectType_LIGHT = 1;

using AEGP_LightType = A_long;
inline constexpr AEGP_LightType AEGP_LightType_PARALLEL = 0;
inline constexpr AEGP_LightType AEGP_LightType_SPOT = 1;
inline constexpr AEGP_LightType AEGP_LightType_POINT = 2;
inline constexpr AEGP_LightType AEGP_LightType_AMBIENT = 3;

using AEGP_LayerStream = A_long;
inline constexpr AEGP_LayerStream AEGP_LayerStream_INTENSITY = 16;     // percent
inline constexpr AEGP_LayerStream AEGP_LayerStream_COLOR = 17;         // 0..1
inline constexpr AEGP_LayerStream AEGP_LayerStream_CONE_ANGLE = 18;    // degrees, the full cone
inline constexpr AEGP_LayerStream AEGP_LayerStream_CONE_FEATHER = 19;  // percent

using AEGP_StreamType = A_long;
inline constexpr AEGP_StreamType AEGP_StreamType_OneD = 5;
inline constexpr AEGP_StreamType AEGP_StreamType_COLOR = 6;

struct AEGP_ColorVal {
  A_FpLong alphaF;
  A_FpLong redF;
  A_FpLong greenF;
  A_FpLong blueF;
};

union AEGP_StreamVal {
  A_FpLong one_d;
  AEGP_ColorVal color;
};

/// mat[row][column] for row vectors: rows 0 to 2 are the layer's x, y and z axes in the world, row
/// 3 its position. The world has x right, y down and z away from the viewer.
struct A_Matrix4 {
  A_FpLong mat[4][4];
};

struct AEGP_PFInterfaceSuite1 {
  /// The layer that the effect is applied to.
  PF_Err (*AEGP_GetEffectLayer)(PF_ProgPtr effect_ref, AEGP_LayerH* layer);
  /// Layer time to composition time.
  PF_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr effect_ref, A_long what_time,
                                         A_u_long time_scale, A_Time* comp_time);
};

struct AEGP_LayerSuite5 {
  PF_Err (*AEGP_GetCompNumLayers)(AEGP_CompH comp, A_long* num_layers);
  /// Index 0 is the top of the stack.
  PF_Err (*AEGP_GetCompLayerByIndex)(AEGP_CompH comp, A_long layer_index, AEGP_LayerH* layer);
  PF_Err (*AEGP_GetLayerParentComp)(AEGP_LayerH layer, AEGP_CompH* comp);
  /// Switched on and between its in and out points at that time.
  PF_Err (*AEGP_IsVideoActive)(AEGP_LayerH layer, AEGP_LTimeMode time_mode, const A_Time* time,
                               A_Boolean* is_active);
  PF_Err (*AEGP_GetLayerObjectType)(AEGP_LayerH layer, AEGP_ObjectType* object_type);
  PF_Err (*AEGP_GetLayerToWorldXformFromView)(AEGP_LayerH layer, const A_Time* view_time,
                                              const A_Time* comp_time, A_Matrix4* transform);
};

struct AEGP_LightSuite1 {
  PF_Err (*AEGP_GetLightType)(AEGP_LayerH light_layer, AEGP_LightType* light_type);
};

struct AEGP_StreamSuite4 {
  /// The stream's value at that time; its type too unless stream_type is null.
  PF_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH layer, AEGP_LayerStream which_stream,
                                     AEGP_LTimeMode time_mode, const A_Time* time,
                                     A_Boolean pre_expression, AEGP_StreamVal* value,
                                     AEGP_StreamType* stream_type);
};
