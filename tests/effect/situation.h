// Everything that a host's answers to one command depend on, as a plain value.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "aegp_suites.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace testhost {

/// Every function of the host, with the name that it has there.
// clang-format off
#define VORLIN_CALLBACKS(X)                                                                       \
  X(kCheckoutParam, "checkout_param") X(kCheckinParam, "checkin_param") X(kAddParam, "add_param") \
  X(kProgress, "progress") X(kCos, "cos") X(kPow, "pow") X(kSin, "sin") X(kSqrt, "sqrt")          \
  X(kSprintf, "sprintf") X(kStrcpy, "strcpy") X(kFill, "fill") X(kIterate, "iterate")             \
  X(kIterate16, "iterate16") X(kIterateFloat, "iterate (float)") X(kAcquire, "AcquireSuite")      \
  X(kRelease, "ReleaseSuite") X(kNewWorld1, "new_world") X(kDisposeWorld1, "dispose_world")       \
  X(kNewWorld2, "PF_NewWorld") X(kDisposeWorld2, "PF_DisposeWorld")                               \
  X(kPixelFormat, "PF_GetPixelFormat") X(kUpdateParamUI, "PF_UpdateParamUI")                      \
  X(kNearestSample, "nn_sample") X(kSubpixelSample, "subpixel_sample")                            \
  X(kAreaSample, "area_sample") X(kFloatColor, "PF_GetFloatingPointColorFromColorDef")            \
  X(kEffectLayer, "AEGP_GetEffectLayer") X(kConvertTime, "AEGP_ConvertEffectToCompTime")          \
  X(kNumLayers, "AEGP_GetCompNumLayers") X(kLayerByIndex, "AEGP_GetCompLayerByIndex")             \
  X(kParentComp, "AEGP_GetLayerParentComp") X(kIsVideoActive, "AEGP_IsVideoActive")               \
  X(kObjectType, "AEGP_GetLayerObjectType") X(kToWorld, "AEGP_GetLayerToWorldXformFromView")      \
  X(kLightType, "AEGP_GetLightType") X(kStreamValue, "AEGP_GetLayerStreamValue")                  \
  X(kCheckoutLayer, "checkout_layer") X(kCheckoutLayerPixels, "checkout_layer_pixels")            \
  X(kCheckoutOutput, "checkout_output")
// clang-format on

enum class Callback {
#define VORLIN_CALLBACK(id, name) id,
  VORLIN_CALLBACKS(VORLIN_CALLBACK)
#undef VORLIN_CALLBACK
      kCount
};
const char* CallbackName(Callback callback);

/// What a call does instead of its work. A lie is a code that does not fit what was done.
enum class Misdeed {
  kRefuse,       // returns the code; nothing is done
  kRefuseYetDo,  // a lie: the work is done, and the code returned
  kNothing,      // a lie: returns no error; nothing is done, pointers asked for become null
  kThrowInt,     // throws the code
  kThrowBadAlloc,
  kThrowOther,
  kHollow,  // a table whose functions are all null; any call but an acquisition does its work
};
inline constexpr int kMisdeeds = 7;

/// What is wrong with the scratch worlds that the host makes.
enum class Scratch { kSound, kNarrow, kLow, kOddRows, kMisplaced };

/// Which call is hit: the nth one of a function, or from that on.
struct Rule {
  Callback callback;
  int nth = 0;
  Misdeed misdeed = Misdeed::kRefuse;
  PF_Err code = 77;
  bool from_then_on = false;
};

/// Linear between two keys, holding outside them; 16.16, as the host stores it.
struct Track {
  PF_Fixed first = 0;
  PF_Fixed last = 0;
  A_long start = 0;
  A_long end = 1;

  PF_Fixed At(A_long time) const;
};

/// What check-outs of a control answer. Points use both tracks, popups the first in whole numbers.
struct ControlValue {
  Track x;
  Track y;
  PF_Pixel color{255, 255, 255, 255};
};

struct Layer {
  bool null = false;
  bool active = true;
  AEGP_ObjectType object = AEGP_ObjectType_LIGHT;
  AEGP_LightType light = AEGP_LightType_POINT;
  A_Matrix4 world{};
  double intensity = 100;
  std::array<double, 3> color{1, 1, 1};
  double cone_angle = 90;
  double cone_feather = 50;
};

/// A world that the host lends. Every pixel takes 16 bytes, whatever the depth.
struct World {
  A_long width = 0;
  A_long height = 0;
  A_long origin_x = 0;
  A_long origin_y = 0;
  int padding = 0;  // bytes at the end of each row
  bool null = false;
  bool upward = false;  // the last row first in memory
};

struct Situation {
  PF_Cmd command = PF_Cmd_SMART_RENDER;
  bool has_basic_suite = true;
  bool has_extra = true;  // for commands that do not read it
  PF_PixelFormat format = PF_PixelFormat_ARGB32;
  PF_WorldFlags world_flags = 0;
  PF_Quality quality = PF_Quality_HI;
  PF_SpecVersion version{13, 0};
  A_long current_time = 0;
  A_long time_step = 1024;
  A_long local_time_step = 1024;
  A_u_long time_scale = 30720;
  A_long width = 16;
  A_long height = 12;
  PF_RationalScale downsample_x{1, 1};
  PF_RationalScale downsample_y{1, 1};
  PF_RationalScale pixel_aspect{1, 1};
  PF_Fixed shutter_angle = 0;
  World input;
  World output;
  PF_RenderRequest request{};
  PF_LRect max_rect{};  // of the layer, at pre-render
  std::array<ControlValue, 29> controls{};
  std::array<A_long, 29> popups_passed{};  // by params, for popups; check-outs answer `controls`
  PF_ParamUIFlags ui_flags = 0;            // of every record in params
  PF_ParamFlags flags = 0;
  int other_types = 0;        // not 0: params are of other types than the effect's, counted from it
  std::vector<Layer> layers;  // of the composition, top first
  bool has_effect_layer = true;
  bool has_comp = true;
  Scratch scratch = Scratch::kSound;
  PF_PixelFloat float_color{1, 1, 1, 1};
  PF_OutFlags out_flags = 0;
  PF_OutFlags2 out_flags2 = 0;
  std::string message;       // in out_data before the command
  bool odd_samples = false;  // of float pixels: NaN, infinities and very large numbers among them
  bool exact_math = false;   // the library's numbers instead of slightly other ones
  std::vector<Rule> rules;
  int threads = 1;  // of the iterations; with more than one nothing is logged
};

/// A frame that draws a stroke: a brush that moves across the layer, on every default.
Situation PlainFrame(PF_Cmd command, PF_PixelFormat format);

/// Where a drawn situation's numbers come from; any 32-bit number.
using NextNumber = std::function<std::uint32_t()>;
/// Any situation, the same for the same numbers.
Situation Drawn(const NextNumber& next);
/// One from a random generator with that seed.
Situation Random(std::uint64_t seed);

}  // namespace testhost
