#include "fault.h"

namespace validate {

using hosting::CallKind;

const char* Name(Injection injection) {
  static constexpr std::array kNames{"fail-once",   "fail-on",     "throw-int",
                                     "throw-alloc", "throw-other", "throw-on"};
  static_assert(kNames.size() == kInjections.size());
  return kNames[static_cast<std::size_t>(injection)];
}

bool HasCode(CallKind kind) {
  switch (kind) {
    case CallKind::kCos:
    case CallKind::kPow:
    case CallKind::kSin:
    case CallKind::kSqrt:
    case CallKind::kSprintf:
    case CallKind::kStrcpy:
      return false;
    default:
      return true;
  }
}

bool GivesBack(CallKind kind) {
  return kind == CallKind::kReleaseSuite || kind == CallKind::kCheckinParam ||
         kind == CallKind::kDisposeWorld1 || kind == CallKind::kDisposeWorld2;
}

std::string Fault::Text(const std::string& run) const {
  return run + ":" + hosting::Name(kind) + "#" + std::to_string(at) + ":" + Name(injection);
}

}  // namespace validate
