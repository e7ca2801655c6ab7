// What identifies the effect to its host. Global setup answers with these values.
#pragma once

#include "pf_effect.h"

namespace vorlin {

inline constexpr char kEffectName[] = "ZT Vorlin";
inline constexpr char kCategory[] = "Nuvrik";  // the menu that the host lists it under
inline constexpr char kEntryPoint[] = "MainEntry";
inline constexpr char kFamilyAndRelease[] = "Nuvrik 1.7.1";
inline constexpr char kPlatformTag[] = "MachO Intel";
inline constexpr int kMajorVersion = 1;
inline constexpr int kMinorVersion = 7;
inline constexpr char kAboutBody[] =
    "Made by the Nuvrik team\r\rLiquid stroke from animated producer point.";

inline constexpr A_u_long kMyVersion =
    PF_VERSION(kMajorVersion, kMinorVersion, 0, PF_Stage_RELEASE, 0);
static_assert(kMyVersion == 0x000B8600);

inline constexpr PF_OutFlags kOutFlags = PF_OutFlag_WIDE_TIME_INPUT | PF_OutFlag_NON_PARAM_VARY |
                                         PF_OutFlag_DEEP_COLOR_AWARE |
                                         PF_OutFlag_SEND_UPDATE_PARAMS_UI;
static_assert(kOutFlags == 0x06000006);

inline constexpr PF_OutFlags2 kOutFlags2 =
    PF_OutFlag2_SUPPORTS_QUERY_DYNAMIC_FLAGS | PF_OutFlag2_I_USE_3D_LIGHTS |
    PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE;
static_assert(kOutFlags2 == 0x00001405);

}  // namespace vorlin
