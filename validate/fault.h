// What is done to one call of the host's, and how that is written down for a replay.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "hosting/calls.h"

namespace validate {

/// kFail... answer with a code; the others throw.
enum class Injection { kFailOnce, kFailOn, kThrowInt, kThrowAlloc, kThrowOther, kThrowOn };
inline constexpr std::array kInjections{Injection::kFailOnce,   Injection::kFailOn,
                                        Injection::kThrowInt,   Injection::kThrowAlloc,
                                        Injection::kThrowOther, Injection::kThrowOn};

/// As "throw-int".
const char* Name(Injection injection);

/// What kFail... answers and kThrowInt throws: codes that neither host nor effect has itself.
inline constexpr PF_Err kFailCode = 4711;
inline constexpr PF_Err kThrownCode = 4712;

inline bool Throws(Injection injection) { return injection >= Injection::kThrowInt; }
/// Whether it also befalls every later call.
inline bool Persists(Injection injection) {
  return injection == Injection::kFailOn || injection == Injection::kThrowOn;
}

/// Whether a call of that kind has a code to fail with.
bool HasCode(hosting::CallKind kind);
/// Whether it gives something back.
bool GivesBack(hosting::CallKind kind);

struct Fault {
  std::uint64_t at = 0;  // calls before it, from the start of the run
  hosting::CallKind kind{};
  Injection injection{};

  /// As "render:checkout_param#12:throw-int".
  std::string Text(const std::string& run) const;
};

}  // namespace validate
