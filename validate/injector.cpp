#include "injector.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string_view>

#include "pf_suites.h"

namespace validate {
namespace {

using hosting::Call;
using hosting::CallKind;

// The control whose update is the last of a supervision, and so gives its result.
constexpr std::int64_t kLastUpdated = 20;

bool IsRender(PF_Cmd command) { return command == PF_Cmd_RENDER || command == PF_Cmd_SMART_RENDER; }

std::int64_t Number(const Call& call, std::size_t i) {
  return std::get<std::int64_t>(call.arguments[i].value);
}

bool IsWorldSuite2(const Call& call) {
  return std::get<std::string_view>(call.arguments[0].value) == kPFWorldSuite &&
         Number(call, 1) == 2;
}

PF_Err CodeOf(Injection injection) {
  switch (injection) {
    case Injection::kThrowInt:
    case Injection::kThrowOn:
      return kThrownCode;
    case Injection::kThrowAlloc:
      return PF_Err_OUT_OF_MEMORY;
    default:
      return PF_Err_BAD_CALLBACK_PARAM;
  }
}

struct Foreign {};  // of no type that the effect could know

[[noreturn]] void Throw(Injection injection) {
  switch (injection) {
    case Injection::kThrowAlloc:
      throw std::bad_alloc();
    case Injection::kThrowOther:
      throw Foreign{};
    default:
      throw int{kThrownCode};
  }
}

}  // namespace

PF_Err Injector::Observe(const Call& call) {
  const std::uint64_t ordinal = calls_.size();
  calls_.push_back(call.kind);
  if ((decided_ || !may_.empty()) && late_call_.empty() && !MayFollow(call)) {
    late_call_ = call.Text();
  }
  if (!decided_ && IsRender(call.command)) {
    if (call.kind == CallKind::kIterate || call.kind == CallKind::kIterate16 ||
        call.kind == CallKind::kIterateFloat) {
      pass_reached_ = true;
    }
  }
  const Fault* const fault = FaultAt(ordinal);
  const PF_Err answer = fault != nullptr ? Strike(call, fault->injection) : PF_Err_NONE;
  if (!decided_ && IsRender(call.command) && call.kind == CallKind::kFill) output_filled_ = true;
  return answer;
}

/// One made for that call comes before one that persists from an earlier call.
const Fault* Injector::FaultAt(std::uint64_t ordinal) const {
  const Fault* persistent = nullptr;
  for (const Fault& fault : faults_) {
    if (ordinal == fault.at) return &fault;
    if (ordinal > fault.at && Persists(fault.injection)) persistent = &fault;
  }
  return persistent;
}

PF_Err Injector::Strike(const Call& call, Injection injection) {
  struck_ = true;
  if (Throws(injection)) {
    // What gives back may swallow it: the code of a release is of no interest either. And on the
    // way out with a code, an exception may take the code's place.
    if (!decided_ && !GivesBack(call.kind)) {
      Decide(call, CodeOf(injection), true);
    } else if (!decided_ || !decided_by_throw_) {
      may_.push_back(CodeOf(injection));
    }
    Throw(injection);
  }
  if (!HasCode(call.kind)) return PF_Err_NONE;
  if (!decided_) {
    if (const auto code = CodeOfFailure(call)) Decide(call, *code, false);
  }
  return kFailCode;
}

void Injector::Decide(const Call& call, PF_Err code, bool thrown) {
  decided_ = code;
  decided_by_ = call.kind;
  decided_by_throw_ = thrown;
}

/// Nothing when the failure is to be ignored.
std::optional<PF_Err> Injector::CodeOfFailure(const Call& call) {
  switch (call.kind) {
    case CallKind::kAcquireSuite:
      if (!IsWorldSuite2(call)) return PF_Err_BAD_CALLBACK_PARAM;
      // The format is then taken from the world's flags, which know nothing of float pixels: the
      // host refuses to run a pass of 8-bit pixels over them.
      if (depth_ == hosting::Depth::k32) eventually_ = PF_Err_BAD_CALLBACK_PARAM;
      return std::nullopt;
    case CallKind::kGetPixelFormat:
      return PF_Err_BAD_CALLBACK_PARAM;  // the format stays unknown
    case CallKind::kUpdateParamUI:
      if (Number(call, 0) == kLastUpdated) return kFailCode;
      return std::nullopt;
    case CallKind::kAddParam:
    case CallKind::kProgress:
    case CallKind::kFill:
    case CallKind::kIterate:
    case CallKind::kIterate16:
    case CallKind::kIterateFloat:
    case CallKind::kCheckoutLayer:
    case CallKind::kCheckoutLayerPixels:
    case CallKind::kCheckoutOutput:
    case CallKind::kNewWorld1:
    case CallKind::kNewWorld2:
    case CallKind::kAreaSample8:
    case CallKind::kAreaSample16:
    case CallKind::kAreaSampleFloat:
      return kFailCode;
    default:
      // Controls then have their defaults, the composition no lights, a colour its 8-bit value.
      if (!GivesBack(call.kind)) harmless_ = false;
      return std::nullopt;
  }
}

bool Injector::MayFollow(const Call& call) const {
  if (GivesBack(call.kind)) return true;
  // A throw that was swallowed while giving back leaves the run as it was.
  if (!decided_) return true;
  // A pixel is shaded and written also when its sample failed.
  const bool sampled = decided_by_ == CallKind::kAreaSample8 ||
                       decided_by_ == CallKind::kAreaSample16 ||
                       decided_by_ == CallKind::kAreaSampleFloat;
  return sampled && !decided_by_throw_ &&
         (call.kind == CallKind::kSqrt || call.kind == CallKind::kPow);
}

std::string Injector::Judge(PF_Err code) const {
  const auto text = [](PF_Err err) { return std::to_string(err); };
  if (std::find(may_.begin(), may_.end(), code) != may_.end()) return "";
  const PF_Err expected = decided_.value_or(eventually_.value_or(PF_Err_NONE));
  return code == expected ? "" : "gave " + text(code) + ", not " + text(expected);
}

}  // namespace validate
