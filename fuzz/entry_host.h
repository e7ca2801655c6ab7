// A host whose every answer the fuzzer chooses, that counts what it lends and knows which code a
// command may end with. It is far quicker than a real one: no threads, no logs, small worlds.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "aegp_suites.h"
#include "pf_effect.h"
#include "pf_smart.h"

namespace fuzz {

enum class CallKind : std::uint8_t {
  kAddParam,
  kCheckoutParam,
  kCheckinParam,
  kProgress,
  kFill,
  kIterate,
  kArithmetic,  // and text: no code, so it can only throw
  kCheckoutLayer,
  kCheckoutPixels,
  kCheckoutOutput,
  kAcquireSuite,
  kReleaseSuite,
  kNewWorld,
  kDisposeWorld,
  kGetPixelFormat,
  kUpdateParamUI,
  kSample,
  kFloatColor,
  kComposition,
  kCount
};
inline constexpr std::size_t kCallKinds = static_cast<std::size_t>(CallKind::kCount);

enum class Misfortune : std::uint8_t { kFail, kThrowCode, kThrowAlloc, kThrowForeign, kCount };

/// What befalls the nth call (from 0) of a kind in each command, and all later ones if it persists.
struct Fault {
  CallKind call{};
  std::uint32_t nth = 0;
  Misfortune misfortune{};
  bool persists = false;
  PF_Err code = 0;  // never 0
};

/// A layer of the composition.
struct Layer {
  bool null = false;
  A_Boolean active = 1;
  AEGP_ObjectType object = AEGP_ObjectType_LIGHT;
  AEGP_LightType light = AEGP_LightType_POINT;
  std::array<double, 4> streams{100, 1, 90, 50};  // intensity, colour, cone, feather
  A_Matrix4 world{};
};

inline constexpr unsigned kMostPadding = 31;

/// How a world of the host's is made.
struct WorldPlan {
  A_long width = 12;
  A_long height = 8;
  A_long origin_x = 0;
  A_long origin_y = 0;
  unsigned padding = 3;  // channels behind each row, at most kMostPadding
  bool upward = false;
  bool null = false;
};

enum class Scratch : std::uint8_t { kSound, kNoData, kLow, kNarrow, kCrooked, kOddRows, kCount };
enum class Format : std::uint8_t { kTold, kInvalid, kUnknown, kCount };

inline constexpr std::size_t kSuites = 12;
inline constexpr int kControls = 28;

/// What the host has and says.
struct Plan {
  PF_InData in{};  // times, scales, size, quality and version
  std::array<PF_ParamDef, kControls + 1> values{};
  std::array<std::array<A_long, 2>, kControls + 1> slopes{};
  int channel_bytes = 1;  // 1, 2 or 4
  WorldPlan input;
  WorldPlan output;
  unsigned pixels = 0;
  PF_LRect asked{0, 0, 12, 8};
  PF_LRect extent{0, 0, 12, 8};
  std::vector<Layer> layers;
  std::optional<A_long> layer_count;  // said instead of the true one
  bool no_effect_layer = false;
  bool no_composition = false;
  bool no_basic_suite = false;
  std::array<std::uint8_t, kSuites> suites{};  // as a step says
  Scratch scratch = Scratch::kSound;
  Format format = Format::kTold;
  std::vector<Fault> faults;
};

/// A short stroke in a small layer.
Plan SoundPlan();

struct Command {
  PF_Cmd cmd = PF_Cmd_SMART_RENDER;
  bool backward = false;   // the pass over the pixels
  bool no_params = false;  // where the command needs none
};

struct Result {
  PF_Err code = 0;
  std::string output;  // the output world's memory, padding too
};

/// Gives one command and ends the process when the effect breaks a rule.
Result Give(const Plan& plan, const Command& command);

}  // namespace fuzz
