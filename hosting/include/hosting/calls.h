// Every call that the effect makes of the host, seen as it arrives.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <variant>

#include "pf_effect.h"

namespace hosting {

/// One for each function that the host lends, in its published spelling without punctuation.
enum class CallKind {
  kAddParam,
  kCheckoutParam,
  kCheckinParam,
  kProgress,
  kFill,
  kIterate,
  kIterate16,
  kIterateFloat,
  kCos,
  kPow,
  kSin,
  kSqrt,
  kSprintf,
  kStrcpy,
  kCheckoutLayer,
  kCheckoutLayerPixels,
  kCheckoutOutput,
  kAcquireSuite,
  kReleaseSuite,
  kNewWorld1,
  kDisposeWorld1,
  kNewWorld2,
  kDisposeWorld2,
  kGetPixelFormat,
  kUpdateParamUI,
  kAreaSample8,
  kAreaSample16,
  kAreaSampleFloat,
  kGetFloatingPointColor,
  kGetEffectLayer,
  kConvertEffectToCompTime,
  kGetCompNumLayers,
  kGetCompLayerByIndex,
  kGetLayerParentComp,
  kIsVideoActive,
  kGetLayerObjectType,
  kGetLayerToWorldXform,
  kGetLightType,
  kGetLayerStreamValue,
};

/// The function's published name, as "checkout_param".
const char* Name(CallKind kind);

struct Argument {
  const char* label = "";  // empty when the value speaks for itself
  /// Text is shown in quotes. It is borrowed for as long as the effect is loaded.
  std::variant<std::int64_t, double, std::string_view> value{};
};

struct Call {
  PF_Cmd command = 0;
  CallKind kind = CallKind::kAddParam;
  std::uint64_t ordinal = 0;  // in its command, from 1
  std::array<Argument, 8> arguments{};
  std::size_t argument_count = 0;

  /// As checkout_param(4 "Time Span (sec)" t=0 step=1024 scale=30720).
  std::string Text() const;
};

/// Told of every call before the host answers it, on the thread that makes it: samplers and
/// arithmetic call from many at once. Non-zero makes the call fail with that code where it has one;
/// an exception passes through the effect. Calls that give something back count as having done so
/// whatever the observer says.
using Observer = std::function<PF_Err(const Call&)>;

}  // namespace hosting
